// QEL_dbnImpl: the temporal data of a dynamic network, made by the
// network's first Dbn() call: arcs that reach back in time, definitions per
// temporal order, and evidence per time slice.
//
// What is here now are the notifications by which the network keeps that
// data in step with the plain graph. With no temporal arcs or evidence
// stored yet there is nothing to keep in step, so each returns 0.
#ifndef ORVIL_DBN_H
#define ORVIL_DBN_H

class QEL_network;

class QEL_dbnImpl {
public:
    explicit QEL_dbnImpl(const QEL_network& net);
    // A copy of `other` for the network copy `net`.
    QEL_dbnImpl(const QEL_network& net, const QEL_dbnImpl& other);
    QEL_dbnImpl(const QEL_dbnImpl&) = delete;
    QEL_dbnImpl& operator=(const QEL_dbnImpl&) = delete;

    // Notifications from the network; each returns 0.
    int OnAddStaticArc(int parent, int child);
    int OnDeleteStaticArc(int parent, int child);
    int OnNodeDeleted(int handle);
    int OnChangeType(int handle, int oldType);
    int OnInsertOutcome(int handle, int position);
    int OnDeleteOutcome(int handle, int position);

private:
    const QEL_network* network;
};

#endif
