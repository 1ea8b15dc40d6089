// The standard error handler of XML reading: formats each problem with its
// position and the file it came from, and logs it to the process-wide log,
// errors under -103 and warnings under -100.
#include "orvil/xmlerrorhandler.h"

#include <string>

#include "orvil/errors.h"
#include "orvil/textutil.h"

XmlErrorHandler::XmlErrorHandler() {
    Init(nullptr);
}

void XmlErrorHandler::Init(const char* name) {
    fileName = name;
    unknownSeen = false;
}

void XmlErrorHandler::AppendErrorPos(std::string& text, int line, int column) const {
    text += " at ";
    QEL_appendInt(text, line);
    text += ", ";
    QEL_appendInt(text, column);
    if (fileName == nullptr || fileName[0] == '\0') return;
    text += " while loading ";
    text += fileName;
}

void XmlErrorHandler::GetFormattedErrorMessage(const char* message, int line, int column, std::string& out) const {
    out = "Error";
    AppendErrorPos(out, line, column);
    out += ": ";
    out += message ? message : "";
}

void XmlErrorHandler::OnParseError(const char* message, int line, int column) {
    std::string text;
    GetFormattedErrorMessage(message, line, column, text);
    QEL_errorH().LogError(QEL_FILE_IO_FAILED, text.c_str());
}

void XmlErrorHandler::OnUnknownElement(const char* element, const char*, int line, int column) {
    std::string text = "Warning: Ignored unknown element '";
    text += element ? element : "";
    text += '\'';
    AppendErrorPos(text, line, column);
    QEL_errorH().LogError(QEL_READ_FAILED, text.c_str());
    unknownSeen = true;
}

void XmlErrorHandler::OnUnknownAttribute(const char* element, const char* attribute, int line, int column) {
    std::string text = "Warning: Ignored unknown attribute '";
    text += attribute ? attribute : "";
    text += "' in '";
    text += element ? element : "";
    text += '\'';
    AppendErrorPos(text, line, column);
    QEL_errorH().LogError(QEL_READ_FAILED, text.c_str());
    unknownSeen = true;
}

void XmlErrorHandler::CheckAndDisplayNewVerWarning() {
    if (!unknownSeen) return;
    std::string text = "XML contains unknown elements and/or attributes. ";
    text += GetDownloadNewVersionMessage();
    QEL_errorH().LogError(QEL_READ_FAILED, text.c_str());
}
