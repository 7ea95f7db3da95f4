// The tree of dual feasible bases: its steps, and the walks of members through it.
#include "decomp/scn_basis_tree.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *CALLER = "tree_create";
constexpr double SMALLEST_PIVOT = 1e-7;   // of a step, against the largest of its row and column
constexpr double PIVOTS_AGREE = 1e-7;     // the pivot by row and by column
constexpr double RESIDUAL = 1e-8;         // of the rows at a node that is used for the first time, relative
constexpr double NOISE = 1e-12;           // what rounding leaves of a zero among multipliers and gradients
constexpr double LONG_WALK = 8.0;         // mean steps of a pass from which a new root is looked for
constexpr int64_t MOST_BYTES = int64_t(96) << 20;
constexpr int NODES_A_BLOCK = 64;

enum : unsigned char { AT_LOWER = 0, AT_UPPER = 1, AT_ZERO = 2, BASIC = 3 };
enum : unsigned char { NODE_NEW, NODE_GOOD, NODE_BAD, NODE_PROOF };

// One basis. The numbers that differ in length from family to family stand in one block of doubles.
struct BasisNode {
  int32_t parent, depth;     // -1, 0 at the root
  int32_t position;          // row position that the step exchanges; at a proof the row that cannot be met
  int32_t enter;             // variable that enters
  unsigned char leaveTo;     // side the leaving variable goes to
  unsigned char enterFrom;   // side the entering one comes from
  unsigned char state;
  int32_t visits;            // members that came to rest here in this pass
  double pivot;              // alpha[position]
  double *alpha;             // [m] B_parent^-1 a_enter; null at the root and at proofs
  double *reduced;           // [nVar]; basics 0
  unsigned char *side;       // [nVar]
  double *gradient;          // [virtual columns] -T'y; null until it is asked for
};

}  // namespace

struct BasisTree {
  const Family *family;
  int32_t m, nVar;
  double primalTolerance, dualTolerance;
  double *inverse;           // [m * m] of the root's basis, column by column
  int32_t *rootBasic;        // [m]
  double *cost;              // [nVar]
  BasisNode **blocks;        // nodes, NODES_A_BLOCK a block
  int32_t nNodes, nBlocks, blockRoom;
  int64_t bytes;
  // children by (node, row, side): open addressing
  int32_t *table;            // [tableSize] child + 1, 0 empty
  int32_t tableSize, tableUsed;
  // the proposal in view
  int32_t commonState;       // 0 stale, 1 plain, 2 along a ray
  double *common;            // [m] root's basic values with shared bounds
  // a walk
  double *x;                 // [m] basic values
  int32_t *basic;            // [m]
  double *work, *rho;        // [m] zero between uses; [m]
  double *row;               // [nVar] pivotal row
  int32_t at;                // node where it ended
  const double *lower, *upper;
  bool alongRay;
  int64_t steps, walks;      // of this pass
};

