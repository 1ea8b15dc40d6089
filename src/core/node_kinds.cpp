// Type numbers to classes. A definition type that this build lists but
// cannot make yet is answered with QEL_WRONG_NODE_TYPE, so a node of that
// type is left without a definition and fails its readiness check instead
// of being half made.
#include "node_kinds.h"

#include "orvil/beliefvector.h"
#include "orvil/cpt.h"
#include "orvil/errors.h"
#include "orvil/expectedutility.h"
#include "orvil/listofdecisions.h"
#include "orvil/node.h"
#include "orvil/truthtable.h"

QEL_nodeDefinition* QEL_newDefinition(int type, int handle, QEL_network* net, int& status) {
    status = 0;
    switch (type) {
        case qel_cptType:
            return new QEL_cpt(handle, net);
        case qel_truthTableType:
            return new QEL_truthTable(handle, net);
        default:
            status = QEL_node::IsNodeTypeValid(type) ? QEL_WRONG_NODE_TYPE : QEL_NOT_APPLICABLE;
            return nullptr;
    }
}

QEL_nodeValue* QEL_newValueOfType(int valueType, QEL_network* net, int handle, int& status) {
    status = 0;
    switch (valueType) {
        case QEL_VALUETYPE_BELIEFVECTOR:
            return new QEL_beliefVector(net, handle);
        case QEL_VALUETYPE_EXPECTEDUTILITY:
            return new QEL_expectedUtility(net, handle);
        case QEL_VALUETYPE_LISTOFDECISIONS:
            return new QEL_listOfDecisions(net, handle);
        default:
            status = QEL_OUT_OF_RANGE;
            return nullptr;
    }
}

QEL_nodeValue* QEL_newValueForDefinition(int type, QEL_network* net, int handle, int& status) {
    switch (type) {
        case qel_tableType:
            return QEL_newValueOfType(QEL_VALUETYPE_EXPECTEDUTILITY, net, handle, status);
        case qel_listType:
            return QEL_newValueOfType(QEL_VALUETYPE_LISTOFDECISIONS, net, handle, status);
        case qel_cptType:
        case qel_truthTableType:
        case qel_castType:
        case qel_demorganType:
        case qel_noisyMaxType:
        case qel_noisyAdderType:
            return QEL_newValueOfType(QEL_VALUETYPE_BELIEFVECTOR, net, handle, status);
        default:
            status = QEL_OUT_OF_RANGE;
            return nullptr;
    }
}
