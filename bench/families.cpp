// Makes linear programs of the kinds that public collections hold: flows of many commodities, staircases, coverings,
// fits, assignments. Every program is feasible and bounded by the way it is made.
#include "families.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double NONE = 1.0e30;

// Data of few digits, so that what is feasible here is so in the file too.
double shortened(double value) { return std::fabs(value) < 1.0 ? std::round(value * 1000.0) / 1000.0 : std::round(value * 100.0) / 100.0; }

// The same numbers on every machine.
struct Dice {
  uint64_t state;
  double roll(double low, double high) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return low + (high - low) * double(state >> 11) / 9007199254740992.0;
  }
  int pick(int count) { return std::min(count - 1, int(roll(0.0, double(count)))); }
  double whole(int low, int high) { return double(low + pick(high - low + 1)); }
};

struct Entry {
  int row;
  double value;
};

// A program being made: rows first, then columns with their entries.
struct Program {
  std::vector<char> kind;      // of rows: E, L or G
  std::vector<double> right;
  std::vector<double> cost, lower, upper;
  std::vector<std::vector<Entry>> column;

  int addRow(char type, double b = 0.0) {
    kind.push_back(type);
    right.push_back(b);
    return int(kind.size()) - 1;
  }
  int addColumn(double c, std::vector<Entry> entries, double from = 0.0, double to = NONE) {
    cost.push_back(shortened(c));
    lower.push_back(from);
    upper.push_back(to);
    for (Entry &e : entries) e.value = shortened(e.value);
    column.push_back(std::move(entries));
    return int(cost.size()) - 1;
  }
  // Right-hand sides for which x is feasible, with room in inequalities that only half of them keep.
  void fitTo(const std::vector<double> &x, Dice *dice, double tightShare) {
    std::fill(right.begin(), right.end(), 0.0);
    for (size_t j = 0; j < column.size(); ++j)
      for (const Entry &e : column[j]) right[size_t(e.row)] += e.value * shortened(x[j]);
    for (size_t i = 0; i < right.size(); ++i)
      if (kind[i] != 'E' && dice->roll(0.0, 1.0) > tightShare) right[i] += (kind[i] == 'L' ? 1.0 : -1.0) * dice->roll(0.5, 5.0);
  }
  void write(const std::string &path) const {
    FILE *file = std::fopen(path.c_str(), "w");
    if (!file) {
      std::perror(path.c_str());
      std::exit(1);
    }
    std::fprintf(file, "NAME          FAMILY\nROWS\n N  COST\n");
    for (size_t i = 0; i < kind.size(); ++i) std::fprintf(file, " %c  R%06zu\n", kind[i], i);
    std::fprintf(file, "COLUMNS\n");
    for (size_t j = 0; j < column.size(); ++j) {
      if (cost[j] != 0.0 || column[j].empty()) std::fprintf(file, "    C%06zu   COST      %12.10g\n", j, cost[j]);
      for (const Entry &e : column[j]) std::fprintf(file, "    C%06zu   R%06d   %12.10g\n", j, e.row, e.value);
    }
    std::fprintf(file, "RHS\n");
    for (size_t i = 0; i < right.size(); ++i)
      if (right[i] != 0.0) std::fprintf(file, "    RHS       R%06zu   %12.10g\n", i, right[i]);
    std::fprintf(file, "BOUNDS\n");
    for (size_t j = 0; j < column.size(); ++j) {
      if (lower[j] <= -NONE && upper[j] >= NONE) {
        std::fprintf(file, " FR BND       C%06zu\n", j);
        continue;
      }
      if (lower[j] != 0.0) std::fprintf(file, " LO BND       C%06zu   %12.10g\n", j, lower[j]);
      if (upper[j] < NONE) std::fprintf(file, " UP BND       C%06zu   %12.10g\n", j, upper[j]);
    }
    std::fprintf(file, "ENDATA\n");
    std::fclose(file);
  }
};

