// The staleness walk against the brute-force oracle: after any change of
// evidence, tables or arcs, every value that claims to be valid holds the
// belief the oracle gives for the changed model, and values in other parts
// of the network keep their beliefs.
//
// No engine is needed: the test plays the engine itself, writing the
// oracle's posteriors into every value and marking them valid before each
// change.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "inference_fixture.h"
#include "random_network.h"

namespace {

using namespace inference_test;
using orvil_test::BruteForceNetwork;
using orvil_test::BruteNetworkResult;

// Plays the engine: every value gets the oracle's posterior and its valid
// bit. False when the evidence is impossible.
bool WriteOraclePosteriors(QEL_network& net) {
    const BruteNetworkResult oracle = BruteForceNetwork(net);
    if (!oracle.ok || oracle.probEvidence == 0.0) return false;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_Dmatrix* matrix = nullptr;
        net.GetNode(h)->Value()->GetValue(&matrix);
        for (int s = 0; s < matrix->GetSize(); s++) (*matrix)[s] = oracle.byHandle[h][s];
        net.GetNode(h)->Value()->SetValueValid();
    }
    return true;
}

// Handles joined to `start` by arcs in either direction, including it.
std::vector<bool> Component(QEL_network& net, int start) {
    std::vector<bool> in(size_t(net.GetMaxNodes()), false);
    std::vector<int> stack{start};
    in[start] = true;
    while (!stack.empty()) {
        const int h = stack.back();
        stack.pop_back();
        for (const QEL_intArray* list : {&net.GetParents(h), &net.GetChildren(h)}) {
            for (int i = 0; i < list->NumItems(); i++) {
                if (!in[(*list)[i]]) stack.push_back((*list)[i]);
                in[(*list)[i]] = true;
            }
        }
    }
    return in;
}

bool HoldsEvidence(QEL_network& net, const std::vector<bool>& part) {
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        const int flags = net.GetNode(h)->Value()->GetFlags();
        if (part[h] && (flags & (QEL_VALUE_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE)) != 0) return true;
    }
    return false;
}

// One random change at node `h` of the kinds a caller makes, described in
// `what`; true for a change that reaches every node.
bool RandomChange(std::mt19937& rng, QEL_network& net, int h, const std::vector<int>& handles, std::string& what) {
    QEL_nodeValue* value = net.GetNode(h)->Value();
    QEL_nodeDefinition* def = net.GetNode(h)->Definition();
    const unsigned states = unsigned(def->GetNumberOfOutcomes());
    const unsigned kind = rng() % 100;
    const std::string node = "(" + std::to_string(h) + ") -> ";
    if (kind < 35) {
        what = "SetEvidence" + node + std::to_string(value->SetEvidence(int(rng() % states)));
    } else if (kind < 55) {
        // Removing a likelihood vector, like setting one, reaches everything.
        const bool likelihood = value->IsVirtualEvidence() && !value->IsRealEvidence();
        what = "ClearEvidence" + node + std::to_string(value->ClearEvidence());
        if (likelihood) return true;
    } else if (kind < 65) {
        std::vector<double> likelihood(states);
        for (double& w : likelihood) w = 0.1 + double(rng() % 1000) / 1000.0;
        what = "SetVirtualEvidence" + node + std::to_string(value->SetVirtualEvidence(likelihood));
        return true;
    } else if (kind < 72) {
        what = "FillRandomTable" + node + std::to_string(orvil_test::FillRandomTable(net, h, rng, 0.1));
    } else if (kind < 80) {
        // A write through the raw table, announced afterwards: swap the
        // first two outcomes of the first column.
        QEL_Dmatrix& table = *def->GetMatrix();
        def->BeforeDirectChange(qel_directChange);
        std::swap(table[0], table[1]);
        what = "direct write" + node + std::to_string(def->AfterDirectChange(qel_directChange));
    } else if (net.NumParents(h) > 0 && rng() % 2 == 0) {
        const int parent = net.GetParents(h)[0];
        what = "RemoveArc from " + std::to_string(parent) + node + std::to_string(net.RemoveArc(parent, h));
    } else {
        const int other = handles[rng() % handles.size()];
        what = "AddArc from " + std::to_string(other) + node + std::to_string(net.AddArc(other, h));
    }
    return false;
}

}  // namespace

TEST(StalenessWalk, NoChangedBeliefStaysValidOnRandomNetworks) {
    std::mt19937 rng(2024);
    int checkedChanges = 0;
    int keptValid = 0;
    for (int network = 0; network < 400; network++) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 4 + network % 6;
        options.maxOutcomes = 3;
        options.zeroShare = 0.1;
        options.deterministicShare = 0.2;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 1000 + network, options);
        ASSERT_FALSE(handles.empty());
        for (int step = 0; step < 8 && WriteOraclePosteriors(net); step++) {
            // The component is taken before and after the change, so that
            // an arc that goes or comes joins both sides.
            const int start = handles[rng() % handles.size()];
            std::vector<bool> touched = Component(net, start);
            std::string what;
            const bool everywhere = RandomChange(rng, net, start, handles, what);
            const BruteNetworkResult after = BruteForceNetwork(net);
            if (!after.ok || after.probEvidence == 0.0) continue;
            const std::vector<bool> now = Component(net, start);
            for (size_t k = 0; k < now.size(); k++) touched[k] = everywhere || touched[k] || now[k];
            const std::string where = "network " + std::to_string(network) + " step " + std::to_string(step) +
                                      ": " + what + ", node ";
            for (int h : handles) {
                QEL_nodeValue* value = net.GetNode(h)->Value();
                // A valid value must hold the current belief: the old one
                // where the change did not reach, the point mass where the
                // change was an observation.
                double off = 0.0;
                for (int s = 0; s < value->GetSize(); s++) {
                    off = std::fmax(off, std::fabs(Beliefs(net, h)[s] - after.byHandle[h][s]));
                }
                EXPECT_TRUE(!value->IsValueValid() || off < 1e-9) << where << h << " is valid but off by " << off;
                // Re-deriving deduced outcomes after a change may revisit
                // any part that holds evidence; only parts without any are
                // sure to be left alone.
                if (!touched[h] && !HoldsEvidence(net, Component(net, h))) {
                    EXPECT_TRUE(value->IsValueValid()) << where << h << " lies apart from the change";
                    keptValid++;
                }
            }
            checkedChanges++;
        }
    }
    // The runs must have exercised the property, not skipped it.
    EXPECT_GT(checkedChanges, 500);
    EXPECT_GT(keptValid, 100);
}
