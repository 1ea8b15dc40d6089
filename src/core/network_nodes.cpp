// QEL_network: adding, deleting and finding nodes, and the notifications
// that nodes send to their network. A node is put into its slot before its
// id, definition and value are made, because all three look the node up
// through the network by its handle.
#include <stdio.h>
#include <string.h>

#include "orvil/casemanager.h"
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"
#include "orvil/submodel.h"

// Room for "Node" and any int, with the terminating NUL.
static const int generatedIdSize = 16;

int QEL_network::AddNode(int type, const char* id) {
    if (!QEL_node::IsNodeTypeValid(type)) return QEL_WRONG_NODE_TYPE;
    char generated[generatedIdSize];
    if (id == nullptr) {
        CreateUniqueNodeIdentifier(generated);
        id = generated;
    } else if ((readFlags & QEL_READ_NO_ID_TEST) == 0 && IsThisIdentifierInUse(id, -1)) {
        return QEL_OUT_OF_RANGE;
    }
    InvalidatePartialOrder();
    int handle = FindHole();
    if (handle < 0) return handle;
    int rc = PlaceNode(handle, type, id);
    return rc != 0 ? rc : handle;
}

int QEL_network::PlaceNode(int handle, int type, const char* id) {
    QEL_nodeEntry& entry = nodes[handle];
    QEL_node* node = new QEL_node(0, handle, this);
    entry.node = node;
    entry.temporalType = 0;
    // A text that is no valid identifier still names the node: it gets a
    // generated id and keeps the text as its display name.
    if (node->SetId(id) != 0 && SetGeneratedId(*node) != 0) {
        delete node;
        entry.node = nullptr;
        return QEL_OUT_OF_RANGE;
    }
    if (node->Info() != nullptr) node->Info()->Header().SetName(id);
    entry.flags = 0;
    numNodes++;
    // A node whose definition or value cannot be made stays in the table
    // and fails its readiness check, so the next readiness pass removes it.
    int rc = node->CreateDefinition(type);
    if (rc != 0) QEL_errorH().LogError(rc);
    rc = node->CreateValue(type);
    if (rc != 0) QEL_errorH().LogError(rc);
    node->InheritAspect();
    node->CheckReadiness(1);
    return 0;
}

int QEL_network::SetGeneratedId(QEL_node& node) {
    char generated[generatedIdSize];
    CreateUniqueNodeIdentifier(generated);
    return node.SetId(generated) == 0 ? 0 : QEL_OUT_OF_RANGE;
}

int QEL_network::DeleteNode(int handle) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    InvalidatePartialOrder();
    RemoveArcsOf(handle);
    QEL_nodeEntry& entry = nodes[handle];
    if ((entry.flags & QEL_ENTRY_TARGET) != 0) numTargets--;
    delete entry.node;
    entry.node = nullptr;
    entry.parents.Flush();
    entry.children.Flush();
    entry.costParents.Flush();
    entry.costChildren.Flush();
    entry.flags = 0;
    entry.temporalType = 0;
    cases->OnNodeDeleted(handle);
    if (dbn != nullptr) dbn->OnNodeDeleted(handle);
    numNodes--;
    return 0;
}

void QEL_network::RemoveArcsOf(int handle) {
    // Always the first arc of each list, through RemoveArc, so that every
    // definition at the other end drops its dimension. Should a removal be
    // refused (the lists would have to be broken), the entry is dropped
    // anyway so that the loop ends.
    QEL_nodeEntry& entry = nodes[handle];
    auto removeAll = [&](QEL_intArray& list, bool outgoing, qel_arcType type) {
        while (list.NumItems() > 0) {
            const int other = list.Subscript(0);
            const int rc = outgoing ? RemoveArc(handle, other, type) : RemoveArc(other, handle, type);
            if (rc != 0) list.Delete(0);
        }
    };
    removeAll(entry.children, true, qel_normalArc);
    removeAll(entry.parents, false, qel_normalArc);
    removeAll(entry.costChildren, true, qel_costObserve);
    removeAll(entry.costParents, false, qel_costObserve);
}

