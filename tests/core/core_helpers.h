// Helpers shared by the core suites, with the headers most of them use:
// plain vectors out of the engine's arrays and tables, numbered nodes, and a
// network as one text per slot for tests that compare whole models (a copy
// with its source, a file read back with the network it came from).
#ifndef ORVIL_TESTS_CORE_HELPERS_H
#define ORVIL_TESTS_CORE_HELPERS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "orvil/biorvil.h"
#include "orvil/cpt.h"
#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"
#include "orvil/submodel.h"
#include "orvil/truthtable.h"
#include "orvil/userproperties.h"
#include "random_network.h"

namespace coretest {

const int cptType = 18;

using Ints = std::vector<int>;

inline std::vector<std::string> Texts(const QEL_stringArray& a) { return {a.Items(), a.Items() + a.NumItems()}; }

inline std::vector<int> ToVector(const QEL_intArray& list) {
    return std::vector<int>(list.Items(), list.Items() + list.NumItems());
}

inline QEL_intArray ListOf(const std::vector<int>& values) {
    QEL_intArray a;
    for (int v : values) a.Add(v);
    return a;
}

inline std::vector<double> Cells(const QEL_Dmatrix& m) {
    std::vector<double> out;
    for (int i = 0; i < m.GetSize(); i++) out.push_back(m[i]);
    return out;
}

inline std::vector<int> Dims(const QEL_Dmatrix& m) {
    std::vector<int> dims;
    for (int i = 0; i < m.GetNumberOfDimensions(); i++) dims.push_back(m.GetSizeOfDimension(i));
    return dims;
}

inline QEL_nodeDefinition* Def(QEL_network& net, int h) { return net.GetNode(h)->Definition(); }

inline std::vector<double> Cells(QEL_network& net, int h) { return Cells(*Def(net, h)->GetMatrix()); }

// Conditional-table nodes "n0", "n1", ... without arcs.
inline std::vector<int> AddNodes(QEL_network& net, int count) {
    std::vector<int> handles;
    for (int i = 0; i < count; i++) handles.push_back(net.AddNode(cptType, ("n" + std::to_string(i)).c_str()));
    return handles;
}

inline std::vector<int> Permutation(std::mt19937& rng, int n) {
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), rng);
    return order;
}

// A random network as random_network.h builds it, with the options the
// suites vary.
inline std::vector<int> RandomNetwork(QEL_network& net, unsigned seed, int nodes, int maxParents, int maxOutcomes,
                                      double deterministicShare, double zeroShare) {
    orvil_test::RandomNetworkOptions options;
    options.nodes = nodes;
    options.maxParents = maxParents;
    options.maxOutcomes = maxOutcomes;
    options.deterministicShare = deterministicShare;
    options.zeroShare = zeroShare;
    return orvil_test::BuildRandomNetwork(net, seed, options);
}

// Per slot (empty for a hole): id and name unless `lean`, definition type,
// outcomes, parents (by id, or by handle when `lean`), table cells to the
// last digit, evidence and target bit.
inline std::vector<std::string> Describe(QEL_network& net, bool lean = false) {
    std::vector<std::string> lines(net.GetMaxNodes());
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        std::string& line = lines[h];
        if (!lean) line = std::string(node.GetId()) + "/" + node.Info()->Header().GetName();
        line += " " + std::to_string(node.Definition()->GetType());
        QEL_idArray& outcomes = *node.Definition()->GetOutcomesNames();
        for (int s = 0; s < outcomes.NumItems(); s++) line += std::string(" ") + outcomes[s];
        line += " |";
        for (int p : ToVector(net.GetParents(h))) {
            line += " " + (lean ? std::to_string(p) : std::string(net.GetNode(p)->GetId()));
        }
        char cell[32];
        for (double x : Cells(net, h)) {
            std::snprintf(cell, sizeof cell, " %.17g", x);
            line += cell;
        }
        line += " e" + std::to_string(node.Value()->GetEvidence()) + " t" + std::to_string(net.IsTarget(h));
    }
    return lines;
}

}  // namespace coretest

#endif
