// The join tree on pieces built directly, checked against enumeration of the
// joint: beliefs, the probability of evidence, zero potentials, budgets and
// the pending mask. The exported clique tables are checked through the
// network, in jointree_network_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "jointree_fixture.h"
#include "orvil/errors.h"
#include "orvil/jointree.h"

namespace {

using jointree_test::BuildPiece;
using jointree_test::CollectingAdapter;
using jointree_test::ModelDescription;
using jointree_test::RandomModel;
using jointree_test::RandomOptions;
using jointree_test::ToBrute;

void ExpectBeliefsMatch(const ModelDescription& model, const CollectingAdapter& adapter,
                        const orvil_test::BruteResult& truth, int round) {
    for (size_t v = 0; v < model.states.size(); ++v) {
        if (model.evidence[v] >= 0) {
            EXPECT_FALSE(adapter.valid[v]) << "observed node " << v << " round " << round;
            continue;
        }
        ASSERT_TRUE(adapter.valid[v]) << "node " << v << " round " << round;
        ASSERT_EQ(adapter.beliefs[v].size(), truth.posteriors[v].size());
        for (size_t k = 0; k < truth.posteriors[v].size(); ++k) {
            EXPECT_NEAR(adapter.beliefs[v][k], truth.posteriors[v][k], 1e-12)
                << "node " << v << " state " << k << " round " << round;
        }
    }
}

// Random pieces, small ones (2 to 5 states, up to 3 parents) and denser ones
// (up to 4 parents, cliques past a few nodes), with zeros in the tables and
// possible hard evidence: every unobserved belief and the evidence
// probability agree with enumeration.
TEST(JoinTreeTest, BeliefsAndEvidenceProbabilityMatchEnumeration) {
    std::mt19937 rng(20240611);
    RandomOptions small;
    RandomOptions dense;
    dense.minNodes = 8;
    dense.maxNodes = 12;
    dense.maxStates = 3;
    dense.maxParents = 4;
    dense.zeroShare = 0.1;
    for (int round = 0; round < 660; ++round) {
        RandomOptions& options = round % 11 == 10 ? dense : small;
        options.evidenceShare = (round % 3) * 0.25;
        const ModelDescription model = RandomModel(rng, options);
        const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
        ASSERT_TRUE(truth.ok);
        ASSERT_GT(truth.probEvidence, 0.0);

        auto piece = BuildPiece(model);
        int zeros = 0;
        CollectingAdapter adapter(*piece, &zeros);
        TsJoinTree tree(adapter);
        ASSERT_TRUE(tree.UpdateBeliefs()) << "round " << round;
        EXPECT_EQ(zeros, 0);
        ExpectBeliefsMatch(model, adapter, truth, round);

        const double pe = tree.CalcNormFactor();
        EXPECT_NEAR(pe, truth.probEvidence, 1e-12 * truth.probEvidence) << "round " << round;
    }
}

// Cliques of tens of thousands of cells are built chunk by chunk; the result
// is the same as for small ones.
TEST(JoinTreeTest, LargeCliquesMatchEnumeration) {
    std::mt19937 rng(8080);
    RandomOptions options;
    options.minNodes = 7;
    options.maxNodes = 8;
    options.maxStates = 7;
    options.maxParents = 5;
    options.zeroShare = 0.05;
    for (int round = 0; round < 6; ++round) {
        options.evidenceShare = (round % 2) * 0.15;
        const ModelDescription model = RandomModel(rng, options);
        const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
        if (!truth.ok) continue;
        auto piece = BuildPiece(model);
        CollectingAdapter adapter(*piece);
        TsJoinTree tree(adapter);
        ASSERT_TRUE(tree.UpdateBeliefs());
        ExpectBeliefsMatch(model, adapter, truth, round);
        EXPECT_NEAR(tree.CalcNormFactor(), truth.probEvidence, 1e-12 * truth.probEvidence);
    }
}

// Disconnected parts share one tree through empty separators; each part is
// normalised on its own, and the evidence probability is the product.
TEST(JoinTreeTest, DisconnectedPartsAndObservedCutNodes) {
    ModelDescription model;
    // 0 -> 1 -> 2 with 1 observed, and an isolated pair 3 -> 4.
    model.states = {2, 3, 2, 2, 2};
    model.parents = {{}, {0}, {1}, {}, {3}};
    model.tables = {{0.3, 0.7},
                   {0.2, 0.5, 0.3, 0.6, 0.1, 0.3},
                   {0.9, 0.1, 0.4, 0.6, 0.5, 0.5},
                   {0.25, 0.75},
                   {0.1, 0.9, 0.8, 0.2}};
    model.evidence = {-1, 2, -1, -1, 1};
    const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
    auto piece = BuildPiece(model);
    CollectingAdapter adapter(*piece);
    TsJoinTree tree(adapter);
    ASSERT_TRUE(tree.UpdateBeliefs());
    ExpectBeliefsMatch(model, adapter, truth, 0);
    EXPECT_NEAR(tree.CalcNormFactor(), truth.probEvidence, 1e-15);
    EXPECT_NEAR(truth.probEvidence, (0.3 * 0.3 + 0.7 * 0.3) * (0.25 * 0.9 + 0.75 * 0.2), 1e-15);
}

// A clique whose nodes are all observed keeps a potential of one cell, and
// the beliefs around it are still right.
TEST(JoinTreeTest, FullyObservedCliqueHasOneCell) {
    ModelDescription model;
    model.states = {2, 2, 3};
    model.parents = {{}, {0}, {1}};
    model.tables = {{0.4, 0.6}, {0.7, 0.3, 0.2, 0.8}, {0.1, 0.2, 0.7, 0.5, 0.25, 0.25}};
    model.evidence = {1, 0, -1};
    const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
    auto piece = BuildPiece(model);
    CollectingAdapter adapter(*piece);
    TsJoinTree tree(adapter);
    ASSERT_TRUE(tree.Triangulate(0));
    tree.FindHosts();
    tree.InitPotentials();
    bool sawSingleCell = false;
    for (int c = 0; c < tree.GetCliqueCount(); ++c) {
        const TsClique* clique = tree.GetClique(c);
        if (clique->nodes.count == 0) {
            EXPECT_EQ(clique->dims.count, 0);
            sawSingleCell = true;
        }
    }
    EXPECT_TRUE(sawSingleCell);
    tree.Collect();
    tree.Distribute();
    tree.CalcBeliefs(nullptr);
    tree.CleanUp();
    ExpectBeliefsMatch(model, adapter, truth, 0);
}

// Impossible evidence: every affected node is reported once through the log
// and the counter, and no belief is written for it.
TEST(JoinTreeTest, ZeroPotentialIsReportedNotWritten) {
    ModelDescription model;
    model.states = {2, 2, 2};
    model.parents = {{}, {0}, {}};
    model.tables = {{1.0, 0.0}, {1.0, 0.0, 0.5, 0.5}, {0.5, 0.5}};
    model.evidence = {-1, 1, -1};  // 0 is surely 0, and then 1 is surely 0
    auto piece = BuildPiece(model);
    int zeros = 0;
    CollectingAdapter adapter(*piece, &zeros);
    TsJoinTree tree(adapter);
    QEL_errorH().Flush();
    ASSERT_TRUE(tree.UpdateBeliefs());
    EXPECT_EQ(zeros, 1);
    EXPECT_FALSE(adapter.valid[0]);
    EXPECT_TRUE(adapter.valid[2]) << "the unconnected node is still computed";
    EXPECT_NEAR(adapter.beliefs[2][0], 0.5, 1e-15);
    ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1);
    EXPECT_EQ(QEL_errorH().GetLastError(), QEL_ZERO_POTENTIAL);
    EXPECT_EQ(std::string(QEL_errorH().GetLastErrorMessage()),
              "All potential entries are zeros for node with handle 0");
    EXPECT_EQ(tree.CalcNormFactor(), 0.0);
}

