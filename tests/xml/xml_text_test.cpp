// Text as handlers get it: UTF-8 from the document becomes Latin-1 with
// "?" for what does not fit, entities are expanded as expat expands them,
// and backslash sequences are undone on request.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml/xml_text.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

void AppendUtf8(std::string& out, unsigned long code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// A code point that XML allows in text, drawn from ASCII, the rest of
// Latin-1, the basic plane and beyond; never markup characters.
unsigned long RandomCharacter(std::mt19937& rng) {
    for (;;) {
        unsigned long code;
        switch (rng() % 4) {
        case 0: code = 0x20 + rng() % 0x5F; break;
        case 1: code = 0xA0 + rng() % 0x60; break;
        case 2: code = 0x100 + rng() % 0xD700; break;
        default: code = 0x10000 + rng() % 0xFFFFF; break;
        }
        if (code == '<' || code == '&' || code == '\'' || code == '"' || code == '>') continue;
        return code;
    }
}

// A random text in UTF-8 and what the engine must hold of it.
std::pair<std::string, std::string> RandomText(std::mt19937& rng, int length) {
    std::string utf8, latin1;
    for (int i = 0; i < length; ++i) {
        unsigned long code = RandomCharacter(rng);
        AppendUtf8(utf8, code);
        latin1 += code < 256 ? static_cast<char>(code) : '?';
    }
    return {utf8, latin1};
}

// Reads `document` against <d a=...>text</d> and gives back the attribute
// `a` and the element's text as the handler saw them.
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
    tree.HandlerOf(d)->onStart = [&](IXmlReader* r) { r->GetAttribute("a", result.attribute); };
    tree.HandlerOf(d)->onEnd = [&](IXmlReader* r) {
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
        auto text = RandomText(rng, static_cast<int>(rng() % 30));
        std::string converted = text.first;
        fromUTF8(converted);
        ASSERT_EQ(converted, text.second);
        // The same through a document, in an attribute and in element text.
        auto other = RandomText(rng, static_cast<int>(rng() % 30));
        Reading r = Read("<d a='" + text.first + "'>" + other.first + "</d>");
        ASSERT_TRUE(r.ok);
        EXPECT_EQ(r.attribute, text.second);
        EXPECT_EQ(r.content, other.second);
    }
}

TEST(XmlText, DamagedSequencesBecomeQuestionMarks) {
    const std::pair<std::string, std::string> cases[] = {
        {"plain", "plain"},
        {"", ""},
        {"\xC3\xA9t\xC3\xA9", "\xE9t\xE9"},
        {"\xCE\xB1", "?"},                 // Greek alpha
        {"x\xC3", "x?"},                   // cut at the end
        {"\xC3x", "?x"},                   // cut before a plain byte
        {"\xE2\x82", "?"},                 // three-byte sequence missing one
        {"\x80\xBF", "??"},                // stray continuation bytes
        {"\xF8\x88\x80\x80\x80", "?"},     // five-byte form
        {"\xFC\x84\x80\x80\x80\x80", "?"}, // six-byte form
        {"\xC2\xA0\xC3\xBF", "\xA0\xFF"},  // both ends of the upper half
    };
    for (const auto& c : cases) {
        std::string text = c.first;
        fromUTF8(text);
        EXPECT_EQ(text, c.second) << c.first;
    }
    EXPECT_EQ(XmlLatin1(nullptr), "");
}

TEST(XmlText, EntitiesExpandAsExpatExpandsThem) {
    Reading r = Read(
        "<!DOCTYPE d [<!ENTITY who \"w&#248;rld\">]>"
        "<d a='&lt;&amp;&gt;&quot;&apos;&#65;&#x3A9;&who;'>&lt;a&gt; &#233;&#x20AC;&who;<![CDATA[&amp;]]></d>");
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.attribute, "<&>\"'A?w\xF8rld");
    EXPECT_EQ(r.content, "<a> \xE9?w\xF8rld&amp;");

    // Attribute values have their whitespace normalised by expat; element
    // text keeps it, with line ends made single newlines.
    r = Read("<d a='x\ty\nz'>1\r\n2\r3</d>");
    ASSERT_TRUE(r.ok);
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
        EXPECT_EQ(r.errors.problems[0].text, c.second) << c.first;
        EXPECT_EQ(r.errors.problems[0].line, 1);
    }
}

TEST(XmlText, UnescapingUndoesBackslashSequences) {
    const std::pair<std::string, std::string> cases[] = {
        {"a\\nb", "a\nb"}, {"\\t", "\t"}, {"\\\\", "\\"}, {"\\q", "q"}, {"end\\", "end\\"},
        {"\\\\n", "\\n"},  {"", ""},      {"\\", "\\"},   {"\\\\\\", "\\\\"},
    };
    for (const auto& c : cases) {
        std::string out = "stale";
        XmlUnescape(c.first, out);
        EXPECT_EQ(out, c.second) << c.first;
    }
    // Escaping backslashes, newlines and tabs and then unescaping gives the
    // text back, also through the reader.
    std::mt19937 rng(8);
    const char alphabet[] = {'a', 'n', 't', '\\', '\n', '\t', ' '};
    for (int round = 0; round < 300; ++round) {
        std::string original, escaped;
        int length = static_cast<int>(rng() % 20);
        for (int i = 0; i < length; ++i) {
            char c = alphabet[rng() % sizeof alphabet];
            original += c;
            escaped += c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\\' ? "\\\\" : std::string(1, c);
        }
        std::string out;
        XmlUnescape(escaped, out);
        ASSERT_EQ(out, original) << escaped;
        Reading r = Read("<d>" + escaped + "</d>");
        ASSERT_TRUE(r.ok);
        ASSERT_EQ(r.unescaped, original) << escaped;
    }
}
