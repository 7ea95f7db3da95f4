// Reading an SMPS triple: what the readers of core, time and stoch file share.
//
//     core  --qrt_importModel-->  work model  --+
//     time  --qrtstotime------->  stages      --+--> qrts_Ccore: the core in the store
//     stoch --SCENARIOS-------------------------------> one scenario after the other
//           --INDEP, BLOCKS--->  IndependentData --qrts_explodeTree--> all combinations as scenarios
//
// A card is cut into fields twice over in the lenient manner only: by the letter first, then by white space. All
// that this manner adds lies in scn_lenient.cpp; the readers ask it at the points named below.
#pragma once

#include "stoch/scn_fields.h"
#include "stoch/scn_hash.h"
#include "stoch/scn_stoc.h"

// Messages of the readers.
enum : int {
  MSG_RANDOM_VARIABLES = 850, MSG_NO_ENDATA = 864, MSG_ROW_ORDER = 865, MSG_COLUMN_ORDER = 866, MSG_SCENARIO_TWICE = 867,
  MSG_HASH_FAILED = 903, MSG_NO_SPACE = 904, MSG_INDEX_ERROR = 905, MSG_CANNOT_READ = 906, MSG_DISTRIBUTION = 907,
  MSG_PREMATURE_END = 908, MSG_EXPECTING = 909, MSG_TOO_MANY_ELEMENTS = 910, MSG_NO_RANGES = 911, MSG_MODEL_DAMAGED = 912,
  MSG_NAME_DIFFERS = 917, MSG_NO_SCENARIO = 922, MSG_NO_STAGE = 923, MSG_NO_COLUMN = 924, MSG_NO_ROW = 925,
  MSG_IGNORED_LOWER = 926, MSG_IGNORED_UPPER = 927
};

// Return codes inside the readers. Below 300: go on.
enum : int {
  RC_OK = 0, RC_BOUND_IGNORED = 1, RC_ENDATA = 2, RC_END_OF_FILE = 3,
  RC_NO_ROOM_AT_ALL = 301, RC_NO_ROOM = 302, RC_NO_TIME_COLUMN = 303, RC_NO_TIME_ROW = 304, RC_NO_TIME_ENDATA = 305,
  RC_CARD_MISSING = 307, RC_NO_TIME_CARD = 309, RC_NO_PERIODS_CARD = 310, RC_NAME_DIFFERS = 312,
  RC_COLUMN_ORDER = 313, RC_ROW_ORDER = 314,
  RC_NO_SCENARIO = 301, RC_NO_STAGE = 302, RC_TOO_MANY = 303, RC_RANGES = 304, RC_NO_COLUMN = 305, RC_NO_ROW = 306,
  RC_BLOCK_REOPENED = 307, RC_TWICE = 308, RC_BAD_NUMBER = 399
};

enum DistributionType : int { DIST_NONE = 0, DIST_SCENARIOS = 1, DIST_INDEP = 2, DIST_BLOCKS = 3 };

// What published files contain beyond the letter. Each is told once a file.
enum Straying : int {
  STRAY_PROBLEM_NAME, STRAY_NAME_CARD, STRAY_NO_DISTRIBUTION, STRAY_NO_PERIOD, STRAY_SECOND_PAIR, STRAY_NO_PERIOD_ROW,
  STRAY_QUOTED_ROOT, STRAY_TABS, STRAY_OFF_COLUMNS, STRAY_LONG_NAMES, STRAY_SECOND_SECTION, STRAY_SET_NAME, STRAY_LOWER_CASE,
  STRAY_BLANK_LINE, STRAY_COUNT
};

// A file being read, and where its names are looked up.
struct SmpsReader {
  TextFile file;      // its present line is the card at hand
  QRTStoch *stoch;
  CoreData *core;     // of stoch, as is the next
  SmpsData *smps;
  int nRows, nCols;   // of the core
  int numchar;        // length of a name in the tables
  bool isFree;        // fields follow each other; else they begin at fixed columns
  bool lenient;       // the object's manner of reading
  uint32_t told;      // one bit a straying
};

// Fields of a card by the letter.
constexpr int CARD_FIELDS = 5;
struct CardLayout {
  int count;                    // fields of such a card
  int column[CARD_FIELDS];      // first column of the field in fixed format, from 1
  bool isValue[CARD_FIELDS];    // 12 characters; else a name
};
extern const CardLayout TIME_CARD, SCENARIO_CARD, INDEP_CARD, BLOCK_CARD, PAIRS_CARD;

// A card cut into fields, which point into the line.
struct Card {
  char type[2];                 // columns 2 and 3
  Field field[CARD_FIELDS];
};
void cutCard(const SmpsReader *reader, const CardLayout *layout, Card *card);

bool lineBegins(const SmpsReader *reader, const char *word);  // without regard to case in the lenient manner
// Two characters in columns 2 and 3.
bool typeIs(const SmpsReader *reader, const char type[2], const char *word);
bool lineIsBlank(const TextFile *file);
// Next line that is no comment; skips blank lines in the lenient manner.
bool nextCard(SmpsReader *reader);
bool readValue(const SmpsReader *reader, Field field, double *value);
// Compares the first field behind column 5 with the core's problem name; false for a difference the manner refuses.
bool problemNameAgrees(SmpsReader *reader);

