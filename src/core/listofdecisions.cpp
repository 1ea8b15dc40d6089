// Lists of decisions: the values of decision nodes.
//
// The matrix holds expected utilities per option and is written only by the
// decision solvers. Choosing an option is stored like evidence but leaves
// the matrix alone, so the utilities of the other options stay readable.
// Unlike belief vectors, an option out of range is not an error here: the
// call reports success and changes nothing.
#include "orvil/listofdecisions.h"

#include "orvil/errors.h"
#include "orvil/network.h"

// The constructor shapes the matrix exactly as a change of structure does.
QEL_listOfDecisions::QEL_listOfDecisions(QEL_network* net, int nodeHandle)
    : QEL_outcomeValue(net, nodeHandle) {
    ReCreateFromNetworkStructure();
}

QEL_listOfDecisions::~QEL_listOfDecisions() = default;

int QEL_listOfDecisions::ReCreateFromNetworkStructure() {
    const int rc = ResetMatrix(OwnOutcomeCount());
    CheckReadiness(0);
    return rc;
}

int QEL_listOfDecisions::StoreEvidence(int option) {
    if (option < 0 || option >= OwnOutcomeCount()) return QEL_OUT_OF_RANGE;
    SetValueValid();
    evidence = option;
    return QEL_OKAY;
}

int QEL_listOfDecisions::CleanEvidence() {
    if (!HasEvidence()) return QEL_OUT_OF_RANGE;
    SetValueInvalid();
    return QEL_OKAY;
}

int QEL_listOfDecisions::SetEvidence(int option) {
    if (IsRealEvidence()) ClearEvidence();
    if (HasEvidence() && evidence != option) return QEL_OUT_OF_RANGE;
    if (StoreEvidence(option) != QEL_OKAY) return QEL_OKAY;
    flags &= ~QEL_VALUE_PROPAGATED_EVIDENCE;
    flags |= QEL_VALUE_REAL_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    const int rc = network->RelevanceEvidenceSet(handle);
    if (rc != QEL_OKAY) ClearEvidence();
    return rc;
}

int QEL_listOfDecisions::ClearEvidence() {
    const int rc = CleanEvidence();
    if (rc != QEL_OKAY) return rc;
    flags &= ~QEL_VALUE_REAL_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    return network->RelevanceEvidenceCleared(handle);
}

int QEL_listOfDecisions::ClearPropagatedEvidence() {
    const int rc = CleanEvidence();
    if (rc != QEL_OKAY) return rc;
    flags &= ~QEL_VALUE_PROPAGATED_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    return network->RelevancePropagatedEvidenceCleared(handle);
}

int QEL_listOfDecisions::SetPropagatedEvidence(int option) {
    if (HasEvidence()) return QEL_OUT_OF_RANGE;
    if (StoreEvidence(option) != QEL_OKAY) return QEL_OKAY;
    flags |= QEL_VALUE_PROPAGATED_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    return network->RelevanceEvidencePropagated(handle);
}
