// The store as an SMPS triple that the reader takes, every scenario explicit; and the described model as an MPS file.
//
// Rows and columns go out in stage order. Numbers of the stoch file have six digits, differences below 1e-06 are left
// out. Where the format cannot hold what the store has, user message 501 says so at the end.
#include "stoch/scn_smps_writer.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "frame/safe_file.h"
#include "model/mps_writer.h"
#include "stoch/scn_object.h"
#include "stoch/scn_smps.h"

namespace {

constexpr char CALLER[] = "qrts_out2MatrixSMPS";
constexpr int NAME = 8, STRIDE = NAME + 1;
constexpr double SMALLEST_DIFFERENCE = 1.0e-06;
// Below it "%12g" may take 13 characters, of which the reader would cut the last digit of the exponent.
constexpr double SMALLEST_VALUE = 1.0e-99;
constexpr int FEW_SCENARIOS = 9999;  // numbers that "SCEN" leaves room for

struct Writing {
  QRTStoch *stoch;
  CoreData *core;
  bool absolute;      // values in force, else differences
  // names of STRIDE characters: eight, blank padded, and a NUL. Rows and columns in sorted order; owned.
  char *rows, *cols, *periods, *scenarios;
  char problem[STRIDE], objective[STRIDE], rhs[STRIDE], bound[STRIDE], range[STRIDE];
  FILE *stream;
  const char *fault;  // the file that could not be written, null while all is well
  // what the format cannot hold
  int64_t lostSides, lostLowers;
  bool cutNames, blankStages;
};

// ---- names

void padName(const char *text, int length, char *name) {
  if (length > NAME) length = NAME;
  memcpy(name, text, static_cast<size_t>(length));
  memset(name + length, ' ', static_cast<size_t>(NAME - length));
  name[NAME] = '\0';
}

bool isBlank(const char *name) { return strspn(name, " ") == strlen(name); }

char *newNames(int n) { return static_cast<char *>(qrts__alloc(CALLER, (int64_t(n) + 1) * STRIDE, 1)); }

const char *nameAt(const char *names, int k) { return names + int64_t(k) * STRIDE; }

// No two names are the same from character `from` on, and none is blank there.
bool allDiffer(const char *names, int n, int from) {
  if (n < 1) return true;
  const int length = STRIDE - from, size = hashSizeFor(n);
  char *cut = static_cast<char *>(qrts__alloc(CALLER, int64_t(n) * length, 1));
  int *table = static_cast<int *>(
      qrts__alloc(CALLER, (int64_t(size) + n + 1) * static_cast<int64_t>(sizeof(int)), 0));
  bool differ = true;
  for (int k = 0; k < n; ++k) {
    memcpy(cut + int64_t(k) * length, nameAt(names, k) + from, static_cast<size_t>(length));
    differ = differ && !isBlank(nameAt(names, k) + from);
  }
  int start = -1, end = n;
  if (differ) qrthash8(&start, &end, table, &size, length, cut, nullptr);
  free(table);
  free(cut);
  return differ && start > 0;
}

// The n names of the reader, numchar characters each, in the order of `perm` (null: as they stand), cut to eight. Null
// when there are none. Names that only differ behind the cut would run together: then null, too.
char *keptNames(Writing *w, const char *names, int numchar, int n, const int *perm) {
  if (!names) return nullptr;
  char *kept = newNames(n);
  for (int k = 0; k < n; ++k)
    padName(names + int64_t(perm ? perm[k] - 1 : k) * numchar, numchar, kept + int64_t(k) * STRIDE);
  if (allDiffer(kept, n, 0)) return kept;
  w->cutNames = true;
  free(kept);
  return nullptr;
}

char *numberedNames(const char *format, const char *formatOfMany, int n) {
  char *names = newNames(n);
  for (int k = 0; k < n; ++k) {
    char text[24];
    const int length = snprintf(text, sizeof text, k < FEW_SCENARIOS ? format : formatOfMany, k + 1);
    padName(text, length, names + int64_t(k) * STRIDE);
  }
  return names;
}

void takeName(const char *held, const char *standard, char *name) {
  if (held) padName(held, NAME, name);
  if (!held || isBlank(name)) padName(standard, static_cast<int>(strlen(standard)), name);
}

void takeNames(Writing *w) {
  CoreData *core = w->core;
  const SmpsData *smps = core->smps;
  const int nScenarios = w->stoch->sdata->scenarios->count;
  if (smps) {
    w->rows = keptNames(w, smps->rowNames, smps->numchar, core->nRows, core->rowPerm);
    w->cols = keptNames(w, smps->colNames, smps->numchar, core->nCols, core->colPerm);
    w->periods = keptNames(w, smps->periodNames, smps->numchar, core->nStages, nullptr);
    // Scenarios added by calls have no names; then all get numbers.
    if (smps->scenarioHash && smps->scenarioHash[0] == nScenarios)
      w->scenarios = keptNames(w, smps->scenarioNames, smps->numchar, nScenarios, nullptr);
  }
  if (!w->rows) w->rows = numberedNames("R%07d", "R%07d", core->nRows);
  if (!w->cols) w->cols = numberedNames("C%07d", "C%07d", core->nCols);
  if (!w->periods) w->periods = numberedNames("STG%05d", "STG%05d", core->nStages);
  if (!w->scenarios) w->scenarios = numberedNames("SCEN%04d", "S%07d", nScenarios);
  takeName(smps ? smps->problemName : nullptr, "MYSMPS", w->problem);
  takeName(smps ? smps->objectiveName : nullptr, "OBJECTRW", w->objective);
  takeName(smps ? smps->rhsName : nullptr, "RHS1", w->rhs);
  takeName(smps ? smps->boundName : nullptr, "BOUND1", w->bound);
  takeName(smps ? smps->rangeName : nullptr, "RANGE1", w->range);
}

// ---- files

// One file of the triple: all three are written beside their places and take them together, when all are whole.
struct Part {
  const char *target;
  char *place;  // malloc'd, null when the target is no name
};

Part makePart(const char *target) { return {target, target && *target ? safeFile_place(target) : nullptr}; }

// A fault is told once all parts are settled: its message may end the process.
int fault(Writing *w, const char *target) {
  w->fault = target ? target : "";
  return 2;
}

int settle(Writing *w, Part (&parts)[3], int result) {
  for (Part &part : parts) {
    if (!part.place) continue;
    const int error = safeFile_settle(part.place, part.target, result == 0 ? 0 : ECANCELED);
    if (error != 0 && result == 0) result = fault(w, part.target);
    free(part.place);
  }
  return w->fault ? severe(MSG_CANNOT_READ, w->fault) : result;
}

int openFile(Writing *w, const Part &part) {
  w->stream = part.place ? fopen(part.place, "w") : nullptr;
  return w->stream ? 0 : fault(w, part.target);
}

int closeFile(Writing *w, const Part &part, int result) {
  const bool failed = ferror(w->stream) != 0;
  if ((fclose(w->stream) != 0 || failed) && result == 0) result = fault(w, part.target);
  return result;
}

// "%12g", whatever the locale.
void numberField(double value, char field[16]) {
  if (std::fabs(value) < SMALLEST_VALUE) value = 0.0;
  char text[32];
  const std::to_chars_result end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
  const int length = static_cast<int>(end.ptr - text), blanks = length < 12 ? 12 - length : 0;
  memset(field, ' ', static_cast<size_t>(blanks));
  memcpy(field + blanks, text, static_cast<size_t>(length));
  field[blanks + length] = '\0';
}

// "head  first  second  value".
void dataLine(Writing *w, const char head[5], const char *first, const char *second, double value) {
  char line[48], *at = line;
  memcpy(at, head, 4);
  memcpy(at + 4, first, NAME);
  memset(at + 12, ' ', 2);
  memcpy(at + 14, second, NAME);
  memset(at + 22, ' ', 2);
  numberField(value, at + 24);
  at += 24 + strlen(at + 24);
  *at++ = '\n';
  fwrite(line, 1, static_cast<size_t>(at - line), w->stream);
}

// ---- core file

// The core's blocks as one list, counted from 0 over all stages.
int addMatrix(const CoreData *core, QRTModel *model) {
  const int n = core->blockStart[blockCount(core->nStages)] - 1;
  if (n == 0) return 0;
  int *rows = static_cast<int *>(qrts__alloc(CALLER, int64_t(n) * static_cast<int64_t>(sizeof(int)), 1));
  int *cols = static_cast<int *>(qrts__alloc(CALLER, int64_t(n) * static_cast<int64_t>(sizeof(int)), 1));
  for (int s = 1; s <= core->nStages; ++s)
    for (int c = 1; c <= s; ++c) {
      const int b = blockNumber(s, c);
      for (int e = core->blockStart[b - 1] - 1; e < core->blockStart[b] - 1; ++e) {
        rows[e] = rowLocalToSorted(core, s, core->mrow[e]) - 1;
        cols[e] = colLocalToSorted(core, c, core->mcol[e]) - 1;
      }
    }
  const int block = qrt_addElementBlock(model, n, rows, cols, core->dels);
  free(rows);
  free(cols);
  return block < 0 ? 2 : qrt_mergeBlocks(model, 1);
}

// A name without the blanks that fill it; `text` has STRIDE characters.
const char *trimmed(const char *name, char *text) {
  int n = NAME;
  while (n > 0 && name[n - 1] == ' ') --n;
  memcpy(text, name, static_cast<size_t>(n));
  text[n] = '\0';
  return text;
}

void setModelNames(QRTModel *model, const char *names, int n, bool rows) {
  const char **pointers = static_cast<const char **>(
      qrts__alloc(CALLER, (int64_t(n) + 1) * static_cast<int64_t>(sizeof(char *)), 1));
  char *texts = newNames(n);
  for (int k = 0; k < n; ++k) pointers[k] = trimmed(nameAt(names, k), texts + int64_t(k) * STRIDE);
  if (rows) qrt_copyRowNames(model, pointers, 0, n);
  else qrt_copyColumnNames(model, pointers, 0, n);
  free(texts);
  free(pointers);
}

int fillCoreModel(Writing *w, QRTModel *model) {
  const CoreData *core = w->core;
  qrt_setInumchar(model, NAME);
  int rc = qrt_loadRimModel(model, core->nRows, core->rowLower, core->rowUpper, core->nCols, core->objective,
                            core->colLower, core->colUpper);
  if (rc == 0) rc = addMatrix(core, model);
  if (rc != 0) return rc;
  setModelNames(model, w->rows, core->nRows, true);
  setModelNames(model, w->cols, core->nCols, false);
  char text[STRIDE];
  qrt_setCname(model, trimmed(w->problem, text));
  qrt_setCobjective(model, trimmed(w->objective, text));
  qrt_setCrhs(model, trimmed(w->rhs, text));
  qrt_setCbound(model, trimmed(w->bound, text));
  qrt_setCrange(model, trimmed(w->range, text));
  return 0;
}

int writeCore(Writing *w, const Part &part) {
  // Without a name the MPS writer would choose one.
  if (!part.place) return fault(w, part.target);
  QRTStoch *stoch = w->stoch;
  QRTModel *model = qrts_create2EmptyModel(stoch->baseModel->context, stoch->baseModel, nullptr, stoch->ifDebug);
  int rc = fillCoreModel(w, model);
  if (rc == 0) rc = exportWithSetNames(model, part.place);
  qrt_deleteModel(model);
  return rc;
}

// ---- time file

int writeTime(Writing *w, const Part &part) {
  const CoreData *core = w->core;
  if (openFile(w, part) != 0) return 2;
  fprintf(w->stream, "TIME%*s  %s\n", 8, " ", w->problem);
  fprintf(w->stream, "PERIODS%*s  %s\n", 5, " ", "LP");
  for (int s = 1; s <= core->nStages; ++s) {
    // A stage without rows begins where the next one does; behind the end there is nothing to name.
    const int row = core->rowStageStart[s - 1], col = core->colStageStart[s - 1];
    w->blankStages = w->blankStages || row > core->nRows || col > core->nCols;
    fprintf(w->stream, "    %s  %s  %12s  %s\n", col <= core->nCols ? nameAt(w->cols, col - 1) : "        ",
            row <= core->nRows ? nameAt(w->rows, row - 1) : "        ", " ", nameAt(w->periods, s - 1));
  }
  fputs("ENDATA\n", w->stream);
  return closeFile(w, part, 0);
}

// ---- stoch file

bool counts(double difference) { return std::fabs(difference) > SMALLEST_DIFFERENCE; }

// The reader gives every line of a row to all its finite sides; what it would make of the row is compared with what
// the store has.
void tellLostSides(Writing *w, int p, double lower, double upper, const double *lines, int nLines) {
  const double coreLower = w->core->rowLower[p - 1], coreUpper = w->core->rowUpper[p - 1];
  double readLower = 0.0, readUpper = 0.0;
  for (int k = 0; k < nLines; ++k) {
    readLower += lines[k] - (w->absolute ? coreLower : 0.0);
    readUpper += lines[k] - (w->absolute ? coreUpper : 0.0);
  }
  const double scale = 1.0 + std::fabs(nLines ? lines[0] : 0.0);
  const bool lowerHolds = coreLower <= -SCN_INFINITY || std::fabs(readLower - lower) <= 2 * SMALLEST_DIFFERENCE * scale;
  const bool upperHolds = coreUpper >= SCN_INFINITY || std::fabs(readUpper - upper) <= 2 * SMALLEST_DIFFERENCE * scale;
  w->lostSides += !lowerHolds + !upperHolds;
}

void writeRightHandSides(Writing *w, const NodeView *view) {
  const CoreData *core = w->core;
  for (int k = 1; k <= view->nRows; ++k) {
    const double lower = view->rowLower[k - 1], upper = view->rowUpper[k - 1];
    if (!counts(lower) && !counts(upper)) continue;
    const int p = rowLocalToSorted(core, view->stage, k);
    double lines[2];
    int nLines = 0;
    const double upperLine = upper + (w->absolute ? core->rowUpper[p - 1] : 0.0);
    const double lowerLine = lower + (w->absolute ? core->rowLower[p - 1] : 0.0);
    if (counts(upper)) lines[nLines++] = upperLine;
    // A second line would count on top of the first, which has said it all when both sides are to be at one value.
    const bool said = counts(upper) && (!counts(lower - upper) || (w->absolute && !counts(lowerLine - upperLine)));
    if (counts(lower) && !said) lines[nLines++] = lowerLine;
    for (int l = 0; l < nLines; ++l) dataLine(w, "    ", w->rhs, nameAt(w->rows, p - 1), lines[l]);
    tellLostSides(w, p, lower, upper, lines, nLines);
  }
}

void writeBounds(Writing *w, const NodeView *view) {
  const CoreData *core = w->core;
  for (int k = 1; k <= view->nCols; ++k) {
    const double lower = view->colLower[k - 1], upper = view->colUpper[k - 1];
    const int q = colLocalToSorted(core, view->stage, k);
    if (counts(upper)) dataLine(w, " UP ", w->bound, nameAt(w->cols, q - 1), upper + (w->absolute ? core->colUpper[q - 1] : 0.0));
    if (!counts(lower)) continue;
    // Both bounds moved alike count as one change, of which the upper line alone is read.
    if (!counts(lower - upper)) w->lostLowers++;
    else dataLine(w, " LO ", w->bound, nameAt(w->cols, q - 1), lower + (w->absolute ? core->colLower[q - 1] : 0.0));
  }
}

// Works in the view: its indices become those of the input, its values what is written.
int writeMatrix(Writing *w, NodeView *view) {
  const CoreData *core = w->core;
  int kept = 0;
  for (int c = 1; c <= view->stage; ++c)
    for (int e = view->blockStart[c - 1] - 1; e < view->blockStart[c] - 1; ++e) {
      if (!counts(view->values[e])) continue;
      view->rows[kept] = rowSortedToInput(core, rowLocalToSorted(core, view->stage, view->rows[e]));
      view->cols[kept] = colSortedToInput(core, colLocalToSorted(core, c, view->cols[e]));
      view->values[kept++] = view->values[e];
    }
  int rc = 0;
  if (w->absolute) qrtbinaddt(&rc, w->stoch->sdata, kept, view->rows, view->cols, view->values);
  for (int e = 0; rc == 0 && e < kept; ++e)
    dataLine(w, "    ", nameAt(w->cols, colInputToSorted(core, view->cols[e]) - 1),
             nameAt(w->rows, rowInputToSorted(core, view->rows[e]) - 1), view->values[e]);
  return rc;
}

void writeCosts(Writing *w, const NodeView *view) {
  const CoreData *core = w->core;
  for (int k = 1; k <= view->nCols; ++k) {
    const double cost = view->objective[k - 1];
    if (!counts(cost)) continue;
    const int q = colLocalToSorted(core, view->stage, k);
    dataLine(w, "    ", nameAt(w->cols, q - 1), w->objective, cost + (w->absolute ? core->objective[q - 1] : 0.0));
  }
}

// Weights go out as they were given, unless the leaves have been given others since (apart from a common factor, which
// describing a model brings in).
bool leavesHaveOwnWeights(const StochData *sdata) {
  const ScenarioTable *scenarios = sdata->scenarios;
  const TreeNode *nodes = sdata->nodes->nodes;
  double given = 0.0, present = 0.0;
  for (int k = 0; k < scenarios->count; ++k) {
    given += scenarios->table[k].probability;
    present += nodes[scenarios->table[k].lastNode - 1].probability;
  }
  for (int k = 0; k < scenarios->count; ++k) {
    const double a = scenarios->table[k].probability * present, b = nodes[scenarios->table[k].lastNode - 1].probability * given;
    if (std::fabs(a - b) > 1e-9 * (std::fabs(a) + std::fabs(b))) return true;
  }
  return false;
}

void scenarioLine(Writing *w, int scenario, bool ownWeights) {
  const StochData *sdata = w->stoch->sdata;
  const ScenarioRecord *record = &sdata->scenarios->table[scenario - 1];
  const double weight = ownWeights ? sdata->nodes->nodes[record->lastNode - 1].probability : record->probability;
  char number[32];
  numberField(weight, number);
  fprintf(w->stream, " SC %*s  %-*s  %s  %*s\n", NAME, nameAt(w->scenarios, scenario - 1), NAME,
          record->ancestor ? nameAt(w->scenarios, record->ancestor - 1) : "ROOT", number, NAME,
          nameAt(w->periods, record->branchStage - 1));
}

int writeScenarios(Writing *w) {
  StochData *sdata = w->stoch->sdata;
  if (qrts_needNodes(sdata) != 0) return 2;
  const bool ownWeights = w->core->nStages > 1 && leavesHaveOwnWeights(sdata);
  NodeView *view = static_cast<NodeView *>(qrts__alloc(CALLER, sizeof(NodeView), 0));
  int last = 0, rc = 0;
  for (int n = 2; n <= sdata->nodes->nNodes && rc == 0; ++n) {
    const int scenario = sdata->nodes->nodes[n - 1].scenario;
    if (scenario != last) scenarioLine(w, scenario, ownWeights);
    last = scenario;
    rc = qrts_Cndat(w->stoch, n, &view);
    if (rc != 0 || !view->rows) continue;
    writeRightHandSides(w, view);
    writeBounds(w, view);
    rc = writeMatrix(w, view);
    writeCosts(w, view);
  }
  free(view);
  return rc;
}

int writeStoch(Writing *w, const Part &part) {
  if (openFile(w, part) != 0) return 2;
  fprintf(w->stream, "STOCH%*s  %s\n", 7, " ", w->problem);
  fprintf(w->stream, "SCENARIOS%*s  %-*s  %12s  %s\n", 3, " ", NAME, "DISCRETE", " ", w->absolute ? "REPLACE" : "ADD");
  const int rc = writeScenarios(w);
  fputs("ENDATA\n", w->stream);
  return closeFile(w, part, rc);
}

// ---- what the format cannot hold

void tell(Writing *w, const char *text) { qrt_userMessage(w->stoch->baseModel, 1, text); }

void tellLosses(Writing *w) {
  const CoreData *core = w->core;
  char text[128];
  int free = 0;
  for (int p = 0; p < core->nRows; ++p) free += core->rowLower[p] <= -SCN_INFINITY && core->rowUpper[p] >= SCN_INFINITY;
  if (free > 0) {
    snprintf(text, sizeof text, "SMPS files: %d rows without bounds are not read back", free);
    tell(w, text);
  }
  if (w->lostSides > 0) {
    snprintf(text, sizeof text, "SMPS files: %lld sides of rows move with the other side when read back",
             static_cast<long long>(w->lostSides));
    tell(w, text);
  }
  if (w->lostLowers > 0) {
    snprintf(text, sizeof text, "SMPS files: %lld lower bounds that move as their upper bounds do are not written",
             static_cast<long long>(w->lostLowers));
    tell(w, text);
  }
  if (w->cutNames) tell(w, "SMPS files: names that agree in eight characters are replaced by numbers");
  if (w->blankStages) tell(w, "SMPS files: a last stage without rows or columns can't be named");
  if (!allDiffer(w->periods, core->nStages, 1)) tell(w, "SMPS files: period names are read without their first character");
  if (core->nIntegers > 0) tell(w, "SMPS files: integer columns are written as continuous ones");
  if (core->problemType == 2) tell(w, "SMPS files: the quadratic objective is not written");
}

int missing(const char *what) {
  messageC(1, what);
  messageC(2, CALLER);
  stochMessage(MSG_BAD_STRUCTURE);
  return 2;
}

}  // namespace

