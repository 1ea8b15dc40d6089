// TsClique: one cluster of the join tree, with the tables it hosts and the
// messages it exchanges with its parent.
//
// Cliques come from one TsClique::Pool block, together with two membership
// arrays of n bools each (node in the clique, node in the separator) that make
// subset tests constant time while the tree is built. The membership block is
// released as soon as the tables have found their hosts. Node lists are kept
// ascending, so a clique's potential and any matrix over a subset of its nodes
// run their dimensions in one order. Nodes with evidence stay in the graph but
// leave the node lists when the potentials are laid out: an observed table is
// read at its observed slice and costs nothing.
//
// A clique keeps no potential of its own: the join tree builds it chunk by
// chunk whenever a pass needs it (see jointree.h), from the hosted tables and
// the messages below. What a clique stores is separator-sized: the message it
// sent up, and the marginal that came back down.
//
// The separator of an edge is the intersection of its two cliques, and it is
// stored with whichever end is the child. The tree is made rooted at the last
// clique of the triangulation; the join tree turns edges round (TakePlaceOf)
// so that the largest clique it must build on the way down is the root, and
// is built only once.
#ifndef ORVIL_TSCLIQUE_H
#define ORVIL_TSCLIQUE_H

#include <cstdint>

#include "orvil/fastarray.h"
#include "orvil/tsmatrix.h"

class TsAdapter;
class QEL_Dmatrix;

class TsClique {
public:
    // What the triangulator knows when it makes a clique.
    struct CreationParams {
        int totalNodes;
        uint32_t size;
        int eliminated;
        bool* nodeMember;
        bool* separatorMember;
    };

    // Records for up to n cliques (each eliminates a node) and their
    // membership arrays.
    class Pool {
    public:
        explicit Pool(int nodeCount);
        Pool(const Pool&) = delete;
        Pool& operator=(const Pool&) = delete;
        // Destroys the cliques made, which frees whatever they still hold.
        ~Pool();

        // Hands out the next clique record and its two zeroed membership
        // arrays; `record` is null when all n records are taken.
        void Alloc(void*& record, bool*& nodeMember, bool*& separatorMember);
        // A clique made from the next record, holding node `eliminated`.
        TsClique* Create(uint32_t size, int eliminated);
        // Releases the membership arrays; membership tests end with it.
        void FreeSparseArrays();

    private:
        int nodeCount;
        int used;
        TsClique* records;
        bool* members;
    };

    explicit TsClique(const CreationParams& params);
    TsClique(const TsClique&) = delete;
    TsClique& operator=(const TsClique&) = delete;

    // Membership while the tree is built.
    void AddNode(int node);
    void AddSeparatorNode(int node);
    // True when every node of `other`'s separator is in this clique.
    bool CheckSubset(const TsClique& other) const;
    // True when this clique holds `node` and all its parents (those inside
    // the piece).
    bool CanHost(int node, const fastarray<int, 24, int>& parents) const;
    // Makes `parent` this clique's parent and appends this to its children.
    void SetParent(TsClique* parent);
    // Sorts `nodes` and `separator` ascending.
    void SortNodes();
    // Adds `node` to the tables multiplied into this clique.
    void Host(int node) { hosted[hostedCount++] = node; }
    // Forgets the membership arrays once the pool has released them.
    void DropMembership();

    // Drops observed nodes from `nodes` and `separator`, and records the
    // state counts of the nodes left in `dims`: the shape of the potential.
    void InitDims(TsAdapter& adapter);
    // Sizes `sepMessage` over `separator` (only with a parent). Runs after
    // InitDims.
    void InitSepMessage(TsAdapter& adapter);
    // Makes this clique take the place of `top`, one of its ancestors, by
    // turning round every edge on the path between them: `top`'s parent (if
    // any) gets this clique as a child in `top`'s place, and each clique on
    // the path becomes the child of the one below it, with the intersection
    // of the two as its separator. This clique is left with `top`'s
    // separator, so `top` must share no node with its parent (the root, or
    // a clique whose separator is empty). Node lists stay ascending.
    void TakePlaceOf(TsClique& top);
    // True when messages cross the edge to the parent: there is a parent and
    // an unobserved node in the separator.
    bool HasSeparator() const { return parent != nullptr && separator.count > 0; }

    // Strides over this clique's potential, one per entry of `nodes`: moving
    // one step along that node moves the other matrix by strides[i] cells.
    // For node `node`'s table; returns the table cell at the potential's first
    // cell, observed family members being read at their observed slice.
    const double* TableStrides(TsAdapter& adapter, int node, int64_t* strides) const;
    // For a matrix over `list` (ascending, a subset of `nodes`) whose
    // dimensions are `sizes`, first fastest.
    void SubsetStrides(const TsMatrix::Coords& list, const TsMatrix::Coords& sizes,
                       int64_t* strides) const;

    // Frees the messages and the child list.
    void FreeMatrices();

    bool* nodeMember;
    bool* separatorMember;
    TsMatrix::Coords nodes;
    TsMatrix::Coords separator;
    int totalNodes;
    int eliminated;
    uint32_t size;
    TsClique* parent;
    fastarray<TsClique*, 8, int> children;
    int hostedCount;
    int hosted[TsMatrix::maxDims + 1];
    // State counts of `nodes` once observed nodes have left it.
    TsMatrix::Coords dims;
    // The message sent to the parent on the way up; on the way down it
    // becomes the ratio of the new separator marginal to itself.
    TsMatrix sepMessage;
    // The parent's new separator marginal, from the way down.
    TsMatrix incoming;
    // This clique's share of the join tree's belief plan.
    int beliefFirst;
    int beliefCount;
    // The update reads from this clique: a belief it writes, or a table for
    // the joint-probability store.
    bool wanted;
    // The potential is built on the way down: the clique is wanted, or a
    // child across a non-empty separator is built on the way down.
    bool buildDown;
    // The message to the parent is built on the way up: there is a
    // separator, and the parent is built on the way up or down.
    bool sendUp;
    // Where the clique's final potential goes for the joint-probability
    // store, or null.
    QEL_Dmatrix* exportTable;
};

#endif
