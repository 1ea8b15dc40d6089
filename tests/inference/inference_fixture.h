// Helpers shared by the inference tests: small networks built by hand;
// beliefs, the error log and properties read or set in one call; random
// evidence, likelihoods and targets, the evidence always an outcome the
// model allows; and, for the join tree and the triangulator, pieces built
// from plain oracle models without any QEL_network behind them, with an
// adapter that collects the results in the test instead of node values.
#ifndef ORVIL_TEST_INFERENCE_FIXTURE_H
#define ORVIL_TEST_INFERENCE_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "brute_force.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/rnetwork.h"
#include "orvil/tsadapter.h"
#include "orvil/userproperties.h"

namespace inference_test {

using orvil_test::BruteModel;

inline int AddCpt(QEL_network& net, const char* id, int states) {
    const int h = net.AddNode(qel_cptType, id);
    net.GetNode(h)->Definition()->SetNumberOfOutcomes(states);
    return h;
}

inline void FillTable(QEL_network& net, int h, const std::vector<double>& cells) {
    QEL_Dmatrix* table = net.GetNode(h)->Definition()->GetMatrix();
    ASSERT_EQ(table->GetSize(), int(cells.size()));
    for (int i = 0; i < table->GetSize(); ++i) (*table)[i] = cells[size_t(i)];
}

inline const QEL_Dmatrix& Beliefs(QEL_network& net, int h) {
    QEL_Dmatrix* m = nullptr;
    net.GetNode(h)->Value()->GetValue(&m);
    return *m;
}

inline bool LogHolds(const std::string& text) {
    for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
        if (QEL_errorH().GetErrorMessage(i) != nullptr && text == QEL_errorH().GetErrorMessage(i)) return true;
    }
    return false;
}

// Sets the network property `name`, or removes it when `value` is null.
inline void SetProperty(QEL_network& net, const char* name, const char* value) {
    QEL_userProperties& properties = net.UserProperties();
    if (properties.FindProperty(name) >= 0) properties.DeleteProperty(properties.FindProperty(name));
    if (value != nullptr) {
        ASSERT_GE(properties.AddProperty(name, value), 0);
    }
}

// Handles, ids, parents, table sizes and child counts: a temporary node left
// behind changes it.
inline std::string Shape(QEL_network& net) {
    std::string out;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        out += std::to_string(h) + ":" + net.GetNode(h)->GetId() + "(";
        for (int i = 0; i < net.GetParents(h).NumItems(); i++) out += std::to_string(net.GetParents(h)[i]) + ",";
        out += ")" + std::to_string(net.GetNode(h)->Definition()->GetSize()) + " " +
               std::to_string(net.NumChildren(h)) + ";";
    }
    return out;
}

// Observes about `share` of the nodes, one at a time, each at an outcome the
// oracle still finds possible, so the evidence is never contradictory.
inline void ObserveSomePossible(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng,
                                double share) {
    std::uniform_real_distribution<double> coin(0.0, 1.0);
    for (int h : handles) {
        if (coin(rng) >= share || net.GetNode(h)->Value()->HasEvidence()) continue;
        const orvil_test::BruteNetworkResult now = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(now.ok);
        std::vector<int> possible;
        for (size_t s = 0; s < now.byHandle[size_t(h)].size(); ++s) {
            if (now.byHandle[size_t(h)][s] > 1e-9) possible.push_back(int(s));
        }
        ASSERT_FALSE(possible.empty());
        ASSERT_EQ(net.GetNode(h)->Value()->SetEvidence(possible[rng() % possible.size()]), 0);
    }
}

// Scales about half of the columns of every conditional table by a factor
// between 0.6 and 1.4, the way tables rounded by hand fail to sum to one.
// The model is then an unnormalised product, whose posteriors and evidence
// sum the oracle still gives.
inline void UnnormaliseSomeColumns(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    std::uniform_real_distribution<double> factor(0.6, 1.4);
    for (int h : handles) {
        if (net.GetNode(h)->GetType() != qel_cptType) continue;
        QEL_Dmatrix& table = *net.GetNode(h)->Definition()->GetMatrix();
        const int states = table.GetSizeOfLastDimension();
        for (int column = 0; column < table.GetSize(); column += states) {
            const double f = rng() % 2 == 0 ? factor(rng) : 1.0;
            for (int s = 0; s < states; ++s) table[column + s] *= f;
        }
    }
}

