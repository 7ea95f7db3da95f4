// Row and column names: packed entries, their two forms (NUL-terminated at rest, blank-padded across a core call),
// the optional pointer tables, and default names.
//
// A name of full length has no NUL in its entry, so all code here goes by lengths. While a pointer table exists
// (and the names are at rest) each entry has one byte more, so that every name ends in a NUL.
#include <climits>
#include <cstdio>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/work_image.h"
#include "model/model_store.h"

namespace {

constexpr int FORM_PADDED = 2;  // bit of QRTModel::indexForm

bool padded(const QRTModel *model) { return (model->indexForm & FORM_PADDED) != 0; }
bool wide(const QRTModel *model) {
  return !padded(model) && (model->rowNamePointers != nullptr || model->colNamePointers != nullptr);
}

// Characters of an entry before its NUL or trailing blanks.
int usedLength(const char *entry, int limit) {
  int n = 0;
  while (n < limit && entry[n] != '\0') n++;
  while (n > 0 && entry[n - 1] == ' ') n--;
  return n;
}

// Rewrites `count` entries from one stride to another, cut at `length`, filled up with `fill`.
void respace(const char *from, int fromStride, char *to, int toStride, int64_t count, int length, char fill) {
  for (int64_t k = 0; k < count; k++) {
    const char *source = from + k * fromStride;
    char *target = to + k * toStride;
    int n = usedLength(source, fromStride);
    if (n > length) n = length;
    memmove(target, source, size_t(n));
    memset(target + n, fill, size_t(toStride - n));
  }
}

// One name array into a new block of another stride.
char *respaced(const char *names, int fromStride, int toStride, int64_t capacity, int64_t count, int length) {
  if (!names) return nullptr;
  char *fresh = static_cast<char *>(guardedAllocateZero(capacity > 0 ? capacity : 1, toStride));
  respace(names, fromStride, fresh, toStride, count, length, '\0');
  return fresh;
}

void changeStride(QRTModel *model, int toStride, int length) {
  char *rows = respaced(model->rownames, model->Inumchar, toStride, model->Imaxrows, model->Inumrows, length);
  char *cols = respaced(model->colnames, model->Inumchar, toStride, model->Imaxcols, model->Inumcols, length);
  qrt_free(model->rownames);
  qrt_free(model->colnames);
  model->rownames = rows;
  model->colnames = cols;
  model->Inumchar = toStride;
}

char **pointerTable(char **old, char *names, int stride, int64_t count) {
  qrt_free(old);
  char **table = static_cast<char **>(guardedAllocate(count > 0 ? count : 1, sizeof(char *)));
  table[0] = names;
  for (int64_t k = 0; k < count; k++) table[k] = names + k * stride;
  return table;
}

void rebuildTables(QRTModel *model) {
  if (!model->rownames) return;
  model->rowNamePointers = pointerTable(model->rowNamePointers, model->rownames, model->Inumchar, model->Inumrows);
  model->colNamePointers = pointerTable(model->colNamePointers, model->colnames, model->Inumchar, model->Inumcols);
}

void widen(QRTModel *model) {
  if (model->rownames) changeStride(model, model->Inumchar + 1, model->Inumchar);
}

void toPadded(QRTModel *model) {
  if (padded(model)) return;
  const int length = nameLength(model), stride = model->Inumchar;
  model->indexForm |= FORM_PADDED;
  if (model->rownames) {
    respace(model->rownames, stride, model->rownames, length, model->Inumrows, length, ' ');
    respace(model->colnames, stride, model->colnames, length, model->Inumcols, length, ' ');
  }
  model->Inumchar = length;
}

void toTerminated(QRTModel *model) {
  if (!padded(model)) return;
  model->indexForm &= ~FORM_PADDED;
  if (!model->rownames) return;
  const int length = model->Inumchar;
  if (wide(model)) {
    widen(model);
    rebuildTables(model);
    return;
  }
  respace(model->rownames, length, model->rownames, length, model->Inumrows, length, '\0');
  respace(model->colnames, length, model->colnames, length, model->Inumcols, length, '\0');
}

const char *nameOf(const char *names, int k, const QRTModel *model, char kind, char *buffer, int *length) {
  if (!names) {
    *length = nameLength(model);
    defaultName(kind, k, *length, buffer);
    return buffer;
  }
  const char *entry = names + int64_t(k) * nameStride(model);
  *length = usedLength(entry, nameLength(model));
  return entry;
}

// The length is a control too: the model's record and the live records agree on it.
void publishLength(QRTModel *model) {
  const int length = nameLength(model);
  if (model == qrt_modelInfo) qrtlplp.Inumchar = length;
  if (model->furtherInfo) imageOf(model)->lplp.Inumchar = length;
}

void copyNames(QRTModel *model, const char *const *values, int first, int last, bool rows) {
  const int capacity = rows ? model->Imaxrows : model->Imaxcols, size = rows ? model->Inumrows : model->Inumcols;
  qrt_checkParameter(model, 3, first, 0, capacity);
  qrt_checkParameter(model, 4, last, first, INT_MAX);
  ensureNames(model);
  if (last > size) last = size;
  char *names = rows ? model->rownames : model->colnames;
  for (int k = first; k < last; k++) {
    const char *name = values[k - first];
    storeName(model, names + int64_t(k) * nameStride(model), name, int(strlen(name)));
  }
}

}  // namespace

