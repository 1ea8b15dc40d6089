/*
 * The flat interface: plain exported functions over opaque handles, for
 * callers that cannot use the engine's classes (foreign-function bindings,
 * C programs). Compiles as C99 and as C++.
 *
 * Object handles are the engine objects' own addresses; node handles are
 * slot numbers of the network's node table (-2 means no node). Nothing here
 * validates its arguments: a dead or wrong handle is the caller's fault, and
 * delete_network(NULL) is the one call that accepts null. Status results are
 * 0 for success and a negative code for failure.
 */
#ifndef ORVIL_BIORVIL_H
#define ORVIL_BIORVIL_H

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Network life and structure ---- */

/* A `net` handle is a network owned by the caller until delete_network. A
 * node handle is an int, the node's slot in the network (-2: no node); it
 * stays fixed while the node lives, and the slot of a deleted node may be
 * given to a later one. */

/* A new, empty network: 50 node slots, growing by 50 as needed. */
void* new_network(void);
/* A new network holding a full copy of `net` (nodes with the same handles,
 * arcs, records, settings, temporal data). Owned by the caller. */
void* copy_network(void* net);
/* Destroys the network and everything in it; every handle into it dies.
 * Null is accepted and does nothing. */
void delete_network(void* net);
/* Adds a node of type `thisType` (18: conditional table, 20: truth table,
 * ...) with the identifier `nodeName` (not null), and returns the handle of
 * the node that now has this identifier: a name already in use gives the
 * existing node's handle and adds nothing. -2 for an invalid type (unless
 * the name exists). -2 also for a name that is no valid identifier, though
 * the node is then added all the same, under a generated identifier
 * ("Node<n>") with the name as its display name. */
int AddNode(void* net, int thisType, const char* nodeName);
/* Deletes the node with all its arcs; the children's tables drop its
 * dimension. 0; -2 for a bad handle. */
int DeleteNode(void* net, int thisNode);
/* Adds the arc theParent -> theChild; the child's table gains the parent's
 * dimension, last. 0; -2 for bad handles, a self-arc, or an arc that exists
 * in either direction; -11 when the arc would close a cycle; -51 when the
 * child's kind refuses the parent. A refused arc changes nothing. */
int AddArc(void* net, int theParent, int theChild);
/* Removes the arc theParent -> theChild; the child's table drops the
 * parent's dimension. 0; -2 for bad handles or a missing arc. */
int RemoveArc(void* net, int theParent, int theChild);
/* The handle of the node with identifier `withThisID`, or -2. */
int FindNode(void* net, const char* withThisID);
/* 1 when a node has the identifier `withThisID`, else 0. */
int HasNode(void* net, const char* withThisID);
/* The node (a `node` handle, owned by the network), or null when the
 * handle is out of range or its slot is empty. */
void* GetNode(void* net, int theNode);
/* Appends every live node handle, ascending, to the int array `here`,
 * which is not cleared first. Returns 0. */
int GetAllNodes(void* net, void* here);
/* The network's own list of the parents of `theNode` (an int array handle,
 * in the order of the table's parent dimensions). A view, not a copy: it
 * changes with the structure and must not be released. `theNode` is not
 * checked and must be a live node. */
void* GetParents(void* net, int theNode);

/* Smoke checks of a build. test writes `arg` and a newline to standard
 * output and returns `arg`. The library also exports a function named main
 * (it builds a network with one node, "Yay", writes "Woot!" and returns 0);
 * it is not declared here, so that it cannot clash with the caller's own
 * main. */
const char* test(const char* arg);

/* ---- Files, inference and settings ---- */

/* Reads the model file `fileName` into the network, replacing its nodes;
 * the format comes from the extension ("bif", ...; the case is ignored).
 * The status is dropped: a failure shows only in the error log (for
 * instance "Unknown File Format" for an extension of no format, with the
 * network untouched, or the reader's message with what it had built). */
void ReadFile(void* net, const char* fileName);
/* Writes the network to `fileName` in the format of its extension. The
 * status is dropped; failures are logged as for ReadFile. */
void WriteFile(void* net, const char* fileName);

/* Computes beliefs for the network's current evidence with the engine the
 * model calls for (by default, for a plain network, algorithm 0, the join
 * tree), writing them into the node values and marking them valid. The
 * status is dropped: a failed update leaves the values invalid, and the
 * error log says why (for instance, an algorithm number whose engine this
 * build lacks). */
