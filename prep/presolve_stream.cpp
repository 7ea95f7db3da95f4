// The stream between presolve and postsolve.
//
//     image of the original model
//     offset [8]  rows of the reduced model [4]  tag [4]                      99 when the rest is whole
//     merge records: count [4], 64 bytes each
//     substitution records: 40 bytes each, a pass marker (-1, -1), an end (0)
//     stack: count [4], all parts of 16 bytes, all parts of 32 bytes
//     content: for each record in time order the counts of its row and column pairs and its third number; then all
//              numbers, then all values
//     shape: rows, columns, dummy, repairs; numbers of the rows and columns that stayed
//     header of the reduced model: rows, columns, elements
//
// Three kinds of record lie in three places; the sequence number in each restores the one order in which they are undone.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/model_store.h"
#include "model/save_file.h"
#include "prep/presolve_run.h"

namespace {

// Sections of the image: records, names, bounds and costs, matrix, factors, marks, integers.
constexpr uint32_t WRITTEN = 0xfc5 | SAVE_INTEGERS, READ = WRITTEN & ~uint32_t(SAVE_RECORDS);

struct StackHead {
  int32_t type, row, column, sequence;
};
struct StackBody {
  double lower, upper, value1, value2;
};
struct MergeRecord {
  double lower, upper, value1, value2, otherLower, otherUpper;
  int32_t type, column, row, sequence;
};
struct FillRecord {
  int32_t negatedColumn, column, row, sequence, spare[2];
  double factor, constant;
};
struct ContentHead {
  int32_t rowCount, columnCount, other;
  int32_t spare;
  double rest[4];        // what the place of a record has no room for
};
static_assert(sizeof(StackHead) == 16 && sizeof(StackBody) == 32 && sizeof(MergeRecord) == 64 && sizeof(FillRecord) == 40, "sizes of the file");

enum Place { PLACE_STACK, PLACE_MERGE, PLACE_FILL };
Place placeOf(int type) {
  if (type == REDUCTION_SLACK || type == REDUCTION_SUMMED || type == REDUCTION_DOMINATED) return PLACE_MERGE;
  return type == REDUCTION_FILL ? PLACE_FILL : PLACE_STACK;
}

template <class T> void put(ByteStream *s, const T &value) { qrtgeno(s, &value, sizeof value); }
template <class T> bool get(ByteStream *s, T *value) { return qrtgeni(s, value, sizeof *value); }

// ---- writing

void putMerges(ByteStream *s, const ReductionLog *log) {
  int32_t count = 0;
  for (int k = 0; k < log->count; k++) count += placeOf(log->record[k].type) == PLACE_MERGE;
  put(s, count);
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    if (placeOf(r.type) == PLACE_MERGE)
      put(s, MergeRecord{r.lower, r.upper, r.value1, r.value2, r.otherLower, r.otherUpper, r.type, r.column + 1, r.row + 1, k});
  }
}

void putFills(ByteStream *s, const ReductionLog *log) {
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    if (placeOf(r.type) == PLACE_FILL) put(s, FillRecord{-(r.column + 1), r.column + 1, r.row + 1, k, {0, 0}, r.value1, r.value2});
  }
  put(s, FillRecord{-1, -1, 0, -1, {0, 0}, 0.0, 0.0});
  put(s, FillRecord{0, 0, 0, -1, {0, 0}, 0.0, 0.0});
}

void putStack(ByteStream *s, const ReductionLog *log) {
  int32_t count = 0;
  for (int k = 0; k < log->count; k++) count += placeOf(log->record[k].type) == PLACE_STACK;
  put(s, count);
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    if (placeOf(r.type) == PLACE_STACK) put(s, StackHead{r.type, r.row + 1, r.column + 1, k});
  }
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    if (placeOf(r.type) == PLACE_STACK) put(s, StackBody{r.lower, r.upper, r.value1, r.value2});
  }
}

void putContent(ByteStream *s, const ReductionLog *log) {
  put(s, int64_t(log->count));
  put(s, log->pairs);
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    const bool fill = placeOf(r.type) == PLACE_FILL;
    put(s, ContentHead{r.rowCount, r.columnCount, r.other, 0, {fill ? r.lower : 0.0, fill ? r.upper : 0.0, r.otherLower, r.otherUpper}});
  }
  qrtgeno(s, log->index, log->pairs * int64_t(sizeof(int)));
  qrtgeno(s, log->value, log->pairs * int64_t(sizeof(double)));
}

void putShape(ByteStream *s, const Presolve *p, const ReducedShape *shape) {
  const int32_t words[4] = {shape->rows, shape->columns, shape->dummy, shape->repairs};
  put(s, words);
  qrtgeno(s, shape->row, shape->rows * int64_t(sizeof(int)));
  qrtgeno(s, shape->column, shape->columns * int64_t(sizeof(int)));
  const int32_t header[4] = {shape->rows, shape->columns, shape->dummy ? 1 : p->liveEntries, 0};
  put(s, header);
}

