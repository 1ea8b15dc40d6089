// QEL_network: targets and questions about the model as a whole (evidence,
// decisions, kind of model, in-degree). Targets live in bit 1 of the entry
// flags, with a count kept beside them so that "no targets" is cheap to
// ask; every other answer is a scan of the table.
#include <strings.h>

#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"

int QEL_network::SetTarget(int handle, bool on) {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    int& entryFlags = nodes[handle].flags;
    bool isTarget = (entryFlags & QEL_ENTRY_TARGET) != 0;
    if (isTarget == on) return QEL_NOT_APPLICABLE;
    if (on) {
        entryFlags |= QEL_ENTRY_TARGET;
        numTargets++;
    } else {
        entryFlags &= ~QEL_ENTRY_TARGET;
        numTargets--;
    }
    return 0;
}

int QEL_network::IsTarget(int handle) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    return (nodes[handle].flags & QEL_ENTRY_TARGET) != 0 ? 1 : 0;
}

int QEL_network::ClearAllTargets() {
    CleanFlag(QEL_ENTRY_TARGET);
    numTargets = 0;
    return 0;
}

int QEL_network::IsThereAnyEvidence() const {
    for (int h = 0; h < maxNodes; h++) {
        if ((ValueFlags(h) & QEL_VALUE_EVIDENCE) != 0) return 1;
    }
    return 0;
}

int QEL_network::IsThereAnyDecision() const {
    for (int h = 0; h < maxNodes; h++) {
        if ((DefinitionType(h) & qel_decisionFlag) == 0) continue;
        if ((ValueFlags(h) & QEL_VALUE_EVIDENCE) != 0) return 1;
    }
    return 0;
}

int QEL_network::ClearAllDecision() {
    for (int h = 0; h < maxNodes; h++) {
        if ((DefinitionType(h) & qel_decisionFlag) == 0) continue;
        QEL_nodeValue* value = nodes[h].node->Value();
        if (value != nullptr) value->ClearEvidence();
    }
    return 0;
}

bool QEL_network::IsInfluenceDiagram() const {
    for (int h = 0; h < maxNodes; h++) {
        int type = DefinitionType(h);
        if (type == qel_listType || type == qel_tableType || type == qel_mauType) return true;
    }
    return false;
}

bool QEL_network::IsGroupCost(int handle) const {
    if (!Ok(handle) || nodes[handle].node->Info() == nullptr) return false;
    const QEL_userProperties& properties = nodes[handle].node->Info()->UserProperties();
    int index = properties.FindProperty("DIAG_TESTGROUPCOST");
    if (index < 0) return false;
    const char* value = properties.GetPropertyValue(index);
    return value != nullptr && strcasecmp(value, "True") == 0;
}

int QEL_network::InDegree() const {
    int most = 0;
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node == nullptr) continue;
        if (nodes[h].parents.NumItems() > most) most = nodes[h].parents.NumItems();
    }
    return most;
}
