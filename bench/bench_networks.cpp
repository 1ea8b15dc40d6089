// Exact inference on the shared benchmark networks, timed case by case and
// checked against reference posteriors.
//
// A plain timing program, not a Google Benchmark suite: for each network it
// measures the load, then for each evidence case a full update (every
// belief), a targeted update (the case's target only) and an update for two
// targets (the case's and one more, see case_sampler::SecondTarget), each
// the fastest of a few runs from invalidated beliefs. Posteriors are
// compared with the reference file where one exists. Each network runs in a child process of
// its own, so that its peak memory is its own (the child's ru_maxrss), a
// crash or a hang costs that network only, and a hard time limit can end
// it. The child reports through a pipe, one JSON object per line: one per
// case, then a summary, to which the parent adds the peak memory.
//
// With --sampled N the shared cases of each level are joined by N cases
// drawn the same way from the network itself (case_sampler.h), so that a
// median does not hang on two cases. Sampled cases have no reference
// posteriors: they are timed, not compared.
//
// Output: a table with one row per network (medians over the cases of each
// evidence level, taken from the case ids: "-e0-", "-e5-", "-e20-"), the
// number of cases behind each median, then the JSON lines, or the lines
// into a file with --jsonl.
#include "case_sampler.h"
#include "json_lite.h"

#include "orvil/dmatrix.h"
#include "orvil/errors.h"
#include "orvil/extradefinition.h"
#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodeinfo.h"
#include "orvil/nodevalue.h"
#include "orvil/stringarray.h"
#include "orvil/userproperties.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using json_lite::JsonValue;

namespace {

const char* const kLevels[] = {"e0", "e5", "e20"};
const int kPercents[] = {0, 5, 20};  // share of the nodes each level observes
const int kLevelCount = 3;

struct Options {
    fs::path networks;
    fs::path cases;
    int runs = 5;
    double budgetSeconds = 60.0;   // cases past this are skipped
    double timeoutSeconds = 600.0; // the child is killed past this
    double repeatSeconds = 2.0;    // no further run once one measure took this long
    std::string jsonl;
    std::string barrenTolerance;   // "QEL_REL_BARREN_TOLERANCE" for every network, when set
    int sampled = 0;               // cases drawn per network and level, beside the shared ones
    unsigned long long seed = 1;   // of the drawn cases
    std::vector<std::string> names;
};

struct Case {
    std::string id;
    int level = -1;
    std::vector<std::pair<std::string, std::string>> evidence;
    std::string target;
    bool hasReference = false;
    std::vector<std::pair<std::string, std::vector<double>>> posteriors;
    bool hasLogPe = false;
    double logPe = 0.0;
};

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since)
{
    return std::chrono::duration<double>(Clock::now() - since).count();
}

std::string Num(double x)
{
    if (!std::isfinite(x))
        return "null";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.6g", x);
    return buffer;
}

std::string Quote(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return out + "\"";
}

std::string ReadText(const fs::path& path, bool& ok)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    ok = static_cast<bool>(in);
    return content.str();
}

int LevelOf(const std::string& id)
{
    for (int i = 0; i < kLevelCount; ++i)
        if (id.find(std::string("-") + kLevels[i] + "-") != std::string::npos)
            return i;
    return -1;
}

// ---- Cases and references ----

bool ParseCase(const JsonValue& item, Case& c)
{
    const JsonValue* id = item.Find("id");
    const JsonValue* evidence = item.Find("evidence");
    const JsonValue* target = item.Find("target");
    if (id == nullptr || id->kind != JsonValue::kString || evidence == nullptr || target == nullptr)
        return false;
    c.id = id->text;
    c.level = LevelOf(c.id);
    c.target = target->text;
    for (const auto& m : evidence->members)
        c.evidence.emplace_back(m.first, m.second.text);
    return true;
}

void AttachReference(const JsonValue& line, std::vector<Case>& cases)
{
    const JsonValue* id = line.Find("id");
    const JsonValue* posteriors = line.Find("posteriors");
    if (id == nullptr || posteriors == nullptr)
        return;
    for (Case& c : cases) {
        if (c.id != id->text)
            continue;
        c.hasReference = true;
        for (const auto& m : posteriors->members) {
            std::vector<double> p;
            for (const JsonValue& v : m.second.items)
                p.push_back(v.number);
            c.posteriors.emplace_back(m.first, p);
        }
        const JsonValue* logPe = line.Find("log_pe");
        c.hasLogPe = logPe != nullptr && logPe->kind == JsonValue::kNumber;
        c.logPe = c.hasLogPe ? logPe->number : 0.0;
    }
}

