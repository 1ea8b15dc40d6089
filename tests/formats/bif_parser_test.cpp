// The BIF lexer and parser on their own: how text is cut into tokens and
// lines, which variants of the grammar are accepted, and that numbers are
// read exactly.
#include "formats/bif_lexer.h"
#include "formats/bif_parser.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<BifToken> Tokens(const std::string& text, int& status)
{
    BifLexer lexer(text.data(), text.size());
    BifError error;
    std::vector<BifToken> tokens;
    BifToken token;
    while ((status = lexer.Next(token, error)) == 0 && token.kind != BifTokenKind::End)
        tokens.push_back(token);
    return tokens;
}

TEST(BifLexer, OddStateNamesAreSingleWordsAndLinesAreCounted)
{
    const std::string text = "\xEF\xBB\xBF{ <5, 5-12, 12+ }\n"
                             ">=7.5|Asy/Patch;Transp. // a comment\n"
                             "/* a block\n comment */ \"quoted name\nover lines\" x/*c*/y";
    int status = 0;
    std::vector<BifToken> tokens = Tokens(text, status);
    ASSERT_EQ(status, 0);
    std::vector<std::string> texts;
    std::vector<int> lines;
    for (const BifToken& token : tokens) {
        texts.emplace_back(token.text);
        lines.push_back(token.line);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"{", "<5", ",", "5-12", ",", "12+", "}", ">=7.5", "|", "Asy/Patch", ";",
                                               "Transp.", "quoted name\nover lines", "x", "y"}));
    EXPECT_EQ(lines, (std::vector<int>{1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 4, 5, 5}));
    EXPECT_EQ(tokens[12].kind, BifTokenKind::Quoted);
    EXPECT_TRUE(BifIsBareWord("Asy/Patch"));
    for (const char* text : {"", "a b", "a;b", "a\"b", "a//b", "a/*b", "a\tb", "x(y)"})
        EXPECT_FALSE(BifIsBareWord(text)) << text;
}

// Random streams of words, quoted texts and punctuation, separated by random
// blanks, newlines and comments, must come back token for token with the
// line each token was written on.
TEST(BifLexer, RandomTokenStreamsComeBackWithTheirLines)
{
    std::mt19937 rng(7);
    const std::string wordChars = "abcXYZ019_.<>=+-/*&%";
    const std::vector<std::string> puncts = {"{", "}", "(", ")", "[", "]", ",", ";", "|"};
    const std::vector<std::string> separators = {" ", "\t", "\n", "\r\n", " // note\n", "/* a\nb */", "/**/"};
    for (int round = 0; round < 300; ++round) {
        std::string text;
        std::vector<std::string> expected;
        std::vector<int> expectedLines;
        int line = 1;
        int count = 1 + static_cast<int>(rng() % 30);
        for (int i = 0; i < count; ++i) {
            const std::string& separator = separators[rng() % separators.size()];
            text += separator;
            for (char c : separator)
                line += (c == '\n');
            std::string token;
            switch (rng() % 3) {
            case 0:
                do {
                    token.clear();
                    for (int n = 1 + static_cast<int>(rng() % 6); n > 0; --n)
                        token += wordChars[rng() % wordChars.size()];
                } while (!BifIsBareWord(token) || token.back() == '/');
                text += token;
                break;
            case 1:
                token = "q " + std::to_string(rng() % 100);
                text += "\"" + token + "\"";
                break;
            default:
                token = puncts[rng() % puncts.size()];
                text += token;
            }
            expected.push_back(token);
            expectedLines.push_back(line);
        }
        int status = 0;
        std::vector<BifToken> tokens = Tokens(text, status);
        ASSERT_EQ(status, 0) << text;
        ASSERT_EQ(tokens.size(), expected.size()) << text;
        for (size_t i = 0; i < tokens.size(); ++i) {
            EXPECT_EQ(std::string(tokens[i].text), expected[i]) << text;
            EXPECT_EQ(tokens[i].line, expectedLines[i]) << text;
        }
    }
}

TEST(BifParser, AcceptsTheOlderVariantsOfTheGrammar)
{
    const std::string text =
        "NETWORK \"Dog Problem\" { property \"version = 0.15; draft\" ; }\n"
        "variable \"light-on\" {\n"
        "  type discrete[2] { \"true\" \"false\" };\n"
        "  property \"position = (218, 195)\" ;\n"
        "}\n"
        "variable family { TYPE Discrete [ 2 ] { true, false } }\n"
        "probability ( \"light-on\" \"family\" ) { //2 variable(s)\n"
        "  table 0.6 0.05 0.4 0.95 ;\n"
        "};\n"
        "probability ( family ) { ( ) 0.15 0.85; }\n";
    BifDocument doc;
    BifError error;
    ASSERT_EQ(BifParse(text.data(), text.size(), doc, error), 0) << error.message;
    EXPECT_EQ(doc.networkName, "Dog Problem");
    ASSERT_EQ(doc.networkProperties.size(), 1u);
    EXPECT_EQ(doc.networkProperties[0].text, "\"version = 0.15; draft\"");
    ASSERT_EQ(doc.variables.size(), 2u);
    EXPECT_EQ(doc.variables[0].name, "light-on");
    EXPECT_EQ(doc.variables[0].states, (std::vector<std::string_view>{"true", "false"}));
    EXPECT_EQ(doc.variables[0].properties.at(0).line, 4);
    EXPECT_EQ(doc.variables[1].declaredStates, 2);
    ASSERT_EQ(doc.probabilities.size(), 2u);
    EXPECT_EQ(doc.probabilities[0].variables, (std::vector<std::string_view>{"light-on", "family"}));
    EXPECT_EQ(doc.probabilities[0].table.count, 4u);
    EXPECT_EQ(doc.probabilities[0].table.line, 8);
    ASSERT_EQ(doc.probabilities[1].rows.size(), 1u);
    EXPECT_EQ(doc.probabilities[1].rows[0].numNames, 0u);
    EXPECT_EQ(doc.probabilities[1].values, (std::vector<double>{0.15, 0.85}));
}

// The reader's number conversion must agree bit for bit with strtod in the
// C locale, on random decimal texts of every length and exponent range.
TEST(BifParser, NumbersAreReadExactlyAsStrtodReadsThem)
{
    std::mt19937_64 rng(11);
    for (int round = 0; round < 3000; ++round) {
        std::string number = "0.";
        for (int n = 1 + static_cast<int>(rng() % 25); n > 0; --n)
            number += static_cast<char>('0' + rng() % 10);
        if (rng() % 3 == 0)
            number += "e-" + std::to_string(rng() % 330);
        std::string text = "probability ( a ) { table " + number + "; }";
        BifDocument doc;
        BifError error;
        ASSERT_EQ(BifParse(text.data(), text.size(), doc, error), 0) << number << ": " << error.message;
        double expected = std::strtod(number.c_str(), nullptr);
        ASSERT_EQ(doc.probabilities[0].values.at(0), expected) << number;
    }
}

}  // namespace
