// The base of every node value: flags, owner, indexing parents.
//
// Everything a value class without a matrix cannot do answers
// QEL_WRONG_NODE_TYPE here, so callers can ask any value anything and get a
// status back. The shared parts (readiness, copying the common fields,
// indexing parents) live here once.
#include "orvil/nodevalue.h"

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"

namespace {

// Parent types whose outcomes index a value's matrix. Casts and DeMorgan
// nodes are listed as indexing parents but add no dimension.
bool AddsIndexingDimension(int type) {
    return type == qel_listType || type == qel_cptType || type == qel_truthTableType ||
           type == qel_noisyMaxType || type == qel_noisyAdderType;
}

QEL_nodeDefinition* DefinitionOf(QEL_network* net, int node) {
    if (net == nullptr || !net->Ok(node)) return nullptr;
    return net->GetNode(node)->Definition();
}

}  // namespace

QEL_nodeValue::QEL_nodeValue(QEL_network* net, int nodeHandle)
    : network(net), handle(nodeHandle), flags(0), reserved(0) {
    SetObjectReady();
}

QEL_nodeValue::~QEL_nodeValue() = default;

int QEL_nodeValue::CleanUp(int deep) {
    if (deep != 0) indexingParents.Flush();
    flags = 0;
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_nodeValue::CheckReadiness(int) {
    SetObjectReady();
    return QEL_OKAY;
}

int QEL_nodeValue::CheckConsistency(int) {
    SetObjectConsistent();
    return QEL_OKAY;
}

int QEL_nodeValue::operator=(QEL_nodeValue& other) { return Clone(other); }

int QEL_nodeValue::Clone(QEL_nodeValue& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return QEL_OKAY;
    network = other.network;
    handle = other.handle;
    flags = other.flags;
    indexingParents = other.indexingParents;
    CheckReadiness(0);
    CheckConsistency(0);
    return QEL_OKAY;
}

int QEL_nodeValue::ReCreateFromNetworkStructure() { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::GetSize() { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::GetEvidence() const { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::GetEvidence(double&) const { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetEvidence(double) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetEvidence(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::ClearEvidence() { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::ClearPropagatedEvidence() { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetPropagatedEvidence(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetPropagatedEvidence(double) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::GetVirtualEvidence(std::vector<double>&) const { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetVirtualEvidence(const std::vector<double>&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::GetValue(QEL_Dmatrix**) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeValue::SetValue(QEL_Dmatrix&) { return QEL_WRONG_NODE_TYPE; }

int QEL_nodeValue::AddIndexingParent(int parent) {
    QEL_nodeDefinition* parentDef = DefinitionOf(network, parent);
    if (parentDef == nullptr) return QEL_OUT_OF_RANGE;
    if (indexingParents.IsInList(parent)) return QEL_OKAY;
    QEL_nodeValue* parentValue = network->GetNode(parent)->Value();
    // The relation is recorded once: a parent that already lists this node
    // keeps the dimension on its side.
    if (parentValue != nullptr && parentValue->indexingParents.IsInList(handle)) return QEL_OKAY;
    int rc = indexingParents.Add(parent);
    if (rc != QEL_OKAY) return rc;
    const int outcomes = parentDef->GetNumberOfOutcomes();
    if (!AddsIndexingDimension(parentDef->GetType()) || outcomes <= 0) return QEL_OKAY;
    QEL_Dmatrix* m = nullptr;
    if (GetValue(&m) != QEL_OKAY) return QEL_OKAY;
    return m->InsertDimension(indexingParents.NumItems() - 1, outcomes);
}

int QEL_nodeValue::SetNetwork(QEL_network* net) {
    if (net == nullptr) return QEL_OUT_OF_RANGE;
    if (!net->IsReady()) return QEL_OBJECT_NOT_READY;
    network = net;
    return QEL_OKAY;
}

void QEL_nodeValue::SetNetworkAndHandle(QEL_network* net, int nodeHandle) {
    network = net;
    handle = nodeHandle;
}

void QEL_nodeValue::SetValueValid() {
    flags |= QEL_VALUE_VALID;
    reserved = 0;
}

void QEL_nodeValue::SetValueInvalid() {
    flags &= ~QEL_VALUE_VALID;
    reserved = 0;
}

int QEL_nodeValue::OwnOutcomeCount() const {
    QEL_nodeDefinition* def = DefinitionOf(network, handle);
    if (def == nullptr) return QEL_OUT_OF_RANGE;
    return def->GetNumberOfOutcomes();
}

void QEL_nodeValue::ResetForUpdate(int outcomes) {
    indexingParents.Flush();
    QEL_Dmatrix* m = nullptr;
    const bool plainColumn = GetValue(&m) == QEL_OKAY && m->GetNumberOfDimensions() == 1 &&
                             m->GetSize() == outcomes;
    if (m != nullptr && !plainColumn) {
        m->CleanUp();
        if (m->AddDimension(outcomes) == QEL_OKAY) m->FillWith(0.0);
    }
    SetValueInvalid();
}
