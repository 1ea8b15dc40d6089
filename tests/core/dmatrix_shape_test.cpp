// QEL_Dmatrix shape changes, checked against coordinate-by-coordinate
// reference versions on random shapes (up to 12 dimensions, and tables small
// enough for the inline item store), through random sequences of edits, and
// with refused arguments leaving the matrix untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "dmatrix_reference.h"
#include "orvil/dmatrix.h"

using dmref::AllCoords;
using dmref::Blank;
using dmref::Coords;
using dmref::ListOf;
using dmref::RandomShape;
using dmref::RandomTable;
using dmref::Same;
using dmref::Table;
using dmref::ToMatrix;

namespace {

Coords With(Coords c, int dim, int value) {
    c.insert(c.begin() + dim, value);
    return c;
}

Table RefInsert(const Table& t, int where, int size) {
    std::vector<int> dims = t.dims;
    dims.insert(dims.begin() + where, size);
    Table r = Blank(dims);
    for (const Coords& c : AllCoords(dims)) {
        Coords old = c;
        old.erase(old.begin() + where);
        r.At(c) = t.At(old);
    }
    return r;
}

std::vector<int> Without(std::vector<int> dims, int dim) {
    dims.erase(dims.begin() + dim);
    return dims;
}

Table RefSlice(const Table& t, int dim, int slice) {
    Table r = Blank(Without(t.dims, dim));
    for (const Coords& c : AllCoords(r.dims)) r.At(c) = t.At(With(c, dim, slice));
    return r;
}

Table RefWeighted(const Table& t, int dim, const std::vector<double>& w) {
    Table r = Blank(Without(t.dims, dim));
    for (const Coords& c : AllCoords(r.dims)) {
        double sum = 0.0;
        for (int i = 0; i < t.dims[dim]; i++) sum += t.At(With(c, dim, i)) * w[i];
        r.At(c) = sum;
    }
    return r;
}

Table RefMarginal(const Table& t, int dim, const Table& other, const std::vector<int>& map) {
    Table r = Blank(Without(t.dims, dim));
    for (const Coords& c : AllCoords(r.dims)) {
        double sum = 0.0;
        for (int v = 0; v < t.dims[dim]; v++) {
            const Coords full = With(c, dim, v);
            Coords oc;
            for (int m : map) oc.push_back(full[m]);
            sum += t.At(full) * other.At(oc);
        }
        r.At(c) = sum;
    }
    return r;
}

Table RefFix(const Table& t, const std::vector<int>& fixed) {
    std::vector<int> dims;
    for (size_t i = 0; i < t.dims.size(); i++) {
        if (fixed[i] < 0) dims.push_back(t.dims[i]);
    }
    Table r = Blank(dims);
    for (const Coords& c : AllCoords(dims)) {
        Coords full;
        size_t j = 0;
        for (size_t i = 0; i < t.dims.size(); i++) full.push_back(fixed[i] < 0 ? c[j++] : fixed[i]);
        r.At(c) = t.At(full);
    }
    return r;
}

Table RefResize(const Table& t, int dim, int delta) {
    std::vector<int> dims = t.dims;
    dims[dim] += delta;
    Table r = Blank(dims);
    for (const Coords& c : AllCoords(dims)) r.At(c) = c[dim] < t.dims[dim] ? t.At(c) : 0.0;
    return r;
}

Table RefShiftUp(const Table& t, int dim, int pos, double fill) {
    Table r = t;
    for (const Coords& c : AllCoords(t.dims)) {
        if (c[dim] < pos) continue;
        Coords below = c;
        below[dim]--;
        r.At(c) = c[dim] == pos ? fill : t.At(below);
    }
    return r;
}

Table RefShiftDown(const Table& t, int dim, int pos) {
    Table r = t;
    for (const Coords& c : AllCoords(t.dims)) {
        if (c[dim] < pos || c[dim] == t.dims[dim] - 1) continue;
        Coords above = c;
        above[dim]++;
        r.At(c) = t.At(above);
    }
    return r;
}

Table RefOrderOfDimensions(const Table& t, const std::vector<int>& order) {
    std::vector<int> dims;
    for (int o : order) dims.push_back(t.dims[o]);
    Table r = Blank(dims);
    for (const Coords& c : AllCoords(dims)) {
        Coords old(c.size());
        for (size_t i = 0; i < c.size(); i++) old[order[i]] = c[i];
        r.At(c) = t.At(old);
    }
    return r;
}

Table RefOrderWithin(const Table& t, int dim, const std::vector<int>& order) {
    Table r = t;
    for (const Coords& c : AllCoords(t.dims)) {
        Coords old = c;
        old[dim] = order[c[dim]];
        r.At(c) = t.At(old);
    }
    return r;
}

std::vector<int> Permutation(std::mt19937& rng, int n) {
    std::vector<int> p(n);
    std::iota(p.begin(), p.end(), 0);
    std::shuffle(p.begin(), p.end(), rng);
    return p;
}

int Pick(std::mt19937& rng, int lo, int hi) {
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

std::vector<double> RandomWeights(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    std::vector<double> w(n);
    for (double& x : w) x = value(rng);
    return w;
}

QEL_doubleArray ArrayOf(const std::vector<double>& w) {
    QEL_doubleArray a(static_cast<int>(w.size()));
    for (size_t i = 0; i < w.size(); i++) a[static_cast<int>(i)] = w[i];
    return a;
}

// Applies one random valid shape change to both the matrix and the
// reference; returns false when the change is one the reference cannot
// predict (its items are uninitialised) and the pair must be resynchronised.
bool RandomEdit(std::mt19937& rng, QEL_Dmatrix& m, Table& t) {
    const int n = static_cast<int>(t.dims.size());
    const int dim = Pick(rng, 0, n - 1);
    const int size = t.dims[dim];
    // Grow only while the table is small, so that the walk stays cheap.
    const int op = t.Total() > 1500 ? Pick(rng, 2, 9) : Pick(rng, 0, 9);
    switch (op) {
    case 0: {
        // A new last dimension, either way of asking for it.
        const int where = Pick(rng, 0, n);
        const int s = Pick(rng, 1, 3);
        EXPECT_EQ(0, where == n && Pick(rng, 0, 1) ? m.AddDimension(s) : m.InsertDimension(where, s));
        t = RefInsert(t, where, s);
        return true;
    }
    case 1:
        EXPECT_EQ(0, m.IncreaseDimensionSize(dim));
        t = RefResize(t, dim, 1);
        return true;
    case 2: {
        if (n == 1) return true;
        const int slice = Pick(rng, 0, size - 1);
        EXPECT_EQ(0, m.RemoveDimension(dim, slice));
        t = RefSlice(t, dim, slice);
        return true;
    }
    case 3: {
        if (n == 1) return true;
        const std::vector<double> w = RandomWeights(rng, size + Pick(rng, 0, 2));
        EXPECT_EQ(0, m.RemoveDimension(dim, ArrayOf(w)));
        t = RefWeighted(t, dim, w);
        return true;
    }
    case 4:
        if (size == 1) return true;
        EXPECT_EQ(0, m.DecreaseDimensionSize(dim));
        t = RefResize(t, dim, -1);
        return true;
    case 5: {
        const int pos = Pick(rng, 0, size - 1);
        const double fill = Pick(rng, 0, 9);
        EXPECT_EQ(0, m.ShiftDataUpwards(dim, pos, fill));
        t = RefShiftUp(t, dim, pos, fill);
        return true;
    }
    case 6: {
        const int pos = Pick(rng, 0, size - 1);
        EXPECT_EQ(0, m.ShiftDataDownwards(dim, pos));
        t = RefShiftDown(t, dim, pos);
        return true;
    }
    case 7: {
        const std::vector<int> order = Permutation(rng, n);
        EXPECT_EQ(0, m.ChangeOrderOfDimensions(ListOf(order)));
        t = RefOrderOfDimensions(t, order);
        return true;
    }
    case 8: {
        const std::vector<int> order = Permutation(rng, size);
        EXPECT_EQ(0, m.ChangeOrderWithinDimension(dim, ListOf(order)));
        t = RefOrderWithin(t, dim, order);
        return true;
    }
    default: {
        // The same size keeps the items; another size only the shape.
        const int s = Pick(rng, 1, 3);
        EXPECT_EQ(0, m.ResizeDimension(dim, s));
        if (s == size) return true;
        t.dims[dim] = s;
        return false;
    }
    }
}

}  // namespace

TEST(DmatrixShape, RandomEditSequencesMatchReference) {
    std::mt19937 rng(21);
    for (int run = 0; run < 60; run++) {
        // Half the runs start from tables that fit the inline item store.
        const std::vector<int> shape = run % 2 ? RandomShape(rng, 1, 3, 4) : RandomShape(rng, 1, 11, 800);
        Table t = RandomTable(rng, shape);
        QEL_Dmatrix m = ToMatrix(t);
        for (int step = 0; step < 40; step++) {
            if (!RandomEdit(rng, m, t)) {
                t = RandomTable(rng, t.dims);
                for (int i = 0; i < m.GetSize() && i < t.Total(); i++) m[i] = t.data[i];
            }
            ASSERT_TRUE(Same(m, t)) << "run " << run << " step " << step;
        }
    }
}

TEST(DmatrixShape, ResultFormsLeaveTheSourceAlone) {
    std::mt19937 rng(22);
    for (int round = 0; round < 80; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 12));
        const QEL_Dmatrix m = ToMatrix(t);
        const int n = static_cast<int>(t.dims.size());
        const int dim = Pick(rng, 0, n - 1);
        const int slice = Pick(rng, 0, t.dims[dim] - 1);
        const std::vector<double> w = RandomWeights(rng, t.dims[dim]);

