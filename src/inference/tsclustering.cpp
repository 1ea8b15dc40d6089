// The join-tree engine as the update driver sees it: relevance reasoning
// cuts the network into the pieces the targets need, and each piece gets its
// own join tree, unless it is small enough to walk whole (ts_enumeration.h).
//
// A piece of one node needs no tree: its prior is its belief. A piece whose
// tree does not fit ends the pass; pieces done before it keep what they wrote,
// and the target decompositions (tsclustering_decomp.cpp) take over from
// there with fewer targets per pass.
//
// The probability of evidence multiplies the pieces' normalising constants.
// Observed nodes that pruning cut off from every target are in no piece, and
// bring their factors straight from their tables.
#include "orvil/tsclustering.h"

#include <cstring>

#include "inference/ts_enumeration.h"
#include "inference/tsclustering_internal.h"
#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/intarray.h"
#include "orvil/jointree.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/relevantsplit.h"
#include "orvil/rnetwork.h"
#include "orvil/triangulator.h"
#include "orvil/tsadapter.h"

namespace {

// Beliefs of the one node of a single-node piece. An observed node's value
// already holds its evidence.
void PriorOfSingleNode(QEL_rNode& record, bool* pending) {
    if (record.evidence >= 0) return;
    record.Set_Prior_Beliefs();
    if (pending != nullptr && record.node != nullptr) pending[record.node->GetHandle()] = false;
}

// Beliefs of a piece of several nodes: walked whole when it is small, and
// otherwise, or when the walk finds the evidence impossible, from a join
// tree. The tree also serves whoever keeps the cliques' joint tables or
// listens for the figures of each triangulation.
bool UpdatePiece(QEL_rNetwork& piece, bool* pending, int sizeLimit, int& zeroCount) {
    TsAdapter adapter(piece, &zeroCount);
    const unsigned budget = sizeLimit > 0 ? unsigned(sizeLimit) : TsTriangulator::defaultSizeLimit;
    TsEnumeration walk(adapter, pending);
    // The store is asked last: the join tree asks it again.
    const bool walkable =
        TsTriangulatorStatsFunc == nullptr && walk.Suits(budget) && !adapter.WillStorePotentials();
    if (walkable && walk.UpdateBeliefs(pending)) return true;
    TsJoinTree tree(adapter);
    return tree.UpdateBeliefsEx(pending, unsigned(sizeLimit));
}

void DeletePieces(QEL_rNetworkList* pieces, int from) {
    for (int i = from; i < pieces->Count(); ++i) delete (*pieces)[i];
    delete pieces;
}

// Arcs a table ignores are dropped and impossible outcomes taken out, except
// for a caller who keeps the cliques' joint tables (read off as families over
// every outcome, so each family has to stay whole in some clique) or listens
// for the triangulation's figures (those of the model as drawn).
unsigned SplitFlags(const QEL_network& net) {
    const unsigned flags = QEL_SPLIT_REMOVE_NUISANCE | QEL_SPLIT_USE_PROPAGATED | QEL_SPLIT_DECOMPOSE;
    if (net.IsJptStoreEnabled() || TsTriangulatorStatsFunc != nullptr) return flags;
    return flags | QEL_SPLIT_DROP_IGNORED | QEL_SPLIT_SHRINK_STATES;
}

}  // namespace

bool DoClustering(QEL_network* net, bool* pending, int sizeLimit, int& zeroCount) {
    QEL_rNetworkList* pieces = QEL_relevantSplit(net, SplitFlags(*net));
    if (pieces == nullptr) return true;
    for (int i = 0; i < pieces->Count(); ++i) {
        QEL_rNetwork* piece = (*pieces)[i];
        bool ok = true;
        if (piece->nodes.Count() == 1) {
            PriorOfSingleNode(*piece->nodes[0], pending);
        } else {
            ok = UpdatePiece(*piece, pending, sizeLimit, zeroCount);
        }
        delete piece;
        if (!ok) {
            DeletePieces(pieces, i + 1);
            return false;
        }
    }
    delete pieces;
    return true;
}

int TsClustering(QEL_network* net) {
    int zeroCount = 0;
    if (DoClustering(net, nullptr, 0, zeroCount)) return zeroCount > 0 ? QEL_ZERO_POTENTIAL : QEL_OKAY;
    const bool noFallback = net->UserProperties().FindProperty("QEL_REL_DECOMP_DISABLE_FALLBACK") >= 0;
    if (net->GetNumberOfTargets() == 1 || noFallback) return QEL_OUT_OF_MEMORY;
    return TsClusteringLinearDecomp(net);
}

