// The classic entries themselves: each runs its worker in the classic frame, and each has two names.
#include "include/qrt_classic.h"

#include "frame/classic_frame.h"
#include "frame/controls_classic.h"
#include "frame/core_workspace.h"
#include "frame/dspace.h"
#include "frame/message_control.h"

namespace {

// Positions in DSPACE fit the 32 bits of the classic form.
void workSpace(int *rtcod, void *dspace, int n, int *index) {
  intptr_t position = 0;
  qrthisf(rtcod, dspace, n, &position);
  *index = int(position);
}

}  // namespace

#define CLASSIC_ENTRY(upper, lower, nparams, parameters, arguments, worker)           \
  extern "C" void lower parameters { QRT_CLASSIC_CALL(#upper, dspace, nparams, rtcod, worker); } \
  extern "C" void upper parameters { lower arguments; }

#define LIST_ENTRY(upper, lower, worker, type) \
  CLASSIC_ENTRY(upper, lower, 4, (int *rtcod, void *dspace, type *array, const int *len), (rtcod, dspace, array, len), \
                worker(rtcod, dspace, array, len))

CLASSIC_ENTRY(QRTDSCA, qrtdsca_, 4, (int *rtcod, void *dspace, const int *dlen, const int *nmodels),
              (rtcod, dspace, dlen, nmodels), qrtdscaf(rtcod, dspace, dlen, nmodels))
CLASSIC_ENTRY(QRTINIT, qrtinit_, 2, (int *rtcod, void *dspace), (rtcod, dspace), qrtinitf(rtcod, dspace))
CLASSIC_ENTRY(QRTPTMI, qrtptmi_, 3, (int *rtcod, void *dspace, const int *model), (rtcod, dspace, model),
              qrtptmif(rtcod, dspace, model, 0))
CLASSIC_ENTRY(QRTGTMI, qrtgtmi_, 3, (int *rtcod, void *dspace, const int *model), (rtcod, dspace, model),
              qrtgtmif(rtcod, dspace, model, 0))

LIST_ENTRY(QRTIGET, qrtiget_, qrtigetf, int)
LIST_ENTRY(QRTRGET, qrtrget_, qrtrgetf, double)
LIST_ENTRY(QRTNGET, qrtnget_, qrtngetf, int)
LIST_ENTRY(QRTCGET, qrtcget_, qrtcgetf, char)
LIST_ENTRY(QRTISET, qrtiset_, qrtisetf, const int)
LIST_ENTRY(QRTRSET, qrtrset_, qrtrsetf, const double)
LIST_ENTRY(QRTCSET, qrtcset_, qrtcsetf, const char)

CLASSIC_ENTRY(QRTMSET, qrtmset_, 9,
              (int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
               const int *usrexit, const int *lastnum, const int *prefix),
              (rtcod, dspace, mesgnum, maxalw, maxprt, trace, usrexit, lastnum, prefix),
              classicMessageSet(rtcod, dspace, mesgnum, maxalw, maxprt, trace, usrexit, lastnum, prefix))

CLASSIC_ENTRY(QRTHIS, qrthis_, 4, (int *rtcod, void *dspace, const int *n, int *index), (rtcod, dspace, n, index),
              workSpace(rtcod, dspace, *n, index))
CLASSIC_ENTRY(QRTPSHS, qrtpshs_, 3, (int *rtcod, void *dspace, const int *full), (rtcod, dspace, full),
              qrtpshsf(rtcod, dspace, *full))
CLASSIC_ENTRY(QRTPOPS, qrtpops_, 3, (int *rtcod, void *dspace, const int *full), (rtcod, dspace, full),
              qrtpopsf(rtcod, dspace, *full))
