// Random decorations and model descriptions for the native-format tests.
#include "native_model.h"

#include <algorithm>

#include "orvil/cpt.h"
#include "orvil/creation.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodeinfo.h"
#include "orvil/submodel.h"
#include "orvil/textutil.h"

namespace nativetest {

namespace {

int Draw(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

// Text that needs every kind of escaping the format knows: markup, quotes,
// line breaks, tabs, backslashes and Latin-1 letters.
std::string AwkwardText(std::mt19937& rng) {
    const char* pieces[] = {"a<b", "&amp;", "\"q\"", "'s'", "line\nbreak", "tab\there", "back\\slash", "\xe9t\xe9",
                            "plain", " ", "end\\"};
    std::string text;
    for (int i = Draw(rng, 1, 4); i > 0; i--) text += pieces[Draw(rng, 0, 10)];
    return text;
}

// Attribute text keeps no control characters, so labels and titles avoid
// them.
std::string LabelText(std::mt19937& rng) {
    const char* pieces[] = {"Label", "<x>", "&", "\"", "'", "\xc4\xd6", "\\", "two words"};
    return std::string(pieces[Draw(rng, 0, 7)]) + pieces[Draw(rng, 0, 7)];
}

void DecorateNode(QEL_network& net, int h, std::mt19937& rng) {
    QEL_node& node = *net.GetNode(h);
    QEL_extraDefinition& extra = *node.ExtraDefinition();
    const int outcomes = node.Definition()->GetNumberOfOutcomes();
    for (int s = 0; s < outcomes; s++) {
        if (Draw(rng, 0, 2) == 0) extra.SetLabel(s, LabelText(rng).c_str());
        if (Draw(rng, 0, 3) == 0) extra.SetFaultState(s, 1);
    }
    if (Draw(rng, 0, 2) == 0) extra.SetDefaultOutcome(Draw(rng, 0, outcomes - 1));
    extra.SetDiagType(Draw(rng, 0, 2));
    extra.SetRanked(Draw(rng, 0, 1) == 1);
    extra.SetMandatory(Draw(rng, 0, 1) == 1);
    if (Draw(rng, 0, 3) == 0) net.SetTarget(h, true);
    QEL_nodeInfo& info = *node.Info();
    if (Draw(rng, 0, 2) == 0) info.UserProperties().AddProperty("P1", AwkwardText(rng).c_str());
    if (Draw(rng, 0, 2) == 0) info.Header().SetName(AwkwardText(rng).c_str());
    if (Draw(rng, 0, 2) == 0) info.Header().SetComment(AwkwardText(rng).c_str());
    if (Draw(rng, 0, 2) == 0) info.Screen().position.Set(Draw(rng, -500, 500), Draw(rng, 0, 900), 80, 40);
    if (Draw(rng, 0, 4) == 0) info.Screen().color = Draw(rng, 0, 0xffffff);
    if (Draw(rng, 0, 4) == 0) info.Documentation().AddDocument(LabelText(rng).c_str(), "doc/x.html");
}

void AddCosts(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    for (int k = 0; k < 3 && handles.size() > 1; k++) {
        const int child = handles[Draw(rng, 1, static_cast<int>(handles.size()) - 1)];
        const int parent = handles[Draw(rng, 0, static_cast<int>(handles.size()) - 1)];
        if (net.IsThisGuyMyChild(parent, child, qel_costObserve) == 1) continue;
        net.AddArc(parent, child, qel_costObserve);
        QEL_nodeCost& cost = *net.GetNode(child)->Cost();
        QEL_doubleArray items(cost.GetSize());
        for (int i = 0; i < items.GetSize(); i++) {
            items[i] = Draw(rng, 0, 3) == 0 ? QEL_NA_DOUBLE : std::uniform_real_distribution<double>(0, 50)(rng);
        }
        cost.SetCosts(items);
    }
}

void AddSubmodels(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    QEL_submodelHandler& submodels = net.Submodels();
    std::vector<int> made{QEL_submodelHandler::rootHandle};
    for (int k = 0; k < 3; k++) {
        const int parent = made[Draw(rng, 0, static_cast<int>(made.size()) - 1)];
        const int h = submodels.CreateSubmodel(parent, ("Sub" + std::to_string(k)).c_str());
        if (h < 0) continue;
        made.push_back(h);
        QEL_submodel& submodel = *submodels.GetSubmodel(h);
        submodel.header.SetName(AwkwardText(rng).c_str());
        submodel.info.position.Set(k * 10, k * 20, 30, 40);
    }
    for (int h : handles) {
        if (Draw(rng, 0, 2) == 0) net.GetNode(h)->SetSubmodel(made[Draw(rng, 0, static_cast<int>(made.size()) - 1)]);
    }
}

// A node added last but made the parent of the first: the file must still
// name it before its child.
void AddLateParent(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    if (handles.empty() || net.NumParents(handles[0]) != 0) return;
    const int late = net.AddNode(qel_cptType, "late");
    net.AddArc(late, handles[0]);
    for (int h : handles) {
        if (net.NumParents(h) < 2 || Draw(rng, 0, 1) == 0) continue;
        QEL_intArray order;
        for (int i = net.NumParents(h) - 1; i >= 0; i--) order.Add(i);
        net.ChangeOrderOfParents(h, order);
    }
}

}  // namespace

void Decorate(QEL_network& net, std::mt19937& rng) {
    std::vector<int> handles;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) handles.push_back(h);
    AddLateParent(net, handles, rng);
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) DecorateNode(net, h, rng);
    AddCosts(net, handles, rng);
    AddSubmodels(net, handles, rng);
    net.GetHeader().SetName(AwkwardText(rng).c_str());
    net.GetHeader().SetComment(AwkwardText(rng).c_str());
    net.UserProperties().AddProperty("Owner", AwkwardText(rng).c_str());
    net.Documentation().AddDocument("Manual", "http://example.org/a?b&c");
    net.Creation().SetCreator("tester");
    net.SetNumberOfSamples(Draw(rng, 1, 100000));
    net.EnableZeroAvoidance(Draw(rng, 0, 1) == 1);
    net.EnableRejectOutliers(Draw(rng, 0, 1) == 1);
    net.SetNoisyDecompLimit(Draw(rng, 2, 6));
}

