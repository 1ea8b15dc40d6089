// The update driver: settings, dispatch to engines, the temporary nodes
// that carry likelihood vectors, the joint-probability store and the
// probability of evidence. Results of real engines are checked against the
// brute-force oracle, which is itself checked by hand first.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "brute_force.h"
#include "random_network.h"
#include "inference/engine_table.h"
#include "orvil/biorvil.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/updatelistener.h"

namespace {

using orvil_test::BruteForce;
using orvil_test::BruteForceNetwork;
using orvil_test::BruteModel;
using orvil_test::BruteNetworkResult;
using orvil_test::BruteResult;

int AddCpt(QEL_network& net, const char* id, int states) {
    const int h = net.AddNode(qel_cptType, id);
    net.GetNode(h)->Definition()->SetNumberOfOutcomes(states);
    return h;
}

void FillTable(QEL_network& net, int h, const std::vector<double>& cells) {
    QEL_Dmatrix* table = net.GetNode(h)->Definition()->GetMatrix();
    ASSERT_EQ(table->GetSize(), static_cast<int>(cells.size()));
    for (int i = 0; i < table->GetSize(); i++) (*table)[i] = cells[i];
}

// A random network of strictly positive tables, so that any evidence is
// possible.
std::vector<int> RandomPositiveNetwork(unsigned seed, QEL_network& net, int count) {
    orvil_test::RandomNetworkOptions options;
    options.nodes = count;
    options.maxOutcomes = 3;
    options.zeroShare = 0.0;
    return orvil_test::BuildRandomNetwork(net, seed, options);
}

// The network's shape: handles, ids, parent lists and table sizes.
std::string Shape(QEL_network& net) {
    std::string out;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        out += std::to_string(h) + ":" + net.GetNode(h)->GetId() + "(";
        const QEL_intArray& parents = net.GetParents(h);
        for (int i = 0; i < parents.NumItems(); i++) out += std::to_string(parents[i]) + ",";
        out += ")" + std::to_string(net.GetNode(h)->Definition()->GetSize()) + " ";
        out += std::to_string(net.NumChildren(h)) + ";";
    }
    return out;
}

class RecordingListener : public QEL_updateBeliefsListener {
public:
    void BeliefsUpdated(QEL_network& net, int status) override {
        calls++;
        lastNetwork = &net;
        lastStatus = status;
    }
    int calls = 0;
    QEL_network* lastNetwork = nullptr;
    int lastStatus = 1;
};

bool LogHolds(const std::string& text) {
    for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
        const char* m = QEL_errorH().GetErrorMessage(i);
        if (m != nullptr && text == m) return true;
    }
    return false;
}

// An algorithm number that names an engine no build contains.
const int kAbsentEngine = 10;

bool HaveExactEngine() { return QEL_findBNEngine(0) != nullptr; }

TEST(BruteForceOracle, AgreesWithHandComputedPosteriors) {
    // A -> B, P(A) = (0.3, 0.7), P(B | A) = (0.9, 0.1 | 0.2, 0.8).
    BruteModel model;
    model.vars.resize(2);
    model.vars[0].table = {0.3, 0.7};
    model.vars[1].parents = {0};
    model.vars[1].table = {0.9, 0.1, 0.2, 0.8};
    model.vars[1].evidence = 1;
    BruteResult r = BruteForce(model);
    ASSERT_TRUE(r.ok);
    EXPECT_NEAR(r.probEvidence, 0.3 * 0.1 + 0.7 * 0.8, 1e-15);
    EXPECT_NEAR(r.posteriors[0][0], 0.03 / 0.59, 1e-15);
    EXPECT_EQ(r.posteriors[1], (std::vector<double>{0.0, 1.0}));

    // A likelihood (1, 3) on A and no hard evidence: P(A) goes to
    // (0.3, 2.1) / 2.4, and B follows; scaling the vector changes nothing.
    model.vars[1].evidence = -1;
    model.vars[0].likelihood = {1.0, 3.0};
    r = BruteForce(model);
    EXPECT_NEAR(r.posteriors[0][0], 0.3 / 2.4, 1e-15);
    EXPECT_NEAR(r.posteriors[1][1], (0.3 * 0.1 + 2.1 * 0.8) / 2.4, 1e-15);
    EXPECT_NEAR(r.probVirtual, 2.4, 1e-15);
    model.vars[0].likelihood = {0.25, 0.75};
    EXPECT_NEAR(BruteForce(model).posteriors[0][0], 0.3 / 2.4, 1e-15);

    // Malformed models are refused.
    model.vars[1].table.pop_back();
    EXPECT_FALSE(BruteForce(model).ok);
}

