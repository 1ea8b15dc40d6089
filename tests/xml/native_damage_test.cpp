// Damaged native documents: each kind of damage ends the load with status
// -103 and one logged error that names the problem, and nothing crashes;
// unknown content only warns. Truncations and random mutations of saved
// random networks check the same promises without a list of cases, and the
// partly built network left behind must still be usable.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "native_model.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "random_network.h"

namespace {

const std::string goodDocument =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<orvil version=\"1.0\" id=\"Net\">\n"
    " <nodes>\n"
    "  <cpt id=\"a\"><state id=\"yes\" /><state id=\"no\" /><probabilities>0.3 0.7</probabilities></cpt>\n"
    "  <cpt id=\"b\"><state id=\"t\" /><state id=\"f\" /><parents>a</parents>"
    "<probabilities>0.1 0.9 0.8 0.2</probabilities></cpt>\n"
    "  <deterministic id=\"c\"><state id=\"x\" /><state id=\"y\" /><parents>b</parents>"
    "<resultingstates>y x</resultingstates></deterministic>\n"
    " </nodes>\n"
    "</orvil>\n";

struct Result {
    int status;
    int errors;     // entries under -103
    int warnings;   // entries under -100
    std::string message;  // the first -103 entry
};

Result Load(QEL_network& net, const std::string& text) {
    QEL_errorH().Flush();
    Result result{net.ReadString(text.c_str(), nullptr), 0, 0, ""};
    for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
        const int code = QEL_errorH().GetError(i);
        if (code == QEL_FILE_IO_FAILED && result.errors++ == 0) result.message = QEL_errorH().GetErrorMessage(i);
        if (code == QEL_READ_FAILED) result.warnings++;
    }
    return result;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

bool EndsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// One damaged document: status -103, exactly one error, which carries a
// position and ends with (or, for the parser's own words, contains) `what`.
void ExpectFailure(const std::string& text, const std::string& what, bool exact = true) {
    QEL_network net;
    const Result result = Load(net, text);
    EXPECT_EQ(result.status, QEL_FILE_IO_FAILED) << what;
    EXPECT_EQ(result.errors, 1) << what;
    EXPECT_EQ(result.message.rfind("Error at ", 0), 0u) << result.message;
    if (exact) {
        EXPECT_TRUE(EndsWith(result.message, ": " + what)) << result.message << "\nexpected: " << what;
    } else {
        EXPECT_NE(result.message.find(what), std::string::npos) << result.message << "\nexpected: " << what;
    }
    std::string saved;
    EXPECT_EQ(net.WriteString(saved, nullptr), 0);
}

// A load of damaged `text`: success, or status -103 with exactly one error;
// either way the network left behind can be saved.
void ExpectCleanLoad(const std::string& text, bool mustFail) {
    QEL_network net;
    const Result result = Load(net, text);
    ASSERT_TRUE(result.status == QEL_FILE_IO_FAILED || (!mustFail && result.status == 0)) << result.status;
    ASSERT_EQ(result.errors, result.status == 0 ? 0 : 1) << text;
    std::string saved;
    ASSERT_EQ(net.WriteString(saved, nullptr), 0);
}

}  // namespace

TEST(NativeDamage, GoodDocumentLoadsAndUnknownContentOnlyWarns) {
    QEL_network net;
    Result result = Load(net, goodDocument);
    ASSERT_EQ(result.status, 0) << result.message;
    EXPECT_EQ(net.GetNumberOfNodes(), 3);
    EXPECT_EQ(result.warnings, 0);

    std::string unknown = Replace(goodDocument, "<cpt id=\"a\">", "<cpt id=\"a\" colour=\"red\"><future><cpt/></future>");
    unknown = Replace(unknown, " </nodes>", " </nodes>\n <cases><case name=\"c1\" /></cases>");
    QEL_network other;
    result = Load(other, unknown);
    EXPECT_EQ(result.status, 0) << result.message;
    EXPECT_EQ(other.GetNumberOfNodes(), 3);
    // The attribute, the element (not its contents), the case block, and
    // the closing notice.
    EXPECT_EQ(result.warnings, 4);

    QEL_errorH().Flush();
    EXPECT_EQ(other.ReadFile("/nonexistent-dir/model.xqel", 0, nullptr), QEL_FILE_IO_FAILED);
    EXPECT_NE(nativetest::LastMessage().find("Can't open file /nonexistent-dir/model.xqel"), std::string::npos);
}

