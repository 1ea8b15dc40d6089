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

// Identifiers of each piece's nodes, piece by piece.
std::vector<std::vector<std::string>> Shape(QEL_network& net, unsigned flags, PieceList& pieces) {
    pieces.list = QEL_relevantSplit(&net, flags);
    std::vector<std::vector<std::string>> shape;
    if (pieces.list == nullptr) return shape;
    for (QEL_rNetwork* piece : *pieces.list) {
        shape.emplace_back();
        for (QEL_rNode* record : piece->nodes) shape.back().push_back(record->node->GetId());
    }
    return shape;
}

using Pieces = std::vector<std::vector<std::string>>;

// Barren nodes and their childless ancestors go; an observed root cuts its
// children apart into pieces of their own, each with an owned slice of its
// table; with no targets everything stays and the network has no targets
// afterwards.
TEST(RelevanceSplitTest, BarrenNodesAndObservedRoots) {
    QEL_network net;
    const int a = AddNode(net, "A", 2);
    const int b = AddNode(net, "B", 2);
    const int c = AddNode(net, "C", 2);
    const int d = AddNode(net, "D", 3);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(b, c), 0);
    ASSERT_EQ(net.AddArc(a, d), 0);
    Fill(net, a, {0.4, 0.6});
    Fill(net, b, {0.9, 0.1, 0.3, 0.7});
    Fill(net, c, {0.5, 0.5, 0.2, 0.8});
    Fill(net, d, {0.1, 0.2, 0.7, 0.3, 0.3, 0.4});
    {
        PieceList pieces;
        net.SetTarget(b, true);
        EXPECT_EQ(Shape(net, 2, pieces), (Pieces{{"A", "B"}}));
    }
    {
        PieceList pieces;
        net.ClearAllTargets();
        EXPECT_EQ(Shape(net, 7, pieces), (Pieces{{"A", "B", "C", "D"}}));
        EXPECT_EQ(net.GetNumberOfTargets(), 0);
    }
    ASSERT_EQ(net.GetNode(a)->Value()->SetEvidence(1), 0);
    PieceList pieces;
    net.SetTarget(c, true);
    net.SetTarget(d, true);
    EXPECT_EQ(Shape(net, 0, pieces), (Pieces{{"B", "C"}, {"D"}}));
    const QEL_rNode& dRecord = *(*pieces.list)[1]->nodes[0];
    EXPECT_EQ(dRecord.tableKind, +QEL_rNode::ownTable);
    ASSERT_EQ(dRecord.table->GetNumberOfDimensions(), 1);
    EXPECT_EQ((*dRecord.table)[0], 0.3);
    EXPECT_EQ((*dRecord.table)[2], 0.4);
    EXPECT_EQ((*net.GetNode(d)->Definition()->GetMatrix())[0], 0.1);
    EXPECT_EQ((*pieces.list)[0]->nodes[1]->tableKind, +QEL_rNode::sharedTable);
}

// A deterministic child of an observed node is instantiated in the copy only
// when propagated evidence counts; a controlled node loses its parents, which
// become barren; a non-target root is summed into its only child, and stays
// when it has two.
TEST(RelevanceSplitTest, DeterminismControlAndNuisance) {
    QEL_network net;
    net.SetNetworkFlags(net.GetNetworkFlags() & ~QEL_network::QEL_FUNCTIONAL_DETERMINATION);
    const int p = AddNode(net, "P", 2);
    const int q = AddNode(net, "Q", 2);
    const int r = AddNode(net, "R", 2);
    ASSERT_EQ(net.AddArc(p, q), 0);
    ASSERT_EQ(net.AddArc(q, r), 0);
    Fill(net, p, {0.25, 0.75});
    Fill(net, q, {0.0, 1.0, 0.6, 0.4});  // P = 0 makes Q = 1 certain
    Fill(net, r, {0.9, 0.1, 0.2, 0.8});
    net.SetTarget(q, true);
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, 0, pieces), (Pieces{{"P", "Q"}}));
    }
    {
        // Summed into Q, P leaves Q with its prior 0.25 * (0, 1) + 0.75 * (0.6, 0.4).
        PieceList pieces;
        net.SetTarget(r, true);
        ASSERT_EQ(Shape(net, 1, pieces), (Pieces{{"Q", "R"}}));
        const QEL_Dmatrix& summed = *(*pieces.list)[0]->nodes[0]->table;
        ASSERT_EQ(summed.GetSize(), 2);
        EXPECT_NEAR(summed[0], 0.45, 1e-15);
        EXPECT_NEAR(summed[1], 0.55, 1e-15);
        net.SetTarget(r, false);
    }
    ASSERT_EQ(net.GetNode(p)->Value()->SetEvidence(0), 0);
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, 1, pieces), (Pieces{{"Q"}}));
        EXPECT_EQ((*pieces.list)[0]->nodes[0]->evidence, -1);
    }
    {
        net.InvalidateAllBeliefs();
        PieceList pieces;
        EXPECT_EQ(Shape(net, 3, pieces), Pieces{});
        ASSERT_TRUE(net.GetNode(q)->Value()->IsValueValid());
        EXPECT_EQ(Beliefs(net, q)[1], 1.0);
    }
    ASSERT_EQ(net.GetNode(p)->Value()->ClearEvidence(), 0);
    auto* control = static_cast<QEL_beliefVector*>(net.GetNode(q)->Value());
    ASSERT_EQ(control->ControlValue(1), 0);
    net.ClearAllTargets();
    net.SetTarget(r, true);
    {
        PieceList pieces;
        EXPECT_EQ(Shape(net, 3, pieces), (Pieces{{"R"}}));
    }
    ASSERT_EQ(control->ClearControlledValue(), 0);
    const int s = AddNode(net, "S", 2);
    ASSERT_EQ(net.AddArc(p, s), 0);
    net.SetTarget(s, true);
    PieceList pieces;
    EXPECT_EQ(Shape(net, 1, pieces), (Pieces{{"P", "Q", "R", "S"}}));

    // The debugging copy of a piece has its nodes, arcs and tables.
    QEL_network copy;
    ASSERT_EQ(QEL_netFromRnet(*(*pieces.list)[0], copy), 0);
    const int qCopy = copy.FindNode("Q");
    ASSERT_GE(qCopy, 0);
    ASSERT_EQ(copy.GetParents(qCopy).NumItems(), 1);
    EXPECT_EQ(copy.GetParents(qCopy)[0], copy.FindNode("P"));
    EXPECT_EQ((*copy.GetNode(qCopy)->Definition()->GetMatrix())[2], 0.6);
    EXPECT_EQ(copy.IsTarget(copy.FindNode("S")), 1);
    EXPECT_EQ(copy.IsTarget(qCopy), 0);
}

}  // namespace
