// The reader against binding trees: which elements and attributes are
// accepted, warned about or refused, in what order handlers run, how flags
// pass down, and that the first error ends the document.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "xml_test_support.h"

using xmltest::EventLog;
using xmltest::PositionOf;
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

TEST(XmlStructure, UnknownContentOfLenientElementsWarnsAndIsSkipped) {
    Catalogue c;
    RecordingErrors errors;
    // The skipped subtree holds declared and undeclared names and
    // attributes: none of them may be seen or reported.
    std::string text =
        "<doc>\n  <head id='1' colour='red' size='2'/>\n  <extra a='1'>\n    <item bogus='x'><head/></item>\n"
        "  </extra>\n  <item/>\n  <more/>\n</doc>";
    ASSERT_TRUE(c.Parse(text, errors));
    std::vector<std::string> expected = {"colour in head", "size in head", "extra in doc", "more in doc"};
    EXPECT_EQ(errors.Texts(), expected);
    const char* tags[] = {"<head", "<head", "<extra", "<more"};
    for (int i = 0; i < 4; ++i) {
        auto at = PositionOf(text, tags[i]);
        EXPECT_EQ(errors.problems[i].line, at.first) << i;
        EXPECT_EQ(errors.problems[i].column, at.second) << i;
    }
    EventLog events = {"start doc", "start head", "end head ", "start item", "end item ", "end doc \n  \n  \n  \n  \n"};
    EXPECT_EQ(c.tree.log, events);
}

TEST(XmlStructure, ViolationsStopTheDocumentWhereTheyAreFound) {
    struct Case {
        int docFlags;
        const char* text;
        const char* message;
        const char* at;
        size_t eventsBefore;
    };
    const Case cases[] = {
        {qel_xmlStrictAttributes, "<doc>\n<head id='1' colour='red'/></doc>",
         "Unknown attribute 'colour' in element 'head'", "<head", 1},
        {qel_xmlStrictChildren, "<doc><head id='1'/>\n <x/></doc>", "Unknown element 'x' in 'doc'", "<x/>", 3},
        // A missing attribute is reported ahead of unknown ones.
        {qel_xmlStrictAttributes, "<doc><head colour='red'/></doc>",
         "Required attribute 'id' not found in element 'head'", "<head", 1},
        {0, "<?xml version='1.0'?>\n<Doc/>", "Unknown root element 'Doc', expected 'doc'", "<Doc", 0},
    };
    for (const Case& k : cases) {
        Catalogue c(k.docFlags);
        RecordingErrors errors;
        SCOPED_TRACE(k.text);
        EXPECT_FALSE(c.Parse(k.text, errors));
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, k.message);
        auto at = PositionOf(k.text, k.at);
        EXPECT_EQ(errors.problems[0].line, at.first);
        EXPECT_EQ(errors.problems[0].column, at.second);
        // The refused element's handler never ran, nor any later one.
        EXPECT_EQ(c.tree.log.size(), k.eventsBefore);
    }
}

TEST(XmlStructure, RepetitionFollowsChildFlags) {
    const char* repeated = "Multiple occurences of 'x' not allowed in 'doc'";
    const char* missing = "Required element 'x' not present in element 'doc'";
    struct Case {
        int childFlags;
        int occurrences;
        const char* error;
    };
    const Case cases[] = {
        {0, 0, nullptr},           {0, 1, nullptr},
        {0, 2, repeated},          {qel_xmlMultiple, 0, nullptr},
        {qel_xmlMultiple, 3, nullptr}, {qel_xmlRequired, 0, missing},
        {qel_xmlRequired, 1, nullptr}, {qel_xmlRequired, 2, repeated},
        {qel_xmlRequired | qel_xmlMultiple, 0, missing}, {qel_xmlRequired | qel_xmlMultiple, 4, nullptr},
    };
    for (const Case& k : cases) {
        Tree tree;
        XmlBinding* doc = tree.Add("doc", 0);
        doc->AddChild(tree.Add("x", 0), k.childFlags);
        std::string text = "<doc>";
        for (int i = 0; i < k.occurrences; ++i) text += "<x/>";
        text += "</doc>";
        RecordingErrors errors;
        XmlReader reader;
        SCOPED_TRACE(text + " flags " + std::to_string(k.childFlags));
        EXPECT_EQ(reader.ParseString(text.c_str(), doc, &errors), k.error == nullptr);
        if (k.error == nullptr) {
            EXPECT_TRUE(errors.problems.empty());
            continue;
        }
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, k.error);
        // A repeat is refused at the repeated tag, a missing child at the
        // parent's end tag, after the parent's end handler ran.
        EXPECT_EQ(errors.problems[0].column, static_cast<int>(text.rfind(k.occurrences ? "<x/></doc>" : "</doc>")));
        EXPECT_EQ(tree.log.back(), k.occurrences ? "end x " : "end doc ");
    }
}

