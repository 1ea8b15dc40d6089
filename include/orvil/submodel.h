// Submodels: named groups of nodes that editors draw as one box, nested in
// a tree under the root submodel. The root (handle 0x4000) stands for the
// whole network: its header is the network's id, name and comment, and its
// screen record holds the defaults that new nodes inherit.
//
// What is here now is the root alone, with the lookups that nodes and the
// network need (find by id, validity of a handle, ids in use). Nested
// submodels, moving nodes between them and their flat functions come with
// the full handler.
#ifndef ORVIL_SUBMODEL_H
#define ORVIL_SUBMODEL_H

#include "orvil/header.h"
#include "orvil/object.h"
#include "orvil/screeninfo.h"

class QEL_network;

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

    // A handler with a fresh root, for `net`.
    explicit QEL_submodelHandler(QEL_network* net);
    QEL_submodelHandler(const QEL_submodelHandler&) = delete;
    // Copies the submodels of `other`; the network stays. Returns 0, or
    // -567 when `other` is not ready.
    int operator=(const QEL_submodelHandler& other);
    // Points the handler at `net`.
    void SetNetwork(QEL_network* net) { network = net; }

    // Gives `net` a fresh root: empty header and default screen record.
    // Returns 0.
    int ReCreate(QEL_network* net);
    // Resets the root's records. Returns 0.
    int CleanUp(int deep = 0) override;

    // The submodel of `handle`, or null when there is none.
    QEL_submodel* GetSubmodel(int handle);
    QEL_submodel& Root() { return root; }
    // True when `handle` (with or without the 0x4000 bit) names a submodel.
    bool IsValidSubmodel(int handle) const;
    // Handle of the submodel with this id, or -2. The root answers to the
    // network's id.
    int FindSubmodel(const char* id) const;
    // True when a submodel below the root uses `id`. The root's id is the
    // network's own name and does not compete with node ids.
    bool IsIdInUse(const char* id) const;

private:
    QEL_network* network;
    QEL_submodel root;
};

#endif
