// Random small networks: nodes first, then arcs from earlier nodes, then
// outcome counts (set before the arcs, while the node has no children),
// then tables. Everything is drawn from one std::mt19937 seeded by the
// caller, so a failing seed can be replayed.
#include "random_network.h"

#include <algorithm>
#include <string>

#include "orvil/cpt.h"
#include "orvil/doublearray.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/truthtable.h"

namespace orvil_test {

namespace {

int UniformInt(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

double Uniform01(std::mt19937& rng) { return std::uniform_real_distribution<double>(0.0, 1.0)(rng); }

// One column of `n` probabilities with about `zeroShare` zeros, at least one
// cell positive, summing to one up to rounding.
void RandomColumn(std::mt19937& rng, double zeroShare, double* column, int n) {
    double sum = 0.0;
    for (int k = 0; k < n; k++) {
        column[k] = Uniform01(rng) < zeroShare ? 0.0 : 0.05 + Uniform01(rng);
        sum += column[k];
    }
    if (sum == 0.0) {
        const int keep = UniformInt(rng, 0, n - 1);
        column[keep] = 1.0;
        sum = 1.0;
    }
    for (int k = 0; k < n; k++) column[k] /= sum;
}

// Picks up to `count` distinct parents among the first `limit` handles.
std::vector<int> PickParents(std::mt19937& rng, const std::vector<int>& handles, int limit, int count) {
    std::vector<int> pool(handles.begin(), handles.begin() + limit);
    std::shuffle(pool.begin(), pool.end(), rng);
    if (static_cast<int>(pool.size()) > count) pool.resize(count);
    return pool;
}

}  // namespace

int FillRandomTable(QEL_network& net, int handle, std::mt19937& rng, double zeroShare) {
    QEL_node* node = net.GetNode(handle);
    if (node == nullptr || node->Definition() == nullptr) return -2;
    QEL_nodeDefinition* def = node->Definition();
    const int n = def->GetNumberOfOutcomes();
    const int size = def->GetSize();
    if (n < 1 || size < n) return -2;
    if (def->GetType() == qel_truthTableType) {
        QEL_intArray states;
        for (int c = 0; c < size / n; c++) states.Add(UniformInt(rng, 0, n - 1));
        return static_cast<QEL_truthTable*>(def)->SetResultingStates(states);
    }
    if (def->GetType() != qel_cptType) return -2;
    QEL_doubleArray items(size);
    for (int start = 0; start < size; start += n) RandomColumn(rng, zeroShare, items.Items() + start, n);
    return static_cast<QEL_cpt*>(def)->SetProbabilities(items);
}

std::vector<int> BuildRandomNetwork(QEL_network& net, unsigned seed, const RandomNetworkOptions& options) {
    std::mt19937 rng(seed);
    std::vector<int> handles;
    for (int i = 0; i < options.nodes; i++) {
        const bool deterministic = Uniform01(rng) < options.deterministicShare;
        const std::string id = "n" + std::to_string(i);
        const int h = net.AddNode(deterministic ? qel_truthTableType : qel_cptType, id.c_str());
        if (h < 0) return {};
        const int outcomes = UniformInt(rng, 2, options.maxOutcomes < 2 ? 2 : options.maxOutcomes);
        if (net.GetNode(h)->Definition()->SetNumberOfOutcomes(outcomes) != 0) return {};
        const int maxParents = options.maxParents < i ? options.maxParents : i;
        const int parentCount = maxParents > 0 ? UniformInt(rng, 0, maxParents) : 0;
        for (int p : PickParents(rng, handles, i, parentCount))
            if (net.AddArc(p, h, qel_normalArc) != 0) return {};
        handles.push_back(h);
    }
    for (int h : handles)
        if (FillRandomTable(net, h, rng, options.zeroShare) != 0) return {};
    return handles;
}

}  // namespace orvil_test
