// Triangulation: the cliques of random pieces form a join tree of the moral
// graph, the classic greedy choice follows the smallest clique and the lowest
// number, each heuristic eliminates as a from-scratch oracle does and the
// smallest total wins, the hard limits hold, and the statistics describe
// what was built.
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
    TsTriangulator::Heuristic heuristic = TsTriangulator::minSize;
    uint64_t total = 0;
};

class TriangulatorRun {
public:
    explicit TriangulatorRun(QEL_rNetwork& piece) : adapter(piece), pool(piece.nodes.Count()) {}

    // The full triangulation, or with `only` >= 0 that heuristic alone.
    Triangulation Run(unsigned limit, int only = -1) {
        TsTriangulator triangulator(adapter, pool, list);
        Triangulation t;
        t.ok = only < 0 ? triangulator.Triangulate(limit)
                        : triangulator.TriangulateWith(TsTriangulator::Heuristic(only), limit);
        t.cliques.assign(list.begin(), list.end());
        const fastarray<int, 8, int>& order = triangulator.GetEliminationOrder();
        t.order.assign(order.begin(), order.end());
        t.heuristic = triangulator.GetHeuristic();
        for (const TsClique* clique : t.cliques) t.total += clique->size;
        return t;
    }

    CollectingAdapter adapter;
    TsClique::Pool pool;
    fastarray<TsClique*, 32, int> list;
};

std::set<int> NodesOf(const TsClique& c) { return std::set<int>(c.nodes.items, c.nodes.items + c.nodes.count); }

// The cliques form a join tree of the moral graph: families lie in cliques
// (observed parents aside, whose arcs carry nothing), separators are exactly
// what a clique shares with the cliques made after it and lie in the parent,
// the cliques holding any node form one subtree, sizes are the products of
// the state counts (one for an observed node), lists are sorted.
void ExpectJoinTree(const ModelDescription& model, const std::vector<std::vector<int>>& parents,
                    const Triangulation& t) {
    const int n = int(model.states.size());
    const int count = int(t.cliques.size());
    ASSERT_GT(count, 0);
    ASSERT_LE(count, n);
    ASSERT_EQ(t.order.size(), t.cliques.size());
    EXPECT_EQ(t.cliques.back()->parent, nullptr);
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
        for (int p : parents[size_t(v)]) {
            if (model.evidence[size_t(p)] < 0) family.insert(p);
        }
        bool held = false;
        std::vector<const TsClique*> holders;
        for (const TsClique* clique : t.cliques) {
            const std::set<int> nodes = NodesOf(*clique);
            held = held || std::includes(nodes.begin(), nodes.end(), family.begin(), family.end());
            if (nodes.count(v)) holders.push_back(clique);
        }
        EXPECT_TRUE(held) << "family of " << v;
        // One subtree: all holders but one have their parent among the holders.
        int tops = 0;
        for (const TsClique* h : holders) {
            if (std::find(holders.begin(), holders.end(), h->parent) == holders.end()) ++tops;
        }
        EXPECT_EQ(tops, 1) << "node " << v;
    }
}

