// Values with a matrix of results: readiness, copying and reshaping of the
// matrix, written once for belief vectors, decisions and utilities.
//
// A value is ready exactly when its matrix has a shape. Copying takes the
// other value's matrix only when it is of the same class: a matrix of
// beliefs means nothing as expected utilities, so a value of another class
// leaves a fresh matrix of this node's own shape instead.
#include "orvil/matrixvalue.h"

#include "orvil/errors.h"

QEL_matrixValue::QEL_matrixValue(QEL_network* net, int nodeHandle) : QEL_nodeValue(net, nodeHandle) {}

QEL_matrixValue::~QEL_matrixValue() = default;

int QEL_matrixValue::CleanUp(int deep) {
    if (deep != 0) matrix.CleanUp();
    return QEL_nodeValue::CleanUp(deep);
}

int QEL_matrixValue::CheckReadiness(int) {
    if (matrix.GetNumberOfDimensions() < 1) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return QEL_OKAY;
}

int QEL_matrixValue::Clone(QEL_nodeValue& other) {
    const int rc = CloneMatrix(other);
    if (rc != QEL_OKAY) return rc;
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_matrixValue::CloneMatrix(QEL_nodeValue& other) {
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
    return QEL_OKAY;
}

int QEL_matrixValue::ResetMatrix(int cells) {
    CleanUp(1);
    if (cells <= 0) return QEL_OUT_OF_RANGE;
    const int rc = matrix.AddDimension(cells);
    if (rc != QEL_OKAY) return rc;
    matrix.FillWith(0.0);
    return QEL_OKAY;
}

int QEL_matrixValue::GetValue(QEL_Dmatrix** out) {
    *out = &matrix;
    return QEL_OKAY;
}

int QEL_matrixValue::SetValue(QEL_Dmatrix& source) {
    matrix = source;
    return QEL_OKAY;
}
