// QEL_Dmatrix: set-up, addressing, item-wise arithmetic, column
// normalisation and slice tests, checked against the naive table of
// dmatrix_reference.h on random shapes, plus the flat view of the items.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "dmatrix_reference.h"
#include "orvil/biorvil.h"
#include "orvil/dmatrix.h"

using dmref::AllCoords;
using dmref::Coords;
using dmref::ListOf;
using dmref::RandomShape;
using dmref::RandomTable;
using dmref::Same;
using dmref::Table;
using dmref::ToMatrix;

TEST(Dmatrix, SetupRefusalsAndCompatibility) {
    QEL_Dmatrix m;
    EXPECT_EQ(0, m.GetSize());
    EXPECT_EQ(0, m.GetSizeOfLastDimension());
    const int dims[] = {2, 3};
    ASSERT_EQ(0, m.Setup(dims, 2));

    // Refused set-ups leave the shape alone.
    const int bad[] = {2, 0, 3};
    const int huge[] = {65536, 65536};
    EXPECT_EQ(-2, m.Setup(bad, 3));
    EXPECT_EQ(-2, m.Setup(dims, -1));
    EXPECT_EQ(-2, m.Setup(huge, 2));
    EXPECT_EQ(std::vector<int>({2, 3}), dmref::FromMatrix(m).dims);
    EXPECT_EQ(6, m.GetSize());
    EXPECT_EQ(3, m.GetSizeOfLastDimension());

    // A matrix's own dimensions set up another of the same shape, and even
    // itself; a list with a bad size leaves the constructed matrix empty.
    QEL_Dmatrix copy(m.GetDimensions());
    EXPECT_TRUE(copy.CompatibleWith(m));
    EXPECT_EQ(0, m.Setup(m.GetDimensions()));
    EXPECT_TRUE(copy.CompatibleWith(m));
    QEL_Dmatrix refused(ListOf({3, -1}));
    EXPECT_EQ(0, refused.GetSize());
    EXPECT_EQ(0, refused.GetNumberOfDimensions());

    // Compatible means every dimension equal, in order.
    EXPECT_FALSE(m.CompatibleWith(QEL_Dmatrix(ListOf({3, 2}))));
    EXPECT_FALSE(m.CompatibleWith(QEL_Dmatrix(ListOf({2, 3, 1}))));

    EXPECT_EQ(0, m.Setup(dims, 0));
    EXPECT_EQ(0, m.GetNumberOfDimensions());
    EXPECT_EQ(0, m.GetSize());
}

TEST(Dmatrix, CopySwapAndAssignmentKeepEverything) {
    std::mt19937 rng(11);
    for (int round = 0; round < 100; round++) {
        const Table a = RandomTable(rng, RandomShape(rng, 0));
        const Table b = RandomTable(rng, RandomShape(rng, 0));
        QEL_Dmatrix ma = ToMatrix(a);
        QEL_Dmatrix mb = ToMatrix(b);
        QEL_Dmatrix copy(ma);
        EXPECT_TRUE(Same(copy, a));
        ma.Swap(mb);
        EXPECT_TRUE(Same(ma, b));
        EXPECT_TRUE(Same(mb, a));
        copy = ma;
        EXPECT_TRUE(Same(copy, b));
        copy = copy;
        EXPECT_TRUE(Same(copy, b));
    }
}

