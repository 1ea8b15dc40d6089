// QEL_listOfDecisions: the value of a decision node.
//
// The matrix holds the expected utility of each option (per combination of
// indexing parents' outcomes). Choosing an option is evidence like a chance
// node's, except that it never overwrites the expected utilities, there is
// no virtual evidence and no control.
#ifndef ORVIL_LISTOFDECISIONS_H
#define ORVIL_LISTOFDECISIONS_H

#include "orvil/outcomevalue.h"

class QEL_listOfDecisions : public QEL_outcomeValue {
public:
    // One dimension of the node's option count when the handle names a node
    // with a definition; otherwise empty and not ready.
    QEL_listOfDecisions(QEL_network* net, int handle);
    ~QEL_listOfDecisions() override;
    // Clone(other), as for any value.
    int operator=(QEL_listOfDecisions& other) { return Clone(other); }
    using QEL_nodeValue::operator=;

    using QEL_nodeValue::SetEvidence;
    using QEL_nodeValue::SetPropagatedEvidence;

    // One dimension of the option count; indexing parents go. Returns 0,
    // or -2 when the node has no option count.
    int ReCreateFromNetworkStructure() override;
    int GetType() const override { return QEL_VALUETYPE_LISTOFDECISIONS; }

    // Chooses `option`: -2 when it contradicts propagated evidence; an
    // option out of range reports 0 and changes nothing.
    int SetEvidence(int option) override;
    // CleanEvidence, then clears the choice and tells the network.
    int ClearEvidence() override;
    int ClearPropagatedEvidence() override;
    // -2 if the node has evidence; out of range reports 0, changes nothing.
    int SetPropagatedEvidence(int option) override;

    // -2 out of range; else records the option and sets the valid bit. The
    // expected utilities in the matrix stay as they are.
    int StoreEvidence(int option) override;
    // -2 without evidence; else clears the valid bit only.
    int CleanEvidence();
};

#endif
