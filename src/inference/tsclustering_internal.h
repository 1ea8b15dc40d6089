// The one pass of join-tree clustering that the entry points and the target
// decompositions share.
#ifndef ORVIL_INFERENCE_TSCLUSTERING_INTERNAL_H
#define ORVIL_INFERENCE_TSCLUSTERING_INTERNAL_H

class QEL_network;

// Prunes `net` for its current targets and runs a join tree on every piece
// within `sizeLimit` cells (0: the default budget). `pending`, when given, is
// indexed by handle: the nodes computed are those still pending, whose
// entries are then cleared. Zero potentials found are added to `zeroCount`.
// False when some piece does not fit; the pieces done before it keep the
// beliefs they wrote.
bool DoClustering(QEL_network* net, bool* pending, int sizeLimit, int& zeroCount);

#endif