// ---- reading

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

// What is read, and how far the file can be believed: a count beyond what is left allocates nothing.
struct Reader {
  QRTModel *model;
  ByteStream *stream;
  bool cut, unsound;
};

template <class T> T *getArray(Reader *in, int64_t count) {
  if (in->cut || count < 0 || count > byteStream_left(in->stream) / int64_t(sizeof(T))) {
    in->cut = true;
    return nullptr;
  }
  T *block = array<T>(in->model, count);
  in->cut = !qrtgeni(in->stream, block, count * int64_t(sizeof(T)));
  return block;
}

template <class T> T getOne(Reader *in) {
  T value = {};
  if (!in->cut) in->cut = !get(in->stream, &value);
  return value;
}

FillRecord *getFills(Reader *in, int *count) {
  int room = 16;
  FillRecord *list = array<FillRecord>(in->model, room);
  for (*count = 0; !in->cut;) {
    const FillRecord record = getOne<FillRecord>(in);
    if (in->cut || record.negatedColumn == 0) break;
    if (record.sequence < 0) continue;
    if (*count == room) {
      FillRecord *wider = array<FillRecord>(in->model, 2 * int64_t(room));
      std::memcpy(static_cast<void *>(wider), list, size_t(room) * sizeof(FillRecord));
      qrt_freeTemporary(in->model, list);
      list = wider;
      room *= 2;
    }
    list[(*count)++] = record;
  }
  return list;
}

// The place of a record in time order; null when another has it.
Reduction *slot(Reader *in, ReductionLog *log, int32_t sequence, int32_t type, int32_t row, int32_t column) {
  if (sequence < 0 || sequence >= log->count || log->record[sequence].type != -1) {
    in->unsound = true;
    return nullptr;
  }
  Reduction *r = &log->record[sequence];
  r->type = type;
  r->row = row - 1;
  r->column = column - 1;
  return r;
}

void getLog(Reader *in, ReductionLog *log) {
  const int merges = getOne<int32_t>(in);
  const MergeRecord *merge = getArray<MergeRecord>(in, merges);
  int fills = 0;
  const FillRecord *fill = in->cut ? nullptr : getFills(in, &fills);
  const int stack = getOne<int32_t>(in);
  const StackHead *head = getArray<StackHead>(in, stack);
  const StackBody *body = getArray<StackBody>(in, stack);
  const int64_t count = getOne<int64_t>(in);
  log->pairs = log->pairRoom = getOne<int64_t>(in);
  if (in->cut) return;
  if (count != int64_t(merges) + fills + stack) {
    in->unsound = true;
    return;
  }
  const ContentHead *content = getArray<ContentHead>(in, count);
  log->index = getArray<int>(in, log->pairs);
  log->value = getArray<double>(in, log->pairs);
  if (in->cut) return;
  log->record = array<Reduction>(in->model, count);
  log->count = log->room = int(count);
  for (int k = 0; k < log->count; k++) log->record[k].type = -1;
  for (int k = 0; k < stack; k++)
    if (Reduction *r = slot(in, log, head[k].sequence, head[k].type, head[k].row, head[k].column)) {
      r->lower = body[k].lower;
      r->upper = body[k].upper;
      r->value1 = body[k].value1;
      r->value2 = body[k].value2;
    }
  for (int k = 0; k < merges; k++)
    if (Reduction *r = slot(in, log, merge[k].sequence, merge[k].type, merge[k].row, merge[k].column)) {
      r->lower = merge[k].lower;
      r->upper = merge[k].upper;
      r->value1 = merge[k].value1;
      r->value2 = merge[k].value2;
    }
  for (int k = 0; k < fills; k++)
    if (Reduction *r = slot(in, log, fill[k].sequence, REDUCTION_FILL, fill[k].row, fill[k].column)) {
      r->value1 = fill[k].factor;
      r->value2 = fill[k].constant;
    }
  if (in->unsound) return;
  int64_t at = 0;
  for (int k = 0; k < log->count; k++) {
    Reduction *r = &log->record[k];
    r->other = content[k].other;
    r->rowCount = content[k].rowCount;
    r->columnCount = content[k].columnCount;
    if (placeOf(r->type) == PLACE_FILL) {
      r->lower = content[k].rest[0];
      r->upper = content[k].rest[1];
    }
    r->otherLower = content[k].rest[2];
    r->otherUpper = content[k].rest[3];
    r->rowAt = at;
    r->columnAt = at + r->rowCount;
    if (r->rowCount < 0 || r->columnCount < 0 || r->columnAt + r->columnCount > log->pairs) in->unsound = true;
    if (in->unsound) return;
    at = r->columnAt + r->columnCount;
  }
}

