// fastarray against std::vector on random resize/append/delete sequences,
// with its store rules: inline up to N, exact-size blocks when resized past
// the capacity, and shrinking that never gives memory back.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "orvil/fastarray.h"

namespace {

template <class A>
bool OnInlineStore(const A& a) {
    const char* p = reinterpret_cast<const char*>(a.Items());
    const char* self = reinterpret_cast<const char*>(&a);
    return p >= self && p < self + sizeof(A);
}

TEST(ContainersFastArray, MatchesVectorAndKeepsItsStoreRules) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        std::mt19937 rng(seed);
        fastarray<int, 4, int> a;
        std::vector<int> model;
        for (int step = 0; step < 800; step++) {
            int v = static_cast<int>(rng() % 100);
            int before = a.Capacity();
            switch (rng() % 6) {
            case 0:
            case 1:
                a.Add(v);
                model.push_back(v);
                break;
            case 2: {
                int n = static_cast<int>(rng() % 40) - 2;
                int kept = std::min(std::max(n, 0), static_cast<int>(model.size()));
                a.SetCount(n);
                // Exactly the new count when growing past the capacity;
                // otherwise the store stays as it is.
                ASSERT_EQ(a.Capacity(), std::max(n, before));
                model.resize(std::max(n, 0));
                for (int i = kept; i < a.Count(); i++) a[i] = model[i] = v + i;
                break;
            }
            case 3: {
                int i = static_cast<int>(rng() % (model.size() + 2)) - 1;
                bool ok = i >= 0 && i < static_cast<int>(model.size());
                ASSERT_EQ(a.Delete(i), ok);
                if (ok) model.erase(model.begin() + i);
                break;
            }
            case 4: {
                auto it = std::find(model.begin(), model.end(), v);
                ASSERT_EQ(a.IndexOf(v), it == model.end() ? -1 : static_cast<int>(it - model.begin()));
                break;
            }
            case 5: {
                fastarray<int, 4, int> copy(a);
                ASSERT_EQ(std::vector<int>(copy.begin(), copy.end()), model);
                if (rng() % 4 == 0) a.Clear(), model.clear();
                break;
            }
            }
            ASSERT_EQ(a.Count(), static_cast<int>(model.size()));
            ASSERT_EQ(std::vector<int>(a.begin(), a.end()), model);
            ASSERT_GE(a.Capacity(), std::max(before, a.Count()));
            ASSERT_EQ(OnInlineStore(a), a.Capacity() == 4);
        }
    }
}

TEST(ContainersFastArray, CopiesAreIndependent) {
    fastarray<int*, 2, int> a;
    int x = 1, y = 2, z = 3;
    a.Add(&x);
    a.Add(&y);
    a.Add(&z);
    fastarray<int*, 2, int> b;
    b = a;
    b[0] = &z;
    EXPECT_EQ(a[0], &x);
    EXPECT_EQ(b.Count(), 3);
    EXPECT_EQ(b.Last(), &z);
    b = b;
    EXPECT_EQ(b[2], &z);
}

}  // namespace
