// Checking a parsed BIF document and resolving its names into a BifModel.
#ifndef ORVIL_FORMATS_BIF_RESOLVE_H
#define ORVIL_FORMATS_BIF_RESOLVE_H

#include "formats/bif_document.h"
#include "formats/bif_model.h"

#include <string_view>

// Fills `model` from `doc`. Every problem is found before the model is used
// for anything, so a failure leaves nothing half-done for the caller.
// Returns 0, or a negative status with `error` filled (the line points at the
// offending block or statement):
//  -32  a variable, or a state of one variable, is named twice;
//  -19  a variable has fewer than two states;
//  -11  the parents of the probability blocks form a cycle;
//  -42  a table would exceed the size the engine can index;
//  -129 any other inconsistency: an unknown variable, parent or state, a
//       state count that disagrees with the list, a missing or second
//       probability block, a wrong number of values, a parent configuration
//       given twice or not at all.
int BifResolve(const BifDocument& doc, BifModel& model, BifError& error);

// Splits the raw text of a `property` statement into a name and a value:
// "name = value", or "name value" when there is no equals sign, each part
// trimmed and stripped of one pair of enclosing quotes.
BifProperty BifSplitProperty(std::string_view text);

#endif
