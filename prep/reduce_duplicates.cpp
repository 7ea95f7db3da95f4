// Proportional rows folded into one, proportional columns added up or the dearer one fixed, and the ways back.
//
// Rows: row q = t * row p holds p between sides_q / t as well; p keeps the intersection. On the way back, if p rests on a
// side that came from q, the dual passes over: y_q = y_p / t, and p is basic.
//
// Columns: column q = t * column p. If c_q = t c_p too, only z = x_p + t x_q matters, with the sum of the bounds. On the
// way back z at a bound means both at theirs; else one of the two rests on a bound and the other takes the rest. If
// c_q - t c_p > 0 and x_p can move without limit in the direction that makes up for less of x_q, then x_q stays at its
// lower bound; the other cases are mirrors. (Andersen and Andersen 1995, section 3.4; Tomlin and Welch, Finding
// duplicate rows in a linear programming model, 1986.)
//
// Both searches are one: sort lines by a hash of their pattern and by a weighted sum of their elements divided by the
// first, and compare neighbours element by element.
#include <algorithm>
#include <cmath>

#include "frame/guarded_memory.h"
#include "prep/presolve.h"

namespace {

constexpr double SAME = 1.0e-12;  // relative difference of proportional elements
constexpr double NEAR = 1.0e-9;   // of weighted sums, which gather rounding

// A row or a column in the search.
struct Line {
  uint64_t pattern;  // commutative hash of the indices
  double sum;        // of weight(index) * element / first element
  double price;      // columns: cost / first element
  int number;
};

uint64_t mixed(uint64_t x) {  // the finaliser of a 64-bit hash (S. Vigna, splitmix64)
  x += 0x9e3779b97f4a7c15u;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
  return x ^ (x >> 31);
}

double weightOf(int index) { return 0.5 + double(mixed(uint64_t(index)) >> 11) * 0x1p-53; }

// What the search needs to know of rows, or of columns.
struct Direction {
  const Presolve *p;
  bool rows;
  int first(int line) const { return rows ? p->rowFirst[line] : p->columnFirst[line]; }
  int count(int line) const { return rows ? p->rowCount[line] : p->columnCount[line]; }
  int next(int e) const { return rows ? p->entry[e].rowNext : p->entry[e].columnNext; }
  int index(int e) const { return rows ? p->entry[e].column : p->entry[e].row; }
};

// The element with the smallest index: lists have no order that two lines would share.
double leadingElement(const Direction &d, int line) {
  int lowest = INT32_MAX;
  double element = 1.0;
  for (int e = d.first(line); e >= 0; e = d.next(e))
    if (d.index(e) < lowest) lowest = d.index(e), element = d.p->entry[e].value;
  return element;
}

Line describe(const Direction &d, int line) {
  Line l = {0, 0.0, 0.0, line};
  const double lead = leadingElement(d, line);
  for (int e = d.first(line); e >= 0; e = d.next(e)) {
    l.pattern += mixed(uint64_t(d.index(e)));
    l.sum += weightOf(d.index(e)) * (d.p->entry[e].value / lead);
  }
  if (!d.rows) l.price = d.p->cost[line] / lead;
  return l;
}

// Sums of proportional lines differ by rounding, so they are sorted by a rounded form; a pair on the edge is missed.
bool before(const Line &a, const Line &b) {
  if (a.pattern != b.pattern) return a.pattern < b.pattern;
  const double x = double(float(a.sum)), y = double(float(b.sum));
  if (x != y) return x < y;
  if (a.price != b.price) return a.price < b.price;
  return a.number < b.number;
}

bool mayBeProportional(const Line &a, const Line &b) {
  return a.pattern == b.pattern && std::fabs(a.sum - b.sum) <= NEAR * (1.0 + std::fabs(a.sum));
}

// Elements of the line compared last, by index; `owner` says whose they are.
struct Scatter {
  double *value;
  int *owner;
  int held;
};

Scatter newScatter(const Presolve *p, int length) {
  Scatter s;
  s.value = static_cast<double *>(temporaryAllocate(p->model, int64_t(length) + 1, sizeof(double)));
  s.owner = static_cast<int *>(temporaryAllocate(p->model, int64_t(length) + 1, sizeof(int)));
  for (int k = 0; k < length; k++) s.owner[k] = -1;
  s.held = -1;
  return s;
}

// Line b = times * line a?
bool proportional(const Direction &d, Scatter *s, int a, int b, double *times) {
  if (d.count(a) != d.count(b)) return false;
  if (s->held != a) {
    for (int e = d.first(a); e >= 0; e = d.next(e)) {
      s->value[d.index(e)] = d.p->entry[e].value;
      s->owner[d.index(e)] = a;
    }
    s->held = a;
  }
  *times = 0.0;
  for (int e = d.first(b); e >= 0; e = d.next(e)) {
    const int k = d.index(e);
    if (s->owner[k] != a) return false;
    const double ratio = d.p->entry[e].value / s->value[k];
    if (*times == 0.0) *times = ratio;
    else if (std::fabs(ratio - *times) > SAME * std::fabs(*times)) return false;
  }
  return true;
}

// Lines of at least `shortest` elements, sorted; their number.
int sortedLines(const Direction &d, int length, int shortest, Line **lines) {
  const Presolve *p = d.p;
  *lines = static_cast<Line *>(temporaryAllocate(p->model, int64_t(length) + 1, sizeof(Line)));
  int count = 0;
  for (int k = 0; k < length; k++) {
    if (d.count(k) < shortest) continue;
    if (!d.rows && p->columnKind[k] != COLUMN_CONTINUOUS) continue;
    (*lines)[count++] = describe(d, k);
  }
  std::sort(*lines, *lines + count, before);
  return count;
}

// ---- rows

bool ownLowerHolds(double own, double other) { return !hasLower(other) || other <= own + SAME * (1.0 + std::fabs(own)); }
bool ownUpperHolds(double own, double other) { return !hasUpper(other) || other >= own - SAME * (1.0 + std::fabs(own)); }

struct Sides {
  double lower, upper;
};

// Sides of row q as sides of row p.
Sides divided(double lower, double upper, double times) {
  const double low = hasLower(lower) ? lower / times : times > 0.0 ? -QRT_INFINITY : QRT_INFINITY;
  const double high = hasUpper(upper) ? upper / times : times > 0.0 ? QRT_INFINITY : -QRT_INFINITY;
  return times > 0.0 ? Sides{low, high} : Sides{high, low};
}

// Folds row q = times * row p into p.
int foldRow(Presolve *p, int kept, int out, double times) {
  const Sides other = divided(p->rowLower[out], p->rowUpper[out], times);
  double lower = ownLowerHolds(p->rowLower[kept], other.lower) ? p->rowLower[kept] : other.lower;
  double upper = ownUpperHolds(p->rowUpper[kept], other.upper) ? p->rowUpper[kept] : other.upper;
  if (lower > upper) {
    if (lower - upper > p->tolerance * (1.0 + std::fabs(upper))) {
      if (!p->repair) return foundInfeasible(p, lower - upper, -1, out);
      p->repairs++;
    }
    if (lower == p->rowLower[kept]) upper = lower;
    else lower = upper;
  }
  Reduction *r = logReduction(p, REDUCTION_DUPLICATE_ROW, out, -1);
  r->other = kept;
  r->lower = p->rowLower[kept];
  r->upper = p->rowUpper[kept];
  r->value1 = times;
  logRowContent(p, out);
  logPair(p, false, kept, p->rowLower[out]);
  logPair(p, false, kept, p->rowUpper[out]);
  if (lower != p->rowLower[kept] || upper != p->rowUpper[kept]) changeSides(p, kept, lower, upper);
  removeRow(p, out, MARK_REDUNDANT);
  return 1;
}

// ---- columns

double addBounds(double a, double b, double none) {
  return std::fabs(a) >= QRT_INFINITE_TEST || std::fabs(b) >= QRT_INFINITE_TEST ? none : a + b;
}

// Of x_p + times * x_q.
Sides summedBounds(double lower, double upper, double otherLower, double otherUpper, double times) {
  const double low = times > 0.0 ? otherLower : otherUpper, high = times > 0.0 ? otherUpper : otherLower;
  return {addBounds(lower, std::fabs(low) < QRT_INFINITE_TEST ? times * low : low, -QRT_INFINITY),
          addBounds(upper, std::fabs(high) < QRT_INFINITE_TEST ? times * high : high, QRT_INFINITY)};
}

// z = x_p + times * x_q takes the place of x_p.
void addUp(Presolve *p, int kept, int out, double times) {
  Reduction *r = logReduction(p, REDUCTION_SUMMED, -1, kept);
  r->other = out;
  r->lower = p->lower[kept];
  r->upper = p->upper[kept];
  r->otherLower = p->lower[out];
  r->otherUpper = p->upper[out];
  r->value1 = times;
  r->value2 = p->cost[out] - times * p->cost[kept];
  const Sides sum = summedBounds(p->lower[kept], p->upper[kept], p->lower[out], p->upper[out], times);
  p->workLower[kept] = sum.lower;  // what rows said of x_p alone does not hold for the sum
  p->workUpper[kept] = sum.upper;
  dropColumn(p, out, MARK_AT_LOWER);
  changeBounds(p, kept, sum.lower, sum.upper);
}

// Fixes `dear`, whose column is `times` that of `cheap` and whose cost differs by `excess` from that share of it, if the
// other can make up for it without limit. 1 if it did.
int fixDominated(Presolve *p, int cheap, int dear, double times, double excess) {
  // Less of the dear column must be made up for by more of times * cheap, more of it by less.
  const bool down = excess > 0.0;
  const bool needsUp = down == (times > 0.0);
  if (needsUp ? hasUpper(p->upper[cheap]) : hasLower(p->lower[cheap])) return 0;
  const double bound = down ? p->lower[dear] : p->upper[dear];
  if (std::fabs(bound) >= QRT_INFINITE_TEST) return 0;
  fixColumn(p, dear, bound, REDUCTION_DOMINATED, down ? MARK_AT_LOWER : MARK_AT_UPPER);
  p->log->record[p->log->count - 1].other = cheap;
  return 1;
}

// What can be done with the pair; `survivor` is the one that goes on being compared.
int mergePair(Presolve *p, int first, int second, double times, int *survivor) {
  const double share = times * p->cost[first], excess = p->cost[second] - share;
  *survivor = first;
  if (std::fabs(excess) <= SAME * (std::fabs(share) + std::fabs(p->cost[second]))) {
    addUp(p, first, second, times);
    return 1;
  }
  if (fixDominated(p, first, second, times, excess)) return 1;
  *survivor = second;
  return fixDominated(p, second, first, 1.0 / times, -excess / times);
}

bool freeColumn(double lower, double upper) { return !hasLower(lower) && !hasUpper(upper); }

}  // namespace