// What the undo of a record takes for granted: its partners beside it and the content it reads.
bool soundPartners(const ReductionLog *log, int k) {
  const Reduction &r = log->record[k];
  switch (r.type) {
    case REDUCTION_SUBSTITUTED:
      return k > 0 && log->record[k - 1].type == REDUCTION_KEPT && log->record[k - 1].rowCount == 1 && r.rowCount == 2 && r.row >= 0 && r.column >= 0;
    case REDUCTION_KEPT: return r.row >= 0 && r.column >= 0;
    case REDUCTION_SIGN_ROWS:
      for (int e = 1; e <= r.columnCount; e++)
        if (k + e >= log->count || log->record[k + e].type != REDUCTION_ROW_DROPPED) return false;
      return r.column >= 0;
    case REDUCTION_SLACK: case REDUCTION_FREE_SINGLETON: case REDUCTION_FILL:
    case REDUCTION_SINGLETON_BOTH: case REDUCTION_SINGLETON_LOWER: case REDUCTION_SINGLETON_UPPER:
      return r.row >= 0 && r.column >= 0;
    case REDUCTION_SUMMED: return r.column >= 0 && r.other >= 0;
    case REDUCTION_DUPLICATE_ROW: return r.row >= 0 && r.columnCount == 2;
    case REDUCTION_ROW_DROPPED: case REDUCTION_FORCING: return r.row >= 0;
    case REDUCTION_FREE_OPEN: case REDUCTION_FREE_CLOSE: return true;
    default: return r.column >= 0;
  }
}

bool soundNumbers(const ReductionLog *log, int m, int n) {
  const int64_t most = m > n ? m : n;
  for (int k = 0; k < log->count; k++) {
    const Reduction &r = log->record[k];
    if (!knownReduction(r.type) || !soundPartners(log, k)) return false;
    if (r.row < -1 || r.row >= m || r.column < -1 || r.column >= n || r.other < -1 || r.other >= (r.type == REDUCTION_SUMMED ? n : most)) return false;
    for (int e = 0; e < r.rowCount; e++)
      if (log->index[r.rowAt + e] < 0 || log->index[r.rowAt + e] >= n) return false;
    for (int e = 0; e < r.columnCount; e++)
      if (log->index[r.columnAt + e] < 0 || log->index[r.columnAt + e] >= m) return false;
  }
  return true;
}

void getShape(Reader *in, ReducedShape *shape) {
  int32_t words[4] = {};
  if (!in->cut) in->cut = !get(in->stream, &words);
  shape->rows = words[0];
  shape->columns = words[1];
  shape->dummy = words[2];
  shape->repairs = words[3];
  shape->row = getArray<int>(in, shape->rows);
  shape->column = getArray<int>(in, shape->columns);
  int32_t header[4];
  if (!in->cut) in->cut = !get(in->stream, &header);
}

bool ascending(const int *number, int count, int limit) {
  for (int k = 0; k < count; k++)
    if (number[k] < 0 || number[k] >= limit || (k > 0 && number[k] <= number[k - 1])) return false;
  return true;
}

}  // namespace

void writePresolve(Presolve *p, ByteStream *stream, const ReducedShape *shape, int complete) {
  QRTModel *model = p->model;
  qrtptmdf(model, stream, WRITTEN);
  put(stream, qrtlplp.RobjectiveOffset);
  put(stream, int32_t(complete ? shape->rows : model->Inumrows));
  const int64_t tagAt = stream->position;
  put(stream, int32_t(0));
  if (!complete) return;
  putMerges(stream, p->log);
  putFills(stream, p->log);
  putStack(stream, p->log);
  putContent(stream, p->log);
  putShape(stream, p, shape);
  const int32_t tag = PRESOLVE_COMPLETE;
  byteStream_patch(stream, tagAt, &tag, sizeof tag);
}

int readPresolve(QRTModel *model, ByteStream *stream, PresolveRecord *record) {
  Reader in = {model, stream, false, false};
  *record = {};
  record->original = qrtgtmdf(model, stream, READ);
  if (!record->original) return 1;
  record->offset = getOne<double>(&in);
  getOne<int32_t>(&in);
  record->tag = getOne<int32_t>(&in);
  if (!in.cut && record->tag != PRESOLVE_COMPLETE) return 0;
  record->log.model = model;
  getLog(&in, &record->log);
  if (!in.unsound) getShape(&in, &record->shape);
  if (in.cut) {
    qrtmesg_no_i2(MSG_READ_ERROR, -1, UNIT_IMPORT);
    return 1;
  }
  int m, n;
  savedModel_sizes(record->original, &m, &n);
  const ReducedShape &shape = record->shape;
  if (!in.unsound && soundNumbers(&record->log, m, n) && ascending(shape.row, shape.rows, m) && ascending(shape.column, shape.columns, n)) return 0;
  messageQ("qrtpss4: logic");
  qrtmesg_no(MSG_STOPPED_BECAUSE);
  return 1;
}
