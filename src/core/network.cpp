// QEL_network: construction, the node table and its growth, and the passes
// that empty the network or check it. The table is one array of entries;
// growing it swaps each entry's contents into a larger array, so handles
// and node objects stay where they are while only list headers move.
#include "orvil/network.h"

#include <new>

#include "core/network_defaults.h"
#include "orvil/casemanager.h"
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/node.h"
#include "orvil/submodel.h"

// Slots of a new table and slots added per growth, when the caller gives
// no usable number.
static const int defaultTableSize = 50;
// Network flags after construction: relevance reasoning active, evidence
// chased through deterministic tables.
static const int defaultNetworkFlags = 3;
// Every class of model event runs the relevance hooks.
static const int allRelevanceEvents = 0x7FFFFFFF;
static const int defaultFaultNameFormat = 3;
static const int defaultNoisyDecompLimit = 4;

QEL_nodeEntry::QEL_nodeEntry() : node(nullptr), temporalType(0), flags(0), depth(0) {
    SetObjectReady();
}

int QEL_nodeEntry::operator=(const QEL_nodeEntry& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    node = other.node;
    parents = other.parents;
    children = other.children;
    costParents = other.costParents;
    costChildren = other.costChildren;
    flags = other.flags;
    temporalType = other.temporalType;
    return 0;
}

void QEL_nodeEntry::Swap(QEL_nodeEntry& other) {
    QEL_node* otherNode = other.node;
    other.node = node;
    node = otherNode;
    int value = other.temporalType;
    other.temporalType = temporalType;
    temporalType = value;
    value = other.flags;
    other.flags = flags;
    flags = value;
    parents.Swap(other.parents);
    children.Swap(other.children);
    costParents.Swap(other.costParents);
    costChildren.Swap(other.costChildren);
}

QEL_network::QEL_network() : QEL_network(defaultTableSize, defaultTableSize) {}

QEL_network::QEL_network(int initialSize, int growth) {
    Construct();
    ReCreate(initialSize, growth);
}

QEL_network::~QEL_network() {
    CleanUp(1);
    delete submodels;
    delete cases;
}

void QEL_network::Construct() {
    submodels = new QEL_submodelHandler(this);
    cases = new QEL_caseManager(this);
    nodes = nullptr;
    zeroAvoidance = true;
    defaultBNAlgorithm = 0;
    defaultIDAlgorithm = 0;
    partialOrderValid = false;
    flags = defaultNetworkFlags;
    relevanceEvents = allRelevanceEvents;
    readFlags = 0;
    noisyDecompEnabled = false;
    noisyDecompLimit = defaultNoisyDecompLimit;
    randGen = nullptr;
    dbn = nullptr;
    jptStore = nullptr;
    extFunctions = nullptr;
    listener = nullptr;
    Initialize();
}

void QEL_network::Initialize() {
    nodes = nullptr;
    maxNodes = 0;
    numNodes = 0;
    growthStep = defaultTableSize;
    numTargets = 0;
    numberOfSamples = kNetworkDefaultSamples;
    numberOfDiscretizationSamples = kNetworkDefaultSamples;
    rejectOutliers = false;
    faultNameFormat = defaultFaultNameFormat;
}

int QEL_network::ReCreate(int initialSize, int growth) {
    CleanUp(1);
    if (initialSize < 1) initialSize = defaultTableSize;
    if (growth < 1) growth = defaultTableSize;
    nodes = new (std::nothrow) QEL_nodeEntry[initialSize];
    if (nodes == nullptr) return QEL_OUT_OF_MEMORY;
    maxNodes = initialSize;
    growthStep = growth;
    submodels->ReCreate(this);
    GetHeader().SetId("Unnamed");
    GetHeader().SetName("Unnamed");
    CheckReadiness(0);
    return 0;
}

int QEL_network::CleanUp(int deep) {
    if (deep != 0) {
        for (int h = 0; h < maxNodes; h++) {
            nodes[h].parents.CleanUp();
            nodes[h].children.CleanUp();
            nodes[h].costParents.CleanUp();
            nodes[h].costChildren.CleanUp();
            nodes[h].flags = 0;
        }
        creation.CleanUp();
        userProperties.CleanUp();
        submodels->CleanUp(1);
        cases->DeleteAllCases();
        delete dbn;
        dbn = nullptr;
        EnableJptStore(false);
    }
    for (int h = 0; h < maxNodes; h++) delete nodes[h].node;
    delete[] nodes;
    // The cached order names handles of the nodes just destroyed.
    partialOrderValid = false;
    Initialize();
    CheckReadiness(0);
    return 0;
}

int QEL_network::CheckReadiness(int deep) {
    if (deep != 0) {
        creation.CheckReadiness(0);
        userProperties.CheckReadiness(0);
        submodels->CheckReadiness(deep);
    }
    for (int h = GetFirstNode(); h >= 0; h = GetNextNode(h)) {
        QEL_node* node = nodes[h].node;
        if (deep != 0) node->CheckReadiness(deep);
        if (node->IsReady()) continue;
        // A node that cannot be used (say, one read from a damaged file)
        // leaves the model here.
        if (DeleteNode(h) != 0) {
            SetObjectNotReady();
            return QEL_OBJECT_NOT_READY;
        }
    }
    SetObjectReady();
    return 0;
}

int QEL_network::Grow() {
    int newSize = maxNodes + growthStep;
    QEL_nodeEntry* grown = new (std::nothrow) QEL_nodeEntry[newSize];
    if (grown == nullptr) return QEL_OUT_OF_MEMORY;
    for (int h = 0; h < maxNodes; h++) grown[h].Swap(nodes[h]);
    delete[] nodes;
    nodes = grown;
    maxNodes = newSize;
    return 0;
}

int QEL_network::FindHole() {
    if (numNodes == maxNodes) {
        int rc = Grow();
        if (rc != 0) return rc;
        return numNodes;
    }
    // Handles are handed out from the node count upward; only when that
    // slot is taken is the table searched from the bottom. Callers see this
    // order (a freed low handle is not always the next one given), so it
    // stays as it is.
    if (nodes[numNodes].node == nullptr) return numNodes;
    for (int h = 0; h < maxNodes; h++) {
        if (nodes[h].node == nullptr) return h;
    }
    return QEL_OUT_OF_RANGE;
}

QEL_node* QEL_network::GetNode(int handle) const {
    return Ok(handle) ? nodes[handle].node : nullptr;
}

bool QEL_network::Ok(int handle) const {
    return handle >= 0 && handle < maxNodes && nodes[handle].node != nullptr;
}

QEL_header& QEL_network::GetHeader() {
    return submodels->Root().header;
}

QEL_dbnImpl& QEL_network::Dbn() {
    if (dbn == nullptr) dbn = new QEL_dbnImpl(*this);
    return *dbn;
}

QEL_errorStringHandler& QEL_network::ErrorHandler() {
    return QEL_errorH();
}

int QEL_network::SetFlag(int mask) {
    for (int h = 0; h < maxNodes; h++) nodes[h].flags |= mask;
    return 0;
}

int QEL_network::CleanFlag(int mask) {
    for (int h = 0; h < maxNodes; h++) nodes[h].flags &= ~mask;
    return 0;
}

int QEL_network::CleanFlag() {
    for (int h = 0; h < maxNodes; h++) nodes[h].flags = 0;
    return 0;
}
