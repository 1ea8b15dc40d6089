// Updates through QEL_network: one pass (0), linear (11) and recursive (12)
// target decomposition against the oracle on random networks with hard and
// virtual evidence, under budgets small enough to force every kind of
// split; the probability of evidence; the fallback from one pass to
// decomposition on a network whose single join tree is far too large;
// impossible evidence; and the clique joints of the joint-probability store.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "inference_fixture.h"
#include "random_network.h"
#include "orvil/biorvil.h"

namespace {

using namespace inference_test;

// What an update or the chain rule must leave as it was: a node's
// likelihood, evidence, kind of evidence and whether it is a target.
std::vector<double> NodeState(QEL_network& net, int h) {
    std::vector<double> state;
    net.GetNode(h)->Value()->GetVirtualEvidence(state);
    state.push_back(net.GetNode(h)->Value()->GetEvidence());
    state.push_back(net.GetNode(h)->Value()->GetFlags() & QEL_VALUE_TEMPORAL_EVIDENCE);
    state.push_back(net.IsTarget(h));
    return state;
}

// With the store on, each clique leaves its joint over its unobserved nodes:
// summed down to one of them, it is that node's belief. Observed nodes get
// no table.
void ExpectStoredJoints(QEL_network& net, int h, const std::string& what) {
    std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>> tables;
    ASSERT_EQ(net.GetJpts(h, tables), 0);
    EXPECT_TRUE(!net.GetNode(h)->Value()->HasEvidence() || tables.empty()) << what;
    for (const auto& entry : tables) {
        const QEL_Dmatrix& m = *entry.second;
        const int d = int(std::find(entry.first.begin(), entry.first.end(), h) - entry.first.begin());
        std::vector<double> marginal(static_cast<size_t>(m.GetSizeOfDimension(d)), 0.0);
        for (int i = 0; i < m.GetSize(); ++i) {
            marginal[size_t(i / m.GetPreProduct()[d] % m.GetSizeOfDimension(d))] += m[i];
        }
        for (size_t s = 0; s < marginal.size(); ++s) EXPECT_NEAR(marginal[s], Beliefs(net, h)[int(s)], 1e-12) << what;
    }
}

struct DriverRun {
    int algorithm;
    const char* groupSize;       // "QEL_REL_DECOMP_THRESHOLD", or null
    const char* recursiveLimit;  // "QEL_REL_DECOMP_THRESHOLD2", or null
    const char* linearLimit;     // "QEL_REL_DECOMP_THRESHOLD3", or null
};

// Random networks with deterministic nodes, hard evidence, likelihood vectors
// and, in two rounds of three, some targets; in every other round some table
// columns do not sum to one, and the network asks that what pruning drops
// still counts. Every driver, with budgets from the default down to a few
// cells (which forces groups to be halved down to single targets), gives the
// oracle's posteriors for every target (and one pass, the clique joints that
// hold it), leaves the other unobserved nodes stale and the evidence, targets
// and network's shape as they were, and so does the chain rule. The
// probability of the hard evidence agrees with the oracle, through the update
// driver, the chain rule and called directly.
TEST(NetworkUpdateTest, EveryDriverMatchesTheOracle) {
    // An empty network: P(e) is 1 by the chain rule, and 0 from the join
    // tree, which finds no piece of the network to work on.
    QEL_network empty;
    double pe = -1.0;
    EXPECT_EQ(empty.CalcProbEvidence(pe, true), 0);
    EXPECT_EQ(pe, 1.0);
    EXPECT_EQ(CalcProbEvidence(&empty), 0.0);
    EXPECT_EQ(empty.UpdateBeliefs(), 0);

    const DriverRun runs[] = {
        {0, nullptr, nullptr, nullptr}, {11, nullptr, nullptr, nullptr}, {11, "2", nullptr, "6"},
        {11, "3", "12", nullptr},       {11, "0", "x", "4"},             {12, nullptr, nullptr, nullptr},
        {12, nullptr, "5", nullptr},    {12, nullptr, "40", "3"},
    };
    std::mt19937 rng(99);
    for (int round = 0; round < 60; ++round) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 3 + round % 10;
        options.maxOutcomes = 3;
        options.deterministicShare = 0.2;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 900 + unsigned(round), options);
        ASSERT_FALSE(handles.empty());
        // Pruning drops barren nodes unread unless told to keep the digits
        // their columns carry.
        if (round % 2 == 1) {
            UnnormaliseSomeColumns(net, handles, rng);
            SetProperty(net, "QEL_REL_BARREN_TOLERANCE", "0");
        }
        if (round % 4 >= 2) IgnoreSomeParents(net, handles, rng);
        ObserveSomePossible(net, handles, rng, 0.3);
        const std::string where = "round " + std::to_string(round);

