// Integer marks (one byte a column, made with the first mark) and the table of branching entities.
#include "model/integer_sets.h"

#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"

namespace {

constexpr double DEFAULT_PSEUDO_COST = 0.001;
constexpr double LEAST_PSEUDO_COST = 1.0e-12;
constexpr double LEAST_DISTANCE = 0.01;  // of reference values, as a part of their mean

// Room doubles as 2n + 10, so that adding one by one stays linear.
void reserveEntities(QRTModel *model, int64_t entities, int64_t members) {
  const int64_t head = int64_t(sizeof(EntityTable)), one = int64_t(sizeof(EntityRecord));
  const int64_t roomE = model->setInfo ? (qrt_validAddress(model->setInfo) - head) / one + 1 : 0;
  if (entities > roomE) {
    const bool fresh = model->setInfo == nullptr;
    const int64_t bytes = head + one * (2 * entities + 10);
    model->setInfo = qrt_reallocBase(model->setInfo, checkedBytes(bytes, 1));
    if (fresh) memset(model->setInfo, 0, sizeof(EntityTable));
  }
  const int64_t roomM = model->entryInfo ? qrt_validAddress(model->entryInfo) / int64_t(sizeof(MemberRecord)) : 0;
  if (members > roomM)
    model->entryInfo = qrt_reallocBase(model->entryInfo, checkedBytes(2 * members + 10, sizeof(MemberRecord)));
}

// Ascending by reference value; equal ones keep their order.
void sortMembers(MemberRecord *member, MemberRecord *work, int n) {
  if (n < 2) return;
  const int half = n / 2;
  sortMembers(member, work, half);
  sortMembers(member + half, work, n - half);
  memcpy(work, member, sizeof(MemberRecord) * size_t(n));
  for (int k = 0, a = 0, b = half; k < n; k++)
    member[k] = a < half && (b >= n || work[a].up <= work[b].up) ? work[a++] : work[b++];
}

// Keeps neighbouring reference values apart, else a branch between them has no room.
void spreadReferences(MemberRecord *member, int n) {
  double sum = 0.0;
  for (int k = 0; k < n; k++) sum += member[k].up;
  const double gap = LEAST_DISTANCE * sum / n;
  double shift = 0.0, previous = -QRT_INFINITY;
  for (int k = 0; k < n; k++) {
    double r = member[k].up + shift;
    if (r - previous < gap) {
      shift += gap;
      r = member[k].up + shift;
    }
    previous = member[k].up = r;
  }
}

int addChecked(QRTModel *model, int type, int priority, int count, const int *columns, const double *down,
               const double *up) {
  qrt_checkParameter(model, 2, priority, 1, 65535);
  qrt_checkParameter(model, 3, count, 1, model->Inumcols);
  for (int k = 0; k < count; k++) qrt_checkParameter(model, 4, columns[k], 0, model->Inumcols - 1);
  addEntity(model, type, priority, count, columns, down, up);
  return 0;
}

void markChecked(QRTModel *model, int column) {
  qrt_checkParameter(model, 2, column, 0, model->Inumcols - 1);
  markInteger(model, column, 1);
}

}  // namespace

void markInteger(QRTModel *model, int column, char mark) {
  if (!model->integerTypes) {
    const int64_t room = model->Imaxcols > 0 ? model->Imaxcols : 1;
    model->integerTypes = static_cast<char *>(guardedAllocateZero(room, 1));
    model->Inumints = 0;
  }
  countIntegerColumns(model);
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

void storeEntity(QRTModel *model, int type, int priority, int count, const MemberRecord *members) {
  const EntityTable *old = entityTable(model);
  const int nEntities = old ? old->nEntities : 0, nMembers = old ? old->nMembers : 0;
  reserveEntities(model, nEntities + 1, int64_t(nMembers) + count);
  EntityTable *table = entityTable(model);
  if (count > 0) memcpy(memberTable(model) + nMembers, members, sizeof(MemberRecord) * size_t(count));
  table->entity[nEntities] = {type, priority, count, nMembers};
  table->nEntities = nEntities + 1;
  table->nMembers = nMembers + count;
  if (type != ENTITY_GROUP) model->Inumsets++;
}

void dropEntities(QRTModel *model) {
  qrt_free(model->setInfo);
  qrt_free(model->entryInfo);
  model->setInfo = model->entryInfo = nullptr;
  model->Inumsets = 0;
}

void addEntity(QRTModel *model, int type, int priority, int count, const int *columns, const double *down,
               const double *up) {
  MemberRecord *work = static_cast<MemberRecord *>(temporaryAllocate(model, 2 * int64_t(count), sizeof(MemberRecord)));
  MemberRecord *member = work + count;
  const bool group = type == ENTITY_GROUP;
  for (int k = 0; k < count; k++) {
    const double downCost = down ? down[k] : DEFAULT_PSEUDO_COST;
    const double upValue = up ? up[k] : group ? DEFAULT_PSEUDO_COST : double(k);
    member[k].column = columns[k];
    member[k].observations = 0;
    member[k].down = downCost > 0.0 ? downCost : LEAST_PSEUDO_COST;
    member[k].up = group && !(upValue > 0.0) ? LEAST_PSEUDO_COST : upValue;
  }
  if (!group) {
    sortMembers(member, work, count);
    spreadReferences(member, count);
  }
  storeEntity(model, type, priority, count, member);
  qrt_freeTemporary(model, work);
  for (int k = 0; k < count; k++) markInteger(model, columns[k], type == ENTITY_SOS2 ? 2 : 1);
}

void mapEntities(QRTModel *model, const int *columnMap) {
  EntityTable *table = entityTable(model);
  if (!table) return;
  MemberRecord *member = memberTable(model);
  int kept = 0, entities = 0;
  model->Inumsets = 0;
  for (int s = 0; s < table->nEntities; s++) {
    EntityRecord entity = table->entity[s];
    const int begin = entity.first, end = begin + entity.count;
    entity.first = kept;
    for (int k = begin; k < end; k++) {
      if (columnMap[member[k].column] < 0) continue;
      member[kept] = member[k];
      member[kept].column = columnMap[member[k].column];
      kept++;
    }
    entity.count = kept - entity.first;
    if (entity.count == 0) continue;
    if (entity.type != ENTITY_GROUP) model->Inumsets++;
    table->entity[entities++] = entity;
  }
  table->nEntities = entities;
  table->nMembers = kept;
}

extern "C" {

int qrt_markAsInteger(QRTModel *model, int column) {
  qrt_enter(model, "qrt_markAsInteger", 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  markChecked(model, column);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

const char *qrt_integerType(QRTModel *model) {
  qrt_enterLeave(model, "qrt_integerType");
  return model->integerTypes;
}

#define ENTITY_ENTRY(name, type)                                                                       \
  int name(QRTModel *model, int priority, int count, const int *columns, const double *downCosts,      \
           const double *upCosts) {                                                                    \
    qrt_enter(model, #name, 1);                                                                        \
    QRT_JUMP_FRAME(model, (qrt_disaster(model), 1));                                                   \
    const int result = addChecked(model, type, priority, count, columns, downCosts, upCosts);          \
    QRT_END_FRAME();                                                                                   \
    qrt_leave(model);                                                                                  \
    return result;                                                                                     \
  }
ENTITY_ENTRY(qrt_addIntegerSet, ENTITY_GROUP)
ENTITY_ENTRY(qrt_addSOS1Set, ENTITY_SOS1)
ENTITY_ENTRY(qrt_addSOS2Set, ENTITY_SOS2)
ENTITY_ENTRY(qrt_addSOS3Set, ENTITY_SOS3)

}  // extern "C"
