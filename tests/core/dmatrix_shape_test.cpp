// QEL_Dmatrix shape changes, checked against coordinate-by-coordinate
// reference versions on random shapes (up to 12 dimensions, and tables small
// enough for the inline item store), through random sequences of edits in
// which refused arguments must leave the matrix untouched.
#include "dmatrix_reference.h"

using namespace dmref;

namespace {

Coords With(Coords c, int dim, int value) {
    c.insert(c.begin() + dim, value);
    return c;
}

std::vector<int> Without(std::vector<int> dims, int dim) {
    dims.erase(dims.begin() + dim);
    return dims;
}

QEL_doubleArray RandomWeights(std::mt19937& rng, std::vector<double>& w, int n) {
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    QEL_doubleArray a(n);
    w.resize(n);
    for (int i = 0; i < n; i++) a[i] = w[i] = value(rng);
    return a;
}

// The weighted marginal over `dim`, summed in ascending order.
Table Weighted(const Table& t, int dim, const std::vector<double>& w) {
    return Build(Without(t.dims, dim), [&](const Coords& c) {
        double sum = 0.0;
        for (int i = 0; i < t.dims[dim]; i++) sum += t.At(With(c, dim, i)) * w[i];
        return sum;
    });
}

// Applies one random shape change to both the matrix and the reference; a
// fifth of them get one argument out of range and must be refused. Returns
// false when the reference cannot predict the items (a resize leaves them
// uninitialised) and the pair must be resynchronised.
bool RandomEdit(std::mt19937& rng, QEL_Dmatrix& m, Table& t) {
    const int n = static_cast<int>(t.dims.size());
    const int dim = Pick(rng, 0, n - 1), size = t.dims[dim];
    const bool bad = Pick(rng, 0, 4) == 0, either = Pick(rng, 0, 1) == 0;
    auto off = [&](int lo, int hi) { return Pick(rng, 0, 1) ? lo - 1 : hi + 1; };
    auto refused = [](int rc) {
        EXPECT_EQ(-2, rc);
        return true;
    };
    std::vector<int> dims = t.dims;
    std::vector<double> w;
    // Grow only while the table is small, so that the walk stays cheap.
    switch (t.data.size() > 1500 ? Pick(rng, 2, 10) : Pick(rng, 0, 10)) {
    case 0: {  // a new dimension, either way of asking for it
        const int where = Pick(rng, 0, n), s = Pick(rng, 1, 3);
        if (bad) return refused(either ? m.InsertDimension(off(0, n), s) : m.AddDimension(Pick(rng, -3, 0)));
        EXPECT_EQ(0, where == n && either ? m.AddDimension(s) : m.InsertDimension(where, s));
        dims.insert(dims.begin() + where, s);
        t = Build(dims, [&](Coords c) {
            c.erase(c.begin() + where);
            return t.At(c);
        });
        return true;
    }
    case 1:
        if (bad) return refused(m.IncreaseDimensionSize(off(0, n - 1)));
        EXPECT_EQ(0, m.IncreaseDimensionSize(dim));
        dims[dim]++;
        t = Build(dims, [&](const Coords& c) { return c[dim] < size ? t.At(c) : 0.0; });
        return true;
    case 2: {
        const int slice = Pick(rng, 0, size - 1);
        if (bad) return refused(either ? m.RemoveDimension(off(0, n - 1)) : m.RemoveDimension(dim, off(0, size - 1)));
        if (n == 1) return true;
        EXPECT_EQ(0, m.RemoveDimension(dim, slice));
        t = Build(Without(dims, dim), [&](const Coords& c) { return t.At(With(c, dim, slice)); });
        return true;
    }
    case 3: {
        // Weights may be longer than the dimension, not shorter.
        const QEL_doubleArray a = RandomWeights(rng, w, bad && either ? size - 1 : size + Pick(rng, 0, 2));
        if (bad) return refused(m.RemoveDimension(either ? dim : off(0, n - 1), a));
        if (n == 1) return true;
        EXPECT_EQ(0, m.RemoveDimension(dim, a));
        t = Weighted(t, dim, w);
        return true;
    }
    case 4:
        if (bad || size == 1) return refused(m.DecreaseDimensionSize(bad ? off(0, n - 1) : dim));
        EXPECT_EQ(0, m.DecreaseDimensionSize(dim));
        dims[dim]--;
        t = Build(dims, [&](const Coords& c) { return t.At(c); });
        return true;
    case 5: {
        const int pos = Pick(rng, 0, size - 1);
        const double fill = Pick(rng, 0, 9);
        if (bad) return refused(m.ShiftDataUpwards(either ? off(0, n - 1) : dim, either ? 0 : off(0, size - 1)));
        EXPECT_EQ(0, m.ShiftDataUpwards(dim, pos, fill));
        t = Build(dims, [&](Coords c) {
            if (c[dim] == pos) return fill;
            if (c[dim] > pos) c[dim]--;
            return t.At(c);
        });
        return true;
    }
    case 6: {
        const int pos = Pick(rng, 0, size - 1);
        if (bad) return refused(m.ShiftDataDownwards(either ? off(0, n - 1) : dim, either ? 0 : off(0, size - 1)));
        EXPECT_EQ(0, m.ShiftDataDownwards(dim, pos));
        t = Build(dims, [&](Coords c) {
            if (c[dim] >= pos && c[dim] < size - 1) c[dim]++;
            return t.At(c);
        });
        return true;
    }
    case 7: {
        std::vector<int> order = coretest::Permutation(rng, n);
        if (bad) {  // too short, or with a repeat
            if (either || n == 1) {
                order.pop_back();
            } else {
                order[0] = order[1];
            }
            return refused(m.ChangeOrderOfDimensions(ListOf(order)));
        }
        EXPECT_EQ(0, m.ChangeOrderOfDimensions(ListOf(order)));
        for (int i = 0; i < n; i++) dims[i] = t.dims[order[i]];
        t = Build(dims, [&](const Coords& c) {
            Coords old(n);
            for (int i = 0; i < n; i++) old[order[i]] = c[i];
            return t.At(old);
        });
        return true;
    }
    case 8: {
        std::vector<int> order = coretest::Permutation(rng, size);
        if (bad) {  // a bad dimension, a repeat, or an item past the end
            if (!either && size > 1) order[0] = order[1];
            if (!either && size == 1) order.push_back(size);
            return refused(m.ChangeOrderWithinDimension(either ? off(0, n - 1) : dim, ListOf(order)));
        }
        EXPECT_EQ(0, m.ChangeOrderWithinDimension(dim, ListOf(order)));
        t = Build(dims, [&](Coords c) {
            c[dim] = order[c[dim]];
            return t.At(c);
        });
        return true;
    }
    case 10: {
        // A marginal against a second table over dim and a random choice of
        // the others, in random order, one maybe twice. Refused: sizes that
        // disagree, a map of the wrong length, one with an entry outside the
        // matrix or without dim, a bad dim.
        std::vector<int> map = {dim}, others;
        for (int i = 0; i < n; i++) {
            if (i != dim && Pick(rng, 0, 1)) map.push_back(i);
        }
        if (Pick(rng, 0, 3) == 0) map.push_back(map[Pick(rng, 0, static_cast<int>(map.size()) - 1)]);
        std::shuffle(map.begin(), map.end(), rng);
        const int variant = Pick(rng, 0, 4), at = bad && variant == 4 ? off(0, n - 1) : dim;
        if (bad && variant == 3 && n > 1) std::replace(map.begin(), map.end(), dim, (dim + 1) % n);
        for (int i : map) others.push_back(t.dims[i]);
        if (bad && variant == 0) others[0]++;
        if (bad && variant == 1) map.push_back(dim);
        if (bad && variant == 2) map[0] = n;
        const Table other = RandomTable(rng, others);
        if (bad && (variant != 3 || n > 1)) return refused(m.RemoveDimension(at, ToMatrix(other), ListOf(map)));
        if (n == 1) return true;
        EXPECT_EQ(0, m.RemoveDimension(dim, ToMatrix(other), ListOf(map)));
        t = Build(Without(dims, dim), [&](const Coords& c) {
            double sum = 0.0;
            for (int v = 0; v < size; v++) {
                Coords full = With(c, dim, v), oc;
                for (int i : map) oc.push_back(full[i]);
                sum += t.At(full) * other.At(oc);
            }
            return sum;
        });
        return true;
    }
    default: {  // the same size keeps the items; another size only the shape
        const int s = Pick(rng, 1, 3);
        if (bad) return refused(m.ResizeDimension(either ? off(0, n - 1) : dim, either ? 2 : Pick(rng, -1, 0)));
        EXPECT_EQ(0, m.ResizeDimension(dim, s));
        if (s == size) return true;
        t.dims[dim] = s;
        return false;
    }
    }
}

TEST(DmatrixShape, RandomEditSequencesMatchReference) {
    std::mt19937 rng(21);
    for (int run = 0; run < 60; run++) {
        // Half the runs start from tables that fit the inline item store.
        Table t = RandomTable(rng, run % 2 ? RandomShape(rng, 1, 3, 4) : RandomShape(rng, 1, 11, 800));
        QEL_Dmatrix m = ToMatrix(t);
        for (int step = 0; step < 50; step++) {
            if (step % 10 == 9) {  // copies, assignment and swaps keep everything
                QEL_Dmatrix copy(m), other;
                other = copy;
                other = other;
                m.Swap(other);
            }
            if (!RandomEdit(rng, m, t)) {
                t = RandomTable(rng, t.dims);
                for (size_t i = 0; i < t.data.size(); i++) m[static_cast<int>(i)] = t.data[i];
            }
            ASSERT_TRUE(Same(m, t)) << "run " << run << " step " << step;
        }
    }
}

// The forms with a result leave the source alone (the result may be the
// source itself), and refusals leave the result alone too.
TEST(DmatrixShape, ResultFormsLeaveTheSourceAlone) {
    std::mt19937 rng(22);
    for (int round = 0; round < 80; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 12)), old = RandomTable(rng, RandomShape(rng));
        const QEL_Dmatrix m = ToMatrix(t);
        const int n = static_cast<int>(t.dims.size());
        const int dim = Pick(rng, 0, n - 1), slice = Pick(rng, 0, t.dims[dim] - 1);
        std::vector<double> w;
        const QEL_doubleArray weights = RandomWeights(rng, w, t.dims[dim]);
        std::vector<int> fixed(n), kept;
        for (int i = 0; i < n; i++) fixed[i] = Pick(rng, 0, 2) == 0 ? -1 : Pick(rng, 0, t.dims[i] - 1);
        for (int i = 0; i < n; i++) {
            if (fixed[i] < 0) kept.push_back(t.dims[i]);
        }
        std::vector<int> outside = fixed;
        outside[dim] = t.dims[dim];
        // Removing the only dimension leaves no dimensions and no data.
        const Table sliced = n == 1 ? Table() : Build(Without(t.dims, dim), [&](const Coords& c) {
            return t.At(With(c, dim, slice));
        });
        QEL_Dmatrix out = ToMatrix(old), self = ToMatrix(t);
        EXPECT_EQ(-2, m.RemoveDimension(dim, t.dims[dim], out));
        EXPECT_EQ(-2, m.RemoveDimensions(ListOf(Ints(n - 1, -1)), out));
        EXPECT_EQ(-2, m.RemoveDimensions(ListOf(outside), out));
        EXPECT_TRUE(Same(out, old));
        ASSERT_EQ(0, m.RemoveDimension(dim, slice, out));
        EXPECT_TRUE(Same(out, sliced));
        ASSERT_EQ(0, m.RemoveDimension(dim, weights, out));
        EXPECT_TRUE(Same(out, n == 1 ? Table() : Weighted(t, dim, w)));
        ASSERT_EQ(0, m.RemoveDimensions(ListOf(fixed), out));
        EXPECT_TRUE(Same(out, kept.empty() ? Table() : Build(kept, [&](const Coords& c) {
            Coords full;
            for (int i = 0, j = 0; i < n; i++) full.push_back(fixed[i] < 0 ? c[j++] : fixed[i]);
            return t.At(full);
        })));
        EXPECT_TRUE(Same(m, t));
        ASSERT_EQ(0, self.RemoveDimension(dim, slice, self));
        EXPECT_TRUE(Same(self, sliced));
    }
}

// The only dimension removed leaves nothing; AddDimensions stops at the
// first refusal and keeps what it added; totals past an int are refused.
TEST(DmatrixShape, EmptyAndOversizedShapes) {
    QEL_Dmatrix m(ListOf({1})), big(ListOf({46341}));
    ASSERT_EQ(0, m.RemoveDimension(0));
    EXPECT_TRUE(Same(m, Table()));
    EXPECT_EQ(-2, m.RemoveDimension(0));
    EXPECT_EQ(0, m.ChangeOrderOfDimensions(QEL_intArray()));
    EXPECT_EQ(-2, m.AddDimensions(ListOf({2, 3, 0, 4})));
    EXPECT_EQ(Ints({2, 3}), Dims(m));
    big.FillWith(1.0);
    EXPECT_EQ(Ints(3, -2), Ints({big.InsertDimension(0, 46341), big.AddDimensions(ListOf({2, 65536})),
                                 big.ResizeDimension(1, 65536)}));
    EXPECT_EQ(Ints({46341, 2}), Dims(big));
    EXPECT_EQ(1, big.CheckElements(1.0, ListOf({-1, -1})));
}

}  // namespace