int qrts_out2MatrixSMPS(QRTStoch *stoch, int type, int mode, const char *coreFile, const char *timeFile, const char *stochFile) {
  if (type < DIST_SCENARIOS || type > DIST_BLOCKS) {
    stochMessage(MSG_DISTRIBUTION);
    return 2;
  }
  if (!stoch) return missing("QRTStoch");
  if (!stoch->sdata) return missing("Stochastic Data");
  if (!stoch->sdata->core || stoch->sdata->core->nStages < 1) return missing("Core Data");
  if (qrts_unpackCore(stoch->sdata) != 0) return 2;
  Writing w{};
  w.stoch = stoch;
  w.core = stoch->sdata->core;
  w.absolute = mode == 1;
  takeNames(&w);
  Part parts[3] = {makePart(coreFile), makePart(timeFile), makePart(stochFile)};
  int rc = writeCore(&w, parts[0]);
  if (rc == 0) rc = writeTime(&w, parts[1]);
  if (rc == 0) rc = writeStoch(&w, parts[2]);
  rc = settle(&w, parts, rc);
  if (rc == 0) tellLosses(&w);
  free(w.rows);
  free(w.cols);
  free(w.periods);
  free(w.scenarios);
  return rc;
}

int qrts_out2MatrixMPS(QRTStoch *stoch, const char *file) {
  const char *complaint = nullptr;
  if (!file) complaint = "\n MPSFILE name is invalid (NULL).\n";
  else if (!stoch->smodel) complaint = "\n No Stochastic Model has been described. Invoke qrts_describeFullModel(stoch,1).\n";
  else if (!stoch->smodel->model) complaint = "\n Model has no Data.  Invoke qrts_describeFullModel(stoch,1).\n";
  if (!complaint) return qrt_exportModel(stoch->smodel->model, file, 1, 2);
  fputs(complaint, stdout);
  return 1;
}
