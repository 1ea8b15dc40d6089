// TsAdapter: the join-tree engine's only view of the model.
//
// The engine works on node numbers, the positions 0 to n - 1 of the nodes of
// one QEL_rNetwork piece, and never on network handles. The adapter answers
// the structural questions (state counts, parents, tables, evidence) from a
// snapshot taken when it is built, and forwards the model-facing operations
// (writing beliefs, targets, the error log, the joint-probability store) to
// the QEL_node behind each record. Those model-facing operations are virtual,
// so that a test or another engine can run the join tree on a piece whose
// records have no QEL_node and collect the results itself.
#ifndef ORVIL_TSADAPTER_H
#define ORVIL_TSADAPTER_H

#include <vector>

#include "orvil/fastarray.h"

class QEL_rNetwork;
class QEL_rNode;
class QEL_Dmatrix;
class QEL_network;

class TsAdapter {
public:
    // Wraps `piece`. `zeroCounter`, when given, is incremented by each
    // ReportZeroPotential.
    explicit TsAdapter(QEL_rNetwork& piece, int* zeroCounter = nullptr);
    TsAdapter(const TsAdapter&) = delete;
    TsAdapter& operator=(const TsAdapter&) = delete;
    virtual ~TsAdapter();

    int GetNodeCount() const { return int(states.size()); }
    // Outcome count of node `i`.
    int GetStateCount(int i) const { return states[i]; }
    // Replaces `out` by the node numbers of the parents of `i`, in the order
    // of the table's dimensions; -1 for a parent outside the piece.
    void GetParents(int i, fastarray<int, 24, int>& out) const;
    // The table of `i` (its parents' dimensions, then its own), or null when
    // it has none or its shape does not fit its parents and states.
    const QEL_Dmatrix* GetMatrix(int i) const;
    // The observed outcome of `i`, or -1.
    int GetEvidence(int i) const { return evidence[i]; }

    // Makes the value of `i` one-dimensional of its state count and returns
    // its cells; null when the node has no value. For a node that lost
    // outcomes that cannot happen, the cells are the adapter's, one per
    // outcome left, and reach the value at SetValueValid.
    virtual double* GetBeliefs(int i);
    // The identifier of the node behind `i`, or null for an auxiliary node.
    virtual const char* GetNodeId(int i) const;
    // The network handle of the node behind `i`, or -1 for an auxiliary node.
    virtual int GetNodeHandle(int i) const;
    // True when `i` is a target, or when the network has no targets at all.
    virtual bool IsTarget(int i) const;
    // Marks the value of `i` as current, after spreading the cells that
    // GetBeliefs gave out over all its outcomes when it lost some.
    virtual void SetValueValid(int i);
    // True when the network keeps the joint tables of the cliques.
    virtual bool WillStorePotentials() const;
    // A new store matrix over `nodes` (node numbers), whose sizes are `dims`,
    // or null when a node has no handle or the store refuses.
    virtual QEL_Dmatrix* GetPotentialMatrix(const fastarray<int, 24, int>& nodes,
                                            const fastarray<int, 24, int>& dims);

    // Logs at -43 "All potential entries are zeros for node " and the node's
    // identifier (or "with handle " and the handle when it has none), and
    // counts the report.
    void ReportZeroPotential(int i);

protected:
    // The network behind the piece, or null when no record has a node.
    QEL_network* Network() const;

private:
    // True when the table of `i` has a dimension per parent of the parent's
    // state count, and its own last.
    bool FitsItsFamily(int i) const;

    int* zeroCounter;
    std::vector<QEL_rNode*> records;
    std::vector<int> states;
    std::vector<int> evidence;
    std::vector<int> parentStart;  // parents of i: parentList[parentStart[i] .. parentStart[i + 1])
    std::vector<int> parentList;
    std::vector<const QEL_Dmatrix*> tables;
    std::vector<double> shrunkBeliefs;  // GetBeliefs' cells for nodes with fewer outcomes
};

#endif
