// Where control variables live: the table with their homes, their defaults, and plain reading and storing.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/work_image.h"

#define LPLP(name) HOME_RECORD, offsetof(WorkImage, lplp.name), &qrtlplp.name
#define BCOM(name) HOME_RECORD, offsetof(WorkImage, bcom.name), &qrtbcom.name
#define QPQP(name) HOME_RECORD, offsetof(WorkImage, qpqp.name), &qrtqpqp.name
#define INT3(name) HOME_RECORD, offsetof(WorkImage, int3.name), &qrtint3.name
#define INT(name) HOME_RECORD, offsetof(WorkImage, integer.name), &qrtint.name
#define NETI(name) HOME_RECORD, offsetof(WorkImage, neti.name), &qrtneti.name
#define ERR(name) HOME_RECORD, offsetof(WorkImage, name), &qrterr.name
#define MODEL(name) HOME_OF_MODEL, offsetof(QRTModel, name), nullptr
#define ONE(name) HOME_ONE, 0, nullptr

const IntegerControl integerControls[INTEGER_CONTROLS] = {
#define INTEGER(position, name, home, initial, object, low, high, quotedLow, quotedHigh, access, meaning) \
  {position, #name, home(name), initial, object, low, high, quotedLow, quotedHigh, ACCESS_##access},
#define HIDDEN_INTEGER INTEGER
#define COUNTED_INTEGER INTEGER
#define READER INTEGER
#define REAL(...)
#define HIDDEN_REAL(...)
#define ALIAS_REAL(...)
#include "frame/controls.def"
#undef INTEGER
#undef HIDDEN_INTEGER
#undef COUNTED_INTEGER
#undef READER
#undef REAL
#undef HIDDEN_REAL
#undef ALIAS_REAL
};

#undef LPLP
#undef BCOM
#undef QPQP
#undef INT3
#undef ERR
#define LPLP(name) offsetof(WorkImage, lplp.name), &qrtlplp.name
#define BCOM(name) offsetof(WorkImage, bcom.name), &qrtbcom.name
#define QPQP(name) offsetof(WorkImage, qpqp.name), &qrtqpqp.name
#define INT3(name) offsetof(WorkImage, int3.name), &qrtint3.name
#define NETE(name) offsetof(WorkImage, nete.name), &qrtnete.name
#define ERR(name) offsetof(WorkImage, name), &qrterr.name

const RealControl realControls[REAL_CONTROLS] = {
#define INTEGER(...)
#define HIDDEN_INTEGER(...)
#define COUNTED_INTEGER(...)
#define READER(...)
#define REAL(position, name, home, initial, object, low, high, quotedLow, quotedHigh, access, meaning) \
  {position, #name, home(name), initial, object, low, high, quotedLow, quotedHigh},
#define HIDDEN_REAL REAL
#define ALIAS_REAL(position, name, home, field, initial, object, low, high, quotedLow, quotedHigh, access, meaning) \
  {position, #name, home(field), initial, object, low, high, quotedLow, quotedHigh},
#include "frame/controls.def"
};

namespace {

const char *imageBytes(const QRTModel *model) { return reinterpret_cast<const char *>(model->furtherInfo); }

}  // namespace

int controlInteger(const QRTModel *model, int row) {
  const IntegerControl &control = integerControls[row];
  if (control.home == HOME_ONE) return 1;
  if (row == CONTROL_Imaxprojns) return 0;  // the barrier's own limit is not shown
  int32_t value;
  const char *base = control.home == HOME_OF_MODEL ? reinterpret_cast<const char *>(model) : imageBytes(model);
  memcpy(&value, base + control.offset, sizeof value);
  // One word holds the strategy below and the fast-integer mask above.
  return row == CONTROL_Istrategy ? value & 0xffff : value;
}

double controlReal(const QRTModel *model, int row) {
  double value;
  memcpy(&value, imageBytes(model) + realControls[row].offset, sizeof value);
  return value;
}

void storeControlInteger(QRTModel *model, int row, int value) {
  const IntegerControl &control = integerControls[row];
  if (control.home == HOME_OF_MODEL) {
    memcpy(reinterpret_cast<char *>(model) + control.offset, &value, sizeof value);
    if (row == CONTROL_Inumchar) imageOf(model)->lplp.Inumchar = qrtlplp.Inumchar = value;
    return;
  }
  *control.live = value;
  memcpy(reinterpret_cast<char *>(model->furtherInfo) + control.offset, &value, sizeof value);
}

void storeControlReal(QRTModel *model, int row, double value) {
  *realControls[row].live = value;
  memcpy(reinterpret_cast<char *>(model->furtherInfo) + realControls[row].offset, &value, sizeof value);
}

void storeCharacterControl(QRTModel *model, int k, const char *value) {
  const size_t length = strnlen(value, CHARACTER_WIDTH - 1);
  char *copy = static_cast<char *>(guardedAllocate(int64_t(length) + 1, 1));
  memcpy(copy, value, length);
  copy[length] = '\0';
  qrt_freeBase(model->characterControls[k]);
  model->characterControls[k] = copy;
  memset(qrtconv.values[k], ' ', CHARACTER_WIDTH);
  memcpy(qrtconv.values[k], copy, length);
  memcpy(imageOf(model)->conv.values[k], qrtconv.values[k], CHARACTER_WIDTH);
}

// The defaults every interface starts from.
void qrtinitf() {
  qrtlplp = QrtLplp{};
  qrtaddr = QrtAddr{};
  qrtbcom = QrtBcom{};
  qrtqpqp = QrtQpqp{};
  qrtint3 = QrtInt3{};
  qrtint = QrtInt{};
  qrtnete = QrtNete{};
  qrtneti = QrtNeti{};
  memset(qrtconv.values, ' ', sizeof qrtconv.values);
  for (const IntegerControl &control : integerControls)
    if (control.live) *control.live = control.initial;
  for (const RealControl &control : realControls) *control.live = control.initial;
  qrtlplp.Inumchar = 8;
  qrtlplp.randomSeed = 1e8;
  qrtlplp.classicModel = 1;
  qrterr.runMode = 1;
  qrterr.pageNumber = 1;
  qrterr.lineCount = 0;
}

void applyObjectDefaults() {
  for (const IntegerControl &control : integerControls)
    if (control.live) *control.live = control.objectInitial;
  for (const RealControl &control : realControls) *control.live = control.objectInitial;
  const uint32_t masks[4] = {0x10000000u, 0x8000000u, 0x80000000u, 0xff000000u};
  memcpy(qrtqpqp.maskWords, masks, sizeof masks);
}
