/* A stochastic program made by calls: how much land for each crop, before the weather is known. Core, scenarios, solve,
 * and the solution by node and by scenario. The problem and its figures are those of Birge and Louveaux, Introduction to
 * Stochastic Programming, Springer 1997, section 1.1. Build: cc farmer.c $(pkg-config --cflags --libs tavstoch) -lm. */
#include <qrts_c_api.h>
#include <stdio.h>

#define ROWS 4
#define COLUMNS 9
#define SCENARIOS 3
#define NONE 1e31

/* Stage 1: acres of wheat, corn, beets. Stage 2: wheat and corn bought, wheat and corn sold, beets sold dear and cheap. */
static const int columnStage[COLUMNS] = {1, 1, 1, 2, 2, 2, 2, 2, 2};
static const double cost[COLUMNS] = {150, 230, 260, 238, 210, -170, -150, -36, -10};
static const double columnLower[COLUMNS] = {0, 0, 0, 0, 0, 0, 0, 0, 0};
static const double columnUpper[COLUMNS] = {NONE, NONE, NONE, NONE, NONE, NONE, NONE, 6000, NONE}; /* the quota of beets */
/* Rows: land (stage 1); wheat, corn and beets at hand (stage 2). */
static const int rowStage[ROWS] = {1, 2, 2, 2};
static const double rowLower[ROWS] = {-NONE, 200, 240, 0}, rowUpper[ROWS] = {500, NONE, NONE, NONE};
/* Elements as triplets; rows and columns count from 1 here. The yields come first. */
static const int row[] = {2, 3, 4, 1, 1, 1, 2, 2, 3, 3, 4, 4};
static const int column[] = {1, 2, 3, 1, 2, 3, 4, 6, 5, 7, 8, 9};
static const double element[] = {2.5, 3, 20, 1, 1, 1, 1, -1, 1, -1, -1, -1};

static int fail(const char *what) {
  fprintf(stderr, "%s failed\n", what);
  return 1;
}

int main(void) {
  static const double weather[SCENARIOS] = {0.8, 1.0, 1.2}; /* yields, as a part of the usual */
  QRTContext *context = qrts_initializeContext();
  QRTStoch *farm;
  double values[COLUMNS], duals[ROWS], probability[SCENARIOS], result[SCENARIOS], mean, deviation;
  int indices[COLUMNS], ids[SCENARIOS], s, j;

  qrt_setLogfileName(qrt_baseModel(context), "/dev/null"); /* models made later take the log of the base model */
  farm = qrts_newStoch(context, "farm", SCENARIOS);
  if (qrts_createCore(farm, 2, rowStage, columnStage, ROWS, COLUMNS, 12, cost, rowLower, rowUpper, columnLower, columnUpper,
                      row, column, element) != 0)
    return fail("the core");
  for (s = 0; s < SCENARIOS; s++) {
    double yield[3];
    for (j = 0; j < 3; j++) yield[j] = element[j] * weather[s];
    /* Leaves the root (ancestor 0) at stage 2; only the yields differ, given as values (the last argument). */
    if (qrts_addScenario(farm, s + 1, 0, 2, 1.0 / SCENARIOS, 0, ROWS, COLUMNS, 3, NULL, NULL, NULL, NULL, NULL, row, column,
                         yield, 1) != 0)
      return fail("a scenario");
  }
  printf("%d scenarios, %d nodes, %d stages\n", qrts_getNumScenarios(farm), qrts_getNumNodes(farm), qrts_getNumStages(farm));

  if (qrts_describeFullModel(farm, 1) < 0) return fail("the equivalent");
  if (qrts_eitherSimplex(farm) >= 2 || qrts_getStatus(farm) != 0) return fail("the solve");
  printf("profit %.2f\n", -qrts_getRobjvalue(farm));

  /* By node: stage 1 is common to all, so any scenario names it. */
  qrts_getNodeSolution(farm, 1, 1, 0, values, indices);
  printf("acres: wheat %.0f, corn %.0f, beets %.0f\n", values[0], values[1], values[2]);
  for (s = 1; s <= SCENARIOS; s++) {
    qrts_getNodeSolution(farm, s, 2, 0, values, indices); /* the 6 columns of stage 2, in the order of the core */
    printf("scenario %d: sells %.0f wheat, %.0f corn, %.0f beets; buys %.0f corn\n", s, values[2], values[3],
           values[4] + values[5], values[1]);
    /* Duals carry the probability of their node. */
    qrts_getNodeDualSolution(farm, s, 2, 1, duals, indices);
    printf("            another ton of beets is worth %.2f\n", duals[2] * SCENARIOS);
  }
  /* By scenario: all stages in one vector, in the order of the core. */
  qrts_getScenarioSolution(farm, SCENARIOS, 0, values, indices);
  printf("scenario %d in all: %.0f acres of beets give %.0f tons\n", SCENARIOS, values[2], values[7] + values[8]);
  qrts_getScenarioDistribution(farm, SCENARIOS, ids, probability, result, &mean, &deviation);
  for (s = 0; s < SCENARIOS; s++) printf("profit in scenario %d: %.0f\n", ids[s], -result[s]);

  qrts_deleteStoch(farm);
  qrts_endContext(context);
  return 0;
}
/* prints: profit 108390.00 */
