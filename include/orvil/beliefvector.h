// QEL_beliefVector: the value of a discrete chance node.
//
// The matrix holds P(outcome | evidence), one cell per outcome of the node
// (and per combination of indexing parents' outcomes when there are any).
// Besides the flags it keeps the observed or deduced outcome and, for
// virtual evidence, a normalised likelihood vector that the update driver
// turns into a temporary observed child around each update.
#ifndef ORVIL_BELIEFVECTOR_H
#define ORVIL_BELIEFVECTOR_H

#include <vector>

#include "orvil/outcomevalue.h"

class QEL_beliefVector : public QEL_outcomeValue {
public:
    // With a network and a handle that names a node with a definition, the
    // matrix has one dimension of the node's outcome count and the value is
    // ready; otherwise it stays empty and not ready.
    QEL_beliefVector(QEL_network* net, int handle);
    ~QEL_beliefVector() override;
    // Clone(other), as for any value.
    int operator=(QEL_beliefVector& other) { return Clone(other); }
    using QEL_nodeValue::operator=;

    using QEL_nodeValue::SetEvidence;
    using QEL_nodeValue::SetPropagatedEvidence;

    // Forgets the likelihood vector, then cleans up as any outcome value
    // (with `deep` the matrix is emptied). Returns 0.
    int CleanUp(int deep = 0) override;
    // One dimension of the current outcome count; indexing parents go, and
    // the likelihood vector is set again (and lost if its length no longer
    // fits). Returns 0, or -2 when the node has no outcome count.
    int ReCreateFromNetworkStructure() override;
    int GetType() const override { return QEL_VALUETYPE_BELIEFVECTOR; }

    // Real evidence on `outcome`: -2 out of range, -26 when it contradicts
    // propagated evidence, or the refusal of the network's evidence hook
    // (the evidence is then taken back). Drops stored virtual evidence
    // without notice.
    int SetEvidence(int outcome) override;
    // Removes real evidence (and control), or else virtual evidence,
    // telling the network; -2 when there is neither.
    int ClearEvidence() override;
    // -2 without propagated evidence; else clears it and the valid bit.
    int ClearPropagatedEvidence() override;
    // -2 if the node has evidence; -2 out of range; else records it.
    int SetPropagatedEvidence(int outcome) override;
    // -2 unless virtual evidence is stored.
    int GetVirtualEvidence(std::vector<double>& likelihood) const override;
    // -2 unless there is one entry per outcome. Replaces real evidence.
    // Returns the status of the network's hook.
    int SetVirtualEvidence(const std::vector<double>& likelihood) override;

    // Shared core of real and propagated evidence: -2 out of range; else the
    // matrix becomes the point mass on `outcome` and the value is valid.
    int StoreEvidence(int outcome) override;
    // Frees the likelihood vector and clears its bit, telling nobody.
    int ClearVirtualEvidence();
    // False when a descendant has evidence that is not controlled.
    bool IsControllable();
    // Forces `outcome` as a controlled intervention: -2 when not
    // controllable; otherwise the status of the network's control hook.
    int ControlValue(int outcome);
    // Ends control (and the evidence that came with it), then tells the
    // network; returns the hook's status.
    int ClearControlledValue();

protected:
    std::vector<double>* virtualEvidence;
};

#endif
