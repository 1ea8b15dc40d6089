// Damaged input: empty, truncated, badly nested, randomly mutated and
// unreadable documents end with exactly one error that carries a position,
// handlers see a well-bracketed prefix of the good document's events, and
// nothing crashes.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::EventLog;
using xmltest::PieceStream;
using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

const char goodDocument[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<net version=\"1.0\">\n"
    "  <node id=\"a\" kind=\"x\"><values>0.5 0.5</values></node>\n"
    "  <node id=\"b\"><!-- two --><values>0.1\n0.9 0.2 0.8</values>\n"
    "    <label>b&amp;c \xC3\xA9</label></node>\n"
    "  <unknown><node/></unknown>\n"
    "</net>\n";

struct Outcome {
    bool ok;
    EventLog log;
    RecordingErrors errors;
};

// Reads through a stream, so that bytes after a zero byte are read too.
Outcome Parse(const std::string& text) {
    Tree tree;
    XmlBinding* net = tree.Add("net", 0);
    XmlBinding* node = tree.Add("node", qel_xmlInherit);
    net->AddAttribute("version", true);
    net->AddChild(node, qel_xmlMultiple);
    node->AddAttribute("id", true);
    node->AddChild(tree.Add("values", qel_xmlInherit, true), qel_xmlRequired);
    node->AddChild(tree.Add("label", qel_xmlInherit), 0);
    Outcome out;
    XmlReader reader;
    PieceStream stream(text, {97, 4096});
    out.ok = reader.ParseStream(&stream, net, &out.errors);
    out.log = tree.log;
    return out;
}

// Every "end x" closes the newest open "start x".
bool WellBracketed(const EventLog& log, bool complete) {
    std::vector<std::string> open;
    for (const std::string& e : log) {
        if (e.rfind("start ", 0) == 0) {
            open.push_back(e.substr(6));
        } else if (e.rfind("end ", 0) == 0) {
            if (open.empty() || e.compare(4, open.back().size(), open.back()) != 0) return false;
            open.pop_back();
        }
    }
    return !complete || open.empty();
}

}  // namespace

// Each cut of the good document fails with one error, after handlers saw a
// prefix of what they see in the whole document (the last item of a cut
// may be shorter).
TEST(XmlDamage, EveryTruncationFailsOnce) {
    const std::string whole = goodDocument;
    Outcome good = Parse(whole);
    ASSERT_TRUE(good.ok);
    std::vector<std::string> warnings = {"kind in node", "unknown in net"};
    EXPECT_EQ(good.errors.Texts(), warnings);
    EXPECT_EQ(good.log[good.log.size() - 3], "end label b&c \xE9");
    for (size_t length = 0; length + 1 < whole.size(); ++length) {
        Outcome cut = Parse(whole.substr(0, length));
        ASSERT_FALSE(cut.ok) << length;
        ASSERT_EQ(cut.errors.Count("error"), 1) << length;
        EXPECT_EQ(cut.errors.problems.back().kind, "error");
        EXPECT_GE(cut.errors.problems.back().line, 1);
        EXPECT_TRUE(WellBracketed(cut.log, false)) << length;
        ASSERT_LE(cut.log.size(), good.log.size());
        for (size_t i = 0; i < cut.log.size(); ++i) {
            bool lastItem = i + 1 == cut.log.size() && cut.log[i].rfind("item", 0) == 0;
            EXPECT_TRUE(cut.log[i] == good.log[i] || lastItem) << length << " " << cut.log[i];
        }
    }
}

