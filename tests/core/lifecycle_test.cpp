// Whole-network operations: construction and the ways of emptying a
// network, full and lean copies checked on random networks (same model,
// same beliefs, no shared state), the passes around a read, uniform tables,
// arc necessity, and the evidence and target snapshot.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "lifecycle_describe.h"
#include "random_network.h"
#include "orvil/errors.h"
#include "orvil/networkstate.h"
#include "orvil/submodel.h"
#include "orvil/userproperties.h"

namespace {

using lifecycle_test::Describe;

const int cptType = 18;
// A node type whose definition class this build does not have: the node is
// made, but fails its readiness check.
const int typeWithoutClass = 1028;

// Beliefs of every slot, and whether they are valid.
std::vector<std::vector<double>> Beliefs(QEL_network& net) {
    std::vector<std::vector<double>> beliefs(net.GetMaxNodes());
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_Dmatrix* matrix = nullptr;
        QEL_nodeValue* value = net.GetNode(h)->Value();
        value->GetValue(&matrix);
        for (int i = 0; i < matrix->GetSize(); i++) beliefs[h].push_back((*matrix)[i]);
        beliefs[h].push_back(value->IsValueValid() ? 1.0 : 0.0);
    }
    return beliefs;
}

void ExpectSameBeliefs(const std::vector<std::vector<double>>& a, const std::vector<std::vector<double>>& b,
                       const std::string& where) {
    ASSERT_EQ(a.size(), b.size()) << where;
    for (size_t h = 0; h < a.size(); h++) {
        ASSERT_EQ(a[h].size(), b[h].size()) << where << " node " << h;
        for (size_t s = 0; s < a[h].size(); s++) EXPECT_NEAR(a[h][s], b[h][s], 1e-12) << where << " node " << h;
    }
}

