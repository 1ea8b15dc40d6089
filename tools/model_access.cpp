// Model files, name lookup and belief reading for the command-line tool.
//
// Everything here goes through the engine's public classes; the tool keeps
// no model data of its own. Lookups are linear scans over the node table,
// run once per name a user typed.
#include "model_access.h"

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"

#include <algorithm>

namespace orvil_tool {

namespace {

QEL_nodeDefinition* DefinitionOf(QEL_network& net, int handle)
{
    QEL_node* node = net.GetNode(handle);
    return node != nullptr ? node->Definition() : nullptr;
}

}  // namespace

void ForgetEngineMessages()
{
    QEL_errorH().Flush();
}

std::string WithEngineMessage(const std::string& what)
{
    if (QEL_errorH().GetNumberOfErrors() == 0)
        return what;
    std::string message = QEL_errorH().GetLastErrorMessage();
    std::replace(message.begin(), message.end(), '\n', ' ');
    std::replace(message.begin(), message.end(), '\r', ' ');
    return what + ": " + message;
}

bool LoadModel(QEL_network& net, const std::string& path, std::string& error)
{
    ForgetEngineMessages();
    if (net.ReadFile(path.c_str(), QEL_FORMAT_BY_EXTENSION, nullptr) == 0)
        return true;
    error = WithEngineMessage("cannot read " + path);
    return false;
}

bool SaveModel(QEL_network& net, const std::string& path, std::string& error)
{
    ForgetEngineMessages();
    if (net.WriteFile(path.c_str(), QEL_FORMAT_BY_EXTENSION, nullptr) == 0)
        return true;
    error = WithEngineMessage("cannot write " + path);
    return false;
}

int FindNodeByName(QEL_network& net, const std::string& name)
{
    int handle = net.FindNode(name.c_str());
    if (handle >= 0)
        return handle;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_nodeInfo* info = net.GetNode(h)->Info();
        const char* original = info != nullptr ? info->Header().GetName() : nullptr;
        if (original != nullptr && name == original)
            return h;
    }
    return QEL_NO_NODE;
}

int FindStateByName(QEL_network& net, int handle, const std::string& name)
{
    QEL_nodeDefinition* def = DefinitionOf(net, handle);
    QEL_idArray* ids = def != nullptr ? def->GetOutcomesNames() : nullptr;
    if (ids == nullptr)
        return QEL_OUT_OF_RANGE;
    int position = ids->FindPosition(name.c_str());
    if (position >= 0)
        return position;
    const QEL_extraDefinition* extra = net.GetNode(handle)->ExtraDefinition();
    for (int i = 0; extra != nullptr && i < ids->NumItems(); ++i) {
        const char* label = extra->GetLabel(i);
        if (label != nullptr && name == label)
            return i;
    }
    return QEL_OUT_OF_RANGE;
}

std::vector<std::string> StateNames(QEL_network& net, int handle)
{
    std::vector<std::string> names;
    QEL_nodeDefinition* def = DefinitionOf(net, handle);
    QEL_idArray* ids = def != nullptr ? def->GetOutcomesNames() : nullptr;
    for (int i = 0; ids != nullptr && i < ids->NumItems(); ++i)
        names.emplace_back((*ids)[i] != nullptr ? (*ids)[i] : "");
    return names;
}

std::string NodeId(QEL_network& net, int handle)
{
    QEL_node* node = net.GetNode(handle);
    const char* id = node != nullptr ? node->GetId() : nullptr;
    return id != nullptr ? id : "";
}

bool HasBeliefs(QEL_network& net, int handle)
{
    QEL_node* node = net.GetNode(handle);
    return node != nullptr && node->Value() != nullptr && node->Value()->GetType() == QEL_VALUETYPE_BELIEFVECTOR;
}

bool ReadBeliefs(QEL_network& net, int handle, std::vector<double>& out)
{
    out.clear();
    if (!HasBeliefs(net, handle))
        return false;
    QEL_nodeValue* value = net.GetNode(handle)->Value();
    QEL_Dmatrix* matrix = nullptr;
    if (!value->IsValueValid() || value->GetValue(&matrix) != 0 || matrix == nullptr)
        return false;
    for (int i = 0; i < matrix->GetSize(); ++i)
        out.push_back((*matrix)[i]);
    return true;
}

}  // namespace orvil_tool
