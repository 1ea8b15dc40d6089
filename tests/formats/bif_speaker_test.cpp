// QEL_bifSpeaker: posteriors of what a read builds against a reference
// engine, ids made from names that are no identifiers, older forms of the
// grammar, writes that read back to the same network, and damaged input
// logged with its status, line and message, the network left as it was.
#include "../../bench/json_lite.h"
#include "brute_force.h"

#include "orvil/bif.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
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
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string ReadDataFile(const std::string& name)
{
    std::stringstream content;
    content << std::ifstream(std::string(ORVIL_TEST_DATA_DIR) + "/" + name, std::ios::binary).rdbuf();
    return content.str();
}

std::vector<double> Table(QEL_network& net, int handle)
{
    const QEL_Dmatrix& matrix = *net.GetNode(handle)->Definition()->GetMatrix();
    return std::vector<double>(matrix.GetItems().Items(), matrix.GetItems().Items() + matrix.GetSize());
}

std::vector<std::string> Outcomes(QEL_network& net, int handle)
{
    std::vector<std::string> ids;
    QEL_idArray* names = net.GetNode(handle)->Definition()->GetOutcomesNames();
    for (int s = 0; s < names->NumItems(); ++s)
        ids.push_back((*names)[s]);
    return ids;
}

// The whole network as text, node by node in handle order: ids, names,
// outcomes with their labels, parents by id, and (in hexadecimal, so that
// they compare exactly) tables.
std::string Describe(QEL_network& net, bool tables = true)
{
    std::string text;
    char number[32];
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        text += std::string("\n") + node.GetId() + " " + node.Info()->Header().GetName() + " |";
        const std::vector<std::string> outcomes = Outcomes(net, h);
        for (size_t s = 0; s < outcomes.size(); ++s) {
            const char* label = node.ExtraDefinition()->GetLabel(static_cast<int>(s));
            text += " " + outcomes[s] + (label ? "/" + std::string(label) : "");
        }
        text += " |";
        const QEL_intArray& parents = net.GetParents(h);
        for (int i = 0; i < parents.NumItems(); ++i)
            text += std::string(" ") + net.GetNode(parents[i])->GetId();
        for (double cell : tables ? Table(net, h) : std::vector<double>{}) {
            std::snprintf(number, sizeof number, " %a", cell);
            text += number;
        }
    }
    return text;
}

// Posteriors by enumeration over the tables of the engine's own nodes,
// against those an independent engine computed for the same files and the
// cases of NAME.cases.json (NAME.ref.jsonl holds a line per case, in the
// same order). Agreement shows that every table landed in the engine's
// layout, parents in order and the child's states fastest, from the row
// form and from the compact table form alike.
TEST(BifSpeaker, NetworkPosteriorsMatchTheReferenceEngine)
{
    for (const std::string file : {"cancer.bif", "cancer_table.bif", "asia.bif", "earthquake.bif", "sachs.bif"}) {
        QEL_network net;
        ASSERT_EQ(QEL_bifSpeaker(&net).ReadNetworkFromString(ReadDataFile(file).c_str()), 0) << file;
        const std::string name = file.substr(0, file.find_first_of("_."));
        json_lite::JsonValue cases;
        std::string error;
        ASSERT_TRUE(json_lite::ParseJson(ReadDataFile(name + ".cases.json"), cases, error)) << error;
        std::istringstream lines(ReadDataFile(name + ".ref.jsonl"));
        size_t count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            json_lite::JsonValue expected;
            ASSERT_TRUE(json_lite::ParseJson(line, expected, error)) << error;
            const json_lite::JsonValue& c = cases.Find("cases")->items.at(count);
            ASSERT_EQ(c.Find("id")->text, expected.Find("id")->text);
            orvil_test::BruteModel model = orvil_test::BruteModelFromNetwork(net);
            for (const auto& [id, state] : c.Find("evidence")->members) {
                const int handle = net.FindNode(id.c_str());
                const std::vector<std::string> outcomes = Outcomes(net, handle);
                model.vars[model.IndexOfHandle(handle)].evidence =
                    static_cast<int>(std::find(outcomes.begin(), outcomes.end(), state.text) - outcomes.begin());
            }
            const orvil_test::BruteResult result = orvil_test::BruteForce(model);
            ASSERT_TRUE(result.ok);
            EXPECT_NEAR(std::log(result.probEvidence), expected.Find("log_pe")->number, 1e-8) << line;
            for (const auto& [id, posterior] : expected.Find("posteriors")->members) {
                const std::vector<double>& got = result.posteriors[model.IndexOfHandle(net.FindNode(id.c_str()))];
                ASSERT_EQ(got.size(), posterior.items.size());
                for (size_t s = 0; s < got.size(); ++s)
                    EXPECT_NEAR(got[s], posterior.items[s].number, 1e-8) << file << " " << line;
            }
        }
        EXPECT_GE(count, 6u) << name;
    }
}

