// QEL_network: the model. A table of nodes addressed by small integers
// (handles), the arcs between them, and the settings that inference and the
// file formats read.
//
// The table is an array of QEL_nodeEntry, one per slot. A handle is a slot
// index and stays fixed for the life of its node; growing the table moves
// the entries' contents, never the node objects. Arcs are kept twice, as a
// parent list in the child's entry and a child list in the parent's entry,
// in two kinds: normal (probabilistic) arcs and cost-of-observation arcs.
// The order of a node's normal parent list is the order of the parent
// dimensions of its definition's table, so every change to one is made to
// the other. Normal arcs form a directed acyclic graph, except while a file
// is read with the cycle test switched off.
//
// Each entry has a flag word: bit 1 marks a target, the other bits are
// scratch for the traversals, each of which clears its own bits over the
// whole table before it starts.
#ifndef ORVIL_NETWORK_H
#define ORVIL_NETWORK_H

#include <string>
#include <utility>
#include <vector>

#include "orvil/creation.h"
#include "orvil/documentation.h"
#include "orvil/intarray.h"
#include "orvil/object.h"
#include "orvil/userproperties.h"

class QEL_node;
class QEL_header;
class QEL_idArray;
class QEL_submodelHandler;
class QEL_caseManager;
class QEL_dbnImpl;
class QEL_randGen;
class QEL_extFunctionContainer;
class QEL_errorStringHandler;
class QEL_jptStore;
class QEL_Dmatrix;
class QEL_updateBeliefsListener;
class QEL_fileFormat;

// Kinds of arc. Cost arcs are kept in lists of their own and have no effect
// on probabilities.
enum qel_arcType { qel_normalArc = 0, qel_costObserve = 1 };

// The handle that names no node.
const int QEL_NO_NODE = -2;

// Bits of an entry's flag word.
const int QEL_ENTRY_TARGET = 1;
const int QEL_ENTRY_VISITED = 2;
const int QEL_ENTRY_ANCESTOR = 4;
const int QEL_ENTRY_DESCENDANT = 8;
const int QEL_ENTRY_ORDERED = 0x10;
const int QEL_ENTRY_ON_PATH = 0x20;
const int QEL_ENTRY_LEAF_SEEN = 0x40;

// Bits of the network's readFlags word.
const int QEL_READ_ACTIVE = 1;
const int QEL_READ_NO_CYCLE_TEST = 2;
const int QEL_READ_NO_ID_TEST = 4;

// File format numbers of ReadFile and WriteFile. 0 picks the format by the
// file's extension (given after each number); a format without a reader
// and writer in this build fails with a logged message.
const int QEL_FORMAT_BY_EXTENSION = 0;
const int QEL_FORMAT_ERGO = 1;      // "erg"
const int QEL_FORMAT_NETICA = 2;    // "dne"
const int QEL_FORMAT_MICROSOFT = 3; // "dsc"
const int QEL_FORMAT_QEL = 4;       // "qel", the native text format
const int QEL_FORMAT_HUGIN = 5;     // "net"
const int QEL_FORMAT_XML03 = 6;     // "xml03"
const int QEL_FORMAT_KI = 7;        // "dxp"
const int QEL_FORMAT_NATIVE = 8;    // "xqel", "qqel", the native XML format
const int QEL_FORMAT_BIF = 9;       // "bif"

// One slot of the node table.
class QEL_nodeEntry : public QEL_object {
public:
    // An empty slot: no node, empty lists, flags 0; ready.
    QEL_nodeEntry();
    QEL_nodeEntry(const QEL_nodeEntry&) = delete;
    // Copies the node pointer (not the node), the four lists, `flags` and
    // `temporalType`; `depth` stays. Returns 0, or -567 when `other` is not
    // ready.
    int operator=(const QEL_nodeEntry& other);
    // Exchanges node, temporal type, flags and the four lists with `other`
    // without allocating; `depth` stays.
    void Swap(QEL_nodeEntry& other);

    // The node, owned by the network; null marks an empty slot.
    QEL_node* node;
    // Normal parents, in the order of the definition's parent dimensions.
    QEL_intArray parents;
    // Normal children, in order of arrival.
    QEL_intArray children;
    QEL_intArray costParents;
    QEL_intArray costChildren;
    // The node's temporal type: 0 normal, 1 anchor, 2 terminal, 3 plate.
    int temporalType;
    // Target and traversal bits (QEL_ENTRY_...). Not the object's state
    // word, which is QEL_object::flags.
    int flags;
    // Written by GetDepthOfNet.
    int depth;
};

