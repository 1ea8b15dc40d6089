// Triangulation: the cliques of random pieces form a join tree of the moral
// graph, the greedy choice follows the smallest clique and the lowest number,
// the hard limits hold, and the statistics describe what was built.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "jointree_fixture.h"
#include "orvil/jointree.h"
#include "orvil/triangulator.h"

namespace {

using jointree_test::BuildPiece;
using jointree_test::CollectingAdapter;
using jointree_test::ModelDescription;
using jointree_test::RandomModel;
using jointree_test::RandomOptions;

// A piece for triangulation only: the given parents and state counts, with a
// one-dimensional table per node (the triangulator reads no cells).
ModelDescription Structure(const std::vector<int>& states) {
    ModelDescription model;
    model.states = states;
    model.parents.assign(states.size(), {});
    model.tables.resize(states.size());
    model.evidence.assign(states.size(), -1);
    for (size_t i = 0; i < states.size(); ++i) model.tables[i].assign(size_t(states[i]), 1.0 / states[i]);
    return model;
}

// BuildPiece of a Structure, with the arcs of `parents` recorded without
// widening the tables.
std::unique_ptr<QEL_rNetwork> BuildStructure(const ModelDescription& model, const std::vector<std::vector<int>>& parents) {
    auto piece = BuildPiece(model);
    for (size_t i = 0; i < parents.size(); ++i) {
        for (int p : parents[i]) {
            piece->nodes[int(i)]->parents.Add(piece->nodes[p]);
            piece->nodes[p]->children.Add(piece->nodes[int(i)]);
        }
    }
    return piece;
}

struct Triangulation {
    bool ok = false;
    std::vector<TsClique*> cliques;  // creation order
    std::vector<int> order;
};

class TriangulatorRun {
public:
    explicit TriangulatorRun(QEL_rNetwork& piece) : adapter(piece), pool(piece.nodes.Count()) {}

    Triangulation Run(unsigned limit) {
        TsTriangulator triangulator(adapter, pool, list);
        Triangulation t;
        t.ok = triangulator.Triangulate(limit);
        t.cliques.assign(list.begin(), list.end());
        const fastarray<int, 8, int>& order = triangulator.GetEliminationOrder();
        t.order.assign(order.begin(), order.end());
        return t;
    }

