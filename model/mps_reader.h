// The inner contract of the MPS reader: the card, the name table, the data read so far, and the section readers.
//
// A run: qrtmpsf reads cards through one CardReader, section by section, into the arrays of an MpsData on the
// model's temporary chain; installMpsData moves them into the model. Names have L = nameLength characters
// throughout, blank-padded. Every routine that can issue a message can leave by a jump: nothing here owns anything
// but through the temporary chain and the unit table.
#pragma once

#include <cstdint>
#include <cstdio>

#include "frame/model_record.h"
#include "model/model_store.h"

// Message indices of the reader.
enum : int {
  MSG_STOPPED = 30,
  MSG_USING = 33,
  MSG_DUPLICATE_ENTRY = 34,
  MSG_WORD_MATRIX = 36,          // words for MSG_USING: matrix, objective, right hand side, range, bound
  MSG_ROW_STORAGE = 43,
  MSG_COLUMN_STORAGE = 44,
  MSG_ERASING_BLOCKS = 45,
  MSG_NO_OBJECTIVE = 46,
  MSG_PREMATURE_END = 47,
  MSG_DUPLICATE_NAMES = 48,
  MSG_NO_RHS_SET = 49,
  MSG_NO_RANGE_SET = 50,
  MSG_NO_BOUND_SET = 51,
  MSG_AREAS_DIFFER = 53,
  MSG_ROW_TYPE = 54,
  MSG_UNKNOWN_MARKER = 55,
  MSG_MARKER_SEQUENCE = 56,
  MSG_NO_SET_ROW = 57,
  MSG_BLANK_COLUMN = 58,
  MSG_NO_ROW = 59,
  MSG_MATRIX_SIZE = 60,
  MSG_ROWS_IGNORED = 61,
  MSG_ELEMENTS_DISCARDED = 62,
  MSG_OBJECTIVE_ENTRIES = 63,
  MSG_NO_COLUMN = 64,
  MSG_BOUND_TYPE = 65,
  MSG_BOUND_PAIR = 66,
  MSG_BAD_NUMBER = 67,
  MSG_INTEGERS_READ = 68,
  MSG_INCONSISTENT = 108,
  MSG_BAD_PARAMETER = 149,
  MSG_DUPLICATE_NAME = 169,
  MSG_DUPLICATE_OBJECTIVE = 170,
  MSG_DUPLICATE_COLUMNS = 171,
  MSG_BAD_QSECTION = 177,
  MSG_SECTION_CARD = 290,
  MSG_ENTERING = 483,
  MSG_NO_INTEGER_UNIT = 485,
  MSG_SEPARABLE_COSTS_ONLY = 486,
  MSG_SEPARABLE_NEEDS_COST_ROW = 487,
  MSG_SEPARABLE_FOUND = 488,
  MSG_CANNOT_OPEN = 558,
  MSG_NO_NAME_CARD = 569,
  MSG_NO_QUADRATIC = 604,
  MSG_QUADRATIC_READ = 606,
  MSG_FREE_FORMAT = 719
};
// Each diagnostic of a card is followed by the card itself, under the index of its kind.
enum : int {
  ECHO_MARKER = 240,
  ECHO_ROW_TYPE = 247,
  ECHO_NO_COLUMN = 249,
  ECHO_BOUND_TYPE = 250,
  ECHO_BOUND = 251,
  ECHO_MARKER_SEQUENCE = 252,
  ECHO_SET_ROW = 253,
  ECHO_BLANK_COLUMN = 254,
  ECHO_OBJECTIVE = 255,
  ECHO_ROW = 257,
  ECHO_DUPLICATE_ENTRY = 258
};

// Why the reader gave up; the numbers index a table of messages.
enum : int {
  READ_OK = 0,
  READ_ROW_STORAGE = 1,
  READ_COLUMN_STORAGE = 2,
  READ_NO_OBJECTIVE = 4,
  READ_BAD_SECTION = 5,
  READ_DUPLICATE_NAMES = 6,
  READ_NO_RHS = 7,
  READ_NO_RANGE = 8,
  READ_NO_BOUND = 9
};

enum : int { FORMAT_FIXED = 0, FORMAT_FREE = 1, FORMAT_FAST = 2 };           // FAST: fixed, names of 8
enum : int { STATE_START = 0, STATE_ROWS = 1, STATE_COLUMNS = 2, STATE_RHS = 3, STATE_BOUNDS = 4 };
enum : int { CARD_END = -1, CARD_DATA = 0, CARD_SECTION = 1 };
enum : char { ROW_FREE = 1, ROW_L = 2, ROW_G = 3, ROW_E = 4 };
enum : char { COLUMN_CONTINUOUS = 0, COLUMN_ROW_SET = 1, COLUMN_S1 = 2, COLUMN_S2 = 3, COLUMN_INTEGER = 4 };

constexpr int CARD_COLUMNS = 80;
constexpr int CARD_COLUMNS_BINARY = 96;  // binary numbers of long names reach past column 80
constexpr int MAX_NAME = 31;
constexpr double NO_BOUND_LIMIT = 1e28;  // integer bounds at or beyond this count as infinite

