// Settings a network starts with and goes back to when it is flushed, kept
// in one place so that a new network and an emptied one cannot drift apart.
#ifndef ORVIL_CORE_NETWORK_DEFAULTS_H
#define ORVIL_CORE_NETWORK_DEFAULTS_H

// Samples per stochastic update, and per discretization of a continuous node.
constexpr int kNetworkDefaultSamples = 10000;

#endif