int nameLength(const QRTModel *model) { return model->Inumchar - (wide(model) && model->rownames ? 1 : 0); }

const char *rowNameOf(const QRTModel *model, int row, char *buffer, int *length) {
  return nameOf(model->rownames, row, model, 'R', buffer, length);
}
const char *columnNameOf(const QRTModel *model, int column, char *buffer, int *length) {
  return nameOf(model->colnames, column, model, 'C', buffer, length);
}

void defaultName(char kind, int number, int length, char *entry) {
  // A number of more digits than the length holds loses its last ones.
  char text[64];
  const int digits = length > 1 ? length - 1 : 1;
  snprintf(text, sizeof text, "%c%*.*d", kind, digits, digits, number);
  const size_t n = strlen(text);
  memset(entry, 0, size_t(length));
  memcpy(entry, text, n < size_t(length) ? n : size_t(length));
}

void storeName(QRTModel *model, char *entry, const char *name, int length) {
  const int limit = nameLength(model);
  int n = 0;
  while (n < length && n < limit && name[n] != '\0') n++;
  memmove(entry, name, size_t(n));
  memset(entry + n, padded(model) ? ' ' : '\0', size_t(nameStride(model) - n));
}

void ensureNames(QRTModel *model) {
  if (model->rownames) return;
  const int64_t rows = model->Imaxrows > 0 ? model->Imaxrows : 1, cols = model->Imaxcols > 0 ? model->Imaxcols : 1;
  char *rowNames = static_cast<char *>(guardedAllocateZero(rows, nameStride(model)));
  model->colnames = static_cast<char *>(guardedAllocateZero(cols, nameStride(model)));
  model->rownames = rowNames;
  char text[40];
  for (int i = 0; i < model->Inumrows; i++) {
    defaultName('R', i, nameLength(model), text);
    storeName(model, model->rownames + int64_t(i) * nameStride(model), text, nameLength(model));
  }
  for (int j = 0; j < model->Inumcols; j++) {
    defaultName('C', j, nameLength(model), text);
    storeName(model, model->colnames + int64_t(j) * nameStride(model), text, nameLength(model));
  }
}

static void dropNames(QRTModel *model) {
  const int length = nameLength(model);
  qrt_free(model->rownames);
  qrt_free(model->colnames);
  qrt_free(model->rowNamePointers);
  qrt_free(model->colNamePointers);
  model->rownames = model->colnames = nullptr;
  model->rowNamePointers = model->colNamePointers = nullptr;
  model->Inumchar = length;
}

void setNameLength(QRTModel *model, int length) {
  if (length == nameLength(model)) return;
  if (model->rownames)
    changeStride(model, length + (wide(model) ? 1 : 0), length);
  else
    model->Inumchar = length;
  if (padded(model) && model->rownames) {
    respace(model->rownames, length, model->rownames, length, model->Inumrows, length, ' ');
    respace(model->colnames, length, model->colnames, length, model->Inumcols, length, ' ');
  }
  if (wide(model)) rebuildTables(model);
  publishLength(model);
}

void qrt_namePointers(QRTModel *model, int mode) {
  if (mode == 2) toPadded(model);
  if (mode == -2) toTerminated(model);
  if (mode == -1 && !wide(model)) widen(model);
  if (mode == 0) rebuildTables(model);
}

static void createNames(QRTModel *model, int length) {
  qrt_checkParameter(model, 2, length, 0, 31);
  const int wanted = length > 0 ? length : nameLength(model);
  dropNames(model);
  model->Inumchar = wanted;
  ensureNames(model);
  publishLength(model);
}

extern "C" int qrt_createNames(QRTModel *model, int length) {
  qrt_enter(model, "qrt_createNames", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  createNames(model, length);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

extern "C" int qrt_deleteNames(QRTModel *model) {
  qrt_enter(model, "qrt_deleteNames", 1);
  dropNames(model);
  qrt_leave(model);
  return 0;
}

extern "C" const char *qrt_rownames(QRTModel *model) {
  qrt_enterLeave(model, "qrt_rownames");
  return model->rownames;
}

extern "C" const char *qrt_colnames(QRTModel *model) {
  qrt_enterLeave(model, "qrt_colnames");
  return model->colnames;
}

static void makeTables(QRTModel *model) {
  if (!model->rownames || model->rowNamePointers) return;
  widen(model);
  rebuildTables(model);
}

extern "C" char **qrt_rowNamePointers(QRTModel *model) {
  qrt_enter(model, "qrt_rowNamePointers", 0);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), nullptr));
  makeTables(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return model->rowNamePointers;
}

extern "C" char **qrt_colNamePointers(QRTModel *model) {
  qrt_enter(model, "qrt_colNamePointers", 0);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), nullptr));
  makeTables(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return model->colNamePointers;
}

extern "C" int qrt_copyRowNames(QRTModel *model, const char *const *values, int first, int last) {
  qrt_enter(model, "qrt_copyRowNames", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  copyNames(model, values, first, last, true);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

extern "C" int qrt_copyColumnNames(QRTModel *model, const char *const *values, int first, int last) {
  qrt_enter(model, "qrt_copyColumnNames", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  copyNames(model, values, first, last, false);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
