// Staleness tracking: the Relevance... hooks and the reachability walk.
//
// Every change of evidence or model reaches the network through one of the
// hooks below. Instead of forgetting all beliefs, the driver walks the graph
// from the changed node the way information flows (d-separation): down
// through unobserved nodes, up through unobserved nodes met from below, up
// through a node met from above only when it or a descendant is observed,
// which is what the evidenceAncestor mark records. Every value the walk
// reaches loses its valid bit; values it cannot reach keep their beliefs.
//
// The walk's marks are scratch bits of the node table's flag words; each
// walk clears them over the whole table before it starts.
#include <cstddef>
#include <vector>

#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace {

// Walk marks in the node table's flag words, beside the target bit.
const int kVisited = QEL_ENTRY_VISITED;
const int kEvidenceAncestor = QEL_ENTRY_ANCESTOR;
const int kFromChild = 0x80;
const int kFromParent = 0x100;
const int kEvidenceJustCleared = 0x200;
const int kWalkMarks = kVisited | kEvidenceAncestor | kFromChild | kFromParent;

}  // namespace

bool QEL_network::RelevanceOn(int eventBit) const {
    return (flags & QEL_RELEVANCE_ACTIVE) != 0 && (relevanceEvents & eventBit) != 0;
}

void QEL_network::UpdateIfImmediate() {
    if ((flags & QEL_UPDATE_IMMEDIATELY) != 0) UpdateBeliefs();
}

void QEL_network::MarkEvidenceAncestors() {
    CleanFlag(kWalkMarks);
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        const int valueFlags = ValueFlags(h);
        // Propagated evidence follows from the real evidence; only what the
        // user observed opens colliders above it.
        if ((valueFlags & QEL_VALUE_EVIDENCE) != 0 &&
            (valueFlags & QEL_VALUE_PROPAGATED_EVIDENCE) == 0) {
            MarkAncestors(h);
        }
        // A likelihood vector is an observed child that exists only during
        // updates: the node itself lies above evidence.
        if ((valueFlags & QEL_VALUE_VIRTUAL_EVIDENCE) != 0) {
            nodes[h].flags |= kEvidenceAncestor;
            MarkAncestors(h);
        }
    }
}

void QEL_network::WalkChildren(int handle, int& decisionTouched) {
    const QEL_intArray& children = nodes[handle].children;
    for (int i = 0; i < children.NumItems(); i++) {
        InvalidateControl(children[i], kFromParent, decisionTouched);
    }
}

void QEL_network::WalkParents(int handle, int& decisionTouched) {
    const QEL_intArray& parents = nodes[handle].parents;
    for (int i = 0; i < parents.NumItems(); i++) {
        InvalidateControl(parents[i], kFromChild, decisionTouched);
    }
}

void QEL_network::InvalidateControl(int handle, int direction, int& decisionTouched) {
    if (!Ok(handle)) return;
    QEL_nodeValue* value = nodes[handle].node->Value();
    if (value == nullptr) return;
    int& mark = nodes[handle].flags;
    const int type = DefinitionType(handle);
    if ((type & qel_decisionFlag) != 0) {
        // Information does not pass decisions; a decision seen from below
        // only needs its own expected utilities recomputed.
        if (direction == kFromChild && !value->HasEvidence()) value->SetValueInvalid();
        return;
    }
    if (value->IsPropagatedEvidence() && (mark & kEvidenceAncestor) == 0) return;
    const bool blocks = value->HasEvidence() || (mark & kEvidenceJustCleared) != 0;
    if (blocks) {
        // Evidence closes a chain and opens a collider: from above, the walk
        // turns up to the other parents.
        if ((mark & kVisited) == 0 && direction == kFromParent) {
            mark |= kVisited;
            WalkParents(handle, decisionTouched);
        }
        return;
    }
    if ((mark & kVisited) == 0) {
        mark |= direction | kVisited;
        value->SetValueInvalid();
        if ((type & qel_utilityFlag) != 0) decisionTouched = 1;
        WalkChildren(handle, decisionTouched);
        if (direction == kFromChild || (mark & kEvidenceAncestor) != 0) {
            WalkParents(handle, decisionTouched);
        }
        return;
    }
    // Met first from above, its parents were left alone; met now from below,
    // they are reachable after all.
    if (direction == kFromChild && (mark & kFromParent) != 0) {
        mark &= ~kFromParent;
        WalkParents(handle, decisionTouched);
    }
}

int QEL_network::NodeChanged(int handle) {
    if ((flags & QEL_RELEVANCE_ACTIVE) == 0) return QEL_OKAY;
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    const std::vector<int> deducedBefore = DeducedOutcomes();
    ClearAllPropagatedEvidence();
    CleanFlag(kVisited);
    if ((flags & QEL_FUNCTIONAL_DETERMINATION) != 0) {
        QEL_intArray observed;
        GetAllEvidenceNodes(observed);
        for (int i = 0; i < observed.NumItems(); i++) FunctionDetermine(observed[i]);
    }
    const std::vector<int> deducedAfter = DeducedOutcomes();
    MarkEvidenceAncestors();
    int decisionTouched = 0;
    nodes[handle].flags |= kVisited;
    QEL_nodeValue* value = nodes[handle].node->Value();
    const bool observed = value != nullptr && value->HasEvidence();
    const int type = DefinitionType(handle);
    if (!observed) {
        if (value != nullptr) value->SetValueInvalid();
        if ((type & qel_utilityFlag) != 0) decisionTouched = 1;
        WalkChildren(handle, decisionTouched);
    }
    const int opensUpward = kEvidenceAncestor | kEvidenceJustCleared;
    if ((type & qel_decisionFlag) == 0 && (observed || (nodes[handle].flags & opensUpward) != 0)) {
        WalkParents(handle, decisionTouched);
    }
    // A node whose deduced outcome appeared, went or changed is a change of
    // its own: now known, it would block the walk from `handle` exactly where
    // the news has to pass.
    for (std::size_t h = 0; h < deducedAfter.size(); h++) {
        if (deducedAfter[h] == deducedBefore[h]) continue;
        nodes[h].flags |= kVisited;
        WalkChildren(static_cast<int>(h), decisionTouched);
        if ((DefinitionType(static_cast<int>(h)) & qel_decisionFlag) == 0) {
            WalkParents(static_cast<int>(h), decisionTouched);
        }
    }
    if (decisionTouched != 0) InvalidateDecisions();
    return QEL_OKAY;
}

