// XmlLoad and the frame of its reader: the tree of bindings that describes
// the native format, the network-level elements (root attributes,
// properties, parameters, custom functions) and the run of one document.
// The node elements are read in xml_load_nodes.cpp, observation costs and
// the temporal block in xml_load_blocks.cpp.
//
// Every binding is lenient: the root and "extensions" check by flags 0 and
// all others inherit, so unknown content anywhere is a warning and is
// skipped, while a missing required attribute or child, or a repeated
// single child, ends the document.
#include "xml/xml_load.h"

#include "orvil/errors.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/nodedefinition.h"
#include "orvil/userproperties.h"
#include "orvil/xmlload.h"

namespace {

const int inherit = qel_xmlInherit;
const int once = 0;
const int any = qel_xmlMultiple;
const int required = qel_xmlRequired;

const char* const supportedVersion = "1.0";

}  // namespace

XmlNetLoader::XmlNetLoader(QEL_network* net)
    : network(net), failed(false), handle(-1), definition(nullptr), defaultState(-1) {}

XmlNetLoader::~XmlNetLoader() = default;

XmlNetLoader::Binding* XmlNetLoader::Make(const char* name, int flags, Binding::Member start, Binding::Member end,
                                          Binding::Member item) {
    bindings.push_back(std::make_unique<Binding>(this, name, flags, start, end, item));
    return static_cast<Binding*>(bindings.back().get());
}

XmlNetLoader::NodeBinding* XmlNetLoader::MakeNode(const char* name, int definitionType, bool hasStates,
                                                  Binding::Member endAction) {
    bindings.push_back(std::make_unique<NodeBinding>(this, name, definitionType, hasStates, endAction));
    XmlBinding* node = bindings.back().get();
    node->AddAttribute("id", true);
    node->AddAttribute("target", false);
    node->AddAttribute("diagtype", false);
    node->AddAttribute("dynamic", false);
    node->AddAttribute("ranked", false);
    node->AddAttribute("mandatory", false);
    return static_cast<NodeBinding*>(node);
}

void XmlNetLoader::BuildTree(IXmlBinding* extension) {
    Binding* root = Make("orvil", 0, &XmlNetLoader::StartRoot);
    for (const char* name : {"numsamples", "discsamples", "discavoidzero", "rejectoutliers", "enablenoisydecomp",
                             "noisydecomplimit"}) {
        root->AddAttribute(name, false);
    }
    root->AddAttribute("version", true);
    root->AddAttribute("id", true);

    Binding* algparams = Make("algparams", inherit);
    Binding* epis = Make("epis", inherit, &XmlNetLoader::StartEpis);
    for (const char* name : {"proplen", "numstates1", "numstates2", "numstates3", "eps1", "eps2", "eps3", "eps4"}) {
        epis->AddAttribute(name, true);
    }
    algparams->AddChild(epis, once);

    Binding* properties = Make("properties", inherit);
    Binding* property = Make("property", inherit, &XmlNetLoader::StartProperty, &XmlNetLoader::EndNetworkProperty);
    property->AddAttribute("id", true);
    properties->AddChild(property, any);

    Binding* functions = Make("functions", inherit, nullptr, &XmlNetLoader::EndFunctions);
    functions->AddChild(Make("function", inherit, nullptr, &XmlNetLoader::EndFunction), any);

    Binding* extensions = Make("extensions", 0);
    if (extension == nullptr) {
        standardExtension.reset(XmlCreateMarloLoader(this, network, idMap));
        extension = standardExtension->GetMarloRoot();
    }
    if (extension != XmlNoLoadExtension()) extensions->AddChild(extension, required);

    root->AddChild(algparams, once);
    root->AddChild(properties, once);
    root->AddChild(functions, once);
    root->AddChild(BuildNodes(), once);
    root->AddChild(BuildObservationCost(), once);
    root->AddChild(BuildDynamic(), once);
    root->AddChild(extensions, once);
}

void XmlNetLoader::Fail(const std::string& text) {
    failed = true;
    StopParse(text.c_str());
}

void XmlNetLoader::StdFail(const char* text, const std::string& detail) {
    Fail(std::string(text) + ": '" + detail + "'");
}

int XmlNetLoader::FindHandle(const std::string& id) const {
    auto found = idMap.find(id);
    return found == idMap.end() ? -1 : found->second;
}

void XmlNetLoader::StartRoot(IXmlReader* r) {
    std::string id, version;
    r->GetAttribute("id", id);
    r->GetAttribute("version", version);
    network->GetHeader().SetId(id.c_str());
    if (!CheckVersion(r, version.c_str(), supportedVersion)) return;
    int samples, discSamples, decompLimit;
    bool avoidZero, rejectOutliers, decomp;
    if (!r->GetAttribute("numsamples", samples, 1000)) return;
    network->SetNumberOfSamples(samples);
    if (!r->GetAttribute("discsamples", discSamples, 10000)) return;
    network->SetNumberOfDiscretizationSamples(discSamples);
    if (!r->GetAttribute("discavoidzero", avoidZero, true)) return;
    network->EnableZeroAvoidance(avoidZero);
    if (!r->GetAttribute("rejectoutliers", rejectOutliers, false)) return;
    network->EnableRejectOutliers(rejectOutliers);
    if (!r->GetAttribute("enablenoisydecomp", decomp, false)) return;
    network->EnableNoisyDecomp(decomp);
    if (!r->GetAttribute("noisydecomplimit", decompLimit, 4)) return;
    network->SetNoisyDecompLimit(decompLimit);
}

void XmlNetLoader::StartEpis(IXmlReader* r) {
    // The sampling engines these parameters steer are not part of this
    // build, so the values are checked for form and then dropped.
    int count;
    for (const char* name : {"proplen", "numstates1", "numstates2", "numstates3"}) {
        if (!r->GetAttribute(name, count, 0)) return;
    }
    double epsilon;
    for (const char* name : {"eps1", "eps2", "eps3", "eps4"}) {
        if (!r->GetAttribute(name, epsilon, 0.0)) return;
    }
}

void XmlNetLoader::StartProperty(IXmlReader* r) {
    r->GetAttribute("id", propertyId);
}

void XmlNetLoader::EndNetworkProperty(IXmlReader* r) {
    std::string value;
    r->GetUnescapedContent(value);
    if (network->UserProperties().AddProperty(propertyId.c_str(), value.c_str()) < 0) {
        StdFail("Can't add network property", propertyId);
    }
}

void XmlNetLoader::EndFunction(IXmlReader* r) {
    functions.push_back(r->GetContent());
}

void XmlNetLoader::EndFunctions(IXmlReader*) {
    // Custom functions only serve equation nodes, which this build cannot
    // hold; a model that defines any cannot be read faithfully.
    if (functions.empty()) return;
    Fail("Invalid function defintion: '" + functions.front() +
         "': custom functions are not available in this build");
}

bool XmlNetLoader::Load(const char* fileName, const char* text, IXmlBinding* extension) {
    BuildTree(extension);
    Init(fileName);
    const XmlBinding* root = bindings.front().get();
    bool ok = fileName != nullptr ? ParseFile(fileName, root, this) : ParseString(text, root, this);
    if (ok) CheckAndDisplayNewVerWarning();
    return ok;
}

bool XmlLoad(const char* fileName, const char* text, QEL_network* network, IXmlBinding* extension) {
    if (network == nullptr) {
        QEL_errorH().LogError(QEL_FILE_IO_FAILED, "No network to load into");
        return false;
    }
    XmlNetLoader loader(network);
    return loader.Load(fileName, text, extension);
}
