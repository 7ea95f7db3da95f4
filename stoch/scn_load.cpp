// Loading: fills a described model node by node. Core blocks enter once and are repeated by reference; what a node
// changes is added beside them.
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

// One vector of the core that every node of a stage starts from, and the vector of the model that takes it.
struct RimCopy {
  double *to;           // the model's part for rows or for columns
  const double *from;   // stage-sorted core order
  double unset;         // what a fresh model holds
  const int *starts;    // [nStages+1] 1-based starts of the stages
  char *differs;        // [nStages] 0: the stage need not be written
};
constexpr int RIM_COPIES = 7;

// One load: what stays the same from node to node.
struct Loader {
  QRTStoch *stoch;
  StochModel *smodel;
  CoreData *core;
  QRTModel *model;
  int *blockTable;       // [blocks of the core] block k at [k-1]: 0 no elements, -k not yet entered, else entry + 1
  int *rows, *cols;      // 0-based scratch for one block
  int64_t scratchSize;
  double *lower, *upper, *objective;  // the model's rim vectors
  int columnBase;        // where their column part begins
  // Where a row or column stands at the core's bounds, in stage-sorted core order: the start of every node of its stage.
  double *rowStart, *colStart;
  int *colStatus;
  RimCopy copies[RIM_COPIES];
  char *differs;         // their flags
  bool fresh;            // the rims are as the description made them
};

void needScratch(Loader *loader, int64_t count) {
  if (count <= loader->scratchSize) return;
  const int64_t size = count + count / 2;
  loader->rows = static_cast<int *>(qrts__realloc("qrts_load2BaseModel", loader->rows, size * int64_t(sizeof(int))));
  loader->cols = static_cast<int *>(qrts__realloc("qrts_load2BaseModel", loader->cols, size * int64_t(sizeof(int))));
  loader->scratchSize = size;
}

// Adds elements with 1-based local indices at the offsets of a row node and a column node.
void addElements(Loader *loader, int count, const int *rows, const int *cols, const double *values, int rowOffset,
                 int colOffset) {
  if (count == 0) return;
  needScratch(loader, count);
  for (int e = 0; e < count; ++e) {
    loader->rows[e] = rows[e] - 1;
    loader->cols[e] = cols[e] - 1;
  }
  appendTripleBlock(loader->model, count, loader->rows, loader->cols, values, rowOffset, colOffset);
}

// Enters the core's block k over nCols columns in column order, so that merging can copy its repeats as they lie.
void enterCoreBlock(Loader *loader, int k, int nCols, int rowOffset, int colOffset) {
  const char *const name = "qrts_load2BaseModel";
  const CoreData *core = loader->core;
  const int first = core->blockStart[k - 1] - 1, count = core->blockStart[k] - core->blockStart[k - 1];
  const int *const mrow = core->mrow + first, *const mcol = core->mcol + first;
  int *starts = static_cast<int *>(qrts__alloc(name, (int64_t(nCols) + 2) * int64_t(sizeof(int)), 0));
  int *rows = static_cast<int *>(qrts__alloc(name, int64_t(count) * int64_t(sizeof(int)), 1));
  double *values = static_cast<double *>(qrts__alloc(name, int64_t(count) * int64_t(sizeof(double)), 1));
  int *place = starts + 1;  // counted one further on, the start of a column moves to that of the next
  for (int e = 0; e < count; ++e) ++place[mcol[e]];
  for (int c = 1; c <= nCols; ++c) place[c] += place[c - 1];
  for (int e = 0; e < count; ++e) {
    const int at = place[mcol[e] - 1]++;
    rows[at] = mrow[e] - 1;
    values[at] = core->dels[first + e];
  }
  qrt_sortMatrix(starts, rows, values, nCols);
  appendColumnBlock(loader->model, nCols, rows, starts, values, rowOffset, colOffset);
  free(starts);
  free(rows);
  free(values);
}

// The core's block k at these offsets: entered at its first use, repeated afterwards.
void addCoreBlock(Loader *loader, int k, int nCols, int rowOffset, int colOffset) {
  int &entry = loader->blockTable[k - 1];
  if (entry > 0) {
    appendRepeatedBlock(loader->model, entry - 1, rowOffset, colOffset);
  } else if (entry < 0) {
    enterCoreBlock(loader, k, nCols, rowOffset, colOffset);
    entry = loader->model->Inumblocks;
  }
}

