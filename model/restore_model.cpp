// Reading a save file back. Everything is read and looked at before the model changes: a file that is cut off or was
// damaged leaves it as it was.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/integer_sets.h"
#include "model/model_store.h"
#include "model/save_file.h"

namespace {

constexpr int NOT_OPENED = 200, NOT_READ = 21;

struct BlockRead {
  SavedBlock record;
  int32_t elementCount;
  int32_t *rows, *columns;
  double *elements;
};

}  // namespace

// What the file holds; arrays on the temporary chain, null where a section is missing.
struct SavedModel {
  QRTModel *model;
  ByteStream *stream;
  uint32_t wanted;     // sections asked for, 0 all
  bool known, scaled;  // whether records were read, and whether by them the elements bear factors
  bool cut;            // the file ended too early
  uint32_t mask;       // sections of the file
  int32_t head[HEADER_WORDS];
  int64_t n;
  int rows, columns, nameLength;
  char *lplp, *conv, *bcom, *qpqp;
  int32_t *rowList, *columnList, *status, *marks;
  char *rowNames, *columnNames, *types;
  double *values, *duals, *lower, *upper, *objective, *aux, *scales;
  int32_t nBlocks, nQuadratic;
  BlockRead *blocks, *quadratic;
  SavedIntegers integers;
  int32_t integerCounts[4];
  EntityRecord *sets;
  MemberRecord *members;
};

