// QEL_intArray and QEL_doubleArray against a naive model on long random
// operation sequences. The model keeps one optional value per addressable
// slot: a slot is empty when the array's contract leaves its content
// undefined (fresh or replaced stores), and only defined slots are compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <random>
#include <type_traits>
#include <vector>

#include "orvil/doublearray.h"
#include "orvil/intarray.h"

namespace {

template <class T>
struct Model {
    std::vector<std::optional<T>> slots;  // one per addressable index
    int numitems = 0;
    bool dynamic = false;  // the store is a heap block
};

template <class A>
constexpr bool isInt = std::is_same<A, QEL_intArray>::value;

template <class A, class T>
void Grow(Model<T>& m) {
    int cap = A::localCapacity;
    int n = m.slots.empty() ? cap : 2 * static_cast<int>(m.slots.size());
    m.slots.resize(n);
    m.dynamic = n > cap;
}

template <class A, class T>
int SetSize(Model<T>& m, int n) {
    int cap = A::localCapacity;
    int size = static_cast<int>(m.slots.size());
    if (n < 0) return -2;
    m.numitems = 0;
    if constexpr (isInt<A>) {
        if (n == size) return 0;
        if (n < size && n <= cap) {
            // Back on the inline store: its content is only known if the
            // array was already using it.
            if (m.dynamic) m.slots.assign(size, std::nullopt);
            m.slots.resize(n);
            m.dynamic = false;
            return 0;
        }
        m.slots.assign(n, std::nullopt);
        m.dynamic = n > cap;
    } else {
        if (n > size) {
            m.slots.assign(n, std::nullopt);
            m.dynamic = n > cap;
        }
        m.slots.resize(n);
    }
    return 0;
}

template <class T>
bool ListDefined(const Model<T>& m) {
    for (int i = 0; i < m.numitems; i++) {
        if (!m.slots[i]) return false;
    }
    return true;
}

template <class T>
int Find(const Model<T>& m, T v) {
    for (int i = 0; i < m.numitems; i++) {
        if (*m.slots[i] == v) return i;
    }
    return -2;
}

template <class T>
int Delete(Model<T>& m, int i) {
    if (i < 0 || i >= static_cast<int>(m.slots.size())) return -2;
    if (i < m.numitems) {
        for (int j = i; j + 1 < m.numitems; j++) m.slots[j] = m.slots[j + 1];
        m.slots[m.numitems - 1].reset();
    }
    m.numitems = std::max(0, m.numitems - 1);
    return 0;
}

template <class A, class T>
void ExpectSame(const A& a, const Model<T>& m) {
    ASSERT_EQ(a.GetSize(), static_cast<int>(m.slots.size()));
    ASSERT_EQ(a.NumItems(), m.numitems);
    for (size_t i = 0; i < m.slots.size(); i++) {
        if (m.slots[i]) {
            ASSERT_EQ(a.Subscript(static_cast<int>(i)), *m.slots[i]) << "slot " << i;
        }
    }
    const char* p = reinterpret_cast<const char*>(a.Items());
    const char* self = reinterpret_cast<const char*>(&a);
    bool inside = p >= self && p < self + sizeof(A);
    ASSERT_EQ(p != nullptr && !inside, m.dynamic);
}

std::vector<int> RandomOrder(std::mt19937& rng, int n) {
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), rng);
    if (n > 1 && rng() % 3 == 0) order[rng() % n] = order[rng() % n];  // maybe a repeat
    if (n > 0 && rng() % 8 == 0) order[rng() % n] = n;                 // out of range
    return order;
}

template <class T>
int ChangeOrder(Model<T>& m, const std::vector<int>& order) {
    int n = static_cast<int>(order.size());
    if (n != m.numitems && n != static_cast<int>(m.slots.size())) return -2;
    std::vector<int> sorted(order);
    std::sort(sorted.begin(), sorted.end());
    for (int i = 0; i < n; i++) {
        if (sorted[i] != i) return -2;
    }
    std::vector<std::optional<T>> old(m.slots);
    for (int i = 0; i < n; i++) m.slots[i] = old[order[i]];
    return 0;
}