TEST(Dmatrix, CoordinatesIndicesAndStepsAgreeWithEnumeration) {
    std::mt19937 rng(12);
    for (int round = 0; round < 60; round++) {
        const Table t = RandomTable(rng, RandomShape(rng));
        QEL_Dmatrix m = ToMatrix(t);
        const int n = m.GetNumberOfDimensions();
        const std::vector<Coords> all = AllCoords(t.dims);
        QEL_intArray walk(n);
        walk.FillWith(0);
        QEL_intArray back;
        for (size_t k = 0; k < all.size(); k++) {
            const int index = static_cast<int>(k);
            QEL_intArray c = ListOf(all[k]);
            std::vector<const int*> pointers;
            for (int i = 0; i < n; i++) pointers.push_back(&c[i]);
            ASSERT_EQ(index, m.CoordinatesToIndex(c));
            ASSERT_EQ(index, m.CoordinatesToIndex(pointers.data()));
            ASSERT_EQ(t.data[k], m[c]);
            ASSERT_EQ(t.data[k], m[pointers.data()]);
            ASSERT_EQ(t.data[k], m.Subscript(c));
            ASSERT_TRUE(m.Ok(c));

            ASSERT_EQ(0, m.IndexToCoordinates(index, back));
            ASSERT_EQ(0, back.NumItems());
            for (int i = 0; i < n; i++) ASSERT_EQ(all[k][i], back[i]);

            for (int i = 0; i < n; i++) ASSERT_EQ(all[k][i], walk[i]);
            ASSERT_EQ(k + 1 < all.size() ? 0 : -2, m.NextCoordinates(walk));
        }
        // At the end the walk stays put; stepping back retraces it.
        for (size_t k = all.size(); k-- > 0;) {
            for (int i = 0; i < n; i++) ASSERT_EQ(all[k][i], walk[i]);
            ASSERT_EQ(k > 0 ? 0 : -2, m.PrevCoordinates(walk));
        }
        EXPECT_EQ(-2, m.IndexToCoordinates(-1, back));
        EXPECT_EQ(-2, m.IndexToCoordinates(m.GetSize(), back));
    }
}

TEST(Dmatrix, BadCoordinatesAreRefused) {
    QEL_Dmatrix m(ListOf({2, 3}));
    m.FillWith(7.0);
    QEL_intArray shortList = ListOf({1});
    QEL_intArray outside = ListOf({2, 0});
    QEL_intArray negative = ListOf({0, -1});
    for (QEL_intArray* c : {&shortList, &outside, &negative}) {
        EXPECT_FALSE(m.Ok(*c));
        m.Subscript(*c) = 99.0;
        EXPECT_EQ(-2, m.PrevCoordinates(*c));
        EXPECT_EQ(-2, m.Normalize(*c));
        EXPECT_EQ(-2, m.Normalized(*c));
        EXPECT_EQ(-2, m.Complement(*c));
    }
    EXPECT_EQ(-2, m.NextCoordinates(shortList));
    for (int i = 0; i < m.GetSize(); i++) EXPECT_EQ(7.0, m[i]);

    QEL_Dmatrix empty;
    QEL_intArray none;
    EXPECT_EQ(-2, empty.NextCoordinates(none));
    EXPECT_EQ(-2, empty.PrevCoordinates(none));
    EXPECT_EQ(-2, empty.Normalize(none));
    EXPECT_EQ(-2, empty.Normalize(0));
    EXPECT_EQ(0, empty.Normalize());
}

TEST(Dmatrix, ItemwiseArithmeticMatchesReference) {
    std::mt19937 rng(13);
    std::uniform_real_distribution<double> value(-3.0, 3.0);
    for (int round = 0; round < 100; round++) {
        const std::vector<int> shape = RandomShape(rng);
        const Table a = RandomTable(rng, shape);
        const Table b = RandomTable(rng, shape);
        const double s = value(rng);
        QEL_Dmatrix ma = ToMatrix(a);
        QEL_Dmatrix mb = ToMatrix(b);
        QEL_Dmatrix out = ToMatrix(b);

        Table expect = a;
        for (size_t i = 0; i < expect.data.size(); i++) expect.data[i] = a.data[i] + b.data[i];
        ASSERT_EQ(0, out.Sum(ma, mb));
        EXPECT_TRUE(Same(out, expect));
        ASSERT_EQ(0, ma.Add(mb));
        EXPECT_TRUE(Same(ma, expect));

        for (size_t i = 0; i < expect.data.size(); i++) expect.data[i] = expect.data[i] - b.data[i];
        ASSERT_EQ(0, out.Subtract(ma, mb));
        EXPECT_TRUE(Same(out, expect));

        for (double& x : expect.data) x = (x + s) * s;
        ASSERT_EQ(0, out.Add(s));
        ASSERT_EQ(0, out.Multiply(s));
        EXPECT_TRUE(Same(out, expect));

        QEL_doubleArray w(shape.back());
        for (int k = 0; k < shape.back(); k++) w[k] = value(rng);
        for (const Coords& c : AllCoords(shape)) expect.At(c) *= w[c.back()];
        ASSERT_EQ(0, out.Multiply(w));
        EXPECT_TRUE(Same(out, expect));

        out.FillWith(s);
        for (double& x : expect.data) x = s;
        EXPECT_TRUE(Same(out, expect));

        // Mismatched shapes and short weights are refused untouched.
        QEL_Dmatrix other = ToMatrix(RandomTable(rng, RandomShape(rng)));
        if (!other.CompatibleWith(out)) {
            EXPECT_EQ(-2, out.Add(other));
            EXPECT_EQ(-2, out.Sum(other, out));
            EXPECT_EQ(-2, out.Subtract(out, other));
        }
        QEL_doubleArray shortWeights(shape.back() - 1);
        EXPECT_EQ(-2, out.Multiply(shortWeights));
        EXPECT_TRUE(Same(out, expect));
    }
}

