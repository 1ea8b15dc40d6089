// QEL_node: the node's kind. Making the definition and value for a type
// number, copying them from another node, and changing a node's type in
// place.
//
// A change of type builds the new definition and value beside the old ones
// and converts into them; only when both exist does the node let go of the
// old pair. A kind that cannot be made, or refuses the conversion, leaves
// the node as it was.
#include <string.h>

#include "node_kinds.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace {

struct TypeName {
    const char* name;
    int type;
};

const TypeName typeNames[] = {
    {"CPT", qel_cptType},          {"TRUTHTABLE", qel_truthTableType}, {"LIST", qel_listType},
    {"TABLE", qel_tableType},      {"NOISY_MAX", qel_noisyMaxType},    {"NOISY_ADDER", qel_noisyAdderType},
    {"MAU", qel_mauType},          {"CAST", qel_castType},             {"DEMORGAN", qel_demorganType},
};

}  // namespace

bool QEL_node::IsNodeTypeValid(int type) {
    switch (type) {
        case qel_noDefinitionType:
        case qel_equationType:
        case qel_tableType:
        case qel_listType:
        case qel_cptType:
        case qel_truthTableType:
        case qel_castType:
        case qel_demorganType:
        case qel_noisyMaxType:
        case qel_noisyAdderType:
        case qel_mauType:
        case qel_equationSccType:
            return true;
        default:
            return false;
    }
}

int QEL_node::NodeTypeFromName(const char* name) {
    if (name == nullptr) return QEL_OUT_OF_RANGE;
    for (const TypeName& entry : typeNames)
        if (strcmp(entry.name, name) == 0) return entry.type;
    return QEL_OUT_OF_RANGE;
}

int QEL_node::CreateDefinition(int type) {
    if (!IsNodeTypeValid(type)) return QEL_errorH().LogError(QEL_NOT_APPLICABLE, "Invalid definition type");
    delete definition;
    definition = nullptr;
    if (type == qel_noDefinitionType) return 0;
    int status = 0;
    definition = QEL_newDefinition(type, handle, network, status);
    if (definition == nullptr) return status;
    return CreateExtraDefinition();
}

int QEL_node::CreateDefinition(QEL_nodeDefinition& source) {
    int status = 0;
    QEL_nodeDefinition* made = QEL_newDefinition(source.GetType(), handle, network, status);
    if (made == nullptr) return status;
    int rc = made->Clone(source);
    delete definition;
    definition = made;
    return rc;
}

int QEL_node::CreateValue(int type) {
    delete value;
    value = nullptr;
    if (type == qel_noDefinitionType) return 0;
    int status = 0;
    value = QEL_newValueForDefinition(type, network, handle, status);
    return status;
}

int QEL_node::CreateValue(QEL_nodeValue& source) {
    if (!source.IsReady()) return QEL_OBJECT_NOT_READY;
    int status = 0;
    QEL_nodeValue* made = QEL_newValueOfType(source.GetType(), network, handle, status);
    if (made == nullptr) return status;
    int rc = made->Clone(source);
    made->SetNetworkAndHandle(network, handle);
    delete value;
    value = made;
    return rc;
}

int QEL_node::CreateExtraDefinition() {
    if (extraDefinition == nullptr) extraDefinition = new QEL_extraDefinition(network, handle);
    AdjustExtraDefinition();
    return 0;
}

void QEL_node::AdjustExtraDefinition() {
    int count = definition != nullptr ? definition->GetNumberOfOutcomes() : 0;
    if (count < 2) count = 2;
    if (extraDefinition == nullptr) return;
    if (extraDefinition->GetNumberOfStates() != count) extraDefinition->ReCreate(count);
}

int QEL_node::ReplaceDefinitionAndValue(int newType) {
    int status = 0;
    QEL_nodeDefinition* newDefinition = nullptr;
    if (newType != qel_noDefinitionType) {
        newDefinition = QEL_newDefinition(newType, handle, network, status);
        if (newDefinition == nullptr) return status;
    }
    if (newDefinition != nullptr && definition != nullptr) {
        int rc = newDefinition->Clone(*definition);
        if (rc != 0) {
            delete newDefinition;
            return rc;
        }
    }
    QEL_nodeDefinition* oldDefinition = definition;
    QEL_nodeValue* oldValue = value;
    // The new value sizes itself from the node's definition, so the new
    // definition goes in first.
    definition = newDefinition;
    value = nullptr;
    int rc = CreateValue(newType);
    if (rc != 0) {
        delete value;
        delete newDefinition;
        definition = oldDefinition;
        value = oldValue;
        return rc;
    }
    if (value != nullptr && oldValue != nullptr) value->Clone(*oldValue);
    delete oldDefinition;
    delete oldValue;
    return 0;
}

int QEL_node::ChangeType(int newType) {
    if (!IsNodeTypeValid(newType)) return QEL_WRONG_NODE_TYPE;
    const int oldType = GetType();
    if (oldType == newType) return 0;
    int rc = ReplaceDefinitionAndValue(newType);
    if (rc != 0) return rc;
    CheckNetworkStructure(1);
    AdjustExtraDefinition();
    CheckReadiness(1);
    if (network != nullptr) {
        network->OnTypeChanged(handle, oldType);
        // The converted table may differ from the old one (a truth table
        // keeps only the most likely outcome), so beliefs below are stale.
        network->RelevanceDefinitionChanged(handle, qel_probabilitiesChanged);
    }
    return 0;
}

int QEL_node::ChangeType(const char* typeName) { return ChangeType(NodeTypeFromName(typeName)); }
