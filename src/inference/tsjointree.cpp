// One exact update of one piece: the join tree from triangulation to beliefs,
// and the probability of evidence.
//
// The cliques come from one pool that lives only for the update. After the
// tables have found their hosts, the clique array is kept smallest first:
// beliefs and exported tables are read from the smallest clique that holds a
// node. No clique potential is kept (see ts_pass.h): on the way up a clique's
// potential is its tables times its children's messages, summed onto its
// separator as it is built; on the way down it is rebuilt with the same
// factors and, last, the ratio of the parent's new separator marginal to the
// old message, and the children's marginals, the beliefs read there and the
// exported table are taken from it. A clique of exactly two factors sends
// its message up as a product of matrices instead (ts_contraction.h), when
// packing the factors costs clearly less than building the potential.
//
// Building potentials is the whole cost, so an update builds only what it
// reads. The cliques it reads from are the wanted ones. The way down must
// build the smallest subtree that joins the wanted cliques of a part (cliques
// linked by non-empty separators; evidence may cut a piece into several),
// and the way up every other clique of the part, so each of that subtree's
// cliques is built twice except the root, which is built once, on the way
// down, with every message in. Each part is therefore re-rooted at the
// largest clique of that subtree. A message goes up only when its parent will
// be built; the way down goes only into subtrees that hold a wanted clique.
// A single target thus costs one build per clique of its part, and a full
// update builds the largest clique once, not twice.
#include "orvil/jointree.h"

#include <algorithm>
#include <vector>

#include "inference/ts_contraction.h"
#include "inference/ts_pass.h"
#include "orvil/dmatrix.h"
#include "orvil/triangulator.h"
#include "orvil/tsadapter.h"

TsJoinTree::TsJoinTree(TsAdapter& adapter)
    : adapter(adapter), pool(nullptr), root(nullptr), pass(new TsPass()), contraction(new TsContraction()) {}

TsJoinTree::~TsJoinTree() {
    CleanUp();
    delete pass;
    delete contraction;
}

bool TsJoinTree::UpdateBeliefsEx(bool* pending, unsigned sizeLimit) {
    const bool ok = Triangulate(sizeLimit);
    if (ok) {
        FindHosts();
        InitPotentials(pending);
        Collect();
        Distribute();
        CalcBeliefs(pending);
        ExportPotentials();
    }
    CleanUp();
    return ok;
}

double TsJoinTree::CalcNormFactor() {
    if (!Triangulate(0xffffffffu)) {
        CleanUp();
        return -1.0;
    }
    FindHosts();
    for (TsClique* clique : cliques) {
        clique->InitDims(adapter);
        clique->InitSepMessage(adapter);
    }
    // Every clique without a separator (the root, and the last clique of each
    // part that shares no unobserved node with the rest) closes a factor of
    // the evidence probability; the others pass theirs up.
    double result = 1.0;
    BottomUp(order);
    for (TsClique* clique : order) CollectClique(*clique, &result);
    CleanUp();
    return result;
}

bool TsJoinTree::Triangulate(unsigned sizeLimit) {
    CleanUp();
    work = Work();
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
        // Observed parents were left out of the graph: the table is read at
        // their observed slice wherever it goes.
        for (int& p : parents) {
            if (p >= 0 && adapter.GetEvidence(p) >= 0) p = -1;
        }
        for (int h = start[size_t(v)]; h < start[size_t(v) + 1]; ++h) {
            if (holders[size_t(h)]->CanHost(v, parents)) {
                holders[size_t(h)]->Host(v);
                break;
            }
        }
    }
    pool->FreeSparseArrays();
}

void TsJoinTree::InitPotentials(const bool* pending) {
    for (TsClique* clique : cliques) clique->InitDims(adapter);
    PlanBeliefs(pending);
    if (adapter.WillStorePotentials()) PlanExport();
    Reroot();
    for (TsClique* clique : cliques) clique->InitSepMessage(adapter);
    PlanPasses();
}

