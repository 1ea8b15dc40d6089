// The clustering drivers: one pass (0), linear (11) and recursive (12) target
// decomposition against the oracle on random networks with hard and virtual
// evidence, under budgets small enough to force every kind of split; the
// probability of evidence; and the fallback from one pass to decomposition
// on a network whose single join tree is far too large.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "brute_force.h"
#include "random_network.h"
#include "relevance_fixture.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/tsclustering.h"
#include "orvil/userproperties.h"

namespace {

std::vector<int> TargetList(QEL_network& net) {
    std::vector<int> targets;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        if (net.IsTarget(h) == 1) targets.push_back(h);
    }
    return targets;
}

struct DriverRun {
    int algorithm;
    const char* groupSize;       // "QEL_REL_DECOMP_THRESHOLD", or null
    const char* recursiveLimit;  // "QEL_REL_DECOMP_THRESHOLD2", or null
    const char* linearLimit;     // "QEL_REL_DECOMP_THRESHOLD3", or null
};

void SetProperty(QEL_network& net, const char* name, const char* value) {
    QEL_userProperties& properties = net.UserProperties();
    const int index = properties.FindProperty(name);
    if (index >= 0) properties.DeleteProperty(index);
    if (value != nullptr) {
        ASSERT_GE(properties.AddProperty(name, value), 0);
    }
}

// Random networks with deterministic nodes, hard evidence, likelihood vectors
// and, in two rounds of three, some targets; in every other round some table
// columns do not sum to one, so that what pruning drops still counts. Every driver, with budgets from
// the default down to a few cells (which forces groups to be halved down to
// single targets), gives the oracle's posteriors for every target and leaves
// the targets as they were. The probability of the hard evidence agrees with
// the oracle, through the update driver and called directly.
TEST(ClusteringDriversTest, EveryDriverMatchesTheOracle) {
    const DriverRun runs[] = {
        {0, nullptr, nullptr, nullptr},
        {11, nullptr, nullptr, nullptr},
        {11, "2", nullptr, "6"},
        {11, "3", "12", nullptr},
        {11, "0", "x", "4"},
        {12, nullptr, nullptr, nullptr},
        {12, nullptr, "5", nullptr},
        {12, nullptr, "40", "3"},
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
        if (round % 2 == 1) relevance_test::UnnormaliseSomeColumns(net, handles, rng);
        relevance_test::ObserveSomePossible(net, handles, rng, 0.3);
        const std::string where = "round " + std::to_string(round);

        const orvil_test::BruteNetworkResult hard = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(hard.ok);
        double pe = -1.0;
        ASSERT_EQ(net.CalcProbEvidence(pe, false), 0) << where;
        EXPECT_NEAR(pe, hard.probEvidence, 1e-12 * hard.probEvidence) << where;

        std::vector<int> targets = handles;
        if (round % 3 != 0) targets = relevance_test::TargetSome(net, handles, rng);
        EXPECT_NEAR(TsClusteringProbE(&net), hard.probEvidence, 1e-12 * hard.probEvidence) << where;
        relevance_test::AddSomeLikelihoods(net, handles, rng, 0.3);
        const std::vector<int> targetsBefore = TargetList(net);
        const orvil_test::BruteNetworkResult oracle = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        for (const DriverRun& run : runs) {
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD", run.groupSize);
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD2", run.recursiveLimit);
            SetProperty(net, "QEL_REL_DECOMP_THRESHOLD3", run.linearLimit);
            net.SetDefaultBNAlgorithm(run.algorithm);
            net.InvalidateAllBeliefs();
            const std::string what = where + " algorithm " + std::to_string(run.algorithm) + " limit " +
                                     (run.linearLimit != nullptr ? run.linearLimit : "-") + "/" +
                                     (run.recursiveLimit != nullptr ? run.recursiveLimit : "-");
            ASSERT_EQ(net.UpdateBeliefs(), 0) << what;
            EXPECT_EQ(TargetList(net), targetsBefore) << what;
            for (int h : targets) relevance_test::ExpectOracleBeliefs(net, oracle, h, 1e-12, what.c_str());
        }
    }
}

