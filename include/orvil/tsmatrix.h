// TsMatrix: the flat potential of the join-tree engine, and the odometer
// walkers that combine two potentials without coordinate arithmetic.
//
// A TsMatrix is a dense array of doubles over at most 30 dimensions, the first
// dimension varying fastest. Two matrices over different variable sets meet
// through a walk: a "dense" side is visited cell by cell from start to end,
// while a "strided" side moves by precomputed relative jumps. The jumps live
// in a short array of TsOdometer entries, one per run of dimensions that move
// the strided side alike, so the innermost loop touches only two pointers and
// never allocates or divides. These walks are where nearly all the time of
// exact inference goes.
#ifndef ORVIL_TSMATRIX_H
#define ORVIL_TSMATRIX_H

#include <cstdint>

// One level of an odometer walk. After each inner run the carry goes up from
// entry 1: an entry whose counter is 0 is reloaded from `reset` and passed
// over; the first entry with a non-zero counter is decremented and its `step`
// is added to the strided position. Entry 0 describes the inner run itself:
// `counter` + 1 dense cells, the strided side moving by `step` between cells.
// The last entry of an array is a sentinel that the carry never exhausts.
struct TsOdometer {
    int32_t counter;
    int32_t reset;
    int32_t step;
    int32_t pad;
};

// dense = strided, cell by cell over the whole dense array.
void TsOdoCopy(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer);
// dense *= strided.
void TsOdoMultiply(double* dense, double* denseEnd, const double* strided, TsOdometer* odometer);
// strided += dense: sums the dense side into the strided side.
void TsOdoMarginalize(double* strided, const double* dense, const double* denseEnd,
                      TsOdometer* odometer);
// strided = dense: the last dense cell that maps to a strided cell wins.
void TsOdoStencil(double* strided, const double* dense, const double* denseEnd,
                  TsOdometer* odometer);
// strided += dense * (1 / divisor).
void TsOdoSumDiv(double* strided, const double* dense, const double* denseEnd, double divisor,
                 TsOdometer* odometer);
// Performs one carry on `odometer` (from entry 1 up) and returns the step it
// yields. Counters are left where the carry put them.
int TsSpinOdometer(TsOdometer* odometer);

class TsMatrix {
public:
    // Hard limit on the dimensions of one matrix, and so on the nodes of one
    // clique.
    static constexpr int maxDims = 30;

    // A short list of node numbers or of dimension sizes.
    struct Coords {
        int32_t count = 0;
        int32_t items[maxDims];

        int operator[](int i) const { return items[i]; }
        // Appends `v`; false when the list is full.
        bool Add(int v) {
            if (count >= maxDims) return false;
            items[count++] = v;
            return true;
        }
        // Position of `v`, or -1.
        int Find(int v) const {
            for (int i = 0; i < count; ++i) {
                if (items[i] == v) return i;
            }
            return -1;
        }
    };

    // A walk of a dense matrix against a strided one: up to 30 runs of
    // dimensions and a sentinel. `count` includes the sentinel; 0 means no
    // mapping at all.
    struct Mapping {
        TsOdometer entries[maxDims + 1];
        int32_t count = 0;
    };

    TsMatrix() = default;
    ~TsMatrix();
    TsMatrix(const TsMatrix&) = delete;
    TsMatrix& operator=(const TsMatrix&) = delete;

    // Sets the dimensions; an empty list becomes the single dimension 1. The
    // store is reallocated only when the cell count exceeds the capacity, and
    // cells are not cleared.
    void Init(const Coords& dimensions);
    // Exchanges the contents of two matrices; nothing is copied.
    void Swap(TsMatrix& other);
    // Releases the store; the matrix keeps no dimensions.
    void Free();

    // The sum of all cells, added in order.
    double Sum() const;
    // Scales every cell by `factor`.
    void Multiply(double factor);
    // Sets every cell to `v`.
    void Fill(double v);

    // Builds the walk of this matrix (the dense side, over `denseNodes`, whose
    // sizes are this matrix's dimensions) against a matrix over `sparseNodes`
    // (the strided side). Both lists are ascending and `sparseNodes` is a
    // subset of `denseNodes`. Runs of dense dimensions outside the sparse set
    // keep the strided side still; runs inside it advance it cell by cell.
    void CreateMapping(Mapping& mapping, const Coords& denseNodes, const Coords& sparseNodes) const;

    double* data = nullptr;
    int32_t size = 0;
    int32_t capacity = 0;
    Coords dims;
};

#endif
