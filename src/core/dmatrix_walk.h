/*
 * Shape arithmetic and strided walks over boxes of a QEL_Dmatrix, shared by
 * the operations that move items between shapes (removing, reordering and
 * marginalising dimensions) and the slice tests.
 *
 * A DmWalk lists the extents of a box from the outermost dimension to the
 * innermost, with two strides per dimension, so that one walk can drive two
 * offsets at once (a source and a destination, or a table and a factor).
 * Dimensions of extent 1 are dropped and neighbours that are contiguous in
 * both strides are merged, so a walk over a plain slab collapses into a few
 * long runs. Since every extent left is at least 2 and a box never holds
 * more than an int's worth of items, a walk never has more than 31
 * dimensions and lives on the stack.
 *
 * DmForEachRun hands the innermost dimension to the caller as one run
 * (start offsets, length, strides), so the inner loop is the caller's own
 * tight loop: no coordinates, no divisions, no allocation.
 */
#ifndef ORVIL_CORE_DMATRIX_WALK_H
#define ORVIL_CORE_DMATRIX_WALK_H

#include <climits>
#include <cstring>

#include "orvil/intarray.h"

/* How many entries a coordinate or slice list passed by a caller holds: its
 * list length when it is used as a list, else its array size. A list built
 * by Add has spare capacity beyond its items, which must not pass for
 * coordinates. */
inline int DmEntryCount(const QEL_intArray& entries) {
    return entries.NumItems() > 0 ? entries.NumItems() : entries.GetSize();
}

/* Product of count dimension sizes, or -1 when a size is below 1 or the
 * product does not fit an int. */
inline int DmTotal(const int* sizes, int count) {
    long long total = 1;
    for (int i = 0; i < count; i++) {
        if (sizes[i] < 1) return -1;
        total *= sizes[i];
        if (total > INT_MAX) return -1;
    }
    return static_cast<int>(total);
}

struct DmWalk {
    static const int maxRank = 32;

    int count = 0;
    int extent[maxRank];
    int strideA[maxRank];
    int strideB[maxRank];

    /* Appends the next inner dimension of the box. */
    void Push(int size, int a, int b) {
        if (size == 1) return;
        if (count > 0 && strideA[count - 1] == size * a && strideB[count - 1] == size * b) {
            // The outer neighbour steps exactly over this whole dimension:
            // the two are one longer dimension.
            extent[count - 1] *= size;
            strideA[count - 1] = a;
            strideB[count - 1] = b;
            return;
        }
        extent[count] = size;
        strideA[count] = a;
        strideB[count] = b;
        count++;
    }
};

/* Calls run(a, b, length, strideA, strideB) for every run of the innermost
 * dimension, in row-major order of the box; a box with no dimension left is
 * one run of length 1. run returns false to stop the walk, and the walk then
 * returns false as well. */
template <class Run>
bool DmForEachRun(const DmWalk& walk, Run run) {
    if (walk.count == 0) return run(0, 0, 1, 0, 0);
    const int inner = walk.count - 1;
    int counter[DmWalk::maxRank] = {0};
    int a = 0;
    int b = 0;
    for (;;) {
        if (!run(a, b, walk.extent[inner], walk.strideA[inner], walk.strideB[inner])) return false;
        int d = inner - 1;
        for (; d >= 0; d--) {
            a += walk.strideA[d];
            b += walk.strideB[d];
            if (++counter[d] < walk.extent[d]) break;
            a -= walk.strideA[d] * walk.extent[d];
            b -= walk.strideB[d] * walk.extent[d];
            counter[d] = 0;
        }
        if (d < 0) return true;
    }
}

/* Copies the box (strides A into src, starting at base) to dst, which is
 * written in order. */
inline void DmGather(const double* src, int base, const DmWalk& walk, double* dst) {
    DmForEachRun(walk, [&](int a, int, int length, int stride, int) {
        const double* from = src + base + a;
        if (stride == 1) {
            std::memcpy(dst, from, sizeof(double) * static_cast<size_t>(length));
            dst += length;
            return true;
        }
        for (int i = 0; i < length; i++, from += stride) *dst++ = *from;
        return true;
    });
}

#endif
