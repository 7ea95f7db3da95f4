/* The classic interface from C: reads diet.mps into a work area, solves it, finds the answer by its positions.
 * Build: cc classic.c $(pkg-config --cflags --libs tavstoch) -o classic; run it where diet.mps is. */
#include <qrt_classic.h>
#include <stdio.h>
#include <string.h>

#define LENGTH 20000

static double dspace[LENGTH];

int main(void) {
  const int length = LENGTH, models = 1, unit = 20, byColumn = 2, none = 0, algorithm = 0, init = 1;
  const int first = 1, last = 2999, never = -1, nIntegers = 71, nReals = 45, nPositions = 69;
  int rtcod, integers[71], positions[69];
  double reals[45];

  qrtmset_(&rtcod, dspace, &first, &none, &never, &none, &none, &last, &none); /* no news */
  qrtdsca_(&rtcod, dspace, &length, &models);
  if (rtcod != 0) return 1;
  qrtfopn_(&unit, "diet.mps", "OLD", "SEQUENTIAL", "FORMATTED", "NULL", &none, &rtcod);
  if (rtcod != 0) return 1;
  qrtmps_(&rtcod, dspace, &unit, &byColumn, &none);
  if (rtcod != 0) return 1;
  qrtfcls_(&unit, "", &rtcod);
  qrtsslv_(&rtcod, dspace, &algorithm, &init);
  if (rtcod != 0) return 1;

  qrtiget_(&rtcod, dspace, integers, &nIntegers);
  qrtrget_(&rtcod, dspace, reals, &nReals);
  qrtnget_(&rtcod, dspace, positions, &nPositions);
  const double *value = dspace + positions[6] - 1;                            /* 7: column solution */
  const char *names = (const char *)(dspace + positions[12] - 1);             /* 13: column names */
  for (int j = 0; j < integers[27]; ++j) printf("%.8s %8.4f\n", names + 8 * j, value[j]);
  printf("cost %.4f\n", reals[17]);
  qrtinit_(&rtcod, dspace);
  return 0;
}
/* prints: cost 17.1429 */
