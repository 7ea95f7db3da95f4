// MPS reader: layouts, sections, rules of bounds and ranges, diagnostics with their echo, refusals, published files.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/mps_reader.h"
#include "model/integer_sets.h"

namespace {

const double INF = 1e31;

std::string scratch(const char *what) { return "/tmp/tavstoch-mps-" + std::to_string(getpid()) + "-" + what; }

std::string slurp(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream all;
  all << in.rdbuf();
  return all.str();
}

std::string store(const std::string &text, const char *what = "deck") {
  const std::string path = scratch(what);
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

// One model with its log in a file; severe messages return instead of ending the process.
struct Import {
  static QRTContext *context() {
    static QRTContext *one = qrt_initializeContext();
    return one;
  }
  QRTModel *model = qrt_newModel(context(), "");
  int result = -1;
  Import() {
    qrt_setLogfileName(model, scratch("log").c_str());
    if (truncate(scratch("log").c_str(), 0) != 0) std::abort();
    qrt_mset(model, 7000, 256, 0, 0, 7999, 0);
    qrt_mset(model, 9007, 256, 0, 0, 9999, 0);
  }
  ~Import() {
    qrt_deleteModel(model);
    unlink(scratch("log").c_str());
    unlink(scratch("deck").c_str());
  }
  Import(const Import &) = delete;
  Import &operator=(const Import &) = delete;
  Import &read(const std::string &deck, bool freeForm = false) {
    const std::string path = store(deck);
    result = freeForm ? qrt_importModelFree(model, path.c_str()) : qrt_importModel(model, path.c_str());
    const char *fault = model_check(model);
    EXPECT_EQ(nullptr, fault) << fault;
    EXPECT_EQ(nullptr, unitTable_check());
    EXPECT_EQ(nullptr, model->tempChainHead) << "work memory left behind";
    return *this;
  }
  std::string log() {
    fflush(model->logFile);
    return slurp(scratch("log"));
  }
  int count(const std::string &what) {
    int n = 0;
    const std::string text = log();
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) n++;
    return n;
  }
  std::string row(int i) const { return name(model->rownames, i); }
  std::string column(int j) const { return name(model->colnames, j); }
  double lower(int j) const { return model->lower[model->Imaxrows + j]; }
  double upper(int j) const { return model->upper[model->Imaxrows + j]; }
  double cost(int j) const { return model->objective[model->Imaxrows + j]; }
  double at(int i, int j) const {
    double sum = 0;
    forEachElement(model, [&](int r, int c, double v) { if (r == i && c == j) sum += v; });
    return sum;
  }

 private:
  std::string name(const char *names, int k) const {
    const char *entry = names + int64_t(k) * nameStride(model);
    return std::string(entry, strnlen(entry, size_t(nameLength(model))));
  }
};

// A card from fields at columns counted from 1.
std::string card(std::initializer_list<std::pair<int, std::string>> fields) {
  std::string line;
  for (const auto &field : fields) {
    if (int(line.size()) < field.first - 1) line.resize(size_t(field.first - 1), ' ');
    line.replace(size_t(field.first - 1), std::string::npos, field.second);
  }
  return line + "\n";
}

// The same small model in any fixed layout: field starts given, numbers by `number`.
struct Layout {
  int name2, number2, name3, number3;  // name3 0: one pair a card
};
template <class Number> std::string smallModel(const Layout &at, Number number, const std::string &nameCard,
                                               const std::string &x = "X", const std::string &cap = "CAP") {
  std::string deck = nameCard + "ROWS\n N  COST\n" + card({{2, "L"}, {5, cap}}) + card({{3, "G"}, {5, "DEM"}}) + "COLUMNS\n";
  auto entry = [&](const std::string &name, const std::string &row, double v, const std::string &row2, double v2) {
    if (at.name3)
      deck += card({{5, name}, {at.name2, row}, {at.number2, number(v)}, {at.name3, row2}, {at.number3, number(v2)}});
    else
      deck += card({{5, name}, {at.name2, row}, {at.number2, number(v)}}) +
              card({{5, name}, {at.name2, row2}, {at.number2, number(v2)}});
  };
  entry(x, "COST", 1.5, cap, 2.25);
  entry("Y", cap, -0.1, "DEM", 1e-7);
  deck += "RHS\n";
  entry("RHS", cap, 40, "DEM", 3);
  deck += "BOUNDS\n" + card({{2, "UP"}, {5, "BND"}, {at.name2, x}, {at.number2, number(9.75)}});
  return deck + "ENDATA\n";
}

void expectSmallModel(Import &import, const std::string &x = "X", const std::string &cap = "CAP") {
  ASSERT_EQ(0, import.result) << import.log();
  ASSERT_EQ(2, import.model->Inumrows);
  ASSERT_EQ(2, import.model->Inumcols);
  EXPECT_EQ(cap, import.row(0));
  EXPECT_EQ("DEM", import.row(1));
  EXPECT_EQ(x, import.column(0));
  EXPECT_EQ(1.5, import.cost(0));
  EXPECT_EQ(2.25, import.at(0, 0));
  EXPECT_EQ(-0.1, import.at(0, 1));
  EXPECT_EQ(1e-7, import.at(1, 1));
  EXPECT_EQ(-INF, import.model->lower[0]);
  EXPECT_EQ(40, import.model->upper[0]);
  EXPECT_EQ(3, import.model->lower[1]);
  EXPECT_EQ(INF, import.model->upper[1]);
  EXPECT_EQ(9.75, import.upper(0));
  EXPECT_EQ(INF, import.upper(1));
}

std::string decimal(double v) {
  char text[40];
  snprintf(text, sizeof text, "%.9g", v);
  return text;
}

// 12 characters, six bits each, low bits first, low word first.
std::string packed(double v) {
  static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ*+";
  uint64_t bits;
  memcpy(&bits, &v, 8);
  std::string text;
  for (uint64_t word : {bits & 0xffffffffu, bits >> 32})
    for (int k = 0; k < 6; k++) text += digits[(word >> (6 * k)) & 63];
  return text;
}

std::string hexadecimal(double v) {
  uint64_t bits;
  memcpy(&bits, &v, 8);
  char text[20];
  snprintf(text, sizeof text, "%016llX", static_cast<unsigned long long>(bits));
  return text;
}

// Fault: a field starts or ends at the wrong column in one of the fixed layouts, which are not alike.
TEST(MpsLayout, everyFixedLayoutGivesTheSameModel) {
  {
    Import import;
    expectSmallModel(import.read(smallModel({15, 25, 40, 50}, decimal, "NAME          SMALL\n")));
    EXPECT_STREQ("SMALL", qrt_getCname(import.model));
    EXPECT_STREQ("COST", qrt_getCobjective(import.model));
    EXPECT_STREQ("RHS", qrt_getCrhs(import.model));
    EXPECT_STREQ("BND", qrt_getCbound(import.model));
    EXPECT_EQ(100, qrt_getImaxfactor(import.model));
  }
  for (int L : {7, 10, 12, 13, 20, 31}) {
    Import import;
    qrt_setInumchar(import.model, L);
    const Layout at = {L + 6, 2 * L + 7, L < 13 ? 2 * L + 20 : 0, 3 * L + 21};
    const std::string x(size_t(L), 'x'), cap(size_t(L), 'c');
    expectSmallModel(import.read(smallModel(at, decimal, "NAME  SMALL\n", x, cap)), x, cap);
  }
}

// Fault: packed numbers lose a bit, or the second field of a binary card is looked for in the decimal place.
TEST(MpsLayout, binaryNumbersAreTheirBits) {
  {
    Import import;
    expectSmallModel(import.read(smallModel({15, 25, 40, 50}, packed, "NAME          SMALL     BINARY\n")));
  }
  for (int L : {10, 12, 30, 31}) {
    Import import;
    qrt_setInumchar(import.model, L);
    const Layout at = {L + 6, 2 * L + 7, L < 13 ? 2 * L + 24 : 0, 3 * L + 25};
    expectSmallModel(import.read(smallModel(at, hexadecimal, "NAME SMALL BINARY\n")));
  }
}

const char *const freeBody =
  "ROWS\n N COST\n L CAPACITY_OF_PLANT\n G DEM $ the demand\n"
  "COLUMNS\n X1 COST 1.5 CAPACITY_OF_PLANT 2.25\n\n M1 'MARKER' 'INTORG'\n"
  " Y CAPACITY_OF_PLANT -0.1 DEM 1D-7\n M2 'MARKER' 'INTEND'\n"
  "RHS\n RHS CAPACITY_OF_PLANT 40 DEM 3\nBOUNDS\n UP BND X1 9.75\n MI BND Y\n UP BND Y 4\nENDATA\n";

// Fault: the free format depends on columns, misses the marker's word, or leaves the name length at 31.
TEST(MpsLayout, freeFormatGoesByTokens) {
  for (bool byCard : {false, true}) {
    Import import;
    import.read(std::string("NAME  LONG") + (byCard ? "  FREE" : "") + "\n" + freeBody, !byCard);
    ASSERT_EQ(0, import.result) << import.log();
    EXPECT_EQ(byCard ? 1 : 0, import.count("will read this file in free format"));
    EXPECT_EQ(17, import.model->Inumchar);
    EXPECT_EQ("CAPACITY_OF_PLANT", import.row(0));
    EXPECT_EQ("DEM", import.row(1));
    EXPECT_EQ(-0.1, import.at(0, 1));
    EXPECT_EQ(1e-7, import.at(1, 1));
    EXPECT_EQ(9.75, import.upper(0));
    EXPECT_EQ(3, import.lower(1));  // integer and open below: one under the upper bound
    EXPECT_EQ(4, import.upper(1));
    EXPECT_EQ(1, qrt_getInumints(import.model));
    EXPECT_EQ(1, import.model->integerTypes[1]);
  }
}

// Fault: a card's tail after a tab, a carriage return or column 80 is read, or comments are not counted.
TEST(MpsLayout, controlCharactersAndColumn80EndACard) {
  Import import;
  std::string longCard = card({{5, "X"}, {15, "CAP"}, {25, "2"}});
  longCard.insert(longCard.size() - 1, std::string(300, ' ') + "    JUNK     CAP   7");
  import.read("* first\r\nNAME          TINY\r\nROWS\r\n N  COST\r\n L  CAP\r\nCOLUMNS\r\n" + longCard +
              "    X         COST            1\t.5\r\n* comment\nRHS\n    RHS       CAPP              1\nENDATA\n");
  EXPECT_EQ(0, import.result);
  EXPECT_EQ(1, import.model->Inumcols);
  EXPECT_EQ(2, import.at(0, 0));
  EXPECT_EQ(1, import.cost(0));
  EXPECT_EQ(1, import.count("Row name CAPP is not defined in the ROWS section (card 11)"));
  EXPECT_EQ(1, import.count("QRT0078I          2 NAME          TINY"));
}

std::string deckWith(const std::string &rhs, const std::string &ranges, const std::string &bounds = "") {
  return "NAME          DECK\nROWS\n N  COST\n L  LROW\n G  GROW\n E  EROW\n N  FREE2\nCOLUMNS\n"
         "    X         COST               1.0   LROW               1.0\n"
         "    X         GROW               1.0   EROW               1.0\n"
         "    Y         FREE2              5.0   LROW               1.0\n" +
         (rhs.empty() ? "" : "RHS\n" + rhs) + (ranges.empty() ? "" : "RANGES\n" + ranges) +
         (bounds.empty() ? "" : "BOUNDS\n" + bounds) + "ENDATA\n";
}

std::string pair(const char *set, const char *name, double v) {
  return card({{5, set}, {15, name}, {25, decimal(v)}});
}

// Fault: a range takes the absolute value, opens an equation to the wrong side, or is applied twice.
TEST(MpsRows, rangesFollowTheSignRule) {
  struct Case {
    const char *row;
    double rhs, range, lower, upper;
  };
  const Case cases[] = {{"LROW", 10, 4, 6, 10},  {"LROW", 10, -4, 14, 10}, {"GROW", 10, 4, 10, 14},
                        {"GROW", 10, -4, 10, 6}, {"EROW", 10, 4, 10, 14},  {"EROW", 10, -4, 6, 10},
                        {"EROW", 10, 0, 10, 10}, {"LROW", 10, 0, 10, 10},  {"GROW", 10, 0, 10, 10}};
  for (const Case &c : cases) {
    Import import;
    import.read(deckWith(pair("R", c.row, c.rhs), pair("S", c.row, c.range)));
    const int i = c.row[0] == 'L' ? 0 : c.row[0] == 'G' ? 1 : 2;
    EXPECT_EQ(c.lower, import.model->lower[i]) << c.row << c.range;
    EXPECT_EQ(c.upper, import.model->upper[i]) << c.row << c.range;
    EXPECT_EQ(0, import.result);
  }
  Import twice;
  twice.read(deckWith(pair("R", "LROW", 10) + pair("R", "LROW", 11), pair("S", "LROW", 3) + pair("S", "LROW", 5)));
  EXPECT_EQ(7, twice.model->lower[0]);
  EXPECT_EQ(10, twice.model->upper[0]);
  EXPECT_EQ(2, twice.count("Duplicate name LROW was found"));
}

// Fault: the constant changes sign, a dropped N row is complained about, or a foreign set is read.
TEST(MpsRows, rightHandSidesOfObjectiveDroppedRowsAndOtherSets) {
  Import import;
  import.read(deckWith(pair("R", "COST", 5) + pair("R", "FREE2", 3) + pair("R", "GROW", 2) + pair("OTHER", "GROW", 8) +
                         pair("R", "EROW", 9), ""));
  EXPECT_EQ(0, import.result);
  EXPECT_EQ(5, qrt_getRobjectiveOffset(import.model));
  EXPECT_EQ(2, import.model->lower[1]);
  EXPECT_EQ(0, import.model->lower[2]) << "the section ends when a foreign set follows the chosen one";
  EXPECT_EQ(3, import.model->Inumrows);
  EXPECT_EQ(1, import.count("1 type N rows were ignored; the original number of rows was 4"));
  EXPECT_EQ(1, import.count("1 elements in the above type N rows were discarded"));
  EXPECT_EQ(1, import.count("There are 1 objective row entries"));
  EXPECT_EQ(0, import.count("QRT3007W"));
  Import kept;
  qrt_setIoneobj(kept.model, 0);
  qrt_setCrhs(kept.model, "OTHER");
  kept.read(deckWith(pair("R", "GROW", 2) + pair("OTHER", "GROW", 8), ""));
  ASSERT_EQ(4, kept.model->Inumrows);
  EXPECT_EQ(-INF, kept.model->lower[3]);
  EXPECT_EQ(INF, kept.model->upper[3]);
  EXPECT_EQ(5, kept.at(3, 1));
  EXPECT_EQ(8, kept.model->lower[1]);
}

// Fault: a bound type treats the bound it does not name, or a second one overwrites the first in silence.
TEST(MpsBounds, eachTypeOnDefaultAndTouchedBounds) {
  struct Case {
    std::vector<std::pair<const char *, double>> cards;
    double lower, upper;
    int duplicates, invalid;
    bool integer;
  };
  const Case cases[] = {
    {{{"LO", 2}}, 2, INF, 0, 0, false},
    {{{"LO", 2}, {"LO", 3}}, 2, INF, 1, 0, false},
    {{{"UP", 3}, {"LO", 4}}, 4, 3, 0, 1, false},
    {{{"UP", 7}}, 0, 7, 0, 0, false},
    {{{"UP", 7}, {"UP", 8}}, 0, 7, 1, 0, false},
    {{{"UP", -7}}, -INF, -7, 0, 0, false},
    {{{"UP", 0}}, 0, 0, 0, 0, false},
    {{{"LO", 2}, {"UP", 1}}, 2, 1, 0, 1, false},
    {{{"FX", 3}}, 3, 3, 0, 0, false},
    {{{"LO", 1}, {"FX", 3}}, 1, INF, 0, 1, false},
    {{{"LO", 1}, {"FX", 1}}, 1, 1, 0, 0, false},
    {{{"MI", 0}}, -INF, INF, 0, 0, false},
    {{{"LO", 1}, {"MI", 0}}, 1, INF, 0, 1, false},
    {{{"FR", 0}}, -INF, INF, 0, 0, false},
    {{{"UP", 4}, {"FR", 0}}, 0, 4, 0, 1, false},
    {{{"UP", 4}, {"PL", 0}}, 0, INF, 0, 0, false},
    {{{"BV", 0}}, 0, 1, 0, 0, true},
    {{{"UI", 6.5}}, 0, 6, 0, 0, true},
    {{{"LO", 1.5}, {"UI", 1.75}}, 0, 1, 0, 1, true},
    {{{"UP", 1e40}}, 0, INF, 0, 0, false},
  };
  for (const Case &c : cases) {
    std::string bounds, told;
    for (const auto &item : c.cards) {
      const std::string number = item.first[0] == 'M' || item.first[1] == 'R' || item.first[1] == 'V' ? "" : decimal(item.second);
      bounds += card({{2, item.first}, {5, "B"}, {15, "Y"}, {25, number}});
      told += std::string(item.first) + decimal(item.second) + " ";
    }
    Import import;
    import.read(deckWith("", "", bounds));
    EXPECT_EQ(0, import.result) << told << import.log();
    EXPECT_EQ(c.lower, import.lower(1)) << told;
    EXPECT_EQ(c.upper, import.upper(1)) << told;
    EXPECT_EQ(c.duplicates, import.count("Duplicate name Y was found")) << told;
    EXPECT_EQ(c.invalid, import.count("Invalid bound combination for Y")) << told;
    EXPECT_EQ(c.integer ? 1 : 0, qrt_getInumints(import.model)) << told;
    EXPECT_EQ(0, import.count("Invalid numeric value")) << told;
  }
}

std::string marker(const char *type, const char *name, const char *word) {
  return card({{2, type}, {5, name}, {15, "'MARKER'"}, {40, word}});
}

// Fault: types leak past a closing marker, a set row misses its 1s, or set members get the wrong order.
TEST(MpsMarkers, integersAndSets) {
  const std::string deck = "NAME          SETS\nROWS\n N  COST\n L  CAP\n E  PICK\nCOLUMNS\n" + marker("", "M1", "'INTORG'") +
    "    I1        CAP                1.0\n    I2        CAP                1.0\n" + marker("", "M2", "'INTEND'") +
    marker("", "PICK", "'SOSORG'") +
    "    P1        CAP                1.0\n    P2        CAP                1.0   PICK               9.0\n" +
    marker("", "M3", "'SOSEND'") + marker("S2", "M4", "'SOSORG'") +
    "    W1        CAP                1.0\n    W2        CAP                1.0\n    W3        CAP                1.0\n" +
    marker("", "M5", "'SOSEND'") + marker("S1", "M6", "'SOSORG'") + "    V1        CAP                1.0\n" +
    marker("", "M7", "'SOSEND'") + "    C         CAP                1.0\nRHS\nBOUNDS\n BV BND       I1\n"
    " LO BND       I2                -2.5\n UP BND       P1                 1.0\nENDATA\n";
  Import import;
  import.read(deck);
  ASSERT_EQ(0, import.result) << import.log();
  EXPECT_EQ(0, import.lower(0));
  EXPECT_EQ(1, import.upper(0));
  EXPECT_EQ(-3, import.lower(1)) << "an integer column below zero and open above ends at 0, rounded outward";
  EXPECT_EQ(0, import.upper(1));
  EXPECT_EQ(1, import.at(1, 2));
  EXPECT_EQ(1, import.at(1, 3)) << "the set's own entry is left out";
  EXPECT_EQ(1, import.model->lower[1]);
  EXPECT_EQ(1, import.model->upper[1]);
  const std::string types(import.model->integerTypes, 9);
  EXPECT_EQ(std::string("\1\1\1\1\2\2\2\1\0", 9), types);
  EXPECT_EQ(1, import.count("8 int/SOS variables in 3 set(s)"));
  EXPECT_EQ(1, import.count("NAME   ")) << "the cards of the inner file are nobody's business";
  const EntityTable *info = entityTable(import.model);
  ASSERT_NE(nullptr, info);
  ASSERT_EQ(3, info->nEntities);
  ASSERT_EQ(6, info->nMembers);
  const int wantedType[] = {2, 4, 3}, wantedCount[] = {2, 3, 1};
  for (int s = 0; s < 3; s++) {
    EXPECT_EQ(wantedType[s], info->entity[s].type);
    EXPECT_EQ(wantedCount[s], info->entity[s].count);
    EXPECT_EQ(100, info->entity[s].priority);
  }
  for (int k = 0; k < 6; k++) EXPECT_EQ(2 + k, memberTable(import.model)[k].column);
  EXPECT_EQ(3, memberTable(import.model)[4].up);
}

// Fault: integer bounds close to the wrong side or round inward.
TEST(MpsMarkers, integerBoundsAreClosedAndRounded) {
  struct Case {
    std::string bounds;
    double lower, upper;
  };
  auto bound = [](const char *type, const char *v) { return card({{2, type}, {5, "B"}, {15, "Y"}, {25, v}}); };
  const Case cases[] = {{"", 0, 1},
                        {bound("LO", "3"), 3, 4},
                        {bound("FR", ""), 0, 1},
                        {bound("MI", "") + bound("UP", "5"), 4, 5},
                        {bound("LO", "1.2") + bound("UP", "3.7"), 2, 3},
                        {bound("LO", "-1.2") + bound("UP", "-0.3"), -2, 0},
                        {bound("LO", "2.0000000001") + bound("UP", "4.9999999999"), 2, 5}};
  for (const Case &c : cases) {
    Import import;
    import.read("NAME          INTS\nROWS\n N  COST\n L  CAP\nCOLUMNS\n" + marker("", "M1", "'INTORG'") +
                "    Y         CAP                1.0\n" + marker("", "M2", "'INTEND'") + "RHS\n" +
                (c.bounds.empty() ? "" : "BOUNDS\n" + c.bounds) + "ENDATA\n");
    EXPECT_EQ(c.lower, import.lower(0)) << c.bounds << import.log();
    EXPECT_EQ(c.upper, import.upper(0)) << c.bounds;
  }
}

const std::string goodTail = "RHS\n    R         LROW               4.0\nENDATA\n";

// Fault: the wrong model of a file is read, or the flag of a model that was passed over stays in force.
TEST(MpsNames, theNameCardSelects) {
  auto model = [](const std::string &nameCard, const char *column) {
    return nameCard + "\nROWS\n N  COST\n L  LROW\nCOLUMNS\n" + card({{5, column}, {15, "LROW"}, {25, "1"}}) + goodTail;
  };
  const std::string file = "junk before\n    COMMENT\n" + model("NAME          FIRST     FREE", "A") +
                           model("NAME          SECOND", "B") + model("NAME          THIRD", "C");
  for (const char *wanted : {"SECOND", "THIRD"}) {
    Import import;
    qrt_setCname(import.model, wanted);
    import.read(file);
    ASSERT_EQ(0, import.result) << import.log();
    EXPECT_EQ(wanted[0] == 'S' ? "B" : "C", import.column(0));
    EXPECT_EQ(8, import.model->Inumchar);
  }
  Import flagAlone;
  flagAlone.read(model("NAME  FOO", "A"));
  EXPECT_STREQ("", qrt_getCname(flagAlone.model));
  Import missing;
  qrt_setCname(missing.model, "NONE");
  missing.read(file);
  EXPECT_EQ(999, missing.result);
  EXPECT_EQ(1, missing.count("QRT7106S"));
  EXPECT_EQ(1, missing.count("NONE; set Cname blank"));
}

// Fault: a diagnostic is lost, has another number, or is not followed by its own echo of the card.
TEST(MpsDiagnostics, everyOneIsFollowedByItsEcho) {
  struct Case {
    const char *section;
    std::string line;
    const char *message;
    const char *text;
    const char *echo;  // null: none
  };
  const std::string x = "    X         ", z = "    Z         ";
  const Case cases[] = {
    {"ROWS", " Q  BAD\n", "QRT6001E", "Unknown row type Q at card image", "QRT0065I"},
    {"COLUMNS", x + "NOROW              1.0\n", "QRT3007W", "Row name NOROW is not defined", "QRT0073I"},
    {"COLUMNS", z + "LROW               1.0   LROW               2.0\n", "QRT3003W", "row name LROW is a duplicate", "QRT0074I"},
    {"COLUMNS", z + "COST               1.0   COST               2.0\n", "QRT3003W", "row name COST is a duplicate", "QRT0072I"},
    {"COLUMNS", x + "LROW               abc\n", "QRT6006E", "Invalid numeric value abc for row LROW", nullptr},
    {"COLUMNS", x + "LROW               1.0   GROW\n", "QRT6006E", "for row GROW", nullptr},
    {"COLUMNS", x + "LROW               nan\n", "QRT6006E", "Invalid numeric value nan", nullptr},
    {"COLUMNS", x + "LROW             1e400\n", "QRT6006E", "Invalid numeric value 1e400", nullptr},
    {"COLUMNS", "              LROW               1.0\n", "QRT3006W", "There is a blank column at card", "QRT0071I"},
    {"COLUMNS", marker("", "M", "'WHAT?'"), "QRT6002E", "Unknown marker 'WHAT?'", "QRT0058I"},
    {"COLUMNS", marker("", "M", "'INTEND'"), "QRT3005W", "out of sequence", "QRT0069I"},
    {"COLUMNS", marker("", "NOROW", "'SOSORG'"), "QRT6003E", "SOS row NOROW is not defined", "QRT0070I"},
    {"RHS", "    R         NOROW              1.0\n", "QRT3007W", "Row name NOROW", "QRT0073I"},
    {"BOUNDS", " UP B         NOCOL              1.0\n", "QRT3008W", "Column name NOCOL is not defined", "QRT0066I"},
    {"BOUNDS", " XX B         X                  1.0\n", "QRT6004E", "Unknown bound type XX at card", "QRT0067I"},
    {"BOUNDS", " UP B         X             oops\n", "QRT6006E", "Invalid numeric value oops for row X", nullptr},
    {"BOUNDS", " UP B         X                  5.0\n UP B         X                  6.0\n", "QRT3022W", "Duplicate name X", "QRT0068I"},
    {"BOUNDS", " LO B         X                  5.0\n UP B         X                  4.0\n", "QRT6005E", "LO=5.000000, UP=4.000000", "QRT0068I"},
  };
  for (const Case &c : cases) {
    std::string deck = deckWith("    R         LROW               4.0\n", "", " PL B         X\n");
    const size_t at = deck.find(std::string("\n") + c.section) + 1 + strlen(c.section);
    deck.insert(deck.find('\n', at) + 1, c.line);
    Import import;
    import.read(deck);
    const std::string log = import.log();
    EXPECT_EQ(0, import.result) << c.line << log;
    EXPECT_EQ(1, import.count(c.message)) << c.line << log;
    EXPECT_EQ(1, import.count(c.text)) << c.line << log;
    if (!c.echo) continue;
    const size_t told = log.find(c.message), echoed = log.find(c.echo);
    ASSERT_NE(std::string::npos, echoed) << c.line << log;
    EXPECT_EQ(log.find('\n', told) + 2, echoed) << "the echo is the next line" << log;
  }
}

struct Refusal {
  std::string deck;
  const char *rhs, *range, *bound;
  const char *message;
};
std::vector<Refusal> refusals() {
  const std::string head = "NAME          BAD\nROWS\n N  COST\n L  LROW\n";
  const std::string columns = "COLUMNS\n    X         LROW               1.0\n    Y         LROW               1.0\n";
  const std::string range = "RANGES\n    G         LROW               2.0\n", bound = "BOUNDS\n UP B         X                  3.0\n";
  return {{head + "RHS\nENDATA\n", "", "", "", "QRT7009S"},
          {"NAME          BAD\nROWS\n L  LROW\n" + columns + goodTail, "", "", "", "QRT7008S"},
          {head + " L  LROW\n" + columns + goodTail, "", "", "", "QRT7010S"},
          {head + columns + "    X         COST               1.0\n" + goodTail, "", "", "", "QRT7010S"},
          {head + columns + goodTail, "WANTED", "", "", "QRT7011S"},
          {head + columns + range + "ENDATA\n", "", "WANTED", "", "QRT7012S"},
          {head + columns + bound + "ENDATA\n", "", "", "WANTED", "QRT7013S"},
          {head + columns + "WHAT\n", "", "", "", "QRT7009S"},
          {head + columns + bound + "RHS\nENDATA\n", "", "", "", "QRT7009S"},
          {head + columns, "", "", "", "QRT7009S"},
          {head, "", "", "", "QRT7009S"},
          {"", "", "", "", "QRT7106S"}};
}

// Fault: a file that cannot be read gives a model or the wrong reason, or the model in hand is harmed.
TEST(MpsRefusals, eachHasItsMessageAndLeavesTheModelAlone) {
  for (const Refusal &c : refusals()) {
    Import import;
    import.read(deckWith("    R         LROW               4.0\n", ""));
    for (auto set : {qrt_setCname, qrt_setCrhs, qrt_setCobjective}) set(import.model, "");
    qrt_setCrhs(import.model, c.rhs);
    qrt_setCrange(import.model, c.range);
    qrt_setCbound(import.model, c.bound);
    import.read(c.deck);
    EXPECT_EQ(999, import.result) << c.deck;
    EXPECT_EQ(1, import.count(c.message)) << c.deck << import.log();
    EXPECT_EQ(3, import.model->Inumrows);
    EXPECT_EQ(4, import.model->upper[0]);
  }
  Import missing;
  missing.result = qrt_importModel(missing.model, "/nowhere/at/all.mps");
  EXPECT_EQ(200, missing.result);
  EXPECT_EQ(1, missing.count("QRT7100S"));
}

// Fault: by default a refusal returns instead of ending the process with status 0, its message told first.
TEST(MpsRefusals, byDefaultTheProcessEnds) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  auto run = [](const std::string &path) {
    QRTModel *model = qrt_newModel(qrt_initializeContext(), "");
    qrt_stderrNumber(model, 7000);
    qrt_importModel(model, path.c_str());
    _exit(77);
  };
  const std::string path = store("NAME          BAD\nROWS\n N  COST\nRHS\nENDATA\n", "death");
  EXPECT_EXIT(run(path), ::testing::ExitedWithCode(0), "QRT7009S");
  EXPECT_EXIT(run("/nowhere/at/all.mps"), ::testing::ExitedWithCode(0), "QRT7100S");
  unlink(path.c_str());
}

