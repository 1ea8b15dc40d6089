// Entry points of the join-tree engine for the update driver: beliefs in one
// pass (algorithm number 0) or in passes over groups of targets (numbers 11
// and 12), and the probability of evidence.
#ifndef ORVIL_TSCLUSTERING_H
#define ORVIL_TSCLUSTERING_H

class QEL_network;

// Computes the beliefs of the network's targets (all nodes when it has none)
// by join-tree clustering on the pieces relevance reasoning leaves, writing
// them into the values and marking them valid. When a join tree does not fit
// the default budget, the work is handed to TsClusteringLinearDecomp, unless
// the network has exactly one target or the user property
// "QEL_REL_DECOMP_DISABLE_FALLBACK" is present. Returns 0; -43 when some
// node's potential was all zeros (the evidence is impossible; those nodes were
// reported in the error log and the other beliefs are written); -42 when no
// join tree fits (some targets may hold valid beliefs).
int TsClustering(QEL_network* net);

// Computes the same beliefs in passes over groups of targets, taken from the
// end of the network's partial order: "QEL_REL_DECOMP_THRESHOLD" targets per
// group (default 32), each pass within "QEL_REL_DECOMP_THRESHOLD3" cells
// (default: the full budget). A group that does not fit is halved
// recursively, down to passes within "QEL_REL_DECOMP_THRESHOLD3", else
// "QEL_REL_DECOMP_THRESHOLD2" cells (default 65536); a single target always
// gets the full budget. Property values are decimal integers; below 1 counts
// as absent. The network's targets are as they were afterwards. Returns 0, or
// -42 when some target's join tree does not fit even alone. Zero potentials
// are reported in the error log only.
int TsClusteringLinearDecomp(QEL_network* net);

// Computes the same beliefs by halving the whole target list recursively
// until each part fits within "QEL_REL_DECOMP_THRESHOLD2" cells (default
// 65536; a single target gets the full budget). Targets are restored
// afterwards. Returns 0, or -42 when some target does not fit even alone.
int TsClusteringRecursiveDecomp(QEL_network* net);

// The probability of the network's real evidence (propagated evidence is not
// counted as evidence), with no budget on the join tree. The caller targets
// the parents of the observed nodes, so that pruning keeps every observed
// family. 0.0 for a network without nodes; -1.0 when the join tree cannot be
// built.
double TsClusteringProbE(QEL_network* net);

#endif
