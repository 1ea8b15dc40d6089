// The tables from engine numbers to engine entry functions.
//
// One row per number, in number order. A row whose entry is null names an
// engine that this build does not contain; the update driver turns that into
// a failure status with a message in the error log. Engines plug themselves
// in by filling their row.
#include "inference/engine_table.h"

#include "orvil/tsclustering.h"

namespace {

struct EngineRow {
    int algorithm;
    QEL_bnEngineEntry entry;
};

const EngineRow kEngines[] = {
    {0, TsClustering},  // join-tree clustering
    {1, nullptr},   // logic sampling
    {2, nullptr},   // polytree propagation
    {3, nullptr},   // likelihood weighting
    {4, nullptr},   // self-importance sampling
    {5, nullptr},   // likelihood weighting, retired second number
    {6, nullptr},   // backward sampling
    {7, nullptr},   // AIS sampling
    {8, nullptr},   // EPIS sampling
    {9, nullptr},   // loopy belief propagation
    {10, nullptr},  // older cluster engine
    {11, TsClusteringLinearDecomp},     // join-tree clustering, linear target decomposition
    {12, TsClusteringRecursiveDecomp},  // join-tree clustering, recursive target decomposition
};

const EngineRow kSolvers[] = {
    {0, nullptr},  // Cooper's algorithm
    {1, nullptr},  // Shachter's algorithm
};

// Equation solvers: forward sampling, and solving a discretised copy.
const QEL_solverEntry kEquationSolver = nullptr;
const QEL_solverEntry kDiscretizedSolver = nullptr;

// Unrolling of dynamic networks.
const QEL_solverEntry kTemporalEngine = nullptr;

// The join-tree probability of evidence.
const QEL_probEvidenceEntry kProbEvidence = TsClusteringProbE;

template <int N>
QEL_bnEngineEntry FindRow(const EngineRow (&rows)[N], int algorithm) {
    for (const EngineRow& row : rows) {
        if (row.algorithm == algorithm) return row.entry;
    }
    return nullptr;
}

}  // namespace

QEL_bnEngineEntry QEL_findBNEngine(int algorithm) { return FindRow(kEngines, algorithm); }

QEL_solverEntry QEL_findIDEngine(int algorithm) { return FindRow(kSolvers, algorithm); }

QEL_solverEntry QEL_findEquationEngine(bool discretized) {
    return discretized ? kDiscretizedSolver : kEquationSolver;
}

QEL_solverEntry QEL_findTemporalEngine() { return kTemporalEngine; }

QEL_probEvidenceEntry QEL_findProbEvidenceEngine() { return kProbEvidence; }
