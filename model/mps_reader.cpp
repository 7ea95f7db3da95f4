// The run over an MPS file, from opening it to the finished model, the public entries, and the check of what was read.

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/mps_reader.h"

const int controlOfSet[SET_COUNT] = {0, 1, 2, 3, 4, 6, 7, 8, 9};

namespace {

constexpr int OPTION_FREE = 128;      // bit of the reader's option
constexpr int OPTION_MERGE = 1;       // columns that come twice are merged
constexpr int OPTION_ORDERED = 2;
constexpr int UNIT_INTEGERS = 15;     // first choice for the temporary integer information file
constexpr int LAST_FREE_UNIT = 99;
constexpr int FILE_NOT_OPENED = 200;
constexpr int OPTION_PARAMETER = 4;   // place of the option among the reader's arguments

}  // namespace

bool isSetName(const MpsData *data, int set, const char *name) {
  const int L = data->reader.nameLength;
  return memcmp(data->sets[set], name, size_t(L)) == 0 && isBlank(data->sets[set] + L, 80 - L);
}

void takeSetName(MpsData *data, int set, const char *name) {
  const int L = data->reader.nameLength;
  memset(data->sets[set], ' ', 80);
  memcpy(data->sets[set], name, size_t(L));
}

namespace {

// Sections in the order of the file; the first failure ends them.
int readSections(MpsData *data, int option) {
  int failure = qrtrows(data);
  if (failure != READ_OK) return failure;
  const int length = data->reader.nameLength;  // as the NAME card left it
  if (qrtmkhash(data->model, &data->rowTable, data->rowNames, length, data->m + data->nDropped, true) > 0)
    return READ_DUPLICATE_NAMES;
  failure = qrtcols(data);
  if (failure != READ_OK) return failure;
  if (option == OPTION_MERGE) {
    failure = qrtdups(data);
    if (failure != READ_OK) return failure;
  } else if (qrtmkhash(data->model, &data->columnTable, data->columnNames, length, data->n, true) > 0) {
    return READ_DUPLICATE_NAMES;
  }
  qrtdfrw(data);
  failure = qrtrwbd(data);
  if (failure != READ_OK) return failure;
  return qrtclbd(data);
}

bool columnsSorted(const MpsData *data) {
  for (int j = 0; j < data->n; j++)
    for (int k = data->start[j] + 1; k < data->start[j + 1]; k++)
      if (data->row[k] < data->row[k - 1]) return false;
  return true;
}

}  // namespace

// Linear: two transpositions.
void sortMpsColumns(MpsData *data) {
  if (columnsSorted(data)) return;
  QRTModel *model = data->model;
  int *rowStart = static_cast<int *>(temporaryAllocate(model, int64_t(data->m) + 2, 4));
  int *column = static_cast<int *>(temporaryAllocate(model, data->nz, 4));
  double *byRow = static_cast<double *>(temporaryAllocate(model, data->nz, 8));
  transposeMatrix(data->n, data->m, data->start, data->row, data->element, rowStart, column, byRow);
  transposeMatrix(data->m, data->n, rowStart, column, byRow, data->start, data->row, data->element);
  qrt_freeTemporary(model, byRow);
  qrt_freeTemporary(model, column);
  qrt_freeTemporary(model, rowStart);
}

