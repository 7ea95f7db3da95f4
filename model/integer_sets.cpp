// Integer marks: one byte a column, made with the first mark; zero bytes are continuous columns.
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/records.h"
#include "model/model_store.h"

void markInteger(QRTModel *model, int column, char mark) {
  if (!model->integerTypes) {
    const int64_t room = model->Imaxcols > 0 ? model->Imaxcols : 1;
    model->integerTypes = static_cast<char *>(guardedAllocateZero(room, 1));
    model->Inumints = 0;
  }
  if (model->Inumints < 0) countIntegerColumns(model);
  if (model->integerTypes[column] == 0) model->Inumints++;
  model->integerTypes[column] = mark;
}

int countIntegerColumns(QRTModel *model) {
  if (model->Inumints >= 0) return model->Inumints;
  int n = 0;
  if (model->integerTypes)
    for (int j = 0; j < model->Inumcols; j++) n += model->integerTypes[j] != 0;
  model->Inumints = n;
  return n;
}

static void markChecked(QRTModel *model, int column) {
  qrt_checkParameter(model, 2, column, 0, model->Inumcols - 1);
  markInteger(model, column, 1);
}

extern "C" int qrt_markAsInteger(QRTModel *model, int column) {
  qrt_enter(model, "qrt_markAsInteger", 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  markChecked(model, column);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

extern "C" const char *qrt_integerType(QRTModel *model) {
  qrt_enterLeave(model, "qrt_integerType");
  return model->integerTypes;
}