// Fault: the standard input is not read, or read past the model's last card.
TEST(MpsFiles, standardInputHoldsOneModelAfterAnother) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const std::string path = store(deckWith("    R         LROW               4.0\n", "") +
                                   "NAME          NEXT\nROWS\n N  COST\n L  A\n L  B\nCOLUMNS\nRHS\nENDATA\n", "stdin");
  auto run = [&] {
    if (!freopen(path.c_str(), "r", stdin)) _exit(1);
    QRTContext *context = qrt_initializeContext();
    QRTModel *first = qrt_newModel(context, ""), *second = qrt_newModel(context, "");
    if (qrt_importModel(first, "stdin") != 0 || qrt_importModel(second, nullptr) != 0) _exit(2);
    _exit(first->Inumrows == 3 && second->Inumrows == 2 && second->Inumcols == 0 ? 42 : 3);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(42), "");
  unlink(path.c_str());
}

// Fault: a change set of a parametric run lands in the model itself, or the untouched entries keep bounds.
TEST(MpsRows, changeSetsFillTheChangeVectors) {
  Import import;
  qrt_makeThisCurrent(import.model);
  auto name = [](int k, const char *text) { memcpy(qrtconv.values[k], text, strlen(text)); };
  name(6, "CHANGE");
  name(7, "R2");
  name(9, "B2");
  qrt_swapCommons(import.model, nullptr);
  import.read("NAME          PAR\nROWS\n N  COST\n N  CHANGE\n L  A\n G  B\nCOLUMNS\n"
              "    X         COST               1.0   CHANGE             0.5\n    X         A                  1.0\n"
              "RHS\n    R1        A                 10.0   B                  1.0\n    R2        A                  3.0\n"
              "BOUNDS\n UP B1        X                  4.0\n LO B2        X                  2.0\nENDATA\n");
  ASSERT_EQ(0, import.result) << import.log();
  ASSERT_EQ(2, import.model->Inumrows);
  EXPECT_EQ(10, import.model->upper[0]);
  EXPECT_EQ(4, import.upper(0));
  EXPECT_EQ(0, import.lower(0));
  ASSERT_NE(nullptr, import.model->objectiveDelta);
  ASSERT_NE(nullptr, import.model->upperDelta);
  const int at = import.model->Imaxrows;
  EXPECT_EQ(0.5, import.model->objectiveDelta[at]);
  EXPECT_EQ(3, import.model->upperDelta[0]);
  EXPECT_EQ(0, import.model->upperDelta[1]);
  EXPECT_EQ(0, import.model->lowerDelta[1]);
  EXPECT_EQ(2, import.model->lowerDelta[at]);
}

