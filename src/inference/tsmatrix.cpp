// TsMatrix storage and the mapping between a clique and a subset of it.
//
// A matrix owns one array of doubles that only grows: re-initialising it with
// fewer cells keeps the block, so scratch matrices reused across cliques stop
// allocating once they have met the largest one. Cells are never cleared on
// the engine's behalf; callers fill what they use.
#include "orvil/tsmatrix.h"

#include <utility>

TsMatrix::~TsMatrix() { delete[] data; }

void TsMatrix::Init(const Coords& dimensions) {
    dims = dimensions;
    if (dims.count == 0) dims.Add(1);
    int32_t cells = 1;
    for (int i = 0; i < dims.count; ++i) cells *= dims.items[i];
    if (cells > capacity) {
        delete[] data;
        data = nullptr;
        capacity = 0;
        data = new double[cells];
        capacity = cells;
    }
    size = cells;
}

void TsMatrix::Swap(TsMatrix& other) {
    std::swap(data, other.data);
    std::swap(size, other.size);
    std::swap(capacity, other.capacity);
    std::swap(dims, other.dims);
}

void TsMatrix::Free() {
    delete[] data;
    data = nullptr;
    size = 0;
    capacity = 0;
    dims.count = 0;
}

double TsMatrix::Sum() const {
    double sum = 0.0;
    for (int32_t i = 0; i < size; ++i) sum += data[i];
    return sum;
}

void TsMatrix::Multiply(double factor) {
    for (int32_t i = 0; i < size; ++i) data[i] *= factor;
}

void TsMatrix::Fill(double v) {
    for (int32_t i = 0; i < size; ++i) data[i] = v;
}

void TsMatrix::CreateMapping(Mapping& mapping, const Coords& denseNodes,
                             const Coords& sparseNodes) const {
    int count = 0;
    int32_t insideProduct = 1;  // cells of the sparse side passed so far
    int next = 0;               // next sparse node to meet
    int i = 0;
    for (;;) {
        // A dimension of one cell never moves anything: it joins whatever run
        // it stands in, so runs stay maximal.
        while (i < denseNodes.count && dims.items[i] == 1) {
            if (next < sparseNodes.count && sparseNodes[next] == denseNodes[i]) ++next;
            ++i;
        }
        if (i >= denseNodes.count) break;
        const bool inside = next < sparseNodes.count && sparseNodes[next] == denseNodes[i];
        int32_t run = 1;
        while (i < denseNodes.count) {
            const bool member = next < sparseNodes.count && sparseNodes[next] == denseNodes[i];
            if (dims.items[i] != 1 && member != inside) break;
            run *= dims.items[i];
            if (member) ++next;
            ++i;
        }
        TsOdometer& e = mapping.entries[count++];
        e.counter = run - 1;
        e.reset = run - 1;
        if (inside) {
            e.step = 1;
            insideProduct *= run;
        } else {
            // Back to the first cell of the block the inner runs walked.
            e.step = 1 - insideProduct;
        }
        e.pad = 0;
    }
    if (count == 0) mapping.entries[count++] = TsOdometer{0, 0, 0, 0};
    mapping.entries[count++] = TsOdometer{-1, -1, 1 - insideProduct, 0};
    mapping.count = count;
}
