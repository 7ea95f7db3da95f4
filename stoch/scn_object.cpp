// The life of a QRTStoch: creation with its defaults, validity, the entry frame, deletion.
#include "stoch/scn_object.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "frame/entry_frame.h"
#include "frame/message_control.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

constexpr int MESSAGE_ENTERING_STOCH = 950, MESSAGE_ENTERING_EXTRAS = 951;
constexpr int NUMBER_ENTERING_MODULE = 317;  // number, not index, of the frame's entry line
constexpr int NUMBER_CONTROL_CHANGED = 320;
constexpr int MODULE_SLOT = 9;  // where @M looks for the name in messages of this layer
constexpr int NAME_LENGTH = 127;

// ---- the register of live handles: open addressing, never shrinks

struct Register {
  const void **slots;
  int64_t room, used;  // room a power of two; used counts forgotten places as well
};
Register handles;
const char FORGOTTEN = 0;  // its address marks a place that was in use

uint64_t handleSlot(const void *handle) {
  const uint64_t h = (reinterpret_cast<uintptr_t>(handle) >> 4) * 0x9E3779B97F4A7C15ull;
  return h ^ (h >> 32);
}

const void **findHandle(const void *handle) {
  if (!handles.room) return nullptr;
  const uint64_t mask = static_cast<uint64_t>(handles.room - 1);
  for (uint64_t s = handleSlot(handle) & mask; handles.slots[s]; s = (s + 1) & mask)
    if (handles.slots[s] == handle) return &handles.slots[s];
  return nullptr;
}

void placeHandle(const void *handle) {
  const uint64_t mask = static_cast<uint64_t>(handles.room - 1);
  uint64_t s = handleSlot(handle) & mask;
  while (handles.slots[s]) s = (s + 1) & mask;
  handles.slots[s] = handle;
  ++handles.used;
}

void growRegister() {
  const void **old = handles.slots;
  const int64_t oldRoom = handles.room;
  int64_t alive = 0;
  for (int64_t k = 0; k < oldRoom; ++k) alive += old[k] && old[k] != &FORGOTTEN;
  handles.room = 64;
  while (handles.room < 4 * (alive + 1)) handles.room *= 2;
  handles.slots = static_cast<const void **>(
      qrts__alloc("qrts_createStoch", handles.room * static_cast<int64_t>(sizeof(void *)), 0));
  handles.used = 0;
  for (int64_t k = 0; k < oldRoom; ++k)
    if (old[k] && old[k] != &FORGOTTEN) placeHandle(old[k]);
  free(old);
}

// ---- entry

void announce(const char *function, const char *objectName) {
  const int index = strlen(function) > 4 && function[4] == 'e' ? MESSAGE_ENTERING_EXTRAS : MESSAGE_ENTERING_STOCH;
  char brackets[NAME_LENGTH + 3];
  const int length = snprintf(brackets, sizeof brackets, "(%.*s)", NAME_LENGTH, objectName);
  messageC(MODULE_SLOT, function);
  messageC(2, brackets, length);
  stochMessage(index);
}

int refuse(const char *structure, const char *function) {
  messageC(1, structure);
  messageC(2, function);
  stochMessage(MSG_BAD_STRUCTURE);
  return 2;
}

// ---- models

// Controls, message limits and log of the source; none of its rows and columns.
void takeSettings(QRTModel *model, QRTModel *source, const char *name) {
  qrt_copyModel(model, source);
  if (model->Inumrows || model->Inumcols || model->Inumblocks) clearModelData(model);
  // The copy brought the source's name along; an import would then look for that problem only. No news to anybody.
  qrt_messagePrintOff(model, NUMBER_CONTROL_CHANGED);
  qrt_setCname(model, name ? name : "");
  shareMessageTable(model, source);
  if (source->logFile && source->logFile != model->logFile) qrt_setLogfileFilePointer(model, source->logFile);
}

// ---- creation

QRTStoch *newRecord(QRTModel *baseModel, QRTStoch *parent, const char *name) {
  QRTStoch *stoch = static_cast<QRTStoch *>(qrts__alloc("qrts_createStoch", sizeof(QRTStoch), 0));
  memcpy(stoch->tag, "SPO", 4);
  stoch->baseModel = baseModel;
  if (name) snprintf(stoch->name, sizeof stoch->name, "%.*s", NAME_LENGTH, name);
  stoch->ownsData = -1;
  stoch->parent = parent;
  stoch->nSubmodels = -1;
  stoch->masterModel = -1;
  stoch->cutperiod = 2;
  stoch->maxsubmodels = 999999;
  stoch->maxiter = 100;
  stoch->optmaxmin = 1.0;
  stoch->reloptgap = stoch->gapAsked = 1e-08;
  stoch->status = -1;
  stoch->ifFinalSimplex = 1;
  registerHandle(stoch);
  return stoch;
}

QRTStoch *withData(QRTStoch *stoch, int maxScenarios) {
  stoch->sdata = qrts_Cinit(maxScenarios);
  stoch->ownsData = 1;
  return stoch;
}

}  // namespace

void qrts_deleteSubmodels(QRTStoch *stoch) {
  for (void *block = stoch->decomposition[SUBMODEL_BLOCKS]; block;) {
    void *next = *static_cast<void **>(block);
    free(block);
    block = next;
  }
  for (size_t slot = SUBMODEL_BLOCKS; slot < std::size(stoch->decomposition); ++slot) stoch->decomposition[slot] = nullptr;
  if (stoch->nSubmodels > 0 && stoch->submodels) {
    if (stoch->ifDebug) qrts_debug(" ***** qrts_delete2Stoch: Deleteing oModel->submodels also ****");
    for (int k = stoch->nSubmodels - 1; k >= 0; --k) {  // the context finds its last models first
      QRTStoch *submodel = stoch->submodels[k];
      if (!submodel) continue;
      submodel->sdata = nullptr;  // shared
      qrts_delete2Stoch(submodel);
    }
  }
  free(stoch->submodels);
  stoch->submodels = nullptr;
  stoch->nSubmodels = 0;
}

