// Exact beliefs of a small piece from its whole joint table.
//
// A join tree costs some tens of thousands of instructions before it touches
// a single cell: the moral graph, the elimination, the cliques and their
// tree, the pass plans. On a piece of a handful of nodes (the small models,
// and the fragments that evidence cuts off larger ones) that bookkeeping is
// nearly all of an update, while the joint table over the unobserved nodes
// has only some hundreds of cells. Such a piece is cheaper done whole: the
// joint is built in one small buffer by multiplying in every table, each
// through a list of the table cell that every joint cell reads, and each
// wanted node's marginal is summed straight off it. A piece of up to 16
// nodes and 256 cells allocates nothing, and no loop over the cells divides.
#ifndef ORVIL_INFERENCE_TS_ENUMERATION_H
#define ORVIL_INFERENCE_TS_ENUMERATION_H

#include <cstdint>

#include "orvil/fastarray.h"
#include "orvil/tsmatrix.h"

class TsAdapter;

class TsEnumeration {
public:
    // Cells times operands (tables and wanted nodes) beyond which a join
    // tree is the cheaper way.
    static constexpr uint64_t maxWork = 1u << 12;

    // Looks the piece over; `pending` as for TsJoinTree::UpdateBeliefsEx.
    TsEnumeration(TsAdapter& adapter, const bool* pending);
    TsEnumeration(const TsEnumeration&) = delete;
    TsEnumeration& operator=(const TsEnumeration&) = delete;

    // True when the joint table's cells times the operands come to at most
    // maxWork and the joint has at most `budget` cells, so that a budget
    // small enough to make the join tree fail still sends the piece on to
    // the target decompositions.
    bool Suits(uint64_t budget) const;

    // Only for a piece that Suits some budget. Writes the beliefs of the
    // wanted nodes, marks them valid and clears their `pending` entries.
    // False, with nothing written, when every cell is zero: the evidence is
    // impossible, and the join tree is left to say so node by node.
    bool UpdateBeliefs(bool* pending);

private:
    // The offset, for every cell of the joint, of the table cell it reads.
    void Offsets(const int64_t* steps, int32_t* at) const;
    // Multiplies every cell of the joint by the table cell it reads.
    void MultiplyIn(const double* table, const int32_t* at, double* joint) const;
    // Sums the joint onto the states of the unobserved node at `place`.
    void Marginal(const double* joint, int place, double* out) const;

    TsAdapter& adapter;
    fastarray<int, 16, int> placeOf;  // node number -> place among the unobserved, or -1
    TsMatrix::Coords open;            // the unobserved nodes
    TsMatrix::Coords states;          // their state counts
    fastarray<int, 16, int> wanted;   // the nodes whose beliefs are written
    int tableCount = 0;
    uint64_t cells = 1;  // of the joint table, capped past maxWork
    bool tooWide = false;  // more unobserved nodes than a coordinate list holds
};

#endif