namespace {

int longestName(const char *names, int64_t count, int length) {
  int longest = 0;
  for (int64_t k = 0; k < count; k++) {
    const char *name = names + k * length;
    int used = length;
    while (used > longest && name[used - 1] == ' ') used--;
    if (used > longest) longest = used;
  }
  return longest;
}

void installNames(MpsData *data) {
  QRTModel *model = data->model;
  const int L = data->reader.nameLength;
  const int kept = keptNameLength(data);
  setNameLength(model, kept);
  const int64_t stride = nameStride(model);
  char *rows = static_cast<char *>(guardedAllocateZero(data->m > 0 ? data->m : 1, stride));
  model->colnames = static_cast<char *>(guardedAllocateZero(data->n > 0 ? data->n : 1, stride));
  model->rownames = rows;
  for (int i = 0; i < data->m; i++) {
    const char *name = data->rowNames + int64_t(i) * L;
    int used = kept;
    while (used > 0 && name[used - 1] == ' ') used--;
    storeName(model, model->rownames + i * stride, name, used);
  }
  for (int j = 0; j < data->n; j++) {
    const char *name = data->columnNames + int64_t(j) * L;
    int used = kept;
    while (used > 0 && name[used - 1] == ' ') used--;
    storeName(model, model->colnames + j * stride, name, used);
  }
}

void installMatrix(MpsData *data) {
  if (data->n == 0) return;
  const size_t n = size_t(data->n), nz = size_t(data->nz);
  int *rows = static_cast<int *>(guardedAllocate(data->nz > 0 ? data->nz : 1, 4));
  qrt_makeTemporary(data->model, rows);  // owned by the chain until the block takes them
  int *starts = static_cast<int *>(guardedAllocate(int64_t(data->n) + 1, 4));
  qrt_makeTemporary(data->model, starts);
  double *elements = static_cast<double *>(guardedAllocate(data->nz > 0 ? data->nz : 1, 8));
  memcpy(starts, data->start, (n + 1) * 4);
  if (nz) memcpy(rows, data->row, nz * 4);
  if (nz) memcpy(elements, data->element, nz * 8);
  qrt_makePermanent(data->model, starts);
  qrt_makePermanent(data->model, rows);
  adoptColumnBlock(data->model, data->n, rows, starts, elements);
}

void installChanges(MpsData *data) {
  const double *lower = data->lowerChange, *upper = data->upperChange;
  installParametricData(data->model, data->costChange, lower, upper, lower ? lower + data->m : nullptr,
                        upper ? upper + data->m : nullptr);
}

void installControls(MpsData *data) {
  QRTModel *model = data->model;
  for (int set = SET_MODEL; set <= SET_BOUND; set++) {
    char text[81];
    int used = 80;
    memcpy(text, data->sets[set], 80);
    while (used > 0 && text[used - 1] == ' ') used--;
    text[used] = 0;
    storeCharacterControl(model, controlOfSet[set], text);
  }
  storeControlReal(model, CONTROL_RobjectiveOffset, data->offset);
  storeControlInteger(model, CONTROL_Imaxfactor, factorLimitFor(data->m));
}

bool hasIntegerData(const MpsData *data) { return data->nTyped > 0 || data->nGroups > 0; }

// Unit of the temporary integer information file of the import in progress.
int integerUnit = UNIT_INTEGERS;

void readerUnitsOff() {
  closeNamedUnit(UNIT_IMPORT);
  qrt_f_close(0, integerUnit);
}

int freeUnit() {
  int unit = UNIT_INTEGERS;
  while (unit < LAST_FREE_UNIT && qrtfindfile(unit)) unit++;
  return unit;
}

// The file by name, or the standard input. A failed open is told and is the call's result.
int importFile(QRTModel *model, const char *filename, bool freeFormat) {
  const bool standard = !filename || !*filename || strcmp(filename, "stdin") == 0;
  const int unit = standard ? UNIT_STDIN : UNIT_IMPORT;
  if (!standard && qrtopenbyname(filename, unit, 0) != 0) {
    qrtmesg_no_q1(MSG_CANNOT_OPEN, filename, -1);
    return FILE_NOT_OPENED;
  }
  qrt_push(model);
  MpsData data;
  startMpsData(&data, model);
  int rtcod = 0;
  qrtmpsf(&rtcod, &data, unit, freeFormat ? OPTION_ORDERED + OPTION_FREE : OPTION_ORDERED, integerUnit);
  if (rtcod == 0) {
    installMpsData(&data);
    if (hasIntegerData(&data)) qrtrdinf(model, &data.columnTable, integerUnit, true);
  }
  qrt_pop(model);
  return rtcod;
}

int importModel(QRTModel *model, const char *filename, bool freeFormat, const char *routine) {
  qrt_enter(model, routine, 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  integerUnit = freeUnit();
  QRT_JUMP_FRAME(model, (readerUnitsOff(), qrt_disaster(model)));
  const int result = importFile(model, filename, freeFormat);
  readerUnitsOff();
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}

}  // namespace

void startMpsData(MpsData *data, QRTModel *model) {
  memset(static_cast<void *>(data), 0, sizeof *data);
  data->model = model;
  for (int set = 0; set < SET_COUNT; set++) {
    memcpy(data->sets[set], qrtconv.values[controlOfSet[set]], 80);
    data->asked[set] = !isBlank(data->sets[set], 80);
  }
  data->offset = qrtlplp.RobjectiveOffset;
}

int keptNameLength(const MpsData *data) {
  const int L = data->reader.nameLength;
  if (data->reader.format != FORMAT_FREE) return L;
  const int ofRows = longestName(data->rowNames, data->m, L);
  const int ofColumns = longestName(data->columnNames, data->n, L);
  const int longest = ofRows > ofColumns ? ofRows : ofColumns;
  return longest > 0 ? longest : 8;
}

void qrtmpsf(int *rtcod, MpsData *data, int unit, int option, int intunit) {
  const int form = option & ~OPTION_FREE;
  if (form != OPTION_MERGE && form != OPTION_ORDERED) {
    messageI(1, OPTION_PARAMETER);
    messageI(2, form);
    messageI(3, OPTION_MERGE);
    messageI(4, OPTION_ORDERED);
    qrtmesg_no(MSG_BAD_PARAMETER);
    *rtcod = 31;
    return;
  }
  qrtckun(rtcod, unit, 4, "QRTMPS");
  if (*rtcod == 0) qrtopen(unit, 1, rtcod);
  if (*rtcod != 0) return;
  data->integerUnit = intunit;
  startCards(&data->reader, unit, nameLength(data->model), (option & OPTION_FREE) != 0);
  data->reader.dropBelow = qrtlplp.Rtolmps;
  data->reader.wantedName = data->sets[SET_MODEL];
  const int failure = readSections(data, form);
  if (failure != READ_OK) {
    *rtcod = tellFailure(data, failure);
    return;
  }
  qrtibnd(data);
  reportModel(data);
#ifdef QRT_SELF_CHECKS
  if (mpsData_check(data)) __builtin_trap();
#endif
}

void installMpsData(MpsData *data) {
  QRTModel *model = data->model;
  sortMpsColumns(data);
  if (model->factor) qrt_eraseFactor(model);
  clearModelData(model);
  resizeRims(model, data->m, data->n, data->m, data->n, 1);
  const size_t rows = size_t(data->m) * 8, columns = size_t(data->n) * 8;
  const int at = model->Imaxrows;
  if (rows) memcpy(model->lower, data->rowLower, rows);
  if (rows) memcpy(model->upper, data->rowUpper, rows);
  if (columns) memcpy(model->lower + at, data->columnLower, columns);
  if (columns) memcpy(model->upper + at, data->columnUpper, columns);
  if (columns) memcpy(model->objective + at, data->cost, columns);
  installNames(data);
  installMatrix(data);
  installChanges(data);
  installControls(data);
}

extern "C" int qrt_importModel(QRTModel *model, const char *filename) {
  return importModel(model, filename, false, "qrt_importModel");
}

extern "C" int qrt_importModelFree(QRTModel *model, const char *filename) {
  return importModel(model, filename, true, "qrt_importModelFree");
}

const char *mpsData_check(const MpsData *data) {
  if (data->m < 0 || data->n < 0 || data->nz < 0) return "a count is negative";
  if (data->start[0] != 0 || data->start[data->n] != data->nz) return "the column starts do not span the elements";
  for (int j = 0; j < data->n; j++) {
    if (data->start[j + 1] < data->start[j]) return "the column starts go down";
    if (data->columnSet[j] < 0 || data->columnSet[j] > data->nSets) return "a column is in no set";
    if (std::isnan(data->columnLower[j]) || std::isnan(data->columnUpper[j])) return "a column bound is no number";
  }
  for (int64_t k = 0; k < data->nz; k++) {
    if (data->row[k] < 0 || data->row[k] >= data->m) return "an element lies outside the rows";
    if (!std::isfinite(data->element[k])) return "an element is not finite";
  }
  for (int i = 0; i < data->m; i++)
    if (std::isnan(data->rowLower[i]) || std::isnan(data->rowUpper[i])) return "a row bound is no number";
  return nullptr;
}
