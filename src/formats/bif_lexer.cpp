// The BIF lexer: one forward pass over a memory buffer with a table of
// character classes, so that the multi-megabyte tables of the larger shared
// networks are cut into tokens without copying or allocating. Tokens are
// views into the buffer.
#include "formats/bif_lexer.h"

#include "orvil/errors.h"

#include <cstdio>

namespace {

enum CharClass : unsigned char { Blank, Punct, Quote, Control, WordChar };

struct ClassTable {
    CharClass of[256];

    ClassTable()
    {
        for (int c = 0; c < 256; ++c)
            of[c] = (c < 0x20 || c == 0x7f) ? Control : WordChar;
        for (unsigned char c : {' ', '\t', '\r', '\n', '\f', '\v'})
            of[c] = Blank;
        for (unsigned char c : {'{', '}', '(', ')', '[', ']', ',', ';', '|'})
            of[c] = Punct;
        of[static_cast<unsigned char>('"')] = Quote;
    }
};

const ClassTable classes;

CharClass ClassOf(char c)
{
    return classes.of[static_cast<unsigned char>(c)];
}

BifTokenKind PunctKind(char c)
{
    switch (c) {
    case '{': return BifTokenKind::LeftBrace;
    case '}': return BifTokenKind::RightBrace;
    case '(': return BifTokenKind::LeftParen;
    case ')': return BifTokenKind::RightParen;
    case '[': return BifTokenKind::LeftBracket;
    case ']': return BifTokenKind::RightBracket;
    case ',': return BifTokenKind::Comma;
    case ';': return BifTokenKind::Semicolon;
    default: return BifTokenKind::Bar;
    }
}

int UnknownCharacter(char c, int line, BifError& error)
{
    char text[64];
    std::snprintf(text, sizeof text, "unknown character 0x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    return error.Set(QEL_LEXICAL_ERROR, line, text);
}

}  // namespace

BifLexer::BifLexer(const char* text, size_t length) : pos(text), end(text + length)
{
    if (length >= 3 && text[0] == '\xEF' && text[1] == '\xBB' && text[2] == '\xBF')
        pos += 3;
}

int BifLexer::SkipBlanksAndComments(BifError& error)
{
    while (pos < end) {
        char c = *pos;
        if (ClassOf(c) == Blank) {
            line += (c == '\n');
            ++pos;
            continue;
        }
        if (c != '/' || pos + 1 >= end)
            return QEL_OKAY;
        if (pos[1] == '/') {
            while (pos < end && *pos != '\n')
                ++pos;
            continue;
        }
        if (pos[1] != '*')
            return QEL_OKAY;
        int startLine = line;
        pos += 2;
        while (pos < end && !(*pos == '*' && pos + 1 < end && pos[1] == '/')) {
            line += (*pos == '\n');
            ++pos;
        }
        if (pos >= end)
            return error.Set(QEL_UNEXPECTED_EOF, startLine, "comment opened here is not closed");
        pos += 2;
    }
    return QEL_OKAY;
}

int BifLexer::ReadQuoted(BifToken& token, BifError& error)
{
    int startLine = line;
    const char* start = ++pos;
    while (pos < end && *pos != '"') {
        // Names are kept as C strings, where a zero byte would cut them
        // short; any other byte inside quotes is taken as it stands.
        if (*pos == '\0')
            return UnknownCharacter(*pos, line, error);
        line += (*pos == '\n');
        ++pos;
    }
    if (pos >= end)
        return error.Set(QEL_UNEXPECTED_EOF, startLine, "quoted text opened here is not closed");
    token.kind = BifTokenKind::Quoted;
    token.text = std::string_view(start, static_cast<size_t>(pos - start));
    token.line = startLine;
    ++pos;
    return QEL_OKAY;
}

void BifLexer::ReadWord(BifToken& token)
{
    const char* start = pos;
    while (pos < end && ClassOf(*pos) == WordChar) {
        // A comment may follow a word with no blank in between.
        if (*pos == '/' && pos + 1 < end && (pos[1] == '/' || pos[1] == '*'))
            break;
        ++pos;
    }
    token.kind = BifTokenKind::Word;
    token.text = std::string_view(start, static_cast<size_t>(pos - start));
    token.line = line;
}

int BifLexer::Next(BifToken& token, BifError& error)
{
    int rc = SkipBlanksAndComments(error);
    if (rc != QEL_OKAY)
        return rc;
    token.line = line;
    token.text = std::string_view();
    if (pos >= end) {
        token.kind = BifTokenKind::End;
        return QEL_OKAY;
    }
    char c = *pos;
    switch (ClassOf(c)) {
    case Punct:
        token.kind = PunctKind(c);
        token.text = std::string_view(pos, 1);
        ++pos;
        return QEL_OKAY;
    case Quote:
        return ReadQuoted(token, error);
    case Control:
        return UnknownCharacter(c, line, error);
    default:
        ReadWord(token);
        return QEL_OKAY;
    }
}

int BifLexer::RawStatement(std::string_view& text, int& startLine, BifError& error)
{
    int rc = SkipBlanksAndComments(error);
    if (rc != QEL_OKAY)
        return rc;
    startLine = line;
    const char* start = pos;
    bool quoted = false;
    for (; pos < end; ++pos) {
        char c = *pos;
        // Property values are kept as C strings too.
        if (c == '\0')
            return UnknownCharacter(c, line, error);
        line += (c == '\n');
        if (c == '"')
            quoted = !quoted;
        else if (!quoted && c == ';')
            break;
        else if (!quoted && c == '}')
            return error.Set(QEL_SYNTAX_ERROR, line, "expected ';' to end the property");
    }
    if (pos >= end)
        return error.Set(QEL_UNEXPECTED_EOF, startLine, "property text is not ended by ';'");
    text = std::string_view(start, static_cast<size_t>(pos - start));
    while (!text.empty() && ClassOf(text.back()) == Blank)
        text.remove_suffix(1);
    ++pos;
    return QEL_OKAY;
}

bool BifIsBareWord(std::string_view text)
{
    if (text.empty())
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (ClassOf(text[i]) != WordChar)
            return false;
        if (text[i] == '/' && i + 1 < text.size() && (text[i + 1] == '/' || text[i + 1] == '*'))
            return false;
    }
    return true;
}

std::string BifDescribeToken(const BifToken& token)
{
    if (token.kind == BifTokenKind::End)
        return "end of file";
    std::string text(token.text.substr(0, 40));
    if (token.text.size() > 40)
        text += "...";
    if (token.kind == BifTokenKind::Quoted)
        return "\"" + text + "\"";
    return "'" + text + "'";
}