int dropDuplicateRows(Presolve *p) {
  const Direction rows = {p, true};
  Line *line = nullptr;
  const int count = sortedLines(rows, p->m, 2, &line);
  Scatter scatter = newScatter(p, p->n);
  int done = 0, k = 0;
  for (int next = 1; next < count; next++) {
    double times = 0.0;
    if (!mayBeProportional(line[k], line[next]) || !proportional(rows, &scatter, line[k].number, line[next].number, &times)) {
      k = next;
      continue;
    }
    const int result = foldRow(p, line[k].number, line[next].number, times);
    if (result < 0) return result;
    done++;
  }
  return done;
}

int mergeDuplicateColumns(Presolve *p) {
  const Direction columns = {p, false};
  Line *line = nullptr;
  const int count = sortedLines(columns, p->n, 1, &line);
  Scatter scatter = newScatter(p, p->m);
  int done = 0;
  int held = count > 0 ? 0 : -1;
  for (int next = 1; next < count; next++) {
    double times = 0.0;
    const int a = line[held].number, b = line[next].number;
    if (!mayBeProportional(line[held], line[next]) || !proportional(columns, &scatter, a, b, &times)) {
      held = next;
      continue;
    }
    int survivor = a;
    done += mergePair(p, a, b, times, &survivor);
    if (survivor == b) held = next;
  }
  return done;
}

