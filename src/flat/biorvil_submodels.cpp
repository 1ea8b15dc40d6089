// Flat functions of submodels: each goes to the network's submodel handler.
// The list queries hand the caller a new int array of its own.
#include "orvil/biorvil.h"

#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/submodel.h"

static QEL_submodelHandler& Submodels(void* net) {
    return static_cast<QEL_network*>(net)->Submodels();
}

static QEL_submodel* Submodel(void* submodel) {
    return static_cast<QEL_submodel*>(submodel);
}

int submodel_CreateSubmodel(void* net, int theParent, const char* thisId) {
    return Submodels(net).CreateSubmodel(theParent, thisId);
}

int submodel_DeleteSubmodel(void* net, int handler) {
    return Submodels(net).DeleteSubmodel(handler);
}

int submodel_FindSubmodel(void* net, const char* withThisID) {
    return Submodels(net).FindSubmodel(withThisID);
}

int submodel_GetParent(void* net, int ofThisSubmodel) {
    return Submodels(net).GetParent(ofThisSubmodel);
}

int submodel_MoveSubmodel(void* net, int thisSubmodel, int intoThisSubmodel) {
    return Submodels(net).MoveSubmodel(thisSubmodel, intoThisSubmodel);
}

void* submodel_GetSubmodel(void* net, int handler) {
    return Submodels(net).GetSubmodel(handler);
}

void* submodel_Header(void* submodel) {
    return &Submodel(submodel)->header;
}

void* submodel_ScreenInfo(void* submodel) {
    return &Submodel(submodel)->info;
}

void* submodel_GetIncludedSubmodels(void* net, int inThisSubmodel) {
    QEL_intArray* here = new QEL_intArray();
    Submodels(net).GetIncludedSubmodels(inThisSubmodel, *here);
    return here;
}

void* submodel_GetIncludedNodes(void* net, int inThisSubmodel) {
    QEL_intArray* here = new QEL_intArray();
    Submodels(net).GetIncludedNodes(inThisSubmodel, *here);
    return here;
}

void* submodel_GetDeepIncludedSubmodels(void* net, int inThisSubmodel) {
    QEL_intArray* here = new QEL_intArray();
    Submodels(net).GetDeepIncludedSubmodels(inThisSubmodel, *here);
    return here;
}

void* submodel_GetDeepIncludedNodes(void* net, int inThisSubmodel) {
    QEL_intArray* here = new QEL_intArray();
    Submodels(net).GetDeepIncludedNodes(inThisSubmodel, *here);
    return here;
}
