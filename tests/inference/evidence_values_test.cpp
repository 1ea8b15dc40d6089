// Node values through the engine's classes: propagated evidence, indexing
// parents and the matrix shape, control, copies, decisions' lenient
// choices, and the rescaling of expected utilities.
#include <gtest/gtest.h>

#include <vector>

#include "orvil/beliefvector.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/expectedutility.h"
#include "orvil/listofdecisions.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/textutil.h"

namespace {

int AddCpt(QEL_network& net, const char* id, int states) {
    const int h = net.AddNode(qel_cptType, id);
    net.GetNode(h)->Definition()->SetNumberOfOutcomes(states);
    return h;
}

QEL_beliefVector& Beliefs(QEL_network& net, int h) {
    return *static_cast<QEL_beliefVector*>(net.GetNode(h)->Value());
}

std::vector<int> Dimensions(QEL_nodeValue& value) {
    QEL_Dmatrix* m = nullptr;
    value.GetValue(&m);
    std::vector<int> out;
    for (int d = 0; d < m->GetNumberOfDimensions(); d++) out.push_back(m->GetSizeOfDimension(d));
    return out;
}

std::vector<double> Cells(QEL_nodeValue& value) {
    QEL_Dmatrix* m = nullptr;
    value.GetValue(&m);
    return std::vector<double>(m->GetItems().Items(), m->GetItems().Items() + m->GetSize());
}

TEST(NodeValues, PropagatedEvidenceYieldsToAgreementOnly) {
    QEL_network net;
    const int a = AddCpt(net, "A", 3);
    QEL_beliefVector& v = Beliefs(net, a);
    EXPECT_EQ(v.ClearPropagatedEvidence(), -2);
    ASSERT_EQ(v.SetPropagatedEvidence(2), 0);
    EXPECT_TRUE(v.IsPropagatedEvidence());
    EXPECT_FALSE(v.IsRealEvidence());
    EXPECT_EQ(v.GetEvidence(), 2);
    EXPECT_EQ(v.SetPropagatedEvidence(1), -2);
    EXPECT_EQ(v.ClearEvidence(), -2);

    EXPECT_EQ(v.SetEvidence(0), -26);
    EXPECT_TRUE(v.IsPropagatedEvidence());
    EXPECT_EQ(v.GetEvidence(), 2);
    ASSERT_EQ(v.SetEvidence(2), 0);
    EXPECT_TRUE(v.IsRealEvidence());
    EXPECT_FALSE(v.IsPropagatedEvidence());
    EXPECT_EQ(v.SetPropagatedEvidence(2), -2);

    ASSERT_EQ(v.ClearEvidence(), 0);
    ASSERT_EQ(v.SetPropagatedEvidence(1), 0);
    ASSERT_EQ(v.ClearPropagatedEvidence(), 0);
    EXPECT_EQ(v.GetEvidence(), -2);
    EXPECT_FALSE(v.IsValueValid());
    EXPECT_EQ(v.SetPropagatedEvidence(3), -2);
    EXPECT_FALSE(v.HasEvidence());
}

TEST(NodeValues, IndexingParentsShapeTheMatrixUntilEvidenceOrReset) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 3);
    const int c = AddCpt(net, "C", 4);
    QEL_beliefVector& vc = Beliefs(net, c);
    EXPECT_EQ(Dimensions(vc), std::vector<int>{4});

    EXPECT_EQ(vc.AddIndexingParent(99), -2);
    EXPECT_EQ(vc.AddIndexingParent(-1), -2);
    ASSERT_EQ(vc.AddIndexingParent(a), 0);
    ASSERT_EQ(vc.AddIndexingParent(a), 0);
    EXPECT_EQ(Dimensions(vc), (std::vector<int>{2, 4}));
    ASSERT_EQ(vc.AddIndexingParent(b), 0);
    EXPECT_EQ(Dimensions(vc), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(vc.GetSize(), 24);
    EXPECT_EQ(vc.GetIndexingParents().NumItems(), 2);

    // The relation is kept on one side only.
    EXPECT_EQ(Beliefs(net, a).AddIndexingParent(c), 0);
    EXPECT_EQ(Beliefs(net, a).GetIndexingParents().NumItems(), 0);
    EXPECT_EQ(Dimensions(Beliefs(net, a)), std::vector<int>{2});

    // Evidence needs one plain column: the parents' dimensions go.
    ASSERT_EQ(vc.SetEvidence(3), 0);
    EXPECT_EQ(Dimensions(vc), std::vector<int>{4});
    EXPECT_EQ(vc.GetIndexingParents().NumItems(), 0);
    EXPECT_EQ(Cells(vc), (std::vector<double>{0, 0, 0, 1}));

    // Resetting before an algorithm keeps evidence but not validity.
    QEL_beliefVector& vb = Beliefs(net, b);
    ASSERT_EQ(vb.AddIndexingParent(a), 0);
    vb.SetValueValid();
    net.InitializeNodeValues();
    EXPECT_EQ(Dimensions(vb), std::vector<int>{3});
    EXPECT_EQ(vb.GetIndexingParents().NumItems(), 0);
    EXPECT_FALSE(vb.IsValueValid());
    EXPECT_FALSE(vc.IsValueValid());
    EXPECT_EQ(vc.GetEvidence(), 3);
}

