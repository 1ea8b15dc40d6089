// Output of the `orvil` tool: the figures of a model, posteriors as an
// aligned table, and posteriors with the probability of evidence as JSON.
//
// The commands gather plain data into these structures; formatting is kept
// apart so that every command prints the same way.
#ifndef ORVIL_TOOLS_REPORT_H
#define ORVIL_TOOLS_REPORT_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orvil_tool {

struct ModelSummary {
    std::string model;
    int nodes = 0;
    int arcs = 0;
    int minStates = 0;
    int maxStates = 0;
    long long totalStates = 0;
    long long tableCells = 0;
    long long largestTable = 0;
    std::string largestTableNode;
    // Join tree, summed over the independent pieces the engine built.
    bool joinTreeBuilt = false;
    std::string joinTreeFailure;
    int pieces = 0;
    int cliques = 0;
    int largestCliqueNodes = 0;
    uint64_t largestCliqueCells = 0;
    uint64_t totalCliqueCells = 0;
};

struct NodeBeliefs {
    std::string node;
    std::vector<std::string> states;
    std::vector<double> probabilities;
};

struct InferReport {
    std::string model;
    int algorithm = 0;
    std::vector<std::pair<std::string, std::string>> evidence;
    std::vector<std::pair<std::string, std::vector<double>>> likelihoods;
    std::vector<NodeBeliefs> beliefs;
    // P(hard evidence); false when it could not be computed.
    bool hasProbEvidence = false;
    double probEvidence = 0.0;
};

// "key: value" lines, one per figure.
std::string FormatSummary(const ModelSummary& summary);

// Columns node, state, probability, padded to line up, with a header line.
std::string FormatBeliefTable(const std::vector<NodeBeliefs>& beliefs);

// One JSON object; numbers carry every digit of the double.
std::string FormatInferJson(const InferReport& report);

// `text` as a JSON string literal, quotes included.
std::string JsonString(const std::string& text);

}  // namespace orvil_tool

#endif
