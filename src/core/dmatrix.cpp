/*
 * QEL_Dmatrix: construction, shape bookkeeping and addressing.
 *
 * The shape lives in two small int arrays (sizes and row-major strides,
 * last dimension stride 1) beside one flat double array. The dimension
 * sizes are kept as a list as long as the array, so a matrix's own
 * GetDimensions() can be handed to Setup of another. Item-wise arithmetic
 * is in dmatrix_itemwise.cpp, operations that change the shape in
 * dmatrix_shape.cpp.
 */
#include "orvil/dmatrix.h"

#include "core/dmatrix_walk.h"

QEL_Dmatrix::QEL_Dmatrix() = default;

QEL_Dmatrix::QEL_Dmatrix(const QEL_Dmatrix& other) = default;

QEL_Dmatrix::QEL_Dmatrix(const QEL_intArray& dims) {
    Setup(dims);
}

QEL_Dmatrix& QEL_Dmatrix::operator=(const QEL_Dmatrix& other) {
    if (this == &other) return *this;
    theDimensions = other.theDimensions;
    thePreProduct = other.thePreProduct;
    theData = other.theData;
    return *this;
}

int QEL_Dmatrix::Setup(const QEL_intArray& dims) {
    return Setup(dims.Items(), dims.NumItems());
}

int QEL_Dmatrix::Setup(const int* dims, int count) {
    if (count < 0) return -2;
    if (count > 0 && DmTotal(dims, count) < 0) return -2;
    return ReCreate(dims, count);
}

int QEL_Dmatrix::ReCreate(const int* dims, int count) {
    if (count == 0) {
        CleanUp();
        return 0;
    }
    // The sizes may be this matrix's own, so they are copied before the
    // old shape is touched.
    QEL_intArray sizes(count);
    for (int i = 0; i < count; i++) sizes[i] = dims[i];
    const int total = DmTotal(dims, count);
    // A store of the right size is kept: the caller fills the items anyway,
    // and tables are often set up again with the shape they had.
    if (theData.GetSize() != total) {
        theData.CleanUp();
        theData.SetSize(total);
    }
    theDimensions.Swap(sizes);
    theDimensions.UseAsList(count);
    CalculatePreProd();
    return 0;
}

void QEL_Dmatrix::CleanUp() {
    theDimensions.CleanUp();
    thePreProduct.CleanUp();
    theData.CleanUp();
}

void QEL_Dmatrix::Swap(QEL_Dmatrix& other) {
    theDimensions.Swap(other.theDimensions);
    thePreProduct.Swap(other.thePreProduct);
    theData.Swap(other.theData);
}

void QEL_Dmatrix::Adopt(QEL_intArray& dims, QEL_doubleArray& data) {
    if (dims.GetSize() == 0) {
        CleanUp();
        return;
    }
    theDimensions.Swap(dims);
    theDimensions.UseAsList(theDimensions.GetSize());
    theData.Swap(data);
    CalculatePreProd();
}

void QEL_Dmatrix::CalculatePreProd() {
    const int n = theDimensions.GetSize();
    if (thePreProduct.GetSize() != n) thePreProduct.SetSize(n);
    int stride = 1;
    for (int i = n - 1; i >= 0; i--) {
        thePreProduct.Subscript(i) = stride;
        stride *= theDimensions.Subscript(i);
    }
}

int QEL_Dmatrix::GetSizeOfLastDimension() const {
    const int n = theDimensions.GetSize();
    return n > 0 ? theDimensions.Subscript(n - 1) : 0;
}

double& QEL_Dmatrix::Subscript(QEL_intArray& coords) {
    // Bad coordinates must not reach outside the items; they get a cell of
    // their own that no table reads.
    static double scratch;
    if (!Ok(coords)) {
        scratch = 0.0;
        return scratch;
    }
    return theData.Subscript(CoordinatesToIndex(coords));
}

bool QEL_Dmatrix::Ok(const QEL_intArray& coords) const {
    const int n = theDimensions.GetSize();
    if (DmEntryCount(coords) < n) return false;
    for (int i = 0; i < n; i++) {
        const int c = coords.Subscript(i);
        if (c < 0 || c >= theDimensions.Subscript(i)) return false;
    }
    return true;
}

int QEL_Dmatrix::CoordinatesToIndex(const QEL_intArray& coords) const {
    return CoordinatesToIndex(coords.Items());
}

int QEL_Dmatrix::CoordinatesToIndex(const int* coords) const {
    const int n = theDimensions.GetSize();
    const int* stride = thePreProduct.Items();
    int index = 0;
    for (int i = 0; i < n; i++) index += coords[i] * stride[i];
    return index;
}

int QEL_Dmatrix::CoordinatesToIndex(const int* const* coords) const {
    const int n = theDimensions.GetSize();
    const int* stride = thePreProduct.Items();
    int index = 0;
    for (int i = 0; i < n; i++) index += *coords[i] * stride[i];
    return index;
}

int QEL_Dmatrix::IndexToCoordinates(int index, QEL_intArray& coords) const {
    if (index < 0 || index >= GetSize()) return -2;
    const int n = theDimensions.GetSize();
    coords.RoomGuaranteed(n);
    for (int i = 0; i < n; i++) {
        const int stride = thePreProduct.Subscript(i);
        const int c = index / stride;
        coords.Subscript(i) = c;
        index -= c * stride;
    }
    return 0;
}

int QEL_Dmatrix::NextCoordinates(QEL_intArray& coords) const {
    const int n = theDimensions.GetSize();
    if (n == 0 || DmEntryCount(coords) < n) return -2;
    int d = n - 1;
    while (d >= 0 && coords.Subscript(d) >= theDimensions.Subscript(d) - 1) d--;
    if (d < 0) return -2;
    coords.Subscript(d)++;
    for (int j = d + 1; j < n; j++) coords.Subscript(j) = 0;
    return 0;
}

int QEL_Dmatrix::PrevCoordinates(QEL_intArray& coords) const {
    const int n = theDimensions.GetSize();
    if (n == 0 || !Ok(coords)) return -2;
    int d = n - 1;
    while (d >= 0 && coords.Subscript(d) == 0) d--;
    if (d < 0) return -2;
    coords.Subscript(d)--;
    for (int j = d + 1; j < n; j++) coords.Subscript(j) = theDimensions.Subscript(j) - 1;
    return 0;
}