namespace {

// The cell of `handle`'s table at its parents' observed outcomes and its
// own `outcome`; false when some parent is unobserved.
bool CellAtEvidence(QEL_network& net, int handle, int outcome, double& cell) {
    const QEL_intArray& parents = net.GetParents(handle);
    QEL_intArray coords;
    for (int i = 0; i < parents.NumItems(); ++i) {
        const QEL_nodeValue* value = net.GetNode(parents[i])->Value();
        if (value == nullptr || !value->HasEvidence()) return false;
        coords.Add(value->GetEvidence());
    }
    coords.Add(outcome);
    const QEL_Dmatrix* table = net.GetNode(handle)->Definition()->GetMatrix();
    if (table == nullptr || !table->Ok(coords)) return false;
    cell = (*table)[table->CoordinatesToIndex(coords)];
    return true;
}

// The factor of an observed node that no piece holds: its table at the
// observed outcomes, times the factors of its parents whose evidence was
// only implied. A node whose parents are not all observed is one whose arcs
// in were cut by control: an outcome set from outside carries no factor.
double DirectFactor(QEL_network& net, int handle) {
    double factor = 1.0;
    if (!CellAtEvidence(net, handle, net.GetNode(handle)->Value()->GetEvidence(), factor)) return 1.0;
    const QEL_intArray& parents = net.GetParents(handle);
    for (int i = 0; i < parents.NumItems(); ++i) {
        const QEL_nodeValue* value = net.GetNode(parents[i])->Value();
        double parentCell = 1.0;
        if (value->IsPropagatedEvidence() && CellAtEvidence(net, parents[i], value->GetEvidence(), parentCell)) {
            factor *= parentCell;
        }
    }
    return factor;
}

// The factor of a piece that is one unobserved node: its table, summed.
double TableTotal(const QEL_rNode& record) {
    if (record.table == nullptr) return 1.0;
    double total = 0.0;
    for (int i = 0; i < record.table->GetSize(); ++i) total += (*record.table)[i];
    return total;
}

// Makes the parents of every observed node targets, so that pruning keeps
// each observed family whole, and lists the ones it added. The update driver
// has done this already; a direct caller may not have.
void TargetObservedFamilies(QEL_network& net, QEL_intArray& added) {
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        const QEL_nodeValue* value = net.GetNode(h)->Value();
        if (value == nullptr || !value->IsRealEvidence()) continue;
        const QEL_intArray& parents = net.GetParents(h);
        for (int i = 0; i < parents.NumItems(); ++i) {
            if (net.SetTarget(parents[i], true) == QEL_OKAY) added.Add(parents[i]);
        }
    }
}

}  // namespace

double TsClusteringProbE(QEL_network* net) {
    QEL_intArray added;
    TargetObservedFamilies(*net, added);
    QEL_rNetworkList* pieces = QEL_relevantSplit(net, QEL_SPLIT_REMOVE_NUISANCE | QEL_SPLIT_KEEP_WEIGHT);
    for (int i = 0; i < added.NumItems(); ++i) net->SetTarget(added[i], false);
    if (pieces == nullptr) return 0.0;
    fastarray<bool, 8, int> unplaced(net->GetLastNode() + 1);
    unplaced.Fill(false);
    for (int h = net->GetFirstNode(); h >= 0; h = net->GetNextNode(h)) {
        const QEL_nodeValue* value = net->GetNode(h)->Value();
        unplaced[h] = value != nullptr && value->IsRealEvidence();
    }
    double result = 1.0;
    for (int i = 0; i < pieces->Count(); ++i) {
        QEL_rNetwork* piece = (*pieces)[i];
        result *= piece->scale;
        if (piece->nodes.Count() == 1) {
            // An observed single stays unplaced: its factor comes from its
            // table below, like that of any observed node pruning dropped.
            QEL_rNode& only = *piece->nodes[0];
            if (only.evidence < 0) result *= TableTotal(only);
            only.Set_Prior_Beliefs();
        } else {
            for (const QEL_rNode* record : piece->nodes) {
                if (record->node != nullptr) unplaced[record->node->GetHandle()] = false;
            }
            TsAdapter adapter(*piece);
            TsJoinTree tree(adapter);
            const double factor = tree.CalcNormFactor();
            if (factor < 0.0) {
                DeletePieces(pieces, i);
                return factor;
            }
            result *= factor;
        }
        delete piece;
    }
    delete pieces;
    for (int h = 0; h < unplaced.Count(); ++h) {
        if (unplaced[h]) result *= DirectFactor(*net, h);
    }
    return result;
}
