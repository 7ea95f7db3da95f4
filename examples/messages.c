/* Errors that come back: limits raised so that nothing ends the process, messages to a function of one's own, and a file
 * that is not there. Build: cc messages.c $(pkg-config --cflags --libs tavstoch). */
#include <qrt_c_api.h>
#include <stdio.h>

static int severe; /* number of the last severe message */

static void hear(QRTModel *model, int number, int nReals, const double *reals, int nInts, const int *ints, int nStrings,
                 const char *strings) {
  (void)model, (void)nReals, (void)reals, (void)nInts, (void)ints, (void)nStrings, (void)strings;
  if (number >= 7000) severe = number;
}

int main(void) {
  QRTContext *context = qrt_initializeContext();
  QRTModel *base = qrt_baseModel(context), *model;
  int code;

  /* Limits and log of the base model are those of every model made later. 256: as often as it likes; the
   * fifth argument turns the user exit on, the sixth makes it a range. */
  qrt_setLogfileName(base, "/dev/null");
  qrt_mset(base, 7000, 256, 0, 2, 7999, 0);
  model = qrt_newModel(context, ""); /* a name would be the one that an import looks for on NAME cards */
  qrt_registerMsguCallBack(model, hear);

  code = qrt_importModel(model, "no-such-file.mps");
  printf("import returned %d after message %d\n", code, severe);
  /* The model can be used again. */
  code = qrt_importModel(model, "diet.mps");
  printf("import returned %d: %d rows, %d columns\n", code, qrt_getInumrows(model), qrt_getInumcols(model));
  code = qrt_eitherSimplex(model, 1);
  printf("solve returned %d with status %d\n", code, qrt_getIprobstat(model));
  qrt_endContext(context);
  return 0;
}
/* prints: import returned 0: 3 rows, 2 columns */
