// Turns a parsed BIF document into a BifModel: looks every name up, checks
// counts and structure, and lays each table out in the engine's order. A
// BIF `table` statement lists the child's states outermost and the parents
// inside them, the last parent fastest; the engine wants the child's states
// innermost, so that form is transposed here. Per-configuration rows name
// their parent states and land directly in their column.
#include "formats/bif_resolve.h"

#include "orvil/errors.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace {

using NameIndex = std::unordered_map<std::string_view, int>;

// Filled states of one parent configuration.
enum ColumnSource : unsigned char { NotGiven, FromTable, FromRow };

std::string Quoted(std::string_view text)
{
    return "'" + std::string(text) + "'";
}

std::string_view Trim(std::string_view text)
{
    const char* blanks = " \t\r\n\f\v";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return std::string_view();
    size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

std::string_view Unquote(std::string_view text)
{
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"' &&
        text.substr(1, text.size() - 2).find('"') == std::string_view::npos)
        return text.substr(1, text.size() - 2);
    return text;
}

class BifResolver {
public:
    BifResolver(const BifDocument& doc, BifModel& model, BifError& error)
        : doc(doc), model(model), error(error)
    {
    }

    int Resolve();

private:
    int ResolveVariable(const BifDocVariable& variable);
    int ResolveBlock(size_t blockIndex);
    int ResolveParent(BifNode& node, const BifDocProbability& block, std::string_view name);
    int CheckEveryVariableHasBlock();
    int CheckAcyclic();
    int ReportCycle(const std::vector<std::pair<int, size_t>>& path, int closing);
    int FillTable(size_t nodeIndex);
    int FillFromTable(BifNode& node, const BifDocProbability& block, std::vector<unsigned char>& given);
    int FillFromRow(BifNode& node, const BifDocProbability& block, const BifDocRow& row,
                    std::vector<unsigned char>& given);
    int FillFromDefault(BifNode& node, const BifDocProbability& block, std::vector<unsigned char>& given);
    int CheckComplete(const BifNode& node, const BifDocProbability& block,
                      const std::vector<unsigned char>& given);
    std::string DescribeConfiguration(const BifNode& node, size_t column) const;
    size_t NumColumns(const BifNode& node) const;

    const BifDocument& doc;
    BifModel& model;
    BifError& error;
    NameIndex variableIndex;
    std::vector<NameIndex> stateIndex;
    std::vector<int> blockOf;
};

int BifResolver::Resolve()
{
    model = BifModel();
    model.name = std::string(doc.networkName);
    for (const BifDocProperty& property : doc.networkProperties)
        model.properties.push_back(BifSplitProperty(property.text));
    int rc = QEL_OKAY;
    for (size_t i = 0; rc == QEL_OKAY && i < doc.variables.size(); ++i)
        rc = ResolveVariable(doc.variables[i]);
    blockOf.assign(model.nodes.size(), -1);
    for (size_t i = 0; rc == QEL_OKAY && i < doc.probabilities.size(); ++i)
        rc = ResolveBlock(i);
    if (rc == QEL_OKAY)
        rc = CheckEveryVariableHasBlock();
    if (rc == QEL_OKAY)
        rc = CheckAcyclic();
    for (size_t i = 0; rc == QEL_OKAY && i < model.nodes.size(); ++i)
        rc = FillTable(i);
    return rc;
}

