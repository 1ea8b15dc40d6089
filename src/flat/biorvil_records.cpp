// Flat functions of the descriptive records: headers, screen records and
// rectangles, user properties, and the node's access to its record and
// submodel. Getters hand out the records' own members and texts.
#include "orvil/biorvil.h"

#include "orvil/header.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodeinfo.h"
#include "orvil/screeninfo.h"
#include "orvil/userproperties.h"

// Entries of the formatting array, in this order.
static const int formattingCount = 6;
// An entry that leaves its field unchanged.
static const int keepField = -1;

static QEL_node* Node(void* node) {
    return static_cast<QEL_node*>(node);
}

static QEL_nodeInfo* Info(void* nodeInfo) {
    return static_cast<QEL_nodeInfo*>(nodeInfo);
}

static QEL_screenInfo* Screen(void* screenInfo) {
    return static_cast<QEL_screenInfo*>(screenInfo);
}

static QEL_rectangle* Rect(void* rectangle) {
    return static_cast<QEL_rectangle*>(rectangle);
}

static QEL_header* Header(void* header) {
    return static_cast<QEL_header*>(header);
}

static QEL_userProperties* Properties(void* userProperties) {
    return static_cast<QEL_userProperties*>(userProperties);
}

void* node_Info(void* node) {
    return Node(node)->Info();
}

int node_GetSubmodel(void* node) {
    return Node(node)->GetSubmodel();
}

int node_SetSubmodel(void* node, char* thisSubmodel) {
    return Node(node)->SetSubmodel(static_cast<const char*>(thisSubmodel));
}

void* net_Header(void* net) {
    return &static_cast<QEL_network*>(net)->GetHeader();
}

void* nodeInfo_Header(void* nodeInfo) {
    return &Info(nodeInfo)->Header();
}

void* nodeInfo_Screen(void* nodeInfo) {
    return &Info(nodeInfo)->Screen();
}

void* nodeInfo_UserProperties(void* nodeInfo) {
    return &Info(nodeInfo)->UserProperties();
}

void* screenInfo_position(void* screenInfo) {
    return &Screen(screenInfo)->position;
}

// The six formatting fields of a screen record, in the flat order.
static int* FormattingField(QEL_screenInfo& screen, int index) {
    int* fields[formattingCount] = {&screen.color,    &screen.selColor,        &screen.font,
                                    &screen.fontColor, &screen.borderThickness, &screen.borderColor};
    return fields[index];
}

int* screenInfo_formatting(void* screenInfo) {
    int* fmts = new int[formattingCount];
    for (int i = 0; i < formattingCount; i++) fmts[i] = *FormattingField(*Screen(screenInfo), i);
    return fmts;
}

void screenInfo_releaseFormatting(int* fmts) {
    delete[] fmts;
}

void screenInfo_setFormatting(void* screenInfo, int* fmts) {
    for (int i = 0; i < formattingCount; i++) {
        if (fmts[i] != keepField) *FormattingField(*Screen(screenInfo), i) = fmts[i];
    }
}

int rectangle_center_X(void* rectangle) {
    return Rect(rectangle)->center_X;
}

int rectangle_center_Y(void* rectangle) {
    return Rect(rectangle)->center_Y;
}

int rectangle_width(void* rectangle) {
    return Rect(rectangle)->width;
}

int rectangle_height(void* rectangle) {
    return Rect(rectangle)->height;
}

void rectangle_center_X_set(void* rectangle, int val) {
    Rect(rectangle)->center_X = val;
}

void rectangle_center_Y_set(void* rectangle, int val) {
    Rect(rectangle)->center_Y = val;
}

void rectangle_width_set(void* rectangle, int val) {
    Rect(rectangle)->width = val;
}

void rectangle_height_set(void* rectangle, int val) {
    Rect(rectangle)->height = val;
}

const char* header_GetId(void* header) {
    return Header(header)->GetId();
}

const char* header_GetName(void* header) {
    return Header(header)->GetName();
}

const char* header_GetComment(void* header) {
    return Header(header)->GetComment();
}

void header_SetId(void* header, const char* id) {
    Header(header)->SetId(id);
}

void header_SetName(void* header, const char* name) {
    Header(header)->SetName(name);
}

void header_SetComment(void* header, const char* comment) {
    Header(header)->SetComment(comment);
}

int userProperties_AddProperty(void* userProperties, const char* propertyName, const char* propertyValue) {
    return Properties(userProperties)->AddProperty(propertyName, propertyValue);
}

int userProperties_FindProperty(void* userProperties, const char* withThisName) {
    return Properties(userProperties)->FindProperty(withThisName);
}

const char* userProperties_GetPropertyValue(void* userProperties, int index) {
    return Properties(userProperties)->GetPropertyValue(index);
}

int userProperties_DeleteProperty(void* userProperties, int thisOne) {
    return Properties(userProperties)->DeleteProperty(thisOne);
}