// Several commodities share the capacities of one network; what cannot be carried is lost at a price.
void multicommodity(const std::string &path, int nodes) {
  Dice dice = {1};
  Program p;
  const int arcs = 3 * nodes, commodities = 12;
  std::vector<int> from, to;
  for (int a = 0; a < arcs; ++a) {
    from.push_back(a < nodes ? a : dice.pick(nodes));
    to.push_back(a < nodes ? (a + 1) % nodes : dice.pick(nodes));
  }
  const int firstBalance = 0;
  for (int c = 0; c < commodities; ++c)
    for (int v = 0; v < nodes; ++v) p.addRow('E');
  std::vector<int> share(size_t(arcs), -1);
  for (int a = 0; a < arcs; ++a)
    if (dice.roll(0.0, 1.0) < 0.4) share[size_t(a)] = p.addRow('L', dice.whole(5, 60));
  for (int c = 0; c < commodities; ++c) {
    const int base = firstBalance + c * nodes;
    for (int k = 0; k < nodes / 8; ++k) {
      const int a = dice.pick(nodes), b = dice.pick(nodes);
      const double amount = dice.whole(1, 20);
      p.right[size_t(base + a)] += amount;
      p.right[size_t(base + b)] -= amount;
    }
    for (int a = 0; a < arcs; ++a) {
      if (from[size_t(a)] == to[size_t(a)]) continue;
      std::vector<Entry> e = {{base + from[size_t(a)], 1.0}, {base + to[size_t(a)], -1.0}};
      if (share[size_t(a)] >= 0) e.push_back({share[size_t(a)], 1.0});
      p.addColumn(dice.whole(1, 30), e, 0.0, dice.roll(0.0, 1.0) < 0.3 ? dice.whole(5, 40) : NONE);
    }
    for (int v = 0; v < nodes; ++v) {
      p.addColumn(500.0, {{base + v, 1.0}});
      p.addColumn(500.0, {{base + v, -1.0}});
    }
  }
  p.write(path);
}

// Stocks and activities from one period to the next: `periods` blocks of 25 rows and 50 columns.
void staircase(const std::string &path, int periods) {
  Dice dice = {2};
  Program p;
  const int rows = 25, columns = 50;
  for (int t = 0; t < periods; ++t)
    for (int i = 0; i < rows; ++i) p.addRow(i % 2 == 0 ? 'E' : 'L');
  std::vector<double> x;
  for (int t = 0; t < periods; ++t)
    for (int j = 0; j < columns; ++j) {
      std::vector<Entry> e;
      auto at = [&](int block, int i, double value) {
        for (Entry &have : e)
          if (have.row == block * rows + i) return;
        e.push_back({block * rows + i, value});
      };
      for (int k = 0; k < 2 + dice.pick(3); ++k) at(t, dice.pick(rows), dice.roll(0.2, 3.0) * (dice.pick(4) == 0 ? -1.0 : 1.0));
      if (t + 1 < periods)
        for (int k = 0; k < dice.pick(3); ++k) at(t + 1, dice.pick(rows), -dice.roll(0.3, 1.2));
      p.addColumn(dice.roll(0.5, 10.0), e, 0.0, dice.pick(5) == 0 ? 20.0 : NONE);
      x.push_back(dice.pick(3) == 0 ? dice.roll(0.0, 10.0) : 0.0);
    }
  p.fitTo(x, &dice, 0.7);
  p.write(path);
}

// Every row is to be covered by columns of a few rows each, near one another more often than not.
void covering(const std::string &path, int rows) {
  Dice dice = {3};
  Program p;
  for (int i = 0; i < rows; ++i) p.addRow('G', 1.0);
  for (int j = 0; j < 40 * rows; ++j) {
    const int length = 2 + dice.pick(10), start = dice.pick(rows);
    std::vector<Entry> e;
    for (int k = 0; k < length; ++k) {
      const int i = dice.pick(4) == 0 ? dice.pick(rows) : (start + k) % rows;
      if (std::none_of(e.begin(), e.end(), [&](const Entry &have) { return have.row == i; })) e.push_back({i, 1.0});
    }
    p.addColumn(dice.pick(2) == 0 ? 1.0 : 2.0, e);
  }
  for (int i = 0; i < rows; ++i) p.addColumn(3.0, {{i, 1.0}});
  p.write(path);
}