// Fault: merged columns lose entries or costs.
TEST(MpsColumns, columnsThatComeTwiceAreMergedOnRequest) {
  Import import;
  const std::string path = store("NAME          TWICE\nROWS\n N  COST\n L  A\n L  B\nCOLUMNS\n"
                                 "    X         A                  1.0\n    Y         A                  2.0   COST               7.0\n"
                                 "    X         COST               5.0   B                  3.0\nRHS\nENDATA\n");
  qrt_makeThisCurrent(import.model);
  ASSERT_EQ(0, qrtopenbyname(path.c_str(), 101, 0));
  MpsData data;
  memset(static_cast<void *>(&data), 0, sizeof data);
  data.model = import.model;
  memset(data.sets, ' ', sizeof data.sets);
  int rtcod = -1;
  qrtmpsf(&rtcod, &data, 101, 1, 0);
  ASSERT_EQ(0, rtcod) << import.log();
  installMpsData(&data);
  closeNamedUnit(101);
  qrt_freeSome(import.model, 99999);
  ASSERT_EQ(2, import.model->Inumcols);
  EXPECT_EQ("Y", import.column(1));
  EXPECT_EQ(5, import.cost(0));
  EXPECT_EQ(7, import.cost(1));
  EXPECT_EQ(1, import.at(0, 0));
  EXPECT_EQ(3, import.at(1, 0));
  EXPECT_EQ(2, import.at(0, 1));
  EXPECT_EQ(nullptr, model_check(import.model));
  EXPECT_EQ(1, import.count("seemed to have 3 columns, but it has 2 columns"));
}

