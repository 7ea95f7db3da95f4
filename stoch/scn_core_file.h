// Shared by the writers of core and scenarios: triplet lists, and the sorting of a list into the groups of its stages.
#pragma once

#include "stoch/scn_stoc.h"

// A list of triplets in extended input coordinates, in CoreData::triplets.
struct TripletArea {
  int count;
  double *values;
  int *rows, *cols;
};
TripletArea tripletArea(CoreData *core, int64_t capacity);
inline void addTriplet(TripletArea *area, int row, int col, double value) {
  area->values[area->count] = value;
  area->rows[area->count] = row;
  area->cols[area->count++] = col;
}

// A list sorted by block, in the shared buffer, ready to be written. Indices are still those of the input.
struct StageGroups {
  int firstStage, count;
  int *blockStart;   // 1-based, of the blocks (firstStage, 1) .. (nStages, nStages); one more entry at the end
  int *rows, *cols;  // [count]
  double *values;
};
// Sorts; with `absolute` the values are first turned to differences by qrtbinsbdt(). Nothing of the store changes but
// the buffer, so a refusal (2, after message 900, 873 or a printed line) leaves no trace.
int stageGroups_sort(CoreData *core, int firstStage, int count, const int *rows, const int *cols, const double *values,
                     StochData *absolute, StageGroups *groups);
// Appends four records a stage; returns the number of the first. Turns rows and cols to local indices.
int stageGroups_write(CoreData *core, RecordFile *file, StageGroups *groups);

// Header, stage starts and permutations, as the front of every file has them; sets the directory word of the core.
void writeCoreIndex(const char *caller, const CoreData *core, RecordFile *file, int elementCount);
// What the shared buffer is made for, given the longest list.
int64_t coreBufferBytes(int64_t elements, int nStages);
// First fault of the stage starts and permutations as text, or null: what a file from outside must pass.
const char *core_checkMaps(const CoreData *core);