TEST(DriverSettings, DefaultsAndCheckedSetters) {
    QEL_network net;
    EXPECT_EQ(net.GetDefaultBNAlgorithm(), 0);
    EXPECT_EQ(net.GetDefaultIDAlgorithm(), 0);
    EXPECT_EQ(net.GetNumberOfSamples(), 10000);
    EXPECT_EQ(net.GetNumberOfDiscretizationSamples(), 10000);
    EXPECT_TRUE(net.IsZeroAvoidanceEnabled());
    EXPECT_EQ(net.GetNetworkFlags(), 3);

    void* flat = &net;
    for (int accepted : {12, 3, 0}) {
        SetDefaultBNAlgorithm(flat, accepted);
        EXPECT_EQ(GetDefaultBNAlgorithm(flat), accepted);
        for (int refused : {13, -1, 100}) {
            SetDefaultBNAlgorithm(flat, refused);
            EXPECT_EQ(GetDefaultBNAlgorithm(flat), accepted);
        }
    }
    net.SetDefaultIDAlgorithm(1);
    net.SetDefaultIDAlgorithm(2);
    net.SetDefaultIDAlgorithm(-1);
    EXPECT_EQ(net.GetDefaultIDAlgorithm(), 1);
    EXPECT_EQ(SetNumberOfSamples(flat, -5), 0);
    EXPECT_EQ(GetNumberOfSamples(flat), -5);
    SetNumberOfDiscretizationSamples(flat, 7);
    EXPECT_EQ(GetNumberOfDiscretizationSamples(flat), 7);
}

TEST(DriverDispatch, AMissingEngineFailsWithAMessageAndTheListenerHearsIt) {
    QEL_network net;
    RecordingListener listener;
    net.SetUpdateBeliefsListener(&listener);
    net.SetDefaultBNAlgorithm(kAbsentEngine);

    // Also an empty network goes to the engine.
    QEL_errorH().Flush();
    EXPECT_EQ(net.UpdateBeliefs(), -2);
    EXPECT_TRUE(LogHolds("Inference algorithm 10 is not available in this build."));
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.lastNetwork, &net);
    EXPECT_EQ(listener.lastStatus, -2);

    const int a = AddCpt(net, "A", 2);
    EXPECT_EQ(net.UpdateBeliefs(), -2);
    EXPECT_EQ(listener.calls, 2);
    EXPECT_FALSE(net.GetNode(a)->Value()->IsValueValid());

    net.SetUpdateBeliefsListener(nullptr);
    net.UpdateBeliefs();
    EXPECT_EQ(listener.calls, 2);
}

TEST(DriverDispatch, VirtualEvidenceNodesAreGoneAfterAFailingEngine) {
    for (int trial = 0; trial < 20; trial++) {
        QEL_network net;
        const std::vector<int> handles = RandomPositiveNetwork(11000 + trial, net, 3 + trial % 5);
        ASSERT_FALSE(handles.empty());
        net.SetDefaultBNAlgorithm(kAbsentEngine);
        for (std::size_t i = 0; i < handles.size(); i += 2) {
            QEL_nodeValue* value = net.GetNode(handles[i])->Value();
            std::vector<double> likelihood(static_cast<std::size_t>(value->GetSize()), 0.5);
            likelihood[0] = 1.0;
            ASSERT_EQ(value->SetVirtualEvidence(likelihood), 0);
        }
        const std::string before = Shape(net);
        const int count = net.GetNumberOfNodes();
        const int flags = net.GetNetworkFlags();

        EXPECT_EQ(net.UpdateBeliefs(), -2);
        EXPECT_EQ(Shape(net), before);
        EXPECT_EQ(net.GetNumberOfNodes(), count);
        EXPECT_EQ(net.FindNode("@"), -2);
        EXPECT_EQ(net.GetNetworkFlags(), flags);
        for (std::size_t i = 0; i < handles.size(); i += 2) {
            EXPECT_TRUE(net.GetNode(handles[i])->Value()->IsVirtualEvidence());
        }
    }
}

