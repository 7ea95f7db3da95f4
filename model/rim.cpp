// The rim vectors from outside: direct read pointers, private typed copies and their way back, range copies.
//
// One row of RIM_TABLE is one vector part; everything below is made from it.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"

namespace {

enum Side { ROW, COLUMN };

// The part of a rim vector and its place; every accessor is made of these.
int sizeOf(const QRTModel *model, Side side) { return side == ROW ? model->Inumrows : model->Inumcols; }
int roomOf(const QRTModel *model, Side side) { return side == ROW ? model->Imaxrows : model->Imaxcols; }
template <class T> T *partOf(const QRTModel *model, T *vector, Side side) {
  return vector && side == COLUMN ? vector + model->Imaxrows : vector;
}

template <class T> const T *directPointer(QRTModel *model, T *vector, Side side) {
  if (vector) model->externalPointers = 1;
  return partOf(model, vector, side);
}

template <class T> T *privateCopy(QRTModel *model, const char *getter, T *vector, Side side) {
  const int n = sizeOf(model, side);
  if (!vector || n == 0) return nullptr;
  T *copy = static_cast<T *>(guardedAllocate(n, sizeof(T)));
  memcpy(copy, partOf(model, vector, side), sizeof(T) * size_t(n));
  qrt_set_accessor_type(copy, getter, int(sizeof(T)) * n);
  return copy;
}

void makeAbsent(QRTModel *model, double **home, double value) {
  if (!*home && model->lower) *home = newRimVector(model, value);
}
void makeAbsent(QRTModel *, int **, double) {}

template <class T>
int takeBack(QRTModel *model, const char *caller, const char *getter, T **home, double absent, T *values, Side side) {
  const int n = sizeOf(model, side);
  if (qrt__checkfield(caller, getter, values, int(sizeof(T)) * n)) return 1;
  if (n == 0) return 0;
  makeAbsent(model, home, absent);
  memcpy(partOf(model, *home, side), values, sizeof(T) * size_t(n));
  return 0;
}

template <class T>
void copyRange(QRTModel *model, T **home, const T *values, int first, int last, Side side) {
  const int room = roomOf(model, side);
  qrt_checkParameter(model, 3, first, 0, room);
  qrt_checkParameter(model, 4, last, first, INT_MAX);
  if (last > room) last = room;
  if (last > first && *home)
    memcpy(partOf(model, *home, side) + first, values, sizeof(T) * size_t(last - first));
}

}  // namespace

double *newRimVector(const QRTModel *model, double value) {
  const int64_t n = rimLength(model);
  double *allocation = static_cast<double *>(guardedAllocate(n, sizeof(double)));
  for (int64_t k = 0; k < n; k++) allocation[k] = value;
  return allocation + model->extraFront;
}

void freeRimVector(const QRTModel *model, double **vector) {
  qrt_free(rimAllocation(model, *vector));
  *vector = nullptr;
}

namespace {
// Gives one vector of changes its two parts; an absent part is 0, and a vector without parts is not there.
void installChange(QRTModel *model, double **home, const double *rowPart, const double *columnPart) {
  if (*home) freeRimVector(model, home);
  if (!rowPart && !columnPart) return;
  *home = newRimVector(model, 0.0);
  if (rowPart && model->Inumrows) memcpy(*home, rowPart, size_t(model->Inumrows) * sizeof(double));
  if (columnPart && model->Inumcols) memcpy(*home + model->Imaxrows, columnPart, size_t(model->Inumcols) * sizeof(double));
}
}  // namespace

void installParametricData(QRTModel *model, const double *objective, const double *rowLower, const double *rowUpper,
                           const double *colLower, const double *colUpper) {
  installChange(model, &model->objectiveDelta, nullptr, objective);
  installChange(model, &model->lowerDelta, rowLower, colLower);
  installChange(model, &model->upperDelta, rowUpper, colUpper);
}

