// XmlSave: writes a network in the engine's native XML format, the format
// that XmlLoad reads.
//
// The writer streams the document element by element in an order that a
// streaming reader can follow: nodes stand after their parents, and the
// blocks that refer to nodes stand after "nodes". Numbers are written with
// 16 significant digits; text goes out as the engine holds it (Latin-1) and
// the declaration says so.
#ifndef ORVIL_XMLSAVE_H
#define ORVIL_XMLSAVE_H

#include <cstdint>
#include <string>

class QEL_network;
class IXmlWriter;

// A block of the caller's own, written under "extensions".
class IXmlWriterExtension {
public:
    virtual ~IXmlWriterExtension() = default;
    // Writes the block's root element and everything below it.
    virtual void WriteExtension(IXmlWriter* writer) = 0;
    // The comment to write above the root element; empty for none.
    virtual void GetTopComment(std::string& comment) = 0;
    // Destroys an extension made with new.
    virtual void Delete() = 0;
};

// The `extension` argument that asks for no extension block and no top
// comment.
inline IXmlWriterExtension* XmlNoSaveExtension() {
    return reinterpret_cast<IXmlWriterExtension*>(~static_cast<std::uintptr_t>(0));
}

// The standard layout block (names, comments, screen data, submodels,
// documentation) of `network`, with the engine's top comment; to be
// destroyed with Delete().
IXmlWriterExtension* XmlCreateMarloSaver(QEL_network* network);

// Writes `network` to the file `fileName` or, when that is null, appends
// the document to `*out` (which is not cleared). `extension` null writes
// the standard layout block; XmlNoSaveExtension() writes none; any other is
// the caller's. True on success; false, with nothing logged and nothing
// written, when the file cannot be opened, and false for a null network or
// a null `out` without file name. Failed writes to an open file are not
// noticed.
bool XmlSave(const char* fileName, std::string* out, QEL_network* network, IXmlWriterExtension* extension);

#endif
