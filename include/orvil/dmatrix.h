/*
 * QEL_Dmatrix: the dense multi-dimensional table of doubles behind every
 * conditional table, node value and potential of the engine.
 *
 * Layout is row-major with the last dimension fastest. For a node's table
 * the dimensions are its parents in parent order followed by the node
 * itself, so one column of a probability table (all outcomes of the node
 * under one parent configuration) is a run of consecutive doubles, and
 * normalising or weighting by outcome is a walk over plain memory.
 *
 * theDimensions holds the size of every dimension (the number of
 * dimensions is its size; it is also kept as a list of the same length so
 * that it can be handed straight to Setup), thePreProduct the stride of
 * every dimension, theData the items. The item at coordinates c lives at
 * sum(c[i] * thePreProduct[i]).
 *
 * Coordinate and slice lists passed in count their entries by list length
 * (NumItems) when they are used as lists, and by array size otherwise, so
 * both an array from SetSize or IndexToCoordinates and a list built by Add
 * can be passed.
 *
 * Status results are 0 for success and -2 for any refusal. A shape-changing
 * operation that refuses its arguments leaves the matrix as it was. Nothing
 * here logs: callers decide what a refusal means to them.
 */
#ifndef ORVIL_DMATRIX_H
#define ORVIL_DMATRIX_H

#include "orvil/doublearray.h"
#include "orvil/intarray.h"

class QEL_Dmatrix {
public:
    /* An empty matrix: no dimensions, no data. */
    QEL_Dmatrix();
    QEL_Dmatrix(const QEL_Dmatrix& other);
    /* Dimensions from the first dims.NumItems() entries of dims. If any of
     * them is below 1 the matrix stays empty, without a report. Items are
     * uninitialised. */
    explicit QEL_Dmatrix(const QEL_intArray& dims);
    ~QEL_Dmatrix() = default;

    /* Copies dimensions, strides and items. */
    QEL_Dmatrix& operator=(const QEL_Dmatrix& other);

    /* Gives the matrix the dimension sizes of the list dims (its NumItems()
     * entries) or of the count entries at dims. Items are left as they
     * happen to be; the caller fills them. -2 when count is negative, a
     * size is below 1 or the total does not fit an int; the matrix is then
     * unchanged. A count of 0 empties the matrix. */
    int Setup(const QEL_intArray& dims);
    int Setup(const int* dims, int count);

    /* No dimensions, no data. */
    void CleanUp();
    /* Exchanges contents with other without copying items. */
    void Swap(QEL_Dmatrix& other);

    int GetNumberOfDimensions() const { return theDimensions.GetSize(); }
    /* Index of the last dimension: GetNumberOfDimensions() - 1. */
    int GetLastDimension() const { return theDimensions.GetSize() - 1; }
    /* Unchecked: dim must be a valid dimension. */
    int GetSizeOfDimension(int dim) const { return theDimensions.Subscript(dim); }
    /* Size of the last dimension; 0 for a matrix with no dimensions. */
    int GetSizeOfLastDimension() const;
    /* Number of items. */
    int GetSize() const { return theData.GetSize(); }

    QEL_doubleArray& GetItems() { return theData; }
    const QEL_doubleArray& GetItems() const { return theData; }
    const QEL_intArray& GetDimensions() const { return theDimensions; }
    const QEL_intArray& GetPreProduct() const { return thePreProduct; }

    /* Item by index, unchecked. */
    double& Subscript(int index) { return theData.Subscript(index); }
    double& operator[](int index) { return theData.Subscript(index); }
    const double& operator[](int index) const { return theData.Subscript(index); }
    /* Item by coordinates (one per dimension), unchecked. */
    double& operator[](const QEL_intArray& coords) { return theData.Subscript(CoordinatesToIndex(coords)); }
    /* Item by coordinates read through one pointer per dimension, unchecked. */
    double& operator[](const int* const* coords) { return theData.Subscript(CoordinatesToIndex(coords)); }
    /* Item by coordinates, checked by Ok(). Bad coordinates give a scratch
     * cell that belongs to no matrix: reading it is meaningless and writing
     * it changes nothing, so callers must still pass good coordinates. */
    double& Subscript(QEL_intArray& coords);

    /* True when coords has at least one entry per dimension and every one
     * of them lies inside its dimension. */
    bool Ok(const QEL_intArray& coords) const;