// Writes `net`, reads the text into a new network, expects the same
// network and the same text when that one is written.
void ExpectRoundTrip(QEL_network& net)
{
    std::string text, second;
    EXPECT_EQ(QEL_bifSpeaker(&net).WriteNetworkToString(text), 0);
    QEL_network again;
    QEL_bifSpeaker reader(&again);
    EXPECT_EQ(reader.ReadNetworkFromString(text.c_str()), 0) << text;
    EXPECT_EQ(Describe(again), Describe(net));
    EXPECT_EQ(reader.WriteNetworkToString(second), 0);
    EXPECT_EQ(second, text);
}

// Names that are no identifiers become ids that do not clash with the
// valid ones, and the original texts stay as names and labels. The older
// grammar: quoted names, capitals, no commas, no bar between child and
// parents, an empty row, a semicolon after a block.
TEST(BifSpeaker, NamesBecomeIdsAndOlderGrammarReads)
{
    QEL_network net;
    const char* text =
        "NETWORK \"Dog Problem\" { property \"version = 0.15; draft\" ; }\n"
        "variable \"light-on\" {\n  type discrete[2] { \"true\" \"false\" };\n}\n"
        "variable family { TYPE Discrete [ 2 ] { true, false } }\n"
        "variable \"a b\" { type discrete [ 2 ] { \"<5\", \"1.\" };\n"
        "  property note =  a = b ; property label \"x y\"; }\n"
        "variable a-b { type discrete [ 2 ] { x, y }; }\n"
        "variable a_b { type discrete [ 2 ] { x, y }; }\n"
        "probability ( \"light-on\" \"family\" ) { //2 variable(s)\n  table 0.6 0.05 0.4 0.95 ;\n};\n"
        "probability ( family ) { ( ) 0.15 0.85; }\n"
        "probability ( \"a b\" ) { table 0.5, 0.5; }\n"
        "probability ( a-b | \"a b\" ) { default 0.5, 0.5; }\n"
        "probability ( a_b | a-b ) { default 0.5, 0.5; }\n";
    ASSERT_EQ(QEL_bifSpeaker(&net).ReadNetworkFromString(text), 0) << QEL_errorH().GetLastErrorMessage();
    EXPECT_EQ(Describe(net, false), "\nlight_on light-on | true false | family\nfamily family | true false |"
                                    "\na_b2 a b | x_5/<5 x1_/1. |\na_b3 a-b | x y | a_b2\na_b a_b | x y | a_b3");
    EXPECT_EQ(Table(net, net.FindNode("light_on")), (std::vector<double>{0.6, 0.4, 0.05, 0.95}));
    EXPECT_EQ(Table(net, net.FindNode("family")), (std::vector<double>{0.15, 0.85}));
    EXPECT_STREQ(net.GetHeader().GetId(), "Dog_Problem");
    EXPECT_STREQ(net.GetHeader().GetName(), "Dog Problem");
    QEL_userProperties& properties = net.GetNode(net.FindNode("a_b2"))->Info()->UserProperties();
    ASSERT_TRUE(net.UserProperties().FindProperty("version") >= 0 && properties.FindProperty("note") >= 0 &&
                properties.FindProperty("label") >= 0);
    EXPECT_STREQ(net.UserProperties().GetPropertyValue(net.UserProperties().FindProperty("version")), "0.15; draft");
    EXPECT_STREQ(properties.GetPropertyValue(properties.FindProperty("note")), "a = b");
    EXPECT_STREQ(properties.GetPropertyValue(properties.FindProperty("label")), "x y");
    // Two nodes of one name are written as two variables, the second by id.
    net.GetNode(net.FindNode("a_b3"))->Info()->Header().SetName("a b");
    std::string written;
    ASSERT_EQ(QEL_bifSpeaker(&net).WriteNetworkToString(written), 0);
    EXPECT_NE(written.find("variable a_b3 {"), std::string::npos) << written;
}

