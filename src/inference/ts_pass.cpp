// Chunked multi-operand passes (see ts_pass.h) and the odometer builder that
// every walk of the join tree shares.
#include "inference/ts_pass.h"

#include "inference/ts_side_thread.h"

namespace {

// Passes of fewer cells run whole: below this, handing half to the helper
// costs about what it saves.
const int64_t kSplitCells = int64_t(1) << 17;

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

// Moves a freshly built outer odometer, all of whose counters stand at their
// reset values, to chunk `index`, and returns how far that moves its operand.
// A merged entry walks like a single dimension, whose stride is its step
// plus the rewinds of the entries below it.
std::ptrdiff_t Seek(TsOdometer* odometer, int64_t index) {
    std::ptrdiff_t offset = 0;
    int64_t below = 0;  // where the entries passed so far stand at their last state
    for (TsOdometer* e = odometer; index > 0; ++e) {
        const int64_t states = int64_t(e->reset) + 1;
        const int64_t stride = e->step + below;
        const int64_t digit = index % states;
        index /= states;
        e->counter = int32_t(e->reset - digit);
        offset += digit * stride;
        below += e->reset * stride;
    }
    return offset;
}

// One past the last cell that non-negative strides can reach. Like the
// odometers, it reads no stride of a one-state dimension, which a caller
// need not fill (Begin adds one to a potential without dimensions).
int64_t Extent(const TsMatrix::Coords& dims, const int64_t* strides) {
    int64_t last = 0;
    for (int i = 0; i < dims.count; ++i) {
        if (dims[i] > 1) last += int64_t(dims[i] - 1) * strides[i];
    }
    return last + 1;
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
    top = -1;
    for (int i = split; i < dims.count; ++i) {
        chunks *= dims[i];
        if (dims[i] > 1) top = i;
    }
    if (buffer.size() < size_t(chunk)) buffer.resize(size_t(chunk));
}

TsPass::Operand& TsPass::Next(Kind kind, const int64_t* strides) {
    if (count == int(operands.size())) operands.emplace_back();
    Operand& op = operands[size_t(count++)];
    op.kind = kind;
    op.source = nullptr;
    op.target = nullptr;
    op.offset = 0;
    op.extent = strides != nullptr ? Extent(dims, strides) : 0;
    op.topStride = strides != nullptr && top >= 0 ? strides[top] : 0;
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
    if (WorthSplitting()) {
        RunSplit();
        return;
    }
    RunRange(operands.data(), buffer.data(), 0, chunks);
}

bool TsPass::WorthSplitting() const {
    const int64_t cells = int64_t(chunk) * chunks;
    if (chunks < 2 || cells < kSplitCells) return false;
    int64_t sums = 0;
    for (int k = 0; k < count; ++k) {
        const Operand& op = operands[size_t(k)];
        // A copy's cells would have to be handed back one by one.
        if (op.kind == copyInto) return false;
        sums += SideCells(op);
    }
    // The side copies are zeroed and added back: cheap only next to the sweep.
    return sums * 4 <= cells;
}

int64_t TsPass::SideCells(const Operand& op) const {
    if (op.kind != sumInto && op.kind != sumTotal) return 0;
    // A target that runs along the top dimension takes its cells from the
    // halves apart, but for the one slice of that dimension the middle chunk
    // may cut: only that slice needs a copy. It is contiguous, since the top
    // dimension is the target's slowest too.
    return op.topStride != 0 ? op.topStride : op.extent;
}

void TsPass::RunSplit() {
    middle = chunks / 2;
    const int32_t place = chunks / dims[top];  // chunks per step of the top dimension
    cut = middle / place;                       // the top state the middle chunk falls in
    shared = (cut + 1) * place;                 // where the side half leaves that state
    size_t cells = 0;
    for (int k = 0; k < count; ++k) cells += size_t(SideCells(operands[size_t(k)]));
    sideSums.assign(cells, 0.0);
    if (sideBuffer.size() < size_t(chunk)) sideBuffer.resize(size_t(chunk));
    sideOperands.assign(operands.begin(), operands.begin() + count);
    double* side = sideSums.data();
    for (Operand& op : sideOperands) {
        if (op.kind != fillOne) op.offset = Seek(op.outer, middle);
        if (SideCells(op) == 0) continue;
        // The shared slice lands at the start of its copy.
        if (op.topStride != 0) op.offset -= cut * op.topStride;
        op.target = side;
        side += SideCells(op);
    }
    TsRunBeside(RunSideHalf, this, RunFirstHalf, this);
    AddSideSums();
}

void TsPass::AddSideSums() {
    const double* side = sideSums.data();
    for (int k = 0; k < count; ++k) {
        const Operand& op = operands[size_t(k)];
        const int64_t cells = SideCells(op);
        if (cells == 0) continue;
        double* target = op.target + (op.topStride != 0 ? cut * op.topStride : 0);
        for (int64_t i = 0; i < cells; ++i) target[i] += side[i];
        side += cells;
    }
}

void TsPass::RunFirstHalf(void* pass) {
    TsPass& p = *static_cast<TsPass*>(pass);
    p.RunRange(p.operands.data(), p.buffer.data(), 0, p.middle);
}

void TsPass::RunSideHalf(void* pass) {
    TsPass& p = *static_cast<TsPass*>(pass);
    Operand* ops = p.sideOperands.data();
    p.RunRange(ops, p.sideBuffer.data(), p.middle, p.shared);
    if (p.shared == p.chunks) return;
    // Past the shared slice, targets along the top dimension take their own
    // cells again.
    for (int k = 0; k < p.count; ++k) {
        Operand& op = ops[k];
        if (op.topStride == 0 || p.SideCells(op) == 0) continue;
        op.offset += p.cut * op.topStride;
        op.target = p.operands[size_t(k)].target;
    }
    p.RunRange(ops, p.sideBuffer.data(), p.shared, p.chunks);
}

void TsPass::RunRange(Operand* ops, double* start, int32_t first, int32_t last) const {
    double* stop = start + chunk;
    for (int32_t c = first; c < last; ++c) {
        bool totalTaken = false;
        double total = 0.0;
        for (int k = 0; k < count; ++k) {
            Operand& op = ops[k];
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
        // A range that stops short of the end leaves its odometers on the
        // next chunk, where a following range takes them up.
        if (c + 1 == chunks) break;
        for (int k = 0; k < count; ++k) {
            Operand& op = ops[k];
            if (op.kind != fillOne) op.offset += NextChunk(op.outer);
        }
    }
}
