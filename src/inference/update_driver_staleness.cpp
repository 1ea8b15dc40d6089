// Whole-network resets of the update driver: forgetting beliefs, propagated
// evidence, decisions' results, or all evidence at once.
//
// Values with evidence keep their valid bit through these: their belief is
// the point mass on the observed outcome whatever else changes.
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

int QEL_network::InvalidateAllBeliefs() {
    RemoveJpts();
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_nodeValue* value = nodes[h].node->Value();
        if (value != nullptr && !value->HasEvidence()) value->SetValueInvalid();
    }
    return QEL_OKAY;
}

int QEL_network::ClearAllPropagatedEvidence() {
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_nodeValue* value = nodes[h].node->Value();
        if (value != nullptr) value->ClearPropagatedEvidence();
    }
    return QEL_OKAY;
}

int QEL_network::InvalidateDecisions() {
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_nodeValue* value = nodes[h].node->Value();
        if (value != nullptr && (DefinitionType(h) & qel_decisionFlag) != 0) {
            value->SetValueInvalid();
        }
    }
    return QEL_OKAY;
}

int QEL_network::ClearAllEvidence() {
    const int active = flags & QEL_RELEVANCE_ACTIVE;
    flags &= ~QEL_RELEVANCE_ACTIVE;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_nodeValue* value = nodes[h].node->Value();
        if (value == nullptr) continue;
        if (value->IsPropagatedEvidence()) {
            value->ClearPropagatedEvidence();
        } else {
            value->ClearEvidence();
        }
    }
    flags |= active;
    // With the hooks off no walk followed the removals; with no evidence
    // left, every belief may have moved.
    InvalidateAllBeliefs();
    UpdateIfImmediate();
    return QEL_OKAY;
}

bool QEL_network::IsPlateNode(int handle) const {
    return Ok(handle) && nodes[handle].temporalType == 3;
}
