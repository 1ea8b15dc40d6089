// Five benchmark networks of 8 to 76 nodes against posteriors from an
// independent exact engine: real tables, whose columns sum to one only as far
// as their printed digits go, and evidence drawn from the models themselves.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "inference_fixture.h"
#include "orvil/bif.h"

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
        std::string node;
        words >> kind;
        if (kind == "case") {
            cases.emplace_back();
            words >> cases.back().id >> cases.back().logProbEvidence;
        } else if (kind == "evidence") {
            int state = -1;
            words >> node >> state;
            cases.back().evidence.emplace_back(node, state);
        } else if (kind == "posterior") {
            words >> node;
            std::vector<double> p;
            for (double x = 0.0; words >> x;) p.push_back(x);
            cases.back().posteriors.emplace_back(node, p);
        }
    }
    return cases;
}

// The digits a run must agree on with the references. A full update reads
// every table. A targeted one drops barren nodes unread by default, and those
// whose columns miss one by rounding (alarm's do) move the
// answer in the ninth digit; asked to keep every digit, it agrees as closely
// as a full update.
struct QueryRun {
    bool targeted;
    const char* barrenTolerance;  // "QEL_REL_BARREN_TOLERANCE", or null
    double digits;
};

void Prepare(QEL_network& net, const ReferenceCase& c, const QueryRun& run) {
    net.ClearAllTargets();
    for (size_t i = 0; run.targeted && i < c.posteriors.size(); i += 3) {
        net.SetTarget(net.FindNode(c.posteriors[i].first.c_str()), true);
    }
    inference_test::SetProperty(net, "QEL_REL_BARREN_TOLERANCE", run.barrenTolerance);
    net.InvalidateAllBeliefs();
}

// Full updates, then targeted ones (every third node a target) with and
// without the digits of barren tables, match the references, and so does the
// probability of the evidence.
TEST(ReferencePosteriorsTest, BenchmarkNetworksMatchAnIndependentEngine) {
    const std::string dir = std::string(ORVIL_TEST_DATA_DIR) + "/cases/";
    const QueryRun runs[] = {{false, nullptr, 1e-9}, {true, "0", 1e-9}, {true, nullptr, 1e-7}};
    for (const char* name : {"asia", "alarm", "child", "insurance", "win95pts"}) {
        QEL_network net;
        QEL_bifSpeaker reader(&net);
        ASSERT_EQ(reader.ReadNetwork((dir + name + ".bif").c_str()), 0) << name;
        const std::vector<ReferenceCase> cases = ReadCases(dir + name + ".cases.txt");
        ASSERT_FALSE(cases.empty()) << name;
        for (const ReferenceCase& c : cases) {
            net.ClearAllEvidence();
            for (const auto& e : c.evidence) {
                ASSERT_EQ(net.GetNode(net.FindNode(e.first.c_str()))->Value()->SetEvidence(e.second), 0) << c.id;
            }
            for (const QueryRun& run : runs) {
                Prepare(net, c, run);
                ASSERT_EQ(net.UpdateBeliefs(), 0) << c.id;
                for (size_t i = 0; i < c.posteriors.size(); i += run.targeted ? 3 : 1) {
                    const auto& p = c.posteriors[i];
                    const int h = net.FindNode(p.first.c_str());
                    ASSERT_TRUE(net.GetNode(h)->Value()->IsValueValid()) << c.id << " " << p.first;
                    const QEL_Dmatrix& beliefs = inference_test::Beliefs(net, h);
                    ASSERT_EQ(beliefs.GetSize(), int(p.second.size()));
                    for (int s = 0; s < beliefs.GetSize(); ++s) {
                        EXPECT_NEAR(beliefs[s], p.second[size_t(s)], run.digits) << c.id << " " << p.first;
                    }
                }
                if (!run.targeted) continue;
                double pe = -1.0;
                ASSERT_EQ(net.CalcProbEvidence(pe), 0) << c.id;
                EXPECT_NEAR(std::log(pe), c.logProbEvidence, run.digits) << c.id;
            }
        }
    }
}

}  // namespace
