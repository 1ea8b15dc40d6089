// Table surgery on pruned records: slicing a parent out at its evidence,
// summing a parent out, the column sums a node summed away leaves behind,
// and testing a slice for certainty.
//
// A record's table starts as its definition's own matrix and must stay
// untouched there, so the first change of a shared table writes into a new
// owned copy, and later changes of an owned table happen in place. Tables are
// row-major with the record's own outcome last, so a parent's dimension is
// its position in `parents`.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/intarray.h"
#include "orvil/rnetwork.h"

bool QEL_rNode::Test_State(double value, const QEL_rNode* parent, int parentState, int ownState) const {
    const int p = FindParent(parent);
    if (p < 0 || table == nullptr) return false;
    return table->CheckElements(value, p, parentState, table->GetLastDimension(), ownState) == 1;
}

void QEL_rNode::Clamp_Evidence(const QEL_rNode* parent) {
    const int p = FindParent(parent);
    if (p < 0 || table == nullptr || parent->evidence < 0) return;
    if (tableKind == ownTable) {
        table->RemoveDimension(p, parent->evidence);
        return;
    }
    auto* sliced = new QEL_Dmatrix();
    if (table->RemoveDimension(p, parent->evidence, *sliced) != 0) {
        delete sliced;
        return;
    }
    Set_Probabilities_Table(sliced);
}

void QEL_rNode::Marginalize(const QEL_rNode* parent) {
    const int p = FindParent(parent);
    if (p < 0 || table == nullptr) return;
    const bool hasPrior = parent->parents.IsEmpty() && parent->table != nullptr;
    QEL_doubleArray ones;
    if (!hasPrior) {
        // No prior to weigh by: the parent is summed out as it stands.
        const int size = table->GetSizeOfDimension(p);
        ones.SetSize(size);
        for (int i = 0; i < size; ++i) ones[i] = 1.0;
    }
    const QEL_doubleArray& weights = hasPrior ? parent->table->GetItems() : ones;
    if (tableKind == ownTable) {
        table->RemoveDimension(p, weights);
        return;
    }
    auto* summed = new QEL_Dmatrix();
    if (table->RemoveDimension(p, weights, *summed) != 0) {
        delete summed;
        return;
    }
    Set_Probabilities_Table(summed);
}

namespace {

// A column sum that differs from one by no more than the rounding of adding
// `states` cells counts as one: tables whose decimal cells add up to one
// exactly still give such sums. A caller may accept more.
bool IsOne(double sum, int states, double tolerance) {
    return std::fabs(sum - 1.0) <= std::max(double(states) * DBL_EPSILON, tolerance);
}

bool ColumnsSumToOne(const QEL_Dmatrix& table, int states, double tolerance) {
    const QEL_doubleArray& cells = table.GetItems();
    for (int at = 0; at < table.GetSize(); at += states) {
        double sum = 0.0;
        for (int s = 0; s < states; ++s) sum += cells[at + s];
        if (!IsOne(sum, states, tolerance)) return false;
    }
    return true;
}

}  // namespace

QEL_Dmatrix* QEL_rNode::Column_Sums(double tolerance) const {
    if (table == nullptr || table->GetNumberOfDimensions() != parents.Count() + 1) return nullptr;
    const int states = table->GetSizeOfLastDimension();
    // Most tables pass here, with no allocation.
    if (states < 1 || ColumnsSumToOne(*table, states, tolerance)) return nullptr;
    QEL_intArray dims;
    QEL_intArray fixed;
    for (int d = 0; d < parents.Count(); ++d) {
        dims.Add(table->GetSizeOfDimension(d));
        fixed.Add(parents[d]->evidence);
    }
    dims.Add(1);
    fixed.Add(-1);
    QEL_Dmatrix sums(dims);
    const QEL_doubleArray& cells = table->GetItems();
    for (int c = 0; c < sums.GetSize(); ++c) {
        double sum = 0.0;
        for (int s = 0; s < states; ++s) sum += cells[c * states + s];
        sums[c] = sum;
    }
    auto* sliced = new QEL_Dmatrix();
    bool ones = sums.RemoveDimensions(fixed, *sliced) == 0;
    for (int c = 0; ones && c < sliced->GetSize(); ++c) ones = IsOne((*sliced)[c], states, tolerance);
    if (!ones) return sliced;
    delete sliced;
    return nullptr;
}

bool QEL_rNode::Covers(const fastarray<QEL_rNode*, 8, int>& over) const {
    for (const QEL_rNode* record : over) {
        if (record != this && FindParent(record) < 0) return false;
    }
    return true;
}

void QEL_rNode::Multiply_By(const QEL_Dmatrix& factor, const fastarray<QEL_rNode*, 8, int>& over) {
    if (table == nullptr || !Covers(over) || factor.GetNumberOfDimensions() != over.Count() + 1) return;
    const int dims = table->GetNumberOfDimensions();
    if (dims != parents.Count() + 1) return;
    // The factor's stride along each dimension of the table; 0 for the
    // dimensions it does not depend on.
    std::vector<int> stride(size_t(dims), 0);
    for (int k = 0; k < over.Count(); ++k) {
        const int d = over[k] == this ? dims - 1 : FindParent(over[k]);
        if (factor.GetSizeOfDimension(k) != table->GetSizeOfDimension(d)) return;
        stride[size_t(d)] = factor.GetPreProduct()[k];
    }
    if (tableKind != ownTable) Set_Probabilities_Table(new QEL_Dmatrix(*table));
    std::vector<int> coords(size_t(dims), 0);
    int at = 0;
    for (int cell = 0; cell < table->GetSize(); ++cell) {
        (*table)[cell] *= factor[at];
        // The next cell, last dimension fastest, carrying into earlier ones.
        for (int d = dims - 1; d >= 0; --d) {
            at += stride[size_t(d)];
            if (++coords[size_t(d)] < table->GetSizeOfDimension(d)) break;
            at -= stride[size_t(d)] * coords[size_t(d)];
            coords[size_t(d)] = 0;
        }
    }
}

namespace {

double ZeroShare(const QEL_rNode& record) {
    if (record.table == nullptr || record.table->GetSize() == 0) return 0.0;
    const QEL_Dmatrix& table = *record.table;
    int zeros = 0;
    for (int i = 0; i < table.GetSize(); ++i) {
        if (table[i] == 0.0) ++zeros;
    }
    return double(zeros) / double(table.GetSize());
}

}  // namespace

void QEL_rNetwork::Priority_Partial_Ordering() {
    std::vector<std::pair<double, QEL_rNode*>> observed;
    for (QEL_rNode* record : nodes) {
        if (record->evidence >= 0) observed.emplace_back(ZeroShare(*record), record);
    }
    // Stable: equal shares keep the list's order.
    std::stable_sort(observed.begin(), observed.end(),
                     [](const std::pair<double, QEL_rNode*>& a, const std::pair<double, QEL_rNode*>& b) {
                         return a.first < b.first;
                     });
    fastarray<QEL_rNode*, 8, int> old(nodes);
    Clean_Marks();
    nodes.Clear();
    for (const auto& entry : observed) Mark_Ordered(entry.second);
    for (QEL_rNode* record : old) Mark_Ordered(record);
}