// As a covering, but every row exactly once: legs and crews.
void partitioning(const std::string &path, int rows) {
  Dice dice = {13};
  Program p;
  for (int i = 0; i < rows; ++i) p.addRow('E', 1.0);
  for (int j = 0; j < 25 * rows; ++j) {
    const int length = 2 + dice.pick(8), start = dice.pick(rows);
    std::vector<Entry> e;
    for (int k = 0; k < length; ++k) {
      const int i = (start + k + (dice.pick(3) == 0 ? dice.pick(12) : 0)) % rows;
      if (std::none_of(e.begin(), e.end(), [&](const Entry &have) { return have.row == i; })) e.push_back({i, 1.0});
    }
    p.addColumn(dice.whole(10, 20) + 3.0 * double(e.size()), e);
  }
  for (int i = 0; i < rows; ++i) p.addColumn(200.0, {{i, 1.0}});
  p.write(path);
}

// Everything lies between two bounds, and most of it ends on one.
void boxed(const std::string &path, int rows) {
  Dice dice = {4};
  Program p;
  for (int i = 0; i < rows; ++i) p.addRow(i % 3 == 0 ? 'E' : 'L');
  std::vector<double> x;
  for (int j = 0; j < 8 * rows; ++j) {
    std::vector<Entry> e;
    for (int k = 0; k < 4; ++k) {
      const int i = dice.pick(rows);
      if (std::none_of(e.begin(), e.end(), [&](const Entry &have) { return have.row == i; })) e.push_back({i, dice.roll(-5.0, 10.0)});
    }
    const double range = shortened(dice.roll(0.5, 3.0));
    p.addColumn(-dice.roll(1.0, 20.0), e, 0.0, range);
    x.push_back(dice.roll(0.0, range));
  }
  p.fitTo(x, &dice, 0.8);
  p.write(path);
}

// A curve through points, with boxed corrections: a few dense columns over many singletons.
void fit(const std::string &path, int points) {
  Dice dice = {5};
  Program p;
  const int terms = 25;
  for (int i = 0; i < points; ++i) p.addRow('E', dice.roll(-50.0, 100.0));
  for (int t = 0; t < terms; ++t) {
    std::vector<Entry> e;
    for (int i = 0; i < points; ++i)
      if (dice.pick(5) != 0) e.push_back({i, std::floor(dice.roll(1.0, 50.0)) / 4.0});
    p.addColumn(dice.roll(-2.0, 2.0), e, -20.0, 20.0);
  }
  for (int i = 0; i < points; ++i) {
    p.addColumn(1.0, {{i, 1.0}}, 0.0, 15.0);
    p.addColumn(dice.roll(1.5, 3.0), {{i, 1.0}});
    p.addColumn(dice.roll(0.5, 1.5), {{i, -1.0}}, 0.0, 30.0);
    p.addColumn(2.0, {{i, -1.0}});
  }
  p.write(path);
}

// Sources serve sinks.
void transportation(const std::string &path, int sources) {
  Dice dice = {6};
  Program p;
  const int sinks = 2 * sources;
  for (int i = 0; i < sources; ++i) p.addRow('L', 25.0);
  for (int j = 0; j < sinks; ++j) p.addRow('G', dice.whole(1, 22));
  for (int i = 0; i < sources; ++i)
    for (int j = 0; j < sinks; ++j)
      if (dice.pick(3) == 0) p.addColumn(dice.whole(1, 100), {{i, 1.0}, {sources + j, 1.0}});
  for (int j = 0; j < sinks; ++j) p.addColumn(1000.0, {{sources + j, 1.0}});
  p.write(path);
}

// One to one, costs few and whole: nearly every step is degenerate.
void assignment(const std::string &path, int people) {
  Dice dice = {7};
  Program p;
  for (int i = 0; i < 2 * people; ++i) p.addRow('E', 1.0);
  for (int i = 0; i < people; ++i)
    for (int j = 0; j < people; ++j)
      if (i == j || dice.pick(4) == 0) p.addColumn(dice.whole(1, 10), {{i, 1.0}, {people + j, 1.0}});
  p.write(path);
}

