/*
 * The network family of the flat interface, driven from C as a binding
 * would drive it: building a network, arcs and their refusals, lookups,
 * deletion, and the quirks of AddNode. The graph rules themselves are
 * checked against a model in the core tests; here each call is shown to
 * reach them from C.
 * Exit status 0 when every check holds.
 */
#include <stdio.h>
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

static int Contains(void* array, int value)
{
    int i;
    for (i = 0; i < intArray_NumItems(array); i++)
        if (intArray_Items(array)[i] == value)
            return 1;
    return 0;
}

static void ArcsDeletionAndRefusals(void)
{
    void* net = new_network();
    void* all = new_intArray();
    int a = AddNode(net, CPT_NODE, "A");
    int b = AddNode(net, CPT_NODE, "B");
    int c = AddNode(net, CPT_NODE, "C");
    void* parents;

    CHECK(a == 0 && b == 1 && c == 2);
    CHECK(AddArc(net, a, b) == 0);
    CHECK(AddArc(net, b, c) == 0);
    CHECK(AddArc(net, c, a) == -11);    /* closes a -> b -> c -> a */
    CHECK(AddArc(net, b, a) == -2);     /* the reverse of an existing arc */
    CHECK(AddArc(net, a, 99) == -2);
    CHECK(AddArc(net, a, c) == 0);
    parents = GetParents(net, c);
    CHECK(intArray_NumItems(parents) == 2);
    CHECK(intArray_Items(parents)[0] == b && intArray_Items(parents)[1] == a);
    CHECK(RemoveArc(net, a, c) == 0);
    CHECK(RemoveArc(net, a, c) == -2);

    /* Deleting b takes its arcs with it. */
    CHECK(AddArc(net, a, c) == 0);
    CHECK(DeleteNode(net, b) == 0);
    CHECK(DeleteNode(net, b) == -2);
    CHECK(GetNode(net, b) == NULL);
    CHECK(intArray_NumItems(GetParents(net, c)) == 1);
    CHECK(intArray_Items(GetParents(net, c))[0] == a);
    GetAllNodes(net, all);
    CHECK(intArray_NumItems(all) == 2 && !Contains(all, b));
    delete_intArray(all);
    delete_network(net);
}

static void LookupAndListing(void)
{
    void* net = new_network();
    void* all = new_intArray();
    int x = AddNode(net, CPT_NODE, "X");
    int y = AddNode(net, CPT_NODE, "Y");
    const char* id;

    CHECK(FindNode(net, "Y") == y);
    CHECK(FindNode(net, "Z") == -2);
    CHECK(HasNode(net, "X") == 1 && HasNode(net, "Z") == 0);
    CHECK(GetNode(net, x) != NULL);
    CHECK(GetNode(net, 7) == NULL && GetNode(net, -1) == NULL && GetNode(net, 50) == NULL);
    id = header_GetId(nodeInfo_Header(node_Info(GetNode(net, y))));
    CHECK(id != NULL && strcmp(id, "Y") == 0);

    CHECK(GetAllNodes(net, all) == 0);
    CHECK(GetAllNodes(net, all) == 0);    /* appends: every handle twice */
    CHECK(intArray_NumItems(all) == 4);
    CHECK(intArray_Items(all)[0] == x && intArray_Items(all)[1] == y);
    CHECK(intArray_Items(all)[2] == x && intArray_Items(all)[3] == y);
    delete_intArray(all);
    delete_network(net);
}

static void AddNodeQuirks(void)
{
    void* net = new_network();
    void* all = new_intArray();
    int first = AddNode(net, CPT_NODE, "Same");

    CHECK(AddNode(net, CPT_NODE, "Same") == first);    /* existing handle, nothing added */
    CHECK(AddNode(net, 9, "Fresh") == -2);              /* 9 is no node type */
    CHECK(AddNode(net, 9, "Same") == first);
    GetAllNodes(net, all);
    CHECK(intArray_NumItems(all) == 1);
    /* Not an identifier: reported as no node, yet added as "Node1". */
    CHECK(AddNode(net, CPT_NODE, "1abc") == -2);
    CHECK(FindNode(net, "Node1") == 1);
    CHECK(strcmp(header_GetName(nodeInfo_Header(node_Info(GetNode(net, 1)))), "1abc") == 0);
    delete_intArray(all);
    delete_network(net);
    delete_network(NULL);
}

int main(void)
{
    ArcsDeletionAndRefusals();
    LookupAndListing();
    AddNodeQuirks();
    if (failures != 0)
        fprintf(stderr, "%d check(s) failed\n", failures);
    return failures == 0 ? 0 : 1;
}