namespace {

template <class T> T *newArray(int64_t count) {
  return static_cast<T *>(qrts__alloc(CALLER, (count + 1) * int64_t(sizeof(T)), 0));
}

BasisNode *nodeOf(const BasisTree *t, int n) { return &t->blocks[n / NODES_A_BLOCK][n % NODES_A_BLOCK]; }

int newNode(BasisTree *t) {
  if (t->nNodes == t->nBlocks * NODES_A_BLOCK) {
    if (t->nBlocks == t->blockRoom) {
      t->blockRoom = 2 * t->blockRoom + 16;
      t->blocks = static_cast<BasisNode **>(qrts__realloc(CALLER, t->blocks, t->blockRoom * int64_t(sizeof(BasisNode *))));
    }
    t->blocks[t->nBlocks++] = newArray<BasisNode>(NODES_A_BLOCK);
    t->bytes += NODES_A_BLOCK * int64_t(sizeof(BasisNode));
  }
  BasisNode *node = nodeOf(t, t->nNodes);
  node->reduced = newArray<double>(t->nVar);
  node->side = newArray<unsigned char>(t->nVar);
  t->bytes += int64_t(t->nVar) * 9;
  return t->nNodes++;
}

void freeNodes(BasisTree *t) {
  for (int n = 0; n < t->nNodes; ++n) {
    BasisNode *node = nodeOf(t, n);
    free(node->alpha);
    free(node->reduced);
    free(node->side);
    free(node->gradient);
  }
  for (int b = 0; b < t->nBlocks; ++b) free(t->blocks[b]);
  t->nNodes = t->nBlocks = 0;
  t->bytes = int64_t(t->m) * t->m * 8;
}

// ---- columns and bounds

// work += factor * column of variable k: a column of W, or minus a unit for an activity.
void addColumn(const BasisTree *t, int k, double factor, double *work) {
  const Family *f = t->family;
  if (k < t->m) {
    work[k] -= factor;
    return;
  }
  for (int e = f->start[k - t->m]; e < f->start[k - t->m + 1]; ++e) work[f->row[e]] += factor * f->value[e];
}

double boundOf(const BasisTree *t, const double *bounds, int k) {
  const double b = bounds[k];
  if (!t->alongRay) return b;
  return b <= -SCN_INFINITY || b >= SCN_INFINITY ? b : 0.0;
}
double lowerOf(const BasisTree *t, int k) { return boundOf(t, t->lower, k); }
double upperOf(const BasisTree *t, int k) { return boundOf(t, t->upper, k); }
double restingValue(const BasisTree *t, unsigned char side, int k) {
  return side == AT_LOWER ? lowerOf(t, k) : side == AT_UPPER ? upperOf(t, k) : 0.0;
}

// x := B_root^-1 work for a vector over the rows, which is cleared; added to x.
void addSolved(const BasisTree *t, double *work, double *x) {
  for (int i = 0; i < t->m; ++i) {
    if (work[i] == 0.0) continue;
    const double factor = work[i];
    const double *column = t->inverse + int64_t(i) * t->m;
    for (int p = 0; p < t->m; ++p) x[p] += factor * column[p];
    work[i] = 0.0;
  }
}

// x := E x for the step of a node, as FTRAN has it.
void applyStep(const BasisNode *node, int m, double *x) {
  const double step = x[node->position] / node->pivot;
  if (step == 0.0) return;
  for (int p = 0; p < m; ++p) x[p] -= step * node->alpha[p];
  x[node->position] = step;
}

// All steps from the root to n, the root's first: into path, depth of n entries.
int pathTo(const BasisTree *t, int n, int32_t *path) {
  const int depth = nodeOf(t, n)->depth;
  for (int d = depth; d > 0; --d, n = nodeOf(t, n)->parent) path[d - 1] = n;
  return depth;
}

constexpr int DEEPEST = 400;

// rho := row `position` of B_n^-1.
void inverseRow(BasisTree *t, int n, int position, double *rho) {
  double *v = t->x;  // any work of m entries will do; the walk's values are saved by the caller
  memset(v, 0, size_t(t->m) * sizeof(double));
  v[position] = 1.0;
  for (; n != 0; n = nodeOf(t, n)->parent) {
    const BasisNode *node = nodeOf(t, n);
    double sum = v[node->position];
    for (int p = 0; p < t->m; ++p)
      if (p != node->position) sum -= v[p] * node->alpha[p];
    v[node->position] = sum / node->pivot;
  }
  for (int i = 0; i < t->m; ++i) {
    const double *column = t->inverse + int64_t(i) * t->m;
    double sum = 0.0;
    for (int p = 0; p < t->m; ++p) sum += v[p] * column[p];
    rho[i] = sum;
  }
}

// t->row := rho' a_k for every variable that is not basic at the node.
void pivotalRow(BasisTree *t, const BasisNode *node, const double *rho) {
  const Family *f = t->family;
  memset(t->row, 0, size_t(t->nVar) * sizeof(double));
  for (int i = 0; i < t->m; ++i) {
    if (rho[i] == 0.0) continue;
    t->row[i] = -rho[i];
    for (int e = f->rowStart[i]; e < f->rowStart[i + 1]; ++e) t->row[t->m + f->rowCol[e]] += rho[i] * f->rowValue[e];
  }
  for (int k = 0; k < t->nVar; ++k)
    if (node->side[k] == BASIC) t->row[k] = 0.0;
}

// Variable that enters when the basic one of the pivotal row leaves to a side, or -1: the dual ratio test, with the
// largest pivot among those that keep d feasible within the tolerance (Harris 1973). `towards` is +1 when the leaving
// variable must grow.
int chooseEntering(const BasisTree *t, const BasisNode *node, double towards) {
  const double largest = [&] {
    double most = 0.0;
    for (int k = 0; k < t->nVar; ++k) most = fmax(most, fabs(t->row[k]));
    return most;
  }();
  const double least = SMALLEST_PIVOT * fmax(1.0, largest);
  const auto usable = [&](int k) {
    if (node->side[k] == BASIC || t->family->fixedInAll[k] || fabs(t->row[k]) < least) return false;
    const double slope = towards * t->row[k];  // how the leaving variable falls as this one grows
    return node->side[k] == AT_ZERO || (node->side[k] == AT_LOWER ? slope < 0.0 : slope > 0.0);
  };
  double ratio = 1e300;
  for (int k = 0; k < t->nVar; ++k)
    if (usable(k)) ratio = fmin(ratio, (fabs(node->reduced[k]) + t->dualTolerance) / fabs(t->row[k]));
  int best = -1;
  for (int k = 0; k < t->nVar; ++k)
    if (usable(k) && fabs(node->reduced[k]) <= ratio * fabs(t->row[k]) && (best < 0 || fabs(t->row[k]) > fabs(t->row[best]))) best = k;
  return best;
}

// ---- children

uint32_t slotOf(const BasisTree *t, int node, int position, int side) {
  uint64_t key = (uint64_t(uint32_t(node)) << 32) ^ (uint64_t(uint32_t(position)) << 1) ^ uint64_t(side);
  key *= 0x9E3779B97F4A7C15ull;
  return uint32_t(key >> 32) & uint32_t(t->tableSize - 1);
}

int findChild(const BasisTree *t, int node, int position, int side) {
  for (uint32_t s = slotOf(t, node, position, side); t->table[s]; s = (s + 1) & uint32_t(t->tableSize - 1)) {
    const BasisNode *child = nodeOf(t, t->table[s] - 1);
    if (child->parent == node && child->position == position && child->leaveTo == side) return t->table[s] - 1;
  }
  return -1;
}

void enterChild(BasisTree *t, int child) {
  const BasisNode *node = nodeOf(t, child);
  uint32_t s = slotOf(t, node->parent, node->position, node->leaveTo);
  while (t->table[s]) s = (s + 1) & uint32_t(t->tableSize - 1);
  t->table[s] = child + 1;
}

void growTable(BasisTree *t) {
  if (t->nNodes * 2 < t->tableSize) return;
  free(t->table);
  t->tableSize *= 2;
  t->table = newArray<int32_t>(t->tableSize);
  for (int n = 1; n < t->nNodes; ++n) enterChild(t, n);
}

// The child of a node for a leaving row, made when it is not there. -1: no room, or numbers too bad.
int makeChild(BasisTree *t, int parent, int position, int side) {
  if (t->bytes > MOST_BYTES || nodeOf(t, parent)->depth + 1 >= DEEPEST) return -1;
  const double towards = side == AT_LOWER ? 1.0 : -1.0;
  double *saved = t->work;  // the walk's values come back at the end
  memcpy(saved, t->x, size_t(t->m) * sizeof(double));
  inverseRow(t, parent, position, t->rho);
  pivotalRow(t, nodeOf(t, parent), t->rho);
  memcpy(t->x, saved, size_t(t->m) * sizeof(double));
  memset(saved, 0, size_t(t->m) * sizeof(double));
  const int enter = chooseEntering(t, nodeOf(t, parent), towards);
  const int n = newNode(t);
  BasisNode *node = nodeOf(t, n);
  const BasisNode *from = nodeOf(t, parent);
  node->parent = parent;
  node->depth = from->depth + 1;
  node->position = position;
  node->leaveTo = static_cast<unsigned char>(side);
  node->enter = enter;
  const int leave = t->basic[position];
  if (enter < 0) {
    // Nothing can make the row hold: its multipliers prove it (leaving variable with coefficient 1 or -1).
    node->state = NODE_PROOF;
    for (int k = 0; k < t->nVar; ++k) node->reduced[k] = fabs(t->row[k]) <= NOISE ? 0.0 : towards * t->row[k];
    node->reduced[leave] = towards;
    enterChild(t, n);
    growTable(t);
    return n;
  }
  node->alpha = newArray<double>(t->m);
  t->bytes += 8 * int64_t(t->m);
  addColumn(t, enter, 1.0, saved);
  addSolved(t, saved, node->alpha);
  int32_t path[DEEPEST];
  const int depth = pathTo(t, parent, path);
  for (int d = 0; d < depth; ++d) applyStep(nodeOf(t, path[d]), t->m, node->alpha);
  node->pivot = node->alpha[position];
  node->enterFrom = from->side[enter];
  const double byRow = t->row[enter];
  double largest = 0.0;
  for (int p = 0; p < t->m; ++p) largest = fmax(largest, fabs(node->alpha[p]));
  if (fabs(node->pivot - byRow) > PIVOTS_AGREE * (1.0 + fabs(byRow)) || fabs(node->pivot) < SMALLEST_PIVOT * fmax(1.0, largest))
    node->state = NODE_BAD;
  const double theta = from->reduced[enter] / byRow;
  for (int k = 0; k < t->nVar; ++k) node->reduced[k] = from->reduced[k] - theta * t->row[k];
  node->reduced[leave] = -theta;
  node->reduced[enter] = 0.0;
  memcpy(node->side, from->side, size_t(t->nVar));
  node->side[leave] = static_cast<unsigned char>(side);
  node->side[enter] = BASIC;
  enterChild(t, n);
  growTable(t);
  return n;
}

// ---- a node used for the first time

// d anew from y, which the activities' reduced costs are; false when rounding has made it infeasible.
bool dualHolds(BasisTree *t, BasisNode *node) {
  const Family *f = t->family;
  for (int i = 0; i < t->m; ++i)
    if (fabs(node->reduced[i]) <= NOISE) node->reduced[i] = 0.0;
  for (int j = 0; j < f->realCols; ++j) {
    const int k = t->m + j;
    double d = f->cost[j], size = fabs(d);
    for (int e = f->start[j]; e < f->start[j + 1]; ++e) {
      const double term = node->reduced[f->row[e]] * f->value[e];
      d -= term;
      size += fabs(term);
    }
    if (fabs(d - node->reduced[k]) > RESIDUAL * (1.0 + size)) return false;
    node->reduced[k] = node->side[k] == BASIC ? 0.0 : d;
    if (fabs(d) <= NOISE * (1.0 + size)) node->reduced[k] = 0.0;
  }
  for (int k = 0; k < t->nVar; ++k) {
    const double d = node->reduced[k];
    if (node->side[k] == BASIC || f->fixedInAll[k]) continue;
    const double wrong = node->side[k] == AT_LOWER ? -d : node->side[k] == AT_UPPER ? d : fabs(d);
    if (wrong > 10.0 * t->dualTolerance) return false;
  }
  return true;
}

// The rows at the member's values: W x - r = right-hand side, where `rhs` has that side.
bool primalHolds(BasisTree *t, const BasisNode *node, const double *rhs) {
  double *residual = t->rho, size = 1.0;
  for (int i = 0; i < t->m; ++i) {
    residual[i] = -rhs[i];
    size = fmax(size, fabs(rhs[i]));
  }
  for (int k = 0; k < t->nVar; ++k) {
    if (node->side[k] == BASIC) continue;
    const double v = restingValue(t, node->side[k], k);
    if (v == 0.0) continue;
    addColumn(t, k, v, residual);
    size = fmax(size, fabs(v));
  }
  for (int p = 0; p < t->m; ++p) {
    addColumn(t, t->basic[p], t->x[p], residual);
    size = fmax(size, fabs(t->x[p]));
  }
  for (int i = 0; i < t->m; ++i)
    if (!(fabs(residual[i]) <= RESIDUAL * size)) return false;
  return true;
}

// ---- the root

// Dense inverse by Gauss-Jordan elimination with row pivoting; false when singular.
bool invert(double *a, double *inverse, int m) {
  memset(inverse, 0, size_t(m) * size_t(m) * sizeof(double));
  for (int i = 0; i < m; ++i) inverse[int64_t(i) * m + i] = 1.0;
  // a and inverse column by column; rows are exchanged in both.
  for (int k = 0; k < m; ++k) {
    int pivot = k;
    for (int i = k + 1; i < m; ++i)
      if (fabs(a[int64_t(k) * m + i]) > fabs(a[int64_t(k) * m + pivot])) pivot = i;
    const double value = a[int64_t(k) * m + pivot];
    if (fabs(value) < 1e-9) return false;
    double *const matrices[2] = {a, inverse};
    double *multiplier = static_cast<double *>(qrts__alloc(CALLER, int64_t(m) * 8, 1));
    for (double *matrix : matrices)
      for (int j = 0; j < m && pivot != k; ++j) {
        double *column = matrix + int64_t(j) * m;
        const double swap = column[k];
        column[k] = column[pivot];
        column[pivot] = swap;
      }
    for (int i = 0; i < m; ++i) multiplier[i] = a[int64_t(k) * m + i];
    for (double *matrix : matrices)
      for (int j = 0; j < m; ++j) {
        double *column = matrix + int64_t(j) * m;
        if (column[k] == 0.0) continue;
        const double scaled = column[k] / value;
        for (int i = 0; i < m; ++i) column[i] -= scaled * multiplier[i];
        column[k] = scaled;
      }
    free(multiplier);
  }
  return true;
}

// Inverse, d and sides of the basis in rootBasic; sides of the others stand in the root node. False when unusable.
bool plantRoot(BasisTree *t) {
  const int m = t->m;
  double *matrix = newArray<double>(int64_t(m) * m);
  for (int p = 0; p < m; ++p) addColumn(t, t->rootBasic[p], 1.0, matrix + int64_t(p) * m);
  const bool regular = invert(matrix, t->inverse, m);
  free(matrix);
  if (!regular) return false;
  BasisNode *root = nodeOf(t, 0);
  for (int i = 0; i < m; ++i) {
    const double *column = t->inverse + int64_t(i) * m;
    double y = 0.0;
    for (int p = 0; p < m; ++p) y += t->cost[t->rootBasic[p]] * column[p];
    root->reduced[i] = y;
  }
  for (int j = 0; j < t->family->realCols; ++j) {
    double d = t->family->cost[j];
    for (int e = t->family->start[j]; e < t->family->start[j + 1]; ++e) d -= root->reduced[t->family->row[e]] * t->family->value[e];
    root->reduced[m + j] = d;
  }
  for (int p = 0; p < m; ++p) {
    root->side[t->rootBasic[p]] = BASIC;
    root->reduced[t->rootBasic[p]] = 0.0;
  }
  // A side may be a matter of taste where d is 0 or both bounds are finite; it must fit d.
  for (int k = 0; k < t->nVar; ++k) {
    if (root->side[k] == BASIC) continue;
    const bool hasLower = t->family->lower[k] > -SCN_INFINITY, hasUpper = t->family->upper[k] < SCN_INFINITY;
    const double d = root->reduced[k];
    if (hasLower && (d > 0.0 || !hasUpper || (d == 0.0 && root->side[k] != AT_UPPER))) root->side[k] = AT_LOWER;
    else if (hasUpper) root->side[k] = AT_UPPER;
    else root->side[k] = hasLower ? AT_LOWER : AT_ZERO;
  }
  root->parent = -1;
  root->depth = 0;
  root->enter = root->position = -1;
  t->commonState = 0;
  return dualHolds(t, root);
}

}  // namespace

