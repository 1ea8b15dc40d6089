// Enumeration over the joint distribution of a small discrete model.
//
// Configurations are walked as an odometer over all variables, last variable
// fastest, with observed variables pinned to their outcome, so only the
// configurations that agree with the hard evidence are visited for the
// posteriors; a second pass without pinning gives P(virtual evidence).
// Networks are read into the same plain model first.
#include "brute_force.h"

#include <cstddef>

#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace orvil_test {

namespace {

bool WellFormed(const BruteModel& model) {
    const int n = static_cast<int>(model.vars.size());
    for (const BruteVariable& v : model.vars) {
        std::size_t cells = static_cast<std::size_t>(v.states);
        for (int p : v.parents) {
            if (p < 0 || p >= n) return false;
            cells *= static_cast<std::size_t>(model.vars[p].states);
        }
        if (v.states < 1 || v.table.size() != cells || v.evidence >= v.states) return false;
        if (!v.likelihood.empty() && v.likelihood.size() != static_cast<std::size_t>(v.states)) return false;
    }
    return true;
}

// Weight of one full configuration: product of every table cell it selects
// and every likelihood entry it picks.
double Weight(const BruteModel& model, const std::vector<int>& config) {
    double w = 1.0;
    for (std::size_t i = 0; i < model.vars.size() && w != 0.0; ++i) {
        const BruteVariable& v = model.vars[i];
        std::size_t index = 0;
        for (int p : v.parents) index = index * model.vars[p].states + config[p];
        w *= v.table[index * v.states + config[i]];
        if (!v.likelihood.empty()) w *= v.likelihood[config[i]];
    }
    return w;
}

// Sums the weights of all configurations, pinning observed variables when
// `useEvidence` is set; accumulates per-variable marginals into `marginals`
// when it is not null.
double Enumerate(const BruteModel& model, bool useEvidence, std::vector<std::vector<double>>* marginals) {
    const std::size_t n = model.vars.size();
    std::vector<int> config(n, 0);
    std::vector<bool> pinned(n, false);
    for (std::size_t i = 0; i < n; ++i) {
        pinned[i] = useEvidence && model.vars[i].evidence >= 0;
        if (pinned[i]) config[i] = model.vars[i].evidence;
    }
    double total = 0.0;
    for (;;) {
        const double w = Weight(model, config);
        total += w;
        for (std::size_t i = 0; marginals != nullptr && w != 0.0 && i < n; ++i) (*marginals)[i][config[i]] += w;
        // Advance the odometer, leaving pinned variables alone.
        int k = static_cast<int>(n) - 1;
        for (; k >= 0 && (pinned[k] || ++config[k] == model.vars[k].states); --k) {
            if (!pinned[k]) config[k] = 0;
        }
        if (k < 0) return total;
    }
}

// Fills `model` from the network; false when some node is not a discrete
// chance node with a table.
bool ReadNetwork(QEL_network& net, BruteModel& model) {
    std::vector<int> indexOf(static_cast<std::size_t>(net.GetMaxNodes()), -1);
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        indexOf[h] = static_cast<int>(model.vars.size());
        model.vars.emplace_back();
        model.vars.back().handle = h;
    }
    for (BruteVariable& v : model.vars) {
        QEL_node* node = net.GetNode(v.handle);
        QEL_nodeDefinition* def = node->Definition();
        if (def == nullptr) return false;
        const int type = def->GetType();
        if ((type & qel_discreteFlag) == 0 || (type & (qel_decisionFlag | qel_utilityFlag)) != 0) return false;
        QEL_Dmatrix* table = def->GetMatrix();
        if (table == nullptr) return false;
        v.states = def->GetNumberOfOutcomes();
        const QEL_intArray& parents = net.GetParents(v.handle);
        for (int i = 0; i < parents.NumItems(); i++) v.parents.push_back(indexOf[parents[i]]);
        v.table.assign(table->GetItems().Items(), table->GetItems().Items() + table->GetSize());
        QEL_nodeValue* value = node->Value();
        if (value == nullptr) continue;
        v.evidence = value->GetEvidence() >= 0 ? value->GetEvidence() : -1;
        if (value->IsVirtualEvidence()) value->GetVirtualEvidence(v.likelihood);
    }
    return true;
}

}  // namespace

int BruteModel::IndexOfHandle(int handle) const {
    for (std::size_t i = 0; i < vars.size(); ++i) {
        if (vars[i].handle == handle) return static_cast<int>(i);
    }
    return -1;
}

BruteResult BruteForce(const BruteModel& model) {
    BruteResult result;
    double configurations = 1.0;
    for (const BruteVariable& v : model.vars) configurations *= v.states;
    if (!WellFormed(model) || configurations > kMaxConfigurations) return result;
    result.ok = true;
    std::vector<std::vector<double>> marginals(model.vars.size());
    for (std::size_t i = 0; i < model.vars.size(); ++i) marginals[i].assign(model.vars[i].states, 0.0);
    result.probEvidence = Enumerate(model, true, &marginals);
    result.probVirtual = Enumerate(model, false, nullptr);
    result.posteriors.resize(model.vars.size());
    if (result.probEvidence == 0.0) return result;
    for (std::size_t i = 0; i < model.vars.size(); ++i) {
        for (double& p : marginals[i]) p /= result.probEvidence;
        result.posteriors[i] = marginals[i];
    }
    return result;
}

BruteModel BruteModelFromNetwork(QEL_network& net) {
    BruteModel model;
    if (!ReadNetwork(net, model)) model.vars.clear();
    return model;
}

BruteNetworkResult BruteForceNetwork(QEL_network& net) {
    BruteNetworkResult out;
    BruteModel model;
    if (!ReadNetwork(net, model)) return out;
    const BruteResult result = BruteForce(model);
    if (!result.ok) return out;
    out.ok = true;
    out.probEvidence = result.probEvidence;
    out.probVirtual = result.probVirtual;
    out.byHandle.resize(static_cast<std::size_t>(net.GetMaxNodes()));
    for (std::size_t i = 0; i < model.vars.size(); i++) out.byHandle[model.vars[i].handle] = result.posteriors[i];
    return out;
}

}  // namespace orvil_test