bool LoadCases(const Options& o, const std::string& name, std::vector<Case>& cases, std::string& error)
{
    bool ok = false;
    std::string text = ReadText(o.cases / (name + ".json"), ok);
    JsonValue doc;
    if (!ok || !json_lite::ParseJson(text, doc, error)) {
        error = "no readable cases for " + name + (error.empty() ? "" : ": " + error);
        return false;
    }
    const JsonValue* list = doc.Find("cases");
    for (size_t i = 0; list != nullptr && i < list->items.size(); ++i) {
        Case c;
        if (ParseCase(list->items[i], c))
            cases.push_back(c);
    }
    std::istringstream lines(ReadText(o.cases / (name + ".ref.jsonl"), ok));
    std::string line;
    while (ok && std::getline(lines, line)) {
        JsonValue ref;
        std::string ignored;
        if (json_lite::ParseJson(line, ref, ignored))
            AttachReference(ref, cases);
    }
    return true;
}

// Appends o.sampled cases per level drawn from the network, number by
// number across the levels, so that a run the budget cuts short loses
// sampled cases from every level alike. False, with `error` set, when the
// network cannot be sampled.
bool AddSampledCases(QEL_network& net, const Options& o, const std::string& name, std::vector<Case>& cases,
                     std::string& error)
{
    for (int i = 0; i < o.sampled; ++i) {
        for (int level = 0; level < kLevelCount; ++level) {
            case_sampler::Rng rng(o.seed, name, kPercents[level], i);
            case_sampler::Draw draw;
            if (!case_sampler::DrawCase(net, kPercents[level] / 100.0, rng, draw, error)) {
                error = "sampling failed: " + error;
                return false;
            }
            Case c;
            c.id = name + "-smp-" + kLevels[level] + "-" + std::to_string(i);
            c.level = LevelOf(c.id);
            c.evidence = draw.evidence;
            c.target = draw.target;
            cases.push_back(c);
        }
    }
    return true;
}

// ---- Work on one network, in the child ----

int FindByName(QEL_network& net, const std::string& name)
{
    int handle = net.FindNode(name.c_str());
    for (int h = net.GetFirstNode(); handle < 0 && h >= 0; h = net.GetNextNode(h)) {
        const char* original = net.GetNode(h)->Info()->Header().GetName();
        if (original != nullptr && name == original)
            handle = h;
    }
    return handle;
}

// A state by identifier, else by the label that keeps its original text.
int FindState(QEL_network& net, int handle, const std::string& name)
{
    QEL_idArray* ids = net.GetNode(handle)->Definition()->GetOutcomesNames();
    int position = ids != nullptr ? ids->FindPosition(name.c_str()) : -2;
    const QEL_extraDefinition* extra = net.GetNode(handle)->ExtraDefinition();
    for (int i = 0; position < 0 && extra != nullptr && i < ids->NumItems(); ++i) {
        const char* label = extra->GetLabel(i);
        if (label != nullptr && name == label)
            position = i;
    }
    return position;
}

// Largest absolute difference between the node's beliefs and `expected`;
// infinity when the node is missing or has no current beliefs.
double BeliefDifference(QEL_network& net, const std::string& node, const std::vector<double>& expected)
{
    int handle = FindByName(net, node);
    QEL_Dmatrix* m = nullptr;
    QEL_nodeValue* value = handle >= 0 ? net.GetNode(handle)->Value() : nullptr;
    if (value == nullptr || !value->IsValueValid() || value->GetValue(&m) != 0 ||
        m->GetSize() != static_cast<int>(expected.size()))
        return INFINITY;
    double worst = 0.0;
    for (size_t i = 0; i < expected.size(); ++i)
        worst = std::max(worst, std::fabs((*m)[static_cast<int>(i)] - expected[i]));
    return worst;
}

