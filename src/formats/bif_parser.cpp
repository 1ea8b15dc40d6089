// Recursive-descent parser of BIF text into a BifDocument, on top of
// BifLexer with one token of look-ahead. It accepts the layout of the shared
// benchmark networks and the older variants of the format: separators
// between names and numbers may be commas or blanks, the bar after the
// child of a probability block is optional, keywords are matched without
// regard to case, and stray semicolons between blocks are ignored.
#include "formats/bif_parser.h"

#include "formats/bif_lexer.h"
#include "orvil/errors.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class BifParser {
public:
    BifParser(const char* text, size_t length, BifDocument& doc, BifError& error)
        : lexer(text, length), doc(doc), error(error)
    {
    }

    int Parse();

private:
    int Advance() { return lexer.Next(tok, error); }
    bool IsKeyword(const char* keyword) const;
    int Expected(const char* what);
    int Expect(BifTokenKind kind, const char* what);
    int ExpectName(std::string_view& name, const char* what);
    int ExpectKeyword(const char* keyword);

    int ParseBlock(int& blocks);
    int ParseNetwork();
    int ParseVariable();
    int ParseType(BifDocVariable& variable);
    int ParseStateCount(BifDocVariable& variable);
    int ParseStates(BifDocVariable& variable);
    int ParseProperty(std::vector<BifDocProperty>& properties);
    int ParseProbability();
    int ParseProbabilityHead(BifDocProbability& block);
    int ParseProbabilityItem(BifDocProbability& block);
    int ParseValues(BifDocProbability& block, BifDocValues& values, const char* what);
    int ParseRow(BifDocProbability& block);
    int ParseNumbers(BifDocProbability& block, uint32_t& count);
    int ParseNumber(double& value);

    BifLexer lexer;
    BifToken tok;
    BifDocument& doc;
    BifError& error;
};

bool BifParser::IsKeyword(const char* keyword) const
{
    if (tok.kind != BifTokenKind::Word || tok.text.size() != std::strlen(keyword))
        return false;
    for (size_t i = 0; i < tok.text.size(); ++i) {
        char c = tok.text[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != keyword[i])
            return false;
    }
    return true;
}

int BifParser::Expected(const char* what)
{
    int code = tok.kind == BifTokenKind::End ? QEL_UNEXPECTED_EOF : QEL_SYNTAX_ERROR;
    return error.Set(code, tok.line,
                     std::string("expected ") + what + " but found " + BifDescribeToken(tok));
}

int BifParser::Expect(BifTokenKind kind, const char* what)
{
    if (tok.kind != kind)
        return Expected(what);
    return Advance();
}

int BifParser::ExpectName(std::string_view& name, const char* what)
{
    if (tok.kind != BifTokenKind::Word && tok.kind != BifTokenKind::Quoted)
        return Expected(what);
    name = tok.text;
    return Advance();
}

int BifParser::ExpectKeyword(const char* keyword)
{
    if (!IsKeyword(keyword))
        return Expected((std::string("'") + keyword + "'").c_str());
    return Advance();
}

int BifParser::Parse()
{
    int rc = Advance();
    int blocks = 0;
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::End)
        rc = ParseBlock(blocks);
    if (rc != QEL_OKAY)
        return rc;
    if (blocks == 0)
        return error.Set(QEL_UNEXPECTED_EOF, tok.line,
                         "the text holds no network, variable or probability block");
    return QEL_OKAY;
}

int BifParser::ParseBlock(int& blocks)
{
    if (tok.kind == BifTokenKind::Semicolon)
        return Advance();
    ++blocks;
    if (IsKeyword("network"))
        return ParseNetwork();
    if (IsKeyword("variable"))
        return ParseVariable();
    if (IsKeyword("probability"))
        return ParseProbability();
    return Expected("'network', 'variable' or 'probability'");
}

int BifParser::ParseNetwork()
{
    if (doc.hasNetwork)
        return error.Set(QEL_BAD_BLOCK, tok.line, "a second network block");
    doc.hasNetwork = true;
    doc.networkLine = tok.line;
    int rc = Advance();
    if (rc == QEL_OKAY)
        rc = ExpectName(doc.networkName, "the network's name");
    if (rc == QEL_OKAY)
        rc = Expect(BifTokenKind::LeftBrace, "'{'");
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightBrace) {
        if (!IsKeyword("property"))
            return Expected("'property' or '}'");
        rc = ParseProperty(doc.networkProperties);
    }
    return rc == QEL_OKAY ? Advance() : rc;
}

