// Cutting the tree into node lists: at a stage, by fewest rows a model, by most models. Inside, nodes are numbered as in
// the described model of the whole tree, which leaves out nodes without probability; lists come out in store numbers.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"

namespace {

constexpr const char *CALLER = "qrts_decomposeCut";

int *newInts(int64_t count) {
  return static_cast<int *>(qrts__alloc(CALLER, (count + 1) * int64_t(sizeof(int)), 0));
}

// Without a described model the store's own nodes, which must all have probability.
const NodeList *wholeTree(const QRTStoch *stoch) { return stoch->smodel ? stoch->smodel->nodeList : stoch->sdata->nodes; }

// The next node of a stage's chain, 0 at its end.
int nextInStage(const TreeNode *nodes, int k) { return abs(nodes[k - 1].next); }

// Spreads branch numbers (from 1, 0 for none) over lists in ascending or given order of nodes.
void listsOfBranches(const QRTStoch *stoch, const int *order, int nOrder, const int *branchOf, int nBranches, int ***lists,
                     int **counts) {
  int *store = newInts(wholeTree(stoch)->nNodes);
  if (stoch->smodel) storeNumbers(stoch, store);
  else
    for (int k = 0; k < wholeTree(stoch)->nNodes; ++k) store[k] = k + 1;
  *counts = newInts(nBranches);
  *lists = static_cast<int **>(qrts__alloc(CALLER, (int64_t(nBranches) + 1) * int64_t(sizeof(int *)), 0));
  for (int p = 0; p < nOrder; ++p)
    if (branchOf[order[p]]) ++(*counts)[branchOf[order[p]] - 1];
  for (int b = 0; b < nBranches; ++b) {
    (*lists)[b] = newInts((*counts)[b]);
    (*counts)[b] = 0;
  }
  for (int p = 0; p < nOrder; ++p) {
    const int b = branchOf[order[p]];
    if (b) (*lists)[b - 1][(*counts)[b - 1]++] = store[order[p] - 1];
  }
  free(store);
}

// ---- at a stage

// Group of each node: 1 the stages before the cut with the first subtrees, then one number a further group. `order`
// receives the nodes stage by stage, each stage along its chain.
int groupNodes(const NodeList *list, int nStages, int cut, int most, int *groupOf, int *order, int *nOrder) {
  const TreeNode *nodes = list->nodes;
  const int atCut = list->stageCount[cut - 1];
  const int groups = most < atCut ? most : atCut;
  const int share = atCut / groups, larger = atCut % groups;
  int group = 1, left = share + (larger > 0);
  *nOrder = 0;
  for (int stage = 1; stage <= nStages; ++stage)
    for (int k = list->stageHead[stage - 1]; k != 0; k = nextInStage(nodes, k)) {
      if (nodes[k - 1].isVirtual) continue;
      if (stage < cut) {
        groupOf[k] = 1;
      } else if (stage > cut) {
        groupOf[k] = groupOf[nodes[k - 1].parent];
      } else {
        if (left == 0) {
          ++group;
          left = share + (group <= larger);
        }
        groupOf[k] = group;
        --left;
      }
      order[(*nOrder)++] = k;
    }
  return groups;
}

}  // namespace

int qrts_Cpcut(QRTStoch *stoch, int cutperiod, int ***lists, int **counts, int *nModels) {
  const int nStages = stoch->sdata->core->nStages;
  if (cutperiod < 1 || cutperiod > nStages) {
    printf("Invalid value for period cut\n");
    return 2;
  }
  const NodeList *list = wholeTree(stoch);
  int *groupOf = newInts(list->nNodes), *order = newInts(list->nNodes);
  int nOrder;
  *nModels = groupNodes(list, nStages, cutperiod, stoch->maxsubmodels, groupOf, order, &nOrder);
  listsOfBranches(stoch, order, nOrder, groupOf, *nModels, lists, counts);
  free(groupOf);
  free(order);
  return 0;
}

// ---- by rows

