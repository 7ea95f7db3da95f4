// Families of subproblems: shapes found in a cut, the program each shares, and what every member changes in it.
#include "decomp/scn_family.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_basis_tree.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"

namespace {

constexpr const char *CALLER = "families_build";
constexpr double SAME_COST = 1e-14;  // relative: what dividing by probabilities leaves of equal costs
constexpr double CROSSED = 1e-12;

template <class T> T *newArray(int64_t count) {
  return static_cast<T *>(qrts__alloc(CALLER, (count + 1) * int64_t(sizeof(T)), 0));
}
template <class T> void grow(T **array, int64_t room) {
  *array = static_cast<T *>(qrts__realloc(CALLER, *array, (room + 1) * int64_t(sizeof(T))));
}

// The nodes of one subproblem, before it is known to which family they belong.
struct Outline {
  const int *real;           // [nReal] store numbers
  int nReal, nVirtual, room;
  int *virtualNode;          // [nVirtual] store numbers, in order of appearance
  int32_t *shape;            // [2 * (nReal + nVirtual)]
  int32_t *place;            // [nodes of the store + 1] position from 1 in the outline, 0 outside
};

void outline_add(Outline *o, int position, int stage, int parent) {
  o->shape[2 * position] = stage;
  o->shape[2 * position + 1] = parent;
}

// Ancestors outside the list are appended, parent first, as a described model has them.
void outline_draw(Outline *o, const TreeNode *store) {
  for (int p = 0; p < o->nReal; ++p) o->place[o->real[p]] = p + 1;
  o->nVirtual = 0;
  for (int p = 0; p < o->nReal; ++p)
    for (int up = store[o->real[p] - 1].parent; up != 0 && o->place[up] == 0; up = store[up - 1].parent) {
      if (o->nReal + o->nVirtual >= o->room) {
        o->room = 2 * (o->nReal + o->nVirtual) + 16;
        grow(&o->virtualNode, o->room);
        grow(&o->shape, 2 * int64_t(o->room));
      }
      o->virtualNode[o->nVirtual++] = up;
      o->place[up] = o->nReal + o->nVirtual;
    }
  for (int p = 0; p < o->nReal + o->nVirtual; ++p) {
    const int node = p < o->nReal ? o->real[p] : o->virtualNode[p - o->nReal];
    const int parent = store[node - 1].parent;
    outline_add(o, p, store[node - 1].stage, parent ? o->place[parent] : 0);
  }
}

void outline_erase(Outline *o) {
  for (int p = 0; p < o->nReal; ++p) o->place[o->real[p]] = 0;
  for (int v = 0; v < o->nVirtual; ++v) o->place[o->virtualNode[v]] = 0;
}

uint32_t hashOf(const int32_t *words, int count) {
  uint32_t hash = 2166136261u;
  for (int k = 0; k < count; ++k) hash = (hash ^ uint32_t(words[k])) * 16777619u;
  return hash;
}

// ---- the shared program of a shape

// Elements on their way to columns.
struct Triples {
  int64_t count, room;
  int32_t *row, *col;
  double *value;
};

void addBlock(Triples *t, const CoreData *core, int rowStage, int colStage, int rowOffset, int colOffset) {
  const int block = blockNumber(rowStage, colStage);
  const int first = core->blockStart[block - 1] - 1, last = core->blockStart[block] - 1;
  if (t->count + (last - first) > t->room) {
    t->room = 2 * (t->count + (last - first));
    grow(&t->row, t->room);
    grow(&t->col, t->room);
    grow(&t->value, t->room);
  }
  for (int e = first; e < last; ++e, ++t->count) {
    t->row[t->count] = core->mrow[e] - 1 + rowOffset;
    t->col[t->count] = core->mcol[e] - 1 + colOffset;
    t->value[t->count] = core->dels[e];
  }
}

// Triples with key in [low, high) sorted by it; the key becomes the list, `other` the index.
void sortInto(const Triples *t, const int32_t *key, const int32_t *other, int low, int high, int32_t **start, int32_t **index,
              double **value) {
  const int n = high - low;
  *start = newArray<int32_t>(n + 1);
  int64_t kept = 0;
  for (int64_t e = 0; e < t->count; ++e)
    if (key[e] >= low && key[e] < high) {
      ++(*start)[key[e] - low + 1];
      ++kept;
    }
  for (int k = 0; k < n; ++k) (*start)[k + 1] += (*start)[k];
  *index = newArray<int32_t>(kept);
  *value = newArray<double>(kept);
  int32_t *next = newArray<int32_t>(n);
  memcpy(next, *start, size_t(n) * sizeof(int32_t));
  for (int64_t e = 0; e < t->count; ++e) {
    if (key[e] < low || key[e] >= high) continue;
    const int at = next[key[e] - low]++;
    (*index)[at] = other[e];
    (*value)[at] = t->value[e];
  }
  free(next);
}

void layOut(Family *f, const CoreData *core) {
  const int nodes = f->nReal + f->nVirtual;
  f->rowOffset = newArray<int32_t>(nodes);
  f->colOffset = newArray<int32_t>(nodes);
  for (int p = 0; p < nodes; ++p) {
    const int stage = f->shape[2 * p];
    f->rowOffset[p] = f->nRows;
    f->colOffset[p] = f->realCols + f->virtualCols;
    if (p < f->nReal) {
      f->nRows += rowsOfStage(core, stage);
      f->realCols += colsOfStage(core, stage);
    } else {
      f->virtualCols += colsOfStage(core, stage);
    }
  }
}

void fillMatrix(Family *f, const CoreData *core) {
  Triples t = {};
  for (int p = 0; p < f->nReal; ++p)
    for (int a = p + 1; a != 0; a = f->shape[2 * (a - 1) + 1])
      addBlock(&t, core, f->shape[2 * p], f->shape[2 * (a - 1)], f->rowOffset[p], f->colOffset[a - 1]);
  sortInto(&t, t.col, t.row, 0, f->realCols, &f->start, &f->row, &f->value);
  sortInto(&t, t.col, t.row, f->realCols, f->realCols + f->virtualCols, &f->tStart, &f->tRow, &f->tValue);
  // By rows: only the real columns.
  int64_t kept = 0;
  for (int64_t e = 0; e < t.count; ++e)
    if (t.col[e] < f->realCols) {
      t.row[kept] = t.row[e];
      t.col[kept] = t.col[e];
      t.value[kept++] = t.value[e];
    }
  t.count = kept;
  sortInto(&t, t.row, t.col, 0, f->nRows, &f->rowStart, &f->rowCol, &f->rowValue);
  free(t.row);
  free(t.col);
  free(t.value);
}

void fillRims(Family *f, const CoreData *core, double sense) {
  const int m = f->nRows;
  f->lower = newArray<double>(m + f->realCols);
  f->upper = newArray<double>(m + f->realCols);
  f->cost = newArray<double>(f->realCols);
  f->fixedInAll = newArray<unsigned char>(m + f->realCols);
  for (int p = 0; p < f->nReal; ++p) {
    const int stage = f->shape[2 * p], row = core->rowStageStart[stage - 1] - 1, col = core->colStageStart[stage - 1] - 1;
    for (int i = 0; i < rowsOfStage(core, stage); ++i) {
      f->lower[f->rowOffset[p] + i] = core->rowLower[row + i];
      f->upper[f->rowOffset[p] + i] = core->rowUpper[row + i];
    }
    for (int j = 0; j < colsOfStage(core, stage); ++j) {
      const int at = f->colOffset[p] + j;
      f->lower[m + at] = core->colLower[col + j];
      f->upper[m + at] = core->colUpper[col + j];
      f->cost[at] = sense * f->share[p] * core->objective[col + j];
    }
  }
  for (int k = 0; k < m + f->realCols; ++k) f->fixedInAll[k] = f->lower[k] == f->upper[k];
}

int familyOf(Families *all, const Outline *o, const CoreData *core, const double *share) {
  const int words = 2 * (o->nReal + o->nVirtual);
  const uint32_t hash = hashOf(o->shape, words);
  for (int f = all->count - 1; f >= 0; --f) {
    const Family &known = all->family[f];
    if (known.hash == hash && known.nReal == o->nReal && known.nVirtual == o->nVirtual &&
        memcmp(known.shape, o->shape, size_t(words) * sizeof(int32_t)) == 0)
      return f;
  }
  if (all->count == all->room) {
    all->room = 2 * all->room + 4;
    grow(&all->family, all->room);
  }
  Family *f = &all->family[all->count];
  *f = {};
  f->nReal = o->nReal;
  f->nVirtual = o->nVirtual;
  f->hash = hash;
  f->shape = newArray<int32_t>(words);
  memcpy(f->shape, o->shape, size_t(words) * sizeof(int32_t));
  f->share = newArray<double>(o->nReal);
  memcpy(f->share, share, size_t(o->nReal) * sizeof(double));
  layOut(f, core);
  fillMatrix(f, core);
  fillRims(f, core, all->stoch->optmaxmin);
  f->product = newArray<double>(f->nRows);
  return all->count++;
}

// ---- members

void addRim(Family *f, Member *member, int32_t at, double value) {
  if (f->nRim == f->rimRoom) {
    f->rimRoom = 2 * f->rimRoom + 64;
    grow(&f->rimAt, f->rimRoom);
    grow(&f->rimValue, f->rimRoom);
  }
  f->rimAt[f->nRim] = at;
  f->rimValue[f->nRim++] = value;
  ++member->nRim;
}

void addElement(Family *f, Member *member, int32_t row, int32_t col, double value) {
  if (f->nElements == f->elementRoom) {
    f->elementRoom = 2 * f->elementRoom + 64;
    grow(&f->elementRow, f->elementRoom);
    grow(&f->elementCol, f->elementRoom);
    grow(&f->elementValue, f->elementRoom);
  }
  f->elementRow[f->nElements] = row;
  f->elementCol[f->nElements] = col;
  f->elementValue[f->nElements++] = value;
  ++member->nElements;
  if (col < f->realCols) member->alone = 1;
}

// Rims of one node of a member: the shared ones, then the node's differences on top; only what moved is kept.
struct RimWork {
  double *rowLower, *rowUpper, *colLower, *colUpper, *cost;
};

void keepBounds(Family *f, Member *member, int first, int count, const double *lower, const double *upper) {
  for (int i = 0; i < count; ++i) {
    const int k = first + i;
    if (lower[i] != f->lower[k]) addRim(f, member, rimLower(f, k), lower[i]);
    if (upper[i] != f->upper[k]) addRim(f, member, rimUpper(f, k), upper[i]);
    const bool sameKind = (lower[i] > -SCN_INFINITY) == (f->lower[k] > -SCN_INFINITY) &&
                          (upper[i] < SCN_INFINITY) == (f->upper[k] < SCN_INFINITY);
    if (!sameKind || lower[i] > upper[i] + CROSSED) member->alone = 1;
    if (lower[i] != upper[i]) f->fixedInAll[k] = 0;
  }
}

void keepRims(Family *f, Member *member, int p, const CoreData *core, const RimWork *rim, double costFactor) {
  const int stage = f->shape[2 * p], nRows = rowsOfStage(core, stage), nCols = colsOfStage(core, stage);
  keepBounds(f, member, f->rowOffset[p], nRows, rim->rowLower, rim->rowUpper);
  keepBounds(f, member, f->nRows + f->colOffset[p], nCols, rim->colLower, rim->colUpper);
  for (int j = 0; j < nCols; ++j) {
    const int at = f->colOffset[p] + j;
    const double cost = costFactor * rim->cost[j];
    if (fabs(cost - f->cost[at]) <= SAME_COST * (fabs(cost) + fabs(f->cost[at]))) continue;
    addRim(f, member, rimCost(f, at), cost);
    member->alone = 1;
  }
}

void loadCoreRims(const CoreData *core, int stage, RimWork *rim) {
  const int row = core->rowStageStart[stage - 1] - 1, col = core->colStageStart[stage - 1] - 1;
  const size_t rowBytes = size_t(rowsOfStage(core, stage)) * sizeof(double), colBytes = size_t(colsOfStage(core, stage)) * sizeof(double);
  memcpy(rim->rowLower, core->rowLower + row, rowBytes);
  memcpy(rim->rowUpper, core->rowUpper + row, rowBytes);
  memcpy(rim->colLower, core->colLower + col, colBytes);
  memcpy(rim->colUpper, core->colUpper + col, colBytes);
  memcpy(rim->cost, core->objective + col, colBytes);
}

int readNode(Families *all, Family *f, Member *member, int p, double probability, RimWork *rim) {
  StochData *sdata = all->stoch->sdata;
  const CoreData *core = sdata->core;
  const int stage = f->shape[2 * p];
  const double factor = all->stoch->optmaxmin * probability / member->weight;
  const TreeNode &node = sdata->nodes->nodes[member->nodes[p] - 1];
  NodeGroup group;
  const int code = qrts_readGroup(CALLER, sdata, node.record, stage, &group);
  if (code >= 2) return code;
  loadCoreRims(core, stage, rim);
  for (int a = f->shape[2 * p + 1]; a != 0; a = f->shape[2 * (a - 1) + 1]) {
    const int t = f->shape[2 * (a - 1)];
    for (int e = group.blockStart[t - 1] - 1; e < group.blockStart[t] - 1; ++e)
      addElement(f, member, group.rows[e] - 1 + f->rowOffset[p], group.cols[e] - 1 + f->colOffset[a - 1], group.values[e]);
  }
  const int first = group.blockStart[stage - 1] - 1;
  int count = group.blockStart[stage] - group.blockStart[stage - 1];
  qrtspltblk(1, rowsOfStage(core, stage), colsOfStage(core, stage), &count, group.rows + first, group.cols + first,
             group.values + first, rim->rowLower, rim->rowUpper, rim->colLower, rim->colUpper, rim->cost, nullptr);
  for (int e = first; e < first + count; ++e)
    addElement(f, member, group.rows[e] - 1 + f->rowOffset[p], group.cols[e] - 1 + f->colOffset[p], group.values[e]);
  keepRims(f, member, p, core, rim, factor);
  return 0;
}

// Columns of the master at which the virtual nodes stand: the last member's list when it is the same.
const int32_t *placesOf(Families *all, const Outline *o, const StochModel *master, const int32_t *before, int nBefore) {
  bool same = before && nBefore == o->nVirtual;
  for (int v = 0; v < o->nVirtual && same; ++v)
    same = before[v] == master->nodeList->nodes[placeOfNode(master, o->virtualNode[v]) - 1].colOffset;
  if (same) return before;
  if (all->nPlaces == all->placeRoom) {
    all->placeRoom = 2 * all->placeRoom + 16;
    grow(&all->placePool, all->placeRoom);
  }
  int32_t *places = all->placePool[all->nPlaces++] = newArray<int32_t>(o->nVirtual);
  for (int v = 0; v < o->nVirtual; ++v)
    places[v] = master->nodeList->nodes[placeOfNode(master, o->virtualNode[v]) - 1].colOffset;
  return places;
}

// Probability of the subtrees a subproblem holds: of its real nodes whose parent is elsewhere. Costs come weighted by
// probabilities; without that weight tolerances mean the same in a rare scenario as in a common one.
double weightOf(const Outline *o, const TreeNode *store) {
  double weight = 0.0;
  for (int p = 0; p < o->nReal; ++p) {
    const int parent = o->shape[2 * p + 1];
    if (parent == 0 || parent > o->nReal) weight += store[o->real[p] - 1].probability;
  }
  return weight > 0.0 ? weight : 1.0;
}

int addMember(Families *all, int i, Outline *o, const StochModel *master, RimWork *rim, double *share) {
  const TreeNode *store = all->stoch->sdata->nodes->nodes;
  outline_draw(o, store);
  Member *member = &all->member[i];
  *member = {};
  member->nodes = o->real;
  member->home = member->cutHome = -1;
  member->cutStatus = -1;
  member->weight = weightOf(o, store);
  for (int p = 0; p < o->nReal; ++p) share[p] = store[o->real[p] - 1].probability / member->weight;
  member->family = familyOf(all, o, all->stoch->sdata->core, share);
  const Member *before = i > 0 ? &all->member[i - 1] : nullptr;
  member->masterAt = placesOf(all, o, master, before ? before->masterAt : nullptr, before ? all->family[before->family].nVirtual : 0);
  outline_erase(o);
  Family *f = &all->family[member->family];
  member->firstRim = f->nRim;
  member->firstElement = f->nElements;
  int code = 0;
  for (int p = 0; p < o->nReal && code < 2; ++p)
    code = readNode(all, f, member, p, store[o->real[p] - 1].probability, rim);
  return code;
}

// Nodes without probability are in no model; they leave the list.
int dropImpossible(const QRTStoch *stoch, int *nodes, int count) {
  int kept = 0;
  for (int p = 0; p < count; ++p)
    if (stoch->sdata->nodes->nodes[nodes[p] - 1].probability > 0.0) nodes[kept++] = nodes[p];
  return kept;
}

void makeWork(Families *all) {
  for (int f = 0; f < all->count; ++f) {
    Family &one = all->family[f];
    grow(&one.rimAt, one.nRim);  // what doubling left over goes back
    grow(&one.rimValue, one.nRim);
    if (one.nRows > all->largestRows) all->largestRows = one.nRows;
    if (one.realCols > all->largestReal) all->largestReal = one.realCols;
    if (one.virtualCols > all->largestVirtual) all->largestVirtual = one.virtualCols;
  }
  const int64_t variables = int64_t(all->largestRows) + all->largestReal;
  all->lower = newArray<double>(variables);
  all->upper = newArray<double>(variables);
  all->reduced = newArray<double>(variables);
  all->solution = newArray<double>(variables);
  all->gradient = newArray<double>(all->largestVirtual);
  all->hatX = newArray<double>(all->largestVirtual);
  all->extra = newArray<double>(all->largestRows);
  all->boundsOf = -1;
}

}  // namespace