BasisTree *tree_create(const Family *family, const unsigned char *status, double primalTolerance, double dualTolerance) {
  const int m = family->nRows, nVar = m + family->realCols;
  int basics = 0;
  for (int k = 0; k < nVar; ++k) basics += status[k] >> 7;
  if (basics != m || m == 0 || m > TREE_MOST_ROWS) return nullptr;
  BasisTree *t = newArray<BasisTree>(1);
  t->family = family;
  t->m = m;
  t->nVar = nVar;
  t->primalTolerance = primalTolerance;
  t->dualTolerance = dualTolerance;
  t->inverse = newArray<double>(int64_t(m) * m);
  t->bytes = int64_t(m) * m * 8;
  t->rootBasic = newArray<int32_t>(m);
  t->cost = newArray<double>(nVar);
  memcpy(t->cost + m, family->cost, size_t(family->realCols) * sizeof(double));
  t->tableSize = 1024;
  t->table = newArray<int32_t>(t->tableSize);
  t->common = newArray<double>(m);
  t->x = newArray<double>(m);
  t->basic = newArray<int32_t>(m);
  t->work = newArray<double>(m);
  t->rho = newArray<double>(m);
  t->row = newArray<double>(nVar);
  newNode(t);
  for (int k = 0, p = 0; k < nVar; ++k) {
    if (status[k] >> 7) t->rootBasic[p++] = k;
    nodeOf(t, 0)->side[k] = (status[k] & 0x60) == 0x40 ? AT_UPPER : AT_LOWER;
  }
  if (plantRoot(t)) return t;
  tree_free(t);
  return nullptr;
}

