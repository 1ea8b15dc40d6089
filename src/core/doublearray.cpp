// The out-of-line operations of QEL_doubleArray. The inline store holds 4
// items. Sizing differs from the int array on purpose: shrinking keeps the
// store (so a probability column resized down and up again stays put), and
// CleanUp leaves a null store. Items are plain doubles, moved by memcpy.
#include "orvil/doublearray.h"

#include <string.h>

#include "orvil/intarray.h"

QEL_doubleArray::QEL_doubleArray(int n) : items(localItems), size(0), numitems(0) {
    SetSize(n);
}

QEL_doubleArray::QEL_doubleArray(const QEL_doubleArray& other)
    : items(localItems), size(other.size), numitems(other.numitems) {
    if (size > localCapacity) items = new double[size];
    CopyItems(other.items, size);
}

QEL_doubleArray& QEL_doubleArray::operator=(const QEL_doubleArray& other) {
    if (this == &other) return *this;
    SetSize(other.size);
    numitems = other.numitems;
    CopyItems(other.items, size);
    return *this;
}

void QEL_doubleArray::CopyItems(const double* from, int count) {
    if (count > 0) memcpy(items, from, sizeof(double) * count);
}

int QEL_doubleArray::Grow() {
    int newSize = size > 0 ? 2 * size : localCapacity;
    double* target = newSize > localCapacity ? new double[newSize] : localItems;
    if (target != items && size > 0) memcpy(target, items, sizeof(double) * size);
    if (IsDynamic()) delete[] items;
    items = target;
    size = newSize;
    return 0;
}

int QEL_doubleArray::Insert(int pos, double value) {
    if (pos < 0 || pos > numitems) return -2;
    if (numitems == size) Grow();
    memmove(items + pos + 1, items + pos, sizeof(double) * (numitems - pos));
    items[pos] = value;
    numitems++;
    return 0;
}

int QEL_doubleArray::Delete(int index) {
    if (index < 0 || index >= size) return -2;
    // An index beyond the list moves nothing but still shortens the list,
    // exactly as in the int array.
    if (index < numitems) {
        memmove(items + index, items + index + 1, sizeof(double) * (numitems - index - 1));
    }
    if (numitems > 0) numitems--;
    return 0;
}

int QEL_doubleArray::DeleteByContent(double value) {
    int pos = FindPosition(value);
    if (pos < 0) return -2;
    return Delete(pos);
}

int QEL_doubleArray::FindPosition(double value) const {
    for (int i = 0; i < numitems; i++) {
        if (items[i] == value) return i;
    }
    return -2;
}

int QEL_doubleArray::IsInList(double value) const {
    return FindPosition(value) >= 0 ? 1 : 0;
}

void QEL_doubleArray::CleanUp() {
    if (IsDynamic()) delete[] items;
    items = nullptr;
    size = 0;
    numitems = 0;
}

int QEL_doubleArray::SetSize(int n) {
    if (n < 0) return -2;
    numitems = 0;
    if (n > size) {
        CleanUp();
        items = n > localCapacity ? new double[n] : localItems;
    }
    // Shrinking keeps the larger store until the array is cleaned up.
    size = n;
    return 0;
}

int QEL_doubleArray::RoomGuaranteed(int n) {
    if (n < 0) return -2;
    numitems = 0;
    if (n <= size) return 0;
    return SetSize(n);
}

int QEL_doubleArray::UseAsList(int n) {
    numitems = (n >= 0 && n < size) ? n : size;
    return 0;
}

int QEL_doubleArray::FillFrom(const QEL_doubleArray& other) {
    int n = size < other.size ? size : other.size;
    if (this != &other) CopyItems(other.items, n);
    return 0;
}

int QEL_doubleArray::FillWith(double value) {
    for (int i = 0; i < size; i++) items[i] = value;
    return 0;
}

int QEL_doubleArray::ChangeOrder(const QEL_intArray& newOrder) {
    int n = newOrder.NumItems();
    if (n != numitems && n != size) return -2;
    QEL_intArray seen(n);
    seen.FillWith(0);
    const int* order = newOrder.Items();
    for (int i = 0; i < n; i++) {
        int e = order[i];
        if (e < 0 || e >= n || seen.Subscript(e)) return -2;
        seen.Subscript(e) = 1;
    }
    QEL_doubleArray reordered(n);
    for (int i = 0; i < n; i++) reordered.items[i] = items[order[i]];
    CopyItems(reordered.items, n);
    return 0;
}
