// Nodes and their owned parts: type numbers and type changes (through the
// engine and the flat interface), the definition as a flat view, costs
// following the outcome edits of cost parents, copies, and user property
// lists under random edits. Outcome edits themselves are checked by the
// random network edits; storing the records, by the native file tests.
#include "core_helpers.h"
#include "orvil/nodecost.h"

namespace {

using coretest::Cells;
using coretest::Def;
using coretest::Ints;

TEST(NodeKinds, TypeNumbersNamesAndChanges) {
    for (int type : {0, 4, 8, 17, 18, 20, 50, 82, 146, 274, 520, 1028}) EXPECT_TRUE(QEL_node::IsNodeTypeValid(type));
    for (int type : {-1, 1, 2, 9, 16, 19, 21, 1029}) EXPECT_FALSE(QEL_node::IsNodeTypeValid(type));
    const std::pair<const char*, int> names[] = {{"CPT", 18}, {"TRUTHTABLE", 20}, {"NOISY_MAX", 146}, {"MAU", 520},
                                                 {"cpt", -2}, {"EQUATION", -2},   {nullptr, -2}};
    for (const auto& [name, type] : names) EXPECT_EQ(type, QEL_node::NodeTypeFromName(name)) << (name ? name : "null");
    QEL_network net;
    QEL_node* node = net.GetNode(net.AddNode(qel_cptType, "a"));
    EXPECT_EQ(Ints({-51, -51, 0}),
              Ints({node->ChangeType("NOPE"), node_ChangeType(node, 9), node->ChangeType("TRUTHTABLE")}));
    void* tt = node_Definition(node);
    EXPECT_EQ(20, nodeDefinition_GetType(tt));
    EXPECT_STREQ("TRUTHTABLE", node->Definition()->GetTypeName());
    // A truth table takes resulting outcomes by name.
    const char* states[1] = {"State0"};
    nodeDefinition_SetStringDefinition(tt, 1, states);
    EXPECT_EQ((std::vector<double>{1.0, 0.0}), Cells(*node->Definition()->GetMatrix()));
    EXPECT_EQ(nullptr, nodeDefinition_GetStringDefinition(tt, 0));
    // A kind this build cannot make leaves the node as it was.
    EXPECT_NE(0, node_ChangeType(node, 146));
    EXPECT_EQ(tt, node_Definition(node));
    EXPECT_EQ(-4, node->CreateDefinition(9));
    EXPECT_STREQ("Invalid definition type", QEL_errorH().GetLastErrorMessage());
    EXPECT_EQ(-2, node->ExtraDefinition()->SetDiagType(5));
}

TEST(NodeParts, FlatTableViewAndOutcomesNamedInBulk) {
    QEL_network net;
    const int parent = net.AddNode(18, "p"), child = net.AddNode(18, "c");
    void* def = node_Definition(net.GetNode(child));
    double column[3] = {0.2, 0.3, 0.5};
    const char* repeated[3] = {"u", "u", "1v"};
    ASSERT_EQ(0, nodeDefinition_SetNumberOfOutcomesStr(def, 3, repeated));
    const char** names = stringArray_Items(nodeDefinition_GetOutcomesNames(def));
    const std::vector<std::string> got(names, names + nodeDefinition_GetNumberOfOutcomes(def));
    EXPECT_EQ((std::vector<std::string>{"u", "u2", "x1v"}), got);
    nodeDefinition_SetDoubleDefinition(def, 3, column);
    ASSERT_EQ(0, net.AddArc(parent, child));
    static_cast<double*>(nodeDefinition_GetDoubleDefinition(def, 0))[4] = 0.7;  // a view, not a copy
    EXPECT_EQ((std::vector<double>{0.2, 0.3, 0.5, 0.2, 0.7, 0.5}), coretest::Cells(net, child));
    EXPECT_EQ(-19, nodeDefinition_SetNumberOfOutcomesStr(node_Definition(net.GetNode(parent)), 3, repeated));
    EXPECT_EQ(-2, nodeDefinition_SetNumberOfOutcomesStr(def, 0, repeated));
}

TEST(NodeParts, CostsFollowTheirCostParents) {
    QEL_network net;
    const int a = net.AddNode(qel_cptType, "a"), b = net.AddNode(qel_cptType, "b"), t = net.AddNode(qel_cptType, "t");
    QEL_nodeCost* cost = net.GetNode(t)->Cost();
    ASSERT_EQ(0, Def(net, a)->SetNumberOfOutcomes(3));
    EXPECT_EQ((std::vector<double>{0.0}), Cells(cost->GetCosts()));
    EXPECT_TRUE(cost->IsZero());
    ASSERT_EQ(0, net.AddArc(a, t, qel_costObserve));
    ASSERT_EQ(0, net.AddArc(b, t, qel_costObserve));
    QEL_doubleArray values(6), tooShort(2);
    for (int i = 0; i < 6; i++) values[i] = 10.0 * (i + 1);
    double c = 0.0;
    EXPECT_EQ(Ints({0, -2, 0, -2}),
              Ints({cost->SetCosts(values), cost->SetCosts(tooShort), cost->GetCost(coretest::ListOf({2, 1}), c),
                    cost->GetCost(coretest::ListOf({3, 0}), c)}));
    EXPECT_EQ(60.0, c);
    // a: outcomes [x0, x1, x2] x b: [y0, y1]; a gains an outcome at 1.
    ASSERT_EQ(0, Def(net, a)->InsertOutcome(1, "new"));
    EXPECT_EQ((std::vector<double>{10, 20, 0, 0, 30, 40, 50, 60}), Cells(cost->GetCosts()));
    QEL_intArray order = coretest::ListOf({1, 0});
    ASSERT_EQ(0, Def(net, b)->ChangeOrderOfOutcomes(order));
    EXPECT_EQ((std::vector<double>{20, 10, 0, 0, 40, 30, 60, 50}), Cells(cost->GetCosts()));
    ASSERT_EQ(0, Def(net, a)->RemoveOutcome(0));
    EXPECT_EQ((std::vector<double>{0, 0, 40, 30, 60, 50}), Cells(cost->GetCosts()));
    EXPECT_EQ(2, Def(net, t)->GetSize());  // cost arcs leave the probability table alone
    ASSERT_EQ(0, net.RemoveArc(a, t, qel_costObserve));
    EXPECT_EQ((std::vector<double>{0, 0}), Cells(cost->GetCosts()));
    // A repeated cost arc gets a dimension of its own, and both follow.
    ASSERT_EQ(0, net.AddArc(b, t, qel_costObserve));
    ASSERT_EQ(0, Def(net, b)->AddOutcome("more"));
    EXPECT_EQ(Ints({3, 3, 1}), coretest::Dims(cost->GetCosts()));
}

TEST(NodeParts, CopiesCarryEveryPart) {
    QEL_network net;
    const int p = net.AddNode(qel_cptType, "p"), h = net.AddNode(qel_cptType, "a");
    ASSERT_EQ(0, net.AddArc(p, h));
    (*Def(net, h)->GetMatrix())[2] = 0.6;
    net.GetNode(h)->ExtraDefinition()->SetLabel(1, "high");
    net.GetNode(h)->Info()->UserProperties().AddProperty("k", "v");
    // Tables and ids of copies are checked through network copies; here
    // the parts those do not show. A lean copy has no records or labels.
    QEL_node copy(*net.GetNode(h)), lean(*net.GetNode(h), true), target(*net.GetNode(p));
    EXPECT_STREQ("high", copy.ExtraDefinition()->GetLabel(1));
    EXPECT_EQ(0, copy.Info()->UserProperties().FindProperty("k"));
    EXPECT_TRUE(copy.Value() && copy.Cost() && lean.IsReady() && !lean.Info());
    EXPECT_EQ(0.6, (*lean.Definition()->GetMatrix())[2]);
    EXPECT_EQ(nullptr, lean.ExtraDefinition()->GetLabel(1));
    EXPECT_EQ(2, lean.ExtraDefinition()->GetNumberOfStates());
    // Assignment goes part by part into an existing node.
    ASSERT_EQ(0, target.operator=(*net.GetNode(h)));
    EXPECT_EQ(4, target.Definition()->GetSize());
    QEL_node empty(qel_cptType, 0, nullptr), fromEmpty(empty);
    EXPECT_EQ(nullptr, fromEmpty.Definition());
    EXPECT_EQ(-567, target.operator=(empty));
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
        if (!QEL_header::IsThisIdValid(name.c_str()) || pos < 0 || pos > static_cast<int>(entries.size())) return -2;
        entries.insert(entries.begin() + pos, {name, value});
        return 0;
    }
    std::string Listed() const {
        std::string out;
        for (const auto& [name, value] : entries) out += name + "=" + value + " ";
        return out;
    }
};

