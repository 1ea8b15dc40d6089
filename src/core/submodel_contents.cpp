// The submodel handler's questions about the tree (lookups by id, what a
// submodel holds) and its readiness and consistency passes. Every answer
// is a walk over the slots or the nodes in ascending order, so lists come
// out sorted by handle.
#include <string.h>

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/submodel.h"

int QEL_submodelHandler::FindSubmodel(const char* id) const {
    if (id == nullptr) return QEL_OUT_OF_RANGE;
    for (size_t s = 0; s < slots.size(); s++) {
        if (slots[s] == nullptr) continue;
        const char* own = slots[s]->header.GetId();
        if (own != nullptr && strcmp(own, id) == 0) return rootHandle | static_cast<int>(s);
    }
    return QEL_OUT_OF_RANGE;
}

bool QEL_submodelHandler::IsIdInUse(const char* id) const {
    const int found = FindSubmodel(id);
    return found >= 0 && found != rootHandle;
}

int QEL_submodelHandler::GetNumberOfSubmodels() const {
    int count = 0;
    for (const QEL_submodel* submodel : slots) count += submodel != nullptr ? 1 : 0;
    return count;
}

int QEL_submodelHandler::GetIncludedSubmodels(int handle, QEL_intArray& here) const {
    const int slot = SlotOf(handle);
    if (slot < 0) return QEL_OUT_OF_RANGE;
    for (size_t s = 1; s < slots.size(); s++) {
        if (slots[s] != nullptr && SlotOf(slots[s]->parent) == slot) here.Add(rootHandle | static_cast<int>(s));
    }
    return 0;
}

int QEL_submodelHandler::GetDeepIncludedSubmodels(int handle, QEL_intArray& here) const {
    const int slot = SlotOf(handle);
    if (slot < 0) return QEL_OUT_OF_RANGE;
    for (size_t s = 1; s < slots.size(); s++) {
        const int inner = static_cast<int>(s);
        if (slots[s] != nullptr && inner != slot && IsWithin(inner, slot)) here.Add(rootHandle | inner);
    }
    return 0;
}

int QEL_submodelHandler::GetIncludedNodes(int handle, QEL_intArray& here) const {
    const int slot = SlotOf(handle);
    if (slot < 0) return QEL_OUT_OF_RANGE;
    if (network == nullptr) return 0;
    for (int h = network->GetFirstNode(); h >= 0; h = network->GetNextNode(h)) {
        if (NodeSlot(h) == slot) here.Add(h);
    }
    return 0;
}

int QEL_submodelHandler::GetDeepIncludedNodes(int handle, QEL_intArray& here) const {
    const int slot = SlotOf(handle);
    if (slot < 0) return QEL_OUT_OF_RANGE;
    if (network == nullptr) return 0;
    for (int h = network->GetFirstNode(); h >= 0; h = network->GetNextNode(h)) {
        if (IsWithin(NodeSlot(h), slot)) here.Add(h);
    }
    return 0;
}

int QEL_submodelHandler::CheckReadiness(int deep) {
    if (deep != 0) {
        // A submodel cut off from the root (its parent gone, or a loop of
        // parents) and a node whose submodel is gone are put in the root,
        // where an editor will show them.
        for (size_t s = 1; s < slots.size(); s++) {
            if (slots[s] != nullptr && !IsWithin(static_cast<int>(s), 0)) slots[s]->parent = rootHandle;
        }
        for (int h = network != nullptr ? network->GetFirstNode() : -1; h >= 0; h = network->GetNextNode(h)) {
            if (NodeSlot(h) < 0) network->GetNode(h)->SetSubmodel(rootHandle);
        }
    }
    SetObjectReady();
    return 0;
}

int QEL_submodelHandler::CheckConsistency(int /*deep*/) {
    for (size_t s = 1; s < slots.size(); s++) {
        if (slots[s] != nullptr && !IsWithin(static_cast<int>(s), 0)) {
            SetObjectNotConsistent();
            return QEL_OBJECT_NOT_CONSISTENT;
        }
    }
    SetObjectConsistent();
    return 0;
}
