// Setting control variables: range checks, the messages of refusals and changes, and the rules of the few that are
// not plain values.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/work_image.h"

namespace {

enum : int {
  MSG_INT_CHANGED = 159, MSG_INT_CHANGED_NAMED = 492,
  MSG_INT_RANGE = 160, MSG_INT_RANGE_NAMED = 493, MSG_INT_THREE_RANGES = 174, MSG_INT_REFUSED = 291,
  MSG_REAL_CHANGED = 161, MSG_REAL_CHANGED_NAMED = 497,
  MSG_REAL_RANGE = 162, MSG_REAL_RANGE_NAMED = 498, MSG_REAL_REFUSED = 292,
  MSG_READ_ONLY = 293, MSG_IGNORED = 564, MSG_NO_VECTOR_HARDWARE = 520, MSG_TEXT_CHANGED = 549
};

bool namesControls(const QRTModel *model) { return (model->modelFlags & MODEL_NAMED_CONTROLS) != 0; }

// C03 takes the variable's name, its first letter in lower case.
void nameControl(const char *name) {
  char text[64];
  snprintf(text, sizeof text, "%s", name);
  if (text[0] >= 'A' && text[0] <= 'Z') text[0] = char(text[0] - 'A' + 'a');
  messageC(3, text);
}

// The three ranges of a unit number.
void messageThreeRanges(int first, int last) {
  const int limits[] = {first, 1, 3, 4, 6, last};
  const int slots[] = {1, 2, 4, 5, 6, 7};  // @I03 is the position
  for (int k = 0; k < 6; ++k) messageI(slots[k], limits[k]);
}

bool isUnit(int unit, int first, int last) {
  return unit == first || unit == 1 || unit == 3 || unit == 4 || (unit >= 6 && unit <= last);
}

// The range in force now, which for some variables depends on the model.
void rangeInForce(const QRTModel *model, int row, int old, int *low, int *high) {
  const QrtInt &room = imageOf(model)->integer;
  bool fixed = false;
  switch (row) {
    case CONTROL_Imaxrows: *low = model->Inumrows; break;
    case CONTROL_Imaxcols: *low = model->Inumcols; break;
    case CONTROL_Inumchar: fixed = model->rownames || model->colnames; break;
    case CONTROL_Imaxints: fixed = old != 0; break;
    case CONTROL_Imaxsets:
    case CONTROL_Imaxintinfo: fixed = old != 0 || room.Imaxints != 0; break;
    default: break;
  }
  if (fixed) *low = *high = old;
}

void storeInteger(QRTModel *model, int row, int value) {
  switch (row) {
    case CONTROL_Imaxrows: qrt_resizeModelExact(model, -1, -1, value, model->Imaxcols, 1); return;
    case CONTROL_Imaxcols: qrt_resizeModelExact(model, -1, -1, model->Imaxrows, value, 1); return;
    case CONTROL_Inumrows: qrt_resizeModelExact(model, value, -1, model->Imaxrows, model->Imaxcols, 0); return;
    case CONTROL_Inumcols: qrt_resizeModelExact(model, -1, value, model->Imaxrows, model->Imaxcols, 0); return;
    case CONTROL_Istrategy: storeControlInteger(model, row, (qrtint.Istrategy & ~0xffff) | value); return;
    default: storeControlInteger(model, row, value);
  }
}

}  // namespace

bool controlTakesUnit(int row, int value) {
  if (row == CONTROL_Iordunit) return isUnit(value, -1, 99);
  if (row == CONTROL_Imsgunit) return isUnit(value, 1, 109);
  return true;
}

int refuseInteger(bool named, int row, int value, int old, int low, int high) {
  const IntegerControl &control = integerControls[row];
  messageI(1, low);
  messageI(2, high);
  messageI(3, control.position);
  nameControl(control.name);
  if (row == CONTROL_Iordunit || row == CONTROL_Imsgunit) {
    messageThreeRanges(row == CONTROL_Iordunit ? -1 : 1, row == CONTROL_Iordunit ? 99 : 109);
    qrtmesg_no(MSG_INT_THREE_RANGES);
  } else {
    qrtmesg_no(named ? MSG_INT_RANGE_NAMED : MSG_INT_RANGE);
  }
  qrtmesg_no_i2(MSG_INT_REFUSED, old, value);
  return 1;
}

