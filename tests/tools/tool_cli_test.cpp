// The `orvil` tool, run as a process the way a user runs it: posteriors
// against enumeration of the joint under random evidence, the model and
// join-tree figures against properties every join tree has, one-line
// failures for every kind of bad input, and BIF conversion round trips.
//
// The tool is built beside the test directory: build/orvil next to
// build/tests/orvil_test_tools.
#include "../../bench/json_lite.h"
#include "brute_force.h"

#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using json_lite::JsonValue;

struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string Data(const std::string& name)
{
    return std::string(ORVIL_TEST_DATA_DIR) + "/" + name;
}

// A file name of this process in the temporary directory; the files are
// removed when the process ends.
std::string Scratch(const std::string& name)
{
    struct Files {
        std::vector<std::string> paths;
        ~Files()
        {
            for (const std::string& p : paths)
                std::remove(p.c_str());
        }
    };
    static Files files;
    files.paths.push_back(testing::TempDir() + "orvil_tool_" + std::to_string(getpid()) + "_" + name);
    return files.paths.back();
}

std::string Slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string Quoted(const std::string& word)
{
    std::string out = "'";
    for (char c : word)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

Outcome RunTool(const std::vector<std::string>& args)
{
    static const fs::path tool = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "orvil";
    std::string outFile = Scratch("stdout"), errFile = Scratch("stderr");
    std::string command = Quoted(tool.string());
    for (const std::string& a : args)
        command += " " + Quoted(a);
    command += " >" + Quoted(outFile) + " 2>" + Quoted(errFile);
    int status = std::system(command.c_str());
    Outcome o;
    o.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    o.out = Slurp(outFile);
    o.err = Slurp(errFile);
    return o;
}

JsonValue ParseOut(const Outcome& o)
{
    JsonValue doc;
    std::string error;
    EXPECT_TRUE(json_lite::ParseJson(o.out, doc, error)) << error << "\n" << o.out;
    return doc;
}

std::vector<std::string> States(QEL_network& net, int h)
{
    std::vector<std::string> names;
    QEL_idArray* ids = net.GetNode(h)->Definition()->GetOutcomesNames();
    for (int i = 0; i < ids->NumItems(); ++i)
        names.push_back((*ids)[i]);
    return names;
}

bool Load(QEL_network& net, const std::string& file)
{
    return net.ReadFile(Data(file).c_str(), 0, nullptr) == 0;
}

// Evidence on a random share of the nodes and, now and then, one likelihood
// vector with positive weights; the model's enumeration against the tool's
// JSON. Impossible evidence must fail cleanly instead.
TEST(ToolInfer, PosteriorsMatchEnumerationUnderRandomEvidence)
{
    std::mt19937 rng(20240611);
    for (const char* file : {"asia.bif", "cancer.bif", "earthquake.bif", "sachs.bif"}) {
        QEL_network net;
        ASSERT_TRUE(Load(net, file)) << file;
        std::vector<int> handles;
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h))
            handles.push_back(h);
        for (int round = 0; round < 6; ++round) {
            orvil_test::BruteModel model = orvil_test::BruteModelFromNetwork(net);
            std::vector<std::string> args = {"infer", Data(file), "--json"};
            for (int h : handles) {
                orvil_test::BruteVariable& v = model.vars[model.IndexOfHandle(h)];
                if (rng() % 4 == 0) {
                    v.evidence = static_cast<int>(rng() % v.states);
                    args.push_back("-e");
                    args.push_back(std::string(net.GetNode(h)->GetId()) + "=" + States(net, h)[v.evidence]);
                } else if (round % 2 == 1 && rng() % 6 == 0) {
                    std::string weights;
                    for (int s = 0; s < v.states; ++s) {
                        v.likelihood.push_back(0.05 + (rng() % 100) / 100.0);
                        weights += (s > 0 ? "," : "") + std::to_string(v.likelihood.back());
                    }
                    args.push_back("--virtual");
                    args.push_back(std::string(net.GetNode(h)->GetId()) + "=" + weights);
                }
            }
            SCOPED_TRACE(file + std::string(" round ") + std::to_string(round));
            orvil_test::BruteResult truth = orvil_test::BruteForce(model);
            ASSERT_TRUE(truth.ok);
            Outcome o = RunTool(args);
            if (truth.probEvidence == 0.0) {
                EXPECT_EQ(o.exitCode, 1);
                EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
                continue;
            }
            ASSERT_EQ(o.exitCode, 0) << o.err;
            JsonValue doc = ParseOut(o);
            bool anyVirtual = false;
            for (int h : handles) {
                const orvil_test::BruteVariable& v = model.vars[model.IndexOfHandle(h)];
                anyVirtual = anyVirtual || !v.likelihood.empty();
                const JsonValue* node = doc.Find("posteriors")->Find(net.GetNode(h)->GetId());
                ASSERT_NE(node, nullptr);
                const std::vector<double>& expected = truth.posteriors[model.IndexOfHandle(h)];
                ASSERT_EQ(node->members.size(), expected.size());
                for (size_t s = 0; s < expected.size(); ++s) {
                    EXPECT_EQ(node->members[s].first, States(net, h)[s]);
                    EXPECT_NEAR(node->members[s].second.number, expected[s], 1e-9);
                }
            }
            // The probability of evidence counts hard evidence only. The
            // files' columns sum to 1 only to about 1e-7, and the engine may
            // leave out nodes that cannot matter, whose columns enumeration
            // still multiplies in: hence the looser bound.
            const JsonValue* pe = doc.Find("probability_of_evidence");
            const JsonValue* logPe = doc.Find("log_probability_of_evidence");
            ASSERT_EQ(pe->kind, JsonValue::kNumber);
            EXPECT_NEAR(std::log(pe->number), logPe->number, 1e-12);
            if (!anyVirtual) {
                EXPECT_NEAR(pe->number / truth.probEvidence, 1.0, 1e-6);
            }
        }
    }
}

