// The node elements of the native format. A node element's start makes the
// node; its "state", "parents" and table children fill the per-node
// buffers; its end adds the arcs from the parents, gives the node its
// outcomes and only then hands over the table, so that the definition's own
// setter checks the table's length against the final shape.
//
// Kinds of node whose definitions this build does not have (decisions,
// utilities, equations, canonical kinds) are declared all the same: their
// element ends the document with the message that the node could not be
// made, rather than being skipped as if the file were from a newer version.
#include <cstdlib>

#include "orvil/cpt.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"
#include "orvil/truthtable.h"
#include "orvil/userproperties.h"
#include "orvil/nodeinfo.h"
#include "xml/xml_load.h"

namespace {

const int inherit = qel_xmlInherit;
const int once = 0;
const int any = qel_xmlMultiple;
const int required = qel_xmlRequired;
const int oneOrMore = qel_xmlRequired | qel_xmlMultiple;

// Room reserved for a table of unknown size, and the most reserved ahead
// for any table, whatever its declared shape: a file may lie about it.
const size_t defaultReserve = 4096;
const size_t largestReserve = 1 << 20;

const char* const diagTypeNames[] = {"target", "observation", "auxiliary"};
const char* const temporalTypeNames[] = {"normal", "anchor", "terminal", "plate"};

// Position of `text` in `names`, or -1.
template <size_t N>
int IndexOfName(const char* const (&names)[N], const std::string& text) {
    for (size_t i = 0; i < N; i++) {
        if (text == names[i]) return static_cast<int>(i);
    }
    return -1;
}

// The whole of `text` as a double.
bool ReadWholeDouble(const char* text, double& value) {
    char* end = nullptr;
    value = strtod(text, &end);
    return end != text && *end == '\0';
}

}  // namespace

XmlNetLoader::NodeBinding::NodeBinding(XmlNetLoader* loader, const char* name, int type, bool states,
                                       Member endAction)
    : Binding(loader, name, inherit, nullptr, endAction), definitionType(type), hasStates(states) {}

void XmlNetLoader::NodeBinding::OnStartElement(IXmlReader*) {
    object->StartNode(definitionType);
}

void XmlNetLoader::NodeBinding::OnEndElement(IXmlReader*) {
    object->EndNode(hasStates, end);
}

XmlBinding* XmlNetLoader::BuildNodes() {
    Binding* nodes = Make("nodes", inherit);
    Binding* parentsList = Make("parents", inherit, nullptr, nullptr, &XmlNetLoader::ParentItem);
    Binding* property = Make("property", inherit, &XmlNetLoader::StartProperty, &XmlNetLoader::EndNodeProperty);
    property->AddAttribute("id", true);
    Binding* state = Make("state", inherit, &XmlNetLoader::StartState);
    state->AddAttribute("id", true);
    for (const char* name : {"label", "default", "fault"}) state->AddAttribute(name, false);

    NodeBinding* cpt = MakeNode("cpt", qel_cptType, true, &XmlNetLoader::EndCpt);
    cpt->AddChild(state, oneOrMore);
    cpt->AddChild(Make("probabilities", inherit, &XmlNetLoader::StartTable, nullptr, &XmlNetLoader::DoubleItem),
                  required);
    NodeBinding* deterministic = MakeNode("deterministic", qel_truthTableType, true, &XmlNetLoader::EndDeterministic);
    deterministic->AddChild(state, oneOrMore);
    deterministic->AddChild(Make("resultingstates", inherit, nullptr, nullptr, &XmlNetLoader::ResultingStateItem),
                            required);
    for (NodeBinding* node : {cpt, deterministic}) {
        node->AddChild(parentsList, once);
        node->AddChild(property, any);
        nodes->AddChild(node, any);
    }

    const std::pair<const char*, int> absentKinds[] = {
        {"decision", qel_listType},  {"utility", qel_tableType},       {"mau", qel_mauType},
        {"maux", qel_mauType},       {"equation", qel_equationType},   {"cast", qel_castType},
        {"demorgan", qel_demorganType}, {"noisymax", qel_noisyMaxType}, {"noisyadder", qel_noisyAdderType}};
    for (const auto& kind : absentKinds) {
        NodeBinding* node = MakeNode(kind.first, kind.second, false, nullptr);
        if (kind.second == qel_noisyAdderType) node->AddAttribute("function", false);
        nodes->AddChild(node, any);
    }
    return nodes;
}