// Fault: our own decimal conversion differs from the nearest double in one form or another.
TEST(MpsNumbers, parseRealAgreesWithStrtod) {
  std::mt19937_64 random(20260101);
  auto digits = [&](int most) {
    std::string text;
    for (int n = int(random() % uint64_t(most + 1)); n > 0; n--) text += char('0' + random() % 10);
    return text;
  };
  for (int trial = 0; trial < 400000; trial++) {
    std::string text = random() % 3 ? "" : random() % 2 ? "-" : "+";
    const int most = trial % 5 ? 9 : 24;
    text += digits(most);
    if (random() % 2) text += "." + digits(most);
    if (random() % 3 == 0) {
      text += "eE"[random() % 2];
      text += random() % 2 ? "-" : random() % 2 ? "+" : "";
      text += trial % 7 ? std::to_string(random() % 30) : std::to_string(random() % 400);
    }
    if (random() % 20 == 0) text += "xyz"[random() % 3];
    char *end = nullptr;
    const double wanted = std::strtod(text.c_str(), &end);
    double got = -77;
    const int used = parseReal(text.c_str(), int(text.size()), &got);
    ASSERT_EQ(end - text.c_str(), used) << text;
    ASSERT_TRUE(used == 0 || memcmp(&wanted, &got, 8) == 0) << text << " " << wanted << " " << got;
  }
  double value = 0;
  EXPECT_EQ(5, parseReal("1.5D3", 5, &value));
  EXPECT_EQ(1500, value);
  EXPECT_EQ(4, parseReal("-inf", 4, &value));
  EXPECT_EQ(-HUGE_VAL, value);
  EXPECT_EQ(0, parseReal("    ", 4, &value));
  EXPECT_EQ(0, parseReal("+.", 2, &value));
}

