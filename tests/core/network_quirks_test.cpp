// QEL_network behaviour that callers depend on beyond what the random
// network edits check: replaced, refused and "@" ids, the reach of
// RemoveAllArcs, arcs and ids during a file read, cost arcs, the definition
// filter and ids in copies. Then the submodel handler: random edits (create,
// delete, move, nodes moved) against a plain parent map, with every query
// recomputed from it, and the name space it shares with nodes.
#include "core_helpers.h"

namespace {

using coretest::AddNodes;
using coretest::cptType;
using coretest::Ints;
using coretest::ToVector;

// An id that is no identifier: a header refuses it and logs; a new node
// gets a generated id instead (logged, the text kept as its name); a node
// taking a used id is refused silently. "@" ids are never in use, and the
// network's own id is outside the nodes' name space.
TEST(NetworkQuirks, IdsReplacedRefusedAndShared) {
    QEL_network net;
    AddNodes(net, 3);
    QEL_header header;
    const int errors = QEL_errorH().GetNumberOfErrors();
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, header.SetId("no good"));
    EXPECT_STREQ("Illegal identifier", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(nullptr, header.GetId());
    const int odd = net.AddNode(cptType, "1abc");
    EXPECT_STREQ("Node3", net.GetNode(odd)->GetId());
    EXPECT_STREQ("1abc", net.GetNode(odd)->Info()->Header().GetName());
    EXPECT_EQ(errors + 2, QEL_errorH().GetNumberOfErrors());
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, QEL_errorH().GetLastError());
    char id[16];
    ASSERT_EQ(0, net.CreateUniqueNodeIdentifier(id));
    EXPECT_STREQ("Node4", id);
    QEL_node& n1 = *net.GetNode(1);
    EXPECT_EQ(Ints({QEL_ILLEGAL_IDENTIFIER, 0, 0, 1, -2}),
              Ints({n1.SetId("n0"), n1.SetId("n1"), n1.SetId("C"), net.FindNode("C"), net.FindNode("n1")}));
    EXPECT_EQ(errors + 2, QEL_errorH().GetNumberOfErrors());
    // A header assigned into a node's header passes the same rule.
    EXPECT_EQ(0, header.SetId("Good"));
    EXPECT_EQ(0, header.SetName("A name, any text"));
    EXPECT_EQ(0, header.SetName(header.GetName()));  // freed only after the copy
    QEL_header& nodeHeader = net.GetNode(0)->Info()->Header();
    EXPECT_EQ(0, nodeHeader = header);
    EXPECT_STREQ("Good", nodeHeader.GetId());
    EXPECT_STREQ("A name, any text", nodeHeader.GetName());
    EXPECT_NE(header.GetId(), nodeHeader.GetId());
    header.SetId("C");
    EXPECT_EQ(0, nodeHeader = header);
    EXPECT_STREQ("Good", nodeHeader.GetId());
    EXPECT_EQ(0, net.GetHeader().SetId("C"));
    const int a = net.AddNode(cptType, "@tmp"), b = net.AddNode(cptType, "@tmp");
    EXPECT_NE(a, b);
    EXPECT_EQ(a, net.FindNode("@tmp"));
    EXPECT_EQ(0, net.GetNode(0)->SetId("@tmp"));
    EXPECT_EQ(std::vector<bool>({false, false, true, false}),
              std::vector<bool>({net.IsThisIdentifierInUse("@tmp", -1), net.IsThisIdentifierInUse(nullptr, -1),
                                 net.IsThisIdentifierInUse("n2", -1), net.IsThisIdentifierInUse("n2", 2)}));
}

TEST(NetworkQuirks, RemoveAllArcsReachesOnlyBelowTheNodeCount) {
    QEL_network net(2, 3);
    AddNodes(net, 6);
    EXPECT_EQ(8, net.GetMaxNodes());  // the table grows by the step it was given
    const std::pair<int, int> arcs[] = {{0, 1}, {3, 4}, {4, 5}, {0, 5}};
    for (auto [p, c] : arcs) ASSERT_EQ(0, net.AddArc(p, c));
    ASSERT_EQ(0, net.AddArc(0, 3, qel_costObserve));
    ASSERT_EQ(0, net.DeleteNode(2));
    // Five live nodes: pairs of handles below 5 lose their arcs, any arc
    // touching handle 5 stays, and so do cost arcs.
    EXPECT_EQ(0, net.RemoveAllArcs());
    EXPECT_EQ(Ints({5}), ToVector(net.GetChildren(0)));
    EXPECT_EQ(Ints({}), ToVector(net.GetChildren(3)));
    EXPECT_EQ(Ints({4, 0}), ToVector(net.GetParents(5)));
    EXPECT_EQ(Ints({3}), ToVector(net.GetChildren(0, qel_costObserve)));
}

