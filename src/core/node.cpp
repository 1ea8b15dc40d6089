// QEL_node: construction, copies and the life of the five owned parts.
//
// A node is made bare by the network (type 0), placed in its slot, and only
// then given its definition and value, because both look themselves up
// through the network by the node's handle. Copies clone each part; the
// lean copy used by algorithms leaves out the descriptive record.
#include "orvil/node.h"

#include <string.h>

#include "node_kinds.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/network.h"
#include "orvil/nodecost.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/submodel.h"

QEL_node::QEL_node(int type, int handle, QEL_network* net)
    : info(nullptr),
      definition(nullptr),
      value(nullptr),
      cost(nullptr),
      extraDefinition(nullptr),
      network(net),
      handle(handle),
      submodel(QEL_ROOT_SUBMODEL) {
    if (net == nullptr) return;
    info = new QEL_nodeInfo();
    info->Header().AssociateWithNode(this);
    CreateDefinition(type);
    CreateValue(type);
    cost = new QEL_nodeCost(net, handle);
    CheckReadiness(0);
}

// Copies start as the empty node of no network, whose parts are all null.
QEL_node::QEL_node(QEL_node& other) : QEL_node(qel_noDefinitionType, -1, nullptr) {
    if (!other.IsReady()) return;
    network = other.network;
    handle = other.handle;
    submodel = other.submodel;
    if (other.info != nullptr) {
        info = new QEL_nodeInfo(*other.info);
        info->Header().AssociateWithNode(this);
    }
    CopyParts(other, false);
    CheckReadiness(0);
}

QEL_node::QEL_node(QEL_node& other, bool) : QEL_node(qel_noDefinitionType, -1, nullptr) { FastCopy(other); }

QEL_node::~QEL_node() { DestroyParts(); }

void QEL_node::DestroyParts() {
    delete info;
    delete definition;
    delete value;
    delete cost;
    delete extraDefinition;
    info = nullptr;
    definition = nullptr;
    value = nullptr;
    cost = nullptr;
    extraDefinition = nullptr;
}

void QEL_node::CopyParts(QEL_node& other, bool fast) {
    if (other.definition != nullptr) CreateDefinition(*other.definition);
    if (other.value != nullptr) CreateValue(*other.value);
    if (other.cost != nullptr) cost = new QEL_nodeCost(*other.cost);
    if (other.extraDefinition != nullptr) {
        extraDefinition = new QEL_extraDefinition(*other.extraDefinition);
        if (fast) extraDefinition->FastCopy(*other.extraDefinition);
    }
}

int QEL_node::FastCopy(QEL_node& other) {
    if (&other == this) return 0;
    DestroyParts();
    network = other.network;
    handle = other.handle;
    submodel = other.submodel;
    CopyParts(other, true);
    SetObjectReady();
    return 0;
}

int QEL_node::operator=(QEL_node& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    if (info != nullptr && other.info != nullptr) *info = *other.info;
    if (definition != nullptr && other.definition != nullptr) *definition = *other.definition;
    if (value != nullptr && other.value != nullptr) *value = *other.value;
    if (cost != nullptr && other.cost != nullptr) *cost = *other.cost;
    if (extraDefinition != nullptr && other.extraDefinition != nullptr) *extraDefinition = *other.extraDefinition;
    return 0;
}

int QEL_node::GetType() const { return definition != nullptr ? definition->GetType() : 0; }

const char* QEL_node::GetId() const { return info != nullptr ? info->Header().GetId() : nullptr; }

int QEL_node::SetId(const char* id) {
    if (info == nullptr) return QEL_OUT_OF_RANGE;
    return info->Header().SetId(id);
}

int QEL_node::SetSubmodel(int submodelHandle) {
    if (network == nullptr || !network->Submodels().IsValidSubmodel(submodelHandle)) return QEL_OUT_OF_RANGE;
    submodel = submodelHandle;
    return 0;
}

int QEL_node::SetSubmodel(const char* submodelId) {
    if (submodelId == nullptr || network == nullptr) return QEL_OUT_OF_RANGE;
    const int found = network->Submodels().FindSubmodel(submodelId);
    if (found < 0) return QEL_errorH().LogError(QEL_ILLEGAL_IDENTIFIER, "Unknown submodel");
    return SetSubmodel(found);
}

int QEL_node::SetNetwork(QEL_network* net) {
    if (net == nullptr) return QEL_OUT_OF_RANGE;
    if (!net->IsReady()) return QEL_OBJECT_NOT_READY;
    network = net;
    if (definition != nullptr) definition->SetNetwork(net);
    if (value != nullptr) value->SetNetwork(net);
    if (cost != nullptr) cost->SetNetwork(net);
    if (extraDefinition != nullptr) extraDefinition->SetNetwork(net);
    return 0;
}

int QEL_node::CheckNetworkStructure(int deep) {
    if (definition != nullptr) definition->CheckParentsStructure();
    if (!deep || network == nullptr || !network->Ok(handle)) return 0;
    // Copied: a child that drops this node changes the list.
    QEL_intArray children = network->GetChildren(handle, qel_normalArc);
    for (int i = 0; i < children.NumItems(); i++) {
        QEL_node* child = network->GetNode(children[i]);
        if (child != nullptr && child->Definition() != nullptr) child->Definition()->CheckParentsStructure();
    }
    return 0;
}

int QEL_node::InheritAspect() {
    if (info == nullptr || network == nullptr) return QEL_OUT_OF_RANGE;
    return info->Screen().FillDefaultValues(network->Submodels().Root().info);
}

// Cost record and extra definition are optional: readiness and consistency
// ask only for the three parts every usable node has.
int QEL_node::CheckReadiness(int deep) {
    return CheckPartsReadiness({info, definition, value}, deep);
}

int QEL_node::CheckConsistency(int deep) {
    return CheckPartsConsistency({info, definition, value}, deep);
}

int QEL_node::CleanUp(int deep) {
    if (deep) {
        if (info != nullptr) info->CleanUp(1);
        if (definition != nullptr) definition->CleanUp(1);
        if (value != nullptr) value->CleanUp(1);
        if (cost != nullptr) cost->CleanUp(1);
        if (extraDefinition != nullptr) extraDefinition->CleanUp(1);
    }
    DestroyParts();
    SetObjectNotReady();
    return 0;
}