class QEL_network : public QEL_object {
public:
    // ---- Life cycle ----
    // An empty network with 50 slots and a growth step of 50.
    QEL_network();
    // An empty network with `initialSize` slots growing by `growth`; values
    // below 1 mean 50.
    QEL_network(int initialSize, int growth);
    // A full copy of `other`, temporal data included (Copy).
    QEL_network(const QEL_network& other);
    // A lean working copy of `other` (FastCopy). The flag has no effect.
    QEL_network(QEL_network& other, bool fast);
    QEL_network& operator=(const QEL_network&) = delete;
    // Destroys the nodes and every owned member.
    ~QEL_network() override;

    // Empties the network and gives it a fresh table of `initialSize` slots
    // growing by `growth` (values below 1 mean 50); the root submodel's
    // header gets the id and name "Unnamed". Returns 0.
    int ReCreate(int initialSize, int growth);
    // Destroys all nodes and the table. With `deep`, also clears the
    // entries' lists, the creation record, the properties, the submodels,
    // the cases, the temporal data and the joint-probability store. Ends
    // with an empty, ready network without slots. Returns 0.
    int CleanUp(int deep = 0) override;
    // Makes this network a copy of `source`: the same slots and handles,
    // holes included, a full copy of every node, the arcs, the creation
    // record, properties, submodels, settings, saved cases and stored joint
    // tables. The temporal data is copied unless `dropTemporal`, which also
    // sets every temporal type to 0. Documentation, random generator and
    // listener are not copied. 0; -567 when `source` is not ready; -42 when
    // the table cannot be made.
    int Copy(const QEL_network& source, bool dropTemporal);
    // Makes this network a lean working copy of `source` for algorithms
    // that need no descriptive data: the same slots, arcs, tables, values
    // and settings, but nodes without ids or descriptive records (nothing
    // that looks a node up by id works on it), and no submodels, cases,
    // creation record or temporal data. The network is marked ready without
    // a readiness pass. 0; -42 when the table cannot be made.
    int FastCopy(QEL_network& source);
    // Empties the network before a file is read into it: destroys every
    // node and every submodel below the root (whose header, the network's
    // id and name, stays), keeps the table's size, and resets the counts
    // and sample numbers; stored joint tables are dropped. Algorithm choices, flags, relevance events, creation
    // record, properties and documentation stay, and so do the slots' cost
    // lists, flags and temporal types (AddNode clears the last two when it
    // reuses a slot). Returns 0.
    int Flush();
    // Readiness pass: with `deep`, checks the records, the submodels and
    // each node deeply. A node that is not ready is deleted. Returns 0, or
    // -567 when a deletion failed.
    int CheckReadiness(int deep = 0) override;
    // Consistency pass: with `deep`, checks the properties, the submodels
    // and each node deeply. Every node that is not consistent is logged
    // (-568, "ERROR: Node [id] is not consistent. Inference may not be
    // correct"); the network is consistent only when none was. 0, or -568.
    int CheckConsistency(int deep = 0) override;

    // ---- Files ----
    // Reads the file `name` into the network in file format `format` (0:
    // by the extension of `name`). `extension` is handed to the format's
    // reader untouched, if not null. The network is emptied first (Flush);
    // a successful read ends with the readiness pass, which deletes nodes
    // that are not ready, and the consistency pass. 0, or the reader's
    // failure, with the network as the reader left it; -2 (logged as
    // "Unknown File Format") for a format number or extension that names
    // no format, and -2 (logged) for a format this build cannot read; in
    // both cases the network is untouched.
    int ReadFile(const char* name, int format, void* extension);
    // Writes the network to the file `name` in file format `format` (0: by
    // extension). 0, or the writer's failure; -2 (logged as "Writing to KI
    // file format not supported.") for format 7, and -2 (logged) for a
    // format that names none or that this build cannot write.
    int WriteFile(const char* name, int format, void* extension);
    // Reads a model in the native XML format from `text`, as ReadFile does
    // from a file. 0, or the reader's failure.
    int ReadString(const char* text, void* extension);
    // Writes the network in the native XML format to `text` (appended).
    // 0, or the writer's failure.
    int WriteString(std::string& text, void* extension);
    // The reader for format `format` (0: chosen by the extension of `name`,
    // and `format` is set to the number found, or to -2), made for this
    // network and owned by the caller; null (logged) when there is none.
    QEL_fileFormat* CreateFileFormat(const char* name, int& format);
    // Opens a read: empties the network (Flush), switches the relevance
    // hooks off and marks the read as going on; a reader that makes its
    // identifiers unique, or refuses cycles, itself switches the network's
    // tests off too. Returns the relevance events to hand to EndRead.
    template <class Reader>
    int BeginRead(const Reader& reader) {
        return BeginRead(reader.SuppressIdInUse(), reader.SuppressAcyclic());
    }
    int BeginRead(bool suppressIdInUse, bool suppressAcyclic);
    // Closes a read opened by BeginRead, whose result is `kept`: the read
    // flags are cleared and the relevance events restored. When `status`
    // is 0 the readiness and consistency passes run. Returns `status`.
    int EndRead(int status, int kept);