// Files, whose states that are no identifiers must come back as written,
// and one with a hole in its handle table.
TEST(BifSpeaker, WrittenNetworksReadBackUnchanged)
{
    for (const std::string file : {"child.bif", "alarm.bif", "asia.bif"}) {
        SCOPED_TRACE(file);
        QEL_network net;
        ASSERT_EQ(QEL_bifSpeaker(&net).ReadNetworkFromString(ReadDataFile(file).c_str()), 0);
        if (file == "alarm.bif") {
            ASSERT_EQ(net.DeleteNode(net.GetNextNode(net.GetFirstNode())), 0);
        }
        ExpectRoundTrip(net);
    }
}

// A damaged text with the status, line and message its reading must give.
struct DamagedText {
    const char* what;
    std::string text;
    int code;
    int line;
    const char* saying;
};

// Each text is a small valid network with one fault, one for each message
// a damaged text can give; the fault's line is what the message must name.
std::vector<DamagedText> DamagedTexts()
{
    const std::string head =
        "network n {\n"                                   // 1
        "}\n"                                             // 2
        "variable a {\n"                                  // 3
        "  type discrete [ 2 ] { yes, no };\n"            // 4
        "}\n"                                             // 5
        "variable b {\n"                                  // 6
        "  type discrete [ 3 ] { <5, 5-12, 12+ };\n"      // 7
        "}\n"                                             // 8
        "probability ( a ) {\n"                           // 9
        "  table 0.25, 0.75;\n"                           // 10
        "}\n";                                            // 11
    const std::string b = "probability ( b | a ) {\n"     // 12
                          "  (yes) 0.2, 0.3, 0.5;\n"      // 13
                          "  (no) 0.1, 0.1, 0.8;\n"       // 14
                          "}\n";                          // 15
    const std::string full = head + b;
    return {
        {"only a comment", "// nothing here\n", -128, 2, "the text holds no network, variable or probability block"},
        {"truncated inside a row", full.substr(0, full.find("0.1, 0.8")), -128, 14,
         "expected a probability but found end of file"},
        {"control character", head + "probability ( b | a ) {\n  (yes) 0.2,\x01 0.3, 0.5;\n", -126, 13,
         "unknown character 0x01"},
        {"unclosed comment", head + "/* left open\n" + b, -128, 12, "comment opened here is not closed"},
        {"unclosed quote", head + "probability ( \"b | a ) {\n", -128, 12, "quoted text opened here is not closed"},
        {"bad number", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3x, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n", -127, 13,
         "expected a probability but found '0.3x'"},
        {"probability above one", head + "probability ( b | a ) {\n  (yes) 0.2, 1.3, 0.5;\n  (no) 0.1, 0.1, 0.8;\n}\n",
         -129, 13, "probability '1.3' is outside [0, 1]"},
        {"unknown keyword", head + "probabilty ( b | a ) {\n", -127, 12,
         "expected 'network', 'variable' or 'probability' but found 'probabilty'"},
        {"continuous variable", "variable c {\n  type continuous;\n}\n", -129, 2,
         "only discrete variables can be read, found type 'continuous'"},
        {"unknown variable", head + "probability ( c | a ) {\n  (yes) 0.2, 0.8;\n}\n", -129, 12,
         "probability block for unknown variable 'c'"},
        {"unknown parent", head + "probability ( b | c ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "unknown parent 'c' of 'b'"},
        {"unknown state", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (maybe) 0.1, 0.1, 0.8;\n}\n", -129,
         14, "'maybe' is no state of 'a'"},
        {"too few values", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (no) 0.1, 0.9;\n}\n", -129, 14,
         "expected 3 values for 'b', found 2"},
        {"too many table values", head + "probability ( b | a ) {\n  table 0.2, 0.3, 0.5, 0.1, 0.1, 0.8, 0.0;\n}\n",
         -129, 13, "the table of 'b' has 7 values, expected 6"},
        {"missing configuration", head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "the probability block of 'b' gives no values for 1 of 2 parent configurations, the first being (no)"},
        {"repeated configuration",
         head + "probability ( b | a ) {\n  (yes) 0.2, 0.3, 0.5;\n  (yes) 0.1, 0.1, 0.8;\n}\n", -129, 14,
         "parent states (yes) of 'b' are given twice"},
        {"duplicate variable", head + "variable a {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -32, 12,
         "variable 'a' is declared twice (first at line 3)"},
        {"duplicate state", "variable a {\n  type discrete [ 2 ] { x, x };\n}\n", -32, 2,
         "state 'x' of variable 'a' is listed twice"},
        {"state count mismatch", "variable a {\n  type discrete [ 3 ] { x, y };\n}\n", -129, 2,
         "variable 'a' declares 3 states but lists 2"},
        {"single state", "variable a {\n  type discrete [ 1 ] { x };\n}\n", -19, 2,
         "variable 'a' has fewer than two states"},
        {"no type", "variable a {\n}\n", -129, 1, "variable 'a' has no type statement"},
        {"missing probability block", head + "variable c {\n  type discrete [ 2 ] { x, y };\n}\n" + b, -129, 12,
         "variable 'c' has no probability block"},
        {"second probability block", full + "probability ( a ) {\n  table 0.5, 0.5;\n}\n", -129, 16,
         "a second probability block for 'a' (first at line 9)"},
        {"own parent", head + "probability ( b | b ) {\n  (yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "'b' is listed as its own parent"},
        {"parent twice", head + "probability ( b | a, a ) {\n  (yes, yes) 0.2, 0.3, 0.5;\n}\n", -129, 12,
         "parent 'a' of 'b' is listed twice"},
        {"cycle", "variable a {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable b {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "variable c {\n  type discrete [ 2 ] { x, y };\n}\n"
                  "probability ( a | c ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( b | a ) {\n  default 0.5, 0.5;\n}\n"
                  "probability ( c | b ) {\n  default 0.5, 0.5;\n}\n",
         -11, 10, "the parents of the probability blocks form a cycle: 'a' -> 'b' -> 'c' -> 'a'"},
    };
}

