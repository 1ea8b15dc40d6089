// Evidence cases drawn from a network's own joint distribution, for the
// benchmark runs that want more cases than the shared files hold.
//
// One case is one forward sample of every node (parents first, each node's
// outcome drawn from the column of its table that its parents' sampled
// outcomes select), a share of the nodes observed at their sampled
// outcomes, chosen uniformly without replacement, and one target chosen
// uniformly among the nodes left unobserved (and, on request, a second
// one among those left after it). The evidence therefore always
// has a probability above zero. Nodes and outcomes are named by their
// identifiers. Every case has its own random source, seeded from the run's
// seed, the network's name, the share and the case's number, so a case is
// the same whatever other cases or networks a run asks for.
#ifndef ORVIL_BENCH_CASE_SAMPLER_H
#define ORVIL_BENCH_CASE_SAMPLER_H

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

class QEL_network;

namespace case_sampler {

// A repeatable random source. The draws are computed here from the raw
// engine output, not by the standard distributions, whose results differ
// between library implementations.
class Rng {
public:
    // Seeded from the run's seed, the network's name, the observed share
    // in percent and the case's number.
    Rng(std::uint64_t seed, const std::string& network, int percent, int index);
    // Uniform in [0, 1).
    double Unit();
    // Uniform in 0 .. n - 1, for n >= 1.
    int Below(int n);

private:
    std::mt19937_64 engine;
};

struct Draw {
    std::vector<std::pair<std::string, std::string>> evidence;  // node id, outcome id
    std::string target;
};

// The number of nodes a share observes out of `nodes`: none for a share of
// zero, else the share rounded to the nearest count, at least one and at
// most all but one (so that a target remains).
int ObservedCount(int nodes, double share);

// One outcome per handle (-1 for an empty slot), drawn parents first.
// False, with `error` set, when a node has no table of its parents and
// itself, or when no outcome of a node has a positive probability under
// its parents' sampled outcomes.
bool ForwardSample(QEL_network& net, Rng& rng, std::vector<int>& sample, std::string& error);

// A whole case for `share` of the nodes. False, with `error` set, when the
// network is empty or cannot be sampled (see ForwardSample).
bool DrawCase(QEL_network& net, double share, Rng& rng, Draw& out, std::string& error);

// A second target for a case, so that updates for two targets can be timed
// too: uniform among the nodes that are neither observed nor the case's
// target, from a source seeded by the case's id alone, so that a case is
// paired with the same node in every run. Empty when no such node is left.
std::string SecondTarget(QEL_network& net, const std::string& caseId, const std::string& target,
                         const std::vector<std::pair<std::string, std::string>>& evidence);

}  // namespace case_sampler

#endif
