// Values whose node can be known to have one outcome: the stored outcome
// and how a copy takes it over, shared by belief vectors and decisions.
//
// A copy sets real evidence again through the subclass's SetEvidence, so
// the network hears of it and may refuse it, while an outcome that inference
// deduced is put back quietly: it is no news to the network.
#include "orvil/outcomevalue.h"

#include <vector>

#include "orvil/errors.h"

QEL_outcomeValue::QEL_outcomeValue(QEL_network* net, int nodeHandle)
    : QEL_matrixValue(net, nodeHandle), evidence(0) {}

QEL_outcomeValue::~QEL_outcomeValue() = default;

int QEL_outcomeValue::CleanUp(int deep) {
    evidence = 0;
    return QEL_matrixValue::CleanUp(deep);
}

int QEL_outcomeValue::Clone(QEL_nodeValue& other) {
    const int rc = CloneMatrix(other);
    if (rc != QEL_OKAY || &other == this) return rc;
    // A likelihood vector is restored below through SetVirtualEvidence
    // (which decisions, holding none, refuse); until then the copied bit
    // would claim a vector that is not here.
    flags &= ~QEL_VALUE_VIRTUAL_EVIDENCE;
    const bool sameType = other.GetType() == GetType();
    const int outcome = other.GetEvidence();
    if (outcome >= 0) {
        if (!sameType || other.IsRealEvidence()) {
            SetEvidence(outcome);
        } else {
            StoreEvidence(outcome);
        }
    } else if (other.IsVirtualEvidence()) {
        std::vector<double> likelihood;
        if (other.GetVirtualEvidence(likelihood) == QEL_OKAY) SetVirtualEvidence(likelihood);
    }
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_outcomeValue::GetEvidence() const {
    return HasEvidence() ? evidence : QEL_OUT_OF_RANGE;
}
