// UTF-8 to Latin-1 and backslash unescaping for the XML reader. Both run on
// every element text and list item, so the common case, plain ASCII, is
// found by one scan and costs no copy.
#include "xml/xml_text.h"

namespace {

// Continuation bytes that follow a lead byte, by the lead byte's top six
// bits; -1 for a stray continuation byte, which cannot start a sequence.
int ContinuationCount(unsigned char lead) {
    if (lead < 0xC0) return -1;
    if (lead < 0xE0) return 1;
    if (lead < 0xF0) return 2;
    if (lead < 0xF8) return 3;
    if (lead < 0xFC) return 4;
    return 5;
}

bool IsContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

bool IsAscii(const std::string& text) {
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

}  // namespace

void fromUTF8(std::string& text) {
    if (IsAscii(text)) return;
    std::string out;
    out.reserve(text.size());
    size_t i = 0;
    const size_t n = text.size();
    while (i < n) {
        unsigned char lead = static_cast<unsigned char>(text[i++]);
        if (lead < 0x80) {
            out += static_cast<char>(lead);
            continue;
        }
        int count = ContinuationCount(lead);
        if (count < 0) {
            out += '?';
            continue;
        }
        // Only the payload bits below the lead byte's length marker count.
        unsigned long code = lead & (0x3Fu >> count);
        int got = 0;
        while (got < count && i < n && IsContinuation(static_cast<unsigned char>(text[i]))) {
            code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
            ++i;
            ++got;
        }
        out += (got == count && code < 256) ? static_cast<char>(code) : '?';
    }
    text.swap(out);
}

std::string XmlLatin1(const char* text) {
    std::string copy(text ? text : "");
    fromUTF8(copy);
    return copy;
}

void XmlUnescape(const std::string& text, std::string& out) {
    out.clear();
    out.reserve(text.size());
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        char c = text[i];
        if (c != '\\' || i + 1 == n) {
            out += c;
            continue;
        }
        char next = text[++i];
        out += next == 'n' ? '\n' : next == 't' ? '\t' : next;
    }
}
