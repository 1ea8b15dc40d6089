// The native format through the network's own entry points: random
// networks with random descriptive data saved and loaded again are the same
// model and save to the same bytes; each kind of damage, and every cut of a
// save, ends a load with status -103 and one logged error naming the
// problem, leaving a network that still saves; unknown content only warns.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orvil/creation.h"
#include "orvil/documentation.h"
#include "orvil/dmatrix.h"
#include "orvil/doublearray.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodecost.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/submodel.h"
#include "orvil/textutil.h"
#include "orvil/userproperties.h"
#include "orvil/xmlload.h"
#include "orvil/xmlsave.h"
#include "random_network.h"

namespace {

int Draw(std::mt19937& rng, int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }

// Text that needs every kind of escaping the format knows: markup, quotes,
// line breaks, tabs, backslashes, Latin-1 letters, DEL and C1 bytes.
std::string AwkwardText(std::mt19937& rng) {
    const char* pieces[] = {"a<b", "&amp;", "\"q\"", "'s'", "line\nbreak", "tab\there", "back\\slash", "\xe9t\xe9",
                            "plain", " ", "end\\", "\x7f\x85>"};
    std::string text;
    for (int i = Draw(rng, 1, 4); i > 0; i--) text += pieces[Draw(rng, 0, 11)];
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

// Observation costs on a few random arcs, some entries not available.
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

// Nested submodels holding random nodes.
void AddSubmodels(QEL_network& net, const std::vector<int>& handles, std::mt19937& rng) {
    QEL_submodelHandler& submodels = net.Submodels();
    std::vector<int> made{QEL_submodelHandler::rootHandle};
    for (int k = 0; k < 3; k++) {
        const int h = submodels.CreateSubmodel(made[Draw(rng, 0, k)], ("Sub" + std::to_string(k)).c_str());
        ASSERT_GE(h, 0);
        made.push_back(h);
        submodels.GetSubmodel(h)->header.SetName(AwkwardText(rng).c_str());
        submodels.GetSubmodel(h)->info.position.Set(k * 10, k * 20, 30, 40);
    }
    for (int h : handles) {
        if (Draw(rng, 0, 2) == 0) net.GetNode(h)->SetSubmodel(made[Draw(rng, 0, 3)]);
    }
}

// Gives `net` what the format carries beyond tables, and a node added last
// that is the parent of the first one, which the file must still name
// before its child; reverses the parents of some nodes.
void Decorate(QEL_network& net, std::mt19937& rng) {
    std::vector<int> handles;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) handles.push_back(h);
    if (net.NumParents(handles[0]) == 0) net.AddArc(net.AddNode(qel_cptType, "late"), handles[0]);
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        DecorateNode(net, h, rng);
        if (net.NumParents(h) < 2 || Draw(rng, 0, 1) == 0) continue;
        QEL_intArray order;
        for (int i = net.NumParents(h) - 1; i >= 0; i--) order.Add(i);
        net.ChangeOrderOfParents(h, order);
    }
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

std::string Text(const char* s) { return s ? s : "(null)"; }

std::string SubmodelId(QEL_network& net, int handle) {
    return Text(net.Submodels().GetSubmodel(handle | QEL_submodelHandler::rootHandle)->header.GetId());
}

// Properties and documents of a node or of the network.
void DescribeRecords(std::ostream& out, const QEL_userProperties& properties, const QEL_documentation& documents) {
    for (int i = 0; i < properties.GetNumberOfProperties(); i++) {
        out << " prop " << properties.GetPropertyName(i) << "=" << properties.GetPropertyValue(i);
    }
    for (int i = 0; i < documents.GetNumberOfDocuments(); i++) {
        out << " doc " << Text(documents.GetDocumentTitle(i)) << " " << Text(documents.GetDocumentPath(i));
    }
}

// Everything but the numbers of the tables and costs, one line per item,
// nodes by id in id order.
std::string Describe(QEL_network& net) {
    std::vector<std::string> lines;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        const QEL_extraDefinition& extra = *node.ExtraDefinition();
        const QEL_nodeInfo& info = *node.Info();
        std::ostringstream line;
        line << Text(node.GetId()) << " type " << node.GetType() << " target " << net.IsTarget(h) << " diag "
             << extra.GetDiagType() << " ranked " << extra.IsRanked() << " mandatory " << extra.IsMandatory()
             << " default " << extra.GetDefaultOutcome() << " states";
        QEL_idArray& ids = *node.Definition()->GetOutcomesNames();
        for (int s = 0; s < ids.NumItems(); s++) {
            line << " " << Text(ids[s]) << "/" << Text(extra.GetLabel(s)) << "/" << extra.IsFaultState(s);
        }
        for (qel_arcType type : {qel_normalArc, qel_costObserve}) {
            line << (type == qel_normalArc ? " parents" : " costparents");
            const QEL_intArray& parents = net.GetParents(h, type);
            for (int i = 0; i < parents.NumItems(); i++) line << " " << net.GetNode(parents[i])->GetId();
        }
        const QEL_screenInfo& screen = info.Screen();
        line << " name " << Text(info.Header().GetName()) << " comment " << Text(info.Header().GetComment())
             << " screen " << screen.position.center_X << "," << screen.position.center_Y << ","
             << screen.position.width << "," << screen.color << " in " << SubmodelId(net, node.GetSubmodel());
        DescribeRecords(line, info.UserProperties(), info.Documentation());
        lines.push_back(line.str());
    }
    QEL_intArray all;
    net.Submodels().GetDeepIncludedSubmodels(QEL_submodelHandler::rootHandle, all);
    for (int i = 0; i < all.NumItems(); i++) {
        QEL_submodel& s = *net.Submodels().GetSubmodel(all[i]);
        lines.push_back("submodel " + Text(s.header.GetId()) + " in " + SubmodelId(net, s.parent) + " name " +
                        Text(s.header.GetName()) + " at " + std::to_string(s.info.position.center_Y));
    }
    std::sort(lines.begin(), lines.end());
    std::ostringstream text;
    text << "network " << Text(net.GetHeader().GetId()) << " name " << Text(net.GetHeader().GetName())
         << " comment " << Text(net.GetHeader().GetComment()) << " creator " << Text(net.Creation().GetCreator())
         << " samples " << net.GetNumberOfSamples() << " " << net.IsZeroAvoidanceEnabled()
         << net.IsRejectOutliersEnabled() << net.GetNoisyDecompLimit();
    DescribeRecords(text, net.UserProperties(), net.Documentation());
    for (const std::string& line : lines) text << "\n" << line;
    return text.str();
}

