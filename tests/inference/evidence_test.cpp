// Evidence on node values: hard evidence and likelihood vectors as a caller
// of the flat interface sees them, outcomes deduced through deterministic
// tables and outcomes the model rules out, control, copies, decisions'
// lenient choices, and the rescaling of expected utilities.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "inference_fixture.h"
#include "orvil/beliefvector.h"
#include "orvil/biorvil.h"
#include "orvil/expectedutility.h"
#include "orvil/listofdecisions.h"
#include "orvil/textutil.h"

namespace {

using namespace inference_test;

QEL_beliefVector& Value(QEL_network& net, int h) {
    return *static_cast<QEL_beliefVector*>(net.GetNode(h)->Value());
}

std::vector<double> Cells(QEL_nodeValue& value) {
    QEL_Dmatrix* m = nullptr;
    value.GetValue(&m);
    return std::vector<double>(m->GetItems().Items(), m->GetItems().Items() + m->GetSize());
}

// The likelihood as the flat interface hands it out: the count, then the
// entries.
std::vector<double> FlatLikelihood(void* value) {
    double* raw = nodeValue_GetVirtualEvidence(value);
    std::vector<double> out(raw, raw + 1 + int(raw[0]));
    nodeValue_ReleaseVirtualEvidence(raw);
    return out;
}

TEST(EvidenceFlat, HardEvidenceAndLikelihoodsReplaceEachOther) {
    QEL_network net;
    void* v = node_Value(GetNode(&net, AddCpt(net, "A", 3)));
    EXPECT_EQ(nodeValue_ClearEvidence(v), -2);
    EXPECT_EQ(nodeValue_SetEvidence(v, 3), -2);
    EXPECT_EQ(nodeValue_SetEvidence(v, -1), -2);
    EXPECT_EQ(nodeValue_GetEvidence(v), -2);
    for (int outcome = 0; outcome < 3; outcome++) {
        ASSERT_EQ(nodeValue_SetEvidence(v, outcome), 0);
        EXPECT_EQ(nodeValue_GetEvidence(v), outcome);
        EXPECT_EQ(nodeValue_IsValueValid(v), 2);
        EXPECT_EQ(dMatrix_GetItemsDouble(nodeValue_GetMatrix(v))[outcome], 1.0);
    }
    // Within 5e-06 of one: stored as given; a wrong length is refused.
    double nearly[] = {0.4999999, 0.5, 0.0};
    ASSERT_EQ(nodeValue_SetVirtualEvidence(v, 3, nearly), 0);
    EXPECT_EQ(nodeValue_IsRealEvidence(v), 0);
    EXPECT_EQ(FlatLikelihood(v), (std::vector<double>{3.0, 0.4999999, 0.5, 0.0}));
    EXPECT_EQ(nodeValue_SetVirtualEvidence(v, 2, nearly), -2);
    ASSERT_EQ(nodeValue_SetEvidence(v, 1), 0);
    EXPECT_EQ(FlatLikelihood(v), std::vector<double>{0.0});
    // Any positive vector comes back proportional to what was given and
    // summing to one; clearing removes it, and a second clear finds nothing.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> weight(0.01, 10.0);
    for (int trial = 0; trial < 50; trial++) {
        std::vector<double> given(3);
        double sum = 0.0;
        for (double& w : given) sum += (w = weight(rng));
        ASSERT_EQ(nodeValue_SetVirtualEvidence(v, 3, given.data()), 0);
        const std::vector<double> back = FlatLikelihood(v);
        ASSERT_EQ(back.size(), 4u);
        for (int i = 0; i < 3; i++) EXPECT_NEAR(back[size_t(i) + 1], given[size_t(i)] / sum, 1e-12);
    }
    EXPECT_EQ(nodeValue_ClearEvidence(v), 0);
    EXPECT_EQ(FlatLikelihood(v), std::vector<double>{0.0});
    EXPECT_EQ(nodeValue_ClearEvidence(v), -2);
}

// A -> B with B a copy of A (a truth table), and A -> C with C = not A.
// Contradicting a deduced outcome is refused, agreeing with it makes it an
// observation, and what an observation implies flows up as well as down.
TEST(EvidenceDeduced, CertaintyFlowsThroughDeterministicTablesBothWays) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = net.AddNode(qel_truthTableType, "B");
    const int c = AddCpt(net, "C", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(a, c), 0);
    FillTable(net, b, {1, 0, 0, 1});
    FillTable(net, c, {0, 1, 1, 0});
    ASSERT_EQ(Value(net, a).SetEvidence(1), 0);
    EXPECT_TRUE(Value(net, b).IsPropagatedEvidence());
    EXPECT_EQ(Value(net, b).GetEvidence(), 1);
    EXPECT_EQ(Value(net, c).GetEvidence(), 0);
    EXPECT_EQ(Value(net, b).SetEvidence(0), -26);
    ASSERT_EQ(Value(net, b).SetEvidence(1), 0);
    EXPECT_TRUE(Value(net, b).IsRealEvidence());
    ASSERT_EQ(Value(net, a).ClearEvidence(), 0);
    EXPECT_TRUE(Value(net, a).IsPropagatedEvidence());
    EXPECT_EQ(Value(net, a).GetEvidence(), 1);
    EXPECT_EQ(Value(net, c).SetEvidence(1), -26);
    EXPECT_EQ(net.ClearAllEvidence(), 0);
    for (int h : {a, b, c}) EXPECT_FALSE(Value(net, h).HasEvidence());
}

