// A network as one text per slot, for tests that compare whole models: a
// copy with its source, a file read back with the network it came from.
#ifndef ORVIL_TESTS_CORE_LIFECYCLE_DESCRIBE_H
#define ORVIL_TESTS_CORE_LIFECYCLE_DESCRIBE_H

#include <cstdio>
#include <string>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"

namespace lifecycle_test {

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
        const QEL_intArray& parents = net.GetParents(h);
        for (int i = 0; i < parents.NumItems(); i++) {
            line += " " + (lean ? std::to_string(parents[i]) : std::string(net.GetNode(parents[i])->GetId()));
        }
        const QEL_Dmatrix& table = *node.Definition()->GetMatrix();
        char cell[32];
        for (int i = 0; i < table.GetSize(); i++) {
            std::snprintf(cell, sizeof cell, " %.17g", table[i]);
            line += cell;
        }
        line += " e" + std::to_string(node.Value()->GetEvidence()) + " t" + std::to_string(net.IsTarget(h));
    }
    return lines;
}

}  // namespace lifecycle_test

#endif
