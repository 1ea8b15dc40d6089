// Long random sequences of edits on networks, checked after every step
// against a naive reference model: handles, ids, arc lists in their order,
// refusals (cycles by brute-force reachability), targets, every table and
// its diagnosis annotations, and every few steps the traversals and orders.
// Half the edits go through the flat interface, to see each of its calls
// reach the right operation with its arguments in place.
//
// The reference names every outcome by a token that never changes, and
// keeps each table as a map from the sorted tokens of a cell (one per
// parent, one of the node's own) to its probability, so that reordering
// parents or outcomes changes nothing there and every other edit has a
// short, obviously right effect. Labels, fault marks and the default
// outcome are kept by token too, so they must follow every outcome edit.
#include "core_helpers.h"

namespace {

using Key = std::vector<int>;
using coretest::ToVector;

Key With(Key key, int token) {
    key.insert(std::upper_bound(key.begin(), key.end(), token), token);
    return key;
}

Key Without(Key key, int token) {
    key.erase(std::lower_bound(key.begin(), key.end(), token));
    return key;
}

bool Has(const Key& key, int token) { return std::binary_search(key.begin(), key.end(), token); }

bool Contains(const std::vector<int>& list, int x) { return std::count(list.begin(), list.end(), x) > 0; }

void Erase(std::vector<int>& list, int x) { list.erase(std::find(list.begin(), list.end(), x)); }

// The engine's column normalisation, written out plainly.
void NormalizeColumn(std::vector<double>& column) {
    double sum = 0.0;
    for (double p : column) sum += p;
    if (sum == 1.0) return;
    for (double& p : column) p = sum == 0.0 ? 1.0 / column.size() : p * (1.0 / sum);
}

// The deterministic repair: the largest cell wins, ties to the later one.
void MakeDeterministicColumn(std::vector<double>& column) {
    size_t best = 0;
    for (size_t k = 1; k < column.size(); k++)
        if (column[k] >= column[best]) best = k;
    for (size_t k = 0; k < column.size(); k++) column[k] = k == best ? 1.0 : 0.0;
}

bool IsValidId(const std::string& id) {
    auto idChar = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    return !id.empty() && std::isalpha(static_cast<unsigned char>(id[0])) && std::all_of(id.begin(), id.end(), idChar);
}

struct RefNode {
    std::string id;
    bool truthTable = false, target = false;
    std::vector<int> tokens, parents, children;
    std::vector<std::string> names;
    std::map<Key, double> cells;
    std::map<int, std::string> labels;
    std::set<int> faults;
    int defaultToken = -1;
};

struct NetworkEdits {
    NetworkEdits(unsigned seed, int idealCount) : rng(seed), idealCount(idealCount) {}

    QEL_network net;
    std::mt19937 rng;
    std::map<int, RefNode> ref;
    int idealCount, slots = 50, nextToken = 0, nextId = 0;

    int Pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
    bool Chance(double p) { return std::uniform_real_distribution<double>(0.0, 1.0)(rng) < p; }
    QEL_nodeDefinition* Def(int h) { return net.GetNode(h)->Definition(); }
    int RandomNode() { return std::next(ref.begin(), Pick(0, static_cast<int>(ref.size()) - 1))->first; }
    // Mostly a live node, sometimes an empty slot or one out of range.
    int AnyHandle() { return Chance(0.9) ? RandomNode() : Pick(-2, slots + 1); }

    // Everything reachable from `h` along `next`, without `h`, ascending.
    std::vector<int> Closure(int h, std::vector<int> RefNode::*next) const {
        std::set<int> seen;
        std::function<void(int)> visit = [&](int n) {
            for (int m : ref.at(n).*next)
                if (seen.insert(m).second) visit(m);
        };
        visit(h);
        return std::vector<int>(seen.begin(), seen.end());
    }

    bool Reaches(int from, int to) const { return from == to || Contains(Closure(from, &RefNode::children), to); }

