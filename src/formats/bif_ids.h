// Identifiers for BIF names. BIF allows any word or quoted text as a name;
// the engine wants valid, unique identifiers. These helpers make them the
// way the engine repairs ids elsewhere, and recognise afterwards whether a
// stored original text still belongs to an id.
#ifndef ORVIL_FORMATS_BIF_IDS_H
#define ORVIL_FORMATS_BIF_IDS_H

#include <functional>
#include <string>
#include <vector>

// Writes into `ids` one identifier per text, unique among themselves and
// refused by `takenElsewhere` (which may be empty). Texts that are valid
// identifiers and fit an id buffer keep them, whatever their position; the
// others are cut to the base length of an id, repaired by
// QEL_idArray::MakeValidIdExtra, and a repaired id that is taken gets the
// first free number from 2, as QEL_idArray::MakeConsistent does. Every id
// made fits an id buffer, so the ids of ids are the same ids.
void BifMakeIds(const std::vector<std::string>& texts,
                const std::function<bool(const char*)>& takenElsewhere,
                std::vector<std::string>& ids);

// True when BifMakeIds could have given `id` to `text`: `text` equals `id`,
// or `text` is no valid identifier and `id` is its repaired form, perhaps
// with a number after it.
bool BifTextFitsId(const char* text, const char* id);

#endif
