// QEL_cpt: changes of the node's own outcomes.
//
// The outcomes are the last dimension of the table, so adding, removing or
// reordering one reshapes every column at once. After the table, the
// children hear of the change through the Common... operations of the
// base, which is how a whole network stays in step with one edit. Names
// that are not free, valid identifiers are replaced rather than refused on
// the add and bulk-rename paths, so those edits fail only on counts and
// positions.
#include "orvil/cpt.h"

#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodevalue.h"

int QEL_cpt::AddState(const char* name) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    // An emptied definition has no column to grow; it is rebuilt by
    // SetNumberOfStates.
    if (table.GetNumberOfDimensions() == 0) return QEL_OUT_OF_RANGE;
    if (stateNames.Add(name) != 0) {
        int rc = stateNames.CreateAndAddValidId("State", stateNames.NumItems());
        if (rc != 0) return rc;
    }
    table.IncreaseDimensionSize(table.GetLastDimension());
    return CommonInsertOutcome(stateNames.NumItems() - 1);
}

int QEL_cpt::InsertState(int position, const char* name) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (table.GetNumberOfDimensions() == 0) return QEL_OUT_OF_RANGE;
    if (position < 0 || position > stateNames.NumItems()) return QEL_OUT_OF_RANGE;
    if (stateNames.Insert(position, name) != 0) {
        int rc = stateNames.CreateAndInsertValidId("State", stateNames.NumItems(), position);
        if (rc != 0) return rc;
    }
    const int last = table.GetLastDimension();
    table.IncreaseDimensionSize(last);
    table.ShiftDataUpwards(last, position);
    return CommonInsertOutcome(position);
}

int QEL_cpt::RemoveState(int position) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (stateNames.NumItems() <= 2 || position < 0 || position >= stateNames.NumItems()) return QEL_OUT_OF_RANGE;
    const int last = table.GetLastDimension();
    table.ShiftDataDownwards(last, position);
    table.DecreaseDimensionSize(last);
    return CommonRemoveOutcome(position, stateNames);
}

int QEL_cpt::RenameState(int position, const char* name) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (position < 0 || position >= stateNames.NumItems()) return QEL_OUT_OF_RANGE;
    return stateNames.SetString(position, name);
}

int QEL_cpt::RenameStates(QEL_stringArray& names) {
    if (!IsReady() || !names.IsReady()) return QEL_OBJECT_NOT_READY;
    const int count = stateNames.NumItems();
    if (names.NumItems() < count) return QEL_OUT_OF_RANGE;
    // The names may be this node's own list, which is emptied below.
    QEL_stringArray copy(names);
    stateNames.Flush();
    for (int i = 0; i < count; i++) {
        int rc = stateNames.CreateAndAddValidId(copy[i], -1);
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_cpt::SetGeneratedStates(int count) {
    stateNames.CleanUp(1);
    for (int i = 0; i < count; i++) {
        int rc = stateNames.CreateAndAddValidId("State", i);
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_cpt::FinishNewOutcomes() {
    int rc = ReCreateFromNetworkStructure();
    QEL_node* node = network != nullptr ? network->GetNode(handle) : nullptr;
    if (node != nullptr && node->Cost() != nullptr) node->Cost()->ReCreateFromNetworkStructure();
    if (node != nullptr && node->ExtraDefinition() != nullptr) node->ExtraDefinition()->ReCreateFromNetworkStructure();
    // Beliefs and evidence about the old outcomes mean nothing now.
    if (node != nullptr && node->Value() != nullptr) node->Value()->ReCreateFromNetworkStructure();
    CheckReadiness(1);
    if (rc == 0) NotifyChange(qel_outcomeCountChanged);
    return rc;
}

int QEL_cpt::SetNumberOfStates(int count) {
    if (HasChildren()) return QEL_TOO_FEW_STATES;
    CleanUp(1);
    if (count < 1) return QEL_OUT_OF_RANGE;
    int rc = SetGeneratedStates(count);
    if (rc != 0) return rc;
    return FinishNewOutcomes();
}

int QEL_cpt::SetNumberOfStates(QEL_stringArray& names) {
    if (HasChildren()) return QEL_TOO_FEW_STATES;
    if (!names.IsReady()) return QEL_OBJECT_NOT_READY;
    // Copied before the clean-up, as the names may be this node's own.
    QEL_idArray ids(false);
    ids = names;
    const int count = ids.NumItems();
    // An empty slot is taken as an empty name, which the repair below
    // replaces by a generated one.
    for (int i = 0; i < count; i++)
        if (ids[i] == nullptr) ids.ChangeString(i, "");
    CleanUp(1);
    if (count < 1) return QEL_OUT_OF_RANGE;
    if (ids.CheckConsistency(1) != 0 && ids.MakeConsistent() != 0) return SetNumberOfStates(count);
    stateNames = ids;
    return FinishNewOutcomes();
}

int QEL_cpt::ChangeOrderOfStates(QEL_intArray& newOrder) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (newOrder.NumItems() != stateNames.NumItems()) return QEL_OUT_OF_RANGE;
    int rc = table.ChangeOrderWithinDimension(table.GetLastDimension(), newOrder);
    if (rc != 0) return rc;
    stateNames.ChangeOrder(newOrder);
    return CommonChangeOrderOfOutcomes(newOrder);
}

int QEL_cpt::MakeUniform() {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int count = table.GetSizeOfLastDimension();
    if (count < 1) return QEL_OUT_OF_RANGE;
    table.FillWith(1.0 / count);
    NotifyChange(qel_probabilitiesChanged);
    return 0;
}

int QEL_cpt::CreateUniqueStateName(char* out) const {
    return stateNames.CreateValidId("State", stateNames.NumItems(), out);
}