void UpdateBeliefs(void* net);
/* Removes all evidence: observed outcomes, outcomes deduced from them,
 * likelihood vectors. Every belief becomes invalid. Returns 0. */
int ClearAllEvidence(void* net);
/* The probability of the network's observed outcomes (likelihood vectors
 * do not enter it); 1.0 without observations. 0.0 when it cannot be
 * computed (the evidence is impossible, or no engine runs), and for a
 * network without nodes. The observations stand as before afterwards, and
 * beliefs must be updated again. */
double CalcProbEvidence(void* net);
/* Samples drawn by every stochastic engine (10000 at first). The setter
 * stores any number unchecked and returns 0. */
int GetNumberOfSamples(void* net);
int SetNumberOfSamples(void* net, int aNumber);
/* Samples per discretised equation (10000 at first); stored unchecked. */
int GetNumberOfDiscretizationSamples(void* net);
void SetNumberOfDiscretizationSamples(void* net, int aNumber);
/* The algorithm for plain Bayesian networks: 0 join tree, 1 logic sampling,
 * 2 polytree, 3 and 5 likelihood weighting, 4 self-importance, 6 backward
 * sampling, 7 AIS, 8 EPIS, 9 loopy belief propagation, 10 older clustering,
 * 11 and 12 join tree with target decomposition. A number outside 0..12 is
 * ignored and the old one kept. */
int GetDefaultBNAlgorithm(void* net);
void SetDefaultBNAlgorithm(void* net, int theAlgorithm);

/* ---- Nodes ---- */

/* The node's value (a nodeValue handle), owned by the node; it dies with
 * the node or at the node's next node_ChangeType. */
void* node_Value(void* node);

/* The node's descriptive record (a nodeInfo handle), owned by the node. */
void* node_Info(void* node);
/* The handle of the submodel that holds the node (0x4000: the root). */
int node_GetSubmodel(void* node);
/* Moves the node into the submodel with identifier `thisSubmodel`. 0; -2
 * for null; -30 (logged as "Unknown submodel") for an unknown identifier. */
int node_SetSubmodel(void* node, char* thisSubmodel);

/* The node's definition (a nodeDefinition handle), owned by the node. */
void* node_Definition(void* node);
/* Turns the node into one of type `newType`, converting outcomes and table
 * where the kinds allow; the earlier definition and value handles die. 0,
 * also when the type is unchanged; -51 for a type number that does not
 * exist; the failure of the new kind otherwise, with the node unchanged. */
int node_ChangeType(void* node, int newType);

/* ---- Node values ---- */

/* A `nodeValue` handle holds what inference computed for a node and the
 * evidence the caller entered. Type numbers: 3 beliefs of a chance node,
 * 4 expected utility, 6 decision, 7 multi-attribute utility, 8 equation. */

/* The value's type number. */
int nodeValue_GetType(void* nodeValue);
/* The value's matrix (a dMatrix handle owned by the value): for a chance
 * node P(outcome | evidence), one double per outcome; null for a kind
 * without one. Read it only while nodeValue_IsValueValid says 2. */
void* nodeValue_GetMatrix(void* nodeValue);
/* 2 when the matrix holds the result for the current model and evidence,
 * 0 when it is stale. */
int nodeValue_IsValueValid(void* nodeValue);
/* 1 when the caller set the outcome, 0 otherwise. */
int nodeValue_IsRealEvidence(void* nodeValue);
/* The outcome the node is known to have, set by the caller or deduced from
 * other evidence through deterministic tables; -2 when there is none, -51
 * for a kind without outcomes. */
int nodeValue_GetEvidence(void* nodeValue);
/* Observes outcome `theEvidence`, replacing earlier evidence of the node
 * (a likelihood vector included). 0; -2 for an outcome out of range, or one
 * that the node's table rules out given its parents' evidence (logged as
 * "Outcome [..] of node [..] is impossible"); -26 when it contradicts an
 * outcome deduced from other evidence, or forces one that contradicts
 * other evidence (logged); -51 for a kind without outcomes. A refused
 * observation is not kept, and an observation it was to replace is gone. */
int nodeValue_SetEvidence(void* nodeValue, int theEvidence);
/* Removes the node's observed outcome, or else its likelihood vector. 0;
 * -2 when it has neither (deduced outcomes are not removed this way); -51
 * for a kind without outcomes. */