TEST(XmlDamage, EmptyAndBrokenDocumentsAreReportedWhereFound) {
    // Positions are where expat stops: the end of the input, or just
    // after the "</" of a mismatched end tag.
    struct Case {
        const char* text;
        const char* message;
        int line, column;
    };
    const Case cases[] = {
        {"", "no element found", 1, 0},
        {"  \n <?xml-stylesheet href='x'?>", "no element found", 2, 28},
        {"<!-- only -->", "no element found", 1, 13},
        {"<net version='1'>\n  <node id='a'><values>1</node>\n</net>", "mismatched tag", 2, 26},
        {"<net version='1'></nett>", "mismatched tag", 1, 19},
        {"<net version='1'/>\n<net version='1'/>", "junk after document element", 2, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Outcome out = Parse(c.text);
        EXPECT_FALSE(out.ok);
        ASSERT_EQ(out.errors.problems.size(), 1u);
        EXPECT_EQ(out.errors.problems[0].text, c.message);
        EXPECT_EQ(out.errors.problems[0].line, c.line);
        EXPECT_EQ(out.errors.problems[0].column, c.column);
        EXPECT_TRUE(WellBracketed(out.log, false));
    }
    RecordingErrors errors;
    XmlReader reader;
    Tree tree;
    EXPECT_FALSE(reader.ParseString(nullptr, tree.Add("net", 0), &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].text, "no element found");
    EXPECT_EQ(errors.problems[0].line, 1);
    EXPECT_EQ(errors.problems[0].column, 0);
}

// Random edits of the good document: the result is true exactly when no
// error was reported, never more than one is, and handlers always see
// well-bracketed events.
TEST(XmlDamage, RandomMutationsNeverCrash) {
    std::mt19937 rng(2024);
    const std::string whole = goodDocument;
    const char specials[] = {'<', '>', '&', '"', '\'', '/', '=', ' ', '\0', '\xC3', '\xFF', ';', '#', '!', '?'};
    int failures = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text = whole;
        for (int e = 1 + static_cast<int>(rng() % 4); e > 0; --e) {
            size_t at = rng() % (text.size() + 1);
            char c = rng() % 2 ? specials[rng() % sizeof specials] : static_cast<char>(rng() % 256);
            int edit = static_cast<int>(rng() % 3);
            if (edit == 0)
                text.insert(at, 1, c);
            else if (at < text.size() && edit == 1)
                text.erase(at, 1 + rng() % 5);
            else if (at < text.size())
                text[at] = c;
        }
        Outcome out = Parse(text);
        int errors = out.errors.Count("error");
        ASSERT_LE(errors, 1) << text;
        ASSERT_EQ(out.ok, errors == 0) << text;
        ASSERT_TRUE(WellBracketed(out.log, out.ok)) << text;
        failures += !out.ok;
    }
    // The edits must reach the error paths, not just change text.
    EXPECT_GT(failures, 1000);
}

TEST(XmlDamage, FilesAndInputsThatCannotBeRead) {
    Tree tree;
    XmlBinding* net = tree.Add("net", 0);
    XmlReader reader;
    RecordingErrors errors;
    // A file cut inside a tag reads like the same text.
    std::string path = testing::TempDir() + "xml_damage_test.xml";
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fputs("<net>\n  <node", f);
    fclose(f);
    EXPECT_FALSE(reader.ParseFile(path.c_str(), net, &errors));
    remove(path.c_str());
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].text, "unclosed token");
    EXPECT_EQ(errors.problems[0].line, 2);
    errors.problems.clear();
    EXPECT_FALSE(reader.ParseFile("/nonexistent/dir/model.xml", net, &errors));
    EXPECT_FALSE(reader.ParseFile(nullptr, net, nullptr));
    EXPECT_FALSE(reader.ParseStream(nullptr, net, &errors));
    EXPECT_FALSE(reader.ParseString("<net/>", nullptr, &errors));
    // A stream that fails after its first piece.
    struct Failing : IXmlInputStream {
        int calls = 0;
        int GetData(char* buffer, int) override {
            if (calls++) return -1;
            memcpy(buffer, "<net>\n  ", 8);
            return 8;
        }
    } failing;
    EXPECT_FALSE(reader.ParseStream(&failing, net, &errors));
    // A handler that starts a second document on the same reader.
    RecordingErrors inner;
    bool nested = true;
    tree.HandlerOf(net).onStart = [&](IXmlReader* r) { nested = r->ParseString("<net/>", net, &inner); };
    EXPECT_TRUE(reader.ParseString("<net/>", net, &errors));
    EXPECT_FALSE(nested);
    EXPECT_EQ(inner.problems.size(), 1u);

    std::vector<std::string> expected = {"Can't open file /nonexistent/dir/model.xml", "No input to read",
                                         "No root binding to read the document by", "Can't read the input"};
    EXPECT_EQ(errors.Texts(), expected);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(errors.problems[i].line + errors.problems[i].column, 0);
    EXPECT_EQ(errors.problems[3].line, 2);
}
