// QEL_network: the full copy. Slots are copied one for one, so every handle
// of the source names the same node in the copy, holes included; each node
// is copied whole and then re-bound to the new network.
#include <new>

#include "orvil/casemanager.h"
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/jptstore.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/submodel.h"

QEL_network::QEL_network(const QEL_network& other) : QEL_object() {
    Construct();
    Copy(other, false);
    CheckReadiness(0);
}

int QEL_network::Copy(const QEL_network& source, bool dropTemporal) {
    if (!source.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&source == this) return 0;
    CleanUp(1);
    nodes = new (std::nothrow) QEL_nodeEntry[source.maxNodes];
    if (nodes == nullptr) return QEL_OUT_OF_MEMORY;
    maxNodes = source.maxNodes;
    for (int h = 0; h < maxNodes; h++) {
        QEL_nodeEntry& entry = nodes[h];
        entry = source.nodes[h];
        if (dropTemporal) entry.temporalType = 0;
        if (entry.node == nullptr) continue;
        entry.node = new QEL_node(*source.nodes[h].node);
        entry.node->SetNetwork(this);
    }
    creation = source.creation;
    userProperties = source.userProperties;
    *submodels = *source.submodels;
    submodels->SetNetwork(this);
    submodels->CheckReadiness(1);

    numNodes = source.numNodes;
    growthStep = source.growthStep;
    numTargets = source.numTargets;
    numberOfSamples = source.numberOfSamples;
    numberOfDiscretizationSamples = source.numberOfDiscretizationSamples;
    rejectOutliers = source.rejectOutliers;
    defaultBNAlgorithm = source.defaultBNAlgorithm;
    defaultIDAlgorithm = source.defaultIDAlgorithm;
    zeroAvoidance = source.zeroAvoidance;
    partialOrder = source.partialOrder;
    partialOrderValid = source.partialOrderValid;
    flags = source.flags;
    relevanceEvents = source.relevanceEvents;
    faultNameFormat = source.faultNameFormat;
    noisyDecompEnabled = source.noisyDecompEnabled;
    noisyDecompLimit = source.noisyDecompLimit;

    delete cases;
    cases = new QEL_caseManager(this);
    if (!dropTemporal && source.dbn != nullptr) dbn = new QEL_dbnImpl(*this, *source.dbn);
    if (source.jptStore != nullptr) jptStore = new QEL_jptStore(*source.jptStore);
    CheckReadiness(0);
    return 0;
}