// One random operation on array `a` (model `m`); `b`/`mb` is a second array
// for the binary operations.
template <class A, class T>
void Step(std::mt19937& rng, A& a, Model<T>& m, A& b, Model<T>& mb) {
    int size = static_cast<int>(m.slots.size());
    T v = static_cast<T>(rng() % 10);
    int n = static_cast<int>(rng() % 40) - 2;
    switch (rng() % 18) {
    case 0:
    case 1:
    case 2:
        ASSERT_EQ(a.Add(v), 0);
        if (m.numitems == size) Grow<A>(m);
        m.slots[m.numitems++] = v;
        break;
    case 3: {
        int pos = static_cast<int>(rng() % (m.numitems + 3)) - 1;
        int expect = pos < 0 || pos > m.numitems ? -2 : 0;
        ASSERT_EQ(a.Insert(pos, v), expect);
        if (expect != 0) break;
        if (m.numitems == size) Grow<A>(m);
        for (int j = m.numitems; j > pos; j--) m.slots[j] = m.slots[j - 1];
        m.slots[pos] = v;
        m.numitems++;
        break;
    }
    case 4: {
        int i = static_cast<int>(rng() % (size + 3)) - 1;
        ASSERT_EQ(a.Delete(i), Delete(m, i));
        break;
    }
    case 5:
        if (rng() % 4 != 0) break;  // keep most sequences growing
        ASSERT_EQ(a.SetSize(n), (SetSize<A>(m, n)));
        break;
    case 6:
        ASSERT_EQ(a.RoomGuaranteed(n), n < 0 ? -2 : 0);
        if (n < 0) break;
        m.numitems = 0;
        if (n > size) SetSize<A>(m, n);
        break;
    case 7:
        a.UseAsList(n);
        m.numitems = n >= 0 && n < size ? n : size;
        break;
    case 8:
        if (rng() % 4 != 0) break;
        a.Flush();
        m.numitems = 0;
        break;
    case 9:
        a.FillWith(v);
        for (auto& s : m.slots) s = v;
        break;
    case 10:
        a.FillFrom(b);
        for (size_t i = 0; i < std::min(m.slots.size(), mb.slots.size()); i++) m.slots[i] = mb.slots[i];
        break;
    case 11: {
        int len = rng() % 2 ? m.numitems : size;
        if (rng() % 6 == 0) len++;
        std::vector<int> order = RandomOrder(rng, len);
        QEL_intArray o;
        for (int e : order) o.Add(e);
        ASSERT_EQ(a.ChangeOrder(o), ChangeOrder(m, order));
        break;
    }
    case 12:
        a.Swap(b);
        std::swap(m, mb);
        break;
    case 13:
        if (rng() % 3 == 0) {
            a = b;
            SetSize<A>(m, static_cast<int>(mb.slots.size()));
            m.slots = mb.slots;
            m.numitems = mb.numitems;
        } else {
            A copy(b);
            Model<T> mc{mb.slots, mb.numitems, mb.slots.size() > static_cast<size_t>(A::localCapacity)};
            ExpectSame(copy, mc);
        }
        break;
    case 14:
        if (rng() % 8 != 0) break;
        a.CleanUp();
        m = Model<T>();
        break;
    case 15:
        if (!ListDefined(m)) break;
        ASSERT_EQ(a.FindPosition(v), Find(m, v));
        ASSERT_EQ(a.IsInList(v), Find(m, v) >= 0 ? 1 : 0);
        ASSERT_EQ(a.DeleteByContent(v), Find(m, v) >= 0 ? Delete(m, Find(m, v)) : -2);
        break;
    case 16:
        if constexpr (isInt<A>) {
            if (!ListDefined(m)) break;
            bool present = Find(m, v) >= 0;
            ASSERT_EQ(a.AddExclusive(v), present ? -2 : 0);
            if (present) break;
            if (m.numitems == size) Grow<A>(m);
            m.slots[m.numitems++] = v;
        }
        break;
    case 17:
        if constexpr (isInt<A>) {
            if (!ListDefined(m)) break;
            std::vector<std::optional<T>> kept;
            for (int i = 0; i < m.numitems; i++) {
                if (std::find(kept.begin(), kept.end(), m.slots[i]) == kept.end()) kept.push_back(m.slots[i]);
            }
            ASSERT_EQ(a.DeleteDuplicates(), 0);
            std::copy(kept.begin(), kept.end(), m.slots.begin());
            m.numitems = static_cast<int>(kept.size());
        }
        break;
    }
}