// The table shows the targets in the order asked, every state on its own
// line, the probability column at one offset; its figures are the JSON's.
// Names may be the file's original text of a state that had to be renamed.
TEST(ToolInfer, TableAndOriginalNamesAgreeWithJson)
{
    std::vector<std::string> args = {"infer", Data("asia.bif"), "-e", "xray=yes", "-t", "dysp", "either"};
    Outcome table = RunTool(args);
    ASSERT_EQ(table.exitCode, 0) << table.err;
    args.push_back("--json");
    JsonValue doc = ParseOut(RunTool(args));
    std::istringstream lines(table.out);
    std::string line;
    std::getline(lines, line);
    size_t column = line.find("probability");
    ASSERT_NE(column, std::string::npos);
    std::vector<std::string> order;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string node, state;
        double p = -1.0;
        words >> node >> state >> p;
        EXPECT_EQ(line.find_first_not_of(' ', column - 1), column) << line;
        if (order.empty() || order.back() != node)
            order.push_back(node);
        EXPECT_NEAR(p, doc.Find("posteriors")->Find(node)->Find(state)->number, 5e-7);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"dysp", "either"}));

    // child.bif has states such as "5-12", which are no identifiers.
    QEL_network net;
    ASSERT_TRUE(Load(net, "child.bif"));
    int node = net.FindNode("RUQO2");
    ASSERT_GE(node, 0);
    std::string id = States(net, node)[1];
    ASSERT_NE(id, "5-12");
    Outcome byLabel = RunTool({"infer", Data("child.bif"), "-e", "RUQO2=5-12", "--json"});
    Outcome byId = RunTool({"infer", Data("child.bif"), "-e", "RUQO2=" + id, "--json"});
    ASSERT_EQ(byLabel.exitCode, 0) << byLabel.err;
    EXPECT_EQ(byLabel.out, byId.out);
}

