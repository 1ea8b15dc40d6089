// QEL_nodeValue: what inference computed for one node, and what the user
// asserted about it.
//
// Every node owns one value beside its definition. The value keeps a flag
// word (real evidence, valid result, propagated evidence, controlled
// outcome, virtual evidence) and, in the subclasses, a matrix of results.
// Values do no inference: they keep their flags consistent and tell the
// network of every change through its Relevance... hooks, which invalidate
// other values or start an update.
//
// The matrix of a value has the node's own outcomes as its last dimension.
// Indexing parents (decision models) insert their dimensions in front of it,
// in the order of `indexingParents`.
#ifndef ORVIL_NODEVALUE_H
#define ORVIL_NODEVALUE_H

#include <cstdint>
#include <vector>

#include "orvil/intarray.h"
#include "orvil/object.h"

class QEL_network;
class QEL_Dmatrix;

// Value type numbers, the results of GetType().
const int QEL_VALUETYPE_BELIEFVECTOR = 3;
const int QEL_VALUETYPE_EXPECTEDUTILITY = 4;
const int QEL_VALUETYPE_LISTOFDECISIONS = 6;
const int QEL_VALUETYPE_MAUEXPECTEDUTILITY = 7;
const int QEL_VALUETYPE_VALEQEVALUATION = 8;

// Bits of a value's flag word.
const int QEL_VALUE_REAL_EVIDENCE = 1;
const int QEL_VALUE_VALID = 2;
const int QEL_VALUE_PROPAGATED_EVIDENCE = 4;
const int QEL_VALUE_CONTROLLED = 8;
const int QEL_VALUE_VIRTUAL_EVIDENCE = 16;
// "Evidence" without qualifier: set by the user or deduced with certainty.
const int QEL_VALUE_EVIDENCE = QEL_VALUE_REAL_EVIDENCE | QEL_VALUE_PROPAGATED_EVIDENCE;
// Any evidence a slice of a temporal node can carry.
const int QEL_VALUE_TEMPORAL_EVIDENCE = QEL_VALUE_EVIDENCE | QEL_VALUE_VIRTUAL_EVIDENCE;

class QEL_nodeValue : public QEL_object {
public:
    // A value for node `handle` of `net`, ready and consistent, flags 0.
    QEL_nodeValue(QEL_network* net, int handle);
    QEL_nodeValue(const QEL_nodeValue&) = delete;
    QEL_nodeValue& operator=(const QEL_nodeValue&) = delete;

    // Sets the flag word to 0 and, with `deep`, forgets the indexing
    // parents; then re-derives readiness. Returns 0.
    int CleanUp(int deep = 0) override;
    int CheckReadiness(int deep = 0) override;
    int CheckConsistency(int deep = 0) override;
    ~QEL_nodeValue() override;

    // Clone(other).
    virtual int operator=(QEL_nodeValue& other);
    // Copies network, handle, flags and indexing parents of `other`, then
    // re-derives readiness and consistency. -567 if `other` is not ready.
    // Subclasses add their own contents.
    virtual int Clone(QEL_nodeValue& other);
    // Rebuilds the matrix from the node's present outcome count, dropping
    // indexing parents. -51 here: only classes with a matrix have one.
    virtual int ReCreateFromNetworkStructure();
    // The value type number (QEL_VALUETYPE_...).
    virtual int GetType() const = 0;
    // Number of cells of the matrix; -51 for a class without one.
    virtual int GetSize();
    // Records `parent` as an indexing parent: -2 for a bad handle; 0 when it
    // is listed already, or when this node is listed in the parent's value
    // (the relation is kept in one direction only). For parents of types 17,
    // 18, 20, 146 and 274 with outcomes, the matrix gains the parent's
    // dimension just before its last one; that status is returned.
    virtual int AddIndexingParent(int parent);

