// Walkers and mappings checked against coordinate arithmetic: random shapes,
// random subsets, every walker, and walks repeated on the same odometer.
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

Shape RandomShape(std::mt19937& rng, int maxDims) {
    Shape shape;
    std::uniform_int_distribution<int> dimCount(0, maxDims);
    std::uniform_int_distribution<int> size(1, 4);
    std::uniform_int_distribution<int> gap(1, 3);
    std::bernoulli_distribution pick(0.5);
    const int k = dimCount(rng);
    int node = 0;
    for (int i = 0; i < k; ++i) {
        node += gap(rng);
        shape.nodes.Add(node);
        shape.sizes.Add(size(rng));
        if (pick(rng)) shape.subset.Add(node);
    }
    return shape;
}

int CellCount(const TsMatrix::Coords& sizes) {
    int cells = 1;
    for (int i = 0; i < sizes.count; ++i) cells *= sizes[i];
    return cells;
}

// For each dense cell, the index of the sparse cell it maps to, by coordinates.
std::vector<int> NaiveMap(const Shape& shape) {
    const int cells = CellCount(shape.sizes);
    std::vector<int> result(cells);
    std::vector<int> coord(shape.nodes.count, 0);
    for (int cell = 0; cell < cells; ++cell) {
        int index = 0;
        int stride = 1;
        for (int i = 0; i < shape.nodes.count; ++i) {
            if (shape.subset.Find(shape.nodes[i]) >= 0) {
                index += coord[i] * stride;
                stride *= shape.sizes[i];
            }
        }
        result[cell] = index;
        for (int i = 0; i < shape.nodes.count; ++i) {
            if (++coord[i] < shape.sizes[i]) break;
            coord[i] = 0;
        }
    }
    return result;
}

TsMatrix::Coords SubsetSizes(const Shape& shape) {
    TsMatrix::Coords sizes;
    for (int i = 0; i < shape.nodes.count; ++i) {
        if (shape.subset.Find(shape.nodes[i]) >= 0) sizes.Add(shape.sizes[i]);
    }
    return sizes;
}

std::vector<double> RandomCells(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    std::vector<double> v(n);
    for (double& x : v) x = u(rng);
    return v;
}

TEST(TsMatrixTest, InitKeepsStoreAndGivesEmptyDimensionsOneCell) {
    TsMatrix m;
    TsMatrix::Coords dims;
    m.Init(dims);
    ASSERT_EQ(m.dims.count, 1);
    EXPECT_EQ(m.dims[0], 1);
    EXPECT_EQ(m.size, 1);

    dims.Add(3);
    dims.Add(4);
    m.Init(dims);
    EXPECT_EQ(m.size, 12);
    EXPECT_EQ(m.capacity, 12);
    double* block = m.data;
    m.Fill(2.0);
    EXPECT_DOUBLE_EQ(m.Sum(), 24.0);
    m.Multiply(0.5);
    EXPECT_DOUBLE_EQ(m.Sum(), 12.0);

    TsMatrix::Coords smaller;
    smaller.Add(5);
    m.Init(smaller);
    EXPECT_EQ(m.size, 5);
    EXPECT_EQ(m.capacity, 12);
    EXPECT_EQ(m.data, block);

    TsMatrix other;
    m.Swap(other);
    EXPECT_EQ(m.data, nullptr);
    EXPECT_EQ(other.data, block);
    EXPECT_EQ(other.size, 5);
    other.Free();
    EXPECT_EQ(other.data, nullptr);
    EXPECT_EQ(other.capacity, 0);
}