std::string Listed(const QEL_userProperties& properties) {
    PropertyModel m;
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        const char* value = properties.GetPropertyValue(i);
        m.entries.emplace_back(properties.GetPropertyName(i), value ? value : "(null)");
    }
    return m.Listed();
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
            const int n = properties.GetNumberOfProperties(), index = static_cast<int>(random() % (n + 2)) - 1;
            const bool inList = index >= 0 && index < n;
            switch (random() % 5) {
            case 0:
                ASSERT_EQ(model.Insert(n, name, value), properties.AddProperty(name.c_str(), text));
                break;
            case 1:
                ASSERT_EQ(model.Insert(index, name, value), properties.InsertProperty(index, name.c_str(), text));
                break;
            case 2:
                ASSERT_EQ(inList ? 0 : QEL_OUT_OF_RANGE, properties.DeleteProperty(index));
                if (inList) model.entries.erase(model.entries.begin() + index);
                break;
            // The changes check their index against the store, which may be
            // longer than the list: only indices up to the last entry are
            // asked about.
            case 3: {
                if (index == n) break;
                const bool ok = index >= 0 && QEL_header::IsThisIdValid(name.c_str()) &&
                                (model.Find(name) < 0 || model.Find(name) == index);
                ASSERT_EQ(ok ? 0 : QEL_OUT_OF_RANGE, properties.ChangePropertyName(index, name.c_str()));
                if (ok) model.entries[index].first = name;
                break;
            }
            default:
                if (index == n) break;
                ASSERT_EQ(index >= 0 ? 0 : QEL_OUT_OF_RANGE, properties.ChangePropertyValue(index, text));
                if (index >= 0) model.entries[index].second = value;
            }
            ASSERT_EQ(model.Listed(), Listed(properties)) << "round " << round << " step " << step;
            ASSERT_EQ(model.Find(name), properties.FindProperty(name.c_str()));
        }
        QEL_userProperties copy(properties);
        properties.DeleteAllProperties();
        EXPECT_EQ(model.Listed(), Listed(copy));
        EXPECT_EQ(0, copy.CheckConsistency());
    }
}

}  // namespace
