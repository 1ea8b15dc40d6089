// The network settings that steer inference, with their checks, and the
// update listener. Out-of-range algorithm numbers are ignored rather than
// refused, so that a stale setting read from a file cannot break a model.
#include "inference/engine_table.h"
#include "orvil/network.h"

void QEL_network::SetDefaultBNAlgorithm(int algorithm) {
    if (algorithm < QEL_FIRST_BN_ALGORITHM || algorithm > QEL_LAST_BN_ALGORITHM) return;
    defaultBNAlgorithm = algorithm;
}

void QEL_network::SetDefaultIDAlgorithm(int algorithm) {
    if (algorithm < QEL_FIRST_ID_ALGORITHM || algorithm > QEL_LAST_ID_ALGORITHM) return;
    defaultIDAlgorithm = algorithm;
}

int QEL_network::SetNumberOfSamples(int count) {
    numberOfSamples = count;
    return 0;
}

void QEL_network::SetNumberOfDiscretizationSamples(int count) {
    numberOfDiscretizationSamples = count;
}

void QEL_network::SetUpdateBeliefsListener(QEL_updateBeliefsListener* newListener) {
    listener = newListener;
}
