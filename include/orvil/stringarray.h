// Owned string arrays: QEL_stringArray, QEL_idArray and strarray.
//
// QEL_stringArray holds a block of string pointers, each owned by the array
// or null. Every store copies its text, and deleting a slot frees the copy.
// As with the number arrays, `size` is the capacity (every slot below it is
// addressable) and `numItems` the length when used as a list; the block
// grows by `delta` slots at a time. QEL_idArray admits only valid, unique
// identifiers: it holds outcome names and other ids that end up in model
// files. strarray wraps a caller's plain array of strings.
#ifndef ORVIL_STRINGARRAY_H
#define ORVIL_STRINGARRAY_H

#include "orvil/object.h"

class QEL_intArray;

class QEL_stringArray : public QEL_object {
public:
    // Growth step used when none (or a step below 1) is given.
    static const int defaultDelta = 10;

    // Empty, with no store; ready.
    QEL_stringArray();
    // An array of `size` empty slots. `delta` below 1 becomes 10. A nonzero
    // `size` cleans the array up while sizing it, which resets the step to
    // 10, so `delta` takes effect only with `size` 0.
    QEL_stringArray(int size, int delta);
    // A deep copy (as operator=).
    QEL_stringArray(const QEL_stringArray& other);
    // Copies size, list length, step and every string. A no-op on itself.
    // Returns 0, or -567 when `other` is not ready.
    int operator=(const QEL_stringArray& other);
    ~QEL_stringArray() override;

    // Slot `index`, unchecked.
    const char* operator[](int index) const { return items[index]; }
    // Slot `index`, or null when it is outside 0..size-1.
    const char* Subscript(int index) const;
    char** Items() { return items; }
    const char* const* Items() const { return items; }
    int NumItems() const { return numItems; }
    int GetSize() const { return size; }

    // Stores a copy of `text` (or an empty slot for null) in slot `index`,
    // leaving the list length alone. -2 unless 0 <= index < size, -567 when
    // not ready; else 0.
    virtual int SetString(int index, const char* text);
    // Insert(NumItems(), text).
    virtual int Add(const char* text);
    // Opens list position `pos` and stores a copy of `text` there (null
    // leaves the slot empty), growing by `delta` slots when full. -2 unless
    // 0 <= pos <= numItems, -567 when not ready; else 0.
    virtual int Insert(int pos, const char* text);

    // Unchecked: frees slot `index`'s string, then stores a copy of `text`
    // unless it is null. Returns 0.
    int ChangeString(int index, const char* text);
    // Frees slot `index`'s string and leaves it empty. -2 outside
    // 0..size-1, else 0.
    int DeleteString(int index);
    // Frees slot `index`'s string, shortens the list by one (never below 0)
    // and moves the later list slots down. -2 unless ready and
    // 0 <= index < size; the test is against the capacity, as in the number
    // arrays.
    int Delete(int index);
    // Deletes the first list slot equal to `text`; -2 when there is none.
    int DeleteByContent(const char* text);
    // First list index whose string equals `text` (empty slots skipped), or
    // -2; -2 also for a null `text` or an object that is not ready.
    int FindPosition(const char* text) const;
    // 1 when FindPosition finds `text`, else 0.
    int IsInList(const char* text) const;
    // Empties the list and makes `n` empty slots, replacing the store when
    // the size changes. A not-ready object is cleaned up first. -2 if n < 0.
    int SetSize(int n);
    // Empties the list; resizes only when `n` exceeds the size. -2 if n < 0.
    int RoomGuaranteed(int n);
    // numItems = n when 0 <= n < size, else numItems = size. Returns 0.
    int UseAsList(int n);
    // Frees every string in all slots and empties the list; size kept.
    void Flush();
    // Frees everything: no store, size and list length 0, step 10. Leaves
    // the object ready. Returns 0.
    int CleanUp(int deep = 0) override;
    // Copies the first min(size, other.size) strings. -567 when `other` is
    // not ready, else 0.
    int FillFrom(const QEL_stringArray& other);
    // Permutes the first n slots, n = newOrder.NumItems(), so that
    // new[i] = old[newOrder[i]]. n must equal numItems or size, and newOrder
    // must be a permutation; otherwise -2 and nothing changes.
    int ChangeOrder(const QEL_intArray& newOrder);
    // Ready when the store is absent with size and list length 0, or present
    // with size >= 1 and 0 <= numItems <= size, and delta > 0. Sets or clears
    // the ready bit; returns 0 when ready, else -567.
    int CheckReadiness(int deep = 0) override;

protected:
    // Adds `delta` empty slots. -567 when not ready, else 0.
    int Grow();

private:
    void FreeAll();

