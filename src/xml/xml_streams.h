// The two inputs the reader makes for itself: an open file, and a text in
// memory. Both hand out the bytes as they stand; decoding is expat's.
#ifndef ORVIL_SRC_XML_STREAMS_H
#define ORVIL_SRC_XML_STREAMS_H

#include <cstddef>
#include <cstdio>

#include "orvil/xmlreader.h"

// Reads an open FILE* (not owned, not closed) with fread.
class XmlInputFileStream : public IXmlInputStream {
public:
    explicit XmlInputFileStream(FILE* file) : file(file) {}
    // The bytes read; 0 at the end, -1 on a read error.
    int GetData(char* buffer, int size) override;

private:
    FILE* file;
};

// Hands out `length` bytes from `text`, which must outlive the stream.
class XmlInputStringStream : public IXmlInputStream {
public:
    XmlInputStringStream(const char* text, size_t length) : current(text), end(text + length) {}
    int GetData(char* buffer, int size) override;

private:
    const char* current;
    const char* end;
};

#endif
