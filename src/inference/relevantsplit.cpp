// QEL_relevantSplit: one pass of pruning over a fresh copy of the network,
// then the cut into pieces.
//
// The order of the reductions matters. Barren nodes go first, so that
// evidence is not spread into parts that are about to be dropped, and no
// table is searched for arcs it ignores only to be dropped. Dropping such
// arcs and spreading evidence can both cut more nodes loose, so barren nodes
// are looked for again.
// Only then are observed nodes cut from their children, and a labelling from
// the targets finds the pieces and everything no target reaches. Tables are
// sliced and nuisance roots summed out last, on what is left, because those
// are the steps that copy tables.
//
// The master copy's records move into the pieces; the master itself dies
// empty at the end. The records' pool lives on until the last piece dies.
#include "orvil/relevantsplit.h"

#include <cstdlib>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/rnetwork.h"
#include "orvil/userproperties.h"

namespace {

// The network's "QEL_REL_BARREN_TOLERANCE": how far from one the column
// sums of a barren node may be for it to be dropped unread. By default every
// barren node goes unread, whatever its sums. A caller whose model has hand-
// rounded columns and who wants the digits those columns carry (the answer a
// full update gives) sets it to 0: a barren node whose sums are off by more
// than the tolerance then hands them to its parents, at the price of summing
// its ancestors. An unreadable or negative value keeps the default.
double BarrenTolerance(QEL_network& net) {
    const int index = net.UserProperties().FindProperty("QEL_REL_BARREN_TOLERANCE");
    if (index < 0) return QEL_rNetwork::dropAnyBarren;
    char* end = nullptr;
    const char* text = net.UserProperties().GetPropertyValue(index);
    const double value = std::strtod(text, &end);
    return end != text && value >= 0.0 ? value : QEL_rNetwork::dropAnyBarren;
}

// Makes every node a target when the network has none. Returns true when it
// did, so that the caller can take them back.
bool TargetAllIfNone(QEL_network& net) {
    if (net.GetNumberOfTargets() > 0) return false;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) net.SetTarget(h, true);
    return true;
}

void RemoveBarren(QEL_rNetwork& master) {
    for (QEL_rNode* record : master.nodes) Mark_Barren(record);
}

// Barren nodes have gone already, so no table is read only to be dropped.
void DropIgnoredArcs(QEL_rNetwork& master) {
    for (QEL_rNode* record : master.nodes) {
        if (record->mark != QEL_rNode::markBarren) Drop_Ignored_Parents(record);
    }
}

void SpreadEvidence(QEL_rNetwork& master) {
    for (QEL_rNode* record : master.nodes) {
        if (record->mark == QEL_rNode::markNone && record->evidence >= 0) Instantiate_Evidence(record);
    }
}

// A child's table waiting to lose the dimensions of its observed parents:
// one entry per dimension, the observed outcome or -1 to keep it.
struct PendingSlice {
    QEL_rNode* record;
    QEL_intArray fixed;
};

// An observed node tells its children all they need of it: the arcs go, and
// the children's tables are to keep only the observed slices. The node keeps
// its own parents, which its evidence still informs. Slicing waits until the
// pieces are known, so that no table is copied for a node that is dropped,
// and a child of several observed parents is copied once.
void CutAtEvidence(QEL_rNetwork& master, std::vector<PendingSlice>& pending) {
    for (QEL_rNode* record : master.nodes) {
        fastarray<QEL_rNode*, 8, int>& parents = record->parents;
        int kept = 0;
        PendingSlice slice{record, QEL_intArray()};
        for (int p = 0; p < parents.Count(); ++p) {
            if (parents[p]->evidence < 0) {
                parents[kept++] = parents[p];
                continue;
            }
            if (slice.fixed.NumItems() == 0) {
                for (int d = 0; d <= parents.Count(); ++d) slice.fixed.Add(-1);
            }
            slice.fixed[p] = parents[p]->evidence;
        }
        parents.SetCount(kept);
        if (slice.fixed.NumItems() > 0 && record->table != nullptr) pending.push_back(slice);
    }
    for (QEL_rNode* record : master.nodes) {
        if (record->evidence >= 0) record->children.Clear();
    }
}

// Slices the tables of the records that made it into a piece (mark above 0).
void ApplySlices(const std::vector<PendingSlice>& pending) {
    for (const PendingSlice& slice : pending) {
        QEL_rNode* record = slice.record;
        if (record->mark <= QEL_rNode::markNone) continue;
        auto* sliced = new QEL_Dmatrix();
        if (record->table->RemoveDimensions(slice.fixed, *sliced) != 0) {
            delete sliced;
            continue;
        }
        record->Set_Probabilities_Table(sliced);
    }
}

void RemoveNuisance(QEL_rNetwork& master) {
    master.Clean_Marks();
    for (QEL_rNode* record : master.nodes) Mark_Poly_Nuisance_Nodes(record);
    master.Delete_Marked_Nodes(QEL_rNode::markNuisance);
}

bool IsTarget(QEL_network& net, const QEL_rNode* record) {
    return record->node != nullptr && net.IsTarget(record->node->GetHandle()) == 1;
}