TEST(NetworkQuirks, ReadFlagsLiftTheCycleAndIdTests) {
    QEL_network net;
    AddNodes(net, 3);
    net.SetReadFlags(QEL_READ_ACTIVE | QEL_READ_NO_CYCLE_TEST | QEL_READ_NO_ID_TEST);
    for (int i = 0; i < 3; i++) ASSERT_EQ(0, net.AddArc(i, (i + 1) % 3));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(1, 0));
    EXPECT_GE(net.AddNode(cptType, "n0"), 0);
    EXPECT_EQ(Ints({0, 0, 0}), Ints({net.IsAcyclic(), net.RemainsAcyclic(0, 2), net.IsPolyTree()}));
    // The orders and the depth still end; the order names each node once.
    std::vector<int> order = ToVector(net.PartialOrdering());
    std::sort(order.begin(), order.end());
    EXPECT_EQ(Ints({0, 1, 2, 3}), order);
    net.GetDepthOfNet();
    net.SetReadFlags(0);
    EXPECT_EQ(0, net.FindNode("n0"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddNode(cptType, "n0"));
    ASSERT_EQ(0, net.RemoveArc(2, 0));
    EXPECT_EQ(1, net.IsAcyclic());
    EXPECT_EQ(QEL_CYCLE_ERROR, net.AddArc(2, 0));
}

TEST(NetworkQuirks, CostArcsHaveTheirOwnLists) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 4);
    ASSERT_EQ(0, net.AddArc(h[0], h[1], qel_costObserve));
    ASSERT_EQ(0, net.AddArc(h[1], h[2], qel_costObserve));
    EXPECT_EQ(0, net.AddArc(h[2], h[0], qel_costObserve));  // no cycle test
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(h[3], h[3], qel_costObserve));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddArc(h[3], 40, qel_costObserve));
    const qel_arcType cost = qel_costObserve, noKind = static_cast<qel_arcType>(5);
    const int answers[] = {net.NumParents(h[1]), net.NumParents(h[1], cost), net.NumParents(40, cost),
                           net.IsThisGuyMyChild(h[0], h[1], cost), net.IsThisGuyMyChild(h[0], h[1], qel_normalArc),
                           net.IsThisGuyMyChild(h[0], h[1], noKind), net.IsAcyclic()};
    EXPECT_EQ(Ints({0, 1, -2, 1, 0, 0, 1}), Ints(answers, answers + 7));
    // The cost cycle leads back to the node itself.
    QEL_intArray below, none;
    ASSERT_EQ(0, net.GetCostDescendants(h[0], below));
    EXPECT_EQ(Ints({h[0], h[1], h[2]}), ToVector(below));
    ASSERT_EQ(0, net.GetDescendants(h[0], none));
    EXPECT_EQ(0, none.NumItems());
    ASSERT_EQ(0, net.RemoveArc(h[2], h[0], qel_costObserve));
    QEL_intArray order, some = coretest::ListOf({h[2], h[0]});
    ASSERT_EQ(0, net.CostPartialOrdering(order));
    EXPECT_EQ(Ints({h[0], h[1], h[2], h[3]}), ToVector(order));
    ASSERT_EQ(0, net.OrderPartiallyByCost(some));
    EXPECT_EQ(Ints({h[0], h[2]}), ToVector(some));
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