std::string Describe(QEL_network& net) {
    std::vector<std::string> lines;
    auto text = [](const char* s) { return std::string(s ? s : "(null)"); };
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        const QEL_extraDefinition& extra = *node.ExtraDefinition();
        const QEL_nodeInfo& info = *node.Info();
        std::string line = text(node.GetId()) + " type " + std::to_string(node.GetType()) + " target " +
                           std::to_string(net.IsTarget(h)) + " diag " + std::to_string(extra.GetDiagType()) +
                           (extra.IsRanked() ? " ranked" : "") + (extra.IsMandatory() ? " mandatory" : "") +
                           " default " + std::to_string(extra.GetDefaultOutcome()) + " states";
        QEL_idArray& ids = *node.Definition()->GetOutcomesNames();
        for (int s = 0; s < ids.NumItems(); s++) {
            line += " " + text(ids[s]) + "/" + text(extra.GetLabel(s)) + "/" + std::to_string(extra.IsFaultState(s));
        }
        for (qel_arcType type : {qel_normalArc, qel_costObserve}) {
            line += type == qel_normalArc ? " parents" : " costparents";
            const QEL_intArray& parents = net.GetParents(h, type);
            for (int i = 0; i < parents.NumItems(); i++) line += " " + text(net.GetNode(parents[i])->GetId());
        }
        line += " name " + text(info.Header().GetName()) + " comment " + text(info.Header().GetComment());
        const QEL_screenInfo& screen = info.Screen();
        line += " screen " + std::to_string(screen.position.center_X) + "," + std::to_string(screen.position.center_Y) +
                "," + std::to_string(screen.position.width) + "," + std::to_string(screen.color) + "," +
                std::to_string(screen.flags);
        const int submodel = node.GetSubmodel() | QEL_submodelHandler::rootHandle;
        line += " in " + text(net.Submodels().GetSubmodel(submodel)->header.GetId());
        for (int i = 0; i < info.UserProperties().GetNumberOfProperties(); i++) {
            line += " prop " + text(info.UserProperties().GetPropertyName(i)) + "=" +
                    text(info.UserProperties().GetPropertyValue(i));
        }
        for (int i = 0; i < info.Documentation().GetNumberOfDocuments(); i++) {
            line += " doc " + text(info.Documentation().GetDocumentTitle(i));
        }
        lines.push_back(line);
    }
    QEL_submodelHandler& submodels = net.Submodels();
    QEL_intArray all;
    submodels.GetDeepIncludedSubmodels(QEL_submodelHandler::rootHandle, all);
    for (int i = 0; i < all.NumItems(); i++) {
        QEL_submodel& s = *submodels.GetSubmodel(all[i]);
        lines.push_back("submodel " + text(s.header.GetId()) + " in " +
                        text(submodels.GetSubmodel(s.parent | QEL_submodelHandler::rootHandle)->header.GetId()) +
                        " name " + text(s.header.GetName()) + " at " + std::to_string(s.info.position.center_Y));
    }
    std::sort(lines.begin(), lines.end());
    std::string all_text = "network " + text(net.GetHeader().GetId()) + " name " + text(net.GetHeader().GetName()) +
                           " comment " + text(net.GetHeader().GetComment()) + " creator " +
                           text(net.Creation().GetCreator()) + " samples " +
                           std::to_string(net.GetNumberOfSamples()) + " " +
                           std::to_string(net.IsZeroAvoidanceEnabled()) + std::to_string(net.IsRejectOutliersEnabled()) +
                           std::to_string(net.GetNoisyDecompLimit()) + "\n";
    for (int i = 0; i < net.UserProperties().GetNumberOfProperties(); i++) {
        all_text += "property " + text(net.UserProperties().GetPropertyName(i)) + "=" +
                    text(net.UserProperties().GetPropertyValue(i)) + "\n";
    }
    for (int i = 0; i < net.Documentation().GetNumberOfDocuments(); i++) {
        all_text += "doc " + text(net.Documentation().GetDocumentTitle(i)) + " " +
                    text(net.Documentation().GetDocumentPath(i)) + "\n";
    }
    for (const std::string& line : lines) all_text += line + "\n";
    return all_text;
}

std::map<std::string, std::vector<double>> Numbers(QEL_network& net) {
    std::map<std::string, std::vector<double>> numbers;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        std::vector<double>& items = numbers[node.GetId()];
        const QEL_doubleArray& table = static_cast<QEL_cpt*>(node.Definition())->GetTable().GetItems();
        items.assign(table.Items(), table.Items() + table.GetSize());
        const QEL_doubleArray& costs = node.Cost()->GetCosts().GetItems();
        items.insert(items.end(), costs.Items(), costs.Items() + costs.GetSize());
    }
    return numbers;
}

std::string LastMessage() {
    const char* message = QEL_errorH().GetNumberOfErrors() > 0 ? QEL_errorH().GetLastErrorMessage() : "";
    return message;
}

}  // namespace nativetest