TEST(DriverDispatch, ALikelihoodThatNoLongerFitsFailsTheUpdateAndLeavesNoNodes) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.GetNode(b)->Value()->SetVirtualEvidence({0.9, 0.1}), 0);
    ASSERT_EQ(net.GetNode(a)->Value()->SetVirtualEvidence({0.3, 0.7}), 0);
    ASSERT_EQ(net.GetNode(a)->Definition()->AddOutcome("Third"), 0);
    const std::string shape = Shape(net);
    QEL_errorH().Flush();
    EXPECT_EQ(net.UpdateBeliefs(), -2);
    EXPECT_TRUE(LogHolds("Likelihood vector of node [A] does not fit its outcomes."));
    EXPECT_EQ(Shape(net), shape);
    EXPECT_EQ(net.FindNode("@"), -2);
    EXPECT_EQ(net.GetNumberOfNodes(), 2);
}

TEST(DriverDispatch, ExactEngineMatchesTheOracleWithHardAndVirtualEvidence) {
    if (!HaveExactEngine()) GTEST_SKIP() << "no exact engine in this build";
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 60; trial++) {
        QEL_network net;
        const std::vector<int> handles = RandomPositiveNetwork(5000 + trial, net, 3 + trial % 8);
        ASSERT_FALSE(handles.empty());
        for (int h : handles) {
            QEL_nodeValue* value = net.GetNode(h)->Value();
            const double pick = unit(rng);
            if (pick < 0.2) {
                value->SetEvidence(static_cast<int>(unit(rng) * value->GetSize()) % value->GetSize());
            } else if (pick < 0.4) {
                std::vector<double> likelihood(static_cast<std::size_t>(value->GetSize()));
                for (double& w : likelihood) w = 0.05 + unit(rng);
                value->SetVirtualEvidence(likelihood);
            }
        }
        const std::string shape = Shape(net);
        const BruteNetworkResult oracle = BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        ASSERT_EQ(net.UpdateBeliefs(), 0) << "trial " << trial;
        EXPECT_EQ(Shape(net), shape);
        for (int h : handles) {
            QEL_nodeValue* value = net.GetNode(h)->Value();
            ASSERT_TRUE(value->IsValueValid()) << "trial " << trial << " node " << h;
            QEL_Dmatrix* beliefs = nullptr;
            value->GetValue(&beliefs);
            for (int s = 0; s < beliefs->GetSize(); s++) {
                EXPECT_NEAR((*beliefs)[s], oracle.byHandle[h][s], 1e-9)
                    << "trial " << trial << " node " << h;
            }
        }
    }
}

