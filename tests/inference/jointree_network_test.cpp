// The join-tree engine end to end through QEL_network: reference posteriors
// of benchmark networks, random networks with deterministic nodes and targets
// against the oracle, impossible evidence, the budget, the joint-probability
// store, control, and networks at the edges.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "brute_force.h"
#include "random_network.h"
#include "orvil/beliefvector.h"
#include "orvil/bif.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/tsclustering.h"

namespace {

struct ReferenceCase {
    std::string id;
    double logProbEvidence = 0.0;
    std::vector<std::pair<std::string, int>> evidence;
    std::vector<std::pair<std::string, std::vector<double>>> posteriors;
};

// Reads tests/data/cases/NAME.cases.txt (see the file's header).
std::vector<ReferenceCase> ReadCases(const std::string& path) {
    std::vector<ReferenceCase> cases;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "case") {
            cases.emplace_back();
            words >> cases.back().id >> cases.back().logProbEvidence;
        } else if (kind == "evidence") {
            std::string node;
            int state = -1;
            words >> node >> state;
            cases.back().evidence.emplace_back(node, state);
        } else if (kind == "posterior") {
            std::string node;
            words >> node;
            std::vector<double> p;
            double x = 0.0;
            while (words >> x) p.push_back(x);
            cases.back().posteriors.emplace_back(node, p);
        }
    }
    return cases;
}

const QEL_Dmatrix& Beliefs(QEL_network& net, int h) {
    QEL_Dmatrix* m = nullptr;
    net.GetNode(h)->Value()->GetValue(&m);
    return *m;
}

void FillTable(QEL_network& net, int h, const std::vector<double>& cells) {
    QEL_Dmatrix* table = net.GetNode(h)->Definition()->GetMatrix();
    ASSERT_EQ(table->GetSize(), int(cells.size()));
    for (int i = 0; i < table->GetSize(); ++i) (*table)[i] = cells[size_t(i)];
}

int AddNode(QEL_network& net, const char* id, int states) {
    const int h = net.AddNode(qel_cptType, id);
    net.GetNode(h)->Definition()->SetNumberOfOutcomes(states);
    return h;
}

// Posteriors and the evidence probability of five benchmark networks agree
// with an independent exact engine to 1e-8 (the files' tables sum to one only
// to about that).
TEST(JoinTreeNetworkTest, BenchmarkNetworksMatchReferencePosteriors) {
    const std::string dir = std::string(ORVIL_TEST_DATA_DIR) + "/cases/";
    for (const char* name : {"asia", "alarm", "child", "insurance", "win95pts"}) {
        QEL_network net;
        QEL_bifSpeaker reader(&net);
        ASSERT_EQ(reader.ReadNetwork((dir + name + ".bif").c_str()), 0) << name;
        const std::vector<ReferenceCase> cases = ReadCases(dir + name + ".cases.txt");
        ASSERT_FALSE(cases.empty()) << name;
        for (const ReferenceCase& c : cases) {
            net.ClearAllEvidence();
            for (const auto& e : c.evidence) {
                const int h = net.FindNode(e.first.c_str());
                ASSERT_GE(h, 0) << c.id << " " << e.first;
                ASSERT_EQ(net.GetNode(h)->Value()->SetEvidence(e.second), 0) << c.id << " " << e.first;
            }
            ASSERT_EQ(net.UpdateBeliefs(), 0) << c.id;
            for (const auto& p : c.posteriors) {
                const int h = net.FindNode(p.first.c_str());
                ASSERT_GE(h, 0) << c.id << " " << p.first;
                ASSERT_TRUE(net.GetNode(h)->Value()->IsValueValid()) << c.id << " " << p.first;
                const QEL_Dmatrix& beliefs = Beliefs(net, h);
                ASSERT_EQ(beliefs.GetSize(), int(p.second.size()));
                for (int s = 0; s < beliefs.GetSize(); ++s) {
                    EXPECT_NEAR(beliefs[s], p.second[size_t(s)], 1e-8) << c.id << " " << p.first;
                }
            }
            double pe = -1.0;
            ASSERT_EQ(net.CalcProbEvidence(pe), 0) << c.id;
            EXPECT_NEAR(std::log(pe), c.logProbEvidence, 1e-8) << c.id;
        }
    }
}

