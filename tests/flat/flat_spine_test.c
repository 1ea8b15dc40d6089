/*
 * The network calls of the flat interface, driven from C: arcs and their
 * refusals, lookups, listing, deletion and the quirks of AddNode. The graph
 * rules are checked in the core tests; here each call is shown to reach
 * them. Exit status 0 when every check holds.
 */
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

int main(void)
{
    void* net = new_network();
    void* all = new_intArray();
    int a = AddNode(net, CPT_NODE, "A");
    int b = AddNode(net, CPT_NODE, "B");
    int c = AddNode(net, CPT_NODE, "C");
    void* parents;

    CHECK(a == 0 && b == 1 && c == 2);
    CHECK(AddArc(net, a, b) == 0 && AddArc(net, b, c) == 0);
    CHECK(AddArc(net, c, a) == -11);    /* closes a -> b -> c -> a */
    CHECK(AddArc(net, b, a) == -2);     /* the reverse of an existing arc */
    CHECK(AddArc(net, a, 99) == -2);
    CHECK(AddArc(net, a, c) == 0);
    parents = GetParents(net, c);
    CHECK(intArray_NumItems(parents) == 2 && intArray_Items(parents)[0] == b && intArray_Items(parents)[1] == a);
    CHECK(RemoveArc(net, a, c) == 0 && RemoveArc(net, a, c) == -2);

    CHECK(FindNode(net, "C") == c && FindNode(net, "Z") == -2);
    CHECK(HasNode(net, "A") == 1 && HasNode(net, "Z") == 0);
    CHECK(GetNode(net, 7) == NULL && GetNode(net, -1) == NULL);
    CHECK(strcmp(header_GetId(nodeInfo_Header(node_Info(GetNode(net, b)))), "B") == 0);
    /* GetAllNodes appends: every handle twice. */
    CHECK(GetAllNodes(net, all) == 0 && GetAllNodes(net, all) == 0);
    CHECK(intArray_NumItems(all) == 6 && intArray_Items(all)[2] == c && intArray_Items(all)[3] == a);

    /* An id in use gives its handle and adds nothing, whatever the type; an
     * unknown type is refused; an id that is no identifier is reported as no
     * node, yet added as "Node<n>" named by the text. */
    CHECK(AddNode(net, CPT_NODE, "A") == a && AddNode(net, 9, "A") == a);
    CHECK(AddNode(net, 9, "Fresh") == -2);
    CHECK(AddNode(net, CPT_NODE, "1abc") == -2);
    CHECK(FindNode(net, "Node3") == 3);
    CHECK(strcmp(header_GetName(nodeInfo_Header(node_Info(GetNode(net, 3)))), "1abc") == 0);

    /* Deleting b takes its arcs with it. */
    CHECK(AddArc(net, a, c) == 0);
    CHECK(DeleteNode(net, b) == 0 && DeleteNode(net, b) == -2 && GetNode(net, b) == NULL);
    CHECK(intArray_NumItems(GetParents(net, c)) == 1 && intArray_Items(GetParents(net, c))[0] == a);
    delete_intArray(all);
    all = new_intArray();
    GetAllNodes(net, all);
    CHECK(intArray_NumItems(all) == 3);
    delete_intArray(all);
    delete_network(net);
    delete_network(NULL);
    return failures == 0 ? 0 : 1;
}