// A table whose shape does not fit its record's parents is left out rather
// than walked past its end: the other tables still give their beliefs.
TEST(JoinTreeTest, MisshapenTablesAreLeftOut) {
    ModelDescription model;
    model.states = {2, 3};
    model.parents = {{}, {}};
    model.tables = {{0.25, 0.75}, {0.2, 0.3, 0.5}};
    model.evidence = {-1, -1};
    auto piece = BuildPiece(model);
    // An arc the child's table knows nothing of.
    piece->nodes[1]->parents.Add(piece->nodes[0]);
    piece->nodes[0]->children.Add(piece->nodes[1]);
    CollectingAdapter adapter(*piece);
    EXPECT_EQ(adapter.GetMatrix(1), nullptr);
    EXPECT_NE(adapter.GetMatrix(0), nullptr);
    TsJoinTree tree(adapter);
    ASSERT_TRUE(tree.UpdateBeliefs());
    ASSERT_TRUE(adapter.valid[0]);
    EXPECT_NEAR(adapter.beliefs[0][0], 0.25, 1e-15);
    ASSERT_TRUE(adapter.valid[1]);
    EXPECT_NEAR(adapter.beliefs[1][0], 1.0 / 3.0, 1e-15);
}

// Over budget nothing is written; at exactly the budget all is.
TEST(JoinTreeTest, BudgetFailureWritesNothing) {
    std::mt19937 rng(5);
    RandomOptions options;
    options.minNodes = 6;
    options.evidenceShare = 0.0;
    for (int round = 0; round < 40; ++round) {
        const ModelDescription model = RandomModel(rng, options);
        auto piece = BuildPiece(model);
        CollectingAdapter probe(*piece);
        TsJoinTree sizing(probe);
        ASSERT_TRUE(sizing.Triangulate(0));
        unsigned total = 0;
        for (int c = 0; c < sizing.GetCliqueCount(); ++c) total += sizing.GetClique(c)->size;
        sizing.CleanUp();

        CollectingAdapter tight(*piece);
        TsJoinTree failing(tight);
        EXPECT_FALSE(failing.UpdateBeliefsEx(nullptr, total - 1));
        for (size_t v = 0; v < model.states.size(); ++v) {
            EXPECT_FALSE(tight.valid[v]);
            EXPECT_TRUE(tight.beliefs[v].empty());
        }
        CollectingAdapter exact(*piece);
        TsJoinTree passing(exact);
        EXPECT_TRUE(passing.UpdateBeliefsEx(nullptr, total));
        for (size_t v = 0; v < model.states.size(); ++v) EXPECT_TRUE(exact.valid[v]);
    }
}

