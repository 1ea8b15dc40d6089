// Long random sequences of structural edits on random networks, checked
// after every step against a naive reference model.
//
// The reference names every outcome by a token that never changes (not by
// its name or position), and stores each table as a map from the sorted
// set of tokens of one cell (one per parent, one of the node's own) to its
// probability. Reordering parents or outcomes therefore changes nothing in
// the reference, and every other edit has a short, obviously right effect
// there. After each step the engine's tables are read back through the
// parent list and the outcome order and compared cell by cell; dimensions
// and column sums are checked too. The diagnosis annotations (labels, fault
// marks, the default outcome) are kept by token as well, so that they must
// follow every outcome edit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "orvil/cpt.h"
#include "orvil/dmatrix.h"
#include "orvil/extradefinition.h"
#include "orvil/intarray.h"
#include "orvil/network.h"
#include "orvil/node.h"
#include "orvil/nodedefinition.h"
#include "orvil/stringarray.h"
#include "orvil/truthtable.h"
#include "random_network.h"

namespace {

using Key = std::vector<int>;

Key With(Key key, int token) {
    key.insert(std::upper_bound(key.begin(), key.end(), token), token);
    return key;
}

bool Has(const Key& key, int token) { return std::binary_search(key.begin(), key.end(), token); }

Key Without(Key key, int token) {
    key.erase(std::lower_bound(key.begin(), key.end(), token));
    return key;
}

// The engine's column normalisation, written out plainly.
void NormalizeColumn(std::vector<double>& column) {
    double sum = 0.0;
    for (double p : column) sum += p;
    if (sum == 1.0) return;
    if (sum == 0.0) {
        for (double& p : column) p = 1.0 / column.size();
        return;
    }
    const double scale = 1.0 / sum;
    for (double& p : column) p *= scale;
}

// The deterministic repair: the largest cell wins, ties to the later one.
void MakeDeterministicColumn(std::vector<double>& column) {
    size_t best = 0;
    for (size_t k = 1; k < column.size(); k++)
        if (column[k] >= column[best]) best = k;
    for (size_t k = 0; k < column.size(); k++) column[k] = k == best ? 1.0 : 0.0;
}

bool IsValidId(const std::string& id) {
    if (id.empty() || !std::isalpha(static_cast<unsigned char>(id[0]))) return false;
    for (char c : id)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    return true;
}

struct RefNode {
    bool truthTable = false;
    std::vector<int> tokens;
    std::vector<std::string> names;
    std::vector<int> parents;
    std::map<Key, double> cells;
    // Diagnosis annotations by token: labels, fault marks, the default.
    std::map<int, std::string> labels;
    std::set<int> faults;
    int defaultToken = -1;
};

class StructureEdits {
public:
    explicit StructureEdits(unsigned seed) : rng(seed) {}

    QEL_network net;
    std::mt19937 rng;
    std::map<int, RefNode> ref;
    int nextToken = 0;
    int nextId = 0;

    int Pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
    bool Chance(double p) { return std::uniform_real_distribution<double>(0.0, 1.0)(rng) < p; }

    QEL_nodeDefinition* Def(int h) { return net.GetNode(h)->Definition(); }

    int RandomNode() {
        auto it = ref.begin();
        std::advance(it, Pick(0, static_cast<int>(ref.size()) - 1));
        return it->first;
    }

    std::vector<int> Children(int h) const {
        std::vector<int> out;
        for (const auto& entry : ref)
            if (std::count(entry.second.parents.begin(), entry.second.parents.end(), h)) out.push_back(entry.first);
        return out;
    }

    bool Reaches(int from, int to) const {
        if (from == to) return true;
        for (int c : Children(from))
            if (Reaches(c, to)) return true;
        return false;
    }

    std::vector<std::string> ActualNames(int h) {
        std::vector<std::string> out;
        QEL_idArray* names = Def(h)->GetOutcomesNames();
        for (int i = 0; i < names->NumItems(); i++) out.push_back((*names)[i] ? (*names)[i] : "");
        return out;
    }

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

