// The small-piece engine (see ts_enumeration.h).
//
// Options: maxWork. Structure: the unobserved nodes, the wanted ones and the
// cost, found before anything is allocated and given up as soon as the joint
// is too big, so that a piece sent on to the join tree costs next to nothing
// here. Evidence: a table is read as the join tree reads it
// (ts_table_steps.h). Kernel: each table multiplied into the joint through
// its offsets at every cell. Results: the marginals, summed straight off the
// joint and scaled to beliefs.
#include "inference/ts_enumeration.h"

#include <algorithm>

#include "inference/ts_table_steps.h"
#include "orvil/tsadapter.h"

TsEnumeration::TsEnumeration(TsAdapter& adapter, const bool* pending) : adapter(adapter) {
    const int n = adapter.GetNodeCount();
    placeOf.SetCount(n);
    for (int i = 0; i < n; ++i) {
        placeOf[i] = -1;
        tableCount += adapter.GetMatrix(i) != nullptr;
        if (adapter.GetEvidence(i) >= 0) continue;
        placeOf[i] = open.count;
        const int count = adapter.GetStateCount(i);
        if (!open.Add(i) || !states.Add(count)) {
            tooWide = true;
            return;
        }
        cells = std::min<uint64_t>(cells * uint64_t(std::max(count, 0)), maxWork + 1);
        // Too big to walk: the join tree takes it, and needs nothing from here.
        if (cells > maxWork) return;
        const int handle = adapter.GetNodeHandle(i);
        if (handle >= 0 && (pending != nullptr ? pending[handle] : adapter.IsTarget(i))) wanted.Add(i);
    }
}

bool TsEnumeration::Suits(uint64_t budget) const {
    const uint64_t operands = uint64_t(tableCount) + uint64_t(wanted.Count());
    // A node without states leaves no cell to sum; the join tree copes.
    return !tooWide && cells > 0 && cells <= budget && cells * operands <= maxWork;
}

bool TsEnumeration::UpdateBeliefs(bool* pending) {
    if (wanted.IsEmpty()) return true;
    fastarray<double, 256, int> joint{int(cells)};
    joint.Fill(1.0);
    fastarray<int32_t, 256, int> at{int(cells)};
    int64_t steps[TsMatrix::maxDims];
    for (int i = 0; i < adapter.GetNodeCount(); ++i) {
        if (adapter.GetMatrix(i) == nullptr) continue;
        const double* first =
            TsTableSteps(adapter, i, [this](int member) { return placeOf[member]; }, open.count, steps);
        Offsets(steps, at.Items());
        MultiplyIn(first, at.Items(), joint.Items());
    }
    double total = 0.0;
    for (double cell : joint) total += cell;
    if (total == 0.0) return false;
    const double scale = 1.0 / total;
    for (int node : wanted) {
        if (pending != nullptr) pending[adapter.GetNodeHandle(node)] = false;
        double* beliefs = adapter.GetBeliefs(node);
        if (beliefs == nullptr) continue;
        Marginal(joint.Items(), placeOf[node], beliefs);
        for (int s = 0; s < adapter.GetStateCount(node); ++s) beliefs[s] *= scale;
        adapter.SetValueValid(node);
    }
    return true;
}

void TsEnumeration::Offsets(const int64_t* steps, int32_t* at) const {
    // The joint runs its first unobserved node fastest: each node repeats
    // the offsets so far once per further state, moved by its step.
    at[0] = 0;
    int32_t length = 1;
    for (int k = 0; k < open.count; ++k) {
        for (int32_t s = 1; s < states[k]; ++s) {
            const int32_t shift = int32_t(s * steps[k]);
            int32_t* out = at + s * length;
            for (int32_t j = 0; j < length; ++j) out[j] = at[j] + shift;
        }
        length *= states[k];
    }
}

void TsEnumeration::MultiplyIn(const double* table, const int32_t* at, double* joint) const {
    const int32_t size = int32_t(cells);
    for (int32_t c = 0; c < size; ++c) joint[c] *= table[at[c]];
}

void TsEnumeration::Marginal(const double* joint, int place, double* out) const {
    int32_t run = 1;  // cells per state of the node, consecutive
    for (int k = 0; k < place; ++k) run *= states[k];
    const int32_t count = states[place];
    const int32_t size = int32_t(cells);
    for (int32_t s = 0; s < count; ++s) {
        double sum = 0.0;
        for (int32_t block = s * run; block < size; block += run * count) {
            for (int32_t j = 0; j < run; ++j) sum += joint[block + j];
        }
        out[s] = sum;
    }
}