// The quadratic assignment of n to n places, made linear with a variable for every pair of assignments.
void quadratic(const std::string &path, int n) {
  Dice dice = {8};
  Program p;
  auto x = [n](int i, int k) { return i * n + k; };
  for (int i = 0; i < 2 * n; ++i) p.addRow('E', 1.0);
  std::vector<std::vector<Entry>> single(size_t(n * n));
  for (int i = 0; i < n; ++i)
    for (int k = 0; k < n; ++k) single[size_t(x(i, k))] = {{i, 1.0}, {n + k, 1.0}};
  // y(i,k,j,l) = x(i,k) and x(j,l), i < j, k != l: sums over l and over k give x.
  std::vector<int> overL(size_t(n * n * n), -1), overJ(size_t(n * n * n), -1);
  for (int i = 0; i < n; ++i)
    for (int k = 0; k < n; ++k) {
      for (int j = 0; j < n; ++j)
        if (j != i) {
          overL[size_t(x(i, k) * n + j)] = p.addRow('E');
          single[size_t(x(i, k))].push_back({overL[size_t(x(i, k) * n + j)], -1.0});
        }
      for (int l = 0; l < n; ++l)
        if (l != k) {
          overJ[size_t(x(i, k) * n + l)] = p.addRow('E');
          single[size_t(x(i, k))].push_back({overJ[size_t(x(i, k) * n + l)], -1.0});
        }
    }
  for (int a = 0; a < n * n; ++a) p.addColumn(0.0, single[size_t(a)], 0.0, 1.0);
  std::vector<double> flow(size_t(n * n)), far(size_t(n * n));
  for (int a = 0; a < n * n; ++a) flow[size_t(a)] = dice.whole(0, 5), far[size_t(a)] = dice.whole(1, 9);
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j)
      for (int k = 0; k < n; ++k)
        for (int l = 0; l < n; ++l)
          if (l != k)
            p.addColumn(flow[size_t(x(i, j))] * far[size_t(x(k, l))],
                        {{overL[size_t(x(i, k) * n + j)], 1.0}, {overL[size_t(x(j, l) * n + i)], 1.0},
                         {overJ[size_t(x(i, k) * n + l)], 1.0}, {overJ[size_t(x(j, l) * n + k)], 1.0}});
  p.write(path);
}

// A sparse program with a few columns that meet a third of the rows.
void denseColumns(const std::string &path, int rows) {
  Dice dice = {9};
  Program p;
  for (int i = 0; i < rows; ++i) p.addRow(i % 2 == 0 ? 'E' : 'G');
  std::vector<double> x;
  for (int j = 0; j < 2 * rows; ++j) {
    std::vector<Entry> e;
    const bool dense = j % (rows / 10) == 0;
    for (int k = 0; k < (dense ? rows / 3 : 3); ++k) {
      const int i = dense ? 3 * k + dice.pick(3) : dice.pick(rows);
      if (i < rows && (dense || std::none_of(e.begin(), e.end(), [&](const Entry &have) { return have.row == i; })))
        e.push_back({i, dice.roll(-1.0, 3.0)});
    }
    p.addColumn(dice.roll(1.0, 10.0) * (dense ? 20.0 : 1.0), e);
    x.push_back(dice.pick(2) == 0 ? dice.roll(0.0, 10.0) : 0.0);
  }
  p.fitTo(x, &dice, 0.8);
  p.write(path);
}

