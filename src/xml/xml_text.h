// Text conversions of the XML reader: UTF-8 to the engine's Latin-1, and
// the backslash sequences by which the writer keeps line breaks and tabs in
// element text.
#ifndef ORVIL_SRC_XML_TEXT_H
#define ORVIL_SRC_XML_TEXT_H

#include <string>

// Rewrites UTF-8 `text` as Latin-1 in place: a character below 256 becomes
// its one byte, any other becomes "?", and so does a sequence cut short. A
// text of plain ASCII is left untouched without copying.
void fromUTF8(std::string& text);
// A converted copy of `text`; null gives an empty string.
std::string XmlLatin1(const char* text);

// Undoes backslash sequences: "\n" gives a newline, "\t" a tab, a backslash
// before any other character that character; a final lone backslash stays.
void XmlUnescape(const std::string& text, std::string& out);

// The whitespace that separates list items: blank, tab, newline, vertical
// tab, form feed, carriage return; independent of the locale.
inline bool XmlIsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

#endif