// Table and cost items of every node, nodes in id order.
std::vector<double> Numbers(QEL_network& net) {
    std::map<std::string, std::vector<double>> byId;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        QEL_node& node = *net.GetNode(h);
        const QEL_doubleArray& table = node.Definition()->GetMatrix()->GetItems();
        const QEL_doubleArray& costs = node.Cost()->GetCosts().GetItems();
        std::vector<double>& items = byId[node.GetId()];
        items.assign(table.Items(), table.Items() + table.GetSize());
        items.insert(items.end(), costs.Items(), costs.Items() + costs.GetSize());
    }
    std::vector<double> all;
    for (const auto& entry : byId) all.insert(all.end(), entry.second.begin(), entry.second.end());
    return all;
}

std::string LastMessage() {
    return QEL_errorH().GetNumberOfErrors() > 0 ? QEL_errorH().GetLastErrorMessage() : "";
}

// Saves `net`, loads it into a fresh network (through the file `path` when
// one is given), checks that the copy is the same model and saves to the
// same text. Items must agree to what 16 significant digits hold; the
// reserved "not available" cost is written as a word and must come back
// exactly.
void ExpectRoundTrip(QEL_network& net, const char* path = nullptr) {
    std::string first, second;
    EXPECT_EQ(net.WriteString(first, nullptr), 0);
    QEL_network copy;
    int status = 0;
    if (path == nullptr) {
        status = copy.ReadString(first.c_str(), nullptr);
    } else {
        EXPECT_EQ(net.WriteFile(path, 0, nullptr), 0);
        status = copy.ReadFile(path, 0, nullptr);
        std::remove(path);
    }
    EXPECT_EQ(status, 0) << LastMessage();
    EXPECT_EQ(Describe(copy), Describe(net));
    const std::vector<double> x = Numbers(net), y = Numbers(copy);
    EXPECT_EQ(x.size(), y.size());
    for (size_t i = 0; i < x.size() && i < y.size(); i++) {
        EXPECT_LE(std::fabs(x[i] - y[i]), 1e-15 * std::fabs(x[i])) << i;
        EXPECT_EQ(x[i] == QEL_NA_DOUBLE, y[i] == QEL_NA_DOUBLE) << i;
    }
    EXPECT_EQ(copy.WriteString(second, nullptr), 0);
    EXPECT_EQ(second, first);
}

