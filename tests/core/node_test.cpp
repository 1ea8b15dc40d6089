// Nodes and their owned parts: type numbers, nodes of kinds that cannot be
// made, diagnosis data and costs following outcome edits, copies, the
// visitor and walks over a definition's matrix.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvil/cpt.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodedefvisitor.h"
#include "orvil/syscoordinates.h"
#include "orvil/truthtable.h"

namespace {

QEL_nodeDefinition* Def(QEL_network& net, int h) { return net.GetNode(h)->Definition(); }

QEL_intArray List(std::initializer_list<int> values) {
    QEL_intArray a;
    for (int v : values) a.Add(v);
    return a;
}

std::vector<double> Costs(QEL_network& net, int h) {
    const QEL_Dmatrix& m = net.GetNode(h)->Cost()->GetCosts();
    std::vector<double> out;
    for (int i = 0; i < m.GetSize(); i++) out.push_back(m[i]);
    return out;
}

TEST(NodeKinds, TypeNumbersAndNames) {
    for (int type : {0, 4, 8, 17, 18, 20, 50, 82, 146, 274, 520, 1028}) EXPECT_TRUE(QEL_node::IsNodeTypeValid(type));
    for (int type : {-1, 1, 2, 9, 16, 19, 21, 1029}) EXPECT_FALSE(QEL_node::IsNodeTypeValid(type));
    EXPECT_EQ(18, QEL_node::NodeTypeFromName("CPT"));
    EXPECT_EQ(20, QEL_node::NodeTypeFromName("TRUTHTABLE"));
    EXPECT_EQ(146, QEL_node::NodeTypeFromName("NOISY_MAX"));
    EXPECT_EQ(520, QEL_node::NodeTypeFromName("MAU"));
    EXPECT_EQ(-2, QEL_node::NodeTypeFromName("cpt"));
    EXPECT_EQ(-2, QEL_node::NodeTypeFromName("EQUATION"));
    EXPECT_EQ(-2, QEL_node::NodeTypeFromName(nullptr));

    QEL_network net;
    const int h = net.AddNode(qel_cptType, "a");
    QEL_node* node = net.GetNode(h);
    EXPECT_EQ(-51, node->ChangeType("NOPE"));
    ASSERT_EQ(0, node->ChangeType("TRUTHTABLE"));
    EXPECT_EQ(qel_truthTableType, node->GetType());
    EXPECT_STREQ("TRUTHTABLE", node->Definition()->GetTypeName());
    QEL_errorH().Flush();
    EXPECT_EQ(-4, node->CreateDefinition(9));
    EXPECT_STREQ("Invalid definition type", QEL_errorH().GetLastErrorMessage());
}

TEST(NodeKinds, NodesOfKindsWithoutClassLeaveOnTheReadinessPass) {
    QEL_network net;
    const int good = net.AddNode(qel_cptType, "good");
    const int missing = net.AddNode(qel_noisyMaxType, "missing");
    ASSERT_GE(missing, 0);
    EXPECT_EQ(nullptr, Def(net, missing));
    EXPECT_FALSE(net.GetNode(missing)->IsReady());
    EXPECT_TRUE(net.GetNode(good)->IsReady());
    net.CheckReadiness(1);
    EXPECT_EQ(nullptr, net.GetNode(missing));
    EXPECT_NE(nullptr, net.GetNode(good));
    EXPECT_EQ(1, net.GetNumberOfNodes());
}

TEST(NodeParts, DiagnosisDataFollowsOutcomeEdits) {
    QEL_network net;
    const int h = net.AddNode(qel_cptType, "a");
    QEL_nodeDefinition* def = Def(net, h);
    QEL_extraDefinition* extra = net.GetNode(h)->ExtraDefinition();
    ASSERT_NE(nullptr, extra);
    EXPECT_EQ(qel_diagAuxiliary, extra->GetDiagType());
    ASSERT_EQ(0, def->AddOutcome("c"));
    ASSERT_EQ(3, extra->GetNumberOfStates());
    extra->SetLabel(0, "zero");
    extra->SetLabel(2, "two");
    extra->SetFaultState(2, 1);
    extra->SetDefaultOutcome(2);
    EXPECT_EQ(-2, extra->SetLabel(3, "none"));
    EXPECT_EQ(-2, extra->SetDiagType(5));

    ASSERT_EQ(0, def->InsertOutcome(0, "first"));
    EXPECT_STREQ("zero", extra->GetLabel(1));
    EXPECT_STREQ("two", extra->GetLabel(3));
    EXPECT_EQ(nullptr, extra->GetLabel(0));
    EXPECT_EQ(1, extra->IsFaultState(3));
    EXPECT_EQ(3, extra->GetDefaultOutcome());

    QEL_intArray order = List({3, 2, 1, 0});
    ASSERT_EQ(0, def->ChangeOrderOfOutcomes(order));
    EXPECT_STREQ("two", extra->GetLabel(0));
    EXPECT_STREQ("zero", extra->GetLabel(2));
    EXPECT_EQ(1, extra->IsFaultState(0));
    EXPECT_EQ(0, extra->GetDefaultOutcome());

    ASSERT_EQ(0, def->RemoveOutcome(1));
    EXPECT_STREQ("zero", extra->GetLabel(1));
    EXPECT_EQ(0, extra->GetDefaultOutcome());
    ASSERT_EQ(0, def->RemoveOutcome(0));
    EXPECT_FALSE(extra->HasDefaultOutcome());
    EXPECT_STREQ("zero", extra->GetLabel(0));
    EXPECT_EQ(2, extra->GetNumberOfStates());

    // A change of kind keeps the annotations of the same outcomes.
    ASSERT_EQ(0, net.GetNode(h)->ChangeType(qel_truthTableType));
    EXPECT_EQ(extra, net.GetNode(h)->ExtraDefinition());
    EXPECT_STREQ("zero", extra->GetLabel(0));
    // A new outcome count starts the per-outcome data afresh.
    ASSERT_EQ(0, Def(net, h)->SetNumberOfOutcomes(4));
    EXPECT_EQ(4, extra->GetNumberOfStates());
    EXPECT_EQ(nullptr, extra->GetLabel(0));
}

TEST(NodeParts, CostsFollowTheirCostParents) {
    QEL_network net;
    const int a = net.AddNode(qel_cptType, "a");
    const int b = net.AddNode(qel_cptType, "b");
    const int t = net.AddNode(qel_cptType, "t");
    ASSERT_EQ(0, Def(net, a)->SetNumberOfOutcomes(3));
    EXPECT_EQ((std::vector<double>{0.0}), Costs(net, t));
    EXPECT_TRUE(net.GetNode(t)->Cost()->IsZero());

    ASSERT_EQ(0, net.AddArc(a, t, qel_costObserve));
    ASSERT_EQ(0, net.AddArc(b, t, qel_costObserve));
    QEL_nodeCost* cost = net.GetNode(t)->Cost();
    ASSERT_EQ(6, cost->GetSize());
    QEL_doubleArray values(6);
    for (int i = 0; i < 6; i++) values[i] = 10.0 * (i + 1);
    ASSERT_EQ(0, cost->SetCosts(values));
    QEL_doubleArray tooShort(2);
    EXPECT_EQ(-2, cost->SetCosts(tooShort));
    double c = 0.0;
    ASSERT_EQ(0, cost->GetCost(List({2, 1}), c));
    EXPECT_EQ(60.0, c);
    EXPECT_EQ(-2, cost->GetCost(List({3, 0}), c));

    // a: outcomes [x0, x1, x2] x b: [y0, y1]; a gains an outcome at 1.
    ASSERT_EQ(0, Def(net, a)->InsertOutcome(1, "new"));
    EXPECT_EQ((std::vector<double>{10, 20, 0, 0, 30, 40, 50, 60}), Costs(net, t));
    QEL_intArray order = List({1, 0});
    ASSERT_EQ(0, Def(net, b)->ChangeOrderOfOutcomes(order));
    EXPECT_EQ((std::vector<double>{20, 10, 0, 0, 40, 30, 60, 50}), Costs(net, t));
    ASSERT_EQ(0, Def(net, a)->RemoveOutcome(0));
    EXPECT_EQ((std::vector<double>{0, 0, 40, 30, 60, 50}), Costs(net, t));
    // Cost arcs leave the probability table alone.
    EXPECT_EQ(2, Def(net, t)->GetSize());

    ASSERT_EQ(0, net.RemoveArc(a, t, qel_costObserve));
    EXPECT_EQ((std::vector<double>{0, 0}), Costs(net, t));
    // A repeated cost arc gets a dimension of its own, and both follow.
    ASSERT_EQ(0, net.AddArc(b, t, qel_costObserve));
    EXPECT_EQ(4, cost->GetSize());
    ASSERT_EQ(0, Def(net, b)->AddOutcome("more"));
    EXPECT_EQ(9, cost->GetSize());
    ASSERT_EQ(0, Def(net, b)->RemoveOutcome(2));
    EXPECT_EQ(4, cost->GetSize());
}

TEST(NodeParts, CopiesCarryEveryPart) {
    QEL_network net;
    const int p = net.AddNode(qel_cptType, "p");
    const int h = net.AddNode(qel_cptType, "a");
    ASSERT_EQ(0, net.AddArc(p, h));
    QEL_doubleArray items(4);
    items[0] = 0.1;
    items[1] = 0.9;
    items[2] = 0.6;
    items[3] = 0.4;
    ASSERT_EQ(0, static_cast<QEL_cpt*>(Def(net, h))->SetProbabilities(items));
    net.GetNode(h)->ExtraDefinition()->SetLabel(1, "high");

    QEL_node copy(*net.GetNode(h));
    ASSERT_NE(nullptr, copy.Definition());
    EXPECT_NE(Def(net, h), copy.Definition());
    EXPECT_STREQ("a", copy.GetId());
    EXPECT_TRUE(copy.Definition()->GetMatrix()->CompatibleWith(*Def(net, h)->GetMatrix()));
    for (int i = 0; i < 4; i++) EXPECT_EQ(items[i], (*copy.Definition()->GetMatrix())[i]);
    EXPECT_STREQ("high", copy.ExtraDefinition()->GetLabel(1));
    ASSERT_NE(nullptr, copy.Value());
    ASSERT_NE(nullptr, copy.Cost());

    QEL_node lean(*net.GetNode(h), true);
    EXPECT_EQ(nullptr, lean.Info());
    EXPECT_EQ(nullptr, lean.GetId());
    EXPECT_TRUE(lean.IsReady());
    EXPECT_EQ(0.6, (*lean.Definition()->GetMatrix())[2]);
    EXPECT_EQ(nullptr, lean.ExtraDefinition()->GetLabel(1));
    EXPECT_EQ(2, lean.ExtraDefinition()->GetNumberOfStates());

    // Assignment goes part by part into an existing node.
    QEL_node target(*net.GetNode(p));
    ASSERT_EQ(0, target.operator=(*net.GetNode(h)));
    EXPECT_EQ(4, target.Definition()->GetSize());

    QEL_node empty(qel_cptType, 0, nullptr);
    EXPECT_EQ(nullptr, empty.Definition());
    EXPECT_EQ(nullptr, empty.Info());
    QEL_node fromEmpty(empty);
    EXPECT_EQ(nullptr, fromEmpty.Definition());
    EXPECT_EQ(-567, target.operator=(empty));
}

struct CountingVisitor : QEL_nodeDefVisitor {
    int tables = 0;
    int truthTables = 0;
    using QEL_nodeDefVisitor::Visit;
    void Visit(QEL_cpt*) override { tables++; }
};

struct TruthTableVisitor : CountingVisitor {
    using CountingVisitor::Visit;
    void Visit(QEL_truthTable*) override { truthTables++; }
};

TEST(NodeParts, VisitorDispatchesByClassWithFallBack) {
    QEL_network net;
    QEL_nodeDefinition* cpt = Def(net, net.AddNode(qel_cptType, "a"));
    QEL_nodeDefinition* tt = Def(net, net.AddNode(qel_truthTableType, "b"));
    CountingVisitor counting;
    counting.Dispatch(cpt);
    counting.Dispatch(tt);
    counting.Dispatch(nullptr);
    EXPECT_EQ(2, counting.tables);
    TruthTableVisitor specific;
    specific.Dispatch(cpt);
    specific.Dispatch(tt);
    EXPECT_EQ(1, specific.tables);
    EXPECT_EQ(1, specific.truthTables);
}

TEST(NodeParts, WalkOverADefinitionVisitsItsTable) {
    QEL_network net;
    const int p = net.AddNode(qel_cptType, "p");
    const int h = net.AddNode(qel_cptType, "a");
    ASSERT_EQ(0, net.AddArc(p, h));
    ASSERT_EQ(0, Def(net, h)->AddOutcome("c"));
    QEL_sysCoordinates walk(*Def(net, h));
    ASSERT_EQ(Def(net, h)->GetMatrix(), walk.GetMatrix());
    walk.LockCoordinate(0);
    walk.GoFirst();
    walk.theCoordinates[0] = 1;
    ASSERT_EQ(0, walk.GoToCurrentPosition());
    std::vector<int> visited;
    do visited.push_back(walk.GetIndex());
    while (walk.Next() == 0);
    EXPECT_EQ((std::vector<int>{3, 4, 5}), visited);

    QEL_sysCoordinates other;
    EXPECT_EQ(0, other.LinkTo(*Def(net, p)));
    EXPECT_EQ(Def(net, p)->GetMatrix(), other.GetMatrix());
}

TEST(NodeParts, SubmodelsByHandleAndId) {
    QEL_network net;
    QEL_node* node = net.GetNode(net.AddNode(qel_cptType, "a"));
    EXPECT_EQ(QEL_ROOT_SUBMODEL, node->GetSubmodel());
    EXPECT_EQ(0, node->SetSubmodel(QEL_ROOT_SUBMODEL));
    EXPECT_EQ(-2, node->SetSubmodel(QEL_ROOT_SUBMODEL + 5));
    EXPECT_EQ(-2, node->SetSubmodel(static_cast<const char*>(nullptr)));
    QEL_errorH().Flush();
    EXPECT_EQ(-30, node->SetSubmodel("nowhere"));
    EXPECT_STREQ("Unknown submodel", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(QEL_ROOT_SUBMODEL, node->GetSubmodel());
}

}  // namespace
