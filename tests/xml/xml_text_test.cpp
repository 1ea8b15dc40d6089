// Values as handlers get them: Latin-1 with "?" for what does not fit,
// entities expanded, backslash sequences undone on request, typed
// attributes with their defaults and messages, and list items whole however
// the input is cut into blocks.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml/xml_text.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

using Call = std::function<void(IXmlReader*)>;

// Reads `document`, whose root <d> may carry the attribute `a`, with
// `start` and `end` in the handlers of <d>.
bool ReadD(const std::string& document, RecordingErrors& errors, const Call& start, const Call& end = nullptr) {
    Tree tree;
    XmlBinding* d = tree.Add("d", 0);
    d->AddAttribute("a", false);
    tree.HandlerOf(d).onStart = start;
    tree.HandlerOf(d).onEnd = end;
    XmlReader reader;
    return reader.ParseString(document.c_str(), d, &errors);
}

struct Reading {
    bool ok = false;
    std::string attribute, content;
    RecordingErrors errors;
};

// The attribute `a` and the text of <d> as the handlers saw them.
Reading Read(const std::string& document) {
    Reading result;
    result.ok = ReadD(
        document, result.errors, [&](IXmlReader* r) { r->GetAttribute("a", result.attribute); },
        [&](IXmlReader* r) { result.content = r->GetContent(); });
    return result;
}

}  // namespace

TEST(XmlText, Latin1EntitiesAndBackslashSequences) {
    // Code points from the edges of each length of UTF-8 sequence: each
    // becomes its Latin-1 byte, or one "?" when it has none.
    const std::string utf8 = "a\xC2\x80\xC2\xA0\xC3\xBF\xC4\x80\xDF\xBF"        // U+80, A0, FF, 100, 7FF
                             "\xE0\xA0\x80\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBFz";  // U+800, FFFD, 10000, 10FFFF
    Reading r = Read("<d a='" + utf8 + "'>" + utf8 + "</d>");
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.attribute, "a\x80\xA0\xFF??????z");
    EXPECT_EQ(r.content, r.attribute);
    r = Read(
        "<!DOCTYPE d [<!ENTITY who \"w&#248;rld\">]>"
        "<d a='&lt;&amp;&gt;&quot;&apos;&#65;&#x3A9;&who;'>&lt;a&gt; &#233;&#x20AC;&who;<![CDATA[&amp;]]></d>");
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.attribute, "<&>\"'A?w\xF8rld");
    EXPECT_EQ(r.content, "<a> \xE9?w\xF8rld&amp;");
    // Attribute whitespace is normalised; element text keeps it, with line
    // ends made single newlines.
    r = Read("<d a='x\ty\nz'>1\r\n2\r3</d>");
    EXPECT_EQ(r.attribute, "x y z");
    EXPECT_EQ(r.content, "1\n2\n3");
    const std::pair<const char*, const char*> refused[] = {
        {"<d>&nowhere;</d>", "undefined entity"},
        {"<d>&#0;</d>", "reference to invalid character number"},
        {"<d a='&amp'/>", "not well-formed (invalid token)"},
    };
    for (const auto& c : refused) {
        r = Read(c.first);
        EXPECT_FALSE(r.ok) << c.first;
        EXPECT_EQ(r.errors.Texts(), std::vector<std::string>{c.second});
    }
    const std::pair<std::string, std::string> escaped[] = {
        {"a\\nb\\tc", "a\nb\tc"}, {"\\q", "q"}, {"end\\", "end\\"}, {"\\\\n", "\\n"}, {"\\", "\\"},
    };
    for (const auto& c : escaped) {
        std::string out = "stale";
        XmlUnescape(c.first, out);
        EXPECT_EQ(out, c.second) << c.first;
    }
}

namespace {

template <typename T>
struct Case {
    const char* text;
    bool ok;
    T value;
};

// Each case read as the attribute of <d a="text"/> (<d/> for a null text),
// which stands at line 2, column 2, with the default `fallback`: the
// value, the result, and on failure the one error with its position.
template <typename T, size_t N>
void CheckReads(const Case<T> (&cases)[N], T fallback, const std::string& message) {
    for (const Case<T>& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        const std::string document =
            std::string("<?xml version='1.0'?>\n  <d") + (c.text ? std::string(" a=\"") + c.text + "\"" : "") + "/>";
        RecordingErrors errors;
        bool got = !c.ok;
        T value{};
        EXPECT_EQ(ReadD(document, errors, [&](IXmlReader* r) { got = r->GetAttribute("a", value, fallback); }), c.ok);
        EXPECT_EQ(got, c.ok);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(errors.Texts(), c.ok ? std::vector<std::string>{} : std::vector<std::string>{message});
        for (const auto& p : errors.problems) EXPECT_EQ(std::make_pair(p.line, p.column), std::make_pair(2, 2));
    }
}

}  // namespace

