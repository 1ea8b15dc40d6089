// QEL_nodeDefinition: how a node depends on its parents.
//
// A definition is the one object of a node that knows the shape of its
// table, so the network tells it of every structural change through the
// virtual protocol below (a parent arrives or leaves, a parent gains, loses
// or reorders outcomes, the parents are reordered) and the definition keeps
// its table in step. The network's parent list and the leading dimensions of
// the table always name the same parents in the same order; the last
// dimension runs over the node's own outcomes.
//
// The base class implements the parts of the protocol that only need other
// virtual operations (the rebuild of the outcome list, the parent-necessity
// test, the notification of children) and answers QEL_WRONG_NODE_TYPE (-51)
// for everything a concrete class has to supply.
#ifndef ORVIL_NODEDEFINITION_H
#define ORVIL_NODEDEFINITION_H

#include <string>

#include "orvil/object.h"

class QEL_network;
class QEL_Dmatrix;
class QEL_intArray;
class QEL_doubleArray;
class QEL_stringArray;
class QEL_idArray;
class QEL_extFunctionContainer;

// Definition type numbers. Each is also a word of the flag bits below; code
// tests a kind by mask, and only these exact numbers exist.
enum qel_definitionType {
    qel_noDefinitionType = 0,
    qel_equationType = 4,
    qel_tableType = 8,
    qel_listType = 17,
    qel_cptType = 18,
    qel_truthTableType = 20,
    qel_castType = 50,
    qel_demorganType = 82,
    qel_noisyMaxType = 146,
    qel_noisyAdderType = 274,
    qel_mauType = 520,
    qel_equationSccType = 1028
};

// Flag bits of a definition type number.
enum qel_definitionFlag {
    qel_decisionFlag = 0x1,
    qel_chanceFlag = 0x2,
    qel_deterministicFlag = 0x4,
    qel_utilityFlag = 0x8,
    // The node has outcomes: it can be the parent of a table.
    qel_discreteFlag = 0x10,
    qel_castFlag = 0x20,
    qel_demorganFlag = 0x40,
    qel_noisyMaxFlag = 0x80,
    qel_noisyAdderFlag = 0x100,
    qel_mauFlag = 0x200,
    qel_coupledFlag = 0x400
};

// Kinds of change reported to the network's RelevanceDefinitionChanged.
enum qel_definitionChange {
    qel_outcomesChanged = 64,
    qel_probabilitiesChanged = 128,
    qel_outcomeCountChanged = 256,
    // The catch-all sent by AfterDirectChange after a write through a raw
    // pointer into the table.
    qel_directChange = 123445
};

class QEL_nodeDefinition : public QEL_object {
public:
    // A definition of node `handle` of `net`. Ready when `net` is set and
    // the handle names a live node.
    QEL_nodeDefinition(int handle, QEL_network* net);
    QEL_nodeDefinition(const QEL_nodeDefinition&) = delete;
    ~QEL_nodeDefinition() override;

    // Ready exactly when the network is set and the handle names a live
    // node. Returns 0 when ready, else -567.
    int CheckReadiness(int deep = 0) override;

    // ---- Identity ----
    // The type number (qel_definitionType).
    virtual int GetType() const = 0;
    // The type's name: "CPT", "TRUTHTABLE", ...
    virtual const char* GetTypeName() const = 0;

    // ---- Structure, told by the network ----
    // The arc parent -> this node was added; `parent` already stands last in
    // the network's parent list. Base: -51.
    virtual int AddParent(int parent);
    // The arc from `parent` is being removed; it is still in the list.
    // Base: -51.
    virtual int RemoveParent(int parent);
    // Keep only the slice of the parent's evidence outcome. Base: -51.
    virtual int AbsorbEvidenceFromParent(int parent);
    // Sum the parent out, weighted by the parent's own table. Base: -51.
    virtual int MarginalizeParent(int parent);
    // `parent` gained an outcome at `position`. Base: -51.
    virtual int DaddyGetsBigger(int parent, int position);
    // `parent` lost its outcome at `position`. Base: -51.
    virtual int DaddyGetsSmaller(int parent, int position);
    // `parent` reordered its outcomes: new outcome i is old newOrder[i].
    // Base: -51.
    virtual int DaddyChangedOrderOfOutcomes(int parent, QEL_intArray& newOrder);
    // The parent list was reordered: new parent i is old parent newOrder[i].
    // Base: -51.
    virtual int OrderOfParentsGetsChanged(QEL_intArray& newOrder);
    // A parent's identifier changed. Base: nothing, 0.
    virtual int ParentIdChanged(int parent, const char* oldId, const char* newId);
    // Called before a caller writes the table through a raw pointer.
    // Base: 0.
    virtual int BeforeDirectChange(int code);
    // Called after such a write. Only qel_directChange has an effect: the
    // network hears RelevanceDefinitionChanged with it. Returns 0.
    virtual int AfterDirectChange(int code);