    char** items;
    int size;
    int numItems;
    int delta;
};

// An array of identifiers: a letter first, then letters, digits or "_",
// each unique within the array. The empty string is admitted when
// `allowBlank` is set.
class QEL_idArray : public QEL_stringArray {
public:
    // Room for the text CreateValidId builds: 1,021 characters of base text,
    // a prefix character and a decimal number.
    static const int idBufferSize = 1040;

    explicit QEL_idArray(bool allowBlank = false);
    QEL_idArray(int size, int delta, bool allowBlank);
    // Takes over `allowBlank` only and starts empty: ids are not copied.
    QEL_idArray(const QEL_idArray& other);
    // The plain string assignment: no validation, `allowBlank` kept.
    int operator=(const QEL_stringArray& other) { return QEL_stringArray::operator=(other); }
    int operator=(const QEL_idArray& other) { return QEL_stringArray::operator=(other); }

    bool AllowsBlank() const { return allowBlank; }

    // 1 when `id` is a valid identifier not yet in the list, else 0. Null is
    // 0; the empty string is 1 exactly when blanks are allowed.
    int ValidId(const char* id) const;
    // The same, but slot `index` is left out of the uniqueness scan, so that
    // a slot can be checked against the others.
    int ValidId(const char* id, int index) const;

    // As in the base, -2 unless ValidId(text) is 1.
    int Add(const char* text) override;
    // As in the base, -2 unless ValidId(text) is 1.
    int Insert(int pos, const char* text) override;
    // As in the base, -2 unless ValidId(text, index) is 1.
    int SetString(int index, const char* text) override;

    // Edits `text` in place into a valid identifier of the same length: a
    // first character that is not a letter becomes "x", every later
    // character that is neither alphanumeric nor "_" becomes "_". -2 for
    // null or empty text, else 0.
    static int MakeValidId(char* text);
    // As MakeValidId, except that a first character that is not a letter is
    // kept and "x" is put in front of it, so the text may grow by one (the
    // buffer must have room). -2 for null or empty text, else 0.
    static int MakeValidIdExtra(char* text);
    // Writes to `out` (at least idBufferSize chars) an id made from `base`
    // ("x" when null or empty) that is free in this array. With `number` < 0
    // the plain base is tried first; otherwise, or when it is taken, the
    // first free base + decimal number from `number` upwards (from 0 when
    // `number` is negative). Returns 0.
    int CreateValidId(const char* base, int number, char* out) const;
    // CreateValidId, then the base Add; returns Add's status.
    int CreateAndAddValidId(const char* base, int number);
    // CreateValidId, then the base Insert at `pos`; returns Insert's status.
    int CreateAndInsertValidId(const char* base, int number, int pos);
    // Appends the empty string through the base Insert, whether or not
    // blanks are allowed. Returns its status.
    int AddBlank();
    // Rebuilds the list so that every id is valid and unique: invalid ids
    // are repaired by MakeValidIdExtra, duplicates get the suffix 2 or the
    // next free number. -567 when not ready; -2 (old contents restored) when
    // some id could not be placed; else 0.
    int MakeConsistent();
    // Checks every list slot against the others. Sets the consistent bit and
    // returns 0 when all are valid; else clears it and returns -568 (also
    // when the object is not ready).
    int CheckConsistency(int deep = 0) override;

private:
    int CheckId(const char* id, int skip) const;

    bool allowBlank;
};

// A string array built from a caller's plain array of `count` strings (null
// entries stay empty slots), with room for 2 * count and growth step 10.
class strarray : public QEL_stringArray {
public:
    strarray(int count, const char* const* strings);
};

#endif