    /* Data index of coordinates, without any range check. */
    int CoordinatesToIndex(const QEL_intArray& coords) const;
    int CoordinatesToIndex(const int* coords) const;
    int CoordinatesToIndex(const int* const* coords) const;

    /* Coordinates of a data index, written into the first
     * GetNumberOfDimensions() entries of coords after
     * coords.RoomGuaranteed(), so coords.NumItems() is 0 afterwards.
     * -2 for an index outside 0 to GetSize() - 1. */
    int IndexToCoordinates(int index, QEL_intArray& coords) const;
    /* One step forward in row-major order (the last coordinate moves
     * first, a coordinate at its end wraps to 0 and carries). -2 at the
     * last position, with no dimensions, or when coords is too short;
     * coords is then unchanged. */
    int NextCoordinates(QEL_intArray& coords) const;
    /* One step back (a coordinate at 0 wraps to its highest value and
     * borrows). -2 unless Ok(coords), or at the first position; coords is
     * then unchanged. */
    int PrevCoordinates(QEL_intArray& coords) const;

    /* Item-wise operations over all items. */
    void FillWith(double value);
    /* Return 0. */
    int Add(double value);
    int Multiply(double value);
    /* Multiplies each item with last coordinate k by weights[k]. -2 when
     * weights.GetSize() is below the size of the last dimension. */
    int Multiply(const QEL_doubleArray& weights);
    /* Adds other item by item. -2 unless CompatibleWith(other). */
    int Add(const QEL_Dmatrix& other);
    /* This becomes a + b, or a - b. -2 unless this matrix is compatible
     * with both. a or b may be this matrix. */
    int Sum(const QEL_Dmatrix& a, const QEL_Dmatrix& b);
    int Subtract(const QEL_Dmatrix& a, const QEL_Dmatrix& b);
    /* Same number of dimensions, same size of each, same total. */
    bool CompatibleWith(const QEL_Dmatrix& other) const;

    /* Makes every column (run of last-dimension items) sum to one. A column
     * that already sums to exactly 1.0 is untouched, an all-zero column
     * (sum exactly 0.0) becomes uniform, any other is multiplied by
     * 1.0 / sum. No tolerance, no check of signs. Returns 0. */
    int Normalize();
    /* The same for the one column through coords, whose last entry is set
     * to 0 and left so. -2 unless Ok(coords). */
    int Normalize(QEL_intArray& coords);
    /* The same for the column through a data index. -2 for a bad index. */
    int Normalize(int index);
    /* 1 when the column through coords (or index) sums to exactly 1.0,
     * else 0; -2 for bad coordinates or index. The last entry of coords is
     * set to 0. */
    int Normalized(QEL_intArray& coords) const;
    int Normalized(int index) const;
    /* Sets the item at coords so that its column sums to one: with k the
     * last entry of coords and s the column sum, item k becomes
     * 1.0 - (s - item k). The last entry of coords is set to 0. -2 unless
     * Ok(coords); the index form -2 for a bad index. */
    int Complement(QEL_intArray& coords);
    int Complement(int index);

    /* 1 when every item of a slice equals value exactly, else 0. fixed
     * holds one entry per dimension: negative (conventionally -1) leaves the
     * dimension free, otherwise it is the slice's coordinate there. -2 when
     * fixed has fewer entries than there are dimensions or a fixed
     * coordinate lies outside its dimension. */
    int CheckElements(double value, const QEL_intArray& fixed) const;
    /* The same with dimA fixed at coordA and dimB at coordB, the others
     * free; when dimA equals dimB, coordB is the one used. -2 for a bad
     * dimension or coordinate. */
    int CheckElements(double value, int dimA, int coordA, int dimB, int coordB) const;

    /* InsertDimension(GetNumberOfDimensions(), size): each item is
     * repeated size times in a row. */
    int AddDimension(int size);
    /* AddDimension for each of the sizes.NumItems() sizes in turn; stops at
     * and returns the first failure, keeping the dimensions added so far. */
    int AddDimensions(const QEL_intArray& sizes);
    /* Inserts a dimension of the given size before dimension where (where
     * equal to the number of dimensions appends). The old items are copied
     * to every coordinate of the new dimension. On a matrix with no
     * dimensions the one new dimension's items are uninitialised. -2 when
     * size < 1, where is outside 0 to GetNumberOfDimensions() or the new
     * total does not fit an int. */
    int InsertDimension(int where, int size);

