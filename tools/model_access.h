// The tool's view of a model: loading and saving by file extension, finding
// nodes and states by the names a user types, and reading a node's beliefs.
//
// Users name things as they appear in their files. A foreign format may
// have had to change a name into a valid identifier, keeping the original
// as the node's name or the state's label, so every lookup tries the
// identifier first and the original text second.
#ifndef ORVIL_TOOLS_MODEL_ACCESS_H
#define ORVIL_TOOLS_MODEL_ACCESS_H

#include <string>
#include <vector>

class QEL_network;

namespace orvil_tool {

// Empties the engine's error log, so that the next failure's message is the
// newest entry.
void ForgetEngineMessages();

// `what`, followed by ": " and the newest message of the engine's error log
// when there is one, flattened to a single line.
std::string WithEngineMessage(const std::string& what);

// Reads `path` into `net`, the format chosen by the file's extension.
// False with `error` set when the file cannot be read.
bool LoadModel(QEL_network& net, const std::string& path, std::string& error);

// Writes `net` to `path` in the format of the file's extension. False with
// `error` set when the format cannot be written or the write fails.
bool SaveModel(QEL_network& net, const std::string& path, std::string& error);

// The handle of the node called `name` (identifier, else original name), or
// -2.
int FindNodeByName(QEL_network& net, const std::string& name);

// The position of the outcome `name` (identifier, else label) of node
// `handle`, or -2.
int FindStateByName(QEL_network& net, int handle, const std::string& name);

// The node's outcome identifiers, in order; empty for a node without
// outcomes.
std::vector<std::string> StateNames(QEL_network& net, int handle);

// The node's identifier ("" for a bad handle).
std::string NodeId(QEL_network& net, int handle);

// True when the node's value is a belief vector, so that it has
// probabilities to show.
bool HasBeliefs(QEL_network& net, int handle);

// Copies the node's current beliefs into `out`. False when the value holds
// no current result.
bool ReadBeliefs(QEL_network& net, int handle, std::vector<double>& out);

}  // namespace orvil_tool

#endif
