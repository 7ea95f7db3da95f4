// Limits of messages: how often each is printed, how often it may occur, whether a user exit is called.
#pragma once

#include "frame/model_record.h"

extern MessageControl qrtmot[QRT_MESSAGE_COUNT];  // the initial table, also in force without a current model

// Table in force: the current model's, or the initial one.
MessageControl *controlTableInForce();
// Sets the print count of the message with a number, if it is defined.
void setPrintCount(QRTModel *model, int number, int maxprt);
// Changes limits and flags of a number, or of all defined numbers up to *lastnum; see qrt_mset.
void qrtmsetf(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
              const int *usrexit, const int *lastnum, const int *prefix);
// The same for the classic entry, which leaves unmodifiable messages within a range as they are.
void classicMessageSet(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt,
                       const int *trace, const int *usrexit, const int *lastnum, const int *prefix);
