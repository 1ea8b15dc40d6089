// TsTriangulator: turns the moral graph of one piece into cliques by greedy
// elimination under a size budget.
//
// The graph is held as an n by n table of 16-bit adjacency entries (0: no
// edge, otherwise 1 + the neighbour's position in the node's list) beside an
// n by (n - 1) table of neighbour lists, so that both "are a and b linked"
// and "walk the neighbours of a" are direct, and removing a node from a list
// is a swap with the list's last entry. Observed nodes stay in the graph with
// one state, so they cost nothing in the size measure; their arcs to their
// children carry nothing (each child's table is read at the observed slice)
// and are left out of the moral graph, as relevance reasoning would have cut
// them.
//
// Each step removes the simplicial nodes, then eliminates one node chosen by
// a heuristic. The classic choice is the node whose clique would be smallest;
// it is quick and good on most networks, but on some large ones it makes
// cliques several times bigger than needed. So when its cliques hold more
// cells in all than TrialThreshold allows, or it does not fit the limits,
// the elimination is run again with two fill-in heuristics, and the order
// with the smallest total wins (the classic one unless clearly beaten).
// Trial runs only score their order: cliques are made once, from the winning
// order.
// The running total is checked as it grows, so a hopeless run stops early,
// and a trial stops as soon as it cannot beat the best total so far.
//
// TsTriangulatorStatsFunc, when set, hears the figures of every successful
// triangulation.
#ifndef ORVIL_TRIANGULATOR_H
#define ORVIL_TRIANGULATOR_H

#include <cstdint>
#include <memory>
#include <vector>

#include "orvil/fastarray.h"
#include "orvil/tsclique.h"

class TsAdapter;

// Figures of one triangulation. Separator sizes use the full state counts of
// their nodes, with 1 for an empty separator; the root has no separator.
struct TsTriangulatorStats {
    int32_t nodeCount;
    uint32_t sizeLimit;
    int32_t cliqueCount;
    uint32_t totalSize;
    uint32_t maxCliqueSize;
    int32_t maxCliqueNodes;
    uint32_t totalSeparatorSize;
    uint32_t maxSeparatorSize;
    int32_t maxSeparatorNodes;
    std::vector<uint32_t> cliqueSizes;  // in creation order
};

typedef void (*TsTriangulatorStatsCallback)(const TsTriangulatorStats* stats);

// Null by default. Called after every successful triangulation.
extern TsTriangulatorStatsCallback TsTriangulatorStatsFunc;

class TsTriangulator {
public:
    // How the next node is chosen once no simplicial node is left. Every rule
    // breaks remaining ties by the lowest node number, and never chooses a
    // node whose clique would pass the clique size cap.
    enum Heuristic {
        // The smallest clique (product of the state counts of the node and
        // its neighbours).
        minSize,
        // The fewest fill-in edges, ties by clique size. Skips nodes whose
        // clique would pass the 30-node limit.
        minFill,
        // The smallest sum, over the pairs of neighbours not yet linked, of
        // the product of their state counts (each taken as at most 65535),
        // ties by clique size. Skips nodes whose clique would pass the
        // 30-node limit.
        weightedMinFill
    };

    // Largest product of state counts a clique may have.
    static constexpr uint32_t cliqueSizeCap = 0x40000000u;
    // The budget that a size limit of 0 stands for.
    static constexpr uint32_t defaultSizeLimit = 0x10000000u;
    // The 16-bit graph tables bound a piece to this many nodes.
    static constexpr int maxNodes = 32767;
    // Totals up to TrialThreshold(n) cells are kept from the classic run
    // without trying other orders: the larger of `trialThreshold` and
    // `trialCellsPerNodeSquared` * n * n for a piece of n nodes. Small pieces
    // pay nothing for the trials, and since the two trials together cost at
    // most about what propagating n * n cells does, a larger piece tries
    // them only when they can pay for themselves.
    static constexpr uint64_t trialThreshold = 1u << 16;
    static constexpr uint64_t trialCellsPerNodeSquared = 4;
    static uint64_t TrialThreshold(int nodeCount);
    // A trial order replaces a fitting classic one only when its total is
    // smaller by more than 1/classicMargin of the classic total: the total
    // is only a proxy for propagation time, and a few percent fewer cells
    // laid out differently can take longer.
    static constexpr uint64_t classicMargin = 16;

    // Cliques are taken from `pool` and appended to `cliques` in creation
    // order.
    TsTriangulator(TsAdapter& adapter, TsClique::Pool& pool, fastarray<TsClique*, 32, int>& cliques);
    TsTriangulator(const TsTriangulator&) = delete;
    TsTriangulator& operator=(const TsTriangulator&) = delete;
    ~TsTriangulator();

