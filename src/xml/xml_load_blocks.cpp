// The blocks of the native format that refer back to nodes: observation
// costs and the temporal block. Both stand after "nodes" in a file.
//
// The temporal layer is not part of this build, so no node can lie in the
// plate: a temporal definition in the file ends the document with the
// message for a node outside the plate, and a bare slice count is read for
// its form and dropped (a model without plate nodes has no use for it).
#include "orvil/doublearray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/textutil.h"
#include "xml/xml_load.h"

#include <cstdlib>
#include <cstring>

namespace {

const int inherit = qel_xmlInherit;
const int once = 0;
const int any = qel_xmlMultiple;
const int required = qel_xmlRequired;

}  // namespace

XmlBinding* XmlNetLoader::BuildObservationCost() {
    Binding* block = Make("observationcost", inherit);
    Binding* node = Make("node", inherit, &XmlNetLoader::StartCostNode, &XmlNetLoader::EndCostNode);
    node->AddAttribute("id", true);
    node->AddChild(Make("parents", inherit, nullptr, nullptr, &XmlNetLoader::ParentItem), once);
    node->AddChild(Make("cost", inherit, nullptr, nullptr, &XmlNetLoader::CostItem), required);
    block->AddChild(node, any);
    return block;
}

XmlBinding* XmlNetLoader::BuildDynamic() {
    Binding* block = Make("dynamic", inherit, &XmlNetLoader::StartDynamic);
    block->AddAttribute("numslices", true);
    for (const char* kind : {"cpt", "deterministic", "noisymax", "noisyadder", "demorgan"}) {
        Binding* node = Make(kind, inherit, &XmlNetLoader::StartDynNode);
        node->AddAttribute("id", true);
        node->AddAttribute("order", true);
        if (strcmp(kind, "noisyadder") == 0) node->AddAttribute("function", false);
        block->AddChild(node, any);
    }
    return block;
}

void XmlNetLoader::StartCostNode(IXmlReader* r) {
    std::string id;
    r->GetAttribute("id", id);
    ClearNodeState();
    handle = FindHandle(id);
    if (handle < 0) StdFail("Invalid node identifier", id);
}

void XmlNetLoader::CostItem(IXmlReader* r) {
    const char* text = r->GetContent();
    if (strcmp(text, "n/a") == 0) {
        doubles.push_back(QEL_NA_DOUBLE);
        return;
    }
    char* end = nullptr;
    const double value = strtod(text, &end);
    if (end == text || *end != '\0') {
        return Fail("Can't read list of doubles, failed at element " + std::to_string(doubles.size() + 1));
    }
    doubles.push_back(value);
}

void XmlNetLoader::EndCostNode(IXmlReader*) {
    if (handle < 0) return;
    AddParentArcs(qel_costObserve);
    QEL_doubleArray items;
    DoublesTo(items);
    QEL_nodeCost* cost = network->GetNode(handle)->Cost();
    if (cost == nullptr || cost->SetCosts(items) != 0) Fail("SetCosts failed");
    doubles.clear();
}

void XmlNetLoader::StartDynamic(IXmlReader* r) {
    int slices;
    if (!r->GetAttribute("numslices", slices, 0)) return;
    if (slices < 0) {
        Fail("Invalid slice count: " + std::to_string(slices) + ", non-negative integer expected");
    }
}

void XmlNetLoader::StartDynNode(IXmlReader* r) {
    std::string id;
    r->GetAttribute("id", id);
    if (FindHandle(id) < 0) return StdFail("Invalid node identifier", id);
    StdFail("Node is not part of temporal plate", id);
}
