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

// doc (lenient) holds: head once and required, item any number, note at
// most once; head has a required `id` and an optional `kind`.
struct Catalogue {
    Tree tree;
    XmlBinding* doc;
    XmlBinding* head;
    XmlBinding* item;
    XmlBinding* note;

    explicit Catalogue(int docFlags = 0, int childFlags = qel_xmlInherit) {
        doc = tree.Add("doc", docFlags);
        head = tree.Add("head", childFlags);
        item = tree.Add("item", childFlags);
        note = tree.Add("note", childFlags);
        doc->AddChild(head, qel_xmlRequired);
        doc->AddChild(item, qel_xmlMultiple);
        doc->AddChild(note, 0);
        head->AddAttribute("id", true);
        head->AddAttribute("kind", false);
    }
};

}  // namespace

TEST(XmlStructure, HandlersRunInDocumentOrderWithTheirText) {
    Catalogue c;
    RecordingErrors errors;
    XmlReader reader;
    const char* text =
        "<doc><head id='h' kind='k'>Title</head>"
        "<item>one</item><item>t<!-- c -->wo<![CDATA[<x>]]></item><note/></doc>";
    ASSERT_TRUE(reader.ParseString(text, c.doc, &errors));
    EXPECT_TRUE(errors.problems.empty());
    EventLog expected = {"start doc", "start head", "end head Title", "start item", "end item one",
                         "start item", "end item two<x>", "start note", "end note ", "end doc "};
    EXPECT_EQ(c.tree.log, expected);
}

TEST(XmlStructure, UnknownElementsWarnOnceAndTheirSubtreesAreSkipped) {
    Catalogue c;
    RecordingErrors errors;
    XmlReader reader;
    // The skipped subtree holds declared names, undeclared names and
    // attributes: none of them may be seen or reported.
    std::string text =
        "<doc>\n  <head id='1'/>\n  <extra a='1'>\n    <item bogus='x'><head/><deeper/></item>\n  </extra>\n"
        "  <item/>\n  <more/>\n</doc>";
    ASSERT_TRUE(reader.ParseString(text.c_str(), c.doc, &errors));
    ASSERT_EQ(errors.problems.size(), 2u);
    auto extra = PositionOf(text, "<extra");
    EXPECT_EQ(errors.problems[0].kind, "element");
    EXPECT_EQ(errors.problems[0].text, "extra in doc");
    EXPECT_EQ(errors.problems[0].line, extra.first);
    EXPECT_EQ(errors.problems[0].column, extra.second);
    auto more = PositionOf(text, "<more");
    EXPECT_EQ(errors.problems[1].text, "more in doc");
    EXPECT_EQ(errors.problems[1].line, more.first);
    EXPECT_EQ(errors.problems[1].column, more.second);
    EventLog expected = {"start doc", "start head", "end head ", "start item", "end item ", "end doc \n  \n  \n  \n  \n"};
    EXPECT_EQ(c.tree.log, expected);
}

TEST(XmlStructure, UnknownAttributesWarnWhenLenientAndStopWhenStrict) {
    std::string text = "<doc>\n<head id='1' colour='red' size='2'/>\n<item/></doc>";
    auto at = PositionOf(text, "<head");
    {
        Catalogue c;
        RecordingErrors errors;
        XmlReader reader;
        ASSERT_TRUE(reader.ParseString(text.c_str(), c.doc, &errors));
        ASSERT_EQ(errors.problems.size(), 2u);
        EXPECT_EQ(errors.problems[0].kind, "attribute");
        EXPECT_EQ(errors.problems[0].text, "colour in head");
        EXPECT_EQ(errors.problems[1].text, "size in head");
        EXPECT_EQ(errors.problems[1].line, at.first);
        EXPECT_EQ(errors.problems[1].column, at.second);
    }
    {
        Catalogue c(qel_xmlStrictAttributes);
        RecordingErrors errors;
        XmlReader reader;
        EXPECT_FALSE(reader.ParseString(text.c_str(), c.doc, &errors));
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, "Unknown attribute 'colour' in element 'head'");
        EXPECT_EQ(errors.problems[0].line, at.first);
        EXPECT_EQ(errors.problems[0].column, at.second);
        // The refused element's handler never ran, nor did anything after it.
        EventLog expected = {"start doc"};
        EXPECT_EQ(c.tree.log, expected);
    }
}

TEST(XmlStructure, RequiredAttributeIsCheckedBeforeUnknownOnes) {
    Catalogue c;
    RecordingErrors errors;
    XmlReader reader;
    EXPECT_FALSE(reader.ParseString("<doc><head colour='red' kind='k'/></doc>", c.doc, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].kind, "error");
    EXPECT_EQ(errors.problems[0].text, "Required attribute 'id' not found in element 'head'");
    EXPECT_EQ(errors.problems[0].column, 5);
}

