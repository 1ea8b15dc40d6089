// Building a network from a checked BifModel. All nodes are made first and
// given their outcomes, then the arcs are added child by child in the order
// of each probability block, which makes the engine grow every table to
// the parents-then-outcomes layout of the model; last, the tables are
// copied in. Outcomes must precede arcs because a node with children can no
// longer change its outcome count.
//
// The build runs as a file read: the relevance hooks are off, and the
// network's identifier and cycle tests are skipped, because the ids made
// here are unique by construction and the resolver has refused cycles. With
// the tests on, every arc would walk the whole graph and a thousand-node
// network would take a quadratic time to load.
#include "formats/bif_network.h"

#include "formats/bif_ids.h"
#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/stringarray.h"
#include "orvil/userproperties.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

std::string Quoted(const std::string& text)
{
    return "'" + text + "'";
}

void AddProperties(const std::vector<BifProperty>& properties, QEL_userProperties& target)
{
    std::vector<std::string> names;
    for (const BifProperty& property : properties)
        names.push_back(property.name);
    std::vector<std::string> ids;
    BifMakeIds(names, nullptr, ids);
    for (size_t i = 0; i < properties.size(); ++i)
        target.AddProperty(ids[i].c_str(), properties[i].value.c_str());
}

// Puts the network in the state of a file read for the life of the object
// and restores its read flags and relevance events afterwards.
class ReadBracket {
public:
    explicit ReadBracket(QEL_network& net)
        : net(net), readFlags(net.GetReadFlags()), relevanceEvents(net.GetRelevanceEvents())
    {
        net.SetReadFlags(readFlags | QEL_READ_ACTIVE | QEL_READ_NO_CYCLE_TEST | QEL_READ_NO_ID_TEST);
        net.SetRelevanceEvents(0);
    }
    ~ReadBracket()
    {
        net.SetReadFlags(readFlags);
        net.SetRelevanceEvents(relevanceEvents);
    }
    ReadBracket(const ReadBracket&) = delete;
    ReadBracket& operator=(const ReadBracket&) = delete;

private:
    QEL_network& net;
    int readFlags;
    int relevanceEvents;
};

class BifBuilder {
public:
    BifBuilder(const BifModel& model, QEL_network& net, BifError& error)
        : model(model), net(net), error(error)
    {
    }

    int Build();

private:
    int AddNode(size_t index, const std::string& id);
    int SetStates(size_t index);
    int AddArcs(size_t index);
    int CopyTable(size_t index);
    void SetNetworkHeader();
    void Undo();

    const BifModel& model;
    QEL_network& net;
    BifError& error;
    std::vector<int> handles;
};

int BifBuilder::Build()
{
    std::vector<std::string> names;
    for (const BifNode& node : model.nodes)
        names.push_back(node.name);
    std::vector<std::string> ids;
    BifMakeIds(names, [this](const char* id) { return net.IsThisIdentifierInUse(id, -1); }, ids);
    ReadBracket bracket(net);
    int rc = QEL_OKAY;
    for (size_t i = 0; rc == QEL_OKAY && i < model.nodes.size(); ++i)
        rc = AddNode(i, ids[i]);
    for (size_t i = 0; rc == QEL_OKAY && i < model.nodes.size(); ++i)
        rc = AddArcs(i);
    for (size_t i = 0; rc == QEL_OKAY && i < model.nodes.size(); ++i)
        rc = CopyTable(i);
    if (rc != QEL_OKAY) {
        Undo();
        return rc;
    }
    SetNetworkHeader();
    AddProperties(model.properties, net.UserProperties());
    return QEL_OKAY;
}

int BifBuilder::AddNode(size_t index, const std::string& id)
{
    const BifNode& node = model.nodes[index];
    int handle = net.AddNode(qel_cptType, id.c_str());
    if (handle < 0)
        return error.Set(QEL_OUT_OF_RANGE, node.line,
                         "the network refused node " + Quoted(id) + " (status " + std::to_string(handle) + ")");
    handles.push_back(handle);
    QEL_node* made = net.GetNode(handle);
    made->Info()->Header().SetName(node.name.c_str());
    AddProperties(node.properties, made->Info()->UserProperties());
    return SetStates(index);
}

int BifBuilder::SetStates(size_t index)
{
    const BifNode& node = model.nodes[index];
    QEL_node* made = net.GetNode(handles[index]);
    std::vector<std::string> ids;
    BifMakeIds(node.states, nullptr, ids);
    QEL_stringArray names;
    for (const std::string& id : ids)
        names.Add(id.c_str());
    int rc = made->Definition()->SetNumberOfOutcomes(names);
    if (rc < 0 || made->Definition()->GetNumberOfOutcomes() != static_cast<int>(ids.size()))
        return error.Set(QEL_OUT_OF_RANGE, node.line,
                         "node " + Quoted(node.name) + " refused its states (status " + std::to_string(rc) + ")");
    QEL_extraDefinition* extra = made->ExtraDefinition();
    for (size_t s = 0; extra && s < ids.size(); ++s)
        if (ids[s] != node.states[s])
            extra->SetLabel(static_cast<int>(s), node.states[s].c_str());
    return QEL_OKAY;
}

int BifBuilder::AddArcs(size_t index)
{
    const BifNode& node = model.nodes[index];
    for (int parent : node.parents) {
        int rc = net.AddArc(handles[parent], handles[index], qel_normalArc);
        if (rc < 0)
            return error.Set(QEL_OUT_OF_RANGE, node.line,
                             "the network refused the arc from " + Quoted(model.nodes[parent].name) + " to " +
                                 Quoted(node.name) + " (status " + std::to_string(rc) + ")");
    }
    return QEL_OKAY;
}

int BifBuilder::CopyTable(size_t index)
{
    const BifNode& node = model.nodes[index];
    QEL_Dmatrix* matrix = net.GetNode(handles[index])->Definition()->GetMatrix();
    if (matrix == nullptr || matrix->GetSize() != static_cast<int>(node.table.size()))
        return error.Set(QEL_OUT_OF_RANGE, node.line,
                         "the table of node " + Quoted(node.name) + " does not have the size of its parents");
    std::memcpy(matrix->GetItems().Items(), node.table.data(), node.table.size() * sizeof(double));
    return QEL_OKAY;
}

void BifBuilder::SetNetworkHeader()
{
    if (model.name.empty())
        return;
    std::vector<std::string> ids;
    BifMakeIds({model.name}, nullptr, ids);
    net.GetHeader().SetId(ids[0].c_str());
    net.GetHeader().SetName(model.name.c_str());
}

void BifBuilder::Undo()
{
    for (size_t i = handles.size(); i-- > 0;)
        net.DeleteNode(handles[i]);
}

}  // namespace

int BifBuildNetwork(const BifModel& model, QEL_network& net, BifError& error)
{
    BifBuilder builder(model, net, error);
    return builder.Build();
}
