// Relevance reasoning: the pieces of random networks, enumerated on their
// own, give the targets the whole network's posteriors; the pieces are well
// formed and leave the definitions' tables alone; and the reductions behave
// on small networks built to show each one.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "brute_force.h"
#include "random_network.h"
#include "relevance_fixture.h"
#include "orvil/beliefvector.h"
#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"
#include "orvil/userproperties.h"

namespace {

using relevance_test::Beliefs;

struct PieceList {
    QEL_rNetworkList* list = nullptr;
    ~PieceList() {
        if (list == nullptr) return;
        for (QEL_rNetwork* piece : *list) delete piece;
        delete list;
    }
};

std::vector<std::vector<double>> SnapshotTables(QEL_network& net) {
    std::vector<std::vector<double>> tables(size_t(net.GetLastNode() + 1));
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        const QEL_Dmatrix* m = net.GetNode(h)->Definition()->GetMatrix();
        for (int i = 0; i < m->GetSize(); ++i) tables[size_t(h)].push_back((*m)[i]);
    }
    return tables;
}

// Checks the links and tables of `piece` and turns it into an oracle model.
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
        }
        for (const QEL_rNode* child : record->children) {
            EXPECT_GE(child->FindParent(record), 0);
            EXPECT_GE(piece.nodes.IndexOf(const_cast<QEL_rNode*>(child)), 0) << "child outside the piece";
        }
        if (record->tableKind == QEL_rNode::sharedTable) {
            EXPECT_EQ(record->table, record->node->Definition()->GetMatrix());
        }
        for (int i = 0; i < table.GetSize(); ++i) v.table.push_back(table[i]);
        model.vars.push_back(v);
    }
    return model;
}

bool IsTopological(const QEL_rNetwork& piece) {
    for (int i = 0; i < piece.nodes.Count(); ++i) {
        for (const QEL_rNode* parent : piece.nodes[i]->parents) {
            const int at = piece.nodes.IndexOf(const_cast<QEL_rNode*>(parent));
            if (at < 0 || at >= i) return false;
        }
    }
    return true;
}

// Random networks with deterministic nodes, evidence and targets, under every
// combination of the reductions: each piece, enumerated alone, gives its
// targets the posteriors of the whole network; every target is in exactly
// one piece or was settled by its evidence; the network's targets and tables
// are as they were; both orderings of a piece are topological.
TEST(RelevanceSplitTest, PiecesGiveTheWholeNetworksPosteriors) {
    std::mt19937 rng(2024);
    const unsigned flagSets[] = {0, 1, 2, 3, 7};
    for (int round = 0; round < 150; ++round) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 2 + round % 11;
        options.maxOutcomes = 3;
        options.deterministicShare = 0.3;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 500 + unsigned(round), options);
        ASSERT_FALSE(handles.empty());
        relevance_test::ObserveSomePossible(net, handles, rng, 0.35);
        std::vector<int> targets = handles;
        if (round % 3 != 0) targets = relevance_test::TargetSome(net, handles, rng);
        const int targetCount = net.GetNumberOfTargets();
        net.InvalidateAllBeliefs();
        const orvil_test::BruteNetworkResult oracle = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        const std::vector<std::vector<double>> before = SnapshotTables(net);
        const unsigned flags = flagSets[round % 5];

        PieceList pieces;
        pieces.list = QEL_relevantSplit(&net, flags);
        ASSERT_NE(pieces.list, nullptr);
        const std::string where = "round " + std::to_string(round) + " flags " + std::to_string(flags);
        EXPECT_EQ(net.GetNumberOfTargets(), targetCount) << where;
        std::vector<int> seen(size_t(net.GetLastNode() + 1), 0);
        for (QEL_rNetwork* piece : *pieces.list) {
            const orvil_test::BruteModel model = CheckedModel(*piece);
            const orvil_test::BruteResult local = orvil_test::BruteForce(model);
            ASSERT_TRUE(local.ok) << where;
            ASSERT_GT(local.probEvidence, 0.0) << where;
            for (size_t i = 0; i < model.vars.size(); ++i) {
                const int h = model.vars[i].handle;
                ++seen[size_t(h)];
                if (net.GetNumberOfTargets() > 0 && net.IsTarget(h) != 1) continue;
                for (size_t s = 0; s < local.posteriors[i].size(); ++s) {
                    EXPECT_NEAR(local.posteriors[i][s], oracle.byHandle[size_t(h)][s], 1e-12) << where << " node " << h;
                }
            }
            piece->Partial_Ordering();
            EXPECT_TRUE(IsTopological(*piece)) << where;
            piece->Priority_Partial_Ordering();
            EXPECT_TRUE(IsTopological(*piece)) << where;
        }
        for (int h : targets) {
            EXPECT_LE(seen[size_t(h)], 1) << where << " node " << h;
            if (seen[size_t(h)] == 0) relevance_test::ExpectOracleBeliefs(net, oracle, h, 1e-12, where.c_str());
        }
        EXPECT_EQ(SnapshotTables(net), before) << where;
    }
}

int AddNode(QEL_network& net, const char* id, int states) {
    const int h = net.AddNode(qel_cptType, id);
    net.GetNode(h)->Definition()->SetNumberOfOutcomes(states);
    return h;
}

void Fill(QEL_network& net, int h, const std::vector<double>& cells) {
    QEL_Dmatrix* table = net.GetNode(h)->Definition()->GetMatrix();
    ASSERT_EQ(table->GetSize(), int(cells.size()));
    for (int i = 0; i < table->GetSize(); ++i) (*table)[i] = cells[size_t(i)];
}

using Pieces = std::vector<std::vector<std::string>>;

