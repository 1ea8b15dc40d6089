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

namespace {

// Takes the log's entries and empties it.
std::vector<std::pair<int, std::string>> TakeLog() {
    std::vector<std::pair<int, std::string>> entries;
    QEL_errorStringHandler& log = QEL_errorH();
    for (int i = 0; i < log.GetNumberOfErrors(); ++i) entries.emplace_back(log.GetError(i), log.GetErrorMessage(i));
    log.Flush();
    return entries;
}

}  // namespace

TEST(XmlErrorHandler, ReaderProblemsReachTheLogWithPositionAndFile) {
    xmltest::Tree tree;
    XmlBinding* r = tree.Add("r", 0);
    r->AddAttribute("a", true);
    r->AddChild(tree.Add("c", qel_xmlInherit | qel_xmlStrictChildren), 0);
    XmlErrorHandler handler;
    XmlReader reader;
    TakeLog();
    const char* text = "<r a='1' b='2'>\n  <d/>\n  <c><x/></c></r>";
    ASSERT_FALSE(reader.ParseString(text, r, &handler));
    handler.Init("dir/net.xqel");
    ASSERT_FALSE(reader.ParseString(text, r, &handler));
    std::vector<std::pair<int, std::string>> expected = {
        {-100, "Warning: Ignored unknown attribute 'b' in 'r' at 1, 0"},
        {-100, "Warning: Ignored unknown element 'd' at 2, 2"},
        {-103, "Error at 3, 5: Unknown element 'x' in 'c'"},
        {-100, "Warning: Ignored unknown attribute 'b' in 'r' at 1, 0 while loading dir/net.xqel"},
        {-100, "Warning: Ignored unknown element 'd' at 2, 2 while loading dir/net.xqel"},
        {-103, "Error at 3, 5 while loading dir/net.xqel: Unknown element 'x' in 'c'"},
    };
    EXPECT_EQ(TakeLog(), expected);
    std::string formatted;
    handler.Init("");
    handler.GetFormattedErrorMessage("bad", 0, 0, formatted);
    EXPECT_EQ(formatted, "Error at 0, 0: bad");
}

// The notice after a parse appears exactly when something unknown was
// met, and Init forgets it.
TEST(XmlErrorHandler, NewVersionNoticeFollowsUnknownContent) {
    const std::string notice =
        std::string("XML contains unknown elements and/or attributes. ") + GetDownloadNewVersionMessage();
    const std::pair<const char*, size_t> documents[] = {
        {"<r a='1'><c/></r>", 0},
        {"<r a='1' b='2'><c/></r>", 1},
        {"<r a='1'><c/><d><e/></d></r>", 1},
        {"<r a='1' z=''><c q=''/><d/></r>", 3},
        {"<r a='1'/>", 0},
    };
    xmltest::Tree tree;
    XmlBinding* r = tree.Add("r", 0);
    r->AddAttribute("a", true);
    r->AddChild(tree.Add("c", qel_xmlInherit), 0);
    XmlErrorHandler handler;
    XmlReader reader;
    TakeLog();
    for (const auto& d : documents) {
        handler.Init(nullptr);
        ASSERT_TRUE(reader.ParseString(d.first, r, &handler));
        EXPECT_EQ(handler.UnknownSeen(), d.second > 0);
        handler.CheckAndDisplayNewVerWarning();
        auto entries = TakeLog();
        ASSERT_EQ(entries.size(), d.second + (d.second > 0)) << d.first;
        for (const auto& e : entries) EXPECT_EQ(e.first, -100);
        if (d.second > 0) {
            EXPECT_EQ(entries.back().second, notice);
        }
    }
}
