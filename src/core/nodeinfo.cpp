// QEL_nodeInfo: the four descriptive records of a node, copied and checked
// as one.
#include "orvil/nodeinfo.h"

#include "orvil/errors.h"

QEL_nodeInfo::QEL_nodeInfo() {
    SetObjectReady();
}

QEL_nodeInfo::QEL_nodeInfo(const QEL_nodeInfo& other)
    : QEL_object(), header(other.header), screen(other.screen),
      userProperties(other.userProperties), documentation(other.documentation) {
    SetObjectReady();
}

int QEL_nodeInfo::operator=(const QEL_nodeInfo& other) {
    if (!other.IsReady()) return QEL_OBJECT_NOT_READY;
    if (&other == this) return 0;
    header = other.header;
    screen = other.screen;
    userProperties = other.userProperties;
    documentation = other.documentation;
    return 0;
}

int QEL_nodeInfo::CheckReadiness(int deep) {
    return CheckPartsReadiness({&header, &screen, &userProperties, &documentation}, deep);
}

int QEL_nodeInfo::CheckConsistency(int deep) {
    return CheckPartsConsistency({&header, &screen, &userProperties, &documentation}, deep);
}
