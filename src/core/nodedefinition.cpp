// The base of every definition: default answers of the structural protocol,
// the shared services (binding to a network, removing parent arcs), the
// notification of children when the node's outcomes change, and the
// parent-necessity test that works on any class with a matrix.
//
// The Common... operations are the fan-out behind every outcome change: the
// node's children re-shape their tables, its cost children their costs,
// and its own extra definition its per-outcome data. They run once per
// edit, so they favour clarity over speed.
#include "orvil/nodedefinition.h"

#include <cmath>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"

QEL_nodeDefinition::QEL_nodeDefinition(int handle, QEL_network* net) : network(net), handle(handle) {}

QEL_nodeDefinition::~QEL_nodeDefinition() = default;

int QEL_nodeDefinition::CheckReadiness(int) {
    if (network != nullptr && network->Ok(handle)) {
        SetObjectReady();
        return 0;
    }
    SetObjectNotReady();
    return QEL_OBJECT_NOT_READY;
}

int QEL_nodeDefinition::AddParent(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::RemoveParent(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::AbsorbEvidenceFromParent(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::MarginalizeParent(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::DaddyGetsBigger(int, int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::DaddyGetsSmaller(int, int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::DaddyChangedOrderOfOutcomes(int, QEL_intArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::OrderOfParentsGetsChanged(QEL_intArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::ParentIdChanged(int, const char*, const char*) { return 0; }
int QEL_nodeDefinition::BeforeDirectChange(int) { return 0; }

int QEL_nodeDefinition::AfterDirectChange(int code) {
    if (code == qel_directChange) NotifyChange(qel_directChange);
    return 0;
}

int QEL_nodeDefinition::GetSize() const { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::operator=(QEL_nodeDefinition&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::ReCreateFromNetworkStructure() { return QEL_WRONG_NODE_TYPE; }

int QEL_nodeDefinition::Clone(QEL_nodeDefinition& source) {
    if (!source.IsReady()) return QEL_OBJECT_NOT_READY;
    network = source.network;
    handle = source.handle;
    return 0;
}

int QEL_nodeDefinition::CheckParentsStructure() { return QEL_WRONG_NODE_TYPE; }

int QEL_nodeDefinition::ValidateExpressions(QEL_extFunctionContainer const&, int&, std::string&) { return 0; }
int QEL_nodeDefinition::PatchExpressions(QEL_extFunctionContainer const&) { return 0; }

int QEL_nodeDefinition::AddOutcome(const char*) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::InsertOutcome(int, const char*) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::RemoveOutcome(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::GetNumberOfOutcomes() const { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::RenameOutcome(int, const char*) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::RenameOutcomes(QEL_stringArray&) { return QEL_WRONG_NODE_TYPE; }
QEL_idArray* QEL_nodeDefinition::GetOutcomesNames() { return nullptr; }
int QEL_nodeDefinition::SetNumberOfOutcomes(int) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::SetNumberOfOutcomes(QEL_stringArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::ChangeOrderOfOutcomes(QEL_intArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::MakeUniform() { return QEL_WRONG_NODE_TYPE; }

int QEL_nodeDefinition::GetDefinition(QEL_Dmatrix**) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::GetDefinition(QEL_doubleArray**) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::GetDefinition(QEL_intArray**) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::GetDefinition(QEL_stringArray**) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::SetDefinition(QEL_doubleArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::SetDefinition(QEL_intArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::SetDefinition(QEL_stringArray&) { return QEL_WRONG_NODE_TYPE; }
int QEL_nodeDefinition::SetDefinition(QEL_Dmatrix&) { return QEL_WRONG_NODE_TYPE; }
void QEL_nodeDefinition::DoCopyParameters(QEL_nodeDefinition&) const {}

QEL_Dmatrix* QEL_nodeDefinition::GetMatrix() {
    QEL_Dmatrix* matrix = nullptr;
    if (GetDefinition(&matrix) != 0) return nullptr;
    return matrix;
}

int QEL_nodeDefinition::SetNetwork(QEL_network* net) {
    if (net == nullptr) return QEL_OUT_OF_RANGE;
    if (!net->IsReady()) return QEL_OBJECT_NOT_READY;
    network = net;
    return 0;
}

void QEL_nodeDefinition::SetNetworkAndHandle(QEL_network* net, int nodeHandle) {
    network = net;
    handle = nodeHandle;
}

void QEL_nodeDefinition::CopyParameters(QEL_nodeDefinition& target) const { DoCopyParameters(target); }

int QEL_nodeDefinition::RemoveArcsFromParents() {
    if (network == nullptr || !network->Ok(handle)) return QEL_OUT_OF_RANGE;
    QEL_intArray& parents = network->GetParents(handle, qel_normalArc);
    // Each removal shortens the list, so the first entry is always the next.
    while (parents.NumItems() > 0) {
        int rc = network->RemoveArc(parents[0], handle, qel_normalArc);
        if (rc != 0) return rc;
    }
    return 0;
}

bool QEL_nodeDefinition::IsTableParentType(int parentType) {
    switch (parentType) {
        case qel_listType:
        case qel_cptType:
        case qel_truthTableType:
        case qel_noisyMaxType:
        case qel_noisyAdderType:
            return true;
        default:
            return false;
    }
}

QEL_nodeDefinition* QEL_nodeDefinition::DefinitionOfNode(int node) const {
    if (network == nullptr) return nullptr;
    QEL_node* n = network->GetNode(node);
    return n == nullptr ? nullptr : n->Definition();
}

int QEL_nodeDefinition::TypeOfNode(int node) const {
    QEL_nodeDefinition* def = DefinitionOfNode(node);
    return def == nullptr ? QEL_OUT_OF_RANGE : def->GetType();
}

int QEL_nodeDefinition::ParentPosition(int parent) const {
    if (network == nullptr || !network->Ok(handle)) return QEL_OUT_OF_RANGE;
    return network->GetParents(handle, qel_normalArc).FindPosition(parent);
}

void QEL_nodeDefinition::NotifyChange(int kind) {
    if (network != nullptr) network->RelevanceDefinitionChanged(handle, kind);
}

namespace {

// The extra definition of node `node`, or null.
QEL_extraDefinition* ExtraOf(QEL_network* net, int node) {
    QEL_node* n = net->GetNode(node);
    return n == nullptr ? nullptr : n->ExtraDefinition();
}

int FirstIndexOf(const QEL_intArray& list, int value) {
    for (int i = 0; i < list.NumItems(); i++)
        if (list[i] == value) return i;
    return -1;
}

// Runs `event` on the definition of each normal child and on the cost
// record of each cost child, in list order; the first failure ends the run.
template <class DefEvent, class CostEvent>
int TellChildren(QEL_network* net, int node, DefEvent defEvent, CostEvent costEvent) {
    const QEL_intArray& children = net->GetChildren(node, qel_normalArc);
    for (int i = 0; i < children.NumItems(); i++) {
        QEL_node* child = net->GetNode(children[i]);
        if (child == nullptr || child->Definition() == nullptr) continue;
        int rc = defEvent(*child->Definition());
        if (rc != 0) return rc;
    }
    const QEL_intArray& costChildren = net->GetChildren(node, qel_costObserve);
    for (int i = 0; i < costChildren.NumItems(); i++) {
        // A repeated cost arc lists the child again; its cost record
        // follows all its dimensions of this parent in one call.
        if (FirstIndexOf(costChildren, costChildren[i]) != i) continue;
        QEL_node* child = net->GetNode(costChildren[i]);
        if (child == nullptr || child->Cost() == nullptr) continue;
        int rc = costEvent(*child->Cost());
        if (rc != 0) return rc;
    }
    return 0;
}

}  // namespace

int QEL_nodeDefinition::CommonInsertOutcome(int position) {
    if (network == nullptr || !network->Ok(handle)) return QEL_OBJECT_NOT_READY;
    network->OnOutcomeAdded(handle, position);
    const int self = handle;
    int rc = TellChildren(
        network, handle, [&](QEL_nodeDefinition& d) { return d.DaddyGetsBigger(self, position); },
        [&](QEL_nodeCost& c) { return c.DaddyGetsBigger(self, position); });
    if (rc != 0) return rc;
    QEL_extraDefinition* extra = ExtraOf(network, handle);
    if (extra != nullptr) extra->NodeGetsBigger(position);
    CheckReadiness(0);
    NotifyChange(qel_outcomesChanged);
    return 0;
}

int QEL_nodeDefinition::CommonRemoveOutcome(int position, QEL_idArray& names) {
    if (network == nullptr || !network->Ok(handle)) return QEL_OBJECT_NOT_READY;
    names.Delete(position);
    network->OnOutcomeDeleted(handle, position);
    const int self = handle;
    int rc = TellChildren(
        network, handle, [&](QEL_nodeDefinition& d) { return d.DaddyGetsSmaller(self, position); },
        [&](QEL_nodeCost& c) { return c.DaddyGetsSmaller(self, position); });
    if (rc != 0) return rc;
    QEL_extraDefinition* extra = ExtraOf(network, handle);
    if (extra != nullptr) extra->NodeGetsSmaller(position);
    CheckReadiness(0);
    NotifyChange(qel_outcomesChanged);
    return 0;
}

int QEL_nodeDefinition::CommonChangeOrderOfOutcomes(QEL_intArray& newOrder) {
    if (network == nullptr || !network->Ok(handle)) return QEL_OBJECT_NOT_READY;
    QEL_extraDefinition* extra = ExtraOf(network, handle);
    if (extra != nullptr) {
        int rc = extra->NodeChangedOrderOfStates(newOrder);
        if (rc != 0) return rc;
    }
    const int self = handle;
    int rc = TellChildren(
        network, handle, [&](QEL_nodeDefinition& d) { return d.DaddyChangedOrderOfOutcomes(self, newOrder); },
        [&](QEL_nodeCost& c) { return c.DaddyChangedOrderOfOutcomes(self, newOrder); });
    if (rc != 0) return rc;
    network->OnReorderOutcomes(handle, newOrder);
    // The node's own beliefs are stored in the old order: they are stale.
    NotifyChange(qel_outcomesChanged);
    return 0;
}

namespace {

// Squared Hellinger-type distance between two columns of n items.
double ColumnDistance(const double* p, const double* q, int n) {
    double sum = 0.0;
    for (int k = 0; k < n; k++) {
        double d = std::sqrt(p[k]) - std::sqrt(q[k]);
        sum += d * d;
    }
    return sum;
}

}  // namespace

int QEL_nodeDefinition::IsParentNecessary(int position, double epsilon, bool& necessary) {
    QEL_Dmatrix* matrix = GetMatrix();
    if (matrix == nullptr) {
        necessary = true;
        return 0;
    }
    // Only parent dimensions can be tested; the last one is the node's own.
    if (position < 0 || position >= matrix->GetLastDimension()) return QEL_OUT_OF_RANGE;
    const int outcomes = matrix->GetSizeOfLastDimension();
    const int values = matrix->GetSizeOfDimension(position);
    const int stride = matrix->GetPreProduct()[position];
    const int block = stride * values;
    const int total = matrix->GetSize();
    const double limit = epsilon * epsilon;
    const double* items = matrix->GetItems().Items();
    // A block holds every value of the parent for one setting of the
    // dimensions before it; within the block, value v starts at v * stride
    // and the stride spans whole columns of the dimensions after it.
    for (int base = 0; base < total; base += block) {
        const double* first = items + base;
        for (int v = 1; v < values; v++) {
            const double* other = first + v * stride;
            for (int col = 0; col < stride; col += outcomes) {
                if (ColumnDistance(other + col, first + col, outcomes) > limit) {
                    necessary = true;
                    return 0;
                }
            }
        }
    }
    necessary = false;
    return 0;
}
