// QEL_bifSpeaker against real and random networks: what a read builds
// (nodes, ids, names, labels, arcs in order, tables), that writes read back
// to the same network, and that damaged input is logged with its status,
// line and message and leaves the network alone.
#include "bif_test_util.h"
#include "brute_force.h"
#include "random_network.h"

#include "orvil/bif.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/stringarray.h"
#include "orvil/userproperties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

QEL_nodeDefinition& Definition(QEL_network& net, const char* id)
{
    return *net.GetNode(net.FindNode(id))->Definition();
}

std::vector<double> Table(QEL_network& net, int handle)
{
    const QEL_Dmatrix& matrix = *net.GetNode(handle)->Definition()->GetMatrix();
    const double* items = matrix.GetItems().Items();
    return std::vector<double>(items, items + matrix.GetSize());
}

std::vector<std::string> Outcomes(QEL_network& net, int handle)
{
    std::vector<std::string> ids;
    QEL_idArray* names = net.GetNode(handle)->Definition()->GetOutcomesNames();
    for (int s = 0; s < names->NumItems(); ++s)
        ids.push_back((*names)[s]);
    return ids;
}

std::vector<int> Parents(QEL_network& net, int handle)
{
    const QEL_intArray& parents = net.GetParents(handle);
    return std::vector<int>(parents.Items(), parents.Items() + parents.NumItems());
}

// The whole network as plain data, handle by handle, for comparisons.
struct Snapshot {
    std::vector<std::string> ids, names;
    std::vector<std::vector<std::string>> outcomes, labels;
    std::vector<std::vector<std::string>> parents;
    std::vector<std::vector<double>> tables;

    explicit Snapshot(QEL_network& net)
    {
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
            QEL_node& node = *net.GetNode(h);
            ids.push_back(node.GetId());
            names.push_back(node.Info()->Header().GetName());
            outcomes.push_back(Outcomes(net, h));
            labels.emplace_back();
            for (size_t s = 0; s < outcomes.back().size(); ++s) {
                const char* label = node.ExtraDefinition()->GetLabel(static_cast<int>(s));
                labels.back().push_back(label ? label : "");
            }
            parents.emplace_back();
            for (int p : Parents(net, h))
                parents.back().push_back(net.GetNode(p)->GetId());
            tables.push_back(Table(net, h));
        }
    }

    void ExpectEqual(const Snapshot& other) const
    {
        EXPECT_EQ(ids, other.ids);
        EXPECT_EQ(names, other.names);
        EXPECT_EQ(outcomes, other.outcomes);
        EXPECT_EQ(labels, other.labels);
        EXPECT_EQ(parents, other.parents);
        EXPECT_EQ(tables, other.tables);
    }
};

// Each node against the model the text layer reads from the same file: a
// CPT node per variable, named by the original text, with its parents in
// order and its table as read.
TEST(BifSpeaker, ReadsNetworksAsCptNodesWithTablesInEngineLayout)
{
    for (const char* file : {"asia.bif", "cancer.bif", "earthquake.bif", "sachs.bif", "alarm.bif", "child.bif"}) {
        QEL_network net;
        QEL_bifSpeaker speaker(&net);
        const std::string text = bif_test::ReadDataFile(file);
        ASSERT_EQ(speaker.ReadNetworkFromString(text.c_str()), 0) << file << ": " << QEL_errorH().GetLastErrorMessage();
        BifModel model;
        BifError error;
        ASSERT_EQ(bif_test::ReadModel(text, model, error), 0) << file;
        ASSERT_EQ(static_cast<size_t>(net.GetNumberOfNodes()), model.nodes.size()) << file;
        int index = 0;
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h), ++index) {
            const BifNode& node = model.nodes[index];
            EXPECT_EQ(net.GetNode(h)->Definition()->GetType(), qel_cptType);
            EXPECT_EQ(net.GetNode(h)->Info()->Header().GetName(), node.name);
            EXPECT_EQ(Outcomes(net, h).size(), node.states.size());
            std::vector<int> parents;
            for (int p : node.parents)
                parents.push_back(net.FindNode(model.nodes[p].name.c_str()));
            EXPECT_EQ(Parents(net, h), parents) << node.name;
            EXPECT_EQ(Table(net, h), node.table) << node.name;
        }
    }
}

