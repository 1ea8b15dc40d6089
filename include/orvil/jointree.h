// TsJoinTree: exact inference on one piece of a network by join-tree
// clustering.
//
// The tree is built for one update and thrown away: triangulation under a
// size budget, tables hosted by the smallest clique that holds their family,
// a collect pass towards the root (the last clique made) and a distribute pass
// back, then each wanted node's belief read from the smallest clique that
// holds it. Evidence is compiled into the structure (observed nodes have one
// state and leave the potentials), so nothing of the tree outlives the update.
//
// A failed triangulation writes nothing to the values: the caller decides
// whether to split the work into smaller passes.
#ifndef ORVIL_JOINTREE_H
#define ORVIL_JOINTREE_H

#include "orvil/fastarray.h"
#include "orvil/tsclique.h"
#include "orvil/tsmatrix.h"

class TsAdapter;

class TsJoinTree {
public:
    explicit TsJoinTree(TsAdapter& adapter);
    TsJoinTree(const TsJoinTree&) = delete;
    TsJoinTree& operator=(const TsJoinTree&) = delete;
    ~TsJoinTree();

    // The whole update: triangulate within `sizeLimit` cells (0: the default
    // budget), then hosts, potentials, collect, distribute, beliefs, and the
    // export of clique tables when the network keeps them. `pending`, when
    // not null, is indexed by network handle: a node is computed if its entry
    // is true, which is then cleared; without it, the targets are computed.
    // Returns false when the triangulation does not fit; the values are then
    // untouched. The tree is cleaned up in every case.
    bool UpdateBeliefsEx(bool* pending, unsigned sizeLimit);
    bool UpdateBeliefs() { return UpdateBeliefsEx(nullptr, 0); }

    // The probability of the piece's evidence: the sum of the joint with the
    // evidence in place, computed with only one path of potentials alive at a
    // time and no budget. -1.0 when the triangulation fails.
    double CalcNormFactor();

    // The steps of an update, in order.
    bool Triangulate(unsigned sizeLimit);
    void FindHosts();
    void InitPotentials();
    void Collect();
    void Distribute();
    void CalcBeliefs(bool* pending);
    // Hands each clique's normalised joint table to the network's store, over
    // the clique's unobserved nodes.
    void ExportPotentials();
    void CleanUp();

    // The cliques: in creation order after Triangulate, smallest first after
    // FindHosts.
    int GetCliqueCount() const { return cliques.Count(); }
    TsClique* GetClique(int i) const { return cliques[i]; }
    TsClique* GetRoot() const { return root; }

private:
    // Gives a clique whose potential received nothing all ones, so that
    // reading it is well defined.
    static void SettlePotential(TsClique& clique);
    // Computes and writes the belief of node `node` from `clique`.
    void WriteBelief(TsClique& clique, int node);

    TsAdapter& adapter;
    TsClique::Pool* pool;
    TsClique* root;
    fastarray<TsClique*, 32, int> cliques;
    TsMatrix scratch;    // the previous separator message during distribute
    TsMatrix marginal;   // one node's marginal while beliefs are read
};

#endif
