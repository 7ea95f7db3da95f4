// The frame of a public stochastic function around its worker: handle checked, lines on the log before the caller goes on.
#pragma once

#include "frame/messages.h"
#include "stoch/scn_object.h"

// What `call` gives, or `failure` for a bad handle.
template <class Result, class Call> Result framed(QRTStoch *stoch, const char *function, Result failure, Call call) {
  const Result result = qrts_CEnter(stoch, function) > 0 ? failure : call();
  flushLogs();
  return result;
}
template <class Result, class Call> Result framedTree(QRTTree *tree, const char *function, Result failure, Call call) {
  const Result result = qrts_CTreeEnter(tree, function) > 0 ? failure : call();
  flushLogs();
  return result;
}
