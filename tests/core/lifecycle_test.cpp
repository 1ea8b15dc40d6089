// Whole-network operations: emptying and re-creating a network, full and
// lean copies checked on random networks (same model, same beliefs, no
// shared state), the passes around a read, uniform tables, and files: the
// format by number and by extension, refusals, and reads.
#include <memory>
#include <regex>

#include "core_helpers.h"
#include "core/network_io_formats.h"
#include "orvil/bif.h"

namespace {

using coretest::cptType;
using coretest::Describe;
using coretest::Ints;

// Beliefs of every slot to twelve decimals, and whether they are valid.
std::vector<std::string> Beliefs(QEL_network& net) {
    std::vector<std::string> beliefs(net.GetMaxNodes());
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_Dmatrix* matrix = nullptr;
        net.GetNode(h)->Value()->GetValue(&matrix);
        char cell[32];
        for (double x : coretest::Cells(*matrix)) {
            std::snprintf(cell, sizeof cell, "%.12f ", x);
            beliefs[h] += cell;
        }
        beliefs[h] += net.GetNode(h)->Value()->IsValueValid() ? "valid" : "stale";
    }
    return beliefs;
}

// A random network of positive tables with a hole, evidence and a target.
std::vector<int> RandomModel(QEL_network& net, unsigned seed) {
    std::vector<int> h = coretest::RandomNetwork(net, seed, 7, 3, 3, 0.0, 0.0);
    std::mt19937 rng(seed);
    std::shuffle(h.begin(), h.end(), rng);
    net.DeleteNode(h.back());
    h.pop_back();
    net.GetNode(h[0])->Value()->SetEvidence(1);
    net.SetTarget(h[1], true);
    return h;
}

bool AllBeliefsStale(QEL_network& net) {
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        const QEL_nodeValue* value = net.GetNode(h)->Value();
        if (value->IsValueValid() && !value->HasEvidence()) return false;
    }
    return true;
}

bool RelevanceOn(const QEL_network& net) { return net.GetNetworkFlags() & QEL_network::QEL_RELEVANCE_ACTIVE; }

TEST(NetworkLifecycle, FlushReCreateAndBuildTexts) {
    QEL_network net(0, -3);
    EXPECT_EQ(Ints({50, 50}), Ints({net.GetMaxNodes(), net.GetGrowthStep()}));
    std::vector<int> h = RandomModel(net, 5);
    ASSERT_EQ(0, net.AddArc(h[0], h[1], qel_costObserve));
    net.Submodels().CreateSubmodel(QEL_submodelHandler::rootHandle, "group");
    net.SetNumberOfSamples(7);
    net.SetDefaultBNAlgorithm(2);
    net.EnableZeroAvoidance(false);
    net.SetRelevanceEvents(5);
    net.UserProperties().AddProperty("kept", "yes");
    // Flushing empties the model and resets the sample count, but keeps
    // the other settings, the user properties and the slots' cost lists.
    ASSERT_EQ(0, net.Flush());
    const int after[] = {net.GetNumberOfNodes(), net.GetNumberOfTargets(), net.GetMaxNodes(), net.GetNumberOfSamples(),
                         net.GetDefaultBNAlgorithm(), net.IsZeroAvoidanceEnabled(), net.GetRelevanceEvents(),
                         net.UserProperties().FindProperty("kept"), net.Submodels().GetNumberOfSubmodels(),
                         net.GetParents(h[1], qel_costObserve).NumItems()};
    EXPECT_EQ(Ints({0, 0, 50, 10000, 2, 0, 5, 0, 1, 1}), Ints(after, after + 10));
    // The emptied network builds as a new one, with an order of its own.
    const int a = net.AddNode(cptType, "a"), b = net.AddNode(cptType, "group");
    EXPECT_EQ(0, a);
    ASSERT_EQ(0, net.AddArc(b, a));
    EXPECT_EQ(Ints({b, a}), coretest::ToVector(net.PartialOrdering()));
    net.GetHeader().SetId("Model");
    ASSERT_EQ(0, net.ReCreate(3, 0));
    EXPECT_EQ(Ints({0, 3, 0}),
              Ints({net.GetNumberOfNodes(), net.GetMaxNodes(), net.UserProperties().GetNumberOfProperties()}));
    EXPECT_STREQ("Unnamed", net.GetHeader().GetId());
    std::string build, comment;
    QEL_network::GetBuild(build);
    QEL_network::GetTopComment(comment);
    EXPECT_TRUE(std::regex_match(build, std::regex("[A-Za-z]+ [0-9.]+@\\S+"))) << build;
    EXPECT_NE(std::string::npos, comment.find(build.substr(build.find(' ') + 1))) << comment;
}

