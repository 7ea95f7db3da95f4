// A fixture whose library prints nothing below severe and whose models are deleted after each case.
#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "qrt_c_api.h"

template <class Parameter> struct QuietModels : ::testing::TestWithParam<Parameter> {
  static inline QRTContext *context = nullptr;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }

  std::vector<QRTModel *> models;
  QRTModel *keep(QRTModel *model) {
    models.push_back(model);
    return model;
  }
  void TearDown() override {
    for (QRTModel *q : models) qrt_deleteModel(q);
  }
};
