// Helpers of the native-format tests: random descriptive data on top of a
// random network, and a handle-free description of a model to compare a
// network with its reloaded copy.
#ifndef ORVIL_TESTS_XML_NATIVE_MODEL_H
#define ORVIL_TESTS_XML_NATIVE_MODEL_H

#include <map>
#include <random>
#include <string>
#include <vector>

class QEL_network;

namespace nativetest {

// Gives `net` (built by BuildRandomNetwork) what the file format carries
// beyond tables: labels, default and fault states, diagnosis flags, targets,
// properties, names and comments with awkward characters, screen data,
// nested submodels, documentation, observation costs, network settings, a
// late node that is the parent of an early one, and reordered parents.
void Decorate(QEL_network& net, std::mt19937& rng);

// Everything but the numbers of the tables and costs, one line per item,
// nodes by id in id order.
std::string Describe(QEL_network& net);

// Table and cost items of every node, by id.
std::map<std::string, std::vector<double>> Numbers(QEL_network& net);

// The last entry of the error log, or "" when it is empty.
std::string LastMessage();

}  // namespace nativetest

#endif