int Figure(const std::string& text, const std::string& key, const std::string& after = "")
{
    size_t at = text.find(key + ":");
    if (at == std::string::npos)
        return -1;
    at = after.empty() ? at + key.size() + 1 : text.find(after, at) + after.size();
    return std::atoi(text.c_str() + at);
}

// Counts of the model, and join-tree figures that any valid join tree
// satisfies: every family fits in some clique, so the largest clique is at
// least as large as the largest table and has more nodes than the largest
// parent set.
TEST(ToolInfo, FiguresAgreeWithTheModelAndBoundTheJoinTree)
{
    for (const char* file : {"asia.bif", "child.bif", "alarm.bif", "sachs.bif"}) {
        SCOPED_TRACE(file);
        QEL_network net;
        ASSERT_TRUE(Load(net, file));
        int arcs = 0, cells = 0, largest = 0, states = 0;
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
            arcs += net.NumParents(h);
            int size = net.GetNode(h)->Definition()->GetMatrix()->GetSize();
            cells += size;
            largest = std::max(largest, size);
            states += net.GetNode(h)->Definition()->GetNumberOfOutcomes();
        }
        Outcome o = RunTool({"info", Data(file)});
        ASSERT_EQ(o.exitCode, 0) << o.err;
        EXPECT_EQ(Figure(o.out, "nodes"), net.GetNumberOfNodes());
        EXPECT_EQ(Figure(o.out, "arcs"), arcs);
        EXPECT_EQ(Figure(o.out, "states", "total "), states);
        EXPECT_EQ(Figure(o.out, "table cells", "total "), cells);
        EXPECT_EQ(Figure(o.out, "table cells", "largest "), largest);
        int cliques = Figure(o.out, "cliques");
        int cliqueNodes = Figure(o.out, "cliques", "largest ");
        int cliqueCells = Figure(o.out, "cliques", "), ");
        EXPECT_GE(cliques, 1);
        EXPECT_GE(cliqueNodes, net.InDegree() + 1);
        EXPECT_GE(cliqueCells, largest);
        EXPECT_GE(Figure(o.out, "cliques", "total "), cliqueCells);
    }
    // Asia's moral graph triangulates into cliques of three binary nodes.
    Outcome asia = RunTool({"info", Data("asia.bif")});
    EXPECT_EQ(Figure(asia.out, "cliques", "largest "), 3);
    EXPECT_EQ(Figure(asia.out, "cliques", "), "), 8);
}

// Every failure: nothing on stdout, one line on stderr naming the problem,
// exit 2 for a bad command line and 1 for anything the model refuses.
TEST(ToolErrors, EachFailureIsOneLineAndANonZeroExit)
{
    std::string asia = Data("asia.bif");
    std::string damaged = Scratch("damaged.bif");
    std::ofstream(damaged) << "variable a { type discrete [ 2 ] { x, y }; }\nprobability ( a ) { table 0.5 ;\n";
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        const char* saying;
    };
    const Case cases[] = {
        {{"frobnicate"}, 2, "unknown command"},
        {{"infer", asia, "--bogus"}, 2, "unknown option --bogus"},
        {{"info", asia, "--json"}, 2, "unknown option"},
        {{"infer"}, 2, "missing MODEL"},
        {{"convert", asia}, 2, "IN and OUT"},
        {{"info", asia, asia}, 2, "unexpected argument"},
        {{"infer", asia, "-e", "xray"}, 2, "NODE=STATE"},
        {{"infer", asia, "-e"}, 2, "needs a value"},
        {{"infer", asia, "-a", "quantum"}, 2, "unknown algorithm"},
        {{"infer", asia, "-a", "13"}, 2, "unknown algorithm"},
        {{"infer", asia, "--virtual", "xray=1,-1"}, 2, "weights"},
        {{"infer", asia, "--virtual", "xray=0,0"}, 2, "weights"},
        {{"infer", "/nonexistent/net.bif"}, 1, "/nonexistent/net.bif"},
        {{"infer", damaged}, 1, "line 3"},
        {{"info", Scratch("model.unknownformat")}, 1, "Unknown File Format"},
        {{"infer", asia, "-e", "nosuch=yes"}, 1, "unknown node 'nosuch'"},
        {{"infer", asia, "-e", "xray=maybe"}, 1, "no state 'maybe'"},
        {{"infer", asia, "-t", "nosuch"}, 1, "unknown node"},
        {{"infer", asia, "--virtual", "xray=1,2,3"}, 1, "2 weights"},
        {{"infer", asia, "-e", "tub=yes", "either=no"}, 1, "either"},
        {{"convert", asia, "/nonexistent/dir/out.bif"}, 1, "cannot write"},
    };
    for (const Case& c : cases) {
        Outcome o = RunTool(c.args);
        std::string shown;
        for (const std::string& a : c.args)
            shown += " " + a;
        SCOPED_TRACE(shown);
        EXPECT_EQ(o.exitCode, c.exitCode);
        EXPECT_EQ(o.out, "");
        EXPECT_EQ(o.err.rfind("orvil: ", 0), 0u) << o.err;
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
        EXPECT_NE(o.err.find(c.saying), std::string::npos) << o.err;
    }
}

