// The join tree on pieces built directly, checked against enumeration of the
// joint: beliefs for any set of wanted nodes, the probability of evidence,
// the shape of the re-rooted tree and the potentials each pass builds,
// budgets and the pending mask. Zero potentials and the exported clique
// tables are checked through the network, in network_update_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "inference_fixture.h"
#include "orvil/jointree.h"

namespace {

using namespace inference_test;

// Written nodes hold the oracle's posterior; every other node is untouched.
void ExpectBeliefsMatch(const CollectingAdapter& adapter, const orvil_test::BruteResult& truth,
                        const std::vector<bool>& written) {
    for (size_t v = 0; v < written.size(); ++v) {
        if (!written[v]) {
            EXPECT_FALSE(adapter.valid[v]) << "node " << v;
            EXPECT_TRUE(adapter.beliefs[v].empty()) << "node " << v;
            continue;
        }
        ASSERT_TRUE(adapter.valid[v]) << "node " << v;
        ASSERT_EQ(adapter.beliefs[v].size(), truth.posteriors[v].size());
        for (size_t k = 0; k < truth.posteriors[v].size(); ++k) {
            EXPECT_NEAR(adapter.beliefs[v][k], truth.posteriors[v][k], 1e-12) << "node " << v << " state " << k;
        }
    }
}

bool Ascending(const TsMatrix::Coords& list) {
    return std::adjacent_find(list.items, list.items + list.count, std::greater_equal<int>()) ==
           list.items + list.count;
}

struct Builds {
    int collect = 0;
    int distribute = 0;
};

// Checks the tree as InitPotentials leaves it (one tree over all cliques,
// ascending lists, each separator the intersection of its two cliques, one
// cell for a clique of observed nodes only, each part topped by the largest
// clique the way down builds) and returns the builds of a minimal plan:
// within each part (cliques linked by non-empty separators) that holds a
// wanted clique (the first that holds a written node), every clique but the
// top sends a message up, and the way down builds the smallest subtree that
// joins the wanted cliques: those wanted, or with wanted ones on two sides.
Builds CheckPlannedTree(const TsJoinTree& tree, const std::vector<bool>& written) {
    std::set<const TsClique*> wanted;
    for (size_t v = 0; v < written.size(); ++v) {
        int c = 0;
        while (written[v] && c < tree.GetCliqueCount() && tree.GetClique(c)->nodes.Find(int(v)) < 0) ++c;
        EXPECT_LT(c, tree.GetCliqueCount()) << "node " << v;
        if (written[v] && c < tree.GetCliqueCount()) wanted.insert(tree.GetClique(c));
    }
    std::vector<const TsClique*> order(1, tree.GetRoot());  // parents before children
    std::map<const TsClique*, const TsClique*> top;
    EXPECT_EQ(tree.GetRoot()->parent, nullptr);
    for (size_t i = 0; i < order.size(); ++i) {
        const TsClique* clique = order[i];
        EXPECT_TRUE(Ascending(clique->nodes) && Ascending(clique->separator));
        EXPECT_TRUE(clique->nodes.count > 0 || clique->dims.count == 0);
        top[clique] = clique->parent == nullptr || clique->separator.count == 0 ? clique : top[clique->parent];
        for (const TsClique* child : clique->children) {
            EXPECT_EQ(child->parent, clique);
            std::vector<int> common;
            for (int k = 0; k < child->nodes.count; ++k) {
                if (clique->nodes.Find(child->nodes[k]) >= 0) common.push_back(child->nodes[k]);
            }
            const TsMatrix::Coords& separator = child->separator;
            EXPECT_EQ(std::vector<int>(separator.items, separator.items + separator.count), common);
            order.push_back(child);
        }
    }
    EXPECT_EQ(int(order.size()), tree.GetCliqueCount());
    std::map<const TsClique*, int> under;    // wanted cliques in the part below
    std::map<const TsClique*, int> members;  // by part top
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        under[*it] += int(wanted.count(*it));
        if (top[*it] != *it) under[(*it)->parent] += under[*it];
        ++members[top[*it]];
    }
    Builds builds;
    std::map<const TsClique*, uint32_t> largest;  // by part top
    for (const TsClique* clique : order) {
        const TsClique* part = top[clique];
        int branches = under[part] > under[clique] ? 1 : 0;
        for (const TsClique* child : clique->children) branches += top[child] == part && under[child] > 0;
        if (wanted.count(clique) == 0 && branches < 2) continue;
        ++builds.distribute;
        largest[part] = std::max(largest[part], clique->size);
    }
    for (const auto& part : largest) {
        EXPECT_EQ(part.first->size, part.second);
        builds.collect += members[part.first] - 1;
    }
    return builds;
}

