// The saved-case store as it stands: no cases are kept yet, so the
// network's notifications have nothing to update.
#include "orvil/casemanager.h"

QEL_caseManager::QEL_caseManager(QEL_network* net) : network(net) {}

int QEL_caseManager::DeleteAllCases() {
    return 0;
}

int QEL_caseManager::OnNodeDeleted(int /*handle*/) {
    return 0;
}

int QEL_caseManager::OnTypeChanged(int /*handle*/, int /*oldType*/) {
    return 0;
}

int QEL_caseManager::OnOutcomeAdded(int /*handle*/, int /*position*/) {
    return 0;
}

int QEL_caseManager::OnOutcomeDeleted(int /*handle*/, int /*position*/) {
    return 0;
}

int QEL_caseManager::OnReorderOutcomes(int /*handle*/, QEL_intArray& /*newOrder*/) {
    return 0;
}