namespace {

// Column normalisation exactly as documented: sum in order, 1.0 untouched,
// 0.0 uniform, anything else times the reciprocal.
void NaiveNormalize(double* column, int n) {
    double sum = 0.0;
    for (int k = 0; k < n; k++) sum += column[k];
    if (sum == 1.0) return;
    for (int k = 0; k < n; k++) column[k] = sum == 0.0 ? 1.0 / n : column[k] * (1.0 / sum);
}

}  // namespace

TEST(Dmatrix, NormalizeColumnsMatchesReference) {
    std::mt19937 rng(14);
    std::uniform_int_distribution<int> kind(0, 3);
    std::uniform_real_distribution<double> value(0.0, 5.0);
    for (int round = 0; round < 100; round++) {
        const std::vector<int> shape = RandomShape(rng);
        Table t = RandomTable(rng, shape);
        const int n = shape.back();
        // Mix columns of zeros, columns already summing to exactly one and
        // ordinary columns.
        for (size_t p = 0; p < t.data.size(); p += n) {
            const int k = kind(rng);
            for (int j = 0; j < n; j++) {
                t.data[p + j] = k == 0 ? 0.0 : k == 1 ? (j == 0 ? 1.0 : 0.0) : value(rng);
            }
            if (k == 1 && n > 1) {
                t.data[p] = 0.25;
                t.data[p + 1] = 0.75;
            }
        }
        Table expect = t;
        for (size_t p = 0; p < t.data.size(); p += n) NaiveNormalize(&expect.data[p], n);

        QEL_Dmatrix whole = ToMatrix(t);
        ASSERT_EQ(0, whole.Normalize());
        EXPECT_TRUE(Same(whole, expect));

        // Column by column, through coordinates and through an index.
        QEL_Dmatrix byCoords = ToMatrix(t);
        QEL_Dmatrix byIndex = ToMatrix(t);
        std::uniform_int_distribution<int> pick(0, n - 1);
        for (const Coords& c : AllCoords(shape)) {
            if (c.back() != 0) continue;
            Coords at = c;
            at.back() = pick(rng);
            QEL_intArray list = ListOf(at);
            ASSERT_EQ(0, byCoords.Normalize(list));
            EXPECT_EQ(0, list[static_cast<int>(at.size()) - 1]);
            ASSERT_EQ(0, byIndex.Normalize(t.Index(at)));
            // Rescaling by the reciprocal need not land exactly on one.
            double sum = 0.0;
            for (int j = 0; j < n; j++) sum += expect.data[t.Index(c) + j];
            ASSERT_EQ(sum == 1.0 ? 1 : 0, byIndex.Normalized(t.Index(at)));
            list = ListOf(at);
            ASSERT_EQ(sum == 1.0 ? 1 : 0, byCoords.Normalized(list));
        }
        EXPECT_TRUE(Same(byCoords, expect));
        EXPECT_TRUE(Same(byIndex, expect));
    }
}