// Fault: the twelve columns of the common dialect keep their inner blanks, or lose digits behind the point.
TEST(MpsNumbers, blanksInsideANumberAreDropped) {
  struct Case {
    const char *text;
    double value;
  };
  const Case cases[] = {{"1 2 . 5", 12.5}, {"  -   7", -7}, {".00000000001", 1e-11}, {"123456789012", 123456789012.0},
                        {"1.5D3", 1500},   {"2E-05", 2e-5}, {"+3.", 3},            {"1.5 e2", 150}};
  for (const Case &c : cases) {
    Import import;
    import.read(deckWith("", "", card({{2, "FX"}, {5, "B"}, {15, "Y"}, {25, c.text}})));
    EXPECT_EQ(c.value, import.upper(1)) << c.text << import.log();
  }
}

// Fault: a name is lost when its slot is taken, or two names that differ are taken for one.
TEST(MpsNameTable, findsEveryNameAndNoOther) {
  Import import;
  qrt_makeThisCurrent(import.model);
  std::mt19937 random(5);
  for (int length : {1, 3, 8, 31}) {
    std::set<std::string> wanted;
    const size_t most = length == 1 ? 20 : 3000;
    while (wanted.size() < most) {
      std::string name(size_t(length), ' ');
      for (int k = 0; k < length; k++) name[size_t(k)] = char('A' + random() % (length == 1 ? 26 : 20));
      wanted.insert(name);
    }
    std::string names;
    for (const std::string &name : wanted) names += name;
    names += names.substr(0, size_t(length) * 2);  // two come again
    const int count = int(wanted.size()) + 2;
    NameTable table;
    EXPECT_EQ(2, qrtmkhash(import.model, &table, names.data(), length, count, false));
    EXPECT_EQ(nullptr, nameTable_check(&table));
    int index = 1;
    for (const std::string &name : wanted) EXPECT_EQ(index++, qrthash(&table, name.data()));
    for (int trial = 0; trial < 3000; trial++) {
      std::string name(size_t(length), ' ');
      for (int k = 0; k < length; k++) name[size_t(k)] = char('A' + random() % 26);
      EXPECT_EQ(wanted.count(name) != 0, qrthash(&table, name.data()) != 0) << name;
    }
  }
  qrt_freeSome(import.model, 99999);
}

