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
 * the name exists) or a name that is no valid identifier. */
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

/* ---- Nodes ---- */

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
