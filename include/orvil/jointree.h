// TsJoinTree: exact inference on one piece of a network by join-tree
// clustering.
//
// The tree is built for one update and thrown away: triangulation under a
// size budget, tables hosted by the smallest clique that holds their family,
// then a collect pass towards the root and a distribute pass back, and each
// wanted node's belief read from the smallest clique that holds it. Evidence
// is compiled into the structure (observed nodes have one state and leave
// the potentials), so nothing of the tree outlives the update.
//
// Clique potentials are never stored: each pass rebuilds a clique's potential
// chunk by chunk from its tables and the messages it holds, in the same order
// of multiplications as a stored potential would have seen, and keeps only
// what it sums out of it. Only separator-sized messages stay in memory.
//
// Since building potentials is the cost, an update builds only what the
// beliefs it writes need. The cliques a belief (or an exported table) is read
// from are the wanted ones. Before the passes each part of the tree is
// re-rooted at the largest clique of the smallest subtree that joins its
// wanted cliques; the root is built once, with all its children's messages.
// Messages go up only towards cliques that will be built, and the way down
// goes only into subtrees that hold a wanted clique. One target costs one
// build per clique of its part and no distribute pass.
//
// A failed triangulation writes nothing to the values: the caller decides
// whether to split the work into smaller passes.
#ifndef ORVIL_JOINTREE_H
#define ORVIL_JOINTREE_H

#include <vector>

#include "orvil/fastarray.h"
#include "orvil/tsclique.h"
#include "orvil/tsmatrix.h"

class TsAdapter;
class TsContraction;
class TsPass;

class TsJoinTree {
public:
    explicit TsJoinTree(TsAdapter& adapter);
    TsJoinTree(const TsJoinTree&) = delete;
    TsJoinTree& operator=(const TsJoinTree&) = delete;
    ~TsJoinTree();

    // The whole update: triangulate within `sizeLimit` cells (0: the default
    // budget), then hosts, potentials, collect, distribute, beliefs, and the
    // export of clique tables when the network keeps them. `pending`, when
    // not null, is indexed by network handle: a node of the piece is computed
    // if its entry is true, which is then cleared; entries of nodes not
    // computed are left as they are. Without it, the targets are computed.
    // Returns false when the triangulation does not fit; the values are then
    // untouched. The tree is cleaned up in every case.
    bool UpdateBeliefsEx(bool* pending, unsigned sizeLimit);
    bool UpdateBeliefs() { return UpdateBeliefsEx(nullptr, 0); }

    // The probability of the piece's evidence: the sum of the joint with the
    // evidence in place, computed with only one path of potentials alive at a
    // time and no budget. -1.0 when the triangulation fails.
    double CalcNormFactor();

    // The steps of an update, in order. InitPotentials chooses the clique
    // each belief that `pending` (as for UpdateBeliefsEx; null: the targets)
    // asks for is read from, asks for the clique tables when the network
    // keeps them, re-roots the tree (see above), lays out the
    // messages and plans which cliques each pass builds. Collect sends up
    // the messages that a clique built later reads; Distribute brings the
    // parent's knowledge down into the subtrees read from and takes the
    // marginals that CalcBeliefs writes and the tables that ExportPotentials
    // normalises. CalcBeliefs must get the mask InitPotentials got; it
    // clears the entries of the nodes it computes.
    bool Triangulate(unsigned sizeLimit);
    void FindHosts();
    void InitPotentials(const bool* pending);
    void Collect();
    void Distribute();
    void CalcBeliefs(bool* pending);
    // Normalises the clique tables handed to the network's store: each is
    // the joint of its clique's unobserved nodes.
    void ExportPotentials();
    void CleanUp();

    // The cliques: in creation order after Triangulate, smallest first after
    // FindHosts. The root is the last clique made after Triangulate, and the
    // top of the re-rooted tree after InitPotentials.
    int GetCliqueCount() const { return cliques.Count(); }
    TsClique* GetClique(int i) const { return cliques[i]; }
    TsClique* GetRoot() const { return root; }

    // Potentials built since the last Triangulate, on the way up (including
    // those CalcNormFactor builds) and on the way down. Kept by CleanUp, so
    // that they can be read after an update.
    struct Work {
        int collectBuilds = 0;
        int distributeBuilds = 0;
    };
    const Work& GetWork() const { return work; }

private:
    // A node whose belief is read from a clique, and where its marginal goes.
    struct BeliefSlot {
        int node;
        int offset;  // into `marginals`
    };

    // Chooses, for every node whose belief is written (`pending`, or the
    // targets), the smallest clique that holds it, in the order CalcBeliefs
    // writes them, and marks those cliques wanted.
    void PlanBeliefs(const bool* pending);
    // Asks the store for a table per clique, smallest clique first; every
    // clique is then wanted.
    void PlanExport();
    // Makes the top of each part that holds a wanted clique the largest
    // clique of the smallest subtree joining its wanted cliques.
    void Reroot();
    // Makes the largest clique with `mark` set in each part the top of that
    // part.
    void LiftLargest(bool TsClique::*mark);
    // Marks the cliques built on the way down, leaving `order` children
    // first.
    void MarkBuildDown();
    // Marks what each pass builds, and leaves `order` parents first.
    void PlanPasses();
    // Cliques in an order that puts every child before its parent.
    void BottomUp(std::vector<TsClique*>& out) const;
    // Adds to the pass what builds `clique`'s potential as the way up leaves
    // it: its tables, then its children's messages.
    void AddPotential(TsClique& clique);
    // Sends `clique`'s message to its parent. A clique with no separator
    // instead multiplies its potential's total into `apart`, when given.
    void CollectClique(TsClique& clique, double* apart);
    // Adds `clique`'s message into its separator as a product of matrices
    // (ts_contraction.h) when the clique holds exactly two factors and that
    // is cheaper than a pass; false, with nothing done, otherwise.
    bool ContractClique(TsClique& clique);
    // The way down through `clique` and then its subtree.
    void DistributeClique(TsClique& clique);
    // Writes the belief of one planned node, or reports a zero potential.
    void WriteBelief(const BeliefSlot& slot);

    TsAdapter& adapter;
    TsClique::Pool* pool;
    TsClique* root;
    fastarray<TsClique*, 32, int> cliques;
    TsPass* pass;
    TsContraction* contraction;
    std::vector<TsClique*> order;
    std::vector<BeliefSlot> plan;
    std::vector<double> marginals;
    Work work;
};

#endif
