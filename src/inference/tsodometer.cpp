// The odometer walkers: the innermost loops of join-tree inference.
//
// Every combination of two potentials (copying a table into a clique,
// multiplying a message in, summing a clique onto a separator) is one walk:
// the dense side runs from start to end, and the strided side follows by the
// relative jumps of a TsOdometer array. The walk is arranged as blocks of
// entry 0 (the inner run) times entry 1, so that the carry, which is the only
// branchy part, runs once per block rather than once per run; short runs of
// two or three states are the common case in real networks. Each run kernel
// is specialised for a strided step of 0 (a broadcast or a sum), 1 (two
// contiguous arrays) and anything else. Counters above entry 1 are counted
// down during the walk and reloaded at its end, so an odometer can be walked
// again at once.
#include "orvil/tsmatrix.h"

// The run kernels are plain loops over contiguous doubles, written so that
// the compiler can vectorise them; its default level here does not.
#pragma GCC optimize("O3")

#include <cstddef>

namespace {

// The kernels. Run: one run of `n` dense cells against strided cells `step`
// apart. Block: `runs` such runs back to back on the dense side, each
// starting `hop` strided cells after the one before.
template <class Kernel, class D, class S>
inline void RunByRun(const Kernel& kernel, D* d, S* s, int n, int runs, int step, std::ptrdiff_t hop) {
    for (int j = 0; j < runs; ++j, d += n, s += hop) kernel.Run(d, s, n, step);
}

struct CopyRun {
    static void Run(double* __restrict d, const double* __restrict s, int n, int step) {
        if (step == 1) {
            for (int i = 0; i < n; ++i) d[i] = s[i];
        } else if (step == 0) {
            const double v = *s;
            for (int i = 0; i < n; ++i) d[i] = v;
        } else {
            for (int i = 0; i < n; ++i) d[i] = s[std::ptrdiff_t(i) * step];
        }
    }
    void Block(double* d, const double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        RunByRun(*this, d, s, n, runs, step, hop);
    }
};

struct MultiplyRun {
    static void Run(double* __restrict d, const double* __restrict s, int n, int step) {
        if (step == 1) {
            for (int i = 0; i < n; ++i) d[i] *= s[i];
        } else if (step == 0) {
            const double v = *s;
            for (int i = 0; i < n; ++i) d[i] *= v;
        } else {
            for (int i = 0; i < n; ++i) d[i] *= s[std::ptrdiff_t(i) * step];
        }
    }
    void Block(double* d, const double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        RunByRun(*this, d, s, n, runs, step, hop);
    }
};

struct MarginalizeRun {
    static void Run(const double* __restrict d, double* __restrict s, int n, int step) {
        if (step == 1) {
            for (int i = 0; i < n; ++i) s[i] += d[i];
        } else if (step == 0) {
            // Same order of additions as cell by cell, kept in a register.
            double acc = *s;
            for (int i = 0; i < n; ++i) acc += d[i];
            *s = acc;
        } else {
            for (int i = 0; i < n; ++i) s[std::ptrdiff_t(i) * step] += d[i];
        }
    }
    void Block(const double* d, double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        if (step != 0 || hop == 0) {
            RunByRun(*this, d, s, n, runs, step, hop);
            return;
        }
        // Each run is a sum into its own cell. A chain of additions waits on
        // itself, so up to four runs are summed side by side; every cell
        // still gets its additions in the order of the dense side.
        int j = 0;
        for (; j + 4 <= runs; j += 4, d += 4 * n, s += 4 * hop) SideBySide<4>(d, s, n, hop);
        if (runs - j == 3) SideBySide<3>(d, s, n, hop);
        if (runs - j == 2) SideBySide<2>(d, s, n, hop);
        if (runs - j == 1) Run(d, s, n, 0);
    }

    // Sums G runs of `n` cells, each into its own strided cell.
    template <int G>
    static void SideBySide(const double* d, double* s, int n, std::ptrdiff_t hop) {
        double acc[G];
        for (int g = 0; g < G; ++g) acc[g] = s[g * hop];
        for (int i = 0; i < n; ++i) {
            for (int g = 0; g < G; ++g) acc[g] += d[g * n + i];
        }
        for (int g = 0; g < G; ++g) s[g * hop] = acc[g];
    }
};

struct StencilRun {
    static void Run(const double* __restrict d, double* __restrict s, int n, int step) {
        if (step == 0) {
            *s = d[n - 1];
        } else {
            for (int i = 0; i < n; ++i) s[std::ptrdiff_t(i) * step] = d[i];
        }
    }
    void Block(const double* d, double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        RunByRun(*this, d, s, n, runs, step, hop);
    }
};

struct SumScaledRun {
    double factor;
    void Run(const double* __restrict d, double* __restrict s, int n, int step) const {
        if (step == 0) {
            double acc = *s;
            for (int i = 0; i < n; ++i) acc += d[i] * factor;
            *s = acc;
        } else {
            for (int i = 0; i < n; ++i) s[std::ptrdiff_t(i) * step] += d[i] * factor;
        }
    }
    void Block(const double* d, double* s, int n, int runs, int step, std::ptrdiff_t hop) const {
        RunByRun(*this, d, s, n, runs, step, hop);
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
        kernel.Run(d, s, n0, step0);
        return;
    }
    const int n1 = odometer[1].counter + 1;
    const std::ptrdiff_t tail = std::ptrdiff_t(n0 - 1) * step0;
    const std::ptrdiff_t hop = tail + odometer[1].step;
    const std::ptrdiff_t block = std::ptrdiff_t(n0) * n1;
    // Where the strided side stands after a block's last cell.
    const std::ptrdiff_t last = std::ptrdiff_t(n1 - 1) * hop + tail;
    for (;;) {
        kernel.Block(d, s, n0, n1, step0, hop);
        d += block;
        if (d == end) break;
        s += last + CarryAboveBlock(odometer);
    }
    ReloadCounters(odometer + 2);
}

}  // namespace

void TsOdoCopy(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, CopyRun());
}

void TsOdoMultiply(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, MultiplyRun());
}

void TsOdoMarginalize(double* strided, const double* dense, const double* denseEnd,
                      TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, MarginalizeRun());
}

void TsOdoStencil(double* strided, const double* dense, const double* denseEnd,
                  TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, StencilRun());
}

void TsOdoSumDiv(double* strided, const double* dense, const double* denseEnd, double divisor,
                 TsOdometer* odometer) {
    Walk(dense, denseEnd, strided, odometer, SumScaledRun{1.0 / divisor});
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