TEST(XmlStructure, RepetitionFollowsChildFlags) {
    struct Case {
        int childFlags;
        int occurrences;
        bool ok;
        const char* error;
    };
    const Case cases[] = {
        {0, 0, true, nullptr},
        {0, 1, true, nullptr},
        {0, 2, false, "Multiple occurences of 'x' not allowed in 'doc'"},
        {qel_xmlMultiple, 0, true, nullptr},
        {qel_xmlMultiple, 3, true, nullptr},
        {qel_xmlRequired, 0, false, "Required element 'x' not present in element 'doc'"},
        {qel_xmlRequired, 1, true, nullptr},
        {qel_xmlRequired, 2, false, "Multiple occurences of 'x' not allowed in 'doc'"},
        {qel_xmlRequired | qel_xmlMultiple, 0, false, "Required element 'x' not present in element 'doc'"},
        {qel_xmlRequired | qel_xmlMultiple, 4, true, nullptr},
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
        EXPECT_EQ(reader.ParseString(text.c_str(), doc, &errors), k.ok);
        if (k.ok) {
            EXPECT_TRUE(errors.problems.empty());
            continue;
        }
        ASSERT_EQ(errors.problems.size(), 1u);
        EXPECT_EQ(errors.problems[0].text, k.error);
        // A repeat is refused at the repeated tag; a missing child at the
        // parent's end tag.
        std::string at = k.occurrences ? "<x/></doc>" : "</doc>";
        EXPECT_EQ(errors.problems[0].column, static_cast<int>(text.rfind(at)));
    }
}

TEST(XmlStructure, MissingRequiredChildIsFoundAfterTheEndHandlerRan) {
    Catalogue c;
    RecordingErrors errors;
    XmlReader reader;
    EXPECT_FALSE(reader.ParseString("<doc><item>a</item></doc><!-- tail -->", c.doc, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].text, "Required element 'head' not present in element 'doc'");
    EventLog expected = {"start doc", "start item", "end item a", "end doc "};
    EXPECT_EQ(c.tree.log, expected);
}

TEST(XmlStructure, FlagsPassDownThroughInheritingElements) {
    // Three levels a > b > c, each allowing only its one child, with an
    // undeclared element and attribute at the deepest level.
    auto run = [](int aFlags, int bFlags, int cFlags, RecordingErrors& errors) {
        Tree tree;
        XmlBinding* a = tree.Add("a", aFlags);
        XmlBinding* b = tree.Add("b", bFlags);
        XmlBinding* c = tree.Add("c", cFlags);
        a->AddChild(b, 0);
        b->AddChild(c, 0);
        XmlReader reader;
        return reader.ParseString("<a><b><c odd='1'><stray/></c></b></a>", a, &errors);
    };
    const char* warning = "odd in c";
    const char* strayError = "Unknown element 'stray' in 'c'";
    const char* oddError = "Unknown attribute 'odd' in element 'c'";
    struct Case {
        int a, b, c;
        std::vector<std::string> problems;
    };
    const Case cases[] = {
        // Inherit on the root means both strict bits.
        {qel_xmlInherit, qel_xmlInherit, qel_xmlInherit, {oddError}},
        // A lenient root stays lenient all the way down.
        {0, qel_xmlInherit, qel_xmlInherit, {warning, "stray in c"}},
        {qel_xmlStrictChildren, qel_xmlInherit, qel_xmlInherit, {warning, strayError}},
        // An explicit value in the middle overrides what is above it.
        {qel_xmlInherit, 0, qel_xmlInherit, {warning, "stray in c"}},
        {0, qel_xmlStrictAttributes, qel_xmlInherit, {oddError}},
        // Any value other than exactly 4 is taken as bits and does not
        // inherit: 5 is strict about attributes only, 6 about children only.
        {0, 0, qel_xmlInherit | qel_xmlStrictAttributes, {oddError}},
        {qel_xmlInherit, qel_xmlInherit, qel_xmlInherit | qel_xmlStrictChildren, {warning, strayError}},
    };
    for (const Case& k : cases) {
        RecordingErrors errors;
        SCOPED_TRACE(std::to_string(k.a) + " " + std::to_string(k.b) + " " + std::to_string(k.c));
        bool failed = k.problems.back() == oddError || k.problems.back() == strayError;
        EXPECT_EQ(run(k.a, k.b, k.c, errors), !failed);
        std::vector<std::string> got;
        for (const auto& p : errors.problems) got.push_back(p.text);
        EXPECT_EQ(got, k.problems);
        EXPECT_EQ(errors.Count("error"), failed ? 1 : 0);
    }
}

TEST(XmlStructure, RootMustMatchItsBinding) {
    Catalogue c;
    RecordingErrors errors;
    XmlReader reader;
    EXPECT_FALSE(reader.ParseString("<?xml version='1.0'?>\n<Doc><head id='1'/></Doc>", c.doc, &errors));
    ASSERT_EQ(errors.problems.size(), 1u);
    EXPECT_EQ(errors.problems[0].text, "Unknown root element 'Doc', expected 'doc'");
    EXPECT_EQ(errors.problems[0].line, 2);
    EXPECT_EQ(errors.problems[0].column, 0);
    EXPECT_TRUE(c.tree.log.empty());
}

