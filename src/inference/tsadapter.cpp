// The join tree's view of one piece: a snapshot of the structure by node
// number, and the forwarding of results to the model's nodes.
//
// The snapshot (state counts, evidence, parents as node numbers) is taken once
// per update, in one pass over the piece, so that the triangulator and the
// potentials can ask the same questions many times at the price of an array
// read. Parents are translated from records to node numbers through the
// records' positions in their pool block. A table whose shape does not match
// its record's parents is not handed out, so that no walk can leave it.
#include "orvil/tsadapter.h"

#include <string>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodevalue.h"
#include "orvil/rnetwork.h"

TsAdapter::TsAdapter(QEL_rNetwork& piece, int* zeroCounter) : zeroCounter(zeroCounter) {
    const int n = piece.nodes.Count();
    records.assign(piece.nodes.begin(), piece.nodes.end());
    states.resize(size_t(n));
    evidence.resize(size_t(n));
    parentStart.resize(size_t(n) + 1);
    if (n == 0) return;
    // Record position in the pool block -> node number in this piece.
    const QEL_rNode::QEL_rNodePool* pool = records[0]->pool;
    std::vector<int> numberOf(size_t(pool->GetNumberMade()), -1);
    int arcs = 0;
    for (int i = 0; i < n; ++i) {
        numberOf[size_t(pool->IndexOf(records[size_t(i)]))] = i;
        arcs += records[size_t(i)]->parents.Count();
    }
    parentList.reserve(size_t(arcs));
    for (int i = 0; i < n; ++i) {
        QEL_rNode* record = records[size_t(i)];
        states[size_t(i)] = record->Get_Num_of_States();
        evidence[size_t(i)] = record->evidence;
        parentStart[size_t(i)] = int(parentList.size());
        for (QEL_rNode* parent : record->parents) {
            const bool inside = parent->network == record->network && parent->pool == pool;
            parentList.push_back(inside ? numberOf[size_t(pool->IndexOf(parent))] : -1);
        }
    }
    parentStart[size_t(n)] = int(parentList.size());
    tables.resize(size_t(n));
    for (int i = 0; i < n; ++i) tables[size_t(i)] = FitsItsFamily(i) ? records[size_t(i)]->table : nullptr;
}

TsAdapter::~TsAdapter() = default;

bool TsAdapter::FitsItsFamily(int i) const {
    const QEL_Dmatrix* table = records[size_t(i)]->table;
    if (table == nullptr) return false;
    const int first = parentStart[size_t(i)];
    const int count = parentStart[size_t(i) + 1] - first;
    if (table->GetNumberOfDimensions() != count + 1) return false;
    for (int k = 0; k < count; ++k) {
        const int parent = parentList[size_t(first + k)];
        const int expected = parent >= 0 ? states[size_t(parent)] : records[size_t(i)]->parents[k]->Get_Num_of_States();
        if (table->GetSizeOfDimension(k) != expected) return false;
    }
    return table->GetSizeOfLastDimension() == states[size_t(i)];
}

void TsAdapter::GetParents(int i, fastarray<int, 24, int>& out) const {
    const int first = parentStart[size_t(i)];
    const int last = parentStart[size_t(i) + 1];
    out.SetCount(last - first);
    for (int k = first; k < last; ++k) out[k - first] = parentList[size_t(k)];
}

const QEL_Dmatrix* TsAdapter::GetMatrix(int i) const { return tables[size_t(i)]; }

double* TsAdapter::GetBeliefs(int i) {
    QEL_rNode* record = records[size_t(i)];
    if (record->node == nullptr || record->node->Value() == nullptr) return nullptr;
    // Engines write one node's beliefs and mark them valid before the next,
    // so one buffer serves every node that lost outcomes.
    if (!record->keptStates.IsEmpty()) {
        shrunkBeliefs.assign(size_t(states[size_t(i)]), 0.0);
        return shrunkBeliefs.data();
    }
    record->Expand_Beliefs(states[size_t(i)]);
    QEL_Dmatrix* beliefs = nullptr;
    if (record->node->Value()->GetValue(&beliefs) != QEL_OKAY || beliefs == nullptr) return nullptr;
    if (beliefs->GetSize() != states[size_t(i)]) return nullptr;
    return beliefs->GetItems().Items();
}

const char* TsAdapter::GetNodeId(int i) const {
    const QEL_node* node = records[size_t(i)]->node;
    return node != nullptr ? node->GetId() : nullptr;
}

int TsAdapter::GetNodeHandle(int i) const {
    const QEL_node* node = records[size_t(i)]->node;
    return node != nullptr ? node->GetHandle() : -1;
}

bool TsAdapter::IsTarget(int i) const {
    const QEL_node* node = records[size_t(i)]->node;
    if (node == nullptr || node->GetNetwork() == nullptr) return false;
    const QEL_network& net = *node->GetNetwork();
    return net.GetNumberOfTargets() == 0 || net.IsTarget(node->GetHandle()) == 1;
}

void TsAdapter::SetValueValid(int i) {
    QEL_rNode* record = records[size_t(i)];
    if (!record->keptStates.IsEmpty()) {
        if (shrunkBeliefs.size() == size_t(states[size_t(i)])) record->Spread_Beliefs(shrunkBeliefs.data());
        return;
    }
    QEL_node* node = record->node;
    if (node != nullptr && node->Value() != nullptr) node->Value()->SetValueValid();
}

QEL_network* TsAdapter::Network() const {
    for (const QEL_rNode* record : records) {
        if (record->node != nullptr) return record->node->GetNetwork();
    }
    return nullptr;
}

bool TsAdapter::WillStorePotentials() const {
    const QEL_network* net = Network();
    return net != nullptr && net->IsJptStoreEnabled();
}

QEL_Dmatrix* TsAdapter::GetPotentialMatrix(const fastarray<int, 24, int>& nodes,
                                           const fastarray<int, 24, int>& dims) {
    QEL_network* net = Network();
    if (net == nullptr || nodes.Count() != dims.Count()) return nullptr;
    std::vector<int> handles;
    for (int node : nodes) {
        const int handle = GetNodeHandle(node);
        if (handle < 0) return nullptr;
        handles.push_back(handle);
    }
    QEL_Dmatrix* matrix = net->InitJpt(handles);
    if (matrix == nullptr) return nullptr;
    int cells = 1;
    for (int d : dims) cells *= d;
    return matrix->GetSize() == cells ? matrix : nullptr;
}

void TsAdapter::ReportZeroPotential(int i) {
    std::string message = "All potential entries are zeros for node ";
    const char* id = GetNodeId(i);
    if (id != nullptr) {
        message += id;
    } else {
        message += "with handle " + std::to_string(GetNodeHandle(i));
    }
    QEL_errorH().LogError(QEL_ZERO_POTENTIAL, message.c_str());
    if (zeroCounter != nullptr) ++*zeroCounter;
}
