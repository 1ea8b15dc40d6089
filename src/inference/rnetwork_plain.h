// The whole network as one piece, for engines that run before relevance
// reasoning prunes anything.
#ifndef ORVIL_INFERENCE_RNETWORK_PLAIN_H
#define ORVIL_INFERENCE_RNETWORK_PLAIN_H

#include "orvil/fastarray.h"

class QEL_network;
class QEL_rNetwork;

// One piece holding every node of `net` with its evidence (propagated
// evidence too when `usePropagated` is true) and its shared table; null for a
// network without nodes. The caller owns the list and the piece.
fastarray<QEL_rNetwork*, 4, int>* QEL_plainSplit(QEL_network& net, bool usePropagated);

#endif
