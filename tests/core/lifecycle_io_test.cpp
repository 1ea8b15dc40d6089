// Reading and writing whole networks through QEL_network: the choice of
// format by number and by extension, refusals that leave the network
// untouched, BIF files read through the network exactly as the BIF class
// reads them, written back (as BIF and as native XML) unchanged, and what a
// failed read leaves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/network_io_formats.h"
#include "lifecycle_describe.h"
#include "orvil/bif.h"
#include "orvil/errors.h"
#include "orvil/submodel.h"

namespace {

using lifecycle_test::Describe;

std::string DataFile(const char* name) {
    return std::string(ORVIL_TEST_DATA_DIR) + "/" + name;
}

std::string TempFile(const std::string& name) {
    return testing::TempDir() + "orvil_lifecycle_" + name;
}

std::vector<std::string> Sorted(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    lines.erase(std::remove(lines.begin(), lines.end(), std::string()), lines.end());
    return lines;
}

void BuildSmall(QEL_network& net) {
    net.AddArc(net.AddNode(18, "a"), net.AddNode(18, "b"));
}

TEST(NetworkFiles, FormatsByNumberAndExtension) {
    const struct {
        const char* name;
        int format;
        int found;
    } cases[] = {
        {"m.bif", 0, QEL_FORMAT_BIF}, {"d.x/M.BiF", 0, QEL_FORMAT_BIF}, {"m.QQEL", 0, QEL_FORMAT_NATIVE},
        {"m.xqel", 0, QEL_FORMAT_NATIVE}, {"m.net", 0, QEL_FORMAT_HUGIN}, {"m.dxp", 0, QEL_FORMAT_KI},
        {"m.xml03", 0, QEL_FORMAT_XML03}, {"m.bif.txt", 0, -2}, {"bif", 0, -2}, {nullptr, 0, -2},
        {"m.net", 9, 9}, {"m", 42, 42},
    };
    QEL_network net;
    for (const auto& c : cases) {
        int format = c.format;
        std::unique_ptr<QEL_fileFormat> speaker(net.CreateFileFormat(c.name, format));
        EXPECT_EQ(c.found, format) << (c.name ? c.name : "null");
        const bool built = format == QEL_FORMAT_BIF || format == QEL_FORMAT_NATIVE;
        EXPECT_EQ(built, speaker != nullptr) << (c.name ? c.name : "null");
    }
}

TEST(NetworkFiles, RefusedFormatsLeaveTheNetworkAlone) {
    QEL_network net;
    BuildSmall(net);
    const auto before = Describe(net);
    auto expectRefused = [&](int status, const char* message) {
        EXPECT_EQ(QEL_OUT_OF_RANGE, status) << message;
        EXPECT_EQ(QEL_OUT_OF_RANGE, QEL_errorH().GetLastError()) << message;
        EXPECT_NE(std::string::npos, std::string(QEL_errorH().GetLastErrorMessage()).find(message))
            << QEL_errorH().GetLastErrorMessage();
        EXPECT_EQ(before, Describe(net)) << message;
    };
    const std::string asia = DataFile("asia.bif");
    expectRefused(net.ReadFile("model.unknown", 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(nullptr, 0, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile(asia.c_str(), 42, nullptr), "Unknown File Format");
    expectRefused(net.ReadFile("model.net", 0, nullptr), "\"net\"");
    expectRefused(net.WriteFile(TempFile("refused.bif").c_str(), 7, nullptr),
                  "Writing to KI file format not supported.");
    // By extension, the KI format reaches its writer, which is not built.
    expectRefused(net.WriteFile(TempFile("refused.dxp").c_str(), 0, nullptr), "\"dxp\"");
    EXPECT_EQ(nullptr, std::fopen(TempFile("refused.bif").c_str(), "r"));
}

TEST(NetworkFiles, BifThroughTheNetworkMatchesTheBifClassAndRoundTrips) {
    for (const char* name : {"asia.bif", "cancer.bif", "earthquake.bif", "cancer_table.bif", "alarm.bif"}) {
        const std::string path = DataFile(name);
        QEL_network direct;
        ASSERT_EQ(0, QEL_bifSpeaker(&direct).ReadNetwork(path.c_str())) << name;

        // The read replaces all that the network held.
        QEL_network net;
        BuildSmall(net);
        net.Submodels().CreateSubmodel(QEL_submodelHandler::rootHandle, "stale");
        net.SetRelevanceEvents(0x155);
        ASSERT_EQ(0, net.ReadFile(path.c_str(), 0, &direct)) << name << ": " << QEL_errorH().GetLastErrorMessage();
        EXPECT_EQ(Describe(direct), Describe(net)) << name;
        EXPECT_STREQ(direct.GetHeader().GetId(), net.GetHeader().GetId());
        EXPECT_EQ(QEL_OUT_OF_RANGE, net.Submodels().FindSubmodel("stale"));
        EXPECT_EQ(0x155, net.GetRelevanceEvents());
        EXPECT_EQ(0, net.GetReadFlags());
        EXPECT_TRUE(net.IsConsistent()) << name;

        const std::string written = TempFile(std::string("written_") + name);
        ASSERT_EQ(0, net.WriteFile(written.c_str(), 0, nullptr)) << name;
        QEL_network again;
        ASSERT_EQ(0, again.ReadFile(written.c_str(), QEL_FORMAT_BIF, nullptr)) << name;
        EXPECT_EQ(Describe(net), Describe(again)) << name;
        std::remove(written.c_str());

        std::string text;
        ASSERT_EQ(0, net.WriteString(text, nullptr)) << name;
        QEL_network native;
        BuildSmall(native);
        ASSERT_EQ(0, native.ReadString(text.c_str(), nullptr)) << name;
        // The native format may store the nodes in another order.
        EXPECT_EQ(Sorted(Describe(net)), Sorted(Describe(native))) << name;
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
        EXPECT_EQ(status, QEL_errorH().GetLastError()) << path;
        EXPECT_EQ(0x33, net.GetRelevanceEvents());
        EXPECT_EQ(0, net.GetReadFlags());
        // Emptied for the read; the reader built nothing.
        EXPECT_EQ(0, net.GetNumberOfNodes()) << path;
    }
    std::remove(damaged.c_str());
}

}  // namespace
