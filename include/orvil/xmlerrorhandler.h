// XmlErrorHandler: the standard receiver of an XML document's problems,
// which writes them to the process-wide error log.
//
// Errors are logged under -103 as "Error at <line>, <column> while loading
// <file>: <message>", warnings about undeclared elements and attributes
// under -100. The handler remembers whether any such warning came, so that
// after a successful load a client can add one notice that the file was
// probably written by a newer version.
#ifndef ORVIL_XMLERRORHANDLER_H
#define ORVIL_XMLERRORHANDLER_H

#include <string>

#include "orvil/xmlreader.h"

class XmlErrorHandler : public IXmlErrorHandler {
public:
    XmlErrorHandler();

    // Starts a document: `fileName` (not copied; null or empty when parsing
    // a text) names the source in every message, and the memory of unknown
    // elements and attributes is cleared.
    void Init(const char* fileName);

    // Logs "Error", the position and ": <message>" under -103.
    void OnParseError(const char* message, int line, int column) override;
    // Logs "Warning: Ignored unknown element '<element>'" and the position
    // under -100.
    void OnUnknownElement(const char* element, const char* parent, int line, int column) override;
    // Logs "Warning: Ignored unknown attribute '<attribute>' in '<element>'"
    // and the position under -100.
    void OnUnknownAttribute(const char* element, const char* attribute, int line, int column) override;

    // After a successful parse: if unknown elements or attributes were met,
    // logs under -100 that the file holds them, with the download notice.
    void CheckAndDisplayNewVerWarning();
    bool UnknownSeen() const { return unknownSeen; }

    // Appends " at <line>, <column>" and, with a file name, " while loading
    // <file>".
    void AppendErrorPos(std::string& text, int line, int column) const;
    // "Error", the position, ": ", the message.
    void GetFormattedErrorMessage(const char* message, int line, int column, std::string& out) const;

private:
    const char* fileName;
    bool unknownSeen;
};

#endif