// C = X or Z: C = 1 pins neither parent, but with Z = 0 observed as well,
// X = 0 would force C = 0 against its observation. B = 0 is impossible
// whatever X is; B = 3 is impossible when X = 0.
TEST(EvidenceDeduced, ConflictsAndImpossibleOutcomesAreRefusedAndLogged) {
    QEL_network net;
    const int x = AddCpt(net, "X", 2);
    const int z = AddCpt(net, "Z", 2);
    const int c = net.AddNode(qel_truthTableType, "C");
    const int b = AddCpt(net, "B", 4);
    ASSERT_EQ(net.AddArc(x, c), 0);
    ASSERT_EQ(net.AddArc(z, c), 0);
    ASSERT_EQ(net.AddArc(x, b), 0);
    FillTable(net, c, {1, 0, 0, 1, 0, 1, 0, 1});
    FillTable(net, b, {0.0, 0.4, 0.6, 0.0, 0.0, 0.7, 0.0, 0.3});
    QEL_errorH().Flush();
    EXPECT_EQ(Value(net, b).SetEvidence(0), -2);
    EXPECT_TRUE(LogHolds("Outcome [State0] of node [B] is impossible"));
    ASSERT_EQ(Value(net, b).SetEvidence(3), 0);
    EXPECT_EQ(Value(net, x).GetEvidence(), 1);
    ASSERT_EQ(Value(net, b).ClearEvidence(), 0);

    ASSERT_EQ(Value(net, c).SetEvidence(1), 0);
    EXPECT_FALSE(Value(net, x).HasEvidence());
    ASSERT_EQ(Value(net, z).SetEvidence(0), 0);
    QEL_errorH().Flush();
    EXPECT_EQ(Value(net, x).SetEvidence(0), -26);
    EXPECT_TRUE(LogHolds("ERROR: conficting evidence between nodes [X] and [C]"));
    // Taking X = 0 back re-derives everything from the observations, and
    // C = 1 with Z = 0 does pin X = 1.
    EXPECT_TRUE(Value(net, c).IsRealEvidence());
    EXPECT_TRUE(Value(net, x).IsPropagatedEvidence());
    EXPECT_EQ(Value(net, x).GetEvidence(), 1);

    ASSERT_EQ(Value(net, c).ClearEvidence(), 0);
    ASSERT_EQ(Value(net, x).SetEvidence(0), 0);
    QEL_errorH().Flush();
    EXPECT_EQ(Value(net, b).SetEvidence(3), -2);
    EXPECT_TRUE(LogHolds("Outcome [State3] of node [B] is impossible"));
    EXPECT_FALSE(Value(net, b).HasEvidence());
}

