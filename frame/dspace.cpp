// DSPACE: its layout, the models saved beside it, and the stack on which its free space is saved.
#include "frame/dspace.h"

#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"

int32_t qrtdspc[ARENA_WORDS];

namespace {

enum : int {
  MSG_BAD_MODEL = 26, MSG_SHORT = 32, MSG_SAVED_AS_OTHER = 110, MSG_BAD_PARAMETER = 149, MSG_NO_PUSH = 151,
  MSG_NEGATIVE_LENGTH = 289, MSG_MODELS = 327, MSG_ALREADY = 432, MSG_OTHER_SIZE = 445,
  MSG_SAVING = 541, MSG_RESTORING = 542
};
constexpr char MARKER_FRONT[4] = {'T', 'A', 'V', '!'};
constexpr char MARKER_END[4] = {'!', 'V', 'A', 'T'};
constexpr int HEADER_WORDS = 16;
constexpr int HEADER_DOUBLEWORDS = 8;
constexpr int USABLE_OFFSET = 6;        // in doublewords; the header's last zeros are counted with the usable area
constexpr int SENSIBLE_LENGTH = 1000;   // what is shorter is told, though it may do
constexpr int MODELS_LIMIT = 999999;    // the count lies below; the message quotes it
constexpr int MODELS_PARAMETER = 4;
constexpr int STORAGE_CODE = 11, MODEL_CODE = 31;

// The eight work records that a classic model has of its own.
struct ModelRecords {
  QrtAddr addr;
  QrtLplp lplp;
  QrtBcom bcom;
  QrtConv conv;
  QrtQpqp qpqp;
  QrtInt3 int3;
  QrtInt integer;
  QrtNete nete;
};

struct PushedState {
  PushedState *older;
  int32_t arena[ARENA_WORDS];
  int32_t full;               // 1: what follows is set
  int32_t Inumrows, Inumcols, Imaxrows, Imaxcols, Itotal, Inumblocks, Inumchar, parametric, scaled, auxKind;
  QrtAddr addr;               // where the arrays stand
  ElementBlock *blocks;       // [Inumblocks] copy of the block records, or null; owned
};

struct SavedModel {
  ModelRecords *records;      // null: never saved; owned
  PushedState *pushed;        // newest first; owned
};

// What belongs to one DSPACE but lies outside. The handle in its header is a place in the table below, plus one.
struct DspaceModels {
  const void *dspace;         // null: the place is free
  int32_t nModels;
  SavedModel *models;         // [nModels] owned
  ModelRecords *initial;      // records as DSPACE was laid out: those of a model never saved; owned
};
DspaceModels *dspaceTable = nullptr;  // [dspaceTableLength] grows, never shrinks
int dspaceTableLength = 0;

void saveRecords(ModelRecords *to) {
  *to = {qrtaddr, qrtlplp, qrtbcom, qrtconv, qrtqpqp, qrtint3, qrtint, qrtnete};
}

// Other arrays in the same free space.
void replaceArrays(const QrtAddr &by) {
  double *arena[ARENA_WORDS];
  memcpy(arena, qrtaddr.arena, sizeof arena);
  qrtaddr = by;
  memcpy(qrtaddr.arena, arena, sizeof arena);
}

// All but the arena: the models of one DSPACE share its free space, and an older state of it would give away what
// another model has taken since.
void loadRecords(const ModelRecords *from) {
  replaceArrays(from->addr);
  qrtlplp = from->lplp;
  qrtbcom = from->bcom;
  qrtconv = from->conv;
  qrtqpqp = from->qpqp;
  qrtint3 = from->int3;
  qrtint = from->integer;
  qrtnete = from->nete;
}

ModelRecords *newRecords() {
  ModelRecords *records = static_cast<ModelRecords *>(guardedAllocate(1, sizeof(ModelRecords)));
  saveRecords(records);
  return records;
}

}  // namespace

void forgetClassicModel() {
  replaceArrays(QrtAddr{});
  qrtlplp.Inumrows = qrtlplp.Inumcols = qrtlplp.Imaxrows = qrtlplp.Imaxcols = qrtlplp.Itotal = qrtlplp.Inumblocks = 0;
  qrtlplp.parametric = qrtlplp.classicScaled = 0;
  qrtlplp.classicAuxKind = -1;
  qrtint.Inumints = qrtint.Inumsets = 0;
}

