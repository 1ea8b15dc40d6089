// QEL_stringArray against a vector-of-optional-strings model on random
// operation sequences, and the identifier rules of QEL_idArray checked
// against naive predicates on random texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "orvil/intarray.h"
#include "orvil/stringarray.h"

namespace {

using Slot = std::optional<std::string>;

struct Model {
    std::vector<Slot> slots;
    int numItems = 0;
    int delta = 10;
};

const char* Text(const Slot& s) {
    return s ? s->c_str() : nullptr;
}

Slot RandomSlot(std::mt19937& rng) {
    static const char* const words[] = {"a", "b", "c", "", "long text"};
    if (rng() % 6 == 0) return std::nullopt;
    return std::string(words[rng() % 5]);
}

int ModelFind(const Model& m, const Slot& s) {
    if (!s) return -2;
    for (int i = 0; i < m.numItems; i++) {
        if (m.slots[i] == s) return i;
    }
    return -2;
}

int ModelDelete(Model& m, int i) {
    if (i < 0 || i >= static_cast<int>(m.slots.size())) return -2;
    m.slots[i].reset();
    if (i < m.numItems) {
        for (int j = i; j + 1 < m.numItems; j++) m.slots[j] = m.slots[j + 1];
        m.slots[m.numItems - 1].reset();
    }
    m.numItems = std::max(0, m.numItems - 1);
    return 0;
}

int ModelSetSize(Model& m, int n) {
    if (n < 0) return -2;
    m.numItems = 0;
    if (static_cast<int>(m.slots.size()) != n) {
        m.slots.assign(n, std::nullopt);
        m.delta = 10;  // the store is rebuilt from a clean state
    }
    return 0;
}

void ExpectSame(const QEL_stringArray& a, const Model& m) {
    ASSERT_EQ(a.GetSize(), static_cast<int>(m.slots.size()));
    ASSERT_EQ(a.NumItems(), m.numItems);
    ASSERT_EQ(const_cast<QEL_stringArray&>(a).CheckReadiness(), 0);
    for (int i = 0; i < a.GetSize(); i++) {
        const char* s = a[i];
        ASSERT_EQ(s != nullptr, m.slots[i].has_value()) << "slot " << i;
        if (s) {
            ASSERT_EQ(std::string(s), *m.slots[i]) << "slot " << i;
        }
    }
}

void Step(std::mt19937& rng, QEL_stringArray& a, Model& m, const QEL_stringArray& b, const Model& mb) {
    int size = static_cast<int>(m.slots.size());
    Slot s = RandomSlot(rng);
    int i = static_cast<int>(rng() % (size + 3)) - 1;
    switch (rng() % 14) {
    case 0:
    case 1:
    case 2:
    case 3: {
        int pos = rng() % 3 == 0 ? static_cast<int>(rng() % (m.numItems + 3)) - 1 : m.numItems;
        int expect = pos < 0 || pos > m.numItems ? -2 : 0;
        ASSERT_EQ(pos == m.numItems && rng() % 2 ? a.Add(Text(s)) : a.Insert(pos, Text(s)), expect);
        if (expect != 0) break;
        if (m.numItems == size) m.slots.resize(size + m.delta);
        for (int j = m.numItems; j > pos; j--) m.slots[j] = m.slots[j - 1];
        m.slots[pos] = s;
        m.numItems++;
        break;
    }
    case 4:
        ASSERT_EQ(a.SetString(i, Text(s)), i >= 0 && i < size ? 0 : -2);
        if (i >= 0 && i < size) m.slots[i] = s;
        break;
    case 5:
        ASSERT_EQ(a.Delete(i), ModelDelete(m, i));
        break;
    case 6: {
        int at = ModelFind(m, s);
        ASSERT_EQ(a.FindPosition(Text(s)), at);
        ASSERT_EQ(a.IsInList(Text(s)), at >= 0 ? 1 : 0);
        ASSERT_EQ(a.DeleteByContent(Text(s)), at >= 0 ? ModelDelete(m, at) : -2);
        break;
    }
    case 7: {
        if (rng() % 3 != 0) break;
        int n = static_cast<int>(rng() % 25) - 1;
        ASSERT_EQ(a.SetSize(n), ModelSetSize(m, n));
        break;
    }
    case 8: {
        int n = static_cast<int>(rng() % 25) - 1;
        ASSERT_EQ(a.RoomGuaranteed(n), n < 0 ? -2 : 0);
        if (n < 0) break;
        m.numItems = 0;
        if (n > size) ModelSetSize(m, n);
        break;
    }
    case 9:
        if (rng() % 3 != 0) break;
        if (rng() % 2) {
            a.Flush();
            std::fill(m.slots.begin(), m.slots.end(), std::nullopt);
            m.numItems = 0;
        } else {
            a.CleanUp();
            m = Model();
        }
        break;
    case 10:
        ASSERT_EQ(a.FillFrom(b), 0);
        for (size_t k = 0; k < std::min(m.slots.size(), mb.slots.size()); k++) m.slots[k] = mb.slots[k];
        break;
    case 11: {
        int n = rng() % 2 ? m.numItems : size;
        std::vector<int> order(n);
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), rng);
        bool valid = true;
        if (n > 1 && rng() % 3 == 0) {
            order[0] = order[1];
            valid = false;
        }
        QEL_intArray o;
        for (int e : order) o.Add(e);
        ASSERT_EQ(a.ChangeOrder(o), valid ? 0 : -2);
        if (!valid) break;
        std::vector<Slot> old(m.slots);
        for (int k = 0; k < n; k++) m.slots[k] = old[order[k]];
        break;
    }
    case 12:
        a.UseAsList(i);
        m.numItems = i >= 0 && i < size ? i : size;
        break;
    case 13:
        if (rng() % 4 != 0) break;
        ASSERT_EQ(a = b, 0);
        m = mb;
        break;
    }
}

