// QEL_cpt: the conditional probability table, the most used definition.
//
// `table` holds P(node | parents): one dimension per parent, in the order
// of the network's parent list, then the node's own outcomes last, so that
// each column (one parent configuration) is a run of consecutive doubles
// summing to one. `stateNames` holds the outcome identifiers, one per
// coordinate of the last dimension.
//
// Every structural event keeps the table in step with the network: a new
// parent duplicates the table along its dimension, a removed parent leaves
// the slice of its first outcome, a parent's new outcome gets uniform
// columns, and the node's own new outcome gets probability 0 everywhere.
#ifndef ORVIL_CPT_H
#define ORVIL_CPT_H

#include "orvil/dmatrix.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"

class QEL_cpt : public QEL_nodeDefinition {
public:
    // Two outcomes "State0" and "State1", a uniform table over the present
    // parents, then a deep readiness pass.
    QEL_cpt(int handle, QEL_network* net);
    ~QEL_cpt() override;
    // Clone(other).
    int operator=(QEL_cpt& other) { return Clone(other); }

    // With `deep`, empties the outcome list and the table too. Returns 0.
    int CleanUp(int deep = 0) override;
    // The base readiness, and with `deep` the outcome list's.
    int CheckReadiness(int deep = 0) override;
    // Every item within 0 to 1 and every column summing to one within
    // 5e-06 (or within its smallest positive item when that is smaller);
    // with `deep`, valid and unique outcome ids too. A table without
    // outcomes is not consistent. 0, or -568 with the bit cleared.
    int CheckConsistency(int deep = 0) override;

    int GetType() const override { return qel_cptType; }
    const char* GetTypeName() const override { return "CPT"; }

    // All structural events return -567 when the definition is not ready,
    // -2 for a handle that is not a parent (not a live node, for AddParent)
    // and end with a readiness pass.
    //
    // Inserts the parent's dimension at its place in the parent list; the
    // old table is repeated along it. Parents of types 17, 18, 20, 146 and
    // 274 are allowed; any other gives -51.
    int AddParent(int parent) override;
    // Keeps the slice of the parent's outcome 0.
    int RemoveParent(int parent) override;
    // Keeps the slice of the parent's evidence outcome. -2 when the parent
    // has no evidence or is a utility; other parent kinds without outcomes
    // are skipped with 0.
    int AbsorbEvidenceFromParent(int parent) override;
    // Sums the parent out, weighted by the first items of its own table.
    // -2 when the parent has evidence or is a utility or decision.
    int MarginalizeParent(int parent) override;
    // The parent's new outcome gets uniform columns; old columns stay.
    // -2 for a parent kind without outcomes.
    int DaddyGetsBigger(int parent, int position) override;
    // The columns of the parent's lost outcome go; the others stay.
    int DaddyGetsSmaller(int parent, int position) override;
    // Reorders the parent's dimension. -2 for a bad order.
    int DaddyChangedOrderOfOutcomes(int parent, QEL_intArray& newOrder) override;
    // Reorders the parent dimensions; the node's own stays last.
    int OrderOfParentsGetsChanged(QEL_intArray& newOrder) override;

    int GetSize() const override { return table.GetSize(); }
    // Clone(other).
    int operator=(QEL_nodeDefinition& other) override { return Clone(other); }
    // At least two outcomes (generated "State<i>" ids fill up), a uniform
    // table of the outcomes, then AddParent for each parent; a refused
    // parent is logged ("Parent could not be added: <id>") and skipped.
    // Returns 0.
    int ReCreateFromNetworkStructure() override;
    // Copies `source` and converts what it can: tables of types 18 and 20
    // (and the expanded tables of noisy kinds) are taken over when their
    // size fits, a utility table becomes two outcomes scaled into 0..1, a
    // decision keeps its choices as outcomes and loses its parents. -567
    // for a source that is not ready, 0 for itself, -2 for a kind that
    // cannot be converted.
    int Clone(QEL_nodeDefinition& source) override;
    // Removes the arcs from parents without outcomes. Returns 0.
    int CheckParentsStructure() override;