    // ---- Contents ----
    // Number of numeric entries. Base: -51.
    virtual int GetSize() const;
    // Assignment between definitions. Base: -51.
    virtual int operator=(QEL_nodeDefinition& other);
    // Rebuilds the table from the outcomes and the present parents.
    // Base: -51.
    virtual int ReCreateFromNetworkStructure();
    // Copies `source`, converting from another class where that means
    // something. The base copies network and handle: -567 for a source that
    // is not ready, else 0.
    virtual int Clone(QEL_nodeDefinition& source);
    // Removes the arcs from parents this class cannot have. Base: -51.
    virtual int CheckParentsStructure();
    // Whether the parent at `position` (of the parent list) changes the
    // table by more than `epsilon` (Hellinger distance of a column from the
    // column of the parent's first outcome). No matrix: necessary, 0. -2 for
    // a position that is not a parent dimension.
    virtual int IsParentNecessary(int position, double epsilon, bool& necessary);
    // Checks and rebinds a definition's expressions against the custom
    // functions. Base: 0.
    virtual int ValidateExpressions(QEL_extFunctionContainer const& functions, int& index,
                                    std::string& message);
    virtual int PatchExpressions(QEL_extFunctionContainer const& functions);

    // ---- Outcomes (base: -51, or null) ----
    virtual int AddOutcome(const char* name);
    virtual int InsertOutcome(int position, const char* name);
    virtual int RemoveOutcome(int position);
    virtual int GetNumberOfOutcomes() const;
    virtual int RenameOutcome(int position, const char* name);
    virtual int RenameOutcomes(QEL_stringArray& names);
    // The outcome identifiers, owned by the definition; null without them.
    virtual QEL_idArray* GetOutcomesNames();
    virtual int SetNumberOfOutcomes(int count);
    virtual int SetNumberOfOutcomes(QEL_stringArray& names);
    // New outcome i is old outcome newOrder[i].
    virtual int ChangeOrderOfOutcomes(QEL_intArray& newOrder);
    // Gives the node exactly the outcomes `ids`, in that order: `order[i]`
    // is the old number of the outcome that becomes outcome i, or -1 for a
    // new one. Built on the virtual outcome operations, so children follow
    // every step. -51 for a class without outcomes; -2 (nothing changed)
    // when the lengths differ, when fewer than 2 outcomes would remain, or
    // when `order` names an outcome that does not exist or names one twice.
    // Otherwise the status of the final renaming. `order` is rewritten.
    virtual int ChangeOrderOfOutcomesWithAddAndRemove(QEL_idArray& ids, QEL_intArray& order);
    virtual int MakeUniform();

    // ---- Raw storage ----
    // Point the out-parameter at the class's own storage. Base: -51.
    virtual int GetDefinition(QEL_Dmatrix** matrix);
    virtual int GetDefinition(QEL_doubleArray** items);
    virtual int GetDefinition(QEL_intArray** items);
    virtual int GetDefinition(QEL_stringArray** items);
    // Fill the class's storage from the argument. Base: -51.
    virtual int SetDefinition(QEL_doubleArray& items);
    virtual int SetDefinition(QEL_intArray& items);
    virtual int SetDefinition(QEL_stringArray& items);
    virtual int SetDefinition(QEL_Dmatrix& matrix);
    // Copies the numeric table into `target`, a definition of the same
    // shape. Base: nothing.
    virtual void DoCopyParameters(QEL_nodeDefinition& target) const;

    // ---- Non-virtual services ----
    // The matrix of GetDefinition, or null when the class has none.
    QEL_Dmatrix* GetMatrix();
    // -2 for null, -567 for a network that is not ready; else 0.
    int SetNetwork(QEL_network* net);
    void SetNetworkAndHandle(QEL_network* net, int nodeHandle);
    QEL_network* GetNetwork() const { return network; }
    int GetHandle() const { return handle; }
    // DoCopyParameters(target).
    void CopyParameters(QEL_nodeDefinition& target) const;
    // Removes every normal arc into this node. Returns 0, or the first
    // failing status.
    int RemoveArcsFromParents();

    // Tells the network, every normal child's definition, every cost
    // child's cost record and this node's extra definition that outcome
    // `position` was inserted. Stops at the first child that fails and
    // returns its status: the children before it have already followed.
    int CommonInsertOutcome(int position);
    // Deletes `names[position]`, then tells the same parties that the
    // outcome is gone. Failures as above.
    int CommonRemoveOutcome(int position, QEL_idArray& names);
    // Tells the same parties that the outcomes were reordered. Failures as
    // above.
    int CommonChangeOrderOfOutcomes(QEL_intArray& newOrder);

protected:
    // True when `parentType` can index a table: it has outcomes.
    static bool IsTableParentType(int parentType);
    // The definition type of node `node`, or -2 when it has none.
    int TypeOfNode(int node) const;
    // The definition of node `node`, or null.
    QEL_nodeDefinition* DefinitionOfNode(int node) const;
    // Position of `parent` in this node's normal parent list, or -2.
    int ParentPosition(int parent) const;
    // The network's RelevanceDefinitionChanged for this node.
    void NotifyChange(int kind);

    QEL_network* network;
    int handle;

private:
    bool IsOrderFitForRebuild(const QEL_intArray& order, int oldCount) const;
    int RemoveDroppedOutcomes(QEL_intArray& order, int oldCount);
    int AddNewOutcomes(QEL_idArray& ids, QEL_intArray& order, int temporaries);
};

#endif
