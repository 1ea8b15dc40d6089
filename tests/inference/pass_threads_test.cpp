// Passes large enough to be cut in two, checked against coordinate
// arithmetic, and run from several threads at once to show that the result
// does not depend on which of them got the helper thread.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <thread>
#include <vector>

#include "inference/ts_pass.h"

namespace {

// A potential's shape and, for each operand, the dimensions it spans.
struct Layout {
    TsMatrix::Coords dims;
    std::vector<std::vector<int>> spans;  // per operand: ascending dimension indices
};

int64_t Cells(const TsMatrix::Coords& dims, const std::vector<int>& span) {
    int64_t cells = 1;
    for (int d : span) cells *= dims[d];
    return cells;
}

int64_t Volume(const TsMatrix::Coords& dims) {
    int64_t cells = 1;
    for (int d = 0; d < dims.count; ++d) cells *= dims[d];
    return cells;
}

// Strides of an operand laid out densely over its span, first fastest.
std::vector<int64_t> Strides(const TsMatrix::Coords& dims, const std::vector<int>& span) {
    std::vector<int64_t> strides(size_t(dims.count), 0);
    int64_t step = 1;
    for (int d : span) {
        strides[size_t(d)] = step;
        step *= dims[d];
    }
    return strides;
}

std::vector<int> RandomSpan(std::mt19937& rng, int dimCount, double share) {
    std::bernoulli_distribution pick(share);
    std::vector<int> span;
    for (int d = 0; d < dimCount; ++d) {
        if (pick(rng)) span.push_back(d);
    }
    return span;
}

// Three factors times each other, summed onto two small targets and onto
// the last dimension alone. Shapes run from 2^15 to about 2^19 cells, so
// that some are cut and some are not.
Layout RandomLayout(std::mt19937& rng) {
    Layout layout;
    std::uniform_int_distribution<int> size(2, 4);
    std::uniform_int_distribution<int64_t> goal(int64_t(1) << 15, int64_t(1) << 19);
    const int64_t cells = goal(rng);
    for (int64_t n = 1; n < cells;) {
        layout.dims.Add(size(rng));
        n *= layout.dims[layout.dims.count - 1];
    }
    const int count = layout.dims.count;
    for (int f = 0; f < 3; ++f) layout.spans.push_back(RandomSpan(rng, count, 0.5));
    for (int t = 0; t < 2; ++t) layout.spans.push_back(RandomSpan(rng, count, 0.25));
    layout.spans.push_back({count - 1});
    return layout;
}

struct Operands {
    std::vector<std::vector<double>> factors;
    std::vector<std::vector<double>> sums;
};

Operands RandomOperands(std::mt19937& rng, const Layout& layout) {
    std::uniform_real_distribution<double> value(0.0, 1.0);
    Operands o;
    for (size_t k = 0; k < layout.spans.size(); ++k) {
        std::vector<double> cells(size_t(Cells(layout.dims, layout.spans[k])), 0.0);
        if (k < 3) {
            for (double& c : cells) c = value(rng);
            o.factors.push_back(cells);
        } else {
            o.sums.push_back(cells);
        }
    }
    return o;
}

void RunPass(TsPass& pass, const Layout& layout, Operands& o) {
    pass.Begin(layout.dims);
    for (size_t k = 0; k < layout.spans.size(); ++k) {
        const std::vector<int64_t> strides = Strides(layout.dims, layout.spans[k]);
        if (k == 0) pass.Add(TsPass::copyFrom, o.factors[k].data(), strides.data());
        if (k == 1 || k == 2) pass.Add(TsPass::multiplyBy, o.factors[k].data(), strides.data());
        if (k >= 3) pass.AddTarget(TsPass::sumInto, o.sums[k - 3].data(), strides.data());
    }
    pass.Run();
}

// The same sums, cell by cell from coordinates.
std::vector<std::vector<double>> Reference(const Layout& layout, const Operands& o) {
    std::vector<std::vector<double>> sums = o.sums;
    std::vector<std::vector<int64_t>> strides;
    for (const std::vector<int>& span : layout.spans) strides.push_back(Strides(layout.dims, span));
    std::vector<int> at(size_t(layout.dims.count), 0);
    const int64_t cells = Volume(layout.dims);
    for (int64_t cell = 0; cell < cells; ++cell) {
        auto index = [&](size_t k) {
            int64_t i = 0;
            for (int d = 0; d < layout.dims.count; ++d) i += at[size_t(d)] * strides[k][size_t(d)];
            return size_t(i);
        };
        double product = 1.0;
        for (size_t k = 0; k < 3; ++k) product *= o.factors[k][index(k)];
        for (size_t k = 3; k < layout.spans.size(); ++k) sums[k - 3][index(k)] += product;
        for (int d = 0; d < layout.dims.count && ++at[size_t(d)] == layout.dims[d]; ++d) at[size_t(d)] = 0;
    }
    return sums;
}

TEST(PassThreadsTest, CutPassesMatchCoordinateArithmetic) {
    std::mt19937 rng(17);
    TsPass pass;
    for (int round = 0; round < 12; ++round) {
        const Layout layout = RandomLayout(rng);
        Operands o = RandomOperands(rng, layout);
        const std::vector<std::vector<double>> expected = Reference(layout, o);
        RunPass(pass, layout, o);
        for (size_t t = 0; t < expected.size(); ++t) {
            for (size_t i = 0; i < expected[t].size(); ++i) {
                ASSERT_NEAR(o.sums[t][i], expected[t][i], 1e-12 * std::fabs(expected[t][i]))
                    << "round " << round << " target " << t << " cell " << i;
            }
        }
    }
}

TEST(PassThreadsTest, ResultsDoNotDependOnWhoGotTheHelper) {
    std::mt19937 rng(5);
    Layout layout = RandomLayout(rng);
    while (Volume(layout.dims) < (int64_t(1) << 18)) layout = RandomLayout(rng);
    const Operands start = RandomOperands(rng, layout);
    Operands alone = start;
    TsPass single;
    RunPass(single, layout, alone);
    // Four threads contend for one helper: most passes run both halves on
    // their own thread, some share; all must agree to the last bit.
    std::vector<Operands> results(4, start);
    std::vector<std::thread> threads;
    for (Operands& r : results) {
        threads.emplace_back([&layout, &r] {
            TsPass pass;
            for (int repeat = 0; repeat < 3; ++repeat) {
                for (std::vector<double>& s : r.sums) std::fill(s.begin(), s.end(), 0.0);
                RunPass(pass, layout, r);
            }
        });
    }
    for (std::thread& t : threads) t.join();
    for (const Operands& r : results) EXPECT_EQ(r.sums, alone.sums);
}

}  // namespace
