// The maker of programs with planted redundancies.
#include "support/planted_lp.h"

#include <cmath>
#include <utility>

namespace {

constexpr double INF = 1.0e31;

enum class Side { equation, lower, upper, inside };
enum class Place { lower, upper, inside, fixed };

struct Row {
  Side side;
  bool twoSided;
  double y, slack;  // dual; distance of the other side, or of both from an inactive row
};

struct Column {
  std::vector<std::pair<int, double>> entry;
  double x = 0.0, d = 0.0, lower = 0.0, upper = INF;
  bool noCost = false;  // its reduced cost follows from the duals
  bool closed = false;  // no plant may add to it
};

struct Maker {
  std::mt19937 random;
  std::vector<Row> row;
  std::vector<Column> column;

  explicit Maker(unsigned seed) : random(seed) {}
  int whole(int a, int b) { return a + int(random() % unsigned(b - a + 1)); }
  bool chance(int percent) { return whole(1, 100) <= percent; }
  double size() { return whole(1, 12) / 4.0; }
  double element() {
    static const double choice[] = {1, 1, 1, 2, 0.5, 4, 3, 1.5};
    return choice[whole(0, 7)] * (chance(40) ? -1.0 : 1.0);
  }
  int anyRow() { return whole(0, int(row.size()) - 1); }
  int anyColumn() {
    for (;;) {
      const int j = whole(0, int(column.size()) - 1);
      if (!column[size_t(j)].closed) return j;
    }
  }

  int newRow(Side side, bool twoSided) {
    Row r = {side, twoSided, 0.0, size()};
    if (side == Side::equation) r.y = (chance(50) ? 1 : -1) * size();
    if (side == Side::lower && chance(85)) r.y = size();
    if (side == Side::upper && chance(85)) r.y = -size();
    row.push_back(r);
    return int(row.size()) - 1;
  }
  int newRow() {
    const int k = whole(0, 9);
    return newRow(k < 3 ? Side::equation : k < 6 ? Side::lower : k < 8 ? Side::upper : Side::inside, chance(30));
  }

  // Bounds around a place, and the reduced cost the place asks for.
  void settle(Column *c, Place place, bool otherBound) {
    c->x = whole(-8, 8) / 2.0;
    c->d = chance(85) ? size() : 0.0;
    c->lower = c->upper = c->x;
    if (place == Place::lower) c->upper = otherBound ? c->x + size() : INF;
    if (place == Place::upper) c->lower = otherBound ? c->x - size() : -INF, c->d = -c->d;
    if (place == Place::fixed && chance(50)) c->d = -c->d;
    if (place != Place::inside) return;
    c->d = 0.0;
    c->lower = chance(60) ? c->x - size() : -INF;
    c->upper = chance(40) ? c->x + size() : INF;
  }
  Column newColumn(int mostEntries) {
    Column c;
    const int k = whole(0, 9);
    settle(&c, k < 4 ? Place::lower : k < 6 ? Place::upper : k < 9 ? Place::inside : Place::fixed, chance(50));
    for (int e = whole(1, mostEntries); e > 0; e--) put(&c, anyRow(), element());
    return c;
  }
  static double at(const Column &c, int i) {
    for (const auto &e : c.entry)
      if (e.first == i) return e.second;
    return 0.0;
  }
  static void put(Column *c, int i, double a) {
    if (at(*c, i) == 0.0) c->entry.emplace_back(i, a);
  }
  void put(int i, int j, double a) { put(&column[size_t(j)], i, a); }
  int findRow(bool (*fits)(const Row &)) {
    for (int tries = 0; tries < 200; tries++) {
      const int i = anyRow();
      if (fits(row[size_t(i)])) return i;
    }
    const int i = newRow(Side::equation, false);
    return i;
  }
  int anEquation() {
    return findRow([](const Row &r) { return r.side == Side::equation; });
  }
  static bool oneSided(const Row &r) { return (r.side == Side::lower || r.side == Side::upper) && !r.twoSided; }