TEST(ContainersStrings, StringArrayMatchesModelOnRandomOperations) {
    for (unsigned seed = 1; seed <= 30; seed++) {
        std::mt19937 rng(seed);
        // A growth step of its own, the default for a step below one, or
        // one that an initial size sets back to the default.
        const int initial = seed % 3 == 0 ? 5 : 0;
        const int growth = static_cast<int>(seed % 2) * 3;
        QEL_stringArray a(initial, growth), b;
        Model ma, mb;
        ma.slots.resize(initial);
        ma.delta = initial == 0 && growth > 0 ? growth : 10;
        for (int step = 0; step < 1200; step++) {
            if (rng() % 3 != 0) {
                Step(rng, a, ma, b, mb);
            } else {
                Step(rng, b, mb, a, ma);
            }
            ExpectSame(a, ma);
            ExpectSame(b, mb);
            if (HasFatalFailure()) {
                ADD_FAILURE() << "seed " << seed << " step " << step;
                return;
            }
        }
        // Copies own their texts: the two stores never share a pointer.
        QEL_stringArray copy(a);
        ExpectSame(copy, ma);
        for (int k = 0; k < a.GetSize(); k++) {
            if (a[k] != nullptr) {
                EXPECT_NE(a[k], copy[k]);
            }
        }
    }
}

TEST(ContainersStrings, CheckedReadsAndWrappedLists) {
    QEL_stringArray list(2, 3);
    EXPECT_EQ(list.Subscript(-1), nullptr);
    EXPECT_EQ(list.Subscript(2), nullptr);

    const char* words[] = {"a", nullptr, "b"};
    strarray wrapped(3, words);
    EXPECT_EQ(wrapped.GetSize(), 6);
    EXPECT_EQ(wrapped.NumItems(), 3);
    EXPECT_STREQ(wrapped[0], "a");
    EXPECT_EQ(wrapped[1], nullptr);
    EXPECT_STREQ(wrapped[2], "b");
    EXPECT_NE(wrapped[0], words[0]);
    strarray none(0, nullptr);
    EXPECT_EQ(none.GetSize(), 0);
    EXPECT_EQ(none.Add("x"), 0);
}

bool NaiveIdentifier(const std::string& s) {
    if (s.empty() || !isalpha(static_cast<unsigned char>(s[0]))) return false;
    return std::all_of(s.begin(), s.end(), [](char c) { return isalnum(static_cast<unsigned char>(c)) || c == '_'; });
}