    // ---- Whole-model operations ----
    // Makes every node's table uniform and drops deduced outcomes, with the
    // relevance hooks off for the duration; beliefs become stale. Returns 0.
    int MakeUniform();
    // The same for the nodes `handles`. -2 at the first bad handle, with the
    // earlier nodes changed and the relevance hooks left off, so that a
    // caller can finish its repair without a walk per node; else 0.
    int MakeUniform(const std::vector<int>& handles);
    // Whether the arc parent -> child matters: `necessary` is false when
    // no column of the child's table moves further than `epsilon` (Hellinger
    // distance) as the parent's outcome changes. -2 for bad handles; -3
    // when `parent` is not a parent of `child`; else the definition's
    // status.
    int IsArcNecessary(int parent, int child, double epsilon, bool& necessary);
    // "Orvil <version>@<commit>", the build this library comes from.
    static void GetBuild(std::string& text);
    // The comment that files written by the engine carry at their top.
    static void GetTopComment(std::string& text);
    // Settings kept with the model and saved with it: rejection of outlying
    // samples in equation sampling, and noisy decomposition with its limit
    // (4 by default). Stored unchecked.
    bool IsRejectOutliersEnabled() const { return rejectOutliers; }
    void EnableRejectOutliers(bool on) { rejectOutliers = on; }
    bool IsNoisyDecompEnabled() const { return noisyDecompEnabled; }
    void EnableNoisyDecomp(bool on) { noisyDecompEnabled = on; }
    int GetNoisyDecompLimit() const { return noisyDecompLimit; }
    void SetNoisyDecompLimit(int limit) { noisyDecompLimit = limit; }

    // ---- Table and lookup ----
    // Adds a node of definition `type` with identifier `id` (null: a
    // generated "Node<n>"). An id that is not a valid identifier is
    // replaced by a generated one and kept as the node's name. Returns the
    // new handle; -51 for an invalid type; -2 when `id` is in use (unless a
    // read suppresses the test) or no id could be set; -42 when the table
    // cannot grow.
    int AddNode(int type, const char* id);
    // Removes all arcs of the node (each through RemoveArc, so every other
    // definition follows) and the node itself. 0, or -2 for a bad handle.
    int DeleteNode(int handle);
    // Deletes the nodes from the highest handle down. 0, or the first
    // failing status (the deletion stops there).
    int DeleteAllNodes();
    // The node, or null unless Ok(handle).
    QEL_node* GetNode(int handle) const;
    // True when `handle` is in range and its slot holds a node.
    bool Ok(int handle) const;
    // First handle, in slot order, whose node has the id `id`; -2 if none.
    int FindNode(const char* id) const;
    // True when a node other than `except` has the id `id`, or the
    // submodels use it. Null and ids starting with "@" are never in use.
    bool IsThisIdentifierInUse(const char* id, int except) const;
    // Live handles in ascending slot order; -2 at the end, for a negative
    // argument, or on an empty table.
    int GetFirstNode() const;
    int GetNextNode(int handle) const;
    int GetLastNode() const;
    // Appends every live handle, ascending, to `here` (not cleared first).
    // Returns 0.
    int GetAllNodes(QEL_intArray& here) const;
    // Appends the ids of all live nodes, in slot order, through the array's
    // own Add. Returns 0.
    int GetAllNodeIds(QEL_idArray& here) const;
    // Appends the nodes whose value holds real or propagated evidence.
    // Returns 0.
    int GetAllEvidenceNodes(QEL_intArray& here) const;
    int GetNumberOfNodes() const { return numNodes; }
    int GetNumberOfTargets() const { return numTargets; }
    // Number of slots and slots added per growth.
    int GetMaxNodes() const { return maxNodes; }
    int GetGrowthStep() const { return growthStep; }
    // Writes "Node<n>" to `out` (room for 16 characters), n being the first
    // number from the node count upward that gives an id not in use.
    // Returns 0.
    int CreateUniqueNodeIdentifier(char* out) const;
    // OR `mask` into, or remove it from, the flag word of every slot, live
    // or not; CleanFlag() zeroes the words. Return 0.
    int SetFlag(int mask);
    int CleanFlag(int mask);
    int CleanFlag();

