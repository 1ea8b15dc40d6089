// Parsing of BIF text into a BifDocument. The parser checks the grammar
// only; names are matched to variables and states later, by the resolver.
#ifndef ORVIL_FORMATS_BIF_PARSER_H
#define ORVIL_FORMATS_BIF_PARSER_H

#include "formats/bif_document.h"

#include <cstddef>

// Parses `length` bytes of `text` (no terminating zero needed; zero bytes in
// the text are an error) into `doc`, which keeps views into `text`.
// Returns 0, or a negative status with `error` filled and `doc` partly filled:
// -126 lexical error, -127 syntax error, -128 the text ends inside a block or
// holds no block at all, -129 a number that is no probability.
int BifParse(const char* text, size_t length, BifDocument& doc, BifError& error);

#endif
