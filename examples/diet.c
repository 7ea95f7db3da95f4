/* A linear program through the object interface: built in memory, solved, changed, solved again from where it was.
 * Build: cc diet.c $(pkg-config --cflags --libs tavstoch) -o diet. */
#include <qrt_c_api.h>
#include <stdio.h>

#define NONE 1e31 /* a bound of this size is no bound */

int main(void) {
  /* minimise 2 bread + 3 milk, at least 60 of energy and 40 of protein, at most 12 of weight */
  double cost[] = {2, 3}, atLeast[] = {60, 40, -NONE}, atMost[] = {NONE, NONE, 12};
  int starts[] = {0, 3, 6}, rows[] = {0, 1, 2, 0, 1, 2};
  double elements[] = {10, 4, 1, 6, 8, 1};
  QRTContext *context = qrt_initializeContext();
  QRTModel *diet = qrt_newModel(context, "diet");

  qrt_setLogfileName(diet, "/dev/null");
  qrt_loadRimModel(diet, 3, atLeast, atMost, 2, cost, NULL, NULL);
  qrt_addColumnElementBlock(diet, 2, rows, starts, elements);
  qrt_eitherSimplex(diet, 1);
  printf("status %d, cost %.4f: bread %.4f, milk %.4f\n", qrt_getIprobstat(diet), qrt_getRobjvalue(diet),
         qrt_colsol(diet)[0], qrt_colsol(diet)[1]);
  printf("one more unit of energy costs %.4f\n", qrt_rowduals(diet)[0]);

  {
    double *upper = qrt_getColupper(diet); /* a copy to change and hand back */
    upper[0] = 4;
    qrt_setColupper(diet, upper);
    qrt_free(upper);
  }
  qrt_eitherSimplex(diet, 1);
  printf("with 4 loaves: cost %.4f\n", qrt_getRobjvalue(diet));
  return qrt_endContext(context);
}
/* prints: one more unit of energy costs 0.0714 */
