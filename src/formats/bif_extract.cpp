// Describing a network as a BifModel for the writer. Every node with a
// table over discrete outcomes can be described; its names are chosen so
// that reading the text back gives the same identifiers: an original text
// kept from a read (the node's name, a state's label) is used only while it
// still fits the identifier and no earlier name of the same kind took it.
#include "formats/bif_network.h"

#include "formats/bif_ids.h"
#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/stringarray.h"
#include "orvil/userproperties.h"

#include <set>
#include <string>
#include <vector>

namespace {

// The original `text` when it fits `id` and is not taken yet, else `id`.
std::string ChooseText(const char* text, const char* id, std::set<std::string>& taken)
{
    std::string chosen = BifTextFitsId(text, id) ? text : id;
    if (!taken.insert(chosen).second) {
        chosen = id;
        taken.insert(chosen);
    }
    return chosen;
}

void CopyProperties(const QEL_userProperties& source, std::vector<BifProperty>& target)
{
    for (int i = 0; i < source.GetNumberOfProperties(); ++i) {
        const char* value = source.GetPropertyValue(i);
        target.push_back({source.GetPropertyName(i), value ? value : ""});
    }
}

bool IsWritable(QEL_nodeDefinition* definition)
{
    if (definition == nullptr || definition->GetMatrix() == nullptr)
        return false;
    int type = definition->GetType();
    return (type & qel_discreteFlag) != 0 && (type & qel_decisionFlag) == 0;
}

class BifExtractor {
public:
    BifExtractor(QEL_network& net, BifModel& model, BifError& error) : net(net), model(model), error(error) {}

    int Extract();

private:
    int ExtractNode(int handle);
    void ExtractStates(QEL_node& node, BifNode& target);
    void ExtractTable(QEL_node& node, BifNode& target);
    int CheckShapes();

    QEL_network& net;
    BifModel& model;
    BifError& error;
    std::vector<int> indexOfHandle;
    std::set<std::string> nodeTexts;
};

int BifExtractor::Extract()
{
    model = BifModel();
    QEL_header& header = net.GetHeader();
    std::set<std::string> none;
    model.name = header.GetId() ? ChooseText(header.GetName(), header.GetId(), none) : "";
    CopyProperties(net.UserProperties(), model.properties);
    int last = net.GetLastNode();
    indexOfHandle.assign(last >= 0 ? last + 1 : 0, -1);
    int index = 0;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h))
        indexOfHandle[h] = index++;
    int rc = QEL_OKAY;
    for (int h = net.GetFirstNode(); rc == QEL_OKAY && h >= 0; h = net.GetNextNode(h))
        rc = ExtractNode(h);
    return rc == QEL_OKAY ? CheckShapes() : rc;
}

int BifExtractor::ExtractNode(int handle)
{
    QEL_node& node = *net.GetNode(handle);
    const char* id = node.GetId() ? node.GetId() : "";
    if (!IsWritable(node.Definition()))
        return error.Set(QEL_WRONG_NODE_TYPE, 0,
                         "node '" + std::string(id) + "' has no table of discrete outcomes and cannot be written as BIF");
    BifNode target;
    target.name = ChooseText(node.Info() ? node.Info()->Header().GetName() : nullptr, id, nodeTexts);
    const QEL_intArray& parents = net.GetParents(handle);
    for (int p = 0; p < parents.NumItems(); ++p)
        target.parents.push_back(indexOfHandle[parents.Items()[p]]);
    ExtractStates(node, target);
    if (node.Info())
        CopyProperties(node.Info()->UserProperties(), target.properties);
    ExtractTable(node, target);
    model.nodes.push_back(std::move(target));
    return QEL_OKAY;
}

void BifExtractor::ExtractStates(QEL_node& node, BifNode& target)
{
    QEL_idArray* ids = node.Definition()->GetOutcomesNames();
    QEL_extraDefinition* extra = node.ExtraDefinition();
    std::set<std::string> taken;
    for (int s = 0; ids && s < ids->NumItems(); ++s) {
        const char* label = extra ? extra->GetLabel(s) : nullptr;
        target.states.push_back(ChooseText(label, (*ids)[s], taken));
    }
}

void BifExtractor::ExtractTable(QEL_node& node, BifNode& target)
{
    const QEL_Dmatrix& matrix = *node.Definition()->GetMatrix();
    const double* items = matrix.GetItems().Items();
    target.table.assign(items, items + matrix.GetSize());
}

// Parents may come later in handle order, so the shapes are compared once
// every node is described.
int BifExtractor::CheckShapes()
{
    for (const BifNode& node : model.nodes) {
        size_t expected = node.states.size();
        for (int parent : node.parents)
            expected *= model.nodes[parent].states.size();
        if (expected != node.table.size())
            return error.Set(QEL_OUT_OF_RANGE, 0,
                             "the table of node '" + node.name + "' does not have the size of its parents");
    }
    return QEL_OKAY;
}

}  // namespace

int BifExtractModel(QEL_network& net, BifModel& model, BifError& error)
{
    BifExtractor extractor(net, model, error);
    return extractor.Extract();
}
