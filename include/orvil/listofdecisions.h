// QEL_listOfDecisions: the value of a decision node.
//
// The matrix holds the expected utility of each option (per combination of
// indexing parents' outcomes). Choosing an option is evidence like a chance
// node's, except that it never overwrites the expected utilities, there is
// no virtual evidence and no control.
#ifndef ORVIL_LISTOFDECISIONS_H
#define ORVIL_LISTOFDECISIONS_H

#include "orvil/dmatrix.h"
#include "orvil/nodevalue.h"

class QEL_listOfDecisions : public QEL_nodeValue {
public:
    // One dimension of the node's option count when the handle names a node
    // with a definition; otherwise empty and not ready.
    QEL_listOfDecisions(QEL_network* net, int handle);
    ~QEL_listOfDecisions() override;
    // Clone(other), as for any value.
    int operator=(QEL_listOfDecisions& other) { return Clone(other); }
    using QEL_nodeValue::operator=;

    using QEL_nodeValue::GetEvidence;
    using QEL_nodeValue::SetEvidence;
    using QEL_nodeValue::SetPropagatedEvidence;

    int CleanUp(int deep = 0) override;
    // Ready when the matrix has at least one dimension.
    int CheckReadiness(int deep = 0) override;
    // As for belief vectors, without virtual evidence.
    int Clone(QEL_nodeValue& other) override;
    // One dimension of the option count; indexing parents go.
    int ReCreateFromNetworkStructure() override;
    int GetType() const override { return QEL_VALUETYPE_LISTOFDECISIONS; }
    int GetSize() override { return matrix.GetSize(); }

    // The chosen option under mask 5, else -2.
    int GetEvidence() const override;
    // Chooses `option`: -2 when it contradicts propagated evidence; an
    // option out of range reports 0 and changes nothing.
    int SetEvidence(int option) override;
    // CleanEvidence, then clears the choice and tells the network.
    int ClearEvidence() override;
    int ClearPropagatedEvidence() override;
    // -2 if the node has evidence; out of range reports 0, changes nothing.
    int SetPropagatedEvidence(int option) override;
    int GetValue(QEL_Dmatrix** out) override;
    int SetValue(QEL_Dmatrix& source) override;

    // -2 out of range; else records the option and sets the valid bit.
    int StoreEvidence(int option);
    // -2 without evidence; else clears the valid bit only.
    int CleanEvidence();

protected:
    QEL_Dmatrix matrix;
    int evidence;
};

#endif