TEST(NodeValues, ControlNeedsNoObservedDescendantAndStalesEverything) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(b, c), 0);
    QEL_beliefVector& va = Beliefs(net, a);
    QEL_beliefVector& vb = Beliefs(net, b);
    QEL_beliefVector& vc = Beliefs(net, c);
    EXPECT_TRUE(vc.IsControllable());

    ASSERT_EQ(vc.SetEvidence(1), 0);
    EXPECT_FALSE(va.IsControllable());
    EXPECT_EQ(va.ControlValue(0), -2);
    EXPECT_FALSE(va.HasEvidence());

    // A controlled descendant says nothing about its ancestors.
    ASSERT_EQ(vc.ClearEvidence(), 0);
    ASSERT_EQ(vc.ControlValue(1), 0);
    EXPECT_TRUE(vc.IsControlled());
    EXPECT_TRUE(vc.IsRealEvidence());
    EXPECT_TRUE(va.IsControllable());
    vb.SetValueValid();
    ASSERT_EQ(va.ControlValue(0), 0);
    EXPECT_TRUE(va.IsControlled());
    EXPECT_EQ(va.GetEvidence(), 0);
    EXPECT_FALSE(vb.IsValueValid());
    EXPECT_TRUE(vc.IsValueValid());

    // Controlling again replaces the outcome; ending control ends the
    // evidence.
    ASSERT_EQ(va.ControlValue(1), 0);
    EXPECT_EQ(va.GetEvidence(), 1);
    ASSERT_EQ(va.ClearControlledValue(), 0);
    EXPECT_FALSE(va.IsControlled());
    EXPECT_FALSE(va.HasEvidence());
    // Clearing evidence of a controlled node ends the control as well.
    ASSERT_EQ(vc.ClearEvidence(), 0);
    EXPECT_FALSE(vc.IsControlled());
}

TEST(NodeValues, ClonesCarryEvidenceOfEveryKind) {
    QEL_network net;
    const int a = AddCpt(net, "A", 3);
    const int b = AddCpt(net, "B", 3);
    const int c = AddCpt(net, "C", 3);
    ASSERT_EQ(Beliefs(net, a).SetEvidence(2), 0);
    ASSERT_EQ(Beliefs(net, b).SetVirtualEvidence({1.0, 2.0, 1.0}), 0);

    QEL_beliefVector detached(nullptr, -1);
    EXPECT_FALSE(detached.IsReady());
    QEL_beliefVector copy(nullptr, -1);
    EXPECT_EQ(copy.Clone(detached), -567);

    ASSERT_EQ(copy.Clone(Beliefs(net, a)), 0);
    EXPECT_TRUE(copy.IsReady());
    EXPECT_TRUE(copy.IsRealEvidence());
    EXPECT_EQ(copy.GetEvidence(), 2);
    EXPECT_EQ(Cells(copy), (std::vector<double>{0, 0, 1}));

    ASSERT_EQ(copy.Clone(Beliefs(net, b)), 0);
    EXPECT_FALSE(copy.HasEvidence());
    std::vector<double> likelihood;
    ASSERT_EQ(copy.GetVirtualEvidence(likelihood), 0);
    EXPECT_EQ(likelihood, (std::vector<double>{0.25, 0.5, 0.25}));

    // Deduced outcomes are re-derived by every change of evidence, so this
    // one is set just before it is copied.
    ASSERT_EQ(Beliefs(net, c).SetPropagatedEvidence(1), 0);
    ASSERT_EQ(copy.Clone(Beliefs(net, c)), 0);
    EXPECT_TRUE(copy.IsPropagatedEvidence());
    EXPECT_FALSE(copy.IsRealEvidence());
    EXPECT_FALSE(copy.IsVirtualEvidence());
    EXPECT_EQ(copy.GetEvidence(), 1);
    EXPECT_EQ(copy.GetVirtualEvidence(likelihood), -2);

    QEL_beliefVector& vb = Beliefs(net, b);
    EXPECT_EQ(vb = Beliefs(net, a), 0);
    EXPECT_EQ(vb.GetEvidence(), 2);
}

