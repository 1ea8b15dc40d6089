// fastarray: a small-buffer array for inner loops of the inference engines
// (clique member lists, odometer index lists, node lists of a pruned model).
//
// The first N items live inside the object; only a longer array touches the
// heap. Items are copied by assignment, so T should be a plain value (ints,
// bools, pointers). Shrinking only lowers the count, so a scratch array that
// is resized many times settles at its largest size and stops allocating.
#ifndef ORVIL_FASTARRAY_H
#define ORVIL_FASTARRAY_H

#include <assert.h>

// SizeT is a signed integer type: negative counts and indices are refused.
template <class T, int N, class SizeT = int>
class fastarray {
public:
    // Empty, on the inline store; allocates nothing.
    fastarray() : items(localItems), capacity(N), count(0) {}
    // `n` uninitialised items.
    explicit fastarray(SizeT n) : fastarray() { SetCount(n); }
    fastarray(const fastarray& other) : fastarray() { CopyFrom(other); }
    fastarray& operator=(const fastarray& other) {
        if (this != &other) CopyFrom(other);
        return *this;
    }
    ~fastarray() {
        if (capacity > N) delete[] items;
    }

    bool Ok(SizeT index) const { return index >= 0 && index < count; }
    T& operator[](SizeT index) {
        assert(Ok(index));
        return items[index];
    }
    const T& operator[](SizeT index) const {
        assert(Ok(index));
        return items[index];
    }

    SizeT Count() const { return count; }
    SizeT Capacity() const { return capacity; }
    bool IsEmpty() const { return count == 0; }
    T* Items() { return items; }
    const T* Items() const { return items; }
    T* begin() { return items; }
    T* end() { return items + count; }
    const T* begin() const { return items; }
    const T* end() const { return items + count; }
    // The last item; the caller ensures there is one.
    T& Last() { return items[count - 1]; }
    const T& Last() const { return items[count - 1]; }

    // Sets the count to `n` (a negative `n` counts as 0). Growing beyond the
    // capacity allocates a block of exactly `n`, keeping the old items; the
    // new items are uninitialised. Shrinking only lowers the count.
    void SetCount(SizeT n) {
        if (n < 0) n = 0;
        if (n > capacity) Reallocate(n);
        count = n;
    }
    // Empties the array; the store stays.
    void Clear() { count = 0; }
    // Appends `value`. A full array doubles its capacity, so a long run of
    // appends copies each item a bounded number of times.
    void Add(const T& value) {
        if (count == capacity) Reallocate(capacity > 0 ? capacity * 2 : 1);
        items[count++] = value;
    }
    // Removes item `index`, moving later items down. Returns false when the
    // index is out of range.
    bool Delete(SizeT index) {
        if (index < 0 || index >= count) return false;
        for (SizeT i = index + 1; i < count; i++) items[i - 1] = items[i];
        count--;
        return true;
    }
    // First index holding `value`, or -1.
    SizeT IndexOf(const T& value) const {
        for (SizeT i = 0; i < count; i++) {
            if (items[i] == value) return i;
        }
        return -1;
    }
    // Sets every item to `value`.
    void Fill(const T& value) {
        for (SizeT i = 0; i < count; i++) items[i] = value;
    }

private:
    void Reallocate(SizeT newCapacity) {
        T* block = new T[newCapacity];
        for (SizeT i = 0; i < count; i++) block[i] = items[i];
        if (capacity > N) delete[] items;
        items = block;
        capacity = newCapacity;
    }
    void CopyFrom(const fastarray& other) {
        count = 0;
        SetCount(other.count);
        for (SizeT i = 0; i < count; i++) items[i] = other.items[i];
    }

    T localItems[N];
    T* items;
    SizeT capacity;
    SizeT count;
};

#endif
