/*
 * The flat interface driven end to end, as a binding would drive it: the
 * eight-node chest clinic model ("asia") is built call by call, tables are
 * filled, evidence is entered, beliefs are read and compared with published
 * posteriors; then the network is copied, grouped into submodels, written to
 * a BIF file and read back, and a failed read is found in the error log.
 * Exit status 0 when every check holds.
 */
#include <stdio.h>
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

#define ROOT_SUBMODEL 0x4000
#define NODES 8

enum { ASIA, TUB, SMOKE, LUNG, BRONC, EITHER, XRAY, DYSP };

static const char* ids[NODES] = {"asia", "tub", "smoke", "lung", "bronc", "either", "xray", "dysp"};

/* Tables with the parents' outcomes first and the node's own last; every
 * node has the outcomes yes, no. */
static double asiaTable[] = {0.01, 0.99};
static double tubTable[] = {0.05, 0.95, 0.01, 0.99};
static double smokeTable[] = {0.5, 0.5};
static double lungTable[] = {0.1, 0.9, 0.01, 0.99};
static double broncTable[] = {0.6, 0.4, 0.3, 0.7};
static double eitherTable[] = {1, 0, 1, 0, 1, 0, 0, 1};        /* parents lung, tub */
static double xrayTable[] = {0.98, 0.02, 0.05, 0.95};
static double dyspTable[] = {0.9, 0.1, 0.8, 0.2, 0.7, 0.3, 0.1, 0.9}; /* parents bronc, either */

/* P(yes) of each node without evidence, and given bronc = no, xray = no. */
static const double priorYes[NODES] = {0.01, 0.0104, 0.5, 0.055, 0.45, 0.064828, 0.11029004, 0.4359706};
static const double posteriorYes[NODES] = {0.009608720883, 0.0002308533519, 0.3423632698, 0.0009484359738,
                                           0.0, 0.001169425592, 0.0, 0.1007016554};
/* P(bronc = no, xray = no). */
static const double evidenceProbability = 0.49555269199815577;

static double Distance(double a, double b)
{
    return a > b ? a - b : b - a;
}

static void* Definition(void* net, int h)
{
    return node_Definition(GetNode(net, h));
}

static void* Value(void* net, int h)
{
    return node_Value(GetNode(net, h));
}

static void Build(void* net, int* h)
{
    static const char* outcomes[] = {"yes", "no"};
    static const int arcs[][2] = {{ASIA, TUB},   {SMOKE, LUNG},  {SMOKE, BRONC}, {LUNG, EITHER},
                                  {TUB, EITHER}, {EITHER, XRAY}, {BRONC, DYSP},  {EITHER, DYSP}};
    double* tables[NODES] = {asiaTable, tubTable, smokeTable, lungTable,
                             broncTable, eitherTable, xrayTable, dyspTable};
    int sizes[NODES] = {2, 4, 2, 4, 4, 8, 4, 8};
    int i;

    for (i = 0; i < NODES; i++) {
        h[i] = AddNode(net, CPT_NODE, ids[i]);
        CHECK(h[i] >= 0);
        CHECK(nodeDefinition_SetNumberOfOutcomesStr(Definition(net, h[i]), 2, outcomes) == 0);
    }
    for (i = 0; i < 8; i++)
        CHECK(AddArc(net, h[arcs[i][0]], h[arcs[i][1]]) == 0);
    for (i = 0; i < NODES; i++) {
        CHECK(dMatrix_GetSize(nodeDefinition_GetMatrix(Definition(net, h[i]))) == sizes[i]);
        nodeDefinition_SetDoubleDefinition(Definition(net, h[i]), sizes[i], tables[i]);
    }
}

/* Updates and compares P(yes) of every node with `expected`. */
static void ExpectBeliefs(void* net, const int* h, const double* expected, const char* where)
{
    int i;
    UpdateBeliefs(net);
    for (i = 0; i < NODES; i++) {
        void* value = Value(net, h[i]);
        void* matrix = nodeValue_GetMatrix(value);
        double* p = dMatrix_GetItemsDouble(matrix);
        CHECK(nodeValue_IsValueValid(value) == 2);
        CHECK(dMatrix_GetSize(matrix) == 2);
        if (Distance(p[0], expected[i]) > 1e-8 || Distance(p[0] + p[1], 1.0) > 1e-12) {
            fprintf(stderr, "%s: P(%s = yes) is %.10f, not %.10f\n", where, ids[i], p[0], expected[i]);
            failures++;
        }
    }
}

static void Observe(void* net, const int* h)
{
    CHECK(nodeValue_SetEvidence(Value(net, h[BRONC]), 1) == 0);
    CHECK(nodeValue_SetEvidence(Value(net, h[XRAY]), 1) == 0);
}