void TsJoinTree::PlanBeliefs(const bool* pending) {
    const int n = adapter.GetNodeCount();
    std::vector<bool> done(size_t(n), false);
    plan.clear();
    plan.reserve(size_t(n));
    int cells = 0;
    for (TsClique* clique : cliques) {
        clique->beliefFirst = int(plan.size());
        for (int i = 0; i < clique->nodes.count; ++i) {
            const int node = clique->nodes[i];
            if (done[size_t(node)]) continue;
            done[size_t(node)] = true;
            const int handle = adapter.GetNodeHandle(node);
            if (handle < 0) continue;
            if (pending != nullptr ? !pending[handle] : !adapter.IsTarget(node)) continue;
            plan.push_back(BeliefSlot{node, cells});
            cells += adapter.GetStateCount(node);
        }
        clique->beliefCount = int(plan.size()) - clique->beliefFirst;
        clique->wanted = clique->beliefCount > 0;
    }
    marginals.assign(size_t(cells), 0.0);
}

void TsJoinTree::PlanExport() {
    fastarray<int, 24, int> nodes;
    fastarray<int, 24, int> sizes;
    for (TsClique* clique : cliques) {
        // The store's tables run the last dimension fastest: the reversed
        // list gives the same cell order as the potential's.
        nodes.Clear();
        sizes.Clear();
        for (int i = clique->nodes.count - 1; i >= 0; --i) {
            nodes.Add(clique->nodes[i]);
            sizes.Add(clique->dims[i]);
        }
        clique->exportTable = adapter.GetPotentialMatrix(nodes, sizes);
        clique->wanted = true;
    }
}

namespace {

// Larger in the order of the clique array: by size, then by node count.
bool Larger(const TsClique& a, const TsClique& b) {
    if (a.size != b.size) return a.size > b.size;
    return a.nodes.count > b.nodes.count;
}

// The largest clique with `mark` set in the part whose top is `top`, or
// null. The tops of the parts that hang below it are appended to `tops`.
TsClique* LargestMarked(TsClique& top, bool TsClique::*mark, std::vector<TsClique*>& tops,
                        std::vector<TsClique*>& stack) {
    TsClique* best = nullptr;
    stack.assign(1, &top);
    while (!stack.empty()) {
        TsClique* clique = stack.back();
        stack.pop_back();
        if (clique->*mark && (best == nullptr || Larger(*clique, *best))) best = clique;
        for (TsClique* child : clique->children) (child->HasSeparator() ? stack : tops).push_back(child);
    }
    return best;
}

}  // namespace

void TsJoinTree::Reroot() {
    // Rooted at a wanted clique, the cliques built on the way down are the
    // smallest subtree that joins the wanted ones, whichever of them is the
    // root. Every one of them but the root is built twice, so the root is
    // then moved to the largest of them, which need not be wanted itself.
    LiftLargest(&TsClique::wanted);
    MarkBuildDown();
    LiftLargest(&TsClique::buildDown);
}

void TsJoinTree::LiftLargest(bool TsClique::*mark) {
    if (root == nullptr) return;
    // Parts share no unobserved node, so each can be turned round on its
    // own and still hang where it hung.
    std::vector<TsClique*> tops(1, root);
    std::vector<TsClique*> stack;
    for (size_t i = 0; i < tops.size(); ++i) {
        TsClique* top = tops[i];
        TsClique* best = LargestMarked(*top, mark, tops, stack);
        if (best == nullptr || best == top) continue;
        best->TakePlaceOf(*top);
        if (top == root) root = best;
    }
}

void TsJoinTree::MarkBuildDown() {
    BottomUp(order);
    for (TsClique* clique : order) {
        clique->buildDown = clique->wanted;
        for (const TsClique* child : clique->children) {
            if (child->HasSeparator() && child->buildDown) clique->buildDown = true;
        }
    }
}

