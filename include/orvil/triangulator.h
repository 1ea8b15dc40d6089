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
// them. Each step removes the
// simplicial nodes, then eliminates the node whose clique would be smallest;
// the running total of clique sizes is checked as it grows, so a hopeless
// triangulation stops early. The result is the cliques, linked into a tree.
//
// TsTriangulatorStatsFunc, when set, hears the figures of every successful
// triangulation.
#ifndef ORVIL_TRIANGULATOR_H
#define ORVIL_TRIANGULATOR_H

#include <cstdint>
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
    // Largest product of state counts a clique may have.
    static constexpr uint32_t cliqueSizeCap = 0x40000000u;
    // The budget that a size limit of 0 stands for.
    static constexpr uint32_t defaultSizeLimit = 0x10000000u;
    // The 16-bit graph tables bound a piece to this many nodes.
    static constexpr int maxNodes = 32767;

    // Cliques are taken from `pool` and appended to `cliques` in creation
    // order.
    TsTriangulator(TsAdapter& adapter, TsClique::Pool& pool, fastarray<TsClique*, 32, int>& cliques);
    TsTriangulator(const TsTriangulator&) = delete;
    TsTriangulator& operator=(const TsTriangulator&) = delete;
    ~TsTriangulator();

    // Triangulates within `sizeLimit` cells in total (0: the default
    // budget). False when the budget, the clique size cap or the 30-node
    // limit of a clique is exceeded; on success the cliques form one tree
    // whose root is the last clique made.
    bool Triangulate(unsigned sizeLimit);

    // The nodes in the order they were eliminated as clique makers.
    const fastarray<int, 8, int>& GetEliminationOrder() const { return order; }

private:
    struct NodeRecord {
        uint16_t* adjacency;
        uint16_t* neighbours;
        uint32_t cliqueSize;
        int32_t neighbourCount;
        uint32_t stateCount;
        bool removed;
        bool simplicialChecked;  // known not simplicial since its last change
    };

    void Moralize();
    void Link(int a, int b);
    void Touch(int node);
    uint32_t CalcCliqueSize(int node);
    bool IsSimplicial(int node) const;
    void RemoveNode(int node);
    void AddFillIns(int node);
    bool AddClique(int node, uint32_t size);
    bool RemoveSimplicials();
    bool HeuristicSearch();
    void ConnectCliques();
    void CalculateStatistics() const;

    TsAdapter& adapter;
    TsClique::Pool& pool;
    fastarray<TsClique*, 32, int>& cliques;
    uint64_t totalSize;
    uint64_t sizeLimit;
    int nodeCount;
    int removedCount;
    int cliqueCount;
    std::vector<NodeRecord> records;
    std::vector<uint16_t> adjacencyTable;
    std::vector<uint16_t> neighbourTable;
    fastarray<int, 8, int> order;
};

#endif
