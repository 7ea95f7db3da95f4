// One object copied to another: its store by way of a file of its own, its described model, its settings.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_generation.h"
#include "stoch/scn_object.h"

static int *copyInts(const int *from, int64_t n) {
  int *to = static_cast<int *>(std::malloc(size_t(n > 0 ? n : 1) * sizeof(int)));
  if (to != nullptr && from != nullptr) std::memcpy(to, from, size_t(n) * sizeof(int));
  return to;
}

// The target gets a store of its own, empty but for the limits of the source.
static void freshStore(QRTStoch *target, const StochData *from) {
  if (target->ownsData == 1) qrts_freeSdata(target->sdata);
  target->sdata = qrts_Cinit(from->scenarios->maximum);
  target->ownsData = 1;
  target->sdata->core->tolerance = from->core->tolerance;
  target->sdata->core->problemType = from->core->problemType;
}

int qrts_copySdata(QRTStoch *target, QRTStoch *source) {
  const StochData *from = source->sdata;
  if (from == nullptr || from->file == nullptr) {
    if (from != nullptr) freshStore(target, from);
    std::printf("\n Warning !!! No Core/Scenario/Node data present yet.\n");
    std::fflush(stdout);
    return 1;
  }
  freshStore(target, from);
  char *name = recordFile_temporaryName();
  if (name == nullptr) {
    return severe(MSG_SAVE_FAILED, "/tmp");
  }
  const int written = qrts_write3NativeData(source, name);
  if (written >= 2) {
    std::printf("\n Non-zero return code while source writing native data.");
    std::remove(name);
    std::free(name);
    return written;
  }
  const int read = qrts_read2NativeData(target, name, 0, 1);
  std::free(name);
  if (read >= 2) {
    std::printf("\n Non-zero return code while target reading native data.");
    return read;
  }
  CoreData *to = target->sdata->core;
  if (from->core->nIntegers > 0) {
    // one mark a column and one more; the count is that of the integer columns
    to->integerMarks = copyInts(from->core->integerMarks, int64_t(from->core->nCols) + 1);
    if (to->integerMarks == nullptr) {
      std::printf("\n Malloc error in qrts_copyStoch().");
      return 1;
    }
    to->nIntegers = from->core->nIntegers;
  }
  return 0;
}

int qrts_copySmodel(QRTStoch *target, QRTStoch *source) {
  target->smodel = nullptr;
  if (source->smodel == nullptr) {
    std::printf("\n Warning ! src has no model.\n");
    return 0;
  }
  if (qrts_describe2PartialModel(target, source->smodel->tag, source->nNodeList, source->nodeList, 1) <= 0) {
    std::printf("\n Warning ! Could not copy the model from src to target!\n");
    target->smodel = nullptr;
    return 1;
  }
  if (qrt_copyModel(target->smodel->model, source->smodel->model) >= 1) {
    std::printf("\n Warning ! Could not copy the QRTModel data from src->smodel to target->smodel !\n");
    return 1;
  }
  return 0;
}

static void nameCopy(QRTStoch *target, const QRTStoch *source) {
  if (target->name[0] == '\0') std::snprintf(target->name, sizeof target->name, "Copy(%.121s)", source->name);
}

// Marks of the described model and the list of a submodel; false without memory.
static bool copyLists(QRTStoch *target, const QRTStoch *source) {
  std::free(target->integerMarks);
  target->integerMarks = nullptr;
  target->nIntegers = 0;
  if (source->nIntegers > 0 && source->integerMarks != nullptr && source->smodel != nullptr) {
    target->integerMarks = copyInts(source->integerMarks, int64_t(source->smodel->nCols) + 1);
    if (target->integerMarks == nullptr) return false;
    target->nIntegers = source->nIntegers;
  }
  std::free(target->nodeList);
  target->nodeList = nullptr;
  target->nNodeList = 0;
  if (source->nNodeList > 0 && source->nodeList != nullptr) {
    target->nodeList = copyInts(source->nodeList, source->nNodeList);
    if (target->nodeList == nullptr) return false;
    target->nNodeList = source->nNodeList;
  }
  return true;
}

static void copySettings(QRTStoch *target, const QRTStoch *source) {
  solverOptions_assign(target, source);
  target->nSubmodels = -1;  // the submodels themselves stay with the source
  target->masterModel = source->masterModel;
  target->ifParallel = source->ifParallel;
  target->cutperiod = source->cutperiod;
  target->minNumRows = source->minNumRows;
  target->maxsubmodels = source->maxsubmodels;
  target->ifFinalSimplex = source->ifFinalSimplex;
  target->robjvalue = source->robjvalue;
  target->lenient = source->lenient;
  target->inherit = source->inherit;
}

int qrts_copy2Stoch(QRTStoch *target, QRTStoch *source, int copyData) {
  if (qrts_validate2Stoch(target) != 0 || qrts_validate2Stoch(source) != 0 || target == source) return 2;
  nameCopy(target, source);
  // what the target had goes, so that nothing of it is lost or mixed with the copy
  qrts_freeSmodel(target->smodel);
  target->smodel = nullptr;
  if (copyData) {
    const int rc = qrts_copySdata(target, source);
    if (rc > 0) {
      std::printf("\n qrts_copySdata() failed in qrts_copyStoch().");
      return rc;
    }
  } else {
    if (target->ownsData == 1 && target->sdata != source->sdata) qrts_freeSdata(target->sdata);
    target->sdata = source->sdata;
    target->ownsData = 0;
  }
  if (qrt_copyModel(target->baseModel, source->baseModel) > 0) std::printf("\n qrt_copyModel() failed in qrts_copyStoch().");
  if (qrts_copySmodel(target, source) > 0) std::printf("\n qrts_copySmodel() failed in qrts_copyStoch().");
  if (!copyLists(target, source)) return 1;
  copySettings(target, source);
  return 0;
}