struct Measure {
    double best = INFINITY;
    int runs = 0;
    int status = 0;
};

// The fastest of up to `runs` updates from invalidated beliefs; stops after
// a failure, once the runs together took `repeatSeconds`, or past the
// network's deadline.
Measure TimeUpdates(QEL_network& net, const Options& o, Clock::time_point deadline)
{
    Measure m;
    Clock::time_point start = Clock::now();
    while (m.runs < o.runs) {
        net.InvalidateAllBeliefs();
        Clock::time_point t = Clock::now();
        m.status = net.UpdateBeliefs();
        m.best = std::min(m.best, Seconds(t) * 1000.0);
        ++m.runs;
        if (m.status != 0 || Seconds(start) >= o.repeatSeconds || Clock::now() >= deadline)
            break;
    }
    return m;
}

bool SetCaseEvidence(QEL_network& net, const Case& c, std::string& error)
{
    net.ClearAllEvidence();
    for (const auto& e : c.evidence) {
        int handle = FindByName(net, e.first);
        int state = handle >= 0 ? FindState(net, handle, e.second) : -2;
        if (state < 0 || net.GetNode(handle)->Value()->SetEvidence(state) != 0) {
            error = "cannot observe " + e.first + "=" + e.second;
            return false;
        }
    }
    return true;
}

struct CaseResult {
    Measure full;
    Measure target;
    Measure pair;
    std::string target2;
    double maxDiff = NAN;
    double logPe = NAN;
    std::string error;
};

void CheckFull(QEL_network& net, const Case& c, CaseResult& r)
{
    if (!c.hasReference)
        return;
    r.maxDiff = 0.0;
    for (const auto& p : c.posteriors)
        r.maxDiff = std::max(r.maxDiff, BeliefDifference(net, p.first, p.second));
}

void CheckTarget(QEL_network& net, const Case& c, const std::string& target, CaseResult& r)
{
    for (const auto& p : c.posteriors)
        if (p.first == target)
            r.maxDiff = std::max(std::isnan(r.maxDiff) ? 0.0 : r.maxDiff, BeliefDifference(net, p.first, p.second));
}

// The case's target with a second one, timed and checked like the first.
void RunPair(QEL_network& net, const Case& c, int target, const Options& o, Clock::time_point deadline,
             CaseResult& r)
{
    r.target2 = case_sampler::SecondTarget(net, c.id, c.target, c.evidence);
    int second = r.target2.empty() ? -1 : FindByName(net, r.target2);
    if (second < 0 || Clock::now() >= deadline)
        return;
    net.ClearAllTargets();
    net.SetTarget(target, true);
    net.SetTarget(second, true);
    r.pair = TimeUpdates(net, o, deadline);
    if (r.pair.status == 0) {
        CheckTarget(net, c, c.target, r);
        CheckTarget(net, c, r.target2, r);
    }
}

CaseResult RunCase(QEL_network& net, const Case& c, const Options& o, Clock::time_point deadline)
{
    CaseResult r;
    if (!SetCaseEvidence(net, c, r.error))
        return r;
    net.ClearAllTargets();
    r.full = TimeUpdates(net, o, deadline);
    if (r.full.status == 0)
        CheckFull(net, c, r);
    double pe = 0.0;
    if (r.full.status == 0 && net.CalcProbEvidence_JoinTree(pe) && pe > 0.0)
        r.logPe = std::log(pe);
    int target = FindByName(net, c.target);
    net.ClearAllTargets();
    if (target < 0) {
        r.error = "unknown target " + c.target;
        return r;
    }
    net.SetTarget(target, true);
    if (Clock::now() < deadline) {
        r.target = TimeUpdates(net, o, deadline);
        if (r.target.status == 0)
            CheckTarget(net, c, c.target, r);
    }
    RunPair(net, c, target, o, deadline, r);
    net.ClearAllTargets();
    return r;
}