int refuseReadOnly(int row) {
  qrtmesg_no_i1(MSG_READ_ONLY, integerControls[row].position);
  return -integerControls[row].position;
}

int refuseVector() {
  qrtmesg_no(MSG_NO_VECTOR_HARDWARE);
  return 0;
}

void announceInteger(bool named, int row, int old, int value) {
  messageI(1, integerControls[row].position);
  messageI(2, old);
  messageI(3, value);
  nameControl(integerControls[row].name);
  qrtmesg_no(named ? MSG_INT_CHANGED_NAMED : MSG_INT_CHANGED);
}

bool realInRange(int row, double value) {
  const RealControl &control = realControls[row];
  const bool belowHigh = control.high >= REAL_ANY || value <= control.high;
  const bool aboveLow = control.low <= -REAL_ANY || value >= control.low;
  return belowHigh && aboveLow && value == value;
}

int refuseReal(bool named, int row, double value, double old) {
  const RealControl &control = realControls[row];
  messageI(1, control.position);
  nameControl(control.name);
  messageD(1, control.quotedLow);
  messageD(2, control.quotedHigh);
  qrtmesg_no(named ? MSG_REAL_RANGE_NAMED : MSG_REAL_RANGE);
  qrtmesg_no_d2(MSG_REAL_REFUSED, old, value);
  return 1;
}

void announceReal(bool named, int row, double old, double value) {
  messageI(1, realControls[row].position);
  nameControl(realControls[row].name);
  messageD(1, old);
  messageD(2, value);
  qrtmesg_no(named ? MSG_REAL_CHANGED_NAMED : MSG_REAL_CHANGED);
}

int qrt_Iset(QRTModel *model, int value, int old, int row, int announce) {
  const IntegerControl &control = integerControls[row];
  if (control.access == ACCESS_READ) return refuseReadOnly(row);
  if (control.access == ACCESS_IGNORED) {
    if (row != CONTROL_Inumcpu && model->entryDepth == 1) qrtmesg_no_i1(MSG_IGNORED, control.position);
    return 0;
  }
  if (row == CONTROL_Ivector && value == 1) return refuseVector();
  int low = control.low, high = control.high;
  rangeInForce(model, row, old, &low, &high);
  if (value < low || value > high || !controlTakesUnit(row, value)) {
    const bool plain = low == control.low && high == control.high;
    return refuseInteger(namesControls(model), row, value, old, plain ? control.quotedLow : low,
                         plain ? control.quotedHigh : high);
  }
  storeInteger(model, row, value);
  if (announce && model->entryDepth == 1) announceInteger(namesControls(model), row, old, value);
  return 0;
}

int qrt_Rset(QRTModel *model, double value, double old, int row, int announce) {
  if (row == CONTROL_Rmaxmin) value = signOnly(value);
  if (!realInRange(row, value)) return refuseReal(namesControls(model), row, value, old);
  storeControlReal(model, row, value);
  if (announce && model->entryDepth == 1) announceReal(namesControls(model), row, old, value);
  return 0;
}

