// Nodes and their owned parts: type numbers, costs following the outcome
// edits of cost parents, copies, the visitor and walks linked to a
// definition's matrix. The diagnosis data under outcome edits is checked
// by the random structural edits.
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
    EXPECT_EQ(-2, node->ExtraDefinition()->SetDiagType(5));
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
    (*Def(net, h)->GetMatrix())[2] = 0.6;
    net.GetNode(h)->ExtraDefinition()->SetLabel(1, "high");

    QEL_node copy(*net.GetNode(h));
    EXPECT_NE(Def(net, h), copy.Definition());
    EXPECT_STREQ("a", copy.GetId());
    EXPECT_EQ(0.6, (*copy.Definition()->GetMatrix())[2]);
    EXPECT_STREQ("high", copy.ExtraDefinition()->GetLabel(1));
    EXPECT_NE(nullptr, copy.Value());
    EXPECT_NE(nullptr, copy.Cost());

    // A lean copy has the table but no descriptive records or labels.
    QEL_node lean(*net.GetNode(h), true);
    EXPECT_EQ(nullptr, lean.Info());
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

TEST(NodeParts, WalksLinkToADefinitionsTable) {
    QEL_network net;
    const int h = net.AddNode(qel_cptType, "a");
    QEL_sysCoordinates walk(*Def(net, h));
    EXPECT_EQ(Def(net, h)->GetMatrix(), walk.GetMatrix());
    QEL_sysCoordinates other;
    EXPECT_EQ(0, other.LinkTo(*Def(net, h)));
    EXPECT_EQ(Def(net, h)->GetMatrix(), other.GetMatrix());
}

}  // namespace
