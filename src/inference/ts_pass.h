// Fused passes over one clique potential, which is never stored whole.
//
// A large potential does not fit in any cache, and merely making it (fresh
// pages from the system, zeroed) costs as much as a sweep through it. So the
// join tree keeps no potentials at all, only the separator messages: a pass
// builds the potential chunk by chunk in one small buffer, from the clique's
// tables and the messages it holds, and takes from each chunk what the pass
// needs (the sums towards the separators, the beliefs, a copy for the
// joint-probability store) before the next chunk overwrites it. A chunk is a
// few thousand cells along the potential's leading dimensions, so it stays in
// the first-level cache while every operand is applied to it. Each operand
// walks its chunk with an inner odometer (the leading dimensions) and moves on
// to the next chunk with an outer one (the remaining dimensions), so no
// coordinates are kept anywhere. Products are formed in the order the
// operands were added. A sum whose every cell of a chunk goes to one target
// cell (a node, or a separator, on the outer dimensions only) gets the
// chunk's total, taken once per chunk for all such sums and added up in four
// interleaved partial sums: one addition per chunk instead of a chain of
// thousands, and no less accurate than adding cell by cell.
//
// A large pass is cut in two at its middle chunk, and the second half runs on
// a helper thread when one is free (see ts_side_thread.h). That half sums into
// zeroed side copies of the targets, which are added to the targets once both
// halves are done. A target that runs along the slowest dimension gets
// disjoint cells from the two halves, but for the one slice of it that the
// middle chunk may cut: only that slice is copied. Whether a pass is cut
// depends on its shape only, never on the helper's being free, so a result
// is the same to the last bit however the work was shared.
#ifndef ORVIL_INFERENCE_TS_PASS_H
#define ORVIL_INFERENCE_TS_PASS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "orvil/tsmatrix.h"

// Builds the odometer of a strided operand over the dimensions `from` to
// `to` - 1 of a dense matrix (sizes `sizes`, first fastest), where moving one
// step along dimension i moves the operand by strides[i] cells. Dimensions of
// one state are skipped, neighbouring entries with equal steps are merged, and
// a sentinel ends the array, which needs room for to - from + 2 entries.
void TsBuildOdometer(const int32_t* sizes, const int64_t* strides, int from, int to,
                     TsOdometer* odometer);

class TsPass {
public:
    TsPass() { operands.reserve(16); }

    enum Kind {
        copyFrom,    // dense = operand
        multiplyBy,  // dense *= operand
        sumInto,     // operand += dense
        copyInto,    // operand = dense
        fillOne,     // dense = 1.0; takes no operand
        sumTotal,    // operand += the chunk's total (a sumInto that sees
                     // the whole chunk in one cell)
    };

    // Starts a pass over a potential with dimension sizes `dims` (first
    // fastest; none means one cell), forgetting earlier operands.
    void Begin(const TsMatrix::Coords& dims);
    // Adds an operand read by copyFrom or multiplyBy whose cell for dense
    // coordinates c is base + sum(c[i] * strides[i]). Operands act in the
    // order added.
    void Add(Kind kind, const double* base, const int64_t* strides);
    // Adds a sumInto or copyInto operand, laid out the same way. Operands
    // that read the potential come after those that build it.
    void AddTarget(Kind kind, double* base, const int64_t* strides);
    // Adds a fillOne step.
    void AddFill();
    // Builds the potential once, chunk by chunk, applying every operand.
    void Run();
    int OperandCount() const { return count; }

private:
    struct Operand;
    Operand& Next(Kind kind, const int64_t* strides);
    bool WorthSplitting() const;
    int64_t SideCells(const Operand& op) const;
    void AddSideSums();
    void RunSplit();
    static void RunSideHalf(void* pass);
    static void RunFirstHalf(void* pass);
    void RunRange(Operand* ops, double* start, int32_t first, int32_t last) const;

    struct Operand {
        Kind kind;
        const double* source;   // copyFrom, multiplyBy
        double* target;         // sumInto, copyInto
        std::ptrdiff_t offset;  // the operand's cell at the start of the current chunk
        int64_t extent;         // sumInto, sumTotal: the target cells the pass can reach
        int64_t topStride;      // its step along the top dimension, 0 if it has none
        TsOdometer inner[TsMatrix::maxDims + 2];
        TsOdometer outer[TsMatrix::maxDims + 2];
    };

    TsMatrix::Coords dims;
    int split = 0;        // dimensions 0 .. split - 1 make up a chunk
    int32_t chunk = 1;    // cells per chunk
    int32_t chunks = 1;   // chunks in the potential
    int top = -1;         // the slowest dimension of more than one state
    int count = 0;
    std::vector<Operand> operands;
    std::vector<double> buffer;  // the chunk being built
    // The second half of a split pass: its own operands, chunk and target sums.
    int32_t middle = 0;   // the side half's first chunk
    int32_t cut = 0;      // the top state that chunk falls in
    int32_t shared = 0;   // the first chunk past that state
    std::vector<Operand> sideOperands;
    std::vector<double> sideBuffer;
    std::vector<double> sideSums;
};

#endif
