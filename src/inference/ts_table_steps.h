// Where a potential, laid out over some of a piece's nodes, finds its cells
// in a node's table: the one rule the join tree's cliques and the small-piece
// engine both read tables by.
#ifndef ORVIL_INFERENCE_TS_TABLE_STEPS_H
#define ORVIL_INFERENCE_TS_TABLE_STEPS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "orvil/dmatrix.h"
#include "orvil/fastarray.h"
#include "orvil/tsadapter.h"

// Fills steps[0 .. width) with the step of the table of `node` along each
// dimension of the potential, and returns the table cell at the potential's
// first cell. `placeOf(member)` gives the dimension of a family member, or
// -1 when the member is observed: the table is then read at its observed
// slice. A parent outside the piece stays at coordinate 0.
template <class PlaceOf>
const double* TsTableSteps(const TsAdapter& adapter, int node, PlaceOf placeOf, int width, int64_t* steps) {
    fastarray<int, 24, int> family;
    adapter.GetParents(node, family);
    family.Add(node);
    const QEL_Dmatrix& table = *adapter.GetMatrix(node);
    const int* tableStrides = table.GetPreProduct().Items();
    const double* first = table.GetItems().Items();
    std::fill(steps, steps + width, 0);
    for (int f = 0; f < family.Count(); ++f) {
        const int member = family[f];
        if (member < 0) continue;
        const int at = placeOf(member);
        if (at >= 0) {
            steps[at] = tableStrides[f];
            continue;
        }
        const int observed = adapter.GetEvidence(member);
        if (observed > 0) first += std::ptrdiff_t(observed) * tableStrides[f];
    }
    return first;
}

#endif