    // ---- Arcs ----
    // Adds the arc parent -> child. Normal arcs: -2 for bad handles, a
    // self-arc or an existing arc in either direction; -11 when the arc
    // would close a cycle; -51 when the temporal types forbid it or the
    // child's definition refuses the parent (logged as "Arc rejected by
    // child node"). Cost arcs: -2 for bad handles, a self-arc, or when the
    // child's cost record refuses (logged as "Arc cannot be added"). A
    // refused arc leaves both lists as they were. 0 on success.
    int AddArc(int parent, int child, qel_arcType type = qel_normalArc);
    // Removes the arc parent -> child; the child's definition (or cost
    // record) drops the parent's dimension first. 0, or -2 for bad
    // handles, a self-arc, or (normal arcs) an arc that does not exist.
    int RemoveArc(int parent, int child, qel_arcType type = qel_normalArc);
    // The entry's own lists: the cost lists for qel_costObserve, the normal
    // lists for anything else. `handle` is not checked.
    QEL_intArray& GetParents(int handle, qel_arcType type = qel_normalArc);
    QEL_intArray& GetChildren(int handle, qel_arcType type = qel_normalArc);
    const QEL_intArray& GetParents(int handle, qel_arcType type = qel_normalArc) const;
    const QEL_intArray& GetChildren(int handle, qel_arcType type = qel_normalArc) const;
    // List lengths, or -2 for a bad handle. Any type but qel_costObserve
    // counts normal arcs.
    int NumParents(int handle, qel_arcType type = qel_normalArc) const;
    int NumChildren(int handle, qel_arcType type = qel_normalArc) const;
    // 1 when `other` is a normal parent of `handle`, else 0; -2 for a bad
    // `handle`.
    int IsThisGuyMyParent(int handle, int other) const;
    // 1 when `other` is a child of `handle` by an arc of `type`, else 0 (also
    // for a type other than 0 and 1); -2 for a bad `handle`.
    int IsThisGuyMyChild(int handle, int other, qel_arcType type = qel_normalArc) const;
    // True when a normal arc joins `a` and `b` in either direction.
    // Unchecked.
    bool Related(int a, int b) const;
    // Reorders the node's parent list (new parent i is old parent
    // newOrder[i]) and, on success, its definition's parent dimensions.
    // Returns the status of the list reordering (-2 for an order that is not
    // a permutation of the list). `handle` is not checked.
    int ChangeOrderOfParents(int handle, QEL_intArray& newOrder);
    // Calls RemoveArc(i, j) for every i and j below the number of live
    // nodes. Handles at or above that number keep their arcs when the table
    // has holes, and cost arcs stay. Returns 0.
    int RemoveAllArcs();
    // The parents (of that arc type) whose definition has outcomes, in list
    // order, replacing `here`. A type other than 0 and 1 does nothing.
    // Returns 0.
    int GetDiscreteParents(int handle, QEL_intArray& here, qel_arcType type = qel_normalArc);
    // Replaces `out` with the entries of `in` whose definition type shares a
    // bit with `mask`, in order. Returns 0.
    int FilterByDefinitionFlag(const QEL_intArray& in, int mask, QEL_intArray& out) const;

