// One exact update of one piece: the join tree from triangulation to beliefs,
// and the probability of evidence.
//
// The cliques come from one pool that lives only for the update. After the
// tables have found their hosts, the clique array is kept smallest first:
// beliefs and exported tables are read from the smallest clique that holds a
// node. Two scratch matrices serve every clique in turn (the old separator
// message during distribute, one node's marginal while beliefs are read), so
// the passes allocate nothing once they have met their largest case.
#include "orvil/jointree.h"

#include <algorithm>
#include <vector>

#include "orvil/dmatrix.h"
#include "orvil/triangulator.h"
#include "orvil/tsadapter.h"

TsJoinTree::TsJoinTree(TsAdapter& adapter) : adapter(adapter), pool(nullptr), root(nullptr) {}

TsJoinTree::~TsJoinTree() { CleanUp(); }

bool TsJoinTree::UpdateBeliefsEx(bool* pending, unsigned sizeLimit) {
    const bool ok = Triangulate(sizeLimit);
    if (ok) {
        FindHosts();
        InitPotentials();
        Collect();
        Distribute();
        CalcBeliefs(pending);
        if (adapter.WillStorePotentials()) ExportPotentials();
    }
    CleanUp();
    return ok;
}

double TsJoinTree::CalcNormFactor() {
    if (!Triangulate(0xffffffffu)) {
        CleanUp();
        return -1.0;
    }
    double result = 1.0;
    if (root != nullptr) {
        FindHosts();
        const double apart = root->CollectForPE(adapter);
        if (!root->IsPotentialSet()) root->InitPotential(adapter);
        if (root->IsPotentialSet()) result = root->potential.Sum();
        result *= apart;
        root->FreeMatrices();
    }
    CleanUp();
    return result;
}

bool TsJoinTree::Triangulate(unsigned sizeLimit) {
    CleanUp();
    pool = new TsClique::Pool(adapter.GetNodeCount());
    TsTriangulator triangulator(adapter, *pool, cliques);
    if (!triangulator.Triangulate(sizeLimit)) return false;
    root = cliques.IsEmpty() ? nullptr : cliques.Last();
    return true;
}

void TsJoinTree::FindHosts() {
    // Smallest first, ties by node count; equal cliques keep creation order.
    std::stable_sort(cliques.begin(), cliques.end(), [](const TsClique* a, const TsClique* b) {
        if (a->size != b->size) return a->size < b->size;
        return a->nodes.count < b->nodes.count;
    });
    // For each node, the cliques that hold it, smallest first: a table goes
    // to the first of them that holds its whole family.
    const int n = adapter.GetNodeCount();
    std::vector<int> start(size_t(n) + 1, 0);
    for (TsClique* clique : cliques) {
        for (int i = 0; i < clique->nodes.count; ++i) ++start[size_t(clique->nodes[i]) + 1];
    }
    for (int v = 0; v < n; ++v) start[size_t(v) + 1] += start[size_t(v)];
    std::vector<TsClique*> holders(static_cast<size_t>(start.back()));
    std::vector<int> fill(start.begin(), start.end() - 1);
    for (TsClique* clique : cliques) {
        for (int i = 0; i < clique->nodes.count; ++i) holders[size_t(fill[size_t(clique->nodes[i])]++)] = clique;
    }
    fastarray<int, 24, int> parents;
    for (int v = 0; v < n; ++v) {
        if (adapter.GetMatrix(v) == nullptr) continue;
        adapter.GetParents(v, parents);
        for (int h = start[size_t(v)]; h < start[size_t(v) + 1]; ++h) {
            if (holders[size_t(h)]->CanHost(v, parents)) {
                holders[size_t(h)]->Host(v);
                break;
            }
        }
    }
    pool->FreeSparseArrays();
}

