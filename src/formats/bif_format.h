// Writing a BifModel as BIF text.
#ifndef ORVIL_FORMATS_BIF_FORMAT_H
#define ORVIL_FORMATS_BIF_FORMAT_H

#include "formats/bif_model.h"

#include <string>

// Appends `model` to `out` as BIF text: the network block, one variable
// block per node and one probability block per node, in node order. Nodes
// without parents get a `table` statement, the others one row per parent
// configuration, so that no reader has to guess an ordering convention.
// Probabilities are written in their shortest form that reads back to the
// same double. Names that are not single words are quoted; a double quote
// inside a name cannot be written and becomes a single quote. Properties
// are written as `property NAME = "VALUE";`, with the same change of
// quotes in the value. The model must be complete: every table of the size
// its states and parents imply.
void BifFormat(const BifModel& model, std::string& out);

#endif