    CollectingAdapter adapter;
    TsClique::Pool pool;
    fastarray<TsClique*, 32, int> list;
};

std::set<int> NodesOf(const TsClique& c) { return std::set<int>(c.nodes.items, c.nodes.items + c.nodes.count); }

// On random pieces with evidence: families lie in cliques (observed parents
// aside, whose arcs carry nothing), separators are
// exactly what a clique shares with the cliques made after it and lie in the
// parent, the cliques holding any node form one subtree, sizes are the
// products of the state counts (one for an observed node), lists are sorted.
TEST(TriangulatorTest, RandomPiecesGiveJoinTrees) {
    std::mt19937 rng(1357);
    RandomOptions options;
    options.maxNodes = 14;
    options.maxParents = 4;
    for (int round = 0; round < 300; ++round) {
        options.evidenceShare = (round % 3) * 0.2;
        const ModelDescription model = RandomModel(rng, options);
        auto piece = BuildPiece(model);
        TriangulatorRun run(*piece);
        const Triangulation t = run.Run(0xffffffffu);
        ASSERT_TRUE(t.ok);
        const int n = int(model.states.size());
        const int count = int(t.cliques.size());
        ASSERT_GT(count, 0);
        ASSERT_LE(count, n);
        EXPECT_EQ(t.cliques.back()->parent, nullptr);

        std::vector<int> position(size_t(n), -1);
        for (int c = 0; c < count; ++c) {
            const TsClique& clique = *t.cliques[size_t(c)];
            EXPECT_TRUE(std::is_sorted(clique.nodes.items, clique.nodes.items + clique.nodes.count));
            EXPECT_TRUE(std::is_sorted(clique.separator.items, clique.separator.items + clique.separator.count));
            EXPECT_EQ(t.order[size_t(c)], clique.eliminated);
            const std::set<int> nodes = NodesOf(clique);
            EXPECT_EQ(nodes.count(clique.eliminated), 1u);
            uint64_t size = 1;
            for (int v : nodes) size *= uint64_t(model.evidence[size_t(v)] >= 0 ? 1 : model.states[size_t(v)]);
            EXPECT_EQ(uint64_t(clique.size), size);
            std::set<int> later;
            for (int d = c + 1; d < count; ++d) {
                const std::set<int> other = NodesOf(*t.cliques[size_t(d)]);
                later.insert(other.begin(), other.end());
            }
            std::set<int> shared;
            std::set_intersection(nodes.begin(), nodes.end(), later.begin(), later.end(),
                                  std::inserter(shared, shared.begin()));
            EXPECT_EQ(std::set<int>(clique.separator.items, clique.separator.items + clique.separator.count), shared);
            if (c + 1 < count) {
                ASSERT_NE(clique.parent, nullptr);
                const std::set<int> parentNodes = NodesOf(*clique.parent);
                EXPECT_TRUE(std::includes(parentNodes.begin(), parentNodes.end(), shared.begin(), shared.end()));
                EXPECT_GT(std::find(t.cliques.begin(), t.cliques.end(), clique.parent) - t.cliques.begin(), c);
            }
        }
        for (int v = 0; v < n; ++v) {
            std::set<int> family{v};
            for (int p : model.parents[size_t(v)]) {
                if (model.evidence[size_t(p)] < 0) family.insert(p);
            }
            bool held = false;
            std::vector<const TsClique*> holders;
            for (const TsClique* clique : t.cliques) {
                const std::set<int> nodes = NodesOf(*clique);
                held = held || std::includes(nodes.begin(), nodes.end(), family.begin(), family.end());
                if (nodes.count(v)) holders.push_back(clique);
            }
            EXPECT_TRUE(held) << "family of " << v << " round " << round;
            // One subtree: all holders but one have their parent among the holders.
            int tops = 0;
            for (const TsClique* h : holders) {
                if (std::find(holders.begin(), holders.end(), h->parent) == holders.end()) ++tops;
            }
            EXPECT_EQ(tops, 1) << "node " << v << " round " << round;
        }
    }
}

// A chordless square of binary nodes (0-1-2-3, under a simplicial node 4 that
// marries 0 and 3) has no simplicial node; every clique would have 8 cells, so
// the lowest number goes first. A node with more states makes its neighbours'
// cliques bigger, and the smallest then goes first whatever its number.
TEST(TriangulatorTest, GreedyChoiceTakesSmallestThenLowest) {
    for (int shift = 0; shift < 4; ++shift) {
        // Square nodes renumbered by a rotation.
        auto id = [&](int k) { return (k + shift) % 4; };
        std::vector<std::vector<int>> parents(5);
        parents[size_t(id(1))] = {id(0)};
        parents[size_t(id(2))] = {id(1)};
        parents[size_t(id(3))] = {id(2)};
        parents[4] = {id(3), id(0)};
        auto piece = BuildStructure(Structure({2, 2, 2, 2, 2}), parents);
        TriangulatorRun run(*piece);
        const Triangulation t = run.Run(0);
        ASSERT_TRUE(t.ok);
        ASSERT_GE(t.order.size(), 2u);
        EXPECT_EQ(t.order[0], 4);
        EXPECT_EQ(t.order[1], 0) << "shift " << shift;
    }
    std::vector<std::vector<int>> parents(5);
    parents[1] = {0};
    parents[2] = {1};
    parents[3] = {2};
    parents[4] = {3, 0};
    // Node 0 has three states: the cliques of 0, 1 and 3 hold 12 cells, that of 2 holds 8.
    auto piece = BuildStructure(Structure({3, 2, 2, 2, 2}), parents);
    TriangulatorRun run(*piece);
    const Triangulation t = run.Run(0);
    ASSERT_TRUE(t.ok);
    EXPECT_EQ(t.order[1], 2);
}

// The hard limits: a complete graph of 30 binary nodes is one clique of
// 2^30 cells, within the cap but over the default budget; 31 such nodes
// exceed the cap; 31 nodes of which 20 have a single state are small but do
// not fit the 30 places of a clique.
TEST(TriangulatorTest, CliqueCapNodeLimitAndObservedParents) {
    auto complete = [](int n) {
        std::vector<std::vector<int>> parents(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < i; ++j) parents[size_t(i)].push_back(j);
        }
        return parents;
    };
    {
        const auto parents = complete(30);
        auto piece = BuildStructure(Structure(std::vector<int>(30, 2)), parents);
        TriangulatorRun strict(*piece);
        EXPECT_FALSE(strict.Run(0).ok);
        TriangulatorRun open(*piece);
        const Triangulation t = open.Run(0xffffffffu);
        ASSERT_TRUE(t.ok);
        ASSERT_EQ(t.cliques.size(), 1u);
        EXPECT_EQ(t.cliques[0]->nodes.count, 30);
        EXPECT_EQ(t.cliques[0]->size, 1u << 30);
    }
    {
        const auto parents = complete(31);
        auto piece = BuildStructure(Structure(std::vector<int>(31, 2)), parents);
        TriangulatorRun open(*piece);
        EXPECT_FALSE(open.Run(0xffffffffu).ok);
    }
    {
        // Twenty single-state nodes keep the product small but not the count.
        const auto parents = complete(31);
        std::vector<int> states(31, 2);
        std::fill(states.begin(), states.begin() + 20, 1);
        auto piece = BuildStructure(Structure(states), parents);
        TriangulatorRun open(*piece);
        EXPECT_FALSE(open.Run(0xffffffffu).ok);
    }
    {
        const auto parents = complete(30);
        std::vector<int> states(30, 2);
        std::fill(states.begin(), states.begin() + 20, 1);
        auto piece = BuildStructure(Structure(states), parents);
        TriangulatorRun run(*piece);
        const Triangulation t = run.Run(0);
        ASSERT_TRUE(t.ok);
        ASSERT_EQ(t.cliques.size(), 1u);
        EXPECT_EQ(t.cliques[0]->size, 1u << 10);
    }
    {
        // Observed nodes lose the arcs to their children: with the first
        // twenty observed, the rest form one clique of eleven, and each
        // observed node, whose parents are all observed, stands alone.
        const auto parents = complete(31);
        ModelDescription model = Structure(std::vector<int>(31, 2));
        for (int i = 0; i < 20; ++i) model.evidence[size_t(i)] = 0;
        auto piece = BuildStructure(model, parents);
        TriangulatorRun run(*piece);
        const Triangulation t = run.Run(0);
        ASSERT_TRUE(t.ok);
        ASSERT_EQ(t.cliques.size(), 21u);
        int largest = 0;
        for (const TsClique* clique : t.cliques) largest = std::max(largest, clique->nodes.count);
        EXPECT_EQ(largest, 11);
    }
}