void TsJoinTree::InitPotentials() {
    for (TsClique* clique : cliques) {
        clique->InitSepMessage(adapter);
        clique->InitPotential(adapter);
    }
    // A mapping reads the parent's reduced node list, so all lists first.
    for (TsClique* clique : cliques) clique->InitMapping();
}

void TsJoinTree::Collect() {
    if (root != nullptr) root->Collect();
}

void TsJoinTree::Distribute() {
    if (root != nullptr) root->Distribute(scratch);
}

void TsJoinTree::SettlePotential(TsClique& clique) {
    if (clique.potentialSet) return;
    clique.potential.Fill(1.0);
    clique.potentialSet = true;
}

void TsJoinTree::CalcBeliefs(bool* pending) {
    const int n = adapter.GetNodeCount();
    int wanted = 0;
    for (int v = 0; v < n; ++v) {
        if (adapter.GetNodeHandle(v) >= 0 && adapter.GetEvidence(v) < 0) ++wanted;
    }
    std::vector<bool> done(size_t(n), false);
    int doneCount = 0;
    for (TsClique* clique : cliques) {
        if (doneCount == wanted) break;
        for (int i = 0; i < clique->nodes.count; ++i) {
            const int node = clique->nodes[i];
            if (done[size_t(node)]) continue;
            done[size_t(node)] = true;
            const int handle = adapter.GetNodeHandle(node);
            if (handle < 0) continue;
            ++doneCount;
            bool compute;
            if (pending != nullptr) {
                compute = pending[handle];
                pending[handle] = false;
            } else {
                compute = adapter.IsTarget(node);
            }
            if (compute) WriteBelief(*clique, node);
        }
    }
}

void TsJoinTree::WriteBelief(TsClique& clique, int node) {
    SettlePotential(clique);
    TsMatrix::Coords single;
    single.Add(node);
    TsMatrix::Coords dims;
    dims.Add(adapter.GetStateCount(node));
    marginal.Init(dims);
    marginal.Fill(0.0);
    TsMatrix::Mapping mapping;
    clique.potential.CreateMapping(mapping, clique.nodes, single);
    const TsMatrix& source = clique.potential;
    TsOdoMarginalize(marginal.data, source.data, source.data + source.size, mapping.entries);
    const double sum = marginal.Sum();
    if (sum == 0.0) {
        adapter.ReportZeroPotential(node);
        return;
    }
    double* beliefs = adapter.GetBeliefs(node);
    if (beliefs == nullptr) return;
    const double scale = 1.0 / sum;
    for (int32_t i = 0; i < marginal.size; ++i) beliefs[i] = marginal.data[i] * scale;
    adapter.SetValueValid(node);
}

void TsJoinTree::ExportPotentials() {
    fastarray<int, 24, int> nodes;
    fastarray<int, 24, int> dims;
    for (TsClique* clique : cliques) {
        SettlePotential(*clique);
        // The store's tables run the last dimension fastest: the reversed
        // list gives the same cell order as the potential's.
        nodes.Clear();
        dims.Clear();
        for (int i = clique->nodes.count - 1; i >= 0; --i) {
            nodes.Add(clique->nodes[i]);
            dims.Add(adapter.GetStateCount(clique->nodes[i]));
        }
        QEL_Dmatrix* store = adapter.GetPotentialMatrix(nodes, dims);
        if (store == nullptr) continue;
        const TsMatrix& source = clique->potential;
        double* target = store->GetItems().Items();
        const int32_t cells = std::min<int32_t>(source.size, store->GetSize());
        double sum = 0.0;
        for (int32_t i = 0; i < cells; ++i) {
            target[i] = source.data[i];
            sum += source.data[i];
        }
        if (sum != 0.0) store->Multiply(1.0 / sum);
    }
}

void TsJoinTree::CleanUp() {
    for (int i = cliques.Count() - 1; i >= 0; --i) cliques[i]->FreeMatrices();
    cliques.Clear();
    delete pool;
    pool = nullptr;
    root = nullptr;
}
