// Flat functions of the network family: life of a network, its nodes and
// arcs. Each is a direct call into QEL_network; the only policy here is
// AddNode's, which reports the node that carries the name rather than the
// engine's status, so that a caller adding a name twice gets the node it
// already has.
#include "orvil/biorvil.h"

#include "orvil/intarray.h"
#include "orvil/network.h"

static QEL_network* Net(void* net) {
    return static_cast<QEL_network*>(net);
}

void* new_network(void) {
    return new QEL_network();
}

void* copy_network(void* net) {
    QEL_network* copy = new QEL_network();
    copy->Copy(*Net(net), false);
    return copy;
}

void delete_network(void* net) {
    delete Net(net);
}

int AddNode(void* net, int thisType, const char* nodeName) {
    Net(net)->AddNode(thisType, nodeName);
    return Net(net)->FindNode(nodeName);
}

int DeleteNode(void* net, int thisNode) {
    return Net(net)->DeleteNode(thisNode);
}

int AddArc(void* net, int theParent, int theChild) {
    return Net(net)->AddArc(theParent, theChild, qel_normalArc);
}

int RemoveArc(void* net, int theParent, int theChild) {
    return Net(net)->RemoveArc(theParent, theChild, qel_normalArc);
}

int FindNode(void* net, const char* withThisID) {
    return Net(net)->FindNode(withThisID);
}

int HasNode(void* net, const char* withThisID) {
    return Net(net)->FindNode(withThisID) != QEL_NO_NODE ? 1 : 0;
}

void* GetNode(void* net, int theNode) {
    return Net(net)->GetNode(theNode);
}

int GetAllNodes(void* net, void* here) {
    return Net(net)->GetAllNodes(*static_cast<QEL_intArray*>(here));
}

void* GetParents(void* net, int theNode) {
    return &Net(net)->GetParents(theNode, qel_normalArc);
}
