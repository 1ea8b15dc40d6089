// The descriptive records: the identifier rule and its enforcement through
// the network, property lists under random edits against an ordered list,
// documents, screen records and their defaults, and copies.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

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

TEST(Records, IdentifierRule) {
    const std::pair<const char*, int> cases[] = {
        {"@ any text", 1}, {"@", 1}, {"a_1", 1}, {"Z", 1},   {"", 0},     {nullptr, 0},
        {"a-b", 0},        {"_a", 0}, {"1a", 0},  {"a b", 0}, {"a\xe9", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(c.second, QEL_header::IsThisIdValid(c.first)) << (c.first ? c.first : "null");
    char text[] = "1a b";
    EXPECT_EQ(0, QEL_header::MakeValidId(text));
    EXPECT_STREQ("xa_b", text);
}

TEST(Records, HeaderTextsAndCopies) {
    QEL_header header;
    int errors = QEL_errorH().GetNumberOfErrors();
    EXPECT_EQ(QEL_ILLEGAL_IDENTIFIER, header.SetId("no good"));
    EXPECT_EQ(errors + 1, QEL_errorH().GetNumberOfErrors());
    EXPECT_STREQ("Illegal identifier", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(nullptr, header.GetId());
    EXPECT_EQ(0, header.SetId("Good"));
    EXPECT_EQ(0, header.SetName("A name, any text"));
    EXPECT_EQ(0, header.SetComment("c"));
    // A text set from itself survives the release of the old copy.
    EXPECT_EQ(0, header.SetName(header.GetName()));
    EXPECT_STREQ("A name, any text", header.GetName());
    EXPECT_EQ(0, header.SetName(nullptr));

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

// The property list against an ordered list of (name, value) pairs that
// follows the documented moves: a name already present is deleted first and
// the target position drops by one, wherever it stood; a target that then
// falls outside the list loses the entry.
struct PropertyModel {
    std::vector<std::pair<std::string, std::string>> entries;

    int Find(const std::string& name) const {
        for (size_t i = 0; i < entries.size(); i++) {
            if (entries[i].first == name) return static_cast<int>(i);
        }
        return QEL_OUT_OF_RANGE;
    }
    int Insert(int pos, const std::string& name, const std::string& value) {
        const int existing = Find(name);
        if (existing == pos) {
            entries[pos].second = value;
            return 0;
        }
        if (existing >= 0) {
            entries.erase(entries.begin() + existing);
            pos--;
        }
        if (QEL_header::IsThisIdValid(name.c_str()) != 1 || pos < 0 || pos > static_cast<int>(entries.size())) {
            return QEL_OUT_OF_RANGE;
        }
        entries.insert(entries.begin() + pos, {name, value});
        return 0;
    }
};

std::string Listed(const QEL_userProperties& properties) {
    std::string out;
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        const char* value = properties.GetPropertyValue(i);
        out += std::string(properties.GetPropertyName(i)) + "=" + (value ? value : "(null)") + " ";
    }
    return out;
}

std::string Listed(const PropertyModel& model) {
    std::string out;
    for (const auto& entry : model.entries) out += entry.first + "=" + entry.second + " ";
    return out;
}

TEST(Records, PropertiesUnderRandomEditsMatchAnOrderedList) {
    std::mt19937 random(7);
    const char* pool[] = {"alpha", "beta", "gamma", "delta", "eps", "1bad", "", "x y"};
    for (int round = 0; round < 40; round++) {
        QEL_userProperties properties;
        PropertyModel model;
        for (int step = 0; step < 60; step++) {
            const std::string name = pool[random() % 8];
            const std::string value = random() % 7 == 0 ? "(null)" : std::to_string(random() % 100);
            const char* text = value == "(null)" ? nullptr : value.c_str();
            const int n = properties.GetNumberOfProperties();
            const int index = static_cast<int>(random() % (n + 2)) - 1;
            switch (random() % 5) {
            case 0:
                ASSERT_EQ(model.Insert(n, name, value), properties.AddProperty(name.c_str(), text));
                break;
            case 1:
                ASSERT_EQ(model.Insert(index, name, value), properties.InsertProperty(index, name.c_str(), text));
                break;
            case 2: {
                const bool ok = index >= 0 && index < n;
                ASSERT_EQ(ok ? 0 : QEL_OUT_OF_RANGE, properties.DeleteProperty(index));
                if (ok) model.entries.erase(model.entries.begin() + index);
                break;
            }
            // The changes check their index against the store, which may be
            // longer than the list: only indices up to the last entry are
            // asked about.
            case 3: {
                if (index == n) break;
                const bool ok = index >= 0 && QEL_header::IsThisIdValid(name.c_str()) == 1 &&
                                (model.Find(name) < 0 || model.Find(name) == index);
                ASSERT_EQ(ok ? 0 : QEL_OUT_OF_RANGE, properties.ChangePropertyName(index, name.c_str()));
                if (ok) model.entries[index].first = name;
                break;
            }
            default: {
                if (index == n) break;
                const bool ok = index >= 0;
                ASSERT_EQ(ok ? 0 : QEL_OUT_OF_RANGE, properties.ChangePropertyValue(index, text));
                if (ok) model.entries[index].second = value;
            }
            }
            ASSERT_EQ(Listed(model), Listed(properties)) << "round " << round << " step " << step;
            ASSERT_EQ(model.Find(name), properties.FindProperty(name.c_str()));
        }
        QEL_userProperties copy(properties);
        properties.DeleteAllProperties();
        EXPECT_EQ(Listed(model), Listed(copy));
        EXPECT_EQ(0, copy.CheckConsistency());
    }
    QEL_userProperties properties;
    EXPECT_EQ(QEL_OUT_OF_RANGE, properties.FindProperty(nullptr));
}

TEST(Records, Documents) {
    QEL_documentation docs;
    ASSERT_EQ(0, docs.AddDocument("Manual", "a.pdf"));
    ASSERT_EQ(0, docs.AddDocument("Manual", "any text: b.pdf"));
    ASSERT_EQ(0, docs.InsertDocument(0, "Intro", nullptr));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.InsertDocument(5, "Late", "x"));
    // Titles may repeat; the first one is found.
    EXPECT_EQ(1, docs.FindDocument("Manual"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.FindDocument("Late"));
    EXPECT_EQ(0, docs.ChangeDocumentPath(0, "i.txt"));
    EXPECT_EQ(0, docs.ChangeDocumentTitle(2, "Appendix"));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.ChangeDocumentTitle(3, "x"));
    EXPECT_EQ(0, docs.DeleteDocument(1));
    EXPECT_EQ(QEL_OUT_OF_RANGE, docs.DeleteDocument(2));
    QEL_documentation copy(docs);
    EXPECT_EQ(0, docs.DeleteAllDocuments());
    EXPECT_EQ(0, docs.GetNumberOfDocuments());
    ASSERT_EQ(2, copy.GetNumberOfDocuments());
    EXPECT_STREQ("Intro", copy.GetDocumentTitle(0));
    EXPECT_STREQ("i.txt", copy.GetDocumentPath(0));
    EXPECT_STREQ("Appendix", copy.GetDocumentTitle(1));
    EXPECT_STREQ("any text: b.pdf", copy.GetDocumentPath(1));
}

TEST(Records, ScreenDefaultsFillOnlyWhatIsUnset) {
    QEL_screenInfo screen, defaults;
    defaults.color = 7;
    defaults.font = 9;
    defaults.position.Set(1, 2, 80, 40);
    screen.font = 3;
    screen.position.Set(100, 200, 0, 30);
    EXPECT_EQ(0, screen.FillDefaultValues(defaults));
    EXPECT_EQ(7, screen.color);
    EXPECT_EQ(3, screen.font);
    EXPECT_EQ(static_cast<int>(QEL_screenInfo::notSet), screen.selColor);
    // Of the position only an empty width or height is filled.
    EXPECT_EQ(100, screen.position.center_X);
    EXPECT_EQ(200, screen.position.center_Y);
    EXPECT_EQ(80, screen.position.width);
    EXPECT_EQ(30, screen.position.height);

    QEL_screenInfo copy;
    screen.SetHideInArcs();
    EXPECT_EQ(0, copy = screen);
    EXPECT_EQ(7, copy.color);
    EXPECT_EQ(80, copy.position.width);
    EXPECT_FALSE(copy.ShowInArcs());
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
}

}  // namespace