// Bars between the joints of a grid carry a load with the least weight: pulls and pushes of every bar.
void truss(const std::string &path, int width) {
  Program p;
  const int height = width / 2, reach = 4;
  auto joint = [height](int x, int y) { return x * height + y; };
  for (int x = 0; x < width; ++x)
    for (int y = 0; y < height; ++y)
      for (int c = 0; c < 2; ++c) p.addRow('E', x == width - 1 && c == 1 && y % 3 == 0 ? -1.0 : 0.0);
  for (int x = 0; x < width; ++x)
    for (int y = 0; y < height; ++y)
      for (int dx = 0; dx <= reach; ++dx)
        for (int dy = -reach; dy <= reach; ++dy) {
          const int x2 = x + dx, y2 = y + dy;
          if ((dx == 0 && dy <= 0) || x2 >= width || y2 < 0 || y2 >= height) continue;
          const double length = std::sqrt(double(dx * dx + dy * dy)), cosine = dx / length, sine = dy / length;
          for (double sign : {1.0, -1.0}) {
            std::vector<Entry> e;
            const int ends[2] = {joint(x, y), joint(x2, y2)};
            for (int s = 0; s < 2; ++s) {
              if (s == 0 && x == 0) continue;  // the wall holds
              const double way = s == 0 ? sign : -sign;
              if (dx != 0) e.push_back({2 * ends[s], way * cosine});
              if (dy != 0) e.push_back({2 * ends[s] + 1, way * sine});
            }
            if (!e.empty()) p.addColumn(length * (sign > 0 ? 1.0 : 1.2), e);
          }
        }
  for (size_t i = 0; i < p.kind.size(); ++i) {
    p.addColumn(1000.0, {{int(i), 1.0}});
    p.addColumn(1000.0, {{int(i), -1.0}});
  }
  p.write(path);
}

// Planes fly legs of a timetable from airport to airport; waiting costs nothing; few right-hand sides are not zero.
void timetable(const std::string &path, int legs) {
  Dice dice = {11};
  Program p;
  const int airports = 20, fleets = 6;
  struct Leg {
    int from, to;
    double leaves, lands;
  };
  std::vector<Leg> leg;
  for (int k = 0; k < legs; ++k) {
    const double leaves = dice.roll(0.0, 20.0);
    const int from = dice.pick(airports), to = (from + 1 + dice.pick(airports - 1)) % airports;
    leg.push_back({from, to, leaves, leaves + dice.roll(1.0, 4.0)});
  }
  std::vector<int> cover, columnOf(size_t(fleets * legs), -1);
  for (int k = 0; k < legs; ++k) cover.push_back(p.addRow('E', 1.0));
  for (int f = 0; f < fleets; ++f) {
    const int planes = p.addRow('L', double(legs) / fleets / 3.0);
    for (int a = 0; a < airports; ++a) {
      // The events of the airport in the order of the day: a row of balance each, ground arcs between them.
      struct Event {
        double when;
        int leg;
        bool lands;
      };
      std::vector<Event> events;
      for (int k = 0; k < legs; ++k) {
        if (leg[size_t(k)].from == a) events.push_back({leg[size_t(k)].leaves, k, false});
        if (leg[size_t(k)].to == a) events.push_back({leg[size_t(k)].lands, k, true});
      }
      std::sort(events.begin(), events.end(), [](const Event &s, const Event &t) { return s.when < t.when; });
      const int first = int(p.kind.size()), count = int(events.size());
      for (int e = 0; e < count; ++e) p.addRow('E');
      for (int e = 0; e < count; ++e) {
        const int next = e + 1 < count ? first + e + 1 : first;
        std::vector<Entry> ground;
        if (count > 1) ground = {{first + e, -1.0}, {next, 1.0}};
        if (e + 1 == count) ground.push_back({planes, 1.0});
        p.addColumn(e + 1 == count ? 50.0 : 0.0, ground);
        p.addColumn(2000.0, {{first + e, 1.0}});
        // Whichever of a leg's two ends comes first makes its column.
        const int k = events[size_t(e)].leg;
        int &column = columnOf[size_t(f * legs + k)];
        if (column < 0) column = p.addColumn(dice.whole(5, 40) * (1.0 + 0.2 * f), {{cover[size_t(k)], 1.0}});
        p.column[size_t(column)].push_back({first + e, events[size_t(e)].lands ? 1.0 : -1.0});
      }
    }
  }
  for (int k = 0; k < legs; ++k) p.addColumn(3000.0, {{cover[size_t(k)], 1.0}});
  p.write(path);
}