  void duplicateRow() {
    const int from = anyRow();
    const double times = element();
    const int to = row[size_t(from)].side == Side::inside ? newRow() : newRow(chance(70) ? Side::inside : Side::lower, chance(50));
    for (Column &c : column)
      if (!c.closed && at(c, from) != 0.0) put(&c, to, times * at(c, from));
    // A closed column in the original row would make the two differ: they are put there last.
  }
  void duplicateColumn() {
    const Column from = column[size_t(anyColumn())];
    if (from.noCost) return;
    Column c;
    const double times = element();
    double d = times * from.d;
    const bool dearer = chance(40);
    if (dearer) d += (chance(50) ? 1 : -1) * size();
    settle(&c, d > 0.0 ? Place::lower : d < 0.0 ? Place::upper : Place::inside, chance(60));
    c.d = d;
    for (const auto &e : from.entry) c.entry.emplace_back(e.first, times * e.second);
    column.push_back(c);
  }
  void freeColumn(int rows) {
    Column c;
    c.x = whole(-8, 8) / 2.0;
    c.lower = chance(30) ? c.x - 100.0 : -INF;
    c.upper = chance(30) ? c.x + 100.0 : INF;
    put(&c, anEquation(), element());
    for (int k = 1; k < rows; k++) put(&c, anyRow(), element());
    column.push_back(c);
  }
  void slack() {
    Column c;
    const int i = anyRow();
    const double a = element(), d = -a * row[size_t(i)].y;
    settle(&c, d > 0.0 ? Place::lower : d < 0.0 ? Place::upper : Place::inside, chance(70));
    c.noCost = c.closed = true;
    put(&c, i, a);
    column.push_back(c);
  }
  void doubletons() {
    int last = anyColumn();
    for (int length = chance(60) ? 1 : whole(2, 8); length > 0; length--) {
      const int i = newRow(Side::equation, false);
      put(i, last, element());
      Column c = newColumn(3);
      put(&c, i, element());
      column.push_back(c);
      last = int(column.size()) - 1;
    }
  }
  // A column without cost that all its one-sided rows want up, or all down.
  void signFixed() {
    Column c;
    const bool up = chance(50);
    for (int k = whole(1, 4); k > 0; k--) {
      const int i = findRow(oneSided);
      if (!oneSided(row[size_t(i)])) continue;
      const double a = std::fabs(element());
      put(&c, i, (row[size_t(i)].side == Side::lower) == up ? a : -a);
    }
    settle(&c, up ? Place::upper : Place::lower, chance(70));
    c.noCost = c.closed = true;
    column.push_back(c);
  }
  void signRows() {
    Column c;
    const bool up = chance(50);
    c.x = whole(-8, 8) / 2.0;
    c.lower = up ? (chance(70) ? c.x - size() : -INF) : -INF;
    c.upper = up ? INF : (chance(70) ? c.x + size() : INF);
    for (int k = whole(2, 4); k > 0; k--) {
      const bool low = chance(50);
      const int i = newRow(low ? Side::lower : Side::upper, false);
      row[size_t(i)].y = 0.0;
      if (chance(50)) row[size_t(i)].slack = -size();  // satisfied with room to spare
      for (int e = whole(1, 4); e > 0; e--) put(i, anyColumn(), element());
      const double a = std::fabs(element());
      put(&c, i, low == up ? a : -a);
    }
    c.noCost = c.closed = true;
    column.push_back(c);
  }
  void dominated() {
    Column c;
    const bool down = chance(50);
    double pull = 0.0;
    for (int k = whole(1, 4); k > 0; k--) {
      const int i = findRow(oneSided);
      if (!oneSided(row[size_t(i)])) continue;
      double a = std::fabs(element());
      if ((row[size_t(i)].side == Side::upper) != down) a = -a;
      if (at(c, i) == 0.0) pull += a * row[size_t(i)].y;
      put(&c, i, a);
    }
    settle(&c, down ? Place::lower : Place::upper, chance(50));
    c.d = -pull + (chance(50) ? 0.0 : (down ? 1 : -1) * size());
    c.closed = true;
    column.push_back(c);
  }
  void forcing() {
    const bool atUpper = chance(50);
    const int i = newRow(atUpper ? Side::upper : Side::lower, false);
    if (chance(20)) row[size_t(i)].side = Side::equation;
    for (int e = whole(2, 6); e > 0; e--) {
      const int j = anyColumn();
      Column &c = column[size_t(j)];
      const double a = std::fabs(element());
      if (c.x == c.lower) put(i, j, atUpper ? a : -a);
      else if (c.x == c.upper) put(i, j, atUpper ? -a : a);
    }
  }
  void singletonRow() {
    const int i = newRow();
    put(i, anyColumn(), element());
  }
  void redundantRow() {
    const int i = newRow(Side::inside, chance(50));
    row[size_t(i)].slack = 1000.0;
    for (int e = whole(2, 6); e > 0; e--) {
      const int j = anyColumn();
      if (column[size_t(j)].lower > -INF && column[size_t(j)].upper < INF) put(i, j, element());
    }
  }