// A saved random network with random descriptive data.
std::string RandomNetwork(QEL_network& net, unsigned seed, int nodes) {
    std::mt19937 rng(seed);
    orvil_test::RandomNetworkOptions options;
    options.nodes = nodes;
    options.deterministicShare = 0.25;
    EXPECT_FALSE(orvil_test::BuildRandomNetwork(net, seed, options).empty());
    Decorate(net, rng);
    std::string text;
    EXPECT_EQ(net.WriteString(text, nullptr), 0);
    return text;
}

}  // namespace

TEST(NativeRoundTrip, RandomDecoratedNetworks) {
    for (unsigned seed = 1; seed <= 40; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        QEL_network net;
        RandomNetwork(net, seed, 1 + static_cast<int>(seed * 7 % 30));
        ExpectRoundTrip(net, seed % 10 == 1 ? (seed == 1 ? "native_test.xqel" : "native_test.QQEL") : nullptr);
    }
}

TEST(NativeRoundTrip, EmptyNetworkAndFilesThatCannotBeUsed) {
    QEL_network empty;
    std::string text = "KEEP";
    ASSERT_TRUE(XmlSave(nullptr, &text, &empty, XmlNoSaveExtension()));
    EXPECT_EQ(text.rfind("KEEP<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<orvil ", 0), 0u);
    EXPECT_NE(text.find("\t<nodes>\n\t</nodes>\n</orvil>\n"), std::string::npos);
    EXPECT_TRUE(XmlLoad(nullptr, text.c_str() + 4, &empty, XmlNoLoadExtension()));
    ExpectRoundTrip(empty);
    EXPECT_FALSE(XmlSave("/nonexistent-dir/x.xqel", nullptr, &empty, nullptr));
    QEL_errorH().Flush();
    EXPECT_EQ(empty.ReadFile("/nonexistent-dir/model.xqel", 0, nullptr), QEL_FILE_IO_FAILED);
    EXPECT_NE(LastMessage().find("Can't open file /nonexistent-dir/model.xqel"), std::string::npos);
}

