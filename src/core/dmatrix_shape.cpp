/*
 * QEL_Dmatrix: operations that change the shape of a table.
 *
 * Structure edits on a network (arcs added or removed, outcomes inserted,
 * deleted or reordered, parents reordered) and evidence absorption land
 * here, on tables that can hold millions of items. Every operation works on
 * whole blocks: for a dimension d the data is `outer` repetitions of a slab
 * of size(d) * stride(d) items, each slice of d being a run of stride(d)
 * consecutive items. Slabs and slices are moved with block copies, and the
 * reorderings and slicings that are not blocks go through the strided walks
 * of dmatrix_walk.h. No item index is ever turned back into coordinates.
 *
 * Every argument is checked before anything is touched, so a refusal
 * leaves the matrix as it was; new data is built aside and swapped in.
 */
#include "orvil/dmatrix.h"

#include <cstring>

#include "core/dmatrix_walk.h"

namespace {

/* Number of slabs of dimension dim: the product of the sizes before it. */
int OuterCount(const QEL_intArray& sizes, int dim) {
    int outer = 1;
    for (int i = 0; i < dim; i++) outer *= sizes.Subscript(i);
    return outer;
}

QEL_intArray SizesWithout(const QEL_intArray& sizes, int dim) {
    const int n = sizes.GetSize();
    QEL_intArray result(n - 1);
    for (int i = 0, j = 0; i < n; i++) {
        if (i != dim) result.Subscript(j++) = sizes.Subscript(i);
    }
    return result;
}

QEL_intArray SizesWith(const QEL_intArray& sizes, int where, int size) {
    const int n = sizes.GetSize();
    QEL_intArray result(n + 1);
    for (int i = 0, j = 0; j <= n; j++) {
        result.Subscript(j) = j == where ? size : sizes.Subscript(i++);
    }
    return result;
}

void CopyItems(double* to, const double* from, int count) {
    std::memcpy(to, from, sizeof(double) * static_cast<size_t>(count));
}

void MoveItems(double* to, const double* from, int count) {
    std::memmove(to, from, sizeof(double) * static_cast<size_t>(count));
}

}  // namespace

int QEL_Dmatrix::AddDimension(int size) {
    return InsertDimension(GetNumberOfDimensions(), size);
}

int QEL_Dmatrix::AddDimensions(const QEL_intArray& sizes) {
    const int count = sizes.NumItems();
    for (int i = 0; i < count; i++) {
        const int rc = AddDimension(sizes.Subscript(i));
        if (rc != 0) return rc;
    }
    return 0;
}

