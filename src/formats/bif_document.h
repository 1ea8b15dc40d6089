// The plain description of a BIF text as the parser sees it, before any name
// is looked up: blocks in file order, names as they were written, numbers as
// doubles, and the line of everything a later message may need to point at.
// Names are views into the source text, so a document is only valid while the
// text it was parsed from is alive; this keeps the parse of multi-megabyte
// tables free of per-name allocations.
#ifndef ORVIL_FORMATS_BIF_DOCUMENT_H
#define ORVIL_FORMATS_BIF_DOCUMENT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A failure while reading or checking BIF text: an engine status code, the
// line it was found on (0 when no line applies) and a message for the log.
struct BifError {
    int code = 0;
    int line = 0;
    std::string message;

    int Set(int errorCode, int atLine, std::string text)
    {
        code = errorCode;
        line = atLine;
        message = std::move(text);
        return errorCode;
    }
};

// One `property ...;` statement: the raw text between the keyword and the
// semicolon, quotes included.
struct BifDocProperty {
    std::string_view text;
    int line = 0;
};

// One `variable NAME { type discrete [ N ] { s1, s2, ... }; }` block.
struct BifDocVariable {
    std::string_view name;
    int line = 0;
    bool hasType = false;
    int typeLine = 0;
    int declaredStates = 0;
    std::vector<std::string_view> states;
    std::vector<BifDocProperty> properties;
};

// A per-configuration statement `(s1, s2) v1, v2, ...;`: its parent state
// names sit at firstName in BifDocProbability::rowNames, its numbers at
// firstValue in BifDocProbability::values.
struct BifDocRow {
    int line = 0;
    uint32_t firstName = 0;
    uint32_t numNames = 0;
    uint32_t firstValue = 0;
    uint32_t numValues = 0;
};

// A range of BifDocProbability::values given by a `table` or `default`
// statement; line 0 means the statement is absent.
struct BifDocValues {
    int line = 0;
    uint32_t first = 0;
    uint32_t count = 0;
};

// One `probability ( CHILD | P1, P2 ) { ... }` block.
struct BifDocProbability {
    int line = 0;
    std::vector<std::string_view> variables;  // the child first, then its parents in order
    BifDocValues table;
    BifDocValues defaults;
    std::vector<BifDocRow> rows;
    std::vector<std::string_view> rowNames;
    std::vector<double> values;
    std::vector<BifDocProperty> properties;
};

struct BifDocument {
    bool hasNetwork = false;
    std::string_view networkName;
    int networkLine = 0;
    std::vector<BifDocProperty> networkProperties;
    std::vector<BifDocVariable> variables;
    std::vector<BifDocProbability> probabilities;
};

#endif