TEST(Dmatrix, NormalizedHasNoToleranceAndComplementFillsTheLastCell) {
    QEL_Dmatrix near(ListOf({2}));
    near[0] = 0.5;
    near[1] = 0.49999999;
    EXPECT_EQ(0, near.Normalized(1));
    EXPECT_EQ(-2, near.Normalized(2));

    QEL_Dmatrix c(ListOf({2, 3}));
    const double col[] = {9.0, 9.0, 9.0, 0.2, 0.3, 0.1};
    for (int i = 0; i < 6; i++) c[i] = col[i];
    QEL_intArray at = ListOf({1, 2});
    ASSERT_EQ(0, c.Complement(at));
    EXPECT_EQ(0, at[1]);
    EXPECT_DOUBLE_EQ(0.5, c[5]);
    EXPECT_EQ(9.0, c[2]);
    ASSERT_EQ(0, c.Complement(1));
    EXPECT_EQ(1.0 - (27.0 - 9.0), c[1]);
    EXPECT_EQ(-2, c.Complement(6));
}

TEST(Dmatrix, CheckElementsMatchesNaiveSliceTest) {
    std::mt19937 rng(15);
    std::uniform_int_distribution<int> coin(0, 2);
    for (int round = 0; round < 200; round++) {
        const std::vector<int> shape = RandomShape(rng, 1, 10, 400);
        const int n = static_cast<int>(shape.size());
        // Mostly the value, so that slices that pass are common.
        Table t = dmref::Blank(shape);
        for (double& x : t.data) x = coin(rng) == 0 && round % 2 ? 2.0 : 1.0;
        const QEL_Dmatrix m = ToMatrix(t);

        std::vector<int> fixed(n);
        for (int i = 0; i < n; i++) {
            fixed[i] = coin(rng) == 0 ? -1 : std::uniform_int_distribution<int>(0, shape[i] - 1)(rng);
        }
        int expect = 1;
        for (const Coords& c : AllCoords(shape)) {
            bool inSlice = true;
            for (int i = 0; i < n; i++) inSlice = inSlice && (fixed[i] < 0 || fixed[i] == c[i]);
            if (inSlice && t.At(c) != 1.0) expect = 0;
        }
        ASSERT_EQ(expect, m.CheckElements(1.0, ListOf(fixed)));

        // The two-dimension form against the list form.
        const int a = std::uniform_int_distribution<int>(0, n - 1)(rng);
        const int b = std::uniform_int_distribution<int>(0, n - 1)(rng);
        const int ca = std::uniform_int_distribution<int>(0, shape[a] - 1)(rng);
        const int cb = std::uniform_int_distribution<int>(0, shape[b] - 1)(rng);
        std::vector<int> two(n, -1);
        two[a] = ca;
        two[b] = cb;
        ASSERT_EQ(m.CheckElements(1.0, ListOf(two)), m.CheckElements(1.0, a, ca, b, cb));

        // Out-of-range requests.
        std::vector<int> tooFar = fixed;
        tooFar[a] = shape[a];
        EXPECT_EQ(-2, m.CheckElements(1.0, ListOf(tooFar)));
        EXPECT_EQ(-2, m.CheckElements(1.0, ListOf(std::vector<int>(n - 1, -1))));
        EXPECT_EQ(-2, m.CheckElements(1.0, n, 0, b, cb));
        EXPECT_EQ(-2, m.CheckElements(1.0, a, shape[a], b, cb));
        EXPECT_EQ(-2, m.CheckElements(1.0, a, ca, -1, 0));
    }
}

TEST(Dmatrix, FlatViewIsTheMatrixStorage) {
    QEL_Dmatrix m(ListOf({3, 2}));
    m.FillWith(0.5);
    void* handle = &m;
    ASSERT_EQ(6, dMatrix_GetSize(handle));
    double* items = dMatrix_GetItemsDouble(handle);
    for (int i = 0; i < 6; i++) EXPECT_EQ(0.5, items[i]);
    items[4] = 2.0;
    EXPECT_EQ(2.0, m[4]);

    QEL_Dmatrix empty;
    EXPECT_EQ(0, dMatrix_GetSize(&empty));
}
