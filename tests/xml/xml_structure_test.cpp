// The reader against binding trees: what is accepted, warned about or
// refused, the order of handlers, how flags pass down, that the first error
// ends the document, inputs that cannot be read, and what the standard
// error handler logs. Damaged documents are left to the native-format tests
// (every cut of a saved model) and to the reader's fuzz target.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "orvil/errors.h"
#include "orvil/xmlerrorhandler.h"
#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::EventLog;
using xmltest::RecordingErrors;
using xmltest::Tree;

namespace {

// doc holds head (once, required), item (any number), note (at most once);
// head has a required `id` and an optional `kind`.
struct Catalogue {
    Tree tree;
    XmlBinding* doc;
    XmlBinding* head;
    XmlBinding* item;

    explicit Catalogue(int docFlags = 0) {
        doc = tree.Add("doc", docFlags);
        head = tree.Add("head", qel_xmlInherit);
        item = tree.Add("item", qel_xmlInherit);
        doc->AddChild(head, qel_xmlRequired);
        doc->AddChild(item, qel_xmlMultiple);
        doc->AddChild(tree.Add("note", qel_xmlInherit), 0);
        head->AddAttribute("id", true);
        head->AddAttribute("kind", false);
    }
    bool Parse(const std::string& text, RecordingErrors& errors) {
        XmlReader reader;
        return reader.ParseString(text.c_str(), doc, &errors);
    }
};

}  // namespace

TEST(XmlStructure, HandlersRunInDocumentOrderWithTheirText) {
    Catalogue c;
    std::string startContent = "unset", endId = "unset";
    int line = -1, column = -1;
    c.tree.HandlerOf(c.head).onStart = [&](IXmlReader* r) {
        startContent = r->GetContent();
        r->GetCurrentPosition(line, column);
    };
    c.tree.HandlerOf(c.head).onEnd = [&](IXmlReader* r) { r->GetAttribute("id", endId); };
    RecordingErrors errors;
    ASSERT_TRUE(c.Parse("<doc>\n  <head id='h' kind='k'>Title</head>"
                        "<item>one</item><item>t<!-- c -->wo<![CDATA[<x>]]></item><note/></doc>",
                        errors));
    EXPECT_TRUE(errors.problems.empty());
    EventLog expected = {"start doc",  "start head", "end head Title", "start item", "end item one",
                         "start item", "end item two<x>", "start note", "end note ", "end doc \n  "};
    EXPECT_EQ(c.tree.log, expected);
    // A start handler sees its element's empty text and its position; an
    // end handler sees no attributes.
    EXPECT_EQ(startContent, "");
    EXPECT_EQ(line, 2);
    EXPECT_EQ(column, 2);
    EXPECT_EQ(endId, "");
}

TEST(XmlStructure, ViolationsStopTheDocumentWhereTheyAreFound) {
    struct Case {
        int docFlags;
        const char* text;
        const char* message;
        int line, column;  // of the refused tag
        size_t eventsBefore;
    };
    const Case cases[] = {
        {qel_xmlStrictAttributes, "<doc>\n<head id='1' colour='red'/></doc>",
         "Unknown attribute 'colour' in element 'head'", 2, 0, 1},
        {qel_xmlStrictChildren, "<doc><head id='1'/>\n <x/></doc>", "Unknown element 'x' in 'doc'", 2, 1, 3},
        // A missing attribute is reported ahead of unknown ones.
        {qel_xmlStrictAttributes, "<doc><head colour='red'/></doc>",
         "Required attribute 'id' not found in element 'head'", 1, 5, 1},
        {0, "<?xml version='1.0'?>\n<Doc/>", "Unknown root element 'Doc', expected 'doc'", 2, 0, 0},
    };
    for (const Case& k : cases) {
        Catalogue c(k.docFlags);
        RecordingErrors errors;
        SCOPED_TRACE(k.text);
        EXPECT_FALSE(c.Parse(k.text, errors));
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, k.message);
        EXPECT_EQ(errors.problems[0].line, k.line);
        EXPECT_EQ(errors.problems[0].column, k.column);
        // The refused element's handler never ran, nor any later one.
        EXPECT_EQ(c.tree.log.size(), k.eventsBefore);
    }
}