// Random networks with deterministic nodes, zeros in the tables, possible
// hard evidence (and what it implies through deterministic tables), and in
// some rounds a few targets: targets agree with the oracle, non-targets stay
// stale, and the join-tree evidence probability is the oracle's.
TEST(JoinTreeNetworkTest, RandomNetworksMatchTheOracle) {
    std::mt19937 rng(777);
    for (int round = 0; round < 80; ++round) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 3 + round % 9;
        options.deterministicShare = 0.25;
        options.zeroShare = 0.2;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, 100 + unsigned(round), options);
        ASSERT_FALSE(handles.empty());
        // Evidence one node at a time, each outcome possible given the rest.
        for (int h : handles) {
            if (rng() % 4 != 0 || net.GetNode(h)->Value()->HasEvidence()) continue;
            const orvil_test::BruteNetworkResult now = orvil_test::BruteForceNetwork(net);
            ASSERT_TRUE(now.ok);
            std::vector<int> possible;
            for (size_t s = 0; s < now.byHandle[size_t(h)].size(); ++s) {
                if (now.byHandle[size_t(h)][s] > 1e-12) possible.push_back(int(s));
            }
            ASSERT_FALSE(possible.empty());
            ASSERT_EQ(net.GetNode(h)->Value()->SetEvidence(possible[rng() % possible.size()]), 0);
        }
        std::vector<bool> target(handles.size(), true);
        if (round % 3 == 1) {
            for (size_t i = 0; i < handles.size(); ++i) {
                target[i] = rng() % 2 == 0;
                if (target[i]) net.SetTarget(handles[i], true);
            }
            if (net.GetNumberOfTargets() == 0) target.assign(handles.size(), true);
        }
        net.InvalidateAllBeliefs();
        const orvil_test::BruteNetworkResult oracle = orvil_test::BruteForceNetwork(net);
        ASSERT_TRUE(oracle.ok);
        ASSERT_GT(oracle.probEvidence, 0.0);
        ASSERT_EQ(net.UpdateBeliefs(), 0) << "round " << round;
        for (size_t i = 0; i < handles.size(); ++i) {
            const int h = handles[i];
            const QEL_nodeValue* value = net.GetNode(h)->Value();
            if (!target[i] && !value->HasEvidence()) {
                EXPECT_FALSE(value->IsValueValid()) << "round " << round << " node " << h;
                continue;
            }
            ASSERT_TRUE(value->IsValueValid()) << "round " << round << " node " << h;
            const QEL_Dmatrix& beliefs = Beliefs(net, h);
            for (int s = 0; s < beliefs.GetSize(); ++s) {
                EXPECT_NEAR(beliefs[s], oracle.byHandle[size_t(h)][size_t(s)], 1e-12)
                    << "round " << round << " node " << h;
            }
        }
        const double pe = TsClusteringProbE(&net);
        EXPECT_NEAR(pe, oracle.probEvidence, 1e-12 * oracle.probEvidence) << "round " << round;
    }
}

