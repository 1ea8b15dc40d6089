// Mappings and chunked passes checked against coordinate arithmetic on
// random shapes and subsets.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "inference/ts_pass.h"
#include "orvil/tsmatrix.h"

namespace {

struct Shape {
    TsMatrix::Coords nodes;   // ascending node numbers
    TsMatrix::Coords sizes;   // one size per node
    TsMatrix::Coords subset;  // ascending subset of nodes
};

// `minDims` to `maxDims` nodes numbered with gaps, each kept in the subset
// by a coin.
Shape RandomShape(std::mt19937& rng, int minDims, int maxDims, int maxSize, int maxGap) {
    Shape shape;
    const int k = minDims + int(rng() % unsigned(maxDims - minDims + 1));
    for (int i = 0, node = 0; i < k; ++i) {
        node += 1 + int(rng() % unsigned(maxGap));
        shape.nodes.Add(node);
        shape.sizes.Add(1 + int(rng() % unsigned(maxSize)));
        if (rng() % 2 == 0) shape.subset.Add(node);
    }
    return shape;
}

// Strides of a matrix over `subset` (first fastest) within `shape`; its cell
// count in `cells`.
std::vector<int64_t> StridesOf(const Shape& shape, const TsMatrix::Coords& subset, int* cells = nullptr) {
    std::vector<int64_t> strides(static_cast<size_t>(shape.nodes.count), 0);
    int64_t stride = 1;
    for (int i = 0; i < shape.nodes.count; ++i) {
        if (subset.Find(shape.nodes[i]) < 0) continue;
        strides[size_t(i)] = stride;
        stride *= shape.sizes[i];
    }
    if (cells != nullptr) *cells = int(stride);
    return strides;
}

// For each cell of `shape`, by coordinates, the cell of a matrix over
// `subset` it maps to.
std::vector<int> NaiveMap(const Shape& shape, const TsMatrix::Coords& subset, int* cells = nullptr) {
    const std::vector<int64_t> strides = StridesOf(shape, subset, cells);
    std::vector<int> coord(static_cast<size_t>(shape.nodes.count), 0);
    std::vector<int> result;
    size_t i = 0;
    do {
        int64_t index = 0;
        for (size_t k = 0; k < coord.size(); ++k) index += coord[k] * strides[k];
        result.push_back(int(index));
        for (i = 0; i < coord.size() && ++coord[i] == shape.sizes[int(i)]; ++i) coord[i] = 0;
    } while (i < coord.size());
    return result;
}

std::vector<double> RandomCells(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    std::vector<double> v(static_cast<size_t>(n));
    for (double& x : v) x = u(rng);
    return v;
}

// The odometer of a mapping walks as coordinate arithmetic does: summing
// into the sparse matrix, plain and scaled, each walk done twice on one
// mapping, whose counters must then be back where they started; and spun by
// hand it visits each run start plus the steps inside the run. The other
// walkers are checked through the chunked pass below.
TEST(TsMatrixTest, MappingsWalkAsCoordinateArithmetic) {
    std::mt19937 rng(12345);
    for (int round = 0; round < 400; ++round) {
        const Shape shape = RandomShape(rng, 0, 7, 4, 3);
        int sparseSize = 0;
        const std::vector<int> map = NaiveMap(shape, shape.subset, &sparseSize);
        TsMatrix dense;
        dense.Init(shape.sizes);
        ASSERT_EQ(dense.size, int(map.size()));
        TsMatrix::Mapping mapping;
        dense.CreateMapping(mapping, shape.nodes, shape.subset);
        const std::vector<double> d = RandomCells(rng, dense.size);
        const std::vector<double> s = RandomCells(rng, sparseSize);
        std::vector<double> want(s);
        for (size_t c = 0; c < map.size(); ++c) want[size_t(map[c])] += d[c];
        for (int repeat = 0; repeat < 2; ++repeat) {
            std::vector<double> sum(s);
            std::vector<double> divided(s.size(), 0.0);
            TsOdoMarginalize(sum.data(), d.data(), d.data() + d.size(), mapping.entries);
            TsOdoSumDiv(divided.data(), d.data(), d.data() + d.size(), 3.0, mapping.entries);
            for (size_t i = 0; i < s.size(); ++i) {
                ASSERT_NEAR(sum[i], want[i], 1e-12);
                ASSERT_NEAR(divided[i] * 3.0, want[i] - s[i], 1e-12);
            }
        }
        TsMatrix::Mapping fresh;
        dense.CreateMapping(fresh, shape.nodes, shape.subset);
        ASSERT_EQ(fresh.count, mapping.count);
        for (int e = 0; e < mapping.count; ++e) EXPECT_EQ(mapping.entries[e].counter, fresh.entries[e].counter);
        const int run = fresh.entries[0].counter + 1;
        int position = 0;
        for (int start = 0; start < dense.size; start += run) {
            for (int i = 0; i < run; ++i) ASSERT_EQ(position + i * fresh.entries[0].step, map[size_t(start + i)]);
            position += (run - 1) * fresh.entries[0].step;
            if (start + run < dense.size) position += TsSpinOdometer(fresh.entries);
        }
    }
}

// A chunked pass builds the product of two operands and hands it out by sum
// and by copy as cell-by-cell arithmetic does, whether the potential is one
// chunk or thousands.
TEST(TsMatrixTest, ChunkedPassMatchesCoordinateArithmetic) {
    std::mt19937 rng(2468);
    TsPass pass;
    for (int round = 0; round < 300; ++round) {
        const Shape shape = RandomShape(rng, 1, 8, 6, 1);
        Shape a{shape.nodes, shape.sizes, {}};
        Shape b = a;
        for (int i = 0; i < shape.nodes.count; ++i) {
            if (rng() % 2 == 0) a.subset.Add(shape.nodes[i]);
            if (rng() % 2 == 0) b.subset.Add(shape.nodes[i]);
        }
        int cellsA = 0, cellsB = 0, cellsS = 0;
        const std::vector<int> mapA = NaiveMap(a, a.subset, &cellsA);
        const std::vector<int> mapB = NaiveMap(b, b.subset, &cellsB);
        const std::vector<int> mapS = NaiveMap(shape, shape.subset, &cellsS);
        const std::vector<double> tableA = RandomCells(rng, cellsA);
        const std::vector<double> tableB = RandomCells(rng, cellsB);
        std::vector<double> sums(static_cast<size_t>(cellsS), 0.0);
        std::vector<double> copy(mapS.size(), -1.0);

        pass.Begin(shape.sizes);
        pass.Add(TsPass::copyFrom, tableA.data(), StridesOf(shape, a.subset).data());
        pass.Add(TsPass::multiplyBy, tableB.data(), StridesOf(shape, b.subset).data());
        pass.AddTarget(TsPass::sumInto, sums.data(), StridesOf(shape, shape.subset).data());
        pass.AddTarget(TsPass::copyInto, copy.data(), StridesOf(shape, shape.nodes).data());
        pass.Run();

        std::vector<double> want(sums.size(), 0.0);
        for (size_t c = 0; c < mapS.size(); ++c) {
            const double cell = tableA[size_t(mapA[c])] * tableB[size_t(mapB[c])];
            ASSERT_EQ(copy[c], cell) << "round " << round << " cell " << c;
            want[size_t(mapS[c])] += cell;
        }
        // A sum that takes a whole chunk into one cell adds the chunk's
        // total, so its rounding may differ from the cell-by-cell order.
        for (size_t i = 0; i < want.size(); ++i) ASSERT_NEAR(sums[i], want[i], 1e-13 * want[i]) << "round " << round;
    }
}

}  // namespace