namespace {

bool get(SavedModel *s, void *bytes, int64_t count) {
  if (!s->cut && qrtgeni(s->stream, bytes, count)) return true;
  s->cut = true;
  return false;
}

// An array of the file; a count that the rest of the file cannot hold allocates nothing.
template <class T> T *getArray(SavedModel *s, int64_t count) {
  if (s->cut || count < 0 || count * int64_t(sizeof(T)) > byteStream_left(s->stream)) {
    s->cut = true;
    return nullptr;
  }
  T *array = static_cast<T *>(temporaryAllocate(s->model, count + 1, int64_t(sizeof(T))));
  get(s, array, count * int64_t(sizeof(T)));
  return array;
}

// ---- reading

bool getBlock(SavedModel *s, BlockRead *b) {
  if (!get(s, &b->record, sizeof b->record)) return false;
  const int type = b->record.type < 0 ? -b->record.type : b->record.type;
  if (type != 2 && type != 3) return true;
  b->elementCount = b->record.count;
  if (type == 3 && !get(s, &b->elementCount, 4)) return false;
  b->rows = getArray<int32_t>(s, b->elementCount);
  b->columns = getArray<int32_t>(s, type == 2 ? b->elementCount : int64_t(b->record.count) + 1);
  b->elements = getArray<double>(s, b->elementCount);
  return !s->cut;
}

BlockRead *getBlocks(SavedModel *s, int count) {
  if (count < 0 || int64_t(count) * int64_t(sizeof(SavedBlock)) > byteStream_left(s->stream)) {
    s->cut = true;
    return nullptr;
  }
  BlockRead *blocks = static_cast<BlockRead *>(temporaryAllocate(s->model, int64_t(count) + 1, int64_t(sizeof(BlockRead))));
  memset(static_cast<void *>(blocks), 0, (size_t(count) + 1) * sizeof(BlockRead));
  for (int k = 0; k < count && !s->cut; k++) getBlock(s, &blocks[k]);
  return blocks;
}

bool recordsFit(const SavedModel *s) {
  const int32_t *h = s->head;
  return h[HEAD_FORMAT] == SAVE_FORMAT && h[HEAD_LPLP] == LPLP_BYTES && h[HEAD_CONV] == CONV_BYTES && h[HEAD_BCOM] == BCOM_BYTES &&
         h[HEAD_QPQP] == QPQP_BYTES && h[HEAD_INT] == INT_BYTES;
}

// Without records of its own a file that is laid over a model has the model's numbers, else all that there is room for.
void takeSizesOfModel(SavedModel *s) {
  const QRTModel *m = s->model;
  if (m->Inumrows == 0 && m->Inumcols == 0) return;
  s->rows = m->Inumrows;
  s->columns = m->Inumcols;
}

void getRecords(SavedModel *s) {
  s->lplp = getArray<char>(s, s->head[HEAD_LPLP]);
  s->conv = getArray<char>(s, s->head[HEAD_CONV]);
  s->bcom = getArray<char>(s, s->head[HEAD_BCOM]);
  s->qpqp = getArray<char>(s, s->head[HEAD_QPQP]);
  if (s->cut) return;
  if (!recordsFit(s)) {
    s->lplp = s->conv = s->bcom = s->qpqp = nullptr;  // of another build: passed over
    takeSizesOfModel(s);
    return;
  }
  int32_t facts[FACT_COUNT];
  memcpy(facts, s->lplp, sizeof facts);
  s->rows = facts[FACT_ROWS];
  s->columns = facts[FACT_COLUMNS];
  s->nameLength = facts[FACT_NAME_LENGTH];
  s->known = true;
  s->scaled = facts[FACT_SCALE_STATE] == SCALE_STATE_SCALED;
}

void getIntegers(SavedModel *s) {
  char head[INTEGER_BYTES];
  if (!get(s, head, sizeof head) || !get(s, &s->integers, sizeof s->integers)) return;
  memcpy(s->integerCounts, head, sizeof s->integerCounts);
  s->types = getArray<char>(s, s->integers.typeBytes);
  s->sets = getArray<EntityRecord>(s, s->integers.setBytes / int32_t(sizeof(EntityRecord)));
  s->members = getArray<MemberRecord>(s, s->integers.memberBytes / int32_t(sizeof(MemberRecord)));
}

void getSections(SavedModel *s) {
  const uint32_t mask = s->mask;
  if (mask & SAVE_RECORDS) getRecords(s);
  if (mask & SAVE_LISTS) {
    s->rowList = getArray<int32_t>(s, s->head[HEAD_ROWS]);
    s->columnList = getArray<int32_t>(s, s->head[HEAD_COLUMNS]);
  }
  if (mask & SAVE_NAMES) {
    s->rowNames = getArray<char>(s, int64_t(s->head[HEAD_ROWS]) * s->nameLength);
    s->columnNames = getArray<char>(s, int64_t(s->head[HEAD_COLUMNS]) * s->nameLength);
  }
  if (mask & SAVE_STATUS) s->status = getArray<int32_t>(s, s->n);
  if (mask & SAVE_VALUES) s->values = getArray<double>(s, s->n);
  if (mask & SAVE_DUALS) s->duals = getArray<double>(s, s->n);
  if (mask & SAVE_LOWER) s->lower = getArray<double>(s, s->n);
  if (mask & SAVE_UPPER) s->upper = getArray<double>(s, s->n);
  if (mask & SAVE_OBJECTIVE) s->objective = getArray<double>(s, s->n);
  if (mask & SAVE_AUX) s->aux = getArray<double>(s, s->n + 3);
  if (mask & SAVE_MATRIX) {
    int32_t words[3] = {};
    get(s, words, sizeof words);
    s->nBlocks = words[1];
    if (!s->cut) s->blocks = getBlocks(s, s->nBlocks);
  }
  if (mask & SAVE_SCALES) s->scales = getArray<double>(s, s->n);
  if (mask & SAVE_MARKS) s->marks = getArray<int32_t>(s, s->n);
  if (mask & SAVE_INTEGERS) getIntegers(s);
  if (mask & SAVE_QUADRATIC) {
    int32_t words[2] = {};
    get(s, words, sizeof words);
    s->nQuadratic = words[1];
    if (!s->cut) s->quadratic = getBlocks(s, s->nQuadratic);
  }
}

// ---- looking at it

bool inRange(const int32_t *values, int64_t n, int64_t offset, int64_t limit) {
  int smallest, largest;
  indexRange(values, n, &smallest, &largest);
  return n == 0 || (smallest + offset >= 0 && largest + offset < limit);
}

bool soundBlock(const SavedModel *s, const BlockRead &b, int rows) {
  const int type = b.record.type < 0 ? -b.record.type : b.record.type;
  if (type == 0) return true;
  if (type != 2 && type != 3) return false;
  const int64_t columnOffset = int64_t(b.record.columnBase) - s->head[HEAD_ROWS];
  if (b.record.count < 0 || !inRange(b.rows, b.elementCount, b.record.rowBase, rows)) return false;
  if (type == 2) return inRange(b.columns, b.elementCount, columnOffset, s->columns) && inRange(b.columns, b.elementCount, 0, s->columns);
  if (columnOffset < 0 || columnOffset + b.record.count > s->columns) return false;
  if (b.columns[0] != 0 || b.columns[b.record.count] != b.elementCount) return false;
  for (int c = 0; c < b.record.count; c++)
    if (b.columns[c + 1] < b.columns[c]) return false;
  return true;
}

bool soundIntegers(const SavedModel *s) {
  const SavedIntegers &i = s->integers;
  if (i.typeBytes > s->columns) {
    qrtmesg_no_i2(MSG_INTEGER_SIZES, s->integerCounts[0], s->integerCounts[1]);
    return false;
  }
  bool sound = i.numberSets >= 0 && i.numberMembers >= 0 && i.setBytes == int64_t(sizeof(EntityRecord)) * i.numberSets &&
               i.memberBytes == int64_t(sizeof(MemberRecord)) * i.numberMembers;
  for (int k = 0; sound && k < i.numberSets; k++) {
    const EntityRecord &e = s->sets[k];
    sound = e.type >= ENTITY_GROUP && e.type <= ENTITY_SOS2 && e.first >= 0 && e.count >= 0 && int64_t(e.first) + e.count <= i.numberMembers;
  }
  for (int k = 0; sound && k < i.numberMembers; k++) sound = s->members[k].column >= 0 && s->members[k].column < s->columns;
  if (!sound) qrtmesg_no_i2(MSG_INTEGER_COUNTS, i.numberIntegers, i.numberSets);
  return sound;
}

bool soundSizes(const SavedModel *s) {
  return s->rows >= 0 && s->rows <= s->head[HEAD_ROWS] && s->columns >= 0 && s->columns <= s->head[HEAD_COLUMNS] && s->nameLength >= 1 &&
         s->nameLength <= 31;
}

bool soundBlocks(const SavedModel *s) {
  for (int k = 0; k < s->nBlocks; k++)
    if (!soundBlock(s, s->blocks[k], s->rows)) return false;
  for (int k = 0; k < s->nQuadratic; k++)
    if (!soundBlock(s, s->quadratic[k], s->columns)) return false;
  return true;
}

// ---- taking it over

template <class T> void takeVector(const SavedModel *s, T *to, const T *from) {
  if (from && to) memcpy(to, from, size_t(s->n) * sizeof(T));
}

void takeNames(SavedModel *s) {
  QRTModel *m = s->model;
  if (!s->rowNames) return;
  setNameLength(m, s->nameLength);
  ensureNames(m);
  auto take = [&](char *home, const char *from, int count) {
    for (int k = 0; k < count; k++) {
      const char *name = from + int64_t(k) * s->nameLength;
      int length = s->nameLength;
      while (length > 0 && name[length - 1] == ' ') length--;
      storeName(m, home + int64_t(k) * nameStride(m), name, length);
    }
  };
  take(m->rownames, s->rowNames, s->rows);
  take(m->colnames, s->columnNames, s->columns);
}

void takeMatrix(SavedModel *s, bool scaled) {
  QRTModel *m = s->model;
  if (!s->blocks) return;
  dropAllBlocks(m);
  m->matrixScaled = 0;  // the elements come as they were stored
  for (int k = 0; k < s->nBlocks; k++) {
    const BlockRead &b = s->blocks[k];
    const int columnOffset = b.record.columnBase - m->Imaxrows;
    if (b.record.type == 2 || b.record.type == -2)
      appendTripleBlock(m, b.elementCount, b.rows, b.columns, b.elements, b.record.rowBase, columnOffset);
    else if (b.record.type != 0)
      appendColumnBlock(m, b.record.count, b.rows, b.columns, b.elements, b.record.rowBase, columnOffset);
  }
  m->matrixScaled = scaled;
}

void takeOptional(const SavedModel *s, double **home, const double *from, int64_t count, double absent) {
  QRTModel *m = s->model;
  if (!from) return;
  if (!*home) *home = newRimVector(m, absent);
  memcpy(*home, from, size_t(count) * sizeof(double));
}

void takeIntegers(SavedModel *s, bool announce) {
  QRTModel *m = s->model;
  if (!(s->mask & SAVE_INTEGERS)) return;
  dropEntities(m);
  qrt_free(m->integerTypes);
  m->integerTypes = nullptr;
  m->Inumints = 0;
  for (int j = 0; j < s->integers.typeBytes; j++)
    if (s->types[j]) markInteger(m, j, s->types[j]);
  for (int k = 0; k < s->integers.numberSets; k++) {
    const EntityRecord &e = s->sets[k];
    storeEntity(m, e.type, e.priority, e.count, s->members + e.first);
  }
  if (announce) qrtmesg_no_i2(MSG_INTEGERS_RESTORED, countIntegerColumns(m), m->Inumsets);
}

void takeQuadratic(SavedModel *s) {
  QRTModel *m = s->model;
  if (!(s->mask & SAVE_QUADRATIC)) return;
  dropQuadratic(m);
  for (int k = 0; k < s->nQuadratic; k++) {
    const BlockRead &b = s->quadratic[k];
    if (b.record.type == 2 || b.record.type == -2) qrt_addElementInformationBlock(m, b.elementCount, b.rows, b.columns, b.elements);
    else if (b.record.type != 0) qrt_addColumnElementInformationBlock(m, b.record.count, b.rows, b.columns, b.elements);
  }
}

void takeList(void **home, const int32_t *from, int64_t count) {
  if (!from) return;
  qrt_free(*home);
  *home = nullptr;
  if (count == 0) return;
  *home = guardedAllocate(count, 4);
  memcpy(*home, from, size_t(count) * 4);
}

void takeRecords(SavedModel *s) {
  QRTModel *m = s->model;
  if (!s->lplp) return;
  int32_t facts[FACT_COUNT];
  memcpy(facts, s->lplp, sizeof facts);
  const int mask = qrtlplp.Imodelmask;
  loadControls(m, IMAGE_LPLP, s->lplp, int(sizeof facts));
  loadControls(m, IMAGE_BCOM, s->bcom, 0);
  loadControls(m, IMAGE_QPQP, s->qpqp, 0);
  storeControlInteger(m, CONTROL_Imodelmask, mask);  // what this restore was asked for, not what the save was
  for (int c = 0; c < NAME_CONTROLS; c++) {
    char text[81];
    memcpy(text, s->conv + 80 * c, 80);
    text[79] = '\0';
    storeCharacterControl(m, c, text);
  }
  m->dualSignFlip = facts[FACT_DUAL_SIGN] != 0;
  m->modelFlags = (m->modelFlags & ~uint32_t(MODEL_COMPRESS)) | (uint32_t(facts[FACT_FLAGS]) & MODEL_COMPRESS);
}

// Without records the factors themselves tell.
bool markedScaled(const SavedModel *s) {
  return s->known ? s->scaled : s->scales != nullptr && s->blocks != nullptr;
}

int auxKindOf(const SavedModel *s) {
  if (!s->lplp) return -1;
  int32_t facts[FACT_COUNT];
  memcpy(facts, s->lplp, sizeof facts);
  return facts[FACT_AUX_KIND];
}

}  // namespace