        QEL_Dmatrix out = ToMatrix(RandomTable(rng, RandomShape(rng)));
        ASSERT_EQ(0, m.RemoveDimension(dim, slice, out));
        EXPECT_TRUE(Same(out, n == 1 ? Table() : RefSlice(t, dim, slice)));
        ASSERT_EQ(0, m.RemoveDimension(dim, ArrayOf(w), out));
        EXPECT_TRUE(Same(out, n == 1 ? Table() : RefWeighted(t, dim, w)));

        std::vector<int> fixed(n);
        for (int i = 0; i < n; i++) fixed[i] = Pick(rng, 0, 2) == 0 ? -1 : Pick(rng, 0, t.dims[i] - 1);
        ASSERT_EQ(0, m.RemoveDimensions(ListOf(fixed), out));
        const bool allFixed = std::none_of(fixed.begin(), fixed.end(), [](int f) { return f < 0; });
        EXPECT_TRUE(Same(out, allFixed ? Table() : RefFix(t, fixed)));
        EXPECT_TRUE(Same(m, t));

        // The result may also be the source itself.
        QEL_Dmatrix self = ToMatrix(t);
        ASSERT_EQ(0, self.RemoveDimension(dim, slice, self));
        EXPECT_TRUE(Same(self, n == 1 ? Table() : RefSlice(t, dim, slice)));
    }
}

