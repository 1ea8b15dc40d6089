// The small-piece engine on pieces built directly, checked against the oracle:
// beliefs for any set of wanted nodes and the pending mask, when a piece is
// small enough to walk, and impossible evidence left to the join tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "inference/ts_enumeration.h"
#include "inference_fixture.h"

namespace {

using namespace inference_test;

// Cells of the joint table over the unobserved nodes.
uint64_t OpenCells(const BruteModel& model) {
    uint64_t cells = 1;
    for (const auto& v : model.vars) cells *= v.evidence < 0 ? uint64_t(v.states) : 1u;
    return cells;
}

TEST(EnumerationTest, WalkedPiecesMatchTheOracleAndClearWhatTheyWrite) {
    std::mt19937 rng(20261121);
    RandomOptions options{1, 8, 4, 3, 0.25, 0.3};
    int walked = 0;
    int declined = 0;
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        options.evidenceShare = (round % 3) * 0.25;
        const BruteModel model = RandomModel(rng, options);
        const size_t n = model.vars.size();
        const orvil_test::BruteResult truth = orvil_test::BruteForce(model);
        ASSERT_TRUE(truth.ok);
        auto piece = BuildPiece(model);
        CollectingAdapter adapter(*piece);

        WantedDraw draw;
        DrawWanted(rng, model, adapter, round % 5, draw);
        const size_t wanted = size_t(std::count(draw.written.begin(), draw.written.end(), true));

        TsEnumeration walk(adapter, draw.mask);
        const uint64_t cells = OpenCells(model);
        const bool fits = cells * (n + wanted) <= TsEnumeration::maxWork;  // every node has a table
        EXPECT_EQ(walk.Suits(cells), fits);
        EXPECT_FALSE(walk.Suits(cells - 1));
        if (!fits) {
            ++declined;
            continue;
        }
        ++walked;
        ASSERT_TRUE(walk.UpdateBeliefs(draw.mask));
        ExpectPendingCleared(draw);
        for (size_t v = 0; v < n; ++v) {
            ASSERT_EQ(adapter.valid[v], bool(draw.written[v])) << "node " << v;
            if (!draw.written[v]) continue;
            for (size_t k = 0; k < truth.posteriors[v].size(); ++k) {
                EXPECT_NEAR(adapter.beliefs[v][k], truth.posteriors[v][k], 1e-12) << "node " << v << " state " << k;
            }
        }
    }
    // The draw must reach both sides of the limit.
    EXPECT_GT(walked, 600);
    EXPECT_GT(declined, 100);
}

// Evidence that no cell allows: the walk writes nothing, clears nothing and
// says so, for the join tree to report node by node.
TEST(EnumerationTest, ImpossibleEvidenceWritesNothing) {
    BruteModel model;
    model.vars.resize(3);
    for (auto& v : model.vars) v.states = 2;
    model.vars[0].table = {0.5, 0.5};
    model.vars[1].parents = {0};
    model.vars[1].table = {1.0, 0.0, 1.0, 0.0};  // state 1 never happens
    model.vars[1].evidence = 1;
    model.vars[2].parents = {0};
    model.vars[2].table = {0.3, 0.7, 0.6, 0.4};
    auto piece = BuildPiece(model);
    CollectingAdapter adapter(*piece);
    bool pending[8] = {true, true, true, true, true, true, true, true};
    TsEnumeration walk(adapter, pending);
    ASSERT_TRUE(walk.Suits(4));
    EXPECT_FALSE(walk.UpdateBeliefs(pending));
    for (bool entry : pending) EXPECT_TRUE(entry);
    for (bool valid : adapter.valid) EXPECT_FALSE(valid);
}

}  // namespace