TEST(NetworkQuirks, DefinitionFilterAndCopiesKeepToThemselves) {
    QEL_network net;
    std::vector<int> h = AddNodes(net, 4);
    ASSERT_EQ(0, net.GetNode(h[2])->ChangeType(qel_truthTableType));
    QEL_intArray in = coretest::ListOf({h[3], h[2], h[0]}), out = coretest::ListOf({99});
    ASSERT_EQ(0, net.FilterByDefinitionFlag(in, qel_cptType & ~qel_truthTableType, out));
    EXPECT_EQ(Ints({h[3], h[0]}), ToVector(out));
    ASSERT_EQ(0, net.FilterByDefinitionFlag(in, qel_truthTableType & ~qel_cptType, out));
    EXPECT_EQ(Ints({h[2]}), ToVector(out));
    // Ids in a copy are checked against the copy's own nodes, and its free
    // slots are its own.
    ASSERT_EQ(0, net.DeleteNode(h[1]));
    QEL_network copy(net);
    EXPECT_EQ(0, copy.GetNode(h[0])->SetId("renamed"));
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, copy.GetNode(h[2])->SetId("renamed"));
    EXPECT_EQ(0, net.GetNode(h[2])->SetId("renamed"));
    EXPECT_EQ(h[1], copy.AddNode(cptType, "n1"));
    EXPECT_FALSE(net.Ok(h[1]));
}

const int root = QEL_submodelHandler::rootHandle;

// The tree as a map from each submodel to its parent, and from each node
// to its submodel; every query is answered by walking these.
struct TreeModel {
    std::map<int, int> parentOf{{root, QEL_OUT_OF_RANGE}};
    std::map<int, int> nodeIn;

    bool Within(int s, int ancestor) const {
        for (; s >= 0; s = parentOf.at(s)) {
            if (s == ancestor) return true;
        }
        return false;
    }
    std::vector<int> Submodels(int s, bool deep) const {
        std::vector<int> out;
        for (const auto& [h, parent] : parentOf) {
            if (h != s && (deep ? Within(h, s) : parent == s)) out.push_back(h);
        }
        return out;
    }
    std::vector<int> Nodes(int s, bool deep) const {
        std::vector<int> out;
        for (const auto& [node, in] : nodeIn) {
            if (deep ? Within(in, s) : in == s) out.push_back(node);
        }
        return out;
    }
    int Pick(std::mt19937& rng, bool withRoot) const {
        std::vector<int> handles;
        for (const auto& entry : parentOf) {
            if (withRoot || entry.first != root) handles.push_back(entry.first);
        }
        return handles.empty() ? root : handles[rng() % handles.size()];
    }
};

void ExpectTreeMatches(QEL_network& net, const TreeModel& model) {
    QEL_submodelHandler& handler = net.Submodels();
    EXPECT_EQ(static_cast<int>(model.parentOf.size()), handler.GetNumberOfSubmodels());
    for (const auto& [s, parent] : model.parentOf) {
        EXPECT_EQ(parent, handler.GetParent(s));
        QEL_intArray subs, deepSubs, nodes, deepNodes, bare;
        EXPECT_EQ(0, handler.GetIncludedSubmodels(s, subs));
        EXPECT_EQ(0, handler.GetDeepIncludedSubmodels(s, deepSubs));
        EXPECT_EQ(0, handler.GetIncludedNodes(s, nodes));
        EXPECT_EQ(0, handler.GetDeepIncludedNodes(s & ~root, bare));  // the 0x4000 bit may be left off
        EXPECT_EQ(model.Submodels(s, false), ToVector(subs)) << "in " << s;
        EXPECT_EQ(model.Submodels(s, true), ToVector(deepSubs)) << "in " << s;
        EXPECT_EQ(model.Nodes(s, false), ToVector(nodes)) << "in " << s;
        EXPECT_EQ(model.Nodes(s, true), ToVector(bare)) << "in " << s;
    }
    for (const auto& [node, in] : model.nodeIn) EXPECT_EQ(in, net.GetNode(node)->GetSubmodel() | root) << node;
}

