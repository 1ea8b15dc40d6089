// Sums of two-factor products taken as matrix products, checked against
// coordinate arithmetic on random shapes: factors and targets over random
// subsets of the dimensions, laid out in shuffled orders, with zero cells,
// separator dimensions that neither factor holds, and targets that already
// hold sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "inference/ts_contraction.h"

namespace {

struct Operand {
    std::vector<int64_t> strides;
    std::vector<double> cells;
};

// An operand over the dimensions of `span`, stored with them in the order
// given (first fastest), with cells drawn from `value` and a quarter of them
// zero when `zeros` is set.
Operand RandomOperand(std::mt19937& rng, const TsMatrix::Coords& dims, std::vector<int> span, bool zeros) {
    std::shuffle(span.begin(), span.end(), rng);
    Operand o;
    o.strides.assign(size_t(dims.count), 0);
    int64_t step = 1;
    for (int d : span) {
        o.strides[size_t(d)] = step;
        step *= dims[d];
    }
    std::uniform_real_distribution<double> value(0.0, 1.0);
    std::bernoulli_distribution zero(zeros ? 0.25 : 0.0);
    o.cells.resize(size_t(step));
    for (double& c : o.cells) c = zero(rng) ? 0.0 : value(rng);
    return o;
}

std::vector<int> RandomSpan(std::mt19937& rng, int count, double share) {
    std::bernoulli_distribution pick(share);
    std::vector<int> span;
    for (int d = 0; d < count; ++d) {
        if (pick(rng)) span.push_back(d);
    }
    return span;
}

// target += sum of a * b over the dimensions the target lacks, cell by cell.
void Reference(const TsMatrix::Coords& dims, const Operand& a, const Operand& b, Operand& target) {
    std::vector<int> at(size_t(dims.count), 0);
    for (;;) {
        int64_t ia = 0;
        int64_t ib = 0;
        int64_t it = 0;
        for (int d = 0; d < dims.count; ++d) {
            ia += at[size_t(d)] * a.strides[size_t(d)];
            ib += at[size_t(d)] * b.strides[size_t(d)];
            it += at[size_t(d)] * target.strides[size_t(d)];
        }
        target.cells[size_t(it)] += a.cells[size_t(ia)] * b.cells[size_t(ib)];
        int d = 0;
        while (d < dims.count && ++at[size_t(d)] == dims[d]) at[size_t(d++)] = 0;
        if (d == dims.count) return;
    }
}

TEST(ContractionTest, MatrixProductsMatchCoordinateArithmetic) {
    std::mt19937 rng(23);
    std::uniform_int_distribution<int> dimCount(2, 9);
    std::uniform_int_distribution<int> size(1, 7);
    TsContraction contraction;
    int planned = 0;
    int dotShaped = 0;
    for (int round = 0; round < 1500; ++round) {
        TsMatrix::Coords dims;
        const int count = dimCount(rng);
        int64_t cells = 1;
        for (int d = 0; d < count; ++d) {
            dims.Add(size(rng));
            cells *= dims[d];
        }
        if (cells > 100000) continue;
        const std::vector<int> spanA = RandomSpan(rng, count, 0.6);
        const std::vector<int> spanB = RandomSpan(rng, count, 0.6);
        const std::vector<int> spanT = RandomSpan(rng, count, 0.35);
        const Operand a = RandomOperand(rng, dims, spanA, round % 2 == 0);
        const Operand b = RandomOperand(rng, dims, spanB, round % 3 == 0);
        Operand target = RandomOperand(rng, dims, spanT, false);
        Operand expected = target;
        Reference(dims, a, b, expected);
        if (!contraction.Plan(dims, a.strides.data(), b.strides.data(), target.strides.data())) continue;
        ++planned;
        // The side only one factor holds, of the larger cells, is the row
        // of the result; a short one makes the product a dot product.
        int64_t onlyA = 1;
        int64_t onlyB = 1;
        for (int d : spanT) {
            if (a.strides[size_t(d)] != 0 && b.strides[size_t(d)] == 0) onlyA *= dims[d];
            if (a.strides[size_t(d)] == 0 && b.strides[size_t(d)] != 0) onlyB *= dims[d];
        }
        if (std::max(onlyA, onlyB) < 4) ++dotShaped;
        contraction.Run(a.cells.data(), b.cells.data(), target.cells.data());
        for (size_t i = 0; i < expected.cells.size(); ++i) {
            ASSERT_NEAR(target.cells[i], expected.cells[i], 1e-12 * std::fabs(expected.cells[i]))
                << "round " << round << " cell " << i;
        }
    }
    // Shapes where packing costs too much are left to a pass; enough of the
    // rest must be taken, of both kinds, for the check to mean something.
    EXPECT_GT(planned, 100);
    EXPECT_GE(dotShaped, 5);
}

TEST(ContractionTest, ShapesLeftToAPass) {
    TsContraction contraction;
    TsMatrix::Coords dims;
    for (int d = 0; d < 4; ++d) dims.Add(3);
    const int64_t a[] = {1, 3, 0, 0};
    const int64_t b[] = {0, 1, 3, 0};
    const int64_t target[] = {0, 0, 1, 0};
    // 81 cells: below what is worth planning.
    EXPECT_FALSE(contraction.Plan(dims, a, b, target));
    TsMatrix::Coords big;
    for (int d = 0; d < 6; ++d) big.Add(4);
    const int64_t all[] = {1, 4, 16, 64, 256, 1024};
    const int64_t none[] = {0, 0, 0, 0, 0, 0};
    // The target holds every dimension: nothing is summed.
    EXPECT_FALSE(contraction.Plan(big, all, none, all));
    const int64_t low[] = {1, 4, 16, 0, 0, 0};
    const int64_t high[] = {0, 0, 0, 1, 4, 16};
    const int64_t first[] = {1, 0, 0, 0, 0, 0};
    // Each factor a third of the clique's dimensions, summed onto one
    // dimension of the first: packing costs more than it would save.
    EXPECT_FALSE(contraction.Plan(big, low, high, first));
    // The same overlap of factors taken, then past the size where a pass is
    // shared with the helper thread.
    TsMatrix::Coords mid;
    for (int d = 0; d < 5; ++d) mid.Add(8);
    const int64_t left[] = {1, 8, 64, 0, 0};
    const int64_t right[] = {0, 1, 8, 64, 512};
    const int64_t ends[] = {1, 0, 0, 8, 64};
    EXPECT_TRUE(contraction.Plan(mid, left, right, ends));
    mid.Add(4);
    const int64_t wideLeft[] = {1, 8, 64, 0, 0, 0};
    const int64_t wideRight[] = {0, 1, 8, 64, 512, 4096};
    const int64_t wideEnds[] = {1, 0, 0, 8, 64, 512};
    EXPECT_FALSE(contraction.Plan(mid, wideLeft, wideRight, wideEnds));
}

}  // namespace
