// Typed attribute reads: defaults for absent attributes, the accepted
// forms of booleans and numbers, the messages of malformed ones, and the
// check of a file's format version.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

// Runs `read` inside the start handler of <d v="value"/> (or of <d/> when
// `value` is null) on the second line of the document.
template <typename Read>
bool ReadAttribute(const char* value, RecordingErrors& errors, Read read) {
    Tree tree;
    XmlBinding* d = tree.Add("d", 0);
    d->AddAttribute("v", false);
    tree.HandlerOf(d)->onStart = [&](IXmlReader* r) { read(r); };
    std::string text = "<?xml version='1.0'?>\n  <d";
    if (value) text += std::string(" v=\"") + value + "\"";
    text += "/>";
    XmlReader reader;
    return reader.ParseString(text.c_str(), d, &errors);
}

}  // namespace

TEST(XmlAttributes, Booleans) {
    struct Case {
        const char* text;
        bool ok;
        bool value;
    };
    const Case cases[] = {{nullptr, true, true}, {"true", true, true}, {"false", true, false},
                          {"TRUE", false, true}, {"1", false, true},   {"", false, true},
                          {"true ", false, true}};
    for (const Case& c : cases) {
        RecordingErrors errors;
        bool got = false, value = false;
        bool parsed = ReadAttribute(c.text, errors, [&](IXmlReader* r) { got = r->GetAttribute("v", value, true); });
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        EXPECT_EQ(got, c.ok);
        EXPECT_EQ(parsed, c.ok);
        if (c.ok) {
            EXPECT_EQ(value, c.value);
            EXPECT_TRUE(errors.problems.empty());
            continue;
        }
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, "'true' or 'false' expected as value of boolean attribute 'v'");
        EXPECT_EQ(errors.problems[0].line, 2);
        EXPECT_EQ(errors.problems[0].column, 2);
    }
}

// Trailing text is only refused when the number read is zero.
TEST(XmlAttributes, Integers) {
    struct Case {
        const char* text;
        bool ok;
        int value;
    };
    const Case cases[] = {{nullptr, true, 42}, {"12", true, 12},   {"-7", true, -7}, {" 5", true, 5},
                          {"12abc", true, 12}, {"3.9", true, 3},   {"", true, 0},    {"0", true, 0},
                          {"abc", false, 0},   {"0abc", false, 0}, {"0 ", false, 0}, {"+0x", false, 0}};
    for (const Case& c : cases) {
        RecordingErrors errors;
        bool got = false;
        int value = -1;
        bool parsed = ReadAttribute(c.text, errors, [&](IXmlReader* r) { got = r->GetAttribute("v", value, 42); });
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        EXPECT_EQ(got, c.ok);
        EXPECT_EQ(parsed, c.ok);
        EXPECT_EQ(value, c.value);
        if (c.ok) {
            EXPECT_TRUE(errors.problems.empty());
            continue;
        }
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, "Integer value expected for attribute 'v'");
    }
}

TEST(XmlAttributes, Doubles) {
    struct Case {
        const char* text;
        bool ok;
        double value;
    };
    const Case cases[] = {{nullptr, true, 0.25}, {"1.5e3", true, 1500}, {"-0.125", true, -0.125},
                          {"2x", true, 2},       {"", true, 0},         {"0.0", true, 0},
                          {"x", false, 0},       {"0.0.1", false, 0},   {"-0e", false, 0}};
    for (const Case& c : cases) {
        RecordingErrors errors;
        bool got = false;
        double value = -1;
        bool parsed = ReadAttribute(c.text, errors, [&](IXmlReader* r) { got = r->GetAttribute("v", value, 0.25); });
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        EXPECT_EQ(got, c.ok);
        EXPECT_EQ(parsed, c.ok);
        EXPECT_EQ(value, c.value);
        if (!c.ok) {
            ASSERT_EQ(errors.problems.size(), 1u);
            EXPECT_EQ(errors.problems[0].text, "Floating point value expected for attribute 'v'");
        }
    }
    RecordingErrors errors;
    double value = 0;
    EXPECT_TRUE(ReadAttribute("nan", errors, [&](IXmlReader* r) { r->GetAttribute("v", value, 0.0); }));
    EXPECT_TRUE(std::isnan(value));
}

TEST(XmlAttributes, TextValuesAndAbsence) {
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
    struct Case {
        const char* file;
        const char* supported;
        bool ok;
    };
    const Case cases[] = {{"1.5", "1.0", false}, {"0.9", "1.0", true}, {"1.0", "1.0", true}, {"1", "1.0", true},
                          {"1.0", "1", true},    {"2", "1.0", false},  {"abc", "1.0", true}, {"1.01", "1.0", false}};
    for (const Case& c : cases) {
        RecordingErrors errors;
        bool result = !c.ok;
        bool parsed = ReadAttribute(c.file, errors, [&](IXmlReader* r) {
            std::string version;
            r->GetAttribute("v", version);
            result = CheckVersion(r, version.c_str(), c.supported);
        });
        SCOPED_TRACE(c.file);
        EXPECT_EQ(result, c.ok);
        EXPECT_EQ(parsed, c.ok);
        if (c.ok) continue;
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, std::string("Invalid version number '") + c.file + "', expected " +
                                               c.supported + "\n" + GetDownloadNewVersionMessage());
    }
    std::string notice = GetDownloadNewVersionMessage();
    EXPECT_EQ(notice.rfind("Please download most recent version of ORVIL/Marlo from:\n", 0), 0u);
    EXPECT_GT(notice.size(), 60u);
    // No reader to stop: the answer alone.
    EXPECT_FALSE(CheckVersion(nullptr, "3", "1.0"));
    EXPECT_TRUE(CheckVersion(nullptr, nullptr, "1.0"));
}
