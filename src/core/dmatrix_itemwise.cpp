/*
 * QEL_Dmatrix: item-wise arithmetic, column normalisation and slice tests.
 *
 * These run inside inference for every table and potential, so they walk
 * theData as plain memory: whole-matrix operations in one pass, column
 * operations over consecutive runs of last-dimension items. Comparisons
 * with 1.0 and 0.0 are exact on purpose: a column that already sums to one
 * is never rescaled, so repeated normalisation cannot drift.
 */
#include "orvil/dmatrix.h"

#include "core/dmatrix_walk.h"

namespace {

double ColumnSum(const double* column, int length) {
    double sum = 0.0;
    for (int k = 0; k < length; k++) sum += column[k];
    return sum;
}

void NormalizeColumn(double* column, int length, double uniform) {
    const double sum = ColumnSum(column, length);
    if (sum == 1.0) return;
    if (sum == 0.0) {
        for (int k = 0; k < length; k++) column[k] = uniform;
        return;
    }
    const double factor = 1.0 / sum;
    for (int k = 0; k < length; k++) column[k] *= factor;
}

int SliceEquals(const double* data, int base, const DmWalk& walk, double value) {
    const bool all = DmForEachRun(walk, [&](int a, int, int length, int stride, int) {
        const double* p = data + base + a;
        for (int i = 0; i < length; i++, p += stride) {
            if (*p != value) return false;
        }
        return true;
    });
    return all ? 1 : 0;
}

}  // namespace

void QEL_Dmatrix::FillWith(double value) {
    double* p = theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] = value;
}

int QEL_Dmatrix::Add(double value) {
    double* p = theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] += value;
    return 0;
}

int QEL_Dmatrix::Multiply(double value) {
    double* p = theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] *= value;
    return 0;
}

int QEL_Dmatrix::Multiply(const QEL_doubleArray& weights) {
    const int length = GetSizeOfLastDimension();
    if (weights.GetSize() < length) return -2;
    const double* w = weights.Items();
    double* p = theData.Items();
    double* end = p + theData.GetSize();
    for (; p < end; p += length) {
        for (int k = 0; k < length; k++) p[k] *= w[k];
    }
    return 0;
}

int QEL_Dmatrix::Add(const QEL_Dmatrix& other) {
    if (!CompatibleWith(other)) return -2;
    double* p = theData.Items();
    const double* q = other.theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] += q[i];
    return 0;
}

int QEL_Dmatrix::Sum(const QEL_Dmatrix& a, const QEL_Dmatrix& b) {
    if (!CompatibleWith(a) || !CompatibleWith(b)) return -2;
    double* p = theData.Items();
    const double* x = a.theData.Items();
    const double* y = b.theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] = x[i] + y[i];
    return 0;
}

int QEL_Dmatrix::Subtract(const QEL_Dmatrix& a, const QEL_Dmatrix& b) {
    if (!CompatibleWith(a) || !CompatibleWith(b)) return -2;
    double* p = theData.Items();
    const double* x = a.theData.Items();
    const double* y = b.theData.Items();
    const int n = theData.GetSize();
    for (int i = 0; i < n; i++) p[i] = x[i] - y[i];
    return 0;
}

bool QEL_Dmatrix::CompatibleWith(const QEL_Dmatrix& other) const {
    const int n = theDimensions.GetSize();
    if (n != other.theDimensions.GetSize()) return false;
    for (int i = 0; i < n; i++) {
        if (theDimensions.Subscript(i) != other.theDimensions.Subscript(i)) return false;
    }
    return theData.GetSize() == other.theData.GetSize();
}

int QEL_Dmatrix::Normalize() {
    const int length = GetSizeOfLastDimension();
    if (length == 0) return 0;
    const double uniform = 1.0 / length;
    double* p = theData.Items();
    double* end = p + theData.GetSize();
    for (; p < end; p += length) NormalizeColumn(p, length, uniform);
    return 0;
}

int QEL_Dmatrix::Normalize(QEL_intArray& coords) {
    if (theDimensions.GetSize() == 0 || !Ok(coords)) return -2;
    coords.Subscript(GetLastDimension()) = 0;
    const int length = GetSizeOfLastDimension();
    NormalizeColumn(theData.Items() + CoordinatesToIndex(coords), length, 1.0 / length);
    return 0;
}

int QEL_Dmatrix::Normalize(int index) {
    if (index < 0 || index >= GetSize()) return -2;
    const int length = GetSizeOfLastDimension();
    NormalizeColumn(theData.Items() + (index - index % length), length, 1.0 / length);
    return 0;
}

int QEL_Dmatrix::Normalized(QEL_intArray& coords) const {
    if (theDimensions.GetSize() == 0 || !Ok(coords)) return -2;
    coords.Subscript(GetLastDimension()) = 0;
    const double sum = ColumnSum(theData.Items() + CoordinatesToIndex(coords), GetSizeOfLastDimension());
    return sum == 1.0 ? 1 : 0;
}

int QEL_Dmatrix::Normalized(int index) const {
    if (index < 0 || index >= GetSize()) return -2;
    const int length = GetSizeOfLastDimension();
    const double sum = ColumnSum(theData.Items() + (index - index % length), length);
    return sum == 1.0 ? 1 : 0;
}

int QEL_Dmatrix::Complement(QEL_intArray& coords) {
    if (theDimensions.GetSize() == 0 || !Ok(coords)) return -2;
    const int last = GetLastDimension();
    const int k = coords.Subscript(last);
    coords.Subscript(last) = 0;
    double* column = theData.Items() + CoordinatesToIndex(coords);
    const double sum = ColumnSum(column, GetSizeOfLastDimension());
    column[k] = 1.0 - (sum - column[k]);
    return 0;
}

int QEL_Dmatrix::Complement(int index) {
    if (index < 0 || index >= GetSize()) return -2;
    const int length = GetSizeOfLastDimension();
    const int k = index % length;
    double* column = theData.Items() + (index - k);
    const double sum = ColumnSum(column, length);
    column[k] = 1.0 - (sum - column[k]);
    return 0;
}

int QEL_Dmatrix::CheckElements(double value, const QEL_intArray& fixed) const {
    const int n = theDimensions.GetSize();
    if (DmEntryCount(fixed) < n) return -2;
    DmWalk walk;
    int base = 0;
    for (int i = 0; i < n; i++) {
        const int c = fixed.Subscript(i);
        const int size = theDimensions.Subscript(i);
        if (c >= size) return -2;
        if (c < 0) {
            walk.Push(size, thePreProduct.Subscript(i), 0);
        } else {
            base += c * thePreProduct.Subscript(i);
        }
    }
    // No dimensions means no items: nothing differs from value.
    if (n == 0) return 1;
    return SliceEquals(theData.Items(), base, walk, value);
}

int QEL_Dmatrix::CheckElements(double value, int dimA, int coordA, int dimB, int coordB) const {
    const int n = theDimensions.GetSize();
    if (dimA < 0 || dimA >= n || dimB < 0 || dimB >= n) return -2;
    if (coordA < 0 || coordA >= theDimensions.Subscript(dimA)) return -2;
    if (coordB < 0 || coordB >= theDimensions.Subscript(dimB)) return -2;
    DmWalk walk;
    int base = coordB * thePreProduct.Subscript(dimB);
    for (int i = 0; i < n; i++) {
        if (i == dimB) continue;
        if (i == dimA) {
            base += coordA * thePreProduct.Subscript(i);
        } else {
            walk.Push(theDimensions.Subscript(i), thePreProduct.Subscript(i), 0);
        }
    }
    return SliceEquals(theData.Items(), base, walk, value);
}