std::string CaseLine(const std::string& network, const Case& c, const CaseResult& r)
{
    std::string out = "{\"network\": " + Quote(network) + ", \"id\": " + Quote(c.id);
    out += ", \"level\": " + Quote(c.level >= 0 ? kLevels[c.level] : "");
    out += ", \"observed\": " + std::to_string(c.evidence.size()) + ", \"target\": " + Quote(c.target);
    // The evidence itself, so that a slow case can be replayed on its own.
    out += ", \"evidence\": {";
    for (size_t i = 0; i < c.evidence.size(); ++i)
        out += (i ? ", " : "") + Quote(c.evidence[i].first) + ": " + Quote(c.evidence[i].second);
    out += "}";
    out += ", \"full_ms\": " + Num(r.full.best) + ", \"full_runs\": " + std::to_string(r.full.runs);
    out += ", \"full_status\": " + std::to_string(r.full.status);
    out += ", \"target_ms\": " + Num(r.target.best) + ", \"target_runs\": " + std::to_string(r.target.runs);
    out += ", \"target_status\": " + std::to_string(r.target.status);
    out += ", \"target2\": " + Quote(r.target2) + ", \"pair_ms\": " + Num(r.pair.best);
    out += ", \"pair_status\": " + std::to_string(r.pair.status);
    out += ", \"max_diff\": " + Num(r.maxDiff) + ", \"log_pe\": " + Num(r.logPe);
    out += ", \"log_pe_diff\": " + Num(c.hasLogPe ? std::fabs(r.logPe - c.logPe) : NAN);
    if (!r.error.empty())
        out += ", \"error\": " + Quote(r.error);
    return out + "}\n";
}

double Median(std::vector<double> values)
{
    if (values.empty())
        return NAN;
    std::sort(values.begin(), values.end());
    size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
}

std::string LevelMedians(const std::vector<double> (&times)[kLevelCount])
{
    std::string out = "{";
    for (int i = 0; i < kLevelCount; ++i)
        out += std::string(i > 0 ? ", " : "") + Quote(kLevels[i]) + ": " + Num(Median(times[i]));
    return out + "}";
}

std::string LevelCounts(const std::vector<double> (&times)[kLevelCount])
{
    std::string out = "{";
    for (int i = 0; i < kLevelCount; ++i)
        out += std::string(i > 0 ? ", " : "") + Quote(kLevels[i]) + ": " + std::to_string(times[i].size());
    return out + "}";
}

struct NetworkTotals {
    int nodes = 0;
    double loadMs = NAN;
    size_t sampled = 0;  // cases drawn from the network, beside the shared ones
    std::vector<double> full[kLevelCount];
    std::vector<double> target[kLevelCount];
    std::vector<double> pair[kLevelCount];
    double maxDiff = NAN;
    int run = 0;
    int failed = 0;
    int skipped = 0;
    std::string note;
};

void Accumulate(const Case& c, const CaseResult& r, NetworkTotals& t)
{
    int status = r.full.status != 0 ? r.full.status : r.target.status != 0 ? r.target.status : r.pair.status;
    bool failed = !r.error.empty() || status != 0;
    t.failed += failed ? 1 : 0;
    if (failed && t.note.empty())
        t.note = r.error.empty() ? "status " + std::to_string(status) : r.error;
    if (!std::isnan(r.maxDiff))
        t.maxDiff = std::isnan(t.maxDiff) ? r.maxDiff : std::max(t.maxDiff, r.maxDiff);
    if (c.level < 0)
        return;
    if (r.full.status == 0 && r.full.runs > 0)
        t.full[c.level].push_back(r.full.best);
    if (r.target.status == 0 && r.target.runs > 0)
        t.target[c.level].push_back(r.target.best);
    if (r.pair.status == 0 && r.pair.runs > 0)
        t.pair[c.level].push_back(r.pair.best);
}

// Reads the cases and the network, adds the sampled cases and notes the
// first trouble in `t`. Returns the read's status.
int Prepare(const Options& o, const std::string& name, QEL_network& net, std::vector<Case>& cases,
            NetworkTotals& t)
{
    std::string error;
    bool haveCases = LoadCases(o, name, cases, error);
    Clock::time_point start = Clock::now();
    int rc = net.ReadFile((o.networks / (name + ".bif")).c_str(), QEL_FORMAT_BY_EXTENSION, nullptr);
    t.loadMs = Seconds(start) * 1000.0;
    t.nodes = net.GetNumberOfNodes();
    if (rc != 0) {
        t.note = std::string("load failed: ") + QEL_errorH().GetLastErrorMessage();
        return rc;
    }
    if (!o.barrenTolerance.empty())
        net.UserProperties().AddProperty("QEL_REL_BARREN_TOLERANCE", o.barrenTolerance.c_str());
    if (!haveCases)
        t.note = error;
    size_t shared = cases.size();
    if (!AddSampledCases(net, o, name, cases, error) && t.note.empty())
        t.note = error;
    t.sampled = cases.size() - shared;
    return rc;
}

