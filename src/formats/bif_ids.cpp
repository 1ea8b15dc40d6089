// Making identifiers from BIF names in two passes: first every name that is
// already a valid identifier claims it, then the others are repaired and
// numbered around what is taken. Doing the valid names first means a
// well-formed name never changes because a repaired one came earlier in the
// file and happened to collide with it.
#include "formats/bif_ids.h"

#include "orvil/stringarray.h"

#include <cstring>
#include <unordered_map>
#include <unordered_set>

namespace {

const size_t maxBaseLength = 1021;

// The repaired form of `text`: cut to the buffer's base length, "x" for
// nothing, then QEL_idArray::MakeValidIdExtra.
std::string RepairedId(const std::string& text)
{
    char buffer[QEL_idArray::idBufferSize];
    size_t length = text.size() < maxBaseLength ? text.size() : maxBaseLength;
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    if (length == 0)
        std::strcpy(buffer, "x");
    QEL_idArray::MakeValidIdExtra(buffer);
    return buffer;
}

// The ids given so far, and for each repaired base the last number tried.
// Ids are only ever added, so the first free number of a base never goes
// down, and the search for the next one resumes where the last stopped:
// the same ids as a search from 2 each time, without the cubic time that
// a thousand states repairing to one base would otherwise cost.
struct IdPool {
    const std::function<bool(const char*)>& takenElsewhere;
    std::unordered_set<std::string> used;
    std::unordered_map<std::string, int> lastNumber;
    // Empty: it only judges the form of an id.
    const QEL_idArray none;

    bool IsFree(const std::string& id) const
    {
        return none.ValidId(id.c_str()) == 1 && used.count(id) == 0 &&
               !(takenElsewhere && takenElsewhere(id.c_str()));
    }

    std::string Numbered(const std::string& base)
    {
        if (IsFree(base))
            return base;
        int& number = lastNumber.emplace(base, 1).first->second;
        std::string candidate = base + std::to_string(++number);
        while (!IsFree(candidate))
            candidate = base + std::to_string(++number);
        return candidate;
    }
};

}  // namespace

void BifMakeIds(const std::vector<std::string>& texts,
                const std::function<bool(const char*)>& takenElsewhere,
                std::vector<std::string>& ids)
{
    IdPool pool{takenElsewhere, {}, {}, QEL_idArray()};
    ids.assign(texts.size(), std::string());
    for (size_t i = 0; i < texts.size(); ++i) {
        // A repaired id may be longer than the base it was cut to (a prefix
        // and a number), so the bound here is the whole buffer: an id this
        // code made must come back unchanged when it is read again.
        if (texts[i].size() >= static_cast<size_t>(QEL_idArray::idBufferSize) || !pool.IsFree(texts[i]))
            continue;
        pool.used.insert(texts[i]);
        ids[i] = texts[i];
    }
    for (size_t i = 0; i < texts.size(); ++i) {
        if (!ids[i].empty())
            continue;
        ids[i] = pool.Numbered(RepairedId(texts[i]));
        pool.used.insert(ids[i]);
    }
}

bool BifTextFitsId(const char* text, const char* id)
{
    if (text == nullptr || id == nullptr || *text == '\0')
        return false;
    if (std::strcmp(text, id) == 0)
        return true;
    QEL_idArray none;
    if (none.ValidId(text) == 1 || std::strlen(text) > maxBaseLength)
        return false;
    std::string base = RepairedId(text);
    if (std::strncmp(id, base.c_str(), base.size()) != 0)
        return false;
    const char* suffix = id + base.size();
    if (*suffix == '\0')
        return true;
    for (const char* c = suffix; *c; ++c)
        if (*c < '0' || *c > '9')
            return false;
    return true;
}
