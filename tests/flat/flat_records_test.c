/*
 * The descriptive records through the flat interface: the network header,
 * a node's header, screen formatting with its "leave unchanged" entries,
 * rectangles and user properties. Exit status 0 when every check holds.
 */
#include <stdio.h>
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

static int Same(const char* a, const char* b)
{
    return a != NULL && b != NULL && strcmp(a, b) == 0;
}

static void Headers(void* net)
{
    void* header = net_Header(net);
    int a = AddNode(net, 18, "A");
    int b = AddNode(net, 18, "B");
    void* nodeHeader = nodeInfo_Header(node_Info(GetNode(net, b)));

    CHECK(Same(header_GetId(header), "Unnamed"));
    CHECK(Same(header_GetName(header), "Unnamed"));
    header_SetId(header, "Model");
    header_SetComment(header, "a comment");
    CHECK(Same(header_GetId(header), "Model"));
    CHECK(Same(header_GetComment(header), "a comment"));

    header_SetId(nodeHeader, "A");          /* taken by the other node */
    CHECK(Same(header_GetId(nodeHeader), "B"));
    header_SetId(nodeHeader, "not valid");
    CHECK(Same(header_GetId(nodeHeader), "B"));
    header_SetId(nodeHeader, "Renamed");
    CHECK(FindNode(net, "Renamed") == b && FindNode(net, "B") == -2);
    header_SetName(nodeHeader, "Any text, even this");
    CHECK(Same(header_GetName(nodeHeader), "Any text, even this"));
    header_SetName(nodeHeader, NULL);
    CHECK(header_GetName(nodeHeader) == NULL);
    CHECK(a != b);
    CHECK(node_GetSubmodel(GetNode(net, a)) == 0x4000);
}

static void Formatting(void* net)
{
    void* screen = nodeInfo_Screen(node_Info(GetNode(net, AddNode(net, 18, "S"))));
    int keep[6] = {-1, -1, -1, -1, -1, -1};
    int some[6] = {10, -1, 12, -1, 14, 0};
    int* before = screenInfo_formatting(screen);
    int* after;
    int i;

    for (i = 0; i < 6; i++)
        CHECK(before[i] == -2147483647);
    screenInfo_setFormatting(screen, keep);
    after = screenInfo_formatting(screen);
    CHECK(memcmp(before, after, sizeof keep) == 0);
    screenInfo_releaseFormatting(after);

    screenInfo_setFormatting(screen, some);
    after = screenInfo_formatting(screen);
    CHECK(after[0] == 10 && after[2] == 12 && after[4] == 14 && after[5] == 0);
    CHECK(after[1] == -2147483647 && after[3] == -2147483647);
    screenInfo_releaseFormatting(after);
    screenInfo_releaseFormatting(before);
    screenInfo_releaseFormatting(NULL);
}

/* The rectangle is a member, not a copy; each field has its own setter. */
static void Rectangles(void* net)
{
    void* screen = nodeInfo_Screen(node_Info(GetNode(net, AddNode(net, 18, "R"))));
    void* rect = screenInfo_position(screen);

    CHECK(rect == screenInfo_position(screen));
    rectangle_center_X_set(rect, 5);
    rectangle_center_Y_set(rect, -6);
    rectangle_width_set(rect, 70);
    rectangle_height_set(rect, 30);
    CHECK(rectangle_center_X(rect) == 5 && rectangle_center_Y(rect) == -6);
    CHECK(rectangle_width(rect) == 70 && rectangle_height(rect) == 30);
}

static void Properties(void* net)
{
    void* props = nodeInfo_UserProperties(node_Info(GetNode(net, AddNode(net, 18, "P"))));

    CHECK(userProperties_AddProperty(props, "a", "1") == 0);
    CHECK(userProperties_AddProperty(props, "b", "2") == 0);
    CHECK(userProperties_AddProperty(props, "1a", "x") == -2);
    CHECK(userProperties_FindProperty(props, "b") == 1);
    CHECK(Same(userProperties_GetPropertyValue(props, 1), "2"));
    CHECK(userProperties_DeleteProperty(props, 0) == 0);
    CHECK(userProperties_DeleteProperty(props, 1) == -2);
    CHECK(userProperties_FindProperty(props, "b") == 0);
}

int main(void)
{
    void* net = new_network();
    void* copy;

    Headers(net);
    Formatting(net);
    Rectangles(net);
    Properties(net);

    copy = copy_network(net);
    CHECK(FindNode(copy, "Renamed") == FindNode(net, "Renamed"));
    CHECK(Same(header_GetId(net_Header(copy)), "Model"));
    CHECK(GetNode(copy, 0) != GetNode(net, 0));
    delete_network(copy);
    delete_network(net);
    if (failures != 0)
        fprintf(stderr, "%d check(s) failed\n", failures);
    return failures == 0 ? 0 : 1;
}