namespace {

const std::string goodDocument =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<orvil version=\"1.0\" id=\"Net\">\n"
    " <nodes>\n"
    "  <cpt id=\"a\"><state id=\"yes\" /><state id=\"no\" /><probabilities>0.3 0.7</probabilities></cpt>\n"
    "  <cpt id=\"b\"><state id=\"t\" /><state id=\"f\" /><parents>a</parents>"
    "<probabilities>0.1 0.9 0.8 0.2</probabilities></cpt>\n"
    "  <deterministic id=\"c\"><state id=\"x\" /><state id=\"y\" /><parents>b</parents>"
    "<resultingstates>y x</resultingstates></deterministic>\n"
    " </nodes>\n"
    "</orvil>\n";

struct Result {
    int status;
    int nodes;
    int errors;           // entries under -103
    int warnings;         // entries under -100
    std::string message;  // the first -103 entry
};

// Loads `text` into a fresh network, which must save whatever happened.
Result Load(const std::string& text) {
    QEL_network net;
    QEL_errorH().Flush();
    Result result{net.ReadString(text.c_str(), nullptr), net.GetNumberOfNodes(), 0, 0, ""};
    for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
        const int code = QEL_errorH().GetError(i);
        if (code == QEL_FILE_IO_FAILED && result.errors++ == 0) result.message = QEL_errorH().GetErrorMessage(i);
        result.warnings += code == QEL_READ_FAILED;
    }
    std::string saved;
    EXPECT_EQ(net.WriteString(saved, nullptr), 0);
    return result;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// One damaged document: status -103, exactly one error, which carries a
// position and ends with (or, for the parser's own words, contains) `what`.
void ExpectFailure(const std::string& text, const std::string& what, bool exact = true) {
    const Result result = Load(text);
    EXPECT_EQ(result.status, QEL_FILE_IO_FAILED) << what;
    EXPECT_EQ(result.errors, 1) << what;
    EXPECT_EQ(result.message.rfind("Error at ", 0), 0u) << result.message;
    const std::string& m = result.message;
    const std::string tail = ": " + what;
    const bool found = exact ? m.size() >= tail.size() && m.compare(m.size() - tail.size(), tail.size(), tail) == 0
                             : m.find(what) != std::string::npos;
    EXPECT_TRUE(found) << m << "\nexpected: " << what;
}

}  // namespace

