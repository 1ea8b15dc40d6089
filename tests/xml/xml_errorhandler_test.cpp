// The standard error handler: what reaches the process-wide log, under
// which code, with the position and the file name, and the closing notice
// about unknown content.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "orvil/errors.h"
#include "orvil/xmlerrorhandler.h"
#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::Tree;

namespace {

std::vector<std::pair<int, std::string>> LogEntries() {
    std::vector<std::pair<int, std::string>> entries;
    QEL_errorStringHandler& log = QEL_errorH();
    for (int i = 0; i < log.GetNumberOfErrors(); ++i) entries.emplace_back(log.GetError(i), log.GetErrorMessage(i));
    return entries;
}

}  // namespace

TEST(XmlErrorHandler, MessagesCarryPositionAndFile) {
    XmlErrorHandler handler;
    std::string text;
    handler.GetFormattedErrorMessage("bad", 3, 14, text);
    EXPECT_EQ(text, "Error at 3, 14: bad");
    handler.Init("");
    handler.GetFormattedErrorMessage("bad", 0, 0, text);
    EXPECT_EQ(text, "Error at 0, 0: bad");
    handler.Init("dir/m.xqel");
    handler.GetFormattedErrorMessage("bad", 1, 2, text);
    EXPECT_EQ(text, "Error at 1, 2 while loading dir/m.xqel: bad");
    text = "x";
    handler.AppendErrorPos(text, 10, 0);
    EXPECT_EQ(text, "x at 10, 0 while loading dir/m.xqel");

    QEL_errorH().Flush();
    handler.OnParseError("broken", 4, 5);
    handler.OnUnknownElement("el", "parent", 6, 7);
    handler.OnUnknownAttribute("el", "att", 8, 9);
    std::vector<std::pair<int, std::string>> expected = {
        {-103, "Error at 4, 5 while loading dir/m.xqel: broken"},
        {-100, "Warning: Ignored unknown element 'el' at 6, 7 while loading dir/m.xqel"},
        {-100, "Warning: Ignored unknown attribute 'att' in 'el' at 8, 9 while loading dir/m.xqel"},
    };
    EXPECT_EQ(LogEntries(), expected);
    QEL_errorH().Flush();
}

// The notice after a parse appears exactly when something unknown was
// met, and Init forgets it.
TEST(XmlErrorHandler, NewVersionNoticeFollowsUnknownContent) {
    const std::string notice =
        std::string("XML contains unknown elements and/or attributes. ") + GetDownloadNewVersionMessage();
    const std::pair<const char*, int> documents[] = {
        {"<r a='1'><c/></r>", 0},
        {"<r a='1' b='2'><c/></r>", 1},
        {"<r a='1'><c/><d><e/></d></r>", 1},
        {"<r a='1' z=''><c q=''/><d/></r>", 3},
    };
    Tree tree;
    XmlBinding* r = tree.Add("r", 0);
    r->AddAttribute("a", true);
    r->AddChild(tree.Add("c", qel_xmlInherit), 0);
    XmlErrorHandler handler;
    XmlReader reader;
    for (const auto& d : documents) {
        QEL_errorH().Flush();
        handler.Init(nullptr);
        ASSERT_TRUE(reader.ParseString(d.first, r, &handler));
        EXPECT_EQ(handler.UnknownSeen(), d.second > 0);
        handler.CheckAndDisplayNewVerWarning();
        auto entries = LogEntries();
        ASSERT_EQ(static_cast<int>(entries.size()), d.second + (d.second > 0)) << d.first;
        for (const auto& e : entries) EXPECT_EQ(e.first, -100);
        if (d.second > 0) {
            EXPECT_EQ(entries.back().second, notice);
        }
    }
    QEL_errorH().Flush();
}

TEST(XmlErrorHandler, ReaderErrorsReachTheLogOnce) {
    Tree tree;
    XmlBinding* r = tree.Add("r", qel_xmlInherit);
    XmlErrorHandler handler;
    handler.Init("net.xqel");
    XmlReader reader;
    QEL_errorH().Flush();
    EXPECT_FALSE(reader.ParseString("<r>\n  <x/>\n  <y/>\n</r>", r, &handler));
    auto entries = LogEntries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].first, -103);
    EXPECT_EQ(entries[0].second, "Error at 2, 2 while loading net.xqel: Unknown element 'x' in 'r'");
    EXPECT_FALSE(handler.UnknownSeen());
    QEL_errorH().Flush();
}