// Posteriors by enumeration over the tables of the engine's own nodes,
// against those an independent engine computed for the same files and
// cases. Agreement shows that every table landed in the engine's layout,
// parents in order and the child's states fastest, from the row form and
// from the compact table form alike.
TEST(BifSpeaker, NetworkPosteriorsMatchTheReferenceEngine)
{
    for (const char* file : {"cancer.bif", "cancer_table.bif", "asia.bif", "earthquake.bif", "sachs.bif"}) {
        QEL_network net;
        QEL_bifSpeaker speaker(&net);
        ASSERT_EQ(speaker.ReadNetworkFromString(bif_test::ReadDataFile(file).c_str()), 0) << file;
        std::string reference = std::string(file).substr(0, std::string(file).find_first_of("_."));
        std::vector<bif_test::ReferenceCase> cases = bif_test::LoadReferenceCases(reference);
        ASSERT_GE(cases.size(), 6u) << reference;
        for (const bif_test::ReferenceCase& c : cases) {
            orvil_test::BruteModel model = orvil_test::BruteModelFromNetwork(net);
            for (const auto& [id, state] : c.evidence) {
                int handle = net.FindNode(id.c_str());
                std::vector<std::string> outcomes = Outcomes(net, handle);
                model.vars[model.IndexOfHandle(handle)].evidence =
                    static_cast<int>(std::find(outcomes.begin(), outcomes.end(), state) - outcomes.begin());
            }
            orvil_test::BruteResult result = orvil_test::BruteForce(model);
            ASSERT_TRUE(result.ok);
            EXPECT_NEAR(std::log(result.probEvidence), c.logProbEvidence, 1e-8) << c.id;
            for (const auto& [id, posterior] : c.posteriors) {
                const std::vector<double>& got = result.posteriors[model.IndexOfHandle(net.FindNode(id.c_str()))];
                ASSERT_EQ(got.size(), posterior.size());
                for (size_t s = 0; s < got.size(); ++s)
                    EXPECT_NEAR(got[s], posterior[s], 1e-8) << file << " " << c.id << " " << id;
            }
        }
    }
}

TEST(BifSpeaker, InvalidNamesBecomeIdsAndTheTextsAreKept)
{
    QEL_network net;
    QEL_bifSpeaker speaker(&net);
    ASSERT_EQ(speaker.ReadNetworkFromString(bif_test::ReadDataFile("child.bif").c_str()), 0);
    EXPECT_EQ(Outcomes(net, net.FindNode("LowerBodyO2")), (std::vector<std::string>{"x_5", "x5_12", "x12_"}));
    EXPECT_EQ(Outcomes(net, net.FindNode("CO2Report")), (std::vector<std::string>{"x_7_5", "x__7_5"}));
    EXPECT_EQ(Outcomes(net, net.FindNode("CardiacMixing")).at(3), "Transp_");
    QEL_node& mixing = *net.GetNode(net.FindNode("CardiacMixing"));
    EXPECT_STREQ(mixing.ExtraDefinition()->GetLabel(3), "Transp.");
    EXPECT_EQ(mixing.ExtraDefinition()->GetLabel(0), nullptr);

    const char* text =
        "network \"Dog Problem\" {\n  property \"version = 0.15\";\n}\n"
        "variable \"a b\" { type discrete [ 2 ] { \"1\", \"1.\" }; property note = first; }\n"
        "variable a-b { type discrete [ 2 ] { x, y }; }\n"
        "variable a_b { type discrete [ 2 ] { x, y }; }\n"
        "probability ( \"a b\" ) { table 0.5, 0.5; }\n"
        "probability ( a-b | \"a b\" ) { default 0.5, 0.5; }\n"
        "probability ( a_b | a-b ) { default 0.5, 0.5; }\n";
    ASSERT_EQ(speaker.ReadNetworkFromString(text), 0) << QEL_errorH().GetLastErrorMessage();
    ASSERT_EQ(net.GetNumberOfNodes(), 3);
    int first = net.GetFirstNode();
    EXPECT_STREQ(net.GetNode(first)->GetId(), "a_b2");
    EXPECT_STREQ(net.GetNode(first)->Info()->Header().GetName(), "a b");
    EXPECT_STREQ(net.GetNode(net.GetNextNode(first))->GetId(), "a_b3");
    EXPECT_EQ(Outcomes(net, first), (std::vector<std::string>{"x1", "x1_"}));
    EXPECT_STREQ(net.GetHeader().GetId(), "Dog_Problem");
    EXPECT_STREQ(net.GetHeader().GetName(), "Dog Problem");
    EXPECT_EQ(net.UserProperties().FindProperty("version"), 0);
    EXPECT_STREQ(net.GetNode(first)->Info()->UserProperties().GetPropertyValue(0), "first");
}

