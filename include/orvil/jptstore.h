// QEL_jptStore: joint probability tables kept from the last exact update.
//
// An engine that honours the store (the join tree) hands each clique's joint
// distribution to it as a matrix with one dimension per listed node, in list
// order. The store owns the matrices. It is emptied at the start of every
// update and whenever beliefs are invalidated, so what it holds always
// belongs to the current beliefs or to nothing.
#ifndef ORVIL_JPTSTORE_H
#define ORVIL_JPTSTORE_H

#include <utility>
#include <vector>

class QEL_Dmatrix;

class QEL_jptStore {
public:
    using Entry = std::pair<std::vector<int>, QEL_Dmatrix*>;

    QEL_jptStore() = default;
    // A deep copy: every matrix is duplicated.
    QEL_jptStore(const QEL_jptStore& other);
    QEL_jptStore& operator=(const QEL_jptStore&) = delete;
    ~QEL_jptStore();

    // Appends an entry for `nodes` with a new matrix whose dimension sizes
    // are `sizes` (one per node, each at least 1) and returns the matrix;
    // null when a size is invalid or the lists differ in length.
    QEL_Dmatrix* Add(const std::vector<int>& nodes, const std::vector<int>& sizes);
    // Frees every matrix and empties the store.
    void Clear();
    // Appends to `result` the entries whose node list holds `handle`, in
    // store order.
    void Find(int handle, std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>>& result) const;
    const std::vector<Entry>& Entries() const { return entries; }

private:
    std::vector<Entry> entries;
};

#endif