TEST(SubmodelHandler, RandomEditsAgreeWithAParentMap) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        std::mt19937 rng(seed);
        QEL_network net;
        TreeModel model;
        for (int node : coretest::AddNodes(net, 8)) model.nodeIn[node] = root;
        std::vector<int> deleted;
        for (int step = 0, created = 0; step < 40; step++) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
            const int op = static_cast<int>(rng() % 10), s = model.Pick(rng, op >= 6), into = model.Pick(rng, true);
            if (op < 4) {
                const int h = net.Submodels().CreateSubmodel(into, ("s" + std::to_string(created++)).c_str());
                ASSERT_GE(h, 0);
                ASSERT_EQ(0, model.parentOf.count(h)) << "handle of a live submodel given again";
                model.parentOf[h] = into;
            } else if (op < 6) {
                // The deleted submodel's contents go to its parent.
                if (s == root) continue;
                ASSERT_EQ(0, net.Submodels().DeleteSubmodel(s));
                for (std::map<int, int>* map : {&model.parentOf, &model.nodeIn}) {
                    for (auto& entry : *map) {
                        if (entry.second == s) entry.second = model.parentOf[s];
                    }
                }
                model.parentOf.erase(s);
                deleted.push_back(s);
            } else if (op < 8) {
                const bool allowed = s != root && !model.Within(into, s);
                EXPECT_EQ(allowed ? 0 : QEL_OUT_OF_RANGE, net.Submodels().MoveSubmodel(s, into));
                if (allowed) model.parentOf[s] = into;
            } else {
                const int node = static_cast<int>(rng() % 8);
                ASSERT_EQ(0, net.GetNode(node)->SetSubmodel(into));
                model.nodeIn[node] = into;
            }
            ExpectTreeMatches(net, model);
            // Handles of deleted submodels are refused until given again.
            for (int gone : deleted) {
                QEL_intArray list;
                if (model.parentOf.count(gone) != 0) continue;
                EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().GetDeepIncludedNodes(gone, list));
                EXPECT_EQ(0, list.NumItems());
                EXPECT_EQ(QEL_OUT_OF_RANGE, net.GetNode(0)->SetSubmodel(gone));
                EXPECT_EQ(nullptr, net.Submodels().GetSubmodel(gone));
            }
        }
        // A copy has the tree, and ids of its own; a lean copy and a flushed
        // network keep only the root.
        QEL_network copy(net), lean(net, true);
        ExpectTreeMatches(copy, model);
        ASSERT_GE(copy.Submodels().CreateSubmodel(root, "Annex"), 0);
        EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().FindSubmodel("Annex"));
        EXPECT_EQ(1, lean.Submodels().GetNumberOfSubmodels());
        ASSERT_EQ(0, net.Flush());
        ExpectTreeMatches(net, TreeModel());
    }
}

// Submodel and node ids share one name space, with the network's own id,
// which names the root; nodes move into submodels by id.
TEST(SubmodelHandler, IdsShareOneNameSpaceWithNodes) {
    QEL_network net;
    QEL_submodelHandler& handler = net.Submodels();
    const int node = net.AddNode(cptType, "Lung"), clinic = handler.CreateSubmodel(root, "Clinic");
    QEL_node& lung = *net.GetNode(node);
    ASSERT_GT(clinic, root);
    EXPECT_STREQ("Clinic", handler.GetSubmodel(clinic)->header.GetId());
    EXPECT_EQ(root, handler.FindSubmodel("Unnamed"));
    const int refusals[] = {handler.CreateSubmodel(clinic, "Lung"),  handler.CreateSubmodel(clinic, "Clinic"),
                            handler.CreateSubmodel(clinic, "Unnamed"), net.AddNode(cptType, "Clinic"),
                            lung.SetId("Clinic"),                      handler.CreateSubmodel(root, "@hidden"),
                            handler.CreateSubmodel(0x4777, "Ward"),    handler.DeleteSubmodel(root),
                            lung.SetSubmodel(static_cast<const char*>(nullptr)), handler.CreateSubmodel(root, "2nd")};
    EXPECT_EQ(Ints({-32, -32, -32, -2, -30, -30, -2, -2, -2, -30}), Ints(refusals, refusals + 10));
    EXPECT_STREQ("Illegal identifier", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(2, handler.GetNumberOfSubmodels());
    EXPECT_EQ(0, lung.SetSubmodel("Clinic"));
    EXPECT_EQ(clinic, lung.GetSubmodel());
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, lung.SetSubmodel("Ward"));
    EXPECT_STREQ("Unknown submodel", QEL_errorH().GetLastErrorMessage());
    // A deleted submodel's id is free again.
    ASSERT_EQ(0, handler.DeleteSubmodel(clinic));
    EXPECT_EQ(QEL_OUT_OF_RANGE, handler.FindSubmodel("Clinic"));
    EXPECT_EQ(0, lung.SetId("Clinic"));
}

}  // namespace
