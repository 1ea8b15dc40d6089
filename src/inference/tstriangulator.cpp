// Triangulation of one piece: which elimination orders are run, how one run
// chooses its nodes, and what it records of the cliques it would make.
//
// A run works on the graph of tstriangulator_graph.cpp and writes its cliques
// into an Elimination record (maker, size, and the neighbours that join,
// marked as separator or done with) instead of making them, so that trial
// runs cost only graph work and the pool of cliques is drawn from once, for
// the order that wins (tstriangulator_tree.cpp). Every run of one
// triangulation starts from the same moral graph.
#include "orvil/triangulator.h"

#include <cstddef>
#include <utility>

#include "orvil/tsadapter.h"

TsTriangulatorStatsCallback TsTriangulatorStatsFunc = nullptr;

void TsTriangulator::Elimination::Clear() {
    steps.clear();
    members.clear();
    total = 0;
}

TsTriangulator::TsTriangulator(TsAdapter& adapter, TsClique::Pool& pool,
                               fastarray<TsClique*, 32, int>& cliques)
    : adapter(adapter),
      pool(pool),
      cliques(cliques),
      sizeLimit(0),
      nodeCount(adapter.GetNodeCount()),
      removedCount(0),
      chosen(minSize) {}

TsTriangulator::~TsTriangulator() = default;

bool TsTriangulator::Triangulate(unsigned limit) {
    if (!Prepare(limit)) return false;
    bool found = Eliminate(minSize, sizeLimit, best);
    if (found && best.total <= trialThreshold) return Finish();
    for (Heuristic heuristic : {minFill, weightedMinFill}) {
        // Only a strictly smaller total replaces the best order, so a trial
        // can stop as soon as it reaches the best total.
        const uint64_t bound = found ? best.total - 1 : sizeLimit;
        ResetGraph();
        if (!Eliminate(heuristic, bound, trial)) continue;
        std::swap(best, trial);
        chosen = heuristic;
        found = true;
    }
    return found && Finish();
}

bool TsTriangulator::TriangulateWith(Heuristic heuristic, unsigned limit) {
    if (!Prepare(limit)) return false;
    chosen = heuristic;
    return Eliminate(heuristic, sizeLimit, best) && Finish();
}

bool TsTriangulator::Prepare(unsigned limit) {
    cliques.Clear();
    order.Clear();
    chosen = minSize;
    if (nodeCount > maxNodes) return false;
    sizeLimit = limit == 0 ? defaultSizeLimit : limit;
    const size_t n = size_t(nodeCount);
    records.assign(n, NodeRecord{});
    adjacencyTable.assign(n * n, 0);
    neighbourTable.resize(n * (n > 0 ? n - 1 : 0));
    for (int i = 0; i < nodeCount; ++i) {
        records[i].adjacency = adjacencyTable.data() + size_t(i) * n;
        records[i].neighbours = neighbourTable.data() + size_t(i) * (n - 1);
    }
    ResetGraph();
    return true;
}

bool TsTriangulator::Eliminate(Heuristic heuristic, uint64_t bound, Elimination& into) {
    into.Clear();
    for (;;) {
        if (!RemoveSimplicials(bound, into)) return false;
        if (removedCount == nodeCount) return true;
        const int next = Choose(heuristic);
        if (next < 0) return false;
        AddFillIns(next);
        // Fill-ins link the node's neighbours, not the node: its size stands.
        if (!RecordClique(next, CalcCliqueSize(next), into) || into.total > bound) return false;
    }
}

bool TsTriangulator::RemoveSimplicials(uint64_t bound, Elimination& into) {
    for (;;) {
        bool added = false;
        for (int v = 0; v < nodeCount; ++v) {
            const NodeRecord& r = records[v];
            if (r.removed || r.fillCount != 0) continue;
            const uint32_t size = CalcCliqueSize(v);
            if (size == 0 || !RecordClique(v, size, into) || into.total > bound) return false;
            added = true;
        }
        if (!added) return true;
    }
}

int TsTriangulator::Choose(Heuristic heuristic) {
    int best = -1;
    uint64_t bestKey = 0;
    uint32_t bestSize = 0;
    for (int v = 0; v < nodeCount; ++v) {
        const NodeRecord& r = records[v];
        if (r.removed) continue;
        // The classic rule keeps its old behaviour and fails on such a node;
        // the trials look for an order that avoids it.
        if (heuristic != minSize && r.neighbourCount >= TsMatrix::maxDims) continue;
        const uint32_t size = CalcCliqueSize(v);
        if (size == 0) continue;
        uint64_t key = 0;
        if (heuristic == minFill) key = uint64_t(r.fillCount);
        if (heuristic == weightedMinFill) key = r.weightedFill;
        if (best < 0 || key < bestKey || (key == bestKey && size < bestSize)) {
            best = v;
            bestKey = key;
            bestSize = size;
        }
    }
    return best;
}

bool TsTriangulator::RecordClique(int node, uint32_t size, Elimination& into) {
    CliqueStep step{node, size, int(into.members.size()), 0};
    const NodeRecord& r = records[node];
    const int degree = r.neighbourCount;
    RemoveNode(node);
    // The node's own list stays readable after its removal.
    int left = degree - 1;
    bool fits = true;
    for (int i = degree - 1; i >= 0; --i) {
        if (step.memberCount + 1 >= TsMatrix::maxDims) {
            fits = false;
            break;
        }
        const int nb = r.neighbours[i];
        // No neighbour outside this clique: it is done with too.
        const bool done = records[nb].neighbourCount == left;
        if (done) {
            RemoveNode(nb);
            --left;
        }
        into.members.push_back(Member{uint16_t(nb), !done});
        ++step.memberCount;
    }
    into.steps.push_back(step);
    into.total += size;
    return fits;
}
