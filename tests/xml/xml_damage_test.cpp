// Damaged input: empty, truncated, badly nested, randomly mutated and
// unreadable documents end with exactly one error that carries a position,
// handlers see a well-bracketed prefix of the good document's events, and
// nothing crashes.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::EventLog;
using xmltest::PieceStream;
using xmltest::PositionOf;
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

struct NetTree {
    Tree tree;
    XmlBinding* net;
    NetTree() {
        net = tree.Add("net", 0);
        XmlBinding* node = tree.Add("node", qel_xmlInherit);
        XmlBinding* values = tree.Add("values", qel_xmlInherit, true);
        XmlBinding* label = tree.Add("label", qel_xmlInherit);
        net->AddAttribute("version", true);
        net->AddChild(node, qel_xmlMultiple);
        node->AddAttribute("id", true);
        node->AddChild(values, qel_xmlRequired);
        node->AddChild(label, 0);
    }
};

struct Outcome {
    bool ok;
    EventLog log;
    RecordingErrors errors;
};

Outcome Parse(const std::string& text) {
    NetTree t;
    Outcome out;
    XmlReader reader;
    // Through a stream, so that bytes after a zero byte are read too.
    PieceStream stream(text, {97, 4096});
    out.ok = reader.ParseStream(&stream, t.net, &out.errors);
    out.log = t.tree.log;
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

bool IsPrefix(const EventLog& part, const EventLog& whole) {
    if (part.size() > whole.size()) return false;
    for (size_t i = 0; i < part.size(); ++i) {
        // The element being read when the input ends may have less text.
        bool last = i + 1 == part.size();
        if (part[i] != whole[i] && !(last && part[i].rfind("item", 0) == 0)) return false;
    }
    return true;
}

}  // namespace

TEST(XmlDamage, GoodDocumentReads) {
    Outcome good = Parse(goodDocument);
    ASSERT_TRUE(good.ok);
    ASSERT_EQ(good.errors.problems.size(), 2u);
    EXPECT_EQ(good.errors.problems[0].text, "kind in node");
    EXPECT_EQ(good.errors.problems[1].text, "unknown in net");
    auto at = PositionOf(goodDocument, "<unknown>");
    EXPECT_EQ(good.errors.problems[1].line, at.first);
    EXPECT_EQ(good.errors.problems[1].column, at.second);
    EXPECT_TRUE(WellBracketed(good.log, true));
    EXPECT_EQ(good.log[good.log.size() - 3], "end label b&c \xE9");
}

TEST(XmlDamage, EmptyAndBlankInputs) {
    const char* inputs[] = {"", "   \n  ", "<?xml version='1.0'?>", "<!-- only -->"};
    for (const char* text : inputs) {
        Outcome out = Parse(text);
        EXPECT_FALSE(out.ok) << text;
        ASSERT_EQ(out.errors.problems.size(), 1u) << text;
        EXPECT_EQ(out.errors.problems[0].text, "no element found") << text;
        EXPECT_TRUE(out.log.empty());
    }
    RecordingErrors errors;
    NetTree t;
    XmlReader reader;
    EXPECT_FALSE(reader.ParseString("", t.net, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].line, 1);
    EXPECT_EQ(errors.problems[0].column, 0);
    EXPECT_FALSE(reader.ParseString(nullptr, t.net, &errors));
    EXPECT_EQ(errors.problems.size(), 2u);
}

// Each cut of the good document fails with one error, after handlers saw
// a prefix of what they see in the whole document.
TEST(XmlDamage, EveryTruncationFailsOnce) {
    const std::string whole = goodDocument;
    Outcome good = Parse(whole);
    // The final newline after the root's end tag is not needed.
    for (size_t length = 0; length + 1 < whole.size(); ++length) {
        Outcome cut = Parse(whole.substr(0, length));
        ASSERT_FALSE(cut.ok) << length;
        ASSERT_EQ(cut.errors.Count("error"), 1) << length;
        EXPECT_TRUE(WellBracketed(cut.log, false)) << length;
        EXPECT_TRUE(IsPrefix(cut.log, good.log)) << length;
        const auto& last = cut.errors.problems.back();
        EXPECT_EQ(last.kind, "error");
        EXPECT_GE(last.line, 1);
    }
}

TEST(XmlDamage, BrokenNestingIsReportedWhereItIsFound) {
    const char* cases[][2] = {
        {"<net version='1'>\n  <node id='a'><values>1</node>\n</net>", "</node>"},
        {"<net version='1'></nett>", "</nett>"},
        {"<net version='1'><node id='a'><values>1</values></node></net><net version='1'/>",
         "<net version='1'/>"},
    };
    const char* messages[] = {"mismatched tag", "mismatched tag", "junk after document element"};
    for (int i = 0; i < 3; ++i) {
        Outcome out = Parse(cases[i][0]);
        EXPECT_FALSE(out.ok);
        ASSERT_EQ(out.errors.problems.size(), 1u);
        EXPECT_EQ(out.errors.problems[0].text, messages[i]);
        auto at = PositionOf(cases[i][0], cases[i][1]);
        EXPECT_EQ(out.errors.problems[0].line, at.first);
        // expat points after the "</" of a mismatched end tag.
        EXPECT_EQ(out.errors.problems[0].column, at.second + (i < 2 ? 2 : 0));
    }
}

