// The XML writer: the exact layout of its documents, and round trips
// through the reader, which must give back the element tree, the attribute
// values and the element text it was given, less what the escaping rules
// drop on purpose.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "orvil/xmlreader.h"
#include "orvil/xmlwriter.h"
#include "xml_test_support.h"

using xmltest::RecordingErrors;

TEST(XmlWriter, DocumentLayout) {
    std::string out = "kept ";
    XmlWriterStringOutput output(&out);
    XmlWriter writer(&output);
    writer.Start(true);
    writer.WriteComment("made by a test");
    writer.PushAttribute("version", "1.0");
    writer.PushAttribute("n", 42);
    writer.PushAttribute("on", true);
    writer.PushAttribute("off", false);
    writer.PushAttribute("x", 0.1);
    writer.OpenElement("root");
    writer.OpenElement("nodes");
    writer.CloseElement("nodes");
    {
        IXmlWriter::ScopedElement scoped(&writer, "scoped");
        writer.PushAttribute("id", "a<b\n");
        writer.WriteElement("text", "one\ttwo\r\\", true);
        writer.WriteElement("empty", "", false);
        writer.WriteElement("none", nullptr, false);
        const double values[] = {0.5, 1e-300, -2, 3};
        writer.WriteDoubleArray("cost", values, 4, "n/a", 3);
        writer.WriteDoubleArray("utilities", values, 0);
        const char* words[] = {"s0", "s1", nullptr};
        writer.WriteStringArray("states", words, 3);
    }
    writer.CloseElement("root");
    EXPECT_EQ(writer.GetDepth(), 0);
    writer.StartWithXsl("style.xsl");
    writer.StartWithDTD("b", "b.dtd");
    EXPECT_EQ(out,
              "kept <?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
              "<!-- made by a test -->\n"
              "<root version=\"1.0\" n=\"42\" on=\"true\" off=\"false\" x=\"0.1\">\n"
              "\t<nodes>\n"
              "\t</nodes>\n"
              "\t<scoped>\n"
              "\t\t<text id=\"a&lt;b.\">one\\ttwo\\\\</text>\n"
              "\t\t<empty></empty>\n"
              "\t\t<none />\n"
              "\t\t<cost>0.5 1e-300 -2 n/a</cost>\n"
              "\t\t<utilities></utilities>\n"
              "\t\t<states>s0 s1 </states>\n"
              "\t</scoped>\n"
              "</root>\n"
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"style.xsl\"?>\n"
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
              "<!DOCTYPE b SYSTEM \"b.dtd\">\n");
    // Without an output nothing is written and nothing breaks; attributes
    // pushed meanwhile still go to the next element.
    XmlWriter silent;
    silent.WriteElement("x", "y", true);
    silent.PushAttribute("a", 1);
    silent.SetOutput(&output);
    silent.WriteElement("z", nullptr, true);
    EXPECT_EQ(out.substr(out.size() - 12), "<z a=\"1\" />\n");
}

namespace {

struct Element {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;
    std::vector<Element> children;
};

const char* const names[] = {"a", "b", "c"};
const char* const keys[] = {"k0", "k1", "k2"};

// Latin-1 text with markup characters, backslashes, some control
// characters, and the DEL and 0x80 to 0x9F bytes, which XML allows.
std::string RandomLatin1(std::mt19937& rng) {
    std::string text;
    for (int i = static_cast<int>(rng() % 12); i > 0; --i) {
        unsigned kind = rng() % 10;
        if (kind == 0)
            text += "\n\t\r\x01"[rng() % 4];
        else if (kind == 1)
            text += "<>&\"'\\"[rng() % 6];
        else
            text += static_cast<char>(0x20 + rng() % 0xE0);
    }
    return text;
}

// What the reader gives back: escaped text loses carriage returns and other
// control characters become "."; unescaped attribute values lose all of them
// to ".".
std::string AfterRoundTrip(const std::string& text, bool escaped) {
    std::string out;
    for (char c : text) {
        if (escaped && c == '\r') continue;
        bool kept = escaped && (c == '\n' || c == '\t');
        out += static_cast<unsigned char>(c) < 0x20 && !kept ? '.' : c;
    }
    return out;
}

Element RandomElement(std::mt19937& rng, int depth) {
    Element e;
    e.name = names[rng() % 3];
    for (int i = static_cast<int>(rng() % 3); i > 0; --i) e.attributes.emplace_back(keys[i - 1], RandomLatin1(rng));
    int children = depth < 3 ? static_cast<int>(rng() % 4) : 0;
    if (children == 0) e.text = RandomLatin1(rng);
    for (int i = 0; i < children; ++i) e.children.push_back(RandomElement(rng, depth + 1));
    return e;
}

void Write(XmlWriter& writer, const Element& e) {
    for (const auto& a : e.attributes) writer.PushAttribute(a.first.c_str(), a.second.c_str());
    if (e.children.empty()) {
        writer.WriteElement(e.name.c_str(), e.text.c_str(), true);
        return;
    }
    writer.OpenElement(e.name.c_str());
    for (const Element& c : e.children) Write(writer, c);
    writer.CloseElement(e.name.c_str());
}

// The events the reader must give for `e`. An element with children holds
// the layout around them as text: a line end after its start tag, each
// child on a line of its own one level deeper, the end tag at its own depth.
void Describe(const Element& e, int depth, std::vector<std::string>& events) {
    std::string start = "start " + e.name;
    for (const char* key : keys) {
        for (const auto& a : e.attributes) {
            if (a.first == key) start += " " + a.first + "=" + AfterRoundTrip(a.second, false);
        }
    }
    events.push_back(start);
    for (const Element& c : e.children) Describe(c, depth + 1, events);
    std::string text = AfterRoundTrip(e.text, true);
    if (!e.children.empty()) {
        text = "\n";
        for (size_t i = 0; i < e.children.size(); ++i) text += std::string(depth + 1, '\t') + "\n";
        text += std::string(depth, '\t');
    }
    events.push_back("end " + e.name + " " + text);
}

class Echo : public IXmlHandler {
public:
    Echo(std::string name, std::vector<std::string>* events) : name(std::move(name)), events(events) {}
    void OnStartElement(IXmlReader* r) override {
        std::string line = "start " + name, value;
        for (const char* key : keys) {
            if (r->GetAttribute(key, value)) line += std::string(" ") + key + "=" + value;
        }
        events->push_back(line);
    }
    void OnEndElement(IXmlReader* r) override {
        std::string text;
        r->GetUnescapedContent(text);
        events->push_back("end " + name + " " + text);
    }

private:
    std::string name;
    std::vector<std::string>* events;
};

}  // namespace

