// Rebuilding a node's outcome list in one call: keep some old outcomes,
// drop the others, add new ones, reorder and rename.
//
// The operation is built only from the virtual outcome operations, so every
// class with outcomes gets it for free and every step reaches the children
// through the usual notifications. A node never has fewer than two
// outcomes, so when fewer than two old ones survive, placeholder outcomes
// carry the count through the removals and go again at the end.
#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"

namespace {

const char* const placeholderNames[2] = {"tmpStateUI0", "tmpStateUI00"};

int CountKept(const QEL_intArray& order) {
    int kept = 0;
    for (int j = 0; j < order.NumItems(); j++)
        if (order[j] >= 0) kept++;
    return kept;
}

bool IsIdentity(const QEL_intArray& order) {
    for (int j = 0; j < order.NumItems(); j++)
        if (order[j] != j) return false;
    return true;
}

}  // namespace

bool QEL_nodeDefinition::IsOrderFitForRebuild(const QEL_intArray& order, int oldCount) const {
    if (order.NumItems() < 2) return false;
    for (int j = 0; j < order.NumItems(); j++) {
        const int old = order[j];
        if (old >= oldCount) return false;
        if (old < 0) continue;
        for (int k = 0; k < j; k++)
            if (order[k] == old) return false;
    }
    return true;
}

int QEL_nodeDefinition::RemoveDroppedOutcomes(QEL_intArray& order, int oldCount) {
    // From the top down, so that the numbers still to be visited stay valid.
    for (int i = oldCount - 1; i >= 0; i--) {
        if (order.IsInList(i)) continue;
        int rc = RemoveOutcome(i);
        if (rc != 0) return rc;
        for (int j = 0; j < order.NumItems(); j++)
            if (order[j] > i) order[j]--;
    }
    return 0;
}

int QEL_nodeDefinition::AddNewOutcomes(QEL_idArray& ids, QEL_intArray& order, int temporaries) {
    // New outcomes land after the placeholders, but are numbered as they
    // will stand once the placeholders are gone.
    int next = GetNumberOfOutcomes() - temporaries;
    for (int j = 0; j < order.NumItems(); j++) {
        if (order[j] >= 0) continue;
        int rc = AddOutcome(ids[j]);
        if (rc != 0) return rc;
        order[j] = next++;
    }
    return 0;
}

int QEL_nodeDefinition::ChangeOrderOfOutcomesWithAddAndRemove(QEL_idArray& ids, QEL_intArray& order) {
    const int oldCount = GetNumberOfOutcomes();
    if (oldCount < 0 || GetOutcomesNames() == nullptr) return QEL_WRONG_NODE_TYPE;
    if (ids.NumItems() != order.NumItems()) return QEL_OUT_OF_RANGE;
    if (!IsOrderFitForRebuild(order, oldCount)) return QEL_OUT_OF_RANGE;

    const int kept = CountKept(order);
    const int temporaries = kept >= 2 ? 0 : 2 - kept;
    int rc = 0;
    for (int t = 0; t < temporaries && rc == 0; t++) rc = AddOutcome(placeholderNames[t]);
    if (rc == 0) rc = RemoveDroppedOutcomes(order, oldCount);
    if (rc == 0) rc = AddNewOutcomes(ids, order, temporaries);
    if (rc != 0) return rc;

    // The placeholders sit right after the kept outcomes.
    for (int t = 0; t < temporaries; t++) {
        rc = RemoveOutcome(kept);
        if (rc != 0) return rc;
    }
    if (!IsIdentity(order)) {
        rc = ChangeOrderOfOutcomes(order);
        if (rc != 0) return rc;
    }
    return RenameOutcomes(ids);
}