int BifParser::ParseVariable()
{
    doc.variables.emplace_back();
    BifDocVariable& variable = doc.variables.back();
    variable.line = tok.line;
    int rc = Advance();
    if (rc == QEL_OKAY)
        rc = ExpectName(variable.name, "the variable's name");
    if (rc == QEL_OKAY)
        rc = Expect(BifTokenKind::LeftBrace, "'{'");
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightBrace) {
        if (IsKeyword("type"))
            rc = ParseType(variable);
        else if (IsKeyword("property"))
            rc = ParseProperty(variable.properties);
        else
            return Expected("'type', 'property' or '}'");
    }
    return rc == QEL_OKAY ? Advance() : rc;
}

int BifParser::ParseType(BifDocVariable& variable)
{
    if (variable.hasType)
        return error.Set(QEL_BAD_BLOCK, tok.line, "a second type statement for the variable");
    variable.hasType = true;
    variable.typeLine = tok.line;
    int rc = Advance();
    if (rc != QEL_OKAY)
        return rc;
    if (tok.kind == BifTokenKind::Word && !IsKeyword("discrete"))
        return error.Set(QEL_BAD_BLOCK, tok.line,
                         "only discrete variables can be read, found type " + BifDescribeToken(tok));
    rc = ExpectKeyword("discrete");
    if (rc == QEL_OKAY)
        rc = ParseStateCount(variable);
    if (rc == QEL_OKAY)
        rc = ParseStates(variable);
    // The semicolon after the list of states is often left out.
    if (rc == QEL_OKAY && tok.kind == BifTokenKind::Semicolon)
        rc = Advance();
    return rc;
}

int BifParser::ParseStateCount(BifDocVariable& variable)
{
    int rc = Expect(BifTokenKind::LeftBracket, "'['");
    if (rc != QEL_OKAY)
        return rc;
    if (tok.kind != BifTokenKind::Word)
        return Expected("the number of states");
    std::string digits(tok.text);
    char* stop = nullptr;
    errno = 0;
    long count = std::strtol(digits.c_str(), &stop, 10);
    if (*stop != '\0' || errno != 0 || count < 0 || count > 1000000)
        return Expected("the number of states");
    variable.declaredStates = static_cast<int>(count);
    rc = Advance();
    return rc == QEL_OKAY ? Expect(BifTokenKind::RightBracket, "']'") : rc;
}

int BifParser::ParseStates(BifDocVariable& variable)
{
    int rc = Expect(BifTokenKind::LeftBrace, "'{'");
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightBrace) {
        if (!variable.states.empty() && tok.kind == BifTokenKind::Comma) {
            rc = Advance();
            if (rc != QEL_OKAY)
                return rc;
        }
        std::string_view state;
        rc = ExpectName(state, "a state name");
        if (rc == QEL_OKAY)
            variable.states.push_back(state);
    }
    return rc == QEL_OKAY ? Advance() : rc;
}

// `tok` is the keyword; the lexer stands right after it, where the free
// text starts, so the raw text is taken before the next token is read.
int BifParser::ParseProperty(std::vector<BifDocProperty>& properties)
{
    BifDocProperty property;
    int rc = lexer.RawStatement(property.text, property.line, error);
    if (rc != QEL_OKAY)
        return rc;
    properties.push_back(property);
    return Advance();
}

int BifParser::ParseProbability()
{
    doc.probabilities.emplace_back();
    BifDocProbability& block = doc.probabilities.back();
    block.line = tok.line;
    int rc = Advance();
    if (rc == QEL_OKAY)
        rc = ParseProbabilityHead(block);
    if (rc == QEL_OKAY)
        rc = Expect(BifTokenKind::LeftBrace, "'{'");
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightBrace)
        rc = ParseProbabilityItem(block);
    return rc == QEL_OKAY ? Advance() : rc;
}