void tree_free(BasisTree *t) {
  if (!t) return;
  freeNodes(t);
  void *blocks[] = {t->blocks, t->inverse, t->rootBasic, t->cost, t->table, t->common, t->x, t->basic, t->work, t->rho, t->row};
  for (void *block : blocks) free(block);
  free(t);
}

void tree_newProposal(BasisTree *t) { t->commonState = 0; }

namespace {

// Basic values at the root for the shared bounds and the shared T.
void makeCommon(BasisTree *t) {
  t->lower = t->family->lower;
  t->upper = t->family->upper;
  const BasisNode *root = nodeOf(t, 0);
  for (int i = 0; i < t->m; ++i) t->work[i] = -t->family->product[i];
  for (int k = 0; k < t->nVar; ++k) {
    if (root->side[k] == BASIC) continue;
    const double v = restingValue(t, root->side[k], k);
    if (v != 0.0) addColumn(t, k, -v, t->work);
  }
  memset(t->common, 0, size_t(t->m) * sizeof(double));
  addSolved(t, t->work, t->common);
  t->commonState = t->alongRay ? 2 : 1;
}

// Basic values of the member at the root.
void startWalk(BasisTree *t, const Families *all, const Member *member, const double *extra) {
  if (t->commonState != (t->alongRay ? 2 : 1)) makeCommon(t);
  t->lower = all->lower;
  t->upper = all->upper;
  const Family *f = t->family;
  const BasisNode *root = nodeOf(t, 0);
  memcpy(t->x, t->common, size_t(t->m) * sizeof(double));
  memcpy(t->basic, t->rootBasic, size_t(t->m) * sizeof(int32_t));
  bool moved = false;
  for (int64_t r = member->firstRim; !t->alongRay && r < member->firstRim + member->nRim; ++r) {
    const bool isLower = f->rimAt[r] < t->nVar;
    const int k = isLower ? f->rimAt[r] : f->rimAt[r] - t->nVar;
    if (k >= t->nVar || root->side[k] != (isLower ? AT_LOWER : AT_UPPER)) continue;
    addColumn(t, k, (isLower ? f->lower[k] : f->upper[k]) - f->rimValue[r], t->work);
    moved = true;
  }
  for (int i = 0; extra && i < t->m; ++i) {
    t->work[i] += extra[i];
    moved = true;
  }
  if (moved) addSolved(t, t->work, t->x);
  t->at = 0;
}

// Row position that is most out of its bounds, -1 for none.
int worstRow(const BasisTree *t, int *side) {
  int worst = -1;
  double most = t->primalTolerance;
  for (int p = 0; p < t->m; ++p) {
    const int k = t->basic[p];
    const double below = lowerOf(t, k) - t->x[p], above = t->x[p] - upperOf(t, k);
    if (below > most) {
      most = below;
      worst = p;
      *side = AT_LOWER;
    }
    if (above > most) {
      most = above;
      worst = p;
      *side = AT_UPPER;
    }
  }
  return worst;
}

// The member takes the step to a child.
void follow(BasisTree *t, int child) {
  const BasisNode *node = nodeOf(t, child);
  const int leave = t->basic[node->position];
  const double bound = node->leaveTo == AT_LOWER ? lowerOf(t, leave) : upperOf(t, leave);
  const double step = (t->x[node->position] - bound) / node->pivot;
  for (int p = 0; p < t->m; ++p) t->x[p] -= step * node->alpha[p];
  t->x[node->position] = restingValue(t, node->enterFrom, node->enter) + step;
  t->basic[node->position] = node->enter;
  t->at = child;
  ++t->steps;
}

}  // namespace