void registerHandle(const void *handle) {
  if (2 * (handles.used + 1) > handles.room) growRegister();
  placeHandle(handle);
}

void forgetHandle(const void *handle) {
  if (const void **place = findHandle(handle)) *place = &FORGOTTEN;
}

bool handleLives(const void *handle) { return handle && findHandle(handle); }

int qrts_validate2Stoch(const QRTStoch *stoch) { return handleLives(stoch) && memcmp(stoch->tag, "SPO", 4) == 0 ? 0 : 1; }

int qrts_validate2Tree(const QRTTree *tree) { return handleLives(tree) && memcmp(tree->tag, "sTREE", 6) == 0 ? 0 : 1; }

int qrts_CEnter(QRTStoch *stoch, const char *function) {
  const bool valid = qrts_validate2Stoch(stoch) == 0;
  stochMessageSpeaker(valid ? stoch->baseModel : nullptr);
  announce(function, valid ? stoch->name : "");
  if (valid && stoch->ifDebug) {
    char text[160];
    snprintf(text, sizeof text, "QRTStoch Object Validation beginning for function %.80s ", function);
    qrts_debug(text);
  }
  if (!valid) return refuse("QRTStoch", function);
  if (stoch->ifDebug) qrts_debug(" QRTStoch Object Validation successful");
  if (stoch->realise && strcmp(function, "qrts_deleteStoch") != 0) stoch->realise(stoch, 1);
  return 0;
}

int qrts_CTreeEnter(QRTTree *tree, const char *function) {
  // A tree belongs to no object, so the current model speaks.
  stochMessageSpeaker(nullptr);
  announce(function, "");
  return qrts_validate2Tree(tree) == 0 ? 0 : refuse("QRTTree", function);
}

void qrts_debug(const char *text) {
  printf("\n *******(in qrts_debug()) Entering function (%s) *******\n", text);
  fflush(nullptr);
}

QRTModel *qrts_create2BaseModel(QRTModel *source, const char *name, int debug) {
  QRTModel *model = qrt_createModel(name);
  if (!debug) qrt_messagePrintOff(model, NUMBER_ENTERING_MODULE);
  if (source) takeSettings(model, source, name);
  if (!debug) qrt_messagePrintOff(model, NUMBER_ENTERING_MODULE);
  return model;
}

QRTModel *qrts_create2EmptyModel(QRTContext *context, QRTModel *source, const char *name, int debug) {
  QRTModel *model = qrt_newModel(context, name);
  if (!debug) qrt_messagePrintOff(model, NUMBER_ENTERING_MODULE);
  if (!source && context) source = qrt_baseModel(context);
  if (source) takeSettings(model, source, name);
  if (!debug) qrt_messagePrintOff(model, NUMBER_ENTERING_MODULE);
  return model;
}

QRTStoch *qrts_create3Stoch(QRTStoch *parent, const char *name) {
  return newRecord(qrts_create2BaseModel(parent ? parent->baseModel : nullptr, nullptr, 0), parent, name);
}

QRTStoch *qrts_new3Stoch(QRTContext *context, QRTStoch *parent, const char *name) {
  return newRecord(qrts_create2EmptyModel(context, parent ? parent->baseModel : nullptr, nullptr, 0), parent, name);
}

QRTStoch *qrts_create2Stoch(const char *name, int maxScenarios) {
  return withData(qrts_create3Stoch(nullptr, name), maxScenarios);
}

QRTStoch *qrts_new2Stoch(QRTContext *context, const char *name, int maxScenarios) {
  return withData(qrts_new3Stoch(context, nullptr, name), maxScenarios);
}

int qrts_delete2Stoch(QRTStoch *stoch) {
  forgetHandle(stoch);
  memset(stoch->tag, 0, sizeof stoch->tag);
  if (stoch->realise) stoch->realise(stoch, 0);
  if (stoch->ownsData == 1) qrts_freeSdata(stoch->sdata);
  qrts_freeSmodel(stoch->smodel);
  memset(stoch->name, 0, NAME_LENGTH);
  qrts_deleteSubmodels(stoch);
  stoch->ifDebug = 0;
  if (stoch->nNodeList > 0) free(stoch->nodeList);
  if (stochMessageGetSpeaker() == stoch->baseModel) stochMessageSpeaker(nullptr);
  qrt_deleteModel(stoch->baseModel);
  if (stoch->nIntegers > 0) free(stoch->integerMarks);
  free(stoch->saveFile);
  free(stoch->resumeFile);
  free(stoch);
  return 0;
}

void qrts_deleteObjectsOf(QRTContext *context) {
  // A submodel goes with its parent. Deleting changes which places are live: begin again after each.
  for (int64_t k = 0; k < handles.room; ++k) {
    const void *handle = handles.slots[k];
    if (!handle || handle == &FORGOTTEN) continue;
    QRTStoch *stoch = static_cast<QRTStoch *>(const_cast<void *>(handle));
    if (memcmp(stoch->tag, "SPO", 4) != 0 || stoch->baseModel->context != context) continue;
    if (stoch->parent && handleLives(stoch->parent)) continue;
    qrts_delete2Stoch(stoch);
    k = -1;
  }
}
