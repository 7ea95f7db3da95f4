// The binary file of a model: what qrt_saveModel writes and qrt_restoreModel reads.
//
//     magic "TAV!"  mask  header [20 words]  then the sections of the mask, in the order of SaveSection
//
// n = Imaxrows + Imaxcols: vectors stand in the file as in the model, rows in front, with their spare entries. Integers
// have 32 bits, reals 64, in the byte order of the machine. Work records go out field by field, zero-padded to fixed
// sizes, without pointers; their sizes in the header tell a reader whether it may take them.
#pragma once

#include <cstdint>

#include "frame/model_record.h"
#include "model/byte_stream.h"

enum SaveSection : uint32_t {
  SAVE_RECORDS = 0x1,
  SAVE_LISTS = 0x2,        // selection lists of rows, then of columns
  SAVE_NAMES = 0x4,        // Imaxrows, then Imaxcols entries of Inumchar characters, blank-padded
  SAVE_STATUS = 0x8,
  SAVE_VALUES = 0x10,
  SAVE_DUALS = 0x20,
  SAVE_LOWER = 0x40,
  SAVE_UPPER = 0x80,
  SAVE_OBJECTIVE = 0x100,
  SAVE_AUX = 0x40000000,   // [n + 3], with lower, upper and objective only; stands behind the objective
  SAVE_MATRIX = 0x200,     // format word, blocks, form word, the blocks
  SAVE_SCALES = 0x400,
  SAVE_MARKS = 0x800,      // of presolve
  SAVE_INTEGERS = 0x1000,
  SAVE_QUADRATIC = 0x2000, // flag, blocks, the blocks
  SAVE_ALL = 0x1fff,
  SAVE_BOUNDS_AND_COSTS = SAVE_LOWER | SAVE_UPPER | SAVE_OBJECTIVE
};

constexpr char SAVE_MAGIC[4] = {'T', 'A', 'V', '!'};
constexpr int SAVE_FORMAT = 4;
constexpr int HEADER_WORDS = 20;
// Words of the header.
enum : int { HEAD_FORMAT = 0, HEAD_ROWS = 1, HEAD_COLUMNS = 2, HEAD_LPLP = 10, HEAD_CONV = 11, HEAD_BCOM = 12,
             HEAD_QPQP = 13, HEAD_INT = 15, HEAD_QUADRATIC = 16 };
constexpr int LPLP_BYTES = 1168, CONV_BYTES = 1336, BCOM_BYTES = 848, QPQP_BYTES = 592, INT_BYTES = 416;
constexpr int INTEGER_BYTES = 120;
constexpr int NAME_CONTROLS = 6;

// First words of the lplp image: facts about the model that are no controls.
enum : int { FACT_ROWS, FACT_COLUMNS, FACT_NAME_LENGTH, FACT_SCALE_STATE, FACT_DUAL_SIGN, FACT_AUX_KIND, FACT_FLAGS,
             FACT_INTEGERS, FACT_COUNT = 16 };
constexpr int SCALE_STATE_SCALED = -3;

// Which record image a control goes to.
enum SaveImage : int { IMAGE_LPLP, IMAGE_BCOM, IMAGE_QPQP, IMAGE_NONE };

// A block as it stands in the file; pointer words are 1 where an array follows.
struct SavedBlock {
  int32_t type, count, columnBase, first, extent, rowBase, flags, rows, columns, elements;
};
// Sizes in bytes of the three arrays behind it, then counts.
struct SavedIntegers {
  int32_t typeBytes, setBytes, memberBytes;
  int32_t numberSets, numberMembers, numberIntegers, numberPriorities;
};

// Controls of one image in or out of its `bytes` bytes, behind `skip` bytes: their number, the integers, the reals. A
// load answers false for an image of other controls; values out of a control's range are left out.
void storeControls(const QRTModel *model, SaveImage image, char *bytes, int skip);
bool loadControls(QRTModel *model, SaveImage image, const char *bytes, int skip);

// Writes the sections of `mask` (0: all there are) to a stream, whose error tells a failure.
void qrtptmdf(QRTModel *model, ByteStream *stream, uint32_t mask);
// Reads a file in two steps: all that it holds on the model's temporary chain, looked at and found sound, then over the
// model. The first returns null after a message, and the model is as it was.
struct SavedModel *qrtgtmdf(QRTModel *model, ByteStream *stream, uint32_t mask);
void savedModel_takeOver(SavedModel *saved, bool announce);
bool savedModel_hasScales(const SavedModel *saved);
void savedModel_sizes(const SavedModel *saved, int *rows, int *columns);

// Messages of both ways.
enum : int {
  MSG_NOT_A_SAVE = 83,
  MSG_CAPACITIES_DIFFER = 85,
  MSG_SCALING_OFF = 88,
  MSG_NO_FACTORS = 89,
  MSG_READ_ERROR = 119,
  MSG_INTEGER_SIZES = 455,
  MSG_INTEGER_COUNTS = 456,
  MSG_INTEGERS_RESTORED = 457,
  MSG_NO_SUCH_FILE = 558
};