// a > b > c, each allowing only its one child, and an undeclared attribute
// and element at the deepest level.
TEST(XmlStructure, FlagsPassDownThroughInheritingElements) {
    const std::string warning = "odd in c", stray = "stray in c";
    const std::string strayError = "Unknown element 'stray' in 'c'", oddError = "Unknown attribute 'odd' in element 'c'";
    struct Case {
        int a, b, c;
        std::vector<std::string> problems;
    };
    const Case cases[] = {
        // Inherit on the root means both strict bits; a lenient root stays
        // lenient all the way down.
        {qel_xmlInherit, qel_xmlInherit, qel_xmlInherit, {oddError}},
        {0, qel_xmlInherit, qel_xmlInherit, {warning, stray}},
        {qel_xmlStrictChildren, qel_xmlInherit, qel_xmlInherit, {warning, strayError}},
        // An explicit value in the middle overrides what is above it.
        {qel_xmlInherit, 0, qel_xmlInherit, {warning, stray}},
        {0, qel_xmlStrictAttributes, qel_xmlInherit, {oddError}},
        // Only exactly 4 inherits: 5 and 6 are plain bits.
        {0, 0, qel_xmlInherit | qel_xmlStrictAttributes, {oddError}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(std::to_string(k.a) + " " + std::to_string(k.b) + " " + std::to_string(k.c));
        Tree tree;
        XmlBinding* a = tree.Add("a", k.a);
        XmlBinding* b = tree.Add("b", k.b);
        a->AddChild(b, 0);
        b->AddChild(tree.Add("c", k.c), 0);
        RecordingErrors errors;
        XmlReader reader;
        const bool failed = k.problems.back() == oddError || k.problems.back() == strayError;
        EXPECT_EQ(reader.ParseString("<a><b><c odd='1'><stray/></c></b></a>", a, &errors), !failed);
        EXPECT_EQ(errors.Texts(), k.problems);
    }
}

// Whatever a handler stops on, nothing after it is called or reported: not
// a second stop, not the syntax error at the end of the same block.
TEST(XmlStructure, FirstErrorEndsTheDocument) {
    for (int stopAt = 0; stopAt < 6; ++stopAt) {
        Catalogue c;
        int seen = 0;
        auto stop = [&](IXmlReader* r) {
            if (seen++ != stopAt) return;
            r->StopParse("first");
            r->StopParse("second");
        };
        c.tree.HandlerOf(c.item).onStart = stop;
        c.tree.HandlerOf(c.item).onEnd = stop;
        RecordingErrors errors;
        EXPECT_FALSE(c.Parse("<doc><head id='1'/><item>a</item><item>b</item><item>c</item></doc", errors));
        EXPECT_EQ(errors.Texts(), std::vector<std::string>{"first"}) << stopAt;
        EXPECT_EQ(static_cast<int>(c.tree.log.size()), 3 + stopAt + 1);
    }
}

// Inputs that cannot be read, and misuse of the reader, end with one error
// each.
TEST(XmlReader, FilesAndInputsThatCannotBeRead) {
    Tree tree;
    XmlBinding* net = tree.Add("net", 0);
    XmlReader reader;
    RecordingErrors errors;
    // A file cut inside a tag reads like the same text.
    const std::string path = testing::TempDir() + "xml_damage_test.xml";
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fputs("<net>\n  <node", f);
    fclose(f);
    EXPECT_FALSE(reader.ParseFile(path.c_str(), net, &errors));
    remove(path.c_str());
    EXPECT_FALSE(reader.ParseString(nullptr, net, &errors));
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
    tree.HandlerOf(net).onStart = [&](IXmlReader* r) { EXPECT_FALSE(r->ParseString("<net/>", net, &errors)); };
    EXPECT_TRUE(reader.ParseString("<net/>", net, &errors));

    const std::vector<std::string> expected = {
        "unclosed token", "no element found", "Can't open file /nonexistent/dir/model.xml", "No input to read",
        "No root binding to read the document by", "Can't read the input", "The reader is already reading a document"};
    EXPECT_EQ(errors.Texts(), expected);
}

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

// Warnings go to the log under -100 and errors under -103, with the
// position and the file. Unknown content of a lenient element is skipped
// whole, declared names inside it included. After a document with unknown
// content the handler adds the notice that a newer version may read it;
// Init forgets what it saw.
TEST(XmlErrorHandler, LogsProblemsWithPositionFileAndNotice) {
    Tree tree;
    XmlBinding* r = tree.Add("r", 0);
    r->AddAttribute("a", true);
    r->AddChild(tree.Add("c", qel_xmlInherit | qel_xmlStrictChildren), 0);
    XmlErrorHandler handler;
    XmlReader reader;
    TakeLog();
    handler.Init("dir/net.xqel");
    ASSERT_FALSE(reader.ParseString("<r a='1' b='2'>\n  <d/>\n  <c><x/></c></r>", r, &handler));
    std::vector<std::pair<int, std::string>> expected = {
        {-100, "Warning: Ignored unknown attribute 'b' in 'r' at 1, 0 while loading dir/net.xqel"},
        {-100, "Warning: Ignored unknown element 'd' at 2, 2 while loading dir/net.xqel"},
        {-103, "Error at 3, 5 while loading dir/net.xqel: Unknown element 'x' in 'c'"},
    };
    EXPECT_EQ(TakeLog(), expected);
    const std::string notice =
        std::string("XML contains unknown elements and/or attributes. ") + GetDownloadNewVersionMessage();
    const std::pair<const char*, size_t> documents[] = {{"<r a='1' z=''><c q=''/><d a='2'><c/><e/></d></r>", 3},
                                                        {"<r a='1'><c/></r>", 0}};
    for (const auto& d : documents) {
        tree.log.clear();
        handler.Init(nullptr);
        ASSERT_TRUE(reader.ParseString(d.first, r, &handler));
        EXPECT_EQ(tree.log, (EventLog{"start r", "start c", "end c ", "end r "}));
        EXPECT_EQ(handler.UnknownSeen(), d.second > 0);
        handler.CheckAndDisplayNewVerWarning();
        const auto entries = TakeLog();
        ASSERT_EQ(entries.size(), d.second + (d.second > 0)) << d.first;
        for (const auto& e : entries) EXPECT_EQ(e.first, -100);
        if (d.second > 0) {
            EXPECT_EQ(entries.back().second, notice);
        }
    }
}
