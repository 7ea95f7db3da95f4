/* A linear program built column by column, with names, and a full report: values, duals, what stands at its bound.
 * Two mills send flour to three bakeries at least cost. Build: cc transport.c $(pkg-config --cflags --libs tavstoch). */
#include <qrt_c_api.h>
#include <stdio.h>

#define MILLS 2
#define BAKERIES 3
#define ROWS (MILLS + BAKERIES)
#define COLUMNS (MILLS * BAKERIES)
#define NONE 1e31 /* a bound of this size is no bound */

static const double stock[MILLS] = {50, 60}, need[BAKERIES] = {30, 40, 25};
static const double price[MILLS][BAKERIES] = {{4, 6, 9}, {5, 3, 7}};

static int report(QRTModel *model) {
  const double *shipped = qrt_colsol(model), *reduced = qrt_colrcosts(model), *dual = qrt_rowduals(model);
  char **column = qrt_colNamePointers(model), **row = qrt_rowNamePointers(model);
  int i, j;

  if (qrt_getIprobstat(model) != 0) {
    printf("no optimum: status %d\n", qrt_getIprobstat(model));
    return 1;
  }
  printf("cost %.2f\n", qrt_getRobjvalue(model));
  for (j = 0; j < qrt_getInumcols(model); j++)
    if (shipped[j] > 0) printf("%s ships %.1f\n", column[j], shipped[j]);
    else printf("%s would cost %.2f more\n", column[j], reduced[j]);
  for (i = 0; i < qrt_getInumrows(model); i++)
    if (qrt_rowStatus(model, i) != 0) printf("%s: one more unit changes the cost by %.2f\n", row[i], dual[i]);
  return 0;
}

int main(void) {
  static const char *const rowNames[ROWS] = {"MILL1", "MILL2", "NORTH", "SOUTH", "WEST"};
  static const char *const columnNames[COLUMNS] = {"M1NORTH", "M1SOUTH", "M1WEST", "M2NORTH", "M2SOUTH", "M2WEST"};
  double lower[ROWS], upper[ROWS];
  QRTContext *context = qrt_initializeContext();
  QRTModel *model;
  int i, k, failed;

  qrt_setLogfileName(qrt_baseModel(context), "/dev/null"); /* models made later take the log of the base model */
  model = qrt_newModel(context, "flour");
  for (i = 0; i < MILLS; i++) lower[i] = -NONE, upper[i] = stock[i];                      /* at most what is there */
  for (k = 0; k < BAKERIES; k++) lower[MILLS + k] = need[k], upper[MILLS + k] = NONE;     /* at least what is needed */
  qrt_loadRimModel(model, ROWS, lower, upper, 0, NULL, NULL, NULL);                       /* rows, and no column yet */
  for (i = 0; i < MILLS; i++)
    for (k = 0; k < BAKERIES; k++) {
      int rows[2];
      double ones[2] = {1, 1};
      rows[0] = i, rows[1] = MILLS + k;
      if (qrt_addOneColumn(model, 0, NONE, price[i][k], 2, rows, ones) != 0) return 1;
    }
  qrt_createNames(model, 8);
  qrt_copyRowNames(model, rowNames, 0, ROWS);
  qrt_copyColumnNames(model, columnNames, 0, COLUMNS);

  failed = qrt_eitherSimplex(model, 1) || report(model);
  /* A new offer is a new column; the old basis stays feasible, and the solve goes on from it. */
  if (!failed) {
    int rows[1] = {4};
    double one[1] = {1};
    qrt_addOneColumn(model, 0, 10, 2, 1, rows, one);
    failed = qrt_primalSimplex(model, 1) || qrt_getIprobstat(model) != 0;
    printf("with ten units from a neighbour: cost %.2f\n", qrt_getRobjvalue(model));
  }
  qrt_deleteModel(model);
  qrt_endContext(context);
  return failed;
}
/* prints: with ten units from a neighbour: cost 365.00 */
