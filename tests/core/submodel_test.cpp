// The submodel handler: random sequences of edits (create, delete, move,
// nodes moved between submodels) checked after every step against a plain
// parent map, with every query recomputed from that map; the shared name
// space of submodel and node ids; and what copies, flushes and clean-ups
// do to the tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/submodel.h"

namespace {

const int cptType = 18;
const int root = QEL_submodelHandler::rootHandle;

std::vector<int> ToVector(const QEL_intArray& list) {
    return std::vector<int>(list.Items(), list.Items() + list.NumItems());
}

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
        if (handles.empty()) return root;
        return handles[std::uniform_int_distribution<size_t>(0, handles.size() - 1)(rng)];
    }
};

void ExpectTreeMatches(QEL_network& net, const TreeModel& model, const std::string& where) {
    QEL_submodelHandler& handler = net.Submodels();
    EXPECT_EQ(static_cast<int>(model.parentOf.size()), handler.GetNumberOfSubmodels()) << where;
    for (const auto& [s, parent] : model.parentOf) {
        EXPECT_EQ(parent, handler.GetParent(s)) << where;
        QEL_intArray subs, deepSubs, nodes, deepNodes, bare;
        EXPECT_EQ(0, handler.GetIncludedSubmodels(s, subs));
        EXPECT_EQ(0, handler.GetDeepIncludedSubmodels(s, deepSubs));
        EXPECT_EQ(0, handler.GetIncludedNodes(s, nodes));
        EXPECT_EQ(0, handler.GetDeepIncludedNodes(s, deepNodes));
        // The 0x4000 bit may be left off a handle.
        EXPECT_EQ(0, handler.GetDeepIncludedNodes(s & ~root, bare));
        EXPECT_EQ(model.Submodels(s, false), ToVector(subs)) << where << " in " << s;
        EXPECT_EQ(model.Submodels(s, true), ToVector(deepSubs)) << where << " in " << s;
        EXPECT_EQ(model.Nodes(s, false), ToVector(nodes)) << where << " in " << s;
        EXPECT_EQ(model.Nodes(s, true), ToVector(deepNodes)) << where << " in " << s;
        EXPECT_EQ(ToVector(deepNodes), ToVector(bare)) << where;
    }
    for (const auto& [node, in] : model.nodeIn) {
        EXPECT_EQ(in, net.GetNode(node)->GetSubmodel() | root) << where << " node " << node;
    }
}

TEST(SubmodelHandler, RandomEditsAgreeWithAParentMap) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        std::mt19937 rng(seed);
        QEL_network net;
        TreeModel model;
        for (int i = 0; i < 8; i++) model.nodeIn[net.AddNode(cptType, ("n" + std::to_string(i)).c_str())] = root;
        std::vector<int> deleted;
        int created = 0;
        for (int step = 0; step < 40; step++) {
            const std::string where = "seed " + std::to_string(seed) + " step " + std::to_string(step);
            const int op = std::uniform_int_distribution<int>(0, 9)(rng);
            if (op < 4) {
                const int parent = model.Pick(rng, true);
                const int h = net.Submodels().CreateSubmodel(parent, ("s" + std::to_string(created++)).c_str());
                ASSERT_GE(h, 0) << where;
                ASSERT_EQ(0, model.parentOf.count(h)) << where << ": handle of a live submodel given again";
                model.parentOf[h] = parent;
            } else if (op < 6) {
                const int s = model.Pick(rng, false);
                if (s == root) continue;
                ASSERT_EQ(0, net.Submodels().DeleteSubmodel(s)) << where;
                const int parent = model.parentOf[s];
                for (auto& entry : model.parentOf) {
                    if (entry.second == s) entry.second = parent;
                }
                for (auto& entry : model.nodeIn) {
                    if (entry.second == s) entry.second = parent;
                }
                model.parentOf.erase(s);
                deleted.push_back(s);
            } else if (op < 8) {
                const int s = model.Pick(rng, true);
                const int into = model.Pick(rng, true);
                const bool allowed = s != root && !model.Within(into, s);
                EXPECT_EQ(allowed ? 0 : QEL_OUT_OF_RANGE, net.Submodels().MoveSubmodel(s, into)) << where;
                if (allowed) model.parentOf[s] = into;
            } else {
                const int node = std::uniform_int_distribution<int>(0, 7)(rng);
                const int into = model.Pick(rng, true);
                ASSERT_EQ(0, net.GetNode(node)->SetSubmodel(into)) << where;
                model.nodeIn[node] = into;
            }
            ExpectTreeMatches(net, model, where);
            for (int gone : deleted) {
                if (model.parentOf.count(gone) != 0) continue;
                QEL_intArray list;
                EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().GetDeepIncludedNodes(gone, list)) << where;
                EXPECT_EQ(0, list.NumItems());
                EXPECT_EQ(nullptr, net.Submodels().GetSubmodel(gone));
                EXPECT_EQ(QEL_OUT_OF_RANGE, net.GetNode(0)->SetSubmodel(gone));
            }
        }
        QEL_network copy(net);
        ExpectTreeMatches(copy, model, "copy of seed " + std::to_string(seed));
    }
}