void undoDuplicateRow(Postsolve *p, const Reduction *r) {
  const int out = r->row, kept = columnIndices(p, r)[0];
  const double times = r->value1;
  p->rowBasic[out] = 1;
  p->y[out] = 0.0;
  if (p->rowBasic[kept]) return;
  const Sides other = divided(columnElements(p, r)[0], columnElements(p, r)[1], times);
  const bool ownLower = ownLowerHolds(r->lower, other.lower), ownUpper = ownUpperHolds(r->upper, other.upper);
  const double lower = ownLower ? r->lower : other.lower, upper = ownUpper ? r->upper : other.upper;
  const double activity = contentActivity(p, r, -1) / times;
  const bool atLower = restsAtLower(activity, lower, upper, p->y[kept]);
  if (atLower ? ownLower : ownUpper) return;
  p->y[out] = p->y[kept] / times;
  p->y[kept] = 0.0;
  p->rowBasic[out] = 0;
  p->rowBasic[kept] = 1;
}

// It rests where it was left; the sign of its reduced cost follows from that of the other's.
void undoDominatedColumn(Postsolve *p, const Reduction *r) {
  p->x[r->column] = r->value1;
  p->d[r->column] = contentDual(p, r, r->value2);
  p->columnBasic[r->column] = 0;
}

