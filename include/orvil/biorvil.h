/*
 * The flat interface: plain exported functions over opaque handles, for
 * callers that cannot use the engine's classes (foreign-function bindings,
 * C programs). Compiles as C99 and as C++.
 *
 * Object handles are the engine objects' own addresses; node handles are
 * slot numbers of the network's node table (-2 means no node). Nothing here
 * validates its arguments: a dead or wrong handle is the caller's fault, and
 * delete_network(NULL) is the one call that accepts null. Status results are
 * 0 for success and a negative code for failure.
 */
#ifndef ORVIL_BIORVIL_H
#define ORVIL_BIORVIL_H

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Network life and structure ---- */

/* ---- Files, inference and settings ---- */

/* ---- Nodes ---- */

/* ---- Node values ---- */

/* ---- Node definitions ---- */

/* ---- Arrays and matrices ---- */

/* A new, empty int array (QEL_intArray), owned by the caller; release it
 * with delete_intArray. Never null (allocation failure aborts the call). */
void* new_intArray(void);
/* Destroys an int array that the library handed to the caller (new_intArray
 * and the other calls that return a new int array). Null is accepted and
 * does nothing. Never pass an array the library owns (GetParents). */
void delete_intArray(void* intArray);
/* The number of items of `intArray` used as a list. */
int intArray_NumItems(void* intArray);
/* The array's own items, a view valid until the array next changes size;
 * read intArray_NumItems for the count. Writes go straight to the array. */
int* intArray_Items(void* intArray);
/* The string array's own slots (a view; empty slots are null), valid until
 * the array next changes. The count comes from the call that produced the
 * array, e.g. nodeDefinition_GetNumberOfOutcomes. */
const char** stringArray_Items(void* stringArray);

/* The matrix's own items (QEL_Dmatrix), row-major with the last dimension
 * fastest: for a node's table or value, each run of outcome-count doubles
 * is one column. A view: the caller frees nothing, writes go straight to
 * the matrix, and the pointer dies when the matrix changes shape. Read
 * dMatrix_GetSize for the count; with a count of 0 nothing may be read
 * through the pointer, which may then be null. */
double* dMatrix_GetItemsDouble(void* dMatrix);
/* The number of doubles in the matrix: the product of its dimension sizes,
 * or 0 for a matrix with no dimensions. */
int dMatrix_GetSize(void* dMatrix);

/* ---- Descriptive records ---- */

/* ---- Submodels ---- */

/* ---- Error log ---- */

/* The process-wide error log: entries (code, message) in order of arrival,
 * kept until errorH_Flush. */

/* The number of entries in the log. */
int errorH_GetNumberOfErrors(void);
/* The newest entry's code, or 0 when the log is empty. */
int errorH_GetLastError(void);
/* The newest entry's message, or "NO ERRORS SO FAR" when the log is empty.
 * The text belongs to the log and dies at the next errorH_Flush. */
const char* errorH_GetLastErrorMessage(void);
/* The code of entry `index`, oldest first (0 is the oldest). 0 for a
 * negative index or one beyond the number of entries; `index` equal to the
 * number of entries reads the spare slot after the last entry. */
int errorH_GetError(int index);
/* The message of entry `index`, with the bounds of errorH_GetError; null
 * outside them or for an empty slot. Owned by the log. */
const char* errorH_GetErrorMessage(int index);
/* Empties the log. */
void errorH_Flush(void);

#ifdef __cplusplus
}
#endif

#endif
