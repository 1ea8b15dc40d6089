// Outcomes that cannot happen, taken out of every table before an engine
// sees them.
//
// Models with many zero cells (deterministic stages, impossible combinations
// of causes) carry outcomes that no configuration of positive probability
// uses, with or without evidence: a state of a node is impossible when, in
// some table over it, every cell at that state is 0 once the other members
// of the family are held to their own possible states. Removing a state can
// make others impossible in turn, so the search runs to a fixed point over a
// work list of tables. Every removed state has probability exactly 0 given
// the evidence, so the tables cut down to the rest describe the same
// posterior over what is left, while cliques shrink by the product of the
// states their members lost: models of processes in stages often lose most
// of their state space this way.
//
// A table without any zero cell cannot rule anything out and is never
// scanned again after the first look. An observed node keeps its own
// dimension (its evidence indexes it), and so does a record without a node;
// both still rule out states of their parents. When a node would be left
// with no possible state the evidence is impossible: nothing is changed,
// and the engines find and report it as before.
#include <cstddef>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/intarray.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"

namespace {

// States listed per dimension of one table, back to back: dimension d owns
// states[start[d] .. start[d + 1]), with a flag per listed state.
struct Listing {
    std::vector<int> start;
    std::vector<int> states;
    std::vector<char> flags;

    void Clear() {
        start.assign(1, 0);
        states.clear();
    }
    void Close() { start.push_back(int(states.size())); }
    int Dims() const { return int(start.size()) - 1; }
    int Size(int d) const { return start[size_t(d) + 1] - start[size_t(d)]; }
    const int* Of(int d) const { return states.data() + start[size_t(d)]; }
};

// Walks the cells of a table at the listed states of every dimension but
// `held`, last dimension fastest, calling visit(offset, positions within the
// lists) until it returns false; the result tells whether it did. The held
// dimension stays at its listed state number `k`, or adds nothing when `k`
// is negative (the walk then visits the start of each run along it).
template <class Visit>
bool WalkListed(const QEL_Dmatrix& table, const Listing& listed, int held, int k, std::vector<int>& at,
                Visit visit) {
    const int dims = listed.Dims();
    const QEL_intArray& strides = table.GetPreProduct();
    at.resize(size_t(dims));
    int offset = 0;
    for (int d = 0; d < dims; ++d) {
        at[size_t(d)] = 0;
        if (listed.Size(d) == 0) return false;
        if (d != held) offset += listed.Of(d)[0] * strides.Subscript(d);
    }
    if (k >= 0) offset += listed.Of(held)[k] * strides.Subscript(held);
    for (;;) {
        if (!visit(offset, at.data())) return true;
        int d = dims - 1;
        for (; d >= 0; --d) {
            if (d == held) continue;
            const int* list = listed.Of(d);
            int& position = at[size_t(d)];
            if (position + 1 < listed.Size(d)) {
                offset += (list[position + 1] - list[position]) * strides.Subscript(d);
                ++position;
                break;
            }
            offset -= (list[position] - list[0]) * strides.Subscript(d);
            position = 0;
        }
        if (d < 0) return false;
    }
}

class StateShrinker {
public:
    explicit StateShrinker(QEL_rNetwork& master) : master(master) {}

    // False when some table does not fit its family, or when the evidence
    // leaves a node no possible state: the records are then left as they were.
    bool Run();

private:
    bool Prepare();
    bool Propagate();
    // Lists the states each dimension of `index`'s table is read at: the
    // possible states of each member, all of them along a fixed record's
    // own dimension when `whole` (reshaping), its evidence otherwise.
    void List(int index, bool whole);
    // Rules out the states of `index`'s family that no positive cell of its
    // table supports; false when a family member is left with none.
    bool Scan(int index);
    bool AnyPositive(const QEL_Dmatrix& table, int slice, int k);
    void Restrict(int member, int d);
    void Enqueue(int slot);
    bool FamilyShrank(int index) const;
    void Reshape(int index);
    int Slot(const QEL_rNode* record) const { return slotOf[size_t(record->pool->IndexOf(record))]; }
    char& Possible(int member, int state) { return possible[size_t(first[size_t(member)] + state)]; }
    int States(int member) const { return first[size_t(member) + 1] - first[size_t(member)]; }