    // ---- Targets and model questions ----
    // Marks or unmarks a target. -2 for a bad handle, -4 when the mark
    // already has that value, else 0.
    int SetTarget(int handle, bool on);
    // 1 or 0; -2 for a bad handle.
    int IsTarget(int handle) const;
    // Unmarks every target. Returns 0.
    int ClearAllTargets();
    // 1 when some value holds real or propagated evidence, else 0.
    int IsThereAnyEvidence() const;
    // 1 when some decision node holds evidence, else 0.
    int IsThereAnyDecision() const;
    // Clears the evidence of every decision node. Returns 0.
    int ClearAllDecision();
    // True when some node's definition is a list, a table or a
    // multi-attribute utility.
    bool IsInfluenceDiagram() const;
    // True when the node has the property "DIAG_TESTGROUPCOST" with the
    // value "True", in any case.
    bool IsGroupCost(int handle) const;
    // The largest number of normal parents of any node; 0 when empty.
    int InDegree() const;
    // Append the ancestors (descendants) of `handle` by normal arcs, in
    // ascending order, without the node itself. 0, or -2 for a bad handle.
    int GetAncestors(int handle, QEL_intArray& here);
    int GetDescendants(int handle, QEL_intArray& here);
    // Their number, or -2 for a bad handle.
    int GetNumOfAncestors(int handle);
    int GetNumOfDescendants(int handle);
    // The same over cost arcs. 0, or -2 for a bad handle.
    int GetCostDescendants(int handle, QEL_intArray& here);
    // 1 when the normal arcs form no directed cycle, else 0.
    int IsAcyclic();
    // True when the arc parent -> child would keep the graph acyclic; false
    // for a self-arc or bad handles. The lists are as before afterwards.
    bool RemainsAcyclic(int parent, int child);
    // 1 when the normal arcs, taken as undirected, form no cycle (several
    // components are fine), else 0.
    int IsPolyTree();
    // Writes each node's depth (0 without children, else 1 + the largest
    // depth of its children) and returns the largest; 0 when empty.
    int GetDepthOfNet();
    // The cached parents-before-children order of all live nodes, rebuilt
    // when stale: a depth-first postorder over parents, starting nodes taken
    // in handle order and parents in list order.
    const QEL_intArray& PartialOrdering();
    void InvalidatePartialOrder() { partialOrderValid = false; }
    // Sorts `list` into partial order (its handles that are live nodes).
    // Returns 0.
    int OrderPartially(QEL_intArray& list);
    // The order for decisions: each decision in partial order preceded by
    // its not yet placed parents, then all other nodes in partial order.
    // Replaces `out`. Returns 0.
    int TemporalOrder(QEL_intArray& out);
    // Sorts `list` into the order of TemporalOrder. Returns 0.
    int OrderTemporally(QEL_intArray& list);
    // The partial order over cost arcs, computed afresh. Replaces `out`.
    // Returns 0.
    int CostPartialOrdering(QEL_intArray& out);
    // Sorts `list` into the order of CostPartialOrdering. Returns 0.
    int OrderPartiallyByCost(QEL_intArray& list);

    // ---- Notifications from nodes ----
    // Asked by a node's header before its id changes. 1 allows the change
    // (each normal child's definition is told, so equations can rewrite
    // their text), 0 refuses it: `newId` is in use and no read suppresses
    // the test. Equal ids are allowed at once.
    int OnNodeIdChanging(int handle, const char* oldId, const char* newId);
    // Passed on to the saved cases and, where present, the temporal data.
    // Return 0.
    int OnTypeChanged(int handle, int oldType);
    int OnOutcomeAdded(int handle, int position);
    int OnOutcomeDeleted(int handle, int position);
    // Passed on to the saved cases only. Returns 0.
    int OnReorderOutcomes(int handle, QEL_intArray& newOrder);

    // ---- Owned parts ----
    // The network's header: that of the root submodel.
    QEL_header& GetHeader();
    QEL_submodelHandler& Submodels() { return *submodels; }
    QEL_caseManager& Cases() { return *cases; }
    // The temporal data, made on first use.
    QEL_dbnImpl& Dbn();
    // The temporal data, or null when no temporal operation made it.
    QEL_dbnImpl* GetDbn() const { return dbn; }
    QEL_creation& Creation() { return creation; }
    QEL_userProperties& UserProperties() { return userProperties; }
    QEL_documentation& Documentation() { return documentation; }
    // The process-wide error log.
    static QEL_errorStringHandler& ErrorHandler();
    // Bits of QEL_READ_...; set by the readers around a file read.
    int GetReadFlags() const { return readFlags; }
    void SetReadFlags(int bits) { readFlags = bits; }

    // ---- Update driver and staleness tracking ----
    // These members belong to the update driver (src/inference), which
    // decides when beliefs are stale and which engine recomputes them. The
    // graph code above calls the hooks after each change of structure.

    // Bits of the network flag word (GetNetworkFlags).
    // The Relevance... hooks run; cleared around internal edits.
    static const int QEL_RELEVANCE_ACTIVE = 1;
    // Evidence is chased through deterministic tables (FunctionDetermine).
    static const int QEL_FUNCTIONAL_DETERMINATION = 2;
    // Every hook ends with an UpdateBeliefs. Off unless a caller sets it.
    static const int QEL_UPDATE_IMMEDIATELY = 8;

    // Bits of relevanceEvents: the model events that run the hooks.
    static const int QEL_EVENT_ARC_ADDED = 1;
    static const int QEL_EVENT_ARC_REMOVED = 2;
    static const int QEL_EVENT_EVIDENCE_SET = 4;
    static const int QEL_EVENT_EVIDENCE_CLEARED = 8;
    static const int QEL_EVENT_OUTCOMES_CHANGED = 64;
    static const int QEL_EVENT_PROBABILITIES_CHANGED = 128;
    static const int QEL_EVENT_OUTCOME_COUNT_CHANGED = 256;

