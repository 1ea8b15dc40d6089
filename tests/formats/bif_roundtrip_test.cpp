// Writing a model as BIF and reading it back must give the same model, for
// random models with awkward names and full-precision numbers; and no
// damaged text, however it was damaged, may crash the reader.
#include "bif_test_util.h"

#include "formats/bif_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

namespace {

std::string RandomName(std::mt19937& rng)
{
    static const std::vector<std::string> pieces = {"a", "Z", "_", "0", "12", "<", ">=", "+", "-", ".", "/",
                                                    " ", "é", "{", "}", "(", ")", ",", ";", "|", "//", "\t"};
    std::string name;
    for (int n = 1 + static_cast<int>(rng() % 5); n > 0; --n)
        name += pieces[rng() % pieces.size()];
    return name;
}

// Unique names from RandomName, one for each of `count` items.
std::vector<std::string> RandomNames(std::mt19937& rng, size_t count)
{
    std::vector<std::string> names;
    while (names.size() < count) {
        std::string name = RandomName(rng) + (rng() % 2 ? "" : std::to_string(names.size()));
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

// A random model: nodes in a random order, parents drawn so that the graph
// stays acyclic, columns of random doubles that use every mantissa bit.
BifModel RandomModel(std::mt19937& rng)
{
    BifModel model;
    model.name = RandomName(rng);
    model.properties = {{"version", "<" + RandomName(rng) + " = ; }"}};
    size_t count = 1 + rng() % 7;
    std::vector<std::string> names = RandomNames(rng, count);
    std::vector<int> rank(count);
    std::iota(rank.begin(), rank.end(), 0);
    std::shuffle(rank.begin(), rank.end(), rng);
    model.nodes.resize(count);
    for (size_t i = 0; i < count; ++i) {
        BifNode& node = model.nodes[i];
        node.name = names[i];
        node.states = RandomNames(rng, 2 + rng() % 3);
        for (size_t j = 0; j < count; ++j)
            if (rank[j] < rank[i] && rng() % 2)
                node.parents.push_back(static_cast<int>(j));
        std::shuffle(node.parents.begin(), node.parents.end(), rng);
        if (rng() % 3 == 0)
            node.properties.push_back({"note", "<" + RandomName(rng) + ">"});
    }
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (BifNode& node : model.nodes) {
        size_t size = node.states.size();
        for (int parent : node.parents)
            size *= model.nodes[parent].states.size();
        for (size_t k = 0; k < size; ++k)
            node.table.push_back(rng() % 5 == 0 ? 0.0 : unit(rng));
    }
    return model;
}

void ExpectSameModel(const BifModel& read, const BifModel& written)
{
    EXPECT_EQ(read.name, written.name);
    ASSERT_EQ(read.properties.size(), written.properties.size());
    for (size_t i = 0; i < read.properties.size(); ++i) {
        EXPECT_EQ(read.properties[i].name, written.properties[i].name);
        EXPECT_EQ(read.properties[i].value, written.properties[i].value);
    }
    ASSERT_EQ(read.nodes.size(), written.nodes.size());
    for (size_t i = 0; i < read.nodes.size(); ++i) {
        const BifNode& a = read.nodes[i];
        const BifNode& b = written.nodes[i];
        EXPECT_EQ(a.name, b.name);
        EXPECT_EQ(a.states, b.states);
        EXPECT_EQ(a.parents, b.parents);
        EXPECT_EQ(a.table, b.table) << a.name;
        ASSERT_EQ(a.properties.size(), b.properties.size());
        for (size_t p = 0; p < a.properties.size(); ++p)
            EXPECT_EQ(a.properties[p].value, b.properties[p].value);
    }
}

TEST(BifRoundTrip, RandomModelsSurviveWriteAndRead)
{
    std::mt19937 rng(3);
    for (int round = 0; round < 200; ++round) {
        BifModel model = RandomModel(rng);
        std::string text;
        BifFormat(model, text);
        BifModel read;
        BifError error;
        ASSERT_EQ(bif_test::ReadModel(text, read, error), 0) << error.line << ": " << error.message << "\n" << text;
        ExpectSameModel(read, model);
        std::string again;
        BifFormat(read, again);
        EXPECT_EQ(again, text);
    }
}

// A read of `text`: 0, or a negative status with a line inside the text.
int ReadStatus(const std::string& text)
{
    BifModel model;
    BifError error;
    int status = bif_test::ReadModel(text, model, error);
    EXPECT_LE(status, 0);
    if (status != 0) {
        EXPECT_GE(error.line, 1);
        EXPECT_LE(error.line, 1 + std::count(text.begin(), text.end(), '\n'));
    }
    return status;
}

// asia.bif declares all variables before any table, so every cut before its
// last brace is refused, the one exception being a cut right after the
// empty network block. Random byte damage may still read; under the
// sanitizers this also proves no read strays outside the buffer.
TEST(BifRoundTrip, CutOrDamagedTextIsRefusedWithALineInside)
{
    const std::string asia = bif_test::ReadDataFile("asia.bif");
    ASSERT_FALSE(asia.empty());
    for (size_t cut = 0; cut <= asia.rfind('}'); ++cut) {
        std::string prefix = asia.substr(0, cut);
        const int status = ReadStatus(prefix);
        if (status == 0) {
            EXPECT_EQ(prefix.substr(0, prefix.find_last_not_of(" \n") + 1), "network unknown {\n}") << cut;
        }
        // A cut is a syntax problem, never one of the model's refusals.
        EXPECT_TRUE(status == 0 || status == -127 || status == -128 || status == -129) << status;
        if (HasFailure())
            FAIL() << "cut " << cut;
    }
    const std::string child = bif_test::ReadDataFile("child.bif");
    const std::string alphabet = "{}()[],;|\"/*\n x0.5-e\x01";
    std::mt19937 rng(5);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        std::string text = child;
        for (int n = 1 + static_cast<int>(rng() % 4); n > 0; --n) {
            size_t at = rng() % text.size();
            switch (rng() % 3) {
            case 0: text[at] = alphabet[rng() % alphabet.size()]; break;
            case 1: text.erase(at, 1 + rng() % 20); break;
            default: text.insert(at, 1, alphabet[rng() % alphabet.size()]);
            }
        }
        ReadStatus(text);
    }
}

}  // namespace