int nodeValue_ClearEvidence(void* nodeValue);
/* A new array, owned by the caller (release it with
 * nodeValue_ReleaseVirtualEvidence): element 0 holds the count n as a
 * double, elements 1 to n the stored likelihood vector, normalised. Without
 * a likelihood vector: one element, 0.0. */
double* nodeValue_GetVirtualEvidence(void* nodeValue);
/* Releases an array made by nodeValue_GetVirtualEvidence. Null does
 * nothing. */
void nodeValue_ReleaseVirtualEvidence(double* theEvidence);
/* Stores the `size` doubles of `theEvidence` (copied) as a likelihood
 * vector, one entry per outcome, replacing an observed outcome. It is
 * scaled to sum 1 unless it is within 5e-06 of that; an all-zero vector is
 * not caught. Its ratios weight the outcomes at the next update. 0; -2
 * when `size` is not the number of outcomes; -51 for a kind without
 * outcomes. */
int nodeValue_SetVirtualEvidence(void* nodeValue, int size, double* theEvidence);
/* A new int array, owned by the caller (release it with delete_intArray):
 * the handles of the nodes whose outcomes index the value's matrix before
 * its own outcomes, in matrix order. Empty for a plain chance node. */
void* nodeValue_GetIndexingParents(void* nodeValue);

/* ---- Node definitions ---- */

/* A `nodeDefinition` handle comes from node_Definition and dies with its
 * node or at the node's next node_ChangeType. Type numbers: 18 conditional
 * table, 20 truth table (deterministic), and the others of the engine. */

/* The definition's type number. */
int nodeDefinition_GetType(void* nodeDefinition);
/* The definition's table (a dMatrix handle: parents in parent order, the
 * node's own outcomes last), owned by the definition; null for a kind
 * without a table. */
void* nodeDefinition_GetMatrix(void* nodeDefinition);
/* The table's own doubles (a view, in the order of the matrix); `size` is
 * ignored. Writes go straight to the table and are not checked. Null for a
 * kind without such an array. Read the count with dMatrix_GetSize. */
void* nodeDefinition_GetDoubleDefinition(void* nodeDefinition, int size);
/* The definition's own string list (a view of its slots), for kinds that
 * have one; `size` is ignored. Null for the others. */
void* nodeDefinition_GetStringDefinition(void* nodeDefinition, int size);
/* Copies the first min(size, table size) doubles of `dArr` into the table.
 * Nothing is checked and the status is dropped. */
void nodeDefinition_SetDoubleDefinition(void* nodeDefinition, int size, double* dArr);
/* Gives the definition `size` strings (for a truth table: the resulting
 * outcome's id for each column). The status is dropped. */
void nodeDefinition_SetStringDefinition(void* nodeDefinition, int size, const char** sArr);
/* The number of outcomes; -51 for a kind without outcomes. */
int nodeDefinition_GetNumberOfOutcomes(void* nodeDefinition);
/* The outcome ids (a string-array handle owned by the definition; read it
 * with stringArray_Items); null for a kind without outcomes. */
void* nodeDefinition_GetOutcomesNames(void* nodeDefinition);
/* Appends an outcome; children get uniform columns for it, and the node's
 * own table gives it probability 0. A name that is not a free, valid id is
 * replaced by a generated "State<n>". 0; -567 for a definition that is not
 * ready; -51 for a kind without outcomes; a child's failure otherwise. */
int nodeDefinition_AddOutcome(void* nodeDefinition, const char* name);
/* Removes outcome `outcomeNumber`; the node's columns are not renormalised.
 * 0; -2 when only two outcomes exist or the number is out of range; -567,
 * -51 as above. */
int nodeDefinition_RemoveOutcome(void* nodeDefinition, int outcomeNumber);
/* Replaces the outcomes by "State0" .. "State<n-1>" (at least two) and
 * makes the table uniform. 0; -19 when the node has children; -2 for a
 * number below 1 (the definition is then left empty); -51 as above. */
int nodeDefinition_SetNumberOfOutcomes(void* nodeDefinition, int aNumber);
/* The same with `size` names; invalid or repeated names are repaired.
 * 0; -19 when the node has children; -2 for no names; -51 as above. */
int nodeDefinition_SetNumberOfOutcomesStr(void* nodeDefinition, int size, const char** theOutcomeNames);
/* Renames the outcomes from the first names; invalid or repeated names are
 * replaced by valid, unique ones. 0; -2 when `size` is below the number of
 * outcomes; -51 as above. */