int tree_walk(BasisTree *t, Families *all, const Member *member, bool alongRay, const double *extra, int *home) {
  t->alongRay = alongRay;
  startWalk(t, all, member, extra);
  ++t->walks;
  for (int steps = 0; steps < DEEPEST; ++steps) {
    int side = AT_LOWER;
    const int position = worstRow(t, &side);
    if (position < 0) break;
    int child = findChild(t, t->at, position, side);
    if (child < 0) child = makeChild(t, t->at, position, side);
    if (child < 0 || nodeOf(t, child)->state == NODE_BAD) return WALK_LOST;
    if (nodeOf(t, child)->state == NODE_PROOF) {
      t->at = *home = child;
      return WALK_INFEASIBLE;
    }
    follow(t, child);
    if (steps + 1 == DEEPEST) return WALK_LOST;
  }
  BasisNode *node = nodeOf(t, t->at);
  if (node->state == NODE_NEW) {
    double *rhs = t->work;
    for (int i = 0; i < t->m; ++i) rhs[i] = (extra ? extra[i] : 0.0) - t->family->product[i];
    node->state = primalHolds(t, node, rhs) && dualHolds(t, node) ? NODE_GOOD : NODE_BAD;
    memset(rhs, 0, size_t(t->m) * sizeof(double));
  }
  if (node->state == NODE_BAD) return WALK_LOST;
  ++node->visits;
  *home = t->at;
  return WALK_OPTIMAL;
}

