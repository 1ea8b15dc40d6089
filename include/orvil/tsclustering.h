// Entry points of the join-tree engine for the update driver: beliefs for the
// whole network (algorithm number 0) and the probability of evidence.
#ifndef ORVIL_TSCLUSTERING_H
#define ORVIL_TSCLUSTERING_H

class QEL_network;

// Computes the beliefs of the network's targets (all nodes when it has none)
// by join-tree clustering, writing them into the values and marking them
// valid. Returns 0; -43 when some node's potential was all zeros (the
// evidence is impossible; those nodes were reported in the error log and the
// other beliefs are written); -42 when the join tree does not fit the
// default budget, in which case no value was written.
int TsClustering(QEL_network* net);

// The probability of the network's real evidence (propagated evidence is not
// counted as evidence), with no budget on the join tree. 0.0 for a network
// without nodes; -1.0 when the join tree cannot be built.
double TsClusteringProbE(QEL_network* net);

#endif