void TsJoinTree::PlanPasses() {
    MarkBuildDown();
    // Parents before children.
    std::reverse(order.begin(), order.end());
    for (TsClique* clique : order) {
        const TsClique* parent = clique->parent;
        clique->sendUp = clique->HasSeparator() && (parent->buildDown || parent->sendUp);
    }
}

void TsJoinTree::BottomUp(std::vector<TsClique*>& out) const {
    out.clear();
    if (root == nullptr) return;
    // Depth-first from the root, read backwards. Read forwards, as the way
    // down runs, a clique's subtree is done before its siblings are started,
    // so few of the marginals it leaves for its children are alive at once.
    out.reserve(size_t(cliques.Count()));
    std::vector<TsClique*> stack(1, root);
    while (!stack.empty()) {
        TsClique* clique = stack.back();
        stack.pop_back();
        out.push_back(clique);
        for (TsClique* child : clique->children) stack.push_back(child);
    }
    std::reverse(out.begin(), out.end());
}

void TsJoinTree::AddPotential(TsClique& clique) {
    int64_t strides[TsMatrix::maxDims];
    pass->Begin(clique.dims);
    for (int h = 0; h < clique.hostedCount; ++h) {
        const double* table = clique.TableStrides(adapter, clique.hosted[h], strides);
        pass->Add(h == 0 ? TsPass::copyFrom : TsPass::multiplyBy, table, strides);
    }
    for (TsClique* child : clique.children) {
        if (!child->HasSeparator()) continue;
        clique.SubsetStrides(child->separator, child->sepMessage.dims, strides);
        const TsPass::Kind kind = pass->OperandCount() == 0 ? TsPass::copyFrom : TsPass::multiplyBy;
        pass->Add(kind, child->sepMessage.data, strides);
    }
    // Nothing to multiply: the potential is all ones.
    if (pass->OperandCount() == 0) pass->AddFill();
}

void TsJoinTree::Collect() {
    // `order` runs parents first: read backwards, children come first.
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        if ((*it)->sendUp) CollectClique(**it, nullptr);
    }
}

void TsJoinTree::CollectClique(TsClique& clique, double* apart) {
    int64_t strides[TsMatrix::maxDims];
    if (clique.HasSeparator()) {
        clique.sepMessage.Fill(0.0);
        ++work.collectBuilds;
        if (ContractClique(clique)) return;
        AddPotential(clique);
        clique.SubsetStrides(clique.separator, clique.sepMessage.dims, strides);
        pass->AddTarget(TsPass::sumInto, clique.sepMessage.data, strides);
        pass->Run();
    } else if (apart != nullptr) {
        // All strides 0: the whole potential is summed into one cell, in order.
        AddPotential(clique);
        double total = 0.0;
        std::fill(strides, strides + clique.dims.count, 0);
        pass->AddTarget(TsPass::sumInto, &total, strides);
        pass->Run();
        ++work.collectBuilds;
        *apart *= total;
    }
}

bool TsJoinTree::ContractClique(TsClique& clique) {
    const double* factors[2];
    int64_t strides[2][TsMatrix::maxDims];
    int count = 0;
    for (int h = 0; h < clique.hostedCount; ++h) {
        if (count == 2) return false;
        factors[count] = clique.TableStrides(adapter, clique.hosted[h], strides[count]);
        ++count;
    }
    for (TsClique* child : clique.children) {
        if (!child->HasSeparator()) continue;
        if (count == 2) return false;
        clique.SubsetStrides(child->separator, child->sepMessage.dims, strides[count]);
        factors[count] = child->sepMessage.data;
        ++count;
    }
    if (count != 2) return false;
    int64_t targetStrides[TsMatrix::maxDims];
    clique.SubsetStrides(clique.separator, clique.sepMessage.dims, targetStrides);
    if (!contraction->Plan(clique.dims, strides[0], strides[1], targetStrides)) return false;
    contraction->Run(factors[0], factors[1], clique.sepMessage.data);
    return true;
}

