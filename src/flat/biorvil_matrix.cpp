// Flat access to a QEL_Dmatrix: a view of its items and their count, so
// that a caller can read beliefs and tables straight out of the engine's
// own storage without a copy. No checks: handles are the caller's
// responsibility.
#include "orvil/biorvil.h"
#include "orvil/dmatrix.h"

double* dMatrix_GetItemsDouble(void* dMatrix) {
    return static_cast<QEL_Dmatrix*>(dMatrix)->GetItems().Items();
}

int dMatrix_GetSize(void* dMatrix) {
    return static_cast<QEL_Dmatrix*>(dMatrix)->GetSize();
}