int BifResolver::ResolveVariable(const BifDocVariable& variable)
{
    int index = static_cast<int>(model.nodes.size());
    auto inserted = variableIndex.emplace(variable.name, index);
    if (!inserted.second)
        return error.Set(QEL_DUPLICATED_IDENTIFIER, variable.line,
                         "variable " + Quoted(variable.name) + " is declared twice (first at line " +
                             std::to_string(doc.variables[inserted.first->second].line) + ")");
    if (!variable.hasType)
        return error.Set(QEL_BAD_BLOCK, variable.line,
                         "variable " + Quoted(variable.name) + " has no type statement");
    if (variable.declaredStates != static_cast<int>(variable.states.size()))
        return error.Set(QEL_BAD_BLOCK, variable.typeLine,
                         "variable " + Quoted(variable.name) + " declares " +
                             std::to_string(variable.declaredStates) + " states but lists " +
                             std::to_string(variable.states.size()));
    if (variable.states.size() < 2)
        return error.Set(QEL_TOO_FEW_STATES, variable.typeLine,
                         "variable " + Quoted(variable.name) + " has fewer than two states");
    NameIndex states;
    for (size_t s = 0; s < variable.states.size(); ++s)
        if (!states.emplace(variable.states[s], static_cast<int>(s)).second)
            return error.Set(QEL_DUPLICATED_IDENTIFIER, variable.typeLine,
                             "state " + Quoted(variable.states[s]) + " of variable " +
                                 Quoted(variable.name) + " is listed twice");
    stateIndex.push_back(std::move(states));
    BifNode node;
    node.name = std::string(variable.name);
    node.line = variable.line;
    node.states.assign(variable.states.begin(), variable.states.end());
    for (const BifDocProperty& property : variable.properties)
        node.properties.push_back(BifSplitProperty(property.text));
    model.nodes.push_back(std::move(node));
    return QEL_OKAY;
}

int BifResolver::ResolveBlock(size_t blockIndex)
{
    const BifDocProbability& block = doc.probabilities[blockIndex];
    std::string_view childName = block.variables[0];
    auto child = variableIndex.find(childName);
    if (child == variableIndex.end())
        return error.Set(QEL_BAD_BLOCK, block.line,
                         "probability block for unknown variable " + Quoted(childName));
    int& slot = blockOf[child->second];
    if (slot >= 0)
        return error.Set(QEL_BAD_BLOCK, block.line,
                         "a second probability block for " + Quoted(childName) + " (first at line " +
                             std::to_string(doc.probabilities[slot].line) + ")");
    slot = static_cast<int>(blockIndex);
    BifNode& node = model.nodes[child->second];
    int rc = QEL_OKAY;
    for (size_t p = 1; rc == QEL_OKAY && p < block.variables.size(); ++p)
        rc = ResolveParent(node, block, block.variables[p]);
    return rc;
}

int BifResolver::ResolveParent(BifNode& node, const BifDocProbability& block, std::string_view name)
{
    auto parent = variableIndex.find(name);
    if (parent == variableIndex.end())
        return error.Set(QEL_BAD_BLOCK, block.line,
                         "unknown parent " + Quoted(name) + " of " + Quoted(node.name));
    if (name == node.name)
        return error.Set(QEL_BAD_BLOCK, block.line, Quoted(name) + " is listed as its own parent");
    for (int existing : node.parents)
        if (existing == parent->second)
            return error.Set(QEL_BAD_BLOCK, block.line,
                             "parent " + Quoted(name) + " of " + Quoted(node.name) + " is listed twice");
    node.parents.push_back(parent->second);
    return QEL_OKAY;
}

int BifResolver::CheckEveryVariableHasBlock()
{
    for (size_t i = 0; i < model.nodes.size(); ++i)
        if (blockOf[i] < 0)
            return error.Set(QEL_BAD_BLOCK, model.nodes[i].line,
                             "variable " + Quoted(model.nodes[i].name) + " has no probability block");
    return QEL_OKAY;
}

