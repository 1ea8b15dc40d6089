// The update driver: checked settings, dispatch to a missing engine, the
// temporary nodes that carry likelihood vectors, the joint-probability store
// and the hooks that changes of evidence run; and the oracle's likelihoods,
// checked by hand.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inference_fixture.h"
#include "random_network.h"
#include "orvil/biorvil.h"
#include "orvil/updatelistener.h"

namespace {

using namespace inference_test;
using orvil_test::BruteForce;

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

// An algorithm number that names an engine no build contains.
const int kAbsentEngine = 10;

// The oracle's tables and posteriors are checked against reference
// posteriors of real networks in the format tests; its likelihood vectors
// only here. A -> B, P(A) = (0.3, 0.7), P(B | A) = (0.9, 0.1 | 0.2, 0.8),
// and a likelihood (1, 3) on A: P(A) goes to (0.3, 2.1) / 2.4, and B
// follows; scaling the vector changes nothing.
TEST(BruteForceOracle, LikelihoodsWeighTheJoint) {
    BruteModel model;
    model.vars.resize(2);
    model.vars[0].table = {0.3, 0.7};
    model.vars[0].likelihood = {1.0, 3.0};
    model.vars[1].parents = {0};
    model.vars[1].table = {0.9, 0.1, 0.2, 0.8};
    orvil_test::BruteResult r = BruteForce(model);
    ASSERT_TRUE(r.ok);
    EXPECT_NEAR(r.posteriors[0][0], 0.3 / 2.4, 1e-15);
    EXPECT_NEAR(r.posteriors[1][1], (0.3 * 0.1 + 2.1 * 0.8) / 2.4, 1e-15);
    EXPECT_NEAR(r.probVirtual, 2.4, 1e-15);
    model.vars[0].likelihood = {0.25, 0.75};
    EXPECT_NEAR(BruteForce(model).posteriors[0][0], 0.3 / 2.4, 1e-15);
    model.vars[1].table.pop_back();
    EXPECT_FALSE(BruteForce(model).ok) << "a malformed model is refused";
}

TEST(DriverSettings, OutOfRangeAlgorithmsAreIgnored) {
    QEL_network net;
    void* flat = &net;
    for (int accepted : {12, 3, 0}) {
        SetDefaultBNAlgorithm(flat, accepted);
        for (int refused : {13, -1, 100}) SetDefaultBNAlgorithm(flat, refused);
        EXPECT_EQ(GetDefaultBNAlgorithm(flat), accepted);
    }
    net.SetDefaultIDAlgorithm(1);
    net.SetDefaultIDAlgorithm(2);
    net.SetDefaultIDAlgorithm(-1);
    EXPECT_EQ(net.GetDefaultIDAlgorithm(), 1);
    // Sample counts are taken as given, negative ones too.
    EXPECT_EQ(SetNumberOfSamples(flat, -5), 0);
    EXPECT_EQ(GetNumberOfSamples(flat), -5);
}

// An engine the build lacks, on networks of no to five nodes with likelihood
// vectors and an observation: the update fails with -2 and its message, the
// listener hears it, no value turns valid, the likelihood vectors' temporary
// nodes are gone, and the failed chain rule keeps the evidence.
TEST(DriverDispatch, AMissingEngineFailsAndLeavesTheNetworkAsItWas) {
    for (int trial = 0; trial < 12; trial++) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = trial % 6;
        options.zeroShare = 0.0;  // any observation is possible
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 11000 + trial, options);
        ASSERT_EQ(handles.size(), size_t(trial % 6));
        RecordingListener listener;
        net.SetUpdateBeliefsListener(&listener);
        net.SetDefaultBNAlgorithm(kAbsentEngine);
        for (std::size_t i = 0; i < handles.size(); i++) {
            QEL_nodeValue* value = net.GetNode(handles[i])->Value();
            const std::vector<double> likelihood(size_t(value->GetSize()), 0.5);
            ASSERT_EQ(i == 1 ? value->SetEvidence(1) : value->SetVirtualEvidence(likelihood), 0);
        }
        const std::string before = Shape(net);
        const int flags = net.GetNetworkFlags();
        QEL_errorH().Flush();
        EXPECT_EQ(net.UpdateBeliefs(), -2);
        EXPECT_TRUE(LogHolds("Inference algorithm 10 is not available in this build."));
        EXPECT_EQ(listener.calls, 1);
        EXPECT_EQ(listener.lastNetwork, &net);
        EXPECT_EQ(listener.lastStatus, -2);
        EXPECT_EQ(Shape(net), before);
        EXPECT_EQ(net.FindNode("@"), -2);
        EXPECT_EQ(net.GetNetworkFlags(), flags);
        net.SetUpdateBeliefsListener(nullptr);
        net.UpdateBeliefs();
        EXPECT_EQ(listener.calls, 1) << "a detached listener hears nothing";
        double p = 0.0;
        EXPECT_TRUE(handles.size() < 2 || net.CalcProbEvidence(p, true) != 0);
        for (std::size_t i = 0; i < handles.size(); i++) {
            const QEL_nodeValue* value = net.GetNode(handles[i])->Value();
            EXPECT_EQ(value->IsVirtualEvidence(), i != 1);
            EXPECT_EQ(value->IsRealEvidence(), i == 1);
            EXPECT_EQ(value->IsValueValid() != 0, i == 1);
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
}

// The store refuses with -3 while off and -2 for a handle it does not know;
// a node's tables come in the order they were made; beliefs going stale
// take the tables with them, while the store stays on.
TEST(DriverJptStore, TablesAreKeptPerNodeListAndDroppedWithTheBeliefs) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 3);
    const int c = AddCpt(net, "C", 2);
    std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>> found;
    EXPECT_EQ(net.GetJpts(a, found), -3);
    EXPECT_EQ(net.InitJpt({a, b}), nullptr);
    net.EnableJptStore(true);
    EXPECT_EQ(net.GetJpts(99, found), -2);
    EXPECT_EQ(net.InitJpt({a, 99}), nullptr);
    QEL_Dmatrix* ab = net.InitJpt({a, b});
    QEL_Dmatrix* bc = net.InitJpt({b, c});
    ASSERT_NE(ab, nullptr);
    EXPECT_EQ(ab->GetSizeOfDimension(1), 3);
    ASSERT_EQ(net.GetJpts(b, found), 0);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].first, (std::vector<int>{a, b}));
    EXPECT_EQ(found[0].second, ab);
    EXPECT_EQ(found[1].second, bc);
    ASSERT_EQ(net.GetJpts(c, found), 0);
    EXPECT_EQ(found.size(), 1u);
    net.InvalidateAllBeliefs();
    EXPECT_EQ(net.GetJpts(b, found), 0);
    EXPECT_TRUE(found.empty());
    net.EnableJptStore(false);
    EXPECT_EQ(net.GetJpts(a, found), -3);
}

