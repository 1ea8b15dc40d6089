// Triangulation of one piece: which elimination orders are run, how one run
// chooses its nodes, and what it records of the cliques it would make.
//
// A run works on the graph of tstriangulator_graph.cpp and makes no clique.
// It records each clique as its maker, its size and the maker's neighbour
// list, which stays in the graph tables after the maker's removal, with the
// members that stay in the graph marked. When no trial follows, the cliques
// are made straight from those lists, so small pieces pay no copy; an order
// that has to outlive the next run is copied out first (Keep). The pool of
// cliques is drawn from once, for the order that wins
// (tstriangulator_tree.cpp). Every run starts from the same moral graph.
#include "orvil/triangulator.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "orvil/tsadapter.h"

TsTriangulatorStatsCallback TsTriangulatorStatsFunc = nullptr;

void TsTriangulator::Elimination::Clear() {
    steps.Clear();
    total = 0;
}

void TsTriangulator::Elimination::Reserve(int cliques) {
    // Shrinking keeps the store.
    steps.SetCount(cliques);
    steps.Clear();
}

TsTriangulator::TsTriangulator(TsAdapter& adapter, TsClique::Pool& pool,
                               fastarray<TsClique*, 32, int>& cliques)
    : adapter(adapter),
      pool(pool),
      cliques(cliques),
      sizeLimit(0),
      nodeCount(adapter.GetNodeCount()),
      removedCount(0),
      weighing(false),
      chosen(minSize),
      setWords(0),
      presentSet(nullptr),
      simplicialSet(nullptr),
      best(&runs[0]),
      trial(&runs[1]) {}

TsTriangulator::~TsTriangulator() = default;

bool TsTriangulator::Triangulate(unsigned limit) {
    if (!Prepare(limit)) return false;
    bool found = Eliminate(minSize, sizeLimit, *best);
    if (found && best->total <= TrialThreshold(nodeCount)) return Finish();
    if (found) Keep(*best);
    trial->Reserve(nodeCount);
    // The total a trial has to get under: the classic order gives way only
    // to a clearly smaller one, a trial's to any smaller one. A trial stops
    // as soon as it reaches it.
    uint64_t beat = found ? best->total - best->total / classicMargin : sizeLimit + 1;
    for (Heuristic heuristic : {minFill, weightedMinFill}) {
        if (!Eliminate(heuristic, beat - 1, *trial)) continue;
        Keep(*trial);
        std::swap(best, trial);
        chosen = heuristic;
        found = true;
        beat = best->total;
    }
    return found && Finish();
}

uint64_t TsTriangulator::TrialThreshold(int nodes) {
    const uint64_t square = uint64_t(nodes) * uint64_t(nodes);
    return std::max(trialThreshold, trialCellsPerNodeSquared * square);
}

bool TsTriangulator::TriangulateWith(Heuristic heuristic, unsigned limit) {
    if (!Prepare(limit)) return false;
    chosen = heuristic;
    return Eliminate(heuristic, sizeLimit, *best) && Finish();
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
    setWords = (nodeCount + 63) / 64;
    setBlock.SetCount(2 * setWords);
    presentSet = setBlock.Items();
    simplicialSet = presentSet + setWords;
    best->Reserve(nodeCount);
    return true;
}

bool TsTriangulator::Eliminate(Heuristic heuristic, uint64_t bound, Elimination& into) {
    into.Clear();
    ResetGraph(heuristic == weightedMinFill);
    for (;;) {
        if (!RemoveSimplicials(bound, into)) return false;
        if (removedCount == nodeCount) return true;
        const int next = Choose(heuristic);
        if (next < 0) return false;
        AddFillIns(next);
        // Fill-ins link the node's neighbours, not the node: its size stands.
        if (!RecordClique(next, CliqueSize(next), into) || into.total > bound) return false;
    }
}

bool TsTriangulator::RemoveSimplicials(uint64_t bound, Elimination& into) {
    for (;;) {
        bool added = false;
        for (int v = NextMember(simplicialSet, 0); v >= 0; v = NextMember(simplicialSet, v + 1)) {
            const uint32_t size = CliqueSize(v);
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
    for (int v = NextMember(presentSet, 0); v >= 0; v = NextMember(presentSet, v + 1)) {
        const NodeRecord& r = records[v];
        // The classic rule may choose a node whose clique would pass the
        // 30-node limit, and then fails; the trials pass over such nodes,
        // looking for an order that avoids them.
        if (heuristic != minSize && r.neighbourCount >= TsMatrix::maxDims) continue;
        uint64_t key = 0;
        if (heuristic == minFill) key = uint64_t(r.fillCount);
        if (heuristic == weightedMinFill) key = weights[size_t(v)].weightedFill;
        // The size is needed only to settle a tie or to rule out a node over
        // the cap that would otherwise win.
        if (best >= 0 && key > bestKey) continue;
        const uint32_t size = CliqueSize(v);
        if (size == 0) continue;
        if (best < 0 || key < bestKey || size < bestSize) {
            best = v;
            bestKey = key;
            bestSize = size;
        }
    }
    return best;
}

bool TsTriangulator::RecordClique(int node, uint32_t size, Elimination& into) {
    NodeRecord& r = records[node];
    const int degree = r.neighbourCount;
    RemoveNode(node);
    // The node's own list stays readable after its removal, and no one else
    // reads it: it becomes the clique's member list.
    int left = degree - 1;
    for (int i = degree - 1; i >= 0; --i) {
        if (degree - i >= TsMatrix::maxDims) return false;
        const int nb = r.neighbours[i];
        if (records[nb].neighbourCount == left) {
            // No neighbour outside this clique: it is done with too.
            RemoveNode(nb);
            --left;
        } else {
            r.neighbours[i] = uint16_t(nb | separatorBit);
        }
    }
    into.steps.SetCount(into.steps.Count() + 1);
    CliqueStep& step = into.steps.Last();
    step.eliminated = node;
    step.size = size;
    step.memberCount = degree;
    step.members = r.neighbours;
    into.total += size;
    return true;
}

void TsTriangulator::Keep(Elimination& run) {
    // A clique per node at most, each with at most 29 members besides its
    // maker (a run that needs more fails).
    const int perClique = nodeCount > TsMatrix::maxDims ? TsMatrix::maxDims - 1 : nodeCount - 1;
    const size_t room = size_t(nodeCount) * size_t(perClique > 0 ? perClique : 0);
    if (run.keptRoom < room) {
        run.kept.reset(new uint16_t[room]);
        run.keptRoom = room;
    }
    uint16_t* out = run.kept.get();
    for (CliqueStep& step : run.steps) {
        std::copy(step.members, step.members + step.memberCount, out);
        step.members = out;
        out += step.memberCount;
    }
}
