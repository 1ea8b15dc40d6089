// Test scaffolding for the join-tree engine: pieces built by hand or at
// random, without any QEL_network behind them, an adapter that collects the
// results in the test instead of node values, and the matching model for the
// brute-force oracle.
#ifndef ORVIL_TEST_JOINTREE_FIXTURE_H
#define ORVIL_TEST_JOINTREE_FIXTURE_H

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "brute_force.h"
#include "orvil/dmatrix.h"
#include "orvil/rnetwork.h"
#include "orvil/tsadapter.h"

namespace jointree_test {

// A model described by plain vectors: the source of both a piece and the
// oracle's model.
struct ModelDescription {
    std::vector<int> states;
    std::vector<std::vector<int>> parents;  // table order
    std::vector<std::vector<double>> tables;  // parents first, own outcome last and fastest
    std::vector<int> evidence;  // -1: none
};

// A piece with records of no QEL_node, each owning a copy of its table.
inline std::unique_ptr<QEL_rNetwork> BuildPiece(const ModelDescription& model) {
    const int n = int(model.states.size());
    auto piece = std::make_unique<QEL_rNetwork>(n);
    auto* pool = new QEL_rNode::QEL_rNodePool(n);
    for (int i = 0; i < n; ++i) {
        QEL_rNode* record = pool->Create_Node();
        record->network = piece.get();
        record->evidence = model.evidence[size_t(i)];
        piece->nodes.Add(record);
    }
    if (n == 0) pool->DeleteIfUnused();
    for (int i = 0; i < n; ++i) {
        QEL_rNode* record = piece->nodes[i];
        QEL_intArray dims;
        for (int p : model.parents[size_t(i)]) {
            record->parents.Add(piece->nodes[p]);
            piece->nodes[p]->children.Add(record);
            dims.Add(model.states[size_t(p)]);
        }
        dims.Add(model.states[size_t(i)]);
        auto* table = new QEL_Dmatrix(dims);
        const std::vector<double>& cells = model.tables[size_t(i)];
        for (size_t c = 0; c < cells.size(); ++c) (*table)[int(c)] = cells[c];
        record->Set_Probabilities_Table(table);
    }
    return piece;
}

inline orvil_test::BruteModel ToBrute(const ModelDescription& model) {
    orvil_test::BruteModel brute;
    for (size_t i = 0; i < model.states.size(); ++i) {
        orvil_test::BruteVariable v;
        v.handle = int(i);
        v.states = model.states[i];
        v.parents = model.parents[i];
        v.table = model.tables[i];
        v.evidence = model.evidence[i];
        brute.vars.push_back(v);
    }
    return brute;
}

struct RandomOptions {
    int minNodes = 1;
    int maxNodes = 9;
    int maxStates = 5;
    int maxParents = 3;
    double zeroShare = 0.25;      // chance that a table cell is 0
    double evidenceShare = 0.3;   // chance that a node is observed
};

// A random acyclic model whose node numbers are shuffled, so parents may come
// after their children. Evidence is drawn from a forward sample, so it is
// always possible.
inline ModelDescription RandomModel(std::mt19937& rng, const RandomOptions& options) {
    std::uniform_int_distribution<int> nodeCount(options.minNodes, options.maxNodes);
    const int n = nodeCount(rng);
    std::vector<int> number(static_cast<size_t>(n));  // topological position -> node number
    for (int i = 0; i < n; ++i) number[size_t(i)] = i;
    std::shuffle(number.begin(), number.end(), rng);

    ModelDescription model;
    model.states.assign(size_t(n), 2);
    model.parents.assign(size_t(n), {});
    model.tables.assign(size_t(n), {});
    model.evidence.assign(size_t(n), -1);
    std::uniform_int_distribution<int> states(2, options.maxStates);
    for (int i = 0; i < n; ++i) model.states[size_t(i)] = states(rng);

    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int t = 0; t < n; ++t) {
        const int v = number[size_t(t)];
        std::uniform_int_distribution<int> parentCount(0, std::min(t, options.maxParents));
        std::vector<int> earlier(number.begin(), number.begin() + t);
        std::shuffle(earlier.begin(), earlier.end(), rng);
        earlier.resize(size_t(parentCount(rng)));
        model.parents[size_t(v)] = earlier;
        int columns = 1;
        for (int p : earlier) columns *= model.states[size_t(p)];
        const int s = model.states[size_t(v)];
        std::vector<double>& table = model.tables[size_t(v)];
        table.resize(size_t(columns * s));
        for (int c = 0; c < columns; ++c) {
            double sum = 0.0;
            for (int k = 0; k < s; ++k) {
                double x = unit(rng) < options.zeroShare ? 0.0 : unit(rng) + 0.01;
                table[size_t(c * s + k)] = x;
                sum += x;
            }
            if (sum == 0.0) {
                table[size_t(c * s)] = 1.0;
                sum = 1.0;
            }
            for (int k = 0; k < s; ++k) table[size_t(c * s + k)] /= sum;
        }
    }

    // Forward sample in topological order; keep some outcomes as evidence.
    std::vector<int> sample(size_t(n), 0);
    for (int t = 0; t < n; ++t) {
        const int v = number[size_t(t)];
        int column = 0;
        for (int p : model.parents[size_t(v)]) column = column * model.states[size_t(p)] + sample[size_t(p)];
        const int s = model.states[size_t(v)];
        double u = unit(rng);
        int pick = -1;
        for (int k = 0; k < s; ++k) {
            const double cell = model.tables[size_t(v)][size_t(column * s + k)];
            if (cell > 0.0) pick = k;
            u -= cell;
            if (u < 0.0 && cell > 0.0) break;
        }
        sample[size_t(v)] = pick;
        if (unit(rng) < options.evidenceShare) model.evidence[size_t(v)] = pick;
    }
    return model;
}

// Collects what the engine would write into node values. Node numbers stand
// in for handles.
class CollectingAdapter : public TsAdapter {
public:
    explicit CollectingAdapter(QEL_rNetwork& piece, int* zeroCounter = nullptr)
        : TsAdapter(piece, zeroCounter),
          beliefs(size_t(piece.nodes.Count())),
          valid(size_t(piece.nodes.Count()), false),
          targets(size_t(piece.nodes.Count()), true) {}

    double* GetBeliefs(int i) override {
        beliefs[size_t(i)].assign(size_t(GetStateCount(i)), -1.0);
        return beliefs[size_t(i)].data();
    }
    const char* GetNodeId(int) const override { return nullptr; }
    int GetNodeHandle(int i) const override { return i; }
    bool IsTarget(int i) const override { return targets[size_t(i)]; }
    void SetValueValid(int i) override { valid[size_t(i)] = true; }

    std::vector<std::vector<double>> beliefs;
    std::vector<bool> valid;
    std::vector<bool> targets;
};

}  // namespace jointree_test

#endif