TEST(NetworkLifecycle, CopiesGiveTheSameBeliefsAndShareNothing) {
    for (unsigned seed = 1; seed <= 12; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        QEL_network net;
        std::vector<int> h = RandomModel(net, seed);
        net.UserProperties().AddProperty("origin", "source");
        net.GetHeader().SetId("Model");
        ASSERT_EQ(0, net.UpdateBeliefs());
        const std::vector<std::string> before = Describe(net);
        const auto beliefs = Beliefs(net);
        QEL_network full(net), lean(net, true), again;
        ASSERT_EQ(0, again.Copy(net, true));
        // Copying only reads the source: its beliefs stay valid.
        EXPECT_EQ(beliefs, Beliefs(net));
        ASSERT_EQ(before, Describe(full));
        ASSERT_EQ(before, Describe(again));
        EXPECT_STREQ("Model", full.GetHeader().GetId());
        // A lean copy has the model without node ids; the network's own
        // user properties stay.
        ASSERT_EQ(Describe(net, true), Describe(lean, true));
        EXPECT_EQ(0, lean.UserProperties().FindProperty("origin"));
        EXPECT_EQ(net.GetNetworkFlags(), lean.GetNetworkFlags());
        for (int node : h) EXPECT_EQ(nullptr, lean.GetNode(node)->GetId());
        for (QEL_network* copy : {&full, &lean}) {
            ASSERT_EQ(0, copy->UpdateBeliefs());
            EXPECT_EQ(beliefs, Beliefs(*copy));
            // Edits of a copy, one that reshapes the children's tables
            // among them, never reach the source.
            copy->ClearAllEvidence();
            copy->GetNode(h[1])->Value()->SetEvidence(0);
            copy->GetNode(h[2])->Definition()->MakeUniform();
            copy->GetNode(h[4])->Definition()->AddOutcome("extra");
            copy->DeleteNode(h[3]);
            copy->AddNode(cptType, "extra");
            copy->UpdateBeliefs();
        }
        EXPECT_EQ(before, Describe(net));
        EXPECT_EQ(beliefs, Beliefs(net));
    }
}

TEST(NetworkLifecycle, ReadBracketRunsThePassesOnlyAfterSuccess) {
    for (int status : {0, QEL_SYNTAX_ERROR}) {
        QEL_network net;
        net.AddNode(cptType, "old");
        net.SetRelevanceEvents(0x1FF);
        const int kept = net.BeginRead(true, false);
        EXPECT_EQ(Ints({0x1FF, 0, 0, QEL_READ_ACTIVE | QEL_READ_NO_ID_TEST}),
                  Ints({kept, net.GetNumberOfNodes(), net.GetRelevanceEvents(), net.GetReadFlags()}));
        // A node type whose definition class this build does not have: the
        // node is made, but fails its readiness check.
        const int good = net.AddNode(cptType, "good"), broken = net.AddNode(1028, "broken");
        ASSERT_FALSE(net.GetNode(broken)->IsReady());
        EXPECT_EQ(status, net.EndRead(status, kept));
        EXPECT_EQ(Ints({0, 0x1FF, 1}), Ints({net.GetReadFlags(), net.GetRelevanceEvents(), net.Ok(good)}));
        // The readiness pass is what takes a broken node out of a model.
        EXPECT_EQ(status != 0, net.Ok(broken)) << status;
    }
    QEL_network net;
    net.BeginRead(false, true);
    EXPECT_EQ(QEL_READ_ACTIVE | QEL_READ_NO_CYCLE_TEST, net.GetReadFlags());
}

