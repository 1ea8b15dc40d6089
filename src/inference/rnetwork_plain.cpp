// The plain split: the master copy of the network handed on unpruned, as a
// single piece.
//
// Nothing is cut or sliced here. Observed nodes stay in the graph with their
// children, and the join tree reads their tables at the observed slice. The
// one repair is for controlled nodes, which lose the arcs from their parents
// in the copy while their shared table still has the parents' dimensions:
// such a node gets an owned table over itself alone, one-hot at its outcome.
#include "inference/rnetwork_plain.h"

#include "orvil/dmatrix.h"
#include "orvil/rnetwork.h"

fastarray<QEL_rNetwork*, 4, int>* QEL_plainSplit(QEL_network& net, bool usePropagated) {
    auto* piece = new QEL_rNetwork(net, usePropagated, false);
    if (piece->nodes.IsEmpty()) {
        delete piece;
        return nullptr;
    }
    for (QEL_rNode* record : piece->nodes) {
        const bool cut = record->table != nullptr &&
                         record->table->GetNumberOfDimensions() != record->parents.Count() + 1;
        if (cut && record->evidence >= 0) record->Set_Probabilities_Table();
    }
    auto* list = new fastarray<QEL_rNetwork*, 4, int>();
    list->Add(piece);
    return list;
}