// Depth-first walk from each child to its parents; meeting a node that is
// still on the walk's path closes a cycle.
int BifResolver::CheckAcyclic()
{
    enum : unsigned char { Unseen, OnPath, Done };
    std::vector<unsigned char> state(model.nodes.size(), Unseen);
    std::vector<std::pair<int, size_t>> path;  // node, next parent to visit
    for (size_t start = 0; start < model.nodes.size(); ++start) {
        if (state[start] != Unseen)
            continue;
        path.emplace_back(static_cast<int>(start), 0);
        state[start] = OnPath;
        while (!path.empty()) {
            auto& [node, next] = path.back();
            const std::vector<int>& parents = model.nodes[node].parents;
            if (next == parents.size()) {
                state[node] = Done;
                path.pop_back();
                continue;
            }
            int parent = parents[next++];
            if (state[parent] == OnPath)
                return ReportCycle(path, parent);
            if (state[parent] == Unseen) {
                state[parent] = OnPath;
                path.emplace_back(parent, 0);
            }
        }
    }
    return QEL_OKAY;
}

// `path` runs from a node to one of its parents, and so on, to a node that
// has `closing` as a parent; `closing` is on the path. Told in the direction
// of the arcs, the cycle leaves `closing`, visits the path backwards and
// returns to `closing`.
int BifResolver::ReportCycle(const std::vector<std::pair<int, size_t>>& path, int closing)
{
    std::string text = Quoted(model.nodes[closing].name);
    for (size_t i = path.size(); i-- > 0;) {
        if (path[i].first == closing)
            break;
        text += " -> " + Quoted(model.nodes[path[i].first].name);
    }
    text += " -> " + Quoted(model.nodes[closing].name);
    return error.Set(QEL_CYCLE_ERROR, doc.probabilities[blockOf[closing]].line,
                     "the parents of the probability blocks form a cycle: " + text);
}

size_t BifResolver::NumColumns(const BifNode& node) const
{
    size_t columns = 1;
    for (int parent : node.parents)
        columns *= model.nodes[parent].states.size();
    return columns;
}

int BifResolver::FillTable(size_t nodeIndex)
{
    BifNode& node = model.nodes[nodeIndex];
    const BifDocProbability& block = doc.probabilities[blockOf[nodeIndex]];
    uint64_t size = node.states.size();
    for (int parent : node.parents) {
        size *= model.nodes[parent].states.size();
        if (size > static_cast<uint64_t>(std::numeric_limits<int32_t>::max()))
            return error.Set(QEL_OUT_OF_MEMORY, block.line,
                             "the table of " + Quoted(node.name) + " is too large");
    }
    node.table.assign(size, 0.0);
    std::vector<unsigned char> given(NumColumns(node), NotGiven);
    int rc = block.table.line != 0 ? FillFromTable(node, block, given) : QEL_OKAY;
    for (size_t r = 0; rc == QEL_OKAY && r < block.rows.size(); ++r)
        rc = FillFromRow(node, block, block.rows[r], given);
    if (rc == QEL_OKAY && block.defaults.line != 0)
        rc = FillFromDefault(node, block, given);
    return rc == QEL_OKAY ? CheckComplete(node, block, given) : rc;
}

int BifResolver::FillFromTable(BifNode& node, const BifDocProbability& block,
                               std::vector<unsigned char>& given)
{
    size_t n = node.states.size();
    size_t columns = given.size();
    if (block.table.count != node.table.size())
        return error.Set(QEL_BAD_BLOCK, block.table.line,
                         "the table of " + Quoted(node.name) + " has " + std::to_string(block.table.count) +
                             " values, expected " + std::to_string(node.table.size()));
    const double* source = block.values.data() + block.table.first;
    for (size_t k = 0; k < n; ++k) {
        double* target = node.table.data() + k;
        for (size_t c = 0; c < columns; ++c, target += n)
            *target = *source++;
    }
    given.assign(columns, FromTable);
    return QEL_OKAY;
}

