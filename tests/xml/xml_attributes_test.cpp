// Typed attribute reads: defaults for absent attributes, the accepted forms
// of booleans and numbers, the messages of malformed ones, text as Latin-1,
// and the check of a file's format version.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

// Runs `read` in the start handler of <d v="value"/> (<d/> for a null
// value), which stands at line 2, column 2.
template <typename Read>
bool ReadAttribute(const char* value, RecordingErrors& errors, Read read) {
    Tree tree;
    XmlBinding* d = tree.Add("d", 0);
    d->AddAttribute("v", false);
    tree.HandlerOf(d).onStart = [&](IXmlReader* r) { read(r); };
    std::string text = "<?xml version='1.0'?>\n  <d";
    if (value) text += std::string(" v=\"") + value + "\"";
    text += "/>";
    XmlReader reader;
    return reader.ParseString(text.c_str(), d, &errors);
}

template <typename T>
struct Case {
    const char* text;
    bool ok;
    T value;
};

// Each case read with the default `fallback`: the value, the result, and
// on failure the one error with its position.
template <typename T, size_t N>
void CheckReads(const Case<T> (&cases)[N], T fallback, const std::string& message) {
    for (const Case<T>& c : cases) {
        RecordingErrors errors;
        bool got = !c.ok;
        T value{};
        bool parsed = ReadAttribute(c.text, errors, [&](IXmlReader* r) { got = r->GetAttribute("v", value, fallback); });
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        EXPECT_EQ(got, c.ok);
        EXPECT_EQ(parsed, c.ok);
        EXPECT_EQ(value, c.value);
        if (c.ok) {
            EXPECT_TRUE(errors.problems.empty());
            continue;
        }
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, message);
        EXPECT_EQ(errors.problems[0].line, 2);
        EXPECT_EQ(errors.problems[0].column, 2);
    }
}

}  // namespace

// Trailing text after a number is refused only when the number is zero.
TEST(XmlAttributes, BooleansAndNumbers) {
    const Case<bool> booleans[] = {{nullptr, true, true}, {"true", true, true}, {"false", true, false},
                                   {"TRUE", false, true}, {"1", false, true},   {"", false, true}};
    CheckReads(booleans, true, "'true' or 'false' expected as value of boolean attribute 'v'");
    const Case<int> ints[] = {{nullptr, true, 42}, {"12", true, 12}, {"-7", true, -7},    {" 5", true, 5},
                              {"12abc", true, 12}, {"3.9", true, 3}, {"", true, 0},       {"abc", false, 0},
                              {"0abc", false, 0},  {"0 ", false, 0}, {"+0x", false, 0}};
    CheckReads(ints, 42, "Integer value expected for attribute 'v'");
    const Case<double> doubles[] = {{nullptr, true, 0.25}, {"1.5e3", true, 1500}, {"-0.125", true, -0.125},
                                    {"2x", true, 2},       {"", true, 0},         {"x", false, 0},
                                    {"0.0.1", false, 0},   {"-0e", false, 0}};
    CheckReads(doubles, 0.25, "Floating point value expected for attribute 'v'");
}

TEST(XmlAttributes, TextIsLatin1AndAbsenceIsTold) {
    RecordingErrors errors;
    std::string value = "stale", other = "stale";
    bool present = false, otherPresent = true;
    ASSERT_TRUE(ReadAttribute("\xCE\xB1\xCE\xB2 \xC3\xA9", errors, [&](IXmlReader* r) {
        present = r->GetAttribute("v", value);
        otherPresent = r->GetAttribute("w", other);
    }));
    EXPECT_TRUE(present);
    EXPECT_EQ(value, "?? \xE9");
    EXPECT_FALSE(otherPresent);
    EXPECT_EQ(other, "");
}

TEST(XmlAttributes, VersionCheck) {
    const Case<const char*> cases[] = {{"1.5", false, "1.0"}, {"0.9", true, "1.0"}, {"1", true, "1.0"},
                                       {"1.0", true, "1"},    {"2", false, "1.0"},  {"abc", true, "1.0"},
                                       {"1.01", false, "1.0"}};
    for (const auto& c : cases) {
        RecordingErrors errors;
        bool result = !c.ok;
        bool parsed = ReadAttribute(c.text, errors, [&](IXmlReader* r) {
            std::string version;
            r->GetAttribute("v", version);
            result = CheckVersion(r, version.c_str(), c.value);
        });
        SCOPED_TRACE(c.text);
        EXPECT_EQ(result, c.ok);
        EXPECT_EQ(parsed, c.ok);
        if (c.ok) continue;
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, std::string("Invalid version number '") + c.text + "', expected " + c.value +
                                               "\n" + GetDownloadNewVersionMessage());
    }
    EXPECT_EQ(std::string(GetDownloadNewVersionMessage()).rfind("Please download most recent version of ORVIL/Marlo from:\nhttp", 0), 0u);
    EXPECT_FALSE(CheckVersion(nullptr, "3", "1.0"));
    EXPECT_TRUE(CheckVersion(nullptr, nullptr, "1.0"));
}
