// The joint-probability store: clique tables the join tree leaves behind.
//
// The store is a list of (node handles, owned matrix) pairs in the order the
// engine produced them. It exists only after EnableJptStore(true); then it
// is emptied at the start of every update and whenever beliefs are
// invalidated, so its tables always belong to the current beliefs.
#include <cstddef>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/jptstore.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"

QEL_jptStore::QEL_jptStore(const QEL_jptStore& other) {
    entries.reserve(other.entries.size());
    for (const Entry& entry : other.entries) {
        entries.emplace_back(entry.first, new QEL_Dmatrix(*entry.second));
    }
}

QEL_jptStore::~QEL_jptStore() { Clear(); }

QEL_Dmatrix* QEL_jptStore::Add(const std::vector<int>& nodes, const std::vector<int>& sizes) {
    if (nodes.size() != sizes.size()) return nullptr;
    QEL_intArray dims;
    for (int size : sizes) dims.Add(size);
    QEL_Dmatrix* matrix = new QEL_Dmatrix;
    if (matrix->Setup(dims) != QEL_OKAY) {
        delete matrix;
        return nullptr;
    }
    entries.emplace_back(nodes, matrix);
    return matrix;
}

void QEL_jptStore::Clear() {
    for (Entry& entry : entries) delete entry.second;
    entries.clear();
}

void QEL_jptStore::Find(int handle,
                        std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>>& result) const {
    for (const Entry& entry : entries) {
        for (int node : entry.first) {
            if (node != handle) continue;
            result.emplace_back(entry.first, entry.second);
            break;
        }
    }
}

void QEL_network::EnableJptStore(bool on) {
    if (on) {
        if (jptStore == nullptr) jptStore = new QEL_jptStore;
        return;
    }
    delete jptStore;
    jptStore = nullptr;
}

void QEL_network::RemoveJpts() {
    if (jptStore != nullptr) jptStore->Clear();
}

QEL_Dmatrix* QEL_network::InitJpt(const std::vector<int>& handles) {
    if (jptStore == nullptr) return nullptr;
    std::vector<int> sizes;
    sizes.reserve(handles.size());
    for (int h : handles) {
        if (!Ok(h) || nodes[h].node->Definition() == nullptr) return nullptr;
        sizes.push_back(nodes[h].node->Definition()->GetNumberOfOutcomes());
    }
    return jptStore->Add(handles, sizes);
}

int QEL_network::GetJpts(int handle,
                         std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>>& result) const {
    if (!Ok(handle)) return QEL_OUT_OF_RANGE;
    if (jptStore == nullptr) return QEL_INVALID_VALUE;
    result.clear();
    jptStore->Find(handle, result);
    return QEL_OKAY;
}
