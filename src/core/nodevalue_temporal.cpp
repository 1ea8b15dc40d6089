// Evidence per time slice, for nodes in the plate of a dynamic network.
//
// A thin dispatch: slice 0 is the value's own evidence and goes through the
// ordinary virtual operations; later slices belong to the network's temporal
// store. The store keeps no slice evidence in this build, so later slices
// hold none and cannot be given any.
#include "orvil/dbn.h"
#include "orvil/errors.h"
#include "orvil/network.h"
#include "orvil/nodevalue.h"

namespace {

bool InPlate(const QEL_network* net, int handle) {
    return net != nullptr && net->IsPlateNode(handle);
}

bool HasTemporalStore(const QEL_network* net) {
    return net != nullptr && net->GetDbn() != nullptr;
}

}  // namespace

bool QEL_nodeValue::HasTemporalEvidence() const {
    if (!HasTemporalStore(network)) return false;
    return (flags & QEL_VALUE_TEMPORAL_EVIDENCE) != 0;
}

bool QEL_nodeValue::IsTemporalEvidence(int slice) const { return GetTemporalEvidence(slice) >= 0; }

bool QEL_nodeValue::IsTemporalVirtualEvidence(int slice) const {
    return slice == 0 && IsVirtualEvidence();
}

int QEL_nodeValue::GetTemporalEvidence(int slice) const {
    if (slice == 0) return GetEvidence();
    return QEL_OUT_OF_RANGE;
}

int QEL_nodeValue::GetTemporalEvidence(int slice, std::vector<double>& likelihood) const {
    if (slice == 0) return GetVirtualEvidence(likelihood);
    return QEL_OUT_OF_RANGE;
}

int QEL_nodeValue::SetTemporalEvidence(int slice, int outcome) {
    if (!InPlate(network, handle)) return QEL_WRONG_NODE_TYPE;
    if (slice != 0) return QEL_OUT_OF_RANGE;
    const int rc = SetEvidence(outcome);
    // The value of a plate node holds one row per slice, which the point
    // mass of slice 0 does not describe.
    SetValueInvalid();
    return rc;
}

int QEL_nodeValue::SetTemporalEvidence(int slice, const std::vector<double>& likelihood) {
    if (!InPlate(network, handle)) return QEL_WRONG_NODE_TYPE;
    if (slice != 0) return QEL_OUT_OF_RANGE;
    const int rc = SetVirtualEvidence(likelihood);
    SetValueInvalid();
    return rc;
}

int QEL_nodeValue::ClearTemporalEvidence(int slice) {
    if (!InPlate(network, handle)) return QEL_WRONG_NODE_TYPE;
    if (slice == 0) return ClearEvidence();
    if (!HasTemporalStore(network)) return QEL_OUT_OF_RANGE;
    // The store holds nothing for later slices.
    return QEL_NOT_APPLICABLE;
}
