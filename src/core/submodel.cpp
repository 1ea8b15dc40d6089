// The submodel handler as it stands: the root submodel only. Lookups answer
// for the root; no other submodel exists yet, so no id below the root is in
// use and no other handle is valid.
#include "orvil/submodel.h"

#include <string.h>

#include "orvil/errors.h"

QEL_submodel::QEL_submodel() : parent(QEL_OUT_OF_RANGE) {
    SetObjectReady();
}

QEL_submodelHandler::QEL_submodelHandler(QEL_network* net) : network(net) {
    SetObjectReady();
}

int QEL_submodelHandler::ReCreate(QEL_network* net) {
    network = net;
    return CleanUp(1);
}

int QEL_submodelHandler::CleanUp(int /*deep*/) {
    root.header.CleanUp();
    root.info = QEL_screenInfo();
    root.parent = QEL_OUT_OF_RANGE;
    SetObjectReady();
    return 0;
}

int QEL_submodelHandler::operator=(const QEL_submodelHandler& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    root.header = other.root.header;
    root.info = other.root.info;
    root.parent = other.root.parent;
    return 0;
}

QEL_submodel* QEL_submodelHandler::GetSubmodel(int handle) {
    return IsValidSubmodel(handle) ? &root : nullptr;
}

bool QEL_submodelHandler::IsValidSubmodel(int handle) const {
    return (handle & ~rootHandle) == 0;
}

int QEL_submodelHandler::FindSubmodel(const char* id) const {
    const char* rootId = root.header.GetId();
    if (id == nullptr || rootId == nullptr) return QEL_OUT_OF_RANGE;
    return strcmp(id, rootId) == 0 ? rootHandle : QEL_OUT_OF_RANGE;
}

bool QEL_submodelHandler::IsIdInUse(const char* /*id*/) const {
    return false;
}
