// Sums of two-factor products as batches of matrix products (see
// ts_contraction.h): the plan that sorts the dimensions into groups, the
// packing walks, and the two multiplication kernels.
#include "inference/ts_contraction.h"

#include <algorithm>
#include <cstddef>

namespace {

// Below this many cells a clique is cheaper to build than to plan for.
const int64_t kMinCells = 256;

// From this many cells on, a pass is cut in two and shared with the helper
// thread (ts_pass.h); the product, on one thread, was slower than that on
// the largest cliques of the shared networks.
const int64_t kMaxCells = int64_t(1) << 17;

// Results narrower than this are taken as dot products: a row this short
// leaves the multiply-add loop nothing to run along.
const int64_t kMinRow = 4;

enum { operandA = 0, operandB = 1, operandTarget = 2 };

}  // namespace

void TsContraction::Group::Add(int32_t size, int64_t a, int64_t b, int64_t target) {
    sizes[count] = size;
    strides[operandA][count] = a;
    strides[operandB][count] = b;
    strides[operandTarget][count] = target;
    ++count;
    cells *= size;
}

void TsContraction::Walk::Append(const Group& group, int operand) {
    for (int i = 0; i < group.count; ++i) {
        sizes[count] = group.sizes[i];
        strides[count] = group.strides[operand][i];
        ++count;
    }
}

bool TsContraction::Plan(const TsMatrix::Coords& dims, const int64_t* aStrides, const int64_t* bStrides,
                         const int64_t* targetStrides) {
    batch = Group();
    outer = Group();
    inner = Group();
    summed = Group();
    // Last dimension first: the clique's first dimension runs fastest, so it
    // ends up innermost in every group.
    for (int i = dims.count - 1; i >= 0; --i) {
        if (dims[i] == 1) continue;
        const bool inA = aStrides[i] != 0;
        const bool inB = bStrides[i] != 0;
        Group* group = &summed;
        if (targetStrides[i] != 0) {
            // A separator node neither factor holds repeats the same sums:
            // it rides along in the batch, read at stride 0 by both.
            group = inA == inB ? &batch : inA ? &outer : &inner;
        }
        group->Add(dims[i], aStrides[i], bStrides[i], targetStrides[i]);
    }
    const int64_t cells = batch.cells * outer.cells * inner.cells * summed.cells;
    if (cells < kMinCells || cells >= kMaxCells || summed.cells < 2) return false;
    swapped = outer.cells > inner.cells;
    if (swapped) std::swap(outer, inner);
    const int64_t packed = batch.cells * summed.cells * (outer.cells + inner.cells);
    const int64_t results = batch.cells * outer.cells * inner.cells;
    // A pass spends about three steps per clique cell; packing and adding
    // the result in must leave a clear gain.
    if (packed + results > cells) return false;
    dots = inner.cells < kMinRow;
    const int first = swapped ? operandB : operandA;
    const int second = swapped ? operandA : operandB;
    packFirst = Walk();
    packFirst.Append(batch, first);
    packFirst.Append(outer, first);
    packFirst.Append(summed, first);
    packSecond = Walk();
    packSecond.Append(batch, second);
    packSecond.Append(dots ? inner : summed, second);
    packSecond.Append(dots ? summed : inner, second);
    spread = Walk();
    spread.Append(batch, operandTarget);
    spread.Append(outer, operandTarget);
    spread.Append(inner, operandTarget);
    return true;
}

void TsContraction::Run(const double* a, const double* b, double* target) {
    first.resize(size_t(batch.cells * outer.cells * summed.cells));
    second.resize(size_t(batch.cells * summed.cells * inner.cells));
    result.resize(size_t(batch.cells * outer.cells * inner.cells));
    Gather(first.data(), swapped ? b : a, packFirst);
    Gather(second.data(), swapped ? a : b, packSecond);
    if (dots) {
        MultiplyDots();
    } else {
        MultiplyRows();
    }
    AddInto(target, result.data(), spread);
}

template <class Visit>
void TsContraction::ForEachCell(const Walk& walk, Visit visit) {
    if (walk.count == 0) {
        visit(0);
        return;
    }
    const int last = walk.count - 1;
    const int32_t n = walk.sizes[last];
    const int64_t step = walk.strides[last];
    int32_t counters[TsMatrix::maxDims] = {};
    std::ptrdiff_t offset = 0;
    for (;;) {
        std::ptrdiff_t cell = offset;
        for (int32_t i = 0; i < n; ++i, cell += step) visit(cell);
        int d = last - 1;
        for (; d >= 0; --d) {
            offset += walk.strides[d];
            if (++counters[d] < walk.sizes[d]) break;
            offset -= walk.strides[d] * walk.sizes[d];
            counters[d] = 0;
        }
        if (d < 0) return;
    }
}

void TsContraction::Gather(double* out, const double* in, const Walk& walk) {
    ForEachCell(walk, [&out, in](std::ptrdiff_t cell) { *out++ = in[cell]; });
}

void TsContraction::AddInto(double* target, const double* in, const Walk& walk) {
    ForEachCell(walk, [target, &in](std::ptrdiff_t cell) { target[cell] += *in++; });
}

void TsContraction::MultiplyRows() {
    const int64_t rows = outer.cells;
    const int64_t width = inner.cells;
    const int64_t depth = summed.cells;
    double* __restrict row = result.data();
    const double* p = first.data();
    for (int64_t t = 0; t < batch.cells; ++t) {
        const double* q0 = second.data() + t * depth * width;
        for (int64_t o = 0; o < rows; ++o, row += width, p += depth) {
            std::fill(row, row + width, 0.0);
            const double* __restrict q = q0;
            for (int64_t k = 0; k < depth; ++k, q += width) {
                const double pk = p[k];
                // Zero cells are common where evidence rules states out;
                // skipping them changes no sum.
                if (pk == 0.0) continue;
                for (int64_t j = 0; j < width; ++j) row[j] += pk * q[j];
            }
        }
    }
}

void TsContraction::MultiplyDots() {
    const int64_t rows = outer.cells;
    const int64_t width = inner.cells;
    const int64_t depth = summed.cells;
    double* out = result.data();
    const double* p = first.data();
    for (int64_t t = 0; t < batch.cells; ++t) {
        const double* q0 = second.data() + t * width * depth;
        for (int64_t o = 0; o < rows; ++o, p += depth) {
            const double* q = q0;
            for (int64_t j = 0; j < width; ++j, q += depth) {
                // Four partial sums, so that no addition waits on the last.
                double s0 = 0.0;
                double s1 = 0.0;
                double s2 = 0.0;
                double s3 = 0.0;
                int64_t k = 0;
                for (; k + 4 <= depth; k += 4) {
                    s0 += p[k] * q[k];
                    s1 += p[k + 1] * q[k + 1];
                    s2 += p[k + 2] * q[k + 2];
                    s3 += p[k + 3] * q[k + 3];
                }
                for (; k < depth; ++k) s0 += p[k] * q[k];
                *out++ = (s0 + s1) + (s2 + s3);
            }
        }
    }
}
