// QEL_nodeInfo: everything descriptive that a node owns, grouped so that a
// working copy of a node can leave it out entirely: the header (id, name,
// comment), the screen record, the user properties and the documents.
#ifndef ORVIL_NODEINFO_H
#define ORVIL_NODEINFO_H

#include "orvil/documentation.h"
#include "orvil/header.h"
#include "orvil/object.h"
#include "orvil/screeninfo.h"
#include "orvil/userproperties.h"

class QEL_nodeInfo : public QEL_object {
public:
    // Empty records; ready.
    QEL_nodeInfo();
    // Copies the four records. The header copy belongs to no node; the new
    // owner associates it.
    QEL_nodeInfo(const QEL_nodeInfo& other);
    // Assigns the four records, the header through its id rule. Returns 0,
    // or -567 when `other` is not ready.
    int operator=(const QEL_nodeInfo& other);

    QEL_header& Header() { return header; }
    QEL_screenInfo& Screen() { return screen; }
    QEL_userProperties& UserProperties() { return userProperties; }
    QEL_documentation& Documentation() { return documentation; }
    const QEL_header& Header() const { return header; }
    const QEL_screenInfo& Screen() const { return screen; }
    const QEL_userProperties& UserProperties() const { return userProperties; }
    const QEL_documentation& Documentation() const { return documentation; }

    // With `deep`, checks the four records first. Ready when all four are.
    // Returns 0, or -567.
    int CheckReadiness(int deep = 0) override;
    // With `deep`, checks the four records first. Consistent when all four
    // are. Returns 0, or -568.
    int CheckConsistency(int deep = 0) override;

private:
    QEL_header header;
    QEL_screenInfo screen;
    QEL_userProperties userProperties;
    QEL_documentation documentation;
};

#endif
