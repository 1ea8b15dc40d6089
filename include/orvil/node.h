// QEL_node: everything one node of a network owns.
//
// A node ties together five owned parts: its descriptive record (id, name,
// screen data, properties), its definition (how it depends on its parents),
// its value (what inference computed and what the user asserted), its
// observation cost and its diagnosis annotations. The node itself holds no
// graph data: arcs live in the network's node table, under the node's
// handle. The definition and the value are chosen by the node's type number
// and are replaced together when the type changes.
#ifndef ORVIL_NODE_H
#define ORVIL_NODE_H

#include "orvil/object.h"

class QEL_network;
class QEL_nodeInfo;
class QEL_nodeDefinition;
class QEL_nodeValue;
class QEL_nodeCost;
class QEL_extraDefinition;

// The submodel handle of the root submodel, which holds every node at first.
const int QEL_ROOT_SUBMODEL = 0x4000;

class QEL_node : public QEL_object {
public:
    // A node of `type` with slot `handle` in `net`. With a null `net` all
    // parts stay null. Otherwise makes the descriptive record, the
    // definition and value for `type`, the cost record, and runs a
    // readiness pass: the node is ready only when all its parts are.
    QEL_node(int type, int handle, QEL_network* net);
    // A full copy. A source that is not ready gives an empty node.
    QEL_node(QEL_node& other);
    // A lean copy without descriptive record (FastCopy). The flag has no
    // effect.
    QEL_node(QEL_node& other, bool fast);
    QEL_node& operator=(const QEL_node&) = delete;
    ~QEL_node() override;

    // As the copy, but without descriptive record, and with the extra
    // definition in its lean form. Sets the ready bit itself. Returns 0.
    int FastCopy(QEL_node& other);
    // Assigns each part that exists on both sides. -567 for a source that
    // is not ready.
    int operator=(QEL_node& other);

    QEL_nodeInfo* Info() const { return info; }
    QEL_nodeDefinition* Definition() const { return definition; }
    QEL_nodeValue* Value() const { return value; }
    QEL_nodeCost* Cost() const { return cost; }
    QEL_extraDefinition* ExtraDefinition() const { return extraDefinition; }
    QEL_network* GetNetwork() const { return network; }
    int GetHandle() const { return handle; }
    int GetSubmodel() const { return submodel; }
    // The definition's type number, or 0 without a definition.
    int GetType() const;

    // The id of the descriptive record, or null without one.
    const char* GetId() const;
    // The record's SetId: -30 for an invalid id or one in use by another
    // node; -2 without a record.
    int SetId(const char* id);
    // Moves the node into submodel `handle` (the 0x4000 flag bit is
    // ignored). -2 unless it names a live submodel.
    int SetSubmodel(int submodelHandle);
    // The same by submodel id. -2 for null; an unknown id logs "Unknown
    // submodel" and gives -30.
    int SetSubmodel(const char* submodelId);

    // True for 0 and the definition type numbers.
    static bool IsNodeTypeValid(int type);
    // "CPT", "TRUTHTABLE", "LIST", "TABLE", "NOISY_MAX", "NOISY_ADDER",
    // "MAU", "CAST", "DEMORGAN" give their type number; anything else -2.
    static int NodeTypeFromName(const char* name);

    // Replaces the definition by a new one of `type`, then makes the extra
    // definition if there is none. Type 0 leaves none and returns 0. An
    // unknown type logs "Invalid definition type" and gives -4; a known
    // type whose class this build lacks gives -51 and leaves none, so that
    // the node fails its readiness check.
    int CreateDefinition(int type);
    // A definition of the class of `source`, cloned from it.
    int CreateDefinition(QEL_nodeDefinition& source);
    // Replaces the value by the class that goes with definition `type`.
    // Type 0 leaves none and returns 0; a type without value class gives
    // -2 and leaves none.
    int CreateValue(int type);
    // A value of the class of `source`, cloned from it and bound to this
    // node. -567 for a source that is not ready.
    int CreateValue(QEL_nodeValue& source);
    // Makes the extra definition when the node has none. Returns 0.
    int CreateExtraDefinition();

    // Turns the node into one of `newType`: a definition and value of the
    // new kind take over whatever converts (outcomes, tables), the parents
    // and children re-fit, and the network hears of it. -51 for a type that
    // is not valid; 0 for the present type, with nothing changed. When the
    // new kind cannot be made or refuses the conversion, its status is
    // returned and the node keeps its old definition and value. The old
    // definition and value are destroyed on success.
    int ChangeType(int newType);
    // The same by type name (NodeTypeFromName).
    int ChangeType(const char* typeName);

    // Moves the node and its parts to `net`. -2 for null, -567 for a
    // network that is not ready.
    int SetNetwork(QEL_network* net);
    // Lets the definition drop arcs from parents it cannot have and, with
    // `deep`, lets each normal child's definition do the same. Returns 0.
    int CheckNetworkStructure(int deep);
    // Fills unset screen fields from the root submodel's screen record.
    // Returns 0, or -2 without record or network.
    int InheritAspect();

    // With `deep`, runs the check on record, definition and value first.
    // Ready (consistent) exactly when all three exist and are.
    int CheckReadiness(int deep = 0) override;
    int CheckConsistency(int deep = 0) override;
    // With `deep`, cleans the five parts; then destroys them. Returns 0.
    int CleanUp(int deep = 0) override;

private:
    // Destroys the five parts and sets them null.
    void DestroyParts();
    // Copies everything but the descriptive record from `other`.
    void CopyParts(QEL_node& other, bool fast);
    // The definition and value of `newType`, converted from the present
    // ones; the node holds the new pair on success.
    int ReplaceDefinitionAndValue(int newType);
    // Brings the extra definition's outcome count in step after a change of
    // kind.
    void AdjustExtraDefinition();

    QEL_nodeInfo* info;
    QEL_nodeDefinition* definition;
    QEL_nodeValue* value;
    QEL_nodeCost* cost;
    QEL_extraDefinition* extraDefinition;
    QEL_network* network;
    int handle;
    int submodel;
};

#endif