// Fault: names that share one key make a chain that goes wrong. Weights differ by position, so swapping two
// characters by multiples of each other's weight keeps the key modulo a small table.
TEST(MpsNameTable, longChainsInATinyTable) {
  Import import;
  qrt_makeThisCurrent(import.model);
  std::string names;
  for (int k = 0; k < 200; k++) {
    char text[9];
    snprintf(text, sizeof text, "%c%c      ", 'A' + k % 8 * 2, 'a' + k / 8);
    names += text;
  }
  NameTable table;
  EXPECT_EQ(0, qrtmkhash(import.model, &table, names.data(), 8, 200, false));
  EXPECT_EQ(nullptr, nameTable_check(&table));
  for (int k = 0; k < 200; k++) EXPECT_EQ(k + 1, qrthash(&table, names.data() + k * 8));
  qrt_freeSome(import.model, 99999);
}

// Fault: damaged bytes crash the reader or leave a model that breaks its own rules.
TEST(MpsRefusals, damagedFilesNeverHarm) {
  std::mt19937 random(11);
  const std::string good = deckWith("    R         LROW               4.0\n", "    G         GROW               2.0\n",
                                    " UP B         X                  3.0\n MI B         Y\n");
  for (int trial = 0; trial < 800; trial++) {
    std::string bad = trial % 2 ? std::string("NAME X\n") + freeBody : good;
    for (int n = 1 + int(random() % 6); n > 0 && !bad.empty(); n--) {
      const size_t at = random() % bad.size();
      switch (random() % 5) {
        case 0: bad.resize(at); break;
        case 1: bad[at] = char(random() % 256); break;
        case 2: bad.insert(at, std::string(random() % 200, char(32 + random() % 96))); break;
        case 3: bad.erase(at, random() % 40); break;
        default: bad.insert(at, bad.substr(random() % bad.size(), random() % 300));
      }
    }
    Import import;
    import.read(bad, trial % 2 != 0);
  }
}

