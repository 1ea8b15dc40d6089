// QEL_stringArray: a block of owned string pointers that grows by `delta`
// slots. Each stored text is a private copy of strlen + 1 bytes allocated
// with new[]; an empty slot is null. Outcome names, property lists and the
// error log are built on it, so it favours simple, predictable growth over
// speed.
#include "orvil/stringarray.h"

#include <string.h>

#include "orvil/errors.h"
#include "orvil/intarray.h"

namespace {

char* CopyText(const char* text) {
    if (text == nullptr) return nullptr;
    size_t n = strlen(text) + 1;
    char* copy = new char[n];
    memcpy(copy, text, n);
    return copy;
}

}  // namespace

QEL_stringArray::QEL_stringArray() : items(nullptr), size(0), numItems(0), delta(defaultDelta) {
    SetObjectReady();
}

QEL_stringArray::QEL_stringArray(int size, int delta)
    : items(nullptr), size(0), numItems(0), delta(delta < 1 ? defaultDelta : delta) {
    // Ready before sizing, so that SetSize does not clean up (and reset the
    // step) merely because construction has not finished.
    SetObjectReady();
    SetSize(size);
}

QEL_stringArray::QEL_stringArray(const QEL_stringArray& other)
    : QEL_object(other), items(nullptr), size(0), numItems(0), delta(defaultDelta) {
    SetObjectReady();
    *this = other;
}

int QEL_stringArray::operator=(const QEL_stringArray& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (this == &other) return 0;
    SetSize(other.size);
    numItems = other.numItems;
    delta = other.delta;
    for (int i = 0; i < size; i++) ChangeString(i, other.items[i]);
    return 0;
}

QEL_stringArray::~QEL_stringArray() {
    FreeAll();
}

void QEL_stringArray::FreeAll() {
    for (int i = 0; i < size; i++) delete[] items[i];
    delete[] items;
    items = nullptr;
    size = 0;
    numItems = 0;
}

const char* QEL_stringArray::Subscript(int index) const {
    if (index < 0 || index >= size) return nullptr;
    return items[index];
}

int QEL_stringArray::SetString(int index, const char* text) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (index < 0 || index >= size) return QEL_OUT_OF_RANGE;
    return ChangeString(index, text);
}

int QEL_stringArray::Add(const char* text) {
    return QEL_stringArray::Insert(numItems, text);
}

int QEL_stringArray::Insert(int pos, const char* text) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (pos < 0 || pos > numItems) return QEL_OUT_OF_RANGE;
    if (numItems == size) {
        int rc = Grow();
        if (rc != 0) return rc;
    }
    // The slot at numItems is free (null or a leftover beyond the list):
    // release it before the list moves over it.
    delete[] items[numItems];
    memmove(items + pos + 1, items + pos, sizeof(char*) * (numItems - pos));
    items[pos] = CopyText(text);
    numItems++;
    return 0;
}

int QEL_stringArray::ChangeString(int index, const char* text) {
    delete[] items[index];
    items[index] = CopyText(text);
    return 0;
}

int QEL_stringArray::DeleteString(int index) {
    if (index < 0 || index >= size) return QEL_OUT_OF_RANGE;
    delete[] items[index];
    items[index] = nullptr;
    return 0;
}

int QEL_stringArray::Delete(int index) {
    if (!IsReady() || index < 0 || index >= size) return QEL_OUT_OF_RANGE;
    delete[] items[index];
    items[index] = nullptr;
    // An index beyond the list frees that slot and still shortens the list,
    // as the number arrays do.
    if (index < numItems) {
        memmove(items + index, items + index + 1, sizeof(char*) * (numItems - index - 1));
        items[numItems - 1] = nullptr;
    }
    if (numItems > 0) numItems--;
    return 0;
}

int QEL_stringArray::DeleteByContent(const char* text) {
    int pos = FindPosition(text);
    if (pos < 0) return QEL_OUT_OF_RANGE;
    return Delete(pos);
}

int QEL_stringArray::FindPosition(const char* text) const {
    if (!IsReady() || text == nullptr) return QEL_OUT_OF_RANGE;
    for (int i = 0; i < numItems; i++) {
        if (items[i] != nullptr && strcmp(items[i], text) == 0) return i;
    }
    return QEL_OUT_OF_RANGE;
}

int QEL_stringArray::IsInList(const char* text) const {
    return FindPosition(text) >= 0 ? 1 : 0;
}

int QEL_stringArray::SetSize(int n) {
    if (n < 0) return QEL_OUT_OF_RANGE;
    if (!IsReady()) CleanUp();
    numItems = 0;
    if (size == n) return 0;
    CleanUp();
    if (n == 0) return 0;
    items = new char*[n]();
    size = n;
    return 0;
}

int QEL_stringArray::RoomGuaranteed(int n) {
    if (n < 0) return QEL_OUT_OF_RANGE;
    numItems = 0;
    if (n > size) return SetSize(n);
    return 0;
}

int QEL_stringArray::UseAsList(int n) {
    numItems = (n >= 0 && n < size) ? n : size;
    return 0;
}

void QEL_stringArray::Flush() {
    for (int i = 0; i < size; i++) {
        delete[] items[i];
        items[i] = nullptr;
    }
    numItems = 0;
}

int QEL_stringArray::CleanUp(int deep) {
    FreeAll();
    delta = defaultDelta;
    return QEL_object::CleanUp(deep);
}

int QEL_stringArray::FillFrom(const QEL_stringArray& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (this == &other) return 0;
    int n = size < other.size ? size : other.size;
    for (int i = 0; i < n; i++) ChangeString(i, other.items[i]);
    return 0;
}

int QEL_stringArray::ChangeOrder(const QEL_intArray& newOrder) {
    int n = newOrder.NumItems();
    if (n != numItems && n != size) return QEL_OUT_OF_RANGE;
    QEL_intArray seen(n);
    seen.FillWith(0);
    const int* order = newOrder.Items();
    for (int i = 0; i < n; i++) {
        int e = order[i];
        if (e < 0 || e >= n || seen.Subscript(e)) return QEL_OUT_OF_RANGE;
        seen.Subscript(e) = 1;
    }
    if (n == 0) return 0;
    // The pointers change places; no text is copied.
    char** reordered = new char*[n];
    for (int i = 0; i < n; i++) reordered[i] = items[order[i]];
    memcpy(items, reordered, sizeof(char*) * n);
    delete[] reordered;
    return 0;
}

int QEL_stringArray::CheckReadiness(int /*deep*/) {
    bool empty = items == nullptr && size == 0 && numItems == 0;
    bool held = items != nullptr && size >= 1 && numItems >= 0 && numItems <= size;
    if ((empty || held) && delta > 0) {
        SetObjectReady();
        return 0;
    }
    SetObjectNotReady();
    return QEL_OBJECT_NOT_READY;
}

int QEL_stringArray::Grow() {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    int newSize = size + delta;
    char** block = new char*[newSize]();
    if (size > 0) memcpy(block, items, sizeof(char*) * size);
    delete[] items;
    items = block;
    size = newSize;
    return 0;
}
