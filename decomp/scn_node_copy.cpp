// Data arranged by node between models that hold some of the same nodes, and packed data.
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"

namespace {

enum Kind { KIND_ALL, KIND_REAL, KIND_VIRTUAL, KIND_NONE };

Kind kindOf(const char *text) {
  if (!text) return KIND_NONE;
  return *text == 'A' ? KIND_ALL : *text == 'R' ? KIND_REAL : *text == 'V' ? KIND_VIRTUAL : KIND_NONE;
}

// Place of a node's items in data arranged as a model.
struct Place {
  bool held;                // the model has the node, and it is of the kind
  int64_t at;
};

Place placeIn(const QRTStoch *model, int number, Kind kind, int unit) {
  const int k = placeOfNode(model->smodel, number);
  if (k == 0) return {false, 0};
  const TreeNode &node = model->smodel->nodeList->nodes[k - 1];
  if (kind != KIND_ALL && (kind == KIND_VIRTUAL) != (node.isVirtual != 0)) return {false, 0};
  if (unit == 0 && node.isVirtual) return {false, 0};  // an ancestor brings no rows
  return {true, unit < 0 ? k - 1 : unit == 0 ? node.rowOffset : node.colOffset};
}

void copyItems(void *to, int64_t toAt, const void *from, int64_t fromAt, int64_t n, int size) {
  if (n <= 0) return;
  char *target = static_cast<char *>(to) + toAt * size;
  if (from) memcpy(target, static_cast<const char *>(from) + fromAt * size, size_t(n * size));
  else memset(target, 0, size_t(n * size));
}

}  // namespace

int qrts_Cndcp(QRTStoch *from, const void *fromData, const char *fromKind, QRTStoch *to, void *toData, const char *toKind, int nList,
               const int *list, int unit, int size) {
  if (!toData || fromData == toData || (nList > 0 && !list) || (!from && !to)) return 0;
  const Kind fromWanted = kindOf(fromKind), toWanted = kindOf(toKind);
  if ((from && (fromWanted == KIND_NONE || !from->smodel || !fromData)) || (to && (toWanted == KIND_NONE || !to->smodel))) return 0;
  const QRTStoch *guide = to ? to : from;
  int *own = nullptr;
  if (nList <= 0) {
    nList = guide->smodel->nodeList->nNodes;
    own = static_cast<int *>(qrts__alloc("qrts_Cndcp", int64_t(nList) * int64_t(sizeof(int)), 0));
    storeNumbers(guide, own);
  }
  const TreeNode *store = guide->sdata->nodes->nodes;
  int64_t copied = 0, packed = 0;
  for (int p = 0; p < nList; ++p) {
    const int number = own ? own[p] : list[p];
    if (number < 1) continue;
    const int64_t n = unit < 0 ? 1 : unit == 0 ? store[number - 1].nRows : store[number - 1].nCols;
    Place source = {true, packed}, target = {true, packed};
    if (from) source = placeIn(from, number, fromWanted, unit);
    if (to) target = placeIn(to, number, toWanted, unit);
    const bool passes = source.held && target.held;
    if (passes) {
      copyItems(toData, target.at, fromData, source.at, n, size);
      copied += n;
    }
    if (passes || !own) packed += n;
  }
  free(own);
  return int(copied);
}