TEST(NetworkLifecycle, ConsistencyPassReportsEveryBadNode) {
    QEL_network net;
    std::vector<int> h = orvil_test::BuildRandomNetwork(net, 3);
    ASSERT_EQ(0, net.CheckConsistency(1));
    for (int bad : {1, 4}) (*coretest::Def(net, h[bad])->GetMatrix())[0] += 0.5;
    QEL_errorH().Flush();
    EXPECT_EQ(QEL_OBJECT_NOT_CONSISTENT, net.CheckConsistency(1));
    EXPECT_FALSE(net.IsConsistent());
    ASSERT_EQ(2, QEL_errorH().GetNumberOfErrors());
    for (int i : {0, 1}) {
        EXPECT_EQ(QEL_OBJECT_NOT_CONSISTENT, QEL_errorH().GetError(i));
        EXPECT_EQ("ERROR: Node [n" + std::to_string(i ? 4 : 1) + "] is not consistent. Inference may not be correct",
                  QEL_errorH().GetErrorMessage(i));
    }
    for (int bad : {1, 4}) (*coretest::Def(net, h[bad])->GetMatrix())[0] -= 0.5;
    EXPECT_EQ(0, net.CheckConsistency(1));
    EXPECT_TRUE(net.IsConsistent());
}

TEST(NetworkLifecycle, MakeUniform) {
    auto isUniform = [](QEL_network& net, int h) {
        const std::vector<double> cells = coretest::Cells(net, h);
        return std::count(cells.begin(), cells.end(), cells[0]) == static_cast<int>(cells.size());
    };
    QEL_network net;
    std::vector<int> h = RandomModel(net, 9);
    ASSERT_EQ(0, net.UpdateBeliefs());
    ASSERT_EQ(0, net.MakeUniform());
    for (int node : h) EXPECT_TRUE(isUniform(net, node)) << node;
    EXPECT_TRUE(RelevanceOn(net));
    EXPECT_TRUE(AllBeliefsStale(net));
    QEL_network part;
    h = orvil_test::BuildRandomNetwork(part, 9);
    ASSERT_EQ(0, part.UpdateBeliefs());
    EXPECT_EQ(0, part.MakeUniform(Ints()));
    EXPECT_TRUE(part.GetNode(h[2])->Value()->IsValueValid());  // nothing changed
    EXPECT_EQ(QEL_OUT_OF_RANGE, part.MakeUniform({h[2], 999, h[3]}));
    EXPECT_TRUE(isUniform(part, h[2]));
    EXPECT_FALSE(isUniform(part, h[3]));
    // The hooks stay off after the failure, for the caller to finish.
    EXPECT_FALSE(RelevanceOn(part));
    EXPECT_TRUE(AllBeliefsStale(part));
    // Outcomes deduced through a deterministic table go with the table.
    QEL_network deduced;
    const int cause = deduced.AddNode(cptType, "cause"), effect = deduced.AddNode(qel_truthTableType, "effect");
    ASSERT_EQ(0, deduced.AddArc(cause, effect));
    ASSERT_EQ(0, deduced.GetNode(cause)->Value()->SetEvidence(0));
    ASSERT_TRUE(deduced.GetNode(effect)->Value()->IsPropagatedEvidence());
    EXPECT_EQ(0, deduced.MakeUniform());
    EXPECT_FALSE(deduced.GetNode(effect)->Value()->IsPropagatedEvidence());
    EXPECT_TRUE(deduced.GetNode(cause)->Value()->IsRealEvidence());
}

std::string DataFile(const char* name) { return std::string(ORVIL_TEST_DATA_DIR) + "/" + name; }

std::string TempFile(const std::string& name) { return testing::TempDir() + "orvil_lifecycle_" + name; }

void BuildSmall(QEL_network& net) { net.AddArc(net.AddNode(18, "a"), net.AddNode(18, "b")); }

