// QEL_xqelSpeaker: the native XML format (format number 8, extensions
// "xqel" and "qqel") as a file format of the network's ReadFile, WriteFile,
// ReadString and WriteString. A thin shell over XmlLoad and XmlSave.
#ifndef ORVIL_XQELSPEAKER_H
#define ORVIL_XQELSPEAKER_H

#include <string>

class QEL_network;

class QEL_xqelSpeaker {
public:
    // A speaker for `net`, not owned.
    explicit QEL_xqelSpeaker(QEL_network* net);

    // XmlLoad of the file into the network. 0, or -103 on failure (the
    // reason is in the error log).
    int ReadNetwork(const char* fileName);
    // XmlLoad of a zero-terminated text. 0, or -103.
    int ReadNetworkFromString(const char* text);
    // XmlSave to the file. 0, or -103 when it cannot be opened.
    int WriteNetwork(const char* fileName);
    // XmlSave appended to `text`. 0, or -103.
    int WriteNetworkToString(std::string& text);

    // The extension handed to XmlLoad and XmlSave: an IXmlBinding* when
    // reading and an IXmlWriterExtension* when writing; null (the start
    // value) means the standard layout block.
    void SetUserExtension(void* extension) { userExtension = extension; }
    void* GetUserExtension() const { return userExtension; }

    // The reader keeps the network's identifier and cycle tests on: node
    // ids come from the file as they are, and arcs are refused one by one.
    bool SuppressIdInUse() const { return false; }
    bool SuppressAcyclic() const { return false; }

private:
    QEL_network* network;
    void* userExtension;
};

#endif