    template <class F>
    void ForEachColumn(RefNode& node, F repair) {
        for (const Key& conf : Configurations(node)) {
            std::vector<double> column;
            for (int t : node.tokens) column.push_back(node.cells.at(With(conf, t)));
            repair(column);
            for (size_t k = 0; k < column.size(); k++) node.cells[With(conf, node.tokens[k])] = column[k];
        }
    }

    void Repair(RefNode& node) {
        if (node.truthTable)
            ForEachColumn(node, MakeDeterministicColumn);
        else
            ForEachColumn(node, NormalizeColumn);
    }

    // What the engine does to its own table after an outcome was removed
    // from a node, which leaves columns short of one.
    void RepairEngineAfterRemoval(int h) {
        if (ref[h].truthTable)
            static_cast<QEL_truthTable*>(Def(h))->MakeConsistent();
        else
            Def(h)->GetMatrix()->Normalize();
        Repair(ref[h]);
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
        node.cells.clear();
        const QEL_Dmatrix& m = *Def(h)->GetMatrix();
        for (int i = 0; i < m.GetSize(); i++) node.cells[KeyOfIndex(node, m, i)] = m[i];
    }

    void AdoptNetwork() {
        for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) {
            RefNode& node = ref[h];
            node.truthTable = Def(h)->GetType() == qel_truthTableType;
            node.names = ActualNames(h);
            node.tokens.clear();
            for (size_t i = 0; i < node.names.size(); i++) node.tokens.push_back(nextToken++);
            const QEL_intArray& parents = net.GetParents(h, qel_normalArc);
            node.parents.assign(parents.Items(), parents.Items() + parents.NumItems());
        }
        for (auto& entry : ref) Adopt(entry.first);
    }

