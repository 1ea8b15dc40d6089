// The definition calls of the flat interface, used the way a foreign
// caller uses them: handles, plain arrays and counts only. What the tables
// do under each edit is checked against a reference model in
// structure_edit_test.cpp; here each call is shown to reach the right
// operation with its arguments in the right places, and to pass its status
// back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvil/biorvil.h"

namespace {

std::vector<double> Table(void* def) {
    void* m = nodeDefinition_GetMatrix(def);
    const double* items = dMatrix_GetItemsDouble(m);
    return std::vector<double>(items, items + dMatrix_GetSize(m));
}

std::vector<std::string> Names(void* def) {
    const char** names = stringArray_Items(nodeDefinition_GetOutcomesNames(def));
    return std::vector<std::string>(names, names + nodeDefinition_GetNumberOfOutcomes(def));
}

void* DefOf(void* net, int h) { return node_Definition(GetNode(net, h)); }

struct FlatNet : ::testing::Test {
    void* net = new_network();
    ~FlatNet() override { delete_network(net); }
};

TEST_F(FlatNet, TableCallsReachTheTable) {
    const int parent = AddNode(net, 18, "p");
    const int child = AddNode(net, 18, "c");
    void* cdef = DefOf(net, child);
    EXPECT_EQ(18, nodeDefinition_GetType(cdef));
    ASSERT_EQ(0, nodeDefinition_SetNumberOfOutcomes(cdef, 3));
    double column[3] = {0.2, 0.3, 0.5};
    nodeDefinition_SetDoubleDefinition(cdef, 3, column);
    ASSERT_EQ(0, AddArc(net, parent, child));
    EXPECT_EQ((std::vector<double>{0.2, 0.3, 0.5, 0.2, 0.3, 0.5}), Table(cdef));

    // The double definition is a view of the table.
    double* items = static_cast<double*>(nodeDefinition_GetDoubleDefinition(cdef, 0));
    items[3] = 0.6;
    items[4] = 0.4;
    items[5] = 0.0;
    ASSERT_EQ(0, nodeDefinition_AddOutcome(DefOf(net, parent), "third"));
    ASSERT_EQ(0, nodeDefinition_RemoveOutcome(DefOf(net, parent), 0));
    EXPECT_EQ((std::vector<std::string>{"State1", "third"}), Names(DefOf(net, parent)));
    const std::vector<double> shifted = Table(cdef);
    EXPECT_EQ((std::vector<double>{0.6, 0.4, 0.0}), std::vector<double>(shifted.begin(), shifted.begin() + 3));

    // The count cannot change while a child depends on it; the child's can.
    const char* names[2] = {"x", "y"};
    EXPECT_EQ(-19, nodeDefinition_SetNumberOfOutcomes(DefOf(net, parent), 5));
    EXPECT_EQ(-19, nodeDefinition_SetNumberOfOutcomesStr(DefOf(net, parent), 2, names));
    EXPECT_EQ(0, nodeDefinition_SetNumberOfOutcomesStr(cdef, 2, names));
    EXPECT_EQ((std::vector<std::string>{"x", "y"}), Names(cdef));
    ASSERT_EQ(0, RemoveArc(net, parent, child));
    EXPECT_EQ(2, dMatrix_GetSize(nodeDefinition_GetMatrix(cdef)));
}

TEST_F(FlatNet, OutcomeNamesAreRepairedAndOrdersChecked) {
    void* def = DefOf(net, AddNode(net, 18, "a"));
    // A bad or taken name is replaced, not refused.
    EXPECT_EQ(0, nodeDefinition_AddOutcome(def, "1bad"));
    EXPECT_EQ(0, nodeDefinition_AddOutcome(def, "State0"));
    EXPECT_EQ((std::vector<std::string>{"State0", "State1", "State2", "State3"}), Names(def));
    EXPECT_EQ((std::vector<double>{0.5, 0.5, 0.0, 0.0}), Table(def));

    const char* renamed[4] = {"a b", "ok", "ok", "2x"};
    EXPECT_EQ(-2, nodeDefinition_RenameOutcomes(def, 3, renamed));
    EXPECT_EQ(0, nodeDefinition_RenameOutcomes(def, 4, renamed));
    const std::vector<std::string> names = Names(def);
    EXPECT_EQ("a_b", names[0]);
    EXPECT_EQ("ok", names[1]);
    EXPECT_NE("ok", names[2]);

    const char* repeated[3] = {"u", "u", "v"};
    ASSERT_EQ(0, nodeDefinition_SetNumberOfOutcomesStr(def, 3, repeated));
    EXPECT_EQ("u", Names(def)[0]);
    EXPECT_NE("u", Names(def)[1]);

    // Repeated new ids are refused before anything changes.
    const char* twice[3] = {"x", "x", "y"};
    int order[3] = {0, 1, -1};
    EXPECT_EQ(-2, nodeDefinition_ChangeOrderOfOutcomesWithAddAndRemove(def, 3, twice, 3, order));
    EXPECT_EQ("v", Names(def)[2]);
    const char* fresh[3] = {"r", "g", "b"};
    int kept[3] = {2, -1, 0};
    ASSERT_EQ(0, nodeDefinition_ChangeOrderOfOutcomesWithAddAndRemove(def, 3, fresh, 3, kept));
    EXPECT_EQ((std::vector<std::string>{"r", "g", "b"}), Names(def));
    int reorder[3] = {2, 0, 1};
    ASSERT_EQ(0, nodeDefinition_ChangeOrderOfOutcomes(def, 3, reorder));
    EXPECT_EQ((std::vector<std::string>{"b", "r", "g"}), Names(def));
    int broken[3] = {2, 2, 1};
    EXPECT_EQ(-2, nodeDefinition_ChangeOrderOfOutcomes(def, 3, broken));
}

TEST_F(FlatNet, ChangeTypeConvertsBetweenTablesAndKeepsTheNodeOnFailure) {
    const int h = AddNode(net, 18, "a");
    void* def = DefOf(net, h);
    double column[2] = {0.3, 0.7};
    nodeDefinition_SetDoubleDefinition(def, 2, column);
    EXPECT_EQ(0, node_ChangeType(GetNode(net, h), 18));
    EXPECT_EQ(def, DefOf(net, h));

    ASSERT_EQ(0, node_ChangeType(GetNode(net, h), 20));
    void* tt = DefOf(net, h);
    EXPECT_EQ(20, nodeDefinition_GetType(tt));
    EXPECT_EQ((std::vector<double>{0.0, 1.0}), Table(tt));
    const char* states[1] = {"State0"};
    nodeDefinition_SetStringDefinition(tt, 1, states);
    EXPECT_EQ((std::vector<double>{1.0, 0.0}), Table(tt));

    EXPECT_EQ(-51, node_ChangeType(GetNode(net, h), 9));
    // A kind this build cannot make leaves the node as it was.
    EXPECT_NE(0, node_ChangeType(GetNode(net, h), 146));
    EXPECT_EQ(tt, DefOf(net, h));
    EXPECT_EQ(20, nodeDefinition_GetType(DefOf(net, h)));
    EXPECT_EQ(nullptr, nodeDefinition_GetStringDefinition(tt, 0));
}

}  // namespace
