// Records of the pruned network copy: the pool, the per-record operations on
// evidence, tables and values, and the list operations of a piece.
//
// Records are built in place in the pool's block and destroyed one by one as
// pieces die; the block itself goes with the last live record. A record's
// table is either the definition's own matrix, never touched here, or an owned
// matrix that the record frees.
#include "orvil/rnetwork.h"

#include <new>

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

QEL_rNode::QEL_rNodePool::QEL_rNodePool(int capacity)
    : records(static_cast<QEL_rNode*>(::operator new(sizeof(QEL_rNode) * size_t(capacity > 0 ? capacity : 1)))),
      capacity(capacity),
      live(0),
      made(0) {}

QEL_rNode::QEL_rNodePool::~QEL_rNodePool() { ::operator delete(records); }

QEL_rNode* QEL_rNode::QEL_rNodePool::Create_Node() {
    if (made >= capacity) return nullptr;
    QEL_rNode* record = new (records + made) QEL_rNode(this);
    ++made;
    ++live;
    return record;
}

void QEL_rNode::QEL_rNodePool::Free_Node(QEL_rNode* record) {
    record->~QEL_rNode();
    if (--live == 0) delete this;
}

void QEL_rNode::QEL_rNodePool::DeleteIfUnused() {
    if (live == 0) delete this;
}

QEL_rNode::QEL_rNode(QEL_rNodePool* owner)
    : node(nullptr),
      evidence(-1),
      mark(markNone),
      tableKind(noTable),
      table(nullptr),
      network(nullptr),
      pool(owner) {}

QEL_rNode::~QEL_rNode() { FreeOwnTable(); }

void QEL_rNode::FreeOwnTable() {
    if (tableKind == ownTable) delete table;
    table = nullptr;
    tableKind = noTable;
}

void QEL_rNode::Init_Evidence(bool usePropagated) {
    evidence = -1;
    if (node == nullptr || node->Value() == nullptr) return;
    const QEL_nodeValue* value = node->Value();
    if (value->IsRealEvidence() || (usePropagated && value->IsPropagatedEvidence())) {
        const int e = value->GetEvidence();
        if (e >= 0) evidence = e;
    }
}

void QEL_rNode::Init_Probabilities() {
    FreeOwnTable();
    if (node == nullptr || node->Definition() == nullptr) return;
    table = node->Definition()->GetMatrix();
    tableKind = table != nullptr ? sharedTable : noTable;
}

void QEL_rNode::Set_Probabilities_Table() {
    QEL_intArray dims;
    for (QEL_rNode* parent : parents) dims.Add(parent->Get_Num_of_States());
    const int states = Get_Num_of_States();
    dims.Add(states);
    QEL_Dmatrix* fresh = new QEL_Dmatrix(dims);
    if (evidence >= 0 && parents.IsEmpty() && evidence < states) {
        fresh->FillWith(0.0);
        (*fresh)[evidence] = 1.0;
    }
    Set_Probabilities_Table(fresh);
}

void QEL_rNode::Set_Probabilities_Table(QEL_Dmatrix* fresh) {
    FreeOwnTable();
    table = fresh;
    tableKind = fresh != nullptr ? ownTable : noTable;
}

int QEL_rNode::Get_Num_of_States() const {
    if (table != nullptr && table->GetNumberOfDimensions() > 0) return table->GetSizeOfLastDimension();
    if (node != nullptr && node->Definition() != nullptr) return node->Definition()->GetNumberOfOutcomes();
    return 0;
}

bool QEL_rNode::Table_Fits_Parents() const {
    if (table == nullptr || table->GetNumberOfDimensions() != parents.Count() + 1) return false;
    for (int p = 0; p < parents.Count(); ++p) {
        if (table->GetSizeOfDimension(p) != parents[p]->Get_Num_of_States()) return false;
    }
    return true;
}

bool QEL_rNode::Is_Conflicting_Evidence() const {
    if (evidence < 0) return false;
    if (table == nullptr || evidence >= table->GetSize()) return true;
    const int states = Get_Num_of_States();
    const int cells = table->GetSize();
    for (int i = evidence; i < cells; i += states) {
        if ((*table)[i] != 0.0) return false;
    }
    return true;
}