void makeBlockTable(Loader *loader) {
  const CoreData *core = loader->core;
  const int64_t blocks = blockCount(core->nStages);
  loader->blockTable =
      static_cast<int *>(qrts__alloc("qrts_load2BaseModel", blocks * int64_t(sizeof(int)), 0));
  for (int k = 1; k <= blocks; ++k)
    loader->blockTable[k - 1] = core->blockStart[k] > core->blockStart[k - 1] ? -k : 0;
}

bool stageDiffers(const RimCopy &copy, int stage) {
  for (int k = copy.starts[stage - 1] - 1; k < copy.starts[stage] - 1; ++k)
    if (memcmp(copy.from + k, &copy.unset, sizeof copy.unset) != 0) return true;  // a negative zero is not zero here
  return false;
}

// The vectors of the core and their stages. In a fresh model what is unset in the core stands already and is not
// written, so that pages of zeros stay untouched.
void makeCopies(Loader *loader) {
  const CoreData *core = loader->core;
  QRTModel *model = loader->model;
  const int at = model->Imaxrows, *const rows = core->rowStageStart, *const cols = core->colStageStart;
  const RimCopy copies[RIM_COPIES] = {{model->lower, core->rowLower, -QRT_INFINITY, rows, nullptr},
                                      {model->upper, core->rowUpper, QRT_INFINITY, rows, nullptr},
                                      {model->solution, loader->rowStart, 0.0, rows, nullptr},
                                      {model->lower + at, core->colLower, 0.0, cols, nullptr},
                                      {model->upper + at, core->colUpper, QRT_INFINITY, cols, nullptr},
                                      {model->objective + at, core->objective, 0.0, cols, nullptr},
                                      {model->solution + at, loader->colStart, 0.0, cols, nullptr}};
  loader->differs = static_cast<char *>(qrts__alloc("qrts_load2BaseModel", int64_t(RIM_COPIES) * core->nStages, 1));
  for (int v = 0; v < RIM_COPIES; ++v) {
    loader->copies[v] = copies[v];
    loader->copies[v].differs = loader->differs + int64_t(v) * core->nStages;
    for (int s = 1; s <= core->nStages; ++s)
      loader->copies[v].differs[s - 1] = !loader->fresh || stageDiffers(loader->copies[v], s);
  }
}

// The core's bounds and costs, and values and statuses at them, for the rows and columns of a node.
void copyCoreRim(Loader *loader, const TreeNode &node) {
  const CoreData *core = loader->core;
  for (int v = 0; v < RIM_COPIES; ++v) {
    const RimCopy &copy = loader->copies[v];
    const bool rows = copy.starts == core->rowStageStart;
    const int n = rows ? node.nRows : node.nCols;
    if (n > 0 && copy.differs[node.stage - 1])
      memcpy(copy.to + (rows ? node.rowOffset : node.colOffset), copy.from + copy.starts[node.stage - 1] - 1,
             size_t(n) * sizeof(double));
  }
  if (node.nCols > 0)
    memcpy(loader->model->status + loader->columnBase + node.colOffset,
           loader->colStatus + core->colStageStart[node.stage - 1] - 1, size_t(node.nCols) * sizeof(int));
}

// Value of a row at the bound nearest to zero.
double rowStartValue(double lower, double upper) { return lower < 0.0 ? (upper < 0.0 ? upper : 0.0) : lower; }

// Puts a column of the model at its bound nearest to zero.
void startColumn(QRTModel *model, int at) {
  uint32_t status;
  model->solution[at] = startValue(model->lower[at], model->upper[at], &status);
  model->status[at] = int(status);
}

// Lists the rows and columns of a node whose bounds differ from the core's, 1-based, in the scratch lists.
void listMovedBounds(Loader *loader, const TreeNode &node, int count, const int *rows, const int *cols, int *nRows,
                     int *nCols) {
  needScratch(loader, count);
  *nRows = *nCols = 0;
  for (int e = 0; e < count; ++e) {
    const int rimRow = rows[e] - node.nRows, rimCol = cols[e] - node.nCols;
    if (rimRow == EXT_COL_LOWER || rimRow == EXT_COL_UPPER) loader->cols[(*nCols)++] = cols[e];
    else if (rimCol == EXT_ROW_LOWER || rimCol == EXT_ROW_UPPER) loader->rows[(*nRows)++] = rows[e];
  }
}

