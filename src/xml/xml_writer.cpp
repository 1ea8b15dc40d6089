// The streaming XML writer. It holds no tree: each call writes its text at
// once, and the only state is the indent depth and the attributes pushed
// for the next element. Numbers are formatted into a small stack buffer.
#include "orvil/xmlwriter.h"

#include <cstdio>

namespace {

// Entity or replacement of a byte that cannot stand as it is; null when the
// byte is written unchanged.
const char* Replacement(unsigned char c, bool escape) {
    switch (c) {
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '&': return "&amp;";
    case '"': return "&quot;";
    case '\'': return "&apos;";
    case '\n': return escape ? "\\n" : ".";
    case '\t': return escape ? "\\t" : ".";
    case '\r': return escape ? "" : ".";
    case '\\': return escape ? "\\\\" : nullptr;
    default: return c < 0x20 ? "." : nullptr;
    }
}

}  // namespace

IXmlWriter::ScopedElement::ScopedElement(IXmlWriter* w, const char* elementName)
    : writer(w), name(elementName ? elementName : "") {
    writer->OpenElement(name.c_str());
}

IXmlWriter::ScopedElement::~ScopedElement() {
    writer->CloseElement(name.c_str());
}

XmlWriter::XmlWriter(IXmlWriterOutput* out) : output(out), depth(0) {}

void XmlWriter::Delete() {
    delete this;
}

void XmlWriter::Write(const char* text) {
    if (output && text) output->WriteString(text);
}

void XmlWriter::Put(char c) {
    if (output) output->WriteChar(c);
}

void XmlWriter::WriteIndent() {
    for (int i = 0; i < depth; ++i) Put('\t');
}

void XmlWriter::Start(bool withDeclaration) {
    depth = 0;
    if (withDeclaration) Write("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n");
}

void XmlWriter::StartWithXsl(const char* href) {
    Start(true);
    Write("<?xml-stylesheet type=\"text/xsl\" href=\"");
    Write(href);
    Write("\"?>\n");
}

void XmlWriter::StartWithDTD(const char* root, const char* system) {
    Start(true);
    Write("<!DOCTYPE ");
    Write(root);
    Write(" SYSTEM \"");
    Write(system);
    Write("\">\n");
}

void XmlWriter::PushAttribute(const char* name, const char* value) {
    attributes.emplace_back(name ? name : "", value ? value : "");
}

void XmlWriter::PushAttribute(const char* name, int value) {
    char text[16];
    snprintf(text, sizeof text, "%d", value);
    PushAttribute(name, text);
}

void XmlWriter::PushAttribute(const char* name, bool value) {
    PushAttribute(name, value ? "true" : "false");
}

void XmlWriter::PushAttribute(const char* name, double value) {
    char text[32];
    snprintf(text, sizeof text, "%.16g", value);
    PushAttribute(name, text);
}

void XmlWriter::OpenElement(const char* name) {
    OpenElement(name, qel_xmlBlockElement);
}

void XmlWriter::OpenElement(const char* name, int mode) {
    WriteIndent();
    Put('<');
    Write(name);
    for (const auto& attribute : attributes) {
        Put(' ');
        Write(attribute.first.c_str());
        Write("=\"");
        WriteContent(attribute.second.c_str(), false);
        Put('"');
    }
    attributes.clear();
    if (mode == qel_xmlEmptyElement) {
        Write(" />\n");
        return;
    }
    Put('>');
    if (mode != qel_xmlBlockElement) return;
    Put('\n');
    ++depth;
}

void XmlWriter::CloseElement(const char* name) {
    CloseElement(name, qel_xmlBlockElement);
}

void XmlWriter::CloseElement(const char* name, int mode) {
    if (mode == qel_xmlEmptyElement) return;
    if (mode == qel_xmlBlockElement) {
        --depth;
        WriteIndent();
    }
    Write("</");
    Write(name);
    Write(">\n");
}

void XmlWriter::WriteElement(const char* name, const char* content, bool escape) {
    if (content == nullptr) {
        OpenElement(name, qel_xmlEmptyElement);
        return;
    }
    OpenElement(name, qel_xmlInlineElement);
    WriteContent(content, escape);
    CloseElement(name, qel_xmlInlineElement);
}

void XmlWriter::WriteDoubleArray(const char* name, const double* values, int count, const char* specialText,
                                 double specialValue) {
    OpenElement(name, qel_xmlInlineElement);
    char text[32];
    for (int i = 0; values != nullptr && i < count; ++i) {
        if (i > 0) Put(' ');
        if (specialText != nullptr && values[i] == specialValue) {
            Write(specialText);
            continue;
        }
        snprintf(text, sizeof text, "%.16g", values[i]);
        Write(text);
    }
    CloseElement(name, qel_xmlInlineElement);
}

void XmlWriter::WriteStringArray(const char* name, const char* const* strings, int count) {
    OpenElement(name, qel_xmlInlineElement);
    for (int i = 0; strings != nullptr && i < count; ++i) {
        if (i > 0) Put(' ');
        Write(strings[i]);
    }
    CloseElement(name, qel_xmlInlineElement);
}

void XmlWriter::WriteComment(const char* text) {
    WriteIndent();
    Write("<!-- ");
    Write(text);
    Write(" -->\n");
}

void XmlWriter::WriteContent(const char* text, bool escape) {
    if (text == nullptr) return;
    for (const char* p = text; *p; ++p) {
        const char* replacement = Replacement(static_cast<unsigned char>(*p), escape);
        if (replacement)
            Write(replacement);
        else
            Put(*p);
    }
}
