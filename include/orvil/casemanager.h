// QEL_caseManager: saved cases, named sets of evidence that a user stores
// with a model and brings back later. The network tells it of every change
// that can invalidate a stored case (a node deleted or retyped, outcomes
// added, removed or reordered).
//
// What is here now are those notifications, accepted and ignored: no case
// is stored yet, so none can go stale. The store itself comes later.
#ifndef ORVIL_CASEMANAGER_H
#define ORVIL_CASEMANAGER_H

class QEL_network;
class QEL_intArray;

class QEL_caseManager {
public:
    explicit QEL_caseManager(QEL_network* net);
    QEL_caseManager(const QEL_caseManager&) = delete;
    QEL_caseManager& operator=(const QEL_caseManager&) = delete;

    // Removes every stored case. Returns 0.
    int DeleteAllCases();

    // Notifications from the network; each returns 0.
    int OnNodeDeleted(int handle);
    int OnTypeChanged(int handle, int oldType);
    int OnOutcomeAdded(int handle, int position);
    int OnOutcomeDeleted(int handle, int position);
    int OnReorderOutcomes(int handle, QEL_intArray& newOrder);

private:
    QEL_network* network;
};

#endif
