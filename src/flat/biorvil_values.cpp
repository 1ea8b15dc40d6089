// Flat access to node values: evidence in, beliefs out.
//
// Each function is one call into the value's virtual interface; the layer
// adds only the conversions between plain arrays and engine containers.
// Arrays handed to the caller are new allocations: the likelihood copy puts
// its length in front, since the caller has no other way to learn it.
#include <cstring>
#include <vector>

#include "orvil/biorvil.h"
#include "orvil/dmatrix.h"
#include "orvil/intarray.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"

namespace {

QEL_nodeValue* AsValue(void* nodeValue) { return static_cast<QEL_nodeValue*>(nodeValue); }

}  // namespace

void* node_Value(void* node) { return static_cast<QEL_node*>(node)->Value(); }

int nodeValue_GetType(void* nodeValue) { return AsValue(nodeValue)->GetType(); }

void* nodeValue_GetMatrix(void* nodeValue) {
    QEL_Dmatrix* matrix = nullptr;
    if (AsValue(nodeValue)->GetValue(&matrix) != 0) return nullptr;
    return matrix;
}

int nodeValue_IsValueValid(void* nodeValue) {
    return AsValue(nodeValue)->GetFlags() & QEL_VALUE_VALID;
}

int nodeValue_IsRealEvidence(void* nodeValue) {
    return AsValue(nodeValue)->GetFlags() & QEL_VALUE_REAL_EVIDENCE;
}

int nodeValue_GetEvidence(void* nodeValue) { return AsValue(nodeValue)->GetEvidence(); }

int nodeValue_SetEvidence(void* nodeValue, int theEvidence) {
    return AsValue(nodeValue)->SetEvidence(theEvidence);
}

int nodeValue_ClearEvidence(void* nodeValue) { return AsValue(nodeValue)->ClearEvidence(); }

double* nodeValue_GetVirtualEvidence(void* nodeValue) {
    std::vector<double> likelihood;
    AsValue(nodeValue)->GetVirtualEvidence(likelihood);
    const std::size_t n = likelihood.size();
    double* out = new double[n + 1];
    out[0] = static_cast<double>(n);
    if (n > 0) std::memcpy(out + 1, likelihood.data(), n * sizeof(double));
    return out;
}

void nodeValue_ReleaseVirtualEvidence(double* theEvidence) { delete[] theEvidence; }

int nodeValue_SetVirtualEvidence(void* nodeValue, int size, double* theEvidence) {
    std::vector<double> likelihood;
    if (size > 0) likelihood.assign(theEvidence, theEvidence + size);
    return AsValue(nodeValue)->SetVirtualEvidence(likelihood);
}

void* nodeValue_GetIndexingParents(void* nodeValue) {
    return new QEL_intArray(AsValue(nodeValue)->GetIndexingParents());
}
