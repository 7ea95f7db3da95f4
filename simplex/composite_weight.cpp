// The weight of the true objective in the composite objective, sum of infeasibilities + weight * objective: chosen at
// the first check, lowered while feasibility comes too slowly (qrtchgw), set (qrtnwwt).
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"

namespace {

// The two sides of the composite objective of the running algorithm.
struct Sides {
  double sum;        // S: infeasibilities it removes
  double count;      // N
  double otherSum;   // T: infeasibilities of the other kind
  double otherCount; // M
  double weight;
  double speed;      // q
};

Sides sidesOf(const SimplexWork *w) {
  const bool primal = w->algorithm != ALGORITHM_DUAL;
  Sides s;
  s.sum = primal ? qrtlplp.Rsumpinf : qrtlplp.Rsumdinf;
  s.count = primal ? qrtlplp.Inumpinf : qrtlplp.Inumdinf;
  s.otherSum = primal ? qrtlplp.Rsumdinf : qrtlplp.Rsumpinf;
  s.otherCount = primal ? qrtlplp.Inumdinf : qrtlplp.Inumpinf;
  s.weight = primal ? qrtlplp.Rpweight : qrtlplp.Rdweight;
  s.speed = qrtlplp.Rchangeweight;
  if (primal && s.speed < 0.0) s.speed = 1.0;
  if (!primal && s.speed > 0.0) s.speed = std::sqrt(s.speed);
  return s;
}

void applyWeight(SimplexWork *w, const Sides &s, double fresh) {
  if (fresh < w->minimumWeight) fresh = w->minimumWeight;
  if (!(fresh < s.weight)) return;
  if (w->bestObjective < 1.0e50) w->bestObjective += 1.001 * (s.sum / fresh - s.sum / s.weight);
  if (w->algorithm == ALGORITHM_DUAL) qrtlplp.Rdweight = fresh;
  else qrtlplp.Rpweight = fresh;
  if (qrtlplp.Iloglevel & LOG_DETAIL) qrtmesg_no_d1(MSG_NEW_WEIGHT, fresh);
  w->weightChangeIter = qrtlplp.Iiternum;
  qrtobjv(w);
  const double merit = w->algorithm == ALGORITHM_DUAL ? w->meritDual : w->meritPrimal;
  const double raised = merit + 0.001 * std::fabs(merit);
  if (raised > w->bestObjective) w->bestObjective = raised;
  w->djState = 5;
}

void firstWeight(SimplexWork *w, const Sides &s) {
  SimplexWork::WeightMemory *memory = &w->weightMemory;
  *memory = SimplexWork::WeightMemory();
  const double m = w->m, n = w->n;
  memory->expectedIterations = (m + 10.0) / 10.0 + 2.0 * s.count;
  memory->startIter = qrtlplp.Iiternum;
  memory->expectedFall = (s.sum + 1.0e-12) / memory->expectedIterations;
  memory->lowestSum = memory->startSum = s.sum + 1.0e-12;
  double candidate = std::fmin((s.otherCount * s.sum + 1.0e-12) / (s.otherSum * s.count + 1.0e-12),
                               (s.sum + 1.0e-12) / (s.otherSum + 1.0e-12));
  candidate = 0.9 * std::fmax(candidate, 1.0e-8);
  if (w->algorithm != ALGORITHM_DUAL) {
    if (n > 3.0 * m && m < 2000.0) candidate *= 0.1;
    if (m + n < 3000.0) candidate *= 0.1;
  }
  if (std::fabs(s.weight - 0.1) > 1.0e-5 || s.speed <= 0.01) candidate = s.weight;
  else if (s.speed <= 0.2) candidate = std::sqrt(candidate * s.weight);
  memory->firstWeight = candidate;
  memory->count = 1;
  memory->iteration[0] = qrtlplp.Iiternum;
  memory->sum[0] = s.sum;
  if (candidate < s.weight) applyWeight(w, s, candidate);
}

void remember(SimplexWork::WeightMemory *memory, double sum) {
  if (memory->count == 11) {
    for (int k = 1; k < 11; k++) {
      memory->iteration[k - 1] = memory->iteration[k];
      memory->sum[k - 1] = memory->sum[k];
    }
    memory->count = 10;
  }
  memory->iteration[memory->count] = qrtlplp.Iiternum;
  memory->sum[memory->count++] = sum;
}

void laterWeight(SimplexWork *w, const Sides &s) {
  SimplexWork::WeightMemory *memory = &w->weightMemory;
  if (s.weight <= 1.0e-30 || qrtlplp.Rmaxmin == 0.0 || s.count == 0.0 || memory->count == 0) return;
  const int previous = memory->count - 1;
  const int apart = qrtlplp.Iiternum - memory->iteration[previous];
  if (apart < 11) return;
  const double before = memory->sum[previous];
  remember(memory, s.sum);
  const double fall = before + s.count * qrtlplp.Rtolpinf - s.sum;
  const double rate = (fall + 2.0 * memory->expectedFall * w->state.weightFlag) / apart;
  w->state.weightFlag = 0;
  double q = s.speed;
  if ((w->algorithm != ALGORITHM_DUAL && s.sum / (s.count + 1.0) < 0.001) || q <= 0.0) return;
  if (s.sum < memory->lowestSum) memory->lowestSum = s.sum;
  if (before < qrtlplp.Rtolpinf) return;
  double fresh = s.weight;
  if (fall / s.sum < -0.0001) {
    fresh = w->feasibleCount == 0 ? s.weight * std::fmax(0.1 + 0.1 * fall / s.sum, std::pow(0.1, q))
                                  : s.weight * std::pow(0.8, q);
    applyWeight(w, s, fresh);
    memory->changes++;
    return;
  }
  if (q <= 0.001 || s.weight <= 1.0e-15) return;
  const double R = memory->expectedIterations;
  const double since = qrtlplp.Iiternum - memory->startIter;
  double iterations = s.count + 4.0 * s.count * qrtlplp.Iiternum / std::fmax(1.0, w->m);
  if (since < R) iterations += (R - since) * w->m / (10.0 * R) + 1.0;
  const double target = (s.sum + 1.0e-12) / iterations;
  if (target < 0.2 * memory->expectedFall) {
    memory->expectedFall *= 0.2;
    memory->lowestSum = s.sum;
  }
  if (memory->expectedFall < rate) return;
  if (s.sum < 0.001 * memory->startSum) q = std::sqrt(q);
  const bool early = memory->changes < 4 && since < w->m && q > 0.1;
  const double e1 = std::pow(early ? 0.3 : 0.25, 1.0 / q), e2 = std::pow(0.2, 1.0 / q);
  const double low = std::pow(early ? 0.2 : 0.8, q), high = std::pow(early ? 0.3 : 0.95, q);
  const double limit = std::fmin(1.0, std::pow(s.weight / memory->firstWeight, e1)) *
                       std::fmin(1.0, std::pow(s.sum / memory->lowestSum, e2));
  const double share = rate / memory->expectedFall;
  if (!(share < limit)) return;
  applyWeight(w, s, s.weight * std::fmin(high, std::fmax(low, share)));
  memory->changes++;
  if (target < memory->expectedFall) {
    memory->expectedFall = target;
    memory->lowestSum = s.sum;
  }
}

}  // namespace

void qrtchgw(SimplexWork *w) {
  const Sides s = sidesOf(w);
  if (w->state.checkCount < 0) firstWeight(w, s);
  else laterWeight(w, s);
}

void qrtnwwt(SimplexWork *w, double weight, int apply) {
  if (weight < 1.0e-19) weight = 1.0e-30;
  if (qrtlplp.Iloglevel & LOG_DETAIL) qrtmesg_no_d1(MSG_NEW_WEIGHT, weight);
  w->djState = 5;
  w->weightChangeIter = qrtlplp.Iiternum;
  if (!apply) return;
  qrtlplp.Rpweight = weight;
  qrtobjv(w);
  const double raised = w->meritPrimal + 1.0e-5 * (std::fabs(w->meritPrimal) + 1.0);
  if (raised > w->bestObjective) w->bestObjective = raised;
}
