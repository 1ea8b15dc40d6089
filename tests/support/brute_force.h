// Reference inference by enumeration of the joint distribution.
//
// The oracle every exact engine is checked against. It multiplies the tables
// of all variables for every joint configuration that agrees with the hard
// evidence, weighting by likelihood vectors where virtual evidence is given,
// and sums. That is exponential in the number of variables and meant for
// models of up to about 16 binary or ternary variables; a model with more
// configurations than kMaxConfigurations is refused rather than ground through.
//
// A likelihood vector v on X acts as a hidden child that is observed, with
// P(child observed | X = i) = v[i]; that is what the update driver's
// temporary nodes compute, so posteriors compare one to one.
#ifndef ORVIL_TEST_BRUTE_FORCE_H
#define ORVIL_TEST_BRUTE_FORCE_H

#include <vector>

class QEL_network;

namespace orvil_test {

struct BruteVariable {
    int handle = -1;                  // network handle, or -1 when built by hand
    int states = 2;                   // outcome count, at least 1
    std::vector<int> parents;         // indices into BruteModel::vars, table order
    std::vector<double> table;        // parents' outcomes first, own outcome last and fastest
    int evidence = -1;                // observed outcome, or -1
    std::vector<double> likelihood;   // virtual evidence, empty when there is none
};

struct BruteModel {
    std::vector<BruteVariable> vars;
    // Index of the variable standing for network handle `handle`, or -1.
    int IndexOfHandle(int handle) const;
};

struct BruteResult {
    bool ok = false;              // false: the model is too large or malformed
    // Sum over configurations agreeing with the hard evidence of the product
    // of all tables and likelihood entries: P(e, virtual evidence).
    double probEvidence = 0.0;
    // The same sum with the hard evidence ignored: P(virtual evidence). Its
    // ratio to probEvidence is P(e | virtual evidence).
    double probVirtual = 0.0;
    // Posterior of each variable given all evidence, in model order; every
    // vector is empty when probEvidence is 0 (the evidence is impossible).
    std::vector<std::vector<double>> posteriors;
};

constexpr double kMaxConfigurations = 16.0 * 1024.0 * 1024.0;

// Enumerates the joint of `model`.
BruteResult BruteForce(const BruteModel& model);

// Reads a network of discrete chance nodes (conditional tables and truth
// tables) into a model: tables, real and propagated evidence as hard evidence,
// and stored likelihood vectors. Nodes of any other kind make the model empty.
BruteModel BruteModelFromNetwork(QEL_network& net);

// BruteForce(BruteModelFromNetwork(net)); posteriors indexed by handle, with
// empty vectors for empty slots.
struct BruteNetworkResult {
    bool ok = false;
    double probEvidence = 0.0;
    double probVirtual = 0.0;
    std::vector<std::vector<double>> byHandle;
};
BruteNetworkResult BruteForceNetwork(QEL_network& net);

}  // namespace orvil_test

#endif
