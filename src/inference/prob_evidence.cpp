// The probability of the evidence, P(e): of the observed outcomes alone;
// likelihood vectors do not enter it.
//
// The join tree gives it in one pass where that engine is built in. The
// fallback is the chain rule: with the real evidence taken away, it is
// entered again one node at a time in parents-before-children order, and
// each node's factor P(e_i | e_1 .. e_i-1) is read from an update that
// targets that node alone. That costs one update per observed node and is
// only used when the join tree is missing or fails.
#include <cstddef>
#include <utility>
#include <vector>

#include "inference/engine_table.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"

namespace {

// Marker of a failed computation, as the engines report it.
const double kFailed = -1.0;

}  // namespace

int QEL_network::CalcProbEvidence(double& result, bool forceChainRule) {
    QEL_intArray targets;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        if ((nodes[h].flags & QEL_ENTRY_TARGET) != 0) targets.Add(h);
    }
    bool ok = !forceChainRule && CalcProbEvidence_JoinTree(result);
    if (!ok) ok = CalcProbEvidence_ChainRule(result);
    ClearAllTargets();
    for (int i = 0; i < targets.NumItems(); i++) SetTarget(targets[i], true);
    return ok ? QEL_OKAY : QEL_GENERAL_ERROR;
}

bool QEL_network::CalcProbEvidence_JoinTree(double& result) {
    QEL_probEvidenceEntry engine = QEL_findProbEvidenceEngine();
    if (engine == nullptr) return false;
    ClearAllTargets();
    // Relevance pruning keeps what the targets need; with every family that
    // holds evidence targeted, no factor of P(e) is pruned away.
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        if ((ValueFlags(h) & QEL_VALUE_REAL_EVIDENCE) == 0) continue;
        const QEL_intArray& parents = nodes[h].parents;
        for (int i = 0; i < parents.NumItems(); i++) SetTarget(parents[i], true);
    }
    result = engine(this);
    return result != kFailed;
}

bool QEL_network::CalcProbEvidence_ChainRule(double& result) {
    flags &= ~QEL_RELEVANCE_ACTIVE;
    const int savedEvents = relevanceEvents;
    std::vector<std::pair<int, int>> observed;
    QEL_intArray likelihoods;
    const QEL_intArray& order = PartialOrdering();
    for (int i = 0; i < order.NumItems(); i++) {
        QEL_nodeValue* value = nodes[order[i]].node->Value();
        if (value == nullptr) continue;
        // Likelihood vectors stay stored but out of the updates, as they are
        // out of the join tree's computation: P(e) is of observations alone.
        if (value->IsVirtualEvidence()) {
            likelihoods.Add(order[i]);
            value->ClearFlagBits(QEL_VALUE_VIRTUAL_EVIDENCE);
        }
        if (value->IsRealEvidence()) observed.emplace_back(order[i], value->GetEvidence());
        // Propagated evidence is not recorded: it follows again from the real
        // evidence as that is entered.
        if (value->HasEvidence()) {
            value->ClearFlagBits(QEL_VALUE_REAL_EVIDENCE | QEL_VALUE_PROPAGATED_EVIDENCE);
            value->SetValueInvalid();
        }
    }
    ClearAllTargets();
    flags |= QEL_RELEVANCE_ACTIVE;
    result = 1.0;
    int previous = QEL_NO_NODE;
    std::size_t next = 0;
    for (; next < observed.size(); next++) {
        const int handle = observed[next].first;
        const int outcome = observed[next].second;
        QEL_nodeValue* value = nodes[handle].node->Value();
        // Implied by the evidence entered so far: its factor is 1.
        if (value->IsPropagatedEvidence()) continue;
        if (previous != QEL_NO_NODE) SetTarget(previous, false);
        SetTarget(handle, true);
        previous = handle;
        InvalidateAllBeliefs();
        int rc = UpdateBeliefs();
        QEL_Dmatrix* beliefs = nullptr;
        if (rc == QEL_OKAY) rc = value->GetValue(&beliefs);
        if (rc == QEL_OKAY) {
            result *= (*beliefs)[outcome];
            rc = value->SetEvidence(outcome);
        }
        if (rc != QEL_OKAY) {
            result = kFailed;
            break;
        }
    }
    // After a failure the caller's remaining observations are entered again
    // unchecked, so that a failed computation does not cost the model its
    // evidence.
    for (; next < observed.size(); next++) {
        QEL_nodeValue* value = nodes[observed[next].first].node->Value();
        if (!value->HasEvidence()) value->SetEvidence(observed[next].second);
    }
    for (int i = 0; i < likelihoods.NumItems(); i++) {
        nodes[likelihoods[i]].node->Value()->SetFlagBits(QEL_VALUE_VIRTUAL_EVIDENCE);
    }
    ClearAllTargets();
    relevanceEvents = savedEvents;
    InvalidateAllBeliefs();
    return result != kFailed;
}
