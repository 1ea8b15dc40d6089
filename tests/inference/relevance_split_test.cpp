// Relevance reasoning: the pieces of random networks, enumerated on their
// own, give the targets the whole network's posteriors; the pieces are well
// formed and leave the definitions' tables alone; and the reductions behave
// on small networks built to show each one.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "inference_fixture.h"
#include "random_network.h"
#include "orvil/beliefvector.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"

namespace {

using namespace inference_test;

using Pieces = std::vector<std::vector<std::string>>;

// The pieces of a split under reduction bits `flags`, freed with it, and the
// identifiers of their nodes, piece by piece.
struct Split {
    Split(QEL_network& net, unsigned flags) : list(QEL_relevantSplit(&net, flags)) {
        for (QEL_rNetwork* piece : *list) {
            ids.emplace_back();
            for (QEL_rNode* record : piece->nodes) ids.back().push_back(record->node->GetId());
        }
    }
    ~Split() {
        for (QEL_rNetwork* piece : *list) delete piece;
        delete list;
    }
    const QEL_rNode& Record(int piece, int node) const { return *(*list)[piece]->nodes[node]; }

    QEL_rNetworkList* list;
    Pieces ids;
};

QEL_network& Targets(QEL_network& net, const std::vector<int>& targets) {
    net.ClearAllTargets();
    for (int h : targets) net.SetTarget(h, true);
    return net;
}

std::vector<std::vector<double>> SnapshotTables(QEL_network& net) {
    std::vector<std::vector<double>> tables(size_t(net.GetLastNode() + 1));
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        const QEL_Dmatrix* m = net.GetNode(h)->Definition()->GetMatrix();
        tables[size_t(h)].assign(m->GetItems().Items(), m->GetItems().Items() + m->GetSize());
    }
    return tables;
}

// Checks the links and tables of `piece`, and that its records come in an
// order where parents go first, and turns it into an oracle model.
orvil_test::BruteModel CheckedModel(const QEL_rNetwork& piece) {
    orvil_test::BruteModel model;
    for (const QEL_rNode* record : piece.nodes) {
        EXPECT_EQ(record->network, &piece);
        EXPECT_TRUE(record->evidence < 0 || record->children.IsEmpty()) << "observed node keeps children";
        orvil_test::BruteVariable v;
        v.handle = record->node->GetHandle();
        v.states = record->Get_Num_of_States();
        v.evidence = record->evidence;
        const QEL_Dmatrix& table = *record->table;
        EXPECT_EQ(table.GetNumberOfDimensions(), record->parents.Count() + 1);
        for (int p = 0; p < record->parents.Count(); ++p) {
            const QEL_rNode* parent = record->parents[p];
            EXPECT_GE(parent->children.IndexOf(const_cast<QEL_rNode*>(record)), 0);
            EXPECT_EQ(table.GetSizeOfDimension(p), parent->Get_Num_of_States());
            v.parents.push_back(piece.nodes.IndexOf(const_cast<QEL_rNode*>(parent)));
            EXPECT_GE(v.parents.back(), 0) << "parent outside the piece";
            EXPECT_LT(v.parents.back(), int(model.vars.size())) << "parent after its child";
        }
        for (const QEL_rNode* child : record->children) {
            EXPECT_GE(child->FindParent(record), 0);
            EXPECT_GE(piece.nodes.IndexOf(const_cast<QEL_rNode*>(child)), 0) << "child outside the piece";
        }
        if (record->tableKind == QEL_rNode::sharedTable) {
            EXPECT_EQ(record->table, record->node->Definition()->GetMatrix());
        }
        v.table.assign(table.GetItems().Items(), table.GetItems().Items() + table.GetSize());
        model.vars.push_back(v);
    }
    return model;
}

