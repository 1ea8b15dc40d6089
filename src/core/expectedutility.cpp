// Expected utilities: the values of utility nodes.
//
// One cell, or one per combination of indexing parents' outcomes, written by
// the decision solvers. Cells may hold the not-available marker where a
// combination was never reached; rescaling leaves those cells as they are.
#include "orvil/expectedutility.h"

#include "orvil/errors.h"
#include "orvil/textutil.h"

QEL_expectedUtility::QEL_expectedUtility(QEL_network* net, int nodeHandle)
    : QEL_nodeValue(net, nodeHandle) {
    if (matrix.AddDimension(1) == QEL_OKAY) matrix.FillWith(0.0);
    CheckReadiness(0);
}

QEL_expectedUtility::~QEL_expectedUtility() = default;

int QEL_expectedUtility::CleanUp(int deep) {
    if (deep != 0) matrix.CleanUp();
    return QEL_nodeValue::CleanUp(deep);
}

int QEL_expectedUtility::CheckReadiness(int) {
    if (matrix.GetNumberOfDimensions() < 1) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return QEL_OKAY;
}

int QEL_expectedUtility::Clone(QEL_nodeValue& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return QEL_OKAY;
    CleanUp(1);
    QEL_nodeValue::Clone(other);
    QEL_Dmatrix* source = nullptr;
    if (other.GetType() == GetType() && other.GetValue(&source) == QEL_OKAY) {
        matrix = *source;
    } else {
        ReCreateFromNetworkStructure();
    }
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_expectedUtility::ReCreateFromNetworkStructure() {
    CleanUp(1);
    int rc = matrix.AddDimension(1);
    if (rc != QEL_OKAY) return rc;
    matrix.FillWith(0.0);
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_expectedUtility::GetValue(QEL_Dmatrix** out) {
    *out = &matrix;
    return QEL_OKAY;
}

int QEL_expectedUtility::SetValue(QEL_Dmatrix& source) {
    matrix = source;
    return QEL_OKAY;
}

double QEL_expectedUtility::GetMinimumUtility() const {
    const int n = matrix.GetSize();
    if (n == 0) return 0.0;
    double least = matrix[0];
    for (int i = 1; i < n; i++) {
        if (matrix[i] < least) least = matrix[i];
    }
    return least;
}

double QEL_expectedUtility::GetMaximumUtility() const {
    const int n = matrix.GetSize();
    if (n == 0) return 0.0;
    double most = matrix[0];
    for (int i = 1; i < n; i++) {
        if (matrix[i] > most) most = matrix[i];
    }
    return most;
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