TEST(NodeValues, DecisionChoicesAreLenientAndKeepTheUtilities) {
    QEL_network net;
    const int d = AddCpt(net, "D", 3);
    // The value alone, with the hooks off: only its own rules are at work.
    net.SetNetworkFlags(0);
    QEL_listOfDecisions choice(&net, d);
    EXPECT_EQ(choice.GetType(), 6);
    EXPECT_EQ(choice.GetSize(), 3);
    QEL_Dmatrix utilities;
    utilities.AddDimension(3);
    for (int i = 0; i < 3; i++) utilities[i] = 10.0 * i;
    ASSERT_EQ(choice.SetValue(utilities), 0);

    EXPECT_EQ(choice.SetEvidence(5), 0);
    EXPECT_FALSE(choice.HasEvidence());
    ASSERT_EQ(choice.SetEvidence(1), 0);
    EXPECT_EQ(choice.GetEvidence(), 1);
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

TEST(NodeValues, ExpectedUtilitiesRescaleAroundTheNotAvailableMarker) {
    QEL_expectedUtility eu(nullptr, -1);
    EXPECT_TRUE(eu.IsReady());
    EXPECT_EQ(eu.GetType(), 4);
    EXPECT_EQ(eu.GetSize(), 1);
    EXPECT_EQ(eu.GetEvidence(), -51);
    EXPECT_EQ(eu.SetEvidence(0), -51);
    EXPECT_EQ(eu.ClearEvidence(), -51);
    EXPECT_EQ(eu.SetVirtualEvidence({1.0}), -51);

    auto load = [&eu](std::vector<double> cells) {
        QEL_Dmatrix m;
        m.AddDimension(static_cast<int>(cells.size()));
        for (int i = 0; i < m.GetSize(); i++) m[i] = cells[i];
        eu.SetValue(m);
    };
    load({1.0, 5.0, 3.0});
    EXPECT_EQ(eu.GetMinimumUtility(), 1.0);
    EXPECT_EQ(eu.GetMaximumUtility(), 5.0);
    ASSERT_EQ(eu.NormalizeExpectedUtilities(0, 0, 0, 1), 0);
    EXPECT_EQ(Cells(eu), (std::vector<double>{0.0, 1.0, 0.5}));

    // A caller's range widens the data's.
    load({1.0, 5.0, 3.0});
    ASSERT_EQ(eu.NormalizeExpectedUtilities(0, 10, 0, 100), 0);
    EXPECT_EQ(Cells(eu), (std::vector<double>{10.0, 50.0, 30.0}));
    // Already on the target scale: untouched.
    ASSERT_EQ(eu.NormalizeExpectedUtilities(0, 0, 10, 50), 0);
    EXPECT_EQ(Cells(eu), (std::vector<double>{10.0, 50.0, 30.0}));
    // A degenerate target fills everything with its upper end.
    ASSERT_EQ(eu.NormalizeExpectedUtilities(0, 0, 7, 7), 0);
    EXPECT_EQ(Cells(eu), (std::vector<double>{7.0, 7.0, 7.0}));

    // The marker counts as the minimum but is never rescaled.
    load({2.0, QEL_UNDEFINED_DOUBLE, 4.0});
    EXPECT_EQ(eu.GetMinimumUtility(), QEL_UNDEFINED_DOUBLE);
    ASSERT_EQ(eu.NormalizeExpectedUtilities(0, 0, 0, 1), 0);
    const std::vector<double> cells = Cells(eu);
    EXPECT_EQ(cells[1], QEL_UNDEFINED_DOUBLE);
    EXPECT_DOUBLE_EQ(cells[2], 1.0);
    EXPECT_NEAR(cells[0], 0.5, 1e-12);
}

}  // namespace
