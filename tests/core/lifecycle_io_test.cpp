// Reading and writing whole networks through QEL_network: the choice of
// format by number and by extension, the refusals that leave a network
// untouched, BIF files read through the network exactly as the BIF class
// reads them, written files that read back to the same model, and what a
// failed read leaves behind.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/network_io_formats.h"
#include "random_network.h"
#include "orvil/bif.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/stringarray.h"
#include "orvil/submodel.h"
#include "orvil/userproperties.h"

namespace {

const int cptType = 18;

std::string DataFile(const char* name) {
    return std::string(ORVIL_TEST_DATA_DIR) + "/" + name;
}

std::string TempFile(const char* name) {
    return testing::TempDir() + "orvil_lifecycle_" + name;
}

// The model as text, node by node: id, name, outcomes, parents by id, table;
// then the network's id, name and properties.
std::string Describe(QEL_network& net) {
    std::string out;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        const char* name = node.Info()->Header().GetName();
        out += std::string(node.GetId()) + "/" + (name != nullptr ? name : "") + " [";
        QEL_idArray& outcomes = *node.Definition()->GetOutcomesNames();
        for (int s = 0; s < outcomes.NumItems(); s++) out += std::string(outcomes[s]) + " ";
        out += "] (";
        const QEL_intArray& parents = net.GetParents(h);
        for (int i = 0; i < parents.NumItems(); i++) out += std::string(net.GetNode(parents[i])->GetId()) + " ";
        out += ")";
        const QEL_Dmatrix& table = *node.Definition()->GetMatrix();
        char cell[32];
        for (int i = 0; i < table.GetSize(); i++) {
            snprintf(cell, sizeof cell, " %.17g", table[i]);
            out += cell;
        }
        out += "\n";
    }
    const char* id = net.GetHeader().GetId();
    out += std::string("network ") + (id != nullptr ? id : "");
    QEL_userProperties& properties = net.UserProperties();
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        out += std::string(" ") + properties.GetPropertyName(i) + "=" + properties.GetPropertyValue(i);
    }
    return out;
}

// A network with two nodes and an arc, to see that refusals touch nothing.
void BuildSmall(QEL_network& net) {
    const int a = net.AddNode(cptType, "a");
    const int b = net.AddNode(cptType, "b");
    net.AddArc(a, b);
}

TEST(NetworkFiles, FormatsByNumberAndExtension) {
    struct Case {
        const char* name;
        int format;
        int found;
    };
    const std::vector<Case> cases = {
        {"m.bif", 0, QEL_FORMAT_BIF},      {"dir.x/M.BiF", 0, QEL_FORMAT_BIF}, {"m.xqel", 0, QEL_FORMAT_NATIVE},
        {"m.QQEL", 0, QEL_FORMAT_NATIVE},  {"m.net", 0, QEL_FORMAT_HUGIN},     {"m.dxp", 0, QEL_FORMAT_KI},
        {"m.xml03", 0, QEL_FORMAT_XML03},  {"m.erg", 0, QEL_FORMAT_ERGO},      {"m.dne", 0, QEL_FORMAT_NETICA},
        {"m.dsc", 0, QEL_FORMAT_MICROSOFT}, {"m.qel", 0, QEL_FORMAT_QEL},      {"m.bif.txt", 0, -2},
        {"bif", 0, -2},                    {nullptr, 0, -2},                    {"m.net", 9, 9},
        {"m", 42, 42},
    };
    QEL_network net;
    for (const Case& c : cases) {
        int format = c.format;
        std::unique_ptr<QEL_fileFormat> speaker(net.CreateFileFormat(c.name, format));
        EXPECT_EQ(c.found, format) << (c.name ? c.name : "null");
        EXPECT_EQ(format == QEL_FORMAT_BIF, speaker != nullptr) << (c.name ? c.name : "null");
    }
}