// Labels the components that hold a target, from 1; returns their count.
// With `keepWeight`, a component that holds the column sums of a barren node
// (a record without a node) is labelled too, even with no target in it: its
// total is a factor of the probability of evidence, though no posterior
// needs it.
int LabelComponents(QEL_network& net, QEL_rNetwork& master, bool keepWeight) {
    master.Clean_Marks();
    int components = 0;
    for (QEL_rNode* record : master.nodes) {
        if (record->mark == QEL_rNode::markNone && IsTarget(net, record)) Mark_Relevant_Nodes(record, ++components);
    }
    if (!keepWeight) return components;
    for (QEL_rNode* record : master.nodes) {
        if (record->mark == QEL_rNode::markNone && record->node == nullptr) Mark_Relevant_Nodes(record, ++components);
    }
    return components;
}

// Moves the records into one piece per component, in list order.
QEL_rNetworkList* MakePieces(QEL_rNetwork& master, int components) {
    std::vector<int> sizes(size_t(components) + 1, 0);
    for (const QEL_rNode* record : master.nodes) ++sizes[size_t(record->mark)];
    auto* pieces = new QEL_rNetworkList();
    for (int c = 1; c <= components; ++c) pieces->Add(new QEL_rNetwork(sizes[size_t(c)]));
    for (QEL_rNode* record : master.nodes) {
        QEL_rNetwork* piece = (*pieces)[record->mark - 1];
        record->network = piece;
        piece->nodes.Add(record);
    }
    if (components > 0) (*pieces)[0]->scale = master.scale;
    master.ReleaseNodes();
    return pieces;
}

// A piece that is a single observed node needs no engine: its belief is its
// evidence. The constant factor it may carry moves to a piece that stays;
// when none stays, the last such piece is kept for it. A single record
// without a node is what is left of column sums once their nodes were summed
// away: its one cell is a constant factor too.
void SettleObservedSingles(QEL_rNetworkList& pieces) {
    int kept = 0;
    double scale = 1.0;
    for (int i = 0; i < pieces.Count(); ++i) {
        QEL_rNetwork* piece = pieces[i];
        QEL_rNode* only = piece->nodes.Count() == 1 ? piece->nodes[0] : nullptr;
        if (only != nullptr && only->node == nullptr && only->table != nullptr && only->table->GetSize() == 1) {
            piece->scale *= (*only->table)[0];
            (*only->table)[0] = 1.0;
        }
        const bool lastCarrier = i + 1 == pieces.Count() && kept == 0 && scale * piece->scale != 1.0;
        if (only != nullptr && only->evidence >= 0 && !lastCarrier) {
            only->Set_Evidence(only->evidence);
            scale *= piece->scale;
            delete piece;
        } else {
            pieces[kept++] = piece;
        }
    }
    pieces.SetCount(kept);
    if (kept > 0) pieces[0]->scale *= scale;
}

}  // namespace

QEL_rNetworkList* QEL_relevantSplit(QEL_network* net, unsigned flags) {
    if (net == nullptr || net->GetNumberOfNodes() == 0) return nullptr;
    const bool allTargets = TargetAllIfNone(*net);
    const bool usePropagated = (flags & QEL_SPLIT_USE_PROPAGATED) != 0;
    QEL_rNetwork master(*net, usePropagated, (flags & QEL_SPLIT_DECOMPOSE) != 0);
    master.barrenTolerance = BarrenTolerance(*net);
    RemoveBarren(master);
    if ((flags & QEL_SPLIT_DROP_IGNORED) != 0) DropIgnoredArcs(master);
    if (usePropagated) SpreadEvidence(master);
    RemoveBarren(master);
    master.Delete_Marked_Nodes(QEL_rNode::markBarren);
    std::vector<PendingSlice> pending;
    CutAtEvidence(master, pending);
    // Summing a root into its only child never disconnects anything, so what
    // no target reaches can be dropped first, and the sums done on the rest.
    const bool keepWeight = (flags & QEL_SPLIT_KEEP_WEIGHT) != 0;
    int components = LabelComponents(*net, master, keepWeight);
    ApplySlices(pending);
    master.Delete_Marked_Nodes(QEL_rNode::markNone);
    if ((flags & QEL_SPLIT_REMOVE_NUISANCE) != 0) {
        RemoveNuisance(master);
        components = LabelComponents(*net, master, keepWeight);
    }
    if ((flags & QEL_SPLIT_SHRINK_STATES) != 0) Shrink_States(master);
    if (allTargets) net->ClearAllTargets();
    QEL_rNetworkList* pieces = MakePieces(master, components);
    SettleObservedSingles(*pieces);
    return pieces;
}

QEL_rNetworkList* Subnets_Filter(QEL_rNetworkList* list) {
    if (list == nullptr) return list;
    int kept = 0;
    for (int i = 0; i < list->Count(); ++i) {
        QEL_rNetwork* piece = (*list)[i];
        if (piece->nodes.Count() == 1) {
            piece->nodes[0]->Set_Prior_Beliefs();
            delete piece;
        } else {
            (*list)[kept++] = piece;
        }
    }
    list->SetCount(kept);
    return list;
}
