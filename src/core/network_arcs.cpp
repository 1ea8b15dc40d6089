// QEL_network: adding and removing arcs, and reading the arc lists. Every
// normal arc is written to three places, the parent's child list, the
// child's parent list and the child definition's table, and a change that
// one of them refuses is undone in the others, so a failed call leaves no
// half-made arc.
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"

// Temporal types that restrict the children of a node.
static const int terminalType = 2;
static const int plateType = 3;
// The property by which a cost parent stands for a group of tests.
static const char groupCostProperty[] = "DIAG_TESTGROUPCOST";

int QEL_network::AddArc(int parent, int child, qel_arcType type) {
    if (type == qel_costObserve) return AddObservCostArc(parent, child);
    return AddNormalArc(parent, child);
}

int QEL_network::RemoveArc(int parent, int child, qel_arcType type) {
    if (type == qel_costObserve) return RemoveObservCostArc(parent, child);
    return RemoveNormalArc(parent, child);
}

bool QEL_network::TemporalTypesAllowArc(int parent, int child) const {
    int parentType = nodes[parent].temporalType;
    int childType = nodes[child].temporalType;
    if (parentType == terminalType) return childType == terminalType;
    if (parentType == plateType) return childType == terminalType || childType == plateType;
    return true;
}

// Drops the item that the last Add appended.
static void DropLast(QEL_intArray& list) {
    list.Delete(list.NumItems() - 1);
}

int QEL_network::AddNormalArc(int parent, int child) {
    if (!Ok(parent) || !Ok(child) || parent == child || Related(parent, child)) {
        return QEL_OUT_OF_RANGE;
    }
    if ((readFlags & QEL_READ_NO_CYCLE_TEST) == 0 && !RemainsAcyclic(parent, child)) {
        return QEL_CYCLE_ERROR;
    }
    InvalidatePartialOrder();
    if (!TemporalTypesAllowArc(parent, child)) return QEL_WRONG_NODE_TYPE;
    QEL_intArray& children = nodes[parent].children;
    QEL_intArray& parents = nodes[child].parents;
    children.Add(child);
    parents.Add(parent);
    // The definition extends its table by the new parent's dimension, last,
    // which is where the parent now stands in the list.
    QEL_nodeDefinition* definition = nodes[child].node->Definition();
    if (definition == nullptr || definition->AddParent(parent) != 0) {
        DropLast(children);
        DropLast(parents);
        return QEL_errorH().LogError(QEL_WRONG_NODE_TYPE, "Arc rejected by child node");
    }
    if (dbn != nullptr) dbn->OnAddStaticArc(parent, child);
    RelevanceArcAdded(parent, child);
    return 0;
}

int QEL_network::AddObservCostArc(int parent, int child) {
    if (!Ok(parent) || !Ok(child) || parent == child) return QEL_OUT_OF_RANGE;
    QEL_intArray& children = nodes[parent].costChildren;
    QEL_intArray& parents = nodes[child].costParents;
    children.Add(child);
    parents.Add(parent);
    QEL_nodeCost* cost = nodes[child].node->Cost();
    if (cost == nullptr || cost->AddParent(parent) != 0) {
        DropLast(children);
        DropLast(parents);
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE, "Arc cannot be added");
    }
    RelevanceArcAdded(parent, child);
    return 0;
}

int QEL_network::RemoveNormalArc(int parent, int child) {
    if (!Ok(parent) || !Ok(child) || parent == child) return QEL_OUT_OF_RANGE;
    if (!nodes[parent].children.IsInList(child)) return QEL_OUT_OF_RANGE;
    InvalidatePartialOrder();
    if (dbn != nullptr) dbn->OnDeleteStaticArc(parent, child);
    // The definition finds the parent's dimension by its place in the list,
    // so it is told while the parent is still listed.
    QEL_nodeDefinition* definition = nodes[child].node->Definition();
    if (definition != nullptr) definition->RemoveParent(parent);
    nodes[parent].children.DeleteByContent(child);
    nodes[child].parents.DeleteByContent(parent);
    RelevanceArcRemoved(parent, child);
    return 0;
}