        const orvil_test::BruteNetworkResult hard = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(hard.ok);
        ASSERT_EQ(net.CalcProbEvidence(pe, false), 0) << where;
        EXPECT_NEAR(pe, hard.probEvidence, 1e-12 * hard.probEvidence) << where;

        std::vector<int> targets = handles;
        if (round % 3 != 0) targets = TargetSome(net, handles, rng);
        EXPECT_NEAR(CalcProbEvidence(&net), hard.probEvidence, 1e-12 * hard.probEvidence) << where;
        AddSomeLikelihoods(net, handles, rng, 0.3);
        const std::string shape = Shape(net);
        std::vector<std::vector<double>> before;
        for (int h : handles) before.push_back(NodeState(net, h));
        // The chain rule leaves likelihoods out of P(e) and needs tables that
        // sum to one.
        ASSERT_EQ(net.CalcProbEvidence(pe, true), 0) << where;
        if (round % 2 == 0) {
            EXPECT_NEAR(pe, hard.probEvidence, 1e-9) << where;
        }
        for (size_t i = 0; i < handles.size(); ++i) EXPECT_EQ(NodeState(net, handles[i]), before[i]) << where;
        const orvil_test::BruteNetworkResult oracle = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        for (const DriverRun& run : runs) {
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD", run.groupSize);
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD2", run.recursiveLimit);
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD3", run.linearLimit);
            net.SetDefaultBNAlgorithm(run.algorithm);
            // The store keeps every family whole: without it, algorithm 0
            // drops the arcs that carry nothing too.
            const bool store = run.algorithm == 0 && round % 3 != 1;
            net.EnableJptStore(store);
            net.InvalidateAllBeliefs();
            const std::string what = where + " run " + std::to_string(&run - runs);
            ASSERT_EQ(net.UpdateBeliefs(), 0) << what;
            EXPECT_EQ(Shape(net), shape) << what;
            for (size_t i = 0; i < handles.size(); ++i) EXPECT_EQ(NodeState(net, handles[i]), before[i]) << what;
            for (int h : handles) {
                const bool target = std::find(targets.begin(), targets.end(), h) != targets.end();
                if (target) ExpectOracleBeliefs(net, oracle, h, 1e-12, what);
                if (target && store) ExpectStoredJoints(net, h, what);
                if (!target && !net.GetNode(h)->Value()->HasEvidence()) {
                    EXPECT_FALSE(net.GetNode(h)->Value()->IsValueValid()) << what << " node " << h;
                }
            }
        }
    }
}

