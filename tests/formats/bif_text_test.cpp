// The BIF text layer, mostly without a network: tokens and their lines,
// numbers, tables in the engine's layout whichever way a probability block
// gives them, random models written and read back unchanged, cut or damaged
// text refused with a line inside it, texts the file fuzzer found, and ids
// made from names against the plain rule.
#include "formats/bif_format.h"
#include "formats/bif_ids.h"
#include "formats/bif_lexer.h"
#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"
#include "orvil/bif.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/stringarray.h"
#include "orvil/userproperties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <random>
#include <set>
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

int ReadModel(const std::string& text, BifModel& model, BifError& error)
{
    BifDocument doc;
    const int rc = BifParse(text.data(), text.size(), doc, error);
    return rc == 0 ? BifResolve(doc, model, error) : rc;
}

// Words are whatever is not blank, punctuation, a quote or a control
// character, so state names such as "<5", "12+" or "Asy/Patch" are single
// words, and a comment ends a word. A byte order mark is skipped. Every
// token carries the line it starts on, whatever ends the lines before it.
TEST(BifLexer, OddWordsCommentsAndLines)
{
    const std::string text = "\xEF\xBB\xBF{ <5, 5-12, 12+ }\r\n"
                             ">=7.5|Asy/Patch;Transp. // a comment\n"
                             "/* a block\n comment */ \"quoted name\nover lines\" x/*c*/y";
    BifLexer lexer(text.data(), text.size());
    BifError error;
    BifToken token;
    std::string got;
    while (lexer.Next(token, error) == 0 && token.kind != BifTokenKind::End) {
        const char* kind = token.kind == BifTokenKind::Quoted ? "\"" : " ";
        got += std::to_string(token.line) + kind + std::string(token.text) + "~";
    }
    EXPECT_EQ(got, "1 {~1 <5~1 ,~1 5-12~1 ,~1 12+~1 }~2 >=7.5~2 |~2 Asy/Patch~2 ;~2 Transp.~"
                   "4\"quoted name\nover lines~5 x~5 y~");
}

// Numbers read as strtod reads them in the C locale, past seventeen
// digits, into the subnormals and below them.
TEST(BifParser, NumbersAreReadAsStrtodReadsThem)
{
    for (const std::string number : {"0.12345678901234567890123", "0.7e-320", "1e-330", "0.000000000001e-310"}) {
        const std::string text = "probability ( a ) { table " + number + "; }";
        BifDocument doc;
        BifError error;
        ASSERT_EQ(BifParse(text.data(), text.size(), doc, error), 0) << number << ": " << error.message;
        EXPECT_EQ(doc.probabilities[0].values.at(0), std::strtod(number.c_str(), nullptr)) << number;
    }
}

const char* twoVariables =
    "variable p {\n  type discrete [ 3 ] { p0, p1, p2 };\n}\n"
    "variable q {\n  type discrete [ 2 ] { q0, q1 };\n}\n"
    "variable c {\n  type discrete [ 2 ] { c0, c1 };\n}\n"
    "probability ( p ) {\n  table 0.2, 0.3, 0.5;\n}\n"
    "probability ( q ) {\n  table 0.6, 0.4;\n}\n";

// The table of c after `block` is read with twoVariables.
std::vector<double> TableOfC(const std::string& block)
{
    BifModel model;
    BifError error;
    EXPECT_EQ(ReadModel(twoVariables + block, model, error), 0) << error.line << ": " << error.message;
    return model.nodes.size() == 3 ? model.nodes[2].table : std::vector<double>{};
}

// The table form lists the child's states outermost: only that reading
// makes every column a distribution, and it must equal the same table given
// row by row in any order. Rows override a table or a default.
TEST(BifResolve, TablesRowsAndDefaultsGiveTheEngineLayout)
{
    const std::vector<double> expected = {1, 0, 0.9, 0.1, 0.8, 0.2, 0.7, 0.3, 0.6, 0.4, 0.5, 0.5};
    EXPECT_EQ(TableOfC("probability ( c | p, q ) {\n  table 1, 0.9, 0.8, 0.7, 0.6, 0.5, 0, 0.1, 0.2, 0.3, "
                       "0.4, 0.5;\n}\n"),
              expected);
    EXPECT_EQ(TableOfC("probability ( c | p, q ) {\n  (p0, q0) 1, 0;\n  (p0, q1) 0.9, 0.1;\n  (p1, q0) 0.8, 0.2;\n"
                       "  (p2, q1) 0.5, 0.5;\n  (p1, q1) 0.7, 0.3;\n  (p2, q0) 0.6, 0.4;\n}\n"),
              expected);
    EXPECT_EQ(TableOfC("probability ( c | q, p ) {\n  default 0.25, 0.75;\n  (q1, p2) 0.5, 0.5;\n}\n"),
              (std::vector<double>{0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.5, 0.5}));
    EXPECT_EQ(TableOfC("probability ( c | q ) {\n  (q1) 0.5, 0.5;\n  table 1, 0, 0, 1;\n}\n"),
              (std::vector<double>{1, 0, 0.5, 0.5}));
}