// Makes about a third of the conditional tables ignore one of their parents,
// chosen at random: every slice along that parent becomes a copy of the
// first, so the arc carries nothing, as arcs left in elicited models do.
inline void IgnoreSomeParents(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    for (int h : handles) {
        QEL_Dmatrix& table = *net.GetNode(h)->Definition()->GetMatrix();
        const int parents = table.GetNumberOfDimensions() - 1;
        if (net.GetNode(h)->GetType() != qel_cptType || parents < 1 || rng() % 3 != 0) continue;
        const int dim = int(rng() % unsigned(parents));
        const int stride = table.GetPreProduct()[dim];
        const int block = stride * table.GetSizeOfDimension(dim);
        for (int i = 0; i < table.GetSize(); ++i) {
            const int within = i % block;
            if (within >= stride) table[i] = table[i - within + within % stride];
        }
    }
}

// Gives about `share` of the unobserved nodes a random likelihood vector.
inline void AddSomeLikelihoods(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng,
                               double share) {
    std::uniform_real_distribution<double> coin(0.0, 1.0);
    for (int h : handles) {
        QEL_nodeValue* value = net.GetNode(h)->Value();
        if (coin(rng) >= share || value->HasEvidence()) continue;
        std::vector<double> likelihood(static_cast<size_t>(value->GetSize()));
        for (double& x : likelihood) x = 0.05 + coin(rng);
        ASSERT_EQ(value->SetVirtualEvidence(likelihood), 0);
    }
}

// Targets about half of the nodes (at least one) and returns them.
inline std::vector<int> TargetSome(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    std::vector<int> targets;
    for (int h : handles) {
        if (rng() % 2 == 0) targets.push_back(h);
    }
    if (targets.empty()) targets.push_back(handles[rng() % handles.size()]);
    for (int h : targets) net.SetTarget(h, true);
    return targets;
}

// The value of `h` is valid and equals the oracle's posterior to `tolerance`.
inline void ExpectOracleBeliefs(QEL_network& net, const orvil_test::BruteNetworkResult& oracle, int h,
                                double tolerance, const std::string& what) {
    ASSERT_TRUE(net.GetNode(h)->Value()->IsValueValid()) << what << " node " << h;
    const std::vector<double>& expected = oracle.byHandle[size_t(h)];
    ASSERT_EQ(Beliefs(net, h).GetSize(), int(expected.size())) << what << " node " << h;
    for (int s = 0; s < Beliefs(net, h).GetSize(); ++s) {
        EXPECT_NEAR(Beliefs(net, h)[s], expected[size_t(s)], tolerance) << what << " node " << h << " state " << s;
    }
}

