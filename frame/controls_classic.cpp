// Control variables as the classic interface moves them: lists of integers, reals and texts, and the list of where the
// arrays of the model stand in DSPACE. Values are read from and stored to the live records.
#include "frame/controls_classic.h"

#include <cstring>

#include "frame/controls.h"
#include "frame/dspace.h"
#include "frame/messages.h"

namespace {

enum : int { MSG_BAD_PARAMETER = 149, MSG_NOT_FETCHED = 164, MSG_TEXT_CHANGED = 549 };
constexpr int INTEGER_LIST = 71, REAL_LIST = 45, POSITION_LIST = 69, TEXT_LIST = 17;
constexpr int LENGTH_PARAMETER = 4;
constexpr int BAD_LENGTH_CODE = 31, NOT_FETCHED_CODE = 33;
constexpr int NEW_PAGE_LINES = 2147483547;  // more than any page has: the next message begins one

// Bits of qrterr.fetchedLists.
enum : int { FETCHED_INTEGERS = 1, FETCHED_REALS = 2, FETCHED_POSITIONS = 4, FETCHED_TEXTS = 8 };

// Where the classic rule of an integer differs from that of the object interface.
const struct {
  int row;
  int32_t low, high;
  ControlAccess access;
} classicRules[] = {
    {CONTROL_Imsgunit, 1, 109, ACCESS_RW},
    {CONTROL_Imaxfactor, 0, 999, ACCESS_RW},
    {CONTROL_Idensecol, 10, INT32_MAX, ACCESS_RW},
    {CONTROL_Inumblocks, 0, INT32_MAX, ACCESS_RW},
    {CONTROL_Inumpinf, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Inumdinf, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Inumnodes, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Inumsols, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Inumunsat, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Iprobstat, -1, 6, ACCESS_READ},
    {CONTROL_Istrategy, 0, INT32_MAX, ACCESS_RW},  // the whole word, Ifastinteger in its high half
    {CONTROL_Iiterbnum, 0, INT32_MAX, ACCESS_READ},
    {CONTROL_Inumcpu, -3, INT32_MAX, ACCESS_RW},
};

struct Rule {
  int32_t low, high, quotedLow, quotedHigh;
  ControlAccess access;
};

// The rule in force now, which for some variables depends on others.
Rule ruleOf(int row, int old) {
  const IntegerControl &control = integerControls[row];
  Rule rule = {control.low, control.high, control.quotedLow, control.quotedHigh, control.access};
  for (const auto &own : classicRules)
    if (own.row == row) rule = {own.low, own.high, own.low, own.high, own.access};
  const bool hasArrays = qrtaddr.lower != nullptr;
  bool fixed = false;
  switch (row) {
    // A model's arrays cannot move within DSPACE, so its capacity stays while they are there.
    case CONTROL_Imaxrows: rule.low = rule.quotedLow = qrtlplp.Inumrows; fixed = hasArrays; break;
    case CONTROL_Imaxcols: rule.low = rule.quotedLow = qrtlplp.Inumcols; fixed = hasArrays; break;
    case CONTROL_Inumrows: rule.high = rule.quotedHigh = qrtlplp.Imaxrows; break;
    case CONTROL_Inumcols: rule.high = rule.quotedHigh = qrtlplp.Imaxcols; break;
    case CONTROL_Inumblocks: rule.high = rule.quotedHigh = old; break;  // none beyond those that are there
    case CONTROL_Inumchar: fixed = qrtaddr.rownames || qrtaddr.colnames; break;
    case CONTROL_Imaxints: fixed = old != 0; break;
    case CONTROL_Imaxsets:
    case CONTROL_Imaxintinfo: fixed = old != 0 || qrtint.Imaxints != 0; break;
    default: break;
  }
  if (fixed) rule.low = rule.high = rule.quotedLow = rule.quotedHigh = old;
  return rule;
}

// Home of an integer. The sizes, which a QRTModel keeps itself, have fields in the records too.
int32_t *homeOf(int row) {
  switch (row) {
    case CONTROL_Imaxrows: return &qrtlplp.Imaxrows;
    case CONTROL_Imaxcols: return &qrtlplp.Imaxcols;
    case CONTROL_Inumchar: return &qrtlplp.Inumchar;
    case CONTROL_Inumblocks: return &qrtlplp.Inumblocks;
    case CONTROL_Inumrows: return &qrtlplp.Inumrows;
    case CONTROL_Inumcols: return &qrtlplp.Inumcols;
    case CONTROL_Inumints: return &qrtint.Inumints;
    case CONTROL_Inumsets: return &qrtint.Inumsets;
    default: return integerControls[row].live;
  }
}

// Row of the table at a position from 1. Position 8 is that of two rows, of which the later is the classic one.
int integerRow(int position) {
  for (int row = INTEGER_CONTROLS - 1; row > 0; --row)
    if (integerControls[row].position == position) return row;
  return 0;
}

int realRow(int position) {
  for (int row = 0; row < REAL_CONTROLS; ++row)
    if (realControls[row].position == position) return row;
  return 0;
}

int integerAt(int position) {
  const int row = integerRow(position);
  const int32_t *home = homeOf(row);
  return home ? *home : integerControls[row].initial;
}

// Position 4 shows a barrier parameter, but what is set there goes to the objective's offset.
bool isOffset(int position) { return realRow(position) == CONTROL_RobjectiveOffset; }

double realAt(int position) { return isOffset(position) ? qrtbcom.Rbar4 : *realControls[realRow(position)].live; }

// Entries to move, or -1 after a message for a negative length.
int entriesToMove(int *rtcod, int len, int list, const char *routine) {
  *rtcod = 0;
  if (len >= 0) return len < list ? len : list;
  *rtcod = BAD_LENGTH_CODE;
  messageC(1, routine);
  messageI(1, LENGTH_PARAMETER);
  messageI(2, len);
  messageI(3, 0);
  messageI(4, INT32_MAX);
  qrtmesg_no(MSG_BAD_PARAMETER);
  return -1;
}

int entriesToSet(int *rtcod, int len, int list, int bit, const char *routine) {
  const int n = entriesToMove(rtcod, len, list, routine);
  if (n < 0 || (qrterr.fetchedLists & bit)) return n;
  *rtcod = NOT_FETCHED_CODE;
  qrtmesg_no(MSG_NOT_FETCHED);
  return -1;
}

// The first negative result of a set is the call's code.
void keepFirstRefusal(int *rtcod, int result) {
  if (result < 0 && *rtcod == 0) *rtcod = result;
}

int setInteger(int position, int value, int old) {
  const int row = integerRow(position);
  const Rule rule = ruleOf(row, old);
  if (rule.access == ACCESS_READ) return refuseReadOnly(row);
  if (row == CONTROL_Ivector && value == 1) return refuseVector();
  if (value < rule.low || value > rule.high || !controlTakesUnit(row, value))
    return refuseInteger(false, row, value, old, rule.quotedLow, rule.quotedHigh);
  *homeOf(row) = value;
  if (row == CONTROL_Imsgunit) {
    qrterr.lineCount = NEW_PAGE_LINES;
    qrterr.pageNumber = 1;
  }
  if (qrterr.classicDepth == 1) announceInteger(false, row, old, value);
  return 0;
}

void setReal(int position, double value) {
  const int row = realRow(position);
  const double old = *realControls[row].live;
  if (row == CONTROL_Rmaxmin) value = signOnly(value);
  if (!realInRange(row, value)) {
    refuseReal(false, row, value, old);
    return;
  }
  *realControls[row].live = value;
  if (qrterr.classicDepth == 1) announceReal(false, row, old, value);
}

// The last element block, whose three arrays have positions, or null.
const ElementBlock *lastBlock() {
  return qrtaddr.blocks && qrtlplp.Inumblocks > 0 ? &qrtaddr.blocks[qrtlplp.Inumblocks - 1] : nullptr;
}

void positionsInDspace(const void *dspace, int positions[POSITION_LIST]) {
  memset(positions, 0, POSITION_LIST * sizeof(int));
  const int firstColumn = qrtlplp.Imaxrows + 1;
  // From a vector that is addressed from 1, rows before columns.
  const auto part = [dspace](const auto *vector, int first) {
    return vector ? qrttoin(dspace, vector + first, int(sizeof *vector)) : 0;
  };
  const auto at = [positions](int position, int value) { positions[position - 1] = value; };
  at(1, part(qrtaddr.lower, 1));
  at(2, part(qrtaddr.solution, 1));
  at(3, part(qrtaddr.upper, 1));
  at(4, part(qrtaddr.dual, 1));
  at(5, part(qrtaddr.status, 1));
  at(6, part(qrtaddr.lower, firstColumn));
  at(7, part(qrtaddr.solution, firstColumn));
  at(8, part(qrtaddr.upper, firstColumn));
  at(9, part(qrtaddr.dual, firstColumn));
  at(10, part(qrtaddr.status, firstColumn));
  at(11, part(qrtaddr.objective, firstColumn));
  const char *rowNames = qrtaddr.rownames ? qrtaddr.rownames + qrtlplp.Inumchar : nullptr;
  const char *columnNames = qrtaddr.colnames ? qrtaddr.colnames + qrtlplp.Inumchar : nullptr;
  at(12, qrttoin(dspace, rowNames, 8));
  at(13, qrttoin(dspace, columnNames, 8));
  at(14, part(qrtaddr.scales, 1));
  at(15, part(qrtaddr.scales, firstColumn));
  at(16, qrttoin(dspace, qrtaddr.presolveInfo, 8));
  at(23, qrttoin(dspace, qrtaddr.arena[ARENA_USABLE], 8));
  if (qrtaddr.arena[ARENA_HIGH]) at(24, qrttoin(dspace, qrtaddr.arena[ARENA_HIGH] - 1, 8));
  if (const ElementBlock *block = lastBlock()) {
    at(25, qrttoin(dspace, block->rows, 4));
    at(26, qrttoin(dspace, block->columns, 4));
    at(27, qrttoin(dspace, block->elements, 8));
  }
  at(29, part(qrtaddr.aux, 1));
  at(30, part(qrtaddr.aux, firstColumn));
}

}  // namespace