void savedModel_takeOver(SavedModel *s, bool announce) {
  QRTModel *m = s->model;
  const bool wasScaled = m->matrixScaled != 0;
  bool scaled = s->blocks ? markedScaled(s) && s->scales : wasScaled;
  resizeRims(m, s->rows, s->columns, s->head[HEAD_ROWS], s->head[HEAD_COLUMNS], 1);
  takeRecords(s);
  takeNames(s);
  if (m->lower) {
    takeVector(s, m->status, s->status);
    takeVector(s, m->solution, s->values);
    takeVector(s, m->dual, s->duals);
    takeVector(s, m->lower, s->lower);
    takeVector(s, m->upper, s->upper);
    takeVector(s, m->objective, s->objective);
    takeOptional(s, &m->aux, s->aux, s->n + 3, 0.0);
    if (s->aux) m->auxKind = auxKindOf(s);
    takeOptional(s, &m->scales, s->scales, s->n, 1.0);
  }
  takeMatrix(s, scaled);
  if (wasScaled && !scaled) qrtmesg_no(MSG_SCALING_OFF);
  takeList(&m->sellistrow, s->rowList, s->rowList ? s->head[HEAD_ROWS] : 0);
  takeList(&m->sellistcol, s->columnList, s->columnList ? s->head[HEAD_COLUMNS] : 0);
  takeList(&m->presolveInfo, s->marks, s->marks ? s->n : 0);
  takeIntegers(s, announce);
  takeQuadratic(s);
  touchMatrix(m);
  selfCheckModel(m);
}

