// Taking rows, columns and elements out of a model and closing up the vectors.
#include "model/removal.h"

#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/integer_sets.h"

namespace {

constexpr int MSG_INVALID_INDEX = 275;

// Moves entries down by the map, whose new numbers never exceed the old ones.
template <class T> void moveDown(T *vector, const int *map, int size) {
  if (!vector) return;
  for (int k = 0; k < size; k++)
    if (map[k] >= 0) vector[map[k]] = vector[k];
}

void moveNames(QRTModel *model, char *names, const int *map, int size) {
  if (!names) return;
  const size_t stride = size_t(nameStride(model));
  for (int k = 0; k < size; k++)
    if (map[k] >= 0 && map[k] != k) memcpy(names + size_t(map[k]) * stride, names + size_t(k) * stride, stride);
}

void clearPositions(QRTModel *model) {
  auto clear = [model](int at) {
    if (uint32_t(model->status[at]) & STATUS_BASIC)
      model->status[at] = int(uint32_t(model->status[at]) & ~STATUS_POSITION_MASK);
  };
  for (int i = 0; i < model->Inumrows; i++) clear(i);
  for (int j = 0; j < model->Inumcols; j++) clear(model->Imaxrows + j);
}

bool anyBasicRemoved(const QRTModel *model, const int *map, int from, int size) {
  for (int k = 0; k < size; k++)
    if (map[k] < 0 && (uint32_t(model->status[from + k]) & STATUS_BASIC)) return true;
  return false;
}

bool blockMentions(const QRTModel *model, const ElementBlock &b, int row, int column) {
  const int r = row - blockRowOffset(model, b), c = column - blockColumnOffset(model, b);
  if (row >= 0) {
    const int64_t n = blockElements(b);
    for (int64_t e = 0; e < n; e++)
      if (b.rows[e] == r) return true;
    return false;
  }
  if (!isTriples(b)) return c >= 0 && c < b.count && b.columns[c + 1] > b.columns[c];
  for (int e = 0; e < b.count; e++)
    if (b.columns[e] == c) return true;
  return false;
}

}  // namespace

int *removalMap(QRTModel *model, const char *caller, int n, const int *which, int size, int *kept) {
  for (int k = 0; k < n; k++) {
    if (which[k] >= 0 && which[k] < size) continue;
    messageI(2, 1);
    qrtmesg_no_q1_i1(MSG_INVALID_INDEX, caller, -1, which[k]);
    return nullptr;
  }
  int *map = static_cast<int *>(temporaryAllocate(model, size, sizeof(int)));
  memset(map, 0, sizeof(int) * size_t(size));
  for (int k = 0; k < n; k++) map[which[k]] = -1;
  int next = 0;
  for (int k = 0; k < size; k++)
    if (map[k] == 0) map[k] = next++;
  *kept = next;
  return map;
}

void closeUp(QRTModel *model, const int *map, bool rows, int kept) {
  const int size = rows ? model->Inumrows : model->Inumcols, from = rows ? 0 : model->Imaxrows;
  // Without its rows the basis has another order; a nonbasic column leaves the basis as it is.
  const bool lost = rows || anyBasicRemoved(model, map, from, size);
  double *const vectors[] = {model->lower, model->solution, model->upper, model->dual,
                             model->objective, model->scales, model->rweight, model->aux,
                             model->objectiveDelta, model->lowerDelta, model->upperDelta};
  for (double *vector : vectors) moveDown(vector ? vector + from : nullptr, map, size);
  moveDown(model->status + from, map, size);
  moveNames(model, rows ? model->rownames : model->colnames, map, size);
  moveDown(static_cast<int *>(rows ? model->sellistrow : model->sellistcol), map, size);
  if (!rows) moveDown(model->integerTypes, map, size);
  if (!rows) mapEntities(model, map);
  if (BoundSensitivity *s = model->boundSensitivity) {
    for (int v = 0; v < 4; v++) {
      if (rows) moveDown(s->rowReal[v], map, size);
      if (rows) moveDown(s->rowInt[v], map, size);
      moveDown(s->rimReal[v] ? s->rimReal[v] + from : nullptr, map, size);
      moveDown(s->rimInt[v] ? s->rimInt[v] + from : nullptr, map, size);
    }
  }
  // The matrix no longer holds what lies beyond; a resize without blocks gives the tails their defaults.
  const int blocks = model->Inumblocks;
  model->Inumblocks = 0;
  resizeRims(model, rows ? kept : model->Inumrows, rows ? model->Inumcols : kept, model->Imaxrows, model->Imaxcols, 0);
  model->Inumblocks = blocks;
  if (lost) clearPositions(model);
}

void removeElements(QRTModel *model, int row, int column) {
  for (int k = 0; k < model->Inumblocks; k++) {
    if (!blockMentions(model, model->blocks[k], row, column)) continue;
    unshareBlock(model, k);
    ElementBlock &b = model->blocks[k];
    const int r = row - blockRowOffset(model, b), c = column - blockColumnOffset(model, b);
    int kept = 0;
    if (isTriples(b)) {
      for (int e = 0; e < b.count; e++) {
        if (row >= 0 ? b.rows[e] == r : b.columns[e] == c) continue;
        b.rows[kept] = b.rows[e];
        b.columns[kept] = b.columns[e];
        b.elements[kept++] = b.elements[e];
      }
      b.count = kept;
      continue;
    }
    int start = b.columns[0];
    for (int m = 0; m < b.count; m++) {
      const int end = b.columns[m + 1];
      for (int e = start; e < end; e++) {
        if (row >= 0 ? b.rows[e] == r : m == c) continue;
        b.rows[kept] = b.rows[e];
        b.elements[kept++] = b.elements[e];
      }
      start = end;
      b.columns[m + 1] = kept;
    }
  }
  touchMatrix(model);
}