bool XmlNetLoader::ReadNodeTypes(IXmlReader* r, int& diagType, int& temporalType) {
    std::string text;
    r->GetAttribute("diagtype", text);
    diagType = text.empty() ? qel_diagAuxiliary : IndexOfName(diagTypeNames, text);
    if (diagType < 0) {
        StdFail("Unknown diagnosis node type", text);
        return false;
    }
    r->GetAttribute("dynamic", text);
    temporalType = text.empty() ? 0 : IndexOfName(temporalTypeNames, text);
    if (temporalType < 0) {
        StdFail("Unknown dynamic node type", text);
        return false;
    }
    return true;
}

void XmlNetLoader::StartNode(int definitionType) {
    handle = -1;
    definition = nullptr;
    std::string id;
    GetAttribute("id", id);
    bool target, ranked, mandatory;
    if (!GetAttribute("target", target, false) || !GetAttribute("ranked", ranked, false) ||
        !GetAttribute("mandatory", mandatory, false)) {
        return;
    }
    int diagType, temporalType;
    if (!ReadNodeTypes(this, diagType, temporalType)) return;
    if (FindHandle(id) >= 0) return StdFail("Duplicated node identifier", id);
    const int created = network->AddNode(definitionType, id.c_str());
    if (created < 0) return StdFail("ORVIL failed to create node", id);
    QEL_node* node = network->GetNode(created);
    if (node->Definition() == nullptr || node->ExtraDefinition() == nullptr) {
        // The kind exists in the format but not in this build: the node
        // would be an empty shell, so it goes again at once.
        network->DeleteNode(created);
        return StdFail("ORVIL failed to create node", id);
    }
    if (temporalType != 0) {
        // The temporal layer is not part of this build.
        return Fail(std::string("ORVIL failed to set dynamic node type to '") + temporalTypeNames[temporalType] +
                    "' for '" + id + "'");
    }
    idMap[node->GetId()] = created;
    if (target) network->SetTarget(created, true);
    QEL_extraDefinition* extra = node->ExtraDefinition();
    extra->SetDiagType(diagType);
    extra->SetRanked(ranked);
    extra->SetMandatory(mandatory);
    handle = created;
    definition = node->Definition();
    ClearNodeState();
}

void XmlNetLoader::ClearNodeState() {
    stateIds.clear();
    stateLabels.clear();
    faultStates.clear();
    defaultState = -1;
    parents.clear();
    doubles.clear();
    resultingIds.clear();
    resultingWords.clear();
    resultingStates.clear();
}

void XmlNetLoader::StartState(IXmlReader* r) {
    std::string id, label;
    bool isDefault, fault;
    r->GetAttribute("id", id);
    r->GetAttribute("label", label);
    if (!r->GetAttribute("default", isDefault, false) || !r->GetAttribute("fault", fault, false)) return;
    const int position = static_cast<int>(stateIds.size());
    if (isDefault && defaultState >= 0) return StdFail("More than one default state", id);
    if (isDefault) defaultState = position;
    if (fault) faultStates.push_back(position);
    stateIds.push_back(id);
    stateLabels.push_back(label);
}

void XmlNetLoader::ParentItem(IXmlReader* r) {
    const std::string id = r->GetContent();
    const int parent = FindHandle(id);
    if (parent < 0) return Fail("Node parent not found: : '" + id + "'");
    for (int known : parents) {
        if (known == parent) return StdFail("Duplicate parent", id);
    }
    parents.push_back(parent);
}

void XmlNetLoader::StartTable(IXmlReader*) {
    doubles.clear();
    size_t expected = defaultReserve;
    if (definition != nullptr && definition->GetType() == qel_cptType) {
        expected = stateIds.size();
        for (int parent : parents) {
            QEL_node* node = network->GetNode(parent);
            const int count = node->Definition() ? node->Definition()->GetNumberOfOutcomes() : 1;
            expected *= static_cast<size_t>(count > 0 ? count : 1);
            if (expected > largestReserve) break;
        }
    }
    doubles.reserve(expected < largestReserve ? expected : largestReserve);
}

