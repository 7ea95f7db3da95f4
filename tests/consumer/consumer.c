/* The least a C program does with the installed library: a context, a model, one control, an orderly end. */
#include <qrt_c_api.h>

int main(void) {
  QRTContext *context = qrt_initializeContext();
  QRTModel *model;
  int sound;
  if (!context) return 1;
  model = qrt_newModel(context, "consumer");
  sound = model && qrt_numberOfModels(context) == 1 && qrt_model(context, 0) == model && qrt_context(model) == context;
  return qrt_endContext(context) == 0 && sound ? 0 : 1;
}
