// The certificate of a model of the library, taken through the public interface alone: the arrays are read with the
// rim and block accessors, never from inside.
#pragma once

#include <vector>

#include "certificate.h"
#include "qrt_c_api.h"

// The matrix of a model as one column-ordered copy without scale factors: the sum of its element blocks.
struct ModelMatrix {
  std::vector<int> start, row;
  std::vector<double> element;
};
ModelMatrix collectMatrix(QRTModel *model);

// Judges the outcome that the model holds now, in the caller's units whether the model was scaled or not.
Certificate certifyModel(QRTModel *model);
