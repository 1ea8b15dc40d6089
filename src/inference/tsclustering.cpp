// The join-tree engine as the update driver sees it: the network is cut into
// pieces, and each piece gets its own join tree.
//
// A piece of one node needs no tree: its prior is its belief. A piece whose
// tree does not fit ends the run; pieces done before it keep what they wrote.
#include "orvil/tsclustering.h"

#include "inference/rnetwork_plain.h"
#include "orvil/errors.h"
#include "orvil/jointree.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/rnetwork.h"
#include "orvil/tsadapter.h"

namespace {

using PieceList = fastarray<QEL_rNetwork*, 4, int>;

// Beliefs of the one node of a single-node piece. An observed node's value
// already holds its evidence.
void PriorOfSingleNode(QEL_rNode& record, bool* pending) {
    if (record.evidence >= 0) return;
    record.Set_Prior_Beliefs();
    if (pending != nullptr && record.node != nullptr) pending[record.node->GetHandle()] = false;
}

// Runs a join tree on every piece of `net` within `sizeLimit` cells each.
// False when one does not fit; the zero potentials found are added to
// `zeroCount`.
bool DoClustering(QEL_network* net, bool* pending, unsigned sizeLimit, int& zeroCount) {
    PieceList* pieces = QEL_plainSplit(*net, true);
    if (pieces == nullptr) return true;
    bool ok = true;
    for (QEL_rNetwork* piece : *pieces) {
        if (ok && piece->nodes.Count() == 1) {
            PriorOfSingleNode(*piece->nodes[0], pending);
        } else if (ok) {
            TsAdapter adapter(*piece, &zeroCount);
            TsJoinTree tree(adapter);
            ok = tree.UpdateBeliefsEx(pending, sizeLimit);
        }
        delete piece;
    }
    delete pieces;
    return ok;
}

}  // namespace

int TsClustering(QEL_network* net) {
    int zeroCount = 0;
    if (!DoClustering(net, nullptr, 0, zeroCount)) return QEL_OUT_OF_MEMORY;
    return zeroCount > 0 ? QEL_ZERO_POTENTIAL : QEL_OKAY;
}

double TsClusteringProbE(QEL_network* net) {
    PieceList* pieces = QEL_plainSplit(*net, false);
    if (pieces == nullptr) return 0.0;
    double result = 1.0;
    for (QEL_rNetwork* piece : *pieces) {
        if (result >= 0.0) {
            TsAdapter adapter(*piece);
            TsJoinTree tree(adapter);
            const double factor = tree.CalcNormFactor();
            result = factor < 0.0 ? factor : result * factor;
        }
        delete piece;
    }
    delete pieces;
    return result;
}
