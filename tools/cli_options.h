// The command line of the `orvil` tool, parsed into one plain structure.
//
// Parsing only checks shape (known command, known options, values of the
// right form); whether a node or state exists is for the command to find
// out once the model is loaded.
#ifndef ORVIL_TOOLS_CLI_OPTIONS_H
#define ORVIL_TOOLS_CLI_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

namespace orvil_tool {

enum class Command { kNone, kHelp, kInfo, kInfer, kConvert };

struct VirtualEvidence {
    std::string node;
    std::vector<double> weights;
};

struct CommandLine {
    Command command = Command::kNone;
    // The model (info, infer) or the input and output files (convert).
    std::vector<std::string> files;
    // NODE=STATE pairs, in the order given.
    std::vector<std::pair<std::string, std::string>> evidence;
    std::vector<VirtualEvidence> likelihoods;
    std::vector<std::string> targets;
    // The engine number; -1 keeps the model's own choice.
    int algorithm = -1;
    bool json = false;
};

// Parses the words after the program name. False with `error` set for an
// unknown command or option, a malformed value, or the wrong number of
// files. No words at all, "help" and any "--help" or "-h" give kHelp.
bool ParseCommandLine(const std::vector<std::string>& words, CommandLine& out, std::string& error);

// The engine number for an algorithm name ("clustering", "lbp", ...) or a
// number from 0 to 12; -1 for anything else.
int AlgorithmNumber(const std::string& text);

// The usage text, ending with a newline.
const char* UsageText();

}  // namespace orvil_tool

#endif