int QEL_Dmatrix::InsertDimension(int where, int size) {
    const int n = GetNumberOfDimensions();
    if (size < 1 || where < 0 || where > n) return -2;
    if (n == 0) return ReCreate(&size, 1);
    QEL_intArray sizes = SizesWith(theDimensions, where, size);
    const int total = DmTotal(sizes.Items(), n + 1);
    if (total < 0) return -2;

    // Everything from dimension where on is one block, repeated size times.
    const int block = where < n ? theDimensions.Subscript(where) * thePreProduct.Subscript(where) : 1;
    const int outer = OuterCount(theDimensions, where);
    QEL_doubleArray fresh(total);
    const double* src = theData.Items();
    double* dst = fresh.Items();
    if (block == 1) {
        for (int o = 0; o < outer; o++, src++) {
            for (int s = 0; s < size; s++) *dst++ = *src;
        }
    } else {
        for (int o = 0; o < outer; o++, src += block) {
            for (int s = 0; s < size; s++, dst += block) CopyItems(dst, src, block);
        }
    }
    Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::RemoveDimension(int dim) {
    return RemoveDimension(dim, 0);
}

int QEL_Dmatrix::RemoveDimension(int dim, int slice) {
    return RemoveDimension(dim, slice, *this);
}

int QEL_Dmatrix::RemoveDimension(int dim, int slice, QEL_Dmatrix& out) const {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || slice < 0 || dim >= n || slice >= theDimensions.Subscript(dim)) return -2;
    QEL_intArray sizes = SizesWithout(theDimensions, dim);
    DmWalk walk;
    for (int i = 0; i < n; i++) {
        if (i != dim) walk.Push(theDimensions.Subscript(i), thePreProduct.Subscript(i), 0);
    }
    QEL_doubleArray fresh(GetSize() / theDimensions.Subscript(dim));
    DmGather(theData.Items(), slice * thePreProduct.Subscript(dim), walk, fresh.Items());
    out.Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::RemoveDimension(int dim, const QEL_doubleArray& weights) {
    return RemoveDimension(dim, weights, *this);
}

int QEL_Dmatrix::RemoveDimension(int dim, const QEL_doubleArray& weights, QEL_Dmatrix& out) const {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n) return -2;
    const int size = theDimensions.Subscript(dim);
    if (weights.GetSize() < size) return -2;
    const int inner = thePreProduct.Subscript(dim);
    const int outer = OuterCount(theDimensions, dim);
    QEL_intArray sizes = SizesWithout(theDimensions, dim);
    QEL_doubleArray fresh(outer * inner);
    fresh.FillWith(0.0);

    // Each slab adds its slices, weighted, into one run of the result; the
    // slices come in ascending order, so every sum is taken in that order.
    const double* w = weights.Items();
    const double* src = theData.Items();
    double* dst = fresh.Items();
    if (inner == 1) {
        // The last dimension: each result is a dot product of one column
        // with the weights, kept in a register in the same order.
        for (int o = 0; o < outer; o++, src += size) {
            double sum = 0.0;
            for (int i = 0; i < size; i++) sum += src[i] * w[i];
            dst[o] = sum;
        }
        out.Adopt(sizes, fresh);
        return 0;
    }
    for (int o = 0; o < outer; o++, dst += inner) {
        for (int i = 0; i < size; i++, src += inner) {
            const double wi = w[i];
            for (int j = 0; j < inner; j++) dst[j] += src[j] * wi;
        }
    }
    out.Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::RemoveDimension(int dim, const QEL_Dmatrix& other, const QEL_intArray& map) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n) return -2;
    const int m = other.GetNumberOfDimensions();
    if (map.NumItems() != m) return -2;

    // Stride of each of this matrix's dimensions inside other; a dimension
    // that other maps twice steps both of its coordinates at once.
    QEL_intArray otherStride(n);
    otherStride.FillWith(0);
    bool mapsDim = false;
    for (int i = 0; i < m; i++) {
        const int t = map.Subscript(i);
        if (t < 0 || t >= n || other.theDimensions.Subscript(i) != theDimensions.Subscript(t)) return -2;
        otherStride.Subscript(t) += other.thePreProduct.Subscript(i);
        mapsDim = mapsDim || t == dim;
    }
    if (!mapsDim) return -2;

    // Stride of each dimension inside the result; dim folds onto one item.
    QEL_intArray sizes = SizesWithout(theDimensions, dim);
    QEL_intArray resultStride(n);
    int resultTotal = 1;
    for (int i = n - 1; i >= 0; i--) {
        resultStride.Subscript(i) = i == dim ? 0 : resultTotal;
        if (i != dim) resultTotal *= theDimensions.Subscript(i);
    }
    DmWalk walk;
    for (int i = 0; i < n; i++) {
        walk.Push(theDimensions.Subscript(i), resultStride.Subscript(i), otherStride.Subscript(i));
    }

    // This matrix is read in order; each item adds its product into its
    // result cell, so a cell's terms arrive in ascending order along dim.
    QEL_doubleArray fresh(resultTotal);
    fresh.FillWith(0.0);
    const double* src = theData.Items();
    const double* factor = other.theData.Items();
    double* result = fresh.Items();
    DmForEachRun(walk, [&](int r, int f, int length, int rStride, int fStride) {
        double* rp = result + r;
        const double* fp = factor + f;
        for (int j = 0; j < length; j++, rp += rStride, fp += fStride) *rp += *src++ * *fp;
        return true;
    });
    Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::RemoveDimensions(const QEL_intArray& fixed, QEL_Dmatrix& out) const {
    const int n = GetNumberOfDimensions();
    if (DmEntryCount(fixed) < n) return -2;
    int freeCount = 0;
    for (int i = 0; i < n; i++) {
        const int c = fixed.Subscript(i);
        if (c >= theDimensions.Subscript(i)) return -2;
        if (c < 0) freeCount++;
    }
    if (n == 0) {
        out.CleanUp();
        return 0;
    }
    QEL_intArray sizes(freeCount);
    DmWalk walk;
    int base = 0;
    int total = 1;
    for (int i = 0, j = 0; i < n; i++) {
        const int c = fixed.Subscript(i);
        const int size = theDimensions.Subscript(i);
        if (c >= 0) {
            base += c * thePreProduct.Subscript(i);
            continue;
        }
        sizes.Subscript(j++) = size;
        total *= size;
        walk.Push(size, thePreProduct.Subscript(i), 0);
    }
    QEL_doubleArray fresh(total);
    DmGather(theData.Items(), base, walk, fresh.Items());
    out.Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::IncreaseDimensionSize(int dim) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n) return -2;
    QEL_intArray sizes(theDimensions);
    sizes.Subscript(dim)++;
    const int total = DmTotal(sizes.Items(), n);
    if (total < 0) return -2;

    const int inner = thePreProduct.Subscript(dim);
    const int oldSlab = theDimensions.Subscript(dim) * inner;
    const int outer = OuterCount(theDimensions, dim);
    QEL_doubleArray fresh(total);
    const double* src = theData.Items();
    double* dst = fresh.Items();
    for (int o = 0; o < outer; o++, src += oldSlab) {
        CopyItems(dst, src, oldSlab);
        dst += oldSlab;
        for (int j = 0; j < inner; j++) *dst++ = 0.0;
    }
    Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::DecreaseDimensionSize(int dim) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n || theDimensions.Subscript(dim) == 1) return -2;
    const int inner = thePreProduct.Subscript(dim);
    const int oldSlab = theDimensions.Subscript(dim) * inner;
    const int newSlab = oldSlab - inner;
    const int outer = OuterCount(theDimensions, dim);

    // Slabs only move towards the front, so the compaction can run in
    // place; the first slab is already where it belongs.
    double* data = theData.Items();
    for (int o = 1; o < outer; o++) MoveItems(data + o * newSlab, data + o * oldSlab, newSlab);
    theData.SetSize(outer * newSlab);
    theDimensions.Subscript(dim)--;
    CalculatePreProd();
    return 0;
}

