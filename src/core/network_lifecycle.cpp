// QEL_network: the whole-model operations that are neither building,
// copying nor inference. Flush empties a network for a read while keeping
// its table and settings; the consistency pass reports every node whose
// parts disagree; MakeUniform resets all tables at once with the relevance
// walk off, since one walk per node would be wasted on a model whose every
// table changes.
#include <stdio.h>

#include "core/network_defaults.h"
#include "orvil/casemanager.h"
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/submodel.h"

// The build's version and commit; the build system may pass its own.
#ifndef ORVIL_VERSION_TEXT
#define ORVIL_VERSION_TEXT "0.1.0"
#endif
#ifndef ORVIL_COMMIT_TEXT
#define ORVIL_COMMIT_TEXT "unknown"
#endif

int QEL_network::Flush() {
    submodels->Flush();
    for (int h = 0; h < maxNodes; h++) {
        QEL_nodeEntry& entry = nodes[h];
        delete entry.node;
        entry.node = nullptr;
        entry.parents.Flush();
        entry.children.Flush();
    }
    numNodes = 0;
    numTargets = 0;
    numberOfSamples = kNetworkDefaultSamples;
    numberOfDiscretizationSamples = kNetworkDefaultSamples;
    rejectOutliers = false;
    delete dbn;
    dbn = nullptr;
    cases->DeleteAllCases();
    // Stored joint tables name handles of the nodes just destroyed.
    RemoveJpts();
    partialOrder.Flush();
    return 0;
}

int QEL_network::CheckConsistency(int deep) {
    if (deep != 0) {
        creation.CheckConsistency(0);
        userProperties.CheckConsistency(deep);
        submodels->CheckConsistency(deep);
    }
    if (!creation.IsConsistent() || !userProperties.IsConsistent() || !submodels->IsConsistent()) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    bool reported = false;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_node* node = nodes[h].node;
        if (deep != 0) node->CheckConsistency(deep);
        if (node->IsConsistent()) continue;
        char message[512];
        const char* id = node->GetId();
        snprintf(message, sizeof message, "ERROR: Node [%s] is not consistent. Inference may not be correct",
                 id != nullptr ? id : "");
        QEL_errorH().LogError(QEL_OBJECT_NOT_CONSISTENT, message);
        reported = true;
    }
    if (reported) {
        SetObjectNotConsistent();
        return QEL_OBJECT_NOT_CONSISTENT;
    }
    SetObjectConsistent();
    return 0;
}

// A uniform table, and no outcome deduced from the old tables.
static void MakeNodeUniform(QEL_node& node) {
    if (node.Definition() != nullptr) node.Definition()->MakeUniform();
    QEL_nodeValue* value = node.Value();
    if (value != nullptr && value->IsPropagatedEvidence()) value->ClearPropagatedEvidence();
}

int QEL_network::MakeUniform() {
    const int relevance = flags & QEL_RELEVANCE_ACTIVE;
    flags &= ~QEL_RELEVANCE_ACTIVE;
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) MakeNodeUniform(*nodes[h].node);
    flags |= relevance;
    InvalidateAllBeliefs();
    return 0;
}

int QEL_network::MakeUniform(const std::vector<int>& handles) {
    const int relevance = flags & QEL_RELEVANCE_ACTIVE;
    flags &= ~QEL_RELEVANCE_ACTIVE;
    for (size_t i = 0; i < handles.size(); i++) {
        if (!Ok(handles[i])) {
            if (i > 0) InvalidateAllBeliefs();
            return QEL_OUT_OF_RANGE;
        }
        MakeNodeUniform(*nodes[handles[i]].node);
    }
    flags |= relevance;
    if (!handles.empty()) InvalidateAllBeliefs();
    return 0;
}

int QEL_network::IsArcNecessary(int parent, int child, double epsilon, bool& necessary) {
    if (!Ok(parent) || !Ok(child)) return QEL_OUT_OF_RANGE;
    const int position = nodes[child].parents.FindPosition(parent);
    if (position < 0) return QEL_INVALID_VALUE;
    QEL_nodeDefinition* definition = nodes[child].node->Definition();
    if (definition == nullptr) return QEL_OUT_OF_RANGE;
    return definition->IsParentNecessary(position, epsilon, necessary);
}

void QEL_network::GetBuild(std::string& text) {
    text = "Orvil " ORVIL_VERSION_TEXT "@" ORVIL_COMMIT_TEXT;
}

void QEL_network::GetTopComment(std::string& text) {
    text = "Created by the Orvil reasoning engine, build ";
    std::string build;
    GetBuild(build);
    text += build.substr(build.find(' ') + 1);
}