int QEL_network::DeleteAllNodes() {
    for (int h = maxNodes - 1; h >= 0; h--) {
        if (!Ok(h)) continue;
        int rc = DeleteNode(h);
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_network::FindNode(const char* id) const {
    if (id == nullptr) return QEL_NO_NODE;
    for (int h = 0; h < maxNodes; h++) {
        const QEL_node* node = nodes[h].node;
        if (node == nullptr) continue;
        const char* nodeId = node->GetId();
        if (nodeId != nullptr && strcmp(nodeId, id) == 0) return h;
    }
    return QEL_NO_NODE;
}

bool QEL_network::IsThisIdentifierInUse(const char* id, int except) const {
    // Ids starting with "@" mark nodes for internal use (the update driver's
    // temporary children); any number of nodes may share one.
    if (id == nullptr || id[0] == '@') return false;
    for (int h = 0; h < maxNodes; h++) {
        const QEL_node* node = nodes[h].node;
        if (node == nullptr || h == except) continue;
        const char* nodeId = node->GetId();
        if (nodeId != nullptr && strcmp(nodeId, id) == 0) return true;
    }
    return submodels->IsIdInUse(id);
}

int QEL_network::GetFirstNode() const {
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node != nullptr) return h;
    }
    return QEL_NO_NODE;
}

int QEL_network::GetNextNode(int handle) const {
    if (handle < 0) return QEL_NO_NODE;
    for (int h = handle + 1; h < maxNodes; h++) {
        if (nodes[h].node != nullptr) return h;
    }
    return QEL_NO_NODE;
}

int QEL_network::GetLastNode() const {
    for (int h = maxNodes - 1; h >= 0; h--) {
        if (nodes[h].node != nullptr) return h;
    }
    return QEL_NO_NODE;
}

int QEL_network::GetAllNodes(QEL_intArray& here) const {
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node != nullptr) here.Add(h);
    }
    return 0;
}

int QEL_network::GetAllNodeIds(QEL_idArray& here) const {
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node != nullptr) here.Add(nodes[h].node->GetId());
    }
    return 0;
}

int QEL_network::GetAllEvidenceNodes(QEL_intArray& here) const {
    for (int h = 0; h < maxNodes; h++) {
        if ((ValueFlags(h) & QEL_VALUE_EVIDENCE) != 0) here.Add(h);
    }
    return 0;
}

int QEL_network::CreateUniqueNodeIdentifier(char* out) const {
    for (int n = numNodes;; n++) {
        snprintf(out, generatedIdSize, "Node%d", n);
        if (!IsThisIdentifierInUse(out, -1)) return 0;
    }
}

int QEL_network::OnNodeIdChanging(int handle, const char* oldId, const char* newId) {
    if (oldId != nullptr && newId != nullptr && strcmp(oldId, newId) == 0) return 1;
    if ((readFlags & QEL_READ_NO_ID_TEST) == 0 && IsThisIdentifierInUse(newId, handle)) return 0;
    if (!Ok(handle)) return 1;
    const QEL_intArray& children = nodes[handle].children;
    for (int i = 0; i < children.NumItems(); i++) {
        QEL_nodeDefinition* definition = nodes[children.Subscript(i)].node->Definition();
        if (definition != nullptr) definition->ParentIdChanged(handle, oldId, newId);
    }
    return 1;
}

int QEL_network::OnTypeChanged(int handle, int oldType) {
    cases->OnTypeChanged(handle, oldType);
    if (dbn != nullptr) dbn->OnChangeType(handle, oldType);
    return 0;
}

int QEL_network::OnOutcomeAdded(int handle, int position) {
    cases->OnOutcomeAdded(handle, position);
    if (dbn != nullptr) dbn->OnInsertOutcome(handle, position);
    return 0;
}

int QEL_network::OnOutcomeDeleted(int handle, int position) {
    cases->OnOutcomeDeleted(handle, position);
    if (dbn != nullptr) dbn->OnDeleteOutcome(handle, position);
    return 0;
}

int QEL_network::OnReorderOutcomes(int handle, QEL_intArray& newOrder) {
    cases->OnReorderOutcomes(handle, newOrder);
    return 0;
}

int QEL_network::DefinitionType(int handle) const {
    if (!Ok(handle)) return 0;
    const QEL_nodeDefinition* definition = nodes[handle].node->Definition();
    return definition != nullptr ? definition->GetType() : 0;
}

int QEL_network::ValueFlags(int handle) const {
    if (!Ok(handle)) return 0;
    const QEL_nodeValue* value = nodes[handle].node->Value();
    return value != nullptr ? value->GetFlags() : 0;
}
