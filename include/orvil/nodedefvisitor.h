// QEL_nodeDefVisitor: type-safe dispatch over the definition classes.
//
// Code that treats each kind of definition differently (savers, converters)
// derives from this class and overrides the Visit forms it cares about.
// Dispatch selects the form by the definition's type number. The defaults
// fall back along the class tree: a truth table is visited as a CPT when
// its own form is not overridden, and every other form lands in
// Visit(QEL_nodeDefinition*), which does nothing.
#ifndef ORVIL_NODEDEFVISITOR_H
#define ORVIL_NODEDEFVISITOR_H

class QEL_nodeDefinition;
class QEL_cpt;
class QEL_truthTable;
class QEL_noisyMAX;
class QEL_noisyAdder;
class QEL_cast;
class QEL_demorgan;
class QEL_equation;
class QEL_list;
class QEL_table;
class QEL_mau;

class QEL_nodeDefVisitor {
public:
    virtual ~QEL_nodeDefVisitor();

    virtual void Visit(QEL_nodeDefinition* definition);
    virtual void Visit(QEL_cpt* definition);
    virtual void Visit(QEL_truthTable* definition);
    virtual void Visit(QEL_noisyMAX* definition);
    virtual void Visit(QEL_noisyAdder* definition);
    virtual void Visit(QEL_cast* definition);
    virtual void Visit(QEL_demorgan* definition);
    virtual void Visit(QEL_equation* definition);
    virtual void Visit(QEL_list* definition);
    virtual void Visit(QEL_table* definition);
    virtual void Visit(QEL_mau* definition);

    // Calls the Visit form of the definition's class. Null, and a type
    // number without a class here (1028 among them), are ignored.
    void Dispatch(QEL_nodeDefinition* definition);
};

#endif