    ::testing::AssertionResult CheckNode(int h) {
        const RefNode& node = ref.at(h);
        QEL_node* n = net.GetNode(h);
        if (n == nullptr || n->Definition() == nullptr) return ::testing::AssertionFailure() << "node missing";
        QEL_nodeDefinition* def = n->Definition();
        if (def->GetType() != (node.truthTable ? qel_truthTableType : qel_cptType))
            return ::testing::AssertionFailure() << "type " << def->GetType();
        const QEL_intArray& parents = net.GetParents(h, qel_normalArc);
        std::vector<int> actualParents(parents.Items(), parents.Items() + parents.NumItems());
        if (actualParents != node.parents) return ::testing::AssertionFailure() << "parent list differs";
        if (ActualNames(h) != node.names) return ::testing::AssertionFailure() << "outcome names differ";
        const QEL_extraDefinition* extra = n->ExtraDefinition();
        if (extra == nullptr || extra->GetNumberOfStates() != static_cast<int>(node.tokens.size()))
            return ::testing::AssertionFailure() << "diagnosis data out of step";
        int defaultPosition = -1;
        for (int i = 0; i < static_cast<int>(node.tokens.size()); i++) {
            const int token = node.tokens[i];
            const char* label = extra->GetLabel(i);
            const auto expected = node.labels.find(token);
            if ((label == nullptr) != (expected == node.labels.end()) || (label && expected->second != label))
                return ::testing::AssertionFailure() << "label of outcome " << i;
            if (extra->IsFaultState(i) != static_cast<int>(node.faults.count(token)))
                return ::testing::AssertionFailure() << "fault mark of outcome " << i;
            if (token == node.defaultToken) defaultPosition = i;
        }
        if (extra->GetDefaultOutcome() != defaultPosition)
            return ::testing::AssertionFailure() << "default outcome " << extra->GetDefaultOutcome();
        const QEL_Dmatrix& m = *def->GetMatrix();
        if (m.GetNumberOfDimensions() != static_cast<int>(node.parents.size()) + 1)
            return ::testing::AssertionFailure() << "dimension count " << m.GetNumberOfDimensions();
        for (size_t d = 0; d < node.parents.size(); d++)
            if (m.GetSizeOfDimension(static_cast<int>(d)) != static_cast<int>(ref.at(node.parents[d]).tokens.size()))
                return ::testing::AssertionFailure() << "dimension " << d << " has the wrong size";
        if (m.GetSizeOfLastDimension() != static_cast<int>(node.tokens.size()))
            return ::testing::AssertionFailure() << "own dimension has the wrong size";
        if (m.GetSize() != static_cast<int>(node.cells.size()))
            return ::testing::AssertionFailure() << "size " << m.GetSize() << " against " << node.cells.size();
        for (int i = 0; i < m.GetSize(); i++) {
            auto it = node.cells.find(KeyOfIndex(node, m, i));
            if (it == node.cells.end() || std::fabs(it->second - m[i]) > 1e-12)
                return ::testing::AssertionFailure() << "cell " << i << " is " << m[i];
        }
        const int n0 = m.GetSizeOfLastDimension();
        for (int start = 0; start < m.GetSize(); start += n0) {
            double sum = 0.0;
            for (int k = 0; k < n0; k++) sum += m[start + k];
            if (std::fabs(sum - 1.0) > 1e-9) return ::testing::AssertionFailure() << "column sum " << sum;
        }
        if (def->CheckConsistency(1) != 0) return ::testing::AssertionFailure() << "definition not consistent";
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult CheckAll() {
        if (net.GetNumberOfNodes() != static_cast<int>(ref.size()))
            return ::testing::AssertionFailure() << "node count " << net.GetNumberOfNodes();
        for (auto& entry : ref) {
            ::testing::AssertionResult r = CheckNode(entry.first);
            if (!r) return r << " (node " << entry.first << ")";
        }
        return ::testing::AssertionSuccess();
    }

    // A name that is sometimes taken, sometimes not an identifier.
    std::string RandomName() {
        switch (Pick(0, 5)) {
            case 0:
                return "1bad";
            case 1:
                return "with space";
            case 2:
                return "State" + std::to_string(Pick(0, 3));
            default:
                return "s" + std::to_string(nextId++);
        }
    }

    // ---- Edits: each applies one engine call and its effect on the
    // reference, and checks the status ----

    // The parent's outcomes `tokens` are new: the children get columns for
    // them, made uniform (or deterministic) with the rest of their table.
    void GrowParentColumns(int parent, const std::vector<int>& tokens) {
        for (int c : Children(parent)) {
            RefNode& node = ref[c];
            for (const Key& conf : Configurations(node)) {
                bool fresh = false;
                for (int token : tokens) fresh = fresh || Has(conf, token);
                if (!fresh) continue;
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
        for (auto& entry : ref) {
            RefNode& node = entry.second;
            if (entry.first != owner && !std::count(node.parents.begin(), node.parents.end(), owner)) continue;
            for (auto it = node.cells.begin(); it != node.cells.end();)
                it = Has(it->first, token) ? node.cells.erase(it) : std::next(it);
        }
    }

    void RemoveParentInRef(int child, int parent) {
        RefNode& node = ref[child];
        const int kept = ref[parent].tokens[0];
        std::map<Key, double> cells;
        for (const auto& cell : node.cells)
            if (Has(cell.first, kept)) cells[Without(cell.first, kept)] = cell.second;
        node.cells = cells;
        node.parents.erase(std::find(node.parents.begin(), node.parents.end(), parent));
    }

    void EditAddArc() {
        const int p = RandomNode();
        const int c = RandomNode();
        if (ref[c].parents.size() >= 3) return;
        const bool related = std::count(ref[c].parents.begin(), ref[c].parents.end(), p) ||
                             std::count(ref[p].parents.begin(), ref[p].parents.end(), c);
        const int expected = p == c || related ? -2 : (Reaches(c, p) ? -11 : 0);
        ASSERT_EQ(expected, net.AddArc(p, c, qel_normalArc)) << "arc " << p << " -> " << c;
        if (expected != 0) return;
        RefNode& node = ref[c];
        std::map<Key, double> cells;
        for (const auto& cell : node.cells)
            for (int t : ref[p].tokens) cells[With(cell.first, t)] = cell.second;
        node.cells = cells;
        node.parents.push_back(p);
        if (!node.truthTable) ForEachColumn(node, NormalizeColumn);
    }

    void EditRemoveArc() {
        const int c = RandomNode();
        const int p = ref[c].parents.empty() || Chance(0.1) ? RandomNode() : ref[c].parents[Pick(0, static_cast<int>(ref[c].parents.size()) - 1)];
        const bool exists = std::count(ref[c].parents.begin(), ref[c].parents.end(), p) > 0;
        ASSERT_EQ(exists ? 0 : -2, net.RemoveArc(p, c, qel_normalArc));
        if (exists) RemoveParentInRef(c, p);
    }

    void EditAddOutcome(bool insert) {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        if (n >= 6) return;
        const std::string name = RandomName();
        const int position = insert ? Pick(0, n) : n;
        const int rc = insert ? Def(h)->InsertOutcome(position, name.c_str()) : Def(h)->AddOutcome(name.c_str());
        ASSERT_EQ(0, rc);
        const int token = nextToken++;
        const std::vector<std::string> names = ActualNames(h);
        ASSERT_EQ(n + 1, static_cast<int>(names.size()));
        const bool free = IsValidId(name) && !std::count(node.names.begin(), node.names.end(), name);
        if (free) {
            EXPECT_EQ(name, names[position]);
        } else {
            EXPECT_EQ(0u, names[position].rfind("State", 0)) << names[position];
        }
        for (const Key& conf : Configurations(node)) node.cells[With(conf, token)] = 0.0;
        node.tokens.insert(node.tokens.begin() + position, token);
        node.names = names;
        GrowParentColumns(h, {token});
    }

    void EditRemoveOutcome() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        const int position = Pick(0, n - 1);
        if (n <= 2) {
            ASSERT_EQ(-2, Def(h)->RemoveOutcome(position));
            return;
        }
        ASSERT_EQ(0, Def(h)->RemoveOutcome(position));
        const int token = node.tokens[position];
        DropToken(h, token);
        node.tokens.erase(node.tokens.begin() + position);
        node.names.erase(node.names.begin() + position);
        RepairEngineAfterRemoval(h);
    }

    void EditRenameOutcome() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int position = Pick(0, static_cast<int>(node.tokens.size()) - 1);
        const std::string name = RandomName();
        bool free = IsValidId(name);
        for (size_t i = 0; i < node.names.size(); i++)
            if (static_cast<int>(i) != position && node.names[i] == name) free = false;
        ASSERT_EQ(free ? 0 : -2, Def(h)->RenameOutcome(position, name.c_str()));
        if (free) node.names[position] = name;
    }

    void EditRenameOutcomes() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        const bool tooFew = Chance(0.1);
        std::vector<std::string> given;
        for (int i = 0; i < (tooFew ? n - 1 : n); i++) given.push_back(RandomName());
        std::vector<const char*> raw;
        for (const std::string& s : given) raw.push_back(s.c_str());
        strarray list(static_cast<int>(raw.size()), raw.data());
        ASSERT_EQ(tooFew ? -2 : 0, Def(h)->RenameOutcomes(list));
        const std::vector<std::string> names = ActualNames(h);
        if (tooFew) {
            ASSERT_EQ(node.names, names);
            return;
        }
        std::set<std::string> seen;
        for (int i = 0; i < n; i++) {
            EXPECT_TRUE(IsValidId(names[i])) << names[i];
            EXPECT_TRUE(seen.insert(names[i]).second) << names[i];
            // A valid name that no earlier outcome took is kept as given.
            const bool taken = std::count(names.begin(), names.begin() + i, given[i]) > 0;
            if (IsValidId(given[i]) && !taken) {
                EXPECT_EQ(given[i], names[i]);
            }
        }
        node.names = names;
    }

