// The descriptive records: the identifier rule and its enforcement through
// the network, property lists (moves on re-insertion, parallel lists under
// random edits), documents, screen records and their defaults.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "orvil/creation.h"
#include "orvil/documentation.h"
#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodeinfo.h"
#include "orvil/screeninfo.h"
#include "orvil/userproperties.h"

namespace {

const int cptType = 18;

std::string Names(const QEL_userProperties& properties) {
    std::string out;
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        out += properties.GetPropertyName(i);
        out += "=";
        out += properties.GetPropertyValue(i) != nullptr ? properties.GetPropertyValue(i) : "(null)";
        out += " ";
    }
    return out;
}

TEST(Records, IdentifierRule) {
    EXPECT_EQ(1, QEL_header::IsThisIdValid("@ any text"));
    EXPECT_EQ(1, QEL_header::IsThisIdValid("@"));
    EXPECT_EQ(1, QEL_header::IsThisIdValid("a_1"));
    EXPECT_EQ(1, QEL_header::IsThisIdValid("Z"));
    EXPECT_EQ(0, QEL_header::IsThisIdValid(""));
    EXPECT_EQ(0, QEL_header::IsThisIdValid(nullptr));
    EXPECT_EQ(0, QEL_header::IsThisIdValid("a-b"));
    EXPECT_EQ(0, QEL_header::IsThisIdValid("_a"));
    EXPECT_EQ(0, QEL_header::IsThisIdValid("1a"));
    EXPECT_EQ(0, QEL_header::IsThisIdValid("a b"));
    EXPECT_EQ(0, QEL_header::IsThisIdValid("a\xe9"));

    char text[] = "1a b";
    EXPECT_EQ(0, QEL_header::MakeValidId(text));
    EXPECT_STREQ("xa_b", text);
    EXPECT_EQ(1, QEL_header::IsThisIdValid(text));
}

TEST(Records, HeaderTextsAndCopies) {
    QEL_header header;
    EXPECT_EQ(nullptr, header.GetId());
    int errors = QEL_errorH().GetNumberOfErrors();
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, header.SetId("no good"));
    EXPECT_EQ(errors + 1, QEL_errorH().GetNumberOfErrors());
    EXPECT_STREQ("Illegal identifier", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(nullptr, header.GetId());
    EXPECT_EQ(0, header.SetId("Good"));
    EXPECT_EQ(0, header.SetName("A name, any text"));
    EXPECT_EQ(0, header.SetComment("c"));
    EXPECT_EQ(0, header.SetName(header.GetName()));
    EXPECT_STREQ("A name, any text", header.GetName());
    EXPECT_EQ(0, header.SetName(nullptr));
    EXPECT_EQ(nullptr, header.GetName());
    EXPECT_EQ(0, header.CheckConsistency(1));
    EXPECT_TRUE(header.IsConsistent());

    QEL_header copy(header);
    EXPECT_STREQ("Good", copy.GetId());
    EXPECT_STREQ("c", copy.GetComment());
    EXPECT_NE(header.GetId(), copy.GetId());
    QEL_header other;
    other.SetName("old");
    EXPECT_EQ(0, other = header);
    EXPECT_STREQ("Good", other.GetId());
    EXPECT_EQ(nullptr, other.GetName());
}

TEST(Records, NodeIdsStayUniqueThroughTheNetwork) {
    QEL_network net;
    int a = net.AddNode(cptType, "A");
    int b = net.AddNode(cptType, "B");
    QEL_node* nodeB = net.GetNode(b);
    int errors = QEL_errorH().GetNumberOfErrors();
    // Refused by the network: no log entry, the old id stays.
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, nodeB->SetId("A"));
    EXPECT_EQ(errors, QEL_errorH().GetNumberOfErrors());
    EXPECT_STREQ("B", nodeB->GetId());
    EXPECT_EQ(0, nodeB->SetId("B"));
    EXPECT_EQ(0, nodeB->SetId("C"));
    EXPECT_EQ(b, net.FindNode("C"));
    EXPECT_EQ(-2, net.FindNode("B"));
    EXPECT_EQ(0, net.GetNode(a)->SetId("B"));
    // "@" ids may be shared.
    EXPECT_EQ(0, net.GetNode(a)->SetId("@x"));
    EXPECT_EQ(0, nodeB->SetId("@x"));

    // A header assigned into a node's header passes the same rule; the
    // refusal is silent and the id stays.
    QEL_header loose;
    loose.SetId("D");
    int d = net.AddNode(cptType, "E");
    QEL_header& nodeHeader = net.GetNode(d)->Info()->Header();
    EXPECT_EQ(0, nodeHeader = loose);
    EXPECT_STREQ("D", nodeHeader.GetId());
    net.AddNode(cptType, "F");
    loose.SetId("F");
    EXPECT_EQ(0, nodeHeader = loose);
    EXPECT_STREQ("D", nodeHeader.GetId());
    // The network's own header follows no uniqueness rule.
    EXPECT_EQ(0, net.GetHeader().SetId("F"));
}