TEST(DmatrixShape, MarginalAgainstSecondTableMatchesReference) {
    std::mt19937 rng(23);
    for (int round = 0; round < 150; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 10, 1500));
        const int n = static_cast<int>(t.dims.size());
        const int dim = Pick(rng, 0, n - 1);
        // The second table covers dim and a random selection of the other
        // dimensions, in random order, sometimes one of them twice.
        std::vector<int> map = {dim};
        for (int i = 0; i < n; i++) {
            if (i != dim && Pick(rng, 0, 1)) map.push_back(i);
        }
        if (Pick(rng, 0, 3) == 0) map.push_back(map[Pick(rng, 0, static_cast<int>(map.size()) - 1)]);
        std::shuffle(map.begin(), map.end(), rng);
        std::vector<int> otherDims;
        for (int i : map) otherDims.push_back(t.dims[i]);
        const Table other = RandomTable(rng, otherDims);

        QEL_Dmatrix m = ToMatrix(t);
        ASSERT_EQ(0, m.RemoveDimension(dim, ToMatrix(other), ListOf(map)));
        EXPECT_TRUE(Same(m, n == 1 ? Table() : RefMarginal(t, dim, other, map)));
    }
}

TEST(DmatrixShape, RefusedArgumentsChangeNothing) {
    std::mt19937 rng(24);
    for (int round = 0; round < 80; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 12));
        const int n = static_cast<int>(t.dims.size());
        const int dim = Pick(rng, 0, n - 1);
        const int size = t.dims[dim];
        QEL_Dmatrix m = ToMatrix(t);
        QEL_Dmatrix out = ToMatrix(t);
        const int badDim = Pick(rng, 0, 1) ? -1 : n;

        EXPECT_EQ(-2, m.InsertDimension(-1, 2));
        EXPECT_EQ(-2, m.InsertDimension(n + 1, 2));
        EXPECT_EQ(-2, m.InsertDimension(dim, 0));
        EXPECT_EQ(-2, m.AddDimension(-3));
        EXPECT_EQ(-2, m.RemoveDimension(badDim));
        EXPECT_EQ(-2, m.RemoveDimension(dim, size));
        EXPECT_EQ(-2, m.RemoveDimension(dim, -1));
        EXPECT_EQ(-2, m.RemoveDimension(dim, size, out));
        EXPECT_EQ(-2, m.RemoveDimension(dim, ArrayOf(RandomWeights(rng, size - 1))));
        EXPECT_EQ(-2, m.RemoveDimension(badDim, ArrayOf(RandomWeights(rng, 20))));
        EXPECT_EQ(-2, m.RemoveDimensions(ListOf(std::vector<int>(n - 1, -1)), out));
        std::vector<int> fixed(n, -1);
        fixed[dim] = size;
        EXPECT_EQ(-2, m.RemoveDimensions(ListOf(fixed), out));
        EXPECT_EQ(-2, m.IncreaseDimensionSize(badDim));
        EXPECT_EQ(-2, m.DecreaseDimensionSize(badDim));
        EXPECT_EQ(-2, m.ResizeDimension(badDim, 2));
        EXPECT_EQ(-2, m.ResizeDimension(dim, 0));
        EXPECT_EQ(-2, m.ShiftDataUpwards(badDim, 0, 1.0));
        EXPECT_EQ(-2, m.ShiftDataUpwards(dim, size));
        EXPECT_EQ(-2, m.ShiftDataDownwards(dim, -1));
        EXPECT_EQ(-2, m.ShiftDataDownwards(badDim, 0));

        // Orders that are not permutations: too short, or a repeat.
        std::vector<int> order = Permutation(rng, n);
        EXPECT_EQ(-2, m.ChangeOrderOfDimensions(ListOf(Without(order, 0))));
        if (n > 1) {
            order[0] = order[1];
            EXPECT_EQ(-2, m.ChangeOrderOfDimensions(ListOf(order)));
        }
        std::vector<int> within = Permutation(rng, size);
        EXPECT_EQ(-2, m.ChangeOrderWithinDimension(badDim, ListOf(within)));
        within.push_back(size);
        EXPECT_EQ(-2, m.ChangeOrderWithinDimension(dim, ListOf(within)));
        if (size > 1) {
            within.pop_back();
            within[0] = within[1];
            EXPECT_EQ(-2, m.ChangeOrderWithinDimension(dim, ListOf(within)));
        }

        // Second-table marginal: dim not covered, sizes that disagree, a map
        // entry outside the matrix, a map of the wrong length.
        std::vector<int> map;
        std::vector<int> otherDims;
        for (int i = 0; i < n; i++) {
            if (i == dim) continue;
            map.push_back(i);
            otherDims.push_back(t.dims[i]);
        }
        const QEL_Dmatrix noDim = ToMatrix(RandomTable(rng, otherDims));
        if (!map.empty()) {
            EXPECT_EQ(-2, m.RemoveDimension(dim, noDim, ListOf(map)));
        }
        const QEL_Dmatrix wrongSize = ToMatrix(RandomTable(rng, {size + 1}));
        EXPECT_EQ(-2, m.RemoveDimension(dim, wrongSize, ListOf({dim})));
        const QEL_Dmatrix single = ToMatrix(RandomTable(rng, {size}));
        EXPECT_EQ(-2, m.RemoveDimension(dim, single, ListOf({n})));
        EXPECT_EQ(-2, m.RemoveDimension(dim, single, ListOf({dim, dim})));
        EXPECT_EQ(-2, m.RemoveDimension(badDim, single, ListOf({dim})));

        ASSERT_TRUE(Same(m, t)) << "round " << round;
        ASSERT_TRUE(Same(out, t)) << "round " << round;
    }
}

