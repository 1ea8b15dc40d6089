/*
 * The descriptive records through the flat interface: headers, screen
 * formatting with its "leave unchanged" entries, rectangles, user
 * properties and nested submodels, and a copy that takes them along.
 * Exit status 0 when every check holds.
 */
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

#define ROOT_SUBMODEL 0x4000
#define UNSET -2147483647

static int Same(const char* a, const char* b)
{
    return a != NULL && b != NULL && strcmp(a, b) == 0;
}

static void* Info(void* net, const char* id)
{
    return node_Info(GetNode(net, AddNode(net, CPT_NODE, id)));
}

/* A node's id changes only to a free, valid one; its name to anything. */
static void Headers(void* net)
{
    void* header = net_Header(net);
    void* nodeHeader = nodeInfo_Header(Info(net, "B"));

    CHECK(Same(header_GetId(header), "Unnamed") && Same(header_GetName(header), "Unnamed"));
    header_SetId(header, "Model");
    header_SetComment(header, "a comment");
    CHECK(Same(header_GetId(header), "Model") && Same(header_GetComment(header), "a comment"));
    AddNode(net, CPT_NODE, "A");
    header_SetId(nodeHeader, "A");
    header_SetId(nodeHeader, "not valid");
    CHECK(Same(header_GetId(nodeHeader), "B"));
    header_SetId(nodeHeader, "Renamed");
    CHECK(FindNode(net, "Renamed") == 0 && FindNode(net, "B") == -2);
    header_SetName(nodeHeader, "Any text, even this");
    CHECK(Same(header_GetName(nodeHeader), "Any text, even this"));
    header_SetName(nodeHeader, NULL);
    CHECK(header_GetName(nodeHeader) == NULL);
}

/* Formatting entries of -1 leave their fields alone; the rectangle is the
 * record's own member, one field per setter. */
static void Screen(void* net)
{
    void* screen = nodeInfo_Screen(Info(net, "S"));
    void* rect = screenInfo_position(screen);
    int some[6] = {10, -1, 12, -1, 14, 0};
    int* after;

    screenInfo_setFormatting(screen, some);
    after = screenInfo_formatting(screen);
    CHECK(after[0] == 10 && after[1] == UNSET && after[2] == 12);
    CHECK(after[3] == UNSET && after[4] == 14 && after[5] == 0);
    screenInfo_releaseFormatting(after);

    rectangle_center_X_set(rect, 5);
    rectangle_center_Y_set(rect, -6);
    rectangle_width_set(rect, 70);
    rectangle_height_set(rect, 30);
    rect = screenInfo_position(screen);
    CHECK(rectangle_center_X(rect) == 5 && rectangle_center_Y(rect) == -6);
    CHECK(rectangle_width(rect) == 70 && rectangle_height(rect) == 30);
}

static void Properties(void* net)
{
    void* props = nodeInfo_UserProperties(Info(net, "P"));

    CHECK(userProperties_AddProperty(props, "a", "1") == 0 && userProperties_AddProperty(props, "b", "2") == 0);
    CHECK(userProperties_AddProperty(props, "1a", "x") == -2);    /* no identifier */
    CHECK(userProperties_FindProperty(props, "b") == 1 && Same(userProperties_GetPropertyValue(props, 1), "2"));
    CHECK(userProperties_DeleteProperty(props, 0) == 0 && userProperties_DeleteProperty(props, 1) == -2);
    CHECK(userProperties_FindProperty(props, "b") == 0);
}

/* Nested groups; a node moved into the inner one, by its id. */
static void Submodels(void* net)
{
    void* lung = GetNode(net, AddNode(net, CPT_NODE, "lung"));
    int group = submodel_CreateSubmodel(net, ROOT_SUBMODEL, "Lungs");
    int inner = submodel_CreateSubmodel(net, group, "Tumours");
    void* list;

    CHECK(group > ROOT_SUBMODEL && inner > group);
    CHECK(submodel_CreateSubmodel(net, ROOT_SUBMODEL, "lung") == -32);
    CHECK(submodel_FindSubmodel(net, "Tumours") == inner && submodel_GetParent(net, inner) == group);
    CHECK(node_SetSubmodel(lung, "Tumours") == 0 && node_GetSubmodel(lung) == inner);
    header_SetName(submodel_Header(submodel_GetSubmodel(net, group)), "Lung diseases");
    CHECK(Same(header_GetName(submodel_Header(submodel_GetSubmodel(net, group))), "Lung diseases"));
    list = submodel_GetDeepIncludedNodes(net, group);
    CHECK(intArray_NumItems(list) == 1 && intArray_Items(list)[0] == FindNode(net, "lung"));
    delete_intArray(list);
    list = submodel_GetIncludedNodes(net, ROOT_SUBMODEL);
    CHECK(intArray_NumItems(list) == 4);    /* B, A, S and P */
    delete_intArray(list);
    list = submodel_GetDeepIncludedSubmodels(net, ROOT_SUBMODEL);
    CHECK(intArray_NumItems(list) == 2);
    delete_intArray(list);
    CHECK(submodel_MoveSubmodel(net, group, inner) == -2);
    CHECK(submodel_DeleteSubmodel(net, group) == 0 && submodel_GetParent(net, inner) == ROOT_SUBMODEL);
    CHECK(submodel_DeleteSubmodel(net, inner) == 0 && node_GetSubmodel(lung) == ROOT_SUBMODEL);
}

int main(void)
{
    void* net = new_network();

    Headers(net);
    Screen(net);
    Properties(net);
    Submodels(net);
    void* copy = copy_network(net);
    CHECK(FindNode(copy, "Renamed") == 0 && Same(header_GetId(net_Header(copy)), "Model"));
    CHECK(GetNode(copy, 0) != GetNode(net, 0));
    delete_network(copy);
    delete_network(net);
    return failures == 0 ? 0 : 1;
}