void copyIntegerMarks(Loader *loader, const TreeNode &node) {
  QRTStoch *stoch = loader->stoch;
  const CoreData *core = loader->core;
  const int first = core->colStageStart[node.stage - 1];
  for (int k = 0; k < node.nCols; ++k) {
    const int mark = core->integerMarks[colSortedToInput(core, first + k) - 1];
    stoch->integerMarks[node.colOffset + k] = mark;
    if (mark) ++stoch->nIntegers;
  }
}

void fixVirtual(Loader *loader, const TreeNode &node) {
  for (int k = 0; k < node.nCols; ++k) {
    const int at = loader->columnBase + node.colOffset + k;
    loader->lower[at] = loader->upper[at] = loader->objective[at] = 0.0;
    startColumn(loader->model, at);
  }
}

// Off-diagonal blocks: the node's rows against the columns of each ancestor.
void loadAncestorBlocks(Loader *loader, const TreeNode &node, const NodeGroup &group) {
  const TreeNode *nodes = loader->smodel->nodeList->nodes;
  for (int up = node.parent; up != 0; up = nodes[up - 1].parent) {
    const TreeNode &ancestor = nodes[up - 1];
    const int t = ancestor.stage;
    const int first = group.blockStart[t - 1] - 1;
    const int count = group.blockStart[t] - group.blockStart[t - 1];
    addElements(loader, count, group.rows + first, group.cols + first, group.values + first, node.rowOffset,
                ancestor.colOffset);
    addCoreBlock(loader, blockNumber(node.stage, t), ancestor.nCols, node.rowOffset, ancestor.colOffset);
  }
}

// Adds the differences of a node's rim to what was copied from the core; values and statuses follow moved bounds.
// What is left in the group are matrix elements, whose number is returned.
int addRimDifferences(Loader *loader, const TreeNode &node, int count, int *rows, int *cols, double *values) {
  QRTModel *model = loader->model;
  const int at = loader->columnBase + node.colOffset;
  double *quadratic = loader->smodel->quadDiagonal ? loader->smodel->quadDiagonal + node.colOffset : nullptr;
  int movedRows, movedCols;
  listMovedBounds(loader, node, count, rows, cols, &movedRows, &movedCols);
  qrtspltblk(1, node.nRows, node.nCols, &count, rows, cols, values, loader->lower + node.rowOffset,
             loader->upper + node.rowOffset, loader->lower + at, loader->upper + at, loader->objective + at, quadratic);
  for (int k = 0; k < movedRows; ++k) {
    const int i = node.rowOffset + loader->rows[k] - 1;
    model->solution[i] = rowStartValue(model->lower[i], model->upper[i]);
  }
  for (int k = 0; k < movedCols; ++k) startColumn(model, at + loader->cols[k] - 1);
  return count;
}

// The node's diagonal block, and the differences of its rim.
void loadOwnBlock(Loader *loader, const TreeNode &node, const NodeGroup &group) {
  addCoreBlock(loader, blockNumber(node.stage, node.stage), node.nCols, node.rowOffset, node.colOffset);
  const int first = group.blockStart[node.stage - 1] - 1;
  const int count = addRimDifferences(loader, node, group.blockStart[node.stage] - group.blockStart[node.stage - 1],
                                      group.rows + first, group.cols + first, group.values + first);
  addElements(loader, count, group.rows + first, group.cols + first, group.values + first, node.rowOffset,
              node.colOffset);
  double *costs = loader->objective + loader->columnBase + node.colOffset;
  for (int k = 0; k < node.nCols; ++k) costs[k] *= node.probability;
  double *quadratic = loader->smodel->quadDiagonal;
  for (int k = 0; quadratic && k < node.nCols; ++k) quadratic[node.colOffset + k] *= node.probability;
}

int loadNode(Loader *loader, const TreeNode &node) {
  if (node.isVirtual) {
    fixVirtual(loader, node);
    return 0;
  }
  NodeGroup group;
  const int code = qrts_readGroup("qrts_load2BaseModel", loader->stoch->sdata, node.record, node.stage, &group);
  if (code >= 2) return code;
  loadAncestorBlocks(loader, node, group);
  copyCoreRim(loader, node);
  if (loader->stoch->integerMarks && !loader->stoch->parent) copyIntegerMarks(loader, node);
  if (loader->smodel->quadDiagonal) {
    const CoreData *core = loader->core;
    const int col = core->colStageStart[node.stage - 1] - 1;
    for (int k = 0; k < node.nCols; ++k)
      loader->smodel->quadDiagonal[node.colOffset + k] = core->quadDiagonal[col + k];
  }
  loadOwnBlock(loader, node, group);
  return 0;
}