    // -- Updates --
    // DoUpdateBeliefs, then the listener (if any) hears of the status, which
    // is returned unchanged.
    int UpdateBeliefs();
    // Picks the engine by the model's content: the temporal engine when a
    // node is in the plate, the decision solver for decisions or utilities,
    // the equation solver for equation nodes, else CallBNAlgorithm. -2 with
    // "Unable to handle hybrid networks in influence diagrams." for a model
    // with both decisions or utilities and equations; -2 with a message when
    // the chosen engine is not part of this build; else the engine's status.
    int DoUpdateBeliefs();
    // Runs the engine numbered defaultBNAlgorithm. Each node with a
    // likelihood vector gets a temporary observed child "@" for the run,
    // removed afterwards on every exit. -2 (logged) when the engine is not
    // part of this build; else the engine's status.
    int CallBNAlgorithm();
    // Resets the values (InitializeNodeValues) and runs the decision solver
    // numbered defaultIDAlgorithm. -2 (logged) when it is not available.
    int CallIDAlgorithm();
    // Drops propagated evidence, invalidates all beliefs and runs the
    // equation solver: the discretising one when a node with parents has
    // real or virtual evidence. -2 (logged) when it is not available.
    int CallEqAlgorithm();
    // Gives every value one plain dimension of its node's outcome count,
    // without indexing parents, and clears every valid bit; evidence stays.
    void InitializeNodeValues();

    // -- Staleness --
    // Empties the joint-probability store and clears the valid bit of every
    // value without evidence. Returns 0.
    int InvalidateAllBeliefs();
    // ClearPropagatedEvidence on every value, statuses ignored. Returns 0.
    int ClearAllPropagatedEvidence();
    // Clears the valid bit of every decision node. Returns 0.
    int InvalidateDecisions();
    // Removes all evidence (real, propagated, virtual) without running the
    // hooks per node, then marks every belief stale. Returns 0.
    int ClearAllEvidence();
    // The full re-evaluation after a change at `handle` that can make
    // propagated evidence wrong: propagated evidence is rebuilt from the
    // real evidence, then everything the change can reach is marked stale.
    // 0, -2 for a bad handle; 0 at once while the hooks are off.
    int NodeChanged(int handle);
    // Spreads the certainty of the evidence at `handle` through
    // deterministic tables: children forced to one outcome, and parents left
    // with one possible outcome, gain propagated evidence, recursively. -2
    // when the node has no evidence; -26 (logged as "ERROR: conficting
    // evidence between nodes [..] and [..]") when a forced outcome
    // contradicts evidence.
    int FunctionDetermine(int handle);
    // One step of the reachability walk that respects d-separation:
    // `direction` 128 arrives from a child, 256 from a parent. Clears the
    // valid bit of every node reached, and sets `decisionTouched` when a
    // utility node is reached. Bad handles are ignored.
    void InvalidateControl(int handle, int direction, int& decisionTouched);

    // -- Hooks, called by values, definitions and the graph --
    // Each does nothing and returns 0 while QEL_RELEVANCE_ACTIVE is clear or
    // its event class is off in relevanceEvents, and ends with an update
    // when QEL_UPDATE_IMMEDIATELY is set, whose status goes to the listener,
    // not to the caller.
    //
    // New evidence at `handle`: -2 for a bad handle, -2 (logged as "Outcome
    // [..] of node [..] is impossible") when the node's own table rules the
    // outcome out given its parents' evidence, -26 from FunctionDetermine;
    // the value then takes the evidence back.
    int RelevanceEvidenceSet(int handle);
    int RelevanceEvidenceCleared(int handle);
    // Nothing to do: propagated evidence is managed by the driver itself.
    int RelevanceEvidencePropagated(int handle);
    int RelevancePropagatedEvidenceCleared(int handle);
    int RelevanceVirtualEvidenceSet(int handle);
    int RelevanceVirtualEvidenceCleared(int handle);
    int RelevanceControlValue(int handle);
    int RelevanceClearControlledValue(int handle);
    // Continuous evidence changed: every other belief without evidence is
    // stale.
    int RelevanceContEvidenceChanged(int handle);
    // Mark what the new or removed arc can reach as stale.
    int RelevanceArcAdded(int from, int to);
    int RelevanceArcRemoved(int from, int to);
    // A definition changed by `kind` (64 outcomes, 128 probabilities, 256
    // outcome count, 123445 a direct write through a raw pointer).
    int RelevanceDefinitionChanged(int handle, int kind);