TEST(NetworkFiles, RefusedFormatsLeaveTheNetworkAlone) {
    QEL_network net;
    BuildSmall(net);
    const std::string before = Describe(net);
    auto expectRefused = [&](int status, const char* message) {
        EXPECT_EQ(QEL_OUT_OF_RANGE, status) << message;
        EXPECT_EQ(QEL_OUT_OF_RANGE, QEL_errorH().GetLastError()) << message;
        EXPECT_NE(std::string::npos, std::string(QEL_errorH().GetLastErrorMessage()).find(message))
            << QEL_errorH().GetLastErrorMessage();
        EXPECT_EQ(before, Describe(net));
        EXPECT_EQ(0, net.GetReadFlags());
    };
    expectRefused(net.ReadFile("model.unknown", 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile("model", 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(nullptr, 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(DataFile("asia.bif").c_str(), 42, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(DataFile("asia.bif").c_str(), -1, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile("model.net", 0, nullptr), "\"net\"");
    expectRefused(net.ReadFile("model.bif", QEL_FORMAT_NATIVE, nullptr), "\"xqel\"");
    expectRefused(net.WriteFile(TempFile("refused.bif").c_str(), 7, nullptr),
                  "Writing to KI file format not supported.");
    // By extension, the KI format reaches its writer, which is not built.
    expectRefused(net.WriteFile(TempFile("refused.dxp").c_str(), 0, nullptr), "\"dxp\"");
    expectRefused(net.WriteFile(TempFile("refused.zip").c_str(), 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadString("<orvil/>", nullptr), "\"xqel\"");
    std::string text = "kept";
    expectRefused(net.WriteString(text, nullptr), "\"xqel\"");
    EXPECT_EQ("kept", text);
    EXPECT_EQ(nullptr, std::fopen(TempFile("refused.bif").c_str(), "r"));
}

TEST(NetworkFiles, BifThroughTheNetworkMatchesTheBifClassAndRoundTrips) {
    for (const char* name : {"asia.bif", "cancer.bif", "earthquake.bif", "cancer_table.bif", "alarm.bif"}) {
        const std::string path = DataFile(name);
        QEL_network direct;
        QEL_bifSpeaker speaker(&direct);
        ASSERT_EQ(0, speaker.ReadNetwork(path.c_str())) << name;

        // A network with content of its own: the read replaces all of it.
        QEL_network net;
        BuildSmall(net);
        net.Submodels().CreateSubmodel(QEL_submodelHandler::rootHandle, "stale");
        net.SetRelevanceEvents(0x155);
        void* extension = &direct;
        ASSERT_EQ(0, net.ReadFile(path.c_str(), 0, extension)) << name << ": " << QEL_errorH().GetLastErrorMessage();
        EXPECT_EQ(Describe(direct), Describe(net)) << name;
        EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().FindSubmodel("stale"));
        EXPECT_EQ(0x155, net.GetRelevanceEvents());
        EXPECT_EQ(0, net.GetReadFlags());
        EXPECT_TRUE(net.IsReady());
        EXPECT_TRUE(net.IsConsistent()) << name;

        const std::string written = TempFile((std::string("written_") + name).c_str());
        ASSERT_EQ(0, net.WriteFile(written.c_str(), 0, nullptr)) << name;
        QEL_network again;
        ASSERT_EQ(0, again.ReadFile(written.c_str(), QEL_FORMAT_BIF, nullptr)) << name;
        EXPECT_EQ(Describe(net), Describe(again)) << name;
        std::remove(written.c_str());
    }
}

TEST(NetworkFiles, RandomNetworksSurviveWriteAndRead) {
    for (unsigned seed = 1; seed <= 10; seed++) {
        QEL_network net;
        orvil_test::RandomNetworkOptions options;
        options.nodes = 8;
        ASSERT_FALSE(orvil_test::BuildRandomNetwork(net, seed, options).empty());
        const std::string path = TempFile(("random" + std::to_string(seed) + ".BIF").c_str());
        ASSERT_EQ(0, net.WriteFile(path.c_str(), 0, nullptr)) << seed;
        QEL_network again;
        ASSERT_EQ(0, again.ReadFile(path.c_str(), 0, nullptr)) << seed;
        EXPECT_EQ(Describe(net), Describe(again)) << seed;
        std::remove(path.c_str());
    }
}

TEST(NetworkFiles, FailedReadsAreLoggedAndRestoreTheReadState) {
    const std::string damaged = TempFile("damaged.bif");
    FILE* file = std::fopen(damaged.c_str(), "w");
    ASSERT_NE(nullptr, file);
    std::fputs("network broken {\n}\nvariable a {\n  type discrete [ 2 ] { yes, no };\n", file);
    std::fclose(file);

    for (const std::string& path : {damaged, TempFile("missing.bif")}) {
        QEL_network net;
        BuildSmall(net);
        net.SetRelevanceEvents(0x33);
        QEL_errorH().Flush();
        const int status = net.ReadFile(path.c_str(), 0, nullptr);
        EXPECT_LT(status, 0) << path;
        ASSERT_GT(QEL_errorH().GetNumberOfErrors(), 0) << path;
        EXPECT_EQ(status, QEL_errorH().GetLastError()) << path;
        EXPECT_EQ(0x33, net.GetRelevanceEvents());
        EXPECT_EQ(0, net.GetReadFlags());
        // The network was emptied for the read; the reader built nothing.
        EXPECT_EQ(0, net.GetNumberOfNodes()) << path;
    }
    std::remove(damaged.c_str());
}

}  // namespace
