// The engine's arrays against one naive model on long random operation
// sequences: QEL_intArray and QEL_doubleArray (inline store, doubling
// growth, contents left undefined where the contract says so) and
// QEL_stringArray (owned texts, null slots, its own growth step). The model
// keeps an optional value per slot: empty means undefined (numbers, not
// compared) or null (texts). Then fastarray against std::vector: inline up
// to N, exact blocks past the capacity, no shrinking, copies own their store.
#include <optional>
#include <type_traits>

#include "core_helpers.h"
#include "orvil/fastarray.h"

namespace {

using coretest::Ints;
using Text = std::optional<std::string>;

template <class A>
constexpr bool isInt = std::is_same<A, QEL_intArray>::value;
template <class A>
constexpr bool isText = std::is_same<A, QEL_stringArray>::value;

template <class A>
constexpr int inlineCapacity = A::localCapacity;
template <>
constexpr int inlineCapacity<QEL_stringArray> = 0;

template <class T>
struct Model {
    std::vector<std::optional<T>> slots;  // one per addressable index
    int numitems = 0;
    bool dynamic = false;  // numbers: the store is a heap block
    int delta = 10;        // texts: the growth step
};

int Arg(const std::optional<int>& v) { return *v; }
double Arg(const std::optional<double>& v) { return *v; }
const char* Arg(const Text& v) { return v ? v->c_str() : nullptr; }

// Appends as Add does: a full store of numbers doubles (an empty one takes
// the inline capacity), one of texts grows by its step.
template <class A, class T>
void Append(Model<T>& m, const std::optional<T>& v) {
    const int size = static_cast<int>(m.slots.size());
    if (m.numitems == size) {
        m.slots.resize(isText<A> ? size + m.delta : size == 0 ? inlineCapacity<A> : 2 * size);
        m.dynamic = static_cast<int>(m.slots.size()) > inlineCapacity<A>;
    }
    m.slots[m.numitems++] = v;
}

template <class A, class T>
int SetSize(Model<T>& m, int n) {
    const int size = static_cast<int>(m.slots.size());
    if (n < 0) return -2;
    m.numitems = 0;
    if constexpr (isText<A>) {
        if (n != size) m = Model<T>{std::vector<std::optional<T>>(n)};  // rebuilt from a clean state
    } else if (isInt<A> && n < size && n <= A::localCapacity) {
        // Back on the inline store: its content is only known if the array
        // was already using it.
        if (m.dynamic) m.slots.assign(size, std::nullopt);
        m.slots.resize(n);
        m.dynamic = false;
    } else if (n > size || (isInt<A> && n != size)) {
        // The double array keeps its store when it shrinks; the int array
        // replaces it on any other change.
        m.slots.assign(n, std::nullopt);
        m.dynamic = n > A::localCapacity;
    } else {
        m.slots.resize(n);
    }
    return 0;
}

template <class T>
int Find(const Model<T>& m, const std::optional<T>& v) {
    for (int i = 0; v && i < m.numitems; i++) {
        if (m.slots[i] == v) return i;
    }
    return -2;
}

template <class A, class T>
int Delete(Model<T>& m, int i) {
    if (i < 0 || i >= static_cast<int>(m.slots.size())) return -2;
    if (isText<A>) m.slots[i].reset();  // a deleted text is freed, list or not
    if (i < m.numitems) {
        std::rotate(m.slots.begin() + i, m.slots.begin() + i + 1, m.slots.begin() + m.numitems);
        m.slots[m.numitems - 1].reset();
    }
    m.numitems = std::max(0, m.numitems - 1);
    return 0;
}

template <class A, class T>
void ExpectSame(A& a, const Model<T>& m) {
    ASSERT_EQ(a.GetSize(), static_cast<int>(m.slots.size()));
    ASSERT_EQ(a.NumItems(), m.numitems);
    for (size_t i = 0; i < m.slots.size(); i++) {
        if constexpr (isText<A>) {
            ASSERT_EQ(a[i] ? Text(a[i]) : Text(), m.slots[i]) << "slot " << i;
        } else if (m.slots[i]) {
            ASSERT_EQ(a.Subscript(static_cast<int>(i)), *m.slots[i]) << "slot " << i;
        }
    }
    if constexpr (isText<A>) {
        ASSERT_EQ(a.CheckReadiness(), 0);
    } else {
        const char* p = reinterpret_cast<const char*>(a.Items());
        const char* self = reinterpret_cast<const char*>(&a);
        ASSERT_EQ(p != nullptr && (p < self || p >= self + sizeof(A)), m.dynamic);
    }
}

// A permutation of the list or of the whole store, sometimes with a repeat
// or an index out of range, applied to the model; -2 where it is refused.
template <class T>
int ChangeOrder(std::mt19937& rng, Model<T>& m, QEL_intArray& o) {
    const int size = static_cast<int>(m.slots.size());
    const int n = (rng() % 2 ? m.numitems : size) + (rng() % 6 == 0);
    std::vector<int> identity(n);
    std::iota(identity.begin(), identity.end(), 0);
    std::vector<int> order = identity;
    std::shuffle(order.begin(), order.end(), rng);
    if (n > 1 && rng() % 3 == 0) order[rng() % n] = order[rng() % n];
    if (n > 0 && rng() % 8 == 0) order[rng() % n] = n;
    for (int e : order) o.Add(e);
    if (!std::is_permutation(order.begin(), order.end(), identity.begin())) return -2;
    if (n != m.numitems && n != size) return -2;
    const std::vector<std::optional<T>> old(m.slots);
    for (int i = 0; i < n; i++) m.slots[i] = old[order[i]];
    return 0;
}

// One random operation on array `a` (model `m`); `b`/`mb` is a second array
// for the binary operations.
template <class A, class T>
void Step(std::mt19937& rng, A& a, Model<T>& m, A& b, Model<T>& mb) {
    static const char* const words[] = {"a", "b", "c", "", "long text"};
    const int size = static_cast<int>(m.slots.size());
    std::optional<T> v;
    if constexpr (isText<A>) {
        if (rng() % 6 != 0) v = words[rng() % 5];
    } else {
        v = static_cast<T>(rng() % 10);
    }
    const int n = static_cast<int>(rng() % 40) - 2, i = static_cast<int>(rng() % (size + 3)) - 1;
    switch (rng() % 16) {
    case 0:
    case 1:
    case 2:
        ASSERT_EQ(a.Add(Arg(v)), 0);
        Append<A>(m, v);
        break;
    case 3: {
        const int pos = static_cast<int>(rng() % (m.numitems + 3)) - 1;
        const bool ok = pos >= 0 && pos <= m.numitems;
        ASSERT_EQ(a.Insert(pos, Arg(v)), ok ? 0 : -2);
        if (!ok) break;
        Append<A>(m, v);
        std::rotate(m.slots.begin() + pos, m.slots.begin() + m.numitems - 1, m.slots.begin() + m.numitems);
        break;
    }
    case 4:
        ASSERT_EQ(a.Delete(i), Delete<A>(m, i));
        break;
    case 5:
        if (rng() % 4 == 0) {  // most sequences keep growing
            ASSERT_EQ(a.SetSize(n), (SetSize<A>(m, n)));
        }
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
        if (isText<A>) m.slots.assign(size, std::nullopt);  // texts are freed
        break;
    case 9:
        if constexpr (isText<A>) {
            ASSERT_EQ(a.SetString(i, Arg(v)), i >= 0 && i < size ? 0 : -2);
            if (i >= 0 && i < size) m.slots[i] = v;
        } else {
            a.FillWith(*v);
            std::fill(m.slots.begin(), m.slots.end(), v);
        }
        break;
    case 10:
        ASSERT_EQ(a.FillFrom(b), 0);
        std::copy_n(mb.slots.begin(), std::min(m.slots.size(), mb.slots.size()), m.slots.begin());
        break;
    case 11: {
        QEL_intArray o;
        const int expect = ChangeOrder(rng, m, o);
        ASSERT_EQ(a.ChangeOrder(o), expect);
        break;
    }
    case 12:
        if constexpr (!isText<A>) {
            const auto* block = b.Items();
            a.Swap(b);
            std::swap(m, mb);
            if (m.dynamic) {
                ASSERT_EQ(a.Items(), block);  // handed over, not copied
            }
        }
        break;
    case 13: {
        // Copies, and now and then an assignment (the source's size and step).
        A copy(b);
        ExpectSame(copy, Model<T>{mb.slots, mb.numitems, mb.slots.size() > size_t(inlineCapacity<A>), mb.delta});
        for (int k = 0; isText<A> && k < b.GetSize(); k++) {
            ASSERT_TRUE(!b[k] || b[k] != copy[k]);  // texts are owned, not shared
        }
        if (rng() % 3 != 0) break;
        a = b;
        if (!isText<A>) SetSize<A>(m, static_cast<int>(mb.slots.size()));
        m = Model<T>{mb.slots, mb.numitems, isText<A> ? false : m.dynamic, mb.delta};
        break;
    }
    case 14:
        if (rng() % 8 != 0) break;
        a.CleanUp();
        m = Model<T>();
        if (std::is_same<A, QEL_doubleArray>::value) {
            ASSERT_EQ(a.Items(), nullptr);  // the int array keeps its inline store
        }
        break;
    default:
        if (!isText<A> && std::any_of(m.slots.begin(), m.slots.begin() + m.numitems, [](auto& s) { return !s; })) {
            break;  // a list with undefined numbers cannot be searched
        }
        ASSERT_EQ(a.FindPosition(Arg(v)), Find(m, v));
        ASSERT_EQ(a.IsInList(Arg(v)), Find(m, v) >= 0 ? 1 : 0);
        ASSERT_EQ(a.DeleteByContent(Arg(v)), Find(m, v) >= 0 ? Delete<A>(m, Find(m, v)) : -2);
    }
}

// Texts start with a growth step of their own, the default for a step
// below one, or one that an initial size sets back to the default.
template <class A, class T>
void RunRandomSequences() {
    for (unsigned seed = 1; seed <= 40; seed++) {
        std::mt19937 rng(seed);
        const int initial = isText<A> && seed % 3 == 0 ? 5 : 0, growth = static_cast<int>(seed % 2) * 3;
        A a, b;
        if constexpr (isText<A>) a = A(initial, growth);  // takes the growth step too
        Model<T> ma{std::vector<std::optional<T>>(initial), 0, false, initial == 0 && growth > 0 ? growth : 10}, mb;
        for (int step = 0; step < 1500; step++) {
            if (rng() % 3 != 0) {
                Step(rng, a, ma, b, mb);
            } else {
                Step(rng, b, mb, a, ma);
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

TEST(ContainersArrays, IntArrayMatchesModel) { RunRandomSequences<QEL_intArray, int>(); }
TEST(ContainersArrays, DoubleArrayMatchesModel) { RunRandomSequences<QEL_doubleArray, double>(); }
TEST(ContainersArrays, StringArrayMatchesModel) { RunRandomSequences<QEL_stringArray, std::string>(); }

TEST(ContainersFastArray, MatchesVectorAndKeepsItsStoreRules) {
    using Array = fastarray<int, 4, int>;
    for (unsigned seed = 1; seed <= 30; seed++) {
        std::mt19937 rng(seed);
        Array a;
        std::vector<int> model;
        for (int step = 0; step < 800; step++) {
            const int v = static_cast<int>(rng() % 100), before = a.Capacity(), kind = static_cast<int>(rng() % 5);
            if (kind < 2) {
                a.Add(v);
                model.push_back(v);
            } else if (kind == 2) {
                const int n = static_cast<int>(rng() % 40) - 2, kept = std::min(std::max(n, 0), a.Count());
                a.SetCount(n);
                ASSERT_EQ(a.Capacity(), std::max(n, before));
                model.resize(std::max(n, 0));
                for (int i = kept; i < a.Count(); i++) a[i] = model[i] = v + i;
            } else if (kind == 3) {
                const int i = static_cast<int>(rng() % (model.size() + 2)) - 1;
                const bool ok = i >= 0 && i < static_cast<int>(model.size());
                ASSERT_EQ(a.Delete(i), ok);
                if (ok) model.erase(model.begin() + i);
                const auto it = std::find(model.begin(), model.end(), v);
                ASSERT_EQ(a.IndexOf(v), it == model.end() ? -1 : static_cast<int>(it - model.begin()));
            } else {
                Array copy(a), assigned;
                assigned = copy;
                assigned = assigned;
                if (!model.empty()) copy[0] = -1;  // must not reach `a`
                ASSERT_EQ(Ints(assigned.begin(), assigned.end()), model);
                if (rng() % 4 == 0) a.Clear(), model.clear();
            }
            ASSERT_EQ(Ints(a.begin(), a.end()), model);
            ASSERT_EQ(a.Count() ? a.Last() : -1, model.empty() ? -1 : model.back());
            ASSERT_GE(a.Capacity(), std::max(before, a.Count()));
            const char *p = reinterpret_cast<const char*>(a.Items()), *self = reinterpret_cast<const char*>(&a);
            ASSERT_EQ(p >= self && p < self + sizeof a, a.Capacity() == 4);
        }
    }
}

}  // namespace
