// QEL_network: traversals of the graph (ancestors, descendants, cycle and
// polytree tests, depth) and the orders that engines and solvers walk
// (partial, temporal, cost). All walks keep their marks in the entries'
// flag words and their pending work on explicit stacks, so a long chain of
// nodes costs heap, not call stack.
#include <vector>

#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"

// A stack of (node, next list position) pairs for the depth-first walks.
class QEL_walkStack {
public:
    void Push(int node) {
        nodes.Add(node);
        positions.Add(0);
    }
    void Pop() {
        nodes.Delete(nodes.NumItems() - 1);
        positions.Delete(positions.NumItems() - 1);
    }
    bool Empty() const { return nodes.NumItems() == 0; }
    int Top() const { return nodes.Subscript(nodes.NumItems() - 1); }
    // The top node's next list position; advances it.
    int NextPosition() { return positions.Subscript(positions.NumItems() - 1)++; }

private:
    QEL_intArray nodes;
    QEL_intArray positions;
};

void QEL_network::MarkAncestors(int handle) {
    QEL_intArray pending;
    pending.Add(handle);
    while (pending.NumItems() > 0) {
        int node = pending.List_Last();
        pending.Delete(pending.NumItems() - 1);
        const QEL_intArray& parents = nodes[node].parents;
        for (int i = 0; i < parents.NumItems(); i++) {
            QEL_nodeEntry& parent = nodes[parents.Subscript(i)];
            if ((parent.flags & QEL_ENTRY_ANCESTOR) != 0) continue;
            parent.flags |= QEL_ENTRY_ANCESTOR;
            pending.Add(parents.Subscript(i));
        }
    }
}

void QEL_network::MarkDescendants(int handle, bool costArcs) {
    QEL_intArray pending;
    pending.Add(handle);
    while (pending.NumItems() > 0) {
        int node = pending.List_Last();
        pending.Delete(pending.NumItems() - 1);
        const QEL_intArray& children = costArcs ? nodes[node].costChildren : nodes[node].children;
        for (int i = 0; i < children.NumItems(); i++) {
            QEL_nodeEntry& child = nodes[children.Subscript(i)];
            if ((child.flags & QEL_ENTRY_DESCENDANT) != 0) continue;
            child.flags |= QEL_ENTRY_DESCENDANT;
            pending.Add(children.Subscript(i));
        }
    }
}

int QEL_network::CollectMarked(int bit, QEL_intArray* here) const {
    int count = 0;
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node == nullptr || (nodes[h].flags & bit) == 0) continue;
        count++;
        if (here != nullptr) here->Add(h);
    }
    return count;
}

int QEL_network::GetAncestors(int handle, QEL_intArray& here) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    CleanFlag(QEL_ENTRY_ANCESTOR);
    MarkAncestors(handle);
    CollectMarked(QEL_ENTRY_ANCESTOR, &here);
    return 0;
}

int QEL_network::GetDescendants(int handle, QEL_intArray& here) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    CleanFlag(QEL_ENTRY_DESCENDANT);
    MarkDescendants(handle, false);
    CollectMarked(QEL_ENTRY_DESCENDANT, &here);
    return 0;
}

int QEL_network::GetNumOfAncestors(int handle) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    CleanFlag(QEL_ENTRY_ANCESTOR);
    MarkAncestors(handle);
    return CollectMarked(QEL_ENTRY_ANCESTOR, nullptr);
}

int QEL_network::GetNumOfDescendants(int handle) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    CleanFlag(QEL_ENTRY_DESCENDANT);
    MarkDescendants(handle, false);
    return CollectMarked(QEL_ENTRY_DESCENDANT, nullptr);
}

int QEL_network::GetCostDescendants(int handle, QEL_intArray& here) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    CleanFlag(QEL_ENTRY_DESCENDANT);
    MarkDescendants(handle, true);
    CollectMarked(QEL_ENTRY_DESCENDANT, &here);
    return 0;
}

// Flag changes of the cycle test: a node enters the current path, leaves it
// finished, or is a leaf that no cycle can pass.
static void EnterPath(QEL_nodeEntry& entry) {
    entry.flags = (entry.flags | QEL_ENTRY_ON_PATH) & ~(QEL_ENTRY_VISITED | QEL_ENTRY_LEAF_SEEN);
}

