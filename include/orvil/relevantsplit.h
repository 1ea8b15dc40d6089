// Relevance reasoning: the model cut down to what can change the targets'
// beliefs given the evidence, in independent pieces.
//
// QEL_relevantSplit copies the network into QEL_rNode records and reduces the
// copy before any engine sees it: nodes below the targets with nothing
// observed under them (barren nodes) go; evidence is pushed through
// deterministic tables; observed nodes are cut from their children, whose
// tables keep only the observed slice; roots that feed a single child are
// summed into it; and whatever no target can reach is dropped. What is left
// falls apart into connected pieces, each a QEL_rNetwork of its own, so that
// every engine works on small, independent problems.
//
// The pieces share the definitions' tables and copy one only where a cut or a
// sum changes it; a large model with many observations therefore costs little
// more than its bookkeeping to prune.
#ifndef ORVIL_RELEVANTSPLIT_H
#define ORVIL_RELEVANTSPLIT_H

#include "orvil/fastarray.h"

class QEL_network;
class QEL_rNetwork;
class QEL_rNode;

// Bits of the `flags` argument of QEL_relevantSplit.
const unsigned QEL_SPLIT_REMOVE_NUISANCE = 1;    // sum non-target roots into their only child
const unsigned QEL_SPLIT_USE_PROPAGATED = 2;     // propagated evidence counts, and is spread further
const unsigned QEL_SPLIT_DECOMPOSE = 4;          // noisy-MAX tables may be decomposed
const unsigned QEL_SPLIT_DROP_IGNORED = 8;       // arcs from parents a table ignores are dropped
const unsigned QEL_SPLIT_KEEP_WEIGHT = 16;       // pieces no target reaches stay if they weigh other than 1
const unsigned QEL_SPLIT_SHRINK_STATES = 32;     // outcomes that cannot happen leave the tables

using QEL_rNetworkList = fastarray<QEL_rNetwork*, 4, int>;

// Prunes `net` for its targets (all nodes when it has none; the network has
// no targets again afterwards) and returns the connected pieces that still
// need an engine, in the order of their first target. A piece that is one
// observed node is not returned: its value is written one-hot and marked
// valid. The caller owns the list and the pieces in it. Null when the network
// has no nodes. Nothing is logged: conflicting evidence is left for the
// engines to find.
QEL_rNetworkList* QEL_relevantSplit(QEL_network* net, unsigned flags);

// Marks `record` barren (mark 20) when it has no evidence, no children and is
// not a target, unlinks it from its parents and tries them in turn. Its table
// is not read, unless its network's `barrenTolerance` is below 1 and its
// column sums miss one by more than that: the sums then go into a parent's
// table, or the record stays as a table of them over its unobserved parents.
void Mark_Barren(QEL_rNode* record);

// Drops the arcs into `record` from parents along which its table is the same
// everywhere, compared exactly: the table loses those dimensions (a copy,
// owned) and the parents lose it as a child. The joint distribution is
// unchanged. Does nothing without a table, or when the table's dimensions do
// not match the parents.
void Drop_Ignored_Parents(QEL_rNode* record);

// Takes out of every table of `master` the outcomes of unobserved nodes that
// no configuration of positive probability uses: states whose cells are all
// 0 in some table over them, once the rest of the family is held to its own
// possible states, to a fixed point. A record that loses outcomes lists
// those it keeps in `keptStates`, and its beliefs are spread back over all
// outcomes when written. Nothing changes when the evidence is impossible or a
// table does not fit its family.
void Shrink_States(QEL_rNetwork& master);

// Spreads the evidence of `record` through deterministic tables: a child whose
// table puts certainty on one outcome given the evidence is observed at that
// outcome and cut loose; a parent left with one possible outcome is observed
// at it and cut from `record`. Recurses on every node so observed.
void Instantiate_Evidence(QEL_rNode* record);

// Sums `record` into its only child when it is an unobserved, non-target root
// (mark 10), and tries the child in turn.
void Mark_Poly_Nuisance_Nodes(QEL_rNode* record);

// Labels with `component` the undirected component of `record` that is not
// labelled so yet.
void Mark_Relevant_Nodes(QEL_rNode* record, int component);

// Writes the prior of each one-node piece into its value and removes the
// piece from `list` (destroying it), keeping the order of the rest. Returns
// `list`.
QEL_rNetworkList* Subnets_Filter(QEL_rNetworkList* list);

// Builds `rnet` into `net`, which should be empty, as a plain network for
// inspection: a table node per record with its node's identifier ("@" and the
// list position for a record without a node), its arcs in parent order, its
// outcome count, its table when it has one, and its target mark. Returns 0,
// or the first failing status of the network.
int QEL_netFromRnet(QEL_rNetwork& rnet, QEL_network& net);

#endif
