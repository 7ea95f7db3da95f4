// The family qrtmesg_no_...: store arguments, then issue.
//
// A name lists the arguments behind the index, in the order of the parameters: q strings (each with its length, -1 for
// NUL-terminated), i integers, d reals; `just` begins that kind at the second slot.
#include "frame/messages.h"

void qrtmesg_no_q1(int index, const char *c1, int n1) {
  messageC(1, c1, n1);
  qrtmesg_no(index);
}

void qrtmesg_no_q2(int index, const char *c1, int n1, const char *c2, int n2) {
  messageC(1, c1, n1);
  messageC(2, c2, n2);
  qrtmesg_no(index);
}

void qrtmesg_no_q3(int index, const char *c1, int n1, const char *c2, int n2, const char *c3, int n3) {
  messageC(1, c1, n1);
  messageC(2, c2, n2);
  messageC(3, c3, n3);
  qrtmesg_no(index);
}

void qrtmesg_no_i1(int index, int i1) {
  messageI(1, i1);
  qrtmesg_no(index);
}

void qrtmesg_no_i2(int index, int i1, int i2) {
  messageI(1, i1);
  messageI(2, i2);
  qrtmesg_no(index);
}

void qrtmesg_no_i3(int index, int i1, int i2, int i3) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  qrtmesg_no(index);
}

void qrtmesg_no_i4(int index, int i1, int i2, int i3, int i4) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageI(4, i4);
  qrtmesg_no(index);
}

void qrtmesg_no_just_i2(int index, int i2) {
  messageI(2, i2);
  qrtmesg_no(index);
}

void qrtmesg_no_d1(int index, double d1) {
  messageD(1, d1);
  qrtmesg_no(index);
}

void qrtmesg_no_d2(int index, double d1, double d2) {
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_d3(int index, double d1, double d2, double d3) {
  messageD(1, d1);
  messageD(2, d2);
  messageD(3, d3);
  qrtmesg_no(index);
}

void qrtmesg_no_d4(int index, double d1, double d2, double d3, double d4) {
  messageD(1, d1);
  messageD(2, d2);
  messageD(3, d3);
  messageD(4, d4);
  qrtmesg_no(index);
}

void qrtmesg_no_q2_i1(int index, const char *c1, int n1, const char *c2, int n2, int i1) {
  messageC(1, c1, n1);
  messageC(2, c2, n2);
  messageI(1, i1);
  qrtmesg_no(index);
}

void qrtmesg_no_q2_i2(int index, const char *c1, int n1, const char *c2, int n2, int i1, int i2) {
  messageC(1, c1, n1);
  messageC(2, c2, n2);
  messageI(1, i1);
  messageI(2, i2);
  qrtmesg_no(index);
}

void qrtmesg_no_i1_d1(int index, int i1, double d1) {
  messageI(1, i1);
  messageD(1, d1);
  qrtmesg_no(index);
}

void qrtmesg_no_i1_d2(int index, int i1, double d1, double d2) {
  messageI(1, i1);
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_i1_just_d2(int index, int i1, double d2) {
  messageI(1, i1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_i3_d2(int index, int i1, int i2, int i3, double d1, double d2) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_i3_d3(int index, int i1, int i2, int i3, double d1, double d2, double d3) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageD(1, d1);
  messageD(2, d2);
  messageD(3, d3);
  qrtmesg_no(index);
}

void qrtmesg_no_i4_d3(int index, int i1, int i2, int i3, int i4, double d1, double d2, double d3) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageI(4, i4);
  messageD(1, d1);
  messageD(2, d2);
  messageD(3, d3);
  qrtmesg_no(index);
}

void qrtmesg_no_i8_d1(int index, int i1, int i2, int i3, int i4, int i5, int i6, int i7, int i8, double d1) {
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageI(4, i4);
  messageI(5, i5);
  messageI(6, i6);
  messageI(7, i7);
  messageI(8, i8);
  messageD(1, d1);
  qrtmesg_no(index);
}

void qrtmesg_no_q1_i1(int index, const char *c1, int n1, int i1) {
  messageC(1, c1, n1);
  messageI(1, i1);
  qrtmesg_no(index);
}

void qrtmesg_no_q1_i2(int index, const char *c1, int n1, int i1, int i2) {
  messageC(1, c1, n1);
  messageI(1, i1);
  messageI(2, i2);
  qrtmesg_no(index);
}

void qrtmesg_no_q1_just_i2(int index, const char *c1, int n1, int i2) {
  messageC(1, c1, n1);
  messageI(2, i2);
  qrtmesg_no(index);
}

void qrtmesg_no_q1_i4(int index, const char *c1, int n1, int i1, int i2, int i3, int i4) {
  messageC(1, c1, n1);
  messageI(1, i1);
  messageI(2, i2);
  messageI(3, i3);
  messageI(4, i4);
  qrtmesg_no(index);
}

void qrtmesg_no_i1_q1_d2(int index, int i1, const char *c1, int n1, double d1, double d2) {
  messageI(1, i1);
  messageC(1, c1, n1);
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_just_i2_q1_d1(int index, int i2, const char *c1, int n1, double d1) {
  messageI(2, i2);
  messageC(1, c1, n1);
  messageD(1, d1);
  qrtmesg_no(index);
}

void qrtmesg_no_q1_d2(int index, const char *c1, int n1, double d1, double d2) {
  messageC(1, c1, n1);
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_no_i2_d1(int index, int i1, int i2, double d1) {
  messageI(1, i1);
  messageI(2, i2);
  messageD(1, d1);
  qrtmesg_no(index);
}

void qrtmesg_no_i2_d2(int index, int i1, int i2, double d1, double d2) {
  messageI(1, i1);
  messageI(2, i2);
  messageD(1, d1);
  messageD(2, d2);
  qrtmesg_no(index);
}

void qrtmesg_q1(const char *c1, int n1) {
  messageC(1, c1, n1);
  qrtmesg();
}

void qrtmesg_no_qmesg(int index, const char *text, int length) {
  messageQ(text, length);
  qrtmesg_no(index);
}
