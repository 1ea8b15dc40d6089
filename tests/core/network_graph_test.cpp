// Random edit sequences on QEL_network, checked step by step against a
// plain adjacency model: handles handed out, arc lists and their order,
// refusals (cycles by brute-force reachability), targets, and, every few
// steps, the traversals and orders against brute-force answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"

namespace {

const int cptType = 18;

std::vector<int> ToVector(const QEL_intArray& list) {
    return std::vector<int>(list.Items(), list.Items() + list.NumItems());
}

// The network as plain lists, updated by the rules a caller can observe.
struct GraphModel {
    int maxNodes = 50;
    int growth = 50;
    int count = 0;
    std::vector<bool> live = std::vector<bool>(50, false);
    std::vector<bool> target = std::vector<bool>(50, false);
    std::vector<std::vector<int>> parents = std::vector<std::vector<int>>(50);
    std::vector<std::vector<int>> children = std::vector<std::vector<int>>(50);
    std::vector<std::string> ids = std::vector<std::string>(50);

    bool Live(int h) const { return h >= 0 && h < maxNodes && live[h]; }

    // The slot the next node takes: the node count first, else the lowest
    // free slot; a full table grows.
    int NextHandle() const {
        if (count == maxNodes || !live[count]) return count;
        for (int h = 0; h < maxNodes; h++) {
            if (!live[h]) return h;
        }
        return -2;
    }

    bool IdInUse(const std::string& id) const {
        for (int h = 0; h < maxNodes; h++) {
            if (live[h] && ids[h] == id) return true;
        }
        return false;
    }

    std::string NextGeneratedId() const {
        for (int n = count;; n++) {
            std::string id = "Node" + std::to_string(n);
            if (!IdInUse(id)) return id;
        }
    }

    void Add(int h, const std::string& id) {
        if (h == maxNodes) {
            maxNodes += growth;
            live.resize(maxNodes, false);
            target.resize(maxNodes, false);
            parents.resize(maxNodes);
            children.resize(maxNodes);
            ids.resize(maxNodes);
        }
        live[h] = true;
        target[h] = false;
        ids[h] = id;
        count++;
    }

    void RemoveArc(int p, int c) {
        children[p].erase(std::find(children[p].begin(), children[p].end(), c));
        parents[c].erase(std::find(parents[c].begin(), parents[c].end(), p));
    }

    void Delete(int h) {
        while (!children[h].empty()) RemoveArc(h, children[h].front());
        while (!parents[h].empty()) RemoveArc(parents[h].front(), h);
        live[h] = false;
        target[h] = false;
        count--;
    }

    bool HasArc(int p, int c) const {
        return std::find(children[p].begin(), children[p].end(), c) != children[p].end();
    }

    // Breadth-first reachability along arcs.
    bool Reaches(int from, int to) const {
        std::vector<bool> seen(maxNodes, false);
        std::vector<int> queue{from};
        seen[from] = true;
        for (size_t i = 0; i < queue.size(); i++) {
            if (queue[i] == to) return true;
            for (int c : children[queue[i]]) {
                if (!seen[c]) {
                    seen[c] = true;
                    queue.push_back(c);
                }
            }
        }
        return false;
    }

    std::vector<int> LiveHandles() const {
        std::vector<int> out;
        for (int h = 0; h < maxNodes; h++) {
            if (live[h]) out.push_back(h);
        }
        return out;
    }

    // Everything reachable from `h` along `next` (parents or children),
    // without `h`, ascending.
    std::vector<int> Closure(int h, const std::vector<std::vector<int>>& next) const {
        std::vector<bool> seen(maxNodes, false);
        std::vector<int> stack{h};
        while (!stack.empty()) {
            int n = stack.back();
            stack.pop_back();
            for (int m : next[n]) {
                if (!seen[m]) {
                    seen[m] = true;
                    stack.push_back(m);
                }
            }
        }
        std::vector<int> out;
        for (int m = 0; m < maxNodes; m++) {
            if (seen[m] && m != h) out.push_back(m);
        }
        return out;
    }

