// The walks of relevance reasoning over pruned records: barren nodes,
// evidence spread through deterministic tables, nuisance roots, and the
// labelling of connected components.
//
// Each walk changes the records' arcs as it goes (a barren node leaves its
// parents' children, an observed node its children's parents), so the lists
// a walk iterates over are copied first wherever the walk itself can change
// them. `mark` tells the walks apart: 20 barren, 2 spread from, 10 summed
// out, and the component number during labelling.
//
// A barren node sums out to 1 only when its table's columns sum to one, and
// shared models often carry tables rounded to a few digits whose columns do
// not. Dropping such a node would quietly change every posterior, so what
// its columns sum to is handed on to its parents instead (see
// LeaveColumnSums).

#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"

namespace {

bool IsTargetRecord(const QEL_rNode* record) {
    if (record->node == nullptr || record->node->GetNetwork() == nullptr) return false;
    return record->node->GetNetwork()->IsTarget(record->node->GetHandle()) == 1;
}

void Unlink(fastarray<QEL_rNode*, 16, int>& children, QEL_rNode* child) { children.Delete(children.IndexOf(child)); }

void Unlink(fastarray<QEL_rNode*, 8, int>& parents, QEL_rNode* parent) { parents.Delete(parents.IndexOf(parent)); }

// `child` is certain to take one outcome given `record`'s evidence: it is
// observed there, loses its parents and gets a one-hot table of its own.
void InstantiateChild(QEL_rNode* record, QEL_rNode* child) {
    const int states = child->Get_Num_of_States();
    for (int s = 0; s < states; ++s) {
        if (!child->Test_State(1.0, record, record->evidence, s)) continue;
        child->Set_Evidence(s);
        for (QEL_rNode* parent : child->parents) Unlink(parent->children, child);
        child->parents.Clear();
        child->Set_Probabilities_Table();
        Instantiate_Evidence(child);
        return;
    }
}

// `record`'s evidence leaves `parent` one possible outcome: it is observed
// there and cut from `record`, whose table keeps that slice.
void InstantiateParent(QEL_rNode* record, QEL_rNode* parent) {
    const int states = parent->Get_Num_of_States();
    int possible = -1;
    for (int t = 0; t < states; ++t) {
        if (record->Test_State(0.0, parent, t, record->evidence)) continue;
        if (possible >= 0) return;
        possible = t;
    }
    if (possible < 0) return;
    parent->Set_Evidence(possible);
    Unlink(parent->children, record);
    record->Clamp_Evidence(parent);
    Unlink(record->parents, parent);
    Instantiate_Evidence(parent);
}

bool IsOpen(const QEL_rNode* record) {
    return record->mark != QEL_rNode::markBarren && record->evidence < 0;
}

// What a node summed away leaves behind when its columns do not all sum to
// one (`sums`, owned here): a constant when no unobserved parent is left, and
// otherwise a factor over those parents. The factor goes into the table of a
// parent whose family holds all the others (always so for a single parent);
// without one, it stays as a record of its own, with no node and one
// observed state, and then the record is not barren after all: the result
// is false.
bool LeaveColumnSums(QEL_rNode* record, QEL_Dmatrix* sums) {
    fastarray<QEL_rNode*, 8, int> open;
    for (QEL_rNode* parent : record->parents) {
        if (parent->evidence < 0) open.Add(parent);
    }
    if (open.IsEmpty()) {
        record->network->scale *= (*sums)[0];
        delete sums;
        return true;
    }
    for (QEL_rNode* parent : open) {
        if (!parent->Covers(open)) continue;
        parent->Multiply_By(*sums, open);
        delete sums;
        return true;
    }
    for (QEL_rNode* parent : record->parents) {
        if (parent->evidence >= 0) Unlink(parent->children, record);
    }
    record->parents = open;
    record->Set_Probabilities_Table(sums);
    record->node = nullptr;
    record->evidence = 0;
    return false;
}

}  // namespace

void Mark_Barren(QEL_rNode* record) {
    if (record->evidence >= 0 || record->mark == QEL_rNode::markBarren || !record->children.IsEmpty()) return;
    if (IsTargetRecord(record)) return;
    const double tolerance = record->network->barrenTolerance;
    // Summing a large table is the main cost of pruning: it is done only
    // for a caller who asked for the digits of columns that miss one.
    QEL_Dmatrix* sums = tolerance < QEL_rNetwork::dropAnyBarren ? record->Column_Sums(tolerance) : nullptr;
    if (sums != nullptr && !LeaveColumnSums(record, sums)) return;
    record->mark = QEL_rNode::markBarren;
    for (QEL_rNode* parent : record->parents) Unlink(parent->children, record);
    for (QEL_rNode* parent : record->parents) Mark_Barren(parent);
}

void Instantiate_Evidence(QEL_rNode* record) {
    record->mark = QEL_rNode::markVisited;
    const fastarray<QEL_rNode*, 16, int> children(record->children);
    for (QEL_rNode* child : children) {
        if (IsOpen(child)) InstantiateChild(record, child);
    }
    const fastarray<QEL_rNode*, 8, int> parents(record->parents);
    for (QEL_rNode* parent : parents) {
        if (IsOpen(parent)) InstantiateParent(record, parent);
    }
}

void Mark_Poly_Nuisance_Nodes(QEL_rNode* record) {
    if (record->evidence >= 0 || record->mark == QEL_rNode::markNuisance) return;
    if (!record->parents.IsEmpty() || record->children.Count() != 1 || IsTargetRecord(record)) return;
    record->mark = QEL_rNode::markNuisance;
    QEL_rNode* child = record->children[0];
    child->Marginalize(record);
    Unlink(child->parents, record);
    record->children.Clear();
    Mark_Poly_Nuisance_Nodes(child);
}

void Mark_Relevant_Nodes(QEL_rNode* record, int component) {
    // An explicit stack: a long chain would otherwise recurse once per node.
    // Most pieces are labelled without leaving its inline room.
    fastarray<QEL_rNode*, 64, int> stack;
    stack.Add(record);
    while (!stack.IsEmpty()) {
        QEL_rNode* next = stack.Last();
        stack.SetCount(stack.Count() - 1);
        if (next->mark == component) continue;
        next->mark = component;
        for (QEL_rNode* parent : next->parents) {
            if (parent->mark != component) stack.Add(parent);
        }
        for (QEL_rNode* child : next->children) {
            if (child->mark != component) stack.Add(child);
        }
    }
}