// Random networks with deterministic nodes, arcs that carry nothing, zero
// cells, evidence and targets, under every combination of the reductions
// (outcomes taken out included): each piece, enumerated alone, gives its
// targets the posteriors of the whole network; every target is in exactly
// one piece or was settled by its evidence; the network's targets and tables
// are as they were; both orderings of a piece put parents first.
TEST(RelevanceSplitTest, PiecesGiveTheWholeNetworksPosteriors) {
    std::mt19937 rng(2024);
    const unsigned flagSets[] = {0, 1, 2, 3, 7, 15, 47};
    for (int round = 0; round < 210; ++round) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 2 + round % 11;
        options.maxOutcomes = 3;
        options.deterministicShare = 0.3;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 500 + unsigned(round), options);
        ASSERT_FALSE(handles.empty());
        // Without functional determination the split settles what evidence decides.
        if (round % 2 == 0) net.SetNetworkFlags(QEL_network::QEL_RELEVANCE_ACTIVE);
        if (round % 4 < 2) IgnoreSomeParents(net, handles, rng);
        ObserveSomePossible(net, handles, rng, 0.35);
        const std::vector<int> targets = round % 3 != 0 ? TargetSome(net, handles, rng) : handles;
        const int targetCount = net.GetNumberOfTargets();
        net.InvalidateAllBeliefs();
        const orvil_test::BruteNetworkResult oracle = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        const std::vector<std::vector<double>> before = SnapshotTables(net);
        const unsigned flags = flagSets[round % 7];

        const Split pieces(net, flags);
        const std::string where = "round " + std::to_string(round) + " flags " + std::to_string(flags);
        EXPECT_EQ(net.GetNumberOfTargets(), targetCount) << where;
        std::vector<int> seen(size_t(net.GetLastNode() + 1), 0);
        for (QEL_rNetwork* piece : *pieces.list) {
            for (int ordering = 0; ordering < 2; ++ordering) {
                SCOPED_TRACE(where + " ordering " + std::to_string(ordering));
                if (ordering == 0) piece->Partial_Ordering();
                if (ordering == 1) piece->Priority_Partial_Ordering();
                const orvil_test::BruteModel model = CheckedModel(*piece);
                const orvil_test::BruteResult local = orvil_test::BruteForce(model);
                ASSERT_TRUE(local.ok);
                ASSERT_GT(local.probEvidence, 0.0);
                for (size_t i = 0; i < model.vars.size(); ++i) {
                    const int h = model.vars[i].handle;
                    if (ordering == 1) ++seen[size_t(h)];
                    if (targetCount > 0 && net.IsTarget(h) != 1) continue;
                    // A node that lost outcomes has them at probability 0.
                    const QEL_rNode& record = *piece->nodes[int(i)];
                    std::vector<double> full(oracle.byHandle[size_t(h)].size(), 0.0);
                    for (size_t s = 0; s < local.posteriors[i].size(); ++s) {
                        const bool shrunk = !record.keptStates.IsEmpty();
                        full[shrunk ? size_t(record.keptStates[int(s)]) : s] = local.posteriors[i][s];
                    }
                    for (size_t s = 0; s < full.size(); ++s) {
                        EXPECT_NEAR(full[s], oracle.byHandle[size_t(h)][s], 1e-12) << "node " << h;
                    }
                }
            }
        }
        for (int h : targets) {
            EXPECT_LE(seen[size_t(h)], 1) << where << " node " << h;
            if (seen[size_t(h)] == 0) ExpectOracleBeliefs(net, oracle, h, 1e-12, where);
        }
        EXPECT_EQ(SnapshotTables(net), before) << where;
    }
}

