// Chunked multi-operand passes (see ts_pass.h) and the odometer builder that
// every walk of the join tree shares.
#include "inference/ts_pass.h"

namespace {

// Cells per chunk to aim for: a chunk and the operand cells it touches
// should stay in the first-level cache.
const int32_t kChunkCells = 512;

// The sum of `n` cells, in four interleaved partial sums.
double ChunkTotal(const double* d, int32_t n) {
    double a0 = 0.0;
    double a1 = 0.0;
    double a2 = 0.0;
    double a3 = 0.0;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        a0 += d[i];
        a1 += d[i + 1];
        a2 += d[i + 2];
        a3 += d[i + 3];
    }
    for (; i < n; ++i) a0 += d[i];
    return (a0 + a1) + (a2 + a3);
}

// Advances to the next chunk: the carry starts at entry 0, since each chunk
// is one step of the outer odometer.
inline std::ptrdiff_t NextChunk(TsOdometer* odometer) {
    TsOdometer* e = odometer;
    while (e->counter == 0) {
        e->counter = e->reset;
        ++e;
    }
    --e->counter;
    return e->step;
}

}  // namespace

void TsBuildOdometer(const int32_t* sizes, const int64_t* strides, int from, int to,
                     TsOdometer* odometer) {
    int count = 0;
    int64_t rewind = 0;  // how far the dimensions passed so far moved the operand
    for (int i = from; i < to; ++i) {
        const int32_t states = sizes[i];
        if (states == 1) continue;
        const int64_t step = strides[i] + rewind;
        rewind += int64_t(1 - states) * strides[i];
        // Neighbouring entries with one step move alike and walk as one.
        if (count > 0 && odometer[count - 1].step == step) {
            TsOdometer& e = odometer[count - 1];
            e.counter = (e.counter + 1) * states - 1;
            e.reset = e.counter;
        } else {
            odometer[count++] = TsOdometer{states - 1, states - 1, int32_t(step), 0};
        }
    }
    if (count == 0) odometer[count++] = TsOdometer{0, 0, 0, 0};
    odometer[count] = TsOdometer{1, 1, 0, 0};
}

void TsPass::Begin(const TsMatrix::Coords& sizes) {
    dims = sizes;
    if (dims.count == 0) dims.Add(1);
    count = 0;
    split = 0;
    chunk = 1;
    while (split < dims.count && chunk < kChunkCells) chunk *= dims[split++];
    chunks = 1;
    for (int i = split; i < dims.count; ++i) chunks *= dims[i];
    if (buffer.size() < size_t(chunk)) buffer.resize(size_t(chunk));
}

TsPass::Operand& TsPass::Next(Kind kind, const int64_t* strides) {
    if (count == int(operands.size())) operands.emplace_back();
    Operand& op = operands[size_t(count++)];
    op.kind = kind;
    op.source = nullptr;
    op.target = nullptr;
    op.offset = 0;
    if (strides != nullptr) {
        TsBuildOdometer(dims.items, strides, 0, split, op.inner);
        TsBuildOdometer(dims.items, strides, split, dims.count, op.outer);
    }
    return op;
}

void TsPass::Add(Kind kind, const double* base, const int64_t* strides) {
    Next(kind, strides).source = base;
}

void TsPass::AddTarget(Kind kind, double* base, const int64_t* strides) {
    Operand& op = Next(kind, strides);
    op.target = base;
    if (kind == sumInto && op.inner[0].step == 0 && op.inner[0].counter + 1 == chunk) op.kind = sumTotal;
}

void TsPass::AddFill() { Next(fillOne, nullptr); }

void TsPass::Run() {
    double* start = buffer.data();
    double* stop = start + chunk;
    for (int32_t c = 0; c < chunks; ++c) {
        bool totalTaken = false;
        double total = 0.0;
        for (int k = 0; k < count; ++k) {
            Operand& op = operands[size_t(k)];
            switch (op.kind) {
                case copyFrom:
                    TsOdoCopy(start, stop, op.source + op.offset, op.inner);
                    break;
                case multiplyBy:
                    TsOdoMultiply(start, stop, op.source + op.offset, op.inner);
                    break;
                case sumInto:
                    TsOdoMarginalize(op.target + op.offset, start, stop, op.inner);
                    break;
                case copyInto:
                    TsOdoStencil(op.target + op.offset, start, stop, op.inner);
                    break;
                case fillOne:
                    for (double* d = start; d < stop; ++d) *d = 1.0;
                    break;
                case sumTotal:
                    if (!totalTaken) {
                        total = ChunkTotal(start, chunk);
                        totalTaken = true;
                    }
                    op.target[op.offset] += total;
                    break;
            }
        }
        if (c + 1 == chunks) break;
        for (int k = 0; k < count; ++k) {
            Operand& op = operands[size_t(k)];
            if (op.kind != fillOne) op.offset += NextChunk(op.outer);
        }
    }
}