void qrtigetf(int *rtcod, void *, int *array, const int *len) {
  const int n = entriesToMove(rtcod, *len, INTEGER_LIST, "QRTIGET");
  for (int p = 1; p <= n; ++p) array[p - 1] = integerAt(p);
  if (n >= 0) qrterr.fetchedLists |= FETCHED_INTEGERS;
}

void qrtisetf(int *rtcod, void *, const int *array, const int *len) {
  const int n = entriesToSet(rtcod, *len, INTEGER_LIST, FETCHED_INTEGERS, "QRTISET");
  int before[INTEGER_LIST];
  for (int p = 1; p <= n; ++p) before[p - 1] = integerAt(p);
  for (int p = 1; p <= n; ++p)
    if (array[p - 1] != before[p - 1]) keepFirstRefusal(rtcod, setInteger(p, array[p - 1], before[p - 1]));
}

void qrtrgetf(int *rtcod, void *, double *array, const int *len) {
  const int n = entriesToMove(rtcod, *len, REAL_LIST, "QRTRGET");
  for (int p = 1; p <= n; ++p) array[p - 1] = realAt(p);
  if (n >= 0) qrterr.fetchedLists |= FETCHED_REALS;
}

void qrtrsetf(int *rtcod, void *, const double *array, const int *len) {
  const int n = entriesToSet(rtcod, *len, REAL_LIST, FETCHED_REALS, "QRTRSET");
  for (int p = 1; p <= n; ++p)
    if (array[p - 1] != realAt(p)) setReal(p, array[p - 1]);
}