void QEL_rNode::Expand_Beliefs(int n) {
    if (node == nullptr || node->Value() == nullptr || n < 1) return;
    QEL_Dmatrix* beliefs = nullptr;
    if (node->Value()->GetValue(&beliefs) != QEL_OKAY || beliefs == nullptr) return;
    if (beliefs->GetNumberOfDimensions() == 1 && beliefs->GetSize() == n) return;
    beliefs->Setup(&n, 1);
}

void QEL_rNode::Set_Prior_Beliefs() {
    const int states = Get_Num_of_States();
    if (node == nullptr || table == nullptr || states < 1) return;
    // A table that does not sum to one (rounded by hand, or weighted by
    // nodes summed away below it) is normalised; one of zeros is copied.
    double total = 0.0;
    for (int i = 0; i < states; ++i) total += (*table)[i];
    const double scale = total > 0.0 ? 1.0 / total : 1.0;
    fastarray<double, 8, int> prior(states);
    for (int i = 0; i < states; ++i) prior[i] = (*table)[i] * scale;
    Spread_Beliefs(prior.Items());
}

void QEL_rNode::Spread_Beliefs(const double* beliefs) {
    if (node == nullptr || node->Value() == nullptr) return;
    const bool shrunk = !keptStates.IsEmpty();
    const int outcomes = shrunk ? node->Definition()->GetNumberOfOutcomes() : Get_Num_of_States();
    Expand_Beliefs(outcomes);
    QEL_Dmatrix* value = nullptr;
    if (node->Value()->GetValue(&value) != QEL_OKAY || value == nullptr || value->GetSize() != outcomes) return;
    if (!shrunk) {
        for (int i = 0; i < outcomes; ++i) (*value)[i] = beliefs[i];
    } else {
        value->FillWith(0.0);
        for (int i = 0; i < keptStates.Count(); ++i) (*value)[keptStates[i]] = beliefs[i];
    }
    node->Value()->SetValueValid();
}

int QEL_rNode::Set_Evidence(int e) {
    const int states = Get_Num_of_States();
    if (e < 0 || e >= states) return QEL_OUT_OF_RANGE;
    evidence = e;
    if (node == nullptr || node->Value() == nullptr) return QEL_OKAY;
    Expand_Beliefs(states);
    QEL_Dmatrix* beliefs = nullptr;
    if (node->Value()->GetValue(&beliefs) != QEL_OKAY || beliefs == nullptr) return QEL_OKAY;
    beliefs->FillWith(0.0);
    (*beliefs)[e] = 1.0;
    node->Value()->SetValueValid();
    return QEL_OKAY;
}

void QEL_rNode::Delete() { pool->Free_Node(this); }

QEL_rNetwork::QEL_rNetwork(int capacity) {
    nodes.SetCount(capacity);
    nodes.Clear();
}

QEL_rNetwork::~QEL_rNetwork() {
    for (QEL_rNode* record : nodes) record->Delete();
}

void QEL_rNetwork::Clean_Marks() {
    for (QEL_rNode* record : nodes) record->mark = QEL_rNode::markNone;
}

void QEL_rNetwork::Del_Node(QEL_rNode* record) {
    for (QEL_rNode* parent : record->parents) parent->children.Delete(parent->children.IndexOf(record));
    for (QEL_rNode* child : record->children) child->parents.Delete(child->parents.IndexOf(record));
    record->Delete();
}

void QEL_rNetwork::Delete_Marked_Nodes(int mark) {
    int kept = 0;
    for (int i = 0; i < nodes.Count(); ++i) {
        QEL_rNode* record = nodes[i];
        if (record->mark == mark) {
            Del_Node(record);
        } else {
            nodes[kept++] = record;
        }
    }
    nodes.SetCount(kept);
}

void QEL_rNetwork::Partial_Ordering() {
    fastarray<QEL_rNode*, 8, int> old(nodes);
    Clean_Marks();
    nodes.Clear();
    for (QEL_rNode* record : old) Mark_Ordered(record);
}

void QEL_rNetwork::Mark_Ordered(QEL_rNode* record) {
    if (record->mark == QEL_rNode::markOrdered) return;
    for (QEL_rNode* parent : record->parents) Mark_Ordered(parent);
    record->mark = QEL_rNode::markOrdered;
    nodes.Add(record);
}

void QEL_rNetwork::ReleaseNodes() { nodes.Clear(); }
