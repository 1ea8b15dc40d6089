// Conditional tables and truth tables on their own: items, consistency,
// the deterministic repair, resulting outcomes, the parent-necessity test
// and summing a parent out or fixing it at its evidence, checked against
// plain coordinate arithmetic on random networks.
#include "core_helpers.h"

namespace {

using coretest::Cells;
using coretest::Def;
using coretest::Ints;
using coretest::ListOf;

QEL_cpt* Cpt(QEL_network& net, int h) { return static_cast<QEL_cpt*>(Def(net, h)); }
QEL_truthTable* Tt(QEL_network& net, int h) { return static_cast<QEL_truthTable*>(Def(net, h)); }

void SetItems(QEL_nodeDefinition* def, std::vector<double> items) {
    nodeDefinition_SetDoubleDefinition(def, static_cast<int>(items.size()), items.data());
}

TEST(CptItems, ConsistencyToleranceFollowsTheSmallestPositiveItem) {
    QEL_network net;
    QEL_cpt* def = Cpt(net, net.AddNode(qel_cptType, "a"));
    // The last one is 9e-07 short of one, but the tolerance drops to the
    // 1e-07 item.
    const std::vector<std::pair<std::vector<double>, bool>> cases = {
        {{0.5, 0.5000001}, true}, {{0.5, 0.51}, false}, {{1.2, -0.2}, false}, {{0.999999, 0.0000001}, false},
    };
    for (const auto& [items, consistent] : cases) {
        SetItems(def, items);
        EXPECT_EQ(consistent, def->CheckConsistency(1) == 0) << items[1];
        EXPECT_EQ(consistent, def->IsConsistent()) << items[1];
    }
    // Refused: a probability above one, a cell outside, a list too long.
    QEL_intArray c = ListOf({1}), bad = ListOf({2});
    QEL_doubleArray wrong(3), right(2);
    double p = 0.0;
    right[0] = 0.4;
    right[1] = 0.6;
    EXPECT_EQ(Ints({-2, -2, -2, -2, 0, 0}),
              Ints({def->SetProbability(c, 1.5), def->GetProbability(bad, p), def->SetProbability(bad, 0.5),
                    def->SetProbabilities(wrong), def->SetProbabilities(right), def->GetProbability(c, p)}));
    EXPECT_EQ(0.6, p);
}

// What the random network edits cannot see: a removed outcome's mass is
// not spread out, a count below one empties the definition, a truth table
// cannot be uniform and its columns must be one-hot.
TEST(CptOutcomes, OwnOutcomeEditsAndOneHotColumns) {
    QEL_network net;
    const int p = net.AddNode(qel_cptType, "p"), h = net.AddNode(qel_cptType, "a");
    QEL_cpt* def = Cpt(net, h);
    ASSERT_EQ(0, net.AddArc(p, h));
    SetItems(def, {0.3, 0.7, 0.9, 0.1});
    ASSERT_EQ(0, def->InsertOutcome(1, "mid"));
    EXPECT_EQ(-2, def->InsertOutcome(4, "far"));
    ASSERT_EQ(0, def->RemoveOutcome(0));
    EXPECT_EQ((std::vector<double>{0.0, 0.7, 0.0, 0.1}), Cells(net, h));
    EXPECT_EQ(-2, def->SetNumberOfOutcomes(0));
    EXPECT_EQ(0, def->GetNumberOfOutcomes());
    EXPECT_NE(0, def->CheckConsistency(1));
    EXPECT_EQ(-2, def->AddOutcome("x"));
    ASSERT_EQ(0, net.GetNode(p)->ChangeType(qel_truthTableType));
    QEL_truthTable* tt = Tt(net, p);
    EXPECT_EQ(-51, tt->MakeUniform());
    for (const std::vector<double>& column : {std::vector<double>{0.0, 0.0}, {0.5, 0.5}, {1.0, 1.0}}) {
        SetItems(tt, column);
        EXPECT_NE(0, tt->CheckConsistency(1));
        ASSERT_EQ(0, tt->MakeConsistent());
        EXPECT_EQ(0, tt->CheckConsistency(1));
    }
}

// Resulting outcomes by number and by name; an out-of-range outcome or a
// short list changes nothing.
TEST(TruthTable, ResultingStatesByNumberAndName) {
    QEL_network net;
    std::mt19937 rng(3);
    for (int h : coretest::RandomNetwork(net, 11, 4, 3, 5, 1.0, 0.2)) {
        QEL_truthTable* def = Tt(net, h);
        const int n = def->GetNumberOfOutcomes(), columns = def->GetNumberOfColumns();
        std::vector<int> states(columns);
        for (int& s : states) s = static_cast<int>(rng() % n);
        QEL_intArray back;
        QEL_stringArray names;
        ASSERT_EQ(0, def->SetResultingStates(ListOf(states)));
        ASSERT_EQ(0, def->GetResultingStates(names));
        ASSERT_EQ(0, def->SetResultingStates(ListOf(Ints(columns, 0))));
        ASSERT_EQ(0, def->SetResultingStates(names));
        ASSERT_EQ(0, def->GetResultingStates(back));
        ASSERT_EQ(states, coretest::ToVector(back));
        ASSERT_EQ(0, def->CheckConsistency(1));
        const std::vector<double> before = Cells(*def->GetMatrix());
        states[0] = n;
        EXPECT_EQ(-2, def->SetResultingStates(ListOf(states)));
        EXPECT_EQ(-2, def->SetResultingStates(QEL_intArray()));
        EXPECT_EQ(before, Cells(*def->GetMatrix()));
    }
}

// The necessity test by coordinates: a parent is necessary when some
// column differs from the column at the parent's first outcome (the other
// parents held) by a Hellinger-like distance above epsilon.
bool NaiveNecessary(const QEL_Dmatrix& m, int position, double epsilon) {
    const int n = m.GetSizeOfLastDimension();
    for (int i = 0; i < m.GetSize(); i += n) {
        QEL_intArray c;
        m.IndexToCoordinates(i, c);
        c[position] = 0;
        const int base = m.CoordinatesToIndex(c);
        double sum = 0.0;
        for (int k = 0; k < n; k++) sum += std::pow(std::sqrt(m[i + k]) - std::sqrt(m[base + k]), 2);
        if (sum > epsilon * epsilon) return true;
    }
    return false;
}

TEST(CptParents, NecessityMatchesColumnComparison) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        QEL_network net;
        const std::vector<int> handles = coretest::RandomNetwork(net, seed, 5, 3, 5, 0.0, 0.2);
        ASSERT_EQ(5u, handles.size());
        std::mt19937 rng(seed);
        for (int h : handles) {
            const std::vector<int> parents = coretest::ToVector(net.GetParents(h));
            if (parents.empty()) continue;
            const int position = static_cast<int>(rng() % parents.size());
            // Half the time make the parent irrelevant: every column equals
            // the one at the parent's outcome 0.
            QEL_Dmatrix& m = *Cpt(net, h)->GetMatrix();
            for (int i = 0; seed % 2 == 0 && i < m.GetSize(); i++) {
                QEL_intArray c;
                m.IndexToCoordinates(i, c);
                c[position] = 0;
                m[i] = m[m.CoordinatesToIndex(c)];
            }
            for (double epsilon : {0.0, 0.01, 0.2}) {
                bool necessary = false;
                ASSERT_EQ(0, Cpt(net, h)->IsParentNecessary(position, epsilon, necessary));
                ASSERT_EQ(NaiveNecessary(m, position, epsilon), necessary) << "seed " << seed;
                // The network's form finds the position of the parent.
                bool viaNetwork = !necessary;
                ASSERT_EQ(0, net.IsArcNecessary(parents[position], h, epsilon, viaNetwork));
                ASSERT_EQ(necessary, viaNetwork);
            }
            bool unused = false;
            EXPECT_EQ(-2, Cpt(net, h)->IsParentNecessary(static_cast<int>(parents.size()), 0.1, unused));
            EXPECT_EQ(-2, Cpt(net, h)->IsParentNecessary(-1, 0.1, unused));
            EXPECT_EQ(QEL_INVALID_VALUE, net.IsArcNecessary(h, parents[position], 0.1, unused));
            EXPECT_EQ(QEL_OUT_OF_RANGE, net.IsArcNecessary(parents[position], 99, 0.1, unused));
        }
    }
}