// Fifteen four-state roots and a two-state child of every pair of them: one
// join tree would hold a clique of all the roots, 4^15 cells, while a child
// alone needs only its two parents. Algorithm 0 falls back to the decomposition and
// gets every belief right; with the fallback disabled it fails with -42, and
// so does a single target whose tree cannot fit.
TEST(ClusteringDriversTest, OversizedTreeFallsBackToDecomposition) {
    QEL_network net;
    std::mt19937 rng(5);
    const int m = 15;
    const int k = 4;
    std::vector<int> roots;
    for (int i = 0; i < m; ++i) {
        const int h = net.AddNode(qel_cptType, ("x" + std::to_string(i)).c_str());
        ASSERT_EQ(net.GetNode(h)->Definition()->SetNumberOfOutcomes(k), 0);
        ASSERT_EQ(orvil_test::FillRandomTable(net, h, rng, 0.0), 0);
        roots.push_back(h);
    }
    struct Child {
        int handle, i, j;
    };
    std::vector<Child> children;
    for (int i = 0; i < m; ++i) {
        for (int j = i + 1; j < m; ++j) {
            const int h = net.AddNode(qel_cptType, ("c" + std::to_string(i) + "_" + std::to_string(j)).c_str());
            ASSERT_EQ(net.AddArc(roots[size_t(i)], h), 0);
            ASSERT_EQ(net.AddArc(roots[size_t(j)], h), 0);
            ASSERT_EQ(orvil_test::FillRandomTable(net, h, rng, 0.0), 0);
            children.push_back({h, i, j});
        }
    }
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_EQ(net.GetNumberOfTargets(), 0);
    for (int h : roots) {
        const QEL_Dmatrix& prior = *net.GetNode(h)->Definition()->GetMatrix();
        const QEL_Dmatrix& beliefs = relevance_test::Beliefs(net, h);
        ASSERT_TRUE(net.GetNode(h)->Value()->IsValueValid());
        for (int s = 0; s < k; ++s) EXPECT_NEAR(beliefs[s], prior[s], 1e-12);
    }
    for (const Child& c : children) {
        const QEL_Dmatrix& pi = *net.GetNode(roots[size_t(c.i)])->Definition()->GetMatrix();
        const QEL_Dmatrix& pj = *net.GetNode(roots[size_t(c.j)])->Definition()->GetMatrix();
        const QEL_Dmatrix& table = *net.GetNode(c.handle)->Definition()->GetMatrix();
        double yes = 0.0;
        for (int a = 0; a < k; ++a) {
            for (int b = 0; b < k; ++b) yes += pi[a] * pj[b] * table[(a * k + b) * 2];
        }
        ASSERT_TRUE(net.GetNode(c.handle)->Value()->IsValueValid());
        EXPECT_NEAR(relevance_test::Beliefs(net, c.handle)[0], yes, 1e-12);
    }

    ASSERT_GE(net.UserProperties().AddProperty("QEL_REL_DECOMP_DISABLE_FALLBACK", "no"), 0);
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_OUT_OF_MEMORY);
    net.UserProperties().DeleteProperty(net.UserProperties().FindProperty("QEL_REL_DECOMP_DISABLE_FALLBACK"));

    // Every child observed ties all roots together, even for one target.
    for (const Child& c : children) ASSERT_EQ(net.GetNode(c.handle)->Value()->SetEvidence(0), 0);
    net.SetTarget(roots[0], true);
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_OUT_OF_MEMORY);
    EXPECT_FALSE(net.GetNode(roots[0])->Value()->IsValueValid());
    EXPECT_EQ(TargetList(net), std::vector<int>{roots[0]});
}

}  // namespace
