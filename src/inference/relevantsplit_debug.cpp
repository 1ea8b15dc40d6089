// A pruned piece rebuilt as a plain network, to look at what relevance
// reasoning left for an engine: which nodes, which arcs, which (sliced or
// summed) tables. No inference path uses it.
#include <string>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"

namespace {

std::string IdOf(const QEL_rNode& record, int position) {
    if (record.node != nullptr) return record.node->GetId();
    return "@" + std::to_string(position);
}

bool IsTargetRecord(const QEL_rNode& record) {
    const QEL_network* owner = record.node != nullptr ? record.node->GetNetwork() : nullptr;
    return owner != nullptr && owner->IsTarget(record.node->GetHandle()) == 1;
}

int CopyTable(const QEL_rNode& record, QEL_nodeDefinition& definition) {
    QEL_Dmatrix* target = definition.GetMatrix();
    if (record.table == nullptr) return QEL_OKAY;
    if (target == nullptr || target->GetSize() != record.table->GetSize()) return QEL_GENERAL_ERROR;
    for (int i = 0; i < target->GetSize(); ++i) (*target)[i] = (*record.table)[i];
    return QEL_OKAY;
}

}  // namespace

int QEL_netFromRnet(QEL_rNetwork& rnet, QEL_network& net) {
    const int n = rnet.nodes.Count();
    std::vector<int> handles(size_t(n), -1);
    for (int i = 0; i < n; ++i) {
        const QEL_rNode& record = *rnet.nodes[i];
        const int h = net.AddNode(qel_cptType, IdOf(record, i).c_str());
        if (h < 0) return h;
        handles[size_t(i)] = h;
        const int rc = net.GetNode(h)->Definition()->SetNumberOfOutcomes(record.Get_Num_of_States());
        if (rc != QEL_OKAY) return rc;
        if (IsTargetRecord(record)) net.SetTarget(h, true);
    }
    for (int i = 0; i < n; ++i) {
        const QEL_rNode& record = *rnet.nodes[i];
        for (QEL_rNode* parent : record.parents) {
            const int p = rnet.nodes.IndexOf(parent);
            if (p < 0) return QEL_GENERAL_ERROR;
            const int rc = net.AddArc(handles[size_t(p)], handles[size_t(i)]);
            if (rc != QEL_OKAY) return rc;
        }
    }
    for (int i = 0; i < n; ++i) {
        const int rc = CopyTable(*rnet.nodes[i], *net.GetNode(handles[size_t(i)])->Definition());
        if (rc != QEL_OKAY) return rc;
    }
    return QEL_OKAY;
}
