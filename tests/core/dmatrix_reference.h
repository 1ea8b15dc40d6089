// A deliberately naive model of a multi-dimensional table, the oracle for
// QEL_Dmatrix and QEL_sysCoordinates: dimensions and items in vectors,
// every item found by turning coordinates into an index by hand. Nothing
// here shares code with the engine.
#ifndef ORVIL_TESTS_DMATRIX_REFERENCE_H
#define ORVIL_TESTS_DMATRIX_REFERENCE_H

#include "core_helpers.h"

namespace dmref {

using Coords = std::vector<int>;
using coretest::Dims;
using coretest::Ints;
using coretest::ListOf;

struct Table {
    std::vector<int> dims;
    std::vector<double> data;

    int Index(const Coords& c) const {
        int index = 0;
        for (size_t i = 0; i < dims.size(); i++) index = index * dims[i] + c[i];
        return index;
    }
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

// The table of shape `dims` whose item at c is item(c).
template <class F>
Table Build(const std::vector<int>& dims, F item) {
    Table t{dims, {}};
    for (const Coords& c : AllCoords(dims)) t.data.push_back(item(c));
    return t;
}

inline int Pick(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

// Random shapes: up to 12 dimensions, so that both the inline store of the
// int arrays (8) and a heap store are met, with totals kept small.
inline std::vector<int> RandomShape(std::mt19937& rng, int minRank = 1, int maxRank = 12, int maxTotal = 3000) {
    for (;;) {
        const int rank = Pick(rng, minRank, maxRank);
        std::vector<int> dims;
        long long total = 1;
        for (int i = 0; i < rank; i++) total *= dims.emplace_back(Pick(rng, 1, rank > 6 ? 3 : 5));
        if (total <= maxTotal) return dims;
    }
}

inline Table RandomTable(std::mt19937& rng, const std::vector<int>& dims) {
    std::uniform_real_distribution<double> value(-4.0, 4.0);
    return Build(dims, [&](const Coords&) { return value(rng); });
}

inline QEL_Dmatrix ToMatrix(const Table& t) {
    QEL_Dmatrix m;
    EXPECT_EQ(0, m.Setup(t.dims.data(), static_cast<int>(t.dims.size())));
    for (size_t i = 0; i < t.data.size(); i++) m[static_cast<int>(i)] = t.data[i];
    return m;
}

// The matrix has exactly the reference's shape, consistent strides and
// bit-identical items.
inline ::testing::AssertionResult Same(const QEL_Dmatrix& m, const Table& t) {
    if (Dims(m) != t.dims) return ::testing::AssertionFailure() << "shapes differ";
    for (int i = m.GetNumberOfDimensions() - 1, stride = 1; i >= 0; stride *= t.dims[i--]) {
        if (m.GetPreProduct()[i] != stride) return ::testing::AssertionFailure() << "stride of dimension " << i;
    }
    if (coretest::Cells(m) != t.data) return ::testing::AssertionFailure() << "items differ";
    return ::testing::AssertionSuccess();
}

}  // namespace dmref

#endif
