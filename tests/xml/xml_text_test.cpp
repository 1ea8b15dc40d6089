// Text as handlers get it: UTF-8 from the document becomes Latin-1 with
// "?" for what does not fit, entities are expanded as expat expands them,
// and backslash sequences are undone on request.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "orvil/xmlreader.h"
#include "xml/xml_text.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

void AppendUtf8(std::string& out, unsigned long code) {
    int extra = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static const unsigned char leads[] = {0x00, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(leads[extra] | (code >> (6 * extra)));
    for (int i = extra - 1; i >= 0; --i) out += static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3F));
}

// A random text of characters XML allows, without markup characters, from
// ASCII, the rest of Latin-1, the basic plane and beyond, in UTF-8, and
// what the engine must hold of it.
std::pair<std::string, std::string> RandomText(std::mt19937& rng) {
    std::pair<std::string, std::string> text;
    for (int i = static_cast<int>(rng() % 30); i > 0; --i) {
        static const unsigned long bases[] = {0x20, 0xA0, 0x100, 0x10000};
        static const unsigned long spans[] = {0x5F, 0x60, 0xD700, 0xFFFFF};
        int kind = static_cast<int>(rng() % 4);
        unsigned long code = bases[kind] + rng() % spans[kind];
        if (code == '<' || code == '&' || code == '\'') continue;
        AppendUtf8(text.first, code);
        text.second += code < 256 ? static_cast<char>(code) : '?';
    }
    return text;
}

// Reads <d a=...>text</d>: the attribute `a` and the element's text as the
// handler saw them.
struct Reading {
    bool ok = false;
    std::string attribute, content, unescaped;
    RecordingErrors errors;
};

Reading Read(const std::string& document) {
    Reading result;
    Tree tree;
    XmlBinding* d = tree.Add("d", 0);
    d->AddAttribute("a", false);
    tree.HandlerOf(d).onStart = [&](IXmlReader* r) { r->GetAttribute("a", result.attribute); };
    tree.HandlerOf(d).onEnd = [&](IXmlReader* r) {
        result.content = r->GetContent();
        r->GetUnescapedContent(result.unescaped);
    };
    XmlReader reader;
    result.ok = reader.ParseString(document.c_str(), d, &result.errors);
    return result;
}

}  // namespace

TEST(XmlText, Utf8BecomesLatin1WithQuestionMarks) {
    std::mt19937 rng(5);
    for (int round = 0; round < 400; ++round) {
        auto text = RandomText(rng);
        std::string converted = text.first;
        fromUTF8(converted);
        ASSERT_EQ(converted, text.second);
        auto other = RandomText(rng);
        Reading r = Read("<d a='" + text.first + "'>" + other.first + "</d>");
        ASSERT_TRUE(r.ok);
        EXPECT_EQ(r.attribute, text.second);
        EXPECT_EQ(r.content, other.second);
    }
    // Damaged sequences, which expat never delivers, still give "?".
    const std::pair<std::string, std::string> damaged[] = {
        {"x\xC3", "x?"}, {"\xC3x", "?x"}, {"\xE2\x82", "?"}, {"\x80\xBF", "??"},
        {"\xF8\x88\x80\x80\x80", "?"}, {"\xC2\xA0\xC3\xBF", "\xA0\xFF"},
    };
    for (const auto& c : damaged) {
        std::string text = c.first;
        fromUTF8(text);
        EXPECT_EQ(text, c.second) << c.first;
    }
}

TEST(XmlText, EntitiesExpandAsExpatExpandsThem) {
    Reading r = Read(
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
        ASSERT_EQ(r.errors.problems.size(), 1u) << c.first;
        EXPECT_EQ(r.errors.problems[0].text, c.second);
    }
}

TEST(XmlText, UnescapingUndoesBackslashSequences) {
    const std::pair<std::string, std::string> cases[] = {
        {"a\\nb", "a\nb"}, {"\\q", "q"}, {"end\\", "end\\"}, {"\\\\n", "\\n"}, {"\\", "\\"},
    };
    for (const auto& c : cases) {
        std::string out = "stale";
        XmlUnescape(c.first, out);
        EXPECT_EQ(out, c.second) << c.first;
    }
    // Escaping backslashes, newlines and tabs and unescaping after reading
    // gives the text back.
    std::mt19937 rng(8);
    const char alphabet[] = {'a', 'n', 't', '\\', '\n', '\t', ' '};
    for (int round = 0; round < 300; ++round) {
        std::string original, escaped;
        for (int i = static_cast<int>(rng() % 20); i > 0; --i) {
            char c = alphabet[rng() % sizeof alphabet];
            original += c;
            escaped += c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\\' ? "\\\\" : std::string(1, c);
        }
        Reading r = Read("<d>" + escaped + "</d>");
        ASSERT_TRUE(r.ok);
        ASSERT_EQ(r.unescaped, original) << escaped;
    }
}
