// From parsed BIF to a resolved model: the layout of tables, the ways a
// probability block may give its numbers, and how properties are split.
// Damaged texts are checked through the speaker, which reports what the
// resolution refuses.
#include "bif_test_util.h"

#include "formats/bif_resolve.h"

#include <gtest/gtest.h>

namespace {

const char* twoVariables =
    "variable p {\n  type discrete [ 3 ] { p0, p1, p2 };\n}\n"
    "variable q {\n  type discrete [ 2 ] { q0, q1 };\n}\n"
    "variable c {\n  type discrete [ 2 ] { c0, c1 };\n}\n"
    "probability ( p ) {\n  table 0.2, 0.3, 0.5;\n}\n"
    "probability ( q ) {\n  table 0.6, 0.4;\n}\n";

BifModel Read(const std::string& text)
{
    BifModel model;
    BifError error;
    EXPECT_EQ(bif_test::ReadModel(text, model, error), 0) << "line " << error.line << ": " << error.message;
    return model;
}

// With the child's states outermost, only one reading makes every column a
// distribution, and it must equal the same table given row by row.
TEST(BifResolve, TableFormListsTheChildStatesOutermost)
{
    BifModel table = Read(std::string(twoVariables) +
                          "probability ( c | p, q ) {\n"
                          "  table 1, 0.9, 0.8, 0.7, 0.6, 0.5, 0, 0.1, 0.2, 0.3, 0.4, 0.5;\n}\n");
    BifModel rows = Read(std::string(twoVariables) +
                         "probability ( c | p, q ) {\n"
                         "  (p0, q0) 1, 0;\n  (p0, q1) 0.9, 0.1;\n  (p1, q0) 0.8, 0.2;\n"
                         "  (p2, q1) 0.5, 0.5;\n  (p1, q1) 0.7, 0.3;\n  (p2, q0) 0.6, 0.4;\n}\n");
    const std::vector<double> expected = {1, 0, 0.9, 0.1, 0.8, 0.2, 0.7, 0.3, 0.6, 0.4, 0.5, 0.5};
    EXPECT_EQ(table.nodes.at(2).table, expected);
    EXPECT_EQ(rows.nodes.at(2).table, expected);
    EXPECT_EQ(rows.nodes.at(2).parents, (std::vector<int>{0, 1}));
}

TEST(BifResolve, RowsOverrideTheTableAndDefaultFillsTheRest)
{
    BifModel model = Read(std::string(twoVariables) +
                          "probability ( c | q, p ) {\n"
                          "  default 0.25, 0.75;\n"
                          "  (q1, p2) 0.5, 0.5;\n}\n");
    EXPECT_EQ(model.nodes.at(2).parents, (std::vector<int>{1, 0}));
    EXPECT_EQ(model.nodes.at(2).table,
              (std::vector<double>{0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.5, 0.5}));
    model = Read(std::string(twoVariables) +
                 "probability ( c | q ) {\n  (q1) 0.5, 0.5;\n  table 1, 0, 0, 1;\n}\n");
    EXPECT_EQ(model.nodes.at(2).table, (std::vector<double>{1, 0, 0.5, 0.5}));
}

TEST(BifResolve, PropertiesSplitIntoNameAndValue)
{
    struct Case {
        const char* raw;
        const char* name;
        const char* value;
    };
    for (const Case& c : {Case{"\"position = (218, 195)\"", "position", "(218, 195)"},
                          Case{"  key =  a = b ", "key", "a = b"},
                          Case{"label \"two words\"", "label", "two words"},
                          Case{"alone", "alone", ""},
                          Case{"\"x = \"", "x", ""}}) {
        BifProperty property = BifSplitProperty(c.raw);
        EXPECT_EQ(property.name, c.name) << c.raw;
        EXPECT_EQ(property.value, c.value) << c.raw;
    }
}

}  // namespace