    /* RemoveDimension(dim, 0). */
    int RemoveDimension(int dim);
    /* Keeps only the items with coordinate slice in dimension dim, in
     * their order. Removing the only dimension leaves no dimensions and no
     * data. -2 for a bad dim or slice. The form with out leaves this matrix
     * alone and puts the result in out (out may be this matrix); out is
     * unchanged on failure. */
    int RemoveDimension(int dim, int slice);
    int RemoveDimension(int dim, int slice, QEL_Dmatrix& out) const;
    /* Weighted marginal over dimension dim: new item x is the sum over i of
     * old item (x with i in dim) * weights[i], accumulated in ascending i.
     * -2 for a bad dim, or when weights.GetSize() is below the size of
     * dim. The form with out behaves as above. */
    int RemoveDimension(int dim, const QEL_doubleArray& weights);
    int RemoveDimension(int dim, const QEL_doubleArray& weights, QEL_Dmatrix& out) const;
    /* Marginal over dimension dim against a second table. Dimension i of
     * other corresponds to dimension map[i] of this matrix; dim must be one
     * of them. The result at coordinates c (dim removed) is the sum over v
     * of this[c, dim = v] * other[c mapped by map, with v for dim],
     * accumulated in ascending v. -2 for a bad dim, when map.NumItems()
     * differs from other's number of dimensions, a map entry is not a
     * dimension of this matrix or the sizes disagree, or dim is not in
     * map. Removing the only dimension leaves no dimensions and no data. */
    int RemoveDimension(int dim, const QEL_Dmatrix& other, const QEL_intArray& map);
    /* out becomes this matrix with every dimension i for which fixed[i] >= 0
     * reduced to that slice (negative entries keep the dimension). -2 when
     * fixed has fewer entries than there are dimensions or a fixed
     * coordinate is out of range; out is then unchanged. Fixing every
     * dimension leaves out with no dimensions and no data. */
    int RemoveDimensions(const QEL_intArray& fixed, QEL_Dmatrix& out) const;

    /* Dimension dim grows by one at its high end. Old items keep their
     * coordinates; the new items are 0.0. -2 for a bad dim or when the new
     * total does not fit an int. */
    int IncreaseDimensionSize(int dim);
    /* Dimension dim loses its highest coordinate; the other items keep
     * theirs. -2 for a bad dim or a dimension of size 1. */
    int DecreaseDimensionSize(int dim);
    /* Gives dimension dim the new size. All data is lost; the new items
     * are uninitialised. The same size does nothing. -2 for a bad dim, a
     * size below 1, or a total that does not fit an int. */
    int ResizeDimension(int dim, int size);

    /* In every slice along dim, the items at coordinates pos to size - 2
     * move up one, the item at size - 1 is lost and pos gets fill (0.0 in
     * the second form). The shape does not change. -2 for a bad dim or a
     * pos outside the dimension. */
    int ShiftDataUpwards(int dim, int pos, double fill);
    int ShiftDataUpwards(int dim, int pos);
    /* In every slice along dim, the items at pos + 1 to size - 1 move down
     * one and the item at pos is lost; the top coordinate keeps its old
     * items. -2 for a bad dim or a pos outside the dimension. */
    int ShiftDataDownwards(int dim, int pos);

    /* Permutes the dimensions: new dimension i is old dimension
     * newOrder[i], and every item moves with its coordinates. -2, with
     * nothing changed, unless newOrder is a permutation of the dimensions
     * (as a list of GetNumberOfDimensions() items). */
    int ChangeOrderOfDimensions(const QEL_intArray& newOrder);
    /* Permutes the coordinates of dimension dim: the result at coordinate
     * i is the old item at newOrder[i]. -2, with nothing changed, for a bad
     * dim or unless newOrder is a list that is a permutation of 0 to the
     * dimension's size - 1. */
    int ChangeOrderWithinDimension(int dim, const QEL_intArray& newOrder);

    /* Recomputes the strides from the dimension sizes. */
    void CalculatePreProd();

protected:
    /* Empties the matrix, then (count > 0) stores the sizes, computes the
     * strides and sizes the data. The arguments must have been checked. */
    int ReCreate(const int* dims, int count);

    QEL_intArray theDimensions;
    QEL_intArray thePreProduct;
    QEL_doubleArray theData;

private:
    /* Takes over new dimension sizes (an array of their count) and new
     * items by swapping, then recomputes the strides. No dimensions empties
     * the matrix. */
    void Adopt(QEL_intArray& dims, QEL_doubleArray& data);
};

#endif
