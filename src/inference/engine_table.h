// Engine lookup for the update driver.
//
// The driver knows engines only by number and kind: CallBNAlgorithm by the
// algorithm number (0 to 12, the value of defaultBNAlgorithm), CallIDAlgorithm
// by the decision-solver number (0 or 1), CallEqAlgorithm by whether it needs
// the discretising solver, and the temporal engine by itself. Each engine
// contributes one entry function to the tables in engine_table.cpp; an engine
// that is not built into this library has no entry, and the driver reports
// that as a failed update. The probability-of-evidence entry is the join-tree
// shortcut CalcProbEvidence tries before falling back to the chain rule.
#ifndef ORVIL_INFERENCE_ENGINE_TABLE_H
#define ORVIL_INFERENCE_ENGINE_TABLE_H

class QEL_network;

// An engine computes results for the network's values, writes them in place,
// sets their valid bits, and returns 0 or a negative status.
using QEL_bnEngineEntry = int (*)(QEL_network*);
using QEL_solverEntry = int (*)(QEL_network*);

// Returns the probability of the network's real evidence, or -1.0 on failure.
using QEL_probEvidenceEntry = double (*)(QEL_network*);

// Lowest and highest algorithm numbers that defaultBNAlgorithm accepts.
constexpr int QEL_FIRST_BN_ALGORITHM = 0;
constexpr int QEL_LAST_BN_ALGORITHM = 12;
// Decision solvers: 0 Cooper's algorithm, 1 Shachter's.
constexpr int QEL_FIRST_ID_ALGORITHM = 0;
constexpr int QEL_LAST_ID_ALGORITHM = 1;

// The entry function of algorithm number `algorithm`, or null when the number
// is outside 0..12 or its engine is not part of this build.
QEL_bnEngineEntry QEL_findBNEngine(int algorithm);

// The decision solver numbered `algorithm`, or null.
QEL_solverEntry QEL_findIDEngine(int algorithm);

// The equation solver: the discretising one when `discretized`, else the
// forward sampler; null when not built in.
QEL_solverEntry QEL_findEquationEngine(bool discretized);

// The engine that unrolls a dynamic network and updates it; null when not
// built in.
QEL_solverEntry QEL_findTemporalEngine();

// The join-tree probability-of-evidence entry, or null when not built in.
QEL_probEvidenceEntry QEL_findProbEvidenceEngine();

#endif
