// Certainty through deterministic tables.
//
// When a node is observed, a child whose table puts probability 1 on one
// outcome for the observed parents' outcomes (all other parents free) must
// have that outcome; a parent left with a single outcome under which the
// observation has non-zero probability must have that one. Such outcomes are
// recorded as propagated evidence, which blocks the staleness walk and lets
// engines cut the model. Conflicts with the user's evidence are reported
// here, before an engine meets a zero potential.
//
// Table slices are selected with coordinate lists: one entry per dimension,
// the parent's evidence outcome or -1 for "every outcome".
#include <cstdio>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"

namespace {

const int kVisited = QEL_ENTRY_VISITED;

// The node's table when its dimensions are its parents and itself, which is
// what the coordinate lists below assume; null otherwise.
QEL_Dmatrix* FamilyTable(QEL_node* node, int parentCount) {
    if (node->Definition() == nullptr) return nullptr;
    QEL_Dmatrix* table = node->Definition()->GetMatrix();
    if (table == nullptr || table->GetNumberOfDimensions() != parentCount + 1) return nullptr;
    return table;
}

const char* IdOf(QEL_node* node) {
    const char* id = node->GetId();
    return id != nullptr ? id : "";
}

}  // namespace

void QEL_network::EvidenceCoordinates(int handle, int outcome, QEL_intArray& coordinates) const {
    const QEL_intArray& parents = nodes[handle].parents;
    const int n = parents.NumItems();
    coordinates.SetSize(n + 1);
    for (int i = 0; i < n; i++) {
        const QEL_nodeValue* value = nodes[parents[i]].node->Value();
        const int evidence = value != nullptr ? value->GetEvidence() : -1;
        coordinates[i] = evidence >= 0 ? evidence : -1;
    }
    coordinates[n] = outcome;
}

int QEL_network::CheckOutcomePossible(int handle, int outcome) {
    QEL_node* node = nodes[handle].node;
    QEL_Dmatrix* table = FamilyTable(node, nodes[handle].parents.NumItems());
    if (table == nullptr || outcome < 0 || outcome >= table->GetSizeOfLastDimension()) {
        return QEL_OKAY;
    }
    QEL_intArray coordinates;
    EvidenceCoordinates(handle, outcome, coordinates);
    if (table->CheckElements(0.0, coordinates) != 1) return QEL_OKAY;
    const QEL_idArray* names = node->Definition()->GetOutcomesNames();
    const char* outcomeId = names != nullptr && outcome < names->NumItems() ? (*names)[outcome] : "";
    char message[512];
    std::snprintf(message, sizeof message, "Outcome [%s] of node [%s] is impossible",
                  outcomeId != nullptr ? outcomeId : "", IdOf(node));
    return QEL_errorH().LogError(QEL_OUT_OF_RANGE, message);
}

int QEL_network::FunctionDetermine(int handle) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    const QEL_nodeValue* value = nodes[handle].node->Value();
    if (value == nullptr || !value->HasEvidence()) return QEL_OUT_OF_RANGE;
    const int outcome = value->GetEvidence();
    nodes[handle].flags |= kVisited;
    int rc = DetermineChildren(handle);
    if (rc != QEL_OKAY) return rc;
    const int type = DefinitionType(handle);
    if ((type & qel_decisionFlag) != 0 || type == qel_equationType) return QEL_OKAY;
    return DetermineParents(handle, outcome);
}

int QEL_network::DetermineChildren(int handle) {
    QEL_intArray coordinates;
    const QEL_intArray& children = nodes[handle].children;
    for (int i = 0; i < children.NumItems(); i++) {
        const int child = children[i];
        if ((DefinitionType(child) & (qel_utilityFlag | qel_decisionFlag)) != 0) continue;
        QEL_Dmatrix* table = FamilyTable(nodes[child].node, nodes[child].parents.NumItems());
        if (table == nullptr) continue;
        EvidenceCoordinates(child, 0, coordinates);
        const int last = coordinates.GetSize() - 1;
        const int outcomes = table->GetSizeOfLastDimension();
        // The search goes on after a hit; in a table whose columns sum to one
        // no second outcome can be certain as well.
        for (int s = 0; s < outcomes; s++) {
            coordinates[last] = s;
            if (table->CheckElements(1.0, coordinates) != 1) continue;
            const int rc = ConcludeOutcome(handle, child, s);
            if (rc != QEL_OKAY) return rc;
        }
    }
    return QEL_OKAY;
}

int QEL_network::DetermineParents(int handle, int outcome) {
    QEL_Dmatrix* table = FamilyTable(nodes[handle].node, nodes[handle].parents.NumItems());
    if (table == nullptr) return QEL_OKAY;
    QEL_intArray coordinates;
    EvidenceCoordinates(handle, outcome, coordinates);
    const QEL_intArray& parents = nodes[handle].parents;
    for (int j = 0; j < parents.NumItems(); j++) {
        const int parent = parents[j];
        if ((DefinitionType(parent) & (qel_utilityFlag | qel_decisionFlag)) != 0) continue;
        int possible = 0;
        int only = -1;
        for (int t = 0; t < table->GetSizeOfDimension(j); t++) {
            coordinates[j] = t;
            if (table->CheckElements(0.0, coordinates) != 1) {
                possible++;
                only = t;
            }
        }
        // The parent's own evidence is not put back: later parents are tested
        // with this dimension free, a loosening that can only miss a
        // conclusion, never draw a wrong one.
        coordinates[j] = -1;
        if (possible != 1) continue;
        const int rc = ConcludeOutcome(handle, parent, only);
        if (rc != QEL_OKAY) return rc;
    }
    return QEL_OKAY;
}

int QEL_network::ConcludeOutcome(int source, int other, int outcome) {
    QEL_nodeValue* value = nodes[other].node->Value();
    if (value == nullptr) return QEL_OKAY;
    if (value->HasEvidence()) {
        if (value->GetEvidence() == outcome) return QEL_OKAY;
        char message[512];
        std::snprintf(message, sizeof message,
                      "ERROR: conficting evidence between nodes [%s] and [%s]",
                      IdOf(nodes[source].node), IdOf(nodes[other].node));
        return QEL_errorH().LogError(QEL_IMPOSSIBLE_EVIDENCE, message);
    }
    value->SetPropagatedEvidence(outcome);
    if ((nodes[other].flags & kVisited) != 0) return QEL_OKAY;
    return FunctionDetermine(other);
}