TEST(TsMatrixTest, MappingEntriesForMixedRuns) {
    // Dense nodes 1, 2, 3, 4 of sizes 2, 3, 2, 5; the subset {2, 3} is one
    // inside run of 6 cells between two outside runs.
    TsMatrix m;
    TsMatrix::Coords dims;
    for (int s : {2, 3, 2, 5}) dims.Add(s);
    m.Init(dims);
    TsMatrix::Coords dense;
    for (int n : {1, 2, 3, 4}) dense.Add(n);
    TsMatrix::Coords sparse;
    sparse.Add(2);
    sparse.Add(3);
    TsMatrix::Mapping mapping;
    m.CreateMapping(mapping, dense, sparse);
    ASSERT_EQ(mapping.count, 4);
    EXPECT_EQ(mapping.entries[0].counter, 1);
    EXPECT_EQ(mapping.entries[0].step, 0);
    EXPECT_EQ(mapping.entries[1].counter, 5);
    EXPECT_EQ(mapping.entries[1].step, 1);
    EXPECT_EQ(mapping.entries[2].counter, 4);
    EXPECT_EQ(mapping.entries[2].reset, 4);
    EXPECT_EQ(mapping.entries[2].step, -5);
    EXPECT_EQ(mapping.entries[3].counter, -1);
    EXPECT_EQ(mapping.entries[3].step, -5);
}

// Every walker against the coordinate reference, on hundreds of random
// shapes, each walk done twice on one mapping.
TEST(TsMatrixTest, WalkersAgreeWithCoordinateArithmetic) {
    std::mt19937 rng(12345);
    for (int round = 0; round < 400; ++round) {
        const Shape shape = RandomShape(rng, 7);
        TsMatrix dense;
        dense.Init(shape.sizes);
        TsMatrix sparse;
        sparse.Init(SubsetSizes(shape));
        TsMatrix::Mapping mapping;
        dense.CreateMapping(mapping, shape.nodes, shape.subset);
        const std::vector<int> map = NaiveMap(shape);
        const std::vector<double> d0 = RandomCells(rng, dense.size);
        const std::vector<double> s0 = RandomCells(rng, sparse.size);
        double* dEnd = dense.data + dense.size;

        for (int repeat = 0; repeat < 2; ++repeat) {
            // Marginalize: sparse += dense.
            std::vector<double> want(s0);
            for (int c = 0; c < dense.size; ++c) want[map[c]] += d0[c];
            std::copy(d0.begin(), d0.end(), dense.data);
            std::copy(s0.begin(), s0.end(), sparse.data);
            TsOdoMarginalize(sparse.data, dense.data, dEnd, mapping.entries);
            for (int i = 0; i < sparse.size; ++i) ASSERT_NEAR(sparse.data[i], want[i], 1e-12);

            // Multiply: dense *= sparse.
            TsOdoMultiply(dense.data, dEnd, s0.data(), mapping.entries);
            for (int c = 0; c < dense.size; ++c) ASSERT_EQ(dense.data[c], d0[c] * s0[map[c]]);

            // Copy: dense = sparse.
            TsOdoCopy(dense.data, dEnd, s0.data(), mapping.entries);
            for (int c = 0; c < dense.size; ++c) ASSERT_EQ(dense.data[c], s0[map[c]]);

            // Stencil: the last dense cell of each sparse cell wins.
            std::vector<double> stencil(s0);
            for (int c = 0; c < dense.size; ++c) stencil[map[c]] = d0[c];
            std::copy(d0.begin(), d0.end(), dense.data);
            std::copy(s0.begin(), s0.end(), sparse.data);
            TsOdoStencil(sparse.data, dense.data, dEnd, mapping.entries);
            for (int i = 0; i < sparse.size; ++i) ASSERT_EQ(sparse.data[i], stencil[i]);

            // Scaled sum.
            std::vector<double> scaled(s0);
            for (int c = 0; c < dense.size; ++c) scaled[map[c]] += d0[c] * (1.0 / 3.0);
            std::copy(s0.begin(), s0.end(), sparse.data);
            TsOdoSumDiv(sparse.data, dense.data, dEnd, 3.0, mapping.entries);
            for (int i = 0; i < sparse.size; ++i) ASSERT_NEAR(sparse.data[i], scaled[i], 1e-12);
        }
        // The counters are back where the mapping started.
        TsMatrix::Mapping fresh;
        dense.CreateMapping(fresh, shape.nodes, shape.subset);
        ASSERT_EQ(fresh.count, mapping.count);
        for (int e = 0; e < mapping.count; ++e) {
            EXPECT_EQ(mapping.entries[e].counter, fresh.entries[e].counter);
        }
    }
}