    // -- Probability of evidence --
    // P(real evidence), likelihood vectors left out, into `result`: by the
    // join tree when it is available and `forceChainRule` is false, else by
    // the chain rule, which enters the real evidence again node by node (it
    // stands as before afterwards; propagated evidence is rebuilt from it).
    // Targets are restored. 0, or -1 when neither route succeeded.
    int CalcProbEvidence(double& result, bool forceChainRule = false);
    // The join-tree route; false when it is not available or failed.
    bool CalcProbEvidence_JoinTree(double& result);
    // The product of P(e_i | e_1 .. e_i-1) over the real evidence in partial
    // order, each factor from its own update; false when an update fails.
    bool CalcProbEvidence_ChainRule(double& result);

    // -- Joint-probability store --
    // true creates the store (empty) if there is none, false frees it.
    void EnableJptStore(bool on);
    // Empties the store, keeping it enabled.
    void RemoveJpts();
    // True between EnableJptStore(true) and EnableJptStore(false).
    bool IsJptStoreEnabled() const { return jptStore != nullptr; }
    // Appends a table with one dimension per node of `nodes` (its outcome
    // count) and returns it, owned by the store; null when the store is off
    // or a handle is bad.
    QEL_Dmatrix* InitJpt(const std::vector<int>& nodes);
    // Replaces `result` with the stored tables whose node list holds
    // `handle`. -2 for a bad handle, -3 when the store is off, else 0.
    int GetJpts(int handle, std::vector<std::pair<std::vector<int>, const QEL_Dmatrix*>>& result) const;