namespace {

void freePushed(SavedModel *saved) {
  while (PushedState *state = saved->pushed) {
    saved->pushed = state->older;
    qrt_freeBase(state->blocks);
    qrt_freeBase(state);
  }
}

void freeModels(const void *dspace) {
  for (int k = 0; k < dspaceTableLength; ++k) {
    DspaceModels &entry = dspaceTable[k];
    if (entry.dspace != dspace) continue;
    for (int i = 0; i < entry.nModels; ++i) {
      freePushed(&entry.models[i]);
      qrt_freeBase(entry.models[i].records);
    }
    qrt_freeBase(entry.models);
    qrt_freeBase(entry.initial);
    entry = DspaceModels{};
  }
}

// A free place of the table.
int freePlace() {
  for (int k = 0; k < dspaceTableLength; ++k)
    if (!dspaceTable[k].dspace) return k;
  const int length = 2 * dspaceTableLength + 4;
  DspaceModels *grown = static_cast<DspaceModels *>(guardedAllocateZero(length, sizeof(DspaceModels)));
  if (dspaceTable) memcpy(grown, dspaceTable, size_t(dspaceTableLength) * sizeof(DspaceModels));
  qrt_freeBase(dspaceTable);
  dspaceTable = grown;
  const int place = dspaceTableLength;
  dspaceTableLength = length;
  return place;
}

void putHeader(void *dspace, const DspaceHeader &header) { memcpy(dspace, &header, sizeof header); }

int32_t newModels(const void *dspace, int nModels) {
  const int place = freePlace();
  SavedModel *models = static_cast<SavedModel *>(guardedAllocateZero(nModels, sizeof(SavedModel)));
  ModelRecords *initial = newRecords();
  dspaceTable[place] = {dspace, nModels, models, initial};
  return place + 1;
}

// The models saved for a DSPACE. After qrtinitf, or when a caller has moved its area, they are made anew.
DspaceModels *modelsOf(void *dspace) {
  DspaceHeader header = dspaceHeader(dspace);
  if (header.handle < 1 || header.handle > dspaceTableLength || dspaceTable[header.handle - 1].dspace != dspace) {
    header.handle = newModels(dspace, header.nModels);
    putHeader(dspace, header);
  }
  return &dspaceTable[header.handle - 1];
}

// Of the current model. A caller with two areas may bring a number that the second does not have.
SavedModel *savedModel(void *dspace) {
  DspaceModels *all = modelsOf(dspace);
  return &all->models[qrtlplp.classicModel <= all->nModels ? qrtlplp.classicModel - 1 : 0];
}

bool modelNumberGood(int *rtcod, void *dspace, int model) {
  *rtcod = 0;
  const int count = dspaceMarked(dspace) ? dspaceHeader(dspace).nModels : 0;
  if (model >= 1 && model <= count) return true;
  *rtcod = MODEL_CODE;
  qrtmesg_no_i2(MSG_BAD_MODEL, model, count);
  return false;
}

bool endMarked(const void *dspace, int dlen) {
  return memcmp(static_cast<const char *>(dspace) + int64_t(dlen) * 8 - 4, MARKER_END, 4) == 0;
}

bool frontMarked(const void *dspace) { return memcmp(dspace, MARKER_FRONT, 4) == 0; }

// A number of models that can be had: a bad one is told and taken as 1.
int modelCount(int wanted) {
  if (wanted >= 1 && wanted < MODELS_LIMIT) return wanted;
  messageI(1, MODELS_PARAMETER);
  messageI(2, wanted);
  messageI(3, 1);
  messageI(4, MODELS_LIMIT);
  qrtmesg_inform(MSG_BAD_PARAMETER);
  return 1;
}

}  // namespace

DspaceHeader dspaceHeader(const void *dspace) {
  DspaceHeader header;
  memcpy(&header, dspace, sizeof header);
  return header;
}

bool dspaceMarked(const void *dspace) {
  if (!dspace || !frontMarked(dspace)) return false;
  const int dlen = dspaceHeader(dspace).dlen;
  return dlen >= HEADER_DOUBLEWORDS && endMarked(dspace, dlen);
}

const char *dspace_check(const void *dspace) {
  if (!dspaceMarked(dspace)) return "a marker is missing";
  const DspaceHeader header = dspaceHeader(dspace);
  if (header.words != HEADER_WORDS) return "the header's length is damaged";
  if (header.nModels < 1 || header.nModels >= MODELS_LIMIT) return "the number of models is out of range";
  const int32_t *arena = header.arena;
  if (arena[ARENA_BASE] != 0 || arena[ARENA_USABLE] != USABLE_OFFSET || arena[ARENA_END] != header.dlen)
    return "the arena's limits are not those of DSPACE";
  if (arena[ARENA_LOW] < USABLE_OFFSET || arena[ARENA_LOW] > arena[ARENA_HIGH] || arena[ARENA_HIGH] >= header.dlen)
    return "the free pointers are out of order";
  return nullptr;
}

