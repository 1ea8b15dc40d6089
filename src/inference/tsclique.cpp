// Cliques of the join tree: the pool they come from, membership while the tree
// is built, and the layout of tables and messages over a clique's potential.
//
// Every combination of a clique's potential with a table or a message is a
// walk whose odometer is built from one stride per clique dimension; the
// strides say where each matrix sits relative to the potential.
#include "orvil/tsclique.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "inference/ts_table_steps.h"
#include "orvil/dmatrix.h"
#include "orvil/tsadapter.h"

TsClique::Pool::Pool(int nodeCount)
    : nodeCount(nodeCount),
      used(0),
      records(static_cast<TsClique*>(::operator new(sizeof(TsClique) * size_t(nodeCount > 0 ? nodeCount : 1)))),
      members(static_cast<bool*>(std::calloc(size_t(nodeCount) * size_t(nodeCount) * 2 + 1, 1))) {
    if (members == nullptr) {
        ::operator delete(records);
        throw std::bad_alloc();
    }
}

TsClique::Pool::~Pool() {
    for (int i = 0; i < used; ++i) records[i].~TsClique();
    ::operator delete(records);
    std::free(members);
}

void TsClique::Pool::Alloc(void*& record, bool*& nodeMember, bool*& separatorMember) {
    if (used >= nodeCount || members == nullptr) {
        record = nullptr;
        return;
    }
    record = records + used;
    nodeMember = members + size_t(used) * size_t(nodeCount) * 2;
    separatorMember = nodeMember + nodeCount;
    ++used;
}

TsClique* TsClique::Pool::Create(uint32_t size, int eliminated) {
    void* record = nullptr;
    CreationParams params{nodeCount, size, eliminated, nullptr, nullptr};
    Alloc(record, params.nodeMember, params.separatorMember);
    if (record == nullptr) return nullptr;
    TsClique* clique = new (record) TsClique(params);
    clique->AddNode(eliminated);
    return clique;
}

void TsClique::Pool::FreeSparseArrays() {
    std::free(members);
    members = nullptr;
    for (int i = 0; i < used; ++i) records[i].DropMembership();
}

TsClique::TsClique(const CreationParams& params)
    : nodeMember(params.nodeMember),
      separatorMember(params.separatorMember),
      totalNodes(params.totalNodes),
      eliminated(params.eliminated),
      size(params.size),
      parent(nullptr),
      hostedCount(0),
      beliefFirst(0),
      beliefCount(0),
      wanted(false),
      buildDown(false),
      sendUp(false),
      exportTable(nullptr) {}

void TsClique::AddNode(int node) {
    nodes.Add(node);
    nodeMember[node] = true;
}

void TsClique::AddSeparatorNode(int node) {
    separator.Add(node);
    separatorMember[node] = true;
}

bool TsClique::CheckSubset(const TsClique& other) const {
    for (int i = 0; i < other.separator.count; ++i) {
        if (!nodeMember[other.separator[i]]) return false;
    }
    return true;
}

bool TsClique::CanHost(int node, const fastarray<int, 24, int>& parents) const {
    if (!nodeMember[node]) return false;
    for (int p : parents) {
        if (p >= 0 && !nodeMember[p]) return false;
    }
    return true;
}

void TsClique::SetParent(TsClique* newParent) {
    parent = newParent;
    newParent->children.Add(this);
}

void TsClique::SortNodes() {
    std::sort(nodes.items, nodes.items + nodes.count);
    std::sort(separator.items, separator.items + separator.count);
}

void TsClique::DropMembership() {
    nodeMember = nullptr;
    separatorMember = nullptr;
}

namespace {

// Removes observed nodes from `list`, keeping order, and collects the state
// counts of those left.
void DropObserved(TsAdapter& adapter, TsMatrix::Coords& list, TsMatrix::Coords& dims) {
    int kept = 0;
    dims.count = 0;
    for (int i = 0; i < list.count; ++i) {
        const int node = list[i];
        if (adapter.GetEvidence(node) >= 0) continue;
        list.items[kept++] = node;
        dims.Add(adapter.GetStateCount(node));
    }
    list.count = kept;
}

// The nodes on both ascending lists, ascending.
void Intersect(const TsMatrix::Coords& a, const TsMatrix::Coords& b, TsMatrix::Coords& out) {
    out.count = 0;
    int j = 0;
    for (int i = 0; i < a.count; ++i) {
        while (j < b.count && b[j] < a[i]) ++j;
        if (j < b.count && b[j] == a[i]) out.Add(a[i]);
    }
}

}  // namespace

void TsClique::InitSepMessage(TsAdapter& adapter) {
    if (parent == nullptr) return;
    TsMatrix::Coords sizes;
    for (int i = 0; i < separator.count; ++i) sizes.Add(adapter.GetStateCount(separator[i]));
    sepMessage.Init(sizes);
}

void TsClique::InitDims(TsAdapter& adapter) {
    TsMatrix::Coords unused;
    DropObserved(adapter, separator, unused);
    DropObserved(adapter, nodes, dims);
}

void TsClique::TakePlaceOf(TsClique& top) {
    TsClique* above = top.parent;
    const TsMatrix::Coords topSeparator = top.separator;
    if (above != nullptr) above->children[above->children.IndexOf(&top)] = this;
    // The path from here up to `top`, turned round from the top down, so
    // that no parent link is overwritten before it is followed.
    fastarray<TsClique*, 16, int> path;
    for (TsClique* c = this; c != &top; c = c->parent) path.Add(c);
    for (int i = path.Count() - 1; i >= 0; --i) {
        TsClique& lower = *path[i];
        TsClique& upper = *lower.parent;
        upper.children.Delete(upper.children.IndexOf(&lower));
        lower.children.Add(&upper);
        upper.parent = &lower;
        Intersect(upper.nodes, lower.nodes, upper.separator);
    }
    parent = above;
    separator = topSeparator;
}

const double* TsClique::TableStrides(TsAdapter& adapter, int node, int64_t* strides) const {
    return TsTableSteps(adapter, node, [this](int member) { return nodes.Find(member); }, nodes.count, strides);
}

void TsClique::SubsetStrides(const TsMatrix::Coords& list, const TsMatrix::Coords& sizes,
                             int64_t* strides) const {
    int64_t stride = 1;
    int next = 0;
    for (int i = 0; i < nodes.count; ++i) {
        if (next < list.count && list[next] == nodes[i]) {
            strides[i] = stride;
            stride *= sizes[next++];
        } else {
            strides[i] = 0;
        }
    }
}

void TsClique::FreeMatrices() {
    sepMessage.Free();
    incoming.Free();
    children.Clear();
}