    std::vector<std::string> ActualNames(int h) { return coretest::Texts(*Def(h)->GetOutcomesNames()); }

    std::vector<Key> Configurations(const RefNode& node) const {
        std::vector<Key> out{Key{}};
        for (int p : node.parents) {
            std::vector<Key> next;
            for (const Key& key : out)
                for (int t : ref.at(p).tokens) next.push_back(With(key, t));
            out = next;
        }
        return out;
    }

    void Repair(RefNode& node) {
        for (const Key& conf : Configurations(node)) {
            std::vector<double> column;
            for (int t : node.tokens) column.push_back(node.cells.at(With(conf, t)));
            node.truthTable ? MakeDeterministicColumn(column) : NormalizeColumn(column);
            for (size_t k = 0; k < column.size(); k++) node.cells[With(conf, node.tokens[k])] = column[k];
        }
    }

    // New outcomes of `h` (own cells 0) and the children's columns for them
    // (uniform, or deterministic, with the rest of their table).
    void GrowColumns(int h, const std::vector<int>& added) {
        for (const Key& conf : Configurations(ref[h]))
            for (int t : added) ref[h].cells[With(conf, t)] = 0.0;
        for (int c : ref[h].children) {
            RefNode& node = ref[c];
            for (const Key& conf : Configurations(node)) {
                if (std::none_of(added.begin(), added.end(), [&](int t) { return Has(conf, t); })) continue;
                for (int t : node.tokens) node.cells[With(conf, t)] = 0.0;
            }
            Repair(node);
        }
    }

    void DropToken(int owner, int token) {
        RefNode& dropped = ref[owner];
        dropped.labels.erase(token);
        dropped.faults.erase(token);
        if (dropped.defaultToken == token) dropped.defaultToken = -1;
        std::vector<int> holders = dropped.children;
        holders.push_back(owner);
        for (int h : holders) {
            std::map<Key, double>& cells = ref[h].cells;
            for (auto it = cells.begin(); it != cells.end();) {
                it = Has(it->first, token) ? cells.erase(it) : std::next(it);
            }
        }
    }

    // What the engine does to its own table after an outcome was removed
    // from a node, which leaves columns short of one.
    void RepairAfterRemoval(int h) {
        if (ref[h].truthTable)
            static_cast<QEL_truthTable*>(Def(h))->MakeConsistent();
        else
            Def(h)->GetMatrix()->Normalize();
        Repair(ref[h]);
    }

    // Without a parent a child keeps the columns of its first outcome.
    void RemoveArcInRef(int parent, int child) {
        RefNode& node = ref[child];
        const int kept = ref[parent].tokens[0];
        std::map<Key, double> cells;
        for (const auto& [key, p] : node.cells)
            if (Has(key, kept)) cells[Without(key, kept)] = p;
        node.cells = cells;
        Erase(node.parents, parent);
        Erase(ref[parent].children, child);
    }

    Key KeyOfIndex(const RefNode& node, const QEL_Dmatrix& m, int index) const {
        QEL_intArray coords;
        m.IndexToCoordinates(index, coords);
        Key key;
        for (size_t d = 0; d < node.parents.size(); d++) key = With(key, ref.at(node.parents[d]).tokens[coords[d]]);
        return With(key, node.tokens[coords[m.GetLastDimension()]]);
    }

    // Takes the engine's table of `h` as the reference's, cell for cell.
    void Adopt(int h) {
        RefNode& node = ref[h];
        const QEL_Dmatrix& m = *Def(h)->GetMatrix();
        node.cells.clear();
        for (int i = 0; i < m.GetSize(); i++) node.cells[KeyOfIndex(node, m, i)] = m[i];
    }