std::string RandomName(std::mt19937& rng)
{
    static const std::vector<std::string> pieces = {"a", "Z", "_", "0", "12", "<", ">=", "+", "-", ".", "/",
                                                    " ", "é", "{", "}", "(", ")", ",", ";", "|", "//", "\t"};
    std::string name;
    for (int n = 1 + static_cast<int>(rng() % 5); n > 0; --n)
        name += pieces[rng() % pieces.size()];
    return name;
}

// `count` different names from RandomName.
std::vector<std::string> RandomNames(std::mt19937& rng, size_t count)
{
    std::vector<std::string> names;
    while (names.size() < count) {
        const std::string name = RandomName(rng) + (rng() % 2 ? "" : std::to_string(names.size()));
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

// A random model: nodes in a random order, parents drawn so that the graph
// stays acyclic, awkward names, table cells that use every mantissa bit.
BifModel RandomModel(std::mt19937& rng)
{
    BifModel model;
    model.name = RandomName(rng);
    model.properties = {{"version", "<" + RandomName(rng) + " = ; }"}, {"note", RandomName(rng)}};
    const size_t count = 1 + rng() % 7;
    const std::vector<std::string> names = RandomNames(rng, count);
    std::vector<int> rank(count);
    std::iota(rank.begin(), rank.end(), 0);
    std::shuffle(rank.begin(), rank.end(), rng);
    model.nodes.resize(count);
    for (size_t i = 0; i < count; ++i) {
        BifNode& node = model.nodes[i];
        node.name = names[i];
        node.states = RandomNames(rng, 2 + rng() % 3);
        for (size_t j = 0; j < count; ++j)
            if (rank[j] < rank[i] && rng() % 2)
                node.parents.push_back(static_cast<int>(j));
        std::shuffle(node.parents.begin(), node.parents.end(), rng);
        if (rng() % 3 == 0)
            node.properties.push_back({"note", "<" + RandomName(rng) + ">"});
    }
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (BifNode& node : model.nodes) {
        size_t size = node.states.size();
        for (int parent : node.parents)
            size *= model.nodes[parent].states.size();
        for (size_t k = 0; k < size; ++k)
            node.table.push_back(rng() % 5 == 0 ? 0.0 : unit(rng));
    }
    return model;
}

// Written and read back, a random model must give the same text again, and
// so must a network read from the text and written by the speaker.
// The writer gives different names different texts, and each number the
// shortest text that reads back to it, so a name or number the reader gets
// wrong shows in the second text too; the table layout is pinned by the
// cases above and by the reference posteriors.
TEST(BifRoundTrip, RandomModelsSurviveWriteAndRead)
{
    std::mt19937 rng(3);
    for (int round = 0; round < 200; ++round) {
        const BifModel model = RandomModel(rng);
        std::string text, again;
        BifFormat(model, text);
        BifModel read;
        BifError error;
        ASSERT_EQ(ReadModel(text, read, error), 0) << error.line << ": " << error.message << "\n" << text;
        BifFormat(read, again);
        EXPECT_EQ(again, text);
        QEL_network net;
        ASSERT_EQ(QEL_bifSpeaker(&net).ReadNetworkFromString(text.c_str()), 0);
        EXPECT_EQ(QEL_bifSpeaker(&net).WriteNetworkToString(again), 0);
        EXPECT_EQ(again, text);
    }
}

// A read of damaged text: 0, or a negative status with a line inside the
// text.
int ReadStatus(const std::string& text)
{
    BifModel model;
    BifError error;
    const int status = ReadModel(text, model, error);
    EXPECT_LE(status, 0);
    if (status != 0) {
        EXPECT_GE(error.line, 1);
        EXPECT_LE(error.line, 1 + std::count(text.begin(), text.end(), '\n'));
    }
    return status;
}

// asia.bif declares all variables before any table, so every cut before its
// last brace is a syntax problem, never one of the model's refusals; the
// one cut that reads is right after the empty network block. Random byte
// damage may still read; under the sanitizers this also proves no read
// strays outside the buffer.
TEST(BifRoundTrip, CutOrDamagedTextIsRefusedWithALineInside)
{
    const std::string asia = ReadDataFile("asia.bif");
    ASSERT_FALSE(asia.empty());
    for (size_t cut = 0; cut <= asia.rfind('}') && !HasFailure(); ++cut) {
        const std::string prefix = asia.substr(0, cut);
        const int status = ReadStatus(prefix);
        EXPECT_TRUE(status == -127 || status == -128 || status == -129 ||
                    prefix.substr(0, prefix.find_last_not_of(" \n") + 1) == "network unknown {\n}")
            << "cut " << cut << ": " << status;
    }
    const std::string child = ReadDataFile("child.bif");
    const std::string alphabet = "{}()[],;|\"/*\n x0.5-e\x01";
    std::mt19937 rng(5);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        std::string text = child;
        for (int n = 1 + static_cast<int>(rng() % 4); n > 0; --n) {
            const size_t at = rng() % text.size();
            switch (rng() % 3) {
            case 0: text[at] = alphabet[rng() % alphabet.size()]; break;
            case 1: text.erase(at, 1 + rng() % 20); break;
            default: text.insert(at, 1, alphabet[rng() % alphabet.size()]);
            }
        }
        ReadStatus(text);
    }
}

// A text read into a fresh network: the status it must give and, for a
// refusal, the one message it must log.
struct FoundText {
    const char* what;
    std::string text;
    int code;
    const char* saying;
};

// The text written for `text` read into `net`, or "" when the read fails.
std::string ReadAndWrite(QEL_network& net, const std::string& text)
{
    std::string written;
    if (QEL_bifSpeaker(&net).ReadNetworkFromBuffer(text.data(), text.size()) == 0) {
        EXPECT_EQ(QEL_bifSpeaker(&net).WriteNetworkToString(written), 0);
    }
    return written;
}

// Texts the file fuzzer found mishandled. A zero byte cannot live in a name
// or property kept as a C string, so it is refused wherever it stands, as
// any control character outside quotes is. Ids cut to the base length and
// repaired grow past it again; read back they must stay as they are, else
// every write and read loses a character of them. Blanks at the ends of a
// property value must survive being written. An accepted text must write
// out a text that reads back and writes the same.
TEST(BifRoundTrip, FuzzedTextsFailCleanlyOrReachAFixedPoint)
{
    using namespace std::string_literals;
    const std::string pair = " { type discrete [ 2 ] { x, y }; }\n";
    const std::string longValid = "v" + std::string(1030, '1');
    const std::string longRepaired = std::string(1030, '<');
    const std::string longValidText = "network " + longValid + " { property " + longValid + " = v; }\nvariable " +
                                      longValid + pair + "probability ( " + longValid + " ) { table 0.5, 0.5; }";
    const std::vector<FoundText> texts = {
        {"zero byte in a quoted name", "network n {}\nvariable \"a\0b\""s + pair, -126,
         "line 2: unknown character 0x00"},
        {"zero byte in a quoted state", "variable a {\n type discrete [ 2 ] { \"x\0\", y }; }"s, -126,
         "line 2: unknown character 0x00"},
        {"zero byte in a property", "network n {\n property \"v = 1\0\"; }"s, -126,
         "line 2: unknown character 0x00"},
        {"zero byte in a bare property", "network n { property v\0 = 1; }"s, -126,
         "line 1: unknown character 0x00"},
        {"zero byte in a comment", "// \0\nvariable a"s + pair + "probability ( a ) { table 0.5, 0.5; }"s, 0,
         nullptr},
        {"blanks around a property value",
         "network n { property author = \"\v\x01 y \"; }\nvariable a" + pair + "probability ( a ) { table 1, 0; }", 0,
         nullptr},
        {"long repaired property name",
         "network n { property \"" + longRepaired + " = v\"; }\nvariable a" + pair +
             "probability ( a ) { table 0.5, 0.5; }",
         0, nullptr},
        {"long valid names", longValidText, 0, nullptr},
        {"long repaired names", "network \"" + longRepaired + "\" {}\nvariable \"" + longRepaired + "\"" + pair +
                                    "probability ( \"" + longRepaired + "\" ) { table 0.5, 0.5; }",
         0, nullptr},
    };
    for (const FoundText& found : texts) {
        SCOPED_TRACE(found.what);
        QEL_errorH().Flush();
        QEL_network net;
        const std::string written = ReadAndWrite(net, found.text);
        if (found.code != 0) {
            EXPECT_EQ(QEL_errorH().GetNumberOfErrors(), 1);
            EXPECT_EQ(QEL_errorH().GetLastError(), found.code);
            EXPECT_STREQ(QEL_errorH().GetLastErrorMessage(), found.saying);
            EXPECT_EQ(net.GetFirstNode(), -2);
            continue;
        }
        ASSERT_EQ(QEL_errorH().GetNumberOfErrors(), 0) << QEL_errorH().GetLastErrorMessage();
        QEL_network again;
        EXPECT_EQ(ReadAndWrite(again, written), written);
        EXPECT_EQ(QEL_errorH().GetNumberOfErrors(), 0) << QEL_errorH().GetLastErrorMessage();
    }
    // A valid id of any length that fits the buffer is kept whole.
    QEL_network net;
    ReadAndWrite(net, longValidText);
    EXPECT_GE(net.FindNode(longValid.c_str()), 0);
    EXPECT_GE(net.UserProperties().FindProperty(longValid.c_str()), 0);
}

// The id rule read plainly: valid texts that fit the buffer claim their
// own ids first; each other text is cut, repaired, and numbered from 2
// past whatever is taken by then.
std::vector<std::string> NaiveIds(const std::vector<std::string>& texts, const std::set<std::string>& elsewhere)
{
    std::set<std::string> used(elsewhere);
    const auto isFree = [&used](const std::string& id) {
        return QEL_idArray().ValidId(id.c_str()) == 1 && used.count(id) == 0;
    };
    std::vector<std::string> ids(texts.size());
    for (size_t i = 0; i < texts.size(); ++i)
        if (texts[i].size() < QEL_idArray::idBufferSize && isFree(texts[i]))
            used.insert(ids[i] = texts[i]);
    for (size_t i = 0; i < texts.size(); ++i) {
        if (!ids[i].empty())
            continue;
        // The buffer is zeros past the "x", so the copy stays terminated.
        char buffer[QEL_idArray::idBufferSize] = "x";
        texts[i].copy(buffer, std::min<size_t>(texts[i].size(), 1021));
        QEL_idArray::MakeValidIdExtra(buffer);
        std::string id = buffer;
        for (int number = 2; !isFree(id); ++number)
            id = buffer + std::to_string(number);
        used.insert(ids[i] = id);
    }
    return ids;
}

// Random names whose repairs collide with each other, with valid names and
// with ids taken elsewhere get the ids of the plain rule; so do two thousand
// names that all repair to one base, which the rule, searched afresh for
// each name, would take minutes over.
TEST(BifIds, IdsFollowThePlainRuleAtAnyCount)
{
    const std::vector<std::string> pieces = {"x", "_", "<", "2", "3", "-", "x_", "x_2", ""};
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> texts(1 + rng() % 12);
        for (std::string& text : texts)
            for (int n = static_cast<int>(rng() % 3); n >= 0; --n)
                text += pieces[rng() % pieces.size()];
        std::set<std::string> elsewhere;
        for (int n = static_cast<int>(rng() % 3); n > 0; --n)
            elsewhere.insert("x_" + std::string(rng() % 2 ? "" : "_") + std::to_string(rng() % 4));
        std::vector<std::string> ids;
        BifMakeIds(texts, [&elsewhere](const char* id) { return elsewhere.count(id) != 0; }, ids);
        ASSERT_EQ(ids, NaiveIds(texts, elsewhere)) << round;
    }
    const std::string marks = "<>+-.!@#$%^&~?=:*";
    std::vector<std::string> texts;
    for (char a : marks)
        for (char b : marks)
            for (char c : marks)
                texts.push_back({a, b, c});
    texts.resize(2000);
    std::vector<std::string> ids;
    BifMakeIds(texts, nullptr, ids);
    EXPECT_EQ(ids, NaiveIds(texts, {}));
}

}  // namespace
