// The `orvil` tool, run as a process (build/orvil beside build/tests) the
// way a user runs it: posteriors of files and their conversions against
// enumeration under random evidence, model and join-tree figures against
// properties every join tree has, and one-line failures for bad input.
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
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using json_lite::JsonValue;

struct Outcome {
    int exitCode = -1;
    std::string out, err;
};

std::string Data(const std::string& name)
{
    return std::string(ORVIL_TEST_DATA_DIR) + "/" + name;
}

// A file name in a directory of this process's own, removed when it ends.
std::string Scratch(const std::string& name)
{
    static const struct Directory {
        std::filesystem::path path = testing::TempDir() + "orvil_tool_" + std::to_string(getpid());
        Directory() { std::filesystem::create_directories(path); }
        ~Directory() { std::filesystem::remove_all(path); }
    } directory;
    return (directory.path / name).string();
}

std::string Slurp(const std::string& path)
{
    std::stringstream s;
    s << std::ifstream(path, std::ios::binary).rdbuf();
    return s.str();
}

Outcome RunTool(const std::vector<std::string>& args)
{
    static const std::filesystem::path tool =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "orvil";
    auto quoted = [](const std::string& word) {
        std::string out = "'";
        for (char c : word)
            out += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return out + "'";
    };
    const std::string outFile = Scratch("stdout"), errFile = Scratch("stderr");
    std::string command = quoted(tool.string());
    for (const std::string& a : args)
        command += " " + quoted(a);
    const int status = std::system((command + " >" + quoted(outFile) + " 2>" + quoted(errFile)).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(outFile), Slurp(errFile)};
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

// Evidence on a random share of the nodes and, in odd rounds, likelihoods;
// the model's enumeration against the tool's JSON from the file, from its
// native conversion and from that converted back to BIF (a second BIF
// conversion changes no byte). Impossible evidence must fail cleanly.
TEST(ToolInfer, PosteriorsMatchEnumerationUnderRandomEvidence)
{
    std::mt19937 rng(20240611);
    for (const std::string name : {"asia", "earthquake", "sachs"}) {
        const std::vector<std::string> models = {Data(name + ".bif"), Scratch(name + ".xqel"), Scratch(name + ".bif")};
        for (size_t i = 1; i <= 3; ++i) {
            const Outcome o = RunTool({"convert", models[i - 1], i < 3 ? models[i] : Scratch("again.bif")});
            EXPECT_EQ(o.exitCode, 0) << o.err;
            EXPECT_EQ(o.out + o.err, "");
        }
        EXPECT_EQ(Slurp(Scratch("again.bif")), Slurp(models[2]));
        QEL_network net;
        ASSERT_EQ(net.ReadFile(models[0].c_str(), 0, nullptr), 0) << name;
        for (int round = 0; round < 6; ++round) {
            SCOPED_TRACE(name + " round " + std::to_string(round));
            orvil_test::BruteModel model = orvil_test::BruteModelFromNetwork(net);
            std::vector<std::string> args = {"infer", models[round % 3], "--json"};
            for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
                orvil_test::BruteVariable& v = model.vars[model.IndexOfHandle(h)];
                std::string item = std::string(net.GetNode(h)->GetId()) + "=";
                if (rng() % 4 == 0) {
                    v.evidence = static_cast<int>(rng() % v.states);
                    args.insert(args.end(), {"-e", item + States(net, h)[v.evidence]});
                } else if (round % 2 == 1 && rng() % 6 == 0) {
                    for (int s = 0; s < v.states; ++s) {
                        v.likelihood.push_back(0.05 + (rng() % 100) / 100.0);
                        item += (s > 0 ? "," : "") + std::to_string(v.likelihood.back());
                    }
                    args.insert(args.end(), {"--virtual", item});
                }
            }
            const orvil_test::BruteResult truth = orvil_test::BruteForce(model);
            ASSERT_TRUE(truth.ok);
            const Outcome o = RunTool(args);
            if (truth.probEvidence == 0.0) {
                EXPECT_EQ(o.exitCode, 1);
                EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
                continue;
            }
            ASSERT_EQ(o.exitCode, 0) << o.err;
            const JsonValue doc = ParseOut(o);
            bool anyVirtual = false;
            for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
                anyVirtual = anyVirtual || !model.vars[model.IndexOfHandle(h)].likelihood.empty();
                const JsonValue* node = doc.Find("posteriors")->Find(net.GetNode(h)->GetId());
                const std::vector<double>& expected = truth.posteriors[model.IndexOfHandle(h)];
                ASSERT_TRUE(node != nullptr && node->members.size() == expected.size());
                for (size_t s = 0; s < expected.size(); ++s) {
                    EXPECT_EQ(node->members[s].first, States(net, h)[s]);
                    EXPECT_NEAR(node->members[s].second.number, expected[s], 1e-9);
                }
            }
            // The probability of evidence counts hard evidence only. The
            // files' columns sum to 1 only to about 1e-7, and the engine may
            // leave out nodes that cannot matter, whose columns enumeration
            // still multiplies in: hence the looser bound.
            const double pe = doc.Find("probability_of_evidence")->number;
            EXPECT_NEAR(std::log(pe), doc.Find("log_probability_of_evidence")->number, 1e-12);
            EXPECT_TRUE(anyVirtual || std::fabs(pe / truth.probEvidence - 1.0) < 1e-6) << pe;
        }
    }
}

