// The two bridges between a BifModel and a QEL_network.
#ifndef ORVIL_FORMATS_BIF_NETWORK_H
#define ORVIL_FORMATS_BIF_NETWORK_H

#include "formats/bif_document.h"
#include "formats/bif_model.h"

class QEL_network;

// Adds the nodes, arcs, tables, names, labels and properties of `model`
// (already checked by BifResolve) to `net`, which should hold no nodes, and
// gives the network the model's name and properties. Returns 0, or -2 with
// `error` filled when the network refuses a node, an arc or a table; the
// nodes made so far are then deleted again.
int BifBuildNetwork(const BifModel& model, QEL_network& net, BifError& error);

// Describes `net` as a BifModel for writing: nodes in handle order, parents
// in table order, each name the original text where it still fits the
// identifier and the identifier otherwise. Returns 0, or -51 with `error`
// filled for a node without a table of discrete outcomes.
int BifExtractModel(QEL_network& net, BifModel& model, BifError& error);

#endif