    // Depth-first postorder over parents, roots taken in handle order.
    std::vector<int> PartialOrder() const {
        std::vector<bool> placed(maxNodes, false);
        std::vector<int> out;
        std::function<void(int)> visit = [&](int n) {
            for (int p : parents[n]) {
                if (!placed[p]) visit(p);
            }
            placed[n] = true;
            out.push_back(n);
        };
        for (int h : LiveHandles()) {
            if (!placed[h]) visit(h);
        }
        return out;
    }

    int LongestPathDown(int h, std::vector<int>& memo) const {
        if (memo[h] >= 0) return memo[h];
        int depth = 0;
        for (int c : children[h]) depth = std::max(depth, 1 + LongestPathDown(c, memo));
        return memo[h] = depth;
    }

    // Union-find over the arcs taken as undirected edges.
    bool IsForest() const {
        std::vector<int> root(maxNodes);
        std::iota(root.begin(), root.end(), 0);
        std::function<int(int)> find = [&](int x) { return root[x] == x ? x : root[x] = find(root[x]); };
        for (int p = 0; p < maxNodes; p++) {
            for (int c : children[p]) {
                int a = find(p);
                int b = find(c);
                if (a == b) return false;
                root[a] = b;
            }
        }
        return true;
    }
};

class GraphChecker {
public:
    GraphChecker(unsigned seed, int slotsUsed, int idealCount)
        : random(seed), slotsUsed(slotsUsed), idealCount(idealCount) {}

    void Run(int steps) {
        for (int step = 0; step < steps && !::testing::Test::HasFatalFailure(); step++) {
            RandomEdit();
            CheckLists();
            if (step % 7 == 0) CheckTraversals();
        }
        CheckTraversals();
    }

private:
    int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }

    // Any handle, mostly live ones, sometimes empty or out of range.
    int AnyHandle() {
        std::vector<int> handles = model.LiveHandles();
        if (!handles.empty() && Pick(10) < 8) return handles[Pick(static_cast<int>(handles.size()))];
        return Pick(model.maxNodes + 4) - 2;
    }

    void RandomEdit() {
        int kind = Pick(100);
        int addShare = model.count < idealCount ? 40 : 15;
        if (kind < addShare) {
            AddNode();
        } else if (kind < addShare + 10) {
            DeleteNode();
        } else if (kind < 75) {
            AddArc();
        } else if (kind < 88) {
            RemoveArc();
        } else if (kind < 94) {
            ReorderParents();
        } else {
            ToggleTarget();
        }
    }

    void AddNode() {
        int variant = Pick(20);
        int expected = model.NextHandle();
        if (variant == 0) {
            EXPECT_EQ(QEL_WRONG_NODE_TYPE, net.AddNode(9, "unused"));
            return;
        }
        if (variant == 1 && model.count > 0) {
            int h = model.LiveHandles()[Pick(model.count)];
            EXPECT_EQ(QEL_OUT_OF_RANGE, net.AddNode(cptType, model.ids[h].c_str()));
            return;
        }
        std::string id;
        int rc;
        if (variant == 2) {
            id = model.NextGeneratedId();
            rc = net.AddNode(cptType, nullptr);
        } else {
            id = "v" + std::to_string(serial++);
            rc = net.AddNode(cptType, id.c_str());
        }
        ASSERT_EQ(expected, rc) << "handle of new node " << id;
        model.Add(expected, id);
        EXPECT_STREQ(id.c_str(), net.GetNode(rc)->GetId());
    }

    void DeleteNode() {
        int h = AnyHandle();
        if (!model.Live(h)) {
            EXPECT_EQ(QEL_OUT_OF_RANGE, net.DeleteNode(h));
            return;
        }
        ASSERT_EQ(0, net.DeleteNode(h));
        model.Delete(h);
    }