static void Finish(QEL_nodeEntry& entry) {
    entry.flags = (entry.flags | QEL_ENTRY_VISITED) & ~(QEL_ENTRY_ON_PATH | QEL_ENTRY_LEAF_SEEN);
}

static void SeeLeaf(QEL_nodeEntry& entry) {
    entry.flags = (entry.flags | QEL_ENTRY_LEAF_SEEN) & ~(QEL_ENTRY_VISITED | QEL_ENTRY_ON_PATH);
}

int QEL_network::IsAcyclic() {
    CleanFlag(QEL_ENTRY_VISITED | QEL_ENTRY_ON_PATH | QEL_ENTRY_LEAF_SEEN);
    for (int h = 0; h < maxNodes; h++) {
        QEL_nodeEntry& entry = nodes[h];
        if (entry.node == nullptr || (entry.flags & QEL_ENTRY_VISITED) != 0) continue;
        // A root lies on no cycle; its children are started from later.
        if (entry.parents.NumItems() == 0) {
            entry.flags |= QEL_ENTRY_LEAF_SEEN;
            continue;
        }
        EnterPath(entry);
        if (CycleBelow(h)) return 0;
    }
    return 1;
}

bool QEL_network::CycleBelow(int start) {
    QEL_walkStack path;
    path.Push(start);
    while (!path.Empty()) {
        QEL_nodeEntry& top = nodes[path.Top()];
        int position = path.NextPosition();
        if (position >= top.children.NumItems()) {
            Finish(top);
            path.Pop();
            continue;
        }
        int child = top.children.Subscript(position);
        QEL_nodeEntry& entry = nodes[child];
        if ((entry.flags & QEL_ENTRY_ON_PATH) != 0) return true;
        if ((entry.flags & QEL_ENTRY_VISITED) != 0) continue;
        if (entry.children.NumItems() == 0) {
            SeeLeaf(entry);
            continue;
        }
        EnterPath(entry);
        path.Push(child);
    }
    return false;
}

bool QEL_network::RemainsAcyclic(int parent, int child) {
    if (parent == child || !Ok(parent) || !Ok(child)) return false;
    QEL_intArray& children = nodes[parent].children;
    QEL_intArray& parents = nodes[child].parents;
    children.Add(child);
    parents.Add(parent);
    int acyclic = IsAcyclic();
    // The trial arc is the last item of both lists. Dropping that item,
    // rather than the first equal one, keeps the lists' order intact when
    // the arc already existed.
    children.Delete(children.NumItems() - 1);
    parents.Delete(parents.NumItems() - 1);
    return acyclic == 1;
}

int QEL_network::IsPolyTree() {
    CleanFlag(QEL_ENTRY_VISITED);
    for (int h = 0; h < maxNodes; h++) {
        QEL_nodeEntry& entry = nodes[h];
        if (entry.node == nullptr || (entry.flags & QEL_ENTRY_VISITED) != 0) continue;
        entry.flags |= QEL_ENTRY_VISITED;
        if (!VisitTree(h)) return 0;
    }
    return 1;
}

bool QEL_network::VisitTree(int start) {
    // Pending (node, node it was reached from) pairs. Every neighbour but
    // the one the walk came from must be new; a marked one was reached by a
    // second path.
    QEL_intArray pending;
    QEL_intArray cameFrom;
    pending.Add(start);
    cameFrom.Add(QEL_NO_NODE);
    while (pending.NumItems() > 0) {
        int node = pending.List_Last();
        int from = cameFrom.List_Last();
        pending.Delete(pending.NumItems() - 1);
        cameFrom.Delete(cameFrom.NumItems() - 1);
        const QEL_intArray* lists[2] = {&nodes[node].parents, &nodes[node].children};
        for (const QEL_intArray* list : lists) {
            for (int i = 0; i < list->NumItems(); i++) {
                int neighbour = list->Subscript(i);
                if (neighbour == from) continue;
                if ((nodes[neighbour].flags & QEL_ENTRY_VISITED) != 0) return false;
                nodes[neighbour].flags |= QEL_ENTRY_VISITED;
                pending.Add(neighbour);
                cameFrom.Add(node);
            }
        }
    }
    return true;
}