void WriteSummary(FILE* out, const std::string& name, const NetworkTotals& t, size_t cases)
{
    std::fprintf(out,
                 "{\"network\": %s, \"summary\": true, \"nodes\": %d, \"load_ms\": %s, \"full_ms\": %s, "
                 "\"target_ms\": %s, \"pair_ms\": %s, \"full_cases\": %s, \"target_cases\": %s, \"max_diff\": %s, "
                 "\"cases\": %zu, \"cases_sampled\": %zu, \"cases_run\": %d, \"cases_failed\": %d, "
                 "\"note\": %s}\n",
                 Quote(name).c_str(), t.nodes, Num(t.loadMs).c_str(), LevelMedians(t.full).c_str(),
                 LevelMedians(t.target).c_str(), LevelMedians(t.pair).c_str(), LevelCounts(t.full).c_str(), LevelCounts(t.target).c_str(),
                 Num(t.maxDiff).c_str(), cases, t.sampled, t.run, t.failed, Quote(t.note).c_str());
    std::fflush(out);
}

// The child's whole job: load, run the cases, write JSON lines to `out`.
// Returns the process exit status.
int BenchNetwork(const Options& o, const std::string& name, FILE* out)
{
    std::vector<Case> cases;
    QEL_network net;
    NetworkTotals t;
    int rc = Prepare(o, name, net, cases, t);
    Clock::time_point deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                    std::chrono::duration<double>(o.budgetSeconds));
    for (size_t i = 0; rc == 0 && i < cases.size(); ++i) {
        if (Clock::now() >= deadline) {
            t.skipped = static_cast<int>(cases.size() - i);
            break;
        }
        CaseResult r = RunCase(net, cases[i], o, deadline);
        Accumulate(cases[i], r, t);
        ++t.run;
        std::fputs(CaseLine(name, cases[i], r).c_str(), out);
        std::fflush(out);
    }
    if (t.skipped > 0 && t.note.empty())
        t.note = std::to_string(t.skipped) + " cases skipped past " + Num(o.budgetSeconds) + " s";
    WriteSummary(out, name, t, cases.size());
    return rc == 0 ? 0 : 1;
}

// ---- The parent: one child per network ----

struct ChildOutcome {
    std::vector<std::string> lines;
    double peakMb = NAN;
    std::string failure;
};

// Reads the child's lines until it closes the pipe or the time runs out.
void Collect(int fd, pid_t child, double timeoutSeconds, ChildOutcome& outcome)
{
    std::string pending;
    Clock::time_point start = Clock::now();
    char buffer[4096];
    for (;;) {
        double left = timeoutSeconds - Seconds(start);
        struct pollfd p = {fd, POLLIN, 0};
        if (left <= 0.0 || poll(&p, 1, static_cast<int>(std::min(left, 1.0) * 1000.0) + 1) < 0) {
            kill(child, SIGKILL);
            outcome.failure = "killed after " + Num(timeoutSeconds) + " s";
            break;
        }
        if (p.revents == 0)
            continue;
        ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        pending.append(buffer, static_cast<size_t>(n));
    }
    std::istringstream lines(pending);
    std::string line;
    while (std::getline(lines, line))
        if (!line.empty())
            outcome.lines.push_back(line);
}

ChildOutcome RunIsolated(const Options& o, const std::string& name)
{
    ChildOutcome outcome;
    int fds[2];
    if (pipe(fds) != 0) {
        outcome.failure = "no pipe";
        return outcome;
    }
    std::fflush(stdout);
    pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        FILE* out = fdopen(fds[1], "w");
        std::_Exit(out != nullptr ? BenchNetwork(o, name, out) : 1);
    }
    close(fds[1]);
    if (child < 0) {
        close(fds[0]);
        outcome.failure = "no child process";
        return outcome;
    }
    Collect(fds[0], child, o.timeoutSeconds, outcome);
    close(fds[0]);
    int status = 0;
    struct rusage usage {};
    wait4(child, &status, 0, &usage);
    outcome.peakMb = static_cast<double>(usage.ru_maxrss) / 1024.0;
    if (outcome.failure.empty() && WIFSIGNALED(status))
        outcome.failure = "crashed with signal " + std::to_string(WTERMSIG(status));
    return outcome;
}

