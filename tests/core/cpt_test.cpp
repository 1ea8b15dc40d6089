// Conditional tables and truth tables on their own: items, consistency,
// the deterministic repair, resulting outcomes, the parent-necessity test
// and summing a parent out, checked against plain coordinate arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "orvil/cpt.h"
#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/nodevalue.h"
#include "orvil/node.h"
#include "orvil/stringarray.h"
#include "orvil/truthtable.h"
#include "lifecycle_describe.h"
#include "random_network.h"

namespace {

QEL_cpt* Cpt(QEL_network& net, int h) { return static_cast<QEL_cpt*>(net.GetNode(h)->Definition()); }
QEL_truthTable* Tt(QEL_network& net, int h) { return static_cast<QEL_truthTable*>(net.GetNode(h)->Definition()); }

void SetItems(QEL_cpt* def, const std::vector<double>& items) {
    QEL_doubleArray a(static_cast<int>(items.size()));
    for (size_t i = 0; i < items.size(); i++) a[static_cast<int>(i)] = items[i];
    def->SetDefinition(a);
}

std::vector<double> Items(QEL_nodeDefinition* def) {
    const QEL_Dmatrix& m = *def->GetMatrix();
    std::vector<double> out;
    for (int i = 0; i < m.GetSize(); i++) out.push_back(m[i]);
    return out;
}

std::vector<int> List(const QEL_intArray& a) { return std::vector<int>(a.Items(), a.Items() + a.NumItems()); }

// A random network of `nodes` nodes, as BuildRandomNetwork makes it.
std::vector<int> Build(QEL_network& net, unsigned seed, int nodes, double deterministicShare = 0.0,
                       double zeroShare = 0.2) {
    orvil_test::RandomNetworkOptions options;
    options.nodes = nodes;
    options.deterministicShare = deterministicShare;
    options.zeroShare = zeroShare;
    return orvil_test::BuildRandomNetwork(net, seed, options);
}

QEL_intArray Coords(std::initializer_list<int> values) {
    QEL_intArray c;
    for (int v : values) c.Add(v);
    return c;
}

TEST(CptItems, ConsistencyToleranceFollowsTheSmallestPositiveItem) {
    QEL_network net;
    const int h = net.AddNode(qel_cptType, "a");
    QEL_cpt* def = Cpt(net, h);
    SetItems(def, {0.5, 0.5000001});
    EXPECT_EQ(0, def->CheckConsistency(1));
    SetItems(def, {0.5, 0.51});
    EXPECT_NE(0, def->CheckConsistency(1));
    EXPECT_FALSE(def->IsConsistent());
    // 9e-07 short of one, but the tolerance drops to the 1e-07 item.
    SetItems(def, {0.999999, 0.0000001});
    EXPECT_NE(0, def->CheckConsistency(1));
    SetItems(def, {1.2, -0.2});
    EXPECT_NE(0, def->CheckConsistency(1));
    SetItems(def, {0.25, 0.75});
    EXPECT_EQ(0, def->CheckConsistency(1));

    QEL_intArray c = Coords({1});
    EXPECT_EQ(-2, def->SetProbability(c, 1.5));
    double p = 0.0;
    QEL_intArray bad = Coords({2});
    EXPECT_EQ(-2, def->GetProbability(bad, p));
    EXPECT_EQ(-2, def->SetProbability(bad, 0.5));

    QEL_doubleArray wrong(3);
    EXPECT_EQ(-2, def->SetProbabilities(wrong));
    QEL_doubleArray right(2);
    right[0] = 0.4;
    right[1] = 0.6;
    EXPECT_EQ(0, def->SetProbabilities(right));
    EXPECT_EQ((std::vector<double>{0.4, 0.6}), Items(def));
    EXPECT_TRUE(def->IsConsistent());
}

TEST(CptOutcomes, OwnOutcomeEditsKeepColumnsAndCounts) {
    QEL_network net;
    const int p = net.AddNode(qel_cptType, "p");
    const int h = net.AddNode(qel_cptType, "a");
    QEL_cpt* def = Cpt(net, h);
    EXPECT_EQ(-2, def->RemoveOutcome(0));
    ASSERT_EQ(0, net.AddArc(p, h));
    SetItems(def, {0.3, 0.7, 0.9, 0.1});

    ASSERT_EQ(0, def->InsertOutcome(1, "mid"));
    EXPECT_EQ(-2, def->InsertOutcome(5, "far"));
    ASSERT_EQ(0, def->RemoveOutcome(0));
    // The columns are left short: the removed mass is not spread out.
    EXPECT_EQ((std::vector<double>{0.0, 0.7, 0.0, 0.1}), Items(def));
    EXPECT_EQ(-2, def->RemoveOutcome(0));

    // A count below one empties the definition and says so.
    EXPECT_EQ(-2, def->SetNumberOfOutcomes(0));
    EXPECT_EQ(0, def->GetNumberOfOutcomes());
    EXPECT_NE(0, def->CheckConsistency(1));
    EXPECT_EQ(-2, def->AddOutcome("x"));
    ASSERT_EQ(0, def->SetNumberOfOutcomes(3));
    EXPECT_EQ(6, def->GetSize());
    EXPECT_EQ(0, def->CheckConsistency(1));

    ASSERT_EQ(0, def->MakeUniform());
    for (double v : Items(def)) EXPECT_DOUBLE_EQ(1.0 / 3.0, v);
}

TEST(TruthTable, RepairPicksTheLargestCellAndTheLaterOnTies) {
    QEL_network net;
    const int h = net.AddNode(qel_truthTableType, "d");
    QEL_truthTable* def = Tt(net, h);
    EXPECT_EQ((std::vector<double>{1.0, 0.0}), Items(def));
    EXPECT_EQ(-51, def->MakeUniform());
    ASSERT_EQ(0, def->SetNumberOfOutcomes(3));
    EXPECT_EQ((std::vector<double>{1.0, 0.0, 0.0}), Items(def));

    // Random columns, ties and zero columns among them: one 1.0 where the
    // last maximum stood.
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> level(0, 3);
    for (int round = 0; round < 200; round++) {
        std::vector<double> column{level(rng) / 3.0, level(rng) / 3.0, level(rng) / 3.0};
        int best = 0;
        for (int k = 1; k < 3; k++)
            if (column[k] >= column[best]) best = k;
        SetItems(def, column);
        const bool oneHot = std::count(column.begin(), column.end(), 1.0) == 1 &&
                            std::count(column.begin(), column.end(), 0.0) == 2;
        ASSERT_EQ(oneHot, def->CheckConsistency(1) == 0);
        ASSERT_EQ(0, def->MakeConsistent());
        std::vector<double> expected(3, 0.0);
        expected[best] = 1.0;
        ASSERT_EQ(expected, Items(def));
        ASSERT_EQ(0, def->CheckConsistency(1));
    }
}

TEST(TruthTable, ResultingStatesRoundTripByNumberAndName) {
    QEL_network net;
    const std::vector<int> handles = Build(net, 11, 4, 1.0);
    ASSERT_EQ(4u, handles.size());
    std::mt19937 rng(3);
    for (int h : handles) {
        QEL_truthTable* def = Tt(net, h);
        const int n = def->GetNumberOfOutcomes();
        const int columns = def->GetNumberOfColumns();
        ASSERT_EQ(def->GetSize(), columns * n);
        QEL_intArray states;
        for (int c = 0; c < columns; c++) states.Add(std::uniform_int_distribution<int>(0, n - 1)(rng));
        ASSERT_EQ(0, def->SetResultingStates(states));
        QEL_intArray back;
        ASSERT_EQ(0, def->GetResultingStates(back));
        ASSERT_EQ(List(states), List(back));
        ASSERT_EQ(0, def->CheckConsistency(1));

        QEL_stringArray names;
        ASSERT_EQ(0, def->GetResultingStates(names));
        ASSERT_EQ(columns, names.NumItems());
        QEL_intArray cleared;
        for (int c = 0; c < columns; c++) cleared.Add(0);
        def->SetResultingStates(cleared);
        ASSERT_EQ(0, def->SetResultingStates(names));
        def->GetResultingStates(back);
        ASSERT_EQ(List(states), List(back));

        // A column addressed by coordinates answers the same.
        QEL_intArray c;
        def->GetTable().IndexToCoordinates((columns - 1) * n, c);
        EXPECT_EQ(states[columns - 1], def->GetResultingState(c));
        c[def->GetTable().GetLastDimension()] = n - 1;
        ASSERT_EQ(0, def->SetResultingState(c));
        def->GetResultingStates(back);
        EXPECT_EQ(n - 1, back[columns - 1]);

        // An out-of-range outcome changes nothing.
        QEL_intArray bad = states;
        bad[0] = n;
        const std::vector<double> before = Items(def);
        EXPECT_EQ(-2, def->SetResultingStates(bad));
        EXPECT_EQ(before, Items(def));
        QEL_intArray shortList;
        EXPECT_EQ(-2, def->SetResultingStates(shortList));
    }
}

// The necessity test by coordinates: compare every column with the column
// of the parent's first outcome, holding the other parents.
bool NaiveNecessary(const QEL_Dmatrix& m, int position, double epsilon) {
    const int n = m.GetSizeOfLastDimension();
    QEL_intArray c;
    for (int i = 0; i < m.GetSize(); i += n) {
        m.IndexToCoordinates(i, c);
        if (c[position] == 0) continue;
        c[position] = 0;
        const int base = m.CoordinatesToIndex(c);
        double sum = 0.0;
        for (int k = 0; k < n; k++) {
            const double d = std::sqrt(m[i + k]) - std::sqrt(m[base + k]);
            sum += d * d;
        }
        if (sum > epsilon * epsilon) return true;
    }
    return false;
}

TEST(CptParents, NecessityMatchesColumnComparison) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        QEL_network net;
        const std::vector<int> handles = Build(net, seed, 5);
        ASSERT_EQ(5u, handles.size());
        std::mt19937 rng(seed);
        for (int h : handles) {
            QEL_cpt* def = Cpt(net, h);
            const int parents = net.NumParents(h, qel_normalArc);
            if (parents == 0) continue;
            const int position = std::uniform_int_distribution<int>(0, parents - 1)(rng);
            // Half the time make the parent irrelevant: every column equals
            // the one at the parent's outcome 0.
            QEL_Dmatrix& m = *def->GetMatrix();
            if (seed % 2 == 0) {
                QEL_intArray c;
                for (int i = 0; i < m.GetSize(); i++) {
                    m.IndexToCoordinates(i, c);
                    c[position] = 0;
                    m[i] = m[m.CoordinatesToIndex(c)];
                }
            }
            for (double epsilon : {0.0, 0.01, 0.2}) {
                bool necessary = false;
                ASSERT_EQ(0, def->IsParentNecessary(position, epsilon, necessary));
                ASSERT_EQ(NaiveNecessary(m, position, epsilon), necessary) << "seed " << seed;
                if (seed % 2 == 0) {
                    ASSERT_FALSE(necessary);
                }
            }
            bool unused = false;
            EXPECT_EQ(-2, def->IsParentNecessary(parents, 0.1, unused));
            EXPECT_EQ(-2, def->IsParentNecessary(-1, 0.1, unused));
        }
    }
}

