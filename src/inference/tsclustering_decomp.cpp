// Target decomposition: beliefs in several join-tree passes, each for a group
// of targets, when one tree for all of them does not fit.
//
// Fewer targets let relevance reasoning prune more, so each pass builds a
// smaller tree; the price is one pass per group. The mask, indexed by handle,
// holds the nodes still waiting for a belief. A pass clears the entries of
// every node it computes, targets and by-products alike, so a later group
// skips what an earlier pass already wrote.
//
// Groups are taken from the end of the partial order, children first, so
// that a group lies close together in the network and shares one tree.
#include <cstdlib>

#include "inference/tsclustering_internal.h"
#include "orvil/errors.h"
#include "orvil/fastarray.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/tsclustering.h"
#include "orvil/userproperties.h"

namespace {

const char* const propNameTargetGrpSize = "QEL_REL_DECOMP_THRESHOLD";
const char* const propNameRecursiveThreshold = "QEL_REL_DECOMP_THRESHOLD2";
const char* const propNameLinearThreshold = "QEL_REL_DECOMP_THRESHOLD3";

const int kDefaultGroupSize = 32;
const int kDefaultRecursiveLimit = 65536;

using Mask = fastarray<bool, 8, int>;
using Group = fastarray<int, 32, int>;

// The property's value as a positive decimal integer, or 0 when it is
// missing or not above 0.
int PositiveProperty(QEL_network& net, const char* name) {
    const int index = net.UserProperties().FindProperty(name);
    if (index < 0) return 0;
    const long value = std::strtol(net.UserProperties().GetPropertyValue(index), nullptr, 10);
    return value >= 1 && value <= 0x7fffffff ? int(value) : 0;
}

struct Decomposition {
    Mask mask;
    QEL_intArray savedTargets;
};

// Fills the mask with the targets (every node when there are none), and
// takes the targets off the network so that each pass can set its own.
void StartDecomposition(QEL_network& net, Decomposition& work) {
    work.mask.SetCount(net.GetLastNode() + 1);
    work.mask.Fill(false);
    const bool all = net.GetNumberOfTargets() == 0;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        if (all || net.IsTarget(h) == 1) work.mask[h] = true;
        if (!all && net.IsTarget(h) == 1) work.savedTargets.Add(h);
    }
    if (!all) net.ClearAllTargets();
}

void RestoreTargets(QEL_network& net, const Decomposition& work) {
    net.ClearAllTargets();
    for (int i = 0; i < work.savedTargets.NumItems(); ++i) net.SetTarget(work.savedTargets[i], true);
}

// Handles of the nodes still in the mask, last in partial order first.
void CollectFromTheEnd(QEL_network& net, const Mask& mask, Group& out) {
    const QEL_intArray& order = net.PartialOrdering();
    for (int i = order.NumItems() - 1; i >= 0; --i) {
        if (mask[order[i]]) out.Add(order[i]);
    }
}

// One pass for `count` nodes of `list` from `first`, halved until the parts
// fit within `limit` (a single node gets the full budget).
bool RecursiveHelper(QEL_network& net, Mask& mask, const Group& list, int first, int count, int limit) {
    if (count < 1) return true;
    if (count == 1) limit = 0;
    bool any = false;
    for (int i = first; i < first + count; ++i) {
        if (!mask[list[i]]) continue;
        net.SetTarget(list[i], true);
        any = true;
    }
    if (!any) return true;
    int zeroCount = 0;
    const bool ok = DoClustering(&net, mask.Items(), limit, zeroCount);
    net.ClearAllTargets();
    if (ok || count < 2) return ok;
    const int half = count / 2;
    return RecursiveHelper(net, mask, list, first + half, count - half, limit) &&
           RecursiveHelper(net, mask, list, first, half, limit);
}

bool LinearHelper(QEL_network& net, Mask& mask, const Group& group, int linearLimit, int recursiveLimit) {
    for (int handle : group) net.SetTarget(handle, true);
    const int limit = group.Count() == 1 ? 0 : linearLimit;
    int zeroCount = 0;
    const bool ok = DoClustering(&net, mask.Items(), limit, zeroCount);
    for (int handle : group) net.SetTarget(handle, false);
    if (ok || group.Count() < 2) return ok;
    const int half = group.Count() / 2;
    return RecursiveHelper(net, mask, group, half, group.Count() - half, recursiveLimit) &&
           RecursiveHelper(net, mask, group, 0, half, recursiveLimit);
}

bool RunLinear(QEL_network& net, Mask& mask, int groupSize, int linearLimit, int recursiveLimit) {
    const QEL_intArray& order = net.PartialOrdering();
    Group group;
    for (int i = order.NumItems() - 1; i >= 0; --i) {
        // Read at the node's turn: an earlier pass may have computed it.
        if (!mask[order[i]]) continue;
        group.Add(order[i]);
        if (group.Count() < groupSize) continue;
        if (!LinearHelper(net, mask, group, linearLimit, recursiveLimit)) return false;
        group.Clear();
    }
    return group.IsEmpty() || LinearHelper(net, mask, group, linearLimit, recursiveLimit);
}

}  // namespace

int TsClusteringLinearDecomp(QEL_network* net) {
    const int linearThreshold = PositiveProperty(*net, propNameLinearThreshold);
    const int recursiveThreshold = PositiveProperty(*net, propNameRecursiveThreshold);
    const int groupSize = PositiveProperty(*net, propNameTargetGrpSize);
    const int linearLimit = linearThreshold;
    int recursiveLimit = linearThreshold;
    if (recursiveLimit == 0) recursiveLimit = recursiveThreshold > 0 ? recursiveThreshold : kDefaultRecursiveLimit;
    Decomposition work;
    StartDecomposition(*net, work);
    const bool ok = RunLinear(*net, work.mask, groupSize > 0 ? groupSize : kDefaultGroupSize, linearLimit,
                              recursiveLimit);
    RestoreTargets(*net, work);
    return ok ? QEL_OKAY : QEL_OUT_OF_MEMORY;
}

int TsClusteringRecursiveDecomp(QEL_network* net) {
    const int threshold = PositiveProperty(*net, propNameRecursiveThreshold);
    const int limit = threshold > 0 ? threshold : kDefaultRecursiveLimit;
    Decomposition work;
    StartDecomposition(*net, work);
    Group all;
    CollectFromTheEnd(*net, work.mask, all);
    const bool ok = RecursiveHelper(*net, work.mask, all, 0, all.Count(), limit);
    RestoreTargets(*net, work);
    return ok ? QEL_OKAY : QEL_OUT_OF_MEMORY;
}
