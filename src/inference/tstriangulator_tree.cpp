// The triangulator's output: cliques made from the pool for the winning
// elimination order, linked into one tree, and the figures that the
// statistics callback hears.
//
// A clique's parent is the first later clique that holds its whole
// separator; the lists of cliques holding each node, in creation order, make
// that a short search from the separator's first node.
#include "orvil/triangulator.h"

#include <algorithm>

#include "orvil/tsadapter.h"

bool TsTriangulator::Finish() {
    BuildCliques();
    ConnectCliques();
    if (TsTriangulatorStatsFunc != nullptr) CalculateStatistics();
    return true;
}

void TsTriangulator::BuildCliques() {
    for (const CliqueStep& step : best->steps) {
        TsClique* clique = pool.Create(step.size, step.eliminated);
        for (int i = step.memberCount - 1; i >= 0; --i) {
            const int node = step.members[i] & ~separatorBit;
            clique->AddNode(node);
            if ((step.members[i] & separatorBit) != 0) clique->AddSeparatorNode(node);
        }
        cliques.Add(clique);
        order.Add(step.eliminated);
    }
}

void TsTriangulator::ConnectCliques() {
    const int count = cliques.Count();
    if (count == 0) return;
    // For each node, the cliques that hold it, in creation order: a clique's
    // parent is the first later clique holding its whole separator, and that
    // clique holds the separator's first node in particular.
    // One block: where each node's run of holders starts (n + 1), the next
    // free place of each run (n), then the runs.
    const size_t n = size_t(nodeCount);
    size_t memberships = 0;
    for (int c = 0; c < count; ++c) memberships += size_t(cliques[c]->nodes.count);
    std::vector<int> block(2 * n + 1 + memberships, 0);
    int* const start = block.data();
    int* const fill = start + n + 1;
    int* const holders = fill + n;
    for (int c = 0; c < count; ++c) {
        const TsClique& clique = *cliques[c];
        for (int i = 0; i < clique.nodes.count; ++i) ++start[size_t(clique.nodes[i]) + 1];
    }
    for (size_t v = 0; v < n; ++v) {
        start[v + 1] += start[v];
        fill[v] = start[v];
    }
    for (int c = 0; c < count; ++c) {
        const TsClique& clique = *cliques[c];
        for (int i = 0; i < clique.nodes.count; ++i) holders[fill[size_t(clique.nodes[i])]++] = c;
    }
    for (int c = 0; c + 1 < count; ++c) {
        TsClique* clique = cliques[c];
        TsClique* parent = nullptr;
        if (clique->separator.count == 0) {
            // An empty separator matches the next clique: one tree always.
            parent = cliques[c + 1];
        } else {
            const int first = clique->separator[0];
            const int* begin = holders + start[size_t(first)];
            const int* end = holders + start[size_t(first) + 1];
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
    stats.cliqueCount = cliques.Count();
    stats.totalSize = uint32_t(best->total);
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
