// QEL_network behaviour that callers depend on beyond what the random graph
// edits check: replaced and "@" ids, the reach of RemoveAllArcs, arcs and
// ids during a file read, cost arcs, the definition filter, ids in copies
// and the answers of an empty network.
#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/userproperties.h"

namespace {

const int cptType = 18;

std::vector<int> ToVector(const QEL_intArray& list) {
    return std::vector<int>(list.Items(), list.Items() + list.NumItems());
}

std::vector<int> AddNodes(QEL_network& net, int count) {
    std::vector<int> handles;
    for (int i = 0; i < count; i++) {
        handles.push_back(net.AddNode(cptType, ("n" + std::to_string(i)).c_str()));
    }
    return handles;
}

// An id that is no identifier is replaced by a generated one, logged, and
// kept as the node's name.
TEST(NetworkQuirks, ReplacedIds) {
    QEL_network net;
    AddNodes(net, 3);
    int errors = QEL_errorH().GetNumberOfErrors();
    int odd = net.AddNode(cptType, "1abc");
    ASSERT_GE(odd, 0);
    EXPECT_STREQ("Node3", net.GetNode(odd)->GetId());
    EXPECT_STREQ("1abc", net.GetNode(odd)->Info()->Header().GetName());
    EXPECT_EQ(errors + 1, QEL_errorH().GetNumberOfErrors());
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, QEL_errorH().GetLastError());
    char id[16];
    ASSERT_EQ(0, net.CreateUniqueNodeIdentifier(id));
    EXPECT_STREQ("Node4", id);
}

TEST(NetworkQuirks, AtIdsAreNeverInUse) {
    QEL_network net;
    int a = net.AddNode(cptType, "@tmp");
    int b = net.AddNode(cptType, "@tmp");
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    EXPECT_NE(a, b);
    EXPECT_FALSE(net.IsThisIdentifierInUse("@tmp", -1));
    EXPECT_FALSE(net.IsThisIdentifierInUse(nullptr, -1));
    EXPECT_EQ(a, net.FindNode("@tmp"));
    int plain = net.AddNode(cptType, "plain");
    EXPECT_TRUE(net.IsThisIdentifierInUse("plain", -1));
    EXPECT_FALSE(net.IsThisIdentifierInUse("plain", plain));
}

TEST(NetworkQuirks, EmptyNetworkAnswers) {
    QEL_network net;
    EXPECT_EQ(-2, net.GetFirstNode());
    EXPECT_EQ(-2, net.GetLastNode());
    EXPECT_EQ(-2, net.GetNextNode(-1));
    EXPECT_EQ(0, net.GetDepthOfNet());
    EXPECT_EQ(0, net.InDegree());
    EXPECT_EQ(1, net.IsAcyclic());
    EXPECT_EQ(1, net.IsPolyTree());
    EXPECT_EQ(0, net.PartialOrdering().NumItems());
    EXPECT_EQ(0, net.IsThereAnyEvidence());
    EXPECT_FALSE(net.IsInfluenceDiagram());
    QEL_intArray none;
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.GetAncestors(0, none));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.GetNumOfDescendants(0));

    // The table grows by the step it was given.
    QEL_network tiny(2, 3);
    AddNodes(tiny, 3);
    EXPECT_EQ(5, tiny.GetMaxNodes());
}

TEST(NetworkQuirks, RemoveAllArcsReachesOnlyBelowTheNodeCount) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 6);
    ASSERT_EQ(0, net.AddArc(0, 1));
    ASSERT_EQ(0, net.AddArc(3, 4));
    ASSERT_EQ(0, net.AddArc(4, 5));
    ASSERT_EQ(0, net.AddArc(0, 5));
    ASSERT_EQ(0, net.AddArc(0, 3, qel_costObserve));
    ASSERT_EQ(0, net.DeleteNode(2));
    // Five live nodes: pairs of handles below 5 lose their arcs, any arc
    // touching handle 5 stays, and so do cost arcs.
    EXPECT_EQ(0, net.RemoveAllArcs());
    EXPECT_EQ(std::vector<int>({5}), ToVector(net.GetChildren(0)));
    EXPECT_EQ(std::vector<int>({}), ToVector(net.GetChildren(3)));
    EXPECT_EQ(std::vector<int>({4, 0}), ToVector(net.GetParents(5)));
    EXPECT_EQ(std::vector<int>({3}), ToVector(net.GetChildren(0, qel_costObserve)));
}

TEST(NetworkQuirks, ArcsDuringAReadWithoutCycleTest) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 3);
    net.SetReadFlags(QEL_READ_ACTIVE | QEL_READ_NO_CYCLE_TEST);
    ASSERT_EQ(0, net.AddArc(0, 1));
    ASSERT_EQ(0, net.AddArc(1, 2));
    ASSERT_EQ(0, net.AddArc(2, 0));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(1, 0));
    EXPECT_EQ(0, net.IsAcyclic());
    EXPECT_FALSE(net.RemainsAcyclic(0, 2));
    EXPECT_EQ(0, net.IsPolyTree());
    // The orders still end and name each node once.
    std::vector<int> order = ToVector(net.PartialOrdering());
    std::sort(order.begin(), order.end());
    EXPECT_EQ(h, order);
    net.GetDepthOfNet();
    net.SetReadFlags(0);
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(0, 2));
    ASSERT_EQ(0, net.RemoveArc(2, 0));
    EXPECT_EQ(1, net.IsAcyclic());
    EXPECT_EQ(QEL_CYCLE_ERROR, net.AddArc(2, 0));
}