int QEL_network::RemoveObservCostArc(int parent, int child) {
    if (!Ok(parent) || !Ok(child) || parent == child) return QEL_OUT_OF_RANGE;
    QEL_nodeCost* cost = nodes[child].node->Cost();
    if (cost != nullptr) cost->RemoveParent(parent);
    nodes[parent].costChildren.DeleteByContent(child);
    // A group cost only means something while the group has members.
    if (nodes[parent].costChildren.NumItems() == 0 && IsGroupCost(parent)) {
        QEL_userProperties& properties = nodes[parent].node->Info()->UserProperties();
        properties.DeleteProperty(properties.FindProperty(groupCostProperty));
    }
    nodes[child].costParents.DeleteByContent(parent);
    RelevanceArcRemoved(parent, child);
    return 0;
}

QEL_intArray& QEL_network::GetParents(int handle, qel_arcType type) {
    return type == qel_costObserve ? nodes[handle].costParents : nodes[handle].parents;
}

QEL_intArray& QEL_network::GetChildren(int handle, qel_arcType type) {
    return type == qel_costObserve ? nodes[handle].costChildren : nodes[handle].children;
}

const QEL_intArray& QEL_network::GetParents(int handle, qel_arcType type) const {
    return type == qel_costObserve ? nodes[handle].costParents : nodes[handle].parents;
}

const QEL_intArray& QEL_network::GetChildren(int handle, qel_arcType type) const {
    return type == qel_costObserve ? nodes[handle].costChildren : nodes[handle].children;
}

int QEL_network::NumParents(int handle, qel_arcType type) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    return GetParents(handle, type).NumItems();
}

int QEL_network::NumChildren(int handle, qel_arcType type) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    return GetChildren(handle, type).NumItems();
}

int QEL_network::IsThisGuyMyParent(int handle, int other) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    return nodes[handle].parents.IsInList(other);
}

int QEL_network::IsThisGuyMyChild(int handle, int other, qel_arcType type) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    if (type == qel_normalArc) return nodes[handle].children.IsInList(other);
    if (type == qel_costObserve) return nodes[handle].costChildren.IsInList(other);
    return 0;
}

bool QEL_network::Related(int a, int b) const {
    return nodes[a].parents.IsInList(b) || nodes[a].children.IsInList(b);
}

int QEL_network::ChangeOrderOfParents(int handle, QEL_intArray& newOrder) {
    int rc = nodes[handle].parents.ChangeOrder(newOrder);
    if (rc != 0) return rc;
    // Parent order breaks ties in the partial order.
    InvalidatePartialOrder();
    QEL_nodeDefinition* definition = nodes[handle].node->Definition();
    if (definition != nullptr) definition->OrderOfParentsGetsChanged(newOrder);
    return 0;
}

int QEL_network::RemoveAllArcs() {
    // The loops run over the numbers below the node count, not over the
    // live handles: in a table with holes, nodes at or above the count keep
    // their arcs. Callers rely on this exact reach.
    QEL_intArray live;
    GetAllNodes(live);
    int count = live.NumItems();
    for (int i = 0; i < count; i++) {
        for (int j = 0; j < count; j++) RemoveArc(i, j, qel_normalArc);
    }
    return 0;
}

int QEL_network::GetDiscreteParents(int handle, QEL_intArray& here, qel_arcType type) {
    if (type != qel_normalArc && type != qel_costObserve) return 0;
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    return FilterByDefinitionFlag(GetParents(handle, type), qel_discreteFlag, here);
}

int QEL_network::FilterByDefinitionFlag(const QEL_intArray& in, int mask, QEL_intArray& out) const {
    out.CleanUp();
    for (int i = 0; i < in.NumItems(); i++) {
        int handle = in.Subscript(i);
        if ((DefinitionType(handle) & mask) != 0) out.Add(handle);
    }
    return 0;
}
