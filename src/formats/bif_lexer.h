// Tokens of BIF text, cut from a memory buffer in one forward pass.
// Words are runs of anything that is not blank, punctuation, a quote or a
// control character, so state names such as "<5", "12+", ">=7.5" or
// "Asy/Patch" come out as single words; numbers are words too and are
// converted by the parser. Comments (// and /* */) are skipped, a UTF-8 byte
// order mark at the start is ignored, and every token carries its line.
#ifndef ORVIL_FORMATS_BIF_LEXER_H
#define ORVIL_FORMATS_BIF_LEXER_H

#include "formats/bif_document.h"

#include <cstddef>
#include <string_view>

enum class BifTokenKind {
    End,
    Word,
    Quoted,     // text between double quotes, quotes removed
    LeftBrace,
    RightBrace,
    LeftParen,
    RightParen,
    LeftBracket,
    RightBracket,
    Comma,
    Semicolon,
    Bar
};

struct BifToken {
    BifTokenKind kind = BifTokenKind::End;
    std::string_view text;
    int line = 1;
};

class BifLexer {
public:
    BifLexer(const char* text, size_t length);

    // Reads the next token into `token`. Returns 0, or a negative status
    // with `error` filled: -126 for a control character outside quotes or a
    // zero byte inside them, -128 for a quote or block comment that is not
    // closed. At the end of the text the token is
    // of kind End, and stays so on further calls.
    int Next(BifToken& token, BifError& error);

    // Takes the raw text from the current position up to the next semicolon
    // that is not inside quotes, for `property` statements whose content is
    // free text. The semicolon is consumed and not part of `text`; `line` is
    // the line where the text starts. Returns 0; -126 for a zero byte;
    // -127 when a closing brace comes first; -128 when the text ends first.
    int RawStatement(std::string_view& text, int& line, BifError& error);

    int Line() const { return line; }

private:
    int SkipBlanksAndComments(BifError& error);
    int ReadQuoted(BifToken& token, BifError& error);
    void ReadWord(BifToken& token);

    const char* pos;
    const char* end;
    int line = 1;
};

// True when `text` reads back as exactly one word: not empty, with no
// blank, punctuation, quote or control character and no comment opener.
bool BifIsBareWord(std::string_view text);

// A short printable rendering of a token for messages: the text in quotes,
// cut after 40 characters, or "end of file".
std::string BifDescribeToken(const BifToken& token);

#endif
