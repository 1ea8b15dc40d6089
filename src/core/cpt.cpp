// QEL_cpt: construction and the structural events that keep the table in
// step with the network's parent list.
//
// The table's dimensions are the parents in list order, then the node's
// own outcomes. Each event reshapes the table through one QEL_Dmatrix
// operation (insert, remove, grow, shrink or permute a dimension), so the
// work is one pass over the items; events come one per model edit.
#include "orvil/cpt.h"

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"

QEL_cpt::QEL_cpt(int handle, QEL_network* net) : QEL_nodeDefinition(handle, net), stateNames(false) {
    // The rebuild adds the parents one by one, which needs the ready bit.
    QEL_nodeDefinition::CheckReadiness(0);
    ReCreateFromNetworkStructure();
    CheckReadiness(1);
}

QEL_cpt::~QEL_cpt() = default;

int QEL_cpt::CleanUp(int deep) {
    if (deep) {
        stateNames.CleanUp(1);
        table.CleanUp();
    }
    CheckReadiness(0);
    return 0;
}

int QEL_cpt::CheckReadiness(int deep) {
    int rc = QEL_nodeDefinition::CheckReadiness(deep);
    if (rc != 0 || !deep) return rc;
    if (stateNames.CheckReadiness(1) != 0) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    return 0;
}

const QEL_intArray* QEL_cpt::Parents() const {
    if (network == nullptr || !network->Ok(handle)) return nullptr;
    return &network->GetParents(handle, qel_normalArc);
}

bool QEL_cpt::HasChildren() const { return network != nullptr && network->NumChildren(handle, qel_normalArc) > 0; }

int QEL_cpt::DimensionOf(int parent) const {
    int position = ParentPosition(parent);
    if (position < 0 || position >= table.GetLastDimension()) return QEL_OUT_OF_RANGE;
    return position;
}

int QEL_cpt::ParentDimensionSize(int parent) const {
    const int type = TypeOfNode(parent);
    if (type < 0) return QEL_OUT_OF_RANGE;
    if (!IsTableParentType(type)) return QEL_WRONG_NODE_TYPE;
    const int outcomes = DefinitionOfNode(parent)->GetNumberOfOutcomes();
    return outcomes >= 1 ? outcomes : QEL_OUT_OF_RANGE;
}

int QEL_cpt::ReCreateFromNetworkStructure() {
    while (stateNames.NumItems() < 2) {
        int rc = stateNames.CreateAndAddValidId("State", stateNames.NumItems());
        if (rc != 0) return rc;
    }
    const int outcomes = stateNames.NumItems();
    table.CleanUp();
    table.Setup(&outcomes, 1);
    table.FillWith(0.0);
    table.Normalize();
    const QEL_intArray* parents = Parents();
    if (parents == nullptr) return 0;
    for (int i = 0; i < parents->NumItems(); i++) {
        const int parent = (*parents)[i];
        int rc = AddParent(parent);
        if (rc == 0) continue;
        const char* id = network->GetNode(parent) ? network->GetNode(parent)->GetId() : nullptr;
        QEL_errorH().LogError(rc, id != nullptr ? id : "", "Parent could not be added: ");
    }
    return 0;
}

int QEL_cpt::AddParent(int parent) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (!network->Ok(parent)) return QEL_OUT_OF_RANGE;
    const int size = ParentDimensionSize(parent);
    if (size < 0) return size;
    const int position = ParentPosition(parent);
    // The parent's place must be among the parent dimensions present, so
    // that the node's own dimension stays last even when an earlier parent
    // was refused.
    if (position < 0 || table.GetNumberOfDimensions() == 0 || position > table.GetLastDimension())
        return QEL_OUT_OF_RANGE;
    int rc = table.InsertDimension(position, size);
    if (rc != 0) return rc;
    table.Normalize();
    CheckReadiness(0);
    return 0;
}

int QEL_cpt::RemoveParent(int parent) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    int rc = table.RemoveDimension(dim);
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::AbsorbEvidenceFromParent(int parent) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    QEL_node* node = network->GetNode(parent);
    if (node == nullptr || node->Value() == nullptr) return QEL_OUT_OF_RANGE;
    const int type = TypeOfNode(parent);
    if (!node->Value()->HasEvidence() || type == qel_tableType) return QEL_OUT_OF_RANGE;
    int rc = 0;
    if (IsTableParentType(type)) {
        const int dim = DimensionOf(parent);
        if (dim < 0) return dim;
        rc = table.RemoveDimension(dim, node->Value()->GetEvidence());
    }
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::MarginalizeParent(int parent) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    QEL_node* node = network->GetNode(parent);
    if (node == nullptr || node->Value() == nullptr) return QEL_OUT_OF_RANGE;
    const int type = TypeOfNode(parent);
    if (node->Value()->HasEvidence() || type == qel_tableType || type == qel_listType) return QEL_OUT_OF_RANGE;
    int rc = 0;
    if (IsTableParentType(type)) {
        const int dim = DimensionOf(parent);
        QEL_doubleArray* weights = nullptr;
        if (dim < 0) return dim;
        if (node->Definition()->GetDefinition(&weights) != 0 || weights == nullptr) return QEL_OUT_OF_RANGE;
        rc = table.RemoveDimension(dim, *weights);
    }
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::DaddyGetsBigger(int parent, int position) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int type = TypeOfNode(parent);
    if (!IsTableParentType(type) && type != qel_equationType) return QEL_OUT_OF_RANGE;
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    if (position < 0 || position > table.GetSizeOfDimension(dim)) return QEL_OUT_OF_RANGE;
    int rc = table.IncreaseDimensionSize(dim);
    if (rc != 0) return rc;
    // The new columns start as zeros, which Normalize turns uniform.
    table.ShiftDataUpwards(dim, position);
    table.Normalize();
    CheckReadiness(0);
    return 0;
}

int QEL_cpt::DaddyGetsSmaller(int parent, int position) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int type = TypeOfNode(parent);
    if (!IsTableParentType(type) && type != qel_equationType) return QEL_OUT_OF_RANGE;
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    if (position < 0 || position >= table.GetSizeOfDimension(dim) || table.GetSizeOfDimension(dim) < 2)
        return QEL_OUT_OF_RANGE;
    table.ShiftDataDownwards(dim, position);
    int rc = table.DecreaseDimensionSize(dim);
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::DaddyChangedOrderOfOutcomes(int parent, QEL_intArray& newOrder) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    int rc = table.ChangeOrderWithinDimension(dim, newOrder);
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::OrderOfParentsGetsChanged(QEL_intArray& newOrder) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    QEL_intArray order;
    for (int i = 0; i < newOrder.NumItems(); i++) order.Add(newOrder[i]);
    order.Add(table.GetLastDimension());
    int rc = table.ChangeOrderOfDimensions(order);
    CheckReadiness(0);
    return rc;
}

int QEL_cpt::CheckParentsStructure() {
    const QEL_intArray* parents = Parents();
    if (parents == nullptr) return 0;
    // Collect first: each removal changes the list being scanned.
    QEL_intArray refused;
    for (int i = 0; i < parents->NumItems(); i++) {
        const int type = TypeOfNode((*parents)[i]);
        // A parent without a definition (type < 0) cannot index the table.
        if (type < 0 || ((type & qel_discreteFlag) == 0 && type != qel_equationType)) refused.Add((*parents)[i]);
    }
    for (int i = 0; i < refused.NumItems(); i++) network->RemoveArc(refused[i], handle, qel_normalArc);
    return 0;
}
