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
double OneLimit(int states, double tolerance) { return std::max(double(states) * DBL_EPSILON, tolerance); }

bool IsOne(double sum, int states, double tolerance) { return std::fabs(sum - 1.0) <= OneLimit(states, tolerance); }

// The sum of one column. Long columns are added in four interleaved partial
// sums, so that no chain of additions waits on itself: tables of nodes with
// many states are read on every update while their nodes stay barren.
inline double ColumnSum(const double* cells, int states) {
    if (states < 8) {
        double sum = 0.0;
        for (int s = 0; s < states; ++s) sum += cells[s];
        return sum;
    }
    double part[4] = {0.0, 0.0, 0.0, 0.0};
    int s = 0;
    for (; s + 4 <= states; s += 4) {
        for (int i = 0; i < 4; ++i) part[i] += cells[s + i];
    }
    for (; s < states; ++s) part[0] += cells[s];
    return (part[0] + part[1]) + (part[2] + part[3]);
}

// Whether every column of `states` cells from `cells` to `end` sums to 1
// within `limit`; the usual small state counts get loops of fixed length.
template <int N>
bool EachColumnIsOne(const double* cells, const double* end, int states, double limit) {
    const int n = N > 0 ? N : states;
    for (; cells < end; cells += n) {
        if (std::fabs(ColumnSum(cells, n) - 1.0) > limit) return false;
    }
    return true;
}

bool ColumnsSumToOne(const QEL_Dmatrix& table, int states, double tolerance) {
    const double limit = OneLimit(states, tolerance);
    const double* cells = table.GetItems().Items();
    const double* end = cells + table.GetSize();
    switch (states) {
        case 2: return EachColumnIsOne<2>(cells, end, states, limit);
        case 3: return EachColumnIsOne<3>(cells, end, states, limit);
        case 4: return EachColumnIsOne<4>(cells, end, states, limit);
        case 5: return EachColumnIsOne<5>(cells, end, states, limit);
        default: return EachColumnIsOne<0>(cells, end, states, limit);
    }
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
    const double* cells = table->GetItems().Items();
    double* out = sums.GetItems().Items();
    for (int c = 0; c < sums.GetSize(); ++c, cells += states) out[c] = ColumnSum(cells, states);
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
    // Column by column: the node's own states run fastest and move the factor
    // by one step, the parents carry between columns, last parent fastest.
    const int states = table->GetSizeOfLastDimension();
    const int own = stride[size_t(dims - 1)];
    std::vector<int> coords(size_t(dims - 1), 0);
    std::vector<int> sizes(size_t(dims - 1));
    for (int d = 0; d + 1 < dims; ++d) sizes[size_t(d)] = table->GetSizeOfDimension(d);
    double* cells = table->GetItems().Items();
    const double* end = cells + table->GetSize();
    const double* f = factor.GetItems().Items();
    int at = 0;
    for (; cells < end; cells += states) {
        for (int s = 0; s < states; ++s) cells[s] *= f[at + s * own];
        for (int d = dims - 2; d >= 0; --d) {
            at += stride[size_t(d)];
            if (++coords[size_t(d)] < sizes[size_t(d)]) break;
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