// Trailing text after a number is refused only when the number is zero.
TEST(XmlAttributes, BooleansNumbersAndVersions) {
    const Case<bool> booleans[] = {{nullptr, true, true}, {"true", true, true}, {"false", true, false},
                                   {"TRUE", false, true}, {"1", false, true},   {"", false, true}};
    CheckReads(booleans, true, "'true' or 'false' expected as value of boolean attribute 'a'");
    const Case<int> ints[] = {{nullptr, true, 42}, {"12", true, 12}, {"-7", true, -7},    {" 5", true, 5},
                              {"12abc", true, 12}, {"3.9", true, 3}, {"", true, 0},       {"abc", false, 0},
                              {"0abc", false, 0},  {"0 ", false, 0}, {"+0x", false, 0}};
    CheckReads(ints, 42, "Integer value expected for attribute 'a'");
    const Case<double> doubles[] = {{nullptr, true, 0.25}, {"1.5e3", true, 1500}, {"-0.125", true, -0.125},
                                    {"2x", true, 2},       {"", true, 0},         {"x", false, 0},
                                    {"0.0.1", false, 0},   {"-0e", false, 0}};
    CheckReads(doubles, 0.25, "Floating point value expected for attribute 'a'");

    // Versions: the text read against the one expected; only a newer one is
    // refused, and what cannot be read as a number passes.
    const Case<const char*> versions[] = {{"1.5", false, "1.0"}, {"0.9", true, "1.0"}, {"1", true, "1.0"},
                                          {"1.0", true, "1"},    {"2", false, "1.0"},  {"abc", true, "1.0"},
                                          {"1.01", false, "1.0"}};
    for (const auto& c : versions) {
        RecordingErrors errors;
        bool result = !c.ok;
        EXPECT_EQ(ReadD("<d/>", errors, [&](IXmlReader* r) { result = CheckVersion(r, c.text, c.value); }), c.ok);
        EXPECT_EQ(result, c.ok) << c.text;
        if (c.ok) continue;
        const std::string message = std::string("Invalid version number '") + c.text + "', expected " + c.value;
        EXPECT_EQ(errors.Texts(), std::vector<std::string>{message + "\n" + GetDownloadNewVersionMessage()});
    }
    const std::string download = GetDownloadNewVersionMessage();
    EXPECT_EQ(download.rfind("Please download most recent version of ORVIL/Marlo from:\nhttp", 0), 0u);
    EXPECT_FALSE(CheckVersion(nullptr, "3", "1.0"));
    EXPECT_TRUE(CheckVersion(nullptr, nullptr, "1.0"));
}

namespace {

// A random token as written in the document and as it must arrive: with
// entities, Latin-1 letters and characters beyond Latin-1.
std::pair<std::string, std::string> RandomToken(std::mt19937& rng) {
    static const std::string plain = "abcxyz0123456789.-+eE_";
    const char* written[] = {"&amp;", "\xC3\xA9", "\xE2\x82\xAC"};
    const char* arrives[] = {"&", "\xE9", "?"};
    std::pair<std::string, std::string> token;
    for (int i = 1 + static_cast<int>(rng() % 12); i > 0; --i) {
        const unsigned pick = rng() % 10;
        token.first += pick < 3 ? written[pick] : std::string(1, plain[rng() % plain.size()]);
        token.second += pick < 3 ? arrives[pick] : std::string(1, token.first.back());
    }
    return token;
}

}  // namespace

// Random lists <v> in <r>, whitespace and block sizes: the items that
// arrive are exactly the tokens written, and the end handler follows them.
TEST(XmlLists, ItemsArriveWholeWhateverTheBlocks) {
    const char* const separators[] = {" ", "\t", "\n", "  ", "\r\n", " \n\t "};
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        std::string text = "<r>";
        xmltest::EventLog expected = {"start r"};
        for (int l = 1 + static_cast<int>(rng() % 3); l > 0; --l) {
            text += "<v>";
            expected.push_back("start v");
            if (rng() % 2) text += separators[rng() % 6];
            for (int i = 0, count = static_cast<int>(rng() % 40); i < count; ++i) {
                const auto token = RandomToken(rng);
                if (i > 0) text += separators[rng() % 6];
                text += token.first;
                expected.push_back("item v " + token.second);
            }
            if (rng() % 2) text += separators[rng() % 6];
            text += "</v>";
            expected.push_back("end v ");
        }
        text += "</r>";
        expected.push_back("end r ");
        std::vector<int> sizes;
        for (int i = 0; i < 8; ++i) sizes.push_back(1 + static_cast<int>(rng() % (i % 2 ? 5 : 300)));
        Tree tree;
        XmlBinding* root = tree.Add("r", 0);
        root->AddChild(tree.Add("v", 0, true), qel_xmlMultiple);
        RecordingErrors errors;
        XmlReader reader;
        xmltest::PieceStream stream(text, sizes);
        ASSERT_TRUE(reader.ParseStream(&stream, root, &errors)) << text;
        EXPECT_TRUE(errors.problems.empty());
        ASSERT_EQ(tree.log, expected) << text;
    }
}

// A stop in an item ends the list and the document. The handler is the
// template that calls members of any class.
TEST(XmlLists, AStopInAnItemEndsTheDocument) {
    struct Target {
        std::vector<std::string> got;
        void Start(IXmlReader*) { got.push_back("start"); }
        void Item(IXmlReader* r) {
            got.push_back(r->GetContent());
            if (got.back() == "bad") r->StopParse("Can't read list of doubles, failed at element 3");
        }
    } target;
    XmlReader reader;
    XmlHandler<Target> list(&target, "v", 0, &Target::Start, nullptr, &Target::Item);
    IXmlBinding* root = reader.CreateBinding(nullptr, "r", 0);
    root->AddChild(&list, qel_xmlMultiple);
    RecordingErrors errors;
    EXPECT_FALSE(reader.ParseString("<r>\n<v>1 2 bad 4 5</v><v>6</v></r>", root, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].line, 2);
    EXPECT_EQ(target.got, (std::vector<std::string>{"start", "1", "2", "bad"}));
    root->Delete();
}