// ---- cards ----

// One run over one file of cards, and the card just read.
struct CardReader {
  FILE *stream;           // null reads as an empty file
  int32_t unit;           // for messages
  int32_t nameLength;     // L, 1 .. 31
  int32_t format;         // FORMAT_...
  int32_t startFormat;    // format and name length before any NAME card: a NAME card that is not the wanted
  int32_t startLength;    //   one leaves nothing behind
  int32_t sectionState;   // STATE_...
  int32_t cardNumber;     // cards read, comments too
  int32_t binary;         // 1: numbers are packed, see unpackBinary
  int32_t freeByCard;     // 1: the NAME card chose the free format
  int32_t silent;         // 1: section cards are not shown, as in a file that the user never saw
  double dropBelow;       // numbers below this in size read as 0 outside COLUMNS
  const char *wantedName; // Cname for the end-of-file message, [80]
  // the card
  int32_t length;         // characters on it
  int32_t pairs;          // pairs of name and number, 0 .. 2
  char text[CARD_COLUMNS_BINARY];         // blank-padded
  char head[4];           // columns 1 to 4; in free format the type as if it stood there
  char name1[80], name2[80], name3[80];   // blanks inside removed; good for L characters, on NAME cards for 80
  char number2[16], number3[16];          // texts of the numbers, blank-padded
  double value2, value3;
};

void startCards(CardReader *reader, int unit, int nameLength, bool freeFormat);
// Reads the next card that is no comment. mode 1: cut and converted as an MPS section wants it; mode 2: cut only.
// Stores CARD_END, CARD_DATA or CARD_SECTION. The end of the input issues its message, which as a rule jumps.
void qrtincd(CardReader *reader, int mode, int *kind);
// Converts a number of a mode 2 card: false when the text holds none.
bool cardNumber(const CardReader *reader, int which, double *value);
bool sectionBegins(const CardReader *reader, const char *word);   // does a section card begin so?
void sectionOperand(const CardReader *reader, char operand[80]);  // first token after the section word
bool fieldIs(const char *field, int length, const char *word);    // equal but for trailing blanks
bool isBlank(const char *field, int length);                      // at most 80 characters

// Decimal text to the nearest double, independent of the locale. Takes blanks, a sign, digits with a point, an
// exponent after e, E, d or D, or "inf"; stops at the first character that does not fit. Returns the characters
// used, 0 when no number starts here. Overflow gives an infinity.
int parseReal(const char *text, int length, double *value);
// 12 characters of six bits, low bits first, to a double. False for a character outside the code.
bool unpackBinary(const char *text, double *value);

// ---- names ----

// Hash of names: slot |key| mod size holds the first name of that key, and a link to the slot of the next. The two
// words of a slot lie together, so that a probe touches one line of the table and one of the names.
struct NameSlot {
  int32_t index;  // of the name, from 1; 0 free
  int32_t next;   // slot number from 1; 0 ends the chain
};
struct NameTable {
  const char *names;      // [count] entries of `length` characters; not owned
  int32_t length;
  int32_t count;
  int32_t size;           // slots, twice the names
  NameSlot *slots;        // [size] on the model's chain
};
// Builds the table and returns how many names were duplicates; each was told by a message. Duplicates are found
// under the number of the first.
int qrtmkhash(QRTModel *model, NameTable *table, const char *names, int length, int count, bool tellDuplicates);
int qrthash(const NameTable *table, const char *name);  // number from 1, or 0
const char *nameTable_check(const NameTable *table);

// ---- what was read ----

enum : int { SET_MODEL, SET_OBJECTIVE, SET_RHS, SET_RANGE, SET_BOUND, SET_OBJECTIVE_CHANGE, SET_RHS_CHANGE,
             SET_RANGE_CHANGE, SET_BOUND_CHANGE, SET_COUNT };

// Capacities of the arrays of an MpsData, which grow by doubling on the model's temporary chain.
struct GrowingRoom {
  int64_t rows, columns, elements;
};

