// QEL_sysCoordinates: walks with random locked dimensions against a naive
// enumeration of the slice, both directions, jumps by index and by
// coordinates, and the refusals of walks that have nowhere to go.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "dmatrix_reference.h"
#include "orvil/syscoordinates.h"

using dmref::AllCoords;
using dmref::Coords;
using dmref::ListOf;
using dmref::RandomShape;
using dmref::RandomTable;
using dmref::Table;
using dmref::ToMatrix;

namespace {

Coords Current(const QEL_sysCoordinates& walk) {
    Coords c;
    for (int i = 0; i < walk.theCoordinates.NumItems(); i++) c.push_back(walk.theCoordinates[i]);
    return c;
}

}  // namespace

TEST(SysCoordinates, LockedWalksVisitExactlyTheSliceInOrder) {
    std::mt19937 rng(31);
    for (int round = 0; round < 150; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 12, 2000));
        QEL_Dmatrix m = ToMatrix(t);
        const int n = static_cast<int>(t.dims.size());
        QEL_sysCoordinates walk(m);
        ASSERT_EQ(n, walk.theCoordinates.NumItems());

        std::vector<int> locked(n, -1);
        for (int i = 0; i < n; i++) {
            if (std::uniform_int_distribution<int>(0, 2)(rng) == 0) {
                locked[i] = std::uniform_int_distribution<int>(0, t.dims[i] - 1)(rng);
                ASSERT_EQ(0, walk.LockCoordinate(i));
            }
        }
        std::vector<Coords> expect;
        for (const Coords& c : AllCoords(t.dims)) {
            bool inSlice = true;
            for (int i = 0; i < n; i++) inSlice = inSlice && (locked[i] < 0 || locked[i] == c[i]);
            if (inSlice) expect.push_back(c);
        }

        // Forwards, the usual loop.
        walk.GoFirst();
        for (int i = 0; i < n; i++) {
            if (locked[i] >= 0) walk.theCoordinates[i] = locked[i];
        }
        ASSERT_EQ(0, walk.GoToCurrentPosition());
        for (size_t k = 0; k < expect.size(); k++) {
            ASSERT_EQ(expect[k], Current(walk));
            ASSERT_EQ(t.Index(expect[k]), walk.GetIndex());
            ASSERT_EQ(t.At(expect[k]), walk.UncheckedValue());
            ASSERT_EQ(k + 1 < expect.size() ? 0 : -2, walk.Next());
        }
        EXPECT_EQ(expect.back(), Current(walk));

        // Backwards from the far end of the slice.
        walk.GoLast();
        ASSERT_EQ(0, walk.GoToCurrentPosition());
        for (size_t k = expect.size(); k-- > 0;) {
            ASSERT_EQ(expect[k], Current(walk));
            ASSERT_EQ(t.Index(expect[k]), walk.GetIndex());
            ASSERT_EQ(k > 0 ? 0 : -2, walk.Previous());
        }
        EXPECT_EQ(expect.front(), Current(walk));

        // Unlocking everything walks the whole table.
        walk.UnlockAll();
        walk.GoFirst();
        int steps = 1;
        while (walk.Next() == 0) steps++;
        EXPECT_EQ(m.GetSize(), steps);
        EXPECT_EQ(m.GetSize() - 1, walk.GetIndex());
    }
}

TEST(SysCoordinates, JumpsByIndexAndByCoordinates) {
    std::mt19937 rng(32);
    for (int round = 0; round < 60; round++) {
        const Table t = RandomTable(rng, RandomShape(rng, 1, 12, 2000));
        QEL_Dmatrix m = ToMatrix(t);
        QEL_sysCoordinates walk(m);
        const std::vector<Coords> all = AllCoords(t.dims);
        const int n = static_cast<int>(t.dims.size());
        for (int k = 0; k < 20; k++) {
            const int index = std::uniform_int_distribution<int>(0, m.GetSize() - 1)(rng);
            ASSERT_EQ(0, walk.GoTo(index));
            ASSERT_EQ(all[index], Current(walk));
            ASSERT_EQ(index, walk.GetIndex());
            walk.CheckedValue() = -1.0;
            ASSERT_EQ(-1.0, m[index]);
            m[index] = t.data[index];

            const Coords& target = all[std::uniform_int_distribution<int>(0, m.GetSize() - 1)(rng)];
            for (int i = 0; i < n; i++) walk.theCoordinates[i] = target[i];
            ASSERT_EQ(0, walk.GoToCurrentPosition());
            ASSERT_EQ(t.Index(target), walk.GetIndex());
        }

        // Bad jumps return to the first position of the free coordinates.
        ASSERT_EQ(0, walk.LockCoordinate(0));
        walk.GoTo(m.GetSize() - 1);
        EXPECT_EQ(-2, walk.GoTo(m.GetSize()));
        EXPECT_EQ(0, walk.GetIndex());
        EXPECT_EQ(t.dims[0] - 1, walk.theCoordinates[0]);
        for (int i = 1; i < n; i++) EXPECT_EQ(0, walk.theCoordinates[i]);
        walk.UnlockAll();
        walk.theCoordinates[n - 1] = t.dims[n - 1];
        EXPECT_EQ(-2, walk.GoToCurrentPosition());
        EXPECT_EQ(0, walk.theCoordinates[n - 1]);
        EXPECT_EQ(-2, walk.GoTo(-1));
    }
}

TEST(SysCoordinates, WalksWithNowhereToGo) {
    // Every dimension locked: the walk stands still.
    QEL_Dmatrix square(ListOf({2, 2}));
    QEL_sysCoordinates walk(square);
    ASSERT_EQ(0, walk.LockCoordinate(0));
    ASSERT_EQ(0, walk.LockCoordinate(1));
    walk.GoFirst();
    EXPECT_EQ(-2, walk.Next());
    EXPECT_EQ(-2, walk.Previous());
    EXPECT_EQ(0, walk.GetIndex());
    EXPECT_EQ(-2, walk.LockCoordinate(2));
    EXPECT_EQ(-2, walk.UnlockCoordinate(-1));
    EXPECT_FALSE(walk.IsLocked(2));

    // Relinking starts afresh on the new shape.
    QEL_Dmatrix cube(ListOf({2, 3, 4}));
    ASSERT_EQ(0, walk.LinkTo(cube));
    EXPECT_EQ(3, walk.theCoordinates.NumItems());
    EXPECT_FALSE(walk.IsLocked(0));
    EXPECT_EQ(&cube, walk.GetMatrix());

    QEL_Dmatrix empty;
    QEL_sysCoordinates none(empty);
    EXPECT_EQ(-2, none.Next());
    EXPECT_EQ(-2, none.Previous());
    EXPECT_EQ(-2, none.GoTo(0));
    QEL_sysCoordinates unlinked;
    EXPECT_EQ(-2, unlinked.Next());
    EXPECT_EQ(-2, unlinked.GoToCurrentPosition());
    EXPECT_TRUE(unlinked.IsReady());

    // A matrix reshaped under a walk is not walked out of bounds.
    QEL_Dmatrix shrinking(ListOf({3, 3}));
    QEL_sysCoordinates stale(shrinking);
    ASSERT_EQ(0, shrinking.RemoveDimension(0));
    EXPECT_EQ(-2, stale.Next());
    EXPECT_EQ(-2, stale.GoTo(1));
}