// A random network of positive tables with a hole, evidence and a target.
std::vector<int> RandomModel(QEL_network& net, unsigned seed) {
    orvil_test::RandomNetworkOptions options;
    options.nodes = 7;
    options.maxOutcomes = 3;
    options.zeroShare = 0.0;
    std::vector<int> h = orvil_test::BuildRandomNetwork(net, seed, options);
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

bool RelevanceOn(const QEL_network& net) {
    return (net.GetNetworkFlags() & QEL_network::QEL_RELEVANCE_ACTIVE) != 0;
}

TEST(NetworkLifecycle, ConstructionReCreateFlushAndBuildTexts) {
    QEL_network net(0, -3);
    EXPECT_EQ(50, net.GetMaxNodes());
    EXPECT_EQ(50, net.GetGrowthStep());
    EXPECT_STREQ("Unnamed", net.GetHeader().GetId());
    EXPECT_STREQ("Unnamed", net.GetHeader().GetName());

    std::vector<int> h = RandomModel(net, 5);
    ASSERT_EQ(0, net.AddArc(h[0], h[1], qel_costObserve));
    net.Submodels().CreateSubmodel(QEL_submodelHandler::rootHandle, "group");
    net.SetNumberOfSamples(7);
    net.SetDefaultBNAlgorithm(2);
    net.EnableZeroAvoidance(false);
    net.SetRelevanceEvents(5);
    net.UserProperties().AddProperty("kept", "yes");
    ASSERT_EQ(0, net.Flush());
    EXPECT_EQ(0, net.GetNumberOfNodes());
    EXPECT_EQ(0, net.GetNumberOfTargets());
    EXPECT_EQ(50, net.GetMaxNodes());
    EXPECT_EQ(10000, net.GetNumberOfSamples());
    EXPECT_EQ(2, net.GetDefaultBNAlgorithm());
    EXPECT_FALSE(net.IsZeroAvoidanceEnabled());
    EXPECT_EQ(5, net.GetRelevanceEvents());
    EXPECT_EQ(0, net.UserProperties().FindProperty("kept"));
    EXPECT_EQ(1, net.Submodels().GetNumberOfSubmodels());
    // Cost lists of the slots are left for AddNode to meet again.
    EXPECT_EQ(1, net.GetParents(h[1], qel_costObserve).NumItems());
    // The emptied network builds as a new one, with an order of its own.
    const int a = net.AddNode(cptType, "a");
    const int b = net.AddNode(cptType, "group");
    EXPECT_EQ(0, a);
    ASSERT_EQ(0, net.AddArc(b, a));
    EXPECT_EQ(std::vector<int>({b, a}), std::vector<int>(net.PartialOrdering().Items(),
                                                          net.PartialOrdering().Items() + 2));

    net.GetHeader().SetId("Model");
    ASSERT_EQ(0, net.ReCreate(3, 0));
    EXPECT_EQ(0, net.GetNumberOfNodes());
    EXPECT_EQ(3, net.GetMaxNodes());
    EXPECT_EQ(0, net.UserProperties().GetNumberOfProperties());
    EXPECT_STREQ("Unnamed", net.GetHeader().GetId());

    std::string build, comment;
    QEL_network::GetBuild(build);
    QEL_network::GetTopComment(comment);
    EXPECT_TRUE(std::regex_match(build, std::regex("[A-Za-z]+ [0-9.]+@\\S+"))) << build;
    EXPECT_NE(std::string::npos, comment.find(build.substr(build.find(' ') + 1))) << comment;
}

TEST(NetworkLifecycle, CopiesGiveTheSameBeliefsAndShareNothing) {
    for (unsigned seed = 1; seed <= 12; seed++) {
        const std::string where = "seed " + std::to_string(seed);
        QEL_network net;
        std::vector<int> h = RandomModel(net, seed);
        net.UserProperties().AddProperty("origin", "source");
        net.GetHeader().SetId("Model");
        ASSERT_EQ(0, net.UpdateBeliefs()) << where;
        const std::vector<std::string> before = Describe(net);
        const std::vector<std::vector<double>> beliefs = Beliefs(net);
        QEL_network full(net);
        QEL_network lean(net, true);
        // Copying only reads the source: its beliefs stay valid.
        ExpectSameBeliefs(beliefs, Beliefs(net), where + " source after copying");
        ASSERT_EQ(before, Describe(full)) << where;
        EXPECT_STREQ("Model", full.GetHeader().GetId());
        ASSERT_EQ(Describe(net, true), Describe(lean, true)) << where;
        EXPECT_EQ(0, lean.UserProperties().FindProperty("origin"));
        EXPECT_EQ(net.GetNetworkFlags(), lean.GetNetworkFlags());
        for (int node : h) EXPECT_EQ(nullptr, lean.GetNode(node)->GetId()) << where;
        ASSERT_EQ(0, full.UpdateBeliefs()) << where;
        ASSERT_EQ(0, lean.UpdateBeliefs()) << where;
        ExpectSameBeliefs(beliefs, Beliefs(full), where + " full copy");
        ExpectSameBeliefs(beliefs, Beliefs(lean), where + " lean copy");

        for (QEL_network* copy : {&full, &lean}) {
            copy->ClearAllEvidence();
            copy->GetNode(h[1])->Value()->SetEvidence(0);
            copy->GetNode(h[2])->Definition()->MakeUniform();
            copy->DeleteNode(h[3]);
            copy->AddNode(cptType, "extra");
            copy->UpdateBeliefs();
        }
        EXPECT_EQ(before, Describe(net)) << where;
        ExpectSameBeliefs(beliefs, Beliefs(net), where + " source after edits of the copies");

        QEL_network again;
        ASSERT_EQ(0, again.Copy(net, true));
        EXPECT_EQ(before, Describe(again)) << where;
    }
}

TEST(NetworkLifecycle, ReadBracketRunsThePassesOnlyAfterSuccess) {
    for (int status : {0, QEL_SYNTAX_ERROR}) {
        QEL_network net;
        net.AddNode(cptType, "old");
        net.SetRelevanceEvents(0x1FF);
        const int kept = net.BeginRead(true, false);
        EXPECT_EQ(0x1FF, kept);
        EXPECT_EQ(0, net.GetNumberOfNodes());
        EXPECT_EQ(0, net.GetRelevanceEvents());
        EXPECT_EQ(QEL_READ_ACTIVE | QEL_READ_NO_ID_TEST, net.GetReadFlags());
        const int good = net.AddNode(cptType, "good");
        const int broken = net.AddNode(typeWithoutClass, "broken");
        ASSERT_EQ(nullptr, net.GetNode(broken)->Definition());
        ASSERT_FALSE(net.GetNode(broken)->IsReady());

        EXPECT_EQ(status, net.EndRead(status, kept));
        EXPECT_EQ(0, net.GetReadFlags());
        EXPECT_EQ(0x1FF, net.GetRelevanceEvents());
        EXPECT_TRUE(net.Ok(good));
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
    for (int bad : {1, 4}) (*net.GetNode(h[bad])->Definition()->GetMatrix())[0] += 0.5;
    QEL_errorH().Flush();
    EXPECT_EQ(QEL_OBJECT_NOT_CONSISTENT, net.CheckConsistency(1));
    EXPECT_FALSE(net.IsConsistent());
    ASSERT_EQ(2, QEL_errorH().GetNumberOfErrors());
    EXPECT_EQ(QEL_OBJECT_NOT_CONSISTENT, QEL_errorH().GetError(1));
    EXPECT_STREQ("ERROR: Node [n1] is not consistent. Inference may not be correct",
                 QEL_errorH().GetErrorMessage(0));
    EXPECT_STREQ("ERROR: Node [n4] is not consistent. Inference may not be correct",
                 QEL_errorH().GetErrorMessage(1));
    for (int bad : {1, 4}) (*net.GetNode(h[bad])->Definition()->GetMatrix())[0] -= 0.5;
    EXPECT_EQ(0, net.CheckConsistency(1));
    EXPECT_TRUE(net.IsConsistent());
}

TEST(NetworkLifecycle, MakeUniform) {
    auto isUniform = [](QEL_network& net, int h) {
        const QEL_Dmatrix& table = *net.GetNode(h)->Definition()->GetMatrix();
        for (int i = 0; i < table.GetSize(); i++) {
            if (table[i] != 1.0 / table.GetSizeOfLastDimension()) return false;
        }
        return true;
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
    ASSERT_EQ(6u, h.size());
    ASSERT_EQ(0, part.UpdateBeliefs());
    EXPECT_EQ(0, part.MakeUniform(std::vector<int>()));
    EXPECT_TRUE(RelevanceOn(part));
    EXPECT_TRUE(part.GetNode(h[2])->Value()->IsValueValid());
    EXPECT_EQ(QEL_OUT_OF_RANGE, part.MakeUniform({h[2], 999, h[3]}));
    EXPECT_TRUE(isUniform(part, h[2]));
    EXPECT_FALSE(isUniform(part, h[3]));
    // The hooks stay off after the failure, for the caller to finish.
    EXPECT_FALSE(RelevanceOn(part));
    EXPECT_TRUE(AllBeliefsStale(part));

    // Outcomes deduced through a deterministic table go with the table.
    QEL_network deduced;
    const int cause = deduced.AddNode(cptType, "cause");
    const int effect = deduced.AddNode(qel_truthTableType, "effect");
    ASSERT_EQ(0, deduced.AddArc(cause, effect));
    ASSERT_EQ(0, deduced.GetNode(cause)->Value()->SetEvidence(0));
    ASSERT_TRUE(deduced.GetNode(effect)->Value()->IsPropagatedEvidence());
    EXPECT_EQ(0, deduced.MakeUniform());
    EXPECT_FALSE(deduced.GetNode(effect)->Value()->IsPropagatedEvidence());
    EXPECT_TRUE(deduced.GetNode(cause)->Value()->IsRealEvidence());
}

TEST(NetworkLifecycle, IsArcNecessaryAsksAboutTheRightParent) {
    QEL_network net;
    const int a = net.AddNode(cptType, "a");
    const int b = net.AddNode(cptType, "b");
    const int c = net.AddNode(cptType, "c");
    ASSERT_EQ(0, net.AddArc(a, c));
    ASSERT_EQ(0, net.AddArc(b, c));
    // Columns in the order (a, b): c follows b alone.
    const double cells[] = {0.9, 0.1, 0.2, 0.8, 0.9, 0.1, 0.2, 0.8};
    for (int i = 0; i < 8; i++) (*net.GetNode(c)->Definition()->GetMatrix())[i] = cells[i];
    bool necessary = true;
    EXPECT_EQ(0, net.IsArcNecessary(a, c, 1e-6, necessary));
    EXPECT_FALSE(necessary);
    EXPECT_EQ(0, net.IsArcNecessary(b, c, 1e-6, necessary));
    EXPECT_TRUE(necessary);
    EXPECT_EQ(QEL_INVALID_VALUE, net.IsArcNecessary(c, a, 1e-6, necessary));
    EXPECT_EQ(QEL_INVALID_VALUE, net.IsArcNecessary(a, b, 1e-6, necessary));
    EXPECT_EQ(QEL_OUT_OF_RANGE, net.IsArcNecessary(a, 77, 1e-6, necessary));
}

TEST(NetworkState, RestoresEvidenceTargetsAndTheRelevanceBit) {
    for (unsigned seed = 1; seed <= 10; seed++) {
        for (bool targetsOnly : {false, true}) {
            const std::string where = "seed " + std::to_string(seed) + (targetsOnly ? " targets only" : "");
            QEL_network net;
            std::vector<int> h = RandomModel(net, seed);
            net.GetNode(h[2])->Value()->SetEvidence(0);
            const std::vector<std::string> before = Describe(net);
            std::vector<std::string> during;
            {
                QEL_networkState state(net, targetsOnly);
                EXPECT_EQ(targetsOnly ? 0u : static_cast<size_t>(net.GetLastNode() + 1), state.Evidence().size());
                net.SetNetworkFlags(net.GetNetworkFlags() & ~QEL_network::QEL_RELEVANCE_ACTIVE);
                net.ClearAllEvidence();
                net.ClearAllTargets();
                net.GetNode(h[3])->Value()->SetEvidence(1);
                net.SetTarget(h[4], true);
                during = Describe(net);
            }
            EXPECT_TRUE(RelevanceOn(net)) << where;
            const std::vector<std::string> after = Describe(net);
            // Each line ends in " e<evidence> t<target>": targets always come
            // back, evidence only unless the snapshot kept targets alone.
            auto head = [](const std::string& line) { return line.substr(0, line.rfind(" t")); };
            auto tail = [](const std::string& line) { return line.substr(line.rfind(" t")); };
            for (size_t s = 0; s < after.size(); s++) {
                if (after[s].empty()) continue;
                EXPECT_EQ(tail(before[s]), tail(after[s])) << where;
                EXPECT_EQ(head((targetsOnly ? during : before)[s]), head(after[s])) << where;
            }
        }
    }
}

}  // namespace