TEST(SubmodelHandler, IdsShareOneNameSpaceWithNodes) {
    QEL_network net;
    QEL_submodelHandler& handler = net.Submodels();
    const int node = net.AddNode(cptType, "Lung");
    const int clinic = handler.CreateSubmodel(root, "Clinic");
    ASSERT_GT(clinic, root);
    EXPECT_STREQ("Clinic", handler.GetSubmodel(clinic)->header.GetId());

    EXPECT_EQ(QEL_DUPLICATED_IDENTIFIER, handler.CreateSubmodel(root, "Lung"));
    EXPECT_EQ(QEL_DUPLICATED_IDENTIFIER, handler.CreateSubmodel(clinic, "Clinic"));
    // The network's own id names the root.
    EXPECT_EQ(QEL_DUPLICATED_IDENTIFIER, handler.CreateSubmodel(root, "Unnamed"));
    EXPECT_EQ(root, handler.FindSubmodel("Unnamed"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddNode(cptType, "Clinic"));
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, net.GetNode(node)->SetId("Clinic"));
    EXPECT_STREQ("Lung", net.GetNode(node)->GetId());

    QEL_errorH().Flush();
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, handler.CreateSubmodel(root, "2nd"));
    EXPECT_STREQ("Illegal identifier", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, handler.CreateSubmodel(root, "@hidden"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, handler.CreateSubmodel(0x4777, "Ward"));
    EXPECT_EQ(2, handler.GetNumberOfSubmodels());

    EXPECT_EQ(0, net.GetNode(node)->SetSubmodel("Clinic"));
    EXPECT_EQ(clinic, net.GetNode(node)->GetSubmodel());
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, net.GetNode(node)->SetSubmodel("Ward"));
    EXPECT_STREQ("Unknown submodel", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.GetNode(node)->SetSubmodel(static_cast<const char*>(nullptr)));
    EXPECT_EQ(clinic, net.GetNode(node)->GetSubmodel());

    EXPECT_EQ(QEL_OUT_OF_RANGE, handler.DeleteSubmodel(root));
    // A deleted submodel's id is free again, for nodes and submodels.
    ASSERT_EQ(0, handler.DeleteSubmodel(clinic));
    EXPECT_EQ(QEL_OUT_OF_RANGE, handler.FindSubmodel("Clinic"));
    EXPECT_EQ(root, net.GetNode(node)->GetSubmodel());
    EXPECT_EQ(0, net.GetNode(node)->SetId("Clinic"));
}

TEST(SubmodelHandler, CopiesFlushesAndCleanUps) {
    QEL_network net;
    const int a = net.AddNode(cptType, "a");
    const int ward = net.Submodels().CreateSubmodel(root, "Ward");
    const int bed = net.Submodels().CreateSubmodel(ward, "Bed");
    net.Submodels().GetSubmodel(bed)->header.SetName("Bed one");
    net.Submodels().GetSubmodel(bed)->info.position.Set(10, 20, 30, 40);
    ASSERT_EQ(0, net.GetNode(a)->SetSubmodel(bed));

    QEL_network copy(net);
    QEL_submodel* copied = copy.Submodels().GetSubmodel(bed);
    ASSERT_NE(nullptr, copied);
    EXPECT_STREQ("Bed one", copied->header.GetName());
    EXPECT_EQ(30, copied->info.position.width);
    // The copy's ids are its own: a submodel made there does not reach the
    // source.
    ASSERT_GE(copy.Submodels().CreateSubmodel(root, "Annex"), 0);
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().FindSubmodel("Annex"));

    QEL_network lean(net, true);
    EXPECT_EQ(1, lean.Submodels().GetNumberOfSubmodels());

    net.GetHeader().SetId("Hospital");
    ASSERT_EQ(0, net.Flush());
    EXPECT_EQ(1, net.Submodels().GetNumberOfSubmodels());
    EXPECT_STREQ("Hospital", net.GetHeader().GetId());
    EXPECT_GE(net.AddNode(cptType, "Ward"), 0);

    net.CleanUp(1);
    EXPECT_EQ(1, net.Submodels().GetNumberOfSubmodels());
    EXPECT_EQ(nullptr, net.GetHeader().GetId());
}

}  // namespace
