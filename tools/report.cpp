// Text and JSON output of the `orvil` tool.
//
// Tables are for reading: six decimals, columns padded to the longest
// entry. JSON is for programs: every double is printed with 17 significant
// digits so that it reads back to the same value, and a logarithm of zero
// (impossible evidence) becomes null, since JSON has no infinity.
#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orvil_tool {

namespace {

std::string Number(double x)
{
    if (!std::isfinite(x))
        return "null";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.17g", x);
    return buffer;
}

std::string Fixed(double x)
{
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.6f", x);
    return buffer;
}

std::string Pad(const std::string& text, size_t width)
{
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::string Line(const std::string& key, const std::string& value)
{
    return Pad(key + ":", 13) + value + "\n";
}

std::string CliqueLine(const ModelSummary& s)
{
    if (!s.joinTreeBuilt)
        return "none (" + s.joinTreeFailure + ")";
    return std::to_string(s.cliques) + " in " + std::to_string(s.pieces) + (s.pieces == 1 ? " piece" : " pieces") +
           ", largest " + std::to_string(s.largestCliqueNodes) + " nodes (width " +
           std::to_string(std::max(0, s.largestCliqueNodes - 1)) + "), " + std::to_string(s.largestCliqueCells) +
           " cells; total " + std::to_string(s.totalCliqueCells) + " cells";
}

std::string JsonNumbers(const std::vector<double>& values)
{
    std::string out = "[";
    for (size_t i = 0; i < values.size(); ++i)
        out += (i > 0 ? ", " : "") + Number(values[i]);
    return out + "]";
}

std::string JsonBeliefs(const NodeBeliefs& b)
{
    std::string out = JsonString(b.node) + ": {";
    for (size_t i = 0; i < b.probabilities.size(); ++i) {
        std::string state = i < b.states.size() ? b.states[i] : std::to_string(i);
        out += (i > 0 ? ", " : "") + JsonString(state) + ": " + Number(b.probabilities[i]);
    }
    return out + "}";
}

}  // namespace

std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
            out += buffer;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string FormatSummary(const ModelSummary& s)
{
    std::string out = Line("model", s.model);
    out += Line("nodes", std::to_string(s.nodes));
    out += Line("arcs", std::to_string(s.arcs));
    out += Line("states", "min " + std::to_string(s.minStates) + ", max " + std::to_string(s.maxStates) +
                              ", total " + std::to_string(s.totalStates));
    std::string largest = std::to_string(s.largestTable);
    if (!s.largestTableNode.empty())
        largest += " (" + s.largestTableNode + ")";
    out += Line("table cells", "total " + std::to_string(s.tableCells) + ", largest " + largest);
    out += Line("cliques", CliqueLine(s));
    return out;
}

std::string FormatBeliefTable(const std::vector<NodeBeliefs>& beliefs)
{
    size_t nodeWidth = 4;
    size_t stateWidth = 5;
    for (const NodeBeliefs& b : beliefs) {
        nodeWidth = std::max(nodeWidth, b.node.size());
        for (const std::string& s : b.states)
            stateWidth = std::max(stateWidth, s.size());
    }
    std::string out = Pad("node", nodeWidth + 2) + Pad("state", stateWidth + 2) + "probability\n";
    for (const NodeBeliefs& b : beliefs) {
        for (size_t i = 0; i < b.probabilities.size(); ++i) {
            std::string state = i < b.states.size() ? b.states[i] : std::to_string(i);
            out += Pad(b.node, nodeWidth + 2) + Pad(state, stateWidth + 2) + Fixed(b.probabilities[i]) + "\n";
        }
    }
    return out;
}

std::string FormatInferJson(const InferReport& r)
{
    std::string out = "{\n  \"model\": " + JsonString(r.model) + ",\n";
    out += "  \"algorithm\": " + std::to_string(r.algorithm) + ",\n";
    out += "  \"evidence\": {";
    for (size_t i = 0; i < r.evidence.size(); ++i)
        out += (i > 0 ? ", " : "") + JsonString(r.evidence[i].first) + ": " + JsonString(r.evidence[i].second);
    out += "},\n  \"virtual_evidence\": {";
    for (size_t i = 0; i < r.likelihoods.size(); ++i)
        out += (i > 0 ? ", " : "") + JsonString(r.likelihoods[i].first) + ": " + JsonNumbers(r.likelihoods[i].second);
    out += "},\n";
    double pe = r.hasProbEvidence ? r.probEvidence : NAN;
    out += "  \"probability_of_evidence\": " + Number(pe) + ",\n";
    out += "  \"log_probability_of_evidence\": " + Number(pe > 0.0 ? std::log(pe) : NAN) + ",\n";
    out += "  \"posteriors\": {";
    for (size_t i = 0; i < r.beliefs.size(); ++i)
        out += std::string(i > 0 ? "," : "") + "\n    " + JsonBeliefs(r.beliefs[i]);
    return out + "\n  }\n}\n";
}

}  // namespace orvil_tool
