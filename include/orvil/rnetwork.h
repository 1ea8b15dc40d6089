// QEL_rNetwork and QEL_rNode: the lightweight copy of a network that every
// Bayesian-network engine takes as input.
//
// Before an engine runs, the model's structure is copied into records that
// hold only what inference needs: the node's evidence, its table and its
// arcs. Relevance reasoning prunes and cuts this copy into independent
// pieces, each a QEL_rNetwork. Tables are shared with the node definitions
// (`tableKind` 2) and copied only where pruning changes them (`tableKind` 1,
// owned). Every record keeps a pointer to its QEL_node, so beliefs go straight
// back into the model's values.
//
// All records of one copy come from one QEL_rNodePool block. The pool counts
// its live records and deletes itself with the last one, so it outlives the
// master network it was made for and dies with the last piece that uses it.
#ifndef ORVIL_RNETWORK_H
#define ORVIL_RNETWORK_H

#include "orvil/fastarray.h"

class QEL_node;
class QEL_network;
class QEL_Dmatrix;
class QEL_rNetwork;

class QEL_rNode {
public:
    // Values of `mark` used by relevance reasoning; during the final labelling
    // `mark` holds the number (from 1) of the connected component instead.
    static const int markNone = 0;
    static const int markVisited = 2;
    static const int markNuisance = 10;
    static const int markOrdered = 16;
    static const int markBarren = 20;

    // Values of `tableKind`.
    static const int noTable = 0;
    static const int ownTable = 1;
    static const int sharedTable = 2;

    // One block of records for all nodes of a copy.
    class QEL_rNodePool {
    public:
        // A block for `capacity` records, none made yet.
        explicit QEL_rNodePool(int capacity);
        QEL_rNodePool(const QEL_rNodePool&) = delete;
        QEL_rNodePool& operator=(const QEL_rNodePool&) = delete;

        // Builds the next record, with no node, no evidence, no table and no
        // arcs; null when the block is used up.
        QEL_rNode* Create_Node();
        // Destroys `record` (freeing an owned table) and counts it dead. The
        // pool deletes itself when no record is left alive.
        void Free_Node(QEL_rNode* record);
        // Deletes the pool if it has no live record: the way out for a pool
        // that never made one.
        void DeleteIfUnused();

        int GetCapacity() const { return capacity; }
        int GetNumberMade() const { return made; }
        int GetNumberLive() const { return live; }
        // Position of `record` in the block, 0 to GetNumberMade() - 1.
        int IndexOf(const QEL_rNode* record) const { return int(record - records); }

    private:
        ~QEL_rNodePool();

        QEL_rNode* records;
        int capacity;
        int live;
        int made;
    };

    QEL_rNode(const QEL_rNode&) = delete;
    QEL_rNode& operator=(const QEL_rNode&) = delete;

    // Reads `evidence` from the node's value: real evidence, or propagated
    // evidence too when `usePropagated` is true; -1 when there is none.
    void Init_Evidence(bool usePropagated);
    // Shares the definition's table (`tableKind` 2).
    void Init_Probabilities();
    // Replaces the table by a new owned one with a dimension per parent, in
    // order, and the node's own last. An earlier owned table is freed. With
    // evidence and no parents the table is one-hot at the evidence; otherwise
    // the cells are left for the caller to fill.
    void Set_Probabilities_Table();
    // Takes ownership of `table`, freeing an earlier owned one.
    void Set_Probabilities_Table(QEL_Dmatrix* table);
    // Number of outcomes: the last dimension of the table, or the
    // definition's outcome count when there is no table.
    int Get_Num_of_States() const;
    // True when the evidence is impossible under every configuration left in
    // the table: the outcome is beyond the cells, or all its cells are 0.0.
    // False without evidence.
    bool Is_Conflicting_Evidence() const;
    // True when every cell of the table with `parent`'s dimension at
    // `parentState` and the node's own at `ownState` equals `value` exactly.
    // False when `parent` is not a parent or a state is out of range.
    bool Test_State(double value, const QEL_rNode* parent, int parentState, int ownState) const;
    // Removes `parent`'s dimension from the table, keeping the slice at the
    // parent's evidence. An owned table changes in place; a shared one is
    // sliced into a new owned table. Does nothing when `parent` is not a
    // parent or has no evidence. The caller unlinks the parent.
    void Clamp_Evidence(const QEL_rNode* parent);
    // Sums `parent`'s dimension out of the table, weighted by the parent's
    // own table when the parent is a root with a table, unweighted otherwise.
    // A shared table is copied first. Does nothing when `parent` is not a
    // parent. The caller unlinks the parent.
    void Marginalize(const QEL_rNode* parent);
    // The sums of the table's columns, one per configuration of the parents,
    // at the observed parents' outcomes: a new table over the unobserved
    // parents, in order, with a last dimension of one state. Null when every
    // such sum is one up to the rounding of the sum itself (the node's
    // factor is then 1 whatever its parents do; a caller that accepts sums
    // further from one gives `tolerance`), or when there is no table or it
    // does not fit the parents.
    QEL_Dmatrix* Column_Sums(double tolerance) const;
    // True when the record has a table with a dimension per parent, of the
    // parent's outcome count, and its own last: the shape whose dimensions
    // match the arcs.
    bool Table_Fits_Parents() const;
    // True when this record's family (itself and its parents) holds every
    // record of `over`.
    bool Covers(const fastarray<QEL_rNode*, 8, int>& over) const;
    // Multiplies every cell by `factor` at the outcomes of `over` (records
    // this one covers; `factor` has a dimension per record of `over`, in
    // order, and a last one of one state), copying a shared table first.
    // Does nothing without a table or when the shapes disagree.
    void Multiply_By(const QEL_Dmatrix& factor, const fastarray<QEL_rNode*, 8, int>& over);
    // Makes the value matrix one-dimensional of size `n`: resized if it has
    // one dimension, rebuilt if it has more, added if it has none. Does
    // nothing for a record without a node.
    void Expand_Beliefs(int n);
    // Copies the table's first cells into the value, normalised, and marks
    // it valid. Only right for a record without parents.
    void Set_Prior_Beliefs();
    // Writes `beliefs`, one per outcome the record has left, into the node's
    // value at those outcomes (`keptStates`), with 0 at the outcomes taken
    // away, and marks it valid. Does nothing for a record without a node.
    void Spread_Beliefs(const double* beliefs);
    // Stores evidence `e`; with a node, writes its value one-hot at `e` and
    // marks it valid. -2 when `e` is out of range, else 0.
    int Set_Evidence(int e);
    // Returns the record to its pool (Free_Node).
    void Delete();