    QEL_rNetwork& master;
    std::vector<int> slotOf;    // pool position -> place in master.nodes
    std::vector<int> first;     // the states of record i: possible[first[i] .. first[i + 1])
    std::vector<char> possible;
    std::vector<int> count;     // possible states left per record
    std::vector<char> fixed;    // observed, or without a node: its own dimension stays whole
    std::vector<char> hasZero;
    std::vector<char> queued;
    std::vector<int> work;
    bool anyRuledOut = false;
    std::vector<int> members;   // the family being scanned, its own record last
    Listing listed;
    std::vector<int> at;
};

bool AnyZero(const QEL_Dmatrix& table) {
    const double* cells = table.GetItems().Items();
    for (int i = 0; i < table.GetSize(); ++i) {
        if (cells[i] == 0.0) return true;
    }
    return false;
}

bool StateShrinker::Run() {
    if (!Prepare() || !Propagate()) return false;
    if (!anyRuledOut) return true;
    for (int i = 0; i < master.nodes.Count(); ++i) {
        if (FamilyShrank(i)) Reshape(i);
    }
    return true;
}

bool StateShrinker::FamilyShrank(int index) const {
    const QEL_rNode* record = master.nodes[index];
    if (fixed[size_t(index)] == 0 && count[size_t(index)] < States(index)) return true;
    for (const QEL_rNode* parent : record->parents) {
        const int member = Slot(parent);
        if (fixed[size_t(member)] == 0 && count[size_t(member)] < States(member)) return true;
    }
    return false;
}

bool StateShrinker::Prepare() {
    const int n = master.nodes.Count();
    if (n == 0) return false;
    slotOf.assign(size_t(master.nodes[0]->pool->GetNumberMade()), -1);
    first.assign(1, 0);
    count.resize(size_t(n));
    fixed.resize(size_t(n));
    hasZero.resize(size_t(n));
    queued.assign(size_t(n), 0);
    for (int i = 0; i < n; ++i) {
        QEL_rNode* record = master.nodes[i];
        if (!record->Table_Fits_Parents()) return false;
        slotOf[size_t(record->pool->IndexOf(record))] = i;
        const int states = record->Get_Num_of_States();
        first.push_back(first.back() + states);
        fixed[size_t(i)] = record->evidence >= 0 || record->node == nullptr ? 1 : 0;
        count[size_t(i)] = fixed[size_t(i)] != 0 ? 1 : states;
        hasZero[size_t(i)] = AnyZero(*record->table) ? 1 : 0;
        Enqueue(i);
    }
    possible.assign(size_t(first.back()), 1);
    for (int i = 0; i < n; ++i) {
        if (fixed[size_t(i)] == 0) continue;
        const int evidence = master.nodes[i]->evidence;
        for (int s = 0; s < States(i); ++s) Possible(i, s) = s == evidence ? 1 : 0;
    }
    for (const QEL_rNode* record : master.nodes) {
        for (const QEL_rNode* parent : record->parents) {
            if (parent->pool != record->pool || Slot(parent) < 0) return false;
        }
    }
    return true;
}

void StateShrinker::Enqueue(int slot) {
    if (slot < 0 || hasZero[size_t(slot)] == 0 || queued[size_t(slot)] != 0) return;
    queued[size_t(slot)] = 1;
    work.push_back(slot);
}

// First in, first out: a table waits until the changes queued before it
// have been seen, so that one scan takes in many of them.
bool StateShrinker::Propagate() {
    for (size_t head = 0; head < work.size(); ++head) {
        const int next = work[head];
        queued[size_t(next)] = 0;
        if (!Scan(next)) return false;
    }
    return true;
}

void StateShrinker::List(int index, bool whole) {
    const QEL_rNode* record = master.nodes[index];
    members.clear();
    for (const QEL_rNode* parent : record->parents) members.push_back(Slot(parent));
    members.push_back(index);
    listed.Clear();
    for (size_t d = 0; d < members.size(); ++d) {
        const int member = members[d];
        // A record without a node has one state, whatever its evidence says.
        const bool all = fixed[size_t(member)] != 0 && (whole || master.nodes[member]->node == nullptr);
        for (int s = 0; s < States(member); ++s) {
            if (all || Possible(member, s) != 0) listed.states.push_back(s);
        }
        listed.Close();
    }
}

bool StateShrinker::Scan(int index) {
    List(index, false);
    const int own = listed.Dims() - 1;
    listed.flags.assign(listed.states.size(), 1);
    const QEL_Dmatrix& table = *master.nodes[index]->table;
    for (int d = 0; d <= own; ++d) {
        const int member = members[size_t(d)];
        if (fixed[size_t(member)] != 0) continue;
        bool ruledOut = false;
        for (int k = 0; k < listed.Size(d); ++k) {
            if (AnyPositive(table, d, k)) continue;
            listed.flags[size_t(listed.start[size_t(d)] + k)] = 0;
            ruledOut = true;
        }
        if (!ruledOut) continue;
        Restrict(member, d);
        if (count[size_t(member)] == 0) return false;
    }
    return true;
}

// Looks for a positive cell in the slice of the table where dimension
// `slice` is at its listed state number `k`, over the listed states of the
// other dimensions. Where a state is possible, one turns up within the first
// few cells, so a scan costs little more than a look per listed state; only
// a state about to be ruled out costs its whole slice.
bool StateShrinker::AnyPositive(const QEL_Dmatrix& table, int slice, int k) {
    const double* cells = table.GetItems().Items();
    return WalkListed(table, listed, slice, k, at, [cells](int offset, const int*) { return cells[offset] == 0.0; });
}

// Takes away the listed states of dimension `d` (of `member`) that the
// scan flagged as without support.
void StateShrinker::Restrict(int member, int d) {
    bool changed = false;
    for (int k = listed.start[size_t(d)]; k < listed.start[size_t(d) + 1]; ++k) {
        if (listed.flags[size_t(k)] != 0) continue;
        Possible(member, listed.states[size_t(k)]) = 0;
        --count[size_t(member)];
        changed = true;
    }
    if (!changed) return;
    anyRuledOut = true;
    // Every table over the member can now rule out more.
    Enqueue(member);
    for (const QEL_rNode* child : master.nodes[member]->children) Enqueue(Slot(child));
}

void StateShrinker::Reshape(int index) {
    List(index, true);
    const int own = listed.Dims() - 1;
    bool smaller = false;
    QEL_intArray dims;
    for (int d = 0; d <= own; ++d) {
        smaller = smaller || listed.Size(d) < States(members[size_t(d)]);
        dims.Add(listed.Size(d));
    }
    if (!smaller) return;
    QEL_rNode* record = master.nodes[index];
    auto* cut = new QEL_Dmatrix(dims);
    double* out = &(*cut)[0];
    const double* cells = record->table->GetItems().Items();
    const int* ownStates = listed.Of(own);
    const int ownCount = listed.Size(own);
    WalkListed(*record->table, listed, own, -1, at, [&](int offset, const int*) {
        for (int k = 0; k < ownCount; ++k) *out++ = cells[offset + ownStates[k]];
        return true;
    });
    record->Set_Probabilities_Table(cut);
    if (ownCount < States(index)) {
        record->keptStates.Clear();
        for (int k = 0; k < ownCount; ++k) record->keptStates.Add(ownStates[k]);
    }
}

}  // namespace

void Shrink_States(QEL_rNetwork& master) {
    StateShrinker shrinker(master);
    shrinker.Run();
}