    void AdoptNetwork() {
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
            RefNode& node = ref[h];
            node.id = net.GetNode(h)->GetId();
            node.truthTable = Def(h)->GetType() == qel_truthTableType;
            node.names = ActualNames(h);
            for (size_t i = 0; i < node.names.size(); i++) node.tokens.push_back(nextToken++);
            node.parents = ToVector(net.GetParents(h));
            node.children = ToVector(net.GetChildren(h));
        }
        for (auto& entry : ref) Adopt(entry.first);
    }

    // Default outcome, then label and fault mark of each outcome, from the
    // engine and from the reference.
    std::string Annotations(int h) {
        const QEL_extraDefinition& extra = *net.GetNode(h)->ExtraDefinition();
        std::string out = std::to_string(extra.GetDefaultOutcome());
        for (int i = 0; i < extra.GetNumberOfStates(); i++) {
            const char* label = extra.GetLabel(i);
            out += std::string(";") + (label ? label : "-") + (extra.IsFaultState(i) ? "*" : "");
        }
        return out;
    }

    std::string Annotations(const RefNode& node) {
        const auto at = std::find(node.tokens.begin(), node.tokens.end(), node.defaultToken);
        std::string out = std::to_string(at == node.tokens.end() ? -1 : at - node.tokens.begin());
        for (int t : node.tokens) {
            out += ";" + (node.labels.count(t) ? node.labels.at(t) : "-") + (node.faults.count(t) ? "*" : "");
        }
        return out;
    }

    // Lists, lookups and tables, after every edit.
    ::testing::AssertionResult CheckAll() {
        int targets = 0;
        for (int h = -1; h <= slots; h++) {
            if (net.Ok(h) != (ref.count(h) > 0)) return ::testing::AssertionFailure() << "slot " << h;
        }
        if (net.GetMaxNodes() != slots) return ::testing::AssertionFailure() << "slots " << net.GetMaxNodes();
        for (const auto& [h, node] : ref) {
            auto fail = [h = h](const char* what) { return ::testing::AssertionFailure() << what << " of node " << h; };
            const QEL_Dmatrix& m = *Def(h)->GetMatrix();
            std::vector<int> dims;
            for (int p : node.parents) dims.push_back(static_cast<int>(ref.at(p).tokens.size()));
            dims.push_back(static_cast<int>(node.tokens.size()));
            QEL_intArray discrete = coretest::ListOf({-7});  // replaced, not appended to
            net.GetDiscreteParents(h, discrete);
            targets += node.target;
            if (net.FindNode(node.id.c_str()) != h || net.IsTarget(h) != node.target) return fail("id or target bit");
            if (ToVector(net.GetParents(h)) != node.parents) return fail("parents");
            if (ToVector(discrete) != node.parents) return fail("discrete parents");
            if (ToVector(net.GetChildren(h)) != node.children) return fail("children");
            if (Def(h)->GetType() != (node.truthTable ? qel_truthTableType : qel_cptType)) return fail("type");
            if (ActualNames(h) != node.names) return fail("outcome names");
            if (Annotations(h) != Annotations(node)) return fail("diagnosis data");
            if (coretest::Dims(m) != dims || m.GetSize() != static_cast<int>(node.cells.size())) return fail("shape");
            for (int i = 0; i < m.GetSize(); i++) {
                auto it = node.cells.find(KeyOfIndex(node, m, i));
                if (it == node.cells.end() || std::fabs(it->second - m[i]) > 1e-12) return fail("cell") << " " << i;
            }
            if (Def(h)->CheckConsistency(1) != 0) return fail("consistency");
        }
        if (net.GetNumberOfTargets() != targets) return ::testing::AssertionFailure() << "target count";
        return ::testing::AssertionSuccess();
    }

    // Depth-first postorder over parents, roots taken in handle order.
    std::vector<int> PartialOrder() const {
        std::vector<int> out;
        std::function<void(int)> visit = [&](int n) {
            if (Contains(out, n)) return;
            for (int p : ref.at(n).parents) visit(p);
            out.push_back(n);
        };
        for (const auto& entry : ref) visit(entry.first);
        return out;
    }

