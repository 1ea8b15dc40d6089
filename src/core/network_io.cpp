// QEL_network: reading and writing whole models. A read goes through one
// bracket, whatever the format: BeginRead empties the network and switches
// the relevance hooks off (a reader makes thousands of edits that no belief
// depends on yet), the format's reader fills the network, and EndRead puts
// the hooks back and, after a successful read, runs the readiness pass
// (which deletes nodes that came out broken) and the consistency pass.
// Failures before the bracket opens (no such format) leave the network
// untouched; failures inside it leave what the reader built.
#include <memory>

#include "core/network_io_formats.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/submodel.h"

QEL_fileFormat* QEL_network::CreateFileFormat(const char* name, int& format) {
    if (format == QEL_FORMAT_BY_EXTENSION) format = QEL_formatFromFileName(name);
    return QEL_createSpeaker(format, this);
}

int QEL_network::BeginRead(bool suppressIdInUse, bool suppressAcyclic) {
    Flush();
    const int kept = relevanceEvents;
    relevanceEvents = 0;
    readFlags = QEL_READ_ACTIVE;
    if (suppressIdInUse) readFlags |= QEL_READ_NO_ID_TEST;
    if (suppressAcyclic) readFlags |= QEL_READ_NO_CYCLE_TEST;
    return kept;
}

int QEL_network::EndRead(int status, int kept) {
    readFlags = 0;
    relevanceEvents = kept;
    if (status != 0) return status;
    CheckReadiness(1);
    CheckConsistency(1);
    return status;
}

int QEL_network::ReadFile(const char* name, int format, void* extension) {
    std::unique_ptr<QEL_fileFormat> reader(CreateFileFormat(name, format));
    if (!reader) return QEL_OUT_OF_RANGE;
    if (extension != nullptr) reader->SetUserExtension(extension);
    const int kept = BeginRead(*reader);
    const int status = reader->ReadNetwork(name);
    reader.reset();
    return EndRead(status, kept);
}

int QEL_network::WriteFile(const char* name, int format, void* extension) {
    if (format == QEL_FORMAT_KI) {
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "Writing to KI file format not supported.");
    }
    std::unique_ptr<QEL_fileFormat> writer(CreateFileFormat(name, format));
    if (!writer) return QEL_OUT_OF_RANGE;
    if (extension != nullptr) writer->SetUserExtension(extension);
    return writer->WriteNetwork(name);
}

int QEL_network::ReadString(const char* text, void* extension) {
    std::unique_ptr<QEL_fileFormat> reader(QEL_createSpeaker(QEL_FORMAT_NATIVE, this));
    if (!reader) return QEL_OUT_OF_RANGE;
    if (extension != nullptr) reader->SetUserExtension(extension);
    const int kept = BeginRead(*reader);
    return EndRead(reader->ReadNetworkFromString(text), kept);
}

int QEL_network::WriteString(std::string& text, void* extension) {
    std::unique_ptr<QEL_fileFormat> writer(QEL_createSpeaker(QEL_FORMAT_NATIVE, this));
    if (!writer) return QEL_OUT_OF_RANGE;
    if (extension != nullptr) writer->SetUserExtension(extension);
    return writer->WriteNetworkToString(text);
}