void qrtinfwp(int load) {
  double *base = static_cast<double *>(qrtdspc2);
  DspaceHeader header = dspaceHeader(base);
  for (int k = 0; k < ARENA_WORDS; ++k) {
    if (load) qrtaddr.arena[k] = base + header.arena[k];
    else header.arena[k] = int32_t(qrtaddr.arena[k] - base);
  }
  if (!load) putHeader(base, header);
  memcpy(qrtdspc, header.arena, sizeof qrtdspc);
}

int qrttoin(const void *dspace, const void *address, int size) {
  if (!address || !dspaceMarked(dspace)) return 0;
  const uintptr_t base = uintptr_t(dspace), at = uintptr_t(address);
  const uintptr_t bytes = uintptr_t(dspaceHeader(dspace).dlen) * 8;
  if (at < base || at - base >= bytes || (at - base) % uintptr_t(size) != 0) return 0;
  const uintptr_t position = (at - base) / uintptr_t(size) + 1;
  return position <= uintptr_t(INT32_MAX) ? int(position) : 0;
}

int qrtInDspace(const void *address, int low, int high) {
  const uintptr_t at = uintptr_t(address);
  return at >= uintptr_t(qrtaddr.arena[low]) && at < uintptr_t(qrtaddr.arena[high]);
}

void qrtdscaf(int *rtcod, void *dspace, const int *dlen, const int *nmodels) {
  *rtcod = 0;
  const int nModels = modelCount(*nmodels);
  qrtmesg_no_i1(MSG_MODELS, nModels);
  if (*dlen < 0) {
    messageI(1, *dlen);
    qrtmesg_inform(MSG_NEGATIVE_LENGTH);
    *rtcod = STORAGE_CODE;
    return;
  }
  if (*dlen < SENSIBLE_LENGTH) {
    messageI(1, SENSIBLE_LENGTH - *dlen);
    qrtmesg_inform(MSG_SHORT);
  }
  if (*dlen < HEADER_DOUBLEWORDS) {
    *rtcod = STORAGE_CODE;
    return;
  }
  if (frontMarked(dspace)) qrtmesg_no(endMarked(dspace, *dlen) ? MSG_ALREADY : MSG_OTHER_SIZE);
  freeModels(dspace);
  forgetClassicModel();
  qrtlplp.presolvedMode = qrtlplp.quadraticMode = qrtlplp.networkLoaded = 0;
  qrtlplp.classicModel = 1;

  DspaceHeader header = {};
  memcpy(header.marker, MARKER_FRONT, 4);
  header.dlen = *dlen;
  header.words = HEADER_WORDS;
  header.nModels = nModels;
  header.arena[ARENA_USABLE] = USABLE_OFFSET;
  header.arena[ARENA_HIGH] = *dlen - 1;  // the last doubleword has the marker
  header.arena[ARENA_LOW] = HEADER_DOUBLEWORDS < *dlen ? HEADER_DOUBLEWORDS : *dlen - 1;
  header.arena[ARENA_END] = *dlen;
  header.handle = newModels(dspace, nModels);
  putHeader(dspace, header);
  memcpy(static_cast<char *>(dspace) + int64_t(*dlen) * 8 - 4, MARKER_END, 4);  // in the shortest, over the last zeros
  qrtinfwp(1);
}

void qrtptmif(int *rtcod, void *dspace, const int *model, int quiet) {
  if (!modelNumberGood(rtcod, dspace, *model)) return;
  if (!quiet) {
    if (*model != qrtlplp.classicModel) qrtmesg_no_i2(MSG_SAVED_AS_OTHER, qrtlplp.classicModel, *model);
    else qrtmesg_no_i1(MSG_SAVING, *model);
  }
  SavedModel *saved = &modelsOf(dspace)->models[*model - 1];
  if (saved->records) saveRecords(saved->records);
  else saved->records = newRecords();
}

void qrtgtmif(int *rtcod, void *dspace, const int *model, int quiet) {
  if (!modelNumberGood(rtcod, dspace, *model)) return;
  if (!quiet) qrtmesg_no_i1(MSG_RESTORING, *model);
  const DspaceModels *all = modelsOf(dspace);
  const ModelRecords *records = all->models[*model - 1].records;
  loadRecords(records ? records : all->initial);
  qrtlplp.classicModel = *model;
}

