// Making identifiers from BIF names in two passes: first every name that is
// already a valid identifier claims it, then the others are repaired and
// numbered around what is taken. Doing the valid names first means a
// well-formed name never changes because a repaired one came earlier in the
// file and happened to collide with it.
#include "formats/bif_ids.h"

#include "orvil/stringarray.h"

#include <cstring>

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

bool IsFree(const QEL_idArray& used, const std::function<bool(const char*)>& takenElsewhere,
            const std::string& id)
{
    return used.ValidId(id.c_str()) == 1 && !(takenElsewhere && takenElsewhere(id.c_str()));
}

std::string NumberedId(const QEL_idArray& used, const std::function<bool(const char*)>& takenElsewhere,
                       const std::string& base)
{
    if (IsFree(used, takenElsewhere, base))
        return base;
    for (int number = 2;; ++number) {
        std::string candidate = base + std::to_string(number);
        if (IsFree(used, takenElsewhere, candidate))
            return candidate;
    }
}

}  // namespace

void BifMakeIds(const std::vector<std::string>& texts,
                const std::function<bool(const char*)>& takenElsewhere,
                std::vector<std::string>& ids)
{
    QEL_idArray used;
    ids.assign(texts.size(), std::string());
    for (size_t i = 0; i < texts.size(); ++i) {
        // A repaired id may be longer than the base it was cut to (a prefix
        // and a number), so the bound here is the whole buffer: an id this
        // code made must come back unchanged when it is read again.
        if (texts[i].size() >= static_cast<size_t>(QEL_idArray::idBufferSize) ||
            !IsFree(used, takenElsewhere, texts[i]))
            continue;
        used.Add(texts[i].c_str());
        ids[i] = texts[i];
    }
    for (size_t i = 0; i < texts.size(); ++i) {
        if (!ids[i].empty())
            continue;
        ids[i] = NumberedId(used, takenElsewhere, RepairedId(texts[i]));
        used.Add(ids[i].c_str());
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