bool tree_stayAbove(BasisTree *t, int *home) {
  *home = t->at = nodeOf(t, t->at)->parent;
  BasisNode *node = nodeOf(t, t->at);
  if (node->state == NODE_NEW && !dualHolds(t, node)) node->state = NODE_BAD;
  return node->state != NODE_BAD;
}

const double *tree_reduced(const BasisTree *t, int home) { return nodeOf(t, home)->reduced; }

const double *tree_gradient(BasisTree *t, int home) {
  BasisNode *node = nodeOf(t, home);
  const Family *f = t->family;
  if (!node->gradient) {
    node->gradient = newArray<double>(f->virtualCols);
    t->bytes += 8 * int64_t(f->virtualCols);
    for (int v = 0; v < f->virtualCols; ++v) {
      double sum = 0.0, size = 0.0;
      for (int e = f->tStart[v]; e < f->tStart[v + 1]; ++e) {
        const double term = node->reduced[f->tRow[e]] * f->tValue[e];
        sum -= term;
        size += fabs(term);
      }
      node->gradient[v] = fabs(sum) <= NOISE * size ? 0.0 : sum;
    }
  }
  return node->gradient;
}

void tree_solution(const BasisTree *t, const Families *, double *values, unsigned char *status) {
  const BasisNode *node = nodeOf(t, t->at);
  for (int k = 0; k < t->nVar; ++k) {
    if (node->side[k] != BASIC) values[k] = restingValue(t, node->side[k], k);
    if (!status) continue;
    const bool fixed = lowerOf(t, k) == upperOf(t, k);
    status[k] = node->side[k] == BASIC ? 0x80 : fixed ? 0 : node->side[k] == AT_LOWER ? 0x20 : node->side[k] == AT_UPPER ? 0x40 : 0x60;
  }
  for (int p = 0; p < t->m; ++p) values[t->basic[p]] = t->x[p];
}

