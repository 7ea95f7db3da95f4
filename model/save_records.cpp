// The controls of a model as images of work records in a save file.
#include <cmath>
#include <cstring>

#include "frame/controls.h"
#include "frame/work_image.h"
#include "model/save_file.h"

namespace {

bool within(size_t offset, size_t begin, size_t bytes) { return offset >= begin && offset < begin + bytes; }

// Controls of branch and bound go with those of the linear solvers; page and line settings belong to the session.
SaveImage imageAt(size_t offset) {
  if (within(offset, offsetof(WorkImage, lplp), sizeof(QrtLplp)) || within(offset, offsetof(WorkImage, int3), sizeof(QrtInt3)) ||
      within(offset, offsetof(WorkImage, integer), sizeof(QrtInt)))
    return IMAGE_LPLP;
  if (within(offset, offsetof(WorkImage, bcom), sizeof(QrtBcom))) return IMAGE_BCOM;
  if (within(offset, offsetof(WorkImage, qpqp), sizeof(QrtQpqp))) return IMAGE_QPQP;
  return IMAGE_NONE;
}

bool isStored(const IntegerControl &c, SaveImage image) { return c.home == HOME_RECORD && c.live && imageAt(c.offset) == image; }
bool isStored(const RealControl &c, SaveImage image) { return c.live && imageAt(c.offset) == image; }

void countControls(SaveImage image, int32_t counts[2]) {
  counts[0] = counts[1] = 0;
  for (const IntegerControl &c : integerControls) counts[0] += isStored(c, image);
  for (const RealControl &c : realControls) counts[1] += isStored(c, image);
}

}  // namespace

void storeControls(const QRTModel *model, SaveImage image, char *bytes, int skip) {
  int32_t counts[2];
  countControls(image, counts);
  char *to = bytes + skip;
  memcpy(to, counts, sizeof counts);
  to += sizeof counts;
  for (int row = 0; row < INTEGER_CONTROLS; row++) {
    if (!isStored(integerControls[row], image)) continue;
    const int32_t value = controlInteger(model, row);
    memcpy(to, &value, 4);
    to += 4;
  }
  for (int row = 0; row < REAL_CONTROLS; row++) {
    if (!isStored(realControls[row], image)) continue;
    const double value = controlReal(model, row);
    memcpy(to, &value, 8);
    to += 8;
  }
}

bool loadControls(QRTModel *model, SaveImage image, const char *bytes, int skip) {
  int32_t counts[2], held[2];
  countControls(image, counts);
  const char *from = bytes + skip;
  memcpy(held, from, sizeof held);
  if (held[0] != counts[0] || held[1] != counts[1]) return false;
  from += sizeof held;
  for (int row = 0; row < INTEGER_CONTROLS; row++) {
    const IntegerControl &c = integerControls[row];
    if (!isStored(c, image)) continue;
    int32_t value;
    memcpy(&value, from, 4);
    from += 4;
    if (value >= c.low && value <= c.high) storeControlInteger(model, row, value);
  }
  for (int row = 0; row < REAL_CONTROLS; row++) {
    const RealControl &c = realControls[row];
    if (!isStored(c, image)) continue;
    double value;
    memcpy(&value, from, 8);
    from += 8;
    const bool free = c.low <= -REAL_ANY && c.high >= REAL_ANY;
    if (!std::isnan(value) && (free || (value >= c.low && value <= c.high))) storeControlReal(model, row, value);
  }
  return true;
}