// Evidence that is locally possible but jointly impossible: the update
// reports -43 and logs the node whose potential is all zeros. Observed nodes
// cut the network, so what lies beyond them (C, given B) and what is not
// connected at all (D) still gets beliefs. A has three states, so that B's
// evidence leaves it two possible ones and pruning cannot settle it alone.
TEST(JoinTreeNetworkTest, ImpossibleEvidenceReportsZeroPotentials) {
    QEL_network net;
    net.SetNetworkFlags(net.GetNetworkFlags() & ~QEL_network::QEL_FUNCTIONAL_DETERMINATION);
    const int a = AddNode(net, "A", 3);
    const int b = AddNode(net, "B", 2);
    const int c = AddNode(net, "C", 2);
    const int d = AddNode(net, "D", 2);
    ASSERT_EQ(net.AddArc(a, b), 0);
    ASSERT_EQ(net.AddArc(b, c), 0);
    FillTable(net, a, {1.0, 0.0, 0.0});
    FillTable(net, b, {1.0, 0.0, 0.5, 0.5, 0.5, 0.5});
    FillTable(net, c, {0.3, 0.7, 0.6, 0.4});
    FillTable(net, d, {0.2, 0.8});
    ASSERT_EQ(net.GetNode(b)->Value()->SetEvidence(1), 0);
    QEL_errorH().Flush();
    EXPECT_EQ(net.UpdateBeliefs(), QEL_ZERO_POTENTIAL);
    EXPECT_FALSE(net.GetNode(a)->Value()->IsValueValid());
    ASSERT_TRUE(net.GetNode(c)->Value()->IsValueValid());
    EXPECT_DOUBLE_EQ(Beliefs(net, c)[0], 0.6);
    ASSERT_TRUE(net.GetNode(d)->Value()->IsValueValid());
    EXPECT_DOUBLE_EQ(Beliefs(net, d)[0], 0.2);
    ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1);
    EXPECT_EQ(QEL_errorH().GetLastError(), QEL_ZERO_POTENTIAL);
    EXPECT_STREQ(QEL_errorH().GetLastErrorMessage(), "All potential entries are zeros for node A");
    EXPECT_EQ(TsClusteringProbE(&net), 0.0);
}

// A grid of ten-state nodes has a join tree far beyond the budget: with the
// fallback to target decomposition switched off, the update fails with -42
// and no value is touched.
TEST(JoinTreeNetworkTest, OverBudgetFailsWithoutWriting) {
    QEL_network net;
    const int side = 9;
    std::vector<int> grid;
    std::mt19937 rng(3);
    for (int i = 0; i < side * side; ++i) {
        grid.push_back(AddNode(net, ("g" + std::to_string(i)).c_str(), 10));
        if (i % side > 0) {
            ASSERT_EQ(net.AddArc(grid[size_t(i - 1)], grid[size_t(i)]), 0);
        }
        if (i >= side) {
            ASSERT_EQ(net.AddArc(grid[size_t(i - side)], grid[size_t(i)]), 0);
        }
        ASSERT_EQ(orvil_test::FillRandomTable(net, grid.back(), rng, 0.0), 0);
    }
    ASSERT_EQ(net.GetNode(grid[0])->Value()->SetEvidence(3), 0);
    ASSERT_GE(net.UserProperties().AddProperty("QEL_REL_DECOMP_DISABLE_FALLBACK", ""), 0);
    EXPECT_EQ(net.UpdateBeliefs(), QEL_OUT_OF_MEMORY);
    for (size_t i = 1; i < grid.size(); ++i) EXPECT_FALSE(net.GetNode(grid[i])->Value()->IsValueValid());
    const QEL_Dmatrix& observed = Beliefs(net, grid[0]);
    EXPECT_EQ(observed[3], 1.0);
}

