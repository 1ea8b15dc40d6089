// QEL_doubleArray: the engine's array of doubles, used for probability
// columns, weights and parameter vectors.
//
// The first 4 items live inside the object. As with QEL_intArray, one object
// serves as an array (SetSize, operator[], GetSize: `size` is the length) or
// as a list (Add, NumItems: `numitems` is the length, `size` spare
// capacity). Unlike the int array, shrinking keeps the store and its items,
// and CleanUp leaves the store null. Item access, Add and Swap are inline
// because inner loops call them.
#ifndef ORVIL_DOUBLEARRAY_H
#define ORVIL_DOUBLEARRAY_H

#include <assert.h>

class QEL_intArray;

class QEL_doubleArray {
public:
    // Items held inside the object before a heap block is needed.
    static const int localCapacity = 4;

    // Empty, on the inline store; allocates nothing.
    QEL_doubleArray() : items(localItems), size(0), numitems(0) {}
    // An array of `n` uninitialised items (SetSize(n)); a negative `n` gives
    // an empty array.
    explicit QEL_doubleArray(int n);
    // Same `size` and `numitems`, all `size` items copied.
    QEL_doubleArray(const QEL_doubleArray& other);
    // SetSize(other.size), then `numitems` and all `size` items copied.
    QEL_doubleArray& operator=(const QEL_doubleArray& other);
    ~QEL_doubleArray() {
        if (IsDynamic()) delete[] items;
    }

    // True when `index` is addressable: 0 <= index < size.
    bool Ok(int index) const { return index >= 0 && index < size; }
    // Item access, asserted against `size` where assertions are compiled in.
    double& operator[](int index) {
        assert(Ok(index));
        return items[index];
    }
    const double& operator[](int index) const {
        assert(Ok(index));
        return items[index];
    }
    // Item access without any test.
    double& Subscript(int index) { return items[index]; }
    const double& Subscript(int index) const { return items[index]; }

    int GetSize() const { return size; }
    int NumItems() const { return numitems; }
    // The store in use; null after CleanUp.
    double* Items() { return items; }
    const double* Items() const { return items; }

    // Appends `value` to the list, doubling the capacity when it is full.
    // Returns 0.
    int Add(double value) {
        if (numitems == size) Grow();
        items[numitems++] = value;
        return 0;
    }
    // Inserts `value` at list position `pos`. -2 unless 0 <= pos <= numitems.
    int Insert(int pos, double value);
    // Removes item `index` from the list. -2 unless 0 <= index < size: the
    // test is against the capacity, so deleting beyond the list end still
    // shortens the list by one (never below 0).
    int Delete(int index);
    // Deletes the first occurrence of `value` (compared with ==); -2 when
    // absent.
    int DeleteByContent(double value);
    // First list index holding `value`, or -2.
    int FindPosition(double value) const;
    // 1 when `value` is in the list, else 0.
    int IsInList(double value) const;
    // Empties the list; capacity and items stay.
    void Flush() { numitems = 0; }
    // Frees a heap store; the store becomes null, size and list length 0.
    void CleanUp();
    // Makes an array of `n` items and empties the list. -2 if n < 0.
    // Growing replaces the store without preserving items; shrinking keeps
    // the store and its items and only lowers the size. Returns 0 on success.
    int SetSize(int n);
    // Empties the list, then makes sure `n` items are addressable. -2 if
    // n < 0. Not a reserve: a replaced store loses the old items.
    int RoomGuaranteed(int n);
    // Turns the array into a list of its first `n` items: numitems = n when
    // 0 <= n < size, else numitems = size. Returns 0.
    int UseAsList(int n);
    // Copies the first min(size, other.size) items; the list length stays.
    // Returns 0.
    int FillFrom(const QEL_doubleArray& other);
    // Sets all `size` items to `value`. Returns 0.
    int FillWith(double value);
    // Permutes the first n items, n = newOrder.NumItems(), so that
    // new[i] = old[newOrder[i]]. n must equal numitems or size, and newOrder
    // must be a permutation of 0..n-1; otherwise -2 and nothing changes.
    int ChangeOrder(const QEL_intArray& newOrder);
    // Exchanges contents with `other` without allocating; never fails.
    void Swap(QEL_doubleArray& other) {
        if (IsDynamic() && other.IsDynamic()) {
            double* t = items;
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

    // Doubles the capacity (4 when it was 0), keeping the `size` items and
    // the list length. Returns 0.
    int Grow();

private:
    bool IsDynamic() const { return items != nullptr && items != localItems; }
    void SwapCounts(QEL_doubleArray& other) {
        int t = size;
        size = other.size;
        other.size = t;
        t = numitems;
        numitems = other.numitems;
        other.numitems = t;
    }
    // Both stores inline (or null, which only an empty array has): exchange
    // the items either side may be using. Both end on their inline store.
    void SwapLocalItems(QEL_doubleArray& other) {
        int n = size > other.size ? size : other.size;
        for (int i = 0; i < n; i++) {
            double t = localItems[i];
            localItems[i] = other.localItems[i];
            other.localItems[i] = t;
        }
        items = localItems;
        other.items = other.localItems;
    }
    // This store is on the heap, `inlineSide`'s is not: the heap block
    // changes hands and the inline items are copied across. The counts are
    // exchanged by the caller.
    void SwapWithDynamic(QEL_doubleArray& inlineSide) {
        for (int i = 0; i < inlineSide.size; i++) localItems[i] = inlineSide.localItems[i];
        inlineSide.items = items;
        items = localItems;
    }
    void CopyItems(const double* from, int count);

    double localItems[localCapacity];
    double* items;
    int size;
    int numitems;
};

#endif
