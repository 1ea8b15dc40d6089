// QEL_expectedUtility: the value of a utility node.
//
// The matrix holds the expected utility, one cell, or one per combination of
// indexing parents' outcomes. Utility nodes carry no evidence.
#ifndef ORVIL_EXPECTEDUTILITY_H
#define ORVIL_EXPECTEDUTILITY_H

#include "orvil/matrixvalue.h"

class QEL_expectedUtility : public QEL_matrixValue {
public:
    // A matrix of one dimension of size 1; ready.
    QEL_expectedUtility(QEL_network* net, int handle);
    ~QEL_expectedUtility() override;
    // Clone(other), as for any value.
    int operator=(QEL_expectedUtility& other) { return Clone(other); }
    using QEL_nodeValue::operator=;

    // One dimension of size 1; indexing parents go. Returns 0.
    int ReCreateFromNetworkStructure() override;
    int GetType() const override { return QEL_VALUETYPE_EXPECTEDUTILITY; }

    // Smallest and largest cell, not-available markers included.
    double GetMinimumUtility() const;
    double GetMaximumUtility() const;
    // Maps the cells linearly from [min, max] (widened to [lo, hi] when
    // lo != hi) onto [newLo, newHi], leaving not-available cells alone. A
    // degenerate range fills every cell with newHi. Returns 0.
    int NormalizeExpectedUtilities(double lo, double hi, double newLo, double newHi);
};

#endif