    // ---- Outcomes: the virtual forms forward to the State operations ----
    int AddOutcome(const char* name) override { return AddState(name); }
    int InsertOutcome(int position, const char* name) override { return InsertState(position, name); }
    int RemoveOutcome(int position) override { return RemoveState(position); }
    int GetNumberOfOutcomes() const override { return stateNames.NumItems(); }
    int RenameOutcome(int position, const char* name) override { return RenameState(position, name); }
    int RenameOutcomes(QEL_stringArray& names) override { return RenameStates(names); }
    QEL_idArray* GetOutcomesNames() override { return &stateNames; }
    int SetNumberOfOutcomes(int count) override { return SetNumberOfStates(count); }
    int SetNumberOfOutcomes(QEL_stringArray& names) override { return SetNumberOfStates(names); }
    int ChangeOrderOfOutcomes(QEL_intArray& newOrder) override { return ChangeOrderOfStates(newOrder); }
    // Every column uniform; the network hears of it. Returns 0.
    int MakeUniform() override;

    // Appends an outcome with probability 0 in every column. A name that is
    // not a free, valid id is replaced by a generated "State<n>". -567 when
    // not ready.
    int AddState(const char* name);
    // The same at `position` (0 to the count). -2 for a bad position.
    int InsertState(int position, const char* name);
    // Drops the outcome's row; the columns are not renormalised. -2 unless
    // more than 2 outcomes exist and `position` names one.
    int RemoveState(int position);
    // -2 when `name` is not a free, valid id.
    int RenameState(int position, const char* name);
    // Renames all outcomes from the first names; bad or repeated names are
    // replaced by valid, unique ones. -2 when fewer names than outcomes are
    // given, -567 when either side is not ready.
    int RenameStates(QEL_stringArray& names);
    // Replaces the outcomes by "State0" .. "State<count-1>" (at least two)
    // and rebuilds a uniform table. -19 when the node has children; -2 for
    // a count below 1, which leaves the definition emptied.
    int SetNumberOfStates(int count);
    // The same with the given names, made valid and unique first. -19 when
    // the node has children, -567 when `names` is not ready, -2 for an
    // empty list.
    int SetNumberOfStates(QEL_stringArray& names);
    // New outcome i is old outcome newOrder[i]; table rows follow. -2 for
    // an order that is not a permutation of the outcomes.
    int ChangeOrderOfStates(QEL_intArray& newOrder);

    // ---- Items ----
    // Stores one item. -567 when not ready, -2 for bad coordinates or a p
    // outside 0 to 1.
    int SetProbability(QEL_intArray& coordinates, double p);
    // Reads one item. -2 for bad coordinates.
    int GetProbability(QEL_intArray& coordinates, double& p);
    // Replaces all items; items.GetSize() must equal the table size (-2).
    // Then readiness and consistency passes, and the network hears of the
    // change. -567 when not ready.
    int SetProbabilities(QEL_doubleArray& items);

    int GetDefinition(QEL_Dmatrix** matrix) override;
    int GetDefinition(QEL_doubleArray** items) override;
    using QEL_nodeDefinition::GetDefinition;
    // Copies the first min(sizes) items. No check, no event. Returns 0.
    int SetDefinition(QEL_doubleArray& items) override;
    // Takes dimensions and items of `matrix`. No check, no event. Returns 0.
    int SetDefinition(QEL_Dmatrix& matrix) override;
    using QEL_nodeDefinition::SetDefinition;
    void DoCopyParameters(QEL_nodeDefinition& target) const override;

    // Row-major steps over the table's coordinates.
    int NextCoordinates(QEL_intArray& coordinates) const { return table.NextCoordinates(coordinates); }
    int PrevCoordinates(QEL_intArray& coordinates) const { return table.PrevCoordinates(coordinates); }
    // Writes into `out` (at least QEL_idArray::idBufferSize chars) a free
    // "State<n>" id. Returns 0.
    int CreateUniqueStateName(char* out) const;

    const QEL_Dmatrix& GetTable() const { return table; }

protected:
    // The network's parents of this node, or null without a network.
    const QEL_intArray* Parents() const;
    // True when the node has children by normal arcs.
    bool HasChildren() const;
    // The outcome count of a parent that may index the table, or -2 (-51
    // for a kind that cannot).
    int ParentDimensionSize(int parent) const;
    // The common tail of both SetNumberOfStates forms: rebuild, then bring
    // the node's cost and extra definition in step.
    int FinishNewOutcomes();
    // Dimension of `parent` in the table, or -2 when it is not a parent.
    int DimensionOf(int parent) const;

    QEL_idArray stateNames;
    QEL_Dmatrix table;

private:
    int CloneTable(QEL_nodeDefinition& source);
    int CloneFromUtility(QEL_nodeDefinition& source);
    int SetGeneratedStates(int count);
};

#endif
