// Seeded random small networks for tests.
//
// BuildRandomNetwork fills a network with discrete chance nodes named
// "n0", "n1", ... whose arcs run only from lower to higher numbers, so the
// graph is acyclic and the creation order is a topological order. Each
// node gets 2 to maxOutcomes outcomes, up to maxParents parents among the
// earlier nodes, and a random table in which about `zeroShare` of the
// cells are 0 (every column keeps at least one positive cell). A share of
// the nodes can be deterministic (truth tables with a random resulting
// outcome per column). The same seed and options give the same network.
#ifndef ORVIL_TEST_RANDOM_NETWORK_H
#define ORVIL_TEST_RANDOM_NETWORK_H

#include <random>
#include <vector>

class QEL_network;

namespace orvil_test {

struct RandomNetworkOptions {
    int nodes = 6;
    int maxParents = 3;
    int maxOutcomes = 5;
    // Share of table cells set to 0, in [0, 1).
    double zeroShare = 0.2;
    // Share of nodes made truth tables, in [0, 1].
    double deterministicShare = 0.0;
};

// Builds into `net`, which should be empty. Returns the handles in creation
// order; an empty vector when the network refused a node, arc or table.
std::vector<int> BuildRandomNetwork(QEL_network& net, unsigned seed, const RandomNetworkOptions& options = {});

// Fills the table of node `handle` with random columns: a truth table gets
// one random resulting outcome per column; a conditional table gets
// positive random cells, about `zeroShare` of them then set to 0 (never a
// whole column), each column normalised. Returns the definition's status
// (0 on success; -2 for a node without such a table).
int FillRandomTable(QEL_network& net, int handle, std::mt19937& rng, double zeroShare);

}  // namespace orvil_test

#endif
