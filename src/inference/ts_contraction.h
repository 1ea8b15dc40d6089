// The sum of the product of two factors, taken as a batch of small matrix
// products.
//
// On the way up, most cliques of real networks hold two factors (a table and
// a child's message, or two messages), and their message is the sum of the
// product over the clique's nodes that leave. Built cell by cell, as a pass
// does it (ts_pass.h), that costs a copy, a multiplication and an addition
// per clique cell, each through an odometer. The same sum is a product of
// matrices: the nodes that leave are the inner dimension, the separator's
// nodes that only one factor holds are the rows and the columns, and those
// both hold are the batch. Packed once into dense blocks (a cost of the
// factors' own size, not the clique's), the clique's cells become one
// multiply-add each, in loops that run along contiguous memory.
//
// Layout: the first factor is packed as [batch][outer][inner sum], the second
// as [batch][inner sum][inner] when the inner side is long (the innermost
// loop then runs along a row of the result) and as [batch][inner][inner sum]
// when it is short (the innermost loop is then a dot product). The result,
// [batch][outer][inner], is added into the target through its strides. The
// side with more cells becomes the inner one.
//
// Sums run over the nodes that leave in a fixed order, so a result is the
// same to the last bit on every run; it differs from a pass's only in the
// order of its additions.
#ifndef ORVIL_INFERENCE_TS_CONTRACTION_H
#define ORVIL_INFERENCE_TS_CONTRACTION_H

#include <cstdint>
#include <vector>

#include "orvil/tsmatrix.h"

class TsContraction {
public:
    // Plans target += sum over the dimensions the target lacks of a * b, over
    // a dense space of dimension sizes `dims`, where each of a, b and the
    // target reaches its cell for coordinates c at sum(c[i] * strides[i])
    // (a stride of 0: the dimension is not the operand's). Returns false,
    // and plans nothing, when nothing is summed, when the space is too small
    // to be worth planning or large enough for a pass to share with the
    // helper thread, or when packing would cost more than it saves.
    bool Plan(const TsMatrix::Coords& dims, const int64_t* aStrides, const int64_t* bStrides,
              const int64_t* targetStrides);
    // Carries out the last plan.
    void Run(const double* a, const double* b, double* target);

private:
    // The dimensions of one group, outermost first, with each operand's
    // strides along them.
    struct Group {
        int count = 0;
        int64_t cells = 1;
        int32_t sizes[TsMatrix::maxDims];
        int64_t strides[3][TsMatrix::maxDims];  // a, b, target
        void Add(int32_t size, int64_t a, int64_t b, int64_t target);
    };
    // One operand's walk for packing or for adding into the target.
    struct Walk {
        int count = 0;
        int32_t sizes[TsMatrix::maxDims];
        int64_t strides[TsMatrix::maxDims];
        void Append(const Group& group, int operand);
    };
    // Calls visit(offset) for every cell of `walk`, in order, the last
    // dimension fastest.
    template <class Visit>
    static void ForEachCell(const Walk& walk, Visit visit);
    // Packs the cells `walk` reaches from `in` densely into `out`.
    static void Gather(double* out, const double* in, const Walk& walk);
    // Adds the dense cells of `in` into the cells `walk` reaches from `target`.
    static void AddInto(double* target, const double* in, const Walk& walk);
    void MultiplyRows();
    void MultiplyDots();

    Group batch;
    Group outer;   // separator dimensions only the first operand holds
    Group inner;   // separator dimensions only the second operand holds
    Group summed;  // the dimensions that leave
    bool swapped = false;  // the first operand is b
    bool dots = false;
    Walk packFirst;
    Walk packSecond;
    Walk spread;
    std::vector<double> first;
    std::vector<double> second;
    std::vector<double> result;
};

#endif
