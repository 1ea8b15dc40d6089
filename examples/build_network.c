/*
 * Builds a small network through the flat interface, the way a program in
 * any language would: adds four nodes with conditional tables, joins them
 * by arcs, shows that an arc closing a cycle is refused, and prints each
 * node with its parents.
 */
#include <stdio.h>

#include "orvil/biorvil.h"

/* Node type 18: a chance node with a conditional probability table. */
#define CPT_NODE 18

static const char* NodeId(void* net, int handle)
{
    return header_GetId(nodeInfo_Header(node_Info(GetNode(net, handle))));
}

static void PrintNode(void* net, int handle)
{
    void* parents = GetParents(net, handle);
    int count = intArray_NumItems(parents);
    const int* items = intArray_Items(parents);
    int i;

    printf("  %-3d %-10s parents:", handle, NodeId(net, handle));
    if (count == 0)
        printf(" (none)");
    for (i = 0; i < count; i++)
        printf(" %s", NodeId(net, items[i]));
    printf("\n");
}

static void Connect(void* net, int parent, int child)
{
    int status = AddArc(net, parent, child);

    if (status == 0)
        printf("  %s -> %s\n", NodeId(net, parent), NodeId(net, child));
    else if (status == -11)
        printf("  %s -> %s refused (status %d): it would close a cycle\n",
               NodeId(net, parent), NodeId(net, child), status);
    else
        printf("  %s -> %s refused (status %d)\n", NodeId(net, parent), NodeId(net, child), status);
}

int main(void)
{
    static const char* names[] = {"Cloudy", "Sprinkler", "Rain", "WetGrass"};
    enum { count = sizeof names / sizeof names[0] };
    int handle[count];
    void* net = new_network();
    void* all = new_intArray();
    int i;

    printf("Adding nodes:\n");
    for (i = 0; i < count; i++) {
        handle[i] = AddNode(net, CPT_NODE, names[i]);
        printf("  %-10s handle %d\n", names[i], handle[i]);
    }

    printf("\nAdding arcs:\n");
    Connect(net, handle[0], handle[1]);
    Connect(net, handle[0], handle[2]);
    Connect(net, handle[1], handle[3]);
    Connect(net, handle[2], handle[3]);
    Connect(net, handle[3], handle[0]);

    GetAllNodes(net, all);
    printf("\nThe network has %d nodes:\n", intArray_NumItems(all));
    for (i = 0; i < intArray_NumItems(all); i++)
        PrintNode(net, intArray_Items(all)[i]);

    delete_intArray(all);
    delete_network(net);
    return 0;
}