TsTriangulatorStats lastStats;
int statsCalls = 0;
void RecordStats(const TsTriangulatorStats* stats) {
    lastStats = *stats;
    ++statsCalls;
}

// The statistics callback hears every successful triangulation, with figures
// that match the cliques; separators count the full state counts.
TEST(TriangulatorTest, StatisticsDescribeTheCliques) {
    std::mt19937 rng(64);
    RandomOptions options;
    options.maxNodes = 12;
    TsTriangulatorStatsFunc = RecordStats;
    for (int round = 0; round < 100; ++round) {
        options.evidenceShare = (round % 2) * 0.3;
        const ModelDescription model = RandomModel(rng, options);
        auto piece = BuildPiece(model);
        TriangulatorRun run(*piece);
        statsCalls = 0;
        const Triangulation t = run.Run(0);
        ASSERT_TRUE(t.ok);
        ASSERT_EQ(statsCalls, 1);
        EXPECT_EQ(lastStats.nodeCount, int(model.states.size()));
        EXPECT_EQ(lastStats.sizeLimit, TsTriangulator::defaultSizeLimit);
        ASSERT_EQ(lastStats.cliqueCount, int(t.cliques.size()));
        ASSERT_EQ(lastStats.cliqueSizes.size(), t.cliques.size());
        uint32_t total = 0;
        uint32_t maxSize = 0;
        int maxNodes = 0;
        uint32_t separatorTotal = 0;
        uint32_t separatorMax = 0;
        int separatorNodes = 0;
        for (size_t c = 0; c < t.cliques.size(); ++c) {
            const TsClique& clique = *t.cliques[c];
            EXPECT_EQ(lastStats.cliqueSizes[c], clique.size);
            total += clique.size;
            maxSize = std::max(maxSize, clique.size);
            maxNodes = std::max(maxNodes, clique.nodes.count);
            if (clique.parent == nullptr) continue;
            uint32_t size = 1;
            for (int i = 0; i < clique.separator.count; ++i) size *= uint32_t(model.states[size_t(clique.separator[i])]);
            separatorTotal += size;
            separatorMax = std::max(separatorMax, size);
            separatorNodes = std::max(separatorNodes, clique.separator.count);
        }
        EXPECT_EQ(lastStats.totalSize, total);
        EXPECT_EQ(lastStats.maxCliqueSize, maxSize);
        EXPECT_EQ(lastStats.maxCliqueNodes, maxNodes);
        EXPECT_EQ(lastStats.totalSeparatorSize, separatorTotal);
        EXPECT_EQ(lastStats.maxSeparatorSize, separatorMax);
        EXPECT_EQ(lastStats.maxSeparatorNodes, separatorNodes);

        // A limit of 0 means the default budget, so a total of 1 has no
        // smaller limit.
        if (total < 2) continue;
        TriangulatorRun failing(*piece);
        statsCalls = 0;
        EXPECT_FALSE(failing.Run(total - 1).ok);
        EXPECT_EQ(statsCalls, 0);
    }
    TsTriangulatorStatsFunc = nullptr;
}

}  // namespace
