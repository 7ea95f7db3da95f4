/* Reads a stochastic program, solves its deterministic equivalent, prints what to build and what it may cost.
 * Build: cc power.c $(pkg-config --cflags --libs tavstoch) -o power; run it where the power.* files are. */
#include <qrts_c_api.h>
#include <stdio.h>

#define SCENARIOS 10

int main(void) {
  QRTContext *context = qrts_initializeContext();
  QRTStoch *power = qrts_newStoch(context, "power", SCENARIOS);
  double build[4], probability[SCENARIOS], cost[SCENARIOS], mean, deviation;
  int column[4], scenario[SCENARIOS], j, s;

  /* The library talks on stdout unless it is told to talk to a file. */
  qrt_setLogfileName(qrtse_getBaseModel(power), "/dev/null");
  if (qrts_readSMPSData(power, "power.cor", "power.tim", "power.sto") < 0) return 1;
  if (qrts_describeFullModel(power, 1) < 0) return 1;
  qrt_setLogfileName(qrtse_getCurrentModel(power), "/dev/null");
  if (qrts_eitherSimplex(power) >= 2 || qrts_getStatus(power) != 0) return 1;

  printf("objective %.4f\n", qrts_getRobjvalue(power));
  qrts_getNodeSolution(power, 1, 1, 0, build, column); /* scenario 1, stage 1, columns */
  for (j = 0; j < 4; j++) printf("build %.4f of plant %d\n", build[j], j + 1);
  qrts_getScenarioDistribution(power, qrts_getNumScenarios(power), scenario, probability, cost, &mean, &deviation);
  for (s = 0; s < qrts_getNumScenarios(power); s++)
    printf("scenario %d: cost %.4f with probability %.1f\n", scenario[s], cost[s], probability[s]);
  printf("mean %.4f, deviation %.4f\n", mean, deviation);

  qrts_deleteStoch(power);
  return qrts_endContext(context);
}
/* prints: objective 381.8533 */