// Fault: segments with other entries than the first pass as piecewise linear, or good ones are complained about.
TEST(MpsMarkers, piecewiseLinearSegmentsDifferInCostAlone) {
  for (const char *second : {"A                  2.0   B                  6.0", "A                  2.0   B                  5.0"}) {
    Import import;
    qrt_messagesPrintOn(import.model, 9000, 9999);
    import.read("NAME          PWL\nROWS\n N  COST\n L  A\n L  B\nCOLUMNS\n" + marker("", "S", "'SEPORG'") +
                "    X1        A                  1.0   B                  3.0\n    X2        " + second +
                "\n    X2        COST               4.0\n" + marker("", "T", "'SEPEND'") +
                "RHS\nBOUNDS\n UP B         X1                 3.0\n UP B         X2                 2.0\nENDATA\n");
    const bool good = strchr(second, '6') != nullptr;
    EXPECT_EQ(1, import.count("QRT9080I"));
    EXPECT_EQ(good ? 0 : 1, import.count("TAV only allows piecewise linear costs")) << import.log();
    EXPECT_EQ(0, import.result);
    EXPECT_EQ(2, import.model->Inumcols);
    EXPECT_EQ(0, import.count("NonLinear segment")) << import.log();
    EXPECT_EQ(good ? 1 : 0, import.count("Integer format read as FORMATA"));
  }
}

