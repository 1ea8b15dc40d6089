// The XML writer's exact layout and escaping. That the reader gives back
// what it wrote is left to the native round trips of awkward text.
#include <gtest/gtest.h>

#include <string>

#include "orvil/xmlwriter.h"

TEST(XmlWriter, DocumentLayout) {
    std::string out = "kept ";
    XmlWriterStringOutput output(&out);
    XmlWriter writer(&output);
    writer.Start(true);
    writer.WriteComment("made by a test");
    writer.PushAttribute("version", "1.0");
    writer.PushAttribute("n", -42);
    writer.PushAttribute("on", true);
    writer.PushAttribute("off", false);
    // A third shows how many digits a number keeps.
    writer.PushAttribute("x", 1.0 / 3);
    writer.OpenElement("root");
    writer.OpenElement("nodes");
    writer.CloseElement("nodes");
    {
        IXmlWriter::ScopedElement scoped(&writer, "scoped");
        writer.PushAttribute("id", "a<b\n");
        writer.WriteElement("text", "one\ttwo\r\\\x01\x85", true);
        writer.WriteElement("empty", "", false);
        writer.WriteElement("none", nullptr, false);
        const double values[] = {0.5, 1e-300, -2, 3};
        writer.WriteDoubleArray("cost", values, 4, "n/a", 3);
        writer.WriteDoubleArray("utilities", values, 0);
        const char* words[] = {"s0", "s1", nullptr};
        writer.WriteStringArray("states", words, 3);
    }
    writer.CloseElement("root");
    writer.StartWithXsl("style.xsl");
    writer.StartWithDTD("b", "b.dtd");
    EXPECT_EQ(out,
              "kept <?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
              "<!-- made by a test -->\n"
              "<root version=\"1.0\" n=\"-42\" on=\"true\" off=\"false\" x=\"0.3333333333333333\">\n"
              "\t<nodes>\n"
              "\t</nodes>\n"
              "\t<scoped>\n"
              "\t\t<text id=\"a&lt;b.\">one\\ttwo\\\\.\x85</text>\n"
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
