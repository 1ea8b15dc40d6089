// Flat access to a node's definition: its type, table and outcomes, and the
// node's change of type.
//
// Each function is one call into the engine. Caller arrays are copied into
// temporary engine containers for the duration of the call; getters hand
// out the definition's own storage. Handles are not checked.
#include "orvil/biorvil.h"
#include "orvil/doublearray.h"
#include "orvil/intarray.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"

namespace {

QEL_nodeDefinition* Def(void* nodeDefinition) { return static_cast<QEL_nodeDefinition*>(nodeDefinition); }

// A list of `size` ints copied from `items`.
void FillIntList(QEL_intArray& list, int size, const int* items) {
    for (int i = 0; i < size; i++) list.Add(items[i]);
}

}  // namespace

void* node_Definition(void* node) { return static_cast<QEL_node*>(node)->Definition(); }

int node_ChangeType(void* node, int newType) { return static_cast<QEL_node*>(node)->ChangeType(newType); }

int nodeDefinition_GetType(void* nodeDefinition) { return Def(nodeDefinition)->GetType(); }

void* nodeDefinition_GetMatrix(void* nodeDefinition) { return Def(nodeDefinition)->GetMatrix(); }

void* nodeDefinition_GetDoubleDefinition(void* nodeDefinition, int) {
    QEL_doubleArray* items = nullptr;
    // A class without such an array answers with a null pointer, not a
    // crash.
    if (Def(nodeDefinition)->GetDefinition(&items) != 0 || items == nullptr) return nullptr;
    return items->Items();
}

void* nodeDefinition_GetStringDefinition(void* nodeDefinition, int) {
    QEL_stringArray* items = nullptr;
    if (Def(nodeDefinition)->GetDefinition(&items) != 0 || items == nullptr) return nullptr;
    return items->Items();
}

void nodeDefinition_SetDoubleDefinition(void* nodeDefinition, int size, double* dArr) {
    QEL_doubleArray items(size < 0 ? 0 : size);
    for (int i = 0; i < size; i++) items[i] = dArr[i];
    Def(nodeDefinition)->SetDefinition(items);
}

void nodeDefinition_SetStringDefinition(void* nodeDefinition, int size, const char** sArr) {
    strarray items(size, sArr);
    Def(nodeDefinition)->SetDefinition(items);
}

int nodeDefinition_GetNumberOfOutcomes(void* nodeDefinition) { return Def(nodeDefinition)->GetNumberOfOutcomes(); }

void* nodeDefinition_GetOutcomesNames(void* nodeDefinition) { return Def(nodeDefinition)->GetOutcomesNames(); }

int nodeDefinition_AddOutcome(void* nodeDefinition, const char* name) { return Def(nodeDefinition)->AddOutcome(name); }

int nodeDefinition_RemoveOutcome(void* nodeDefinition, int outcomeNumber) {
    return Def(nodeDefinition)->RemoveOutcome(outcomeNumber);
}

int nodeDefinition_SetNumberOfOutcomes(void* nodeDefinition, int aNumber) {
    return Def(nodeDefinition)->SetNumberOfOutcomes(aNumber);
}

int nodeDefinition_SetNumberOfOutcomesStr(void* nodeDefinition, int size, const char** theOutcomeNames) {
    strarray names(size, theOutcomeNames);
    return Def(nodeDefinition)->SetNumberOfOutcomes(names);
}

int nodeDefinition_RenameOutcomes(void* nodeDefinition, int size, const char** names) {
    strarray list(size, names);
    return Def(nodeDefinition)->RenameOutcomes(list);
}

int nodeDefinition_ChangeOrderOfOutcomes(void* nodeDefinition, int size, int* newOrder) {
    QEL_intArray order;
    FillIntList(order, size, newOrder);
    return Def(nodeDefinition)->ChangeOrderOfOutcomes(order);
}

int nodeDefinition_ChangeOrderOfOutcomesWithAddAndRemove(void* nodeDefinition, int size1, const char** ids,
                                                          int size2, int* newOrder) {
    QEL_idArray names(size1 < 0 ? 0 : size1, 10, false);
    // An invalid or repeated id is dropped here; the engine then sees
    // lists of different lengths and refuses the whole call.
    for (int i = 0; i < size1; i++) names.Add(ids[i]);
    QEL_intArray order;
    FillIntList(order, size2, newOrder);
    return Def(nodeDefinition)->ChangeOrderOfOutcomesWithAddAndRemove(names, order);
}