// One stochastic item in the coordinates of the store.
struct Item {
  int rc;             // 0, RC_BOUND_IGNORED, RC_RANGES, RC_NO_COLUMN, RC_NO_ROW
  int count;          // 0 to 2 elements
  int rows[2], cols[2];
  bool lowerIgnored, upperIgnored;  // that bound is absent in the core, so it can't be random
  int column;         // of a bound line
  Field missing;      // the name that was not found
};
// Classifies the two names of a data line by the set names of the core; issues no message.
void classifyItem(const SmpsReader *reader, const char type[2], Field first, Field second, Item *item);
// Its two parts where a set decides; `item` must be cleared.
void classifyBound(const SmpsReader *reader, const char type[2], Field column, Item *item);
void classifyRightHandSide(const SmpsReader *reader, Field row, Item *item);
// Issues the warning that belongs to a failed item.
void tellMissing(int rc, Field missing);
// Stage of the row, or of the column where there is no row, of an item's first element.
int stageOfElement(const CoreData *core, int row, int col);
int findPeriod(const SmpsReader *reader, Field name);
int findRow(const SmpsReader *reader, Field name);
int findColumn(const SmpsReader *reader, Field name);
bool nameIs(const SmpsReader *reader, Field field, const char *padded);

// A data line understood: up to two items, the second from a second pair (lenient only).
struct DataLine {
  int rc;             // of the first item that failed, else RC_BOUND_IGNORED or 0
  Field missing;      // the name that failed it
  int nItems;
  Item items[2];
  double values[2];   // of the items
  int stage;          // INDEP: number of the period, or that of the item
  double probability; // INDEP
};
// Reads the present line as a data line of the given layout (INDEP_CARD or PAIRS_CARD). Tells of missing names.
void readDataLine(SmpsReader *reader, const CardLayout *layout, DataLine *data);
// Understands a card that has been cut. No message.
void understandCard(const SmpsReader *reader, const CardLayout *layout, const Card *card, DataLine *data);

// Elements of a scenario or of all realisations; grows on demand.
struct ElementList {
  int count, capacity;
  int *rows, *cols;   // [capacity] owned; in input coordinates, extended for bounds and costs
  double *values;     // [capacity] owned
};
void elementList_add(ElementList *list, int row, int col, double value);
void elementList_addItems(ElementList *list, const DataLine *data);
void elementList_free(ElementList *list);

// ---- the readers

// All three files into an object without data: the kind of the stoch file (1 to 3), or -1.
int qrts_read2SMPSData(QRTStoch *stoch, const char *coreFile, const char *timeFile, const char *stochFile);
// The head of the core file: does its NAME card choose the free format?
void qrtstofcof(int *rc, SmpsReader *reader, bool *isFree);
// The time file: stages of the core in `model`, and the store's core made of both.
int qrts_Ctmps(QRTStoch *stoch, QRTModel *model, const char *timeFile, int numchar, bool isFree);
// The stoch file: scenarios at once, random variables by way of all their combinations.
int qrts_Csmps(QRTStoch *stoch, int *type, int *replace, const char *stochFile, int numchar, bool isFree);
// The head of the stoch file: STOCH card and first section.
void qrtstofstl(int *rc, SmpsReader *reader, int *type, int *replace);
// Distribution type of the present section card, 0 for none we know; `replace` as its third field says.
int sectionCard(SmpsReader *reader, int *replace);
// INDEP and BLOCKS (scn_random.cpp): the rest of the file into IndependentData. Returns 0 to 2; closes nothing.
int readRandomVariables(SmpsReader *reader, int *type);
// All combinations as scenarios (scn_explode.cpp). 0, or a code of 1 or more.
int qrts_explodeTree(QRTStoch *stoch, int replace);
int qrts_Cdget(QRTStoch *stoch, RandomVariableList **list);
// First broken invariant as text, or null.
const char *independent_check(const IndependentData *independent, const CoreData *core);

// ---- the lenient manner (scn_lenient.cpp); all of these are called only when it is on

// Tells of a straying once a file, by user message 501 with the file and the card.
void tellStraying(SmpsReader *reader, Straying what);
// Fields of the line by white space, up to `most`; "$" ends the line.
int lenientTokens(const SmpsReader *reader, Field *tokens, int most);
// True when the fields of a fixed reading are the line's tokens, neither cut nor skipped.
bool lenientAligned(const SmpsReader *reader, const Card *card, const CardLayout *layout);
// Second and third readings of a data line that the letter does not understand; also the second pair.
void lenientDataLine(SmpsReader *reader, const CardLayout *layout, const Card *card, DataLine *data);
// The four fields of an SC line and the three of a BL or TIME card by white space, when the fixed ones do not fit.
bool lenientHeadCard(SmpsReader *reader, const CardLayout *layout, Card *card);
// A period's row that is no constraint: 0 when the name is the objective's or empty, or -1.
bool lenientNoPeriodRow(SmpsReader *reader, Card *card);
bool lenientIsRoot(SmpsReader *reader, Field parent);
// Cuts a line by white space; "$" ends it.
int cutByBlanks(const char *line, int length, Field *tokens, int most);
// The core (reader->file.name) as the reader of MPS files can take it (scn_lenient_core.cpp). Returns the name of a
// rewritten copy in free format, which the caller removes and frees, or null when the file stands as it is.
char *lenientCore(SmpsReader *reader, bool isFree);