std::string RandomText(std::mt19937& rng, int maxLength) {
    static const char alphabet[] = "abZ19_ -.";
    std::string s;
    int n = rng() % (maxLength + 1);
    for (int k = 0; k < n; k++) s += alphabet[rng() % (sizeof alphabet - 1)];
    return s;
}

TEST(ContainersIds, ValidityAndUniquenessMatchNaiveRules) {
    for (unsigned seed = 1; seed <= 20; seed++) {
        std::mt19937 rng(seed);
        bool allowBlank = seed % 2 == 0;
        QEL_idArray ids(allowBlank);
        std::vector<std::string> held;
        for (int step = 0; step < 300; step++) {
            std::string s = RandomText(rng, 3);
            bool fresh = std::find(held.begin(), held.end(), s) == held.end();
            bool expect = s.empty() ? allowBlank : NaiveIdentifier(s) && fresh;
            ASSERT_EQ(ids.ValidId(s.c_str()), expect ? 1 : 0) << s;
            int pos = rng() % 2 ? static_cast<int>(rng() % (held.size() + 1)) : -1;
            ASSERT_EQ(pos < 0 ? ids.Add(s.c_str()) : ids.Insert(pos, s.c_str()), expect ? 0 : -2);
            if (expect) held.insert(pos < 0 ? held.end() : held.begin() + pos, s);
        }
        ASSERT_EQ(ids.NumItems(), static_cast<int>(held.size()));
        for (int k = 0; k < ids.NumItems(); k++) ASSERT_EQ(held[k], ids[k]);
        EXPECT_EQ(ids.CheckConsistency(), 0);
        EXPECT_TRUE(ids.IsConsistent());
        EXPECT_EQ(ids.ValidId(nullptr), 0);
    }
}

TEST(ContainersIds, RepairHelpersAlwaysYieldIdentifiers) {
    std::mt19937 rng(11);
    for (int round = 0; round < 2000; round++) {
        std::string s = RandomText(rng, 6);
        char plain[16], extra[16];
        snprintf(plain, sizeof plain, "%s", s.c_str());
        snprintf(extra, sizeof extra, "%s", s.c_str());
        if (s.empty()) {
            EXPECT_EQ(QEL_idArray::MakeValidId(plain), -2);
            EXPECT_EQ(QEL_idArray::MakeValidIdExtra(extra), -2);
            EXPECT_EQ(QEL_idArray::MakeValidId(nullptr), -2);
            continue;
        }
        ASSERT_EQ(QEL_idArray::MakeValidId(plain), 0);
        ASSERT_EQ(QEL_idArray::MakeValidIdExtra(extra), 0);
        ASSERT_TRUE(NaiveIdentifier(plain)) << s;
        ASSERT_TRUE(NaiveIdentifier(extra)) << s;
        ASSERT_EQ(strlen(plain), s.size());
        bool prefixed = !isalpha(static_cast<unsigned char>(s[0]));
        ASSERT_EQ(strlen(extra), s.size() + (prefixed ? 1 : 0));
        // Characters that were already allowed are kept in place.
        for (size_t k = 1; k < s.size(); k++) {
            if (isalnum(static_cast<unsigned char>(s[k]))) {
                ASSERT_EQ(plain[k], s[k]);
            }
        }
    }
    char a[] = "1a b";
    char b[8] = "1a b";
    QEL_idArray::MakeValidId(a);
    QEL_idArray::MakeValidIdExtra(b);
    EXPECT_STREQ(a, "xa_b");
    EXPECT_STREQ(b, "x1a_b");
}

TEST(ContainersIds, CreatedIdsAreTheFirstFreeCandidate) {
    std::mt19937 rng(5);
    for (int round = 0; round < 500; round++) {
        QEL_idArray ids;
        for (int k = 0; k < 6; k++) {
            static const char* const pool[] = {"Node", "Node0", "Node1", "Node3", "x", "x2", "a_b", "xa_b"};
            ids.Add(pool[rng() % 8]);
        }
        static const char* const bases[] = {"Node", "", nullptr, "a b", "x", "1a b"};
        const char* base = bases[rng() % 6];
        int number = static_cast<int>(rng() % 6) - 3;
        char out[QEL_idArray::idBufferSize];
        ASSERT_EQ(ids.CreateValidId(base, number, out), 0);
        char fixed[64];
        snprintf(fixed, sizeof fixed, "%s", base && *base ? base : "x");
        QEL_idArray::MakeValidIdExtra(fixed);
        std::string expect = fixed;
        if (number >= 0 || !ids.ValidId(fixed)) {
            for (int k = std::max(number, 0);; k++) {
                expect = std::string(fixed) + std::to_string(k);
                if (!ids.IsInList(expect.c_str())) break;
            }
        }
        ASSERT_EQ(expect, out);
    }
    QEL_idArray ids;
    ids.Add("Node");
    ids.Add("Node0");
    EXPECT_EQ(ids.CreateAndAddValidId("Node", -1), 0);
    EXPECT_STREQ(ids[2], "Node1");
    EXPECT_EQ(ids.CreateAndInsertValidId("Node", 5, 0), 0);
    EXPECT_STREQ(ids[0], "Node5");
}

