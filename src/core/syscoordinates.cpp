/*
 * QEL_sysCoordinates: a row-major odometer over a QEL_Dmatrix with
 * lockable dimensions.
 *
 * theCoordinates and theLocks hold one entry per dimension of the matrix
 * as it was when the walk was initialised; theIndex is the matching data
 * index. Steps move the free coordinates only, so a walk with some
 * dimensions locked visits exactly one slice of the table, which is how
 * definitions and relevance tests look at "all columns for this parent
 * outcome". A walk whose matrix changed shape since Initialize() refuses to
 * move rather than read outside its arrays.
 *
 * The constructors and LinkTo forms that take a node definition or value
 * live with the node classes, in syscoordinates_link.cpp.
 */
#include "orvil/syscoordinates.h"

QEL_sysCoordinates::QEL_sysCoordinates() : theMatrix(nullptr), theIndex(0) {
    Initialize();
    SetObjectReady();
}

QEL_sysCoordinates::QEL_sysCoordinates(QEL_Dmatrix& matrix) : theMatrix(&matrix), theIndex(0) {
    Initialize();
    SetObjectReady();
}

int QEL_sysCoordinates::LinkTo(QEL_Dmatrix& matrix) {
    theMatrix = &matrix;
    return Initialize();
}

int QEL_sysCoordinates::Initialize() {
    const int n = theMatrix != nullptr ? theMatrix->GetNumberOfDimensions() : 0;
    theCoordinates.SetSize(n);
    theCoordinates.UseAsList(n);
    theLocks.SetSize(n);
    theLocks.FillWith(0);
    return GoFirst();
}

int QEL_sysCoordinates::DimensionCount() const {
    if (theMatrix == nullptr) return 0;
    const int n = theMatrix->GetNumberOfDimensions();
    if (theCoordinates.GetSize() != n || theLocks.GetSize() != n) return 0;
    return n;
}

int QEL_sysCoordinates::RecomputeIndex() {
    theIndex = theMatrix->CoordinatesToIndex(theCoordinates);
    return 0;
}

int QEL_sysCoordinates::LockCoordinate(int dim) {
    if (dim < 0 || dim >= theLocks.GetSize()) return -2;
    theLocks.Subscript(dim) = 1;
    return 0;
}

int QEL_sysCoordinates::UnlockCoordinate(int dim) {
    if (dim < 0 || dim >= theLocks.GetSize()) return -2;
    theLocks.Subscript(dim) = 0;
    return 0;
}

int QEL_sysCoordinates::UnlockAll() {
    theLocks.FillWith(0);
    return 0;
}

bool QEL_sysCoordinates::IsLocked(int dim) const {
    return dim >= 0 && dim < theLocks.GetSize() && theLocks.Subscript(dim) != 0;
}

int QEL_sysCoordinates::Next() {
    const int n = DimensionCount();
    if (n == 0) return -2;
    const int* sizes = theMatrix->GetDimensions().Items();
    const int* locks = theLocks.Items();
    int* c = theCoordinates.Items();
    int d = n - 1;
    while (d >= 0 && (locks[d] != 0 || c[d] >= sizes[d] - 1)) d--;
    if (d < 0) return -2;
    c[d]++;
    for (int j = d + 1; j < n; j++) {
        if (locks[j] == 0) c[j] = 0;
    }
    return RecomputeIndex();
}

int QEL_sysCoordinates::Previous() {
    const int n = DimensionCount();
    if (n == 0) return -2;
    const int* sizes = theMatrix->GetDimensions().Items();
    const int* locks = theLocks.Items();
    int* c = theCoordinates.Items();
    int d = n - 1;
    while (d >= 0 && (locks[d] != 0 || c[d] <= 0)) d--;
    if (d < 0) return -2;
    c[d]--;
    for (int j = d + 1; j < n; j++) {
        if (locks[j] == 0) c[j] = sizes[j] - 1;
    }
    return RecomputeIndex();
}

int QEL_sysCoordinates::GoFirst() {
    theIndex = 0;
    const int n = theCoordinates.GetSize() < theLocks.GetSize() ? theCoordinates.GetSize() : theLocks.GetSize();
    for (int i = 0; i < n; i++) {
        if (theLocks.Subscript(i) == 0) theCoordinates.Subscript(i) = 0;
    }
    return 0;
}

int QEL_sysCoordinates::GoLast() {
    const int n = DimensionCount();
    const int total = theMatrix != nullptr ? theMatrix->GetSize() : 0;
    theIndex = total > 0 ? total - 1 : 0;
    for (int i = 0; i < n; i++) {
        if (theLocks.Subscript(i) == 0) theCoordinates.Subscript(i) = theMatrix->GetSizeOfDimension(i) - 1;
    }
    return 0;
}

int QEL_sysCoordinates::GoTo(int index) {
    const int n = DimensionCount();
    if (n == 0 || index < 0 || index >= theMatrix->GetSize()) {
        GoFirst();
        return -2;
    }
    theIndex = index;
    const int* strides = theMatrix->GetPreProduct().Items();
    for (int i = 0; i < n; i++) {
        const int c = index / strides[i];
        theCoordinates.Subscript(i) = c;
        index -= c * strides[i];
    }
    return 0;
}

int QEL_sysCoordinates::GoToCurrentPosition() {
    if (theMatrix == nullptr || !theMatrix->Ok(theCoordinates)) {
        GoFirst();
        return -2;
    }
    return RecomputeIndex();
}
