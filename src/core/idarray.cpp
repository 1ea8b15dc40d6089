// QEL_idArray: a string array that admits only valid, unique identifiers
// (a letter first, then letters, digits or "_"), plus the repair helpers
// that turn arbitrary text into such identifiers. Ids are short and the
// arrays small (outcome names), so uniqueness is a linear scan.
#include "orvil/stringarray.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "orvil/errors.h"

namespace {

// Longest base text CreateValidId keeps; the buffer adds a prefix character
// and a number after it.
const int maxBaseLength = 1021;

bool IsLetter(char c) {
    return isalpha(static_cast<unsigned char>(c)) != 0;
}

bool IsIdChar(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

}  // namespace

QEL_idArray::QEL_idArray(bool allowBlank) : allowBlank(allowBlank) {}

QEL_idArray::QEL_idArray(int size, int delta, bool allowBlank)
    : QEL_stringArray(size, delta), allowBlank(allowBlank) {}

QEL_idArray::QEL_idArray(const QEL_idArray& other) : QEL_stringArray(), allowBlank(other.allowBlank) {}

int QEL_idArray::CheckId(const char* id, int skip) const {
    if (id == nullptr) return 0;
    if (id[0] == '\0') return allowBlank ? 1 : 0;
    if (!IsLetter(id[0])) return 0;
    for (const char* p = id + 1; *p != '\0'; p++) {
        if (!IsIdChar(*p)) return 0;
    }
    const char* const* slots = Items();
    for (int i = 0; i < NumItems(); i++) {
        if (i != skip && slots[i] != nullptr && strcmp(slots[i], id) == 0) return 0;
    }
    return 1;
}

int QEL_idArray::ValidId(const char* id) const {
    return CheckId(id, -1);
}

int QEL_idArray::ValidId(const char* id, int index) const {
    return CheckId(id, index);
}

int QEL_idArray::Add(const char* text) {
    if (ValidId(text) != 1) return QEL_OUT_OF_RANGE;
    return QEL_stringArray::Insert(NumItems(), text);
}

int QEL_idArray::Insert(int pos, const char* text) {
    if (ValidId(text) != 1) return QEL_OUT_OF_RANGE;
    return QEL_stringArray::Insert(pos, text);
}

int QEL_idArray::SetString(int index, const char* text) {
    if (ValidId(text, index) != 1) return QEL_OUT_OF_RANGE;
    return QEL_stringArray::SetString(index, text);
}

int QEL_idArray::MakeValidId(char* text) {
    if (text == nullptr || text[0] == '\0') return QEL_OUT_OF_RANGE;
    if (!IsLetter(text[0])) text[0] = 'x';
    for (char* p = text + 1; *p != '\0'; p++) {
        if (!IsIdChar(*p)) *p = '_';
    }
    return 0;
}

int QEL_idArray::MakeValidIdExtra(char* text) {
    if (text == nullptr || text[0] == '\0') return QEL_OUT_OF_RANGE;
    if (!IsLetter(text[0])) {
        memmove(text + 1, text, strlen(text) + 1);
        text[0] = 'x';
    }
    for (char* p = text + 1; *p != '\0'; p++) {
        if (!IsIdChar(*p)) *p = '_';
    }
    return 0;
}

int QEL_idArray::CreateValidId(const char* base, int number, char* out) const {
    if (base == nullptr || base[0] == '\0') base = "x";
    size_t length = strlen(base);
    if (length > static_cast<size_t>(maxBaseLength)) length = maxBaseLength;
    memcpy(out, base, length);
    out[length] = '\0';
    MakeValidIdExtra(out);
    if (number < 0 && ValidId(out) != 0) return 0;
    // The digits go after the repaired base and are rewritten in place for
    // each candidate. A negative number yields "-", which is never valid, so
    // the search runs on up to the first non-negative free number.
    char* digits = out + strlen(out);
    snprintf(digits, 12, "%d", number);
    while (ValidId(out) != 1) {
        number++;
        snprintf(digits, 12, "%d", number);
    }
    return 0;
}

int QEL_idArray::CreateAndAddValidId(const char* base, int number) {
    char id[idBufferSize];
    CreateValidId(base, number, id);
    return QEL_stringArray::Insert(NumItems(), id);
}

int QEL_idArray::CreateAndInsertValidId(const char* base, int number, int pos) {
    char id[idBufferSize];
    CreateValidId(base, number, id);
    return QEL_stringArray::Insert(pos, id);
}

int QEL_idArray::AddBlank() {
    return QEL_stringArray::Insert(NumItems(), "");
}

int QEL_idArray::MakeConsistent() {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    QEL_stringArray old;
    old = *this;
    CleanUp();
    int rc = 0;
    char buffer[idBufferSize];
    for (int i = 0; i < old.NumItems(); i++) {
        const char* id = old[i];
        if (Add(id) == 0) continue;
        size_t length = id != nullptr ? strlen(id) : 0;
        if (length > static_cast<size_t>(maxBaseLength)) length = maxBaseLength;
        if (length > 0) memcpy(buffer, id, length);
        buffer[length] = '\0';
        MakeValidIdExtra(buffer);
        if (Add(buffer) == 0) continue;
        if (CreateAndAddValidId(buffer, 2) != 0) rc = QEL_OUT_OF_RANGE;
    }
    if (rc != 0) QEL_stringArray::operator=(old);
    return rc;
}

int QEL_idArray::CheckConsistency(int /*deep*/) {
    if (!IsReady()) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    char** slots = Items();
    bool allValid = true;
    for (int i = 0; i < NumItems() && allValid; i++) {
        // Take the slot out so that its own text does not count as a
        // duplicate, then put it back.
        char* id = slots[i];
        slots[i] = nullptr;
        allValid = ValidId(id) == 1;
        slots[i] = id;
    }
    if (allValid) {
        SetObjectConsistent();
        return 0;
    }
    SetObjectNotConsistent();
    return QEL_OBJECT_NOT_CONSISTENT;
}
