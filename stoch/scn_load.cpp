// Loading: fills a described model node by node. Core blocks enter once and are repeated by reference; what a node
// changes is added beside them.
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

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

// The core's block k at these offsets: entered at its first use, repeated afterwards.
void addCoreBlock(Loader *loader, int k, int rowOffset, int colOffset) {
  int &entry = loader->blockTable[k - 1];
  if (entry > 0) {
    appendRepeatedBlock(loader->model, entry - 1, rowOffset, colOffset);
  } else if (entry < 0) {
    const CoreData *core = loader->core;
    const int first = core->blockStart[k - 1] - 1;
    const int count = core->blockStart[k] - core->blockStart[k - 1];
    addElements(loader, count, core->mrow + first, core->mcol + first, core->dels + first, rowOffset, colOffset);
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

void copyCoreRim(Loader *loader, const TreeNode &node) {
  const CoreData *core = loader->core;
  const size_t rowBytes = size_t(node.nRows) * sizeof(double), colBytes = size_t(node.nCols) * sizeof(double);
  const int row = core->rowStageStart[node.stage - 1] - 1, col = core->colStageStart[node.stage - 1] - 1;
  if (rowBytes) {
    memcpy(loader->lower + node.rowOffset, core->rowLower + row, rowBytes);
    memcpy(loader->upper + node.rowOffset, core->rowUpper + row, rowBytes);
  }
  if (colBytes) {
    const int at = loader->columnBase + node.colOffset;
    memcpy(loader->lower + at, core->colLower + col, colBytes);
    memcpy(loader->upper + at, core->colUpper + col, colBytes);
    memcpy(loader->objective + at, core->objective + col, colBytes);
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
    addCoreBlock(loader, blockNumber(node.stage, t), node.rowOffset, ancestor.colOffset);
  }
}

// The node's diagonal block, and the differences of its rim.
void loadOwnBlock(Loader *loader, const TreeNode &node, const NodeGroup &group) {
  addCoreBlock(loader, blockNumber(node.stage, node.stage), node.rowOffset, node.colOffset);
  const int first = group.blockStart[node.stage - 1] - 1;
  int count = group.blockStart[node.stage] - group.blockStart[node.stage - 1];
  const int at = loader->columnBase + node.colOffset;
  double *quadratic = loader->smodel->quadDiagonal ? loader->smodel->quadDiagonal + node.colOffset : nullptr;
  qrtspltblk(1, node.nRows, node.nCols, &count, group.rows + first, group.cols + first, group.values + first,
             loader->lower + node.rowOffset, loader->upper + node.rowOffset, loader->lower + at, loader->upper + at,
             loader->objective + at, quadratic);
  addElements(loader, count, group.rows + first, group.cols + first, group.values + first, node.rowOffset,
              node.colOffset);
  for (int k = 0; k < node.nCols; ++k) {
    loader->objective[at + k] *= node.probability;
    if (quadratic) quadratic[k] *= node.probability;
  }
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

// The rims were written behind the store's back: values and statuses follow them.
void startAtBounds(QRTModel *model) {
  for (int i = 0; i < model->Inumrows; ++i) {
    const double lower = model->lower[i], upper = model->upper[i];
    model->solution[i] = lower < 0.0 ? (upper < 0.0 ? upper : 0.0) : lower;
  }
  for (int j = 0; j < model->Inumcols; ++j) {
    const int at = model->Imaxrows + j;
    uint32_t status;
    model->solution[at] = startValue(model->lower[at], model->upper[at], &status);
    model->status[at] = int(status);
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

int qrts_load2BaseModel(QRTStoch *stoch, int merge) {
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
  Loader loader = {stoch, smodel, stoch->sdata->core, model, nullptr, nullptr, nullptr, 0,
                   model->lower, model->upper, model->objective, model->Imaxrows};
  prepareMarks(&loader);
  makeBlockTable(&loader);
  int code = 0;
  for (int k = 0; code < 2 && k < smodel->nodeList->nNodes; ++k) code = loadNode(&loader, smodel->nodeList->nodes[k]);
  free(loader.blockTable);
  free(loader.rows);
  free(loader.cols);
  if (code >= 2) return code;
  startAtBounds(model);
  const int blocks = model->Inumblocks;
  if (merge) code = qrt_mergeBlocks(model, 1);
  if (code >= 2) return code;
  qrt_setRmaxmin(model, stoch->optmaxmin);
  dropEmptyQuadratic(smodel);
  messageI(1, blocks);
  stochMessage(MSG_BLOCK_TOTAL);
  return 0;
}
