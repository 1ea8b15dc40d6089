// The elimination graph of the triangulator: moralisation, new edges, node
// removal, and the scores the heuristics read, all kept up to date as the
// graph changes.
//
// The graph lives in two n by n tables of 16-bit entries (adjacency and
// neighbour lists, see triangulator.h). Per node the record keeps the clique
// size (the product of its own and its neighbours' state counts, updated by
// one multiplication per new edge and one division per removed neighbour,
// recomputed only after a product went over the cap), the number of unlinked
// pairs among its neighbours and their weighted sum. A new edge changes the
// pair counts of its two ends and of their common neighbours only, which the
// link walks anyway; a removed node is always simplicial, which makes the
// change for each neighbour a difference of two sums. A pair count of 0 marks
// a simplicial node. Two bit sets, of the present nodes and of the present
// simplicial ones, let the scans that choose the next node skip the others
// a word at a time.
#include "orvil/triangulator.h"

#include <algorithm>

#include "orvil/tsadapter.h"

namespace {

// The product of a known clique size and a state count, or 0 (unknown) when
// it passes the cap or the size was unknown already.
uint32_t GrowSize(uint32_t size, uint32_t factor) {
    const uint64_t product = uint64_t(size) * factor;
    return product > TsTriangulator::cliqueSizeCap ? 0u : uint32_t(product);
}

void AddToSet(uint64_t* set, int node) { set[node >> 6] |= uint64_t(1) << (node & 63); }

void TakeFromSet(uint64_t* set, int node) { set[node >> 6] &= ~(uint64_t(1) << (node & 63)); }

// State counts weigh fill-in pairs; the bound keeps any weighted sum of a
// 32767-node graph within 64 bits.
uint32_t PairWeight(uint32_t stateCount) { return std::min(stateCount, 0xffffu); }

}  // namespace

void TsTriangulator::ResetGraph(bool weigh) {
    for (NodeRecord& r : records) {
        // Only edges still present need clearing: a removed node cleared its
        // own as it went and has no neighbours left.
        for (int i = 0; i < r.neighbourCount; ++i) r.adjacency[r.neighbours[i]] = 0;
        uint16_t* adjacency = r.adjacency;
        uint16_t* neighbours = r.neighbours;
        r = NodeRecord{};
        r.adjacency = adjacency;
        r.neighbours = neighbours;
    }
    removedCount = 0;
    weighing = weigh;
    if (weighing) weights.assign(records.size(), WeightRecord{});
    // Every node starts present and alone, so simplicial; links take that
    // away.
    std::fill(presentSet, presentSet + setWords, ~uint64_t(0));
    if (nodeCount % 64 != 0) presentSet[setWords - 1] = (uint64_t(1) << (nodeCount % 64)) - 1;
    std::copy(presentSet, presentSet + setWords, simplicialSet);
    Moralize();
}



void TsTriangulator::Moralize() {
    for (int i = 0; i < nodeCount; ++i) {
        NodeRecord& r = records[i];
        const int states = adapter.GetStateCount(i);
        // An observed node has one possible state: it is free in the size
        // measure, though it stays in the graph.
        r.stateCount = adapter.GetEvidence(i) >= 0 ? 1u : uint32_t(states > 0 ? states : 0);
        r.cliqueSize = r.stateCount;
        if (weighing) weights[size_t(i)].weight = PairWeight(r.stateCount);
    }
    fastarray<int, 24, int> parents;
    for (int i = 0; i < nodeCount; ++i) {
        adapter.GetParents(i, parents);
        // An observed parent is a fixed slice of this node's table, not a
        // dependence: the arc carries nothing and is left out, as if cut.
        for (int& p : parents) {
            if (p >= 0 && adapter.GetEvidence(p) >= 0) p = -1;
        }
        for (int p : parents) {
            if (p >= 0) Link(i, p);
        }
        for (int a = parents.Count() - 1; a > 0; --a) {
            if (parents[a] < 0) continue;
            for (int b = a - 1; b >= 0; --b) {
                if (parents[b] >= 0) Link(parents[a], parents[b]);
            }
        }
    }
}

