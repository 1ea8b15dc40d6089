// QEL_matrixValue: the part that every value with a matrix of results
// shares (belief vectors, lists of decisions, expected utilities).
//
// The matrix is owned by value and handed out by pointer; it has the node's
// own cells as its last dimension, with the indexing parents' dimensions in
// front. This class keeps the matrix, its readiness rule and its copying;
// the subclasses decide its shape and what evidence means for them.
#ifndef ORVIL_MATRIXVALUE_H
#define ORVIL_MATRIXVALUE_H

#include "orvil/dmatrix.h"
#include "orvil/nodevalue.h"

class QEL_matrixValue : public QEL_nodeValue {
public:
    ~QEL_matrixValue() override;

    // Base clean-up; with `deep` also empties the matrix. Returns 0.
    int CleanUp(int deep = 0) override;
    // Ready when the matrix has at least one dimension: 0, else -567.
    int CheckReadiness(int deep = 0) override;
    // Copies `other` (-567 if it is not ready): the common fields through
    // the base, then its matrix when it is of the same value type, else a
    // matrix rebuilt by ReCreateFromNetworkStructure. Returns 0.
    int Clone(QEL_nodeValue& other) override;
    int GetSize() override { return matrix.GetSize(); }
    // Points `out` at the value's own matrix. Returns 0.
    int GetValue(QEL_Dmatrix** out) override;
    // Copies dimensions, strides and cells of `source`; no flag changes.
    // Returns 0.
    int SetValue(QEL_Dmatrix& source) override;

protected:
    // An empty matrix: the subclass's constructor gives it its shape.
    QEL_matrixValue(QEL_network* net, int handle);

    // Clone without the final readiness pass, for subclasses that restore
    // more of `other` before the value may count as ready. Copying a value
    // onto itself returns 0 and changes nothing.
    int CloneMatrix(QEL_nodeValue& other);
    // Deep clean-up, then one dimension of `cells` zeros. -2 when `cells`
    // is not positive, or the matrix's status; 0 on success. Readiness is
    // left to the caller.
    int ResetMatrix(int cells);

    QEL_Dmatrix matrix;
};

#endif
