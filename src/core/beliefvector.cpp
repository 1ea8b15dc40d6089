// Belief vectors: the values of discrete chance nodes.
//
// The matrix is one column of P(outcome | evidence) (or one per combination
// of indexing parents). Evidence is a stored outcome plus flag bits, and
// observing a node turns its matrix into the point mass on that outcome.
// Every change of evidence is reported to the network's Relevance... hooks,
// which decide what else went stale; a hook that refuses new evidence makes
// SetEvidence take it back.
#include "orvil/beliefvector.h"

#include <cmath>

#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"

namespace {

// A likelihood vector is rescaled only when its sum is off by more than this.
const double kLikelihoodSumTolerance = 5e-06;

}  // namespace

// The constructor shapes the matrix exactly as a change of structure does.
QEL_beliefVector::QEL_beliefVector(QEL_network* net, int nodeHandle)
    : QEL_outcomeValue(net, nodeHandle), virtualEvidence(nullptr) {
    ReCreateFromNetworkStructure();
}

QEL_beliefVector::~QEL_beliefVector() { delete virtualEvidence; }

int QEL_beliefVector::CleanUp(int deep) {
    delete virtualEvidence;
    virtualEvidence = nullptr;
    return QEL_outcomeValue::CleanUp(deep);
}

int QEL_beliefVector::ReCreateFromNetworkStructure() {
    std::vector<double> saved;
    const bool hadLikelihood = virtualEvidence != nullptr;
    if (hadLikelihood) saved = *virtualEvidence;
    const int rc = ResetMatrix(OwnOutcomeCount());
    // A vector that no longer has one entry per outcome is refused here and
    // thereby dropped.
    if (rc == QEL_OKAY && hadLikelihood) SetVirtualEvidence(saved);
    CheckReadiness(0);
    return rc;
}

int QEL_beliefVector::StoreEvidence(int outcome) {
    const int outcomes = OwnOutcomeCount();
    if (outcome < 0 || outcome >= outcomes) return QEL_OUT_OF_RANGE;
    // Indexing parents or a changed outcome count leave a matrix that is not
    // one plain column; the point mass needs exactly that column.
    if (matrix.GetNumberOfDimensions() != 1 || matrix.GetSize() != outcomes) {
        int rc = ReCreateFromNetworkStructure();
        if (rc != QEL_OKAY) return rc;
    }
    SetValueValid();
    evidence = outcome;
    matrix.FillWith(0.0);
    matrix[outcome] = 1.0;
    return QEL_OKAY;
}

int QEL_beliefVector::SetEvidence(int outcome) {
    if (IsRealEvidence()) ClearEvidence();
    // What inference already concluded may be asserted; the opposite may not.
    if (HasEvidence() && evidence != outcome) return QEL_IMPOSSIBLE_EVIDENCE;
    if (virtualEvidence != nullptr) ClearVirtualEvidence();
    int rc = StoreEvidence(outcome);
    if (rc != QEL_OKAY) return rc;
    flags &= ~QEL_VALUE_PROPAGATED_EVIDENCE;
    flags |= QEL_VALUE_REAL_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    rc = network->RelevanceEvidenceSet(handle);
    if (rc != QEL_OKAY) ClearEvidence();
    return rc;
}

int QEL_beliefVector::ClearEvidence() {
    if (IsRealEvidence()) {
        flags &= ~(QEL_VALUE_REAL_EVIDENCE | QEL_VALUE_CONTROLLED);
        SetValueInvalid();
        if (network != nullptr) network->RelevanceEvidenceCleared(handle);
        return QEL_OKAY;
    }
    if (IsVirtualEvidence()) {
        ClearVirtualEvidence();
        if (network != nullptr) network->RelevanceVirtualEvidenceCleared(handle);
        return QEL_OKAY;
    }
    return QEL_OUT_OF_RANGE;
}

int QEL_beliefVector::ClearPropagatedEvidence() {
    if (!IsPropagatedEvidence()) return QEL_OUT_OF_RANGE;
    flags &= ~QEL_VALUE_PROPAGATED_EVIDENCE;
    SetValueInvalid();
    if (network == nullptr) return QEL_OKAY;
    return network->RelevancePropagatedEvidenceCleared(handle);
}

