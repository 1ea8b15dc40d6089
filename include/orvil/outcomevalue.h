// QEL_outcomeValue: a value with a matrix whose node can be known to have
// one outcome (belief vectors of chance nodes, lists of decisions).
//
// Beside the matrix it keeps that outcome, meaningful while the evidence
// bits (mask 5) are set. The subclasses decide what storing an outcome does
// to the matrix and how the network hears of it; reading the outcome back
// and carrying it over when a value is copied are the same for both.
#ifndef ORVIL_OUTCOMEVALUE_H
#define ORVIL_OUTCOMEVALUE_H

#include "orvil/matrixvalue.h"

class QEL_outcomeValue : public QEL_matrixValue {
public:
    ~QEL_outcomeValue() override;

    using QEL_nodeValue::GetEvidence;

    // Forgets the outcome, then cleans up as any matrix value. Returns 0.
    int CleanUp(int deep = 0) override;
    // Copies `other` as QEL_matrixValue::Clone does (-567 if it is not
    // ready), then takes over its evidence: an outcome that is real
    // evidence, or that comes from a value of another class, is set again
    // through SetEvidence; a propagated one of the same class is stored
    // quietly through StoreEvidence; failing both, a likelihood vector goes
    // through SetVirtualEvidence. Returns 0.
    int Clone(QEL_nodeValue& other) override;
    // The stored outcome under mask 5, else -2.
    int GetEvidence() const override;

    // Records `outcome` without telling the network: -2 when it is not an
    // outcome of the node; else the valid bit is set and the outcome kept.
    virtual int StoreEvidence(int outcome) = 0;

protected:
    QEL_outcomeValue(QEL_network* net, int handle);

    int evidence;
};

#endif
