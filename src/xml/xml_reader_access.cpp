// What a handler may ask of the reader while an element is open: its text,
// its attributes read as text, booleans and numbers, and the check of a
// file's format version. A malformed value stops the document, so a
// handler can just return when a read gives false.
#include "orvil/xmlreader.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "xml/xml_text.h"

namespace {

const char downloadMessage[] =
    "Please download most recent version of ORVIL/Marlo from:\n"
    "https://orvil.example.org/download";

std::string AttributeMessage(const char* head, const char* name, const char* tail) {
    std::string text = head;
    text += XmlLatin1(name);
    text += tail;
    return text;
}

}  // namespace

const char* GetDownloadNewVersionMessage() {
    return downloadMessage;
}

const char* XmlReader::GetContent() {
    return states.empty() ? "" : states.back().content.c_str();
}

void XmlReader::GetUnescapedContent(std::string& out) {
    if (states.empty()) {
        out.clear();
        return;
    }
    XmlUnescape(states.back().content, out);
}

const char* XmlReader::FindRawAttribute(const char* name) const {
    if (name == nullptr) return nullptr;
    for (const char** a = attributes; a && *a; a += 2) {
        if (strcmp(*a, name) == 0) return a[1];
    }
    return nullptr;
}

bool XmlReader::GetAttribute(const char* name, std::string& value) {
    const char* raw = FindRawAttribute(name);
    if (raw == nullptr) {
        value.clear();
        return false;
    }
    value = raw;
    fromUTF8(value);
    return true;
}

bool XmlReader::GetAttribute(const char* name, bool& value, bool defaultValue) {
    value = defaultValue;
    const char* raw = FindRawAttribute(name);
    if (raw == nullptr) return true;
    if (strcmp(raw, "true") == 0 || strcmp(raw, "false") == 0) {
        value = raw[0] == 't';
        return true;
    }
    StopParse(AttributeMessage("'true' or 'false' expected as value of boolean attribute '", name, "'").c_str());
    return false;
}

// Numbers: trailing text is looked at only when the number read is zero,
// which is what tells a wordy value from a number; a value like "12abc"
// passes as 12, and an empty one as 0.
bool XmlReader::GetAttribute(const char* name, int& value, int defaultValue) {
    value = defaultValue;
    const char* raw = FindRawAttribute(name);
    if (raw == nullptr) return true;
    char* stop = nullptr;
    long number = strtol(raw, &stop, 10);
    value = static_cast<int>(number);
    if (number != 0 || *stop == '\0') return true;
    StopParse(AttributeMessage("Integer value expected for attribute '", name, "'").c_str());
    return false;
}

bool XmlReader::GetAttribute(const char* name, double& value, double defaultValue) {
    value = defaultValue;
    const char* raw = FindRawAttribute(name);
    if (raw == nullptr) return true;
    char* stop = nullptr;
    double number = strtod(raw, &stop);
    value = number;
    if (number != 0 || *stop == '\0') return true;
    StopParse(AttributeMessage("Floating point value expected for attribute '", name, "'").c_str());
    return false;
}

bool CheckVersion(IXmlReader* reader, const char* fileVersion, const char* supportedVersion) {
    double file = fileVersion ? strtod(fileVersion, nullptr) : 0;
    double supported = supportedVersion ? strtod(supportedVersion, nullptr) : 0;
    if (!(file > supported)) return true;
    std::string message = "Invalid version number '";
    message += fileVersion ? fileVersion : "";
    message += "', expected ";
    message += supportedVersion ? supportedVersion : "";
    message += '\n';
    message += downloadMessage;
    if (reader) reader->StopParse(message.c_str());
    return false;
}
