// QEL_extraDefinition: diagnosis annotations kept in outcome order.
//
// Labels and fault marks are two parallel lists with one entry per outcome;
// the default outcome is an index into them (-1 for none). Every change of
// the node's outcomes arrives here as an insertion, removal or permutation,
// and the lists and the index follow it.
#include "orvil/extradefinition.h"

#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"

QEL_extraDefinition::QEL_extraDefinition(QEL_network* net, int handle)
    : network(net),
      handle(handle),
      diagType(qel_diagAuxiliary),
      ranked(false),
      mandatory(false),
      defaultOutcome(-1) {
    ReCreateFromNetworkStructure();
}

QEL_extraDefinition::QEL_extraDefinition(const QEL_extraDefinition& other)
    : QEL_object(other),
      network(other.network),
      handle(other.handle),
      diagType(other.diagType),
      ranked(other.ranked),
      mandatory(other.mandatory),
      defaultOutcome(other.defaultOutcome),
      labels(other.labels),
      faultStates(other.faultStates) {}

int QEL_extraDefinition::operator=(const QEL_extraDefinition& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    diagType = other.diagType;
    ranked = other.ranked;
    mandatory = other.mandatory;
    defaultOutcome = other.defaultOutcome;
    labels = other.labels;
    faultStates = other.faultStates;
    return CheckReadiness(0);
}

int QEL_extraDefinition::FastCopy(const QEL_extraDefinition& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    diagType = other.diagType;
    ranked = other.ranked;
    mandatory = other.mandatory;
    defaultOutcome = other.defaultOutcome;
    faultStates = other.faultStates;
    labels.CleanUp(1);
    for (int i = 0; i < faultStates.NumItems(); i++) labels.Add(nullptr);
    return CheckReadiness(0);
}

QEL_extraDefinition::~QEL_extraDefinition() = default;

int QEL_extraDefinition::CleanUp(int deep) {
    if (deep) {
        labels.CleanUp(1);
        faultStates.CleanUp();
        defaultOutcome = -1;
    }
    return CheckReadiness(0);
}

int QEL_extraDefinition::CheckReadiness(int) {
    if (labels.NumItems() != faultStates.NumItems()) {
        SetObjectNotReady();
        return QEL_OBJECT_NOT_READY;
    }
    SetObjectReady();
    return 0;
}

int QEL_extraDefinition::SetNetwork(QEL_network* net) {
    if (net == nullptr) return QEL_OUT_OF_RANGE;
    if (!net->IsReady()) return QEL_OBJECT_NOT_READY;
    network = net;
    return 0;
}

void QEL_extraDefinition::SetNetworkAndHandle(QEL_network* net, int nodeHandle) {
    network = net;
    handle = nodeHandle;
}

int QEL_extraDefinition::NodeOutcomeCount() const {
    QEL_node* node = network != nullptr ? network->GetNode(handle) : nullptr;
    if (node == nullptr || node->Definition() == nullptr) return QEL_OUT_OF_RANGE;
    return node->Definition()->GetNumberOfOutcomes();
}

int QEL_extraDefinition::ReCreateFromNetworkStructure() {
    const int count = NodeOutcomeCount();
    return ReCreate(count < 2 ? 2 : count);
}

int QEL_extraDefinition::ReCreate(int count) {
    if (count < 1) return QEL_OUT_OF_RANGE;
    labels.CleanUp(1);
    faultStates.CleanUp();
    for (int i = 0; i < count; i++) {
        labels.Add(nullptr);
        faultStates.Add(0);
    }
    defaultOutcome = -1;
    return CheckReadiness(0);
}

int QEL_extraDefinition::NodeGetsBigger(int position) {
    if (position < 0 || position > faultStates.NumItems()) return QEL_OUT_OF_RANGE;
    labels.Insert(position, nullptr);
    faultStates.Insert(position, 0);
    if (defaultOutcome >= position) defaultOutcome++;
    return CheckReadiness(0);
}

int QEL_extraDefinition::NodeGetsSmaller(int position) {
    if (!ValidState(position)) return QEL_OUT_OF_RANGE;
    labels.Delete(position);
    faultStates.Delete(position);
    if (defaultOutcome == position)
        defaultOutcome = -1;
    else if (defaultOutcome > position)
        defaultOutcome--;
    return CheckReadiness(0);
}

int QEL_extraDefinition::NodeChangedOrderOfStates(const QEL_intArray& newOrder) {
    if (newOrder.NumItems() != faultStates.NumItems()) return QEL_OUT_OF_RANGE;
    int rc = faultStates.ChangeOrder(newOrder);
    if (rc != 0) return rc;
    labels.ChangeOrder(newOrder);
    if (defaultOutcome >= 0) defaultOutcome = newOrder.FindPosition(defaultOutcome);
    return 0;
}

int QEL_extraDefinition::SetDiagType(int type) {
    if (type != qel_diagTarget && type != qel_diagObservation && type != qel_diagAuxiliary) return QEL_OUT_OF_RANGE;
    diagType = type;
    return 0;
}

int QEL_extraDefinition::SetLabel(int state, const char* label) {
    if (!ValidState(state)) return QEL_OUT_OF_RANGE;
    return labels.SetString(state, label);
}

const char* QEL_extraDefinition::GetLabel(int state) const { return ValidState(state) ? labels[state] : nullptr; }

int QEL_extraDefinition::SetFaultState(int state, int fault) {
    if (!ValidState(state)) return QEL_OUT_OF_RANGE;
    faultStates[state] = fault != 0 ? 1 : 0;
    return 0;
}

int QEL_extraDefinition::IsFaultState(int state) const {
    if (!ValidState(state)) return QEL_OUT_OF_RANGE;
    return faultStates[state];
}

int QEL_extraDefinition::SetDefaultOutcome(int state) {
    if (!ValidState(state)) return QEL_OUT_OF_RANGE;
    defaultOutcome = state;
    return 0;
}