/* A copy answers as the original, and neither sees the other's edits. */
static void CopyIsIndependent(void* net, const int* h)
{
    void* copy = copy_network(net);
    double uniform[] = {0.5, 0.5};

    ExpectBeliefs(copy, h, posteriorYes, "copy");
    CHECK(ClearAllEvidence(copy) == 0);
    nodeDefinition_SetDoubleDefinition(Definition(copy, h[ASIA]), 2, uniform);
    CHECK(DeleteNode(copy, h[DYSP]) == 0);
    UpdateBeliefs(copy);
    CHECK(nodeValue_IsRealEvidence(Value(net, h[XRAY])) == 1);
    CHECK(nodeValue_IsValueValid(Value(net, h[ASIA])) == 2);
    CHECK(dMatrix_GetItemsDouble(nodeDefinition_GetMatrix(Definition(net, h[ASIA])))[0] == 0.01);
    delete_network(copy);
    ExpectBeliefs(net, h, posteriorYes, "original after the copy's edits");
}

/* Nested groups; a node moved into the inner one, by its id. */
static void Submodels(void* net, const int* h)
{
    void* lung = GetNode(net, h[LUNG]);
    int group = submodel_CreateSubmodel(net, ROOT_SUBMODEL, "Lungs");
    int inner = submodel_CreateSubmodel(net, group, "Tumours");
    void* list;

    CHECK(group > ROOT_SUBMODEL && inner > ROOT_SUBMODEL && inner != group);
    CHECK(submodel_CreateSubmodel(net, ROOT_SUBMODEL, "lung") == -32);
    CHECK(submodel_FindSubmodel(net, "Tumours") == inner);
    CHECK(submodel_GetParent(net, inner) == group);
    CHECK(node_SetSubmodel(lung, "Tumours") == 0);
    CHECK(node_GetSubmodel(lung) == inner);
    header_SetName(submodel_Header(submodel_GetSubmodel(net, group)), "Lung diseases");
    CHECK(strcmp(header_GetName(submodel_Header(submodel_GetSubmodel(net, group))), "Lung diseases") == 0);

    list = submodel_GetDeepIncludedNodes(net, group);
    CHECK(intArray_NumItems(list) == 1 && intArray_Items(list)[0] == h[LUNG]);
    delete_intArray(list);
    list = submodel_GetIncludedNodes(net, ROOT_SUBMODEL);
    CHECK(intArray_NumItems(list) == NODES - 1);
    delete_intArray(list);
    list = submodel_GetDeepIncludedSubmodels(net, ROOT_SUBMODEL);
    CHECK(intArray_NumItems(list) == 2);
    delete_intArray(list);

    CHECK(submodel_MoveSubmodel(net, group, inner) == -2);
    CHECK(submodel_DeleteSubmodel(net, group) == 0);
    CHECK(submodel_GetParent(net, inner) == ROOT_SUBMODEL);
    CHECK(submodel_DeleteSubmodel(net, inner) == 0);
    CHECK(node_GetSubmodel(lung) == ROOT_SUBMODEL);
}

/* Written to BIF and read into a new network: the same answers. */
static void FileRoundTrip(void* net)
{
    const char* path = "flat_end_to_end_asia.bif";
    void* read = new_network();
    void* handles = new_intArray();
    int h[NODES];
    int i;

    errorH_Flush();
    WriteFile(net, path);
    ReadFile(read, path);
    CHECK(errorH_GetNumberOfErrors() == 0);
    GetAllNodes(read, handles);
    CHECK(intArray_NumItems(handles) == NODES);
    delete_intArray(handles);
    for (i = 0; i < NODES; i++)
        h[i] = FindNode(read, ids[i]);
    ExpectBeliefs(read, h, priorYes, "read back");
    Observe(read, h);
    ExpectBeliefs(read, h, posteriorYes, "read back, with evidence");
    remove(path);

    ReadFile(read, "flat_end_to_end_no_such_file.bif");
    CHECK(errorH_GetNumberOfErrors() > 0);
    CHECK(errorH_GetLastError() < 0);
    CHECK(HasNode(read, "asia") == 0);
    ReadFile(read, "flat_end_to_end.model");
    CHECK(errorH_GetLastError() == -2);
    CHECK(strcmp(errorH_GetLastErrorMessage(), "Unknown File Format") == 0);
    delete_network(read);
}

int main(void)
{
    void* net = new_network();
    int h[NODES];

    Build(net, h);
    ExpectBeliefs(net, h, priorYes, "no evidence");
    Observe(net, h);
    ExpectBeliefs(net, h, posteriorYes, "bronc = no, xray = no");
    CHECK(Distance(CalcProbEvidence(net), evidenceProbability) < 1e-9);
    ExpectBeliefs(net, h, posteriorYes, "after the probability of evidence");

    CopyIsIndependent(net, h);
    Submodels(net, h);
    FileRoundTrip(net);
    delete_network(net);
    delete_network(NULL);

    if (failures != 0)
        fprintf(stderr, "%d checks failed\n", failures);
    return failures == 0 ? 0 : 1;
}