// On random pieces with evidence, the full triangulation and each heuristic
// alone give join trees.
TEST(TriangulatorTest, RandomPiecesGiveJoinTrees) {
    std::mt19937 rng(1357);
    RandomOptions options;
    options.maxNodes = 14;
    options.maxParents = 4;
    for (int round = 0; round < 300; ++round) {
        options.evidenceShare = (round % 3) * 0.2;
        const ModelDescription model = RandomModel(rng, options);
        auto piece = BuildPiece(model);
        for (int only = -1; only <= TsTriangulator::weightedMinFill; ++only) {
            TriangulatorRun run(*piece);
            const Triangulation t = run.Run(0xffffffffu, only);
            ASSERT_TRUE(t.ok);
            SCOPED_TRACE(testing::Message() << "round " << round << " heuristic " << only);
            ExpectJoinTree(model, model.parents, t);
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

// A random structure for the elimination oracle: node numbers shuffled
// against the topological order, up to `maxParents` parents, some observed.
struct RandomStructure {
    ModelDescription model;
    std::vector<std::vector<int>> parents;
};

RandomStructure MakeStructure(std::mt19937& rng, int n, int maxParents, int maxStates, double evidenceShare) {
    std::uniform_int_distribution<int> states(2, maxStates);
    std::vector<int> stateCounts(static_cast<size_t>(n));
    for (int& s : stateCounts) s = states(rng);
    RandomStructure r{Structure(stateCounts), std::vector<std::vector<int>>(static_cast<size_t>(n))};
    std::vector<int> number(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) number[size_t(i)] = i;
    std::shuffle(number.begin(), number.end(), rng);
    std::bernoulli_distribution observed(evidenceShare);
    for (int t = 0; t < n; ++t) {
        std::vector<int> earlier(number.begin(), number.begin() + t);
        std::shuffle(earlier.begin(), earlier.end(), rng);
        earlier.resize(size_t(std::uniform_int_distribution<int>(0, std::min(t, maxParents))(rng)));
        r.parents[size_t(number[size_t(t)])] = earlier;
        if (observed(rng)) r.model.evidence[size_t(number[size_t(t)])] = 0;
    }
    return r;
}

struct Reference {
    bool ok = false;
    std::vector<int> order;
    uint64_t total = 0;
};

// Elimination recomputed from scratch at every step on a plain adjacency
// matrix: repeated passes over the simplicial nodes in number order, then
// the heuristic's choice; a clique maker takes along the neighbours that have
// no neighbour outside its clique.
Reference Eliminate(const RandomStructure& r, TsTriangulator::Heuristic heuristic) {
    const int n = int(r.parents.size());
    std::vector<uint64_t> states(static_cast<size_t>(n));
    for (int v = 0; v < n; ++v) states[size_t(v)] = r.model.evidence[size_t(v)] >= 0 ? 1 : uint64_t(r.model.states[size_t(v)]);
    std::vector<std::vector<char>> adj(static_cast<size_t>(n), std::vector<char>(static_cast<size_t>(n), 0));
    auto link = [&](int a, int b) { adj[size_t(a)][size_t(b)] = adj[size_t(b)][size_t(a)] = char(a != b); };
    for (int v = 0; v < n; ++v) {
        std::vector<int> family;
        for (int p : r.parents[size_t(v)]) {
            if (r.model.evidence[size_t(p)] < 0) family.push_back(p);
        }
        for (size_t i = 0; i < family.size(); ++i) {
            link(v, family[i]);
            for (size_t j = 0; j < i; ++j) link(family[i], family[j]);
        }
    }
    std::vector<bool> removed(static_cast<size_t>(n), false);
    auto neighbours = [&](int v) {
        std::vector<int> list;
        for (int u = 0; u < n; ++u) {
            if (adj[size_t(v)][size_t(u)]) list.push_back(u);
        }
        return list;
    };
    auto size = [&](int v) {
        uint64_t product = states[size_t(v)];
        for (int u : neighbours(v)) product *= states[size_t(u)];
        return product > TsTriangulator::cliqueSizeCap ? 0 : product;
    };
    auto fill = [&](int v, bool weighted) {
        const std::vector<int> list = neighbours(v);
        uint64_t sum = 0;
        for (size_t i = 0; i < list.size(); ++i) {
            for (size_t j = 0; j < i; ++j) {
                if (!adj[size_t(list[i])][size_t(list[j])]) sum += weighted ? states[size_t(list[i])] * states[size_t(list[j])] : 1;
            }
        }
        return sum;
    };
    auto drop = [&](int v) {
        removed[size_t(v)] = true;
        for (int u = 0; u < n; ++u) adj[size_t(v)][size_t(u)] = adj[size_t(u)][size_t(v)] = 0;
    };
    Reference ref;
    auto makeClique = [&](int v, uint64_t cells) {
        ref.order.push_back(v);
        ref.total += cells;
        const std::vector<int> clique = neighbours(v);
        drop(v);
        for (int u : clique) {
            const std::vector<int> others = neighbours(u);
            if (std::all_of(others.begin(), others.end(),
                            [&](int w) { return std::count(clique.begin(), clique.end(), w) > 0; })) {
                drop(u);
            }
        }
        return clique.size() < size_t(TsMatrix::maxDims);
    };
    for (;;) {
        for (bool added = true; added;) {
            added = false;
            for (int v = 0; v < n; ++v) {
                if (removed[size_t(v)] || fill(v, false) != 0) continue;
                const uint64_t cells = size(v);
                if (cells == 0 || !makeClique(v, cells)) return ref;
                added = true;
            }
        }
        if (std::count(removed.begin(), removed.end(), false) == 0) break;
        int best = -1;
        std::pair<uint64_t, uint64_t> bestKey;
        for (int v = 0; v < n; ++v) {
            if (removed[size_t(v)] || size(v) == 0) continue;
            if (heuristic != TsTriangulator::minSize && neighbours(v).size() >= size_t(TsMatrix::maxDims)) continue;
            const uint64_t primary = heuristic == TsTriangulator::minSize ? 0 : fill(v, heuristic == TsTriangulator::weightedMinFill);
            const std::pair<uint64_t, uint64_t> key(primary, size(v));
            if (best < 0 || key < bestKey) {
                best = v;
                bestKey = key;
            }
        }
        if (best < 0) return ref;
        const std::vector<int> list = neighbours(best);
        for (int a : list) {
            for (int b : list) link(a, b);
        }
        if (!makeClique(best, bestKey.second)) return ref;
    }
    ref.ok = true;
    return ref;
}

// Each heuristic alone eliminates exactly as the from-scratch oracle does,
// so the scores kept up to date step by step are the true ones. The full
// triangulation keeps the classic order when it fits and is small, and
// otherwise the order with the smallest total that fits, the earlier rule
// on a tie and the classic one unless beaten by the margin; it fails only
// when no rule fits. Budgets are open, the default, or at and just below the
// smallest total; dense pieces with evidence reach the 30-node limit.
TEST(TriangulatorTest, HeuristicsMatchTheOracleAndTheSmallestTotalWins) {
    std::mt19937 rng(2024);
    int trialsWon = 0;
    int classicFailedOthersFit = 0;
    for (int round = 0; round < 200; ++round) {
        const int n = 20 + int(rng() % 31);
        const RandomStructure r = MakeStructure(rng, n, 2 + int(rng() % 5), 2 + int(rng() % 4), (rng() % 3) * 0.25);
        auto piece = BuildStructure(r.model, r.parents);
        std::vector<Reference> refs;
        uint64_t smallest = 0xffffffffu;
        for (int h = TsTriangulator::minSize; h <= TsTriangulator::weightedMinFill; ++h) {
            refs.push_back(Eliminate(r, TsTriangulator::Heuristic(h)));
            if (refs.back().ok) smallest = std::min(smallest, refs.back().total);
        }
        const unsigned limits[] = {0xffffffffu, 0u, unsigned(smallest), unsigned(std::max<uint64_t>(smallest, 2) - 1)};
        const unsigned limit = limits[rng() % 4];
        const uint64_t bound = limit == 0 ? TsTriangulator::defaultSizeLimit : limit;
        auto fits = [&](int h) { return refs[size_t(h)].ok && refs[size_t(h)].total <= bound; };
        SCOPED_TRACE(testing::Message() << "round " << round << " nodes " << n << " limit " << limit);

        for (int h = TsTriangulator::minSize; h <= TsTriangulator::weightedMinFill; ++h) {
            TriangulatorRun run(*piece);
            const Triangulation t = run.Run(limit, h);
            ASSERT_EQ(t.ok, fits(h)) << "heuristic " << h;
            if (!t.ok) continue;
            EXPECT_EQ(t.order, refs[size_t(h)].order) << "heuristic " << h;
            EXPECT_EQ(t.total, refs[size_t(h)].total) << "heuristic " << h;
            ExpectJoinTree(r.model, r.parents, t);
        }

        int winner = -1;
        uint64_t beat = ~uint64_t(0);
        if (fits(0)) {
            winner = 0;
            beat = refs[0].total - refs[0].total / TsTriangulator::classicMargin;
        }
        const bool trials = !(fits(0) && refs[0].total <= TsTriangulator::TrialThreshold(n));
        for (int h = 1; h < 3 && trials; ++h) {
            if (fits(h) && refs[size_t(h)].total < beat) {
                winner = h;
                beat = refs[size_t(h)].total;
            }
        }
        TriangulatorRun run(*piece);
        const Triangulation t = run.Run(limit);
        ASSERT_EQ(t.ok, winner >= 0);
        if (!t.ok) {
            EXPECT_TRUE(t.cliques.empty());
            continue;
        }
        EXPECT_EQ(int(t.heuristic), winner);
        EXPECT_EQ(t.order, refs[size_t(winner)].order);
        EXPECT_EQ(t.total, refs[size_t(winner)].total);
        if (fits(0)) {
            EXPECT_LE(t.total, refs[0].total);
        }
        trialsWon += winner > 0;
        classicFailedOthersFit += !fits(0);
    }
    // The draw must reach the cases the trials are for.
    EXPECT_GT(trialsWon, 20);
    EXPECT_GT(classicFailedOthersFit, 10);
}

TsTriangulatorStats lastStats;
int statsCalls = 0;
void RecordStats(const TsTriangulatorStats* stats) {
    lastStats = *stats;
    ++statsCalls;
}

// The statistics callback hears every successful triangulation, with figures
// that match the cliques of the order that won; separators count the full
// state counts.
TEST(TriangulatorTest, StatisticsDescribeTheCliques) {
    std::mt19937 rng(64);
    RandomOptions options;
    TsTriangulatorStatsFunc = RecordStats;
    for (int round = 0; round < 100; ++round) {
        options.evidenceShare = (round % 2) * 0.3;
        // Every fourth piece is big enough for the trial orders to run.
        options.maxNodes = round % 4 == 3 ? 40 : 12;
        options.minNodes = round % 4 == 3 ? 30 : 1;
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

        // A total equal to the limit fits, one cell less does not, and a
        // failure is not heard. A limit of 0 means the default budget, so a
        // total of 1 has no smaller limit.
        if (total < 2) continue;
        const int rule = int(t.heuristic);
        TriangulatorRun exact(*piece);
        EXPECT_TRUE(exact.Run(total, rule).ok);
        TriangulatorRun failing(*piece);
        statsCalls = 0;
        EXPECT_FALSE(failing.Run(total - 1, rule).ok);
        EXPECT_EQ(statsCalls, 0);
    }
    TsTriangulatorStatsFunc = nullptr;
}

}  // namespace
