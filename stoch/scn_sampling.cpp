// Sampling: the probabilities of the scenarios replaced by how often a Monte Carlo draw hits each of them.
#include "stoch/scn_sampling.h"

#include <cstdio>
#include <cstdlib>

#include "stoch/scn_stoc.h"

int qrts_drawScenario(int r, int nScenarios) {
  // The divisor is one above the largest draw, so the quotient stays below nScenarios, also for RAND_MAX itself.
  return static_cast<int>(static_cast<int64_t>(r) * nScenarios / (static_cast<int64_t>(RAND_MAX) + 1));
}

int qrts_generate2Samples(QRTStoch *stoch, int count, int flag) {
  if (flag != 0 || count <= 0) return 0;
  const int numleaf = qrts_get2Numleaf(stoch);
  if (numleaf < 1) return 2;
  // A described model may have fewer leaves than the store has scenarios; those behind are never drawn.
  const int stored = stoch->sdata->scenarios->count;
  const int64_t places = numleaf > stored ? numleaf : stored;
  double *frequency = static_cast<double *>(
      qrts__alloc("qrts_generate2Samples", places * static_cast<int64_t>(sizeof(double)), 0));
  const double step = 1.0 / count;
  for (int k = 0; k < count; ++k) frequency[qrts_drawScenario(rand(), numleaf)] += step;
  if (stoch->ifDebug) {
    for (int k = 0; k < numleaf; ++k) printf("\n Scen %d Prob %f\n", k, frequency[k]);
    fflush(stdout);
  }
  const int result = qrts_Ccprb(stoch, frequency);
  free(frequency);
  return result;
}
