// Submodels: named groups of nodes that editors draw as one box, nested in
// a tree under the root submodel. The root (handle 0x4000) stands for the
// whole network: its header is the network's id, name and comment, and its
// screen record holds the defaults that new nodes inherit.
//
// The handler keeps its submodels in a table of slots, the root in slot 0;
// a submodel's handle is its slot number with the 0x4000 bit set, so it
// never clashes with a node handle, and it stays fixed while the submodel
// lives. A deleted submodel leaves an empty slot that a later one may take.
// Each submodel knows its parent; a node knows its submodel (QEL_node's
// `submodel`). The tree is small and edited by hand, so every question
// about contents is answered by a walk over the slots and the nodes.
//
// Submodel ids share one name space with node ids: a network never has a
// node and a submodel, or two submodels, with the same id. The root is the
// exception: its id is the network's own name.
#ifndef ORVIL_SUBMODEL_H
#define ORVIL_SUBMODEL_H

#include <vector>

#include "orvil/header.h"
#include "orvil/object.h"
#include "orvil/screeninfo.h"

class QEL_network;
class QEL_intArray;

class QEL_submodel : public QEL_object {
public:
    // An empty header and screen record, no parent; ready.
    QEL_submodel();

    QEL_header header;
    QEL_screenInfo info;
    // Handle of the enclosing submodel, -2 for the root.
    int parent;
};

class QEL_submodelHandler : public QEL_object {
public:
    // Handle of the root submodel. Submodel handles carry this bit, so they
    // never clash with node handles.
    static const int rootHandle = 0x4000;

    // A handler with a fresh root and no other submodel, for `net`.
    explicit QEL_submodelHandler(QEL_network* net);
    QEL_submodelHandler(const QEL_submodelHandler&) = delete;
    ~QEL_submodelHandler() override;
    // Copies every submodel of `other` (same handles, holes included); the
    // network stays. Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_submodelHandler& other);
    // Points the handler at `net`.
    void SetNetwork(QEL_network* net) { network = net; }

    // Gives `net` a fresh root (empty header, default screen record) and
    // no other submodel. Returns 0.
    int ReCreate(QEL_network* net);
    // The same for the handler's own network. Returns 0.
    int CleanUp(int deep = 0) override;
    // Removes every submodel below the root, as before a file is read into
    // the network; the root's records stay. Returns 0.
    int Flush();
    // With `deep`, repairs what a read or a copy can leave behind: a
    // submodel whose parent is gone, and a node whose submodel is gone,
    // move to the root. Always ends ready. Returns 0.
    int CheckReadiness(int deep = 0) override;
    // Consistent when every submodel's chain of parents reaches the root.
    // Returns 0, or -568.
    int CheckConsistency(int deep = 0) override;

    // Makes a submodel with id `id` inside `parent`. Returns its handle;
    // -2 when `parent` names no submodel; -30 for an id that is no valid
    // identifier (logged as "Illegal identifier"; ids starting with "@" are
    // refused too, without a log entry); -32 when a node or a submodel
    // (the root included) has the id already.
    int CreateSubmodel(int parent, const char* id);
    // Deletes submodel `handle`. Its nodes and submodels move to its
    // parent. 0; -2 for the root or a handle that names no submodel.
    int DeleteSubmodel(int handle);
    // Puts submodel `handle` inside `into`. 0 (also when it is there
    // already); -2 when either names no submodel, `handle` is the root, or
    // `into` is `handle` or lies inside it.
    int MoveSubmodel(int handle, int into);

    // The submodel of `handle`, or null when there is none.
    QEL_submodel* GetSubmodel(int handle);
    QEL_submodel& Root() { return *slots[0]; }
    // Handle of the submodel that holds `handle`; -2 for the root or a
    // handle that names no submodel.
    int GetParent(int handle) const;
    // True when `handle` names a submodel. The 0x4000 bit may be left
    // off: 3 and 0x4003 name the same submodel.
    bool IsValidSubmodel(int handle) const;
    // Handle of the submodel with this id, or -2. The root answers to the
    // network's id.
    int FindSubmodel(const char* id) const;
    // True when a submodel below the root uses `id`. The root's id is the
    // network's own name and does not compete with node ids.
    bool IsIdInUse(const char* id) const;
    // Number of submodels, the root included.
    int GetNumberOfSubmodels() const;

    // Append to `here`, in ascending handle order: the submodels directly
    // inside `handle`; the nodes directly inside it; every submodel at any
    // depth inside it; every node at any depth inside it. `here` is not
    // cleared. 0, or -2 (nothing appended) when `handle` names no
    // submodel.
    int GetIncludedSubmodels(int handle, QEL_intArray& here) const;
    int GetIncludedNodes(int handle, QEL_intArray& here) const;
    int GetDeepIncludedSubmodels(int handle, QEL_intArray& here) const;
    int GetDeepIncludedNodes(int handle, QEL_intArray& here) const;

private:
    // The slot of a valid handle, else -1.
    int SlotOf(int handle) const;
    // True when slot `slot` is `ancestor` or lies inside it.
    bool IsWithin(int slot, int ancestor) const;
    // The slot of the submodel holding node `node`, or -1.
    int NodeSlot(int node) const;
    // The first empty slot below the root, or a new one.
    int FreeSlot();
    // Deletes every submodel below the root.
    void DropAllButRoot();

    QEL_network* network;
    // Owned; null marks an empty slot. Slot 0 is the root.
    std::vector<QEL_submodel*> slots;
};

#endif