// A -> B, with B = 0 for sure when A = 0, and C alone. Clearing all
// evidence leaves nothing observed, deduced, weighted or valid. Without
// functional determination nothing is deduced, and a contradiction the
// tables would reveal goes unnoticed; with immediate updates each change
// runs one, whose failure undoes nothing; with the event mask at 0 no hook
// runs: no update, no check, no deduction.
TEST(DriverHooks, EvidenceChangesRunTheHooksTheFlagsAllow) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.3, 0.7});
    auto value = [&net](int h) { return net.GetNode(h)->Value(); };
    ASSERT_EQ(value(a)->SetEvidence(0), 0);
    ASSERT_TRUE(value(b)->IsPropagatedEvidence());
    ASSERT_EQ(value(c)->SetVirtualEvidence({0.2, 0.8}), 0);
    for (int h : {a, b, c}) value(h)->SetValueValid();
    EXPECT_EQ(ClearAllEvidence(&net), 0);
    for (int h : {a, b, c}) {
        EXPECT_EQ(value(h)->GetFlags() & (QEL_VALUE_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE | QEL_VALUE_VALID), 0) << h;
    }

    net.SetNetworkFlags(QEL_network::QEL_RELEVANCE_ACTIVE);
    ASSERT_EQ(value(a)->SetEvidence(0), 0);
    EXPECT_EQ(value(b)->GetEvidence(), -2);
    ASSERT_EQ(value(a)->ClearEvidence(), 0);
    ASSERT_EQ(value(b)->SetEvidence(1), 0);
    EXPECT_EQ(value(a)->GetEvidence(), -2);
    EXPECT_EQ(value(a)->SetEvidence(0), 0);
    EXPECT_EQ(ClearAllEvidence(&net), 0);

    RecordingListener listener;
    net.SetUpdateBeliefsListener(&listener);
    net.SetDefaultBNAlgorithm(kAbsentEngine);
    net.SetNetworkFlags(3 | QEL_network::QEL_UPDATE_IMMEDIATELY);
    ASSERT_EQ(value(a)->SetEvidence(0), 0);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(value(b)->GetEvidence(), 0);
    ASSERT_EQ(value(a)->ClearEvidence(), 0);
    ASSERT_EQ(value(c)->SetVirtualEvidence({0.3, 0.6}), 0);
    ASSERT_EQ(net.RemoveArc(a, b), 0);
    EXPECT_EQ(listener.calls, 4);

    net.SetRelevanceEvents(0);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, b, {1.0, 0.0, 0.3, 0.7});
    ASSERT_EQ(value(a)->SetEvidence(0), 0);
    EXPECT_EQ(value(b)->GetEvidence(), -2);
    EXPECT_EQ(value(b)->SetEvidence(1), 0);
    EXPECT_EQ(listener.calls, 4);
    net.SetUpdateBeliefsListener(nullptr);
}

}  // namespace
