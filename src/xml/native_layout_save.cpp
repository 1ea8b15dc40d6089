// Writing the layout block ("marlo" under "extensions"); the layout is
// described in native_layout.h. Only what differs from a fresh model is
// written: a node that keeps its id as its name, has no comment, no links,
// an untouched screen record and lies in the root submodel gets no element.
#include <string>

#include "orvil/creation.h"
#include "orvil/documentation.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodeinfo.h"
#include "orvil/screeninfo.h"
#include "orvil/submodel.h"
#include "orvil/xmlsave.h"
#include "orvil/xmlwriter.h"
#include "xml/native_layout.h"
#include "xml/native_layout_fields.h"

namespace {

bool IsEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

bool IsDefaultScreen(const QEL_screenInfo& screen) {
    QEL_screenInfo fresh;
    QEL_screenInfo& probe = const_cast<QEL_screenInfo&>(screen);
    for (int i = 0; i < xmlScreenFieldCount; i++) {
        if (xmlScreenFields[i].field(probe) != xmlScreenFields[i].field(fresh)) return false;
    }
    return true;
}

class MarloSaver : public IXmlWriterExtension {
public:
    explicit MarloSaver(QEL_network* net) : network(net) {}
    void WriteExtension(IXmlWriter* writer) override;
    void GetTopComment(std::string& comment) override { QEL_network::GetTopComment(comment); }
    void Delete() override { delete this; }

private:
    void WriteTexts(IXmlWriter* w, const QEL_header& header, bool withName);
    void WriteScreen(IXmlWriter* w, const QEL_screenInfo& screen);
    void WriteDocumentation(IXmlWriter* w, const QEL_documentation& documentation);
    void WriteCreation(IXmlWriter* w);
    void WriteSubmodels(IXmlWriter* w, int parent);
    void WriteNode(IXmlWriter* w, QEL_node& node);

    QEL_network* network;
};

void MarloSaver::WriteExtension(IXmlWriter* w) {
    w->PushAttribute("version", "1.0");
    IXmlWriter::ScopedElement root(w, "marlo");
    WriteTexts(w, network->GetHeader(), true);
    WriteCreation(w);
    WriteScreen(w, network->Submodels().Root().info);
    WriteDocumentation(w, network->Documentation());
    WriteSubmodels(w, QEL_submodelHandler::rootHandle);
    const QEL_intArray& order = network->PartialOrdering();
    for (int i = 0; i < order.NumItems(); i++) WriteNode(w, *network->GetNode(order[i]));
}

void MarloSaver::WriteTexts(IXmlWriter* w, const QEL_header& header, bool withName) {
    if (withName && !IsEmpty(header.GetName())) w->WriteElement("name", header.GetName(), true);
    if (!IsEmpty(header.GetComment())) w->WriteElement("comment", header.GetComment(), true);
}

void MarloSaver::WriteScreen(IXmlWriter* w, const QEL_screenInfo& screen) {
    if (IsDefaultScreen(screen)) return;
    QEL_screenInfo fresh;
    QEL_screenInfo& probe = const_cast<QEL_screenInfo&>(screen);
    for (int i = 0; i < xmlScreenFieldCount; i++) {
        const int value = xmlScreenFields[i].field(probe);
        if (value != xmlScreenFields[i].field(fresh)) w->PushAttribute(xmlScreenFields[i].attribute, value);
    }
    w->WriteElement("screen", nullptr, false);
}

void MarloSaver::WriteDocumentation(IXmlWriter* w, const QEL_documentation& documentation) {
    if (documentation.GetNumberOfDocuments() == 0) return;
    IXmlWriter::ScopedElement block(w, "documentation");
    for (int i = 0; i < documentation.GetNumberOfDocuments(); i++) {
        w->PushAttribute("title", documentation.GetDocumentTitle(i));
        if (!IsEmpty(documentation.GetDocumentPath(i))) w->PushAttribute("path", documentation.GetDocumentPath(i));
        w->WriteElement("link", nullptr, false);
    }
}

void MarloSaver::WriteCreation(IXmlWriter* w) {
    const QEL_creation& creation = network->Creation();
    const char* fields[][2] = {{"creator", creation.GetCreator()},
                               {"created", creation.GetCreated()},
                               {"modified", creation.GetModified()}};
    bool any = false;
    for (const auto& field : fields) {
        if (IsEmpty(field[1])) continue;
        w->PushAttribute(field[0], field[1]);
        any = true;
    }
    if (any) w->WriteElement("creation", nullptr, false);
}

void MarloSaver::WriteSubmodels(IXmlWriter* w, int parent) {
    QEL_submodelHandler& submodels = network->Submodels();
    QEL_intArray inner;
    submodels.GetIncludedSubmodels(parent, inner);
    for (int i = 0; i < inner.NumItems(); i++) {
        QEL_submodel* submodel = submodels.GetSubmodel(inner[i]);
        w->PushAttribute("id", submodel->header.GetId());
        IXmlWriter::ScopedElement element(w, "submodel");
        WriteTexts(w, submodel->header, true);
        WriteScreen(w, submodel->info);
        WriteSubmodels(w, inner[i]);
    }
}

void MarloSaver::WriteNode(IXmlWriter* w, QEL_node& node) {
    if (node.Info() == nullptr) return;
    const QEL_nodeInfo& info = *node.Info();
    const QEL_header& header = info.Header();
    const bool renamed = header.GetName() == nullptr || std::string(header.GetName()) != node.GetId();
    const int submodel = node.GetSubmodel() | QEL_submodelHandler::rootHandle;
    const bool inRoot = submodel == QEL_submodelHandler::rootHandle;
    if (!renamed && IsEmpty(header.GetComment()) && IsDefaultScreen(info.Screen()) &&
        info.Documentation().GetNumberOfDocuments() == 0 && inRoot) {
        return;
    }
    w->PushAttribute("id", node.GetId());
    if (!inRoot) w->PushAttribute("submodel", network->Submodels().GetSubmodel(submodel)->header.GetId());
    IXmlWriter::ScopedElement element(w, "node");
    WriteTexts(w, header, renamed);
    WriteScreen(w, info.Screen());
    WriteDocumentation(w, info.Documentation());
}

}  // namespace

IXmlWriterExtension* XmlCreateMarloSaver(QEL_network* network) {
    return new MarloSaver(network);
}
