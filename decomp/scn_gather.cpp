// Solutions between the whole model and the models of a cut tree, node by node.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "decomp/scn_benders.h"
#include "frame/messages.h"

namespace {

template <class T> void copyRange(T *to, const T *from, int n) {
  if (n > 0) memcpy(to, from, size_t(n) * sizeof(T));
}

void copyWords(int *to, const int *from, int n) {
  // Positions in a basis belong to the model they were made in.
  for (int k = 0; k < n; ++k) to[k] = from[k] & ~int(STATUS_POSITION_MASK);
}

// Rows or columns of one node, from place `source` to place `target`.
void copyPart(QRTModel *to, int target, const QRTModel *from, int source, int n) {
  copyRange(to->solution + target, from->solution + source, n);
  copyRange(to->dual + target, from->dual + source, n);
  copyWords(to->status + target, from->status + source, n);
}

void scaleDuals(QRTModel *model, int at, int n, double factor) {
  if (factor != 1.0)
    for (int k = 0; k < n; ++k) model->dual[at + k] *= factor;
}

bool shareData(const QRTStoch *stoch, QRTStoch *const *models, int n, const char *caller) {
  bool good = stoch->sdata != nullptr;
  for (int i = 0; i < n && good; ++i) good = models[i]->sdata == stoch->sdata;
  if (good) return true;
  messageC(1, "Stochdata");
  messageC(2, caller);
  stochMessage(MSG_BAD_STRUCTURE);
  return false;
}

// Visits each real node of each model with its places there and in the whole.
template <class Visit> int forEachRealNode(QRTStoch *stoch, QRTStoch **models, int n, const char *caller, Visit visit) {
  if (!shareData(stoch, models, n, caller)) return 2;
  const StochModel *whole = stoch->smodel;
  for (int i = 0; i < n; ++i) {
    const StochModel *part = models[i]->smodel;
    for (int p = 0; p < models[i]->nNodeList; ++p) {
      const int number = models[i]->nodeList[p], k = placeOfNode(part, number), w = placeOfNode(whole, number);
      if (k == 0) continue;  // left out for want of probability
      if (w == 0) {
        printf("%s: node %d not found in original model\n", caller, number);
        return 2;
      }
      visit(models[i], part->nodeList->nodes[k - 1], whole->nodeList->nodes[w - 1]);
    }
  }
  return 0;
}

// While the method runs, costs of a subproblem are divided by its weight.
double weightOf(const QRTStoch *model) { return model->costWeight > 0.0 ? model->costWeight : 1.0; }

}  // namespace

int qrts_Cgthr(QRTStoch *stoch, QRTStoch **models, int n) {
  QRTModel *whole = stoch->smodel->model;
  return forEachRealNode(stoch, models, n, "qrts_Cgthr", [whole](QRTStoch *member, const TreeNode &part, const TreeNode &at) {
    const QRTModel *model = member->smodel->model;
    const int column = whole->Imaxrows + at.colOffset;
    copyPart(whole, at.rowOffset, model, part.rowOffset, part.nRows);
    copyPart(whole, column, model, model->Imaxrows + part.colOffset, part.nCols);
    scaleDuals(whole, at.rowOffset, part.nRows, weightOf(member));
    scaleDuals(whole, column, part.nCols, weightOf(member));
  });
}

int qrts_Chots(QRTStoch *stoch, QRTStoch **models, int n) {
  const QRTModel *whole = stoch->smodel->model;
  return forEachRealNode(stoch, models, n, "qrts_Chots", [whole](QRTStoch *member, const TreeNode &part, const TreeNode &at) {
    QRTModel *model = member->smodel->model;
    const int column = model->Imaxrows + part.colOffset;
    copyPart(model, part.rowOffset, whole, at.rowOffset, part.nRows);
    copyPart(model, column, whole, whole->Imaxrows + at.colOffset, part.nCols);
    scaleDuals(model, part.rowOffset, part.nRows, 1.0 / weightOf(member));
    scaleDuals(model, column, part.nCols, 1.0 / weightOf(member));
  });
}

double qrts_get2DualityGap(QRTModel *model) {
  const double sense = qrt_getRmaxmin(model);
  double primal = 0.0, dual = 0.0;
  const auto add = [&](int at) {
    const double l = model->lower[at], u = model->upper[at], v = model->solution[at], y = model->dual[at];
    if (fabs(u - l) < 2e-8) dual += y * u;
    else {
      if (fabs(v - u) < 1e-8) dual += y * u;
      if (fabs(v - l) < 1e-8) dual += y * l;
    }
  };
  for (int i = 0; i < model->Inumrows; ++i) add(i);
  for (int j = 0; j < model->Inumcols; ++j) {
    add(model->Imaxrows + j);
    primal += model->objective[model->Imaxrows + j] * model->solution[model->Imaxrows + j];
  }
  return fabs(primal - sense * dual);
}
