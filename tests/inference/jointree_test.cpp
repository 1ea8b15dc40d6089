// The join tree on pieces built directly, checked against enumeration of the
// joint: beliefs for any set of wanted nodes, the probability of evidence,
// the shape of the re-rooted tree and the potentials each pass builds, zero
// potentials, budgets and the pending mask. The exported clique tables are
// checked through the network, in jointree_network_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <string>

#include "jointree_fixture.h"
#include "orvil/errors.h"
#include "orvil/jointree.h"

namespace {

using jointree_test::BuildPiece;
using jointree_test::CollectingAdapter;
using jointree_test::ModelDescription;
using jointree_test::RandomModel;
using jointree_test::RandomOptions;
using jointree_test::ToBrute;

// Written nodes hold the oracle's posterior; every other node is untouched.
void ExpectBeliefsMatch(const ModelDescription& model, const CollectingAdapter& adapter,
                        const orvil_test::BruteResult& truth, const std::vector<bool>& written, int round) {
    for (size_t v = 0; v < model.states.size(); ++v) {
        if (!written[v]) {
            EXPECT_FALSE(adapter.valid[v]) << "node " << v << " round " << round;
            EXPECT_TRUE(adapter.beliefs[v].empty()) << "node " << v << " round " << round;
            continue;
        }
        ASSERT_TRUE(adapter.valid[v]) << "node " << v << " round " << round;
        ASSERT_EQ(adapter.beliefs[v].size(), truth.posteriors[v].size());
        for (size_t k = 0; k < truth.posteriors[v].size(); ++k) {
            EXPECT_NEAR(adapter.beliefs[v][k], truth.posteriors[v][k], 1e-12)
                << "node " << v << " state " << k << " round " << round;
        }
    }
}

// Every unobserved node is written.
std::vector<bool> Unobserved(const ModelDescription& model) {
    std::vector<bool> written(model.states.size());
    for (size_t v = 0; v < written.size(); ++v) written[v] = model.evidence[v] < 0;
    return written;
}

bool Ascending(const TsMatrix::Coords& list) {
    for (int i = 1; i < list.count; ++i) {
        if (list[i - 1] >= list[i]) return false;
    }
    return true;
}

std::vector<int> Common(const TsClique& a, const TsClique& b) {
    std::vector<int> out;
    for (int i = 0; i < a.nodes.count; ++i) {
        if (b.nodes.Find(a.nodes[i]) >= 0) out.push_back(a.nodes[i]);
    }
    return out;
}

// The builds of a minimal plan over a tree, worked out from its undirected
// shape alone: within each part (cliques linked by non-empty separators)
// that holds a wanted clique, every clique but the top sends a message up,
// and the way down builds the smallest subtree that joins the wanted cliques
// (the top among them).
struct Builds {
    int collect = 0;
    int distribute = 0;
};

// Checks the tree as InitPotentials leaves it (one tree over all cliques,
// ascending lists, each separator the intersection of its two cliques, each
// part topped by the largest clique the way down builds) and returns the
// minimal builds.
// A clique is wanted when it is the smallest holding a written node.
Builds CheckPlannedTree(const TsJoinTree& tree, const std::vector<bool>& written, int round) {
    const int count = tree.GetCliqueCount();
    std::map<const TsClique*, int> index;
    for (int c = 0; c < count; ++c) index[tree.GetClique(c)] = c;

    std::vector<std::vector<int>> links(static_cast<size_t>(count));
    std::vector<const TsClique*> reached(1, tree.GetRoot());
    EXPECT_EQ(tree.GetRoot()->parent, nullptr) << "round " << round;
    for (size_t i = 0; i < reached.size(); ++i) {
        const TsClique* parent = reached[i];
        EXPECT_TRUE(Ascending(parent->nodes)) << "round " << round;
        for (const TsClique* child : parent->children) {
            reached.push_back(child);
            EXPECT_EQ(child->parent, parent) << "round " << round;
            EXPECT_TRUE(Ascending(child->separator)) << "round " << round;
            const std::vector<int> common = Common(*child, *parent);
            EXPECT_EQ(std::vector<int>(child->separator.items, child->separator.items + child->separator.count),
                      common)
                << "round " << round;
            if (common.empty()) continue;
            links[size_t(index[child])].push_back(index[parent]);
            links[size_t(index[parent])].push_back(index[child]);
        }
    }
    EXPECT_EQ(int(reached.size()), count) << "round " << round;

    std::vector<bool> wanted(size_t(count), false);
    for (size_t v = 0; v < written.size(); ++v) {
        if (!written[v]) continue;
        int c = 0;
        while (c < count && tree.GetClique(c)->nodes.Find(int(v)) < 0) ++c;
        EXPECT_LT(c, count) << "node " << v << " round " << round;
        if (c < count) wanted[size_t(c)] = true;
    }

    // Does the branch entered through `from` -> `to` hold a wanted clique?
    std::function<bool(int, int)> holdsWanted = [&](int from, int to) {
        if (wanted[size_t(to)]) return true;
        for (int next : links[size_t(to)]) {
            if (next != from && holdsWanted(to, next)) return true;
        }
        return false;
    };
    Builds builds;
    std::vector<int> part(size_t(count), -1);
    for (int c = 0; c < count; ++c) {
        if (part[size_t(c)] >= 0) continue;
        std::vector<int> members(1, c);
        part[size_t(c)] = c;
        for (size_t i = 0; i < members.size(); ++i) {
            for (int next : links[size_t(members[i])]) {
                if (part[size_t(next)] < 0) {
                    part[size_t(next)] = c;
                    members.push_back(next);
                }
            }
        }
        const TsClique* top = nullptr;
        for (int m : members) {
            const TsClique* clique = tree.GetClique(m);
            if (clique->parent == nullptr || clique->separator.count == 0) {
                EXPECT_EQ(top, nullptr) << "two tops in one part, round " << round;
                top = clique;
            }
        }
        // The joining subtree: wanted cliques, and those with wanted ones
        // on two sides. Its largest clique tops the part.
        const TsClique* largest = nullptr;
        for (int m : members) {
            int branches = 0;
            for (int next : links[size_t(m)]) branches += holdsWanted(m, next) ? 1 : 0;
            if (!wanted[size_t(m)] && branches < 2) continue;
            ++builds.distribute;
            if (largest == nullptr || tree.GetClique(m)->size > largest->size) largest = tree.GetClique(m);
        }
        if (largest == nullptr) continue;
        EXPECT_EQ(top->size, largest->size) << "round " << round;
        builds.collect += int(members.size()) - 1;
    }
    return builds;
}

// Random pieces, small ones (2 to 5 states, up to 3 parents), denser ones
// (up to 4 parents, cliques past a few nodes) and a few with cliques of tens
// of thousands of cells (built in many chunks), with zeros in the tables and
// possible hard evidence, which often cuts the tree into parts. The targets
// are all nodes, none, one, or a random few. The step by step update leaves
// a well-formed tree rooted at the right cliques, builds exactly what a
// minimal plan builds (a single target: no way down but its own clique),
// writes the targets' beliefs as enumeration gives them and touches nothing
// else; the evidence probability agrees too.
TEST(JoinTreeTest, TargetedUpdatesMatchEnumerationAndBuildOnlyWhatIsRead) {
    std::mt19937 rng(20240611);
    RandomOptions small;
    RandomOptions dense;
    dense.minNodes = 8;
    dense.maxNodes = 12;
    dense.maxStates = 3;
    dense.maxParents = 4;
    dense.zeroShare = 0.1;
    RandomOptions large;
    large.minNodes = 7;
    large.maxNodes = 8;
    large.maxStates = 7;
    large.maxParents = 5;
    large.zeroShare = 0.05;
    for (int round = 0; round < 800; ++round) {
        RandomOptions& options = round % 100 == 99 ? large : round % 11 == 10 ? dense : small;
        options.evidenceShare = (round % 3) * 0.25;
        const ModelDescription model = RandomModel(rng, options);
        const size_t n = model.states.size();
        const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
        ASSERT_TRUE(truth.ok);
        ASSERT_GT(truth.probEvidence, 0.0);

        auto piece = BuildPiece(model);
        int zeros = 0;
        CollectingAdapter adapter(*piece, &zeros);
        const int mode = round % 4;
        const size_t single = rng() % n;
        for (size_t v = 0; v < n; ++v) {
            adapter.targets[v] = mode == 0 || (mode == 2 && v == single) || (mode == 3 && rng() % 3 == 0);
        }
        std::vector<bool> written(n);
        int writtenCount = 0;
        for (size_t v = 0; v < n; ++v) {
            written[v] = adapter.targets[v] && model.evidence[v] < 0;
            writtenCount += written[v] ? 1 : 0;
        }

        TsJoinTree tree(adapter);
        ASSERT_TRUE(tree.Triangulate(0)) << "round " << round;
        tree.FindHosts();
        tree.InitPotentials(nullptr);
        const Builds minimal = CheckPlannedTree(tree, written, round);
        tree.Collect();
        tree.Distribute();
        tree.CalcBeliefs(nullptr);
        tree.CleanUp();
        EXPECT_EQ(tree.GetWork().collectBuilds, minimal.collect) << "round " << round;
        EXPECT_EQ(tree.GetWork().distributeBuilds, minimal.distribute) << "round " << round;
        if (writtenCount == 1) {
            EXPECT_EQ(tree.GetWork().distributeBuilds, 1) << "round " << round;
        }
        if (writtenCount == 0) {
            EXPECT_EQ(tree.GetWork().collectBuilds, 0) << "round " << round;
        }
        EXPECT_EQ(zeros, 0);
        ExpectBeliefsMatch(model, adapter, truth, written, round);

        const double pe = tree.CalcNormFactor();
        EXPECT_NEAR(pe, truth.probEvidence, 1e-12 * truth.probEvidence) << "round " << round;
    }
}

// A clique whose nodes are all observed keeps a potential of one cell, and
// the beliefs around it are still right.
TEST(JoinTreeTest, FullyObservedCliqueHasOneCell) {
    ModelDescription model;
    model.states = {2, 2, 3};
    model.parents = {{}, {0}, {1}};
    model.tables = {{0.4, 0.6}, {0.7, 0.3, 0.2, 0.8}, {0.1, 0.2, 0.7, 0.5, 0.25, 0.25}};
    model.evidence = {1, 0, -1};
    const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
    auto piece = BuildPiece(model);
    CollectingAdapter adapter(*piece);
    TsJoinTree tree(adapter);
    ASSERT_TRUE(tree.Triangulate(0));
    tree.FindHosts();
    tree.InitPotentials(nullptr);
    bool sawSingleCell = false;
    for (int c = 0; c < tree.GetCliqueCount(); ++c) {
        const TsClique* clique = tree.GetClique(c);
        if (clique->nodes.count == 0) {
            EXPECT_EQ(clique->dims.count, 0);
            sawSingleCell = true;
        }
    }
    EXPECT_TRUE(sawSingleCell);
    tree.Collect();
    tree.Distribute();
    tree.CalcBeliefs(nullptr);
    tree.CleanUp();
    ExpectBeliefsMatch(model, adapter, truth, Unobserved(model), 0);
}

// Impossible evidence: every affected node is reported once through the log
// and the counter, and no belief is written for it.
TEST(JoinTreeTest, ZeroPotentialIsReportedNotWritten) {
    ModelDescription model;
    model.states = {2, 2, 2};
    model.parents = {{}, {0}, {}};
    model.tables = {{1.0, 0.0}, {1.0, 0.0, 0.5, 0.5}, {0.5, 0.5}};
    model.evidence = {-1, 1, -1};  // 0 is surely 0, and then 1 is surely 0
    auto piece = BuildPiece(model);
    int zeros = 0;
    CollectingAdapter adapter(*piece, &zeros);
    TsJoinTree tree(adapter);
    QEL_errorH().Flush();
    ASSERT_TRUE(tree.UpdateBeliefs());
    EXPECT_EQ(zeros, 1);
    EXPECT_FALSE(adapter.valid[0]);
    EXPECT_TRUE(adapter.valid[2]) << "the unconnected node is still computed";
    EXPECT_NEAR(adapter.beliefs[2][0], 0.5, 1e-15);
    ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1);
    EXPECT_EQ(QEL_errorH().GetLastError(), QEL_ZERO_POTENTIAL);
    EXPECT_EQ(std::string(QEL_errorH().GetLastErrorMessage()),
              "All potential entries are zeros for node with handle 0");
    EXPECT_EQ(tree.CalcNormFactor(), 0.0);
}