TEST(NetworkFiles, FormatsByNumberAndExtensionAndRefusals) {
    const struct {
        const char* name;
        int format, found;
    } cases[] = {
        {"m.bif", 0, QEL_FORMAT_BIF},     {"d.x/M.BiF", 0, QEL_FORMAT_BIF}, {"m.QQEL", 0, QEL_FORMAT_NATIVE},
        {"m.xqel", 0, QEL_FORMAT_NATIVE}, {"m.net", 0, QEL_FORMAT_HUGIN},   {"m.dxp", 0, QEL_FORMAT_KI},
        {"m.xml03", 0, QEL_FORMAT_XML03}, {"m.bif.txt", 0, -2},             {"bif", 0, -2},
        {nullptr, 0, -2},                 {"m.net", 9, 9},                  {"m", 42, 42},
    };
    QEL_network net;
    for (const auto& c : cases) {
        int format = c.format;
        std::unique_ptr<QEL_fileFormat> speaker(net.CreateFileFormat(c.name, format));
        EXPECT_EQ(c.found, format) << (c.name ? c.name : "null");
        EXPECT_EQ(format == QEL_FORMAT_BIF || format == QEL_FORMAT_NATIVE, speaker != nullptr) << format;
    }
    BuildSmall(net);
    const auto before = Describe(net);
    auto expectRefused = [&](int status, const char* message) {
        EXPECT_EQ(QEL_OUT_OF_RANGE, status) << message;
        EXPECT_EQ(QEL_OUT_OF_RANGE, QEL_errorH().GetLastError()) << message;
        EXPECT_NE(std::string::npos, std::string(QEL_errorH().GetLastErrorMessage()).find(message)) << message;
        EXPECT_EQ(before, Describe(net)) << message;
    };
    const std::string asia = DataFile("asia.bif");
    expectRefused(net.ReadFile("model.unknown", 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(nullptr, 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(asia.c_str(), 42, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile("model.net", 0, nullptr), "\"net\"");
    const std::string refused = TempFile("refused.bif");
    expectRefused(net.WriteFile(refused.c_str(), 7, nullptr), "Writing to KI file format not supported.");
    // By extension, the KI format reaches its writer, which is not built.
    expectRefused(net.WriteFile(TempFile("refused.dxp").c_str(), 0, nullptr), "\"dxp\"");
    EXPECT_EQ(nullptr, std::fopen(refused.c_str(), "r"));
}

// A read replaces all that the network held but its event mask, and ends
// the read state; a good BIF file reads as the BIF class reads it and
// writes back unchanged, a damaged or missing one is logged.
TEST(NetworkFiles, ReadsThroughTheNetwork) {
    const std::string damaged = TempFile("damaged.bif");
    FILE* file = std::fopen(damaged.c_str(), "w");
    ASSERT_NE(nullptr, file);
    std::fputs("network broken {\n}\nvariable a {\n  type discrete [ 2 ] { yes, no };\n", file);
    std::fclose(file);
    std::vector<std::pair<std::string, bool>> files = {{damaged, false}, {TempFile("missing.bif"), false}};
    for (const char* name : {"asia.bif", "cancer.bif", "earthquake.bif", "cancer_table.bif", "alarm.bif"}) {
        files.emplace_back(DataFile(name), true);
    }
    for (const auto& [path, good] : files) {
        const std::string written = TempFile("written.bif");
        QEL_network direct, net, again;
        BuildSmall(net);
        net.Submodels().CreateSubmodel(QEL_submodelHandler::rootHandle, "stale");
        net.SetRelevanceEvents(0x155);
        const int status = net.ReadFile(path.c_str(), 0, nullptr);
        EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().FindSubmodel("stale"));
        EXPECT_EQ(0x155, net.GetRelevanceEvents());
        EXPECT_EQ(0, net.GetReadFlags());
        if (!good) {
            EXPECT_LT(status, 0) << path;
            EXPECT_EQ(status, QEL_errorH().GetLastError()) << path;
            EXPECT_EQ(0, net.GetNumberOfNodes()) << path;
            continue;
        }
        ASSERT_EQ(0, status) << path << ": " << QEL_errorH().GetLastErrorMessage();
        ASSERT_EQ(0, QEL_bifSpeaker(&direct).ReadNetwork(path.c_str())) << path;
        EXPECT_EQ(Describe(direct), Describe(net)) << path;
        EXPECT_STREQ(direct.GetHeader().GetId(), net.GetHeader().GetId());
        EXPECT_TRUE(net.IsConsistent()) << path;
        ASSERT_EQ(0, net.WriteFile(written.c_str(), 0, nullptr)) << path;
        ASSERT_EQ(0, again.ReadFile(written.c_str(), QEL_FORMAT_BIF, nullptr)) << path;
        EXPECT_EQ(Describe(net), Describe(again)) << path;
        std::remove(written.c_str());
    }
    std::remove(damaged.c_str());
}

}  // namespace