TEST(DmatrixShape, SizeOneDimensionsAndEmptyMatrices) {
    QEL_Dmatrix m;
    ASSERT_EQ(0, m.InsertDimension(0, 3));
    EXPECT_EQ(3, m.GetSize());
    EXPECT_EQ(0, m.DecreaseDimensionSize(0));
    EXPECT_EQ(0, m.DecreaseDimensionSize(0));
    EXPECT_EQ(1, m.GetSize());
    EXPECT_EQ(-2, m.DecreaseDimensionSize(0));
    ASSERT_EQ(0, m.RemoveDimension(0));
    EXPECT_EQ(0, m.GetNumberOfDimensions());
    EXPECT_EQ(0, m.GetSize());
    EXPECT_EQ(-2, m.RemoveDimension(0));
    EXPECT_EQ(0, m.ChangeOrderOfDimensions(QEL_intArray()));

    // AddDimensions stops at the first refusal and keeps what it added.
    EXPECT_EQ(-2, m.AddDimensions(ListOf({2, 3, 0, 4})));
    EXPECT_EQ(2, m.GetNumberOfDimensions());
    EXPECT_EQ(6, m.GetSize());
}

TEST(DmatrixShape, OversizedResultsAreRefused) {
    QEL_Dmatrix m(ListOf({46341}));
    m.FillWith(1.0);
    EXPECT_EQ(-2, m.InsertDimension(0, 46341));
    EXPECT_EQ(-2, m.AddDimensions(ListOf({2, 65536})));
    EXPECT_EQ(-2, m.ResizeDimension(1, 65536));
    EXPECT_EQ(2, m.GetNumberOfDimensions());
    EXPECT_EQ(2 * 46341, m.GetSize());
    EXPECT_EQ(1, m.CheckElements(1.0, ListOf({-1, -1})));
}