TEST(Records, AddingAnExistingPropertyMovesIt) {
    QEL_userProperties properties;
    ASSERT_EQ(0, properties.AddProperty("a", "1"));
    ASSERT_EQ(0, properties.AddProperty("b", "2"));
    ASSERT_EQ(0, properties.AddProperty("a", "3"));
    EXPECT_EQ("b=2 a=3 ", Names(properties));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.AddProperty("1a", "x"));
    EXPECT_EQ(2, properties.GetNumberOfProperties());

    properties.DeleteAllProperties();
    for (const char* name : {"a", "b", "c", "d"}) properties.AddProperty(name, name);
    // d found after the target: deleted first, the target drops by one.
    ASSERT_EQ(0, properties.InsertProperty(1, "d", "x"));
    EXPECT_EQ("d=x a=a b=b c=c ", Names(properties));
    ASSERT_EQ(0, properties.InsertProperty(3, "d", "y"));
    EXPECT_EQ("a=a b=b d=y c=c ", Names(properties));
    // Already at the target: only the value changes.
    ASSERT_EQ(0, properties.InsertProperty(2, "d", nullptr));
    EXPECT_EQ("a=a b=b d=(null) c=c ", Names(properties));
    // Moved to the front, the target falls off the list: the entry is gone.
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.InsertProperty(0, "c", "z"));
    EXPECT_EQ("a=a b=b d=(null) ", Names(properties));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.InsertProperty(9, "e", "z"));

    EXPECT_EQ(1, properties.FindProperty("b"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.FindProperty("zz"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.FindProperty(nullptr));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.ChangePropertyName(0, "b"));
    EXPECT_EQ(0, properties.ChangePropertyName(0, "first"));
    EXPECT_EQ(0, properties.ChangePropertyValue(0, "v"));
    EXPECT_EQ("first=v b=b d=(null) ", Names(properties));
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.DeleteProperty(3));
    EXPECT_EQ(0, properties.DeleteProperty(0));
    EXPECT_EQ("b=b d=(null) ", Names(properties));

    QEL_userProperties copy(properties);
    properties.DeleteAllProperties();
    EXPECT_EQ("b=b d=(null) ", Names(copy));
    EXPECT_EQ(0, copy.CheckConsistency());
}

TEST(Records, PropertiesUnderRandomEditsMatchAMap) {
    std::mt19937 random(7);
    const char* pool[] = {"alpha", "beta", "gamma", "delta", "eps", "1bad", "", "x y"};
    for (int round = 0; round < 20; round++) {
        QEL_userProperties properties;
        std::map<std::string, std::string> expected;
        for (int step = 0; step < 60; step++) {
            std::string name = pool[random() % 8];
            std::string value = std::to_string(random() % 100);
            bool valid = QEL_header::IsThisIdValid(name.c_str()) == 1;
            int action = static_cast<int>(random() % 3);
            if (action == 0) {
                ASSERT_EQ(valid ? 0 : QEL_OUT_OF_RANGE, properties.AddProperty(name.c_str(), value.c_str()));
                if (!valid) continue;
                expected[name] = value;
                // An added property is always the last one.
                ASSERT_EQ(properties.GetNumberOfProperties() - 1, properties.FindProperty(name.c_str()));
            } else if (action == 1 && valid) {
                int n = properties.GetNumberOfProperties();
                int pos = static_cast<int>(random() % (n + 1));
                bool present = expected.count(name) != 0;
                int rc = properties.InsertProperty(pos, name.c_str(), value.c_str());
                if (rc == 0) {
                    expected[name] = value;
                } else {
                    // Only a move to the front can miss the list, and it
                    // drops the old entry.
                    ASSERT_TRUE(present && pos == 0) << name;
                    expected.erase(name);
                }
            } else if (properties.GetNumberOfProperties() > 0) {
                int index = static_cast<int>(random() % properties.GetNumberOfProperties());
                expected.erase(properties.GetPropertyName(index));
                ASSERT_EQ(0, properties.DeleteProperty(index));
            }
            ASSERT_EQ(static_cast<int>(expected.size()), properties.GetNumberOfProperties());
            for (const auto& entry : expected) {
                int index = properties.FindProperty(entry.first.c_str());
                ASSERT_GE(index, 0);
                ASSERT_STREQ(entry.second.c_str(), properties.GetPropertyValue(index));
            }
        }
    }
}