void TsJoinTree::Distribute() {
    for (TsClique* clique : order) {
        if (clique->buildDown) DistributeClique(*clique);
    }
}

void TsJoinTree::DistributeClique(TsClique& clique) {
    int64_t strides[TsMatrix::maxDims];
    AddPotential(clique);
    if (clique.HasSeparator()) {
        // The parent's pass left the new separator marginal in `incoming`.
        // Each old message cell becomes new / old; 0/0 counts as 0. The
        // separator is small next to the cliques around it, so one division
        // per separator cell is not worth trading for a rounding step.
        TsMatrix& old = clique.sepMessage;
        const double* fresh = clique.incoming.data;
        for (int32_t i = 0; i < old.size; ++i) {
            if (old.data[i] != 0.0) old.data[i] = fresh[i] / old.data[i];
        }
        clique.SubsetStrides(clique.separator, old.dims, strides);
        pass->Add(TsPass::multiplyBy, old.data, strides);
    }
    const int built = pass->OperandCount();
    for (TsClique* child : clique.children) {
        if (!child->HasSeparator() || !child->buildDown) continue;
        child->incoming.Init(child->sepMessage.dims);
        child->incoming.Fill(0.0);
        clique.SubsetStrides(child->separator, child->sepMessage.dims, strides);
        pass->AddTarget(TsPass::sumInto, child->incoming.data, strides);
    }
    for (int b = 0; b < clique.beliefCount; ++b) {
        const BeliefSlot& slot = plan[size_t(clique.beliefFirst + b)];
        TsMatrix::Coords single;
        single.Add(slot.node);
        TsMatrix::Coords size;
        size.Add(adapter.GetStateCount(slot.node));
        clique.SubsetStrides(single, size, strides);
        pass->AddTarget(TsPass::sumInto, marginals.data() + slot.offset, strides);
    }
    if (clique.exportTable != nullptr) {
        TsMatrix::Coords all;
        for (int i = 0; i < clique.nodes.count; ++i) all.Add(clique.nodes[i]);
        clique.SubsetStrides(all, clique.dims, strides);
        pass->AddTarget(TsPass::copyInto, clique.exportTable->GetItems().Items(), strides);
    }
    // A potential that nothing reads is not built.
    if (pass->OperandCount() > built) {
        pass->Run();
        ++work.distributeBuilds;
    }
    clique.incoming.Free();
}

void TsJoinTree::CalcBeliefs(bool* pending) {
    for (const BeliefSlot& slot : plan) {
        if (pending != nullptr) pending[adapter.GetNodeHandle(slot.node)] = false;
        WriteBelief(slot);
    }
}

void TsJoinTree::WriteBelief(const BeliefSlot& slot) {
    const int states = adapter.GetStateCount(slot.node);
    const double* marginal = marginals.data() + slot.offset;
    double sum = 0.0;
    for (int i = 0; i < states; ++i) sum += marginal[i];
    if (sum == 0.0) {
        adapter.ReportZeroPotential(slot.node);
        return;
    }
    double* beliefs = adapter.GetBeliefs(slot.node);
    if (beliefs == nullptr) return;
    const double scale = 1.0 / sum;
    for (int i = 0; i < states; ++i) beliefs[i] = marginal[i] * scale;
    adapter.SetValueValid(slot.node);
}

void TsJoinTree::ExportPotentials() {
    for (TsClique* clique : cliques) {
        QEL_Dmatrix* table = clique->exportTable;
        if (table == nullptr) continue;
        double sum = 0.0;
        for (int i = 0; i < table->GetSize(); ++i) sum += (*table)[i];
        if (sum != 0.0) table->Multiply(1.0 / sum);
        clique->exportTable = nullptr;
    }
}

void TsJoinTree::CleanUp() {
    for (int i = cliques.Count() - 1; i >= 0; --i) cliques[i]->FreeMatrices();
    cliques.Clear();
    delete pool;
    pool = nullptr;
    root = nullptr;
    order.clear();
    plan.clear();
    marginals.clear();
}