void qrtngetf(int *rtcod, void *dspace, int *array, const int *len) {
  const int n = entriesToMove(rtcod, *len, POSITION_LIST, "QRTNGET");
  if (n < 0) return;
  int positions[POSITION_LIST];
  positionsInDspace(dspace, positions);
  memcpy(array, positions, size_t(n) * sizeof(int));
  qrterr.fetchedLists |= FETCHED_POSITIONS;
}

void qrtcgetf(int *rtcod, void *, char *array, const int *len) {
  const int n = entriesToMove(rtcod, *len, TEXT_LIST, "QRTCGET");
  if (n < 0) return;
  memcpy(array, qrtconv.values, size_t(n) * CHARACTER_WIDTH);
  qrterr.fetchedLists |= FETCHED_TEXTS;
}

void qrtcsetf(int *rtcod, void *, const char *array, const int *len) {
  const int n = entriesToSet(rtcod, *len, TEXT_LIST, FETCHED_TEXTS, "QRTCSET");
  for (int k = 0; k < n; ++k) {
    const char *value = array + size_t(k) * CHARACTER_WIDTH;
    char *home = qrtconv.values[k];
    if (memcmp(value, home, CHARACTER_WIDTH) == 0) continue;
    messageC(1, home, CHARACTER_WIDTH);
    memcpy(home, value, CHARACTER_WIDTH);
    messageC(2, home, CHARACTER_WIDTH);
    char position[12];
    snprintf(position, sizeof position, "%d", k + 1);
    messageC(3, position);
    if (qrterr.classicDepth == 1) qrtmesg_no(MSG_TEXT_CHANGED);
  }
}