int families_build(Families *all, QRTStoch *stoch, QRTStoch *master, int **lists, const int *counts, int n) {
  *all = {};
  all->stoch = stoch;
  all->nMembers = n - 1;
  all->member = newArray<Member>(all->nMembers);
  if (qrts_unpackCore(stoch->sdata) >= 2) return 2;
  const CoreData *core = stoch->sdata->core;
  int largest = 1;
  for (int i = 1; i < n; ++i) largest = counts[i] > largest ? counts[i] : largest;
  Outline o = {};
  o.room = largest + core->nStages + 16;
  o.virtualNode = newArray<int>(o.room);
  o.shape = newArray<int32_t>(2 * int64_t(o.room));
  o.place = newArray<int32_t>(stoch->sdata->nodes->nNodes);
  double *share = newArray<double>(largest);
  double *rims = newArray<double>(2 * int64_t(core->nRows) + 3 * int64_t(core->nCols));
  RimWork rim = {rims, rims + core->nRows, rims + 2 * core->nRows, rims + 2 * core->nRows + core->nCols,
                 rims + 2 * core->nRows + 2 * core->nCols};
  int code = 0;
  for (int i = 1; i < n && code < 2; ++i) {
    o.real = lists[i];
    o.nReal = dropImpossible(stoch, lists[i], counts[i]);
    code = addMember(all, i - 1, &o, master->smodel, &rim, share);
  }
  free(o.virtualNode);
  free(o.shape);
  free(o.place);
  free(share);
  free(rims);
  makeWork(all);
#ifdef QRT_SELF_CHECKS
  const char *broken = code < 2 ? families_check(all) : nullptr;
  if (broken) {
    fprintf(stderr, "families: %s\n", broken);
    abort();
  }
#endif
  return code;
}

