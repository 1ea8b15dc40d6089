// QEL_network: the full copy and the lean working copy. Slots are copied
// one for one, so every handle of the source names the same node in the
// copy, holes included; each node is copied and then re-bound to the new
// network.
#include <new>

#include "orvil/casemanager.h"
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/jptstore.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/submodel.h"

namespace {

// A node copy is made bound to the source network, and its value enters
// its evidence again through that network before it is re-bound. The
// source's relevance hooks are held off meanwhile, so that copying a model
// never marks the source's beliefs stale nor starts an update there.
class SourceHooksOff {
public:
    explicit SourceHooksOff(const QEL_network& source)
        : network(const_cast<QEL_network&>(source)), saved(source.GetNetworkFlags()) {
        network.SetNetworkFlags(saved & ~QEL_network::QEL_RELEVANCE_ACTIVE);
    }
    ~SourceHooksOff() { network.SetNetworkFlags(saved); }
    SourceHooksOff(const SourceHooksOff&) = delete;
    SourceHooksOff& operator=(const SourceHooksOff&) = delete;

private:
    QEL_network& network;
    const int saved;
};

}  // namespace

void QEL_network::CopyEntries(const QEL_network& source, bool dropTemporal, bool lean) {
    SourceHooksOff hooksOff(source);
    for (int h = 0; h < maxNodes; h++) {
        QEL_nodeEntry& entry = nodes[h];
        entry = source.nodes[h];
        if (dropTemporal) entry.temporalType = 0;
        if (entry.node == nullptr) continue;
        QEL_node& original = *source.nodes[h].node;
        entry.node = lean ? new QEL_node(original, true) : new QEL_node(original);
        entry.node->SetNetwork(this);
    }
}

QEL_network::QEL_network(const QEL_network& other) : QEL_object() {
    Construct();
    Copy(other, false);
    CheckReadiness(0);
}

// The counts and settings both kinds of copy take over as they stand.
void QEL_network::CopySettings(const QEL_network& source) {
    numNodes = source.numNodes;
    growthStep = source.growthStep;
    numTargets = source.numTargets;
    numberOfSamples = source.numberOfSamples;
    numberOfDiscretizationSamples = source.numberOfDiscretizationSamples;
    rejectOutliers = source.rejectOutliers;
    defaultBNAlgorithm = source.defaultBNAlgorithm;
    defaultIDAlgorithm = source.defaultIDAlgorithm;
    zeroAvoidance = source.zeroAvoidance;
    flags = source.flags;
    relevanceEvents = source.relevanceEvents;
    faultNameFormat = source.faultNameFormat;
    noisyDecompEnabled = source.noisyDecompEnabled;
    noisyDecompLimit = source.noisyDecompLimit;
}

int QEL_network::Copy(const QEL_network& source, bool dropTemporal) {
    if (!source.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&source == this) return 0;
    CleanUp(1);
    nodes = new (std::nothrow) QEL_nodeEntry[source.maxNodes];
    if (nodes == nullptr) return QEL_OUT_OF_MEMORY;
    maxNodes = source.maxNodes;
    CopyEntries(source, dropTemporal, false);
    creation = source.creation;
    userProperties = source.userProperties;
    *submodels = *source.submodels;
    submodels->SetNetwork(this);
    submodels->CheckReadiness(1);

    CopySettings(source);
    partialOrder = source.partialOrder;
    partialOrderValid = source.partialOrderValid;

    delete cases;
    cases = new QEL_caseManager(this);
    if (!dropTemporal && source.dbn != nullptr) dbn = new QEL_dbnImpl(*this, *source.dbn);
    if (source.jptStore != nullptr) jptStore = new QEL_jptStore(*source.jptStore);
    CheckReadiness(0);
    return 0;
}

QEL_network::QEL_network(QEL_network& other, bool) : QEL_object() {
    Construct();
    FastCopy(other);
}

int QEL_network::FastCopy(QEL_network& source) {
    if (&source == this) return 0;
    CleanUp(1);
    nodes = new (std::nothrow) QEL_nodeEntry[source.maxNodes];
    if (nodes == nullptr) return QEL_OUT_OF_MEMORY;
    maxNodes = source.maxNodes;
    CopyEntries(source, false, true);
    CopySettings(source);
    partialOrderValid = false;
    userProperties = source.userProperties;
    // Nodes without descriptive records would fail the readiness pass, so
    // the copy is declared ready as it stands.
    SetObjectReady();
    return 0;
}