// A table whose shape does not fit its record's parents is left out rather
// than walked past its end: the other tables still give their beliefs.
TEST(JoinTreeTest, MisshapenTablesAreLeftOut) {
    ModelDescription model;
    model.states = {2, 3};
    model.parents = {{}, {}};
    model.tables = {{0.25, 0.75}, {0.2, 0.3, 0.5}};
    model.evidence = {-1, -1};
    auto piece = BuildPiece(model);
    // An arc the child's table knows nothing of.
    piece->nodes[1]->parents.Add(piece->nodes[0]);
    piece->nodes[0]->children.Add(piece->nodes[1]);
    CollectingAdapter adapter(*piece);
    EXPECT_EQ(adapter.GetMatrix(1), nullptr);
    EXPECT_NE(adapter.GetMatrix(0), nullptr);
    TsJoinTree tree(adapter);
    ASSERT_TRUE(tree.UpdateBeliefs());
    ASSERT_TRUE(adapter.valid[0]);
    EXPECT_NEAR(adapter.beliefs[0][0], 0.25, 1e-15);
    ASSERT_TRUE(adapter.valid[1]);
    EXPECT_NEAR(adapter.beliefs[1][0], 1.0 / 3.0, 1e-15);
}

// Over budget nothing is written; within it all is.
TEST(JoinTreeTest, BudgetFailureWritesNothing) {
    std::mt19937 rng(5);
    RandomOptions options;
    options.minNodes = 6;
    options.evidenceShare = 0.0;
    for (int round = 0; round < 40; ++round) {
        const ModelDescription model = RandomModel(rng, options);
        auto piece = BuildPiece(model);
        CollectingAdapter probe(*piece);
        TsJoinTree sizing(probe);
        ASSERT_TRUE(sizing.Triangulate(0));
        unsigned total = 0;
        for (int c = 0; c < sizing.GetCliqueCount(); ++c) total += sizing.GetClique(c)->size;
        sizing.CleanUp();

        // Every node has two states or more: no tree fits in one cell.
        CollectingAdapter tight(*piece);
        TsJoinTree failing(tight);
        EXPECT_FALSE(failing.UpdateBeliefsEx(nullptr, 1));
        for (size_t v = 0; v < model.states.size(); ++v) {
            EXPECT_FALSE(tight.valid[v]);
            EXPECT_TRUE(tight.beliefs[v].empty());
        }
        CollectingAdapter enough(*piece);
        TsJoinTree passing(enough);
        EXPECT_TRUE(passing.UpdateBeliefsEx(nullptr, total));
        for (size_t v = 0; v < model.states.size(); ++v) EXPECT_TRUE(enough.valid[v]);
    }
}