TEST(NetworkQuirks, DuplicateIdsAllowedOnlyDuringAReadThatSaysSo) {
    QEL_network net;
    int a = net.AddNode(cptType, "dup");
    net.SetReadFlags(QEL_READ_ACTIVE | QEL_READ_NO_ID_TEST);
    int b = net.AddNode(cptType, "dup");
    EXPECT_GE(b, 0);
    EXPECT_NE(a, b);
    net.SetReadFlags(0);
    EXPECT_EQ(a, net.FindNode("dup"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddNode(cptType, "dup"));
}

TEST(NetworkQuirks, CostArcsHaveTheirOwnLists) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 4);
    ASSERT_EQ(0, net.AddArc(h[0], h[1], qel_costObserve));
    ASSERT_EQ(0, net.AddArc(h[1], h[2], qel_costObserve));
    // No cycle test for cost arcs.
    EXPECT_EQ(0, net.AddArc(h[2], h[0], qel_costObserve));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(h[3], h[3], qel_costObserve));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(h[3], 40, qel_costObserve));
    EXPECT_EQ(0, net.NumParents(h[1]));
    EXPECT_EQ(1, net.NumParents(h[1], qel_costObserve));
    EXPECT_EQ(-2, net.NumParents(40, qel_costObserve));
    EXPECT_EQ(1, net.IsThisGuyMyChild(h[0], h[1], qel_costObserve));
    EXPECT_EQ(0, net.IsThisGuyMyChild(h[0], h[1], qel_normalArc));
    EXPECT_EQ(0, net.IsThisGuyMyChild(h[0], h[1], static_cast<qel_arcType>(5)));
    EXPECT_EQ(1, net.IsAcyclic());
    // The cost cycle leads back to the node itself.
    QEL_intArray below;
    ASSERT_EQ(0, net.GetCostDescendants(h[0], below));
    EXPECT_EQ(std::vector<int>({h[0], h[1], h[2]}), ToVector(below));
    QEL_intArray none;
    ASSERT_EQ(0, net.GetDescendants(h[0], none));
    EXPECT_EQ(0, none.NumItems());

    ASSERT_EQ(0, net.RemoveArc(h[2], h[0], qel_costObserve));
    QEL_intArray order;
    ASSERT_EQ(0, net.CostPartialOrdering(order));
    EXPECT_EQ(std::vector<int>({h[0], h[1], h[2], h[3]}), ToVector(order));
    QEL_intArray some;
    some.Add(h[2]);
    some.Add(h[0]);
    ASSERT_EQ(0, net.OrderPartiallyByCost(some));
    EXPECT_EQ(std::vector<int>({h[0], h[2]}), ToVector(some));

    // A group cost only lasts while the group has members.
    QEL_userProperties& properties = net.GetNode(h[1])->Info()->UserProperties();
    ASSERT_EQ(0, properties.AddProperty("DIAG_TESTGROUPCOST", "tRuE"));
    EXPECT_TRUE(net.IsGroupCost(h[1]));
    ASSERT_EQ(0, net.RemoveArc(h[1], h[2], qel_costObserve));
    EXPECT_FALSE(net.IsGroupCost(h[1]));
    EXPECT_EQ(-2, properties.FindProperty("DIAG_TESTGROUPCOST"));

    // Deleting a node takes its cost arcs on both sides.
    ASSERT_EQ(0, net.DeleteNode(h[1]));
    EXPECT_EQ(0, net.NumChildren(h[0], qel_costObserve));
}

TEST(NetworkQuirks, FilterByDefinitionFlagKeepsListOrder) {
    QEL_network net;
    const int a = net.AddNode(cptType, "a");
    const int b = net.AddNode(qel_truthTableType, "b");
    const int c = net.AddNode(cptType, "c");
    QEL_intArray in, out;
    for (int h : {c, b, a}) in.Add(h);
    out.Add(99);
    ASSERT_EQ(0, net.FilterByDefinitionFlag(in, qel_cptType & ~qel_truthTableType, out));
    EXPECT_EQ(std::vector<int>({c, a}), ToVector(out));
    ASSERT_EQ(0, net.FilterByDefinitionFlag(in, qel_truthTableType & ~qel_cptType, out));
    EXPECT_EQ(std::vector<int>({b}), ToVector(out));
}

// Ids in a copy are checked against the copy's own nodes, and its free
// slots are its own.
TEST(NetworkQuirks, CopiesKeepIdsAndSlotsToThemselves) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 4);
    ASSERT_EQ(0, net.DeleteNode(h[1]));
    QEL_network copy(net);
    EXPECT_EQ(0, copy.GetNode(h[0])->SetId("renamed"));
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, copy.GetNode(h[2])->SetId("renamed"));
    EXPECT_STREQ("n0", net.GetNode(h[0])->GetId());
    EXPECT_EQ(0, net.GetNode(h[2])->SetId("renamed"));
    EXPECT_EQ(h[1], copy.AddNode(cptType, "n1"));
    EXPECT_FALSE(net.Ok(h[1]));
}

}  // namespace