// Whatever a handler stops on, nothing after it is called or reported, not
// even a syntax error further on in the same block, and a second stop in
// the same handler is not reported either.
TEST(XmlStructure, FirstErrorEndsTheDocument) {
    for (int stopAt = 0; stopAt < 5; ++stopAt) {
        Catalogue c;
        int seen = 0;
        auto stop = [&](IXmlReader* r) {
            if (seen++ != stopAt) return;
            r->StopParse("first");
            r->StopParse("second");
        };
        c.tree.HandlerOf(c.item)->onStart = stop;
        c.tree.HandlerOf(c.item)->onEnd = stop;
        RecordingErrors errors;
        XmlReader reader;
        const char* text = "<doc><head id='1'/><item>a</item><item>b</item><item>c</item></doc";
        bool ok = reader.ParseString(text, c.doc, &errors);
        EXPECT_FALSE(ok);
        ASSERT_EQ(errors.problems.size(), 1u) << stopAt;
        // Six item events exist; stops at 0..4 all fall among them, and the
        // one at 5 would leave the expat error as the only one.
        EXPECT_EQ(errors.problems[0].text, "first");
        EXPECT_EQ(static_cast<int>(c.tree.log.size()), 3 + stopAt + 1);
    }
}

TEST(XmlStructure, HandlersSeeOnlyWhatBelongsToTheirEvent) {
    Catalogue c;
    std::string startContent = "unset";
    std::string endAttribute = "unset";
    bool endHadAttribute = true;
    int line = -1, column = -1;
    c.tree.HandlerOf(c.head)->onStart = [&](IXmlReader* r) {
        startContent = r->GetContent();
        r->GetCurrentPosition(line, column);
    };
    c.tree.HandlerOf(c.head)->onEnd = [&](IXmlReader* r) { endHadAttribute = r->GetAttribute("id", endAttribute); };
    RecordingErrors errors;
    XmlReader reader;
    ASSERT_TRUE(reader.ParseString("<doc>text before\n  <head id='7'>inside</head></doc>", c.doc, &errors));
    EXPECT_EQ(startContent, "");
    EXPECT_FALSE(endHadAttribute);
    EXPECT_EQ(endAttribute, "");
    EXPECT_EQ(line, 2);
    EXPECT_EQ(column, 2);
    // Outside a parse there is no position.
    reader.GetCurrentPosition(line, column);
    EXPECT_EQ(line, 0);
    EXPECT_EQ(column, 0);
}

TEST(XmlStructure, BindingsMadeByTheReaderAndTemplateHandlers) {
    struct Target {
        std::vector<std::string> got;
        void Start(IXmlReader*) { got.push_back("start"); }
        void Item(IXmlReader* r) { got.push_back(r->GetContent()); }
    } target;
    XmlReader reader;
    XmlHandler<Target> numbers(&target, "numbers", 0, &Target::Start, nullptr, &Target::Item);
    XmlHandler<Target> plain(&target, "plain", 0, &Target::Start);
    EXPECT_TRUE(numbers.ContainsList());
    EXPECT_FALSE(plain.ContainsList());
    IXmlBinding* root = reader.CreateBinding(nullptr, "root", 0);
    root->AddChild(&numbers, qel_xmlRequired);
    root->AddChild(&plain, qel_xmlMultiple);
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
    EXPECT_EQ(errors.problems.back().text, "Required attribute 'v' not found in element 'root'");
    EXPECT_TRUE(target.got.empty());
    root->Delete();
}

TEST(XmlStructure, BindingLookups) {
    Tree tree;
    XmlBinding* p = tree.Add("p", 0);
    XmlBinding* a = tree.Add("a", 0);
    XmlBinding* b = tree.Add("b", 0);
    XmlBinding* a2 = tree.Add("a", 0);
    p->AddChild(a, qel_xmlMultiple);
    p->AddChild(b, qel_xmlRequired);
    p->AddChild(a2, qel_xmlRequired);
    p->AddChild(nullptr, qel_xmlRequired);
    p->AddAttribute("x", false);
    p->AddAttribute("y", true);
    p->AddAttribute("z", true);
    EXPECT_EQ(p->FindChild("a"), XmlBinding::ChildEntry(a, qel_xmlMultiple));
    EXPECT_EQ(p->FindChild("c"), XmlBinding::ChildEntry(nullptr, 0));
    EXPECT_EQ(p->FindChild(nullptr).first, nullptr);
    EXPECT_TRUE(p->FindAttribute("x"));
    EXPECT_FALSE(p->FindAttribute("w"));
    const char* none[] = {nullptr};
    const char* someY[] = {"x", "1", "y", "2", nullptr};
    const char* all[] = {"z", "1", "y", "2", nullptr};
    EXPECT_EQ(p->FindMissingAttribute(none), "y");
    EXPECT_EQ(p->FindMissingAttribute(nullptr), "y");
    EXPECT_EQ(p->FindMissingAttribute(someY), "z");
    EXPECT_EQ(p->FindMissingAttribute(all), "");
    EXPECT_EQ(p->FindMissingChild({}), b);
    EXPECT_EQ(p->FindMissingChild({"b"}), a2);
    EXPECT_EQ(p->FindMissingChild({"a", "b"}), nullptr);
}
