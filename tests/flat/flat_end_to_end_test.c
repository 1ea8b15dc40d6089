/*
 * The flat interface end to end, as a binding drives it: the chest clinic
 * model ("asia") built call by call, beliefs against published posteriors,
 * a BIF file written and read back, failed reads found in the error log.
 * Exit status 0 when every check holds.
 */
#include <stdio.h>
#include <string.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

#define NODES 8

enum { ASIA, TUB, SMOKE, LUNG, BRONC, EITHER, XRAY, DYSP };

static const char* ids[NODES] = {"asia", "tub", "smoke", "lung", "bronc", "either", "xray", "dysp"};

/* P(yes) of each node without evidence, and given bronc = no, xray = no. */
static const double priorYes[NODES] = {0.01, 0.0104, 0.5, 0.055, 0.45, 0.064828, 0.11029004, 0.4359706};
static const double posteriorYes[NODES] = {0.009608720883, 0.0002308533519, 0.3423632698, 0.0009484359738,
                                           0.0, 0.001169425592, 0.0, 0.1007016554};

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

/* Tables with the parents' outcomes first and the node's own last; every
 * node has the outcomes yes, no. */
static void Build(void* net, int* h)
{
    static const char* outcomes[] = {"yes", "no"};
    static const int arcs[][2] = {{ASIA, TUB},   {SMOKE, LUNG},  {SMOKE, BRONC}, {LUNG, EITHER},
                                  {TUB, EITHER}, {EITHER, XRAY}, {BRONC, DYSP},  {EITHER, DYSP}};
    static double tables[NODES][8] = {{0.01, 0.99},           {0.05, 0.95, 0.01, 0.99}, {0.5, 0.5},
                                      {0.1, 0.9, 0.01, 0.99}, {0.6, 0.4, 0.3, 0.7},     {1, 0, 1, 0, 1, 0, 0, 1},
                                      {0.98, 0.02, 0.05, 0.95}, {0.9, 0.1, 0.8, 0.2, 0.7, 0.3, 0.1, 0.9}};
    static const int sizes[NODES] = {2, 4, 2, 4, 4, 8, 4, 8};
    int i;

    for (i = 0; i < NODES; i++) {
        h[i] = AddNode(net, CPT_NODE, ids[i]);
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
        void* matrix = nodeValue_GetMatrix(Value(net, h[i]));
        double* p = dMatrix_GetItemsDouble(matrix);
        CHECK(nodeValue_IsValueValid(Value(net, h[i])) == 2 && dMatrix_GetSize(matrix) == 2);
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

/* Written to BIF and read into a new network: the same answers. */
static void FileRoundTrip(void* net)
{
    const char* path = "flat_end_to_end_asia.bif";
    void* read = new_network();
    int h[NODES];
    int i;

    errorH_Flush();
    WriteFile(net, path);
    ReadFile(read, path);
    remove(path);
    CHECK(errorH_GetNumberOfErrors() == 0);
    for (i = 0; i < NODES; i++)
        h[i] = FindNode(read, ids[i]);
    Observe(read, h);
    ExpectBeliefs(read, h, posteriorYes, "read back, with evidence");

    ReadFile(read, "flat_end_to_end_no_such_file.bif");
    CHECK(errorH_GetLastError() == -100 && HasNode(read, "asia") == 0);
    ReadFile(read, "flat_end_to_end.model");
    CHECK(errorH_GetLastError() == -2 && strcmp(errorH_GetLastErrorMessage(), "Unknown File Format") == 0);
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
    /* P(bronc = no, xray = no); the beliefs stay as they were. */
    CHECK(Distance(CalcProbEvidence(net), 0.49555269199815577) < 1e-9);
    ExpectBeliefs(net, h, posteriorYes, "after the probability of evidence");
    FileRoundTrip(net);
    delete_network(net);
    return failures == 0 ? 0 : 1;
}
