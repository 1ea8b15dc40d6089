// TsClique: one cluster of the join tree, with its potential, the message it
// last exchanged with its parent, and the two precomputed walks between its
// potential and the separator.
//
// Cliques come from one TsClique::Pool block, together with two membership
// arrays of n bools each (node in the clique, node in the separator) that make
// subset tests constant time while the tree is built. The membership block is
// released as soon as the tables have found their hosts. Node lists are kept
// ascending so that a clique and its separator walk in one order. Nodes with
// evidence stay in the graph but leave the node lists when potentials are
// made: an observed table is read at its observed slice and costs nothing.
#ifndef ORVIL_TSCLIQUE_H
#define ORVIL_TSCLIQUE_H

#include <cstdint>

#include "orvil/fastarray.h"
#include "orvil/tsmatrix.h"

class TsAdapter;

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
    bool Contains(int node) const { return nodeMember[node]; }
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

    // Drops observed nodes from `separator` and sizes `sepMessage` (only with
    // a parent).
    void InitSepMessage(TsAdapter& adapter);
    // Drops observed nodes from `nodes`, sizes the potential and multiplies
    // the hosted tables into it.
    void InitPotential(TsAdapter& adapter);
    // Builds the walks to the separator from this clique and from the parent.
    void InitMapping();
    // Builds the walk of node `node`'s table over this clique's potential and
    // returns the first table cell the walk reads.
    const double* InitOdometer(TsAdapter& adapter, int node, TsOdometer* odometer) const;

    // The subtree's evidence flows up: children first, then into the parent.
    void Collect();
    // Marginalises the potential into `sepMessage` and multiplies that into
    // the parent's potential.
    void UpdateParentPotential();
    // The parent's knowledge flows down into the subtree. `scratch` holds the
    // previous message while the new one is made.
    void Distribute(TsMatrix& scratch);
    // Replaces this clique's share of the parent's potential by the ratio of
    // the new separator marginal to the old one.
    void UpdateFromParentPotential(TsMatrix& scratch);
    // The collect pass that computes the probability of evidence with only a
    // path of potentials alive: each child is made, absorbed and freed at
    // once. Returns the product of the totals of subtrees that share no
    // unobserved node with this clique, which no message can carry.
    double CollectForPE(TsAdapter& adapter);
    // Frees the potential, the message and the child list.
    void FreeMatrices();
    // True when the potential holds cells (made, or absorbed a message).
    bool IsPotentialSet() const { return potentialSet; }

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
    TsMatrix potential;
    TsMatrix sepMessage;
    TsMatrix::Mapping toSeparator;
    TsMatrix::Mapping parentToSeparator;
    bool potentialSet;

private:
    bool made;  // InitPotential has run since the last FreeMatrices
};

#endif