// Handles that are not node numbers, as in a network: node 0 is auxiliary
// (no handle) and node i has handle 2i + 1, so that the even entries of a
// pending mask belong to nodes of other pieces.
class SpreadHandles : public CollectingAdapter {
public:
    using CollectingAdapter::CollectingAdapter;
    int GetNodeHandle(int i) const override { return i == 0 ? -1 : 2 * i + 1; }
};

// The pending mask of target decomposition: every node of the piece whose
// entry is set is computed, as enumeration gives it, and its entry cleared;
// every other entry (observed nodes, nodes of other pieces) stays as it was,
// and an auxiliary node is never written. A mask with no entry set for the
// piece builds nothing.
TEST(JoinTreeTest, PendingMaskIsComputedAndClearedExactly) {
    std::mt19937 rng(31);
    RandomOptions options;
    options.minNodes = 5;
    for (int round = 0; round < 120; ++round) {
        options.evidenceShare = (round % 3) * 0.2;
        const ModelDescription model = RandomModel(rng, options);
        const orvil_test::BruteResult truth = orvil_test::BruteForce(ToBrute(model));
        ASSERT_TRUE(truth.ok);
        const size_t n = model.states.size();
        auto piece = BuildPiece(model);
        SpreadHandles adapter(*piece);
        std::vector<char> before(2 * n + 2);
        for (char& entry : before) entry = round % 5 == 4 ? 0 : char(rng() % 2);
        bool pending[64];
        std::copy(before.begin(), before.end(), pending);
        std::vector<bool> written(n, false);
        bool anyWritten = false;
        for (size_t v = 1; v < n; ++v) {
            written[v] = before[2 * v + 1] != 0 && model.evidence[v] < 0;
            anyWritten = anyWritten || written[v];
        }

        TsJoinTree tree(adapter);
        ASSERT_TRUE(tree.UpdateBeliefsEx(pending, 0));
        ExpectBeliefsMatch(model, adapter, truth, written, round);
        for (size_t h = 0; h < before.size(); ++h) {
            const bool cleared = h % 2 == 1 && h >= 3 && written[(h - 1) / 2];
            EXPECT_EQ(pending[h], cleared ? false : before[h] != 0) << "handle " << h << " round " << round;
        }
        if (!anyWritten) {
            EXPECT_EQ(tree.GetWork().collectBuilds, 0) << "round " << round;
            EXPECT_EQ(tree.GetWork().distributeBuilds, 0) << "round " << round;
        }
    }
}

}  // namespace