TEST(XmlStructure, FlagsPassDownThroughInheritingElements) {
    // a > b > c, each allowing only its one child; an undeclared attribute
    // and element at the deepest level.
    auto run = [](int aFlags, int bFlags, int cFlags, RecordingErrors& errors) {
        Tree tree;
        XmlBinding* a = tree.Add("a", aFlags);
        XmlBinding* b = tree.Add("b", bFlags);
        a->AddChild(b, 0);
        b->AddChild(tree.Add("c", cFlags), 0);
        XmlReader reader;
        return reader.ParseString("<a><b><c odd='1'><stray/></c></b></a>", a, &errors);
    };
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
        {qel_xmlInherit, qel_xmlInherit, qel_xmlInherit | qel_xmlStrictChildren, {warning, strayError}},
    };
    for (const Case& k : cases) {
        RecordingErrors errors;
        SCOPED_TRACE(std::to_string(k.a) + " " + std::to_string(k.b) + " " + std::to_string(k.c));
        bool failed = k.problems.back() == oddError || k.problems.back() == strayError;
        EXPECT_EQ(run(k.a, k.b, k.c, errors), !failed);
        EXPECT_EQ(errors.Texts(), k.problems);
        EXPECT_EQ(errors.Count("error"), failed ? 1 : 0);
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
        std::vector<std::string> expected = {"first"};
        EXPECT_EQ(errors.Texts(), expected) << stopAt;
        EXPECT_EQ(static_cast<int>(c.tree.log.size()), 3 + stopAt + 1);
    }
}

TEST(XmlStructure, TemplateHandlersAndReaderMadeBindings) {
    struct Target {
        std::vector<std::string> got;
        void Start(IXmlReader*) { got.push_back("start"); }
        void Item(IXmlReader* r) { got.push_back(r->GetContent()); }
    } target;
    XmlReader reader;
    XmlHandler<Target> numbers(&target, "numbers", 0, &Target::Start, nullptr, &Target::Item);
    XmlHandler<Target> plain(&target, "plain", 0, &Target::Start);
    IXmlBinding* root = reader.CreateBinding(nullptr, "root", 0);
    root->AddChild(&numbers, qel_xmlRequired);
    root->AddChild(&plain, qel_xmlMultiple);
    root->AddChild(nullptr, qel_xmlRequired);
    root->AddAttribute("v", true);
    RecordingErrors errors;
    EXPECT_TRUE(reader.ParseString("<root v=''><plain>a b</plain><numbers> 1 2\n3 </numbers><plain/></root>", root,
                                   &errors));
    std::vector<std::string> expected = {"start", "start", "1", "2", "3", "start"};
    EXPECT_EQ(target.got, expected);
    EXPECT_TRUE(errors.problems.empty());
    // The same tree serves a second document on the same reader.
    target.got.clear();
    EXPECT_FALSE(reader.ParseString("<root><numbers/></root>", root, &errors));
    EXPECT_EQ(errors.Texts().back(), "Required attribute 'v' not found in element 'root'");
    EXPECT_TRUE(target.got.empty());
    root->Delete();
}
