// The frame of a public edit of rows or columns: entry, jump frame, the work, the self-check of debug builds, exit.
#pragma once

#include "frame/entry_frame.h"
#include "model/model_store.h"

// Defines the public function `signature`, whose first parameter is `model`, as `work` within that frame.
#define MODEL_ENTRY(signature, work)                \
  extern "C" int signature {                        \
    qrt_enter(model, __func__, 1);                  \
    QRT_JUMP_FRAME(model, qrt_disaster(model));     \
    const int result = work;                        \
    selfCheckModel(model);                          \
    QRT_END_FRAME();                                \
    qrt_leave(model);                               \
    return result;                                  \
  }