// With a pending mask only the pending nodes are computed, and their entries
// are cleared; without one, only targets are.
TEST(JoinTreeTest, PendingMaskAndTargetsChooseTheNodes) {
    std::mt19937 rng(31);
    RandomOptions options;
    options.minNodes = 5;
    options.evidenceShare = 0.0;
    for (int round = 0; round < 50; ++round) {
        const ModelDescription model = RandomModel(rng, options);
        const size_t n = model.states.size();
        auto piece = BuildPiece(model);
        std::vector<char> mask(n);
        bool pending[16];
        for (size_t v = 0; v < n; ++v) {
            mask[v] = char(rng() % 2);
            pending[v] = mask[v] != 0;
        }
        CollectingAdapter masked(*piece);
        TsJoinTree tree(masked);
        ASSERT_TRUE(tree.UpdateBeliefsEx(pending, 0));
        for (size_t v = 0; v < n; ++v) {
            EXPECT_EQ(masked.valid[v], mask[v] != 0) << v;
            EXPECT_FALSE(pending[v]);
        }

        CollectingAdapter targeted(*piece);
        for (size_t v = 0; v < n; ++v) targeted.targets[v] = mask[v] != 0;
        TsJoinTree second(targeted);
        ASSERT_TRUE(second.UpdateBeliefs());
        for (size_t v = 0; v < n; ++v) EXPECT_EQ(targeted.valid[v], mask[v] != 0) << v;
    }
}

}  // namespace