// The index in `before` of cell `j` of `after`, which lacks the parent
// dimension `position`, with that parent at `value`.
int WithParent(const QEL_Dmatrix& before, const QEL_Dmatrix& after, int j, int position, int value) {
    QEL_intArray c, full;
    after.IndexToCoordinates(j, c);
    for (int d = 0; d < before.GetNumberOfDimensions(); d++) {
        full.Add(d < position ? c[d] : (d == position ? value : c[d - 1]));
    }
    return before.CoordinatesToIndex(full);
}

TEST(CptParents, MarginalizingARootParentWeighsColumnsByItsTable) {
    for (unsigned seed = 1; seed <= 20; seed++) {
        QEL_network net;
        const std::vector<int> handles = Build(net, seed, 4);
        ASSERT_EQ(4u, handles.size());
        const int root = handles[0];
        for (size_t i = 1; i < handles.size(); i++) {
            const int h = handles[i];
            const int position = net.GetParents(h, qel_normalArc).FindPosition(root);
            if (position < 0) continue;
            QEL_cpt* def = Cpt(net, h);
            const QEL_Dmatrix before = def->GetTable();
            const std::vector<double> weights = Items(Cpt(net, root));
            ASSERT_EQ(0, def->MarginalizeParent(root));
            const QEL_Dmatrix& after = def->GetTable();
            ASSERT_EQ(before.GetNumberOfDimensions() - 1, after.GetNumberOfDimensions());
            // Each new cell is the weighted sum over the parent's outcomes.
            for (int j = 0; j < after.GetSize(); j++) {
                double expected = 0.0;
                for (size_t v = 0; v < weights.size(); v++) {
                    expected += before[WithParent(before, after, j, position, static_cast<int>(v))] * weights[v];
                }
                ASSERT_NEAR(expected, after[j], 1e-12);
            }
            // The arc itself is the caller's to remove.
            EXPECT_EQ(1, net.GetParents(h, qel_normalArc).IsInList(root));
        }
    }
}

