// Byte sources of the XML reader over a file and over memory.
#include "xml/xml_streams.h"

#include <cstring>

int XmlInputFileStream::GetData(char* buffer, int size) {
    if (size <= 0) return 0;
    size_t got = fread(buffer, 1, static_cast<size_t>(size), file);
    if (got == 0 && ferror(file)) return -1;
    return static_cast<int>(got);
}

int XmlInputStringStream::GetData(char* buffer, int size) {
    if (size <= 0) return 0;
    size_t left = static_cast<size_t>(end - current);
    size_t count = left < static_cast<size_t>(size) ? left : static_cast<size_t>(size);
    memcpy(buffer, current, count);
    current += count;
    return static_cast<int>(count);
}
