/*
 * QEL_sysCoordinates: the odometer that walks a QEL_Dmatrix in row-major
 * order, keeping its coordinates and the matching data index side by side.
 *
 * Any dimension can be locked: the walk then leaves that coordinate where
 * the caller put it and visits only the slice through it. The usual loop:
 *
 *     coords.GoFirst();
 *     coords.theCoordinates[parentDim] = outcome;   (locked dimension)
 *     coords.GoToCurrentPosition();
 *     do { use(coords.UncheckedValue()); } while (coords.Next() == 0);
 *
 * The matrix is not owned; it must outlive the walk and keep its shape
 * while the walk is in use. theCoordinates is public so that callers can
 * write locked coordinates directly.
 */
#ifndef ORVIL_SYSCOORDINATES_H
#define ORVIL_SYSCOORDINATES_H

#include "orvil/dmatrix.h"
#include "orvil/intarray.h"
#include "orvil/object.h"

class QEL_nodeDefinition;
class QEL_nodeValue;

class QEL_sysCoordinates : public QEL_object {
public:
    /* Linked to no matrix: no coordinates, and every step returns -2. */
    QEL_sysCoordinates();
    /* Linked to matrix and at its first position. */
    explicit QEL_sysCoordinates(QEL_Dmatrix& matrix);
    /* Linked to the matrix of a definition or value (its GetDefinition or
     * GetValue); left unlinked when the class has no matrix. */
    explicit QEL_sysCoordinates(QEL_nodeDefinition& definition);
    explicit QEL_sysCoordinates(QEL_nodeValue& value);

    /* Links to matrix and runs Initialize(). Returns 0. */
    int LinkTo(QEL_Dmatrix& matrix);
    /* Links to the matrix of a definition or value and runs Initialize().
     * 0 on success; when the class holds no matrix the old link stays and
     * its status (negative) is returned. */
    int LinkTo(QEL_nodeDefinition& definition);
    int LinkTo(QEL_nodeValue& value);

    /* One coordinate per dimension (theCoordinates is a list of that
     * length), all unlocked, at the first position. Returns 0. */
    int Initialize();

    /* Lock or free one dimension. 0, or -2 for a dimension the matrix does
     * not have. */
    int LockCoordinate(int dim);
    int UnlockCoordinate(int dim);
    /* Frees all dimensions. Returns 0. */
    int UnlockAll();
    bool IsLocked(int dim) const;

    /* Next position over the free coordinates: from the last dimension
     * towards the first, the first free coordinate below its highest value
     * goes up by one and every free coordinate after it goes to 0; the
     * index is recomputed from all coordinates. -2 when every free
     * coordinate is at its highest value (coordinates unchanged) or the
     * walk has no matrix. Previous() is the mirror image. */
    int Next();
    int Previous();
    /* Index 0 and every free coordinate 0. Locked coordinates stay, and the
     * index does not reflect them: call GoToCurrentPosition() after writing
     * or keeping a non-zero locked coordinate. Returns 0. */
    int GoFirst();
    /* Index GetSize() - 1 and every free coordinate at its highest value;
     * the same remark on locked coordinates holds. Returns 0. */
    int GoLast();
    /* Sets the index and all coordinates, locked ones included, from a
     * data index. A bad index: GoFirst() and -2. */
    int GoTo(int index);
    /* Sets the index from the current coordinates. Coordinates outside
     * the matrix: GoFirst() and -2. */
    int GoToCurrentPosition();

    /* The item at the current index. Both are the same unchecked access:
     * the walk must be linked to a matrix with items. */
    double& UncheckedValue() { return theMatrix->Subscript(theIndex); }
    double& CheckedValue() { return theMatrix->Subscript(theIndex); }

    int GetIndex() const { return theIndex; }
    QEL_Dmatrix* GetMatrix() const { return theMatrix; }

protected:
    QEL_Dmatrix* theMatrix;

public:
    QEL_intArray theCoordinates;

protected:
    int theIndex;
    QEL_intArray theLocks;

private:
    int DimensionCount() const;
    int RecomputeIndex();
};

#endif