// With the store on, each clique leaves its joint over its unobserved nodes:
// each table sums to one, and summed down to one of its nodes it is that
// node's belief. A node that pruning leaves alone in its piece gets no tree
// and no table.
TEST(JoinTreeNetworkTest, StoredTablesAreCliqueJoints) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 8;
        options.zeroShare = 0.0;
        const std::vector<int> handles = orvil_test::BuildRandomNetwork(net, seed, options);
        ASSERT_FALSE(handles.empty());
        ASSERT_EQ(net.GetNode(handles[seed % handles.size()])->Value()->SetEvidence(0), 0);
        net.EnableJptStore(true);
        ASSERT_EQ(net.UpdateBeliefs(), 0);
        int withTables = 0;
        for (int h : handles) {
            std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>> tables;
            ASSERT_EQ(net.GetJpts(h, tables), 0);
            if (net.GetNode(h)->Value()->HasEvidence()) {
                EXPECT_TRUE(tables.empty());
                continue;
            }
            if (tables.empty()) continue;
            ++withTables;
            const QEL_Dmatrix& beliefs = Beliefs(net, h);
            for (const auto& entry : tables) {
                const QEL_Dmatrix& m = *entry.second;
                double total = 0.0;
                for (int i = 0; i < m.GetSize(); ++i) total += m[i];
                EXPECT_NEAR(total, 1.0, 1e-12);
                int dim = 0;
                while (entry.first[size_t(dim)] != h) ++dim;
                const int stride = m.GetPreProduct()[dim];
                const int states = m.GetSizeOfDimension(dim);
                std::vector<double> marginal(size_t(states), 0.0);
                for (int i = 0; i < m.GetSize(); ++i) marginal[size_t((i / stride) % states)] += m[i];
                for (int s = 0; s < states; ++s) EXPECT_NEAR(marginal[size_t(s)], beliefs[s], 1e-12);
            }
        }
        EXPECT_GT(withTables, 0) << "seed " << seed;
    }
}

// A controlled node is set from outside: its parents keep their priors and
// its children follow the forced outcome.
TEST(JoinTreeNetworkTest, ControlCutsTheArcsIntoTheNode) {
    QEL_network net;
    const int x = AddNode(net, "X", 2);
    const int y = AddNode(net, "Y", 2);
    const int z = AddNode(net, "Z", 3);
    ASSERT_EQ(net.AddArc(x, y), 0);
    ASSERT_EQ(net.AddArc(y, z), 0);
    FillTable(net, x, {0.3, 0.7});
    FillTable(net, y, {0.9, 0.1, 0.2, 0.8});
    FillTable(net, z, {0.5, 0.25, 0.25, 0.1, 0.1, 0.8});
    auto* value = static_cast<QEL_beliefVector*>(net.GetNode(y)->Value());
    ASSERT_EQ(value->ControlValue(0), 0);
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(net, x)[0], 0.3, 1e-15);
    EXPECT_NEAR(Beliefs(net, z)[0], 0.5, 1e-15);
    EXPECT_NEAR(Beliefs(net, z)[2], 0.25, 1e-15);
    // Observed instead of controlled, Y=0 does speak of X.
    ASSERT_EQ(value->ClearControlledValue(), 0);
    ASSERT_EQ(value->SetEvidence(0), 0);
    ASSERT_EQ(net.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(net, x)[0], 0.3 * 0.9 / (0.3 * 0.9 + 0.7 * 0.2), 1e-15);
}

// Networks at the edges: none, one node, and isolated nodes with and
// without evidence.
TEST(JoinTreeNetworkTest, EdgeNetworks) {
    QEL_network empty;
    EXPECT_EQ(empty.UpdateBeliefs(), 0);
    EXPECT_EQ(TsClusteringProbE(&empty), 0.0);

    QEL_network single;
    const int s = AddNode(single, "S", 3);
    FillTable(single, s, {0.2, 0.3, 0.5});
    ASSERT_EQ(single.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(single, s)[2], 0.5, 1e-15);
    ASSERT_EQ(single.GetNode(s)->Value()->SetEvidence(1), 0);
    ASSERT_EQ(single.UpdateBeliefs(), 0);
    EXPECT_EQ(Beliefs(single, s)[1], 1.0);
    EXPECT_NEAR(TsClusteringProbE(&single), 0.3, 1e-15);

    QEL_network isolated;
    const int p = AddNode(isolated, "P", 2);
    const int q = AddNode(isolated, "Q", 2);
    FillTable(isolated, p, {0.6, 0.4});
    FillTable(isolated, q, {0.1, 0.9});
    ASSERT_EQ(isolated.GetNode(q)->Value()->SetEvidence(1), 0);
    ASSERT_EQ(isolated.UpdateBeliefs(), 0);
    EXPECT_NEAR(Beliefs(isolated, p)[0], 0.6, 1e-15);
    EXPECT_NEAR(TsClusteringProbE(&isolated), 0.9, 1e-15);
}

}  // namespace
