// QEL_networkState: taking and restoring a snapshot of evidence and
// targets. Evidence is kept per handle in a plain vector, since the
// snapshot is made for a model whose node set does not grow while it lives.
#include "orvil/networkstate.h"

#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"

// Room reserved for targets at once; most models have a handful.
static const size_t reservedTargets = 32;

QEL_networkState::QEL_networkState(QEL_network& net, bool onlyTargets)
    : network(net), relevanceWasOn(false), targetsOnly(onlyTargets) {
    targets.reserve(reservedTargets);
    for (int h = network.GetFirstNode(); h >= 0; h = network.GetNextNode(h)) {
        if (network.IsTarget(h) == 1) targets.push_back(h);
    }
    if (!targetsOnly) {
        const int last = network.GetLastNode();
        evidence.assign(last >= 0 ? last + 1 : 0, -1);
        for (int h = network.GetFirstNode(); h >= 0; h = network.GetNextNode(h)) {
            const QEL_nodeValue* value = network.GetNode(h)->Value();
            if (value != nullptr && value->HasEvidence()) evidence[h] = value->GetEvidence();
        }
    }
    relevanceWasOn = (network.GetNetworkFlags() & QEL_network::QEL_RELEVANCE_ACTIVE) != 0;
}

QEL_networkState::~QEL_networkState() {
    network.ClearAllTargets();
    if (!targetsOnly) {
        network.ClearAllEvidence();
        for (size_t h = 0; h < evidence.size(); h++) {
            QEL_node* node = network.GetNode(static_cast<int>(h));
            if (evidence[h] < 0 || node == nullptr || node->Value() == nullptr) continue;
            node->Value()->SetEvidence(evidence[h]);
        }
    }
    for (int handle : targets) network.SetTarget(handle, true);
    if (relevanceWasOn) {
        network.SetNetworkFlags(network.GetNetworkFlags() | QEL_network::QEL_RELEVANCE_ACTIVE);
    }
}
