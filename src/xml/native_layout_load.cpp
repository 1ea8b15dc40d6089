// Reading the layout block ("marlo" under "extensions"). The block names
// nodes by identifier, so it is read after "nodes"; submodels nest as they
// are written, and every name, comment, screen record and document link
// goes to the record of the innermost element that stands open.
#include <memory>
#include <vector>

#include "orvil/creation.h"
#include "orvil/documentation.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodeinfo.h"
#include "orvil/screeninfo.h"
#include "orvil/submodel.h"
#include "orvil/xmlbinding.h"
#include "orvil/xmlreader.h"
#include "xml/native_layout.h"
#include "xml/native_layout_fields.h"

namespace {

const int inherit = qel_xmlInherit;
const int once = 0;
const int any = qel_xmlMultiple;

// The records that the elements inside a block element fill.
struct Context {
    QEL_header* header;
    QEL_screenInfo* screen;
    QEL_documentation* documentation;
    int submodel;
};

class MarloLoader : public XmlMarloLoader {
public:
    using Binding = XmlHandler<MarloLoader>;

    MarloLoader(IXmlReader* reader, QEL_network* network, const std::map<std::string, int>& ids);
    IXmlBinding* GetMarloRoot() override { return bindings.front().get(); }

private:
    Binding* Make(const char* name, Binding::Member start, Binding::Member end = nullptr);

    void StartRoot(IXmlReader* r);
    void EndName(IXmlReader* r);
    void EndComment(IXmlReader* r);
    void StartCreation(IXmlReader* r);
    void StartScreen(IXmlReader* r);
    void StartLink(IXmlReader* r);
    void StartSubmodel(IXmlReader* r);
    void StartNode(IXmlReader* r);
    void EndBlock(IXmlReader* r);

    QEL_network* network;
    const std::map<std::string, int>& ids;
    std::vector<std::unique_ptr<Binding>> bindings;
    std::vector<Context> open;
};

MarloLoader::MarloLoader(IXmlReader*, QEL_network* net, const std::map<std::string, int>& idMap)
    : network(net), ids(idMap) {
    Binding* root = Make("marlo", &MarloLoader::StartRoot, &MarloLoader::EndBlock);
    root->AddAttribute("version", true);
    Binding* name = Make("name", nullptr, &MarloLoader::EndName);
    Binding* comment = Make("comment", nullptr, &MarloLoader::EndComment);
    Binding* screen = Make("screen", &MarloLoader::StartScreen);
    for (int i = 0; i < xmlScreenFieldCount; i++) screen->AddAttribute(xmlScreenFields[i].attribute, false);
    Binding* creation = Make("creation", &MarloLoader::StartCreation);
    for (const char* attribute : {"creator", "created", "modified"}) creation->AddAttribute(attribute, false);
    Binding* documentation = Make("documentation", nullptr);
    Binding* link = Make("link", &MarloLoader::StartLink);
    link->AddAttribute("title", true);
    link->AddAttribute("path", false);
    documentation->AddChild(link, any);

    Binding* submodel = Make("submodel", &MarloLoader::StartSubmodel, &MarloLoader::EndBlock);
    submodel->AddAttribute("id", true);
    Binding* node = Make("node", &MarloLoader::StartNode, &MarloLoader::EndBlock);
    node->AddAttribute("id", true);
    node->AddAttribute("submodel", false);
    for (Binding* holder : {root, submodel, node}) {
        holder->AddChild(name, once);
        holder->AddChild(comment, once);
        holder->AddChild(screen, once);
    }
    for (Binding* holder : {root, node}) holder->AddChild(documentation, once);
    root->AddChild(creation, once);
    root->AddChild(submodel, any);
    submodel->AddChild(submodel, any);
    root->AddChild(node, any);
}

MarloLoader::Binding* MarloLoader::Make(const char* name, Binding::Member start, Binding::Member end) {
    // The block's root takes the strictness of "extensions" (lenient); the
    // rest inherit it.
    bindings.push_back(std::make_unique<Binding>(this, name, inherit, start, end));
    return bindings.back().get();
}

void MarloLoader::StartRoot(IXmlReader* r) {
    std::string version;
    r->GetAttribute("version", version);
    if (!CheckVersion(r, version.c_str(), "1.0")) return;
    QEL_submodel& root = network->Submodels().Root();
    open.push_back({&network->GetHeader(), &root.info, &network->Documentation(), QEL_submodelHandler::rootHandle});
}

void MarloLoader::EndBlock(IXmlReader*) {
    if (!open.empty()) open.pop_back();
}

void MarloLoader::EndName(IXmlReader* r) {
    std::string text;
    r->GetUnescapedContent(text);
    if (!open.empty()) open.back().header->SetName(text.c_str());
}

void MarloLoader::EndComment(IXmlReader* r) {
    std::string text;
    r->GetUnescapedContent(text);
    if (!open.empty()) open.back().header->SetComment(text.c_str());
}

void MarloLoader::StartCreation(IXmlReader* r) {
    std::string text;
    QEL_creation& creation = network->Creation();
    if (r->GetAttribute("creator", text)) creation.SetCreator(text.c_str());
    if (r->GetAttribute("created", text)) creation.SetCreated(text.c_str());
    if (r->GetAttribute("modified", text)) creation.SetModified(text.c_str());
}

void MarloLoader::StartScreen(IXmlReader* r) {
    if (open.empty()) return;
    QEL_screenInfo& screen = *open.back().screen;
    for (int i = 0; i < xmlScreenFieldCount; i++) {
        int& field = xmlScreenFields[i].field(screen);
        if (!r->GetAttribute(xmlScreenFields[i].attribute, field, field)) return;
    }
}

void MarloLoader::StartLink(IXmlReader* r) {
    std::string title, path;
    r->GetAttribute("title", title);
    r->GetAttribute("path", path);
    if (open.empty() || open.back().documentation == nullptr) return;
    if (open.back().documentation->AddDocument(title.c_str(), path.c_str()) < 0) {
        r->StopParse(("Can't add document: '" + title + "'").c_str());
    }
}

void MarloLoader::StartSubmodel(IXmlReader* r) {
    std::string id;
    r->GetAttribute("id", id);
    if (open.empty()) return;
    QEL_submodelHandler& submodels = network->Submodels();
    const int created = submodels.CreateSubmodel(open.back().submodel, id.c_str());
    QEL_submodel* submodel = created >= 0 ? submodels.GetSubmodel(created) : nullptr;
    if (submodel == nullptr) return r->StopParse(("Can't create submodel: '" + id + "'").c_str());
    open.push_back({&submodel->header, &submodel->info, nullptr, created});
}

void MarloLoader::StartNode(IXmlReader* r) {
    std::string id, submodel;
    r->GetAttribute("id", id);
    r->GetAttribute("submodel", submodel);
    auto found = ids.find(id);
    QEL_node* node = found != ids.end() ? network->GetNode(found->second) : nullptr;
    if (node == nullptr || node->Info() == nullptr) {
        return r->StopParse(("Invalid node identifier: '" + id + "'").c_str());
    }
    if (!submodel.empty() && node->SetSubmodel(submodel.c_str()) != 0) {
        return r->StopParse(("Invalid submodel identifier: '" + submodel + "'").c_str());
    }
    QEL_nodeInfo& info = *node->Info();
    open.push_back({&info.Header(), &info.Screen(), &info.Documentation(), node->GetSubmodel()});
}

}  // namespace

XmlMarloLoader* XmlCreateMarloLoader(IXmlReader* reader, QEL_network* network, const std::map<std::string, int>& ids) {
    return new MarloLoader(reader, network, ids);
}