    std::vector<int> RandomPermutation(int n) {
        std::vector<int> order(n);
        for (int i = 0; i < n; i++) order[i] = i;
        std::shuffle(order.begin(), order.end(), rng);
        return order;
    }

    void EditReorderOutcomes() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        std::vector<int> order = RandomPermutation(n);
        const bool broken = Chance(0.1);
        if (broken) order[0] = order[1];
        QEL_intArray list;
        for (int v : order) list.Add(v);
        ASSERT_EQ(broken ? -2 : 0, Def(h)->ChangeOrderOfOutcomes(list));
        if (broken) return;
        RefNode old = node;
        for (int i = 0; i < n; i++) {
            node.tokens[i] = old.tokens[order[i]];
            node.names[i] = old.names[order[i]];
        }
    }

    void EditReorderParents() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int k = static_cast<int>(node.parents.size());
        if (k < 2) return;
        std::vector<int> order = RandomPermutation(k);
        QEL_intArray list;
        for (int v : order) list.Add(v);
        ASSERT_EQ(0, net.ChangeOrderOfParents(h, list));
        const std::vector<int> old = node.parents;
        for (int i = 0; i < k; i++) node.parents[i] = old[order[i]];
    }

    void EditRebuildOutcomes() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        const int m = Pick(2, 5);
        std::vector<int> unused = RandomPermutation(n);
        std::vector<int> order;
        for (int i = 0; i < m; i++) {
            if (!unused.empty() && Chance(0.6)) {
                order.push_back(unused.back());
                unused.pop_back();
            } else {
                order.push_back(-1);
            }
        }
        QEL_idArray ids(false);
        std::vector<std::string> wanted;
        for (int i = 0; i < m; i++) {
            wanted.push_back("r" + std::to_string(nextId++));
            ids.Add(wanted.back().c_str());
        }
        QEL_intArray list;
        for (int v : order) list.Add(v);
        // A repeated old outcome is refused before anything changes.
        const bool broken = m >= 2 && order[0] >= 0 && Chance(0.15);
        if (broken) list[1] = order[0];
        ASSERT_EQ(broken ? -2 : 0, Def(h)->ChangeOrderOfOutcomesWithAddAndRemove(ids, list));
        if (broken) return;
        ASSERT_EQ(wanted, ActualNames(h));

        std::vector<int> tokens;
        for (int i = 0; i < m; i++) tokens.push_back(order[i] >= 0 ? node.tokens[order[i]] : nextToken++);
        for (int t : node.tokens)
            if (!std::count(tokens.begin(), tokens.end(), t)) DropToken(h, t);
        const std::vector<int> oldTokens = node.tokens;
        node.tokens = tokens;
        node.names = wanted;
        std::vector<int> added;
        for (int t : tokens)
            if (!std::count(oldTokens.begin(), oldTokens.end(), t)) added.push_back(t);
        for (const Key& conf : Configurations(node))
            for (int t : added) node.cells[With(conf, t)] = 0.0;
        GrowParentColumns(h, added);
        RepairEngineAfterRemoval(h);
    }

    void EditChangeType() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int type = node.truthTable ? qel_cptType : qel_truthTableType;
        ASSERT_EQ(0, net.GetNode(h)->ChangeType(type));
        node.truthTable = !node.truthTable;
        if (node.truthTable) ForEachColumn(node, MakeDeterministicColumn);
    }

    void EditDeleteNode() {
        if (ref.size() <= 2) return;
        const int h = RandomNode();
        ASSERT_EQ(0, net.DeleteNode(h));
        for (int c : Children(h)) RemoveParentInRef(c, h);
        ref.erase(h);
    }

    void EditAddNode() {
        if (ref.size() >= 8) return;
        const bool deterministic = Chance(0.3);
        const std::string id = "a" + std::to_string(nextId++);
        const int h = net.AddNode(deterministic ? qel_truthTableType : qel_cptType, id.c_str());
        ASSERT_GE(h, 0);
        RefNode& node = ref[h];
        node = RefNode();
        node.truthTable = deterministic;
        node.names = {"State0", "State1"};
        node.tokens = {nextToken, nextToken + 1};
        nextToken += 2;
        node.cells[{node.tokens[0]}] = deterministic ? 1.0 : 0.5;
        node.cells[{node.tokens[1]}] = deterministic ? 0.0 : 0.5;
    }

    void EditSetCount() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int count = Pick(1, 5);
        if (!Children(h).empty()) {
            ASSERT_EQ(-19, Def(h)->SetNumberOfOutcomes(count));
            return;
        }
        ASSERT_EQ(0, Def(h)->SetNumberOfOutcomes(count));
        const int n = count < 2 ? 2 : count;
        node.tokens.clear();
        node.names.clear();
        for (int i = 0; i < n; i++) {
            node.tokens.push_back(nextToken++);
            node.names.push_back("State" + std::to_string(i));
        }
        std::vector<double> column(n, 0.0);
        if (node.truthTable) {
            column[0] = 1.0;
        } else {
            // The engine builds the own column, then normalises once more
            // for each parent it adds back.
            for (size_t i = 0; i <= node.parents.size(); i++) NormalizeColumn(column);
        }
        node.cells.clear();
        for (const Key& conf : Configurations(node))
            for (int i = 0; i < n; i++) node.cells[With(conf, node.tokens[i])] = column[i];
    }

    // A label, fault mark or default on an outcome, or on one past the
    // ends, which is refused.
    void EditAnnotate() {
        const int h = RandomNode();
        RefNode& node = ref[h];
        const int n = static_cast<int>(node.tokens.size());
        const int i = Pick(-1, n);
        const bool ok = i >= 0 && i < n;
        const int token = ok ? node.tokens[i] : -1;
        QEL_extraDefinition& extra = *net.GetNode(h)->ExtraDefinition();
        switch (Pick(0, 2)) {
            case 0: {
                const std::string label = "L " + std::to_string(nextId++);
                ASSERT_EQ(ok ? 0 : -2, extra.SetLabel(i, label.c_str()));
                if (ok) node.labels[token] = label;
                break;
            }
            case 1: {
                const int fault = Pick(0, 1);
                ASSERT_EQ(ok ? 0 : -2, extra.SetFaultState(i, fault));
                if (ok && fault) node.faults.insert(token);
                if (ok && !fault) node.faults.erase(token);
                break;
            }
            default:
                ASSERT_EQ(ok ? 0 : -2, extra.SetDefaultOutcome(i));
                if (ok) node.defaultToken = token;
        }
    }

    void EditRefill() {
        const int h = RandomNode();
        ASSERT_EQ(0, orvil_test::FillRandomTable(net, h, rng, 0.3));
        Adopt(h);
    }

    void Step() {
        switch (Pick(0, 17)) {
            case 0:
            case 1:
                return EditAddArc();
            case 2:
                return EditRemoveArc();
            case 3:
                return EditAddOutcome(false);
            case 4:
                return EditAddOutcome(true);
            case 5:
                return EditRemoveOutcome();
            case 6:
                return EditRenameOutcome();
            case 7:
                return EditRenameOutcomes();
            case 8:
                return EditReorderOutcomes();
            case 9:
                return EditReorderParents();
            case 10:
                return EditRebuildOutcomes();
            case 11:
                return EditChangeType();
            case 12:
                return EditDeleteNode();
            case 13:
                return EditAddNode();
            case 14:
                return EditSetCount();
            case 15:
            case 16:
                return EditAnnotate();
            default:
                return EditRefill();
        }
    }
};

TEST(StructureEdits, RandomEditSequencesKeepTablesInStepWithTheGraph) {
    for (unsigned seed = 1; seed <= 25; seed++) {
        StructureEdits t(seed);
        orvil_test::RandomNetworkOptions options;
        options.nodes = 5;
        options.maxParents = 2;
        options.maxOutcomes = 4;
        options.deterministicShare = 0.3;
        ASSERT_EQ(5u, orvil_test::BuildRandomNetwork(t.net, seed, options).size());
        t.AdoptNetwork();
        ASSERT_TRUE(t.CheckAll()) << "seed " << seed << " as built";
        for (int step = 0; step < 250; step++) {
            t.Step();
            if (::testing::Test::HasFatalFailure()) FAIL() << "seed " << seed << " step " << step;
            ASSERT_TRUE(t.CheckAll()) << "seed " << seed << " step " << step;
            // Exact values from here on, so that rounding does not pile up
            // between the engine and the reference.
            for (auto& entry : t.ref) t.Adopt(entry.first);
        }
    }
}

}  // namespace