// P -> Q -> R and P -> S, with Q certain to be 1 when P is 0. Barren nodes
// go; a root with one child is summed into it only with bit 1; no targets
// keeps everything and leaves no targets behind; an observed root cuts its
// children apart, each with an owned slice of its table while the
// definition's stays; the deterministic child is instantiated only with bit
// 2; control cuts a node from its parents, which then turn barren.
TEST(RelevanceSplitTest, ReductionsOnASmallNetwork) {
    QEL_network net;
    net.SetNetworkFlags(net.GetNetworkFlags() & ~QEL_network::QEL_FUNCTIONAL_DETERMINATION);
    const int p = AddCpt(net, "P", 2);
    const int q = AddCpt(net, "Q", 2);
    const int r = AddCpt(net, "R", 2);
    const int s = AddCpt(net, "S", 3);
    ASSERT_EQ(net.AddArc(p, q), 0);
    ASSERT_EQ(net.AddArc(q, r), 0);
    ASSERT_EQ(net.AddArc(p, s), 0);
    FillTable(net, p, {0.25, 0.75});
    FillTable(net, q, {0.0, 1.0, 0.6, 0.4});
    FillTable(net, r, {0.9, 0.1, 0.2, 0.8});
    FillTable(net, s, {0.1, 0.2, 0.7, 0.3, 0.3, 0.4});
    EXPECT_EQ(Split(Targets(net, {q}), 2).ids, (Pieces{{"P", "Q"}}));
    const Split summed(Targets(net, {q, r}), 1);
    ASSERT_EQ(summed.ids, (Pieces{{"Q", "R"}}));
    // Summed into Q, P leaves it 0.25 * (0, 1) + 0.75 * (0.6, 0.4).
    EXPECT_NEAR((*summed.Record(0, 0).table)[0], 0.45, 1e-15);
    EXPECT_NEAR((*summed.Record(0, 0).table)[1], 0.55, 1e-15);
    EXPECT_EQ(Split(Targets(net, {}), 7).ids, (Pieces{{"P", "Q", "R", "S"}}));
    EXPECT_EQ(net.GetNumberOfTargets(), 0);

    ASSERT_EQ(net.GetNode(p)->Value()->SetEvidence(0), 0);
    const Split cut(Targets(net, {q, s}), 0);
    EXPECT_EQ(cut.ids, (Pieces{{"Q"}, {"S"}}));
    EXPECT_EQ(cut.Record(0, 0).evidence, -1);
    EXPECT_EQ(cut.Record(1, 0).tableKind, +QEL_rNode::ownTable);
    EXPECT_EQ((*cut.Record(1, 0).table)[2], 0.7);
    EXPECT_EQ((*net.GetNode(s)->Definition()->GetMatrix())[3], 0.3);
    net.InvalidateAllBeliefs();
    EXPECT_EQ(Split(Targets(net, {q, s}), 3).ids, (Pieces{{"S"}}));
    ASSERT_TRUE(net.GetNode(q)->Value()->IsValueValid());
    EXPECT_EQ(Beliefs(net, q)[1], 1.0);

    ASSERT_EQ(net.GetNode(p)->Value()->ClearEvidence(), 0);
    ASSERT_EQ(static_cast<QEL_beliefVector*>(net.GetNode(q)->Value())->ControlValue(1), 0);
    EXPECT_EQ(Split(Targets(net, {r}), 0).ids, (Pieces{{"R"}}));
}