void families_free(Families *all) {
  for (int f = 0; f < all->count; ++f) {
    Family *one = &all->family[f];
    void *blocks[] = {one->shape, one->share, one->rowOffset, one->colOffset, one->start, one->row, one->value, one->rowStart,
                      one->rowCol, one->rowValue, one->tStart, one->tRow, one->tValue, one->lower, one->upper, one->cost,
                      one->fixedInAll, one->rimAt, one->rimValue, one->elementRow, one->elementCol, one->elementValue, one->product};
    for (void *block : blocks) free(block);
    if (one->model) qrt_deleteModel(one->model);
    tree_free(one->tree);
  }
  if (all->member)
    for (int i = 0; i < all->nMembers; ++i) free(all->member[i].basis);
  for (int p = 0; p < all->nPlaces; ++p) free(all->placePool[p]);
  void *blocks[] = {all->family, all->member, all->placePool, all->lower, all->upper, all->gradient, all->reduced, all->hatX, all->extra, all->solution};
  for (void *block : blocks) free(block);
  *all = {};
}

const char *families_check(const Families *all) {
  const TreeNode *store = all->stoch->sdata->nodes->nodes;
  for (int i = 0; i < all->nMembers; ++i) {
    const Member &member = all->member[i];
    if (member.family < 0 || member.family >= all->count) return "a member has no family";
    const Family &f = all->family[member.family];
    double weight = 0.0;
    for (int p = 0; p < f.nReal; ++p) {
      const TreeNode &node = store[member.nodes[p] - 1];
      if (node.stage != f.shape[2 * p]) return "a member's node is of another stage than its family's";
      const int parent = f.shape[2 * p + 1];
      if (parent >= 1 && parent <= f.nReal && member.nodes[parent - 1] != node.parent) return "a member's node has another parent";
      if (parent == 0 || parent > f.nReal) weight += node.probability;
    }
    if (fabs(weight - member.weight) > 1e-12 && weight > 0.0) return "a member's weight is not that of its subtrees";
    if (member.firstRim + member.nRim > f.nRim || member.firstElement + member.nElements > f.nElements)
      return "a member's differences are out of range";
    for (int64_t e = member.firstElement; e < member.firstElement + member.nElements; ++e)
      if (f.elementRow[e] < 0 || f.elementRow[e] >= f.nRows || f.elementCol[e] < 0 || f.elementCol[e] >= f.realCols + f.virtualCols)
        return "a member's element is outside its program";
  }
  return nullptr;
}