int QEL_beliefVector::SetPropagatedEvidence(int outcome) {
    if (HasEvidence()) return QEL_OUT_OF_RANGE;
    if (virtualEvidence != nullptr) ClearVirtualEvidence();
    int rc = StoreEvidence(outcome);
    if (rc != QEL_OKAY) return rc;
    flags |= QEL_VALUE_PROPAGATED_EVIDENCE;
    if (network == nullptr) return QEL_OKAY;
    return network->RelevanceEvidencePropagated(handle);
}

int QEL_beliefVector::GetVirtualEvidence(std::vector<double>& likelihood) const {
    if (!IsVirtualEvidence() || virtualEvidence == nullptr) return QEL_OUT_OF_RANGE;
    likelihood = *virtualEvidence;
    return QEL_OKAY;
}

int QEL_beliefVector::SetVirtualEvidence(const std::vector<double>& likelihood) {
    if (static_cast<int>(likelihood.size()) != OwnOutcomeCount()) return QEL_OUT_OF_RANGE;
    // Real evidence gives way with notice. Propagated evidence stays; only
    // an older likelihood vector beside it is removed.
    if (IsRealEvidence() || IsPropagatedEvidence()) ClearEvidence();
    flags |= QEL_VALUE_VIRTUAL_EVIDENCE;
    if (virtualEvidence == nullptr) virtualEvidence = new std::vector<double>;
    *virtualEvidence = likelihood;
    double sum = 0.0;
    for (double v : *virtualEvidence) sum += v;
    if (std::fabs(sum - 1.0) > kLikelihoodSumTolerance) {
        const double scale = 1.0 / sum;
        for (double& v : *virtualEvidence) v *= scale;
    }
    if (network == nullptr) return QEL_OKAY;
    return network->RelevanceVirtualEvidenceSet(handle);
}

int QEL_beliefVector::ClearVirtualEvidence() {
    delete virtualEvidence;
    virtualEvidence = nullptr;
    flags &= ~QEL_VALUE_VIRTUAL_EVIDENCE;
    return QEL_OKAY;
}

bool QEL_beliefVector::IsControllable() {
    if (network == nullptr || !network->Ok(handle)) return true;
    QEL_intArray descendants;
    network->GetDescendants(handle, descendants);
    for (int i = 0; i < descendants.NumItems(); i++) {
        const QEL_nodeValue* v = network->GetNode(descendants[i])->Value();
        // A controlled descendant was forced, not observed: it says nothing
        // about this node.
        if (v != nullptr && v->HasEvidence() && !v->IsControlled()) return false;
    }
    return true;
}

int QEL_beliefVector::ControlValue(int outcome) {
    if (!IsControllable()) return QEL_OUT_OF_RANGE;
    if (IsControlled()) ClearControlledValue();
    if (IsRealEvidence()) ClearEvidence();
    const int rc = SetEvidence(outcome);
    if (rc == QEL_OKAY && network != nullptr) {
        flags |= QEL_VALUE_CONTROLLED;
        // An intervention changes the distribution everywhere: every belief
        // and every deduced outcome is stale, only observations stand.
        for (int h = network->GetFirstNode(); h >= 0; h = network->GetNextNode(h)) {
            QEL_nodeValue* v = network->GetNode(h)->Value();
            if (h == handle || v == nullptr || v->IsRealEvidence()) continue;
            v->ClearFlagBits(QEL_VALUE_PROPAGATED_EVIDENCE);
            v->SetValueInvalid();
        }
    }
    if (network == nullptr) return rc;
    // The hook's status is the result, also when SetEvidence failed.
    return network->RelevanceControlValue(handle);
}

int QEL_beliefVector::ClearControlledValue() {
    if (IsControlled()) {
        flags &= ~QEL_VALUE_CONTROLLED;
        ClearEvidence();
    }
    if (network == nullptr) return QEL_OKAY;
    return network->RelevanceClearControlledValue(handle);
}
