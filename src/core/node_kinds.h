// The classes behind the type numbers: which definition and which value a
// node of a given type gets. Kept in one place so that a node, a network
// copy and a change of type all make the same classes.
#ifndef ORVIL_CORE_NODE_KINDS_H
#define ORVIL_CORE_NODE_KINDS_H

class QEL_network;
class QEL_nodeDefinition;
class QEL_nodeValue;

// A new definition of `type` for node `handle` of `net`, or null with
// `status` -4 for a number that is no definition type, or -51 for a type
// whose class this build does not have (and for type 0).
QEL_nodeDefinition* QEL_newDefinition(int type, int handle, QEL_network* net, int& status);

// A new value of the class that goes with definition `type`, or null with
// `status` -2 when there is none in this build (type 0 included).
QEL_nodeValue* QEL_newValueForDefinition(int type, QEL_network* net, int handle, int& status);

// A new value of value type `valueType` (a QEL_VALUETYPE_... number), or
// null with `status` -2 when this build has no such class.
QEL_nodeValue* QEL_newValueOfType(int valueType, QEL_network* net, int handle, int& status);

#endif
