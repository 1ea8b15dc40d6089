// QEL_nodeCost: what it costs to observe a node.
//
// Diagnosis ranks tests by their cost of observation. A node's cost may
// depend on the outcomes of other nodes, its cost parents, joined to it by
// cost arcs (qel_costObserve), which have no effect on probabilities. The
// costs are a table with one dimension per cost parent, in the order of the
// network's cost-parent list, and a last dimension of size 1: a node
// without cost parents has a single cost. New entries hold 0.0, the cost of
// a node nobody has priced yet. An entry may hold QEL_NA_DOUBLE, a cost
// that is not available.
//
// The table follows its cost parents as a probability table follows its
// parents: a parent's new outcome adds entries, a lost outcome drops them,
// a reorder moves them.
#ifndef ORVIL_NODECOST_H
#define ORVIL_NODECOST_H

#include "orvil/dmatrix.h"
#include "orvil/object.h"

class QEL_network;
class QEL_intArray;
class QEL_doubleArray;

class QEL_nodeCost : public QEL_object {
public:
    // One cost, 0.0, shaped after the present cost parents of node
    // `handle` of `net` (when there are any).
    QEL_nodeCost(QEL_network* net, int handle);
    // Copies network, handle and costs.
    QEL_nodeCost(const QEL_nodeCost& other);
    // Copies the costs (network and handle stay). -567 for a source that
    // is not ready.
    int operator=(const QEL_nodeCost& other);
    ~QEL_nodeCost() override;

    // With `deep`, drops the costs. Returns 0.
    int CleanUp(int deep = 0) override;
    // Ready when the network is set and the handle names a live node.
    int CheckReadiness(int deep = 0) override;

    // -2 for null, -567 for a network that is not ready; else 0.
    int SetNetwork(QEL_network* net);
    void SetNetworkAndHandle(QEL_network* net, int nodeHandle);

    // The cost arc parent -> this node was added; `parent` already stands
    // in the cost-parent list. The costs are repeated along the parent's
    // outcomes. -2 for a parent without outcomes or not in the list.
    int AddParent(int parent);
    // The cost arc is being removed (the parent is still listed): keeps the
    // costs of the parent's outcome 0. -2 when it is not a cost parent.
    int RemoveParent(int parent);
    // Keeps the costs of the parent's evidence outcome; the arc is removed
    // by the caller afterwards. -2 without evidence.
    int AbsorbEvidenceFromParent(int parent);
    // A cost parent gained an outcome at `position`: 0.0 costs there.
    int DaddyGetsBigger(int parent, int position);
    // A cost parent lost the outcome at `position`.
    int DaddyGetsSmaller(int parent, int position);
    // A cost parent reordered its outcomes: new i is old newOrder[i].
    int DaddyChangedOrderOfOutcomes(int parent, QEL_intArray& newOrder);
    // Rebuilds 0.0 costs over the present cost parents. Returns 0, or -2
    // when a cost parent has no outcomes.
    int ReCreateFromNetworkStructure();

    // The costs, in the layout above.
    const QEL_Dmatrix& GetCosts() const { return costs; }
    int GetSize() const { return costs.GetSize(); }
    // Replaces all costs; items.GetSize() must equal GetSize(), else -2.
    int SetCosts(const QEL_doubleArray& items);
    // The cost under one configuration of the cost parents (one coordinate
    // per cost parent). -2 for bad coordinates.
    int GetCost(const QEL_intArray& parentOutcomes, double& cost) const;
    int SetCost(const QEL_intArray& parentOutcomes, double cost);
    // True when every cost is exactly 0.0.
    bool IsZero() const;

private:
    // Dimension of `parent` among the cost parents, or -2.
    int DimensionOf(int parent) const;
    // Outcome count of node `node`, or -2 when it has none.
    int OutcomeCount(int node) const;
    int IndexOf(const QEL_intArray& parentOutcomes) const;

    QEL_network* network;
    int handle;
    QEL_Dmatrix costs;
};

#endif