    void AddArc() {
        int p = Pick(slotsUsed + 2) - 1;
        int c = Pick(slotsUsed + 2) - 1;
        int expected = 0;
        if (!model.Live(p) || !model.Live(c) || p == c || model.HasArc(p, c) || model.HasArc(c, p)) {
            expected = QEL_OUT_OF_RANGE;
        } else if (model.Reaches(c, p)) {
            expected = QEL_CYCLE_ERROR;
        }
        ASSERT_EQ(expected, net.AddArc(p, c)) << p << " -> " << c;
        if (expected != 0) return;
        model.children[p].push_back(c);
        model.parents[c].push_back(p);
    }

    void RemoveArc() {
        int p = AnyHandle();
        int c = AnyHandle();
        if (model.Live(p) && !model.children[p].empty() && Pick(2) == 0) {
            c = model.children[p][Pick(static_cast<int>(model.children[p].size()))];
        }
        bool exists = model.Live(p) && model.Live(c) && model.HasArc(p, c);
        ASSERT_EQ(exists ? 0 : QEL_OUT_OF_RANGE, net.RemoveArc(p, c)) << p << " -> " << c;
        if (exists) model.RemoveArc(p, c);
    }

    // Now and then an order with a repeat, which changes nothing.
    void ReorderParents() {
        int h = AnyHandle();
        if (!model.Live(h) || model.parents[h].size() < 2) return;
        std::vector<int> order(model.parents[h].size());
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        bool repeat = Pick(5) == 0;
        if (repeat) order[0] = order[1];
        QEL_intArray newOrder;
        for (int i : order) newOrder.Add(i);
        ASSERT_EQ(repeat ? QEL_OUT_OF_RANGE : 0, net.ChangeOrderOfParents(h, newOrder));
        if (repeat) return;
        std::vector<int> old = model.parents[h];
        for (size_t i = 0; i < order.size(); i++) model.parents[h][i] = old[order[i]];
    }

    void ToggleTarget() {
        if (Pick(20) == 0) {
            ASSERT_EQ(0, net.ClearAllTargets());
            std::fill(model.target.begin(), model.target.end(), false);
            return;
        }
        int h = AnyHandle();
        bool on = Pick(2) == 0;
        int expected = !model.Live(h) ? QEL_OUT_OF_RANGE : model.target[h] == on ? QEL_NOT_APPLICABLE : 0;
        ASSERT_EQ(expected, net.SetTarget(h, on));
        if (expected == 0) model.target[h] = on;
    }

    // Lists, lookups and the definition's shape after every edit.
    void CheckLists() {
        ASSERT_EQ(model.count, net.GetNumberOfNodes());
        ASSERT_EQ(model.maxNodes, net.GetMaxNodes());
        int targets = 0;
        for (int h = -1; h <= model.maxNodes; h++) {
            ASSERT_EQ(model.Live(h), net.Ok(h)) << "slot " << h;
            if (!model.Live(h)) continue;
            ASSERT_EQ(model.parents[h], ToVector(net.GetParents(h))) << "parents of " << h;
            ASSERT_EQ(model.children[h], ToVector(net.GetChildren(h))) << "children of " << h;
            QEL_intArray discrete;
            discrete.Add(-7);  // replaced, not appended to
            ASSERT_EQ(0, net.GetDiscreteParents(h, discrete));
            ASSERT_EQ(model.parents[h], ToVector(discrete));
            ASSERT_EQ(h, net.FindNode(model.ids[h].c_str()));
            ASSERT_EQ(model.target[h] ? 1 : 0, net.IsTarget(h));
            targets += model.target[h] ? 1 : 0;
            // The table has one dimension per parent, then the node's own.
            QEL_Dmatrix* table = net.GetNode(h)->Definition()->GetMatrix();
            ASSERT_NE(nullptr, table);
            ASSERT_EQ(static_cast<int>(model.parents[h].size()) + 1, table->GetNumberOfDimensions());
        }
        ASSERT_EQ(targets, net.GetNumberOfTargets());
    }

    void CheckTraversals() {
        std::vector<int> handles = model.LiveHandles();
        std::vector<int> walked;
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) walked.push_back(h);
        EXPECT_EQ(handles, walked);
        EXPECT_EQ(handles.empty() ? -2 : handles.back(), net.GetLastNode());

