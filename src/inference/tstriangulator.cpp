// Triangulation of one piece: moralisation, greedy elimination under the
// size budget, and the linking of the cliques into a tree.
//
// The graph lives in two n by n tables of 16-bit entries (adjacency and
// neighbour lists, see triangulator.h). Clique sizes are kept per node as the
// product of its own and its neighbours' state counts, updated by one
// multiplication per new edge and one division per removed neighbour, and
// recomputed only after a product went over the cap. Simplicial tests are
// remembered per node until something around the node changes, so the
// repeated passes over all nodes cost little once the graph settles.
#include "orvil/triangulator.h"

#include <algorithm>
#include <memory>

#include "orvil/tsadapter.h"

TsTriangulatorStatsCallback TsTriangulatorStatsFunc = nullptr;

namespace {

// The product of a known clique size and a state count, or 0 (unknown) when
// it passes the cap or the size was unknown already.
uint32_t GrowSize(uint32_t size, uint32_t factor) {
    const uint64_t product = uint64_t(size) * factor;
    return product > TsTriangulator::cliqueSizeCap ? 0u : uint32_t(product);
}

}  // namespace

TsTriangulator::TsTriangulator(TsAdapter& adapter, TsClique::Pool& pool,
                               fastarray<TsClique*, 32, int>& cliques)
    : adapter(adapter),
      pool(pool),
      cliques(cliques),
      totalSize(0),
      sizeLimit(0),
      nodeCount(adapter.GetNodeCount()),
      removedCount(0),
      cliqueCount(0) {}

TsTriangulator::~TsTriangulator() = default;

bool TsTriangulator::Triangulate(unsigned limit) {
    if (nodeCount > maxNodes) return false;
    sizeLimit = limit == 0 ? defaultSizeLimit : limit;
    const size_t n = size_t(nodeCount);
    records.assign(n, NodeRecord{});
    adjacencyTable.assign(n * n, 0);
    neighbourTable.resize(n * (n > 0 ? n - 1 : 0));
    cliques.Clear();
    order.Clear();
    totalSize = 0;
    removedCount = 0;
    cliqueCount = 0;
    for (int i = 0; i < nodeCount; ++i) {
        records[i].adjacency = adjacencyTable.data() + size_t(i) * n;
        records[i].neighbours = neighbourTable.data() + size_t(i) * (n - 1);
    }
    Moralize();
    if (!HeuristicSearch()) return false;
    ConnectCliques();
    if (TsTriangulatorStatsFunc != nullptr) CalculateStatistics();
    return true;
}