int BifParser::ParseProbabilityHead(BifDocProbability& block)
{
    int rc = Expect(BifTokenKind::LeftParen, "'('");
    std::string_view name;
    if (rc == QEL_OKAY)
        rc = ExpectName(name, "the name of the variable");
    if (rc != QEL_OKAY)
        return rc;
    block.variables.push_back(name);
    if (tok.kind == BifTokenKind::Bar)
        rc = Advance();
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightParen) {
        if (tok.kind == BifTokenKind::Comma)
            rc = Advance();
        if (rc == QEL_OKAY)
            rc = ExpectName(name, "the name of a parent");
        if (rc == QEL_OKAY)
            block.variables.push_back(name);
    }
    return rc == QEL_OKAY ? Advance() : rc;
}

int BifParser::ParseProbabilityItem(BifDocProbability& block)
{
    if (tok.kind == BifTokenKind::LeftParen)
        return ParseRow(block);
    if (IsKeyword("table"))
        return ParseValues(block, block.table, "table");
    if (IsKeyword("default"))
        return ParseValues(block, block.defaults, "default");
    if (IsKeyword("property"))
        return ParseProperty(block.properties);
    return Expected("'table', 'default', '(', 'property' or '}'");
}

int BifParser::ParseValues(BifDocProbability& block, BifDocValues& values, const char* what)
{
    if (values.line != 0)
        return error.Set(QEL_BAD_BLOCK, tok.line,
                         std::string("a second ") + what + " statement in the probability block");
    values.line = tok.line;
    values.first = static_cast<uint32_t>(block.values.size());
    int rc = Advance();
    return rc == QEL_OKAY ? ParseNumbers(block, values.count) : rc;
}

int BifParser::ParseRow(BifDocProbability& block)
{
    BifDocRow row;
    row.line = tok.line;
    row.firstName = static_cast<uint32_t>(block.rowNames.size());
    row.firstValue = static_cast<uint32_t>(block.values.size());
    int rc = Advance();
    while (rc == QEL_OKAY && tok.kind != BifTokenKind::RightParen) {
        if (block.rowNames.size() > row.firstName && tok.kind == BifTokenKind::Comma)
            rc = Advance();
        std::string_view state;
        if (rc == QEL_OKAY)
            rc = ExpectName(state, "a state name");
        if (rc == QEL_OKAY)
            block.rowNames.push_back(state);
    }
    row.numNames = static_cast<uint32_t>(block.rowNames.size() - row.firstName);
    if (rc == QEL_OKAY)
        rc = Advance();
    if (rc == QEL_OKAY)
        rc = ParseNumbers(block, row.numValues);
    if (rc == QEL_OKAY)
        block.rows.push_back(row);
    return rc;
}

int BifParser::ParseNumbers(BifDocProbability& block, uint32_t& count)
{
    size_t first = block.values.size();
    int rc = QEL_OKAY;
    do {
        if (block.values.size() > first && tok.kind == BifTokenKind::Comma)
            rc = Advance();
        double value = 0.0;
        if (rc == QEL_OKAY)
            rc = ParseNumber(value);
        if (rc == QEL_OKAY)
            block.values.push_back(value);
    } while (rc == QEL_OKAY && tok.kind != BifTokenKind::Semicolon);
    count = static_cast<uint32_t>(block.values.size() - first);
    return rc == QEL_OKAY ? Advance() : rc;
}

int BifParser::ParseNumber(double& value)
{
    if (tok.kind != BifTokenKind::Word)
        return Expected("a probability");
    // from_chars rounds exactly as strtod does in the C locale, but reads the
    // token in place and ignores the caller's locale, whose decimal comma
    // would otherwise break every table.
    const char* first = tok.text.data();
    const char* last = first + tok.text.size();
    if (first != last && *first == '+')
        ++first;
    std::from_chars_result result = std::from_chars(first, last, value);
    if (result.ptr != last || result.ec == std::errc::invalid_argument)
        return Expected("a probability");
    // Out of range: strtod settles it, giving 0 on underflow as a reader of
    // such a file would expect, and a huge value on overflow.
    if (result.ec == std::errc::result_out_of_range)
        value = std::strtod(std::string(first, last).c_str(), nullptr);
    if (!(value >= 0.0 && value <= 1.0))
        return error.Set(QEL_BAD_BLOCK, tok.line,
                         "probability " + BifDescribeToken(tok) + " is outside [0, 1]");
    return Advance();
}

}  // namespace

int BifParse(const char* text, size_t length, BifDocument& doc, BifError& error)
{
    BifParser parser(text, length, doc, error);
    return parser.Parse();
}
