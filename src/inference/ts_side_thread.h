// A second thread for the largest passes of exact inference.
//
// A full update on a big model spends nearly all its time sweeping a few
// clique potentials of millions of cells, and those sweeps split cleanly in
// two. One helper thread, started on first use and kept for the life of the
// process, takes the second half while the caller does the first. There is
// only one: a pass that finds it busy (another network updating on another
// thread) does both halves itself, so callers never wait on each other and
// the result never depends on who got the helper. Setting the environment
// variable ORVIL_THREADS to 1 keeps all work on the caller's thread.
#ifndef ORVIL_INFERENCE_TS_SIDE_THREAD_H
#define ORVIL_INFERENCE_TS_SIDE_THREAD_H

// Runs side(sideArg) and mine(mineArg) and returns when both are done: side
// on the helper thread when it is free and the machine has a second core,
// mine on the caller. Otherwise the caller runs mine, then side. The two
// must not write to the same memory.
void TsRunBeside(void (*side)(void*), void* sideArg, void (*mine)(void*), void* mineArg);

#endif