double tree_cost(const BasisTree *t) {
  const BasisNode *node = nodeOf(t, t->at);
  double sum = 0.0, rest = 0.0;
  const auto add = [&](double value) {
    const double total = sum + value;
    rest += fabs(sum) >= fabs(value) ? (sum - total) + value : (value - total) + sum;
    sum = total;
  };
  for (int k = t->m; k < t->nVar; ++k)
    if (t->cost[k] != 0.0 && node->side[k] != BASIC) {
      const double v = restingValue(t, node->side[k], k);
      if (v != 0.0) add(t->cost[k] * v);
    }
  for (int p = 0; p < t->m; ++p) add(t->cost[t->basic[p]] * t->x[p]);
  return sum + rest;
}

bool tree_reroot(BasisTree *t) {
  const bool wanted = t->walks > 0 && (double(t->steps) > LONG_WALK * double(t->walks) || t->bytes > MOST_BYTES);
  t->steps = t->walks = 0;
  int best = 0;
  for (int n = 0; n < t->nNodes; ++n)
    if (nodeOf(t, n)->state == NODE_GOOD && nodeOf(t, n)->visits > nodeOf(t, best)->visits) best = n;
  for (int n = 0; n < t->nNodes; ++n) nodeOf(t, n)->visits = 0;
  if (!wanted || best == 0) return false;
  // Its basis, position by position, and its sides.
  int32_t path[DEEPEST];
  const int depth = pathTo(t, best, path);
  for (int d = 0; d < depth; ++d) t->rootBasic[nodeOf(t, path[d])->position] = nodeOf(t, path[d])->enter;
  unsigned char *side = newArray<unsigned char>(t->nVar);
  memcpy(side, nodeOf(t, best)->side, size_t(t->nVar));
  freeNodes(t);
  memset(t->table, 0, size_t(t->tableSize) * sizeof(int32_t));
  newNode(t);
  memcpy(nodeOf(t, 0)->side, side, size_t(t->nVar));
  free(side);
  if (!plantRoot(t)) nodeOf(t, 0)->state = NODE_BAD;
  return true;
}