// Writes `net`, reads the text into a new network, expects the same
// network and the same text when that one is written. Returns the text.
std::string ExpectRoundTrip(QEL_network& net)
{
    std::string text, second;
    EXPECT_EQ(QEL_bifSpeaker(&net).WriteNetworkToString(text), 0);
    QEL_network again;
    QEL_bifSpeaker reader(&again);
    EXPECT_EQ(reader.ReadNetworkFromString(text.c_str()), 0) << text;
    Snapshot(again).ExpectEqual(Snapshot(net));
    EXPECT_EQ(reader.WriteNetworkToString(second), 0);
    EXPECT_EQ(second, text);
    return text;
}

// Files, where the original state texts must come back as written, and
// networks built through the engine's calls with a hole in the handle
// table and full-precision tables.
TEST(BifSpeaker, WrittenNetworksReadBackUnchanged)
{
    for (const char* file : {"child.bif", "alarm.bif", "asia.bif"}) {
        SCOPED_TRACE(file);
        QEL_network net;
        ASSERT_EQ(QEL_bifSpeaker(&net).ReadNetworkFromString(bif_test::ReadDataFile(file).c_str()), 0);
        const std::string text = ExpectRoundTrip(net);
        EXPECT_TRUE(file[0] != 'c' || text.find("{ <5, 5-12, 12+ }") != std::string::npos);
    }
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        orvil_test::RandomNetworkOptions options;
        options.nodes = 2 + static_cast<int>(seed % 8);
        QEL_network net;
        std::vector<int> handles = orvil_test::BuildRandomNetwork(net, seed, options);
        ASSERT_FALSE(handles.empty());
        ASSERT_EQ(net.DeleteNode(handles[seed % handles.size()]), 0);
        ExpectRoundTrip(net);
    }
}

TEST(BifSpeaker, DamagedTextIsLoggedWithItsLineAndChangesNothing)
{
    QEL_network net;
    QEL_bifSpeaker speaker(&net);
    ASSERT_EQ(speaker.ReadNetworkFromString(bif_test::ReadDataFile("asia.bif").c_str()), 0);
    Snapshot before(net);
    for (const bif_test::DamagedText& damaged : bif_test::DamagedTexts()) {
        QEL_errorH().Flush();
        EXPECT_EQ(speaker.ReadNetworkFromBuffer(damaged.text.data(), damaged.text.size()), damaged.code) << damaged.what;
        ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1) << damaged.what;
        EXPECT_EQ(QEL_errorH().GetLastError(), damaged.code);
        std::string message = QEL_errorH().GetLastErrorMessage();
        EXPECT_EQ(message.rfind("line " + std::to_string(damaged.line) + ": ", 0), 0u) << message;
        EXPECT_NE(message.find(damaged.saying), std::string::npos) << message;
        Snapshot(net).ExpectEqual(before);
    }
    std::string path = (std::filesystem::temp_directory_path() / "orvil_bif_damaged.bif").string();
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("variable a {\n  type discrete [ 2 ] { x, x };\n}\n", file);
    std::fclose(file);
    EXPECT_EQ(speaker.ReadNetwork(path.c_str()), -32);
    EXPECT_EQ(std::string(QEL_errorH().GetLastErrorMessage()).rfind(path + ": line 2: ", 0), 0u);
    std::remove(path.c_str());
    EXPECT_EQ(speaker.ReadNetwork((path + ".missing").c_str()), -100);
    EXPECT_EQ(speaker.WriteNetwork("/nonexistent-directory/x.bif"), -101);
    EXPECT_EQ(speaker.ReadNetworkFromString(nullptr), -2);
    Snapshot(net).ExpectEqual(before);
}

TEST(BifSpeaker, WritesOnlyNodesWithDiscreteTables)
{
    QEL_network net;
    ASSERT_GE(net.AddNode(qel_truthTableType, "gate"), 0);
    QEL_bifSpeaker speaker(&net);
    std::string text;
    ASSERT_EQ(speaker.WriteNetworkToString(text), 0);
    QEL_network again;
    QEL_bifSpeaker reader(&again);
    ASSERT_EQ(reader.ReadNetworkFromString(text.c_str()), 0);
    EXPECT_EQ(Definition(again, "gate").GetType(), qel_cptType);
    EXPECT_EQ(Table(again, again.FindNode("gate")), Table(net, net.FindNode("gate")));

    ASSERT_GE(net.AddNode(qel_listType, "choice"), 0);
    QEL_errorH().Flush();
    EXPECT_EQ(speaker.WriteNetworkToString(text), -51);
    EXPECT_EQ(QEL_errorH().GetLastError(), -51);
    EXPECT_NE(std::string(QEL_errorH().GetLastErrorMessage()).find("'choice'"), std::string::npos);
}

}  // namespace
