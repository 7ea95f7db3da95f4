// Limits of messages: how often each is printed, how often it may occur, whether a user exit is called.
#pragma once

#include "frame/model_record.h"

extern MessageControl qrtmot[QRT_MESSAGE_COUNT];  // the initial table, also in force without a current model

// Table in force: the current model's, or the initial one. To be read only: models share tables until one changes.
const MessageControl *controlTableInForce();
// The same to be changed: a table shared with other models becomes the current model's own.
MessageControl *changeableTableInForce();
// A model's own table to be changed.
MessageControl *ownMessageTable(QRTModel *model);
// Gives a model without a table a copy of one.
void newMessageTable(QRTModel *model, const MessageControl *from);
// Gives the model the limits of `source`, in the same memory until one of the two changes.
void shareMessageTable(QRTModel *model, QRTModel *source);
void releaseMessageTable(QRTModel *model);
// Sets the print count of the message with a number, if it is defined.
void setPrintCount(QRTModel *model, int number, int maxprt);
// Changes limits and flags of a number, or of all defined numbers up to *lastnum; see qrt_mset.
void qrtmsetf(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
              const int *usrexit, const int *lastnum, const int *prefix);
// The same for the classic entry, which leaves unmodifiable messages within a range as they are.
void classicMessageSet(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt,
                       const int *trace, const int *usrexit, const int *lastnum, const int *prefix);