std::string Cell(const JsonValue* v, const char* key = nullptr)
{
    if (v != nullptr && key != nullptr)
        v = v->Find(key);
    if (v == nullptr || v->kind != JsonValue::kNumber)
        return "-";
    double x = v->number;
    const char* format = std::fabs(x) >= 100.0 ? "%.0f" : x != 0.0 && std::fabs(x) < 1e-3 ? "%.1e" : "%.3g";
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, format, x);
    return buffer;
}

void PrintHeader()
{
    std::printf("%-11s %6s %9s %9s %9s %9s %9s %9s %9s %9s %9s %9s %9s %8s  %s\n", "network", "nodes", "load ms",
                "full e0", "full e5", "full e20", "tgt e0", "tgt e5", "tgt e20", "2tgt e0", "2tgt e5", "2tgt e20",
                "max diff", "peak MB", "note");
}

std::string LevelCountText(const JsonValue* counts)
{
    if (counts == nullptr)
        return "";
    std::string out;
    for (int i = 0; i < kLevelCount; ++i)
        out += std::string(i > 0 ? "/" : "") + Cell(counts, kLevels[i]);
    return out;
}

// "10/10/10": the cases behind the medians of each level, with the
// targeted counts apart where they differ; empty without a summary.
std::string CountText(const JsonValue& summary)
{
    std::string full = LevelCountText(summary.Find("full_cases"));
    std::string target = LevelCountText(summary.Find("target_cases"));
    return full == target ? full : "full " + full + ", targeted " + target;
}

// Prints the row of one network, sets `counts` to its CountText and
// returns its summary line, completed with the peak memory (or a line of
// its own when the child gave none).
std::string PrintRow(const std::string& name, const ChildOutcome& outcome, std::string& counts)
{
    JsonValue summary;
    std::string error;
    bool found = false;
    for (const std::string& line : outcome.lines) {
        JsonValue v;
        if (json_lite::ParseJson(line, v, error) && v.Find("summary") != nullptr) {
            summary = v;
            found = true;
        }
    }
    counts = CountText(summary);
    const JsonValue* note = summary.Find("note");
    std::string text = !outcome.failure.empty() ? outcome.failure : note != nullptr ? note->text : "";
    const JsonValue* full = summary.Find("full_ms");
    const JsonValue* target = summary.Find("target_ms");
    const JsonValue* pair = summary.Find("pair_ms");
    std::printf("%-11s %6s %9s %9s %9s %9s %9s %9s %9s %9s %9s %9s %9s %8.1f  %s\n", name.c_str(),
                Cell(&summary, "nodes").c_str(), Cell(&summary, "load_ms").c_str(), Cell(full, "e0").c_str(),
                Cell(full, "e5").c_str(), Cell(full, "e20").c_str(), Cell(target, "e0").c_str(),
                Cell(target, "e5").c_str(), Cell(target, "e20").c_str(), Cell(pair, "e0").c_str(),
                Cell(pair, "e5").c_str(), Cell(pair, "e20").c_str(), Cell(&summary, "max_diff").c_str(),
                outcome.peakMb, text.c_str());
    std::fflush(stdout);
    std::string tail = ", \"peak_mb\": " + Num(outcome.peakMb) +
                       (outcome.failure.empty() ? "" : ", \"failure\": " + Quote(outcome.failure)) + "}";
    if (!found)
        return "{\"network\": " + Quote(name) + ", \"summary\": true" + tail;
    for (const std::string& line : outcome.lines)
        if (line.find("\"summary\": true") != std::string::npos)
            return line.substr(0, line.rfind('}')) + tail;
    return "";
}

