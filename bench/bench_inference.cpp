// Exact inference by join-tree clustering, timed through UpdateBeliefs: every
// node's belief, with no evidence and with a fifth of the nodes observed.
//
// The networks are the shared benchmark networks in /work/shared/networks,
// read as BIF; where that directory is absent, random networks of similar
// sizes take their place. The observed fifth is drawn once per network from
// a forward sample of the network itself (seeded), so the evidence is always
// possible and the same from run to run. Each iteration invalidates the
// beliefs and updates them from scratch, which is the whole engine: copy of
// the network, triangulation, propagation and the writing of every belief.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "orvil/bif.h"
#include "orvil/dmatrix.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

namespace {

// Outcome drawn for every node, parents first, from the node's own table.
std::vector<int> ForwardSample(QEL_network& net, std::mt19937& rng) {
    std::vector<int> sample(static_cast<size_t>(net.GetLastNode() + 1), 0);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const QEL_intArray& order = net.PartialOrdering();
    for (int k = 0; k < order.NumItems(); ++k) {
        const int h = order[k];
        const QEL_Dmatrix& table = *net.GetNode(h)->Definition()->GetMatrix();
        const QEL_intArray& parents = net.GetParents(h);
        const int states = table.GetSizeOfLastDimension();
        int column = 0;
        for (int i = 0; i < parents.NumItems(); ++i) {
            column += sample[size_t(parents[i])] * table.GetPreProduct()[i];
        }
        double u = unit(rng);
        int pick = 0;
        for (int s = 0; s < states; ++s) {
            const double p = table[column + s];
            if (p > 0.0) pick = s;
            u -= p;
            if (u < 0.0 && p > 0.0) break;
        }
        sample[size_t(h)] = pick;
    }
    return sample;
}

// Observes `share` of the nodes at their sampled outcomes.
void ObserveShare(QEL_network& net, double share, unsigned seed) {
    std::mt19937 rng(seed);
    const std::vector<int> sample = ForwardSample(net, rng);
    std::vector<int> handles;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) handles.push_back(h);
    std::shuffle(handles.begin(), handles.end(), rng);
    handles.resize(size_t(double(handles.size()) * share));
    for (int h : handles) {
        QEL_nodeValue* value = net.GetNode(h)->Value();
        // A node already deduced from earlier evidence keeps its outcome.
        if (!value->HasEvidence()) value->SetEvidence(sample[size_t(h)]);
    }
}

void Update(benchmark::State& state, std::shared_ptr<QEL_network> net) {
    for (auto _ : state) {
        net->InvalidateAllBeliefs();
        const int status = net->UpdateBeliefs();
        if (status != 0) {
            state.SkipWithError(("update failed: " + std::to_string(status)).c_str());
            break;
        }
    }
}

// A random network of `nodes` nodes of 2 to 4 states, each with up to three
// parents among the ten nodes made before it, and random positive tables.
std::shared_ptr<QEL_network> RandomNetwork(int nodes, unsigned seed) {
    auto net = std::make_shared<QEL_network>();
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.01, 1.0);
    std::vector<int> handles;
    for (int i = 0; i < nodes; ++i) {
        const int h = net->AddNode(qel_cptType, ("n" + std::to_string(i)).c_str());
        net->GetNode(h)->Definition()->SetNumberOfOutcomes(2 + int(rng() % 3));
        const int parents = std::min(i, int(rng() % 4));
        for (int p = 0; p < parents; ++p) net->AddArc(handles[size_t(i - 1 - int(rng() % std::min(i, 10)))], h);
        QEL_Dmatrix& table = *net->GetNode(h)->Definition()->GetMatrix();
        for (int c = 0; c < table.GetSize(); ++c) table[c] = unit(rng);
        table.Normalize();
        handles.push_back(h);
    }
    return net;
}

void Register(const std::string& name, std::shared_ptr<QEL_network> plain, std::shared_ptr<QEL_network> observed) {
    benchmark::RegisterBenchmark(("update/" + name + "/e0").c_str(), Update, plain)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("update/" + name + "/e20").c_str(), Update, observed)
        ->Unit(benchmark::kMillisecond);
}

void RegisterShared(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".bif") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        auto plain = std::make_shared<QEL_network>();
        auto observed = std::make_shared<QEL_network>();
        QEL_bifSpeaker first(plain.get());
        QEL_bifSpeaker second(observed.get());
        if (first.ReadNetwork(file.string().c_str()) != 0 || second.ReadNetwork(file.string().c_str()) != 0) continue;
        ObserveShare(*observed, 0.2, 20);
        Register(file.stem().string(), plain, observed);
    }
}

void RegisterRandom() {
    for (int nodes : {40, 100, 220, 440, 1000}) {
        auto plain = RandomNetwork(nodes, unsigned(nodes));
        auto observed = RandomNetwork(nodes, unsigned(nodes));
        ObserveShare(*observed, 0.2, 20);
        Register("random" + std::to_string(nodes), plain, observed);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path shared = "/work/shared/networks";
    if (std::filesystem::is_directory(shared)) {
        RegisterShared(shared);
    } else {
        RegisterRandom();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