TEST(BifSpeaker, DamagedTextIsLoggedWithItsLineAndChangesNothing)
{
    QEL_network net;
    QEL_bifSpeaker speaker(&net);
    ASSERT_EQ(speaker.ReadNetworkFromString(ReadDataFile("asia.bif").c_str()), 0);
    const std::string before = Describe(net);
    for (const DamagedText& damaged : DamagedTexts()) {
        QEL_errorH().Flush();
        const int status = speaker.ReadNetworkFromBuffer(damaged.text.data(), damaged.text.size());
        EXPECT_EQ(status, damaged.code) << damaged.what;
        ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 1) << damaged.what;
        EXPECT_EQ(QEL_errorH().GetLastError(), damaged.code);
        EXPECT_EQ(QEL_errorH().GetLastErrorMessage(), "line " + std::to_string(damaged.line) + ": " + damaged.saying);
        EXPECT_EQ(Describe(net), before) << damaged.what;
    }
    const std::string path = (std::filesystem::temp_directory_path() / "orvil_bif_damaged.bif").string();
    std::ofstream(path) << "variable a {\n  type discrete [ 2 ] { x, x };\n}\n";
    EXPECT_EQ(speaker.ReadNetwork(path.c_str()), -32);
    EXPECT_EQ(std::string(QEL_errorH().GetLastErrorMessage()).rfind(path + ": line 2: ", 0), 0u);
    std::remove(path.c_str());
    EXPECT_EQ(speaker.ReadNetwork((path + ".missing").c_str()), -100);
    EXPECT_EQ(speaker.WriteNetwork("/nonexistent-directory/x.bif"), -101);
    EXPECT_EQ(speaker.ReadNetworkFromString(nullptr), -2);
    EXPECT_EQ(Describe(net), before);
    // A node with no table of probabilities cannot be written.
    std::string text;
    ASSERT_GE(net.AddNode(qel_listType, "choice"), 0);
    EXPECT_EQ(speaker.WriteNetworkToString(text), -51);
    EXPECT_EQ(QEL_errorH().GetLastError(), -51);
    EXPECT_NE(std::string(QEL_errorH().GetLastErrorMessage()).find("'choice'"), std::string::npos);
}

}  // namespace
