// QEL_updateBeliefsListener: the caller's hook on finished updates.
//
// A network with a listener calls it after every UpdateBeliefs, failed ones
// included, with the status the update returns. The caller owns the
// listener; the network only points at it and never deletes it.
#ifndef ORVIL_UPDATELISTENER_H
#define ORVIL_UPDATELISTENER_H

class QEL_network;

class QEL_updateBeliefsListener {
public:
    // Called once per UpdateBeliefs with the network and the update's status.
    virtual void BeliefsUpdated(QEL_network& net, int status) = 0;

protected:
    QEL_updateBeliefsListener() = default;
    QEL_updateBeliefsListener(const QEL_updateBeliefsListener&) = default;
    QEL_updateBeliefsListener& operator=(const QEL_updateBeliefsListener&) = default;
    // Not deleted through this type: the caller owns the concrete object.
    ~QEL_updateBeliefsListener() = default;
};

#endif