    // Triangulates within `sizeLimit` cells in total (0: the default
    // budget). The classic minSize run comes first; its order is kept when
    // it fits and its total is at most TrialThreshold. Otherwise minFill
    // and then weightedMinFill are tried as well, and the order with the
    // smallest total that fits wins, the earlier rule on a tie, except that
    // a fitting classic order stays unless a trial beats it by the
    // classicMargin share. An order fits when its total is within the
    // budget, no clique passes the clique size cap and none holds more than
    // 30 nodes. False, with no clique made, when
    // no tried order fits (or the piece has more than maxNodes nodes). On
    // success the cliques of the winning order form one tree whose root is
    // the last clique made, and the statistics callback hears of it.
    bool Triangulate(unsigned sizeLimit);

    // As Triangulate, with `heuristic` as the only rule tried.
    bool TriangulateWith(Heuristic heuristic, unsigned sizeLimit);

    // The clique makers of the winning order, in the order they were
    // eliminated (one per clique, in creation order); empty after a failure.
    const fastarray<int, 8, int>& GetEliminationOrder() const { return order; }
    // The rule whose order the cliques were made from.
    Heuristic GetHeuristic() const { return chosen; }

private:
    struct NodeRecord {
        uint16_t* adjacency;
        uint16_t* neighbours;
        uint32_t cliqueSize;       // 0: unknown or over the cap
        int32_t neighbourCount;
        int32_t fillCount;         // unlinked neighbour pairs; 0: simplicial
        uint32_t stateCount;
    };
    // Beside each node record, for the weighted run only: the sum over
    // unlinked neighbour pairs of the product of their weights, and the sum
    // of the neighbours' weights.
    struct WeightRecord {
        uint64_t weightedFill;
        uint64_t neighbourWeight;
        uint64_t weight;  // state count, at most 65535
    };

    // One clique an elimination would make: its maker, its size, and its
    // other members in reverse order of joining, each marked with
    // `separatorBit` when it stays in the graph. The members are the maker's
    // neighbour list as it was at its elimination (a removed node's list is
    // left alone), until Keep copies them out before the next run.
    struct CliqueStep {
        int eliminated;
        uint32_t size;
        int memberCount;
        const uint16_t* members;
    };
    static constexpr uint16_t separatorBit = 0x8000;
    // What one run would build, and the sum of its clique sizes.
    struct Elimination {
        fastarray<CliqueStep, 8, int> steps;
        std::unique_ptr<uint16_t[]> kept;  // sized for any run of the piece
        size_t keptRoom = 0;
        uint64_t total = 0;
        void Clear();
        // Room for `cliques` steps, so that no step allocates.
        void Reserve(int cliques);
    };

    bool Prepare(unsigned limit);
    void ResetGraph(bool weigh);
    void Moralize();
    void Link(int a, int b);
    void Weigh(int a, int b);
    void Unweigh(int node, int neighbour);
    // The node's clique size, 0 when over the cap: the stored size when
    // known, else computed (and stored when within the cap).
    uint32_t CliqueSize(int node) {
        const uint32_t known = records[size_t(node)].cliqueSize;
        return known != 0 ? known : CalcCliqueSize(node);
    }
    uint32_t CalcCliqueSize(int node);
    // The first node from `from` on whose bit is set in `set`, or -1.
    int NextMember(const uint64_t* set, int from) const {
        int w = from >> 6;
        if (w >= setWords) return -1;
        uint64_t bits = set[w] & (~uint64_t(0) << (from & 63));
        while (bits == 0) {
            if (++w == setWords) return -1;
            bits = set[w];
        }
        return w * 64 + __builtin_ctzll(bits);
    }
    void RemoveNode(int node);
    void AddFillIns(int node);
    bool RecordClique(int node, uint32_t size, Elimination& into);
    bool RemoveSimplicials(uint64_t bound, Elimination& into);
    int Choose(Heuristic heuristic);
    bool Eliminate(Heuristic heuristic, uint64_t bound, Elimination& into);
    void Keep(Elimination& run);
    bool Finish();
    void BuildCliques();
    void ConnectCliques();
    void CalculateStatistics() const;

    TsAdapter& adapter;
    TsClique::Pool& pool;
    fastarray<TsClique*, 32, int>& cliques;
    uint64_t sizeLimit;
    int nodeCount;
    int removedCount;
    bool weighing;  // `weights` are kept up to date
    Heuristic chosen;
    std::vector<NodeRecord> records;
    std::vector<WeightRecord> weights;
    std::vector<uint16_t> adjacencyTable;
    std::vector<uint16_t> neighbourTable;
    // Two sets of `setWords` words each in one block, a bit per node.
    fastarray<uint64_t, 2, int> setBlock;
    int setWords;
    uint64_t* presentSet;     // not removed
    uint64_t* simplicialSet;  // present and simplicial
    // The best run so far and the one under way, which trade places when
    // the latter wins.
    Elimination runs[2];
    Elimination* best;
    Elimination* trial;
    fastarray<int, 8, int> order;
};

#endif