int qrt_loadParametricData(QRTModel *model, const double *objective, const double *rowLower, const double *rowUpper,
                           const double *colLower, const double *colUpper) {
  qrt_enter(model, "qrt_loadParametricData", 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  installParametricData(model, objective, rowLower, rowUpper, colLower, colUpper);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

double startValue(double lower, double upper, uint32_t *status) {
  if (lower >= 0.0) {
    *status = STATUS_AT_LOWER;
    return lower;
  }
  if (upper <= 0.0) {
    *status = STATUS_AT_UPPER;
    return upper;
  }
  const bool noLower = lower <= -QRT_INFINITE_TEST, noUpper = upper >= QRT_INFINITE_TEST;
  if (noLower && noUpper) {
    *status = STATUS_FREE;
    return 0.0;
  }
  const bool takeLower = noUpper || (!noLower && -lower <= upper);
  *status = takeLower ? STATUS_AT_LOWER : STATUS_AT_UPPER;
  return takeLower ? lower : upper;
}

#define RIM_ACCESSORS(name, Name, member, T, side, absent)                                            \
  extern "C" const T *qrt_##name(QRTModel *model) {                                                   \
    qrt_enterLeave(model, "qrt_" #name);                                                              \
    return directPointer(model, model->member, side);                                                 \
  }                                                                                                   \
  extern "C" T *qrt_get##Name(QRTModel *model) {                                                      \
    qrt_enter(model, "qrt_get" #Name, 0);                                                             \
    QRT_JUMP_FRAME(model, (qrt_disaster(model), nullptr));                                            \
    T *copy = privateCopy(model, "qrt_get" #Name, model->member, side);                               \
    QRT_END_FRAME();                                                                                  \
    qrt_leave(model);                                                                                 \
    return copy;                                                                                      \
  }                                                                                                   \
  extern "C" int qrt_set##Name(QRTModel *model, T *vector) {                                          \
    qrt_enter(model, "qrt_set" #Name, 0);                                                             \
    QRT_JUMP_FRAME(model, qrt_disaster(model));                                                       \
    const int result =                                                                                \
        takeBack(model, "qrt_set" #Name, "qrt_get" #Name, &model->member, absent, vector, side);      \
    QRT_END_FRAME();                                                                                  \
    qrt_leave(model);                                                                                 \
    return result;                                                                                    \
  }

//            name              Name              member           type    part    value of an absent vector
RIM_ACCESSORS(rowlower,         Rowlower,         lower,           double, ROW,    0.0)
RIM_ACCESSORS(rowacts,          Rowacts,          solution,        double, ROW,    0.0)
RIM_ACCESSORS(rowupper,         Rowupper,         upper,           double, ROW,    0.0)
RIM_ACCESSORS(rowduals,         Rowduals,         dual,            double, ROW,    0.0)
RIM_ACCESSORS(rowstat,          Rowstat,          status,          int,    ROW,    0.0)
RIM_ACCESSORS(collower,         Collower,         lower,           double, COLUMN, 0.0)
RIM_ACCESSORS(colsol,           Colsol,           solution,        double, COLUMN, 0.0)
RIM_ACCESSORS(colupper,         Colupper,         upper,           double, COLUMN, 0.0)
RIM_ACCESSORS(colrcosts,        Colrcosts,        dual,            double, COLUMN, 0.0)
RIM_ACCESSORS(colstat,          Colstat,          status,          int,    COLUMN, 0.0)
RIM_ACCESSORS(objective,        Objective,        objective,       double, COLUMN, 0.0)
RIM_ACCESSORS(rowscales,        Rowscales,        scales,          double, ROW,    1.0)
RIM_ACCESSORS(colscales,        Colscales,        scales,          double, COLUMN, 1.0)
RIM_ACCESSORS(rowaux,           Rowaux,           aux,             double, ROW,    0.0)
RIM_ACCESSORS(colaux,           Colaux,           aux,             double, COLUMN, 0.0)
RIM_ACCESSORS(rweight,          Rweight,          rweight,         double, ROW,    1.0)
RIM_ACCESSORS(cweight,          Cweight,          rweight,         double, COLUMN, 1.0)
RIM_ACCESSORS(objectiveDelta,   ObjectiveDelta,   objectiveDelta,  double, COLUMN, 0.0)
RIM_ACCESSORS(lowerRowDelta,    LowerRowDelta,    lowerDelta,      double, ROW,    0.0)
RIM_ACCESSORS(upperRowDelta,    UpperRowDelta,    upperDelta,      double, ROW,    0.0)
RIM_ACCESSORS(lowerColumnDelta, LowerColumnDelta, lowerDelta,      double, COLUMN, 0.0)
RIM_ACCESSORS(upperColumnDelta, UpperColumnDelta, upperDelta,      double, COLUMN, 0.0)

#define RIM_COPY(Name, member, T, side)                                                    \
  extern "C" int qrt_copy##Name(QRTModel *model, const T *values, int first, int last) {   \
    qrt_enter(model, "qrt_copy" #Name, 0);                                                 \
    QRT_JUMP_FRAME(model, qrt_disaster(model));                                            \
    copyRange(model, &model->member, values, first, last, side);                           \
    QRT_END_FRAME();                                                                       \
    qrt_leave(model);                                                                      \
    return 0;                                                                              \
  }
RIM_COPY(Rowlower,  lower,     double, ROW)
RIM_COPY(Rowacts,   solution,  double, ROW)
RIM_COPY(Rowupper,  upper,     double, ROW)
RIM_COPY(Rowduals,  dual,      double, ROW)
RIM_COPY(Rowstat,   status,    int,    ROW)
RIM_COPY(Collower,  lower,     double, COLUMN)
RIM_COPY(Colsol,    solution,  double, COLUMN)
RIM_COPY(Colupper,  upper,     double, COLUMN)
RIM_COPY(Colrcosts, dual,      double, COLUMN)
RIM_COPY(Colstat,   status,    int,    COLUMN)
RIM_COPY(Objective, objective, double, COLUMN)
