// The odometer walkers: the innermost loops of join-tree inference.
//
// Every combination of two potentials (copying a table into a clique,
// multiplying a message in, summing a clique onto a separator) is one walk:
// the dense side runs from start to end, and the strided side follows by the
// relative jumps of a TsOdometer array. The walk is arranged as blocks of
// entry 0 (the inner run) times entry 1, so that the carry, which is the only
// branchy part, runs once per block rather than once per run; short runs of
// two to five states are the common case in real networks, and get loops of
// fixed length. Each block is specialised for a strided step of 0 (a
// broadcast or a sum), 1 (two contiguous arrays) and anything else. Counters
// above entry 1 are counted down during the walk and reloaded at its end, so
// an odometer can be walked again at once.
#include "orvil/tsmatrix.h"

#include <cstddef>

namespace {

// The kernels. Each operation is a cell rule, Cell(dense cell, strided cell);
// Runs applies it to `runs` runs of `n` dense cells, back to back on the
// dense side, whose strided cells lie `step` apart within a run and whose
// first strided cells lie `hop` apart. The strided step is dispatched once
// per block, and runs of up to eight cells get a loop of fixed length that
// the compiler unrolls: most runs in real networks are two to five states.
template <int N, class Op, class D, class S>
inline void FixedRuns(const Op& op, D* __restrict d, S* __restrict s, int runs, int step, std::ptrdiff_t hop) {
    if (step == 1) {
        for (int j = 0; j < runs; ++j, d += N, s += hop) {
            for (int i = 0; i < N; ++i) op.Cell(d[i], s[i]);
        }
    } else if (step == 0) {
        for (int j = 0; j < runs; ++j, d += N, s += hop) {
            for (int i = 0; i < N; ++i) op.Cell(d[i], s[0]);
        }
    } else {
        for (int j = 0; j < runs; ++j, d += N, s += hop) {
            for (int i = 0; i < N; ++i) op.Cell(d[i], s[std::ptrdiff_t(i) * step]);
        }
    }
}

template <class Op, class D, class S>
inline void LongRuns(const Op& op, D* __restrict d, S* __restrict s, int n, int runs, int step, std::ptrdiff_t hop) {
    if (step == 1) {
        for (int j = 0; j < runs; ++j, d += n, s += hop) {
            for (int i = 0; i < n; ++i) op.Cell(d[i], s[i]);
        }
    } else if (step == 0) {
        for (int j = 0; j < runs; ++j, d += n, s += hop) {
            for (int i = 0; i < n; ++i) op.Cell(d[i], s[0]);
        }
    } else {
        for (int j = 0; j < runs; ++j, d += n, s += hop) {
            for (int i = 0; i < n; ++i) op.Cell(d[i], s[std::ptrdiff_t(i) * step]);
        }
    }
}

template <class Op, class D, class S>
inline void Runs(const Op& op, D* d, S* s, int n, int runs, int step, std::ptrdiff_t hop) {
    switch (n) {
        case 1: FixedRuns<1>(op, d, s, runs, step, hop); return;
        case 2: FixedRuns<2>(op, d, s, runs, step, hop); return;
        case 3: FixedRuns<3>(op, d, s, runs, step, hop); return;
        case 4: FixedRuns<4>(op, d, s, runs, step, hop); return;
        case 5: FixedRuns<5>(op, d, s, runs, step, hop); return;
        case 6: FixedRuns<6>(op, d, s, runs, step, hop); return;
        case 8: FixedRuns<8>(op, d, s, runs, step, hop); return;
        default: LongRuns(op, d, s, n, runs, step, hop); return;
    }
}

// The cell rules.
struct CopyOp {
    static void Cell(double& d, const double& s) { d = s; }
};

struct MultiplyOp {
    static void Cell(double& d, const double& s) { d *= s; }
};

struct MarginalizeOp {
    static void Cell(const double& d, double& s) { s += d; }
};

struct StencilOp {
    static void Cell(const double& d, double& s) { s = d; }
};

struct SumScaledOp {
    double factor;
    void Cell(const double& d, double& s) const { s += d * factor; }
};

// Sums into a strided side: the same runs, but a run whose strided side
// stands still adds into a register, in the order of the dense side, and up
// to four such runs (each with its own cell) are summed side by side so that
// no chain of additions waits on itself.
template <class Op>
struct SumRuns {
    Op op;