template <class A, class T>
void RunRandomSequences() {
    for (unsigned seed = 1; seed <= 40; seed++) {
        std::mt19937 rng(seed);
        A a, b;
        Model<T> ma, mb;
        for (int step = 0; step < 1500; step++) {
            bool onA = rng() % 3 != 0;
            if (onA) {
                Step(rng, a, ma, b, mb);
            } else {
                Step(rng, b, mb, a, ma);
            }
            if (testing::Test::HasFatalFailure()) {
                ADD_FAILURE() << "seed " << seed << " step " << step;
                return;
            }
            ExpectSame(a, ma);
            ExpectSame(b, mb);
            if (testing::Test::HasFatalFailure()) {
                ADD_FAILURE() << "seed " << seed << " step " << step;
                return;
            }
        }
    }
}

TEST(ContainersNumbers, IntArrayMatchesModelOnRandomOperations) {
    RunRandomSequences<QEL_intArray, int>();
}

TEST(ContainersNumbers, DoubleArrayMatchesModelOnRandomOperations) {
    RunRandomSequences<QEL_doubleArray, double>();
}

// Naive readings of the two comparisons: equality covers spare capacity,
// and "below" needs every item strictly below (not a lexicographic order).
TEST(ContainersNumbers, IntComparisonsMatchNaiveDefinitions) {
    std::mt19937 rng(7);
    for (int round = 0; round < 3000; round++) {
        int sa = rng() % 4, sb = rng() % 5 == 0 ? rng() % 4 : sa;
        QEL_intArray a(sa), b(sb);
        std::vector<int> va(sa), vb(sb);
        for (int i = 0; i < sa; i++) a[i] = va[i] = rng() % 3;
        for (int i = 0; i < sb; i++) b[i] = vb[i] = rng() % 3;
        int na = rng() % 2, nb = rng() % 4 == 0 ? 1 - na : na;
        a.UseAsList(na ? sa : 0);
        b.UseAsList(nb ? sb : 0);
        bool equal = va == vb && a.NumItems() == b.NumItems();
        bool below = sa == sb;
        for (int i = 0; below && i < sa; i++) below = va[i] < vb[i];
        ASSERT_EQ(a == b, equal);
        ASSERT_EQ(a < b, below);
    }
    QEL_intArray e1, e2;
    EXPECT_TRUE(e1 == e2);
    EXPECT_TRUE(e1 < e2);
}

// What the model cannot see: a swap hands the heap block over instead of
// copying it, and a cleaned-up array holds no store at all.
TEST(ContainersNumbers, SwapMovesTheBlockAndCleanUpFreesIt) {
    QEL_intArray list, small(3);
    for (int i = 0; i < 9; i++) list.Add(i);
    const int* block = list.Items();
    list.Swap(small);
    EXPECT_EQ(small.Items(), block);
    EXPECT_EQ(small[8], 8);
    QEL_doubleArray d(10);
    d.CleanUp();
    EXPECT_EQ(d.Items(), nullptr);
}

#ifndef NDEBUG
TEST(ContainersNumbersDeathTest, CheckedAccessStopsOutsideTheSize) {
    QEL_intArray ints;
    for (int i = 0; i < 3; i++) ints.Add(i);  // list of 3 in a store of 8
    QEL_doubleArray doubles(2);
    ints.Subscript(7) = 9;
    EXPECT_EQ(ints[7], 9);  // beyond the list, inside the size
    EXPECT_DEATH(ints[8], "Ok\\(index\\)");
    EXPECT_DEATH(ints[-1], "Ok\\(index\\)");
    EXPECT_DEATH(doubles[2], "Ok\\(index\\)");
}
#endif

}  // namespace
