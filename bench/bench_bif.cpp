// Reading and writing the shared benchmark networks as BIF. For every
// network found in /work/shared/networks: the text-level read (parse and
// name resolution), the full read into a network, and the write back to
// text. Networks that are absent are simply not measured.
#include "formats/bif_document.h"
#include "formats/bif_model.h"
#include "formats/bif_parser.h"
#include "formats/bif_resolve.h"
#include "orvil/bif.h"
#include "orvil/network.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

void ParseAndResolve(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        BifDocument doc;
        BifModel model;
        BifError error;
        int rc = BifParse(text.data(), text.size(), doc, error);
        if (rc == 0)
            rc = BifResolve(doc, model, error);
        if (rc != 0)
            state.SkipWithError(error.message.c_str());
        benchmark::DoNotOptimize(model.nodes.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void ReadIntoNetwork(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        QEL_network net;
        QEL_bifSpeaker speaker(&net);
        if (speaker.ReadNetworkFromBuffer(text.data(), text.size()) != 0)
            state.SkipWithError("read failed");
        benchmark::DoNotOptimize(net.GetNumberOfNodes());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void WriteFromNetwork(benchmark::State& state, const std::string& text)
{
    QEL_network net;
    QEL_bifSpeaker speaker(&net);
    if (speaker.ReadNetworkFromBuffer(text.data(), text.size()) != 0) {
        state.SkipWithError("read failed");
        return;
    }
    std::string out;
    for (auto _ : state) {
        if (speaker.WriteNetworkToString(out) != 0)
            state.SkipWithError("write failed");
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}

void RegisterNetworks(const std::filesystem::path& directory)
{
    if (!std::filesystem::is_directory(directory))
        return;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() != ".bif")
            continue;
        std::string name = entry.path().stem().string();
        std::string text = ReadFile(entry.path());
        benchmark::RegisterBenchmark(("parse/" + name).c_str(), ParseAndResolve, text)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("read/" + name).c_str(), ReadIntoNetwork, text)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("write/" + name).c_str(), WriteFromNetwork, text)->Unit(benchmark::kMillisecond);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    RegisterNetworks("/work/shared/networks");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