struct MpsData {
  QRTModel *model;
  CardReader reader;
  char sets[SET_COUNT][80];   // names asked for or found, blank-padded
  int32_t asked[SET_COUNT];   // 1: the caller named it
  GrowingRoom room;
  // rows
  int32_t m;                  // rows kept
  int32_t nDropped;           // N rows dropped; their names follow the kept ones
  char *rowNames;             // [m + nDropped] of L characters
  char *droppedNames;         // [nDropped] while ROWS is being read
  int64_t droppedRoom;
  char *rowType;              // [m] ROW_...
  double *rowLower, *rowUpper;             // [m]
  NameTable rowTable;
  // columns
  int32_t n;
  int64_t nz;
  char *columnNames;          // [n]
  char *columnType;           // [n] COLUMN_...
  int32_t *columnSet;         // [n] number of the set from 1, 0 none
  double *cost;               // [n]
  double *costChange;         // [n] of the change objective, null when none is named
  int32_t *start;             // [n + 1]
  int32_t *row;               // [nz] from 0
  double *element;            // [nz]
  double *columnLower, *columnUpper;       // [n]
  NameTable columnTable;
  // change vectors of parametric runs, null when no set is named
  double *lowerChange, *upperChange;       // [m + n]
  // sets opened by markers
  int32_t nSets;
  int32_t setRoom;
  int32_t *setRow;            // [nSets] row of a row set from 0, -1 for S1 and S2
  char *setType;              // [nSets] COLUMN_ROW_SET, COLUMN_S1 or COLUMN_S2
  // piecewise-linear groups
  int32_t nGroups, groupRoom;
  int32_t *groupFirst;        // [nGroups] first column
  int32_t *groupEnd;          // [nGroups] one past the last column
  // counts for the report
  int32_t nCosts;
  int64_t nDiscarded;
  int32_t nTyped;             // columns with a type
  int32_t integerUnit;        // unit of the integer information file, 0 none
  double offset;              // constant of the objective
};

// Makes room for one more entry; `bytes` an entry, `least` entries at first.
void *growRoom(QRTModel *model, void *array, int64_t used, int64_t *room, int bytes, int64_t least);

// Entry `index` of names of L characters.
inline char *nameAt(char *names, int64_t index, int L) { return names + index * L; }
// Whether a card's name is that of a set, and a set named as a card does. A set's name is kept to 80 columns, a card's to L.
bool isSetName(const MpsData *data, int set, const char *name);
void takeSetName(MpsData *data, int set, const char *name);

// The sections, in the order of a file. Those that can fail return READ_... The section card that ends one is still in
// the reader.
int qrtrows(MpsData *data);   // finds the NAME card wanted and reads ROWS
int qrtcols(MpsData *data);   // COLUMNS with its markers
int qrtdups(MpsData *data);   // joins columns that come twice, and makes the table of column names
void qrtdfrw(MpsData *data);  // bounds of rows by their type, before any right-hand side
int qrtrwbd(MpsData *data);   // all RHS and RANGES sections
int qrtclbd(MpsData *data);   // bounds of columns: the defaults, then BOUNDS
void qrtibnd(MpsData *data);  // whole, finite bounds for integer columns; writes the integer information file
// Applies one item of RHS (which 1) or RANGES (which 2) to the main (mode 1) or change (mode 2) vectors; `flagged`
// gets 1 at each row touched.
void qrtdone(MpsData *data, const char *name, double value, int which, int mode, char *flagged);

// Homes of the names of sets among the character controls; the change names have none but in the record.
extern const int controlOfSet[SET_COUNT];
// Iterations between factorisations that suit a number of rows: Imaxfactor after an import.
inline int factorLimitFor(int rows) { return rows < 40000 ? 100 + rows / 100 : 500; }
// Sorts the rows of every column.
void sortMpsColumns(MpsData *data);
// An empty record on the chain of `model`, with the names asked for from the live controls.
void startMpsData(MpsData *data, QRTModel *model);
// Length of the names as they are kept: of the longest one in the free format.
int keptNameLength(const MpsData *data);
// The whole run: reads `unit` into *data. option bit 128 is the free format, the rest 1 (merge columns that come
// twice) or 2 (columns once). *rtcod gets 0, 11 or 21.
void qrtmpsf(int *rtcod, MpsData *data, int unit, int option, int intunit);
// Moves the data into the model, which loses what it held.
void installMpsData(MpsData *data);
const char *mpsData_check(const MpsData *data);  // first broken invariant as text, or null

// ---- diagnostics ----

void echoCard(const MpsData *data, int echo);
void tellName(const MpsData *data, int message, const char *name, int echo);  // @C01 name, @I01 card, echo
void tellTwice(const MpsData *data, const char *name, int echo);  // a value was given before
void tellBounds(const MpsData *data, const char *name, double lower, double upper, int echo);
void reportModel(const MpsData *data);
int tellFailure(const MpsData *data, int failure);  // issues the failure's message, returns the code for the caller

// ---- integer information file ----

// Types, sets and piecewise-linear groups as cards on the unit, which is opened if need be.
void writeIntegerFile(const MpsData *data, int unit);
// Reads an integer information file, rewound first, and stores types, bounds and sets in the model, whose columns
// stand in `columns`. Section cards are shown unless `silent`. What is wrong with a card is told and the card skipped.
void qrtrdinf(QRTModel *model, const NameTable *columns, int unit, bool silent);

// ---- quadratic sections ----

// A quadratic section in column order, on the model's temporary chain.
struct QuadraticData {
  int32_t n;
  int64_t nz;
  int32_t *start;         // [n + 1]
  int32_t *row;           // [nz] from 0
  double *element;        // [nz]
};
// Reads the QSECTION of the objective from a unit; indices are those of the model's columns. Returns 0 or the code
// of the caller.
int qrtqmpsf(QRTModel *model, int unit, QuadraticData *data);