    // Index of `parent` in `parents`, or -1.
    int FindParent(const QEL_rNode* parent) const { return parents.IndexOf(const_cast<QEL_rNode*>(parent)); }

    QEL_node* node;
    int evidence;
    int mark;
    int tableKind;
    QEL_Dmatrix* table;
    QEL_rNetwork* network;
    QEL_rNodePool* pool;
    fastarray<QEL_rNode*, 8, int> parents;
    fastarray<QEL_rNode*, 16, int> children;
    // The node's outcomes that the table still has, in order, once outcomes
    // that cannot happen were taken out of every table (Shrink_States);
    // empty while it has them all.
    fastarray<int, 8, int> keptStates;

private:
    friend class QEL_rNodePool;
    explicit QEL_rNode(QEL_rNodePool* owner);
    ~QEL_rNode();
    void FreeOwnTable();
};

class QEL_rNetwork {
public:
    // An empty piece with room for `capacity` nodes.
    explicit QEL_rNetwork(int capacity);
    // The master copy of `net`: a record per node in handle order, with its
    // evidence (real, or propagated too with `usePropagated`), its shared
    // table, and its ordinary arcs. A controlled node gets no parents, and
    // arcs into controlled nodes are not copied. `decompose` asks for
    // noisy-MAX decomposition, which this copy does not perform yet.
    QEL_rNetwork(QEL_network& net, bool usePropagated, bool decompose);
    QEL_rNetwork(const QEL_rNetwork&) = delete;
    QEL_rNetwork& operator=(const QEL_rNetwork&) = delete;
    // Deletes the records still listed.
    ~QEL_rNetwork();

    // Sets `mark` of every listed record to 0.
    void Clean_Marks();
    // Unlinks `record` from its parents and children and deletes it. The
    // caller removes it from the list.
    void Del_Node(QEL_rNode* record);
    // Del_Node for each listed record with this mark; the list is compacted
    // in order.
    void Delete_Marked_Nodes(int mark);
    // Reorders the list so that parents come before children, staying close
    // to the old order.
    void Partial_Ordering();
    // Appends `record` after its unordered ancestors, marking each ordered.
    void Mark_Ordered(QEL_rNode* record);
    // Partial_Ordering that starts from the observed nodes, least
    // constrained table first (the share of zero cells, ascending; ties keep
    // the list's order), so that samplers meet evidence as early as they can.
    void Priority_Partial_Ordering();
    // Empties the list without deleting the records, which belong to others.
    void ReleaseNodes();

    fastarray<QEL_rNode*, 8, int> nodes;
    // A constant factor of the joint that pruning took out of the tables:
    // what is left of unobserved nodes summed away whose columns do not sum
    // to one. Posteriors ignore it; the probability of evidence needs it.
    double scale = 1.0;
    // How far from one the column sums of a barren node may be for it to be
    // dropped outright: within the rounding of the sums when 0, and whatever
    // they are (unread) from 1 on, the default.
    static constexpr double dropAnyBarren = 1.0;
    double barrenTolerance = dropAnyBarren;
};

#endif
