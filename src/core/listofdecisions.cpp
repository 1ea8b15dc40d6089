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

QEL_listOfDecisions::QEL_listOfDecisions(QEL_network* net, int nodeHandle)
    : QEL_nodeValue(net, nodeHandle), evidence(0) {
    const int options = OwnOutcomeCount();
    if (options > 0 && matrix.AddDimension(options) == QEL_OKAY) matrix.FillWith(0.0);
    CheckReadiness(0);
}

QEL_listOfDecisions::~QEL_listOfDecisions() = default;

int QEL_listOfDecisions::CleanUp(int deep) {
    if (deep != 0) matrix.CleanUp();
    evidence = 0;
    return QEL_nodeValue::CleanUp(deep);
}

int QEL_listOfDecisions::CheckReadiness(int) {
    if (matrix.GetNumberOfDimensions() < 1) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return QEL_OKAY;
}

int QEL_listOfDecisions::Clone(QEL_nodeValue& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return QEL_OKAY;
    CleanUp(1);
    QEL_nodeValue::Clone(other);
    // Decisions hold no likelihood vectors.
    flags &= ~QEL_VALUE_VIRTUAL_EVIDENCE;
    const bool sameType = other.GetType() == GetType();
    QEL_Dmatrix* source = nullptr;
    if (sameType && other.GetValue(&source) == QEL_OKAY) {
        matrix = *source;
    } else {
        ReCreateFromNetworkStructure();
    }
    const int option = other.GetEvidence();
    if (option >= 0) {
        if (!sameType || other.IsRealEvidence()) {
            SetEvidence(option);
        } else {
            StoreEvidence(option);
        }
    }
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_listOfDecisions::ReCreateFromNetworkStructure() {
    CleanUp(1);
    const int options = OwnOutcomeCount();
    if (options <= 0) return QEL_OUT_OF_RANGE;
    int rc = matrix.AddDimension(options);
    if (rc != QEL_OKAY) return rc;
    matrix.FillWith(0.0);
    CheckReadiness(0);
    return QEL_OKAY;
}

int QEL_listOfDecisions::GetEvidence() const {
    return HasEvidence() ? evidence : QEL_OUT_OF_RANGE;
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

int QEL_listOfDecisions::GetValue(QEL_Dmatrix** out) {
    *out = &matrix;
    return QEL_OKAY;
}

int QEL_listOfDecisions::SetValue(QEL_Dmatrix& source) {
    matrix = source;
    return QEL_OKAY;
}