void XmlNetLoader::DoubleItem(IXmlReader* r) {
    double value;
    if (!ReadWholeDouble(r->GetContent(), value)) {
        return Fail("Can't read list of doubles, failed at element " + std::to_string(doubles.size() + 1));
    }
    doubles.push_back(value);
}

void XmlNetLoader::ResultingStateItem(IXmlReader* r) {
    // Outcome names are known only at the node's end, so each word gets a
    // number in order of first appearance and is resolved then.
    const std::string word = r->GetContent();
    auto inserted = resultingIds.emplace(word, static_cast<int>(resultingWords.size()));
    if (inserted.second) resultingWords.push_back(word);
    resultingStates.push_back(inserted.first->second);
}

void XmlNetLoader::EndNodeProperty(IXmlReader* r) {
    QEL_node* node = network->GetNode(handle);
    std::string value;
    r->GetUnescapedContent(value);
    if (node == nullptr || node->Info() == nullptr ||
        node->Info()->UserProperties().AddProperty(propertyId.c_str(), value.c_str()) < 0) {
        StdFail("Can't add node property", propertyId);
    }
}

void XmlNetLoader::AddParentArcs(int type) {
    for (int parent : parents) {
        if (network->AddArc(parent, handle, static_cast<qel_arcType>(type)) != 0) Fail("AddArc failed");
    }
}

bool XmlNetLoader::GiveStates() {
    // Outcome ids must be valid and distinct as written: the definition
    // would quietly repair them, and resulting states and evidence that
    // name them would then point elsewhere.
    QEL_idArray names;
    for (const std::string& id : stateIds) {
        if (names.Add(id.c_str()) < 0) {
            Fail("SetNumberOfOutcomes failed");
            return false;
        }
    }
    if (definition->SetNumberOfOutcomes(names) != 0) {
        Fail("SetNumberOfOutcomes failed");
        return false;
    }
    QEL_extraDefinition* extra = network->GetNode(handle)->ExtraDefinition();
    for (size_t i = 0; i < stateLabels.size(); i++) {
        if (!stateLabels[i].empty()) extra->SetLabel(static_cast<int>(i), stateLabels[i].c_str());
    }
    if (defaultState >= 0) extra->SetDefaultOutcome(defaultState);
    for (int state : faultStates) extra->SetFaultState(state, 1);
    return true;
}

void XmlNetLoader::EndNode(bool hasStates, Binding::Member endAction) {
    if (handle < 0 || definition == nullptr) return;
    AddParentArcs(qel_normalArc);
    if ((!hasStates || GiveStates()) && endAction != nullptr) (this->*endAction)(this);
    doubles.clear();
    doubles.shrink_to_fit();
}

void XmlNetLoader::DoublesTo(QEL_doubleArray& items) const {
    items.SetSize(static_cast<int>(doubles.size()));
    for (size_t i = 0; i < doubles.size(); i++) items[static_cast<int>(i)] = doubles[i];
}

void XmlNetLoader::EndCpt(IXmlReader*) {
    QEL_doubleArray items;
    DoublesTo(items);
    if (static_cast<QEL_cpt*>(definition)->SetProbabilities(items) != 0) Fail("SetProbabilities failed");
}

void XmlNetLoader::EndDeterministic(IXmlReader*) {
    QEL_truthTable* table = static_cast<QEL_truthTable*>(definition);
    const int columns = table->GetNumberOfColumns();
    if (static_cast<int>(resultingStates.size()) != columns) {
        return Fail("Invalid number of resulting states: " + std::to_string(resultingStates.size()) +
                    ", expected " + std::to_string(columns));
    }
    QEL_idArray* outcomes = table->GetOutcomesNames();
    std::vector<int> positions;
    for (const std::string& word : resultingWords) {
        const int position = outcomes->FindPosition(word.c_str());
        if (position < 0) return Fail("Invalid resulting state: " + word);
        positions.push_back(position);
    }
    QEL_intArray states;
    for (int i = 0; i < columns; i++) states.Add(positions[resultingStates[i]]);
    if (table->SetResultingStates(states) != 0) Fail("SetResultingStates failed");
}