// Fifteen four-state roots and a two-state child of every pair of them: one
// join tree would hold a clique of all the roots, 4^15 cells, while a child
// alone needs only its two parents. Algorithm 0 falls back to the
// decomposition and gets every belief right; with the fallback disabled it
// fails with -42 and writes no value, and so does a single target whose tree
// cannot fit.
TEST(NetworkUpdateTest, OversizedTreeFallsBackToDecomposition) {
    QEL_network net;
    std::mt19937 rng(5);
    const int m = 15;
    std::vector<int> roots;
    std::vector<std::vector<int>> child(m, std::vector<int>(m, -1));
    for (int i = 0; i < m; ++i) {
        roots.push_back(AddCpt(net, ("x" + std::to_string(i)).c_str(), 4));
        ASSERT_EQ(orvil_test::FillRandomTable(net, roots.back(), rng, 0.0), 0);
        for (int j = 0; j < i; ++j) {
            child[j][i] = AddCpt(net, ("c" + std::to_string(j) + "_" + std::to_string(i)).c_str(), 2);
            ASSERT_EQ(net.AddArc(roots[size_t(j)], child[j][i]), 0);
            ASSERT_EQ(net.AddArc(roots[size_t(i)], child[j][i]), 0);
            ASSERT_EQ(orvil_test::FillRandomTable(net, child[j][i], rng, 0.0), 0);
        }
    }
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    auto table = [&net](int h) -> const QEL_Dmatrix& { return *net.GetNode(h)->Definition()->GetMatrix(); };
    for (int i = 0; i < m; ++i) {
        for (int s = 0; s < 4; ++s) EXPECT_NEAR(Beliefs(net, roots[size_t(i)])[s], table(roots[size_t(i)])[s], 1e-12);
        for (int j = 0; j < i; ++j) {
            double yes = 0.0;
            for (int a = 0; a < 16; ++a) {
                yes += table(roots[size_t(j)])[a / 4] * table(roots[size_t(i)])[a % 4] * table(child[j][i])[2 * a];
            }
            EXPECT_NEAR(Beliefs(net, child[j][i])[0], yes, 1e-12);
        }
    }

    SetProperty(net, "QEL_REL_DECOMP_DISABLE_FALLBACK", "no");
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_OUT_OF_MEMORY);
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        EXPECT_FALSE(net.GetNode(h)->Value()->IsValueValid()) << "node " << h;
    }
    SetProperty(net, "QEL_REL_DECOMP_DISABLE_FALLBACK", nullptr);

    // Every child observed ties all roots together, even for one target.
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        ASSERT_TRUE(net.NumParents(h) == 0 || net.GetNode(h)->Value()->SetEvidence(0) == 0);
    }
    net.SetTarget(roots[0], true);
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_OUT_OF_MEMORY);
    EXPECT_FALSE(net.GetNode(roots[0])->Value()->IsValueValid());
    EXPECT_EQ(net.GetNumberOfTargets(), 1);
}

// Evidence that is locally possible but jointly impossible: the update
// reports -43 and logs the node whose potential is all zeros. Observed nodes
// cut the network, so what lies beyond them (C, given B) and what is not
// connected at all (D) still gets beliefs. A has three states, so that B's
// evidence leaves it two possible ones and pruning cannot settle it alone.
TEST(NetworkUpdateTest, ImpossibleEvidenceReportsZeroPotentials) {
    QEL_network net;
    net.SetNetworkFlags(net.GetNetworkFlags() & ~QEL_network::QEL_FUNCTIONAL_DETERMINATION);
    const int a = AddCpt(net, "A", 3);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 2);
    const int d = AddCpt(net, "D", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(b, c), 0);
    FillTable(net, a, {1.0, 0.0, 0.0});
    FillTable(net, b, {1.0, 0.0, 0.5, 0.5, 0.5, 0.5});
    FillTable(net, c, {0.3, 0.7, 0.6, 0.4});
    FillTable(net, d, {0.2, 0.8});
    ASSERT_EQ(net.GetNode(b)->Value()->SetEvidence(1), 0);
    QEL_errorH().Flush();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_ZERO_POTENTIAL);
    EXPECT_FALSE(net.GetNode(a)->Value()->IsValueValid());
    ASSERT_TRUE(net.GetNode(c)->Value()->IsValueValid());
    EXPECT_DOUBLE_EQ(Beliefs(net, c)[0], 0.6);
    ASSERT_TRUE(net.GetNode(d)->Value()->IsValueValid());
    EXPECT_DOUBLE_EQ(Beliefs(net, d)[0], 0.2);
    ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1);
    EXPECT_EQ(QEL_errorH().GetLastError(), QEL_ZERO_POTENTIAL);
    EXPECT_STREQ(QEL_errorH().GetLastErrorMessage(), "All potential entries are zeros for node A");
    EXPECT_EQ(CalcProbEvidence(&net), 0.0);
}

}  // namespace
