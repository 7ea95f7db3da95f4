// The exchange of a model between the two interfaces: a QRTModel copied into DSPACE as the classic model 1, and back.
#include <cstring>

#include "frame/classic_frame.h"
#include "frame/controls.h"
#include "frame/dspace.h"
#include "frame/guarded_memory.h"
#include "frame/message_control.h"
#include "frame/messages.h"
#include "frame/work_image.h"
#include "include/qrt_classic.h"
#include "model/classic_store.h"
#include "model/model_store.h"

namespace {

enum : int { MSG_ENTERING = 163, MSG_MODELS = 327, MSG_NO_DSPACE = 418 };
constexpr int SHORTEST = 10000;
constexpr int FIRST_FAILURE = 200;  // codes below are warnings, as that of an area in use

// Control variables of one interface given to the other: all of the records but what says where things are. The sizes
// among them follow when the model itself is copied.
void moveRecords(const WorkImage &from, WorkImage *to) {
  WorkImage moved = from;
  moved.addr = to->addr;
  moved.lplp.Imsgunit = to->lplp.Imsgunit;  // has no meaning in the object interface
  moved.lplp.classicModel = to->lplp.classicModel;
  moved.lplp.presolvedMode = to->lplp.presolvedMode;
  moved.lplp.networkLoaded = to->lplp.networkLoaded;
  moved.lplp.classicScaled = to->lplp.classicScaled;
  moved.lplp.classicAuxKind = to->lplp.classicAuxKind;
  moved.lplp.keptRows = moved.lplp.keptCols = moved.lplp.keptVersion = moved.lplp.keptPriceMode = 0;
  moved.lplp.keptPerturbation = 0;
  moved.lineCount = to->lineCount;
  moved.pageNumber = to->pageNumber;
  *to = moved;
}

// Control variables of the model become those of the classic interface.
void qrt_moveParameters(const QRTModel *from) {
  WorkImage classic;
  saveRecords(&classic);
  moveRecords(*imageOf(from), &classic);
  loadRecords(&classic);
}

// The core's row duals have the other sign than those a QRTModel shows, and DSPACE has what the core has.
void flipRowDuals(double *dual, int rows) {
  for (int i = 0; dual && i < rows; ++i) dual[i] = -dual[i];
}

void fillDspace(int *rtcod, const QRTModel *model, void *dspace, int dlen) {
  qrtmot[MSG_ENTERING].maxprt = qrtmot[MSG_MODELS].maxprt = 0;  // the caller puts them back
  const int one = 1;
  qrtdscaf(rtcod, dspace, &dlen, &one);
  if (*rtcod != 0) return;
  qrt_moveParameters(model);
  releaseClassicModel();  // sizes that came with the controls have no arrays yet
  placeCopyOfModel(model);
  if (model->dualSignFlip) flipRowDuals(qrtaddr.dual + 1, model->Inumrows);
  qrtinfwp(0);            // the frame of this routine leaves the free space alone
}

int loadDspace(const QRTModel *model, void *dspace, int dlen) {
  const int16_t entering = qrtmot[MSG_ENTERING].maxprt, models = qrtmot[MSG_MODELS].maxprt;
  int rtcod = 0;
  QRT_CLASSIC_CALL("QRTDSCA", dspace, 4, &rtcod, fillDspace(&rtcod, model, dspace, dlen));
  qrtmot[MSG_ENTERING].maxprt = entering;
  qrtmot[MSG_MODELS].maxprt = models;
  return rtcod;
}

// The records of the classic interface, fetched within a call of it, which also looks at the markers.
int fetchRecords(void *dspace, int dlen, WorkImage *classic) {
  int rtcod = 0;
  QRT_CLASSIC_CALL("QRTPTMI", dspace, 3, &rtcod, {
    if (dspaceHeader(dspace).dlen != dlen) qrtmesg_no(MSG_NO_DSPACE);
    saveRecords(classic);
  });
  return rtcod;
}

// Integer data have no place in DSPACE: a model keeps its own while its columns are the same in number.
struct IntegerData {
  char *types;
  void *sets, *entries;
  int32_t Inumints, Inumsets, Inumcols, Imaxcols;
};

IntegerData detachIntegers(QRTModel *model) {
  const IntegerData data = {model->integerTypes, model->setInfo,  model->entryInfo, model->Inumints,
                            model->Inumsets,     model->Inumcols, model->Imaxcols};
  model->integerTypes = nullptr;
  model->setInfo = model->entryInfo = nullptr;
  return data;
}

void attachIntegers(QRTModel *model, const IntegerData &data) {
  if (model->Inumcols == data.Inumcols && model->Imaxcols == data.Imaxcols) {
    model->integerTypes = data.types;
    model->setInfo = data.sets;
    model->entryInfo = data.entries;
    model->Inumints = data.Inumints;
    model->Inumsets = data.Inumsets;
  } else {
    qrt_freeBase(data.types);
    qrt_freeBase(data.sets);
    qrt_freeBase(data.entries);
  }
}

void fillModel(QRTModel *model, const WorkImage &classic) {
  if (model->factor) qrt_eraseFactor(model);
  const IntegerData integers = detachIntegers(model);
  clearModelData(model);
  copyClassicModel(model, classic.addr, classic.lplp);
  attachIntegers(model, integers);
  if (model->dualSignFlip) flipRowDuals(model->dual, model->Inumrows);
  WorkImage *image = imageOf(model);
  moveRecords(classic, image);
  loadRecords(image);
  char text[CHARACTER_WIDTH + 1];
  for (int k = 0; k < 6; ++k) {
    int used = CHARACTER_WIDTH;
    while (used > 0 && classic.conv.values[k][used - 1] == ' ') --used;
    memcpy(text, classic.conv.values[k], size_t(used));
    text[used] = '\0';
    storeCharacterControl(model, k, text);
  }
}

}  // namespace

extern "C" int qrt_loadDspace(QRTModel *model, void *dspace, int dlen) {
  qrt_enter(model, "qrt_loadDspace", 2);
  QRT_JUMP_FRAME(model, (model->modelFlags &= ~uint32_t(MODEL_MOVING), qrt_disaster(model)));
  qrt_checkParameter(model, 3, dlen, SHORTEST, INT32_MAX);
  qrt_swapCommons(model, nullptr);  // the image is what moves
  model->modelFlags |= MODEL_MOVING;
  const int rtcod = loadDspace(model, dspace, dlen);
  model->modelFlags &= ~uint32_t(MODEL_MOVING);
  QRT_END_FRAME();
  qrt_leave(model);
  return rtcod < FIRST_FAILURE ? 0 : rtcod;
}

extern "C" int qrt_unloadDspace(QRTModel *model, void *dspace, int dlen) {
  qrt_enter(model, "qrt_unloadDspace", 2);
  QRT_JUMP_FRAME(model, (model->modelFlags &= ~uint32_t(MODEL_MOVING), qrt_disaster(model)));
  qrt_checkParameter(model, 3, dlen, SHORTEST, INT32_MAX);
  model->modelFlags |= MODEL_MOVING;
  WorkImage classic;
  const int rtcod = fetchRecords(dspace, dlen, &classic);
  if (rtcod < FIRST_FAILURE) fillModel(model, classic);
  model->modelFlags &= ~uint32_t(MODEL_MOVING);
  QRT_END_FRAME();
  qrt_leave(model);
  return rtcod < FIRST_FAILURE ? 0 : rtcod;
}
