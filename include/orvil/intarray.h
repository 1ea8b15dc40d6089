// QEL_intArray: the engine's array of ints, used for parent lists, node
// handle lists, coordinates and dimensions.
//
// The first 8 items live inside the object, so the many short arrays of a
// network need no heap at all. One object serves two uses that must not be
// mixed up: as an array (SetSize, operator[], GetSize) `size` is the length
// and `numitems` stays 0; as a list (Add, NumItems) `numitems` is the length
// and `size` is only spare capacity. Item access, Add and Swap are inline
// because inner loops call them.
#ifndef ORVIL_INTARRAY_H
#define ORVIL_INTARRAY_H

#include <assert.h>

class QEL_intArray {
public:
    // Items held inside the object before a heap block is needed.
    static const int localCapacity = 8;

    // Empty, on the inline store; allocates nothing.
    QEL_intArray() : items(localItems), size(0), numitems(0) {}
    // An array of `n` uninitialised items (SetSize(n)); a negative `n` gives
    // an empty array.
    explicit QEL_intArray(int n);
    // Same `size` and `numitems`, all `size` items copied.
    QEL_intArray(const QEL_intArray& other);
    // SetSize(other.size), then `numitems` and all `size` items copied.
    QEL_intArray& operator=(const QEL_intArray& other);
    ~QEL_intArray() {
        if (IsDynamic()) delete[] items;
    }

    // True when `index` is addressable: 0 <= index < size.
    bool Ok(int index) const { return index >= 0 && index < size; }
    // Item access, asserted against `size` where assertions are compiled in.
    int& operator[](int index) {
        assert(Ok(index));
        return items[index];
    }
    const int& operator[](int index) const {
        assert(Ok(index));
        return items[index];
    }
    // Item access without any test.
    int& Subscript(int index) { return items[index]; }
    const int& Subscript(int index) const { return items[index]; }

    int GetSize() const { return size; }
    int NumItems() const { return numitems; }
    int* Items() { return items; }
    const int* Items() const { return items; }
    // The item at size - 1 and at numitems - 1; the caller ensures they exist.
    int& Last() { return items[size - 1]; }
    int& List_Last() { return items[numitems - 1]; }
    int Last() const { return items[size - 1]; }
    int List_Last() const { return items[numitems - 1]; }

    // Appends `value` to the list, doubling the capacity when it is full.
    // Returns 0.
    int Add(int value) {
        if (numitems == size) Grow();
        items[numitems++] = value;
        return 0;
    }
    // Add, unless `value` is already in the list: then -2.
    int AddExclusive(int value);
    // Inserts `value` at list position `pos`. -2 unless 0 <= pos <= numitems.
    int Insert(int pos, int value);
    // Removes item `index` from the list. -2 unless 0 <= index < size: the
    // test is against the capacity, so deleting beyond the list end still
    // shortens the list by one (never below 0).
    int Delete(int index);
    // Deletes the first occurrence of `value` in the list; -2 when absent.
    int DeleteByContent(int value);
    // Keeps the first occurrence of every value in the list, order kept.
    // Returns 0.
    int DeleteDuplicates();
    // First list index holding `value`, or -2.
    int FindPosition(int value) const;
    // 1 when `value` is in the list, else 0.
    int IsInList(int value) const;
    // Empties the list; capacity and items stay.
    void Flush() { numitems = 0; }
    // Frees a heap store; back to the empty inline state.
    void CleanUp();
    // Makes an array of `n` items and empties the list. -2 if n < 0. The same
    // size keeps the items; shrinking to n <= 8 returns to the inline store
    // without copying; otherwise the store is replaced and items are not
    // preserved. Returns 0 on success.
    int SetSize(int n);
    // Empties the list, then makes sure `n` items are addressable. -2 if
    // n < 0. Not a reserve: a replaced store loses the old items.
    int RoomGuaranteed(int n);
    // Turns the array into a list of its first `n` items: numitems = n when
    // 0 <= n < size, else numitems = size. Returns 0.
    int UseAsList(int n);
    // Copies the first min(size, other.size) items; the list length stays.
    // Returns 0.
    int FillFrom(const QEL_intArray& other);
    // Sets all `size` items to `value`. Returns 0.
    int FillWith(int value);
    // Permutes the first n items, n = newOrder.NumItems(), so that
    // new[i] = old[newOrder[i]]. n must equal numitems or size, and newOrder
    // must be a permutation of 0..n-1; otherwise -2 and nothing changes.
    int ChangeOrder(const QEL_intArray& newOrder);
    // Exchanges contents with `other` without allocating; never fails.
    void Swap(QEL_intArray& other) {
        if (IsDynamic() && other.IsDynamic()) {
            int* t = items;
            items = other.items;
            other.items = t;
        } else if (!IsDynamic() && !other.IsDynamic()) {
            SwapLocalItems(other);
        } else if (IsDynamic()) {
            SwapWithDynamic(other);
        } else {
            other.SwapWithDynamic(*this);
        }
        SwapCounts(other);
    }

    // Same size, same list length, and all `size` items equal (spare
    // capacity included).
    bool operator==(const QEL_intArray& other) const;
    bool operator!=(const QEL_intArray& other) const { return !(*this == other); }
    // Not an ordering: true only when the sizes match and every one of the
    // `size` items is strictly below its counterpart. Two empty arrays
    // compare true.
    bool operator<(const QEL_intArray& other) const;

    // Doubles the capacity (8 when it was 0), keeping the `size` items and
    // the list length. Returns 0.
    int Grow();

private:
    bool IsDynamic() const { return items != nullptr && items != localItems; }
    void SwapCounts(QEL_intArray& other) {
        int t = size;
        size = other.size;
        other.size = t;
        t = numitems;
        numitems = other.numitems;
        other.numitems = t;
    }
    // Both stores inline: exchange the items either side may be using.
    void SwapLocalItems(QEL_intArray& other) {
        int n = size > other.size ? size : other.size;
        for (int i = 0; i < n; i++) {
            int t = localItems[i];
            localItems[i] = other.localItems[i];
            other.localItems[i] = t;
        }
    }
    // This store is on the heap, `inlineSide`'s is not: the heap block
    // changes hands and the inline items are copied across. The counts are
    // exchanged by the caller.
    void SwapWithDynamic(QEL_intArray& inlineSide) {
        for (int i = 0; i < inlineSide.size; i++) localItems[i] = inlineSide.localItems[i];
        inlineSide.items = items;
        items = localItems;
    }
    void CopyItems(const int* from, int count);

    int localItems[localCapacity];
    int* items;
    int size;
    int numitems;
};

#endif
