// Special ordered sets of a model as a file gave them: one guarded block under QRTModel::setInfo.
//
//     SetInfo | SetEntry [numberSets] | SetMember [numberMembers]
#pragma once

#include <cstdint>

struct SetInfo {
  int32_t bytes;         // of the whole block
  int32_t numberSets;
  int32_t numberMembers;
  int32_t reserved;
};

struct SetEntry {
  int32_t type;          // 2 members 0 or 1 whose sum is 1, 3 at most one nonzero, 4 at most two neighbours nonzero
  int32_t priority;      // smaller is branched on first
  int32_t count;         // members
  int32_t first;         // number of the first member
};

struct SetMember {
  int32_t column;        // from 0
  int32_t reserved;
  double downCost;       // pseudo-cost
  double reference;      // place in the order of the set, ascending
};

inline SetEntry *setEntries(SetInfo *info) { return reinterpret_cast<SetEntry *>(info + 1); }
inline SetMember *setMembers(SetInfo *info) { return reinterpret_cast<SetMember *>(setEntries(info) + info->numberSets); }
