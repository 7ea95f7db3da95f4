// A model as MPS cards for readers that ask for more than the model itself.
#pragma once

#include "include/qrt_c_api.h"

// qrt_exportModel() with decimal numbers, two pairs a card, and the right-hand side and bound sets named even where no row or
// column needs a card: a file that refers to the sets by name, as a stoch file does, finds them. What is added says what
// holds without it.
int exportWithSetNames(QRTModel *model, const char *file);