// A piece with records of no QEL_node, each owning a copy of its table.
inline std::unique_ptr<QEL_rNetwork> BuildPiece(const BruteModel& model) {
    const int n = int(model.vars.size());
    auto piece = std::make_unique<QEL_rNetwork>(n);
    auto* pool = new QEL_rNode::QEL_rNodePool(n);
    for (int i = 0; i < n; ++i) {
        piece->nodes.Add(pool->Create_Node());
        piece->nodes[i]->network = piece.get();
        piece->nodes[i]->evidence = model.vars[size_t(i)].evidence;
    }
    if (n == 0) pool->DeleteIfUnused();
    for (int i = 0; i < n; ++i) {
        const orvil_test::BruteVariable& v = model.vars[size_t(i)];
        QEL_intArray dims;
        for (int p : v.parents) {
            piece->nodes[i]->parents.Add(piece->nodes[p]);
            piece->nodes[p]->children.Add(piece->nodes[i]);
            dims.Add(model.vars[size_t(p)].states);
        }
        dims.Add(v.states);
        auto* table = new QEL_Dmatrix(dims);
        for (size_t c = 0; c < v.table.size(); ++c) (*table)[int(c)] = v.table[c];
        piece->nodes[i]->Set_Probabilities_Table(table);
    }
    return piece;
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
inline BruteModel RandomModel(std::mt19937& rng, const RandomOptions& options) {
    const int n = std::uniform_int_distribution<int>(options.minNodes, options.maxNodes)(rng);
    std::vector<int> number(static_cast<size_t>(n));  // topological position -> node number
    for (int i = 0; i < n; ++i) number[size_t(i)] = i;
    std::shuffle(number.begin(), number.end(), rng);
    BruteModel model;
    model.vars.resize(size_t(n));
    for (auto& v : model.vars) v.states = std::uniform_int_distribution<int>(2, options.maxStates)(rng);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<int> sample(size_t(n), 0);
    for (int t = 0; t < n; ++t) {
        orvil_test::BruteVariable& v = model.vars[size_t(number[size_t(t)])];
        v.parents.assign(number.begin(), number.begin() + t);
        std::shuffle(v.parents.begin(), v.parents.end(), rng);
        v.parents.resize(size_t(std::uniform_int_distribution<int>(0, std::min(t, options.maxParents))(rng)));
        int columns = 1;
        int column = 0;  // the sampled parents' column
        for (int p : v.parents) {
            columns *= model.vars[size_t(p)].states;
            column = column * model.vars[size_t(p)].states + sample[size_t(p)];
        }
        const int s = v.states;
        v.table.assign(size_t(columns * s), 0.0);
        for (int c = 0; c < columns; ++c) {
            double* cells = &v.table[size_t(c * s)];
            double sum = 0.0;
            for (int k = 0; k < s; ++k) sum += cells[k] = unit(rng) < options.zeroShare ? 0.0 : unit(rng) + 0.01;
            if (sum == 0.0) sum = cells[0] = 1.0;
            for (int k = 0; k < s; ++k) cells[k] /= sum;
        }
        // Forward sample: the first outcome where the running sum passes u.
        int& pick = sample[size_t(number[size_t(t)])];
        for (double u = unit(rng); pick < s - 1 && (u -= v.table[size_t(column * s + pick)]) >= 0.0;) ++pick;
        while (v.table[size_t(column * s + pick)] == 0.0) --pick;
        if (unit(rng) < options.evidenceShare) v.evidence = pick;
    }
    return model;
}

// Collects what the engine would write into node values. Handles are not
// node numbers, as in a network: node 0 is auxiliary (no handle) and node i
// has handle 2i + 1, so that the even entries of a pending mask belong to
// nodes of other pieces.
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
    int GetNodeHandle(int i) const override { return i == 0 ? -1 : 2 * i + 1; }
    bool IsTarget(int i) const override { return targets[size_t(i)]; }
    void SetValueValid(int i) override { valid[size_t(i)] = true; }

    std::vector<std::vector<double>> beliefs;
    std::vector<bool> valid;
    std::vector<bool> targets;
};

// Who is wanted in one round of a piece test. Mode 0 targets every node, 1
// none, 2 one, 3 about a third; mode 4 targets every node and lets a random
// pending mask decide instead. Node 0 has no handle and observed nodes get no
// beliefs, so neither is ever written.
struct WantedDraw {
    std::vector<char> before;   // the pending mask as drawn
    bool pending[64];           // the mask the engine is given and clears
    bool* mask = nullptr;       // `pending` in mode 4, otherwise null
    std::vector<bool> written;  // the nodes whose beliefs must be written
};

inline void DrawWanted(std::mt19937& rng, const BruteModel& model, CollectingAdapter& adapter, int mode,
                       WantedDraw& draw) {
    const size_t n = model.vars.size();
    const size_t single = rng() % n;
    draw.before.assign(2 * n + 2, 0);
    for (char& entry : draw.before) entry = mode == 4 && rng() % 2 == 0;
    std::copy(draw.before.begin(), draw.before.end(), draw.pending);
    draw.mask = mode == 4 ? draw.pending : nullptr;
    draw.written.assign(n, false);
    for (size_t v = 0; v < n; ++v) {
        adapter.targets[v] = mode == 0 || mode == 4 || (mode == 2 && v == single) || (mode == 3 && rng() % 3 == 0);
        const bool wanted = mode == 4 ? draw.before[2 * v + 1] != 0 : adapter.targets[v];
        draw.written[v] = v > 0 && wanted && model.vars[v].evidence < 0;
    }
}

// Exactly the pending entries of the written nodes were cleared. The mask
// runs one handle past the last node's, which no node owns.
inline void ExpectPendingCleared(const WantedDraw& draw) {
    for (size_t h = 0; h < draw.before.size(); ++h) {
        const size_t node = (h - 1) / 2;
        const bool cleared = h % 2 == 1 && h >= 3 && node < draw.written.size() && draw.written[node];
        EXPECT_EQ(draw.pending[h], !cleared && draw.before[h] != 0) << "handle " << h;
    }
}

}  // namespace inference_test

#endif
