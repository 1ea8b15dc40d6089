// The out-of-line operations of QEL_intArray: growth, sizing, list editing
// and reordering. The inline store holds 8 items; a heap block is used only
// beyond that. Items are plain ints, so blocks move by memcpy.
#include "orvil/intarray.h"

#include <string.h>

QEL_intArray::QEL_intArray(int n) : items(localItems), size(0), numitems(0) {
    SetSize(n);
}

QEL_intArray::QEL_intArray(const QEL_intArray& other)
    : items(localItems), size(other.size), numitems(other.numitems) {
    if (size > localCapacity) items = new int[size];
    CopyItems(other.items, size);
}

QEL_intArray& QEL_intArray::operator=(const QEL_intArray& other) {
    if (this == &other) return *this;
    SetSize(other.size);
    numitems = other.numitems;
    CopyItems(other.items, size);
    return *this;
}

void QEL_intArray::CopyItems(const int* from, int count) {
    if (count > 0) memcpy(items, from, sizeof(int) * count);
}

int QEL_intArray::Grow() {
    int newSize = size > 0 ? 2 * size : localCapacity;
    int* target = newSize > localCapacity ? new int[newSize] : localItems;
    if (target != items && size > 0) memcpy(target, items, sizeof(int) * size);
    if (IsDynamic()) delete[] items;
    items = target;
    size = newSize;
    return 0;
}

int QEL_intArray::AddExclusive(int value) {
    if (IsInList(value)) return -2;
    return Add(value);
}

int QEL_intArray::Insert(int pos, int value) {
    if (pos < 0 || pos > numitems) return -2;
    if (numitems == size) Grow();
    memmove(items + pos + 1, items + pos, sizeof(int) * (numitems - pos));
    items[pos] = value;
    numitems++;
    return 0;
}

int QEL_intArray::Delete(int index) {
    if (index < 0 || index >= size) return -2;
    // An index beyond the list moves nothing but still shortens the list:
    // callers rely on that to drop the last list item by a capacity index.
    if (index < numitems) {
        memmove(items + index, items + index + 1, sizeof(int) * (numitems - index - 1));
    }
    if (numitems > 0) numitems--;
    return 0;
}

int QEL_intArray::DeleteByContent(int value) {
    int pos = FindPosition(value);
    if (pos < 0) return -2;
    return Delete(pos);
}

int QEL_intArray::DeleteDuplicates() {
    int kept = 0;
    for (int i = 0; i < numitems; i++) {
        bool seen = false;
        for (int j = 0; j < kept && !seen; j++) seen = items[j] == items[i];
        if (!seen) items[kept++] = items[i];
    }
    numitems = kept;
    return 0;
}

int QEL_intArray::FindPosition(int value) const {
    for (int i = 0; i < numitems; i++) {
        if (items[i] == value) return i;
    }
    return -2;
}

int QEL_intArray::IsInList(int value) const {
    return FindPosition(value) >= 0 ? 1 : 0;
}

void QEL_intArray::CleanUp() {
    if (IsDynamic()) delete[] items;
    items = localItems;
    size = 0;
    numitems = 0;
}

int QEL_intArray::SetSize(int n) {
    if (n < 0) return -2;
    numitems = 0;
    if (n == size) return 0;
    if (n < size && n <= localCapacity) {
        // Back to the inline store without copying: what it holds now is
        // whatever it held before the heap block was taken.
        if (IsDynamic()) delete[] items;
        items = localItems;
        size = n;
        return 0;
    }
    CleanUp();
    if (n > localCapacity) items = new int[n];
    size = n;
    return 0;
}

int QEL_intArray::RoomGuaranteed(int n) {
    if (n < 0) return -2;
    numitems = 0;
    if (n <= size) return 0;
    return SetSize(n);
}

int QEL_intArray::UseAsList(int n) {
    numitems = (n >= 0 && n < size) ? n : size;
    return 0;
}

int QEL_intArray::FillFrom(const QEL_intArray& other) {
    int n = size < other.size ? size : other.size;
    if (this != &other) CopyItems(other.items, n);
    return 0;
}

int QEL_intArray::FillWith(int value) {
    for (int i = 0; i < size; i++) items[i] = value;
    return 0;
}

int QEL_intArray::ChangeOrder(const QEL_intArray& newOrder) {
    int n = newOrder.numitems;
    if (n != numitems && n != size) return -2;
    QEL_intArray seen(n);
    seen.FillWith(0);
    for (int i = 0; i < n; i++) {
        int e = newOrder.items[i];
        if (e < 0 || e >= n || seen.items[e]) return -2;
        seen.items[e] = 1;
    }
    // `seen` has served its purpose: reuse it as the reordered copy.
    for (int i = 0; i < n; i++) seen.items[i] = items[newOrder.items[i]];
    CopyItems(seen.items, n);
    return 0;
}

bool QEL_intArray::operator==(const QEL_intArray& other) const {
    if (size != other.size || numitems != other.numitems) return false;
    for (int i = 0; i < size; i++) {
        if (items[i] != other.items[i]) return false;
    }
    return true;
}

bool QEL_intArray::operator<(const QEL_intArray& other) const {
    if (size != other.size) return false;
    for (int i = 0; i < size; i++) {
        if (!(items[i] < other.items[i])) return false;
    }
    return true;
}