TEST(NativeDamage, UnknownContentWarnsAndDamageGivesItsMessage) {
    Result result = Load(goodDocument);
    ASSERT_EQ(result.status, 0) << result.message;
    EXPECT_EQ(result.nodes, 3);
    EXPECT_EQ(result.warnings, 0);
    std::string unknown = Replace(goodDocument, "<cpt id=\"a\">", "<cpt id=\"a\" colour=\"red\"><future><cpt/></future>");
    result = Load(Replace(unknown, " </nodes>", " </nodes>\n <cases><case name=\"c1\" /></cases>"));
    EXPECT_EQ(result.status, 0) << result.message;
    EXPECT_EQ(result.nodes, 3);
    // The attribute, the element (not its contents), the case block, and
    // the closing notice.
    EXPECT_EQ(result.warnings, 4);
    const std::string& g = goodDocument;
    ExpectFailure("<net version=\"1.0\" />", "Unknown root element 'net', expected 'orvil'");
    ExpectFailure(Replace(g, "</probabilities></cpt>", "</cpt></probabilities>"), "mismatched tag", false);
    ExpectFailure(Replace(g, "0.3 0.7", "0.3 x7"), "Can't read list of doubles, failed at element 2");
    ExpectFailure(Replace(g, "0.3 0.7", "0.3 0.3 0.4"), "SetProbabilities failed");
    ExpectFailure(Replace(g, "<cpt id=\"b\">", "<cpt id=\"a\">"), "Duplicated node identifier: 'a'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>zz</parents>"), "Node parent not found: : 'zz'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a\n a</parents>"), "Duplicate parent: 'a'");
    // A cycle cannot be written down: a parent must stand before its child.
    ExpectFailure(Replace(g, "<state id=\"no\" />", "<state id=\"no\" /><parents>c</parents>"),
                  "Node parent not found: : 'c'");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a b</parents>"), "AddArc failed");
    ExpectFailure(Replace(g, "<parents>a</parents>", "<parents>a</parents><parents>a</parents>"),
                  "Multiple occurences of 'parents' not allowed in 'cpt'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt>"), "Required attribute 'id' not found in element 'cpt'");
    // The node's end (and its table setter) runs before the reader looks
    // for required children, so a missing table reads as an empty one.
    ExpectFailure(Replace(g, "<probabilities>0.3 0.7</probabilities>", ""), "SetProbabilities failed");
    ExpectFailure(Replace(g, "y x", "y"), "Invalid number of resulting states: 1, expected 2");
    ExpectFailure(Replace(g, "y x", "y z"), "Invalid resulting state: z");
    ExpectFailure(Replace(g, "<state id=\"no\" />", "<state id=\"yes\" />"), "SetNumberOfOutcomes failed");
    ExpectFailure(Replace(g, "<state id=\"t\" /><state id=\"f\" />",
                          "<state id=\"t\" default=\"true\" /><state id=\"f\" default=\"true\" />"),
                  "More than one default state: 'f'");
    ExpectFailure(Replace(g, "version=\"1.0\" id", "version=\"1.5\" id"), "Invalid version number '1.5', expected 1.0",
                  false);
    ExpectFailure(Replace(g, "id=\"Net\"", "id=\"Net\" discavoidzero=\"1\""),
                  "'true' or 'false' expected as value of boolean attribute 'discavoidzero'");
    ExpectFailure(Replace(g, "id=\"Net\"", "id=\"Net\" numsamples=\"many\""),
                  "Integer value expected for attribute 'numsamples'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt id=\"a\" diagtype=\"bogus\">"),
                  "Unknown diagnosis node type: 'bogus'");
    ExpectFailure(Replace(g, "<cpt id=\"a\">", "<cpt id=\"a\" dynamic=\"plate\">"),
                  "ORVIL failed to set dynamic node type to 'plate' for 'a'");
    ExpectFailure(Replace(g, " </nodes>", "<noisymax id=\"n\"><state id=\"s\" /></noisymax></nodes>"),
                  "ORVIL failed to create node: 'n'");
    ExpectFailure(Replace(g, "</orvil>", "<dynamic numslices=\"3\"><cpt id=\"b\" order=\"1\" /></dynamic></orvil>"),
                  "Node is not part of temporal plate: 'b'");
    ExpectFailure(Replace(g, "</orvil>", "<dynamic numslices=\"-1\" /></orvil>"),
                  "Invalid slice count: -1, non-negative integer expected");
    ExpectFailure(Replace(g, " <nodes>", "<functions><function>f(x)=x</function></functions><nodes>"),
                  "Invalid function defintion: 'f(x)=x'", false);
    ExpectFailure(Replace(g, "</orvil>", "<observationcost><node id=\"q\"><cost>1</cost></node></observationcost></orvil>"),
                  "Invalid node identifier: 'q'");
    ExpectFailure(Replace(g, "</orvil>", "<observationcost><node id=\"b\"><parents>a</parents><cost>1 n/a 2</cost>"
                                         "</node></observationcost></orvil>"),
                  "SetCosts failed");
    ExpectFailure(Replace(g, "</orvil>", "<extensions><marlo version=\"1.0\"><node id=\"q\" /></marlo></extensions></orvil>"),
                  "Invalid node identifier: 'q'");
    ExpectFailure(Replace(g, "</orvil>", "<extensions><other /></extensions></orvil>"),
                  "Required element 'marlo' not present in element 'extensions'");
}

// Every cut of a saved random model (the text ends with "</orvil>\n", so
// every cut before its last byte loses the end of the root element) fails
// with exactly one error and leaves a network that saves. Random mutations
// are left to the loader's fuzz target, which checks the same promises.
TEST(NativeDamage, EveryCutFailsCleanly) {
    QEL_network source;
    const std::string text = RandomNetwork(source, 1, 8);
    for (size_t cut = 0; cut + 1 < text.size(); cut += 1 + cut / 40) {
        const Result result = Load(text.substr(0, cut));
        ASSERT_EQ(result.status, QEL_FILE_IO_FAILED) << cut;
        ASSERT_EQ(result.errors, 1) << cut;
    }
}
