// The image of the work records that each model keeps: the live records in their order, then what of the message
// block belongs to a model. Copied byte by byte; nothing in it is relocated.
#pragma once

#include <cstddef>

#include "frame/records.h"

struct WorkImage {
  QrtLplp lplp;
  QrtAddr addr;
  QrtBcom bcom;
  QrtQpqp qpqp;
  QrtInt3 int3;
  QrtInt integer;
  QrtConv conv;
  QrtNete nete;
  QrtNeti neti;
  double Rprintcpu;
  int32_t lineCount, pageNumber, Imsgpos, Ipagelines, Ilinelen;
};

inline WorkImage *imageOf(const QRTModel *model) { return reinterpret_cast<WorkImage *>(model->furtherInfo); }
// The live records to an image, and an image to the live records.
void saveRecords(WorkImage *image);
void loadRecords(const WorkImage *image);