// Identifiers of each piece's nodes, piece by piece.
Pieces Shape(QEL_network& net, const std::vector<int>& targets, unsigned flags, PieceList& pieces) {
    net.ClearAllTargets();
    for (int h : targets) net.SetTarget(h, true);
    pieces.list = QEL_relevantSplit(&net, flags);
    Pieces shape;
    for (QEL_rNetwork* piece : *pieces.list) {
        shape.emplace_back();
        for (QEL_rNode* record : piece->nodes) shape.back().push_back(record->node->GetId());
    }
    return shape;
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
    const int p = AddNode(net, "P", 2);
    const int q = AddNode(net, "Q", 2);
    const int r = AddNode(net, "R", 2);
    const int s = AddNode(net, "S", 3);
    ASSERT_EQ(net.AddArc(p, q), 0);
    ASSERT_EQ(net.AddArc(q, r), 0);
    ASSERT_EQ(net.AddArc(p, s), 0);
    Fill(net, p, {0.25, 0.75});
    Fill(net, q, {0.0, 1.0, 0.6, 0.4});
    Fill(net, r, {0.9, 0.1, 0.2, 0.8});
    Fill(net, s, {0.1, 0.2, 0.7, 0.3, 0.3, 0.4});
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, {q}, 2, pieces), (Pieces{{"P", "Q"}}));
        QEL_network copy;
        ASSERT_EQ(QEL_netFromRnet(*(*pieces.list)[0], copy), 0);
        const int qCopy = copy.FindNode("Q");
        ASSERT_EQ(copy.GetParents(qCopy).NumItems(), 1);
        EXPECT_EQ(copy.GetParents(qCopy)[0], copy.FindNode("P"));
        EXPECT_EQ((*copy.GetNode(qCopy)->Definition()->GetMatrix())[2], 0.6);
        EXPECT_EQ(copy.IsTarget(qCopy), 1);
        EXPECT_EQ(copy.IsTarget(copy.FindNode("P")), 0);
    }
    {
        // Summed into Q, P leaves it 0.25 * (0, 1) + 0.75 * (0.6, 0.4).
        PieceList pieces;
        ASSERT_EQ(Shape(net, {q, r}, 1, pieces), (Pieces{{"Q", "R"}}));
        const QEL_Dmatrix& summed = *(*pieces.list)[0]->nodes[0]->table;
        ASSERT_EQ(summed.GetSize(), 2);
        EXPECT_NEAR(summed[0], 0.45, 1e-15);
        EXPECT_NEAR(summed[1], 0.55, 1e-15);
    }
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, {}, 7, pieces), (Pieces{{"P", "Q", "R", "S"}}));
        EXPECT_EQ(net.GetNumberOfTargets(), 0);
    }
    ASSERT_EQ(net.GetNode(p)->Value()->SetEvidence(0), 0);
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, {q, s}, 0, pieces), (Pieces{{"Q"}, {"S"}}));
        EXPECT_EQ((*pieces.list)[0]->nodes[0]->evidence, -1);
        const QEL_rNode& sRecord = *(*pieces.list)[1]->nodes[0];
        EXPECT_EQ(sRecord.tableKind, +QEL_rNode::ownTable);
        ASSERT_EQ(sRecord.table->GetSize(), 3);
        EXPECT_EQ((*sRecord.table)[2], 0.7);
        EXPECT_EQ((*net.GetNode(s)->Definition()->GetMatrix())[3], 0.3);
    }
    {
        net.InvalidateAllBeliefs();
        PieceList pieces;
        EXPECT_EQ(Shape(net, {q, s}, 3, pieces), (Pieces{{"S"}}));
        ASSERT_TRUE(net.GetNode(q)->Value()->IsValueValid());
        EXPECT_EQ(Beliefs(net, q)[1], 1.0);
    }
    ASSERT_EQ(net.GetNode(p)->Value()->ClearEvidence(), 0);
    ASSERT_EQ(static_cast<QEL_beliefVector*>(net.GetNode(q)->Value())->ControlValue(1), 0);
    PieceList pieces;
    EXPECT_EQ(Shape(net, {r}, 0, pieces), (Pieces{{"R"}}));
}

// P -> Q, with a column of Q summing to 0.99 as hand-rounded tables do.
// Dropped as barren, Q would take that weight with it: it goes into P's
// table instead, and P's belief keeps it, unless the network's
// "QEL_REL_BARREN_TOLERANCE" accepts such sums as one, or any sums.
TEST(RelevanceSplitTest, BarrenColumnSumsStayUnlessTolerated) {
    QEL_network net;
    const int p = AddNode(net, "P", 2);
    const int q = AddNode(net, "Q", 2);
    ASSERT_EQ(net.AddArc(p, q), 0);
    Fill(net, p, {0.25, 0.75});
    Fill(net, q, {0.5, 0.49, 0.3, 0.7});
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, {p}, 0, pieces), (Pieces{{"P"}}));
        const QEL_Dmatrix& weighted = *(*pieces.list)[0]->nodes[0]->table;
        EXPECT_EQ(weighted[0], 0.25 * 0.99);
        EXPECT_EQ(weighted[1], 0.75);
    }
    net.SetTarget(p, true);
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(net, p)[0], 0.2475 / 0.9975, 1e-15);
    for (const char* tolerance : {"0.02", "1"}) {
        const int index = net.UserProperties().FindProperty("QEL_REL_BARREN_TOLERANCE");
        if (index >= 0) net.UserProperties().DeleteProperty(index);
        ASSERT_GE(net.UserProperties().AddProperty("QEL_REL_BARREN_TOLERANCE", tolerance), 0);
        net.InvalidateAllBeliefs();
        ASSERT_EQ(net.UpdateBeliefs(), 0);
        EXPECT_EQ(Beliefs(net, p)[0], 0.25) << tolerance;
    }
}

}  // namespace