int nodeDefinition_RenameOutcomes(void* nodeDefinition, int size, const char** names);
/* Reorders the outcomes: outcome i becomes old outcome newOrder[i]; tables
 * of the node and its children follow. 0; -2 unless `newOrder` is a
 * permutation of all outcomes; -51 as above. */
int nodeDefinition_ChangeOrderOfOutcomes(void* nodeDefinition, int size, int* newOrder);
/* Gives the node exactly the outcomes `ids` (size1 of them) in that order.
 * newOrder[i] (size2 entries) is the old number of the outcome that
 * becomes outcome i, or -1 for a new one; old outcomes not named go, and
 * children follow each step. 0; -2, with nothing changed, when an id is
 * invalid or repeated, the counts differ, fewer than two outcomes would
 * remain, or newOrder names an outcome twice or one that does not exist;
 * -51 as above. */
int nodeDefinition_ChangeOrderOfOutcomesWithAddAndRemove(void* nodeDefinition, int size1, const char** ids,
                                                          int size2, int* newOrder);

/* ---- Arrays and matrices ---- */

/* A new, empty int array (QEL_intArray), owned by the caller; release it
 * with delete_intArray. Never null (allocation failure aborts the call). */
void* new_intArray(void);
/* Destroys an int array that the library handed to the caller (new_intArray
 * and the other calls that return a new int array). Null is accepted and
 * does nothing. Never pass an array the library owns (GetParents). */
void delete_intArray(void* intArray);
/* The number of items of `intArray` used as a list. */
int intArray_NumItems(void* intArray);
/* The array's own items, a view valid until the array next changes size;
 * read intArray_NumItems for the count. Writes go straight to the array. */
int* intArray_Items(void* intArray);
/* The string array's own slots (a view; empty slots are null), valid until
 * the array next changes. The count comes from the call that produced the
 * array, e.g. nodeDefinition_GetNumberOfOutcomes. */
const char** stringArray_Items(void* stringArray);

/* The matrix's own items (QEL_Dmatrix), row-major with the last dimension
 * fastest: for a node's table or value, each run of outcome-count doubles
 * is one column. A view: the caller frees nothing, writes go straight to
 * the matrix, and the pointer dies when the matrix changes shape. Read
 * dMatrix_GetSize for the count; with a count of 0 nothing may be read
 * through the pointer, which may then be null. */
double* dMatrix_GetItemsDouble(void* dMatrix);
/* The number of doubles in the matrix: the product of its dimension sizes,
 * or 0 for a matrix with no dimensions. */
int dMatrix_GetSize(void* dMatrix);

/* ---- Descriptive records ---- */

/* Record handles point into their owner (the network or a node) and die
 * with it. Texts handed out are the record's own, not copies. */

/* The network's header: its id (at first "Unnamed"), name and comment. */
void* net_Header(void* net);
/* The three records of a node's descriptive record. */
void* nodeInfo_Header(void* nodeInfo);
void* nodeInfo_Screen(void* nodeInfo);
void* nodeInfo_UserProperties(void* nodeInfo);
/* The screen record's position (a rectangle handle, a member of it). */
void* screenInfo_position(void* screenInfo);
/* A new array of six ints, owned by the caller (release it with
 * screenInfo_releaseFormatting): color, selColor, font, fontColor,
 * borderThickness, borderColor. A field never set holds -2147483647. */
int* screenInfo_formatting(void* screenInfo);
/* Releases an array made by screenInfo_formatting. Null does nothing. */
void screenInfo_releaseFormatting(int* fmts);
/* Stores six ints in the order of screenInfo_formatting; an entry of -1
 * leaves its field unchanged, so -1 itself can never be stored. */
void screenInfo_setFormatting(void* screenInfo, int* fmts);
/* Read or write one field of a rectangle: the centre and the extent. */
int rectangle_center_X(void* rectangle);
int rectangle_center_Y(void* rectangle);
int rectangle_width(void* rectangle);
int rectangle_height(void* rectangle);
void rectangle_center_X_set(void* rectangle, int val);
void rectangle_center_Y_set(void* rectangle, int val);
void rectangle_width_set(void* rectangle, int val);
void rectangle_height_set(void* rectangle, int val);
/* The header's id, name and comment (its own texts, or null); a text dies
 * when it is next set. */
