// info, infer and convert: each a short sequence of engine calls between
// loading a model and handing text back to main.
//
// Join-tree figures come from the triangulator's statistics hook, which is
// a process-wide function pointer without a context argument; the figures
// therefore collect in one file-local record, installed only for the one
// update that `info` runs.
#include "commands.h"

#include "model_access.h"
#include "report.h"

#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"
#include "orvil/triangulator.h"

#include <algorithm>

namespace orvil_tool {

namespace {

ModelSummary* collecting = nullptr;

void CollectCliques(const TsTriangulatorStats* stats)
{
    if (collecting == nullptr || stats == nullptr)
        return;
    collecting->pieces += 1;
    collecting->cliques += stats->cliqueCount;
    collecting->largestCliqueNodes = std::max(collecting->largestCliqueNodes, static_cast<int>(stats->maxCliqueNodes));
    collecting->largestCliqueCells = std::max<uint64_t>(collecting->largestCliqueCells, stats->maxCliqueSize);
    collecting->totalCliqueCells += stats->totalSize;
}

void SummarizeNodes(QEL_network& net, ModelSummary& s)
{
    s.nodes = net.GetNumberOfNodes();
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        s.arcs += net.NumParents(h);
        QEL_nodeDefinition* def = net.GetNode(h)->Definition();
        if (def == nullptr)
            continue;
        int states = def->GetNumberOfOutcomes();
        if (states > 0) {
            s.minStates = s.totalStates == 0 ? states : std::min(s.minStates, states);
            s.maxStates = std::max(s.maxStates, states);
            s.totalStates += states;
        }
        QEL_Dmatrix* table = def->GetMatrix();
        long long cells = table != nullptr ? table->GetSize() : 0;
        s.tableCells += cells;
        if (cells > s.largestTable) {
            s.largestTable = cells;
            s.largestTableNode = NodeId(net, h);
        }
    }
}

void SummarizeJoinTree(QEL_network& net, ModelSummary& s)
{
    ForgetEngineMessages();
    net.SetDefaultBNAlgorithm(0);
    collecting = &s;
    TsTriangulatorStatsFunc = CollectCliques;
    int rc = net.UpdateBeliefs();
    TsTriangulatorStatsFunc = nullptr;
    collecting = nullptr;
    // A failed update may have built some pieces before it gave up; their
    // figures would understate the model, so none are shown.
    s.joinTreeBuilt = rc == 0;
    if (!s.joinTreeBuilt)
        s.joinTreeFailure = WithEngineMessage("status " + std::to_string(rc));
}

bool ApplyEvidence(QEL_network& net, const CommandLine& line, InferReport& report, std::string& error)
{
    for (const auto& pair : line.evidence) {
        int handle = FindNodeByName(net, pair.first);
        if (handle < 0) {
            error = "unknown node '" + pair.first + "'";
            return false;
        }
        int state = FindStateByName(net, handle, pair.second);
        if (state < 0) {
            error = "node '" + pair.first + "' has no state '" + pair.second + "'";
            return false;
        }
        ForgetEngineMessages();
        int rc = net.GetNode(handle)->Value()->SetEvidence(state);
        if (rc != 0) {
            error = WithEngineMessage("cannot observe " + pair.first + "=" + pair.second);
            return false;
        }
        report.evidence.emplace_back(NodeId(net, handle), StateNames(net, handle)[state]);
    }
    return true;
}

bool ApplyLikelihoods(QEL_network& net, const CommandLine& line, InferReport& report, std::string& error)
{
    for (const VirtualEvidence& v : line.likelihoods) {
        int handle = FindNodeByName(net, v.node);
        if (handle < 0) {
            error = "unknown node '" + v.node + "'";
            return false;
        }
        size_t states = StateNames(net, handle).size();
        if (!HasBeliefs(net, handle) || states != v.weights.size()) {
            error = "node '" + v.node + "' needs " + std::to_string(states) + " weights, not " +
                    std::to_string(v.weights.size());
            return false;
        }
        ForgetEngineMessages();
        if (net.GetNode(handle)->Value()->SetVirtualEvidence(v.weights) != 0) {
            error = WithEngineMessage("cannot set virtual evidence on " + v.node);
            return false;
        }
        report.likelihoods.emplace_back(NodeId(net, handle), v.weights);
    }
    return true;
}

// The handles to report: the targets in the order given, or every node with
// probabilities. Targets are marked in the network so that the engine
// computes no more than it must.
bool ChooseTargets(QEL_network& net, const CommandLine& line, std::vector<int>& handles, std::string& error)
{
    for (const std::string& name : line.targets) {
        int handle = FindNodeByName(net, name);
        if (handle < 0) {
            error = "unknown node '" + name + "'";
            return false;
        }
        if (!HasBeliefs(net, handle)) {
            error = "node '" + name + "' has no probabilities";
            return false;
        }
        if (std::find(handles.begin(), handles.end(), handle) == handles.end()) {
            handles.push_back(handle);
            net.SetTarget(handle, true);
        }
    }
    for (int h = net.GetFirstNode(); line.targets.empty() && h >= 0; h = net.GetNextNode(h))
        if (HasBeliefs(net, h))
            handles.push_back(h);
    return true;
}

bool CollectBeliefs(QEL_network& net, const std::vector<int>& handles, InferReport& report, std::string& error)
{
    for (int h : handles) {
        NodeBeliefs b;
        b.node = NodeId(net, h);
        b.states = StateNames(net, h);
        if (!ReadBeliefs(net, h, b.probabilities)) {
            error = "no beliefs computed for node '" + b.node + "'";
            return false;
        }
        report.beliefs.push_back(b);
    }
    return true;
}

}  // namespace

bool RunInfo(const CommandLine& line, std::string& out, std::string& error)
{
    QEL_network net;
    ModelSummary summary;
    summary.model = line.files[0];
    if (!LoadModel(net, summary.model, error))
        return false;
    SummarizeNodes(net, summary);
    SummarizeJoinTree(net, summary);
    out = FormatSummary(summary);
    return true;
}

bool RunInfer(const CommandLine& line, std::string& out, std::string& error)
{
    QEL_network net;
    InferReport report;
    report.model = line.files[0];
    if (!LoadModel(net, report.model, error))
        return false;
    if (line.algorithm >= 0)
        net.SetDefaultBNAlgorithm(line.algorithm);
    report.algorithm = net.GetDefaultBNAlgorithm();
    std::vector<int> handles;
    if (!ApplyEvidence(net, line, report, error) || !ApplyLikelihoods(net, line, report, error) ||
        !ChooseTargets(net, line, handles, error))
        return false;
    ForgetEngineMessages();
    int rc = net.UpdateBeliefs();
    if (rc != 0) {
        error = WithEngineMessage("inference failed with status " + std::to_string(rc));
        return false;
    }
    if (!CollectBeliefs(net, handles, report, error))
        return false;
    if (!line.json) {
        out = FormatBeliefTable(report.beliefs);
        return true;
    }
    report.hasProbEvidence = net.CalcProbEvidence(report.probEvidence) == 0;
    out = FormatInferJson(report);
    return true;
}

bool RunConvert(const CommandLine& line, std::string& out, std::string& error)
{
    QEL_network net;
    if (!LoadModel(net, line.files[0], error) || !SaveModel(net, line.files[1], error))
        return false;
    out.clear();
    return true;
}

}  // namespace orvil_tool