// A deduced outcome gives way to an agreeing observation only; it is not
// cleared as evidence, and one deduction does not replace another.
TEST(EvidenceDeduced, PropagatedEvidenceYieldsToAgreementOnly) {
    QEL_network net;
    QEL_beliefVector& v = Value(net, AddCpt(net, "A", 3));
    EXPECT_EQ(v.ClearPropagatedEvidence(), -2);
    EXPECT_EQ(v.SetPropagatedEvidence(3), -2);
    ASSERT_EQ(v.SetPropagatedEvidence(2), 0);
    EXPECT_EQ(v.SetPropagatedEvidence(1), -2);
    EXPECT_EQ(v.ClearEvidence(), -2);
    EXPECT_EQ(v.SetEvidence(0), -26);
    ASSERT_EQ(v.SetEvidence(2), 0);
    EXPECT_FALSE(v.IsPropagatedEvidence());
    EXPECT_EQ(v.SetPropagatedEvidence(2), -2);
    ASSERT_EQ(v.ClearEvidence(), 0);
    ASSERT_EQ(v.SetPropagatedEvidence(1), 0);
    ASSERT_EQ(v.ClearPropagatedEvidence(), 0);
    EXPECT_FALSE(v.HasEvidence());
}

// A -> B -> C. A node with an observed descendant cannot be controlled; a
// controlled descendant says nothing about its ancestors; control stales
// the other values and ends with its evidence.
TEST(EvidenceControl, ControlNeedsNoObservedDescendantAndStalesEverything) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(b, c), 0);
    QEL_beliefVector& va = Value(net, a);
    QEL_beliefVector& vc = Value(net, c);
    ASSERT_EQ(vc.SetEvidence(1), 0);
    EXPECT_EQ(va.ControlValue(0), -2);
    EXPECT_FALSE(va.HasEvidence());
    ASSERT_EQ(vc.ClearEvidence(), 0);
    ASSERT_EQ(vc.ControlValue(1), 0);
    Value(net, b).SetValueValid();
    ASSERT_EQ(va.ControlValue(0), 0);
    EXPECT_FALSE(Value(net, b).IsValueValid());
    ASSERT_EQ(va.ControlValue(1), 0);
    EXPECT_EQ(va.GetEvidence(), 1);
    ASSERT_EQ(va.ClearControlledValue(), 0);
    EXPECT_FALSE(va.HasEvidence());
    ASSERT_EQ(vc.ClearEvidence(), 0);
    EXPECT_FALSE(vc.IsControlled());
}

TEST(EvidenceCopies, ClonesCarryEvidenceOfEveryKind) {
    QEL_network net;
    const int a = AddCpt(net, "A", 3);
    const int b = AddCpt(net, "B", 3);
    const int c = AddCpt(net, "C", 3);
    ASSERT_EQ(Value(net, a).SetEvidence(2), 0);
    ASSERT_EQ(Value(net, b).SetVirtualEvidence({1.0, 2.0, 1.0}), 0);
    QEL_beliefVector detached(nullptr, -1);
    QEL_beliefVector copy(nullptr, -1);
    EXPECT_EQ(copy.Clone(detached), -567);
    ASSERT_EQ(copy.Clone(Value(net, a)), 0);
    EXPECT_TRUE(copy.IsRealEvidence());
    EXPECT_EQ(Cells(copy), (std::vector<double>{0, 0, 1}));
    ASSERT_EQ(copy.Clone(Value(net, b)), 0);
    std::vector<double> likelihood;
    ASSERT_EQ(copy.GetVirtualEvidence(likelihood), 0);
    EXPECT_EQ(likelihood, (std::vector<double>{0.25, 0.5, 0.25}));
    // Deduced outcomes are re-derived by every change of evidence, so this
    // one is set just before it is copied.
    ASSERT_EQ(Value(net, c).SetPropagatedEvidence(1), 0);
    ASSERT_EQ(copy.Clone(Value(net, c)), 0);
    EXPECT_TRUE(copy.IsPropagatedEvidence());
    EXPECT_EQ(copy.GetEvidence(), 1);
    EXPECT_EQ(copy.GetVirtualEvidence(likelihood), -2);
    EXPECT_EQ(Value(net, b) = Value(net, a), 0);
    EXPECT_EQ(Value(net, b).GetEvidence(), 2);
}

