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

/* ---- Descriptive records ---- */

/* ---- Submodels ---- */

/* ---- Error log ---- */

#ifdef __cplusplus
}
#endif

#endif