// The table shows the targets in the order asked, one state a line, the
// probability column at one offset, with the JSON's figures. A state may
// be named by the file's original text where it had to be renamed.
TEST(ToolInfer, TableAndOriginalNamesAgreeWithJson)
{
    std::vector<std::string> args = {"infer", Data("asia.bif"), "-e", "xray=yes", "-t", "dysp", "either"};
    const Outcome table = RunTool(args);
    ASSERT_EQ(table.exitCode, 0) << table.err;
    args.push_back("--json");
    const JsonValue doc = ParseOut(RunTool(args));
    std::istringstream lines(table.out);
    std::string line, node, state;
    std::getline(lines, line);
    const size_t column = line.find("probability");
    std::vector<std::string> nodes;
    while (std::getline(lines, line)) {
        double p = -1.0;
        std::istringstream(line) >> node >> state >> p;
        EXPECT_EQ(line.find_first_not_of(' ', column - 1), column) << line;
        nodes.push_back(node);
        EXPECT_NEAR(p, doc.Find("posteriors")->Find(node)->Find(state)->number, 5e-7);
    }
    EXPECT_EQ(nodes, (std::vector<std::string>{"dysp", "dysp", "either", "either"}));

    // child.bif's RUQO2 has the state "5-12", which is no identifier.
    const Outcome byLabel = RunTool({"infer", Data("child.bif"), "-e", "RUQO2=5-12", "--json"});
    ASSERT_EQ(byLabel.exitCode, 0) << byLabel.err;
    EXPECT_EQ(byLabel.out, RunTool({"infer", Data("child.bif"), "-e", "RUQO2=x5_12", "--json"}).out);
}

// The number after "key:" (after `after`, when given, further on).
int Figure(const std::string& text, const std::string& key, const std::string& after = "")
{
    size_t at = text.find(key + ":");
    if (at == std::string::npos)
        return -1;
    at = after.empty() ? at + key.size() + 1 : text.find(after, at) + after.size();
    return std::atoi(text.c_str() + at);
}

// Counts of the model, and join-tree figures any valid join tree has: every
// family fits in a clique, so the largest clique has at least the cells of
// the largest table and more nodes than the largest parent set.
TEST(ToolInfo, FiguresAgreeWithTheModelAndBoundTheJoinTree)
{
    for (const char* file : {"asia.bif", "child.bif", "alarm.bif"}) {
        SCOPED_TRACE(file);
        QEL_network net;
        ASSERT_EQ(net.ReadFile(Data(file).c_str(), 0, nullptr), 0);
        int arcs = 0, cells = 0, largest = 0, states = 0;
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
            const int size = net.GetNode(h)->Definition()->GetMatrix()->GetSize();
            arcs += net.NumParents(h);
            cells += size;
            largest = std::max(largest, size);
            states += net.GetNode(h)->Definition()->GetNumberOfOutcomes();
        }
        const Outcome o = RunTool({"info", Data(file)});
        ASSERT_EQ(o.exitCode, 0) << o.err;
        EXPECT_EQ(Figure(o.out, "nodes"), net.GetNumberOfNodes());
        EXPECT_EQ(Figure(o.out, "arcs"), arcs);
        EXPECT_EQ(Figure(o.out, "states", "total "), states);
        EXPECT_EQ(Figure(o.out, "table cells", "total "), cells);
        EXPECT_EQ(Figure(o.out, "table cells", "largest "), largest);
        EXPECT_GE(Figure(o.out, "cliques", "largest "), net.InDegree() + 1);
        EXPECT_GE(Figure(o.out, "cliques", "), "), largest);
        EXPECT_GE(Figure(o.out, "cliques", "total "), Figure(o.out, "cliques", "), "));
    }
}

// Every failure: nothing on stdout, one line on stderr naming the problem,
// exit 2 for a bad command line and 1 for anything the model refuses. Help
// goes to stdout; a bare call shows it too, but as a bad command line.
TEST(ToolErrors, EachFailureIsOneLineAndANonZeroExit)
{
    const std::string asia = Data("asia.bif"), damaged = Scratch("damaged.bif");
    std::ofstream(damaged) << "variable a { type discrete [ 2 ] { x, y }; }\nprobability ( a ) { table 0.5 ;\n";
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        const char* saying;
    };
    const Case cases[] = {
        {{"frobnicate"}, 2, "unknown command"},
        {{"infer", asia, "--bogus"}, 2, "unknown option --bogus"},
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
        const Outcome o = RunTool(c.args);
        SCOPED_TRACE(c.args[0] + " " + (c.args.size() > 1 ? c.args.back() : ""));
        EXPECT_EQ(o.exitCode, c.exitCode);
        EXPECT_EQ(o.out, "");
        EXPECT_EQ(o.err.rfind("orvil: ", 0), 0u) << o.err;
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
        EXPECT_NE(o.err.find(c.saying), std::string::npos) << o.err;
    }
    for (const auto& args : {std::vector<std::string>{"--help"}, {"infer", "--help"}, {"help"}, {}}) {
        const Outcome o = RunTool(args);
        EXPECT_EQ(o.exitCode, args.empty() ? 2 : 0);
        EXPECT_EQ(o.err, "");
        for (const char* word : {"usage:", "info MODEL", "infer MODEL", "convert IN OUT", "--evidence"})
            EXPECT_NE(o.out.find(word), std::string::npos) << word;
    }
}

}  // namespace
