// Evidence as a caller of the flat interface sees it: hard evidence,
// likelihood vectors, outcomes deduced through deterministic tables, and
// outcomes the model rules out.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "orvil/biorvil.h"
#include "orvil/errors.h"

namespace {

// A network built through the flat interface, deleted with the test.
class FlatNet {
public:
    FlatNet() : net(new_network()) {}
    ~FlatNet() { delete_network(net); }
    FlatNet(const FlatNet&) = delete;
    FlatNet& operator=(const FlatNet&) = delete;

    // A conditional-table node (type 18) or truth table (20) with `states`
    // outcomes.
    int Add(const char* id, int states, int type = 18) {
        const int h = AddNode(net, type, id);
        nodeDefinition_SetNumberOfOutcomes(Def(h), states);
        return h;
    }
    void* Def(int h) { return node_Definition(GetNode(net, h)); }
    void* Val(int h) { return node_Value(GetNode(net, h)); }
    void SetTable(int h, std::vector<double> cells) {
        nodeDefinition_SetDoubleDefinition(Def(h), static_cast<int>(cells.size()), cells.data());
    }
    std::vector<double> Beliefs(int h) {
        void* m = nodeValue_GetMatrix(Val(h));
        const double* items = dMatrix_GetItemsDouble(m);
        return std::vector<double>(items, items + dMatrix_GetSize(m));
    }
    std::vector<double> Virtual(int h) {
        double* raw = nodeValue_GetVirtualEvidence(Val(h));
        std::vector<double> out(raw, raw + 1 + static_cast<int>(raw[0]));
        nodeValue_ReleaseVirtualEvidence(raw);
        return out;
    }

    void* net;
};

bool LogHolds(const std::string& text) {
    for (int i = 0; i < errorH_GetNumberOfErrors(); i++) {
        const char* m = errorH_GetErrorMessage(i);
        if (m != nullptr && text == m) return true;
    }
    return false;
}

TEST(EvidenceFlat, HardEvidenceIsSetReadAndCleared) {
    FlatNet n;
    const int a = n.Add("A", 3);
    void* v = n.Val(a);
    EXPECT_EQ(nodeValue_GetType(v), 3);
    EXPECT_EQ(nodeValue_GetEvidence(v), -2);
    EXPECT_EQ(nodeValue_ClearEvidence(v), -2);

    for (int outcome = 0; outcome < 3; outcome++) {
        ASSERT_EQ(nodeValue_SetEvidence(v, outcome), 0);
        EXPECT_EQ(nodeValue_GetEvidence(v), outcome);
        EXPECT_EQ(nodeValue_IsRealEvidence(v), 1);
        EXPECT_EQ(nodeValue_IsValueValid(v), 2);
        std::vector<double> expected(3, 0.0);
        expected[outcome] = 1.0;
        EXPECT_EQ(n.Beliefs(a), expected);
    }
    ASSERT_EQ(nodeValue_ClearEvidence(v), 0);
    EXPECT_EQ(nodeValue_GetEvidence(v), -2);
    EXPECT_EQ(nodeValue_IsRealEvidence(v), 0);
    EXPECT_EQ(nodeValue_IsValueValid(v), 0);
    EXPECT_EQ(nodeValue_ClearEvidence(v), -2);

    // Out of range is refused and leaves no evidence behind.
    EXPECT_EQ(nodeValue_SetEvidence(v, 3), -2);
    EXPECT_EQ(nodeValue_SetEvidence(v, -1), -2);
    EXPECT_EQ(nodeValue_GetEvidence(v), -2);
    EXPECT_EQ(nodeValue_IsRealEvidence(v), 0);
}

TEST(EvidenceFlat, VirtualEvidenceIsNormalisedAndReadBackWithItsCount) {
    FlatNet n;
    const int a = n.Add("A", 2);
    const int b = n.Add("B", 4);
    void* va = n.Val(a);

    EXPECT_EQ(n.Virtual(a), std::vector<double>{0.0});
    double twos[] = {2.0, 2.0};
    ASSERT_EQ(nodeValue_SetVirtualEvidence(va, 2, twos), 0);
    EXPECT_EQ(n.Virtual(a), (std::vector<double>{2.0, 0.5, 0.5}));
    // Within 5e-06 of one: stored as given.
    double nearly[] = {0.4999999, 0.5};
    ASSERT_EQ(nodeValue_SetVirtualEvidence(va, 2, nearly), 0);
    EXPECT_EQ(n.Virtual(a), (std::vector<double>{2.0, 0.4999999, 0.5}));
    double three[] = {1.0, 1.0, 1.0};
    EXPECT_EQ(nodeValue_SetVirtualEvidence(va, 3, three), -2);
    EXPECT_EQ(n.Virtual(a), (std::vector<double>{2.0, 0.4999999, 0.5}));

    // Hard evidence replaces the likelihood, and the likelihood replaces
    // hard evidence.
    ASSERT_EQ(nodeValue_SetEvidence(va, 1), 0);
    EXPECT_EQ(n.Virtual(a), std::vector<double>{0.0});
    ASSERT_EQ(nodeValue_SetVirtualEvidence(va, 2, twos), 0);
    EXPECT_EQ(nodeValue_IsRealEvidence(va), 0);
    EXPECT_EQ(nodeValue_GetEvidence(va), -2);
    // Clearing removes the likelihood; a second clear finds nothing.
    EXPECT_EQ(nodeValue_ClearEvidence(va), 0);
    EXPECT_EQ(n.Virtual(a), std::vector<double>{0.0});
    EXPECT_EQ(nodeValue_ClearEvidence(va), -2);

    // Any positive vector comes back proportional to what was given and
    // summing to one.
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> weight(0.01, 10.0);
    for (int trial = 0; trial < 50; trial++) {
        std::vector<double> given(4);
        double sum = 0.0;
        for (double& w : given) sum += (w = weight(rng));
        ASSERT_EQ(nodeValue_SetVirtualEvidence(n.Val(b), 4, given.data()), 0);
        const std::vector<double> back = n.Virtual(b);
        ASSERT_EQ(back.size(), 5u);
        EXPECT_EQ(back[0], 4.0);
        double backSum = 0.0;
        for (int i = 0; i < 4; i++) {
            EXPECT_NEAR(back[i + 1], given[i] / sum, 1e-12);
            backSum += back[i + 1];
        }
        EXPECT_NEAR(backSum, 1.0, 1e-12);
    }
}

// A -> B with B a copy of A (a truth table), and A -> C with C = not A.
TEST(EvidenceFlat, CertaintyFlowsThroughDeterministicTables) {
    FlatNet n;
    const int a = n.Add("A", 2);
    const int b = n.Add("B", 2, 20);
    const int c = n.Add("C", 2);
    ASSERT_EQ(AddArc(n.net, a, b), 0);
    ASSERT_EQ(AddArc(n.net, a, c), 0);
    n.SetTable(b, {1, 0, 0, 1});
    n.SetTable(c, {0, 1, 1, 0});

    ASSERT_EQ(nodeValue_SetEvidence(n.Val(a), 1), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(b)), 1);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(b)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(c)), 0);
    EXPECT_EQ(nodeValue_IsValueValid(n.Val(b)), 2);

    // Contradicting the deduced outcome is refused; agreeing with it makes
    // it an observation.
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(b), 0), -26);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(b)), 1);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(b)), 0);
    ASSERT_EQ(nodeValue_SetEvidence(n.Val(b), 1), 0);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(b)), 1);

    // Without A's observation only what B implies remains: A is 1 again
    // (upward), and C follows from that.
    ASSERT_EQ(nodeValue_ClearEvidence(n.Val(a)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(a)), 1);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(a)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(c)), 0);

    // C = 1 would mean A = 0: refused, since C = 0 follows from B.
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(c), 1), -26);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(c)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(c)), 0);

    // Clearing all evidence leaves nothing deduced either.
    EXPECT_EQ(ClearAllEvidence(n.net), 0);
    for (int h : {a, b, c}) EXPECT_EQ(nodeValue_GetEvidence(n.Val(h)), -2);
}