// Plants of today serve the markets of every possible tomorrow: blocks that share their first columns.
void twoStages(const std::string &path, int scenarios) {
  Dice dice = {12};
  Program p;
  const int plants = 12, markets = 20;
  std::vector<std::vector<Entry>> build(static_cast<size_t>(plants));
  const double weight = 10.0 / scenarios;
  const int budget = p.addRow('L', 700.0);
  for (int b = 0; b < plants; ++b) build[size_t(b)].push_back({budget, 1.0});
  std::vector<double> price, carry, lack;
  for (int k = 0; k < plants * markets; ++k) carry.push_back(dice.roll(1.0, 9.0));
  for (int k = 0; k < markets; ++k) lack.push_back(dice.roll(15.0, 30.0));
  for (int s = 0; s < scenarios; ++s) {
    const int make = int(p.kind.size());
    for (int b = 0; b < plants; ++b) build[size_t(b)].push_back({p.addRow('L'), -1.0});
    for (int k = 0; k < markets; ++k) p.addRow('G', std::floor(dice.roll(10.0, 90.0)));
    for (int b = 0; b < plants; ++b)
      for (int k = 0; k < markets; ++k)
        p.addColumn(carry[size_t(b * markets + k)] * weight, {{make + b, 1.0}, {make + plants + k, 1.0}});
    for (int k = 0; k < markets; ++k) p.addColumn(lack[size_t(k)] * weight, {{make + plants + k, 1.0}});
  }
  for (int b = 0; b < plants; ++b) p.addColumn(dice.roll(20.0, 40.0), build[size_t(b)]);
  p.write(path);
}

// A mixture of everything a planner writes: balances, blends, free variables, ranges of size; badly scaled on purpose.
void planning(const std::string &path, int rows) {
  Dice dice = {14};
  Program p;
  for (int i = 0; i < rows; ++i) p.addRow("EELG"[dice.pick(4)]);
  std::vector<double> x, size;
  for (int i = 0; i < rows; ++i) size.push_back(std::pow(10.0, dice.roll(-1.0, 1.5)));
  for (int j = 0; j < 3 * rows; ++j) {
    std::vector<Entry> e;
    const int near = dice.pick(rows), length = 2 + dice.pick(dice.pick(4) == 0 ? 20 : 5);
    const double own = std::pow(10.0, dice.roll(-1.0, 1.0));
    for (int k = 0; k < length; ++k) {
      const int i = dice.pick(4) == 0 ? dice.pick(rows) : std::min(rows - 1, near + dice.pick(40));
      if (std::none_of(e.begin(), e.end(), [&](const Entry &have) { return have.row == i; }))
        e.push_back({i, own * size[size_t(i)] * dice.roll(0.2, 2.0) * (dice.pick(2) == 0 ? -1.0 : 1.0)});
    }
    const int what = dice.pick(20);
    const double end = shortened(20.0 / own), at = dice.pick(2) == 0 ? 0.0 : dice.roll(0.0, end);
    const double from = what == 0 ? -end : 0.0, to = what < 4 ? end : NONE;
    p.addColumn(dice.roll(0.1, 10.0) * own * (what == 0 ? dice.roll(-1.0, 1.0) : 1.0), e, from, to);
    x.push_back(at);
  }
  p.fitTo(x, &dice, 0.7);
  p.write(path);
}

const std::vector<Family> known = {
    {"multicommodity", "flows of 12 commodities with shared capacities; size: nodes", 250, multicommodity},
    {"staircase", "periods of 25 rows linked to the next; size: periods", 160, staircase},
    {"covering", "set covering; size: rows", 400, covering},
    {"partitioning", "set partitioning; size: rows", 400, partitioning},
    {"boxed", "every column boxed; size: rows", 1000, boxed},
    {"fit", "a curve through points; size: points", 2000, fit},
    {"transportation", "sources serve sinks; size: sources", 250, transportation},
    {"assignment", "one to one; size: people", 250, assignment},
    {"quadratic", "quadratic assignment made linear; size: places", 9, quadratic},
    {"dense", "a few columns meet a third of the rows; size: rows", 2000, denseColumns},
    {"truss", "least weight of bars; size: joints across", 40, truss},
    {"timetable", "fleets fly legs; size: legs", 400, timetable},
    {"stages", "two-stage programs as one; size: scenarios", 200, twoStages},
    {"planning", "badly scaled balances; size: rows", 1500, planning},
};

}  // namespace

const std::vector<Family> &families() { return known; }
