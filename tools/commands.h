// The commands of the `orvil` tool. Each loads its model, does its work
// through the engine, and returns its output as text, so that the caller
// alone decides where text and errors go.
#ifndef ORVIL_TOOLS_COMMANDS_H
#define ORVIL_TOOLS_COMMANDS_H

#include <string>

#include "cli_options.h"

namespace orvil_tool {

// Each returns true with the command's output in `out`, or false with a
// one-line reason in `error` (the engine's own message appended where it
// logged one).

// Size of the model and of the join tree the default engine builds for it
// without evidence. A join tree that cannot be built is reported in the
// output, not as a failure.
bool RunInfo(const CommandLine& line, std::string& out, std::string& error);

// Posteriors of the targets (every node with probabilities when none is
// given) under the evidence of `line`; with JSON also the probability of
// the hard evidence.
bool RunInfer(const CommandLine& line, std::string& out, std::string& error);

// Reads the first file and writes the model to the second.
bool RunConvert(const CommandLine& line, std::string& out, std::string& error);

}  // namespace orvil_tool

#endif