// Summing out a root parent weighs the columns by the root's table;
// absorbing the root's evidence keeps the slice of the observed outcome:
// the matrix's own marginal and slice (checked against their reference)
// at the parent's position. Either way the arc is the caller's to remove.
TEST(CptParents, MarginalizingAndAbsorbingARootParent) {
    for (unsigned seed = 1; seed <= 40; seed++) {
        const bool absorb = seed % 2;
        QEL_network net;
        const std::vector<int> handles = coretest::RandomNetwork(net, seed, 4, 3, 5, 0.0, absorb ? 0.0 : 0.2);
        const int root = handles[0];
        QEL_doubleArray weights(Def(net, root)->GetSize());
        for (int i = 0; i < weights.GetSize(); i++) weights[i] = (*Def(net, root)->GetMatrix())[i];
        for (size_t i = 1; i < handles.size(); i++) {
            const int h = handles[i], position = net.GetParents(h).FindPosition(root);
            if (position < 0) continue;
            const int observed = static_cast<int>(seed % weights.GetSize());
            QEL_cpt* def = Cpt(net, h);
            QEL_Dmatrix expected;
            if (absorb) {
                def->GetTable().RemoveDimension(position, observed, expected);
                EXPECT_EQ(-2, def->AbsorbEvidenceFromParent(root));  // no evidence yet
                ASSERT_EQ(0, net.GetNode(root)->Value()->SetEvidence(observed));
                ASSERT_EQ(0, def->AbsorbEvidenceFromParent(root));
                net.GetNode(root)->Value()->ClearEvidence();
            } else {
                def->GetTable().RemoveDimension(position, weights, expected);
                ASSERT_EQ(0, def->MarginalizeParent(root));
            }
            EXPECT_EQ(Cells(expected), Cells(def->GetTable()));
            EXPECT_EQ(1, net.GetParents(h).IsInList(root));
        }
    }
}

}  // namespace