void undoSummedColumns(Postsolve *p, const Reduction *r) {
  const int kept = r->column, out = r->other;
  const double times = r->value1, z = p->x[kept];
  // What the other contributes at its bounds; one of them may be infinite.
  const double ends[2] = {r->otherLower, r->otherUpper};
  p->d[out] = times * p->d[kept] + r->value2;
  p->columnBasic[out] = 0;
  const Sides sum = summedBounds(r->lower, r->upper, ends[0], ends[1], times);
  if (!p->columnBasic[kept]) {  // at a bound of the sum both are at theirs
    const bool low = restsAtLower(z, sum.lower, sum.upper, p->d[kept]);
    const double bound = low ? sum.lower : sum.upper;
    if (std::fabs(bound) < QRT_INFINITE_TEST && std::fabs(z - bound) <= p->tolerance * (1.0 + std::fabs(z))) {
      p->x[kept] = low ? r->lower : r->upper;
      p->x[out] = ends[low == (times > 0.0) ? 0 : 1];
      return;
    }
  }
  const double slack = PRESOLVE_ZERO * (1.0 + std::fabs(z));
  for (const double bound : ends) {
    if (std::fabs(bound) >= QRT_INFINITE_TEST) continue;
    const double rest = z - times * bound;
    if (rest < r->lower - slack || rest > r->upper + slack) continue;
    p->x[out] = bound;
    p->x[kept] = rest;
    return;
  }
  if (freeColumn(r->lower, r->upper)) {  // and so is the other, or a bound of it would have done
    p->x[out] = 0.0;
    return;
  }
  // The kept column goes to a bound, the other takes the rest and its place in the basis.
  const double own[2] = {r->lower, r->upper};
  double best = QRT_INFINITY;
  for (const double bound : own) {
    if (std::fabs(bound) >= QRT_INFINITE_TEST) continue;
    const double rest = (z - bound) / times, excess = std::fmax(0.0, std::fmax(r->otherLower - rest, rest - r->otherUpper));
    if (excess >= best) continue;
    best = excess;
    p->x[kept] = bound;
    p->x[out] = rest;
  }
  p->columnBasic[out] = p->columnBasic[kept];
  p->columnBasic[kept] = 0;
}