TEST(XmlWriter, RandomTreesReadBackAsWritten) {
    std::mt19937 rng(77);
    std::vector<std::string> events;
    std::vector<std::unique_ptr<Echo>> echoes;
    std::vector<std::unique_ptr<XmlBinding>> bindings;
    for (const char* name : names) {
        echoes.push_back(std::make_unique<Echo>(name, &events));
        bindings.push_back(std::make_unique<XmlBinding>(echoes.back().get(), name, qel_xmlStrictAttributes));
        for (const char* key : keys) bindings.back()->AddAttribute(key, false);
    }
    // Every element may hold any number of every element, itself included.
    for (auto& parent : bindings)
        for (auto& child : bindings) parent->AddChild(child.get(), qel_xmlMultiple);
    for (int round = 0; round < 300; ++round) {
        Element tree = RandomElement(rng, 0);
        std::string out;
        XmlWriterStringOutput output(&out);
        XmlWriter writer(&output);
        writer.Start(true);
        Write(writer, tree);
        std::vector<std::string> expected;
        Describe(tree, 0, expected);
        events.clear();
        RecordingErrors errors;
        XmlReader reader;
        ASSERT_TRUE(reader.ParseString(out.c_str(), bindings[tree.name[0] - 'a'].get(), &errors)) << out;
        ASSERT_EQ(events, expected) << out;
    }
}

// Numbers are written with 16 significant digits, so they read back within
// a rounding step; ints and booleans exactly.
TEST(XmlWriter, NumbersReadBack) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> mantissa(-1, 1);
    for (int round = 0; round < 200; ++round) {
        double d = mantissa(rng) * std::pow(10.0, static_cast<int>(rng() % 600) - 300);
        int i = static_cast<int>(rng());
        std::string out;
        XmlWriterStringOutput output(&out);
        XmlWriter writer(&output);
        writer.PushAttribute("d", d);
        writer.PushAttribute("i", i);
        writer.PushAttribute("b", round % 2 == 0);
        const double values[] = {d, -d, 0.0};
        writer.WriteDoubleArray("r", values, 3);

        xmltest::Tree tree;
        XmlBinding* r = tree.Add("r", 0, true);
        double dd = 0;
        int ii = 0;
        bool bb = false;
        std::vector<double> items;
        tree.HandlerOf(r).onStart = [&](IXmlReader* reader) {
            reader->GetAttribute("d", dd, 0.0);
            reader->GetAttribute("i", ii, 0);
            reader->GetAttribute("b", bb, false);
        };
        tree.HandlerOf(r).onItem = [&](IXmlReader* reader) { items.push_back(strtod(reader->GetContent(), nullptr)); };
        RecordingErrors errors;
        XmlReader reader;
        ASSERT_TRUE(reader.ParseString(out.c_str(), r, &errors)) << out;
        EXPECT_NEAR(dd, d, std::fabs(d) * 1e-15);
        EXPECT_EQ(ii, i);
        EXPECT_EQ(bb, round % 2 == 0);
        ASSERT_EQ(items.size(), 3u);
        EXPECT_NEAR(items[1], -d, std::fabs(d) * 1e-15);
        EXPECT_EQ(items[0], -items[1]);
        EXPECT_EQ(items[2], 0.0);
    }
}

TEST(XmlWriter, FileOutputMatchesStringOutput) {
    auto produce = [](IXmlWriterOutput* output) {
        XmlWriter writer(output);
        writer.Start(true);
        writer.PushAttribute("id", "n\xE9t");
        writer.OpenElement("orvil");
        writer.WriteElement("description", "line\nnext", true);
        writer.CloseElement("orvil");
    };
    std::string expected;
    XmlWriterStringOutput stringOutput(&expected);
    produce(&stringOutput);

    std::string path = testing::TempDir() + "xml_writer_test.xml";
    XmlWriterFileOutput fileOutput;
    EXPECT_FALSE(fileOutput.WriteString("x"));
    EXPECT_FALSE(fileOutput.Close());
    ASSERT_TRUE(fileOutput.Open(path.c_str()));
    produce(&fileOutput);
    EXPECT_TRUE(fileOutput.Close());
    FILE* f = fopen(path.c_str(), "rb");
    ASSERT_NE(f, nullptr);
    std::string got;
    for (int c = fgetc(f); c != EOF; c = fgetc(f)) got += static_cast<char>(c);
    fclose(f);
    remove(path.c_str());
    EXPECT_EQ(got, expected);
    EXPECT_FALSE(fileOutput.Open("/nonexistent/dir/out.xml"));
}