namespace {

// Branches as they grow.
struct Growth {
  const QRTStoch *stoch;
  const TreeNode *nodes;
  int *branchOf;    // [nodes + 1] 0 unassigned
  int *firstOpen;   // [nodes + 1] first child of a node that can still change a branch; earlier ones are done with
};

int leafOfScenario(const Growth *g, int scenario) {
  return placeOfNode(g->stoch->smodel, g->stoch->sdata->scenarios->table[scenario - 1].lastNode);
}

// The leaf of the scenario that made node c, which is the oldest below it; when it has no probability, the oldest left.
int leafBelow(const Growth *g, int c) {
  const int scenario = g->nodes[c - 1].scenario;
  int leaf = scenario > 0 ? leafOfScenario(g, scenario) : 0;
  if (leaf != 0) return leaf;
  for (leaf = c; g->nodes[leaf - 1].firstChild != 0;) {
    leaf = g->nodes[leaf - 1].firstChild;
    while (g->nodes[leaf - 1].next > 0) leaf = g->nodes[leaf - 1].next;
  }
  return leaf;
}

int64_t addLeafToBranch(Growth *g, int *node, int b) {
  int64_t rows = 0;
  int k = *node;
  for (; k != 0 && g->branchOf[k] == 0; k = g->nodes[k - 1].parent) {
    g->branchOf[k] = b;
    rows += g->nodes[k - 1].nRows;
  }
  *node = k;
  return rows;
}

// Neither this child nor its own first child is free any more: passing it can have no effect.
bool doneWith(const Growth *g, int c) {
  const int child = g->nodes[c - 1].firstChild;
  return g->branchOf[c] != 0 && (child == 0 || g->branchOf[child] != 0);
}

int64_t addChildren(Growth *g, int node, int b, int parentBranch, int64_t need) {
  if (g->nodes[node - 1].firstChild == 0 || need <= 0) return 0;
  int64_t sum = 0;
  int c = g->firstOpen[node] ? g->firstOpen[node] : g->nodes[node - 1].firstChild;
  while (doneWith(g, c) && g->nodes[c - 1].next > 0) c = g->nodes[c - 1].next;
  g->firstOpen[node] = c;
  for (;;) {
    int at = c;
    if (g->branchOf[c] == 0) {
      at = leafBelow(g, c);
      sum += addLeafToBranch(g, &at, b);
    }
    if (sum > need) return sum;
    const int child = g->nodes[c - 1].firstChild;
    const bool mine = at != 0 && (g->branchOf[at] == b || g->branchOf[at] == parentBranch);
    if (mine && child != 0 && g->branchOf[child] == 0) sum += addChildren(g, at, b, parentBranch, need - sum);
    if (sum > need) return sum;
    c = g->nodes[c - 1].next;
    if (c <= 0 || sum >= need) return sum;
  }
}

// Fills branch b from the leaf upwards until it has `wanted` rows or nothing near is left.
void growBranch(Growth *g, int leaf, int b, int parentBranch, int64_t rows, int64_t wanted) {
  int cur = leaf;
  while (g->nodes[cur - 1].parent != 0) {
    const int parent = g->nodes[cur - 1].parent;
    rows += addChildren(g, parent, b, parentBranch, wanted - rows);
    if (parent == 1) return;
    cur = parent;
    const int above = g->nodes[cur - 1].parent;
    if (above == 0 || (g->branchOf[above] != b && g->branchOf[above] != parentBranch)) return;
    if (rows >= wanted) return;
  }
}

}  // namespace

int qrts_Cdcut(QRTStoch *stoch, int minNumRows, int ***lists, int **counts, int **parents, int *nModels) {
  const NodeList *list = wholeTree(stoch);
  Growth g = {stoch, list->nodes, newInts(list->nNodes), newInts(list->nNodes)};
  const int scenarios = stoch->sdata->scenarios->count;
  *parents = newInts(list->nNodes);
  int branches = 0;
  for (int scenario = scenarios; scenario >= 1; --scenario) {
    const int leaf = leafOfScenario(&g, scenario);
    if (leaf == 0 || g.branchOf[leaf] != 0) continue;
    const int b = ++branches;
    int stopped = leaf;
    const int64_t rows = addLeafToBranch(&g, &stopped, b);
    const int parentBranch = stopped ? g.branchOf[stopped] : 0;
    (*parents)[b - 1] = parentBranch;
    if (rows < minNumRows) growBranch(&g, leaf, b, parentBranch, rows, minNumRows);
  }
  int *order = newInts(list->nNodes);
  for (int k = 1; k <= list->nNodes; ++k) order[k - 1] = k;
  listsOfBranches(stoch, order, list->nNodes, g.branchOf, branches, lists, counts);
  *nModels = branches;
  free(order);
  free(g.branchOf);
  free(g.firstOpen);
  return branches > 0 ? 0 : 2;
}