bool savedModelAt(const void *dspace, const double *from) {
  for (int k = 0; k < dspaceTableLength; ++k) {
    const DspaceModels &entry = dspaceTable[k];
    if (entry.dspace != dspace) continue;
    for (int i = 0; i < entry.nModels; ++i) {
      if (entry.models[i].records && entry.models[i].records->addr.modelFrom == from) return true;
      for (const PushedState *state = entry.models[i].pushed; state; state = state->older)
        if (state->full && state->addr.modelFrom == from) return true;
    }
  }
  return false;
}

void qrtinitf(int *rtcod, void *dspace) {
  *rtcod = 0;
  qrtinitf();
  qrterr.fetchedLists = 0;
  if (!dspaceMarked(dspace)) return;
  freeModels(dspace);
  DspaceHeader header = dspaceHeader(dspace);
  header.handle = 0;
  header.arena[ARENA_LOW] = HEADER_DOUBLEWORDS < header.dlen ? HEADER_DOUBLEWORDS : header.dlen - 1;
  header.arena[ARENA_HIGH] = header.dlen - 1;
  putHeader(dspace, header);
  qrtinfwp(1);
}

void qrtpshsf(int *rtcod, void *dspace, int full) {
  *rtcod = 0;
  if (qrt_modelInfo) {
    qrt_push(qrt_modelInfo);
    return;
  }
  SavedModel *saved = savedModel(dspace);
  PushedState *state = static_cast<PushedState *>(guardedAllocateZero(1, sizeof(PushedState)));
  state->older = saved->pushed;
  saved->pushed = state;
  for (int k = 0; k < ARENA_WORDS; ++k) state->arena[k] = int32_t(qrtaddr.arena[k] - qrtaddr.arena[ARENA_BASE]);
  if (!full) return;
  state->full = 1;
  state->Inumrows = qrtlplp.Inumrows;
  state->Inumcols = qrtlplp.Inumcols;
  state->Imaxrows = qrtlplp.Imaxrows;
  state->Imaxcols = qrtlplp.Imaxcols;
  state->Itotal = qrtlplp.Itotal;
  state->Inumblocks = qrtlplp.Inumblocks;
  state->Inumchar = qrtlplp.Inumchar;
  state->parametric = qrtlplp.parametric;
  state->scaled = qrtlplp.classicScaled;
  state->auxKind = qrtlplp.classicAuxKind;
  state->addr = qrtaddr;
  if (!qrtaddr.blocks || qrtlplp.Inumblocks < 1) return;
  state->blocks = static_cast<ElementBlock *>(guardedAllocate(qrtlplp.Inumblocks, sizeof(ElementBlock)));
  memcpy(state->blocks, qrtaddr.blocks, size_t(qrtlplp.Inumblocks) * sizeof(ElementBlock));
}

void qrtpopsf(int *rtcod, void *dspace, int full) {
  *rtcod = 0;
  if (qrt_modelInfo) {
    qrt_pop(qrt_modelInfo);
    return;
  }
  SavedModel *saved = savedModel(dspace);
  PushedState *state = saved->pushed;
  if (!state) {
    *rtcod = MODEL_CODE;
    qrtmesg_no(MSG_NO_PUSH);
    return;
  }
  for (int k = 0; k < ARENA_WORDS; ++k) qrtaddr.arena[k] = qrtaddr.arena[ARENA_BASE] + state->arena[k];
  if (full && state->full) {
    qrtlplp.Inumrows = state->Inumrows;
    qrtlplp.Inumcols = state->Inumcols;
    qrtlplp.Imaxrows = state->Imaxrows;
    qrtlplp.Imaxcols = state->Imaxcols;
    qrtlplp.Itotal = state->Itotal;
    qrtlplp.Inumblocks = state->Inumblocks;
    qrtlplp.Inumchar = state->Inumchar;
    qrtlplp.parametric = state->parametric;
    qrtlplp.classicScaled = state->scaled;
    qrtlplp.classicAuxKind = state->auxKind;
    replaceArrays(state->addr);
    if (state->blocks) memcpy(qrtaddr.blocks, state->blocks, size_t(state->Inumblocks) * sizeof(ElementBlock));
  }
  saved->pushed = state->older;
  qrt_freeBase(state->blocks);
  qrt_freeBase(state);
  // What was made since then lies in what is free again: a model, or the auxiliary vector of one.
  if (qrtaddr.modelTo && qrtaddr.modelTo > qrtaddr.arena[ARENA_LOW]) forgetClassicModel();
  if (qrtaddr.aux && qrtaddr.aux + 1 >= qrtaddr.arena[ARENA_LOW]) {
    qrtaddr.aux = nullptr;
    qrtlplp.classicAuxKind = -1;
  }
}