// A -> B <- C <- D, where B's table is the same whatever C does. With bit 8
// the arc C -> B goes: B keeps an owned copy of its table without C's
// dimension, and C and D, no longer above any target, go as barren. A
// target C stands apart from B. Without the bit, or when a full update keeps
// the cliques' joint tables, the family of B stays whole.
TEST(RelevanceSplitTest, ArcsATableIgnoresAreDropped) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int c = AddCpt(net, "C", 3);
    const int d = AddCpt(net, "D", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(c, b), 0);
    ASSERT_EQ(net.AddArc(d, c), 0);
    FillTable(net, a, {0.25, 0.75});
    FillTable(net, b, {0.1, 0.9, 0.1, 0.9, 0.1, 0.9, 0.6, 0.4, 0.6, 0.4, 0.6, 0.4});
    FillTable(net, c, {0.2, 0.3, 0.5, 0.7, 0.2, 0.1});
    FillTable(net, d, {0.5, 0.5});
    const std::vector<std::vector<double>> before = SnapshotTables(net);

    const Split dropped(Targets(net, {b}), 8);
    ASSERT_EQ(dropped.ids, (Pieces{{"A", "B"}}));
    const QEL_rNode& record = dropped.Record(0, 1);
    EXPECT_EQ(record.tableKind, +QEL_rNode::ownTable);
    ASSERT_EQ(record.table->GetNumberOfDimensions(), 2);
    EXPECT_EQ(record.table->GetItems()[2], 0.6);
    EXPECT_EQ(Split(Targets(net, {b, c}), 8).ids, (Pieces{{"A", "B"}, {"C", "D"}}));
    EXPECT_EQ(Split(Targets(net, {b}), 0).ids, (Pieces{{"A", "B", "C", "D"}}));
    EXPECT_EQ(SnapshotTables(net), before);

    // B's ignored parent changes nothing, even observed.
    net.ClearAllTargets();
    ASSERT_EQ(net.GetNode(c)->Value()->SetEvidence(2), 0);
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(net, b)[0], 0.25 * 0.1 + 0.75 * 0.6, 1e-15);
    EXPECT_NEAR(Beliefs(net, d)[0], 0.5 * 0.5 / (0.5 * 0.5 + 0.5 * 0.1), 1e-15);
    net.EnableJptStore(true);
    net.InvalidateAllBeliefs();
    ASSERT_EQ(net.GetNode(c)->Value()->ClearEvidence(), 0);
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>> tables;
    ASSERT_EQ(net.GetJpts(c, tables), 0);
    bool familyWhole = false;
    for (const auto& entry : tables) {
        familyWhole = familyWhole || std::count(entry.first.begin(), entry.first.end(), b) == 1;
    }
    EXPECT_TRUE(familyWhole);
}

// P -> Q, with a column of Q summing to 0.99 as hand-rounded tables do. By
// default Q is dropped unread as barren, and that weight with it. A network
// that sets "QEL_REL_BARREN_TOLERANCE" below the miss asks for its digits:
// the sums go into P's table instead, and P's belief keeps them, as a full
// update's does. Values that cannot be read keep the default.
TEST(RelevanceSplitTest, BarrenColumnSumsCountOnlyWhenAsked) {
    QEL_network net;
    const int p = AddCpt(net, "P", 2);
    const int q = AddCpt(net, "Q", 2);
    ASSERT_EQ(net.AddArc(p, q), 0);
    FillTable(net, p, {0.25, 0.75});
    FillTable(net, q, {0.5, 0.49, 0.3, 0.7});
    const double weighted = 0.2475 / 0.9975;
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(net, q)[0], (0.25 * 0.5 + 0.75 * 0.3) / 0.9975, 1e-15);
    EXPECT_NEAR(Beliefs(net, p)[0], weighted, 1e-15);
    net.SetTarget(p, true);
    const std::pair<const char*, bool> runs[] = {{nullptr, false}, {"0.02", false}, {"1", false}, {"-1", false},
                                                 {"x", false},     {"0", true},     {"0.005", true}};
    for (const auto& [tolerance, keep] : runs) {
        SetProperty(net, "QEL_REL_BARREN_TOLERANCE", tolerance);
        const Split split(net, 0);
        ASSERT_EQ(split.ids, (Pieces{{"P"}})) << (tolerance ? tolerance : "default");
        EXPECT_EQ((*split.Record(0, 0).table)[0], keep ? 0.25 * 0.99 : 0.25);
        EXPECT_EQ((*split.Record(0, 0).table)[1], 0.75);
        net.InvalidateAllBeliefs();
        ASSERT_EQ(net.UpdateBeliefs(), 0);
        if (keep) EXPECT_NEAR(Beliefs(net, p)[0], weighted, 1e-15);
        else EXPECT_EQ(Beliefs(net, p)[0], 0.25);
    }
}