bool savedModel_hasScales(const SavedModel *s) { return s->scales != nullptr; }

void savedModel_sizes(const SavedModel *s, int *rows, int *columns) {
  *rows = s->rows;
  *columns = s->columns;
}

namespace {

// Sections that are not asked for were read to be passed over.
void forgetUnasked(SavedModel *s) {
  uint32_t wanted = s->wanted;
  if (wanted == 0) wanted = SAVE_ALL | SAVE_QUADRATIC;
  if ((wanted & SAVE_BOUNDS_AND_COSTS) == SAVE_BOUNDS_AND_COSTS) wanted |= SAVE_AUX;
  s->mask &= wanted;
  auto forget = [s](uint32_t bit, auto &array) {
    if (!(s->mask & bit)) array = nullptr;
  };
  forget(SAVE_RECORDS, s->lplp);
  forget(SAVE_LISTS, s->rowList);
  forget(SAVE_LISTS, s->columnList);
  forget(SAVE_NAMES, s->rowNames);
  forget(SAVE_STATUS, s->status);
  forget(SAVE_VALUES, s->values);
  forget(SAVE_DUALS, s->duals);
  forget(SAVE_LOWER, s->lower);
  forget(SAVE_UPPER, s->upper);
  forget(SAVE_OBJECTIVE, s->objective);
  forget(SAVE_AUX, s->aux);
  forget(SAVE_MATRIX, s->blocks);
  forget(SAVE_SCALES, s->scales);
  forget(SAVE_MARKS, s->marks);
}

// Returns 0 or NOT_READ after a message.
int readSave(SavedModel *s) {
  QRTModel *m = s->model;
  char magic[4] = {};
  const bool begun = get(s, magic, 4) && memcmp(magic, SAVE_MAGIC, 4) == 0;
  if (!begun) {
    qrtmesg_no_i1(MSG_NOT_A_SAVE, UNIT_IMPORT);
    return NOT_READ;
  }
  get(s, &s->mask, 4);
  get(s, s->head, sizeof s->head);
  s->rows = s->head[HEAD_ROWS];
  s->columns = s->head[HEAD_COLUMNS];
  s->nameLength = nameLength(m);
  s->n = int64_t(s->rows) + s->columns;
  if (s->rows < 0 || s->columns < 0 || s->rows > MAX_ROWS) {
    qrtmesg_no_i1(MSG_NOT_A_SAVE, UNIT_IMPORT);
    return NOT_READ;
  }
  const bool empty = m->Inumrows == 0 && m->Inumcols == 0;
  if (!s->cut && !empty && (m->Imaxrows != s->rows || m->Imaxcols != s->columns)) {
    qrtmesg_no(MSG_CAPACITIES_DIFFER);
    return NOT_READ;
  }
  if (!(s->mask & SAVE_RECORDS)) takeSizesOfModel(s);
  if (!s->cut) getSections(s);
  if (s->cut) {
    qrtmesg_no_i2(MSG_READ_ERROR, -1, UNIT_IMPORT);
    return NOT_READ;
  }
  if (!soundSizes(s) || !soundBlocks(s)) {
    qrtmesg_no_i1(MSG_NOT_A_SAVE, UNIT_IMPORT);
    return NOT_READ;
  }
  if ((s->mask & SAVE_INTEGERS) && !soundIntegers(s)) return NOT_READ;
  if (s->blocks && s->lplp && markedScaled(s) && !s->scales) {
    qrtmesg_no_i1(MSG_NO_FACTORS, UNIT_IMPORT);
    return NOT_READ;
  }
  forgetUnasked(s);
  return 0;
}

int restoreModel(QRTModel *model, const char *filename) {
  const char *name = filename && *filename ? filename : "tempfile";
  if (qrtopenbyname(name, UNIT_IMPORT, 3) != 0) {
    qrtmesg_no_q1(MSG_NO_SUCH_FILE, name, -1);
    return NOT_OPENED;
  }
  qrt_push(model);
  ByteStream stream;
  byteStream_ofFile(&stream, qrt_file_fp[UNIT_IMPORT - UNIT_FIRST_NAMED], true);
  SavedModel *saved = qrtgtmdf(model, &stream, uint32_t(qrtlplp.Imodelmask));
  if (saved) savedModel_takeOver(saved, true);
  qrt_pop(model);
  return saved ? 0 : NOT_READ;
}

}  // namespace

SavedModel *qrtgtmdf(QRTModel *model, ByteStream *stream, uint32_t mask) {
  SavedModel *saved = static_cast<SavedModel *>(temporaryAllocate(model, 1, int64_t(sizeof(SavedModel))));
  *saved = {};
  saved->model = model;
  saved->stream = stream;
  saved->wanted = mask;
  return readSave(saved) == 0 ? saved : nullptr;
}

extern "C" int qrt_restoreModel(QRTModel *model, const char *filename) {
  qrt_eraseFactor(model);
  qrt_enter(model, "qrt_restoreModel", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (closeNamedUnit(UNIT_IMPORT), qrt_disaster(model)));
  const int result = restoreModel(model, filename);
  closeNamedUnit(UNIT_IMPORT);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}