// C = X or Z. C = 1 pins neither parent; with Z = 0 observed as well, X = 0
// forces C = 0 against its observation.
TEST(EvidenceFlat, EvidenceForcingAConflictElsewhereIsRefusedAndLogged) {
    FlatNet n;
    const int x = n.Add("X", 2);
    const int z = n.Add("Z", 2);
    const int c = n.Add("C", 2, 20);
    ASSERT_EQ(AddArc(n.net, x, c), 0);
    ASSERT_EQ(AddArc(n.net, z, c), 0);
    n.SetTable(c, {1, 0, 0, 1, 0, 1, 0, 1});

    ASSERT_EQ(nodeValue_SetEvidence(n.Val(c), 1), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(x)), -2);
    ASSERT_EQ(nodeValue_SetEvidence(n.Val(z), 0), 0);
    errorH_Flush();
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(x), 0), -26);
    EXPECT_TRUE(LogHolds("ERROR: conficting evidence between nodes [X] and [C]"));
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(c)), 1);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(c)), 1);
    // Taking X = 0 back re-derives everything from the observations, and
    // C = 1 with Z = 0 does pin X = 1.
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(x)), 1);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(x)), 0);
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(x), 1), 0);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(x)), 1);
}

TEST(EvidenceFlat, AnOutcomeTheTableRulesOutIsRefusedAndTakenBack) {
    FlatNet n;
    const int a = n.Add("A", 2);
    const int b = n.Add("B", 4);
    ASSERT_EQ(AddArc(n.net, a, b), 0);
    // B = 0 is impossible whatever A is; B = 3 is impossible when A = 0.
    n.SetTable(b, {0.0, 0.4, 0.6, 0.0, 0.0, 0.7, 0.0, 0.3});

    errorH_Flush();
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(b), 0), -2);
    EXPECT_TRUE(LogHolds("Outcome [State0] of node [B] is impossible"));
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(b)), -2);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(b)), 0);

    // With A unobserved B = 3 is possible, and it pins A = 1.
    ASSERT_EQ(nodeValue_SetEvidence(n.Val(b), 3), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(a)), 1);
    ASSERT_EQ(nodeValue_ClearEvidence(n.Val(b)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(a)), -2);

    ASSERT_EQ(nodeValue_SetEvidence(n.Val(a), 0), 0);
    errorH_Flush();
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(b), 3), -2);
    EXPECT_TRUE(LogHolds("Outcome [State3] of node [B] is impossible"));
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(b)), -2);
    EXPECT_EQ(nodeValue_IsRealEvidence(n.Val(b)), 0);
    EXPECT_EQ(nodeValue_GetEvidence(n.Val(a)), 0);
    EXPECT_EQ(nodeValue_SetEvidence(n.Val(b), 2), 0);
}

}  // namespace
