// The master copy of a network: one record per node, in handle order.
//
// Each record shares its definition's table and reads its evidence from the
// node's value. Arcs are copied as they stand, except around controlled
// nodes: control fixes a node's outcome from outside the model, so the arcs
// into it carry nothing and are left out, while its arcs to its children stay.
#include <cstddef>
#include <vector>

#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"
#include "orvil/rnetwork.h"

namespace {

bool IsControlled(const QEL_node* node) {
    return node->Value() != nullptr && node->Value()->IsControlled();
}

}  // namespace

QEL_rNetwork::QEL_rNetwork(QEL_network& net, bool usePropagated, bool /*decompose*/) {
    const int last = net.GetLastNode();
    if (last < 0) return;
    auto* pool = new QEL_rNode::QEL_rNodePool(net.GetNumberOfNodes());
    std::vector<QEL_rNode*> byHandle(static_cast<size_t>(last) + 1, nullptr);
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_rNode* record = pool->Create_Node();
        if (record == nullptr) break;
        record->node = net.GetNode(h);
        record->network = this;
        record->Init_Evidence(usePropagated);
        record->Init_Probabilities();
        nodes.Add(record);
        byHandle[size_t(h)] = record;
    }
    pool->DeleteIfUnused();
    for (QEL_rNode* record : nodes) {
        const int h = record->node->GetHandle();
        if (!IsControlled(record->node)) {
            const QEL_intArray& parents = net.GetParents(h);
            for (int i = 0; i < parents.NumItems(); ++i) record->parents.Add(byHandle[size_t(parents[i])]);
        }
        const QEL_intArray& children = net.GetChildren(h);
        for (int i = 0; i < children.NumItems(); ++i) {
            QEL_rNode* child = byHandle[size_t(children[i])];
            if (!IsControlled(child->node)) record->children.Add(child);
        }
    }
}