int BifResolver::FillFromRow(BifNode& node, const BifDocProbability& block, const BifDocRow& row,
                             std::vector<unsigned char>& given)
{
    if (row.numNames != node.parents.size())
        return error.Set(QEL_BAD_BLOCK, row.line,
                         "expected " + std::to_string(node.parents.size()) + " parent states for " +
                             Quoted(node.name) + ", found " + std::to_string(row.numNames));
    if (row.numValues != node.states.size())
        return error.Set(QEL_BAD_BLOCK, row.line,
                         "expected " + std::to_string(node.states.size()) + " values for " +
                             Quoted(node.name) + ", found " + std::to_string(row.numValues));
    size_t column = 0;
    for (size_t p = 0; p < node.parents.size(); ++p) {
        int parent = node.parents[p];
        std::string_view name = block.rowNames[row.firstName + p];
        auto state = stateIndex[parent].find(name);
        if (state == stateIndex[parent].end())
            return error.Set(QEL_BAD_BLOCK, row.line,
                             Quoted(name) + " is no state of " + Quoted(model.nodes[parent].name));
        column = column * model.nodes[parent].states.size() + static_cast<size_t>(state->second);
    }
    if (given[column] == FromRow)
        return error.Set(QEL_BAD_BLOCK, row.line,
                         "parent states " + DescribeConfiguration(node, column) + " of " +
                             Quoted(node.name) + " are given twice");
    given[column] = FromRow;
    const double* source = block.values.data() + row.firstValue;
    std::copy(source, source + row.numValues, node.table.begin() + column * node.states.size());
    return QEL_OKAY;
}

int BifResolver::FillFromDefault(BifNode& node, const BifDocProbability& block,
                                 std::vector<unsigned char>& given)
{
    size_t n = node.states.size();
    if (block.defaults.count != n)
        return error.Set(QEL_BAD_BLOCK, block.defaults.line,
                         "expected " + std::to_string(n) + " default values for " + Quoted(node.name) +
                             ", found " + std::to_string(block.defaults.count));
    const double* source = block.values.data() + block.defaults.first;
    for (size_t c = 0; c < given.size(); ++c) {
        if (given[c] != NotGiven)
            continue;
        std::copy(source, source + n, node.table.begin() + c * n);
        given[c] = FromTable;
    }
    return QEL_OKAY;
}

int BifResolver::CheckComplete(const BifNode& node, const BifDocProbability& block,
                               const std::vector<unsigned char>& given)
{
    size_t missing = 0;
    size_t first = 0;
    for (size_t c = given.size(); c-- > 0;)
        if (given[c] == NotGiven) {
            ++missing;
            first = c;
        }
    if (missing == 0)
        return QEL_OKAY;
    return error.Set(QEL_BAD_BLOCK, block.line,
                     "the probability block of " + Quoted(node.name) + " gives no values for " +
                         std::to_string(missing) + " of " + std::to_string(given.size()) +
                         " parent configurations, the first being " + DescribeConfiguration(node, first));
}

std::string BifResolver::DescribeConfiguration(const BifNode& node, size_t column) const
{
    std::vector<size_t> states(node.parents.size());
    for (size_t p = node.parents.size(); p-- > 0;) {
        size_t count = model.nodes[node.parents[p]].states.size();
        states[p] = column % count;
        column /= count;
    }
    std::string text = "(";
    for (size_t p = 0; p < states.size(); ++p)
        text += (p ? ", " : "") + model.nodes[node.parents[p]].states[states[p]];
    return text + ")";
}

}  // namespace

int BifResolve(const BifDocument& doc, BifModel& model, BifError& error)
{
    BifResolver resolver(doc, model, error);
    return resolver.Resolve();
}

BifProperty BifSplitProperty(std::string_view text)
{
    text = Unquote(Trim(text));
    size_t cut = text.find('=');
    size_t skip = 1;
    if (cut == std::string_view::npos) {
        cut = text.find_first_of(" \t\r\n\f\v");
        skip = 0;
    }
    BifProperty property;
    if (cut == std::string_view::npos) {
        property.name = std::string(text);
        return property;
    }
    property.name = std::string(Unquote(Trim(text.substr(0, cut))));
    property.value = std::string(Unquote(Trim(text.substr(cut + skip))));
    return property;
}
