// A Bayesian network as BIF describes it, with every name resolved: nodes in
// the order the file declares them, each with its state names, its parents
// as indices into the node list, and its table in the engine's layout. This
// is what the network builder reads and what the writer produces, so both
// directions of the format meet here and can be tested without a network.
#ifndef ORVIL_FORMATS_BIF_MODEL_H
#define ORVIL_FORMATS_BIF_MODEL_H

#include <string>
#include <vector>

struct BifProperty {
    std::string name;
    std::string value;
};

struct BifNode {
    std::string name;
    int line = 0;  // line of the variable block, 0 when the node was not read
    std::vector<std::string> states;
    std::vector<int> parents;
    // Row-major over the parents in `parents` order, the last parent fastest,
    // and the node's own states fastest of all, so that each parent
    // configuration is one run of states.size() probabilities.
    std::vector<double> table;
    std::vector<BifProperty> properties;
};

struct BifModel {
    std::string name;
    std::vector<BifProperty> properties;
    std::vector<BifNode> nodes;
};

#endif