// One line per distinct CountText, naming its networks, so that the
// table says what each median rests on without a column per level.
void PrintCaseCounts(const Options& o, const std::vector<std::pair<std::string, std::string>>& counts)
{
    std::printf("\ncases per median, e0/e5/e20 (shared");
    if (o.sampled > 0)
        std::printf(" and %d sampled per level, seed %llu", o.sampled, o.seed);
    std::printf("):\n");
    std::vector<std::string> printed;
    for (const auto& c : counts) {
        if (c.first.empty() || std::find(printed.begin(), printed.end(), c.first) != printed.end())
            continue;
        printed.push_back(c.first);
        std::string names;
        for (const auto& d : counts)
            if (d.first == c.first)
                names += (names.empty() ? "" : ", ") + d.second;
        std::printf("  %s: %s\n", c.first.c_str(), names.c_str());
    }
}

// ---- Options ----

// The first ancestor of `start` that holds shared/networks.
fs::path FindShared(fs::path start)
{
    for (; !start.empty(); start = start.parent_path()) {
        if (fs::is_directory(start / "shared" / "networks"))
            return start / "shared";
        if (start == start.parent_path())
            break;
    }
    return {};
}

fs::path DefaultShared()
{
    fs::path shared = FindShared(fs::absolute(fs::path(__FILE__)).parent_path());
    std::error_code ignored;
    if (shared.empty())
        shared = FindShared(fs::read_symlink("/proc/self/exe", ignored).parent_path());
    return shared;
}

bool ParseOptions(int argc, char** argv, Options& o)
{
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        bool hasValue = i + 1 < argc;
        if (a == "--networks" && hasValue)
            o.networks = argv[++i];
        else if (a == "--cases" && hasValue)
            o.cases = argv[++i];
        else if (a == "--runs" && hasValue)
            o.runs = std::max(1, std::atoi(argv[++i]));
        else if (a == "--budget" && hasValue)
            o.budgetSeconds = std::atof(argv[++i]);
        else if (a == "--timeout" && hasValue)
            o.timeoutSeconds = std::atof(argv[++i]);
        else if (a == "--jsonl" && hasValue)
            o.jsonl = argv[++i];
        else if (a == "--barren-tolerance" && hasValue)
            o.barrenTolerance = argv[++i];
        else if (a == "--sampled" && hasValue)
            o.sampled = std::max(0, std::atoi(argv[++i]));
        else if (a == "--seed" && hasValue)
            o.seed = std::strtoull(argv[++i], nullptr, 10);
        else if (!a.empty() && a[0] != '-')
            o.names.push_back(a);
        else
            return false;
    }
    fs::path shared = DefaultShared();
    if (o.networks.empty())
        o.networks = shared / "networks";
    if (o.cases.empty())
        o.cases = o.networks.parent_path() / "cases";
    return true;
}

std::vector<std::string> NetworkNames(const Options& o)
{
    if (!o.names.empty())
        return o.names;
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(o.networks, ignored))
        if (entry.path().extension() == ".bif")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

int main(int argc, char** argv)
{
    Options o;
    if (!ParseOptions(argc, argv, o)) {
        std::fprintf(stderr,
                     "usage: bench_networks [--networks DIR] [--cases DIR] [--runs N] [--budget S] "
                     "[--timeout S] [--jsonl FILE] [--barren-tolerance X] [--sampled N] [--seed S] [NAME ...]\n");
        return 2;
    }
    std::vector<std::string> names = NetworkNames(o);
    if (names.empty()) {
        std::fprintf(stderr, "bench_networks: no networks in %s\n", o.networks.c_str());
        return 1;
    }
    PrintHeader();
    std::string jsonLines;
    std::vector<std::pair<std::string, std::string>> counts;
    for (const std::string& name : names) {
        ChildOutcome outcome = RunIsolated(o, name);
        for (const std::string& line : outcome.lines)
            if (line.find("\"summary\": true") == std::string::npos)
                jsonLines += line + "\n";
        std::string count;
        jsonLines += PrintRow(name, outcome, count) + "\n";
        counts.emplace_back(count, name);
    }
    PrintCaseCounts(o, counts);
    if (o.jsonl.empty()) {
        std::printf("\n%s", jsonLines.c_str());
        return 0;
    }
    std::ofstream file(o.jsonl);
    file << jsonLines;
    return file ? 0 : 1;
}
