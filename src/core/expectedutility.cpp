// Expected utilities: the values of utility nodes.
//
// One cell, or one per combination of indexing parents' outcomes, written by
// the decision solvers. Cells may hold the not-available marker where a
// combination was never reached; rescaling leaves those cells as they are.
#include "orvil/expectedutility.h"

#include <algorithm>

#include "orvil/errors.h"
#include "orvil/textutil.h"

// The constructor shapes the matrix exactly as a change of structure does.
QEL_expectedUtility::QEL_expectedUtility(QEL_network* net, int nodeHandle)
    : QEL_matrixValue(net, nodeHandle) {
    ReCreateFromNetworkStructure();
}

QEL_expectedUtility::~QEL_expectedUtility() = default;

int QEL_expectedUtility::ReCreateFromNetworkStructure() {
    const int rc = ResetMatrix(1);
    CheckReadiness(0);
    return rc;
}

double QEL_expectedUtility::GetMinimumUtility() const {
    const double* cells = matrix.GetItems().Items();
    return matrix.GetSize() == 0 ? 0.0 : *std::min_element(cells, cells + matrix.GetSize());
}

double QEL_expectedUtility::GetMaximumUtility() const {
    const double* cells = matrix.GetItems().Items();
    return matrix.GetSize() == 0 ? 0.0 : *std::max_element(cells, cells + matrix.GetSize());
}

int QEL_expectedUtility::NormalizeExpectedUtilities(double lo, double hi, double newLo,
                                                    double newHi) {
    double least = GetMinimumUtility();
    double most = GetMaximumUtility();
    // A caller's range that is not a single point widens the data's range,
    // so several nodes can be rescaled onto one common scale.
    if (lo != hi) {
        if (lo < least) least = lo;
        if (hi > most) most = hi;
    }
    const int n = matrix.GetSize();
    if (least == most || newLo == newHi) {
        matrix.FillWith(newHi);
        return QEL_OKAY;
    }
    if (least == newLo && most == newHi) return QEL_OKAY;
    const double scale = (newHi - newLo) / (most - least);
    for (int i = 0; i < n; i++) {
        double& cell = matrix[i];
        if (cell != QEL_UNDEFINED_DOUBLE) cell = (cell - least) * scale + newLo;
    }
    return QEL_OKAY;
}