    // The outcome the node is known to have (mask 5), else a negative code.
    // -51 for classes without discrete evidence.
    virtual int GetEvidence() const;
    // Continuous evidence; -51 except for equation values.
    virtual int GetEvidence(double& value) const;
    virtual int SetEvidence(double value);
    // Sets real evidence. -2 out of range, -26 contradicting propagated
    // evidence; -51 for classes without discrete evidence.
    virtual int SetEvidence(int outcome);
    // Removes real (or else virtual) evidence; -2 when there is none.
    virtual int ClearEvidence();
    // Removes propagated evidence; -2 when there is none.
    virtual int ClearPropagatedEvidence();
    // Records an outcome deduced by inference; -2 if the node has evidence.
    virtual int SetPropagatedEvidence(int outcome);
    virtual int SetPropagatedEvidence(double value);
    // Copies the stored, normalised likelihood vector; -2 when none.
    virtual int GetVirtualEvidence(std::vector<double>& likelihood) const;
    // Stores a likelihood vector, one entry per outcome (-2 otherwise),
    // scaled to sum 1 unless it is within 5e-06 of that already.
    virtual int SetVirtualEvidence(const std::vector<double>& likelihood);
    // Points `matrix` at the value's own matrix, which stays owned here.
    virtual int GetValue(QEL_Dmatrix** matrix);
    // Copies dimensions, strides and cells of `matrix`; no flag changes.
    virtual int SetValue(QEL_Dmatrix& matrix);

    // -2 for null, -567 for a network that is not ready; else stores it.
    int SetNetwork(QEL_network* net);
    // Stores both, unchecked.
    void SetNetworkAndHandle(QEL_network* net, int handle);
    QEL_network* GetNetwork() const { return network; }
    int GetHandle() const { return handle; }
    const QEL_intArray& GetIndexingParents() const { return indexingParents; }

    // The flag word and its bits.
    int GetFlags() const { return flags; }
    bool IsRealEvidence() const { return (flags & QEL_VALUE_REAL_EVIDENCE) != 0; }
    bool IsValueValid() const { return (flags & QEL_VALUE_VALID) != 0; }
    bool IsPropagatedEvidence() const { return (flags & QEL_VALUE_PROPAGATED_EVIDENCE) != 0; }
    bool IsControlled() const { return (flags & QEL_VALUE_CONTROLLED) != 0; }
    bool IsVirtualEvidence() const { return (flags & QEL_VALUE_VIRTUAL_EVIDENCE) != 0; }
    // Real or propagated evidence (mask 5).
    bool HasEvidence() const { return (flags & QEL_VALUE_EVIDENCE) != 0; }
    // Engines call these after writing the matrix, or to mark it stale.
    void SetValueValid();
    void SetValueInvalid();
    // Before an algorithm runs: drops the indexing parents, gives the matrix
    // (if the class has one) exactly one dimension of `outcomes` cells unless
    // it has that shape already, and clears the valid bit. Evidence stays.
    void ResetForUpdate(int outcomes);
    // Raw flag edits with no notification, for the update driver and
    // engines that save and restore evidence around their work.
    void SetFlagBits(int mask) { flags |= mask; }
    void ClearFlagBits(int mask) { flags &= ~mask; }

    // Evidence per time slice of a node in the plate of a dynamic network.
    // Slice 0 is this value's own evidence; later slices live in the
    // network's temporal store. Setters and ClearTemporalEvidence give -51
    // for a node outside the plate and -2 for a later slice without a store.
    bool HasTemporalEvidence() const;
    bool IsTemporalEvidence(int slice) const;
    bool IsTemporalVirtualEvidence(int slice) const;
    // The slice's outcome, or a negative code.
    int GetTemporalEvidence(int slice) const;
    int GetTemporalEvidence(int slice, std::vector<double>& likelihood) const;
    int SetTemporalEvidence(int slice, int outcome);
    int SetTemporalEvidence(int slice, const std::vector<double>& likelihood);
    // -4 for a later slice that holds no evidence of either kind.
    int ClearTemporalEvidence(int slice);

protected:
    // The node's outcome count through its definition, or -2 when the
    // network, node or definition is missing.
    int OwnOutcomeCount() const;

    QEL_network* network;
    int handle;
    int flags;
    QEL_intArray indexingParents;
    // Reserved; written as 0 whenever the valid bit changes.
    std::int64_t reserved;
};

#endif
