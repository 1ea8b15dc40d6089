// QEL_nodeCost: the cost-of-observation table of a node and its upkeep
// under changes of the cost parents.
//
// The costs are a QEL_Dmatrix with one dimension per cost parent and a
// trailing dimension of size 1, which keeps the matrix non-empty when the
// node has no cost parents and lets every reshaping be a plain dimension
// operation. Cost arcs may repeat a parent; each dimension of a repeated
// parent follows its outcomes.
#include "orvil/nodecost.h"

#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

QEL_nodeCost::QEL_nodeCost(QEL_network* net, int handle) : network(net), handle(handle) {
    ReCreateFromNetworkStructure();
    CheckReadiness(0);
}

QEL_nodeCost::QEL_nodeCost(const QEL_nodeCost& other)
    : QEL_object(other), network(other.network), handle(other.handle), costs(other.costs) {}

int QEL_nodeCost::operator=(const QEL_nodeCost& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    costs = other.costs;
    return 0;
}

QEL_nodeCost::~QEL_nodeCost() = default;

int QEL_nodeCost::CleanUp(int deep) {
    if (deep) {
        const int one = 1;
        costs.Setup(&one, 1);
        costs.FillWith(0.0);
    }
    return CheckReadiness(0);
}

int QEL_nodeCost::CheckReadiness(int) {
    if (network == nullptr || costs.GetNumberOfDimensions() == 0) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return 0;
}

int QEL_nodeCost::SetNetwork(QEL_network* net) {
    if (net == nullptr) return QEL_OUT_OF_RANGE;
    if (!net->IsReady()) return QEL_OBJECT_NOT_READY;
    network = net;
    return CheckReadiness(0);
}

void QEL_nodeCost::SetNetworkAndHandle(QEL_network* net, int nodeHandle) {
    network = net;
    handle = nodeHandle;
    CheckReadiness(0);
}

int QEL_nodeCost::OutcomeCount(int node) const {
    QEL_node* n = network != nullptr ? network->GetNode(node) : nullptr;
    if (n == nullptr || n->Definition() == nullptr) return QEL_OUT_OF_RANGE;
    const int count = n->Definition()->GetNumberOfOutcomes();
    return count >= 1 ? count : QEL_OUT_OF_RANGE;
}

int QEL_nodeCost::DimensionOf(int parent) const {
    if (network == nullptr || !network->Ok(handle)) return QEL_OUT_OF_RANGE;
    const int position = network->GetParents(handle, qel_costObserve).FindPosition(parent);
    if (position < 0 || position >= costs.GetLastDimension()) return QEL_OUT_OF_RANGE;
    return position;
}

int QEL_nodeCost::ReCreateFromNetworkStructure() {
    QEL_intArray dims;
    int rc = 0;
    if (network != nullptr && network->Ok(handle)) {
        const QEL_intArray& parents = network->GetParents(handle, qel_costObserve);
        for (int i = 0; i < parents.NumItems(); i++) {
            int count = OutcomeCount(parents[i]);
            // A parent without outcomes keeps a dimension of one cost, so
            // that the dimensions still line up with the parent list.
            if (count < 1) {
                rc = QEL_OUT_OF_RANGE;
                count = 1;
            }
            dims.Add(count);
        }
    }
    dims.Add(1);
    costs.Setup(dims);
    costs.FillWith(0.0);
    CheckReadiness(0);
    return rc;
}

int QEL_nodeCost::AddParent(int parent) {
    if (network == nullptr || !network->Ok(handle)) return QEL_OBJECT_NOT_READY;
    const QEL_intArray& parents = network->GetParents(handle, qel_costObserve);
    // The new arc stands last in the list; a repeated parent also stands
    // earlier, so the position is not looked up by content.
    const int position = parents.NumItems() - 1;
    if (position < 0 || parents[position] != parent || position != costs.GetLastDimension()) return QEL_OUT_OF_RANGE;
    const int count = OutcomeCount(parent);
    if (count < 1) return QEL_OUT_OF_RANGE;
    return costs.InsertDimension(position, count);
}

int QEL_nodeCost::RemoveParent(int parent) {
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    return costs.RemoveDimension(dim);
}

int QEL_nodeCost::AbsorbEvidenceFromParent(int parent) {
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    QEL_node* node = network->GetNode(parent);
    if (node == nullptr || node->Value() == nullptr || !node->Value()->HasEvidence()) return QEL_OUT_OF_RANGE;
    return costs.RemoveDimension(dim, node->Value()->GetEvidence());
}

int QEL_nodeCost::DaddyGetsBigger(int parent, int position) {
    if (DimensionOf(parent) < 0) return QEL_OUT_OF_RANGE;
    const QEL_intArray& parents = network->GetParents(handle, qel_costObserve);
    for (int dim = 0; dim < parents.NumItems(); dim++) {
        if (parents[dim] != parent) continue;
        if (position < 0 || position > costs.GetSizeOfDimension(dim)) return QEL_OUT_OF_RANGE;
        int rc = costs.IncreaseDimensionSize(dim);
        if (rc != 0) return rc;
        costs.ShiftDataUpwards(dim, position, 0.0);
    }
    return 0;
}

int QEL_nodeCost::DaddyGetsSmaller(int parent, int position) {
    if (DimensionOf(parent) < 0) return QEL_OUT_OF_RANGE;
    const QEL_intArray& parents = network->GetParents(handle, qel_costObserve);
    for (int dim = 0; dim < parents.NumItems(); dim++) {
        if (parents[dim] != parent) continue;
        if (position < 0 || position >= costs.GetSizeOfDimension(dim)) return QEL_OUT_OF_RANGE;
        costs.ShiftDataDownwards(dim, position);
        int rc = costs.DecreaseDimensionSize(dim);
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_nodeCost::DaddyChangedOrderOfOutcomes(int parent, QEL_intArray& newOrder) {
    if (DimensionOf(parent) < 0) return QEL_OUT_OF_RANGE;
    const QEL_intArray& parents = network->GetParents(handle, qel_costObserve);
    for (int dim = 0; dim < parents.NumItems(); dim++) {
        if (parents[dim] != parent) continue;
        int rc = costs.ChangeOrderWithinDimension(dim, newOrder);
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_nodeCost::SetCosts(const QEL_doubleArray& items) {
    if (items.GetSize() != costs.GetSize()) return QEL_OUT_OF_RANGE;
    costs.GetItems().FillFrom(items);
    return 0;
}

int QEL_nodeCost::IndexOf(const QEL_intArray& parentOutcomes) const {
    const int parents = costs.GetLastDimension();
    if (parentOutcomes.GetSize() < parents) return QEL_OUT_OF_RANGE;
    int index = 0;
    for (int d = 0; d < parents; d++) {
        const int c = parentOutcomes[d];
        if (c < 0 || c >= costs.GetSizeOfDimension(d)) return QEL_OUT_OF_RANGE;
        index += c * costs.GetPreProduct()[d];
    }
    return index;
}

int QEL_nodeCost::GetCost(const QEL_intArray& parentOutcomes, double& cost) const {
    const int index = IndexOf(parentOutcomes);
    if (index < 0) return index;
    cost = costs[index];
    return 0;
}

int QEL_nodeCost::SetCost(const QEL_intArray& parentOutcomes, double cost) {
    const int index = IndexOf(parentOutcomes);
    if (index < 0) return index;
    costs[index] = cost;
    return 0;
}

bool QEL_nodeCost::IsZero() const {
    const QEL_doubleArray& items = costs.GetItems();
    for (int i = 0; i < items.GetSize(); i++)
        if (items[i] != 0.0) return false;
    return true;
}