    // -- Listener and settings --
    // Not owned; null removes it.
    void SetUpdateBeliefsListener(QEL_updateBeliefsListener* newListener);
    QEL_updateBeliefsListener* GetUpdateBeliefsListener() const { return listener; }
    int GetDefaultBNAlgorithm() const { return defaultBNAlgorithm; }
    // Numbers outside 0..12 are ignored.
    void SetDefaultBNAlgorithm(int algorithm);
    int GetDefaultIDAlgorithm() const { return defaultIDAlgorithm; }
    // Numbers outside 0..1 are ignored.
    void SetDefaultIDAlgorithm(int algorithm);
    int GetNumberOfSamples() const { return numberOfSamples; }
    // Stored unchecked. Returns 0.
    int SetNumberOfSamples(int count);
    int GetNumberOfDiscretizationSamples() const { return numberOfDiscretizationSamples; }
    // Stored unchecked.
    void SetNumberOfDiscretizationSamples(int count);
    void EnableZeroAvoidance(bool on) { zeroAvoidance = on; }
    bool IsZeroAvoidanceEnabled() const { return zeroAvoidance; }
    // The network flag word (QEL_RELEVANCE_ACTIVE ...), stored unchecked.
    int GetNetworkFlags() const { return flags; }
    void SetNetworkFlags(int bits) { flags = bits; }
    // The relevanceEvents mask; 0 switches every hook off.
    int GetRelevanceEvents() const { return relevanceEvents; }
    void SetRelevanceEvents(int mask) { relevanceEvents = mask; }
    // True when the node is repeated per time slice (temporal type 3).
    bool IsPlateNode(int handle) const;

private:
    // True when the hooks run for events of `eventBit`.
    bool RelevanceOn(int eventBit) const;
    // UpdateBeliefs when updates are immediate. Its status reaches the
    // listener and the error log; the change that caused it stands.
    void UpdateIfImmediate();
    // The engine of defaultBNAlgorithm, logged -2 when there is none.
    int RunBNEngine();
    // Hands the whole update to the temporal engine.
    int RunTemporalEngine();
    // Adds the temporary observed children for the likelihood vectors of
    // `sources`, appending their handles to `created`.
    int AddVirtualEvidenceNodes(const QEL_intArray& sources, QEL_intArray& created);
    // Deletes the nodes of `created`, last first, with the hooks off.
    void RemoveTemporaryNodes(const QEL_intArray& created);
    // Clears the walk's marks and marks the ancestors of real evidence.
    void MarkEvidenceAncestors();
    // The deduced (propagated) outcome of every slot, -1 where none.
    std::vector<int> DeducedOutcomes() const;
    void WalkChildren(int handle, int& decisionTouched);
    void WalkParents(int handle, int& decisionTouched);
    // Coordinates of the node's table: each parent's evidence or -1, and
    // `outcome` last.
    void EvidenceCoordinates(int handle, int outcome, QEL_intArray& coordinates) const;
    // -2 (logged) when the node's table gives `outcome` probability 0 for
    // every combination its parents' evidence leaves open.
    int CheckOutcomePossible(int handle, int outcome);
    // Propagated evidence for each child forced to one outcome by the
    // parents' evidence, and for each parent left one possible outcome by
    // `outcome` at `handle`.
    int DetermineChildren(int handle);
    int DetermineParents(int handle, int outcome);
    // `other` must have `outcome`, as `source`'s evidence implies.
    int ConcludeOutcome(int source, int other, int outcome);
    // ---- end of the update driver's members ----

private:
    // Constructor steps shared by every constructor: the owned parts, the
    // defaults, then Initialize.
    void Construct();
    // Back to no table and default counts; leaves algorithm choices, flags
    // and parameter blocks alone.
    void Initialize();
    // Adds growthStep slots, moving the entries. 0, or -42.
    int Grow();
    // Fills the table (already of the source's size) with the source's
    // entries and a full, or lean, copy of each node bound to this network.
    void CopyEntries(const QEL_network& source, bool dropTemporal, bool lean);
    void CopySettings(const QEL_network& source);
    // The slot for a new node. -2 when none is free.
    int FindHole();
    // Puts a new node of `type` into `handle` with id `id`; the slot is
    // empty again on failure. 0 or -2.
    int PlaceNode(int handle, int type, const char* id);
    // Generates an id for the node in `handle` and sets it. 0 or -2.
    int SetGeneratedId(QEL_node& node);
    // Removes every arc of the node in `handle`, one at a time.
    void RemoveArcsOf(int handle);
    int AddNormalArc(int parent, int child);
    int AddObservCostArc(int parent, int child);
    int RemoveNormalArc(int parent, int child);
    int RemoveObservCostArc(int parent, int child);
    // The temporal rule for normal arcs between the two entries' types.
    bool TemporalTypesAllowArc(int parent, int child) const;
    // Definition type of a live node with a definition, else 0.
    int DefinitionType(int handle) const;
    // Flag word of a live node's value, else 0.
    int ValueFlags(int handle) const;
    // Mark the ancestors (bit 4) or descendants (bit 8) of `handle`.
    void MarkAncestors(int handle);
    void MarkDescendants(int handle, bool costArcs);
    // Appends the live slots with `bit` set; returns how many.
    int CollectMarked(int bit, QEL_intArray* here) const;
    // Depth-first search from `start` for a cycle through its children.
    bool CycleBelow(int start);
    // Undirected walk from `start` over unvisited neighbours; false when a
    // node is reached twice.
    bool VisitTree(int start);
    // Appends the not yet ordered ancestors of `start`, then `start`, by a
    // depth-first postorder over the lists of `type`.
    void OrderFrom(int start, qel_arcType type, QEL_intArray& out);
    // Keeps those of `order` that are in `list`, in the order of `order`.
    void ReorderAlong(const QEL_intArray& order, QEL_intArray& list) const;

    QEL_creation creation;
    QEL_userProperties userProperties;
    QEL_documentation documentation;
    QEL_submodelHandler* submodels;
    QEL_nodeEntry* nodes;
    int maxNodes;
    int numNodes;
    int growthStep;
    int numTargets;
    int numberOfSamples;
    int numberOfDiscretizationSamples;
    bool zeroAvoidance;
    bool rejectOutliers;
    int defaultBNAlgorithm;
    int defaultIDAlgorithm;
    bool partialOrderValid;
    QEL_intArray partialOrder;
    // Update driver: network flags (relevance active, functional
    // determination, update immediately). Not QEL_object::flags.
    int flags;
    // Update driver: the model events that run the relevance hooks.
    int relevanceEvents;
    int readFlags;
    // 0 "user", 1 "node", 2 "state", 3 "nodestate", 4 "inherit".
    int faultNameFormat;
    // The sampling, loopy propagation and annealed MAP parameter blocks
    // follow here once their engines exist.
    bool noisyDecompEnabled;
    int noisyDecompLimit;
    QEL_randGen* randGen;
    QEL_caseManager* cases;
    QEL_dbnImpl* dbn;
    // Update driver: joint probability tables of the last exact update.
    QEL_jptStore* jptStore;
    QEL_extFunctionContainer* extFunctions;
    // Update driver: told of each update; not owned.
    QEL_updateBeliefsListener* listener;
};

#endif
