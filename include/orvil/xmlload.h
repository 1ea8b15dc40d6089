// XmlLoad: builds a network from a document in the engine's native XML
// format (root element "orvil", files "*.xqel" and "*.qqel").
//
// The document is read as a stream: nodes, arcs, outcomes and tables go
// into the network while the parser moves on, so a large table never stands
// in memory as one text. The first error ends the document; what was built
// until then stays in the network, and the caller (normally the network's
// read bracket) decides what to do with it. Unknown elements and attributes
// are skipped with a warning, so that a file from a newer version still
// loads as far as this one understands it.
#ifndef ORVIL_XMLLOAD_H
#define ORVIL_XMLLOAD_H

#include <cstdint>

class QEL_network;
class IXmlBinding;

// The `extension` argument that asks for no extension block at all: then
// whatever stands under "extensions" is unknown and skipped with a warning.
inline IXmlBinding* XmlNoLoadExtension() {
    return reinterpret_cast<IXmlBinding*>(~static_cast<std::uintptr_t>(0));
}

// Loads the file `fileName`, or, when it is null, the zero-terminated
// `text`, into `network`, which should be empty (nothing is cleared).
// `extension` null reads the standard layout block (names, comments, screen
// data, submodels, documentation) from "extensions"; XmlNoLoadExtension()
// reads none; any other binding is the caller's and is required under
// "extensions". True when the document was read to its end without an
// error. Every error is logged once under -103 as "Error at <line>,
// <column>[ while loading <file>]: <message>"; warnings about unknown
// content go under -100. A null network fails with a logged error.
bool XmlLoad(const char* fileName, const char* text, QEL_network* network, IXmlBinding* extension);

#endif