void TsTriangulator::Moralize() {
    for (int i = 0; i < nodeCount; ++i) {
        NodeRecord& r = records[i];
        const int states = adapter.GetStateCount(i);
        // An observed node has one possible state: it is free in the size
        // measure, though it stays in the graph.
        r.stateCount = adapter.GetEvidence(i) >= 0 ? 1u : uint32_t(states > 0 ? states : 0);
        r.cliqueSize = r.stateCount;
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
    ra.neighbours[ra.neighbourCount++] = uint16_t(b);
    ra.adjacency[b] = uint16_t(ra.neighbourCount);
    rb.neighbours[rb.neighbourCount++] = uint16_t(a);
    rb.adjacency[a] = uint16_t(rb.neighbourCount);
    ra.cliqueSize = GrowSize(ra.cliqueSize, rb.stateCount);
    rb.cliqueSize = GrowSize(rb.cliqueSize, ra.stateCount);
    Touch(a);
    Touch(b);
    // A node that sees both ends now has one more edge among its neighbours.
    for (int i = 0; i < ra.neighbourCount; ++i) {
        const int w = ra.neighbours[i];
        if (rb.adjacency[w] != 0) Touch(w);
    }
}

void TsTriangulator::Touch(int node) { records[node].simplicialChecked = false; }

uint32_t TsTriangulator::CalcCliqueSize(int node) {
    NodeRecord& r = records[node];
    if (r.cliqueSize != 0) return r.cliqueSize;
    uint64_t product = r.stateCount;
    for (int i = r.neighbourCount - 1; i >= 0; --i) {
        product *= records[r.neighbours[i]].stateCount;
        if (product > cliqueSizeCap) return 0;
    }
    r.cliqueSize = uint32_t(product);
    return r.cliqueSize;
}

bool TsTriangulator::IsSimplicial(int node) const {
    const NodeRecord& r = records[node];
    for (int i = 0; i < r.neighbourCount; ++i) {
        const uint16_t* row = records[r.neighbours[i]].adjacency;
        for (int j = i + 1; j < r.neighbourCount; ++j) {
            if (row[r.neighbours[j]] == 0) return false;
        }
    }
    return true;
}

void TsTriangulator::RemoveNode(int node) {
    NodeRecord& r = records[node];
    for (int i = 0; i < r.neighbourCount; ++i) {
        const int nb = r.neighbours[i];
        NodeRecord& rn = records[nb];
        // Fill the gap in the neighbour's list with its last entry.
        const int gap = rn.adjacency[node] - 1;
        const int last = rn.neighbours[rn.neighbourCount - 1];
        rn.neighbours[gap] = uint16_t(last);
        rn.adjacency[last] = uint16_t(gap + 1);
        --rn.neighbourCount;
        rn.adjacency[node] = 0;
        r.adjacency[nb] = 0;
        if (r.stateCount != 0) rn.cliqueSize /= r.stateCount;
        if (rn.stateCount != 0) r.cliqueSize /= rn.stateCount;
        Touch(nb);
    }
    r.neighbourCount = 0;
    r.removed = true;
    ++removedCount;
}

void TsTriangulator::AddFillIns(int node) {
    const NodeRecord& r = records[node];
    for (int i = 0; i < r.neighbourCount; ++i) {
        for (int j = i + 1; j < r.neighbourCount; ++j) Link(r.neighbours[i], r.neighbours[j]);
    }
}

bool TsTriangulator::AddClique(int node, uint32_t size) {
    order.Add(node);
    TsClique* clique = pool.Create(size, node);
    const NodeRecord& r = records[node];
    const int degree = r.neighbourCount;
    RemoveNode(node);
    // The node's own list stays readable after its removal.
    int left = degree - 1;
    bool fits = true;
    for (int i = degree - 1; i >= 0; --i) {
        if (clique->nodes.count >= TsMatrix::maxDims) {
            fits = false;
            break;
        }
        const int nb = r.neighbours[i];
        clique->AddNode(nb);
        if (records[nb].neighbourCount == left) {
            // No neighbour outside this clique: it is done with too.
            RemoveNode(nb);
            --left;
        } else {
            clique->AddSeparatorNode(nb);
        }
    }
    cliques.Add(clique);
    ++cliqueCount;
    totalSize += size;
    return fits;
}

bool TsTriangulator::RemoveSimplicials() {
    for (;;) {
        bool added = false;
        for (int v = 0; v < nodeCount; ++v) {
            NodeRecord& r = records[v];
            if (r.removed || r.simplicialChecked) continue;
            if (!IsSimplicial(v)) {
                r.simplicialChecked = true;
                continue;
            }
            const uint32_t size = CalcCliqueSize(v);
            if (size == 0 || !AddClique(v, size)) return false;
            added = true;
        }
        if (!added) return true;
    }
}

bool TsTriangulator::HeuristicSearch() {
    for (;;) {
        if (!RemoveSimplicials()) return false;
        if (removedCount == nodeCount) return totalSize <= sizeLimit;
        int best = -1;
        uint32_t bestSize = 0;
        for (int v = 0; v < nodeCount; ++v) {
            if (records[v].removed) continue;
            const uint32_t size = CalcCliqueSize(v);
            if (size != 0 && (best < 0 || size < bestSize)) {
                best = v;
                bestSize = size;
            }
        }
        if (best < 0) return false;
        AddFillIns(best);
        if (!AddClique(best, bestSize)) return false;
        if (totalSize > sizeLimit) return false;
    }
}

void TsTriangulator::ConnectCliques() {
    const int count = cliques.Count();
    if (count == 0) return;
    // For each node, the cliques that hold it, in creation order: a clique's
    // parent is the first later clique holding its whole separator, and that
    // clique holds the separator's first node in particular.
    std::vector<int> start(size_t(nodeCount) + 1, 0);
    for (int c = 0; c < count; ++c) {
        const TsClique& clique = *cliques[c];
        for (int i = 0; i < clique.nodes.count; ++i) ++start[size_t(clique.nodes[i]) + 1];
    }
    for (int v = 0; v < nodeCount; ++v) start[size_t(v) + 1] += start[size_t(v)];
    std::vector<int> holders(static_cast<size_t>(start.back()));
    std::vector<int> fill(start.begin(), start.end() - 1);
    for (int c = 0; c < count; ++c) {
        const TsClique& clique = *cliques[c];
        for (int i = 0; i < clique.nodes.count; ++i) holders[size_t(fill[size_t(clique.nodes[i])]++)] = c;
    }
    for (int c = 0; c + 1 < count; ++c) {
        TsClique* clique = cliques[c];
        TsClique* parent = nullptr;
        if (clique->separator.count == 0) {
            // An empty separator matches the next clique: one tree always.
            parent = cliques[c + 1];
        } else {
            const int first = clique->separator[0];
            const int* begin = holders.data() + start[size_t(first)];
            const int* end = holders.data() + start[size_t(first) + 1];
            for (const int* h = std::upper_bound(begin, end, c); h != end; ++h) {
                if (cliques[*h]->CheckSubset(*clique)) {
                    parent = cliques[*h];
                    break;
                }
            }
        }
        if (parent != nullptr) clique->SetParent(parent);
        clique->SortNodes();
    }
    cliques[count - 1]->SortNodes();
}

void TsTriangulator::CalculateStatistics() const {
    TsTriangulatorStats stats{};
    stats.nodeCount = nodeCount;
    stats.sizeLimit = uint32_t(sizeLimit);
    stats.cliqueCount = cliqueCount;
    stats.totalSize = uint32_t(totalSize);
    stats.totalSeparatorSize = 0;
    for (int c = 0; c < cliques.Count(); ++c) {
        const TsClique& clique = *cliques[c];
        stats.cliqueSizes.push_back(clique.size);
        stats.maxCliqueSize = std::max(stats.maxCliqueSize, clique.size);
        stats.maxCliqueNodes = std::max(stats.maxCliqueNodes, int32_t(clique.nodes.count));
        if (clique.parent == nullptr) continue;
        uint64_t separatorSize = 1;
        for (int i = 0; i < clique.separator.count; ++i) {
            separatorSize *= uint64_t(adapter.GetStateCount(clique.separator[i]));
        }
        const uint32_t size32 = separatorSize > 0xffffffffu ? 0xffffffffu : uint32_t(separatorSize);
        stats.totalSeparatorSize += size32;
        stats.maxSeparatorSize = std::max(stats.maxSeparatorSize, size32);
        stats.maxSeparatorNodes = std::max(stats.maxSeparatorNodes, int32_t(clique.separator.count));
    }
    TsTriangulatorStatsFunc(&stats);
}
