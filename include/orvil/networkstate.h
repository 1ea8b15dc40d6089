// QEL_networkState: a scoped snapshot of a network's evidence and targets.
//
// Algorithms that enter evidence or choose targets of their own (the
// probability of evidence by the chain rule, learning, value of
// information) take a snapshot first and let its destructor put the
// caller's evidence and targets back, on every way out. The snapshot holds
// one observed outcome per handle (-1 for none) up to the last live node,
// and the list of targets.
//
// The snapshot does not switch the relevance hooks off itself: its user
// clears bit 1 of the network flags after making it, and the destructor
// sets the bit again if it was set when the snapshot was made. Nodes added
// after the snapshot must not reach beyond its last handle; their evidence
// is not restored.
#ifndef ORVIL_NETWORKSTATE_H
#define ORVIL_NETWORKSTATE_H

#include <vector>

class QEL_network;

class QEL_networkState {
public:
    // Remembers the targets and, unless `targetsOnly`, the outcome of each
    // node with evidence (set by the user or deduced), as GetEvidence()
    // gives it (-51 for a value without discrete evidence).
    explicit QEL_networkState(QEL_network& network, bool targetsOnly = false);
    QEL_networkState(const QEL_networkState&) = delete;
    QEL_networkState& operator=(const QEL_networkState&) = delete;
    // Clears all targets and, unless `targetsOnly`, all evidence; then sets
    // each remembered outcome again as evidence (deduced outcomes come back
    // as observed ones) and each remembered target, and sets the relevance
    // bit again if it was set.
    ~QEL_networkState();

    // The remembered outcome of each handle (-1: none); empty with
    // `targetsOnly`.
    const std::vector<int>& Evidence() const { return evidence; }
    // The remembered targets, ascending.
    const std::vector<int>& Targets() const { return targets; }

private:
    QEL_network& network;
    std::vector<int> evidence;
    std::vector<int> targets;
    bool relevanceWasOn;
    bool targetsOnly;
};

#endif
