// QEL_extraDefinition: the diagnosis annotations of one node.
//
// Beside its probabilities a node can carry what a diagnostic session needs:
// its role (target, observation or auxiliary), whether it is ranked or
// mandatory, a default outcome, and per outcome a label and a fault mark.
// The per-outcome data is kept in outcome order, one entry per outcome of
// the node's definition, and follows every insertion, removal and reorder
// of outcomes.
#ifndef ORVIL_EXTRADEFINITION_H
#define ORVIL_EXTRADEFINITION_H

#include "orvil/intarray.h"
#include "orvil/object.h"
#include "orvil/stringarray.h"

class QEL_network;

// The diagnostic role of a node.
enum qel_diagType { qel_diagTarget = 0, qel_diagObservation = 1, qel_diagAuxiliary = 2 };

class QEL_extraDefinition : public QEL_object {
public:
    // Auxiliary, not ranked, not mandatory, no default outcome, and one
    // empty label and no fault mark for each outcome of node `handle` of
    // `net` (two when the node has fewer).
    QEL_extraDefinition(QEL_network* net, int handle);
    // A full copy.
    QEL_extraDefinition(const QEL_extraDefinition& other);
    // Copies all annotations (network and handle stay). -567 for a source
    // that is not ready.
    int operator=(const QEL_extraDefinition& other);
    // The lean copy of a working network: everything but the labels, which
    // are left empty (one per outcome). -567 for a source that is not
    // ready.
    int FastCopy(const QEL_extraDefinition& other);
    ~QEL_extraDefinition() override;

    // With `deep`, drops the per-outcome data. Returns 0.
    int CleanUp(int deep = 0) override;
    // Ready when the labels and fault marks agree in length.
    int CheckReadiness(int deep = 0) override;

    // -2 for null, -567 for a network that is not ready; else 0.
    int SetNetwork(QEL_network* net);
    void SetNetworkAndHandle(QEL_network* net, int nodeHandle);

    // Number of outcomes annotated.
    int GetNumberOfStates() const { return faultStates.NumItems(); }
    // Per-outcome data for the node's present outcome count (at least
    // two), all empty; the node-wide annotations stay. Returns 0.
    int ReCreateFromNetworkStructure();
    // The same for exactly `count` outcomes. -2 for a count below 1.
    int ReCreate(int count);

    // An outcome was inserted at `position`: it gets no label and no fault
    // mark, and a default outcome at or after it moves up. -2 for a bad
    // position.
    int NodeGetsBigger(int position);
    // The outcome at `position` went: its data goes, a default outcome
    // after it moves down, and the default itself is forgotten. -2 for a
    // bad position.
    int NodeGetsSmaller(int position);
    // New outcome i is old outcome newOrder[i]; the data and the default
    // follow. -2, with nothing changed, for an order that is not a
    // permutation of the outcomes.
    int NodeChangedOrderOfStates(const QEL_intArray& newOrder);

    // Role: qel_diagType; -2 for another number.
    int SetDiagType(int type);
    int GetDiagType() const { return diagType; }
    void SetRanked(bool on) { ranked = on; }
    bool IsRanked() const { return ranked; }
    void SetMandatory(bool on) { mandatory = on; }
    bool IsMandatory() const { return mandatory; }

    // Label of an outcome (any text, null for none). -2 for a bad outcome.
    int SetLabel(int state, const char* label);
    // The label, or null for none or a bad outcome.
    const char* GetLabel(int state) const;
    // Marks an outcome as a fault (nonzero) or not. -2 for a bad outcome.
    int SetFaultState(int state, int fault);
    // 1 for a fault outcome, 0 for another, -2 for a bad outcome.
    int IsFaultState(int state) const;
    // Makes `state` the default outcome. -2 for a bad outcome.
    int SetDefaultOutcome(int state);
    // The default outcome, or -1 when there is none.
    int GetDefaultOutcome() const { return defaultOutcome; }
    bool HasDefaultOutcome() const { return defaultOutcome >= 0; }
    void ClearDefaultOutcome() { defaultOutcome = -1; }

private:
    bool ValidState(int state) const { return state >= 0 && state < faultStates.NumItems(); }
    int NodeOutcomeCount() const;

    QEL_network* network;
    int handle;
    int diagType;
    bool ranked;
    bool mandatory;
    int defaultOutcome;
    QEL_stringArray labels;
    QEL_intArray faultStates;
};

#endif
