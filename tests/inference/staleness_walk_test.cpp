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
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "brute_force.h"
#include "random_network.h"
#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace {

using orvil_test::BruteForceNetwork;
using orvil_test::BruteNetworkResult;

// Plays the engine: every value gets the oracle's posterior and its valid
// bit. False when the evidence is impossible.
bool WriteOraclePosteriors(QEL_network& net, BruteNetworkResult& oracle) {
    oracle = BruteForceNetwork(net);
    if (!oracle.ok || oracle.probEvidence == 0.0) return false;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_nodeValue* value = net.GetNode(h)->Value();
        QEL_Dmatrix* matrix = nullptr;
        value->GetValue(&matrix);
        for (int s = 0; s < matrix->GetSize(); s++) (*matrix)[s] = oracle.byHandle[h][s];
        value->SetValueValid();
    }
    return true;
}

// Handles joined to `start` by arcs in either direction, including it.
std::vector<bool> Component(QEL_network& net, int start) {
    std::vector<bool> in(static_cast<std::size_t>(net.GetMaxNodes()), false);
    std::vector<int> stack{start};
    in[start] = true;
    while (!stack.empty()) {
        const int h = stack.back();
        stack.pop_back();
        for (const QEL_intArray* list : {&net.GetParents(h), &net.GetChildren(h)}) {
            for (int i = 0; i < list->NumItems(); i++) {
                if (!in[(*list)[i]]) {
                    in[(*list)[i]] = true;
                    stack.push_back((*list)[i]);
                }
            }
        }
    }
    return in;
}

bool HoldsEvidence(QEL_network& net, const std::vector<bool>& part) {
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        if (part[h] && (net.GetNode(h)->Value()->GetFlags() &
                        (QEL_VALUE_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE)) != 0) {
            return true;
        }
    }
    return false;
}

std::vector<int> Handles(QEL_network& net) {
    std::vector<int> out;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) out.push_back(h);
    return out;
}

// One random change of the kinds a caller makes; returns the node it
// started at, or -1 for a change that reaches every node.
int RandomChange(std::mt19937& rng, QEL_network& net, std::string& what) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const std::vector<int> handles = Handles(net);
    const int h = handles[static_cast<std::size_t>(unit(rng) * handles.size()) % handles.size()];
    QEL_nodeValue* value = net.GetNode(h)->Value();
    QEL_nodeDefinition* def = net.GetNode(h)->Definition();
    const int states = def->GetNumberOfOutcomes();
    const double kind = unit(rng);
    char text[96];
    if (kind < 0.35) {
        const int outcome = static_cast<int>(unit(rng) * states) % states;
        std::snprintf(text, sizeof text, "SetEvidence(%d, %d) -> %d", h, outcome,
                      value->SetEvidence(outcome));
    } else if (kind < 0.55) {
        // Removing a likelihood vector, like setting one, reaches everything.
        const bool likelihood = value->IsVirtualEvidence() && !value->IsRealEvidence();
        std::snprintf(text, sizeof text, "ClearEvidence(%d) -> %d", h, value->ClearEvidence());
        if (likelihood) {
            what = text;
            return -1;
        }
    } else if (kind < 0.65) {
        std::vector<double> likelihood(static_cast<std::size_t>(states));
        for (double& w : likelihood) w = 0.1 + unit(rng);
        std::snprintf(text, sizeof text, "SetVirtualEvidence(%d) -> %d", h,
                      value->SetVirtualEvidence(likelihood));
        what = text;
        return -1;
    } else if (kind < 0.72) {
        std::snprintf(text, sizeof text, "FillRandomTable(%d) -> %d", h,
                      orvil_test::FillRandomTable(net, h, rng, 0.1));
    } else if (kind < 0.8) {
        // A write through the raw table, announced afterwards: swap the
        // first two outcomes of the first column.
        QEL_Dmatrix* table = def->GetMatrix();
        def->BeforeDirectChange(qel_directChange);
        const double first = (*table)[0];
        (*table)[0] = (*table)[1];
        (*table)[1] = first;
        std::snprintf(text, sizeof text, "direct write (%d) -> %d", h,
                      def->AfterDirectChange(qel_directChange));
    } else if (net.NumParents(h) > 0 && unit(rng) < 0.5) {
        const int parent = net.GetParents(h)[0];
        std::snprintf(text, sizeof text, "RemoveArc(%d, %d) -> %d", parent, h,
                      net.RemoveArc(parent, h));
    } else {
        const int other = handles[static_cast<std::size_t>(unit(rng) * handles.size()) % handles.size()];
        std::snprintf(text, sizeof text, "AddArc(%d, %d) -> %d", other, h, net.AddArc(other, h));
    }
    what = text;
    return h;
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
        ASSERT_FALSE(orvil_test::BuildRandomNetwork(net, 1000 + network, options).empty());
        BruteNetworkResult before;
        if (!WriteOraclePosteriors(net, before)) continue;
        for (int step = 0; step < 8; step++) {
            const std::vector<int> handles = Handles(net);
            std::string what;
            // The component is taken before and after the change, so that
            // an arc that goes or comes joins both sides.
            std::vector<std::vector<bool>> reach;
            for (int h : handles) reach.push_back(Component(net, h));
            const int start = RandomChange(rng, net, what);
            BruteNetworkResult after = BruteForceNetwork(net);
            if (!after.ok || after.probEvidence == 0.0) {
                if (!WriteOraclePosteriors(net, before)) break;
                continue;
            }
            std::vector<bool> touched(static_cast<std::size_t>(net.GetMaxNodes()), start < 0);
            if (start >= 0) {
                const std::vector<bool> now = Component(net, start);
                for (std::size_t i = 0; i < handles.size(); i++) {
                    if (handles[i] != start) continue;
                    for (std::size_t k = 0; k < now.size(); k++) touched[k] = now[k] || reach[i][k];
                }
            }
            for (int h : handles) {
                QEL_nodeValue* value = net.GetNode(h)->Value();
                QEL_Dmatrix* matrix = nullptr;
                value->GetValue(&matrix);
                // A valid value must hold the current belief: the old one
                // where the change did not reach, the point mass where the
                // change was an observation.
                double off = 0.0;
                for (int s = 0; s < matrix->GetSize(); s++) {
                    off = std::fmax(off, std::fabs((*matrix)[s] - after.byHandle[h][s]));
                }
                if (value->IsValueValid()) {
                    EXPECT_LT(off, 1e-9) << "network " << network << " step " << step << ": "
                                         << what << ", node " << h << " is valid but off by " << off;
                }
                // Re-deriving deduced outcomes after a change may revisit
                // any part that holds evidence; only parts without any are
                // sure to be left alone.
                if (!touched[h] && !HoldsEvidence(net, Component(net, h))) {
                    EXPECT_TRUE(value->IsValueValid())
                        << "network " << network << " step " << step << ": " << what << ", node "
                        << h << " lies apart from the change";
                    keptValid++;
                }
            }
            checkedChanges++;
            if (!WriteOraclePosteriors(net, before)) break;
        }
    }
    // The runs must have exercised the property, not skipped it.
    EXPECT_GT(checkedChanges, 500);
    EXPECT_GT(keptValid, 100);
}
