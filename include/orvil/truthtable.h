// QEL_truthTable: a deterministic node, a conditional table of zeros and
// ones with exactly one 1.0 in each column.
//
// It shares the layout and all structural upkeep of QEL_cpt; where a CPT
// would make a column uniform (a parent's new outcome, a rebuilt table) the
// truth table picks a single outcome instead, so the table stays a function
// of the parents. Callers usually address it by column: the resulting
// outcome of each parent configuration.
#ifndef ORVIL_TRUTHTABLE_H
#define ORVIL_TRUTHTABLE_H

#include "orvil/cpt.h"

class QEL_truthTable : public QEL_cpt {
public:
    // As QEL_cpt, with every column resulting in the first outcome.
    QEL_truthTable(int handle, QEL_network* net);
    ~QEL_truthTable() override;
    // Clone(other).
    int operator=(QEL_truthTable& other) { return Clone(other); }
    using QEL_cpt::operator=;

    // Every item exactly 0.0 or 1.0, then the QEL_cpt test.
    int CheckConsistency(int deep = 0) override;

    int GetType() const override { return qel_truthTableType; }
    const char* GetTypeName() const override { return "TRUTHTABLE"; }

    // A parent's new outcome gets columns that result in the node's last
    // outcome. -2 for a utility parent; other parents without outcomes are
    // skipped with 0.
    int DaddyGetsBigger(int parent, int position) override;
    // As QEL_cpt, with every column resulting in the first outcome.
    int ReCreateFromNetworkStructure() override;
    // The QEL_cpt conversion, then MakeConsistent.
    int Clone(QEL_nodeDefinition& source) override;
    // Always -51: a uniform column is not deterministic.
    int MakeUniform() override;

    // In each column the largest item becomes 1.0 and the others 0.0; ties
    // go to the later outcome, so an all-zero column results in its last
    // outcome. -567 when not ready.
    int MakeConsistent();

    // The column through `c` results in the outcome c names last; that
    // entry of c is set to 0. -567 when not ready, -2 for bad coordinates.
    int SetResultingState(QEL_intArray& c);
    // The outcome holding exactly 1.0 in the column through `c`, or -2.
    int GetResultingState(QEL_intArray& c);
    // One resulting outcome per column, in column order. -2, with nothing
    // changed, when any is out of range (or the list length is not the
    // column count); else the network hears of the change.
    int SetResultingStates(const int* states);
    int SetResultingStates(const QEL_intArray& states);
    // The same by outcome identifiers; -2 for an unknown one.
    int SetResultingStates(QEL_stringArray& names);
    // The resulting outcome of every column, as a list of numbers (-2 for a
    // column without an exact 1.0) or of identifiers (empty for such a
    // column). Returns 0, or -2 when some column had no exact 1.0.
    int GetResultingStates(QEL_intArray& states);
    int GetResultingStates(QEL_stringArray& names);

    // The number of columns: table size over the outcome count.
    int GetNumberOfColumns() const;

    // SetResultingStates by numbers.
    int SetDefinition(QEL_intArray& states) override { return SetResultingStates(states); }
    // SetResultingStates by identifiers.
    int SetDefinition(QEL_stringArray& names) override { return SetResultingStates(names); }
    using QEL_cpt::SetDefinition;

private:
    void FillFirstOutcome();
    void MakeColumnsConsistent();
};

#endif
