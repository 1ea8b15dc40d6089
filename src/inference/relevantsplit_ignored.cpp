// Arcs that carry nothing: a parent whose every state gives the child the
// same column of probabilities.
//
// Elicited models often keep such arcs (a table filled before the parent's
// influence was settled, or kept for its layout), and each one still ties the
// parent into the child's family: the moral graph gains edges, cliques grow,
// and a parent that nothing else needs stays alive only to be summed away.
// Dropping the arc leaves the joint distribution exactly as it was, since the
// child's table is the same function of its other parents, so every answer
// keeps its value while the tree gets smaller.
//
// The test runs on every update and is not cached: a table can change through
// its matrix without any notice, and a stale answer would be a wrong model.
// It is cheap where it matters: an arc that does carry something almost
// always shows it in the first column pair compared, so only the arcs that
// are dropped cost a full read of the table.
#include "orvil/dmatrix.h"
#include "orvil/intarray.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"

namespace {

// True when no cell of the table changes along dimension `dim`. Within each
// block of the slower dimensions, slice k is compared with slice k + 1, cell
// by cell in memory order. The comparison is exact: only a parent that
// changes nothing at all may go.
bool ConstantAlong(const QEL_Dmatrix& table, int dim) {
    const int size = table.GetSizeOfDimension(dim);
    const int stride = table.GetPreProduct().Subscript(dim);
    const double* cells = table.GetItems().Items();
    const int total = table.GetSize();
    const int block = size * stride;
    const int span = block - stride;
    for (int start = 0; start < total; start += block) {
        const double* at = cells + start;
        for (int i = 0; i < span; ++i) {
            if (at[i] != at[i + stride]) return false;
        }
    }
    return true;
}

void Unlink(fastarray<QEL_rNode*, 16, int>& children, QEL_rNode* child) { children.Delete(children.IndexOf(child)); }

}  // namespace

void Drop_Ignored_Parents(QEL_rNode* record) {
    if (record->parents.IsEmpty() || !record->Table_Fits_Parents()) return;
    const int parentCount = record->parents.Count();
    QEL_intArray fixed;
    bool any = false;
    for (int p = 0; p < parentCount; ++p) {
        const bool ignored = ConstantAlong(*record->table, p);
        fixed.Add(ignored ? 0 : -1);
        any = any || ignored;
    }
    if (!any) return;
    fixed.Add(-1);
    auto* kept = new QEL_Dmatrix();
    if (record->table->RemoveDimensions(fixed, *kept) != 0) {
        delete kept;
        return;
    }
    record->Set_Probabilities_Table(kept);
    int count = 0;
    for (int p = 0; p < parentCount; ++p) {
        QEL_rNode* parent = record->parents[p];
        if (fixed[p] < 0) {
            record->parents[count++] = parent;
            continue;
        }
        Unlink(parent->children, record);
    }
    record->parents.SetCount(count);
}