TEST(CptParents, AbsorbingEvidenceKeepsTheSliceOfTheObservedOutcome) {
    for (unsigned seed = 1; seed <= 10; seed++) {
        QEL_network net;
        const std::vector<int> handles = Build(net, seed, 4, 0.0, 0.0);
        ASSERT_EQ(4u, handles.size());
        const int root = handles[0];
        const int observed = static_cast<int>(seed) % Cpt(net, root)->GetNumberOfOutcomes();
        for (size_t i = 1; i < handles.size(); i++) {
            const int h = handles[i];
            QEL_cpt* def = Cpt(net, h);
            // Without evidence there is nothing to absorb.
            if (net.GetParents(h, qel_normalArc).IsInList(root) == 1) {
                EXPECT_EQ(-2, def->AbsorbEvidenceFromParent(root));
            }
        }
        ASSERT_EQ(0, net.GetNode(root)->Value()->SetEvidence(observed));
        for (size_t i = 1; i < handles.size(); i++) {
            const int h = handles[i];
            const int position = net.GetParents(h, qel_normalArc).FindPosition(root);
            if (position < 0) continue;
            QEL_cpt* def = Cpt(net, h);
            const QEL_Dmatrix before = def->GetTable();
            ASSERT_EQ(0, def->AbsorbEvidenceFromParent(root));
            const QEL_Dmatrix& after = def->GetTable();
            ASSERT_EQ(before.GetSize() / before.GetSizeOfDimension(position), after.GetSize());
            for (int j = 0; j < after.GetSize(); j++) {
                ASSERT_EQ(before[WithParent(before, after, j, position, observed)], after[j]);
            }
        }
    }
}

// A copy's definitions belong to the copy: an outcome added to a copied
// root reshapes the copy's children and nothing of the source.
TEST(CptParents, NetworkCopiesOwnTheirTables) {
    QEL_network source;
    const std::vector<int> handles = Build(source, 5, 5, 0.4);
    ASSERT_EQ(5u, handles.size());
    QEL_network copy(source);
    const std::vector<std::string> before = lifecycle_test::Describe(source);
    EXPECT_EQ(before, lifecycle_test::Describe(copy));
    for (int h : handles) EXPECT_EQ(&copy, copy.GetNode(h)->Definition()->GetNetwork());
    const int root = handles[0];
    ASSERT_EQ(0, copy.GetNode(root)->Definition()->AddOutcome("extra"));
    EXPECT_EQ(before, lifecycle_test::Describe(source));
    for (int h : handles) {
        if (copy.GetParents(h, qel_normalArc).IsInList(root) != 1) continue;
        EXPECT_GT(Items(copy.GetNode(h)->Definition()).size(), Items(source.GetNode(h)->Definition()).size());
    }
}

}  // namespace
