// QEL_xqelSpeaker: the native XML format behind the network's file entry
// points. Loading and saving report their own reasons to the error log; the
// speaker only turns their results into status codes.
#include "orvil/xqelspeaker.h"

#include "orvil/errors.h"
#include "orvil/xmlload.h"
#include "orvil/xmlsave.h"

QEL_xqelSpeaker::QEL_xqelSpeaker(QEL_network* net) : network(net), userExtension(nullptr) {}

int QEL_xqelSpeaker::ReadNetwork(const char* fileName) {
    const bool ok = XmlLoad(fileName, nullptr, network, static_cast<IXmlBinding*>(userExtension));
    return ok ? QEL_OKAY : QEL_FILE_IO_FAILED;
}

int QEL_xqelSpeaker::ReadNetworkFromString(const char* text) {
    const bool ok = XmlLoad(nullptr, text, network, static_cast<IXmlBinding*>(userExtension));
    return ok ? QEL_OKAY : QEL_FILE_IO_FAILED;
}

int QEL_xqelSpeaker::WriteNetwork(const char* fileName) {
    const bool ok = XmlSave(fileName, nullptr, network, static_cast<IXmlWriterExtension*>(userExtension));
    return ok ? QEL_OKAY : QEL_FILE_IO_FAILED;
}

int QEL_xqelSpeaker::WriteNetworkToString(std::string& text) {
    const bool ok = XmlSave(nullptr, &text, network, static_cast<IXmlWriterExtension*>(userExtension));
    return ok ? QEL_OKAY : QEL_FILE_IO_FAILED;
}
