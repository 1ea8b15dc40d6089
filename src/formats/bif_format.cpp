// The BIF text writer. It walks each table once in memory order: a node's
// rows are its parent configurations in row-major order, so each row is a
// run of consecutive doubles, and the parent states of the row label are
// advanced like an odometer rather than recomputed.
#include "formats/bif_format.h"

#include "formats/bif_lexer.h"

#include <charconv>

namespace {

// `text` in double quotes, each double quote inside it made a single one.
void AppendQuoted(std::string& out, const std::string& text)
{
    out += '"';
    for (char c : text)
        out += (c == '"' ? '\'' : c);
    out += '"';
}

void AppendName(std::string& out, const std::string& name)
{
    if (BifIsBareWord(name)) {
        out += name;
        return;
    }
    AppendQuoted(out, name);
}

void AppendNumber(std::string& out, double value)
{
    char text[32];
    std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
    out.append(text, result.ptr);
}

void AppendNumbers(std::string& out, const double* values, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        if (i)
            out += ", ";
        AppendNumber(out, values[i]);
    }
    out += ";\n";
}

// A property is written as its name, "=" and its value in quotes. The
// quotes keep semicolons, braces and equals signs in the value readable,
// and they keep blanks at its ends, which the reader trims from text
// outside quotes; quoting the whole statement instead would lose them.
void AppendProperties(std::string& out, const std::vector<BifProperty>& properties)
{
    for (const BifProperty& property : properties) {
        out += "  property ";
        AppendName(out, property.name);
        out += " = ";
        AppendQuoted(out, property.value);
        out += ";\n";
    }
}

void AppendVariable(std::string& out, const BifNode& node)
{
    out += "variable ";
    AppendName(out, node.name);
    out += " {\n  type discrete [ ";
    out += std::to_string(node.states.size());
    out += " ] { ";
    for (size_t s = 0; s < node.states.size(); ++s) {
        if (s)
            out += ", ";
        AppendName(out, node.states[s]);
    }
    out += " };\n";
    AppendProperties(out, node.properties);
    out += "}\n";
}

void AppendRows(std::string& out, const BifModel& model, const BifNode& node)
{
    size_t numParents = node.parents.size();
    std::vector<size_t> states(numParents, 0);
    size_t n = node.states.size();
    for (size_t first = 0; first < node.table.size(); first += n) {
        out += "  (";
        for (size_t p = 0; p < numParents; ++p) {
            if (p)
                out += ", ";
            AppendName(out, model.nodes[node.parents[p]].states[states[p]]);
        }
        out += ") ";
        AppendNumbers(out, node.table.data() + first, n);
        for (size_t p = numParents; p-- > 0;) {
            if (++states[p] < model.nodes[node.parents[p]].states.size())
                break;
            states[p] = 0;
        }
    }
}

void AppendProbability(std::string& out, const BifModel& model, const BifNode& node)
{
    out += "probability ( ";
    AppendName(out, node.name);
    for (size_t p = 0; p < node.parents.size(); ++p) {
        out += (p ? ", " : " | ");
        AppendName(out, model.nodes[node.parents[p]].name);
    }
    out += " ) {\n";
    if (node.parents.empty()) {
        out += "  table ";
        AppendNumbers(out, node.table.data(), node.table.size());
    } else {
        AppendRows(out, model, node);
    }
    out += "}\n";
}

}  // namespace

void BifFormat(const BifModel& model, std::string& out)
{
    out += "network ";
    AppendName(out, model.name);
    out += " {\n";
    AppendProperties(out, model.properties);
    out += "}\n";
    for (const BifNode& node : model.nodes)
        AppendVariable(out, node);
    for (const BifNode& node : model.nodes)
        AppendProbability(out, model, node);
}
