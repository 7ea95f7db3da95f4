// Writing a model to a save file.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/card_writer.h"
#include "model/integer_sets.h"
#include "model/model_store.h"
#include "model/save_file.h"

namespace {

constexpr int NOT_OPENED = 200, NOT_WRITTEN = 21;

struct SaveFile {
  QRTModel *model;
  ByteStream *stream;
  int64_t n;       // entries of a vector
  uint32_t asked;  // sections asked for, 0 all
};

void put(const SaveFile *s, const void *bytes, int64_t count) {
  qrtgeno(s->stream, bytes, count);
}
void putWord(const SaveFile *s, int32_t word) { put(s, &word, 4); }

int64_t bytesOf(const void *block) { return block ? qrt_validAddress(block) : 0; }

// What is asked for and exists.
uint32_t maskOf(const SaveFile *s) {
  const QRTModel *m = s->model;
  const uint32_t asked = s->asked;
  uint32_t mask = asked ? asked : uint32_t(SAVE_ALL);
  if (!asked && m->Inumquadraticblocks > 0) mask |= SAVE_QUADRATIC;
  auto need = [&mask](uint32_t bit, const void *vector) {
    if (!vector) mask &= ~bit;
  };
  if (bytesOf(m->sellistrow) < 4 * int64_t(m->Imaxrows) || bytesOf(m->sellistcol) < 4 * int64_t(m->Imaxcols)) mask &= ~SAVE_LISTS;
  need(SAVE_LISTS, m->sellistrow);
  need(SAVE_LISTS, m->sellistcol);
  need(SAVE_NAMES, m->rownames);
  need(SAVE_STATUS, m->status);
  need(SAVE_VALUES, m->solution);
  need(SAVE_DUALS, m->dual);
  need(SAVE_LOWER, m->lower);
  need(SAVE_UPPER, m->upper);
  need(SAVE_OBJECTIVE, m->objective);
  need(SAVE_SCALES, m->scales);
  if (bytesOf(m->presolveInfo) < 4 * s->n || s->n == 0) mask &= ~SAVE_MARKS;
  if (!m->integerTypes && !m->setInfo) mask &= ~SAVE_INTEGERS;
  if (m->aux && (mask & SAVE_BOUNDS_AND_COSTS) == SAVE_BOUNDS_AND_COSTS) mask |= SAVE_AUX;
  return mask;
}

void putHeader(const SaveFile *s) {
  int32_t head[HEADER_WORDS] = {};
  head[HEAD_FORMAT] = SAVE_FORMAT;
  head[HEAD_ROWS] = s->model->Imaxrows;
  head[HEAD_COLUMNS] = s->model->Imaxcols;
  head[HEAD_LPLP] = LPLP_BYTES;
  head[HEAD_CONV] = CONV_BYTES;
  head[HEAD_BCOM] = BCOM_BYTES;
  head[HEAD_QPQP] = QPQP_BYTES;
  head[HEAD_INT] = INT_BYTES;
  put(s, head, sizeof head);
}

void putRecords(const SaveFile *s) {
  const QRTModel *m = s->model;
  char image[CONV_BYTES];
  int32_t facts[FACT_COUNT] = {};
  facts[FACT_ROWS] = m->Inumrows;
  facts[FACT_COLUMNS] = m->Inumcols;
  facts[FACT_NAME_LENGTH] = nameLength(m);
  facts[FACT_SCALE_STATE] = m->matrixScaled ? SCALE_STATE_SCALED : 0;
  facts[FACT_DUAL_SIGN] = m->dualSignFlip;
  facts[FACT_AUX_KIND] = m->auxKind;
  facts[FACT_FLAGS] = int32_t(m->modelFlags & MODEL_COMPRESS);
  facts[FACT_INTEGERS] = m->Inumints;
  memset(image, 0, sizeof image);
  memcpy(image, facts, sizeof facts);
  storeControls(m, IMAGE_LPLP, image, int(sizeof facts));
  put(s, image, LPLP_BYTES);
  memset(image, 0, sizeof image);
  for (int c = 0; c < NAME_CONTROLS; c++)
    if (const char *text = m->characterControls[c]) memcpy(image + 80 * c, text, strnlen(text, 79));
  put(s, image, CONV_BYTES);
  memset(image, 0, sizeof image);
  storeControls(m, IMAGE_BCOM, image, 0);
  put(s, image, BCOM_BYTES);
  memset(image, 0, sizeof image);
  storeControls(m, IMAGE_QPQP, image, 0);
  put(s, image, QPQP_BYTES);
}

void putNames(const SaveFile *s, bool rows) {
  const QRTModel *m = s->model;
  const int L = nameLength(m), room = rows ? m->Imaxrows : m->Imaxcols, used = rows ? m->Inumrows : m->Inumcols;
  for (int k = 0; k < room; k++) {
    char entry[40], buffer[40];
    memset(entry, ' ', sizeof entry);
    int length = 0;
    const char *name = k < used ? rows ? rowNameOf(m, k, buffer, &length) : columnNameOf(m, k, buffer, &length) : "";
    memcpy(entry, name, size_t(length < L ? length : L));
    put(s, entry, L);
  }
}

// A block at rest: numbers count from 0 whatever form the model is in.
void putBlock(const SaveFile *s, const ElementBlock &b, int shift) {
  const int64_t n = blockElements(b);
  const int type = n > 0 ? isTriples(b) ? 2 : 3 : 0;
  const SavedBlock record = {type, b.count, b.columnBase - shift, b.first, b.extent, b.rowBase - shift, b.flags, type != 0, type != 0, type != 0};
  put(s, &record, sizeof record);
  if (type == 0) return;
  if (type == 3) putWord(s, int32_t(n));
  put(s, b.rows, 4 * n);
  put(s, b.columns, type == 2 ? 4 * n : 4 * (int64_t(b.count) + 1));
  put(s, b.elements, 8 * n);
}

void putMatrix(const SaveFile *s) {
  const QRTModel *m = s->model;
  putWord(s, SAVE_FORMAT);
  putWord(s, m->Inumblocks);
  putWord(s, 0);
  for (int k = 0; k < m->Inumblocks; k++) putBlock(s, m->blocks[k], blockShift(m));
}

void putIntegers(const SaveFile *s) {
  QRTModel *m = s->model;
  const EntityTable *table = entityTable(m);
  const int sets = table ? table->nEntities : 0, members = table ? table->nMembers : 0;
  char head[INTEGER_BYTES] = {};
  const int32_t counts[4] = {m->Inumrows, m->Inumcols, countIntegerColumns(m), m->Inumsets};
  const double tolerances[6] = {qrtint3.Rtolint, qrtint3.Rbbcutoff, qrtint3.Rdegscale, qrtint3.Riweight, qrtint3.Rimprove, qrtint3.Rtarget};
  memcpy(head, counts, sizeof counts);
  memcpy(head + 64, tolerances, sizeof tolerances);
  put(s, head, sizeof head);
  SavedIntegers sizes = {};
  sizes.typeBytes = m->integerTypes ? m->Inumcols : 0;
  sizes.setBytes = int32_t(sizeof(EntityRecord)) * sets;
  sizes.memberBytes = int32_t(sizeof(MemberRecord)) * members;
  sizes.numberSets = sets;
  sizes.numberMembers = members;
  sizes.numberIntegers = counts[2];
  put(s, &sizes, sizeof sizes);
  if (sizes.typeBytes) put(s, m->integerTypes, sizes.typeBytes);
  if (sets) put(s, table->entity, sizes.setBytes);
  if (members) put(s, memberTable(m), sizes.memberBytes);
}

void putQuadratic(const SaveFile *s) {
  const QRTModel *m = s->model;
  putWord(s, m->Inumquadraticblocks > 0);
  putWord(s, m->Inumquadraticblocks);
  for (int k = 0; k < m->Inumquadraticblocks; k++) putBlock(s, *m->quadraticBlocks[k].block, 0);
}

void writeSave(const SaveFile *s) {
  const QRTModel *m = s->model;
  const uint32_t mask = maskOf(s);
  put(s, SAVE_MAGIC, sizeof SAVE_MAGIC);
  putWord(s, int32_t(mask));
  putHeader(s);
  if (mask & SAVE_RECORDS) putRecords(s);
  if (mask & SAVE_LISTS) {
    put(s, m->sellistrow, 4 * int64_t(m->Imaxrows));
    put(s, m->sellistcol, 4 * int64_t(m->Imaxcols));
  }
  if (mask & SAVE_NAMES) {
    putNames(s, true);
    putNames(s, false);
  }
  if (mask & SAVE_STATUS) put(s, m->status, 4 * s->n);
  const struct {
    uint32_t bit;
    const double *vector;
  } vectors[] = {{SAVE_VALUES, m->solution}, {SAVE_DUALS, m->dual}, {SAVE_LOWER, m->lower}, {SAVE_UPPER, m->upper}, {SAVE_OBJECTIVE, m->objective}};
  for (const auto &v : vectors)
    if (mask & v.bit) put(s, v.vector, 8 * s->n);
  if (mask & SAVE_AUX) put(s, m->aux, 8 * (s->n + 3));
  if (mask & SAVE_MATRIX) putMatrix(s);
  if (mask & SAVE_SCALES) put(s, m->scales, 8 * s->n);
  if (mask & SAVE_MARKS) put(s, m->presolveInfo, 4 * s->n);
  if (mask & SAVE_INTEGERS) putIntegers(s);
  if (mask & SAVE_QUADRATIC) putQuadratic(s);
}

int saveModel(QRTModel *model, const char *filename) {
  if (!outputFile_open(filename)) return NOT_OPENED;
  ByteStream stream;
  byteStream_ofFile(&stream, outputFile_stream(), false);
  qrtptmdf(model, &stream, uint32_t(qrtlplp.Imodelmask));
  if (stream.error) qrtmesg_no_i2(MSG_WRITE_ERROR, stream.error, UNIT_IMPORT);
  return outputFile_commit() ? 0 : NOT_WRITTEN;
}

}  // namespace

void qrtptmdf(QRTModel *model, ByteStream *stream, uint32_t mask) {
  const SaveFile save = {model, stream, int64_t(model->Imaxrows) + model->Imaxcols, mask};
  writeSave(&save);
}

extern "C" int qrt_saveModel(QRTModel *model, const char *filename) {
  qrt_enter(model, "qrt_saveModel", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (outputFile_abandon(), qrt_disaster(model)));
  const int result = saveModel(model, filename);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}
