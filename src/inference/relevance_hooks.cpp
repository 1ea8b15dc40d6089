// Placeholders for the update driver's hooks that the graph code calls. No
// belief is computed yet, so no arc change can make one stale, and no
// engine fills a joint-probability store; each body is empty. The update
// driver replaces this file.
#include "orvil/network.h"

int QEL_network::RelevanceArcAdded(int /*from*/, int /*to*/) {
    return 0;
}

int QEL_network::RelevanceArcRemoved(int /*from*/, int /*to*/) {
    return 0;
}

void QEL_network::EnableJptStore(bool /*on*/) {}