    template <int G>
    void SideBySide(const double* d, double* s, int n, std::ptrdiff_t hop) const {
        double acc[G];
        for (int g = 0; g < G; ++g) acc[g] = s[g * hop];
        for (int i = 0; i < n; ++i) {
            for (int g = 0; g < G; ++g) op.Cell(d[g * n + i], acc[g]);
        }
        for (int g = 0; g < G; ++g) s[g * hop] = acc[g];
    }

    void operator()(const double* d, double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        if (step != 0 || hop == 0) {
            Runs(op, d, s, n, runs, step, hop);
            return;
        }
        int j = 0;
        for (; j + 4 <= runs; j += 4, d += 4 * n, s += 4 * hop) SideBySide<4>(d, s, n, hop);
        if (runs - j == 3) SideBySide<3>(d, s, n, hop);
        if (runs - j == 2) SideBySide<2>(d, s, n, hop);
        if (runs - j == 1) SideBySide<1>(d, s, n, hop);
    }
};

// Builds and reads the potential: the dense side is written.
template <class Op>
struct FillRuns {
    Op op;
    void operator()(double* d, const double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        Runs(op, d, s, n, runs, step, hop);
    }
};

// The last dense cell of each strided cell wins: a run whose strided side
// stands still leaves only its last cell.
struct StencilRuns {
    void operator()(const double* d, double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        if (step == 0) {
            for (int j = 0; j < runs; ++j, d += n, s += hop) *s = d[n - 1];
            return;
        }
        Runs(StencilOp(), d, s, n, runs, step, hop);
    }
};

// Puts back the counters that a finished walk left at 0. At the end of a walk
// every entry below the sentinel has been counted down to 0, and the sentinel
// itself was never touched, so the first non-zero counter stops the loop.
void ReloadCounters(TsOdometer* odometer) {
    for (TsOdometer* e = odometer; e->counter == 0; ++e) e->counter = e->reset;
}

// Adds one carry above entry 1 and returns the step it yields.
inline std::ptrdiff_t CarryAboveBlock(TsOdometer* odometer) {
    TsOdometer* e = odometer + 2;
    while (e->counter == 0) {
        e->counter = e->reset;
        ++e;
    }
    --e->counter;
    return e->step;
}

// The walk itself. `D` is the dense cell type, `S` the strided one. The
// kernel gets one block (entry 0 times entry 1) at a time.
template <class Kernel, class D, class S>
inline void Walk(D* d, D* end, S* s, TsOdometer* odometer, const Kernel& kernel) {
    const int n0 = odometer[0].counter + 1;
    const int step0 = odometer[0].step;
    // A dense side that is a single run means entry 1 is the sentinel.
    if (end - d == n0) {
        kernel(d, s, n0, 1, step0, 0);
        return;
    }
    const int n1 = odometer[1].counter + 1;
    const std::ptrdiff_t tail = std::ptrdiff_t(n0 - 1) * step0;
    const std::ptrdiff_t hop = tail + odometer[1].step;
    const std::ptrdiff_t block = std::ptrdiff_t(n0) * n1;
    // Where the strided side stands after a block's last cell.
    const std::ptrdiff_t last = std::ptrdiff_t(n1 - 1) * hop + tail;
    for (;;) {
        kernel(d, s, n0, n1, step0, hop);
        d += block;
        if (d == end) break;
        s += last + CarryAboveBlock(odometer);
    }
    ReloadCounters(odometer + 2);
}

}  // namespace

void TsOdoCopy(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, FillRuns<CopyOp>());
}

void TsOdoMultiply(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, FillRuns<MultiplyOp>());
}

void TsOdoMarginalize(double* strided, const double* dense, const double* denseEnd,
                      TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, SumRuns<MarginalizeOp>());
}

void TsOdoStencil(double* strided, const double* dense, const double* denseEnd,
                  TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, StencilRuns());
}

void TsOdoSumDiv(double* strided, const double* dense, const double* denseEnd, double divisor,
                 TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, SumRuns<SumScaledOp>{SumScaledOp{1.0 / divisor}});
}

int TsSpinOdometer(TsOdometer* odometer) {
    TsOdometer* e = odometer + 1;
    while (e->counter == 0) {
        e->counter = e->reset;
        ++e;
    }
    --e->counter;
    return e->step;
}
