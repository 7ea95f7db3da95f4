// Integer marks and the table of branching entities: groups of integer columns and special ordered sets.
//
// QRTModel::setInfo holds an EntityTable with its entity records behind it, QRTModel::entryInfo the member records of
// all entities, one run each. Both are guarded blocks of no pointers, so a copy of the block is a copy of the table.
#pragma once

#include "model/model_store.h"

enum : int32_t {
  ENTITY_GROUP = 1,   // integer columns
  ENTITY_SOS3 = 2,    // 0-1 columns that sum to 1
  ENTITY_SOS1 = 3,    // at most one member not zero
  ENTITY_SOS2 = 4     // at most two, and they are neighbours
};

struct EntityRecord {
  int32_t type;       // see above
  int32_t priority;   // 1 to 65535, smaller is taken first
  int32_t count;      // members
  int32_t first;      // first member in the member table
};

struct MemberRecord {
  int32_t column;        // column of the model, from 0
  int32_t observations;  // low 16 bits down, high 16 bits up
  double down;           // pseudo-cost, above 0
  double up;             // group: pseudo-cost; set: reference value, ascending with a least distance
};

struct EntityTable {
  int32_t nEntities, nMembers;
  EntityRecord entity[1];  // [nEntities], with room behind
};

inline EntityTable *entityTable(const QRTModel *model) { return static_cast<EntityTable *>(model->setInfo); }
inline MemberRecord *memberTable(const QRTModel *model) { return static_cast<MemberRecord *>(model->entryInfo); }

// Adds an entity; columns are in range. Null down costs mean 0.001; null up values mean 0.001 for a group and
// 0, 1, 2 ... for a set.
void addEntity(QRTModel *model, int type, int priority, int count, const int *columns, const double *down,
               const double *up);
// Enters an entity whose members are as they shall stand (they are copied); marks no column.
void storeEntity(QRTModel *model, int type, int priority, int count, const MemberRecord *members);
void dropEntities(QRTModel *model);
// Renumbers the member columns by a map of old to new columns; members that go (-1) leave their entity.
void mapEntities(QRTModel *model, const int *columnMap);
