// Postsolve: the original model comes back, and with it the solution of the reduced one.
//
// The log is undone from its end to its start, each record by the undo of its kind. An optimal point becomes an optimal
// point with its duals and a basis; of any other only values and a start basis are worth anything, and the duals go.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/model_store.h"
#include "model/save_file.h"
#include "prep/presolve_run.h"

namespace {

constexpr int NOT_OPENED = 341, NOT_READ = 21;
constexpr double NOISE = 1.0e-12;
constexpr double WORTH_A_SOLVE = 10.0;   // tolerances a mapped point may be off before the primal puts it right

using Undo = void (*)(Postsolve *, const Reduction *);
constexpr int TYPES = REDUCTION_FILL + 1;
Undo undoOf(int type) {
  static const struct {
    int type;
    Undo undo;
  } table[] = {
      {REDUCTION_ROW_DROPPED, undoDroppedRow},       {REDUCTION_AT_LOWER, undoFixedColumn},
      {REDUCTION_AT_UPPER, undoFixedColumn},         {REDUCTION_BETWEEN, undoFixedColumn},
      {REDUCTION_SINGLETON_BOTH, undoSingletonRow},  {REDUCTION_SINGLETON_LOWER, undoSingletonRow},
      {REDUCTION_SINGLETON_UPPER, undoSingletonRow}, {REDUCTION_FORCING, undoForcingRow},
      {REDUCTION_SUBSTITUTED, undoDoubleton},        {REDUCTION_KEPT, undoDoubleton},
      {REDUCTION_SLACK, undoSlack},                  {REDUCTION_SUMMED, undoSummedColumns},
      {REDUCTION_DOMINATED, undoDominatedColumn},    {REDUCTION_DUPLICATE_ROW, undoDuplicateRow},
      {REDUCTION_FREE_SINGLETON, undoFreeColumn},    {REDUCTION_FREE_OPEN, undoFreeColumn},
      {REDUCTION_FREE_CLOSE, undoFreeColumn},        {REDUCTION_SIGN_ROWS, undoSignRows},
      {REDUCTION_SIGN_FIXED, undoFixedColumn},       {REDUCTION_FILL, undoSubstitution},
  };
  static Undo byType[TYPES];
  if (!byType[REDUCTION_AT_LOWER])
    for (const auto &row : table) byType[row.type] = row.undo;
  return type >= 0 && type < TYPES ? byType[type] : nullptr;
}

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

// Row duals of a model in the sign d = cost - A'y, whatever sign its caller asked for.
double dualSign(const QRTModel *model) { return model->dualSignFlip ? 1.0 : -1.0; }
bool isBasic(const QRTModel *model, int at) { return (uint32_t(model->status[at]) & STATUS_BASIC) != 0; }

// What the reduced model holds, in the numbers of the original.
Postsolve *takeSolution(QRTModel *model, const PresolveRecord *record) {
  Postsolve *p = array<Postsolve>(model, 1);
  const ReducedShape &shape = record->shape;
  int m, n;
  savedModel_sizes(record->original, &m, &n);
  p->model = model;
  p->m = m;
  p->n = n;
  p->tolerance = qrtlplp.Rtolpinf;
  p->dualTolerance = NOISE;
  p->x = array<double>(model, n);
  p->d = array<double>(model, n);
  p->y = array<double>(model, m);
  p->rowBasic = array<char>(model, m);
  p->columnBasic = array<char>(model, n);
  p->log = &record->log;
  const int rows = shape.rows < model->Inumrows ? shape.rows : model->Inumrows;
  const int columns = shape.columns < model->Inumcols ? shape.columns : model->Inumcols;
  int basics = 0;
  for (int k = 0; k < columns; k++) {
    const int j = shape.column[k], at = model->Imaxrows + k;
    p->x[j] = model->solution[at];
    p->d[j] = model->dual[at];
    p->columnBasic[j] = !shape.dummy && isBasic(model, at);
    basics += p->columnBasic[j];
  }
  for (int k = 0; k < rows && !shape.dummy; k++) {
    const int i = shape.row[k];
    p->y[i] = dualSign(model) * model->dual[k];
    p->rowBasic[i] = isBasic(model, k);
    basics += p->rowBasic[i];
  }
  p->valuesOnly = basics != (shape.dummy ? 0 : shape.rows);
  return p;
}

// ---- into the original

uint32_t restingStatus(double low, double high, double x, double tolerance) {
  if (high - low <= PRESOLVE_ZERO) return 0u;
  if (hasLower(low) && std::fabs(x - low) <= tolerance) return STATUS_AT_LOWER;
  if (hasUpper(high) && std::fabs(x - high) <= tolerance) return STATUS_AT_UPPER;
  if (!hasLower(low) && !hasUpper(high) && std::fabs(x) <= tolerance) return STATUS_FREE;
  return 0u;
}

// A point without a basis, or one that was never solved, need not have the right number of basic variables.
void completeBasis(Postsolve *p) {
  int basics = 0;
  for (int i = 0; i < p->m; i++) basics += p->rowBasic[i];
  for (int j = 0; j < p->n; j++) basics += p->columnBasic[j];
  for (int i = 0; i < p->m && basics > p->m; i++)
    if (p->rowBasic[i]) p->rowBasic[i] = 0, basics--;
  for (int j = 0; j < p->n && basics > p->m; j++)
    if (p->columnBasic[j]) p->columnBasic[j] = 0, basics--;
  for (int i = 0; i < p->m && basics < p->m; i++)
    if (!p->rowBasic[i]) p->rowBasic[i] = 1, basics++;
}

double quiet(double value) { return std::fabs(value) <= NOISE ? 0.0 : value; }

// Values, activities, duals and statuses; with `mapped` 0 the duals are 0.
void storeSolution(Postsolve *p, int mapped) {
  QRTModel *model = p->model;
  const int base = model->Imaxrows;
  const double sense = qrtlplp.Rmaxmin, sign = dualSign(model);
  double objective = -qrtlplp.RobjectiveOffset;
  for (int j = 0; j < p->n; j++) {
    model->solution[base + j] = p->x[j];
    model->dual[base + j] = mapped ? sense * model->objective[base + j] : 0.0;
    objective += model->objective[base + j] * p->x[j];
  }
  for (int i = 0; i < p->m; i++) {
    model->solution[i] = 0.0;
    model->dual[i] = mapped ? sign * quiet(p->y[i]) : 0.0;
  }
  forEachElement(model, [&](int i, int j, double &stored) {
    const double element = stored / elementFactor(model, i, j);
    model->solution[i] += element * p->x[j];
    if (mapped) model->dual[base + j] -= element * sign * model->dual[i];
  });
  for (int i = 0; i < p->m; i++) {
    const uint32_t word = p->rowBasic[i] ? uint32_t(STATUS_BASIC) : restingStatus(model->lower[i], model->upper[i], model->solution[i], p->tolerance);
    model->status[i] = int(word);
    model->solution[i] = quiet(model->solution[i]);
  }
  for (int j = 0; j < p->n; j++) {
    const int at = base + j;
    const uint32_t word = p->columnBasic[j] ? uint32_t(STATUS_BASIC) : restingStatus(model->lower[at], model->upper[at], p->x[j], p->tolerance);
    model->status[at] = int(word);
    model->dual[at] = quiet(model->dual[at]);
  }
  storeControlReal(model, CONTROL_Robjvalue, objective);
}

// How far the stored point is from optimal, and its infeasibility.
struct Quality {
  double primal, dual;   // largest violation of a bound; largest dual that its value does not allow
  double sum;            // of violations over the tolerance
  int count;
};
void measure(const QRTModel *model, int at, double dual, Quality *q) {
  const double x = model->solution[at], low = model->lower[at], high = model->upper[at];
  const double out = std::fmax(hasLower(low) ? low - x : 0.0, hasUpper(high) ? x - high : 0.0);
  const double size = 1.0 + std::fabs(x);
  q->primal = std::fmax(q->primal, out / size);
  if (out > qrtlplp.Rtolpinf) {
    q->sum += out;
    q->count++;
  }
  const double room = dual > 0.0 ? (hasLower(low) ? x - low : 1.0) : dual < 0.0 ? (hasUpper(high) ? high - x : 1.0) : 0.0;
  q->dual = std::fmax(q->dual, std::fmin(std::fabs(dual), std::fabs(dual) * room / size));
}
Quality qualityOf(const QRTModel *model) {
  Quality q = {0.0, 0.0, 0.0, 0};
  for (int i = 0; i < model->Inumrows; i++) measure(model, i, dualSign(model) * model->dual[i], &q);
  for (int j = 0; j < model->Inumcols; j++) measure(model, model->Imaxrows + j, model->dual[model->Imaxrows + j], &q);
  return q;
}

void restoreOriginal(QRTModel *model, const PresolveRecord *record) {
  const bool factors = savedModel_hasScales(record->original);
  savedModel_takeOver(record->original, false);
  if (!factors) freeRimVector(model, &model->scales);
  freeRimVector(model, &model->aux);
  model->auxKind = -1;
  freeRimVector(model, &model->rweight);
  storeControlReal(model, CONTROL_RobjectiveOffset, record->offset);
}

bool solved() { return qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0 && (qrtlplp.Iprobstat == 0 || qrtlplp.Iprobstat == 5); }

// A point with whole values in its integer columns is more than a solution of the relaxation: whoever found it may have
// changed their bounds for it, so that its duals need not fit, and a simplex would leave it.
bool isWholePoint(const QRTModel *model) {
  bool any = false;
  for (int j = 0; model->integerTypes && j < model->Inumcols; j++) {
    if (model->integerTypes[j] == 0) continue;
    any = true;
    const double x = model->solution[model->Imaxrows + j];
    if (std::fabs(x - std::floor(x + 0.5)) > WORTH_A_SOLVE * qrtlplp.Rtolpinf) return false;
  }
  return any;
}

// Everything from a stream; returns 0 or a code after a message.
int qrtpsslf(QRTModel *model, ByteStream *stream) {
  reportSolution(model);
  int mapped = solved();
  PresolveRecord *record = array<PresolveRecord>(model, 1);
  if (readPresolve(model, stream, record) != 0) return NOT_READ;
  if (record->tag != PRESOLVE_COMPLETE) return 0;
  Postsolve *p = takeSolution(model, record);
  restoreOriginal(model, record);
  undoReductions(p);
  completeBasis(p);
  storeSolution(p, mapped);
  if (mapped && record->shape.repairs > 0 && qualityOf(model).count > 0) {
    // Repair made a feasible model of one that is not: what solves the one says nothing of the other.
    mapped = 0;
    storeSolution(p, 0);
  }
  const Quality q = qualityOf(model);
  storeControlInteger(model, CONTROL_Inumpinf, q.count);
  storeControlReal(model, CONTROL_Rsumpinf, q.sum);
  touchMatrix(model);
  selfCheckModel(model);
  if (!mapped) return 0;
  storeControlInteger(model, CONTROL_Inumpinf, 0);
  messageD(1, qrtlplp.Robjvalue);
  qrtmesg_no_q1(MSG_MAPPED_OBJECTIVE, "qrtpssl", -1);
  const bool feasible = q.primal <= WORTH_A_SOLVE * qrtlplp.Rtolpinf, near = feasible && q.dual <= WORTH_A_SOLVE * qrtlplp.Rtoldinf;
  if (feasible && isWholePoint(model)) return 0;
  return near && (p->valuesOnly || basisConfirms(p)) ? 0 : qrt_primalSimplex(model, 1);
}

int postSolve(QRTModel *model, const char *filename) {
  ByteStream ofFile, *stream = model->presolveStream;
  if (filename) {
    if (qrtopenbyname(filename, UNIT_IMPORT, 3) != 0) {
      closeNamedUnit(UNIT_IMPORT);
      qrtmesg_no_q1(MSG_CANNOT_OPEN, filename, -1);
      return NOT_OPENED;
    }
    byteStream_ofFile(&ofFile, qrt_file_fp[UNIT_IMPORT - UNIT_FIRST_NAMED], true);
    stream = &ofFile;
  }
  if (!stream) return 0;
  byteStream_rewind(stream);
  qrt_push(model);
  const int code = qrtpsslf(model, stream);
  qrt_pop(model);
  if (filename) {
    closeNamedUnit(UNIT_IMPORT);
  } else if (code != NOT_READ) {
    byteStream_release(stream);
    qrt_free(stream);
    model->presolveStream = nullptr;
  }
  return code;
}

}  // namespace

void undoReductions(Postsolve *p) {
  for (int k = p->log->count - 1; k >= 0; k--) {
    const Reduction *r = &p->log->record[k];
    undoOf(r->type)(p, r);
  }
}

bool knownReduction(int type) { return undoOf(type) != nullptr; }

extern "C" int qrt_postSolve(QRTModel *model, const char *filename) {
  qrt_eraseFactor(model);
  qrt_enter(model, "qrt_postSolve", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  if (filename && std::strcmp(filename, "/null") == 0) {
    qrt_leave(model);
    return 0;
  }
  QRT_JUMP_FRAME(model, (closeNamedUnit(UNIT_IMPORT), qrt_disaster(model)));
  const int code = postSolve(model, filename);
  QRT_END_FRAME();
  qrt_leave(model);
  return code;
}