std::vector<int> QEL_network::DeducedOutcomes() const {
    std::vector<int> outcomes(static_cast<std::size_t>(maxNodes), -1);
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        const QEL_nodeValue* value = nodes[h].node->Value();
        if (value != nullptr && value->IsPropagatedEvidence()) outcomes[h] = value->GetEvidence();
    }
    return outcomes;
}

int QEL_network::RelevanceEvidenceSet(int handle) {
    if (!RelevanceOn(QEL_EVENT_EVIDENCE_SET)) return QEL_OKAY;
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    if (DefinitionType(handle) == qel_equationType) return RelevanceContEvidenceChanged(handle);
    const QEL_nodeValue* value = nodes[handle].node->Value();
    if (value == nullptr) return QEL_OUT_OF_RANGE;
    int rc = CheckOutcomePossible(handle, value->GetEvidence());
    if (rc != QEL_OKAY) return rc;
    MarkEvidenceAncestors();
    int decisionTouched = 0;
    nodes[handle].flags |= kVisited;
    WalkChildren(handle, decisionTouched);
    WalkParents(handle, decisionTouched);
    if ((flags & QEL_FUNCTIONAL_DETERMINATION) != 0) {
        CleanFlag(kVisited);
        rc = FunctionDetermine(handle);
    }
    if (decisionTouched != 0) InvalidateDecisions();
    UpdateIfImmediate();
    return rc;
}

int QEL_network::RelevanceEvidenceCleared(int handle) {
    if (!RelevanceOn(QEL_EVENT_EVIDENCE_CLEARED)) return QEL_OKAY;
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    if (DefinitionType(handle) == qel_equationType) return RelevanceContEvidenceChanged(handle);
    nodes[handle].flags |= kEvidenceJustCleared;
    const int rc = NodeChanged(handle);
    nodes[handle].flags &= ~kEvidenceJustCleared;
    if (rc != QEL_OKAY) return rc;
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceEvidencePropagated(int) { return QEL_OKAY; }

int QEL_network::RelevancePropagatedEvidenceCleared(int) { return QEL_OKAY; }

int QEL_network::RelevanceContEvidenceChanged(int handle) {
    if ((flags & QEL_RELEVANCE_ACTIVE) == 0) return QEL_OKAY;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_nodeValue* value = nodes[h].node->Value();
        if (h != handle && value != nullptr && !value->HasEvidence()) value->SetValueInvalid();
    }
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceVirtualEvidenceSet(int) {
    if ((flags & QEL_RELEVANCE_ACTIVE) == 0) return QEL_OKAY;
    // A likelihood reaches everything connected to the node, and the
    // temporary node that carries it exists only during an update: no walk
    // can follow it, so every belief goes.
    InvalidateAllBeliefs();
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceVirtualEvidenceCleared(int handle) {
    return RelevanceVirtualEvidenceSet(handle);
}

int QEL_network::RelevanceControlValue(int) {
    if ((flags & QEL_RELEVANCE_ACTIVE) == 0) return QEL_OKAY;
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceClearControlledValue(int) {
    if ((flags & QEL_RELEVANCE_ACTIVE) == 0) return QEL_OKAY;
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceArcAdded(int, int to) {
    if (!RelevanceOn(QEL_EVENT_ARC_ADDED)) return QEL_OKAY;
    const int rc = NodeChanged(to);
    if (rc != QEL_OKAY) return rc;
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceArcRemoved(int from, int to) {
    if (!RelevanceOn(QEL_EVENT_ARC_REMOVED)) return QEL_OKAY;
    int rc = NodeChanged(to);
    if (rc != QEL_OKAY) return rc;
    // The arc also carried what was known below `to` up into `from`. Losing
    // that is like losing an observation at `from`: the walk starts there in
    // both directions.
    if (Ok(from)) {
        nodes[from].flags |= kEvidenceJustCleared;
        rc = NodeChanged(from);
        nodes[from].flags &= ~kEvidenceJustCleared;
        if (rc != QEL_OKAY) return rc;
    }
    UpdateIfImmediate();
    return QEL_OKAY;
}

int QEL_network::RelevanceDefinitionChanged(int handle, int kind) {
    if (!RelevanceOn(kind)) return QEL_OKAY;
    // Every kind, the catch-all after a write through a raw table pointer
    // included, means the node's table may say something new.
    const int rc = NodeChanged(handle);
    if (rc != QEL_OKAY) return rc;
    UpdateIfImmediate();
    return QEL_OKAY;
}
