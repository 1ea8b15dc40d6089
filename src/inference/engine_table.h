// Engine lookup for the update driver.
//
// CallBNAlgorithm knows engines only by their algorithm number (0 to 12, the
// value of defaultBNAlgorithm). Each engine contributes one entry function to
// the table in engine_table.cpp; a number whose engine is not built into this
// library has no entry, and the driver reports that as a failed update. The
// probability-of-evidence entry is the join-tree shortcut CalcProbEvidence
// tries before falling back to the chain rule.
#ifndef ORVIL_INFERENCE_ENGINE_TABLE_H
#define ORVIL_INFERENCE_ENGINE_TABLE_H

class QEL_network;

// An engine computes beliefs for the network's values, writes them in place,
// sets their valid bits, and returns 0 or a negative status.
using QEL_bnEngineEntry = int (*)(QEL_network*);

// Returns the probability of the network's real evidence, or -1.0 on failure.
using QEL_probEvidenceEntry = double (*)(QEL_network*);

// Lowest and highest algorithm numbers that defaultBNAlgorithm accepts.
constexpr int QEL_FIRST_BN_ALGORITHM = 0;
constexpr int QEL_LAST_BN_ALGORITHM = 12;

// The entry function of algorithm number `algorithm`, or null when the number
// is outside 0..12 or its engine is not part of this build.
QEL_bnEngineEntry QEL_findBNEngine(int algorithm);

// The join-tree probability-of-evidence entry, or null when not built in.
QEL_probEvidenceEntry QEL_findProbEvidenceEngine();

#endif
