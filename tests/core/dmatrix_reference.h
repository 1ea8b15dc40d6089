// A deliberately naive model of a multi-dimensional table, used as the
// oracle for QEL_Dmatrix and QEL_sysCoordinates: dimensions in a vector,
// items in a vector, every item found by turning coordinates into an index
// by hand. Nothing here shares code with the engine.
#ifndef ORVIL_TESTS_DMATRIX_REFERENCE_H
#define ORVIL_TESTS_DMATRIX_REFERENCE_H

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "orvil/dmatrix.h"

namespace dmref {

using Coords = std::vector<int>;

struct Table {
    std::vector<int> dims;
    std::vector<double> data;

    int Total() const {
        if (dims.empty()) return 0;
        int t = 1;
        for (int d : dims) t *= d;
        return t;
    }
    int Index(const Coords& c) const {
        int index = 0;
        for (size_t i = 0; i < dims.size(); i++) index = index * dims[i] + c[i];
        return index;
    }
    double& At(const Coords& c) { return data[Index(c)]; }
    double At(const Coords& c) const { return data[Index(c)]; }
};

// Every coordinate vector of a shape, in row-major order (last fastest).
inline std::vector<Coords> AllCoords(const std::vector<int>& dims) {
    std::vector<Coords> all;
    if (dims.empty()) return all;
    Coords c(dims.size(), 0);
    for (;;) {
        all.push_back(c);
        int d = static_cast<int>(dims.size()) - 1;
        while (d >= 0 && ++c[d] == dims[d]) c[d--] = 0;
        if (d < 0) return all;
    }
}

inline Table Blank(const std::vector<int>& dims) {
    Table t;
    t.dims = dims;
    t.data.assign(t.Total(), 0.0);
    return t;
}

// Random shapes: up to 12 dimensions, so that both the inline store of the
// int arrays (8) and a heap store are met, with totals kept small.
inline std::vector<int> RandomShape(std::mt19937& rng, int minRank = 1, int maxRank = 12, int maxTotal = 3000) {
    for (;;) {
        const int rank = std::uniform_int_distribution<int>(minRank, maxRank)(rng);
        const int maxSize = rank > 6 ? 3 : 5;
        std::vector<int> dims;
        long long total = 1;
        for (int i = 0; i < rank; i++) {
            dims.push_back(std::uniform_int_distribution<int>(1, maxSize)(rng));
            total *= dims.back();
        }
        if (total <= maxTotal) return dims;
    }
}

inline Table RandomTable(std::mt19937& rng, const std::vector<int>& dims) {
    Table t = Blank(dims);
    std::uniform_real_distribution<double> value(-4.0, 4.0);
    for (double& x : t.data) x = value(rng);
    return t;
}

inline QEL_Dmatrix ToMatrix(const Table& t) {
    QEL_Dmatrix m;
    EXPECT_EQ(0, m.Setup(t.dims.data(), static_cast<int>(t.dims.size())));
    for (size_t i = 0; i < t.data.size(); i++) m[static_cast<int>(i)] = t.data[i];
    return m;
}

inline Table FromMatrix(const QEL_Dmatrix& m) {
    Table t;
    for (int i = 0; i < m.GetNumberOfDimensions(); i++) t.dims.push_back(m.GetSizeOfDimension(i));
    for (int i = 0; i < m.GetSize(); i++) t.data.push_back(m[i]);
    return t;
}

inline QEL_intArray ListOf(const std::vector<int>& v) {
    QEL_intArray a;
    for (int x : v) a.Add(x);
    return a;
}

// The matrix has exactly the reference's shape, consistent strides and
// bit-identical items.
inline ::testing::AssertionResult Same(const QEL_Dmatrix& m, const Table& t) {
    const Table got = FromMatrix(m);
    if (got.dims != t.dims) return ::testing::AssertionFailure() << "shapes differ";
    if (m.GetSize() != t.Total()) return ::testing::AssertionFailure() << "size " << m.GetSize() << " vs " << t.Total();
    int stride = 1;
    for (int i = m.GetNumberOfDimensions() - 1; i >= 0; i--) {
        if (m.GetPreProduct()[i] != stride) return ::testing::AssertionFailure() << "stride of dimension " << i;
        stride *= t.dims[i];
    }
    for (size_t i = 0; i < t.data.size(); i++) {
        if (got.data[i] != t.data[i]) {
            return ::testing::AssertionFailure() << "item " << i << ": " << got.data[i] << " vs " << t.data[i];
        }
    }
    return ::testing::AssertionSuccess();
}

}  // namespace dmref

#endif