const char *tree_check(const BasisTree *t) {
  const int m = t->m;
  int32_t *basic = newArray<int32_t>(m);
  double *residual = newArray<double>(m);
  const char *fault = nullptr;
  for (int n = 1; n < t->nNodes && !fault; ++n) {
    const BasisNode *node = nodeOf(t, n);
    if (node->state == NODE_PROOF || node->state == NODE_BAD) continue;
    memcpy(basic, t->rootBasic, size_t(m) * sizeof(int32_t));
    int32_t path[DEEPEST];
    const int depth = pathTo(t, node->parent, path);
    for (int d = 0; d < depth; ++d) basic[nodeOf(t, path[d])->position] = nodeOf(t, path[d])->enter;
    // B_parent alpha = a_enter
    memset(residual, 0, size_t(m) * sizeof(double));
    addColumn(t, node->enter, -1.0, residual);
    for (int p = 0; p < m; ++p) addColumn(t, basic[p], node->alpha[p], residual);
    for (int i = 0; i < m; ++i)
      if (fabs(residual[i]) > 1e-6) fault = "a step is not the entering column in its parent's basis";
    int basics = 0;
    for (int k = 0; k < t->nVar; ++k) basics += node->side[k] == BASIC;
    if (basics != m) fault = "a node has not one basic variable a row";
    if (node->parent >= n) fault = "a node is older than its parent";
  }
  free(basic);
  free(residual);
  return fault;
}