// Random pieces, small ones (2 to 5 states, up to 3 parents), denser ones
// (up to 4 parents, cliques past a few nodes) and a few with cliques of tens
// of thousands of cells (built in many chunks), with zeros in the tables and
// possible hard evidence, which often cuts the tree into parts. The nodes
// wanted are all, none, one, a random few, or those whose entries are set in
// the pending mask of target decomposition. The step by step update leaves a
// well-formed tree rooted at the right cliques, builds exactly what a
// minimal plan builds, writes the wanted beliefs as enumeration gives them
// and touches nothing else (no auxiliary node, no observed node, no other
// entry of the mask, while clearing the entries of the nodes written); the
// evidence probability agrees too. Without evidence no tree fits a budget of
// one cell, and then nothing is written.
TEST(JoinTreeTest, TargetedUpdatesMatchEnumerationAndBuildOnlyWhatIsRead) {
    std::mt19937 rng(20240611);
    RandomOptions small;
    RandomOptions dense{8, 12, 3, 4, 0.1, 0.3};
    RandomOptions large{7, 8, 7, 5, 0.05, 0.3};
    for (int round = 0; round < 800; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        RandomOptions& options = round % 100 == 99 ? large : round % 11 == 10 ? dense : small;
        options.evidenceShare = (round % 3) * 0.25;
        const BruteModel model = RandomModel(rng, options);
        const size_t n = model.vars.size();
        const orvil_test::BruteResult truth = orvil_test::BruteForce(model);
        ASSERT_TRUE(truth.ok);
        ASSERT_GT(truth.probEvidence, 0.0);

        auto piece = BuildPiece(model);
        int zeros = 0;
        CollectingAdapter adapter(*piece, &zeros);
        WantedDraw draw;
        DrawWanted(rng, model, adapter, round % 5, draw);
        const std::vector<bool>& written = draw.written;
        TsJoinTree tree(adapter);
        ASSERT_TRUE(tree.Triangulate(0));
        tree.FindHosts();
        tree.InitPotentials(draw.mask);
        const Builds minimal = CheckPlannedTree(tree, written);
        tree.Collect();
        tree.Distribute();
        tree.CalcBeliefs(draw.mask);
        tree.CleanUp();
        ExpectPendingCleared(draw);
        EXPECT_EQ(tree.GetWork().collectBuilds, minimal.collect);
        EXPECT_EQ(tree.GetWork().distributeBuilds, minimal.distribute);
        EXPECT_EQ(zeros, 0);
        ExpectBeliefsMatch(adapter, truth, written);
        EXPECT_NEAR(tree.CalcNormFactor(), truth.probEvidence, 1e-12 * truth.probEvidence);

        if (round % 6 != 0) continue;  // no evidence: every clique has two cells or more
        CollectingAdapter tight(*piece);
        TsJoinTree failing(tight);
        EXPECT_FALSE(failing.UpdateBeliefsEx(nullptr, 1));
        ExpectBeliefsMatch(tight, truth, std::vector<bool>(n, false));
    }
}

}  // namespace
