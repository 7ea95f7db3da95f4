// Control variables: one table from which defaults, accessors, range checks and the public header are made.
#pragma once

#include <cstddef>

#include "frame/model_record.h"

enum ControlHome : uint8_t { HOME_RECORD, HOME_OF_MODEL, HOME_ONE };
enum ControlAccess : uint8_t { ACCESS_RW, ACCESS_READ, ACCESS_IGNORED };

// One row of controls.def. A control without limits has the type's, or REAL_ANY.
struct IntegerControl {
  int position;        // from 1; the index of qrt_getI() plus one
  const char *name;    // that of the field
  ControlHome home;
  size_t offset;       // in WorkImage, or in QRTModel
  int32_t *live;       // the field of the live record; null for a model's own field
  int32_t initial, objectInitial;  // at the start, and of models made by qrt_newModel()
  int32_t low, high;               // accepted
  int32_t quotedLow, quotedHigh;   // said by the refusing message
  ControlAccess access;
};
// The same for reals, which all lie in live records.
struct RealControl {
  int position;
  const char *name;
  size_t offset;       // in WorkImage
  double *live;
  double initial, objectInitial;
  double low, high;
  double quotedLow, quotedHigh;
};
constexpr double REAL_ANY = 1.0e31;  // in a range: no limit on this side

// Names for the rows, in the table's order: CONTROL_Ilogfreq and so on.
enum IntegerControlRow : int {
#define INTEGER(position, name, ...) CONTROL_##name,
#define HIDDEN_INTEGER(position, name, ...) CONTROL_##name,
#define COUNTED_INTEGER(position, name, ...) CONTROL_##name,
#define READER(position, name, ...) CONTROL_##name,
#define REAL(...)
#define HIDDEN_REAL(...)
#define ALIAS_REAL(...)
#include "frame/controls.def"
#undef INTEGER
#undef HIDDEN_INTEGER
#undef COUNTED_INTEGER
#undef READER
  INTEGER_CONTROLS
};
enum RealControlRow : int {
#define INTEGER(...)
#define HIDDEN_INTEGER(...)
#define COUNTED_INTEGER(...)
#define READER(...)
#undef REAL
#undef HIDDEN_REAL
#undef ALIAS_REAL
#define REAL(position, name, ...) CONTROL_##name,
#define HIDDEN_REAL(position, name, ...) CONTROL_##name,
#define ALIAS_REAL(position, name, ...) CONTROL_##name,
#include "frame/controls.def"
#undef INTEGER
#undef HIDDEN_INTEGER
#undef COUNTED_INTEGER
#undef READER
#undef REAL
#undef HIDDEN_REAL
#undef ALIAS_REAL
  REAL_CONTROLS
};
extern const IntegerControl integerControls[INTEGER_CONTROLS];
extern const RealControl realControls[REAL_CONTROLS];

// Values as accessors see them: from the model's image, or the model's own field.
int controlInteger(const QRTModel *model, int row);
double controlReal(const QRTModel *model, int row);
// Stores without any check or message, in the live record of the current model and in the model's image.
void storeControlInteger(QRTModel *model, int row, int value);
void storeControlReal(QRTModel *model, int row, double value);
// Range check, messages and store of one control; the model is current. Results as qrt_setI says.
int qrt_Iset(QRTModel *model, int value, int old, int row, int announce);
int qrt_Rset(QRTModel *model, double value, double old, int row, int announce);
// Parts of the two that the classic lists share; `named`: the messages name the variable. A refusal is told and
// returned as the result of the set: 1, or the negative position.
int refuseInteger(bool named, int row, int value, int old, int low, int high);
int refuseReadOnly(int row);
int refuseVector();
bool controlTakesUnit(int row, int value);  // false only for the two unit numbers, between their three ranges
void announceInteger(bool named, int row, int old, int value);
bool realInRange(int row, double value);    // false for a NaN
int refuseReal(bool named, int row, double value, double old);
void announceReal(bool named, int row, double old, double value);
inline double signOnly(double value) { return value > 0 ? 1.0 : value < 0 ? -1.0 : 0.0; }  // what Rmaxmin keeps

// Character control k (0 to 5) without message; cut at 79 characters.
void storeCharacterControl(QRTModel *model, int k, const char *value);
constexpr int CHARACTER_WIDTH = 80;  // of a character control in its record
// Defaults that models of the object interface have beyond those of qrtinitf.
void applyObjectDefaults();