namespace {

const char *const characterNames[6] = {"Cname", "Cobjective", "Crhs", "Crange", "Cbound", "Cbasis"};

int setInteger(QRTModel *model, int row, const char *routine, int value) {
  qrt_enter(model, routine, 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  const int old = controlInteger(model, row);
  const int result = value == old ? 0 : qrt_Iset(model, value, old, row, 1);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}

int setReal(QRTModel *model, int row, const char *routine, double value) {
  qrt_enter(model, routine, 0);
  const double old = controlReal(model, row);
  const int result = value == old ? 0 : qrt_Rset(model, value, old, row, 1);
  qrt_leave(model);
  return result;
}

int integerRowOfPosition(int position) {
  for (int row = 0; row < INTEGER_CONTROLS; ++row)
    if (integerControls[row].position == position) return row;
  return 0;
}

int realRowOfPosition(int position) {
  for (int row = 0; row < REAL_CONTROLS; ++row)
    if (realControls[row].position == position) return row;
  return 0;
}

int setCharacter(QRTModel *model, int k, const char *routine, const char *value) {
  qrt_enter(model, routine, 0);
  if (!value) value = "";
  const char *old = model->characterControls[k] ? model->characterControls[k] : "";
  if (strcmp(old, value) != 0) {
    messageC(1, old);
    storeCharacterControl(model, k, value);
    messageC(2, model->characterControls[k]);
    nameControl(characterNames[k]);
    if (model->entryDepth == 1) qrtmesg_no(MSG_TEXT_CHANGED);
  }
  qrt_leave(model);
  return 0;
}

const char *getCharacter(QRTModel *model, int k, const char *routine) {
  qrt_enterLeave(model, routine);
  return model->characterControls[k] ? model->characterControls[k] : "";
}

constexpr int LAST_INTEGER_INDEX = 69, LAST_REAL_INDEX = 46, LAST_CHARACTER_INDEX = 5;

// Setting by index uses the numbered messages: the flag is off while it runs.
uint32_t withoutNames(QRTModel *model) {
  const uint32_t flags = model->modelFlags;
  model->modelFlags &= ~uint32_t(MODEL_NAMED_CONTROLS);
  return flags & MODEL_NAMED_CONTROLS;
}

// Index check of the accessors by index; false after a message that let the call go on.
bool indexAccepted(QRTModel *model, const char *routine, int parameter, int index, int last) {
  if (index >= 0 && index <= last) return true;
  qrt_enter(model, routine, 1);
  QRT_JUMP_FRAME(model, false);
  qrt_checkParameter(model, parameter, index, 0, last);
  QRT_END_FRAME();
  qrt_leave(model);
  return false;
}

}  // namespace

int qrt_getI(QRTModel *model, int index) {
  qrt_enterLeave(model, "qrt_getI");
  if (!indexAccepted(model, "qrt_getI", 2, index, LAST_INTEGER_INDEX)) return 999;
  if (index + 1 == integerControls[CONTROL_Inumints].position) return qrt_getInumints(model);
  return controlInteger(model, integerRowOfPosition(index + 1));
}

int qrt_setI(QRTModel *model, int value, int index) {
  qrt_enterLeave(model, "qrt_setI");
  if (!indexAccepted(model, "qrt_setI", 3, index, LAST_INTEGER_INDEX)) return 999;
  const uint32_t names = withoutNames(model);
  const int result = setInteger(model, integerRowOfPosition(index + 1), "qrt_setI", value);
  model->modelFlags |= names;
  return result;
}

double qrt_getR(QRTModel *model, int index) {
  qrt_enterLeave(model, "qrt_getR");
  if (!indexAccepted(model, "qrt_getR", 2, index, LAST_REAL_INDEX)) return 999;
  return controlReal(model, realRowOfPosition(index + 1));
}

int qrt_setR(QRTModel *model, double value, int index) {
  qrt_enterLeave(model, "qrt_setR");
  if (!indexAccepted(model, "qrt_setR", 3, index, LAST_REAL_INDEX)) return 999;
  const uint32_t names = withoutNames(model);
  const int result = setReal(model, realRowOfPosition(index + 1), "qrt_setR", value);
  model->modelFlags |= names;
  return result;
}

const char *qrt_getC(QRTModel *model, int index) {
  qrt_enterLeave(model, "qrt_getC");
  if (!indexAccepted(model, "qrt_getC", 2, index, LAST_CHARACTER_INDEX)) return nullptr;
  return getCharacter(model, index, "qrt_getC");
}

int qrt_setC(QRTModel *model, const char *value, int index) {
  qrt_enterLeave(model, "qrt_setC");
  if (!indexAccepted(model, "qrt_setC", 3, index, LAST_CHARACTER_INDEX)) return 999;
  return setCharacter(model, index, "qrt_setC", value);
}

#define CHARACTER_ACCESSORS(k, name)                                                               \
  const char *qrt_get##name(QRTModel *model) { return getCharacter(model, k, "qrt_get" #name); }   \
  int qrt_set##name(QRTModel *model, const char *value) { return setCharacter(model, k, "qrt_set" #name, value); }
CHARACTER_ACCESSORS(0, Cname)
CHARACTER_ACCESSORS(1, Cobjective)
CHARACTER_ACCESSORS(2, Crhs)
CHARACTER_ACCESSORS(3, Crange)
CHARACTER_ACCESSORS(4, Cbound)
CHARACTER_ACCESSORS(5, Cbasis)

int qrt_setMinimize(QRTModel *model) { return setReal(model, CONTROL_Rmaxmin, "qrt_setRmaxmin", 1.0); }
int qrt_setMaximize(QRTModel *model) { return setReal(model, CONTROL_Rmaxmin, "qrt_setRmaxmin", -1.0); }

int qrt_activateCutoff(QRTModel *model) {
  qrt_enter(model, "qrt_activateCutoff", 0);
  qrtint.useCutoff = imageOf(model)->integer.useCutoff = 1;
  qrt_leave(model);
  return 0;
}

int qrt_deactivateCutoff(QRTModel *model) {
  qrt_enter(model, "qrt_deactivateCutoff", 0);
  qrtint.useCutoff = imageOf(model)->integer.useCutoff = 0;
  qrt_leave(model);
  return 0;
}

// The high half of the strategy word, without a range test.
int qrt_getIfastinteger(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getIfastinteger");
  return int(uint32_t(imageOf(model)->integer.Istrategy) >> 16);
}

int qrt_setIfastinteger(QRTModel *model, int value) {
  qrt_enter(model, "qrt_setIfastinteger", 0);
  const uint32_t word = (uint32_t(value) << 16) | (uint32_t(qrtint.Istrategy) & 0xffffu);
  storeControlInteger(model, CONTROL_Istrategy, int(word));
  qrt_leave(model);
  return 0;
}

int qrt_getInumquadraticblocks(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getInumquadraticblocks");
  return model->Inumquadraticblocks;
}

// Integer columns, counted when the cached number is unknown.
int qrt_getInumints(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getInumints");
  if (model->Inumints < 0) model->Inumints = countIntegerColumns(model);
  return model->Inumints;
}

int qrt_setInumints(QRTModel *model, int value) { return setInteger(model, CONTROL_Inumints, "qrt_setInumints", value); }

// The accessors of every other variable, from the table.
#define INTEGER(position, name, ...)                                                                     \
  int qrt_get##name(QRTModel *model) {                                                                   \
    qrt_enterLeave(model, "qrt_get" #name);                                                              \
    return controlInteger(model, CONTROL_##name);                                                        \
  }                                                                                                      \
  int qrt_set##name(QRTModel *model, int value) { return setInteger(model, CONTROL_##name, "qrt_set" #name, value); }
#define READER(position, name, ...)                                                                      \
  int qrt_get##name(QRTModel *model) {                                                                   \
    qrt_enterLeave(model, "qrt_get" #name);                                                              \
    return controlInteger(model, CONTROL_##name);                                                        \
  }
#define HIDDEN_INTEGER(...)
#define COUNTED_INTEGER(...)
#define REAL(position, name, ...)                                                                        \
  double qrt_get##name(QRTModel *model) {                                                                \
    qrt_enterLeave(model, "qrt_get" #name);                                                              \
    return controlReal(model, CONTROL_##name);                                                           \
  }                                                                                                      \
  int qrt_set##name(QRTModel *model, double value) { return setReal(model, CONTROL_##name, "qrt_set" #name, value); }
#define HIDDEN_REAL(...)
#define ALIAS_REAL REAL
#include "frame/controls.def"
