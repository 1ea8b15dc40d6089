// The temporal data as it stands: no temporal arcs, definitions or slice
// evidence are stored yet, so the network's notifications leave nothing to
// bring in step.
#include "orvil/dbn.h"

QEL_dbnImpl::QEL_dbnImpl(const QEL_network& net) : network(&net) {}

QEL_dbnImpl::QEL_dbnImpl(const QEL_network& net, const QEL_dbnImpl& /*other*/) : network(&net) {}

int QEL_dbnImpl::OnAddStaticArc(int /*parent*/, int /*child*/) {
    return 0;
}

int QEL_dbnImpl::OnDeleteStaticArc(int /*parent*/, int /*child*/) {
    return 0;
}

int QEL_dbnImpl::OnNodeDeleted(int /*handle*/) {
    return 0;
}

int QEL_dbnImpl::OnChangeType(int /*handle*/, int /*oldType*/) {
    return 0;
}

int QEL_dbnImpl::OnInsertOutcome(int /*handle*/, int /*position*/) {
    return 0;
}

int QEL_dbnImpl::OnDeleteOutcome(int /*handle*/, int /*position*/) {
    return 0;
}
