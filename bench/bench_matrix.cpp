// Timings of the QEL_Dmatrix operations that inference and structure edits
// run on large tables: the item-wise passes, column normalisation, and
// adding and removing a dimension, all on tables of a million items shaped
// like a conditional table (six dimensions, four outcomes in the last).
#include <benchmark/benchmark.h>

#include <random>

#include "orvil/dmatrix.h"

namespace {

const int tableDims[] = {10, 10, 10, 10, 25, 4};
const int tableRank = 6;

QEL_Dmatrix MakeTable(const int* dims, int count) {
    QEL_Dmatrix m;
    m.Setup(dims, count);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> value(0.0, 1.0);
    for (int i = 0; i < m.GetSize(); i++) m[i] = value(rng);
    return m;
}

QEL_Dmatrix MakeTable() {
    return MakeTable(tableDims, tableRank);
}

void Report(benchmark::State& state, int items) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(items));
}

void BM_FillWith(benchmark::State& state) {
    QEL_Dmatrix m = MakeTable();
    for (auto _ : state) {
        m.FillWith(0.25);
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

void BM_AddScalar(benchmark::State& state) {
    QEL_Dmatrix m = MakeTable();
    for (auto _ : state) {
        m.Add(1e-9);
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

void BM_MultiplyScalar(benchmark::State& state) {
    QEL_Dmatrix m = MakeTable();
    for (auto _ : state) {
        m.Multiply(1.0000001);
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

void BM_MultiplyWeights(benchmark::State& state) {
    QEL_Dmatrix m = MakeTable();
    QEL_doubleArray w(m.GetSizeOfLastDimension());
    for (int k = 0; k < w.GetSize(); k++) w[k] = 1.0 + 1e-7 * k;
    for (auto _ : state) {
        m.Multiply(w);
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

void BM_SumOfTwo(benchmark::State& state) {
    const QEL_Dmatrix a = MakeTable();
    const QEL_Dmatrix b = MakeTable();
    QEL_Dmatrix out = MakeTable();
    for (auto _ : state) {
        out.Sum(a, b);
        benchmark::ClobberMemory();
    }
    Report(state, out.GetSize());
}

void BM_Normalize(benchmark::State& state) {
    const QEL_Dmatrix source = MakeTable();
    QEL_Dmatrix m = source;
    for (auto _ : state) {
        // Fresh data every time: a second pass would find every column
        // already summing to one, or nearly so.
        state.PauseTiming();
        m = source;
        state.ResumeTiming();
        m.Normalize();
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

// A table of half a million items gets a dimension of size 2 at position
// state.range(0), which makes a million.
void BM_InsertDimension(benchmark::State& state) {
    const int halfDims[] = {10, 10, 10, 10, 25, 2};
    const QEL_Dmatrix source = MakeTable(halfDims, tableRank);
    const int where = static_cast<int>(state.range(0));
    QEL_Dmatrix m;
    for (auto _ : state) {
        state.PauseTiming();
        m = source;
        state.ResumeTiming();
        m.InsertDimension(where, 2);
        benchmark::ClobberMemory();
    }
    Report(state, m.GetSize());
}

void BM_RemoveDimensionSlice(benchmark::State& state) {
    const QEL_Dmatrix source = MakeTable();
    const int dim = static_cast<int>(state.range(0));
    QEL_Dmatrix out;
    for (auto _ : state) {
        source.RemoveDimension(dim, 1, out);
        benchmark::ClobberMemory();
    }
    Report(state, source.GetSize());
}

void BM_RemoveDimensionWeighted(benchmark::State& state) {
    const QEL_Dmatrix source = MakeTable();
    const int dim = static_cast<int>(state.range(0));
    QEL_doubleArray w(source.GetSizeOfDimension(dim));
    for (int k = 0; k < w.GetSize(); k++) w[k] = 1.0 / w.GetSize();
    QEL_Dmatrix out;
    for (auto _ : state) {
        source.RemoveDimension(dim, w, out);
        benchmark::ClobberMemory();
    }
    Report(state, source.GetSize());
}

}  // namespace

BENCHMARK(BM_FillWith)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AddScalar)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MultiplyScalar)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MultiplyWeights)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SumOfTwo)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Normalize)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_InsertDimension)->Arg(0)->Arg(3)->Arg(6)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RemoveDimensionSlice)->Arg(0)->Arg(3)->Arg(5)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RemoveDimensionWeighted)->Arg(0)->Arg(3)->Arg(5)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