TEST(ToolUsage, HelpAndBareCallShowUsage)
{
    for (const auto& args : {std::vector<std::string>{"--help"}, {"infer", "--help"}, {"help"}, {}}) {
        Outcome o = RunTool(args);
        EXPECT_EQ(o.exitCode, args.empty() ? 2 : 0);
        EXPECT_EQ(o.err, "");
        for (const char* word : {"usage:", "info MODEL", "infer MODEL", "convert IN OUT", "--evidence"})
            EXPECT_NE(o.out.find(word), std::string::npos) << word;
    }
}

// Posteriors of two --json outputs, matched by node and state name: a
// format may store the nodes in another order.
void ExpectSamePosteriors(const Outcome& first, const Outcome& second)
{
    ASSERT_EQ(first.exitCode, 0) << first.err;
    ASSERT_EQ(second.exitCode, 0) << second.err;
    JsonValue a = ParseOut(first), b = ParseOut(second);
    const JsonValue* pa = a.Find("posteriors");
    const JsonValue* pb = b.Find("posteriors");
    ASSERT_EQ(pa->members.size(), pb->members.size());
    for (const auto& node : pa->members) {
        const JsonValue* other = pb->Find(node.first);
        ASSERT_NE(other, nullptr) << node.first;
        ASSERT_EQ(other->members.size(), node.second.members.size()) << node.first;
        for (size_t s = 0; s < node.second.members.size(); ++s) {
            EXPECT_EQ(other->members[s].first, node.second.members[s].first);
            EXPECT_NEAR(other->members[s].second.number, node.second.members[s].second.number, 1e-12);
        }
    }
}

// Conversions keep every answer, through BIF and through the native format
// and back; a second BIF conversion changes no byte.
TEST(ToolConvert, RoundTripsKeepAnswersAndBifReachesAFixedPoint)
{
    for (const char* name : {"asia", "child"}) {
        SCOPED_TRACE(name);
        std::string file = Data(std::string(name) + ".bif");
        std::string once = Scratch(std::string(name) + "_once.bif"), twice = Scratch(std::string(name) + "_twice.bif");
        std::string native = Scratch(std::string(name) + ".xqel"), back = Scratch(std::string(name) + "_back.bif");
        for (const auto& step : {std::make_pair(file, once), std::make_pair(once, twice), std::make_pair(file, native),
                                 std::make_pair(native, back)}) {
            Outcome o = RunTool({"convert", step.first, step.second});
            ASSERT_EQ(o.exitCode, 0) << o.err;
            EXPECT_EQ(o.out, "");
        }
        EXPECT_EQ(Slurp(once), Slurp(twice));
        Outcome original = RunTool({"infer", file, "--json"});
        for (const std::string& copy : {twice, native, back})
            ExpectSamePosteriors(original, RunTool({"infer", copy, "--json"}));
    }
}

}  // namespace
