// The update driver: which engine computes beliefs, and what it sees.
//
// An update looks over the nodes once to classify the model (temporal,
// influence diagram, hybrid, plain Bayesian network) and hands the whole
// network to the matching engine from the engine table. Engines know only
// hard evidence, so CallBNAlgorithm turns each likelihood vector into a
// temporary observed child for the duration of the run; the children are
// removed on every way out, exceptions included.
#include <cstdio>

#include "inference/engine_table.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/updatelistener.h"

namespace {

// Identifier of the temporary children; ids starting with "@" are never
// counted as in use, so every temporary node can carry it.
const char* const kTemporaryId = "@";

int LogMissingEngine(const char* kind, int number) {
    char message[128];
    std::snprintf(message, sizeof message, "%s %d is not available in this build.", kind, number);
    return QEL_errorH().LogError(QEL_OUT_OF_RANGE, message);
}

int LogUnfitLikelihood(const char* id) {
    char message[256];
    std::snprintf(message, sizeof message,
                  "Likelihood vector of node [%s] does not fit its outcomes.", id != nullptr ? id : "");
    return QEL_errorH().LogError(QEL_OUT_OF_RANGE, message);
}

// Removes the temporary children when the engine run ends, however it ends,
// with the hooks off, and leaves the relevance flag as it found it.
class TemporaryNodes {
public:
    explicit TemporaryNodes(QEL_network& net)
        : network(net), active(net.GetNetworkFlags() & QEL_network::QEL_RELEVANCE_ACTIVE) {}
    TemporaryNodes(const TemporaryNodes&) = delete;
    TemporaryNodes& operator=(const TemporaryNodes&) = delete;
    ~TemporaryNodes();
    QEL_intArray handles;

private:
    QEL_network& network;
    const int active;
};

TemporaryNodes::~TemporaryNodes() {
    network.SetNetworkFlags(network.GetNetworkFlags() & ~QEL_network::QEL_RELEVANCE_ACTIVE);
    for (int i = handles.NumItems() - 1; i >= 0; i--) network.DeleteNode(handles[i]);
    network.SetNetworkFlags(network.GetNetworkFlags() | active);
}

}  // namespace

int QEL_network::UpdateBeliefs() {
    const int rc = DoUpdateBeliefs();
    if (listener != nullptr) listener->BeliefsUpdated(*this, rc);
    return rc;
}

int QEL_network::DoUpdateBeliefs() {
    bool influenceDiagram = false;
    bool hybrid = false;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        // A plate node makes the whole model temporal, whatever else it holds.
        if (nodes[h].temporalType == 3) return RunTemporalEngine();
        const int type = DefinitionType(h);
        if ((type & (qel_decisionFlag | qel_utilityFlag)) != 0) influenceDiagram = true;
        if (type == qel_equationType || type == qel_equationSccType) hybrid = true;
    }
    if (influenceDiagram && hybrid) {
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE,
                                     "Unable to handle hybrid networks in influence diagrams.");
    }
    if (influenceDiagram) return CallIDAlgorithm();
    if (hybrid) return CallEqAlgorithm();
    return CallBNAlgorithm();
}

int QEL_network::RunTemporalEngine() {
    QEL_solverEntry engine = QEL_findTemporalEngine();
    if (engine == nullptr) {
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE,
                                     "Temporal inference is not available in this build.");
    }
    // The temporal engine updates a network of its own; an immediate update
    // from the hooks it triggers on the way would recurse into it.
    const int immediate = flags & QEL_UPDATE_IMMEDIATELY;
    flags &= ~QEL_UPDATE_IMMEDIATELY;
    const int rc = engine(this);
    flags |= immediate;
    return rc;
}

int QEL_network::CallIDAlgorithm() {
    InitializeNodeValues();
    if (defaultIDAlgorithm < QEL_FIRST_ID_ALGORITHM || defaultIDAlgorithm > QEL_LAST_ID_ALGORITHM) {
        return QEL_OUT_OF_RANGE;
    }
    QEL_solverEntry solver = QEL_findIDEngine(defaultIDAlgorithm);
    if (solver == nullptr) return LogMissingEngine("Decision algorithm", defaultIDAlgorithm);
    return solver(this);
}

