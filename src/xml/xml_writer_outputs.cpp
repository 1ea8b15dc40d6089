// The writer's two outputs: a file it opens itself, and a caller's string.
#include "orvil/xmlwriter.h"

XmlWriterFileOutput::~XmlWriterFileOutput() {
    if (file) fclose(file);
}

bool XmlWriterFileOutput::Open(const char* fileName) {
    if (file) Close();
    file = fileName ? fopen(fileName, "w") : nullptr;
    return file != nullptr;
}

bool XmlWriterFileOutput::Close() {
    if (file == nullptr) return false;
    bool ok = fclose(file) == 0;
    file = nullptr;
    return ok;
}

bool XmlWriterFileOutput::WriteString(const char* text) {
    return file && text && fputs(text, file) >= 0;
}

bool XmlWriterFileOutput::WriteChar(char c) {
    return file && fputc(static_cast<unsigned char>(c), file) != EOF;
}

bool XmlWriterStringOutput::WriteString(const char* text) {
    if (target == nullptr || text == nullptr) return false;
    target->append(text);
    return true;
}

bool XmlWriterStringOutput::WriteChar(char c) {
    if (target == nullptr) return false;
    target->push_back(c);
    return true;
}
