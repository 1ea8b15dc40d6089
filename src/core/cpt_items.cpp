// QEL_cpt: the table's items, its consistency test, and conversion from
// other kinds of definition.
//
// The consistency test walks the table column by column (runs of
// consecutive items), so it reads memory in order and divides nothing. A
// column passes when its items are probabilities and its sum is one within
// 5e-06, or within its smallest positive item when that is smaller, so that
// a column cannot pass by hiding a tiny probability in the rounding slack.
#include "orvil/cpt.h"

#include <cmath>

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"

namespace {

const double sumTolerance = 5e-06;

// True when all items of the column of n items at `column` lie in 0..1 and
// their sum is within tolerance of 1.
bool ColumnIsDistribution(const double* column, int n) {
    double sum = 0.0;
    double tolerance = sumTolerance;
    for (int k = 0; k < n; k++) {
        const double p = column[k];
        if (!(p >= 0.0 && p <= 1.0)) return false;
        if (p > 0.0 && p < tolerance) tolerance = p;
        sum += p;
    }
    return std::fabs(sum - 1.0) < tolerance;
}

}  // namespace

int QEL_cpt::CheckConsistency(int deep) {
    bool consistent = true;
    if (deep && stateNames.CheckConsistency(1) != 0) consistent = false;
    const int n = table.GetSizeOfLastDimension();
    // Without outcomes, or with a table that does not match them, the
    // definition describes nothing.
    if (n < 1 || n != stateNames.NumItems()) consistent = false;
    const double* items = table.GetItems().Items();
    const int total = table.GetSize();
    for (int start = 0; consistent && start < total; start += n)
        consistent = ColumnIsDistribution(items + start, n);
    if (!consistent) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    SetObjectConsistent();
    return 0;
}

int QEL_cpt::SetProbability(QEL_intArray& coordinates, double p) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (!(p >= 0.0 && p <= 1.0) || !table.Ok(coordinates)) return QEL_OUT_OF_RANGE;
    table[coordinates] = p;
    return 0;
}

int QEL_cpt::GetProbability(QEL_intArray& coordinates, double& p) {
    if (!table.Ok(coordinates)) return QEL_OUT_OF_RANGE;
    p = table[coordinates];
    return 0;
}

int QEL_cpt::SetProbabilities(QEL_doubleArray& items) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (items.GetSize() != table.GetSize()) return QEL_OUT_OF_RANGE;
    table.GetItems().FillFrom(items);
    CheckReadiness(1);
    CheckConsistency(1);
    NotifyChange(qel_probabilitiesChanged);
    return 0;
}

int QEL_cpt::GetDefinition(QEL_Dmatrix** matrix) {
    *matrix = &table;
    return 0;
}

int QEL_cpt::GetDefinition(QEL_doubleArray** items) {
    *items = &table.GetItems();
    return 0;
}

int QEL_cpt::SetDefinition(QEL_doubleArray& items) {
    table.GetItems().FillFrom(items);
    return 0;
}

int QEL_cpt::SetDefinition(QEL_Dmatrix& matrix) {
    table = matrix;
    return 0;
}

void QEL_cpt::DoCopyParameters(QEL_nodeDefinition& target) const {
    QEL_Dmatrix* other = target.GetMatrix();
    if (other != nullptr && other->GetSize() == table.GetSize()) other->GetItems().FillFrom(table.GetItems());
}

int QEL_cpt::CloneTable(QEL_nodeDefinition& source) {
    QEL_idArray* names = source.GetOutcomesNames();
    if (names != nullptr) stateNames = *names;
    ReCreateFromNetworkStructure();
    // A noisy definition hands out its expanded table here.
    QEL_Dmatrix* matrix = source.GetMatrix();
    if (matrix != nullptr && matrix->CompatibleWith(table)) table = *matrix;
    return 0;
}

int QEL_cpt::CloneFromUtility(QEL_nodeDefinition& source) {
    QEL_Dmatrix* utilities = source.GetMatrix();
    const int columns = table.GetSize() / 2;
    // The utility table has one cell per parent configuration; anything
    // else leaves the uniform table.
    if (utilities == nullptr || utilities->GetSize() != columns || columns == 0) return 0;
    double lo = (*utilities)[0];
    double hi = lo;
    for (int j = 1; j < columns; j++) {
        lo = std::fmin(lo, (*utilities)[j]);
        hi = std::fmax(hi, (*utilities)[j]);
    }
    const double range = hi - lo == 0.0 ? 1.0 : hi - lo;
    for (int j = 0; j < columns; j++) {
        const double p = ((*utilities)[j] - lo) / range;
        table[2 * j] = p;
        table[2 * j + 1] = 1.0 - p;
    }
    return 0;
}

int QEL_cpt::Clone(QEL_nodeDefinition& source) {
    if (!source.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&source == this) return 0;
    const int type = source.GetType();
    // A cast converts only where it has no parents to lose.
    if (type == qel_castType && source.GetNetwork() != nullptr &&
        source.GetNetwork()->NumParents(source.GetHandle(), qel_normalArc) > 0)
        return QEL_OUT_OF_RANGE;
    CleanUp(1);
    QEL_nodeDefinition::Clone(source);
    CheckReadiness(0);
    switch (type) {
        case qel_cptType:
        case qel_truthTableType:
        case qel_noisyMaxType:
        case qel_noisyAdderType:
            return CloneTable(source);
        case qel_tableType:
        case qel_mauType:
            SetGeneratedStates(2);
            ReCreateFromNetworkStructure();
            return type == qel_tableType ? CloneFromUtility(source) : 0;
        case qel_listType:
            if (source.GetOutcomesNames() != nullptr) stateNames = *source.GetOutcomesNames();
            RemoveArcsFromParents();
            return ReCreateFromNetworkStructure();
        case qel_castType:
        case qel_demorganType: {
            stateNames.Add("True");
            stateNames.Add("False");
            ReCreateFromNetworkStructure();
            QEL_Dmatrix* matrix = source.GetMatrix();
            if (type == qel_demorganType && matrix != nullptr) table = *matrix;
            return 0;
        }
        case qel_equationSccType:
        case qel_noDefinitionType:
            return 0;
        default:
            return QEL_OUT_OF_RANGE;
    }
}