TEST(EvidenceDecisions, ChoicesAreLenientAndKeepTheUtilities) {
    QEL_network net;
    const int d = AddCpt(net, "D", 3);
    // The value alone, with the hooks off: only its own rules are at work.
    net.SetNetworkFlags(0);
    QEL_listOfDecisions choice(&net, d);
    QEL_Dmatrix utilities;
    utilities.AddDimension(3);
    for (int i = 0; i < 3; i++) utilities[i] = 10.0 * i;
    ASSERT_EQ(choice.SetValue(utilities), 0);
    EXPECT_EQ(choice.SetEvidence(5), 0);
    EXPECT_FALSE(choice.HasEvidence());
    ASSERT_EQ(choice.SetEvidence(1), 0);
    EXPECT_TRUE(choice.IsValueValid());
    EXPECT_EQ(Cells(choice), (std::vector<double>{0, 10, 20}));
    EXPECT_EQ(choice.SetVirtualEvidence({1, 1, 1}), -51);
    ASSERT_EQ(choice.ClearEvidence(), 0);
    EXPECT_EQ(choice.CleanEvidence(), -2);
    ASSERT_EQ(choice.SetPropagatedEvidence(2), 0);
    EXPECT_EQ(choice.SetEvidence(0), -2);
    EXPECT_EQ(choice.SetPropagatedEvidence(-1), -2);
    ASSERT_EQ(choice.ClearPropagatedEvidence(), 0);
    EXPECT_EQ(choice.SetPropagatedEvidence(7), 0);
    EXPECT_FALSE(choice.HasEvidence());
}

TEST(EvidenceDecisions, ExpectedUtilitiesRescaleAroundTheNotAvailableMarker) {
    QEL_expectedUtility eu(nullptr, -1);
    EXPECT_EQ(eu.GetEvidence(), -51);
    EXPECT_EQ(eu.SetEvidence(0), -51);
    EXPECT_EQ(eu.ClearEvidence(), -51);
    EXPECT_EQ(eu.SetVirtualEvidence({1.0}), -51);
    // Cells, then the arguments of NormalizeExpectedUtilities and the cells
    // it leaves.
    struct Case {
        std::vector<double> cells;
        double fromLow, fromHigh, toLow, toHigh;
        std::vector<double> want;
    };
    const Case cases[] = {
        {{1, 5, 3}, 0, 0, 0, 1, {0, 1, 0.5}},
        {{1, 5, 3}, 0, 10, 0, 100, {10, 50, 30}},  // the caller's range widens the data's
        {{10, 50, 30}, 0, 0, 10, 50, {10, 50, 30}},
        {{10, 50, 30}, 0, 0, 7, 7, {7, 7, 7}},  // a degenerate target: its upper end
        // The marker counts as the minimum but is never rescaled.
        {{2, QEL_UNDEFINED_DOUBLE, 4}, 0, 0, 0, 1, {0.5, QEL_UNDEFINED_DOUBLE, 1}},
    };
    for (const Case& c : cases) {
        QEL_Dmatrix m;
        m.AddDimension(3);
        for (int i = 0; i < 3; i++) m[i] = c.cells[size_t(i)];
        eu.SetValue(m);
        EXPECT_EQ(eu.GetMinimumUtility(), *std::min_element(c.cells.begin(), c.cells.end()));
        EXPECT_EQ(eu.GetMaximumUtility(), *std::max_element(c.cells.begin(), c.cells.end()));
        ASSERT_EQ(eu.NormalizeExpectedUtilities(c.fromLow, c.fromHigh, c.toLow, c.toHigh), 0);
        const std::vector<double> got = Cells(eu);
        for (int i = 0; i < 3; i++) EXPECT_DOUBLE_EQ(got[size_t(i)], c.want[size_t(i)]) << "cell " << i;
    }
}

}  // namespace
