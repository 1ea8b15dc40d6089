// Forward sampling of evidence cases through the library's public API: the
// parents-first order of the network, each node's table (parents in parent
// order, the node's own outcomes last and consecutive) and the outcome
// identifiers. Nothing here is timed; a case costs one pass over the tables.
#include "case_sampler.h"

#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"

#include <algorithm>
#include <cmath>

namespace case_sampler {

namespace {

std::uint64_t NameHash(const std::string& text)
{
    std::uint64_t hash = 14695981039346656037ull;  // 64-bit FNV-1a
    for (unsigned char c : text)
        hash = (hash ^ c) * 1099511628211ull;
    return hash;
}

std::string NodeId(QEL_network& net, int handle)
{
    const char* id = net.GetNode(handle)->GetId();
    return id != nullptr ? id : "";
}

std::string OutcomeId(QEL_network& net, int handle, int outcome)
{
    QEL_idArray* ids = net.GetNode(handle)->Definition()->GetOutcomesNames();
    const char* id = ids != nullptr && outcome < ids->NumItems() ? (*ids)[outcome] : nullptr;
    return id != nullptr ? id : "";
}

// An outcome of the column of `states` items from `column`, drawn in
// proportion to its positive items (a column that does not sum to one
// counts as normalised); -1 when no item is positive.
int PickOutcome(const QEL_Dmatrix& table, int column, int states, Rng& rng)
{
    double total = 0.0;
    for (int s = 0; s < states; ++s)
        total += std::max(0.0, table[column + s]);
    if (!(total > 0.0) || !std::isfinite(total))
        return -1;
    double u = rng.Unit() * total;
    int last = -1;
    for (int s = 0; s < states; ++s) {
        double p = table[column + s];
        if (!(p > 0.0))
            continue;
        last = s;
        if (u < p)
            return s;
        u -= p;
    }
    // Rounding left u at or past the last positive item's share.
    return last;
}

bool DrawOutcome(QEL_network& net, int handle, Rng& rng, std::vector<int>& sample, std::string& error)
{
    QEL_nodeDefinition* definition = net.GetNode(handle)->Definition();
    const QEL_Dmatrix* table = definition != nullptr ? definition->GetMatrix() : nullptr;
    const QEL_intArray& parents = net.GetParents(handle);
    if (table == nullptr || table->GetNumberOfDimensions() != parents.NumItems() + 1) {
        error = "no table of its parents and itself for " + NodeId(net, handle);
        return false;
    }
    int column = 0;
    for (int i = 0; i < parents.NumItems(); ++i)
        column += sample[static_cast<size_t>(parents[i])] * table->GetPreProduct()[i];
    int outcome = PickOutcome(*table, column, table->GetSizeOfLastDimension(), rng);
    if (outcome < 0) {
        error = "no outcome of " + NodeId(net, handle) + " is possible under its sampled parents";
        return false;
    }
    sample[static_cast<size_t>(handle)] = outcome;
    return true;
}

}  // namespace

Rng::Rng(std::uint64_t seed, const std::string& network, int percent, int index)
{
    std::uint64_t name = NameHash(network);
    std::seed_seq seeds{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32),
                        static_cast<std::uint32_t>(name), static_cast<std::uint32_t>(name >> 32),
                        static_cast<std::uint32_t>(percent), static_cast<std::uint32_t>(index)};
    engine.seed(seeds);
}

double Rng::Unit()
{
    return static_cast<double>(engine() >> 11) * 0x1.0p-53;
}

int Rng::Below(int n)
{
    // Values under 2^64 mod n are refused, so every remainder is equally
    // likely.
    std::uint64_t range = static_cast<std::uint64_t>(n);
    std::uint64_t threshold = (0 - range) % range;
    std::uint64_t x = engine();
    while (x < threshold)
        x = engine();
    return static_cast<int>(x % range);
}

int ObservedCount(int nodes, double share)
{
    if (share <= 0.0 || nodes < 2)
        return 0;
    long count = std::lround(share * nodes);
    return static_cast<int>(std::min<long>(std::max<long>(count, 1), nodes - 1));
}

bool ForwardSample(QEL_network& net, Rng& rng, std::vector<int>& sample, std::string& error)
{
    sample.assign(static_cast<size_t>(std::max(net.GetLastNode() + 1, 0)), -1);
    const QEL_intArray& order = net.PartialOrdering();
    for (int k = 0; k < order.NumItems(); ++k)
        if (!DrawOutcome(net, order[k], rng, sample, error))
            return false;
    return true;
}

bool DrawCase(QEL_network& net, double share, Rng& rng, Draw& out, std::string& error)
{
    std::vector<int> sample;
    if (!ForwardSample(net, rng, sample, error))
        return false;
    std::vector<int> handles;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h))
        handles.push_back(h);
    int n = static_cast<int>(handles.size());
    if (n == 0) {
        error = "no nodes to sample";
        return false;
    }
    // The first `observed` places of a partial shuffle: a uniform choice
    // without replacement.
    int observed = ObservedCount(n, share);
    for (int k = 0; k < observed; ++k)
        std::swap(handles[static_cast<size_t>(k)], handles[static_cast<size_t>(k + rng.Below(n - k))]);
    out.evidence.clear();
    for (int k = 0; k < observed; ++k) {
        int h = handles[static_cast<size_t>(k)];
        out.evidence.emplace_back(NodeId(net, h), OutcomeId(net, h, sample[static_cast<size_t>(h)]));
    }
    out.target = NodeId(net, handles[static_cast<size_t>(observed + rng.Below(n - observed))]);
    return true;
}

std::string SecondTarget(QEL_network& net, const std::string& caseId, const std::string& target,
                         const std::vector<std::pair<std::string, std::string>>& evidence)
{
    std::vector<std::string> candidates;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
        std::string id = NodeId(net, h);
        bool observed = std::any_of(evidence.begin(), evidence.end(),
                                    [&id](const std::pair<std::string, std::string>& e) { return e.first == id; });
        if (!observed && id != target)
            candidates.push_back(id);
    }
    if (candidates.empty())
        return "";
    Rng rng(0, caseId, 0, 0);
    return candidates[static_cast<size_t>(rng.Below(static_cast<int>(candidates.size())))];
}

}  // namespace case_sampler