// Spinning the odometer by hand visits the same strided cells as the
// reference: each run start plus the steps inside the run.
TEST(TsMatrixTest, SpinOdometerStepsFollowTheRuns) {
    std::mt19937 rng(777);
    for (int round = 0; round < 200; ++round) {
        const Shape shape = RandomShape(rng, 6);
        TsMatrix dense;
        dense.Init(shape.sizes);
        TsMatrix::Mapping mapping;
        dense.CreateMapping(mapping, shape.nodes, shape.subset);
        const std::vector<int> map = NaiveMap(shape);
        const int run = mapping.entries[0].counter + 1;
        const int step = mapping.entries[0].step;
        int position = 0;
        for (int start = 0; start < dense.size; start += run) {
            for (int i = 0; i < run; ++i) ASSERT_EQ(position + i * step, map[start + i]);
            position += (run - 1) * step;
            if (start + run < dense.size) position += TsSpinOdometer(mapping.entries);
        }
    }
}

// Strides of a matrix over `subset` (first fastest) relative to `shape`.
std::vector<int64_t> StridesOf(const Shape& shape, const TsMatrix::Coords& subset) {
    std::vector<int64_t> strides(size_t(shape.nodes.count), 0);
    int64_t stride = 1;
    for (int i = 0; i < shape.nodes.count; ++i) {
        if (subset.Find(shape.nodes[i]) < 0) continue;
        strides[size_t(i)] = stride;
        stride *= shape.sizes[i];
    }
    return strides;
}

// A chunked pass builds the product of two operands and hands it out by sum
// and by copy as cell-by-cell arithmetic does, whether the potential is one
// chunk or thousands.
TEST(TsMatrixTest, ChunkedPassMatchesCoordinateArithmetic) {
    std::mt19937 rng(2468);
    std::uniform_int_distribution<int> size(1, 6);
    std::bernoulli_distribution pick(0.5);
    TsPass pass;
    for (int round = 0; round < 300; ++round) {
        Shape shape;
        const int k = 1 + int(rng() % 8);
        TsMatrix::Coords first;
        TsMatrix::Coords second;
        for (int i = 0; i < k; ++i) {
            shape.nodes.Add(i);
            shape.sizes.Add(size(rng));
            if (pick(rng)) first.Add(i);
            if (pick(rng)) second.Add(i);
            if (pick(rng)) shape.subset.Add(i);
        }
        const int cells = CellCount(shape.sizes);
        Shape a = shape;
        a.subset = first;
        Shape b = shape;
        b.subset = second;
        const std::vector<int> mapA = NaiveMap(a);
        const std::vector<int> mapB = NaiveMap(b);
        const std::vector<int> mapS = NaiveMap(shape);
        const std::vector<double> tableA = RandomCells(rng, CellCount(SubsetSizes(a)));
        const std::vector<double> tableB = RandomCells(rng, CellCount(SubsetSizes(b)));
        std::vector<double> sums(size_t(CellCount(SubsetSizes(shape))), 0.0);
        std::vector<double> copy(size_t(cells), -1.0);

        pass.Begin(shape.sizes);
        pass.Add(TsPass::copyFrom, tableA.data(), StridesOf(shape, first).data());
        pass.Add(TsPass::multiplyBy, tableB.data(), StridesOf(shape, second).data());
        pass.AddTarget(TsPass::sumInto, sums.data(), StridesOf(shape, shape.subset).data());
        pass.AddTarget(TsPass::copyInto, copy.data(), StridesOf(shape, shape.nodes).data());
        pass.Run();

        std::vector<double> want(sums.size(), 0.0);
        for (int c = 0; c < cells; ++c) {
            const double cell = tableA[size_t(mapA[size_t(c)])] * tableB[size_t(mapB[size_t(c)])];
            ASSERT_EQ(copy[size_t(c)], cell) << "round " << round << " cell " << c;
            want[size_t(mapS[size_t(c)])] += cell;
        }
        // A sum that takes a whole chunk into one cell adds the chunk's
        // total, so its rounding may differ from the cell-by-cell order.
        for (size_t i = 0; i < want.size(); ++i) ASSERT_NEAR(sums[i], want[i], 1e-13 * want[i]) << "round " << round;
    }
}

}  // namespace