void TsTriangulator::Link(int a, int b) {
    NodeRecord& ra = records[a];
    if (a == b || ra.adjacency[b] != 0) return;
    NodeRecord& rb = records[b];
    // A common neighbour of a and b has one unlinked pair fewer; a gains b
    // paired with each old neighbour, unlinked unless common, and b likewise.
    int common = 0;
    for (int i = 0; i < ra.neighbourCount; ++i) {
        const int w = ra.neighbours[i];
        if (rb.adjacency[w] == 0) continue;
        ++common;
        if (--records[w].fillCount == 0) AddToSet(simplicialSet, w);
    }
    ra.fillCount += ra.neighbourCount - common;
    rb.fillCount += rb.neighbourCount - common;
    if (ra.fillCount != 0) TakeFromSet(simplicialSet, a);
    if (rb.fillCount != 0) TakeFromSet(simplicialSet, b);
    if (weighing) Weigh(a, b);
    ra.neighbours[ra.neighbourCount++] = uint16_t(b);
    ra.adjacency[b] = uint16_t(ra.neighbourCount);
    rb.neighbours[rb.neighbourCount++] = uint16_t(a);
    rb.adjacency[a] = uint16_t(rb.neighbourCount);
    ra.cliqueSize = GrowSize(ra.cliqueSize, rb.stateCount);
    rb.cliqueSize = GrowSize(rb.cliqueSize, ra.stateCount);
}

// The weighted pair sums of Link, for the edge a-b about to be made.
void TsTriangulator::Weigh(int a, int b) {
    const NodeRecord& ra = records[a];
    const NodeRecord& rb = records[b];
    WeightRecord& wa = weights[size_t(a)];
    WeightRecord& wb = weights[size_t(b)];
    const uint64_t pairWeight = wa.weight * wb.weight;
    uint64_t commonWeight = 0;
    for (int i = 0; i < ra.neighbourCount; ++i) {
        const int w = ra.neighbours[i];
        if (rb.adjacency[w] == 0) continue;
        commonWeight += weights[size_t(w)].weight;
        weights[size_t(w)].weightedFill -= pairWeight;
    }
    wa.weightedFill += wb.weight * (wa.neighbourWeight - commonWeight);
    wb.weightedFill += wa.weight * (wb.neighbourWeight - commonWeight);
    wa.neighbourWeight += wb.weight;
    wb.neighbourWeight += wa.weight;
}

uint32_t TsTriangulator::CalcCliqueSize(int node) {
    NodeRecord& r = records[node];
    uint64_t product = r.stateCount;
    for (int i = r.neighbourCount - 1; i >= 0; --i) {
        product *= records[r.neighbours[i]].stateCount;
        if (product > cliqueSizeCap) return 0;
    }
    r.cliqueSize = uint32_t(product);
    return r.cliqueSize;
}

void TsTriangulator::RemoveNode(int node) {
    NodeRecord& r = records[node];
    // The node is simplicial, so its closed neighbourhood lies inside each
    // neighbour's: the unlinked pairs a neighbour loses are this node with
    // the neighbour's other neighbours outside that neighbourhood.
    for (int i = 0; i < r.neighbourCount; ++i) {
        const int nb = r.neighbours[i];
        NodeRecord& rn = records[nb];
        rn.fillCount -= rn.neighbourCount - r.neighbourCount;
        if (rn.fillCount == 0) AddToSet(simplicialSet, nb);
        if (weighing) Unweigh(node, nb);
        // Fill the gap in the neighbour's list with its last entry.
        const int gap = rn.adjacency[node] - 1;
        const int last = rn.neighbours[rn.neighbourCount - 1];
        rn.neighbours[gap] = uint16_t(last);
        rn.adjacency[last] = uint16_t(gap + 1);
        --rn.neighbourCount;
        rn.adjacency[node] = 0;
        r.adjacency[nb] = 0;
        // The removed node's own size is read no more.
        if (r.stateCount != 0) rn.cliqueSize /= r.stateCount;
    }
    r.neighbourCount = 0;
    TakeFromSet(simplicialSet, node);
    TakeFromSet(presentSet, node);
    ++removedCount;
}

// The weighted pair sums of RemoveNode, for `neighbour` losing the simplicial
// `node`.
void TsTriangulator::Unweigh(int node, int neighbour) {
    const WeightRecord& w = weights[size_t(node)];
    WeightRecord& wn = weights[size_t(neighbour)];
    wn.weightedFill -= w.weight * ((wn.neighbourWeight + wn.weight) - (w.neighbourWeight + w.weight));
    wn.neighbourWeight -= w.weight;
}

void TsTriangulator::AddFillIns(int node) {
    const NodeRecord& r = records[node];
    for (int i = 0; i < r.neighbourCount; ++i) {
        for (int j = i + 1; j < r.neighbourCount; ++j) Link(r.neighbours[i], r.neighbours[j]);
    }
}
