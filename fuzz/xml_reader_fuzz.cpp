// Fuzz target of the XML reader: arbitrary bytes are read as a document
// against a small binding tree shaped like a model file (a root with a
// version, nodes with states, parent lists and number lists, properties
// with escaped text), once leniently in small pieces and once strictly in
// whole blocks. Besides memory faults it stops on a broken promise of the
// reader: a parse succeeds exactly when no error was reported, at most one
// error is reported per document, and start and end handlers pair up.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orvil/errors.h"
#include "orvil/xmlerrorhandler.h"
#include "orvil/xmlreader.h"

namespace {

void Check(bool condition) {
    if (!condition) abort();
}

// Counts what it is told and passes it on to the logging handler, so that
// message formatting is exercised too.
class CountingErrors : public XmlErrorHandler {
public:
    int errors = 0;
    void OnParseError(const char* message, int line, int column) override {
        ++errors;
        Check(message != nullptr);
        XmlErrorHandler::OnParseError(message, line, column);
    }
};

struct ModelReader {
    int depth = 0;
    double sum = 0;
    std::string text;

    void Root(IXmlReader* r) {
        ++depth;
        std::string version;
        r->GetAttribute("version", version);
        if (!CheckVersion(r, version.c_str(), "1.0")) return;
        int samples = 0;
        bool avoid = false;
        if (!r->GetAttribute("numsamples", samples, 1000)) return;
        r->GetAttribute("discavoidzero", avoid, true);
    }
    void Node(IXmlReader* r) {
        ++depth;
        double weight = 0;
        r->GetAttribute("id", text);
        r->GetAttribute("weight", weight, 1.0);
    }
    void Open(IXmlReader*) { ++depth; }
    void Close(IXmlReader* r) {
        --depth;
        text = r->GetContent();
    }
    void Property(IXmlReader* r) {
        --depth;
        r->GetUnescapedContent(text);
    }
    void Number(IXmlReader* r) {
        const char* item = r->GetContent();
        Check(item[0] != '\0');
        char* end = nullptr;
        double value = strtod(item, &end);
        if (*end != '\0') {
            r->StopParse("Can't read list of doubles");
            return;
        }
        sum += value;
    }
    void Word(IXmlReader* r) { Check(strlen(r->GetContent()) > 0); }
};

using Handler = XmlHandler<ModelReader>;

struct Tree {
    Handler root, nodes, node, state, parents, numbers, property;

    Tree(ModelReader* m, int flags)
        : root(m, "orvil", flags, &ModelReader::Root, &ModelReader::Close),
          nodes(m, "nodes", qel_xmlInherit, &ModelReader::Open, &ModelReader::Close),
          node(m, "cpt", qel_xmlInherit, &ModelReader::Node, &ModelReader::Close),
          state(m, "state", qel_xmlInherit, &ModelReader::Open, &ModelReader::Close),
          parents(m, "parents", qel_xmlInherit, &ModelReader::Open, &ModelReader::Close, &ModelReader::Word),
          numbers(m, "probabilities", qel_xmlInherit, &ModelReader::Open, &ModelReader::Close, &ModelReader::Number),
          property(m, "property", qel_xmlInherit, &ModelReader::Open, &ModelReader::Property) {
        root.AddAttribute("version", true);
        root.AddAttribute("id", true);
        root.AddAttribute("numsamples", false);
        root.AddAttribute("discavoidzero", false);
        root.AddChild(&nodes, 0);
        root.AddChild(&property, qel_xmlMultiple);
        nodes.AddChild(&node, qel_xmlMultiple);
        node.AddAttribute("id", true);
        node.AddAttribute("weight", false);
        node.AddChild(&state, qel_xmlRequired | qel_xmlMultiple);
        node.AddChild(&parents, 0);
        node.AddChild(&numbers, qel_xmlRequired);
        node.AddChild(&property, qel_xmlMultiple);
        state.AddAttribute("id", true);
        property.AddAttribute("id", true);
    }
};

// Hands the input out in pieces of one size, to move block boundaries
// through list items and markup.
class PieceStream : public IXmlInputStream {
public:
    PieceStream(const uint8_t* data, size_t size, int piece) : data(data), size(size), piece(piece) {}
    int GetData(char* buffer, int room) override {
        size_t n = size - pos;
        size_t most = static_cast<size_t>(piece < room ? piece : room);
        if (n > most) n = most;
        memcpy(buffer, data + pos, n);
        pos += n;
        return static_cast<int>(n);
    }

private:
    const uint8_t* data;
    size_t size;
    int piece;
    size_t pos = 0;
};

void ParseOnce(const uint8_t* data, size_t size, int flags, int piece) {
    ModelReader model;
    Tree tree(&model, flags);
    CountingErrors errors;
    XmlReader reader;
    PieceStream stream(data, size, piece);
    bool ok = reader.ParseStream(&stream, &tree.root, &errors);
    Check(errors.errors <= 1);
    Check(ok == (errors.errors == 0));
    // Every start handler met its end handler on success.
    Check(!ok || model.depth == 0);
    if (ok) errors.CheckAndDisplayNewVerWarning();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int piece = size > 0 ? 1 + data[size - 1] % 61 : 1;
    ParseOnce(data, size, 0, piece);
    ParseOnce(data, size, qel_xmlInherit, 4096);
    // The log would otherwise grow with every input.
    QEL_errorH().Flush();
    return 0;
}