// ---- merging small branches

namespace {

struct SizedBranch {
  int branch;   // from 0
  int64_t rows;
};

int compareBranches(const void *a, const void *b) {
  const SizedBranch *x = static_cast<const SizedBranch *>(a), *y = static_cast<const SizedBranch *>(b);
  if (x->rows != y->rows) return x->rows < y->rows ? -1 : 1;
  return x->branch < y->branch ? -1 : x->branch > y->branch;
}

SizedBranch *branchesBySize(const QRTStoch *stoch, int **lists, const int *counts, int n) {
  const TreeNode *store = stoch->sdata->nodes->nodes;
  SizedBranch *sized = static_cast<SizedBranch *>(qrts__alloc(CALLER, int64_t(n) * int64_t(sizeof(SizedBranch)), 0));
  for (int b = 0; b < n; ++b) {
    sized[b].branch = b;
    for (int k = 0; k < counts[b]; ++k) sized[b].rows += store[lists[b][k] - 1].nRows;
  }
  qsort(sized, size_t(n), sizeof(SizedBranch), compareBranches);
  return sized;
}

int compareInts(const void *a, const void *b) {
  const int x = *static_cast<const int *>(a), y = *static_cast<const int *>(b);
  return x < y ? -1 : x > y;
}

}  // namespace

int qrts_Cncut(QRTStoch *stoch, int maxsubmodels, int **lists, int *counts, int *parents, int nModels) {
  if (maxsubmodels < 1 || maxsubmodels >= nModels) return maxsubmodels < 1 ? 2 : 0;
  SizedBranch *sized = branchesBySize(stoch, lists, counts, nModels);
  int *newNumber = newInts(nModels), *end = newInts(nModels);  // by old branch from 0; 0: merged away
  int merged = nModels - maxsubmodels, kept = 0;
  for (int p = 0; p < nModels; ++p) {
    const int b = sized[p].branch;
    // Nothing could take over the root's branch: the next smallest goes in its place.
    if (merged > 0 && parents[b] != 0) --merged;
    else newNumber[b] = ++kept;
  }
  free(sized);
  for (int b = 0; b < nModels; ++b) {
    int up = b;
    while (newNumber[up] == 0) up = parents[up] - 1;
    end[b] = newNumber[up];
  }
  int **newLists = static_cast<int **>(qrts__alloc(CALLER, int64_t(kept) * int64_t(sizeof(int *)), 0));
  int *newCounts = newInts(kept), *newParents = newInts(kept);
  for (int b = 0; b < nModels; ++b) newCounts[end[b] - 1] += counts[b];
  for (int c = 0; c < kept; ++c) {
    newLists[c] = newInts(newCounts[c]);
    newCounts[c] = 0;
  }
  for (int b = 0; b < nModels; ++b) {
    const int c = end[b] - 1;
    memcpy(newLists[c] + newCounts[c], lists[b], size_t(counts[b]) * sizeof(int));
    newCounts[c] += counts[b];
    if (newNumber[b]) newParents[c] = parents[b] ? end[parents[b] - 1] : 0;
    free(lists[b]);
  }
  for (int c = 0; c < kept; ++c) {
    qsort(newLists[c], size_t(newCounts[c]), sizeof(int), compareInts);
    lists[c] = newLists[c];
    counts[c] = newCounts[c];
    parents[c] = newParents[c];
  }
  free(newLists);
  free(newCounts);
  free(newParents);
  free(newNumber);
  free(end);
  return 0;
}
