// QEL_nodeDefVisitor: dispatch by type number and the fall-back defaults.
//
// Dispatch knows the classes this build has; a definition of any other type
// number is ignored, as the visitor has no form to call for it.
#include "orvil/nodedefvisitor.h"

#include "orvil/cpt.h"
#include "orvil/truthtable.h"

QEL_nodeDefVisitor::~QEL_nodeDefVisitor() = default;

void QEL_nodeDefVisitor::Visit(QEL_nodeDefinition*) {}
void QEL_nodeDefVisitor::Visit(QEL_cpt* definition) { Visit(static_cast<QEL_nodeDefinition*>(definition)); }
void QEL_nodeDefVisitor::Visit(QEL_truthTable* definition) { Visit(static_cast<QEL_cpt*>(definition)); }
// The classes below have no definition in this build, so nothing can reach
// these forms but an override's explicit call; they do nothing.
void QEL_nodeDefVisitor::Visit(QEL_noisyMAX*) {}
void QEL_nodeDefVisitor::Visit(QEL_noisyAdder*) {}
void QEL_nodeDefVisitor::Visit(QEL_cast*) {}
void QEL_nodeDefVisitor::Visit(QEL_demorgan*) {}
void QEL_nodeDefVisitor::Visit(QEL_equation*) {}
void QEL_nodeDefVisitor::Visit(QEL_list*) {}
void QEL_nodeDefVisitor::Visit(QEL_table*) {}
void QEL_nodeDefVisitor::Visit(QEL_mau*) {}

void QEL_nodeDefVisitor::Dispatch(QEL_nodeDefinition* definition) {
    if (definition == nullptr) return;
    switch (definition->GetType()) {
        case qel_cptType:
            Visit(static_cast<QEL_cpt*>(definition));
            break;
        case qel_truthTableType:
            Visit(static_cast<QEL_truthTable*>(definition));
            break;
        default:
            break;
    }
}
