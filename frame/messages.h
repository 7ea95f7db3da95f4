// Numbered messages: arguments are left in qrterr, then an index is issued.
//
// Code addresses a message by its internal index (the first column of message_table.def), users see its number.
// Strings are given with their length, or -1 for a NUL-terminated one. A message of stop severity does not return
// unless its maxalw was raised; then, inside an armed frame, it jumps.
#pragma once

#include "frame/model_record.h"

// The argument block, and the line-printer state of the log.
struct QrtErr {
  double D[15];              // D01..D15
  int32_t messageIndex;      // of the message being issued
  int32_t userExitDepth;     // classicDepth of the calls around the user exit that runs
  int32_t I[15];             // I01..I15
  char C[15][128];           // C01..C15, NUL-terminated or blank-padded
  char Q[128];               // a text that needs no argument number, such as a card
  int32_t runMode;           // 1; branch and bound's first pass sets 4
  const char *routineName;   // the classic routine, or "QRT_no_dspace"
  int32_t classicDepth;      // classic calls that are running, one inside another
  int32_t Ilinelen;          // characters on a line of the log
  int32_t Ipagelines;        // lines on a page
  int32_t pageNumber;        // of the present page
  int32_t lineCount;         // lines used on this page
  int32_t Imsgpos;           // 0 number on the left, 1 at the right margin
  int32_t severitySummary;   // 0 nothing, else 1 + highest severity of this call
  int32_t returnCode;
  int32_t clockError;        // 1: there is no clock, times are not told
  double Rprintcpu;          // CPU seconds below which no time message is issued
  double cpuAtStart, cpuAtEntry;
  int32_t bannerPrinted;
  int32_t fetchedLists;      // bits: the classic control lists that the caller has fetched, see controls_classic.cpp
};
extern QrtErr qrterr;
extern int blnkcnt;           // blank lines owed before the next message

// Arguments, numbered as in the templates: messageI(1, 5) sets @I01.
inline void messageI(int slot, int value) { qrterr.I[slot - 1] = value; }
inline void messageD(int slot, double value) { qrterr.D[slot - 1] = value; }
void messageC(int slot, const char *text, int length = -1);  // cut at 128
void messageQ(const char *text, int length = -1);

[[noreturn]] void qrt_s_stop();  // the normal end of the process on a severe message
void qrtmesg();
void qrtmesg_no(int index);
// Prints a message, whatever it would do beyond that: no stop, no jump, no part in the call's outcome.
void qrtmesg_inform(int index);
void qrtmesg_no_q1(int index, const char *c1, int n1);
void qrtmesg_no_q2(int index, const char *c1, int n1, const char *c2, int n2);
void qrtmesg_no_q3(int index, const char *c1, int n1, const char *c2, int n2, const char *c3, int n3);
void qrtmesg_no_i1(int index, int i1);
void qrtmesg_no_i2(int index, int i1, int i2);
void qrtmesg_no_i3(int index, int i1, int i2, int i3);
void qrtmesg_no_i4(int index, int i1, int i2, int i3, int i4);
void qrtmesg_no_just_i2(int index, int i2);
void qrtmesg_no_d1(int index, double d1);
void qrtmesg_no_d2(int index, double d1, double d2);
void qrtmesg_no_d3(int index, double d1, double d2, double d3);
void qrtmesg_no_d4(int index, double d1, double d2, double d3, double d4);
void qrtmesg_no_q2_i1(int index, const char *c1, int n1, const char *c2, int n2, int i1);
void qrtmesg_no_q2_i2(int index, const char *c1, int n1, const char *c2, int n2, int i1, int i2);
void qrtmesg_no_i1_d1(int index, int i1, double d1);
void qrtmesg_no_i1_d2(int index, int i1, double d1, double d2);
void qrtmesg_no_i1_just_d2(int index, int i1, double d2);
void qrtmesg_no_i3_d2(int index, int i1, int i2, int i3, double d1, double d2);
void qrtmesg_no_i3_d3(int index, int i1, int i2, int i3, double d1, double d2, double d3);
void qrtmesg_no_i4_d3(int index, int i1, int i2, int i3, int i4, double d1, double d2, double d3);
void qrtmesg_no_i8_d1(int index, int i1, int i2, int i3, int i4, int i5, int i6, int i7, int i8, double d1);
void qrtmesg_no_q1_i1(int index, const char *c1, int n1, int i1);
void qrtmesg_no_q1_i2(int index, const char *c1, int n1, int i1, int i2);
void qrtmesg_no_q1_just_i2(int index, const char *c1, int n1, int i2);
void qrtmesg_no_q1_i4(int index, const char *c1, int n1, int i1, int i2, int i3, int i4);
void qrtmesg_no_i1_q1_d2(int index, int i1, const char *c1, int n1, double d1, double d2);
void qrtmesg_no_just_i2_q1_d1(int index, int i2, const char *c1, int n1, double d1);
void qrtmesg_no_q1_d2(int index, const char *c1, int n1, double d1, double d2);
void qrtmesg_no_i2_d1(int index, int i1, int i2, double d1);
void qrtmesg_no_i2_d2(int index, int i1, int i2, double d1, double d2);
void qrtmesg_q1(const char *c1, int n1);  // the index is set already
void qrtmesg_no_qmesg(int index, const char *text, int length);

// Issues the message with the arguments set before: counts it, shows it, acts on its limit. noPage 1: no page break.
void qrtmsg2(int index, int noPage);
void qrtmes2(int index, char buffer[128]);          // raw template, blank-padded
int qrtetoi(int number, int *next);                 // number to index, 0 when not defined
int messageNumber(int index);
// Expands a template with the present arguments into `out` (cap bytes), as it would be printed; returns its length.
int expandMessage(int index, char *out, int cap);
void qrt_errorMessage(int fault, int region);       // "@C01 region ... corrupted as detailed above"
const char *qrt_f_inquire(int unit);                // file name of a numbered unit, or ""
FILE *qrt_FILE(int unit);                           // stream of a numbered unit, or null

// Flushes the log at the end of an outermost public call and before every exit.
void flushLogs();

// The older, printf-like channel of the stochastic layer.
struct ScnMessageContext {
  const char *prefix;
  void *reserved[2];
  struct ScnMessageRow *table;
  int32_t flag;
};
extern ScnMessageContext scn_msg;
// Issues message `id` of that channel with printf-like arguments, and sets whether it is suppressed (id below 0: all).
int qrts__Message(ScnMessageContext *context, int id, ...);
int qrts__Mset(ScnMessageContext *context, int id, int value);
