// Helpers shared by the tests of relevance reasoning and the clustering
// drivers: random evidence that the model allows, random targets, and a
// comparison of a value with the oracle's posterior.
#ifndef ORVIL_TEST_RELEVANCE_FIXTURE_H
#define ORVIL_TEST_RELEVANCE_FIXTURE_H

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "brute_force.h"
#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace relevance_test {

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
            if (rng() % 2 != 0) continue;
            const double f = factor(rng);
            for (int s = 0; s < states; ++s) table[column + s] *= f;
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
        std::vector<double> likelihood(size_t(net.GetNode(h)->Definition()->GetNumberOfOutcomes()));
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

inline const QEL_Dmatrix& Beliefs(QEL_network& net, int h) {
    QEL_Dmatrix* m = nullptr;
    net.GetNode(h)->Value()->GetValue(&m);
    return *m;
}

// The value of `h` is valid and equals the oracle's posterior to `tolerance`.
inline void ExpectOracleBeliefs(QEL_network& net, const orvil_test::BruteNetworkResult& oracle, int h,
                                double tolerance, const char* what) {
    ASSERT_TRUE(net.GetNode(h)->Value()->IsValueValid()) << what << " node " << h;
    const QEL_Dmatrix& beliefs = Beliefs(net, h);
    const std::vector<double>& expected = oracle.byHandle[size_t(h)];
    ASSERT_EQ(beliefs.GetSize(), int(expected.size())) << what << " node " << h;
    for (int s = 0; s < beliefs.GetSize(); ++s) {
        EXPECT_NEAR(beliefs[s], expected[size_t(s)], tolerance) << what << " node " << h << " state " << s;
    }
}

}  // namespace relevance_test

#endif
