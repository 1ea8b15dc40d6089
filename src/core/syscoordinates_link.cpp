// The QEL_sysCoordinates constructors and links that take a definition or a
// value: the walk is over the matrix the object hands out through its
// virtual getter. An object without a matrix leaves the walk as it was.
#include "orvil/syscoordinates.h"

#include "orvil/errors.h"
#include "orvil/nodedefinition.h"
#include "orvil/nodevalue.h"

QEL_sysCoordinates::QEL_sysCoordinates(QEL_nodeDefinition& definition) : QEL_sysCoordinates() {
    LinkTo(definition);
}

QEL_sysCoordinates::QEL_sysCoordinates(QEL_nodeValue& value) : QEL_sysCoordinates() { LinkTo(value); }

int QEL_sysCoordinates::LinkTo(QEL_nodeDefinition& definition) {
    QEL_Dmatrix* matrix = nullptr;
    int rc = definition.GetDefinition(&matrix);
    if (rc != 0) return rc;
    if (matrix == nullptr) return QEL_OUT_OF_RANGE;
    return LinkTo(*matrix);
}

int QEL_sysCoordinates::LinkTo(QEL_nodeValue& value) {
    QEL_Dmatrix* matrix = nullptr;
    int rc = value.GetValue(&matrix);
    if (rc != 0) return rc;
    if (matrix == nullptr) return QEL_OUT_OF_RANGE;
    return LinkTo(*matrix);
}