TEST(NativeDamage, EachKindOfDamageGivesItsMessage) {
    const std::string& g = goodDocument;
    ExpectFailure("", "no element found", false);
    ExpectFailure(g.substr(0, g.size() / 2), "Error at", false);
    ExpectFailure("<net version=\"1.0\" />", "Unknown root element 'net', expected 'orvil'");
    ExpectFailure(Replace(g, "</probabilities></cpt>", "</cpt></probabilities>"), "mismatched tag", false);
    ExpectFailure(Replace(g, "0.3 0.7", "0.3 x7"), "Can't read list of doubles, failed at element 2");
    ExpectFailure(Replace(g, "0.3 0.7", "0.3 0.3 0.4"), "SetProbabilities failed");
    ExpectFailure(Replace(g, "<cpt id=\"b\">", "<cpt id=\"a\">"), "Duplicated node identifier: 'a'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>zz</parents>"), "Node parent not found: : 'zz'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a\n a</parents>"), "Duplicate parent: 'a'");
    // A cycle cannot be written down: a parent must stand before its child.
    ExpectFailure(Replace(g, "<state id=\"no\" />", "<state id=\"no\" /><parents>c</parents>"),
                  "Node parent not found: : 'c'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a b</parents>"), "AddArc failed");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a</parents><parents>a</parents>"),
                  "Multiple occurences of 'parents' not allowed in 'cpt'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt>"), "Required attribute 'id' not found in element 'cpt'");
    // The node's end (and its table setter) runs before the reader looks
    // for required children, so a missing table reads as an empty one.
    ExpectFailure(Replace(g, "<probabilities>0.3 0.7</probabilities>", ""), "SetProbabilities failed");
    ExpectFailure(Replace(g, "y x", "y"), "Invalid number of resulting states: 1, expected 2");
    ExpectFailure(Replace(g, "y x", "y z"), "Invalid resulting state: z");
    ExpectFailure(Replace(g, "<state id=\"no\" />", "<state id=\"yes\" />"), "SetNumberOfOutcomes failed");
    ExpectFailure(Replace(g, "<state id=\"no\" />", "<state id=\"2no\" />"), "SetNumberOfOutcomes failed");
    ExpectFailure(Replace(g, "<state id=\"t\" /><state id=\"f\" />",
                          "<state id=\"t\" default=\"true\" /><state id=\"f\" default=\"true\" />"),
                  "More than one default state: 'f'");
    ExpectFailure(Replace(g, "version=\"1.0\" id", "version=\"1.5\" id"), "Invalid version number '1.5', expected 1.0",
                  false);
    ExpectFailure(Replace(g, "id=\"Net\"", "id=\"Net\" discavoidzero=\"1\""),
                  "'true' or 'false' expected as value of boolean attribute 'discavoidzero'");
    ExpectFailure(Replace(g, "id=\"Net\"", "id=\"Net\" numsamples=\"many\""),
                  "Integer value expected for attribute 'numsamples'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt id=\"a\" diagtype=\"bogus\">"),
                  "Unknown diagnosis node type: 'bogus'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt id=\"a\" dynamic=\"plate\">"),
                  "ORVIL failed to set dynamic node type to 'plate' for 'a'");
    ExpectFailure(Replace(g, " </nodes>", "<noisymax id=\"n\"><state id=\"s\" /></noisymax></nodes>"),
                  "ORVIL failed to create node: 'n'");
    ExpectFailure(Replace(g, " </nodes>", "<decision id=\"d\" /></nodes>"), "ORVIL failed to create node: 'd'");
    ExpectFailure(Replace(g, "</orvil>", "<dynamic numslices=\"3\"><cpt id=\"b\" order=\"1\" /></dynamic></orvil>"),
                  "Node is not part of temporal plate: 'b'");
    ExpectFailure(Replace(g, "</orvil>", "<dynamic numslices=\"-1\" /></orvil>"),
                  "Invalid slice count: -1, non-negative integer expected");
    ExpectFailure(Replace(g, " <nodes>", "<functions><function>f(x)=x</function></functions><nodes>"),
                  "Invalid function defintion: 'f(x)=x'", false);
    ExpectFailure(Replace(g, "</orvil>", "<observationcost><node id=\"q\"><cost>1</cost></node></observationcost></orvil>"),
                  "Invalid node identifier: 'q'");
    ExpectFailure(Replace(g, "</orvil>", "<observationcost><node id=\"b\"><parents>a</parents><cost>1 n/a 2</cost>"
                                         "</node></observationcost></orvil>"),
                  "SetCosts failed");
    ExpectFailure(Replace(g, "</orvil>", "<extensions><marlo version=\"1.0\"><node id=\"q\" /></marlo></extensions></orvil>"),
                  "Invalid node identifier: 'q'");
    ExpectFailure(Replace(g, "</orvil>", "<extensions><other /></extensions></orvil>"),
                  "Required element 'marlo' not present in element 'extensions'");
}

// Saved random models cut short (the text ends with "</orvil>\n", so every
// cut before its last byte loses the end of the root element) and randomly
// mutated.
TEST(NativeDamage, CutsAndRandomMutationsFailCleanly) {
    std::mt19937 rng(2024);
    const char alphabet[] = "<>/=\"' \n\t&;#x0123456789.-eE+abcnodestaprbilyfmg\\\xe9\xc3";
    for (unsigned seed = 1; seed <= 30 && !HasFatalFailure(); seed++) {
        QEL_network source;
        orvil_test::RandomNetworkOptions options;
        options.nodes = seed == 1 ? 8 : 6;
        options.deterministicShare = 0.3;
        ASSERT_FALSE(orvil_test::BuildRandomNetwork(source, seed, options).empty());
        nativetest::Decorate(source, rng);
        std::string text;
        ASSERT_EQ(source.WriteString(text, nullptr), 0);
        for (size_t cut = 0; seed == 1 && cut + 1 < text.size() && !HasFatalFailure(); cut += 1 + cut / 40) {
            ExpectCleanLoad(text.substr(0, cut), true);
        }
        for (int trial = 0; trial < 20 && !HasFatalFailure(); trial++) {
            std::string mutated = text;
            for (int edits = std::uniform_int_distribution<int>(1, 4)(rng); edits > 0; edits--) {
                const size_t at = std::uniform_int_distribution<size_t>(0, mutated.size() - 1)(rng);
                const char c = alphabet[std::uniform_int_distribution<size_t>(0, sizeof alphabet - 2)(rng)];
                switch (std::uniform_int_distribution<int>(0, 2)(rng)) {
                    case 0: mutated[at] = c; break;
                    case 1: mutated.insert(at, 1, c); break;
                    default: mutated.erase(at, std::uniform_int_distribution<size_t>(1, 12)(rng)); break;
                }
            }
            ExpectCleanLoad(mutated, false);
        }
    }
}