int QEL_network::CallEqAlgorithm() {
    ClearAllPropagatedEvidence();
    InvalidateAllBeliefs();
    // Evidence below a root cannot be solved forward: the discretising solver
    // conditions on it instead.
    bool evidenceBelowRoot = false;
    for (int h = GetFirstNode(); h >= 0 && !evidenceBelowRoot; h = GetNextNode(h)) {
        const int observed = ValueFlags(h) & (QEL_VALUE_REAL_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE);
        evidenceBelowRoot = observed != 0 && nodes[h].parents.NumItems() > 0;
    }
    QEL_solverEntry solver = QEL_findEquationEngine(evidenceBelowRoot);
    if (solver == nullptr) {
        return QEL_errorH().LogError(QEL_OUT_OF_RANGE,
                                     "Equation solving is not available in this build.");
    }
    return solver(this);
}

int QEL_network::RunBNEngine() {
    if (defaultBNAlgorithm < QEL_FIRST_BN_ALGORITHM || defaultBNAlgorithm > QEL_LAST_BN_ALGORITHM) {
        return QEL_OUT_OF_RANGE;
    }
    QEL_bnEngineEntry engine = QEL_findBNEngine(defaultBNAlgorithm);
    if (engine == nullptr) return LogMissingEngine("Inference algorithm", defaultBNAlgorithm);
    return engine(this);
}

int QEL_network::CallBNAlgorithm() {
    RemoveJpts();
    QEL_intArray sources;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        if ((ValueFlags(h) & QEL_VALUE_VIRTUAL_EVIDENCE) != 0) sources.Add(h);
    }
    if (sources.NumItems() == 0) return RunBNEngine();
    TemporaryNodes temporary(*this);
    const int active = flags & QEL_RELEVANCE_ACTIVE;
    flags &= ~QEL_RELEVANCE_ACTIVE;
    const int rc = AddVirtualEvidenceNodes(sources, temporary.handles);
    flags |= active;
    if (rc != QEL_OKAY) return rc;
    return RunBNEngine();
}

int QEL_network::AddVirtualEvidenceNodes(const QEL_intArray& sources, QEL_intArray& created) {
    for (int i = 0; i < sources.NumItems(); i++) {
        const int source = sources[i];
        const int child = AddNode(qel_cptType, kTemporaryId);
        if (child < 0) return child;
        created.Add(child);
        int rc = AddArc(source, child, qel_normalArc);
        if (rc != QEL_OKAY) return rc;
        std::vector<double> likelihood;
        rc = GetNode(source)->Value()->GetVirtualEvidence(likelihood);
        if (rc != QEL_OKAY) return rc;
        QEL_Dmatrix* table = GetNode(child)->Definition()->GetMatrix();
        if (table == nullptr || table->GetSize() != 2 * static_cast<int>(likelihood.size())) {
            // The node's outcomes changed after the vector was stored.
            return LogUnfitLikelihood(GetNode(source)->GetId());
        }
        // The normalised likelihood serves as P(child observed | outcome i):
        // only the ratios between its entries matter to the posterior.
        for (int k = 0; k < static_cast<int>(likelihood.size()); k++) {
            (*table)[2 * k] = likelihood[k];
            (*table)[2 * k + 1] = 1.0 - likelihood[k];
        }
        rc = GetNode(child)->Value()->SetEvidence(0);
        if (rc != QEL_OKAY) return rc;
    }
    return QEL_OKAY;
}

void QEL_network::InitializeNodeValues() {
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_node* node = nodes[h].node;
        QEL_nodeValue* value = node->Value();
        if (value == nullptr) continue;
        const int outcomes = node->Definition() != nullptr
                                 ? node->Definition()->GetNumberOfOutcomes()
                                 : 1;
        // Nodes without outcomes (equations) keep a single cell.
        value->ResetForUpdate(outcomes < 1 ? 1 : outcomes);
    }
}
