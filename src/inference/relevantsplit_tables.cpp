// Table surgery on pruned records: slicing a parent out at its evidence,
// summing a parent out, and testing a slice for certainty.
//
// A record's table starts as its definition's own matrix and must stay
// untouched there, so the first change of a shared table writes into a new
// owned copy, and later changes of an owned table happen in place. Tables are
// row-major with the record's own outcome last, so a parent's dimension is
// its position in `parents`.
#include <algorithm>
#include <utility>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
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
