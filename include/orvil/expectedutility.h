// QEL_expectedUtility: the value of a utility node.
//
// The matrix holds the expected utility, one cell, or one per combination of
// indexing parents' outcomes. Utility nodes carry no evidence.
#ifndef ORVIL_EXPECTEDUTILITY_H
#define ORVIL_EXPECTEDUTILITY_H

#include "orvil/dmatrix.h"
#include "orvil/nodevalue.h"

class QEL_expectedUtility : public QEL_nodeValue {
public:
    // A matrix of one dimension of size 1; ready.
    QEL_expectedUtility(QEL_network* net, int handle);
    ~QEL_expectedUtility() override;
    // Clone(other), as for any value.
    int operator=(QEL_expectedUtility& other) { return Clone(other); }
    using QEL_nodeValue::operator=;

    int CleanUp(int deep = 0) override;
    // Ready when the matrix has at least one dimension.
    int CheckReadiness(int deep = 0) override;
    // Copies `other` (-567 if it is not ready): its matrix when it is an
    // expected utility too, else a fresh one-cell matrix.
    int Clone(QEL_nodeValue& other) override;
    // One dimension of size 1; indexing parents go. Returns 0.
    int ReCreateFromNetworkStructure() override;
    int GetType() const override { return QEL_VALUETYPE_EXPECTEDUTILITY; }
    int GetSize() override { return matrix.GetSize(); }
    int GetValue(QEL_Dmatrix** out) override;
    int SetValue(QEL_Dmatrix& source) override;

    // Smallest and largest cell, not-available markers included.
    double GetMinimumUtility() const;
    double GetMaximumUtility() const;
    // Maps the cells linearly from [min, max] (widened to [lo, hi] when
    // lo != hi) onto [newLo, newHi], leaving not-available cells alone. A
    // degenerate range fills every cell with newHi. Returns 0.
    int NormalizeExpectedUtilities(double lo, double hi, double newLo, double newHi);

protected:
    QEL_Dmatrix matrix;
};

#endif