// Where the rows and columns of the core stand at their own bounds; nodes copy it.
void makeStarts(Loader *loader) {
  const char *const name = "qrts_load2BaseModel";
  const CoreData *core = loader->core;
  const int64_t rows = core->nRows > 0 ? core->nRows : 1, cols = core->nCols > 0 ? core->nCols : 1;
  loader->rowStart = static_cast<double *>(qrts__alloc(name, rows * int64_t(sizeof(double)), 1));
  loader->colStart = static_cast<double *>(qrts__alloc(name, cols * int64_t(sizeof(double)), 1));
  loader->colStatus = static_cast<int *>(qrts__alloc(name, cols * int64_t(sizeof(int)), 1));
  for (int i = 0; i < core->nRows; ++i) loader->rowStart[i] = rowStartValue(core->rowLower[i], core->rowUpper[i]);
  for (int j = 0; j < core->nCols; ++j) {
    uint32_t status;
    loader->colStart[j] = startValue(core->colLower[j], core->colUpper[j], &status);
    loader->colStatus[j] = int(status);
  }
}

void prepareMarks(Loader *loader) {
  QRTStoch *stoch = loader->stoch;
  const CoreData *core = loader->core;
  if (core->problemType == 2) {
    loader->smodel->problemType = 2;
    free(loader->smodel->quadDiagonal);
    loader->smodel->quadDiagonal = static_cast<double *>(
        qrts__alloc("qrts_load2BaseModel", (int64_t(loader->smodel->nCols) + 1) * int64_t(sizeof(double)), 0));
  }
  if (core->nIntegers > 0 && core->integerMarks) {
    free(stoch->integerMarks);
    stoch->integerMarks = static_cast<int *>(
        qrts__alloc("qrts_load2BaseModel", (int64_t(loader->smodel->nCols) + 1) * int64_t(sizeof(int)), 0));
    stoch->nIntegers = 0;
  }
}

void dropEmptyQuadratic(StochModel *smodel) {
  if (smodel->problemType != 2) return;
  for (int j = 0; j < smodel->nCols; ++j)
    if (smodel->quadDiagonal[j] != 0.0) return;
  smodel->problemType = 1;
  free(smodel->quadDiagonal);
  smodel->quadDiagonal = nullptr;
  stochMessage(MSG_NO_QUADRATIC);
}

}  // namespace

int qrts_load3BaseModel(QRTStoch *stoch, int merge, bool fresh) {
  StochModel *smodel = stoch->smodel;
  if (!smodel || !smodel->nodeList || !smodel->nodeList->nodes || !smodel->model) {
    messageC(1, "Stochastic Model");
    messageC(2, "qrts_load2BaseModel");
    stochMessage(MSG_BAD_STRUCTURE);
    return 2;
  }
  if (qrts_unpackCore(stoch->sdata) >= 2) return 2;
  QRTModel *model = smodel->model;
  qrt_makeThisCurrent(model);
  Loader loader = {};
  loader.stoch = stoch;
  loader.smodel = smodel;
  loader.core = stoch->sdata->core;
  loader.model = model;
  loader.lower = model->lower;
  loader.upper = model->upper;
  loader.objective = model->objective;
  loader.columnBase = model->Imaxrows;
  loader.fresh = fresh;
  prepareMarks(&loader);
  makeBlockTable(&loader);
  makeStarts(&loader);
  makeCopies(&loader);
  expectWrites(model->objective + model->Imaxrows, int64_t(sizeof(double)) * model->Inumcols);
  int code = 0;
  for (int k = 0; code < 2 && k < smodel->nodeList->nNodes; ++k) code = loadNode(&loader, smodel->nodeList->nodes[k]);
  void *const scratch[] = {loader.blockTable, loader.rows, loader.cols, loader.rowStart, loader.colStart, loader.colStatus,
                           loader.differs};
  for (void *array : scratch) free(array);
  if (code >= 2) return code;
  const int blocks = model->Inumblocks;
  if (merge) code = qrt_mergeBlocks(model, 1);
  if (code >= 2) return code;
  qrt_setRmaxmin(model, stoch->optmaxmin);
  dropEmptyQuadratic(smodel);
  messageI(1, blocks);
  stochMessage(MSG_BLOCK_TOTAL);
  return 0;
}

int qrts_load2BaseModel(QRTStoch *stoch, int merge) { return qrts_load3BaseModel(stoch, merge, false); }
