// A model as an MPS file in the dialect that the reader takes, and the public entries.
//
// Reading back gives the same model where the form can hold it: free rows are dropped by the reader's default, and an
// integer column without an upper bound reads as 0 to 1.
#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/card_writer.h"
#include "model/integer_sets.h"
#include "model/model_store.h"
#include "model/mps_writer.h"

namespace {

constexpr double EQUAL = 1.0e-12;
constexpr int MSG_USING_NAME = 33, MARKER_LENGTH = 8;  // of "'MARKER'" and "'INTORG'"
enum : int { SET_OF_MODEL = 0, SET_OF_OBJECTIVE = 1, SET_OF_RHS = 2, SET_OF_RANGE = 3, SET_OF_BOUND = 4 };
enum RowKind : char { KIND_FREE, KIND_L, KIND_G, KIND_E, KIND_RANGED, KIND_RANGED_G };
enum RunKind : char { RUN_INTEGERS = 1, RUN_S1 = 2, RUN_S2 = 3 };

// One export; arrays on the temporary chain.
struct Export {
  QRTModel *model;
  CardWriter cards;
  CleanCopy matrix;
  char objective[80], rhs[80], range[80], bound[80];
  // marker runs: kind of the run that begins at a column, and the column after its end
  char *runKind;      // [n], 0 none
  int *runEnd;        // [n]
  int nRuns;          // runs begun so far
};

bool nameSets = false;  // the export under way is one of exportWithSetNames()

bool finite(double bound) { return std::fabs(bound) < QRT_INFINITE_TEST; }

// The range that gives the one bound from the other exactly as the reader computes it, where there is such a number;
// `from` is the upper bound (L rows: from - range) or the lower one (G rows: from + range).
double rangeBetween(double lower, double upper, bool fromUpper, bool *exact) {
  const double range = upper - lower;
  const double near[3] = {range, std::nextafter(range, 0.0), std::nextafter(range, QRT_INFINITY)};
  for (const double r : near)
    if (fromUpper ? upper - r == lower : lower + r == upper) {
      *exact = true;
      return r;
    }
  *exact = false;
  return range;
}

// A ranged row is an L row, unless only as a G row both its bounds come back to the last bit.
RowKind kindOf(double lower, double upper) {
  if (!finite(lower) && !finite(upper)) return KIND_FREE;
  if (!finite(lower)) return KIND_L;
  if (!finite(upper)) return KIND_G;
  if (upper - lower <= EQUAL) return KIND_E;
  bool asL, asG;
  rangeBetween(lower, upper, true, &asL);
  rangeBetween(lower, upper, false, &asG);
  return !asL && asG ? KIND_RANGED_G : KIND_RANGED;
}

// A name as it goes to a card: of the model, or made from the number counted from 1.
CardName nameFor(const Export *x, bool row, int k, char buffer[40]) {
  const QRTModel *model = x->model;
  int length = 0;
  const char *names = row ? model->rownames : model->colnames;
  if (names) {
    const char *name = row ? rowNameOf(model, k, buffer, &length) : columnNameOf(model, k, buffer, &length);
    if (length > 0) return {name, length};
  }
  length = snprintf(buffer, 40, "%c%7.7d", row ? 'R' : 'C', k + 1);
  const int L = x->cards.nameLength;
  return {buffer, length < L ? length : L};
}

CardName nameOf(const char *text) { return {text, int(strlen(text))}; }

// The set name a control holds, without trailing blanks, or the one that stands for a blank control.
void takeSet(const QRTModel *model, int control, const char *standard, char name[80]) {
  const char *held = model->characterControls[control];
  int n = held ? int(strnlen(held, 79)) : 0;
  while (n > 0 && held[n - 1] == ' ') n--;
  if (n > 0) memcpy(name, held, size_t(n));
  else n = int(strlen(standard)), memcpy(name, standard, size_t(n));
  name[n] = '\0';
}

// ---- integer runs

bool columnsFree(const Export *x, int first, int end) {
  for (int j = first; j < end; j++)
    if (x->runEnd[j] != 0) return false;
  return true;
}

void setRun(Export *x, int first, int end, RunKind kind) {
  x->runKind[first] = kind;
  for (int j = first; j < end; j++) x->runEnd[j] = end;
}

// Special ordered sets whose members follow one another, then whatever else is integer.
void findRuns(Export *x) {
  const QRTModel *model = x->model;
  const int n = model->Inumcols;
  x->runKind = static_cast<char *>(temporaryAllocate(x->model, n + 1, 1));
  x->runEnd = static_cast<int *>(temporaryAllocate(x->model, n + 1, sizeof(int)));
  memset(x->runKind, 0, size_t(n) + 1);
  memset(x->runEnd, 0, (size_t(n) + 1) * sizeof(int));
  // Shorter names cut the words of a marker card, which is then read as two elements; integers show by their bounds.
  if (nameLength(model) < MARKER_LENGTH) return;
  const EntityTable *table = entityTable(model);
  for (int s = 0; table && s < table->nEntities; s++) {
    const EntityRecord &entity = table->entity[s];
    if (entity.type != ENTITY_SOS1 && entity.type != ENTITY_SOS2) continue;
    const MemberRecord *member = memberTable(model) + entity.first;
    bool run = entity.count > 0;
    for (int k = 1; k < entity.count; k++) run = run && member[k].column == member[0].column + k;
    if (!run || !columnsFree(x, member[0].column, member[0].column + entity.count)) continue;
    setRun(x, member[0].column, member[0].column + entity.count, entity.type == ENTITY_SOS1 ? RUN_S1 : RUN_S2);
  }
  if (!model->integerTypes) return;
  for (int j = 0; j < n;) {
    int end = j;
    while (end < n && model->integerTypes[end] && x->runEnd[end] == 0) end++;
    if (end > j) setRun(x, j, end, RUN_INTEGERS);
    j = end > j ? end : j + 1;
  }
}

void putMarker(Export *x, int number, bool opens, RunKind kind) {
  char name[32];
  snprintf(name, sizeof name, "%s%5.5d", opens ? "SET" : "END", number);
  const char *head = opens && kind == RUN_S1 ? " S1 " : opens && kind == RUN_S2 ? " S2 " : "    ";
  const CardName marker = nameOf("'MARKER'");
  const CardName word = nameOf(kind == RUN_INTEGERS ? opens ? "'INTORG'" : "'INTEND'" : opens ? "'SOSORG'" : "'SOSEND'");
  cards_flush(&x->cards);
  qrtoucd(&x->cards, head, nameOf(name), &marker, nullptr, &word, nullptr);
}

// ---- sections

void putRows(Export *x) {
  const QRTModel *model = x->model;
  cards_section(&x->cards, "ROWS", nullptr, nullptr);
  qrtoucd(&x->cards, " N  ", nameOf(x->objective), nullptr, nullptr, nullptr, nullptr);
  for (int i = 0; i < model->Inumrows; i++) {
    static const char heads[][5] = {" N  ", " L  ", " G  ", " E  ", " L  ", " G  "};
    char buffer[40];
    qrtoucd(&x->cards, heads[kindOf(model->lower[i], model->upper[i])], nameFor(x, true, i, buffer), nullptr, nullptr,
            nullptr, nullptr);
  }
}

void putColumns(Export *x) {
  const QRTModel *model = x->model;
  const CleanCopy &a = x->matrix;
  cards_section(&x->cards, "COLUMNS", nullptr, nullptr);
  RunKind kind = RUN_INTEGERS;
  int number = 0;
  for (int j = 0; j < model->Inumcols; j++) {
    if (x->runKind[j]) {
      kind = RunKind(x->runKind[j]);
      number = ++x->nRuns;
      putMarker(x, number, true, kind);
    }
    char buffer[40];
    const CardName column = nameFor(x, false, j, buffer);
    const double cost = model->objective[model->Imaxrows + j];
    // A column without any entry lives by a cost of 0.
    if (cost != 0.0 || a.starts[j] == a.starts[j + 1]) cards_pair(&x->cards, "    ", column, nameOf(x->objective), cost);
    for (int e = a.starts[j]; e < a.starts[j + 1]; e++) {
      char rowBuffer[40];
      cards_pair(&x->cards, "    ", column, nameFor(x, true, a.rows[e], rowBuffer), a.elements[e]);
    }
    cards_flush(&x->cards);
    if (x->runEnd[j] == j + 1) putMarker(x, number, false, kind);
  }
}

int putRhs(Export *x) {
  const QRTModel *model = x->model;
  int ranged = 0, zeroRow = -1;
  bool named = false;
  cards_section(&x->cards, "RHS", nullptr, nullptr);
  const CardName set = nameOf(x->rhs);
  if (std::fabs(qrtlplp.RobjectiveOffset) > qrtlplp.Rtolpinf)
    cards_pair(&x->cards, "    ", set, nameOf(x->objective), qrtlplp.RobjectiveOffset);
  for (int i = 0; i < model->Inumrows; i++) {
    const RowKind kind = kindOf(model->lower[i], model->upper[i]);
    ranged += kind >= KIND_RANGED;
    if (kind == KIND_FREE) continue;
    const double value = kind == KIND_L || kind == KIND_RANGED ? model->upper[i] : model->lower[i];
    char buffer[40];
    if (std::fabs(value) > EQUAL) cards_pair(&x->cards, "    ", set, nameFor(x, true, i, buffer), value);
    if (std::fabs(value) > EQUAL) named = true;
    else zeroRow = i;
  }
  char buffer[40];
  if (nameSets && !named && zeroRow >= 0) cards_pair(&x->cards, "    ", set, nameFor(x, true, zeroRow, buffer), 0.0);
  cards_flush(&x->cards);
  return ranged;
}

void putRanges(Export *x) {
  const QRTModel *model = x->model;
  cards_section(&x->cards, "RANGES", nullptr, nullptr);
  for (int i = 0; i < model->Inumrows; i++) {
    char buffer[40];
    const RowKind kind = kindOf(model->lower[i], model->upper[i]);
    if (kind < KIND_RANGED) continue;
    bool exact;
    const double range = rangeBetween(model->lower[i], model->upper[i], kind == KIND_RANGED, &exact);
    cards_pair(&x->cards, "    ", nameOf(x->range), nameFor(x, true, i, buffer), range);
  }
  cards_flush(&x->cards);
}

bool isInteger(const Export *x, int j) { return x->model->integerTypes && x->model->integerTypes[j]; }

void putBound(Export *x, const char *head, CardName column, const double *value) {
  qrtoucd(&x->cards, head, nameOf(x->bound), &column, value, nullptr, nullptr);
}

void putColumnBounds(Export *x, int j, bool integer) {
  const QRTModel *model = x->model;
  const double lower = model->lower[model->Imaxrows + j], upper = model->upper[model->Imaxrows + j];
  char buffer[40];
  const CardName column = nameFor(x, false, j, buffer);
  const bool low = finite(lower), high = finite(upper);
  if (!low && !high) return putBound(x, " FR ", column, nullptr);
  if (integer && std::fabs(lower) <= EQUAL && std::fabs(upper - 1.0) <= EQUAL) return putBound(x, " BV ", column, nullptr);
  if (!low) putBound(x, " MI ", column, nullptr);
  if (!integer && low && high && upper - lower <= EQUAL) return putBound(x, " FX ", column, &lower);
  if (low && lower != 0.0) putBound(x, " LO ", column, &lower);
  if (high) putBound(x, integer ? " UI " : " UP ", column, &upper);
}

void putBounds(Export *x) {
  const QRTModel *model = x->model;
  bool any = false;
  for (int j = 0; j < model->Inumcols && !any; j++)
    any = model->lower[model->Imaxrows + j] != 0.0 || finite(model->upper[model->Imaxrows + j]);
  const bool unnamed = nameSets && !any && model->Inumcols > 0;
  if (!any && !unnamed) return;
  cards_section(&x->cards, "BOUNDS", nullptr, nullptr);
  if (unnamed) {
    const double zero = 0.0;
    char buffer[40];
    putBound(x, " LO ", nameFor(x, false, 0, buffer), &zero);
  }
  for (int integers = 0; integers < 2; integers++)
    for (int j = 0; j < model->Inumcols; j++)
      if (isInteger(x, j) == (integers == 1)) putColumnBounds(x, j, integers == 1);
}

// The quadratic matrix behind the bounds (qrtbcdq), by the columns of its blocks.
void putQuadratic(Export *x) {
  const QRTModel *model = x->model;
  if (model->Inumquadraticblocks == 0) return;
  // A reader of linear programs stops at this card, one of quadratic terms goes on behind it.
  cards_section(&x->cards, "NAME", nullptr, x->cards.binary ? "BINARY" : nullptr);
  cards_section(&x->cards, "QSECTION", nullptr, nullptr);
  auto put = [x](int row, int column, double value) {
    char first[40], second[40];
    cards_pair(&x->cards, "    ", nameFor(x, false, column, first), nameFor(x, false, row, second), value);
  };
  for (int k = 0; k < model->Inumquadraticblocks; k++) {
    const ElementBlock &b = *model->quadraticBlocks[k].block;
    const int c0 = b.columnBase - model->Imaxrows;
    if (isTriples(b))
      for (int e = 0; e < b.count; e++) put(b.rows[e] + b.rowBase, b.columns[e] + c0, b.elements[e]);
    else
      for (int c = 0; c < b.count; c++)
        for (int e = b.columns[c]; e < b.columns[c + 1]; e++) put(b.rows[e] + b.rowBase, c + c0, b.elements[e]);
  }
  cards_flush(&x->cards);
}

// The cards of the model on the open file (qrtbcdof).
void writeModel(QRTModel *model, FILE *stream, int format, int entries) {
  Export x = {};
  x.model = model;
  cards_start(&x.cards, stream, UNIT_IMPORT, nameLength(model), format == 2, entries);
  char name[80];
  takeSet(model, SET_OF_MODEL, "", name);
  if (!*name) qrtmesg_no_q2(MSG_USING_NAME, "BLANK NAME", -1, "", 0);
  takeSet(model, SET_OF_OBJECTIVE, "OBJECTRW", x.objective);
  takeSet(model, SET_OF_RHS, "RHS1", x.rhs);
  takeSet(model, SET_OF_RANGE, "RANGE1", x.range);
  takeSet(model, SET_OF_BOUND, "BOUND1", x.bound);
  qrt_cleanCopy(model, &x.matrix, CLEAN_COLUMNS | CLEAN_SORTED, 0.0, 0);
  findRuns(&x);
  cards_section(&x.cards, "NAME", name, format == 2 ? "BINARY" : nullptr);
  putRows(&x);
  putColumns(&x);
  if (putRhs(&x) > 0) putRanges(&x);
  putBounds(&x);
  putQuadratic(&x);
  cards_section(&x.cards, "ENDATA", nullptr, nullptr);
  qrt_deleteCleanCopy(&x.matrix);
}

constexpr int NOT_OPENED = 200, NOT_WRITTEN = 21;

int exportModel(QRTModel *model, const char *filename, int format, int entries) {
  qrt_checkParameter(model, 3, format, 1, 2);
  qrt_checkParameter(model, 4, entries, 1, 2);
  if (model->matrixScaled) {
    qrtmesg_no(MSG_ONLY_UNSCALED);
    return NOT_WRITTEN;
  }
  if (!outputFile_open(filename)) return NOT_OPENED;
  qrt_push(model);
  writeModel(model, outputFile_stream(), format, entries);
  qrt_pop(model);
  return outputFile_commit() ? 0 : NOT_WRITTEN;
}

}  // namespace

extern "C" int qrt_exportModel(QRTModel *model, const char *filename, int format, int entries) {
  qrt_enter(model, "qrt_exportModel", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (outputFile_abandon(), qrt_disaster(model)));
  const int result = exportModel(model, filename, format, entries);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}

int exportWithSetNames(QRTModel *model, const char *file) {
  nameSets = true;
  const int code = qrt_exportModel(model, file, 1, 2);
  nameSets = false;
  return code;
}

int exportInUnits(QRTModel *model, const char *file) {
  const int scaled = model->matrixScaled;
  if (scaled) forEachElement(model, [model](int i, int j, double &value) { value /= elementFactor(model, i, j); });
  model->matrixScaled = 0;  // the writer refuses anything else
  const int code = qrt_exportModel(model, file, 1, 2);
  model->matrixScaled = scaled;
  if (scaled) forEachElement(model, [model](int i, int j, double &value) { value *= elementFactor(model, i, j); });
  return code;
}
