// Flat access to updates and the network's inference settings. Each
// function forwards to the network; statuses the flat interface drops are
// still in the error log.
#include "orvil/biorvil.h"
#include "orvil/network.h"

namespace {

QEL_network* AsNetwork(void* net) { return static_cast<QEL_network*>(net); }

}  // namespace

void UpdateBeliefs(void* net) { AsNetwork(net)->UpdateBeliefs(); }

int ClearAllEvidence(void* net) { return AsNetwork(net)->ClearAllEvidence(); }

double CalcProbEvidence(void* net) {
    double result = 0.0;
    if (AsNetwork(net)->CalcProbEvidence(result, false) != 0) return 0.0;
    return result;
}

int GetNumberOfSamples(void* net) { return AsNetwork(net)->GetNumberOfSamples(); }

int SetNumberOfSamples(void* net, int aNumber) { return AsNetwork(net)->SetNumberOfSamples(aNumber); }

int GetNumberOfDiscretizationSamples(void* net) {
    return AsNetwork(net)->GetNumberOfDiscretizationSamples();
}

void SetNumberOfDiscretizationSamples(void* net, int aNumber) {
    AsNetwork(net)->SetNumberOfDiscretizationSamples(aNumber);
}

int GetDefaultBNAlgorithm(void* net) { return AsNetwork(net)->GetDefaultBNAlgorithm(); }

void SetDefaultBNAlgorithm(void* net, int theAlgorithm) {
    AsNetwork(net)->SetDefaultBNAlgorithm(theAlgorithm);
}