TEST(Records, Documents) {
    QEL_documentation docs;
    ASSERT_EQ(0, docs.AddDocument("Manual", "a.pdf"));
    ASSERT_EQ(0, docs.AddDocument("Manual", "any text: b.pdf"));
    ASSERT_EQ(0, docs.InsertDocument(0, "Intro", nullptr));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.InsertDocument(5, "Late", "x"));
    EXPECT_EQ(3, docs.GetNumberOfDocuments());
    EXPECT_EQ(1, docs.FindDocument("Manual"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.FindDocument("Late"));
    EXPECT_STREQ("any text: b.pdf", docs.GetDocumentPath(2));
    EXPECT_EQ(nullptr, docs.GetDocumentPath(0));
    EXPECT_EQ(0, docs.ChangeDocumentPath(0, "i.txt"));
    EXPECT_EQ(0, docs.ChangeDocumentTitle(2, "Appendix"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.ChangeDocumentTitle(3, "x"));
    EXPECT_EQ(0, docs.DeleteDocument(1));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.DeleteDocument(2));
    ASSERT_EQ(2, docs.GetNumberOfDocuments());
    EXPECT_STREQ("Intro", docs.GetDocumentTitle(0));
    EXPECT_STREQ("i.txt", docs.GetDocumentPath(0));
    EXPECT_STREQ("Appendix", docs.GetDocumentTitle(1));
    EXPECT_STREQ("any text: b.pdf", docs.GetDocumentPath(1));
    QEL_documentation copy(docs);
    EXPECT_EQ(0, docs.DeleteAllDocuments());
    EXPECT_EQ(0, docs.GetNumberOfDocuments());
    EXPECT_EQ(2, copy.GetNumberOfDocuments());
}

TEST(Records, ScreenRecordsAndDefaults) {
    QEL_screenInfo screen;
    EXPECT_EQ(-2147483647, screen.color);
    EXPECT_EQ(-2147483647, screen.borderColor);
    EXPECT_EQ(3, screen.flags);
    EXPECT_TRUE(screen.IsReady());
    EXPECT_TRUE(screen.ShowInArcs() && screen.ShowOutArcs());
    screen.SetHideInArcs();
    EXPECT_FALSE(screen.ShowInArcs());
    EXPECT_TRUE(screen.ShowOutArcs());
    screen.SetHideOutArcs();
    screen.SetShowInArcs();
    EXPECT_TRUE(screen.ShowInArcs());
    EXPECT_FALSE(screen.ShowOutArcs());

    QEL_screenInfo defaults;
    defaults.color = 7;
    defaults.font = 9;
    defaults.position.Set(1, 2, 80, 40);
    screen.font = 3;
    screen.position.Set(100, 200, 0, 30);
    EXPECT_EQ(0, screen.FillDefaultValues(defaults));
    EXPECT_EQ(7, screen.color);
    EXPECT_EQ(3, screen.font);
    EXPECT_EQ(-2147483647, screen.selColor);
    EXPECT_EQ(100, screen.position.center_X);
    EXPECT_EQ(200, screen.position.center_Y);
    EXPECT_EQ(80, screen.position.width);
    EXPECT_EQ(30, screen.position.height);

    QEL_screenInfo copy;
    EXPECT_EQ(0, copy = screen);
    EXPECT_EQ(7, copy.color);
    EXPECT_EQ(screen.flags, copy.flags);
    EXPECT_EQ(80, copy.position.width);
}

TEST(Records, RectangleContainsItsEdges) {
    QEL_rectangle box;
    box.Set(10, -10, 5, 4);
    // Left edge 10 - 5/2 = 8, right 13; top -10 - 2 = -12, bottom -8.
    EXPECT_TRUE(box.IsInside(8, -12));
    EXPECT_TRUE(box.IsInside(13, -8));
    EXPECT_FALSE(box.IsInside(7, -10));
    EXPECT_FALSE(box.IsInside(14, -10));
    EXPECT_FALSE(box.IsInside(10, -13));
    EXPECT_FALSE(box.IsInside(10, -7));
    box.Set(0, 0, 0, 0);
    EXPECT_TRUE(box.IsInside(0, 0));
    EXPECT_FALSE(box.IsInside(1, 0));
}

TEST(Records, CreationAndNodeInfoCopies) {
    QEL_creation creation;
    EXPECT_EQ(nullptr, creation.GetCreator());
    creation.SetCreator("me");
    creation.SetCreated("today");
    QEL_creation copy(creation);
    creation.SetCreator(nullptr);
    EXPECT_EQ(nullptr, creation.GetCreator());
    EXPECT_STREQ("me", copy.GetCreator());
    EXPECT_STREQ("today", copy.GetCreated());
    EXPECT_EQ(nullptr, copy.GetModified());

    QEL_nodeInfo info;
    info.Header().SetId("N");
    info.Screen().color = 5;
    info.UserProperties().AddProperty("p", "v");
    info.Documentation().AddDocument("t", "p");
    QEL_nodeInfo twin(info);
    EXPECT_STREQ("N", twin.Header().GetId());
    EXPECT_EQ(nullptr, twin.Header().GetNode());
    EXPECT_EQ(5, twin.Screen().color);
    EXPECT_EQ(0, twin.UserProperties().FindProperty("p"));
    EXPECT_EQ(1, twin.Documentation().GetNumberOfDocuments());
    EXPECT_EQ(0, twin.CheckReadiness(1));
    EXPECT_EQ(0, twin.CheckConsistency(1));
}

}  // namespace
