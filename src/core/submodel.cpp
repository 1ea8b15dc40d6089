// The submodel handler: life of the slot table and the edits of the tree
// (create, delete, move). Slot 0 always holds the root; every other slot
// holds a submodel or nothing. Handles are slot numbers with the 0x4000 bit
// set; callers may leave the bit off.
#include "orvil/submodel.h"

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"

QEL_submodel::QEL_submodel() : parent(QEL_OUT_OF_RANGE) {
    SetObjectReady();
}

QEL_submodelHandler::QEL_submodelHandler(QEL_network* net) : network(net) {
    slots.push_back(new QEL_submodel());
    SetObjectReady();
}

QEL_submodelHandler::~QEL_submodelHandler() {
    for (QEL_submodel* submodel : slots) delete submodel;
}

int QEL_submodelHandler::operator=(const QEL_submodelHandler& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    DropAllButRoot();
    slots.resize(other.slots.size(), nullptr);
    for (size_t s = 0; s < other.slots.size(); s++) {
        const QEL_submodel* source = other.slots[s];
        if (source == nullptr) continue;
        if (slots[s] == nullptr) slots[s] = new QEL_submodel();
        slots[s]->header = source->header;
        slots[s]->info = source->info;
        slots[s]->parent = source->parent;
    }
    return 0;
}

int QEL_submodelHandler::ReCreate(QEL_network* net) {
    network = net;
    return CleanUp(1);
}

int QEL_submodelHandler::CleanUp(int /*deep*/) {
    DropAllButRoot();
    QEL_submodel& root = Root();
    root.header.CleanUp();
    root.info = QEL_screenInfo();
    root.parent = QEL_OUT_OF_RANGE;
    SetObjectReady();
    return 0;
}

int QEL_submodelHandler::Flush() {
    DropAllButRoot();
    return 0;
}

void QEL_submodelHandler::DropAllButRoot() {
    for (size_t s = 1; s < slots.size(); s++) delete slots[s];
    slots.resize(1);
}

int QEL_submodelHandler::FreeSlot() {
    for (size_t s = 1; s < slots.size(); s++) {
        if (slots[s] == nullptr) return static_cast<int>(s);
    }
    slots.push_back(nullptr);
    return static_cast<int>(slots.size()) - 1;
}

int QEL_submodelHandler::CreateSubmodel(int parent, const char* id) {
    if (SlotOf(parent) < 0) return QEL_OUT_OF_RANGE;
    if (QEL_header::IsThisIdValid(id) != 1) return QEL_errorH().LogError(QEL_ILLEGAL_IDENTIFIER, "Illegal identifier");
    // "@" ids may be shared by any number of nodes, so they cannot name a
    // submodel unambiguously.
    if (id[0] == '@') return QEL_ILLEGAL_IDENTIFIER;
    const bool inUse = network != nullptr ? network->IsThisIdentifierInUse(id, -1) : IsIdInUse(id);
    if (inUse || FindSubmodel(id) >= 0) return QEL_DUPLICATED_IDENTIFIER;
    const int slot = FreeSlot();
    QEL_submodel* created = new QEL_submodel();
    created->header.SetId(id);
    created->parent = rootHandle | SlotOf(parent);
    slots[slot] = created;
    return rootHandle | slot;
}

int QEL_submodelHandler::DeleteSubmodel(int handle) {
    const int slot = SlotOf(handle);
    if (slot <= 0) return QEL_OUT_OF_RANGE;
    const int parent = slots[slot]->parent;
    for (size_t s = 1; s < slots.size(); s++) {
        if (slots[s] != nullptr && SlotOf(slots[s]->parent) == slot) slots[s]->parent = parent;
    }
    if (network != nullptr) {
        for (int h = network->GetFirstNode(); h >= 0; h = network->GetNextNode(h)) {
            if (NodeSlot(h) == slot) network->GetNode(h)->SetSubmodel(parent);
        }
    }
    delete slots[slot];
    slots[slot] = nullptr;
    return 0;
}

int QEL_submodelHandler::MoveSubmodel(int handle, int into) {
    const int slot = SlotOf(handle);
    const int target = SlotOf(into);
    if (slot <= 0 || target < 0) return QEL_OUT_OF_RANGE;
    // Putting a submodel inside itself or its own contents would cut the
    // branch off the tree.
    if (IsWithin(target, slot)) return QEL_OUT_OF_RANGE;
    slots[slot]->parent = rootHandle | target;
    return 0;
}

QEL_submodel* QEL_submodelHandler::GetSubmodel(int handle) {
    const int slot = SlotOf(handle);
    return slot >= 0 ? slots[slot] : nullptr;
}

int QEL_submodelHandler::GetParent(int handle) const {
    const int slot = SlotOf(handle);
    return slot > 0 ? slots[slot]->parent : QEL_OUT_OF_RANGE;
}

bool QEL_submodelHandler::IsValidSubmodel(int handle) const {
    return SlotOf(handle) >= 0;
}

int QEL_submodelHandler::SlotOf(int handle) const {
    if (handle < 0) return -1;
    const int slot = handle & ~rootHandle;
    if (slot >= static_cast<int>(slots.size()) || slots[slot] == nullptr) return -1;
    return slot;
}

bool QEL_submodelHandler::IsWithin(int slot, int ancestor) const {
    // The chain is bounded by the number of slots, so a damaged tree with
    // a loop in it cannot hold the walk.
    for (size_t steps = 0; slot >= 0 && steps <= slots.size(); steps++) {
        if (slot == ancestor) return true;
        slot = SlotOf(slots[slot]->parent);
    }
    return false;
}

int QEL_submodelHandler::NodeSlot(int node) const {
    const QEL_node* owner = network != nullptr ? network->GetNode(node) : nullptr;
    return owner != nullptr ? SlotOf(owner->GetSubmodel()) : -1;
}