  PlantedLp finish() {
    PlantedLp p;
    std::vector<double> activity(row.size(), 0.0);
    for (const Column &c : column) {
      double price = 0.0;
      for (const auto &e : c.entry) {
        p.row.push_back(e.first);
        p.element.push_back(e.second);
        activity[size_t(e.first)] += e.second * c.x;
        price += e.second * row[size_t(e.first)].y;
      }
      p.start.push_back(int(p.row.size()));
      p.cost.push_back(c.noCost ? 0.0 : price + c.d);
      p.lower.push_back(c.lower);
      p.upper.push_back(c.upper);
      p.optimum += p.cost.back() * c.x;
    }
    for (size_t i = 0; i < row.size(); i++) {
      const Row &r = row[i];
      double low = -INF, high = INF;
      const double spare = r.slack < 0.0 ? -r.slack : 0.0;  // of a side that need not be active
      if (r.side == Side::equation) low = high = activity[i];
      if (r.side == Side::lower) low = activity[i] - spare, high = r.twoSided ? activity[i] + r.slack : INF;
      if (r.side == Side::upper) high = activity[i] + spare, low = r.twoSided ? activity[i] - r.slack : -INF;
      if (r.side == Side::inside) low = activity[i] - r.slack, high = r.twoSided ? activity[i] + r.slack : INF;
      p.rowLower.push_back(low);
      p.rowUpper.push_back(high);
    }
    return p;
  }
};

}  // namespace

PlantedLp plantedLp(unsigned seed, int rows, int columns, unsigned kinds, int plants) {
  Maker m(seed);
  for (int i = 0; i < rows; i++) m.newRow();
  for (int j = 0; j < columns; j++) m.column.push_back(m.newColumn(5));
  for (int k = 0; k < plants; k++) {
    if (kinds & PLANT_DOUBLETONS) m.doubletons();
    if (kinds & PLANT_FREE_SINGLETONS) m.freeColumn(1);
    if (kinds & PLANT_FREE_COLUMNS) m.freeColumn(m.whole(2, 5));
    if (kinds & PLANT_FORCING) m.forcing();
    if (kinds & PLANT_SINGLETON_ROWS) m.singletonRow();
    if (kinds & PLANT_REDUNDANT_ROWS) m.redundantRow();
    if (kinds & PLANT_SIGNS) m.signRows();
  }
  for (int k = 0; k < plants; k++) {
    if (kinds & PLANT_DUPLICATE_ROWS) m.duplicateRow();
    if (kinds & PLANT_DUPLICATE_COLUMNS) m.duplicateColumn();
  }
  for (int k = 0; k < plants; k++) {
    if (kinds & PLANT_SLACKS) m.slack();
    if (kinds & PLANT_SIGNS) m.signFixed();
    if (kinds & PLANT_DOMINATED) m.dominated();
  }
  return m.finish();
}

QRTModel *PlantedLp::load(QRTContext *context) const {
  QRTModel *model = qrt_newModel(context, "planted");
  qrt_loadRimModel(model, rows(), rowLower.data(), rowUpper.data(), columns(), cost.data(), lower.data(), upper.data());
  if (!row.empty()) qrt_addColumnElementBlock(model, columns(), row.data(), start.data(), element.data());
  return model;
}