// A -> X <- B beside R -> E, E observed, with X's columns summing to four
// different values. Asked for every digit, the probability of E keeps X's
// weight, though only R is targeted for it and no parent of X holds the
// other: the weight stays with a piece of its own until the roots are summed
// into it, and its last cell joins the constant factor. By default X goes
// unread, and its weight with it.
TEST(RelevanceSplitTest, ProbabilityOfEvidenceKeepsWeightNoTargetReaches) {
    QEL_network net;
    const int a = AddCpt(net, "A", 2);
    const int b = AddCpt(net, "B", 2);
    const int x = AddCpt(net, "X", 2);
    const int r = AddCpt(net, "R", 2);
    const int e = AddCpt(net, "E", 2);
    ASSERT_EQ(net.AddArc(a, x), 0);
    ASSERT_EQ(net.AddArc(b, x), 0);
    ASSERT_EQ(net.AddArc(r, e), 0);
    FillTable(net, a, {0.25, 0.75});
    FillTable(net, b, {0.4, 0.6});
    FillTable(net, x, {0.5, 0.4, 0.3, 0.6, 0.2, 0.6, 0.7, 0.1});
    FillTable(net, r, {0.1, 0.9});
    FillTable(net, e, {0.3, 0.7, 0.6, 0.4});
    ASSERT_EQ(net.GetNode(e)->Value()->SetEvidence(1), 0);
    const double weight = 0.25 * (0.4 * 0.9 + 0.6 * 0.9) + 0.75 * (0.4 * 0.8 + 0.6 * 0.8);
    const double likelihood = 0.1 * 0.7 + 0.9 * 0.4;
    SetProperty(net, "QEL_REL_BARREN_TOLERANCE", "0");
    double pe = 0.0;
    ASSERT_EQ(net.CalcProbEvidence(pe, false), 0);
    EXPECT_NEAR(pe, likelihood * weight, 1e-15);
    SetProperty(net, "QEL_REL_BARREN_TOLERANCE", nullptr);
    ASSERT_EQ(net.CalcProbEvidence(pe, false), 0);
    EXPECT_NEAR(pe, likelihood, 1e-15);
}

// A -> B, where A's third outcome has prior 0 and B is certain to be 0 when A
// is 0. With bit 32 A's third outcome leaves both tables; observing B at 1
// rules out A's first outcome too, and beliefs come back with 0 at what was
// taken out. Impossible evidence leaves every table as it was.
TEST(RelevanceSplitTest, OutcomesThatCannotHappenLeaveTheTables) {
    QEL_network net;
    const int a = AddCpt(net, "A", 3);
    const int b = AddCpt(net, "B", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    FillTable(net, a, {0.5, 0.5, 0.0});
    FillTable(net, b, {1.0, 0.0, 0.3, 0.7, 0.0, 1.0});
    {
        const Split split(Targets(net, {a, b}), 32);
        ASSERT_EQ(split.ids, (Pieces{{"A", "B"}}));
        EXPECT_EQ(split.Record(0, 0).table->GetSize(), 2);
        EXPECT_EQ(split.Record(0, 0).keptStates.Count(), 2);
        EXPECT_EQ(split.Record(0, 1).table->GetSize(), 4);
        EXPECT_TRUE(split.Record(0, 1).keptStates.IsEmpty());
        EXPECT_EQ(Split(Targets(net, {a, b}), 0).Record(0, 0).table->GetSize(), 3);
    }
    net.ClearAllTargets();
    ASSERT_EQ(net.GetNode(b)->Value()->SetEvidence(1), 0);
    {
        const Split split(net, 32);
        ASSERT_EQ(split.ids, (Pieces{{"A", "B"}}));
        ASSERT_EQ(split.Record(0, 0).keptStates.Count(), 1);
        EXPECT_EQ(split.Record(0, 0).keptStates[0], 1);
    }
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_EQ(Beliefs(net, a)[0], 0.0);
    EXPECT_EQ(Beliefs(net, a)[1], 1.0);
    EXPECT_EQ(Beliefs(net, a)[2], 0.0);

    FillTable(net, a, {1.0, 0.0, 0.0});
    const Split impossible(net, 32);
    ASSERT_EQ(impossible.ids, (Pieces{{"A", "B"}}));
    EXPECT_EQ(impossible.Record(0, 0).table->GetSize(), 3);
    EXPECT_TRUE(impossible.Record(0, 0).keptStates.IsEmpty());
}

}  // namespace