TEST(DriverProbEvidence, ChainRuleMatchesTheOracleAndKeepsTheEvidence) {
    // Nothing observed: 1 by the chain rule, and 0 from the join tree,
    // which finds no piece of the network to work on.
    QEL_network empty;
    double p = -1.0;
    EXPECT_EQ(empty.CalcProbEvidence(p, true), 0);
    EXPECT_EQ(p, 1.0);
    if (QEL_findProbEvidenceEngine() != nullptr) {
        EXPECT_EQ(CalcProbEvidence(&empty), 0.0);
    }

    if (!HaveExactEngine()) GTEST_SKIP() << "no exact engine in this build";
    std::mt19937 rng(9);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 40; trial++) {
        QEL_network net;
        const std::vector<int> handles = RandomPositiveNetwork(9000 + trial, net, 3 + trial % 7);
        ASSERT_FALSE(handles.empty());
        std::vector<int> observed(static_cast<std::size_t>(net.GetMaxNodes()), -1);
        std::vector<std::vector<double>> likelihoods(static_cast<std::size_t>(net.GetMaxNodes()));
        for (int h : handles) {
            QEL_nodeValue* value = net.GetNode(h)->Value();
            const double pick = unit(rng);
            if (pick < 0.35) {
                const int outcome = static_cast<int>(unit(rng) * value->GetSize()) % value->GetSize();
                ASSERT_EQ(value->SetEvidence(outcome), 0);
                observed[h] = outcome;
            } else if (pick < 0.5) {
                std::vector<double> likelihood(static_cast<std::size_t>(value->GetSize()));
                for (double& w : likelihood) w = 0.05 + unit(rng);
                ASSERT_EQ(value->SetVirtualEvidence(likelihood), 0);
                value->GetVirtualEvidence(likelihoods[h]);
            }
        }
        const int target = handles[handles.size() / 2];
        net.SetTarget(target, true);
        // Likelihood vectors do not enter P(e).
        BruteModel model = orvil_test::BruteModelFromNetwork(net);
        for (orvil_test::BruteVariable& v : model.vars) v.likelihood.clear();
        const BruteResult oracle = BruteForce(model);
        ASSERT_TRUE(oracle.ok);
        ASSERT_EQ(net.CalcProbEvidence(p, true), 0);
        EXPECT_NEAR(p, oracle.probEvidence, 1e-9) << "trial " << trial;
        EXPECT_EQ(net.GetNumberOfTargets(), 1);
        EXPECT_EQ(net.IsTarget(target), 1);
        for (int h : handles) {
            const QEL_nodeValue* value = net.GetNode(h)->Value();
            std::vector<double> likelihood;
            value->GetVirtualEvidence(likelihood);
            EXPECT_EQ(likelihood, likelihoods[h]);
            EXPECT_EQ(value->IsRealEvidence(), observed[h] >= 0);
            if (observed[h] >= 0) {
                EXPECT_EQ(value->GetEvidence(), observed[h]);
            }
        }
        EXPECT_NEAR(CalcProbEvidence(&net), p, 1e-9);
    }
}

TEST(DriverProbEvidence, AFailedChainRuleKeepsTheEvidence) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(1), 0);
    ASSERT_EQ(net.GetNode(b)->Value()->SetEvidence(0), 0);
    net.SetDefaultBNAlgorithm(kAbsentEngine);
    double p = 0.0;
    EXPECT_NE(net.CalcProbEvidence(p, true), 0);
    // The join-tree route does not depend on the update engine.
    if (QEL_findProbEvidenceEngine() == nullptr) {
        EXPECT_EQ(CalcProbEvidence(&net), 0.0);
    }
    EXPECT_EQ(net.GetNode(a)->Value()->GetEvidence(), 1);
    EXPECT_EQ(net.GetNode(b)->Value()->GetEvidence(), 0);
    EXPECT_TRUE(net.GetNode(b)->Value()->IsRealEvidence());
}

TEST(DriverJptStore, TablesAreKeptPerNodeListAndDroppedWithTheBeliefs) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 3);
    const int c = AddCpt(net, "C", 2);
    std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>> found;
    EXPECT_EQ(net.GetJpts(a, found), -3);
    EXPECT_EQ(net.InitJpt({a, b}), nullptr);
    EXPECT_EQ(net.GetJpts(99, found), -2);

    net.EnableJptStore(true);
    QEL_Dmatrix* ab = net.InitJpt({a, b});
    QEL_Dmatrix* bc = net.InitJpt({b, c});
    ASSERT_NE(ab, nullptr);
    ASSERT_NE(bc, nullptr);
    EXPECT_EQ(ab->GetNumberOfDimensions(), 2);
    EXPECT_EQ(ab->GetSizeOfDimension(0), 2);
    EXPECT_EQ(ab->GetSizeOfDimension(1), 3);
    EXPECT_EQ(net.InitJpt({a, 99}), nullptr);

    ASSERT_EQ(net.GetJpts(b, found), 0);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].first, (std::vector<int>{a, b}));
    EXPECT_EQ(found[0].second, ab);
    EXPECT_EQ(found[1].second, bc);
    ASSERT_EQ(net.GetJpts(c, found), 0);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].second, bc);

    // Beliefs going stale take the tables with them; the store stays on.
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.GetJpts(b, found), 0);
    EXPECT_TRUE(found.empty());
    net.InitJpt({a});
    net.EnableJptStore(true);
    EXPECT_EQ(net.GetJpts(a, found), 0);
    EXPECT_EQ(found.size(), 1u);
    net.EnableJptStore(false);
    EXPECT_EQ(net.GetJpts(a, found), -3);
}

