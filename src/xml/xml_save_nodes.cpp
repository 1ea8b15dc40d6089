// The node elements of the native format, one Visit per definition class
// this build has. Each opens the element with the node's attributes,
// writes the outcomes and the parents, then what its kind defines the node
// by: a CPT its whole table, a truth table the resulting outcome of each
// parent configuration.
#include "orvil/cpt.h"
#include "orvil/extradefinition.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/stringarray.h"
#include "orvil/truthtable.h"
#include "xml/xml_save.h"

#include <vector>

namespace {

const char* const diagTypeNames[] = {"target", "observation", "auxiliary"};

}  // namespace

void XmlNetworkSaver::StartNode(QEL_cpt* definition, const char* name, const char* tableName, bool withStates) {
    const int handle = definition->GetHandle();
    QEL_node* node = network->GetNode(handle);
    const QEL_extraDefinition* extra = node->ExtraDefinition();
    PushAttribute("id", node->GetId());
    if (network->IsTarget(handle) == 1) PushAttribute("target", true);
    if (extra != nullptr) {
        const int diagType = extra->GetDiagType();
        if (diagType >= 0 && diagType < qel_diagAuxiliary) PushAttribute("diagtype", diagTypeNames[diagType]);
        if (extra->IsRanked()) PushAttribute("ranked", true);
        if (extra->IsMandatory()) PushAttribute("mandatory", true);
    }
    OpenElement(name);
    nodeElement = name;
    if (withStates) SaveStates(definition);
    SaveParents(network->GetParents(handle));
    if (tableName == nullptr) return;
    const QEL_doubleArray& items = definition->GetTable().GetItems();
    WriteDoubleArray(tableName, items.Items(), items.GetSize());
}

void XmlNetworkSaver::SaveStates(QEL_cpt* definition) {
    const QEL_extraDefinition* extra = network->GetNode(definition->GetHandle())->ExtraDefinition();
    const QEL_idArray& ids = *definition->GetOutcomesNames();
    for (int i = 0; i < ids.NumItems(); i++) {
        PushAttribute("id", ids[i]);
        if (extra != nullptr) {
            const char* label = extra->GetLabel(i);
            if (label != nullptr && *label != '\0') PushAttribute("label", label);
            if (extra->HasDefaultOutcome() && extra->GetDefaultOutcome() == i) PushAttribute("default", true);
            if (extra->IsFaultState(i) == 1) PushAttribute("fault", true);
        }
        OpenElement("state", qel_xmlEmptyElement);
    }
}

void XmlNetworkSaver::Visit(QEL_cpt* definition) {
    StartNode(definition, "cpt", "probabilities", true);
}

void XmlNetworkSaver::Visit(QEL_truthTable* definition) {
    StartNode(definition, "deterministic", nullptr, true);
    // Each column names the first outcome holding exactly 1.0; a column
    // without one (its ones overwritten by other values) names the first.
    const QEL_doubleArray& items = definition->GetTable().GetItems();
    const QEL_idArray& ids = *definition->GetOutcomesNames();
    const int outcomes = ids.NumItems();
    const int columns = outcomes > 0 ? items.GetSize() / outcomes : 0;
    std::vector<const char*> words(columns);
    for (int c = 0; c < columns; c++) {
        int chosen = 0;
        for (int s = 0; s < outcomes; s++) {
            if (items[c * outcomes + s] == 1.0) {
                chosen = s;
                break;
            }
        }
        words[c] = ids[chosen];
    }
    WriteStringArray("resultingstates", words.data(), columns);
}