TEST(ContainersIds, MakeConsistentRepairsAnyContents) {
    std::mt19937 rng(3);
    for (int round = 0; round < 400; round++) {
        QEL_stringArray raw;
        std::vector<std::string> texts;
        int n = rng() % 8;
        for (int k = 0; k < n; k++) {
            texts.push_back(RandomText(rng, 3));
            raw.Add(texts.back().c_str());
        }
        QEL_idArray ids;
        ids = raw;  // no validation on assignment
        ASSERT_EQ(ids.MakeConsistent(), 0);
        ASSERT_EQ(ids.NumItems(), n);
        ASSERT_EQ(ids.CheckConsistency(), 0);
        // Oracle: keep a free valid id; else repair it by prefixing "x" to a
        // bad first character and "_" for other bad characters; if that is
        // taken too, append the first free number from 2.
        std::set<std::string> seen;
        for (int k = 0; k < n; k++) {
            std::string expect = texts[k];
            if (!NaiveIdentifier(expect) || seen.count(expect)) {
                if (!expect.empty() && !isalpha(static_cast<unsigned char>(expect[0]))) expect = "x" + expect;
                for (size_t c = 1; c < expect.size(); c++) {
                    if (!isalnum(static_cast<unsigned char>(expect[c]))) expect[c] = '_';
                }
                if (expect.empty()) expect = "x";
                if (!NaiveIdentifier(texts[k].empty() ? "" : expect) || seen.count(expect)) {
                    int suffix = 2;
                    while (seen.count(expect + std::to_string(suffix))) suffix++;
                    expect += std::to_string(suffix);
                }
            }
            ASSERT_EQ(expect, ids[k]) << "from " << texts[k];
            seen.insert(expect);
        }
    }
}

TEST(ContainersIds, ContractsAroundTheValidatingOperations) {
    // An id may stand again at the position it is checked for.
    QEL_idArray ids(true);
    ids.Add("a_1");
    ids.Add("b");
    EXPECT_EQ(ids.ValidId("a_1", 0), 1);
    EXPECT_EQ(ids.SetString(0, "a_1"), 0);
    EXPECT_EQ(ids.SetString(0, "b"), -2);

    QEL_idArray copy(ids);
    EXPECT_TRUE(copy.AllowsBlank());
    EXPECT_EQ(copy.NumItems(), 0);

    QEL_idArray strict;
    EXPECT_EQ(strict.AddBlank(), 0);
    EXPECT_EQ(strict.NumItems(), 1);
    EXPECT_EQ(strict.CheckConsistency(), -568);

    QEL_stringArray broken;
    broken.Add("a");
    broken.flags &= ~QEL_object::readyFlag;
    QEL_stringArray target;
    EXPECT_EQ(broken.Add("b"), -567);
    EXPECT_EQ(broken.SetString(0, "b"), -567);
    EXPECT_EQ(broken.FindPosition("a"), -2);
    EXPECT_EQ(broken.Delete(0), -2);
    EXPECT_EQ(target = broken, -567);
    EXPECT_EQ(target.FillFrom(broken), -567);
    EXPECT_EQ(broken.CheckReadiness(), 0);  // the contents are sound
    broken.flags &= ~QEL_object::readyFlag;
    EXPECT_EQ(broken.SetSize(broken.GetSize()), 0);  // a not-ready array is rebuilt
    EXPECT_TRUE(broken.IsReady());
    EXPECT_EQ(broken[0], nullptr);
}

}  // namespace
