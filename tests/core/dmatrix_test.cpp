// QEL_Dmatrix: set-up, addressing, slices and refusals, and the walks of its
// odometer QEL_sysCoordinates (locked dimensions, both directions, jumps),
// against the naive table of dmatrix_reference.h on random shapes; the
// random network edits check whole-table normalisation.
#include "dmatrix_reference.h"
#include "orvil/syscoordinates.h"

namespace {

using namespace dmref;

Coords Current(const QEL_sysCoordinates& walk) { return coretest::ToVector(walk.theCoordinates); }

TEST(Dmatrix, SetupRefusalsAndCompatibility) {
    QEL_Dmatrix m;
    EXPECT_EQ(0, m.GetSizeOfLastDimension());
    const int dims[] = {2, 3}, bad[] = {2, 0, 3}, huge[] = {65536, 65536};
    ASSERT_EQ(0, m.Setup(dims, 2));
    // Refused set-ups leave the shape alone.
    EXPECT_EQ(Ints(3, -2), Ints({m.Setup(bad, 3), m.Setup(dims, -1), m.Setup(huge, 2)}));
    EXPECT_EQ(Ints({2, 3}), Dims(m));
    EXPECT_EQ(Ints({6, 3}), Ints({m.GetSize(), m.GetSizeOfLastDimension()}));
    // A matrix's own dimensions set up another of the same shape, and even
    // itself; a list with a bad size leaves the constructed matrix empty.
    QEL_Dmatrix copy(m.GetDimensions());
    EXPECT_EQ(0, m.Setup(m.GetDimensions()));
    EXPECT_TRUE(copy.CompatibleWith(m));
    EXPECT_TRUE(Same(QEL_Dmatrix(ListOf({3, -1})), Table()));
    // Compatible means every dimension equal, in order.
    EXPECT_FALSE(m.CompatibleWith(QEL_Dmatrix(ListOf({3, 2}))));
    EXPECT_FALSE(m.CompatibleWith(QEL_Dmatrix(ListOf({2, 3, 1}))));
    EXPECT_EQ(0, m.Setup(dims, 0));
    EXPECT_TRUE(Same(m, Table()));
}

// Every coordinate against its index and item, the steps of the matrix's
// own odometer, and for a random slice (some dimensions fixed) the slice
// test and a walk of QEL_sysCoordinates locked to it, both ways.
TEST(Dmatrix, AddressingStepsAndSlicesAgreeWithEnumeration) {
    std::mt19937 rng(12);
    for (int round = 0; round < 150; round++) {
        const std::vector<int> shape = RandomShape(rng, 1, 12, 2000);
        const int n = static_cast<int>(shape.size());
        // Mostly ones, so that slices of nothing but ones are common.
        const Table t = Build(shape, [&](const Coords&) { return Pick(rng, 0, 2) == 0 && round % 2 ? 2.0 : 1.0; });
        QEL_Dmatrix m = ToMatrix(t);
        const std::vector<Coords> all = AllCoords(shape);
        QEL_intArray step(n), back;
        step.FillWith(0);
        for (size_t k = 0; round < 60 && k < all.size(); k++) {
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
            ASSERT_EQ(0, back.NumItems());  // filled as an array, not a list
            ASSERT_EQ(all[k], Ints(back.Items(), back.Items() + n));
            ASSERT_EQ(all[k], Ints(step.Items(), step.Items() + n));
            ASSERT_EQ(k + 1 < all.size() ? 0 : -2, m.NextCoordinates(step));
        }
        // At the end the steps stay put; stepping back retraces them.
        for (size_t k = all.size(); round < 60 && k-- > 0;) {
            ASSERT_EQ(all[k], Ints(step.Items(), step.Items() + n));
            ASSERT_EQ(k > 0 ? 0 : -2, m.PrevCoordinates(step));
        }
        EXPECT_EQ(-2, m.IndexToCoordinates(-1, back));
        EXPECT_EQ(-2, m.IndexToCoordinates(m.GetSize(), back));
        std::vector<int> fixed(n, -1);
        QEL_sysCoordinates walk(m);
        for (int i = 0; i < n; i++) {
            if (Pick(rng, 0, 2) > 0) continue;
            fixed[i] = Pick(rng, 0, shape[i] - 1);
            ASSERT_EQ(0, walk.LockCoordinate(i));
        }
        std::vector<Coords> slice;
        int ones = 1;
        for (const Coords& c : all) {
            bool inSlice = true;
            for (int i = 0; i < n; i++) inSlice = inSlice && (fixed[i] < 0 || fixed[i] == c[i]);
            if (inSlice) slice.push_back(c);
            if (inSlice && t.At(c) != 1.0) ones = 0;
        }
        ASSERT_EQ(ones, m.CheckElements(1.0, ListOf(fixed)));
        // The two-dimension form against the list form.
        const int a = Pick(rng, 0, n - 1), b = Pick(rng, 0, n - 1);
        const int ca = Pick(rng, 0, shape[a] - 1), cb = Pick(rng, 0, shape[b] - 1);
        std::vector<int> two(n, -1);
        two[a] = ca;
        two[b] = cb;
        ASSERT_EQ(m.CheckElements(1.0, ListOf(two)), m.CheckElements(1.0, a, ca, b, cb));
        two[a] = shape[a];
        const int refusals[] = {m.CheckElements(1.0, ListOf(Ints(n - 1, -1))), m.CheckElements(1.0, n, 0, b, cb),
                                m.CheckElements(1.0, a, shape[a], b, cb), m.CheckElements(1.0, a, ca, -1, 0),
                                m.CheckElements(1.0, ListOf(two))};
        EXPECT_EQ(Ints(5, -2), Ints(refusals, refusals + 5));
        // The locked walk, from the first position of the free coordinates
        // and from the last.
        walk.GoFirst();
        for (int i = 0; i < n; i++) {
            if (fixed[i] >= 0) walk.theCoordinates[i] = fixed[i];
        }
        ASSERT_EQ(0, walk.GoToCurrentPosition());
        for (size_t k = 0; k < slice.size(); k++) {
            ASSERT_EQ(slice[k], Current(walk));
            ASSERT_EQ(t.Index(slice[k]), walk.GetIndex());
            ASSERT_EQ(t.At(slice[k]), walk.UncheckedValue());
            ASSERT_EQ(k + 1 < slice.size() ? 0 : -2, walk.Next());
        }
        EXPECT_EQ(slice.back(), Current(walk));
        walk.GoLast();
        ASSERT_EQ(0, walk.GoToCurrentPosition());
        for (size_t k = slice.size(); k-- > 0;) {
            ASSERT_EQ(slice[k], Current(walk));
            ASSERT_EQ(k > 0 ? 0 : -2, walk.Previous());
        }
        // Unlocked, the walk covers the whole table.
        walk.UnlockAll();
        walk.GoFirst();
        int steps = 1;
        while (walk.Next() == 0) steps++;
        EXPECT_EQ(m.GetSize(), steps);
        EXPECT_EQ(m.GetSize() - 1, walk.GetIndex());
    }
}

TEST(Dmatrix, BadCoordinatesAreRefusedAndComplements) {
    QEL_Dmatrix m(ListOf({2, 3})), empty;
    m.FillWith(7.0);
    QEL_intArray shortList = ListOf({1}), outside = ListOf({2, 0}), negative = ListOf({0, -1}), none;
    for (QEL_intArray* c : {&shortList, &outside, &negative}) {
        EXPECT_FALSE(m.Ok(*c));
        m.Subscript(*c) = 99.0;  // must land outside the items
        const int refusals[] = {m.PrevCoordinates(*c), m.Normalize(*c), m.Normalized(*c), m.Complement(*c)};
        EXPECT_EQ(Ints(4, -2), Ints(refusals, refusals + 4));
    }
    EXPECT_EQ(-2, m.NextCoordinates(shortList));
    EXPECT_EQ(1, m.CheckElements(7.0, ListOf({-1, -1})));
    // The complement sets one item so that its column sums to one, and
    // moves the coordinates to the column's start.
    QEL_intArray at = ListOf({1, 2});
    ASSERT_EQ(0, m.Complement(at));
    EXPECT_EQ(0, at[1]);
    EXPECT_EQ(1.0 - 14.0, m[5]);
    ASSERT_EQ(0, m.Complement(1));
    EXPECT_EQ(1.0 - 14.0, m[1]);
    EXPECT_EQ(-2, m.Complement(6));
    // Normalised means a sum of exactly one, and normalising one column
    // resets the coordinates to its start.
    QEL_Dmatrix near(ListOf({2}));
    near[0] = 0.5;
    near[1] = 0.49999999;
    EXPECT_EQ(0, near.Normalized(1));
    EXPECT_EQ(-2, near.Normalized(2));
    near[0] = 1.0;
    near[1] = 3.0;
    at = ListOf({1});
    ASSERT_EQ(0, near.Normalize(at));
    EXPECT_EQ(0, at[0]);
    EXPECT_EQ(0.75, near[1]);
    EXPECT_EQ(1, near.Normalized(0));
    const int onEmpty[] = {empty.NextCoordinates(none), empty.PrevCoordinates(none), empty.Normalize(none),
                           empty.Normalize(0), empty.Normalize()};
    EXPECT_EQ(Ints({-2, -2, -2, -2, 0}), Ints(onEmpty, onEmpty + 5));
}

// Locks on bad dimensions are refused; a walk with every dimension locked
// stands still; relinking starts afresh; jumps land where the matrix says,
// and a bad one goes to the first position of the free coordinates (the
// index does not reflect locked ones). Nothing is walked out of bounds: not
// an empty matrix, no matrix, nor one reshaped under the walk.
TEST(SysCoordinates, JumpsAndWalksWithNowhereToGo) {
    QEL_Dmatrix square(ListOf({2, 2})), cube(ListOf({2, 3, 4})), empty, shrinking(ListOf({3, 3}));
    QEL_sysCoordinates walk(square), none(empty), unlinked, stale(shrinking);
    ASSERT_EQ(0, walk.LockCoordinate(0));
    ASSERT_EQ(0, walk.LockCoordinate(1));
    EXPECT_EQ(-2, walk.LockCoordinate(2));
    EXPECT_EQ(-2, walk.UnlockCoordinate(-1));
    walk.GoFirst();
    EXPECT_EQ(-2, walk.Next());
    EXPECT_EQ(-2, walk.Previous());
    ASSERT_EQ(0, walk.LinkTo(cube));
    EXPECT_FALSE(walk.IsLocked(0));
    EXPECT_EQ(&cube, walk.GetMatrix());
    ASSERT_EQ(0, walk.GoTo(17));
    EXPECT_EQ(Ints({1, 1, 1}), Current(walk));
    walk.CheckedValue() = -1.0;
    EXPECT_EQ(-1.0, cube[17]);
    walk.theCoordinates[2] = 3;
    ASSERT_EQ(0, walk.GoToCurrentPosition());
    EXPECT_EQ(19, walk.GetIndex());
    ASSERT_EQ(0, walk.LockCoordinate(1));
    EXPECT_EQ(-2, walk.GoTo(24));
    EXPECT_EQ(Ints({0, 1, 0}), Current(walk));
    EXPECT_EQ(0, walk.GetIndex());
    walk.theCoordinates[2] = 4;
    EXPECT_EQ(-2, walk.GoToCurrentPosition());
    EXPECT_EQ(-2, walk.GoTo(-1));
    ASSERT_EQ(0, shrinking.RemoveDimension(0));
    const int refusals[] = {none.Next(), unlinked.Next(), stale.Next(), none.Previous(), none.GoTo(0), stale.GoTo(1),
                            unlinked.GoToCurrentPosition()};
    EXPECT_EQ(Ints(7, -2), Ints(refusals, refusals + 7));
}

}  // namespace