TEST(DriverStaleness, ClearAllEvidenceLeavesNothingValidOrDeduced) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.0, 1.0});
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(1), 0);
    ASSERT_TRUE(net.GetNode(b)->Value()->IsPropagatedEvidence());
    ASSERT_EQ(net.GetNode(c)->Value()->SetVirtualEvidence({0.2, 0.8}), 0);
    for (int h : {a, b, c}) net.GetNode(h)->Value()->SetValueValid();

    EXPECT_EQ(ClearAllEvidence(&net), 0);
    for (int h : {a, b, c}) {
        const QEL_nodeValue* value = net.GetNode(h)->Value();
        EXPECT_EQ(value->GetFlags() & (QEL_VALUE_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE | QEL_VALUE_VALID), 0)
            << "node " << h;
    }
    EXPECT_EQ(net.GetNetworkFlags(), 3);
}

TEST(DriverStaleness, WithoutFunctionalDeterminationNothingIsDeduced) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.0, 1.0});
    net.SetNetworkFlags(QEL_network::QEL_RELEVANCE_ACTIVE);
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(1), 0);
    EXPECT_EQ(net.GetNode(b)->Value()->GetEvidence(), -2);
    ASSERT_EQ(net.GetNode(a)->Value()->ClearEvidence(), 0);
    ASSERT_EQ(net.GetNode(b)->Value()->SetEvidence(0), 0);
    EXPECT_EQ(net.GetNode(a)->Value()->GetEvidence(), -2);
    // A contradiction the tables would reveal goes unnoticed as well.
    EXPECT_EQ(net.GetNode(a)->Value()->SetEvidence(1), 0);
}

TEST(DriverHooks, ImmediateUpdatesFollowEachChangeAndTheEventMaskSilencesHooks) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.3, 0.7});
    RecordingListener listener;
    net.SetUpdateBeliefsListener(&listener);
    net.SetDefaultBNAlgorithm(kAbsentEngine);
    net.SetNetworkFlags(net.GetNetworkFlags() | QEL_network::QEL_UPDATE_IMMEDIATELY);

    // Each change runs an update; its failure does not undo the change.
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(0), 0);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.lastStatus, -2);
    EXPECT_EQ(net.GetNode(a)->Value()->GetEvidence(), 0);
    EXPECT_EQ(net.GetNode(b)->Value()->GetEvidence(), 0);
    ASSERT_EQ(net.GetNode(a)->Value()->ClearEvidence(), 0);
    EXPECT_EQ(listener.calls, 2);
    ASSERT_EQ(net.GetNode(b)->Value()->SetVirtualEvidence({0.3, 0.6}), 0);
    EXPECT_EQ(listener.calls, 3);
    ASSERT_EQ(net.RemoveArc(a, b), 0);
    EXPECT_EQ(listener.calls, 4);

    // With the mask at 0 no hook runs: no update, no check, no deduction.
    net.SetRelevanceEvents(0);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.3, 0.7});
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(0), 0);
    EXPECT_EQ(net.GetNode(b)->Value()->GetEvidence(), -2);
    EXPECT_EQ(net.GetNode(b)->Value()->SetEvidence(1), 0);
    EXPECT_EQ(listener.calls, 4);
    net.SetUpdateBeliefsListener(nullptr);
}

}  // namespace
