// Cliques of the join tree: the pool they come from, membership while the tree
// is built, and the message passing between a clique and its parent.
//
// All passes are walks (tsodometer.cpp) over precomputed odometers: a table
// multiplied into a clique, a clique summed onto a separator, a separator
// multiplied back. A clique's potential only becomes defined when something is
// put into it (a hosted table, or a message copied in); until then
// `potentialSet` is false and the cells are not read.
#include "orvil/tsclique.h"

#include <algorithm>
#include <cstdlib>
#include <new>

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
      potentialSet(false),
      made(false) {}

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

}  // namespace

void TsClique::InitSepMessage(TsAdapter& adapter) {
    if (parent == nullptr) return;
    TsMatrix::Coords dims;
    DropObserved(adapter, separator, dims);
    sepMessage.Init(dims);
}

void TsClique::InitPotential(TsAdapter& adapter) {
    TsMatrix::Coords dims;
    DropObserved(adapter, nodes, dims);
    potential.Init(dims);
    made = true;
    potentialSet = hostedCount > 0;
    if (!potentialSet) return;
    double* end = potential.data + potential.size;
    TsOdometer odometer[TsMatrix::maxDims + 2];
    const double* table = InitOdometer(adapter, hosted[0], odometer);
    TsOdoCopy(potential.data, end, table, odometer);
    for (int h = 1; h < hostedCount; ++h) {
        table = InitOdometer(adapter, hosted[h], odometer);
        TsOdoMultiply(potential.data, end, table, odometer);
    }
}

const double* TsClique::InitOdometer(TsAdapter& adapter, int node, TsOdometer* odometer) const {
    fastarray<int, 24, int> family;
    adapter.GetParents(node, family);
    family.Add(node);
    const QEL_Dmatrix& table = *adapter.GetMatrix(node);
    const int* strides = table.GetPreProduct().Items();
    const double* first = table.GetItems().Items();

    // Family members outside the coordinates hold evidence: the walk starts
    // at their observed slice. A parent outside the piece stays at 0.
    for (int f = 0; f < family.Count(); ++f) {
        const int member = family[f];
        if (member < 0 || nodes.Find(member) >= 0) continue;
        const int e = adapter.GetEvidence(member);
        if (e > 0) first += std::ptrdiff_t(e) * strides[f];
    }

    int count = 0;
    int64_t rewind = 0;  // how far the coordinates passed so far moved the table side
    for (int i = 0; i < nodes.count; ++i) {
        const int states = potential.dims[i];
        // A dimension of one state never moves, so it needs no entry.
        if (states == 1) continue;
        const int f = family.IndexOf(nodes[i]);
        int64_t step = rewind;
        if (f >= 0) {
            step += strides[f];
            rewind += int64_t(1 - states) * strides[f];
        }
        // Neighbouring entries with one step move alike and walk as one.
        if (count > 0 && odometer[count - 1].step == step) {
            TsOdometer& e = odometer[count - 1];
            e.counter = (e.counter + 1) * states - 1;
            e.reset = e.counter;
        } else {
            odometer[count++] = TsOdometer{states - 1, states - 1, int32_t(step), 0};
        }
    }
    if (count == 0) odometer[count++] = TsOdometer{0, 0, 0, 0};
    odometer[count] = TsOdometer{1, 1, 0, 0};
    return first;
}

void TsClique::InitMapping() {
    toSeparator.count = 0;
    parentToSeparator.count = 0;
    if (parent == nullptr || separator.count == 0) return;
    potential.CreateMapping(toSeparator, nodes, separator);
    parent->potential.CreateMapping(parentToSeparator, parent->nodes, separator);
}

void TsClique::Collect() {
    for (TsClique* child : children) {
        child->Collect();
        child->UpdateParentPotential();
    }
}

void TsClique::UpdateParentPotential() {
    if (toSeparator.count > 0) {
        if (!potentialSet) {
            potential.Fill(1.0);
            potentialSet = true;
        }
        sepMessage.Fill(0.0);
        TsOdoMarginalize(sepMessage.data, potential.data, potential.data + potential.size,
                         toSeparator.entries);
    }
    if (parentToSeparator.count > 0) {
        TsMatrix& target = parent->potential;
        double* end = target.data + target.size;
        if (parent->potentialSet) {
            TsOdoMultiply(target.data, end, sepMessage.data, parentToSeparator.entries);
        } else {
            TsOdoCopy(target.data, end, sepMessage.data, parentToSeparator.entries);
            parent->potentialSet = true;
        }
    }
}

void TsClique::Distribute(TsMatrix& scratch) {
    for (TsClique* child : children) {
        child->UpdateFromParentPotential(scratch);
        child->Distribute(scratch);
    }
}

void TsClique::UpdateFromParentPotential(TsMatrix& scratch) {
    TsMatrix& old = scratch;
    sepMessage.Swap(old);
    sepMessage.Init(old.dims);
    if (parentToSeparator.count > 0) {
        const TsMatrix& source = parent->potential;
        sepMessage.Fill(0.0);
        TsOdoMarginalize(sepMessage.data, source.data, source.data + source.size,
                         parentToSeparator.entries);
        // The separator is small next to the cliques around it, so the one
        // division per separator cell here is not worth trading for a
        // rounding step. 0/0 counts as 0.
        for (int32_t i = 0; i < old.size; ++i) {
            if (old.data[i] != 0.0) old.data[i] = sepMessage.data[i] / old.data[i];
        }
    }
    if (toSeparator.count > 0) {
        TsOdoMultiply(potential.data, potential.data + potential.size, old.data, toSeparator.entries);
    }
}

double TsClique::CollectForPE(TsAdapter& adapter) {
    double factor = 1.0;
    for (int k = children.Count() - 1; k >= 0; --k) {
        TsClique* child = children[k];
        factor *= child->CollectForPE(adapter);
        if (!made) InitPotential(adapter);
        if (!child->made) child->InitPotential(adapter);
        child->InitSepMessage(adapter);
        child->InitMapping();
        if (child->toSeparator.count > 0) {
            child->UpdateParentPotential();
        } else if (child->potentialSet) {
            // Only observed nodes link this subtree to the rest: its total is
            // a factor of the evidence probability on its own.
            factor *= child->potential.Sum();
        }
        child->FreeMatrices();
    }
    return factor;
}

void TsClique::FreeMatrices() {
    potential.Free();
    sepMessage.Free();
    children.Clear();
    potentialSet = false;
}