void QEL_network::OrderFrom(int start, qel_arcType type, QEL_intArray& out) {
    // Postorder over parents. The on-path bit keeps a node that is still
    // waiting for its parents from being entered twice, which only matters
    // for a graph read with the cycle test off.
    QEL_walkStack path;
    nodes[start].flags |= QEL_ENTRY_ON_PATH;
    path.Push(start);
    while (!path.Empty()) {
        int node = path.Top();
        const QEL_intArray& parents = GetParents(node, type);
        int position = path.NextPosition();
        if (position < parents.NumItems()) {
            int parent = parents.Subscript(position);
            if ((nodes[parent].flags & (QEL_ENTRY_ORDERED | QEL_ENTRY_ON_PATH)) != 0) continue;
            nodes[parent].flags |= QEL_ENTRY_ON_PATH;
            path.Push(parent);
            continue;
        }
        nodes[node].flags = (nodes[node].flags | QEL_ENTRY_ORDERED) & ~QEL_ENTRY_ON_PATH;
        out.Add(node);
        path.Pop();
    }
}

const QEL_intArray& QEL_network::PartialOrdering() {
    if (partialOrderValid) return partialOrder;
    partialOrder.RoomGuaranteed(numNodes);
    CleanFlag(QEL_ENTRY_ORDERED | QEL_ENTRY_ON_PATH);
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node == nullptr || (nodes[h].flags & QEL_ENTRY_ORDERED) != 0) continue;
        OrderFrom(h, qel_normalArc, partialOrder);
    }
    partialOrderValid = true;
    return partialOrder;
}

int QEL_network::CostPartialOrdering(QEL_intArray& out) {
    out.RoomGuaranteed(numNodes);
    CleanFlag(QEL_ENTRY_ORDERED | QEL_ENTRY_ON_PATH);
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node == nullptr || (nodes[h].flags & QEL_ENTRY_ORDERED) != 0) continue;
        OrderFrom(h, qel_costObserve, out);
    }
    return 0;
}

void QEL_network::ReorderAlong(const QEL_intArray& order, QEL_intArray& list) const {
    std::vector<bool> listed(maxNodes, false);
    for (int i = 0; i < list.NumItems(); i++) {
        int handle = list.Subscript(i);
        if (handle >= 0 && handle < maxNodes) listed[handle] = true;
    }
    list.Flush();
    for (int i = 0; i < order.NumItems(); i++) {
        if (listed[order.Subscript(i)]) list.Add(order.Subscript(i));
    }
}

int QEL_network::OrderPartially(QEL_intArray& list) {
    ReorderAlong(PartialOrdering(), list);
    return 0;
}

int QEL_network::OrderPartiallyByCost(QEL_intArray& list) {
    QEL_intArray order;
    CostPartialOrdering(order);
    ReorderAlong(order, list);
    return 0;
}

int QEL_network::TemporalOrder(QEL_intArray& out) {
    const QEL_intArray& order = PartialOrdering();
    out.Flush();
    std::vector<bool> placed(maxNodes, false);
    for (int i = 0; i < order.NumItems(); i++) {
        int decision = order.Subscript(i);
        if ((DefinitionType(decision) & qel_decisionFlag) == 0) continue;
        // What is known when the decision is made comes just before it.
        for (int j = 0; j < order.NumItems(); j++) {
            int handle = order.Subscript(j);
            if (placed[handle] || !nodes[decision].parents.IsInList(handle)) continue;
            placed[handle] = true;
            out.Add(handle);
        }
        if (placed[decision]) continue;
        placed[decision] = true;
        out.Add(decision);
    }
    for (int i = 0; i < order.NumItems(); i++) {
        if (!placed[order.Subscript(i)]) out.Add(order.Subscript(i));
    }
    return 0;
}

int QEL_network::OrderTemporally(QEL_intArray& list) {
    QEL_intArray order;
    TemporalOrder(order);
    ReorderAlong(order, list);
    return 0;
}

int QEL_network::GetDepthOfNet() {
    const QEL_intArray& order = PartialOrdering();
    int deepest = 0;
    for (int i = order.NumItems() - 1; i >= 0; i--) {
        QEL_nodeEntry& entry = nodes[order.Subscript(i)];
        int depth = 0;
        for (int c = 0; c < entry.children.NumItems(); c++) {
            int childDepth = nodes[entry.children.Subscript(c)].depth + 1;
            if (childDepth > depth) depth = childDepth;
        }
        entry.depth = depth;
        if (depth > deepest) deepest = depth;
    }
    return deepest;
}