const char* header_GetId(void* header);
const char* header_GetName(void* header);
const char* header_GetComment(void* header);
/* Set the id, name or comment (copied; null stores none). An id must be a
 * valid identifier (a letter, then letters, digits or "_") and, in a
 * node's header, unused by other nodes; a refused id leaves the old one,
 * and only the error log tells ("Illegal identifier"). */
void header_SetId(void* header, const char* id);
void header_SetName(void* header, const char* name);
void header_SetComment(void* header, const char* comment);
/* Appends a property; a name already present moves to the end with the
 * new value. 0; -2 when `propertyName` is no valid identifier. */
int userProperties_AddProperty(void* userProperties, const char* propertyName, const char* propertyValue);
/* The index of the property `withThisName`, or -2. */
int userProperties_FindProperty(void* userProperties, const char* withThisName);
/* The value of property `index` (the record's own text). `index` is not
 * checked. */
const char* userProperties_GetPropertyValue(void* userProperties, int index);
/* Removes property `thisOne`. 0; -2 for a bad index. */
int userProperties_DeleteProperty(void* userProperties, int thisOne);

/* ---- Submodels ---- */

/* Submodels group nodes in a tree under the root submodel (handle 0x4000),
 * which stands for the whole network. A submodel handle is an int with the
 * 0x4000 bit set; it stays fixed while the submodel lives. Submodel ids
 * share one name space with node ids. */

/* Makes a submodel with id `thisId` inside `theParent`. Its handle; -2 when
 * `theParent` names no submodel; -30 for an id that is no valid identifier
 * (logged as "Illegal identifier"); -32 when a node or submodel has it. */
int submodel_CreateSubmodel(void* net, int theParent, const char* thisId);
/* Deletes a submodel; its nodes and submodels move to its parent. 0; -2
 * for the root or a handle that names no submodel. */
int submodel_DeleteSubmodel(void* net, int handler);
/* The handle of the submodel with id `withThisID` (the network's own id
 * gives the root), or -2. */
int submodel_FindSubmodel(void* net, const char* withThisID);
/* The handle of the submodel that holds `ofThisSubmodel`; -2 for the root
 * or a handle that names no submodel. */
int submodel_GetParent(void* net, int ofThisSubmodel);
/* Puts `thisSubmodel` inside `intoThisSubmodel`. 0; -2 when either names no
 * submodel, `thisSubmodel` is the root, or the target is `thisSubmodel`
 * itself or lies inside it. */
int submodel_MoveSubmodel(void* net, int thisSubmodel, int intoThisSubmodel);
/* The submodel (a `submodel` handle owned by the network), or null when
 * `handler` names none. */
void* submodel_GetSubmodel(void* net, int handler);
/* The submodel's header (id, name, comment) and screen record, members of
 * the submodel. Setting a submodel's id through its header is not checked
 * against the ids in use. */
void* submodel_Header(void* submodel);
void* submodel_ScreenInfo(void* submodel);
/* New int arrays, owned by the caller (release them with delete_intArray),
 * in ascending handle order: the submodels directly inside
 * `inThisSubmodel`; the nodes directly inside it; the submodels at any
 * depth inside it; the nodes at any depth inside it. Empty when
 * `inThisSubmodel` names no submodel. */
void* submodel_GetIncludedSubmodels(void* net, int inThisSubmodel);
void* submodel_GetIncludedNodes(void* net, int inThisSubmodel);
void* submodel_GetDeepIncludedSubmodels(void* net, int inThisSubmodel);
void* submodel_GetDeepIncludedNodes(void* net, int inThisSubmodel);

/* ---- Error log ---- */

/* The process-wide error log: entries (code, message) in order of arrival,
 * kept until errorH_Flush. */

/* The number of entries in the log. */
int errorH_GetNumberOfErrors(void);
/* The newest entry's code, or 0 when the log is empty. */
int errorH_GetLastError(void);
/* The newest entry's message, or "NO ERRORS SO FAR" when the log is empty.
 * The text belongs to the log and dies at the next errorH_Flush. */
const char* errorH_GetLastErrorMessage(void);
/* The code of entry `index`, oldest first (0 is the oldest). 0 for a
 * negative index or one beyond the number of entries; `index` equal to the
 * number of entries reads the spare slot after the last entry. */
int errorH_GetError(int index);
/* The message of entry `index`, with the bounds of errorH_GetError; null
 * outside them or for an empty slot. Owned by the log. */
const char* errorH_GetErrorMessage(int index);
/* Empties the log. */
void errorH_Flush(void);

#ifdef __cplusplus
}
#endif

#endif