// Fault: a mask names too many columns, an attribute is taken for another, or a bad card ends the file.
TEST(MpsMarkers, integerInformationFileOfTheCaller) {
  Import import;
  qrt_messagesPrintOn(import.model, 9000, 9999);
  std::string deck = "NAME          MANY\nROWS\n N  COST\n L  CAP\nCOLUMNS\n";
  for (const char *name : {"A1", "A2", "AB", "B1"}) deck += card({{5, name}, {15, "CAP"}, {25, "1"}});
  import.read(deck + "RHS\nENDATA\n");
  qrt_makeThisCurrent(import.model);
  auto line = [](const char *head, const char *name, const char *word = "", const char *number = "") {
    return card({{1, head}, {5, name}, {15, word}, {25, number}});
  };
  const std::string path = store("NAME          INFO      FORMATA\nVARIABLES\n" + line(" MS", "*", "=") + line(" BV", "A=") +
                                 line(" UI", "B*") + line(" UI", "B1") + line(" UI", "NONE") + line(" ZZ", "A1") +
                                 line(" S1", "A1") + "SETS\n" + line(" S2", "FIRST", "PRI", "7") + line("", "AB", "RFV", "3") +
                                 line("", "A1", "RFV", "1") + line("", "A1", "PCD", "0.5") + line("", "C9", "RFV", "1") +
                                 line("", "AB", "WHAT", "1") + line(" IN", "SECOND", "PRI", "0") + "OTHER\n    X\nENDATA\n");
  ASSERT_EQ(0, qrtopenbyname(path.c_str(), 20, 0));
  NameTable columns;
  const std::string names = "A1      A2      AB      B1      ";
  qrtmkhash(import.model, &columns, names.data(), 8, 4, false);
  qrtrdinf(import.model, &columns, 20, false);
  qrt_f_close(0, 20);
  qrt_freeSome(import.model, 99999);
  EXPECT_EQ(std::string("\2\1\2\1", 4), std::string(import.model->integerTypes, 4)) << import.log();
  EXPECT_EQ(1, import.upper(1));
  EXPECT_EQ(INF, import.upper(3));
  EXPECT_EQ(1, import.count("3 names satisfy mask A="));
  EXPECT_EQ(1, import.count("1 names satisfy mask B*"));
  EXPECT_EQ(1, import.count("Variable B1 has already been defined"));
  EXPECT_EQ(1, import.count("Column name NONE is not defined"));
  EXPECT_EQ(1, import.count("Unknown Integer Keyword - ZZ"));
  EXPECT_EQ(1, import.count("Unknown Integer Keyword - OTHER"));
  EXPECT_EQ(1, import.count("Integer Type being used in wrong section S1"));
  EXPECT_EQ(1, import.count("Integer C9 named in SET but not in VARIABLES"));
  EXPECT_EQ(1, import.count("Unknown attribute WHAT for set FIRST"));
  EXPECT_EQ(1, import.count("Priority of"));
  const EntityTable *info = entityTable(import.model);
  ASSERT_NE(nullptr, info);
  ASSERT_EQ(2, info->nEntities);
  EXPECT_EQ(7, info->entity[0].priority);
  EXPECT_EQ(ENTITY_SOS2, info->entity[0].type);
  ASSERT_LE(2, info->entity[0].count);
  const MemberRecord *members = memberTable(import.model) + info->entity[0].first;
  EXPECT_EQ(0, members[0].column) << "members ascend by reference";
  EXPECT_EQ(0.5, members[0].down);
}

// Fault: a quadratic term is dropped, doubled, or read from the section of another row.
TEST(MpsQuadratic, termsOfTheObjectiveBecomeOneBlock) {
  Import import;
  import.read(deckWith("", ""));
  const std::string path = store("NAME          DECK\nQSECTION      GROW\n    X         X                  9.0\nQSECTION\n"
                                 "    X         X                  2.0   Y                 -1.0\n    Y         X                 -1.0\n"
                                 "    Y         NOCOL              4.0   Y                  3.0\nWHAT\n    Y         Y   1.0\nENDATA\n");
  EXPECT_EQ(0, qrt_importQuadraticData(import.model, path.c_str())) << import.log();
  ASSERT_EQ(1, import.model->Inumquadraticblocks);
  const ElementBlock *block = import.model->quadraticBlocks[0].block;
  EXPECT_EQ(2, block->count);
  EXPECT_EQ(std::vector<int>({0, 2, 4}), std::vector<int>(block->columns, block->columns + 3));
  EXPECT_EQ(std::vector<int>({0, 1, 0, 1}), std::vector<int>(block->rows, block->rows + 4));
  EXPECT_EQ(std::vector<double>({2, -1, -1, 3}), std::vector<double>(block->elements, block->elements + 4));
  EXPECT_EQ(1, import.count("Quadratic section COST has 4 entries"));
  EXPECT_EQ(1, import.count("QRT6037E"));
  EXPECT_EQ(1, import.count("Column name NOCOL"));
}

// Fault: sizes of published models come out wrong. The table of sizes lies beside them.
TEST(MpsPublished, sizesAsTheTableSays) {
  const std::string folder = TAVSTOCH_DATA_DIR;
  std::ifstream table(folder + "/README.md");
  if (folder.empty() || !table) GTEST_SKIP() << "no published models";
  const std::regex row(R"(\| ([^ ]+) \| (\d+) \| (\d+) \| (\d+) \| (OPTIMAL|INFEASIBLE) \|.*)");
  std::string line;
  int models = 0;
  while (std::getline(table, line)) {
    std::smatch part;
    if (!std::regex_match(line, part, row)) continue;
    const std::string path = folder + "/lp/" + part[1].str() + ".mps";
    Import import;
    ASSERT_EQ(0, qrt_importModel(import.model, path.c_str())) << path;
    EXPECT_EQ(std::stoi(part[2]), qrt_getInumrows(import.model)) << path;
    EXPECT_EQ(std::stoi(part[3]), qrt_getInumcols(import.model)) << path;
    EXPECT_EQ(std::stoi(part[4]), matrixElements(import.model)) << path;
    EXPECT_EQ(nullptr, model_check(import.model)) << path;
    models++;
  }
  EXPECT_GT(models, 0);
}

}  // namespace
