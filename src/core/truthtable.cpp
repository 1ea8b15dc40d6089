// QEL_truthTable: the deterministic table, one 1.0 per column.
//
// All shape changes come from QEL_cpt; this file adds what keeps the table
// a function of the parents where the CPT would spread probability: new
// columns and rebuilt tables pick one outcome, and MakeConsistent turns any
// table into the nearest deterministic one, column by column in memory
// order.
#include "orvil/truthtable.h"

#include <vector>

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"

QEL_truthTable::QEL_truthTable(int handle, QEL_network* net) : QEL_cpt(handle, net) { FillFirstOutcome(); }

QEL_truthTable::~QEL_truthTable() = default;

void QEL_truthTable::FillFirstOutcome() {
    const int n = table.GetSizeOfLastDimension();
    if (n < 1) return;
    table.FillWith(0.0);
    const int total = table.GetSize();
    for (int start = 0; start < total; start += n) table[start] = 1.0;
}

void QEL_truthTable::MakeColumnsConsistent() {
    const int n = table.GetSizeOfLastDimension();
    if (n < 1) return;
    double* items = table.GetItems().Items();
    const int total = table.GetSize();
    for (int start = 0; start < total; start += n) {
        double* column = items + start;
        int best = -1;
        double bestValue = 0.0;
        for (int k = 0; k < n; k++) {
            const double v = column[k];
            // ">=": a tie goes to the later outcome.
            if (best < 0 || v >= bestValue) {
                if (best >= 0) column[best] = 0.0;
                best = k;
                bestValue = v;
                column[k] = 1.0;
            } else {
                column[k] = 0.0;
            }
        }
    }
}

int QEL_truthTable::MakeConsistent() {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    MakeColumnsConsistent();
    return 0;
}

int QEL_truthTable::CheckConsistency(int deep) {
    const double* items = table.GetItems().Items();
    const int total = table.GetSize();
    for (int i = 0; i < total; i++) {
        if (items[i] != 0.0 && items[i] != 1.0) {
            SetObjectNotConsistent();
            return QEL_OBJECT_NOT_CONSISTENT;
        }
    }
    return QEL_cpt::CheckConsistency(deep);
}

int QEL_truthTable::DaddyGetsBigger(int parent, int position) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    const int type = TypeOfNode(parent);
    if (type == qel_tableType) return QEL_OUT_OF_RANGE;
    if (!IsTableParentType(type) && type != qel_equationType) return 0;
    const int dim = DimensionOf(parent);
    if (dim < 0) return dim;
    if (position < 0 || position > table.GetSizeOfDimension(dim)) return QEL_OUT_OF_RANGE;
    int rc = table.IncreaseDimensionSize(dim);
    if (rc != 0) return rc;
    table.ShiftDataUpwards(dim, position);
    MakeColumnsConsistent();
    CheckReadiness(0);
    return 0;
}

int QEL_truthTable::ReCreateFromNetworkStructure() {
    int rc = QEL_cpt::ReCreateFromNetworkStructure();
    FillFirstOutcome();
    return rc;
}

int QEL_truthTable::Clone(QEL_nodeDefinition& source) {
    int rc = QEL_cpt::Clone(source);
    MakeConsistent();
    return rc;
}

int QEL_truthTable::MakeUniform() { return QEL_WRONG_NODE_TYPE; }

int QEL_truthTable::GetNumberOfColumns() const {
    const int n = table.GetSizeOfLastDimension();
    return n < 1 ? 0 : table.GetSize() / n;
}

int QEL_truthTable::SetResultingState(QEL_intArray& c) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (!table.Ok(c)) return QEL_OUT_OF_RANGE;
    const int last = table.GetLastDimension();
    const int outcome = c[last];
    c[last] = 0;
    const int start = table.CoordinatesToIndex(c);
    const int n = table.GetSizeOfLastDimension();
    for (int k = 0; k < n; k++) table[start + k] = k == outcome ? 1.0 : 0.0;
    return 0;
}

int QEL_truthTable::GetResultingState(QEL_intArray& c) {
    if (!table.Ok(c)) return QEL_OUT_OF_RANGE;
    const int start = table.CoordinatesToIndex(c) - c[table.GetLastDimension()];
    const int n = table.GetSizeOfLastDimension();
    for (int k = 0; k < n; k++)
        if (table[start + k] == 1.0) return k;
    return QEL_OUT_OF_RANGE;
}

int QEL_truthTable::SetResultingStates(const int* states) {
    if (!IsReady()) return QEL_OBJECT_NOT_READY;
    if (states == nullptr) return QEL_OUT_OF_RANGE;
    const int n = table.GetSizeOfLastDimension();
    const int columns = GetNumberOfColumns();
    for (int j = 0; j < columns; j++)
        if (states[j] < 0 || states[j] >= n) return QEL_OUT_OF_RANGE;
    table.FillWith(0.0);
    for (int j = 0; j < columns; j++) table[j * n + states[j]] = 1.0;
    NotifyChange(qel_probabilitiesChanged);
    return 0;
}

int QEL_truthTable::SetResultingStates(const QEL_intArray& states) {
    if (states.NumItems() != GetNumberOfColumns()) return QEL_OUT_OF_RANGE;
    return SetResultingStates(states.Items());
}

int QEL_truthTable::SetResultingStates(QEL_stringArray& names) {
    if (!names.IsReady()) return QEL_OBJECT_NOT_READY;
    const int columns = GetNumberOfColumns();
    if (names.NumItems() != columns) return QEL_OUT_OF_RANGE;
    std::vector<int> states(columns);
    for (int j = 0; j < columns; j++) {
        states[j] = stateNames.FindPosition(names[j]);
        if (states[j] < 0) return QEL_OUT_OF_RANGE;
    }
    return SetResultingStates(states.data());
}

int QEL_truthTable::GetResultingStates(QEL_intArray& states) {
    const int n = table.GetSizeOfLastDimension();
    const int columns = GetNumberOfColumns();
    int rc = 0;
    states.Flush();
    for (int j = 0; j < columns; j++) {
        int found = QEL_OUT_OF_RANGE;
        for (int k = 0; k < n && found < 0; k++)
            if (table[j * n + k] == 1.0) found = k;
        if (found < 0) rc = QEL_OUT_OF_RANGE;
        states.Add(found);
    }
    return rc;
}

int QEL_truthTable::GetResultingStates(QEL_stringArray& names) {
    QEL_intArray states;
    int rc = GetResultingStates(states);
    names.Flush();
    for (int j = 0; j < states.NumItems(); j++) names.Add(states[j] >= 0 ? stateNames[states[j]] : "");
    return rc;
}
