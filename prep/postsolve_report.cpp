// What postsolve says of the solution that is handed to it.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/model_store.h"
#include "prep/presolve_run.h"

namespace {

struct Report {
  double primal, dual;           // objective values of the minimised form
  double infeasibility, slackness;
};

void look(Report *r, double x, double dual, double lower, double upper) {
  const double below = hasLower(lower) ? lower - x : 0.0, above = hasUpper(upper) ? x - upper : 0.0;
  r->infeasibility = std::fmax(r->infeasibility, std::fmax(below, above));
  const double bound = dual > 0.0 ? lower : upper;
  if (dual == 0.0 || std::fabs(bound) >= QRT_INFINITE_TEST) return;
  r->dual += dual * bound;
  r->slackness = std::fmax(r->slackness, std::fabs(dual * (x - bound)));
}

}  // namespace

void reportSolution(QRTModel *model) {
  Report r = {0.0, 0.0, 0.0, 0.0};
  const int m = model->Inumrows, n = model->Inumcols, base = model->Imaxrows;
  const double sense = qrtlplp.Rmaxmin, sign = model->dualSignFlip ? 1.0 : -1.0;
  double *activity = static_cast<double *>(temporaryAllocate(model, int64_t(m) + 1, int64_t(sizeof(double))));
  std::memset(activity, 0, (size_t(m) + 1) * sizeof(double));
  forEachElement(model, [&](int i, int j, double &stored) { activity[i] += stored / elementFactor(model, i, j) * model->solution[base + j]; });
  for (int i = 0; i < m; i++) look(&r, activity[i], sign * model->dual[i], model->lower[i], model->upper[i]);
  for (int j = 0; j < n; j++) {
    look(&r, model->solution[base + j], model->dual[base + j], model->lower[base + j], model->upper[base + j]);
    r.primal += model->objective[base + j] * model->solution[base + j];
  }
  const double values[4] = {r.primal - qrtlplp.RobjectiveOffset, r.dual * sense - qrtlplp.RobjectiveOffset, r.infeasibility, r.slackness};
  const int messages[4] = {MSG_PRIMAL_OBJECTIVE, MSG_DUAL_OBJECTIVE, MSG_WORST_INFEASIBILITY, MSG_WORST_SLACKNESS};
  for (int k = 0; k < 4; k++) {
    messageD(1, values[k]);
    qrtmesg_no_q1(messages[k], "qrtpssl", -1);
  }
}
