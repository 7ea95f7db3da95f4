// Status words: what they say about a row or column, and setting basic and nonbasic states.
#include <climits>
#include <cstdint>

#include "frame/entry_frame.h"
#include "model/model_store.h"

namespace {

constexpr uint32_t KEEP_MASK = 0x1fffffffu;  // all but the basic bit and the side
constexpr int STATUS_FAILED = 99;

enum Side { ROWS, COLUMNS };

int sizeOf(const QRTModel *model, Side side) { return side == ROWS ? model->Inumrows : model->Inumcols; }
int placeOf(const QRTModel *model, Side side, int k) { return side == ROWS ? k : model->Imaxrows + k; }

int meaning(uint32_t word) {
  if (word & STATUS_BASIC) return 0;
  switch (word & STATUS_SIDE_MASK) {
    case STATUS_AT_LOWER: return -1;
    case STATUS_AT_UPPER: return 1;
    case STATUS_FREE: return 2;
    default: return -2;
  }
}

int basisPosition(uint32_t word) {
  if (!(word & STATUS_BASIC)) return -1;
  const int position = int(word & STATUS_POSITION_MASK);
  return position == 0 ? -2 : position - 1;
}

// Runs an action over a list of numbers; those out of range are skipped and make the result 1, as does a refusal.
template <class Action> int forListed(QRTModel *model, Side side, int n, const int *which, Action action) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  int result = 0;
  for (int k = 0; k < n; k++) {
    const bool inside = which[k] >= 0 && which[k] < sizeOf(model, side);
    if (!inside || !action(placeOf(model, side, which[k]), k)) result = 1;
  }
  return result;
}

int markBasic(QRTModel *model, Side side, int n, const int *which) {
  return forListed(model, side, n, which, [model](int at, int) {
    model->status[at] = int(uint32_t(model->status[at]) | STATUS_BASIC);
    return true;
  });
}

// At the bound asked for when it is finite; at zero when only the other one is; free variables are refused.
int setNonbasic(QRTModel *model, Side side, int n, const int *which, bool atLower) {
  return forListed(model, side, n, which, [model, atLower](int at, int) {
    const bool hasLower = model->lower[at] > -QRT_INFINITE_TEST, hasUpper = model->upper[at] < QRT_INFINITE_TEST;
    if (!hasLower && !hasUpper) return false;
    uint32_t state = STATUS_FREE;
    double value = 0.0;
    if (atLower ? hasLower : hasUpper) {
      state = atLower ? STATUS_AT_LOWER : STATUS_AT_UPPER;
      value = atLower ? model->lower[at] : model->upper[at];
    }
    model->solution[at] = value;
    model->status[at] = int((uint32_t(model->status[at]) & KEEP_MASK) | state);
    return true;
  });
}

int storeWords(QRTModel *model, Side side, int n, const int *which, const int *words) {
  return forListed(model, side, n, which, [model, words](int at, int k) {
    model->status[at] = words[k];
    return true;
  });
}

int countBasic(const QRTModel *model, Side side) {
  int n = 0;
  for (int k = 0; k < sizeOf(model, side); k++)
    n += (uint32_t(model->status[placeOf(model, side, k)]) & STATUS_BASIC) != 0;
  return n;
}

}  // namespace

#define STATUS_ENTRY(name, result, failure)              \
  extern "C" int name {                                  \
    qrt_enter(model, __func__, 0);                       \
    QRT_JUMP_FRAME(model, (qrt_disaster(model), failure)); \
    const int answer = result;                           \
    QRT_END_FRAME();                                     \
    qrt_leave(model);                                    \
    return answer;                                       \
  }

// Readers of one word: no frame while the number is in range.
#define STATUS_READER(name, side, answer)                                         \
  extern "C" int name(QRTModel *model, int number) {                              \
    qrt_enterLeave(model, #name);                                                 \
    if (number >= 0 && number < sizeOf(model, side))                              \
      return answer(uint32_t(model->status[placeOf(model, side, number)]));       \
    qrt_enter(model, #name, 0);                                                   \
    QRT_JUMP_FRAME(model, (qrt_disaster(model), STATUS_FAILED));                  \
    qrt_checkParameter(model, 2, number, 0, sizeOf(model, side) - 1);             \
    QRT_END_FRAME();                                                              \
    qrt_leave(model);                                                             \
    return STATUS_FAILED;                                                         \
  }
STATUS_READER(qrt_rowStatus, ROWS, meaning)
STATUS_READER(qrt_columnStatus, COLUMNS, meaning)
STATUS_READER(qrt_isRowBasic, ROWS, basisPosition)
STATUS_READER(qrt_isColumnBasic, COLUMNS, basisPosition)

STATUS_ENTRY(qrt_markRowsAsBasic(QRTModel *model, int n, const int *which), markBasic(model, ROWS, n, which), 999)
STATUS_ENTRY(qrt_markColumnsAsBasic(QRTModel *model, int n, const int *which), markBasic(model, COLUMNS, n, which), 999)
STATUS_ENTRY(qrt_setRowsNonBasicAtLower(QRTModel *model, int n, const int *which),
             setNonbasic(model, ROWS, n, which, true), 999)
STATUS_ENTRY(qrt_setRowsNonBasicAtUpper(QRTModel *model, int n, const int *which),
             setNonbasic(model, ROWS, n, which, false), 999)
STATUS_ENTRY(qrt_setColumnsNonBasicAtLower(QRTModel *model, int n, const int *which),
             setNonbasic(model, COLUMNS, n, which, true), 999)
STATUS_ENTRY(qrt_setColumnsNonBasicAtUpper(QRTModel *model, int n, const int *which),
             setNonbasic(model, COLUMNS, n, which, false), 999)
STATUS_ENTRY(qrt_setRowStatus(QRTModel *model, int n, const int *which, const int *status),
             storeWords(model, ROWS, n, which, status), 999)
STATUS_ENTRY(qrt_setColumnStatus(QRTModel *model, int n, const int *which, const int *status),
             storeWords(model, COLUMNS, n, which, status), 999)
STATUS_ENTRY(qrt_getNumberBasicRows(QRTModel *model), countBasic(model, ROWS), 999)
STATUS_ENTRY(qrt_getNumberBasicColumns(QRTModel *model), countBasic(model, COLUMNS), 999)