    int Depth(int h) const {
        int depth = 0;
        for (int c : ref.at(h).children) depth = std::max(depth, 1 + Depth(c));
        return depth;
    }

    // The traversals and orders, against brute-force answers.
    void CheckTraversals() {
        std::vector<int> handles, walked;
        for (const auto& entry : ref) handles.push_back(entry.first);
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) walked.push_back(h);
        EXPECT_EQ(handles, walked);
        EXPECT_EQ(handles.back(), net.GetLastNode());
        EXPECT_EQ(1, net.IsAcyclic());
        const std::vector<int> order = ToVector(net.PartialOrdering());
        EXPECT_EQ(PartialOrder(), order);
        // Without decisions the temporal order is the partial order.
        QEL_intArray temporal, list;
        ASSERT_EQ(0, net.TemporalOrder(temporal));
        EXPECT_EQ(order, ToVector(temporal));
        // A list sorted along the partial order keeps only live handles.
        for (int h = -1; h <= slots; h++)
            if (Chance(0.5)) list.Add(h);
        std::vector<int> sorted;
        for (int h : order)
            if (list.IsInList(h)) sorted.push_back(h);
        std::shuffle(list.Items(), list.Items() + list.NumItems(), rng);
        ASSERT_EQ(0, net.OrderPartially(list));
        EXPECT_EQ(sorted, ToVector(list));
        // A polytree has one arc fewer than nodes in each undirected part.
        size_t inDegree = 0, arcs = 0, parts = 0;
        int depth = 0;
        std::set<int> seen;
        for (int h : handles) {
            inDegree = std::max(inDegree, ref[h].parents.size());
            arcs += ref[h].parents.size();
            depth = std::max(depth, Depth(h));
            std::vector<int> ancestors = Closure(h, &RefNode::parents);
            const std::vector<int> descendants = Closure(h, &RefNode::children);
            EXPECT_EQ(static_cast<int>(ancestors.size()), net.GetNumOfAncestors(h));
            EXPECT_EQ(static_cast<int>(descendants.size()), net.GetNumOfDescendants(h));
            QEL_intArray got = coretest::ListOf({-7});  // results are appended, not written over
            ASSERT_EQ(0, net.GetAncestors(h, got));
            ancestors.insert(ancestors.begin(), -7);
            EXPECT_EQ(ancestors, ToVector(got)) << "ancestors of " << h;
            got.Flush();
            ASSERT_EQ(0, net.GetDescendants(h, got));
            EXPECT_EQ(descendants, ToVector(got)) << "descendants of " << h;
            if (!seen.insert(h).second) continue;
            parts++;
            std::function<void(int)> spread = [&](int n) {
                for (int m : ref[n].parents) if (seen.insert(m).second) spread(m);
                for (int m : ref[n].children) if (seen.insert(m).second) spread(m);
            };
            spread(h);
        }
        EXPECT_EQ(arcs + parts == handles.size() ? 1 : 0, net.IsPolyTree());
        EXPECT_EQ(static_cast<int>(inDegree), net.InDegree());
        EXPECT_EQ(depth, net.GetDepthOfNet());
        for (int i = 0; i < 5; i++) {
            const int p = RandomNode(), c = RandomNode();
            const bool arc = Contains(ref[c].parents, p);
            EXPECT_EQ(!Reaches(c, p), net.RemainsAcyclic(p, c));
            EXPECT_EQ(arc ? 1 : 0, net.IsThisGuyMyParent(c, p));
            EXPECT_EQ(arc || Contains(ref[p].parents, c), net.Related(p, c));
        }
    }

    // A name that is sometimes taken, sometimes not an identifier.
    std::string RandomName() {
        const char* fixed[] = {"1bad", "with space", "State0", "State2"};
        const int kind = Pick(0, 6);
        return kind < 4 ? fixed[kind] : "s" + std::to_string(nextId++);
    }

    // Edits of a random node `h`: each makes one call (through the engine or
    // the flat interface), checks its status and updates the reference.

    void EditAddArc(int c, RefNode& node) {
        const int p = AnyHandle();
        if (node.parents.size() >= 3) return;
        const bool related = !ref.count(p) || p == c || Contains(node.parents, p) || Contains(ref[p].parents, c);
        const int expected = related ? QEL_OUT_OF_RANGE : (Reaches(c, p) ? QEL_CYCLE_ERROR : 0);
        ASSERT_EQ(expected, Chance(0.5) ? net.AddArc(p, c) : AddArc(&net, p, c)) << "arc " << p << " -> " << c;
        if (expected != 0) return;
        std::map<Key, double> cells;
        for (const auto& [key, q] : node.cells)
            for (int t : ref[p].tokens) cells[With(key, t)] = q;
        node.cells = cells;
        node.parents.push_back(p);
        ref[p].children.push_back(c);
        if (!node.truthTable) Repair(node);
    }

    void EditRemoveArc(int c, RefNode& node) {
        const int n = static_cast<int>(node.parents.size());
        const int p = n == 0 || Chance(0.1) ? AnyHandle() : node.parents[Pick(0, n - 1)];
        const bool exists = Contains(node.parents, p);
        ASSERT_EQ(exists ? 0 : -2, Chance(0.5) ? net.RemoveArc(p, c) : RemoveArc(&net, p, c));
        if (exists) RemoveArcInRef(p, c);
    }

    // Appended or inserted; a name that is no free identifier is replaced
    // by a generated "State<n>".
    void EditAddOutcome(int h, RefNode& node) {
        const int n = static_cast<int>(node.tokens.size()), kind = Pick(0, 2), at = kind == 2 ? Pick(0, n) : n;
        if (n >= 6) return;
        const std::string name = RandomName();
        const int rc = kind == 0   ? Def(h)->AddOutcome(name.c_str())
                       : kind == 1 ? nodeDefinition_AddOutcome(Def(h), name.c_str())
                                   : Def(h)->InsertOutcome(at, name.c_str());
        ASSERT_EQ(0, rc);
        const std::vector<std::string> names = ActualNames(h);
        ASSERT_EQ(n + 1, static_cast<int>(names.size()));
        const bool free = IsValidId(name) && !std::count(node.names.begin(), node.names.end(), name);
        EXPECT_TRUE(free ? names[at] == name : names[at].rfind("State", 0) == 0) << name << " became " << names[at];
        node.tokens.insert(node.tokens.begin() + at, nextToken);
        node.names = names;
        GrowColumns(h, {nextToken++});
    }

    void EditRemoveOutcome(int h, RefNode& node) {
        const int n = static_cast<int>(node.tokens.size()), at = Pick(0, n - 1);
        ASSERT_EQ(n <= 2 ? -2 : 0, Chance(0.5) ? Def(h)->RemoveOutcome(at) : nodeDefinition_RemoveOutcome(Def(h), at));
        if (n <= 2) return;
        DropToken(h, node.tokens[at]);
        node.tokens.erase(node.tokens.begin() + at);
        node.names.erase(node.names.begin() + at);
        RepairAfterRemoval(h);
    }

    // Names are repaired, not refused (too few are refused): valid and
    // unique, and a valid name no earlier outcome took is kept.
    void EditRename(int h, RefNode& node) {
        const int n = static_cast<int>(node.tokens.size());
        std::vector<std::string> given(Chance(0.1) ? n - 1 : n);
        std::vector<const char*> raw;
        for (std::string& s : given) raw.push_back((s = RandomName()).c_str());
        strarray list(static_cast<int>(raw.size()), raw.data());
        const int size = static_cast<int>(raw.size());
        const int rc = Chance(0.5) ? Def(h)->RenameOutcomes(list)
                                   : nodeDefinition_RenameOutcomes(Def(h), size, raw.data());
        ASSERT_EQ(size < n ? -2 : 0, rc);
        if (size < n) return;
        node.names = ActualNames(h);
        for (int i = 0; i < n; i++) {
            EXPECT_TRUE(IsValidId(node.names[i])) << node.names[i];
            EXPECT_EQ(1, std::count(node.names.begin(), node.names.end(), node.names[i])) << node.names[i];
            if (IsValidId(given[i]) && !std::count(node.names.begin(), node.names.begin() + i, given[i])) {
                EXPECT_EQ(given[i], node.names[i]);
            }
        }
    }

    // Outcomes (through either interface) or parents in a random order; an
    // order with a repeat is refused and changes nothing.
    void EditReorder(int h, RefNode& node) {
        const bool parents = Chance(0.3);
        const int n = static_cast<int>(parents ? node.parents.size() : node.tokens.size());
        if (n < 2) return;
        std::vector<int> order = coretest::Permutation(rng, n);
        const bool broken = Chance(0.15);
        if (broken) order[0] = order[1];
        QEL_intArray list = coretest::ListOf(order);
        const int rc = parents       ? net.ChangeOrderOfParents(h, list)
                       : Chance(0.5) ? Def(h)->ChangeOrderOfOutcomes(list)
                                     : nodeDefinition_ChangeOrderOfOutcomes(Def(h), n, order.data());
        ASSERT_EQ(broken ? -2 : 0, rc);
        std::vector<int>& items = parents ? node.parents : node.tokens;
        const std::vector<int> oldItems = items;
        const std::vector<std::string> oldNames = node.names;
        for (int i = 0; !broken && i < n; i++) {
            items[i] = oldItems[order[i]];
            if (!parents) node.names[i] = oldNames[order[i]];
        }
    }

    // New ids, each an old outcome kept or a new one; a repeated old
    // outcome is refused before anything changes.
    void EditRebuildOutcomes(int h, RefNode& node) {
        const int m = Pick(2, 5);
        std::vector<int> unused = coretest::Permutation(rng, static_cast<int>(node.tokens.size()));
        std::vector<int> order, tokens, added;
        std::vector<std::string> wanted;
        std::vector<const char*> raw;
        QEL_idArray ids(false);
        for (int i = 0; i < m; i++) {
            order.push_back(!unused.empty() && Chance(0.6) ? unused.back() : -1);
            if (order.back() >= 0) unused.pop_back();
            wanted.push_back("r" + std::to_string(nextId++));
        }
        for (const std::string& s : wanted) {
            raw.push_back(s.c_str());
            ids.Add(s.c_str());
        }
        const bool broken = order[0] >= 0 && Chance(0.15);
        if (broken) order[1] = order[0];
        QEL_intArray list = coretest::ListOf(order);
        const int rc =
            Chance(0.5) ? Def(h)->ChangeOrderOfOutcomesWithAddAndRemove(ids, list)
                        : nodeDefinition_ChangeOrderOfOutcomesWithAddAndRemove(Def(h), m, raw.data(), m, order.data());
        ASSERT_EQ(broken ? -2 : 0, rc);
        if (broken) return;
        ASSERT_EQ(wanted, ActualNames(h));
        for (int i = 0; i < m; i++) tokens.push_back(order[i] >= 0 ? node.tokens[order[i]] : nextToken++);
        for (int t : node.tokens)
            if (!Contains(tokens, t)) DropToken(h, t);
        for (int t : tokens)
            if (!Contains(node.tokens, t)) added.push_back(t);
        node.tokens = tokens;
        node.names = wanted;
        GrowColumns(h, added);
        RepairAfterRemoval(h);
    }

    void EditChangeType(int h, RefNode& node) {
        const int type = node.truthTable ? qel_cptType : qel_truthTableType;
        ASSERT_EQ(0, Chance(0.5) ? net.GetNode(h)->ChangeType(type) : node_ChangeType(net.GetNode(h), type));
        node.truthTable = !node.truthTable;
        if (node.truthTable) Repair(node);
    }

    void EditDeleteNode(int, RefNode&) {
        const int h = AnyHandle();
        if (ref.size() <= 2 && ref.count(h)) return;
        ASSERT_EQ(ref.count(h) ? 0 : QEL_OUT_OF_RANGE, net.DeleteNode(h));
        if (!ref.count(h)) return;
        while (!ref[h].children.empty()) RemoveArcInRef(h, ref[h].children[0]);
        while (!ref[h].parents.empty()) RemoveArcInRef(ref[h].parents[0], h);
        ref.erase(h);
    }

    // The slot the next node takes: the node count if free (a full table
    // grows by its step), else the lowest free slot.
    int NextHandle() const {
        int h = static_cast<int>(ref.size());
        if (!ref.count(h)) return h;
        for (h = 0; ref.count(h);) h++;
        return h;
    }

    // A refused type or taken id, a generated id ("Node<n>" from the node
    // count on) or one of our own.
    void EditAddNode(int, RefNode& node) {
        const int expected = NextHandle(), variant = Pick(0, 19);
        const bool deterministic = Chance(0.3);
        if (variant < 2) {
            const int rc = variant ? net.AddNode(qel_cptType, node.id.c_str()) : net.AddNode(9, "unused");
            ASSERT_EQ(variant ? QEL_OUT_OF_RANGE : QEL_WRONG_NODE_TYPE, rc);
            return;
        }
        std::string id = "a" + std::to_string(nextId++);
        for (int k = static_cast<int>(ref.size()); variant == 2; k++) {
            id = "Node" + std::to_string(k);
            if (std::none_of(ref.begin(), ref.end(), [&](const auto& e) { return e.second.id == id; })) break;
        }
        const int type = deterministic ? qel_truthTableType : qel_cptType;
        ASSERT_EQ(expected, net.AddNode(type, variant == 2 ? nullptr : id.c_str())) << "handle of " << id;
        if (expected == slots) slots += 50;
        RefNode& added = ref[expected];
        added.id = id;
        added.truthTable = deterministic;
        added.names = {"State0", "State1"};
        added.tokens = {nextToken, nextToken + 1};
        added.cells = {{{nextToken}, deterministic ? 1.0 : 0.5}, {{nextToken + 1}, deterministic ? 0.0 : 0.5}};
        nextToken += 2;
    }

    // Fresh outcomes "State0" on; refused while the node has children.
    void EditSetCount(int h, RefNode& node) {
        const int count = Pick(1, 5), n = std::max(count, 2);
        const bool children = !node.children.empty();
        const int rc = Chance(0.5) ? Def(h)->SetNumberOfOutcomes(count)
                                   : nodeDefinition_SetNumberOfOutcomes(Def(h), count);
        ASSERT_EQ(children ? -19 : 0, rc);
        if (children) return;
        node.tokens.clear();
        node.names.clear();
        node.cells.clear();
        for (int i = 0; i < n; i++) {
            node.tokens.push_back(nextToken++);
            node.names.push_back("State" + std::to_string(i));
        }
        std::vector<double> column(n, 0.0);
        column[0] = node.truthTable ? 1.0 : 0.0;
        // The engine builds the own column, then normalises once more for
        // each parent it adds back.
        for (size_t i = 0; !node.truthTable && i <= node.parents.size(); i++) NormalizeColumn(column);
        for (const Key& conf : Configurations(node))
            for (int i = 0; i < n; i++) node.cells[With(conf, node.tokens[i])] = column[i];
    }

    // A label, fault mark or default on an outcome, or on one past the
    // ends, which is refused.
    void EditAnnotate(int h, RefNode& node) {
        const int n = static_cast<int>(node.tokens.size()), i = Pick(-1, n), fault = Pick(0, 1), kind = Pick(0, 2);
        const bool ok = i >= 0 && i < n;
        const int token = ok ? node.tokens[i] : -1;
        QEL_extraDefinition& extra = *net.GetNode(h)->ExtraDefinition();
        const std::string label = "L " + std::to_string(nextId++);
        const int rc = kind == 0   ? extra.SetLabel(i, label.c_str())
                       : kind == 1 ? extra.SetFaultState(i, fault)
                                   : extra.SetDefaultOutcome(i);
        ASSERT_EQ(ok ? 0 : -2, rc);
        if (!ok) return;
        if (kind == 0) node.labels[token] = label;
        if (kind == 1 && fault) node.faults.insert(token);
        if (kind == 1 && !fault) node.faults.erase(token);
        if (kind == 2) node.defaultToken = token;
    }

    void EditRefill(int h, RefNode&) {
        ASSERT_EQ(0, orvil_test::FillRandomTable(net, h, rng, 0.3));
        Adopt(h);
    }

    // Setting a bit that is already set is refused as not applicable.
    void EditTarget(int, RefNode&) {
        if (Chance(0.05)) {
            ASSERT_EQ(0, net.ClearAllTargets());
            for (auto& entry : ref) entry.second.target = false;
            return;
        }
        const int h = AnyHandle();
        const bool on = Chance(0.5);
        const int expected = !ref.count(h) ? QEL_OUT_OF_RANGE : ref[h].target == on ? QEL_NOT_APPLICABLE : 0;
        ASSERT_EQ(expected, net.SetTarget(h, on));
        if (expected == 0) ref[h].target = on;
    }

    void Step() {
        using Edit = void (NetworkEdits::*)(int, RefNode&);
        static const Edit edits[] = {
            &NetworkEdits::EditAddArc,         &NetworkEdits::EditAddArc,          &NetworkEdits::EditRemoveArc,
            &NetworkEdits::EditAddOutcome,     &NetworkEdits::EditRemoveOutcome,   &NetworkEdits::EditRename,
            &NetworkEdits::EditReorder,        &NetworkEdits::EditReorder,         &NetworkEdits::EditRebuildOutcomes,
            &NetworkEdits::EditChangeType,     &NetworkEdits::EditDeleteNode,      &NetworkEdits::EditSetCount,
            &NetworkEdits::EditAnnotate,       &NetworkEdits::EditRefill,          &NetworkEdits::EditTarget,
        };
        const int h = RandomNode();
        if (static_cast<int>(ref.size()) < idealCount && Chance(0.3)) return EditAddNode(h, ref[h]);
        (this->*edits[Pick(0, 14)])(h, ref[h]);
    }
};

// Dense edits among a few nodes, then sparse ones across table growth.
TEST(NetworkEdits, RandomSequencesMatchTheReference) {
    for (unsigned seed = 1; seed <= 28; seed++) {
        const bool sparse = seed > 25;
        NetworkEdits t(seed, sparse ? 120 : 7);
        ASSERT_EQ(5u, coretest::RandomNetwork(t.net, seed, 5, 2, 4, 0.3, 0.2).size());
        t.AdoptNetwork();
        ASSERT_TRUE(t.CheckAll()) << "seed " << seed << " as built";
        for (int step = 0; step < (sparse ? 700 : 250); step++) {
            t.Step();
            if (::testing::Test::HasFatalFailure()) FAIL() << "seed " << seed << " step " << step;
            ASSERT_TRUE(t.CheckAll()) << "seed " << seed << " step " << step;
            if (step % 7 == 0) t.CheckTraversals();
            // Exact values from here on, so that rounding does not pile up
            // between the engine and the reference.
            for (auto& entry : t.ref) t.Adopt(entry.first);
        }
    }
}

}  // namespace