        EXPECT_EQ(1, net.IsAcyclic());
        EXPECT_EQ(model.IsForest() ? 1 : 0, net.IsPolyTree());

        std::vector<int> order = ToVector(net.PartialOrdering());
        EXPECT_EQ(model.PartialOrder(), order);
        // Without decisions the temporal order is the partial order.
        QEL_intArray temporal;
        ASSERT_EQ(0, net.TemporalOrder(temporal));
        EXPECT_EQ(order, ToVector(temporal));
        // A list sorted along the partial order keeps only live handles.
        QEL_intArray list;
        std::vector<int> sorted;
        for (int h = -1; h <= model.maxNodes; h++) {
            if (Pick(2) == 0) list.Add(h);
        }
        for (int h : order) {
            if (list.IsInList(h)) sorted.push_back(h);
        }
        std::shuffle(list.Items(), list.Items() + list.NumItems(), random);
        ASSERT_EQ(0, net.OrderPartially(list));
        EXPECT_EQ(sorted, ToVector(list));
        std::vector<int> position(model.maxNodes, -1);
        for (size_t i = 0; i < order.size(); i++) position[order[i]] = static_cast<int>(i);
        size_t inDegree = 0;
        std::vector<int> memo(model.maxNodes, -1);
        int depth = 0;
        for (int h : handles) {
            inDegree = std::max(inDegree, model.parents[h].size());
            depth = std::max(depth, model.LongestPathDown(h, memo));
            for (int p : model.parents[h]) EXPECT_LT(position[p], position[h]);
            std::vector<int> ancestors = model.Closure(h, model.parents);
            std::vector<int> descendants = model.Closure(h, model.children);
            QEL_intArray got;
            got.Add(-7);  // results are appended, not written over
            ASSERT_EQ(0, net.GetAncestors(h, got));
            ancestors.insert(ancestors.begin(), -7);
            EXPECT_EQ(ancestors, ToVector(got)) << "ancestors of " << h;
            got.Flush();
            ASSERT_EQ(0, net.GetDescendants(h, got));
            EXPECT_EQ(descendants, ToVector(got)) << "descendants of " << h;
            EXPECT_EQ(static_cast<int>(ancestors.size()) - 1, net.GetNumOfAncestors(h));
            EXPECT_EQ(static_cast<int>(descendants.size()), net.GetNumOfDescendants(h));
        }
        EXPECT_EQ(static_cast<int>(inDegree), net.InDegree());
        EXPECT_EQ(depth, net.GetDepthOfNet());
        CheckRemainsAcyclic(handles);
    }

    void CheckRemainsAcyclic(const std::vector<int>& handles) {
        if (handles.size() < 2) return;
        for (int i = 0; i < 5; i++) {
            int p = handles[Pick(static_cast<int>(handles.size()))];
            int c = handles[Pick(static_cast<int>(handles.size()))];
            EXPECT_EQ(p != c && !model.Reaches(c, p), net.RemainsAcyclic(p, c));
            EXPECT_EQ(model.HasArc(p, c) ? 1 : 0, net.IsThisGuyMyParent(c, p));
            EXPECT_EQ(model.HasArc(p, c) || model.HasArc(c, p), net.Related(p, c));
            EXPECT_EQ(model.parents[c], ToVector(net.GetParents(c)));
            EXPECT_EQ(model.children[p], ToVector(net.GetChildren(p)));
        }
    }

    std::mt19937 random;
    int slotsUsed;
    int idealCount;
    int serial = 0;
    QEL_network net;
    GraphModel model;
};

TEST(NetworkGraph, DenseRandomEditsMatchAdjacencyModel) {
    for (unsigned seed = 1; seed <= 12 && !HasFatalFailure(); seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        GraphChecker(seed, 9, 8).Run(300);
    }
}

TEST(NetworkGraph, SparseRandomEditsAcrossTableGrowth) {
    for (unsigned seed = 100; seed < 103 && !HasFatalFailure(); seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        GraphChecker(seed, 130, 120).Run(700);
    }
}

}  // namespace