// Random edits of the good document: the result is true exactly when no
// error was reported, never more than one error is, and handlers always
// see well-bracketed events.
TEST(XmlDamage, RandomMutationsNeverCrash) {
    std::mt19937 rng(2024);
    const std::string whole = goodDocument;
    const char specials[] = {'<', '>', '&', '"', '\'', '/', '=', ' ', '\0', '\xC3', '\xFF', ';', '#', '!', '?'};
    int failures = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text = whole;
        int edits = 1 + static_cast<int>(rng() % 4);
        for (int e = 0; e < edits; ++e) {
            size_t at = rng() % (text.size() + 1);
            char c = rng() % 2 ? specials[rng() % sizeof specials] : static_cast<char>(rng() % 256);
            switch (rng() % 3) {
            case 0:
                text.insert(text.begin() + static_cast<long>(at), c);
                break;
            case 1:
                if (at < text.size()) text.erase(at, 1 + rng() % 5);
                break;
            default:
                if (at < text.size()) text[at] = c;
            }
        }
        Outcome out = Parse(text);
        int errors = out.errors.Count("error");
        ASSERT_LE(errors, 1) << text;
        ASSERT_EQ(out.ok, errors == 0) << text;
        ASSERT_TRUE(WellBracketed(out.log, out.ok)) << text;
        failures += !out.ok;
    }
    // The mutations must reach the error paths, not just change text.
    EXPECT_GT(failures, 1000);
}

TEST(XmlDamage, InputsThatCannotBeRead) {
    NetTree t;
    XmlReader reader;
    {
        RecordingErrors errors;
        EXPECT_FALSE(reader.ParseFile("/nonexistent/dir/model.xml", t.net, &errors));
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, "Can't open file /nonexistent/dir/model.xml");
        EXPECT_EQ(errors.problems[0].line, 0);
        EXPECT_EQ(errors.problems[0].column, 0);
        // No handler: nothing to report to, still no crash.
        EXPECT_FALSE(reader.ParseFile(nullptr, t.net, nullptr));
    }
    {
        // A stream that fails after its first piece.
        struct Failing : IXmlInputStream {
            int calls = 0;
            int GetData(char* buffer, int) override {
                if (calls++) return -1;
                const char head[] = "<net version='1'>\n<node id='x'>";
                memcpy(buffer, head, sizeof head - 1);
                return static_cast<int>(sizeof head - 1);
            }
        } failing;
        RecordingErrors errors;
        EXPECT_FALSE(reader.ParseStream(&failing, t.net, &errors));
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, "Can't read the input");
        EXPECT_EQ(errors.problems[0].line, 2);
    }
    {
        RecordingErrors errors;
        EXPECT_FALSE(reader.ParseStream(nullptr, t.net, &errors));
        EXPECT_FALSE(reader.ParseString("<net version='1'/>", nullptr, &errors));
        ASSERT_EQ(errors.problems.size(), 2u);
        EXPECT_EQ(errors.problems[0].text, "No input to read");
        EXPECT_EQ(errors.problems[1].text, "No root binding to read the document by");
    }
    {
        // A handler that starts a second document on the same reader.
        RecordingErrors errors, inner;
        bool nested = true;
        t.tree.HandlerOf(t.net)->onStart = [&](IXmlReader* r) { nested = r->ParseString("<net/>", t.net, &inner); };
        EXPECT_TRUE(reader.ParseString("<net version='1'/>", t.net, &errors));
        EXPECT_FALSE(nested);
        ASSERT_EQ(inner.problems.size(), 1u);
        EXPECT_TRUE(errors.problems.empty());
    }
}

TEST(XmlDamage, FilesReadLikeStrings) {
    std::string path = testing::TempDir() + "xml_damage_test.xml";
    for (size_t length : {sizeof goodDocument - 1, static_cast<size_t>(70)}) {
        FILE* f = fopen(path.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        fwrite(goodDocument, 1, length, f);
        fclose(f);
        NetTree t;
        RecordingErrors errors;
        XmlReader reader;
        bool ok = reader.ParseFile(path.c_str(), t.net, &errors);
        Outcome same = Parse(std::string(goodDocument, length));
        EXPECT_EQ(ok, same.ok);
        EXPECT_EQ(t.tree.log, same.log);
        ASSERT_EQ(errors.problems.size(), same.errors.problems.size());
        for (size_t i = 0; i < errors.problems.size(); ++i) {
            EXPECT_EQ(errors.problems[i].text, same.errors.problems[i].text);
            EXPECT_EQ(errors.problems[i].line, same.errors.problems[i].line);
            EXPECT_EQ(errors.problems[i].column, same.errors.problems[i].column);
        }
    }
    remove(path.c_str());
}
