// QEL_bifSpeaker: the file and string entry points of the BIF format. A read
// goes text -> BifDocument (parser) -> BifModel (resolver) -> network
// (builder), and the network is touched only after the first two steps
// have accepted the whole text. A write goes network -> BifModel -> text.
// Failures are logged here, once, with the source and line in front.
#include "orvil/bif.h"

#include "formats/bif_format.h"
#include "formats/bif_network.h"
#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"
#include "orvil/errors.h"
#include "orvil/network.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

int LogBifError(const BifError& error, const char* source)
{
    std::string prefix = source ? std::string(source) + ": " : std::string();
    if (error.line > 0)
        prefix += "line " + std::to_string(error.line) + ": ";
    return QEL_errorH().LogError(error.code, error.message.c_str(), prefix.c_str());
}

int ReadWholeFile(const char* fileName, std::string& text)
{
    FILE* file = std::fopen(fileName, "rb");
    if (file == nullptr)
        return QEL_READ_FAILED;
    char chunk[1 << 16];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0)
        text.append(chunk, got);
    bool failed = std::ferror(file) != 0;
    std::fclose(file);
    return failed ? QEL_READ_FAILED : QEL_OKAY;
}

int WriteWholeFile(const char* fileName, const std::string& text)
{
    FILE* file = std::fopen(fileName, "wb");
    if (file == nullptr)
        return QEL_WRITE_FAILED;
    bool failed = std::fwrite(text.data(), 1, text.size(), file) != text.size();
    failed = (std::fclose(file) != 0) || failed;
    return failed ? QEL_WRITE_FAILED : QEL_OKAY;
}

}  // namespace

QEL_bifSpeaker::QEL_bifSpeaker(QEL_network* net) : network(net), userExtension(nullptr) {}

int QEL_bifSpeaker::ReadNetwork(const char* fileName)
{
    if (fileName == nullptr)
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "no file name to read BIF from");
    std::string text;
    if (ReadWholeFile(fileName, text) != QEL_OKAY)
        return QEL_errorH().LogError(QEL_READ_FAILED, (std::string("cannot read BIF file ") + fileName).c_str());
    return Read(text.data(), text.size(), fileName);
}

int QEL_bifSpeaker::ReadNetworkFromBuffer(const char* text, size_t length)
{
    if (text == nullptr)
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "no BIF text to read");
    return Read(text, length, nullptr);
}

int QEL_bifSpeaker::ReadNetworkFromString(const char* text)
{
    return ReadNetworkFromBuffer(text, text ? std::strlen(text) : 0);
}

int QEL_bifSpeaker::Read(const char* text, size_t length, const char* source)
{
    if (network == nullptr)
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "no network to read BIF into");
    BifDocument doc;
    BifModel model;
    BifError error;
    int rc = BifParse(text, length, doc, error);
    if (rc == QEL_OKAY)
        rc = BifResolve(doc, model, error);
    if (rc == QEL_OKAY && network->DeleteAllNodes() != QEL_OKAY)
        rc = error.Set(QEL_OUT_OF_RANGE, 0, "the network's old nodes could not be deleted");
    if (rc == QEL_OKAY)
        rc = BifBuildNetwork(model, *network, error);
    return rc == QEL_OKAY ? rc : LogBifError(error, source);
}

int QEL_bifSpeaker::WriteNetwork(const char* fileName)
{
    if (fileName == nullptr)
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "no file name to write BIF to");
    std::string text;
    int rc = WriteNetworkToString(text);
    if (rc != QEL_OKAY)
        return rc;
    if (WriteWholeFile(fileName, text) != QEL_OKAY)
        return QEL_errorH().LogError(QEL_WRITE_FAILED, (std::string("cannot write BIF file ") + fileName).c_str());
    return QEL_OKAY;
}

int QEL_bifSpeaker::WriteNetworkToString(std::string& text)
{
    if (network == nullptr)
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "no network to write as BIF");
    BifModel model;
    BifError error;
    int rc = BifExtractModel(*network, model, error);
    if (rc != QEL_OKAY)
        return LogBifError(error, nullptr);
    text.clear();
    BifFormat(model, text);
    return QEL_OKAY;
}