int QEL_Dmatrix::ResizeDimension(int dim, int size) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n || size < 1) return -2;
    if (theDimensions.Subscript(dim) == size) return 0;
    QEL_intArray sizes(theDimensions);
    sizes.Subscript(dim) = size;
    if (DmTotal(sizes.Items(), n) < 0) return -2;
    return ReCreate(sizes.Items(), n);
}

int QEL_Dmatrix::ShiftDataUpwards(int dim, int pos, double fill) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n || pos < 0 || pos >= theDimensions.Subscript(dim)) return -2;
    const int inner = thePreProduct.Subscript(dim);
    const int slab = theDimensions.Subscript(dim) * inner;
    const int outer = OuterCount(theDimensions, dim);
    const int moved = slab - (pos + 1) * inner;
    double* at = theData.Items() + pos * inner;
    for (int o = 0; o < outer; o++, at += slab) {
        MoveItems(at + inner, at, moved);
        for (int j = 0; j < inner; j++) at[j] = fill;
    }
    return 0;
}

int QEL_Dmatrix::ShiftDataUpwards(int dim, int pos) {
    return ShiftDataUpwards(dim, pos, 0.0);
}

int QEL_Dmatrix::ShiftDataDownwards(int dim, int pos) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n || pos < 0 || pos >= theDimensions.Subscript(dim)) return -2;
    const int inner = thePreProduct.Subscript(dim);
    const int slab = theDimensions.Subscript(dim) * inner;
    const int outer = OuterCount(theDimensions, dim);
    const int moved = slab - (pos + 1) * inner;
    double* at = theData.Items() + pos * inner;
    for (int o = 0; o < outer; o++, at += slab) MoveItems(at, at + inner, moved);
    return 0;
}

int QEL_Dmatrix::ChangeOrderOfDimensions(const QEL_intArray& newOrder) {
    QEL_intArray sizes(theDimensions);
    if (sizes.ChangeOrder(newOrder) != 0) return -2;
    const int n = GetNumberOfDimensions();
    bool identity = true;
    for (int i = 0; i < n; i++) identity = identity && newOrder.Subscript(i) == i;
    if (identity) return 0;

    // Walk the new layout in order, reading each new dimension with the
    // stride it had before.
    DmWalk walk;
    for (int i = 0; i < n; i++) {
        walk.Push(sizes.Subscript(i), thePreProduct.Subscript(newOrder.Subscript(i)), 0);
    }
    QEL_doubleArray fresh(GetSize());
    DmGather(theData.Items(), 0, walk, fresh.Items());
    Adopt(sizes, fresh);
    return 0;
}

int QEL_Dmatrix::ChangeOrderWithinDimension(int dim, const QEL_intArray& newOrder) {
    const int n = GetNumberOfDimensions();
    if (dim < 0 || dim >= n) return -2;
    const int size = theDimensions.Subscript(dim);
    if (newOrder.NumItems() != size) return -2;
    QEL_intArray seen(size);
    seen.FillWith(0);
    for (int i = 0; i < size; i++) {
        const int from = newOrder.Subscript(i);
        if (from < 0 || from >= size || seen.Subscript(from) != 0) return -2;
        seen.Subscript(from) = 1;
    }

    const int inner = thePreProduct.Subscript(dim);
    const int slab = size * inner;
    const int outer = OuterCount(theDimensions, dim);
    QEL_doubleArray fresh(GetSize());
    const double* src = theData.Items();
    double* dst = fresh.Items();
    for (int o = 0; o < outer; o++, src += slab) {
        for (int i = 0; i < size; i++, dst += inner) CopyItems(dst, src + newOrder.Subscript(i) * inner, inner);
    }
    theData.Swap(fresh);
    return 0;
}
