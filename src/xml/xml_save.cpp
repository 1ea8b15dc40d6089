// XmlSave and the document frame of the native format: the top comment,
// the root with the network's settings, its properties, the nodes in an
// order where each stands after its parents, observation costs, and the
// extension block. The node elements themselves are in xml_save_nodes.cpp.
#include "xml/xml_save.h"

#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodeinfo.h"
#include "orvil/textutil.h"
#include "orvil/userproperties.h"
#include "orvil/xmlsave.h"

namespace {

const int defaultNoisyDecompLimit = 4;

}  // namespace

XmlNetworkSaver::XmlNetworkSaver(QEL_network* net, IXmlWriterOutput* output, IXmlWriterExtension* ext)
    : XmlWriter(output), network(net), extension(ext), nodeElement(nullptr) {}

void XmlNetworkSaver::DoSave() {
    Start(true);
    if (extension != nullptr) {
        std::string comment;
        extension->GetTopComment(comment);
        if (!comment.empty()) WriteComment(comment.c_str());
    }
    PushRootAttributes();
    OpenElement("orvil");
    if (network->UserProperties().GetNumberOfProperties() > 0) {
        OpenElement("properties");
        SaveProperties(network->UserProperties());
        CloseElement("properties");
    }
    SaveNodes();
    SaveObservationCosts();
    if (extension != nullptr) {
        OpenElement("extensions");
        extension->WriteExtension(this);
        CloseElement("extensions");
    }
    CloseElement("orvil");
}

void XmlNetworkSaver::PushRootAttributes() {
    PushAttribute("version", "1.0");
    PushAttribute("id", network->GetHeader().GetId());
    PushAttribute("numsamples", network->GetNumberOfSamples());
    PushAttribute("discsamples", network->GetNumberOfDiscretizationSamples());
    if (!network->IsZeroAvoidanceEnabled()) PushAttribute("discavoidzero", false);
    if (network->IsRejectOutliersEnabled()) PushAttribute("rejectoutliers", true);
    if (network->IsNoisyDecompEnabled() || network->GetNoisyDecompLimit() != defaultNoisyDecompLimit) {
        PushAttribute("enablenoisydecomp", network->IsNoisyDecompEnabled());
        PushAttribute("noisydecomplimit", network->GetNoisyDecompLimit());
    }
}

void XmlNetworkSaver::SaveProperties(const QEL_userProperties& properties) {
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        PushAttribute("id", properties.GetPropertyName(i));
        WriteElement("property", properties.GetPropertyValue(i), true);
    }
}

void XmlNetworkSaver::SaveNodes() {
    OpenElement("nodes");
    const QEL_intArray& order = network->PartialOrdering();
    for (int i = 0; i < order.NumItems(); i++) {
        QEL_node* node = network->GetNode(order[i]);
        nodeElement = nullptr;
        Dispatch(node->Definition());
        // A kind without an element of its own writes nothing at all.
        if (nodeElement == nullptr) continue;
        if (node->Info() != nullptr) SaveProperties(node->Info()->UserProperties());
        CloseElement(nodeElement);
    }
    CloseElement("nodes");
}

void XmlNetworkSaver::SaveParents(const QEL_intArray& parents) {
    if (parents.NumItems() == 0) return;
    std::string text;
    for (int i = 0; i < parents.NumItems(); i++) {
        if (i > 0) text += ' ';
        text += network->GetNode(parents[i])->GetId();
    }
    WriteElement("parents", text.c_str(), false);
}

void XmlNetworkSaver::SaveObservationCosts() {
    const QEL_intArray& order = network->PartialOrdering();
    QEL_intArray priced;
    for (int i = 0; i < order.NumItems(); i++) {
        QEL_nodeCost* cost = network->GetNode(order[i])->Cost();
        if (cost == nullptr) continue;
        if (network->NumParents(order[i], qel_costObserve) > 0 || !cost->IsZero()) priced.Add(order[i]);
    }
    if (priced.NumItems() == 0) return;
    OpenElement("observationcost");
    for (int i = 0; i < priced.NumItems(); i++) {
        QEL_node* node = network->GetNode(priced[i]);
        const QEL_doubleArray& costs = node->Cost()->GetCosts().GetItems();
        PushAttribute("id", node->GetId());
        OpenElement("node");
        SaveParents(network->GetParents(priced[i], qel_costObserve));
        WriteDoubleArray("cost", costs.Items(), costs.GetSize(), "n/a", QEL_NA_DOUBLE);
        CloseElement("node");
    }
    CloseElement("observationcost");
}

bool XmlSave(const char* fileName, std::string* out, QEL_network* network, IXmlWriterExtension* extension) {
    if (network == nullptr || (fileName == nullptr && out == nullptr)) return false;
    IXmlWriterExtension* owned = nullptr;
    if (extension == nullptr) extension = owned = XmlCreateMarloSaver(network);
    if (extension == XmlNoSaveExtension()) extension = nullptr;
    XmlWriterFileOutput file;
    XmlWriterStringOutput text(out);
    bool ok = true;
    if (fileName != nullptr) ok = file.Open(fileName);
    if (ok) {
        XmlNetworkSaver saver(network, fileName != nullptr ? static_cast<IXmlWriterOutput*>(&file) : &text,
                              extension);
        saver.DoSave();
    }
    if (owned != nullptr) owned->Delete();
    return ok;
}
