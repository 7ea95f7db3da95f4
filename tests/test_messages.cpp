// Faults these tests would catch: a template expanded wrongly, lines broken or paged differently from a line printer's
// rules, limits that do not count, a call-back that sees other arguments than the reader, a log that loses text.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/entry_frame.h"
#include "frame/message_control.h"
#include "frame/message_table.h"
#include "frame/messages.h"
#include "frame/records.h"

namespace {

class Messages : public ::testing::Test {
 protected:
  void SetUp() override {
    context = qrt_initializeContext();
    model = qrt_newModel(context, "");
    log = tmpfile();
    qrt_setLogfileFilePointer(model, log);
    written();
  }
  void TearDown() override {
    qrt_endContext(context);
    fclose(log);
  }
  // What was written since the last call.
  std::string written() {
    fflush(log);
    fseek(log, position, SEEK_SET);
    std::string text;
    for (int c; (c = fgetc(log)) != EOF;) text += char(c);
    position = ftell(log);
    return text;
  }
  static std::string expanded(int index) {
    char text[6144];
    expandMessage(index, text, sizeof text);
    return text;
  }
  QRTContext *context = nullptr;
  QRTModel *model = nullptr;
  FILE *log = nullptr;
  long position = 0;
};

TEST_F(Messages, PlaceholdersTrimPadAndStopAtAnAt) {
  messageI(1, 12);
  messageD(1, 0.0);
  EXPECT_EQ(expanded(1), "Iteration Number:       12; Objective Value:               0.000000E+00--Optimal");
  messageI(1, 123456789);
  messageD(1, -123.456);
  EXPECT_EQ(expanded(1), "Iteration Number: 123456789; Objective Value:                  -123.4560--Optimal");
  messageC(1, "  padded  ");
  EXPECT_EQ(expanded(558), "Unable to open file padded");
  messageC(1, "user@host");
  EXPECT_EQ(expanded(558), "Unable to open file user");
  messageC(1, "twenty characters ok");
  EXPECT_EQ(expanded(548), "Tavlib Version twenty characters ok");
  messageC(1, "short");
  EXPECT_EQ(expanded(548), "Tavlib Version short             ");
  messageQ("free text");
  EXPECT_EQ(expanded(591), "free text");
}

TEST_F(Messages, NumbersLeadBackToTheirIndexAndOn) {
  for (int index = 1; index < QRT_MESSAGE_COUNT; ++index) {
    const int number = messageNumber(index);
    if (number == 0) continue;
    const int found = qrtetoi(number, nullptr);
    EXPECT_EQ(messageNumber(found), number) << index;
  }
  int next = -1;
  EXPECT_EQ(qrtetoi(501, &next), 591);
  EXPECT_EQ(next, 502);
  EXPECT_EQ(qrtetoi(0, &next), 0);
  EXPECT_EQ(qrtetoi(10000, &next), 0);
  EXPECT_EQ(next, 0);
}

TEST_F(Messages, LongTextBreaksAtABlankOrIsCut) {
  qrt_setIlinelen(model, 60);
  written();
  qrt_userMessage(model, 1, "0123456789 0123456789 0123456789 0123456789 abcdefghijkl");
  EXPECT_EQ(written(),
            " QRT0501I 0123456789 0123456789 0123456789 0123456789\n"
            "          abcdefghijkl\n");
  qrt_userMessage(model, 1, std::string(60, 'x').c_str());
  EXPECT_EQ(written(), " QRT0501I " + std::string(50, 'x') + "\n          " + std::string(10, 'x') + "\n");
  qrt_setImsgpos(model, 1);
  written();
  qrt_userMessage(model, 2, "right");
  EXPECT_EQ(written(), " right" + std::string(46, ' ') + "QRT0502I\n");
}

TEST_F(Messages, PagesBeginWithAHeaderAndCountLines) {
  qrt_mset(model, 6, 0, 256, 0, 0, 0);  // the page header is off by default
  qrt_setIpagelines(model, 10);
  qrterr.lineCount = 0;
  qrterr.pageNumber = 4;
  written();
  for (int i = 0; i < 11; ++i) qrt_userMessage(model, 1, "line");
  const std::string text = written();
  const size_t header = text.find("1QRT0006I Tavlib Version 3.0 (Jan 3 2001)   Page 4");
  ASSERT_NE(header, std::string::npos) << text;
  const std::string before = text.substr(0, header);
  EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), 10);
  EXPECT_EQ(qrterr.pageNumber, 5);
  EXPECT_EQ(qrterr.lineCount, 3) << "header line, then an empty line and the message's own count as two";
}

TEST_F(Messages, BlankLinesAreOwedUntilTheNextMessage) {
  qrtmesg_no(-1);
  qrtmesg_no(-1);
  EXPECT_EQ(written(), "");
  qrt_userMessage(model, 1, "after");
  EXPECT_EQ(written(), "\n\n QRT0501I after\n");
}

int seenNumber;
std::string seenString, seenLine;
int seenInts[3];
double seenReal;
void lookAt(QRTModel *model, int number, int nReals, const double *reals, int nInts, const int *ints, int nStrings,
            const char *strings) {
  seenNumber = number;
  for (int k = 0; k < nInts && k < 3; ++k) seenInts[k] = ints[k];
  if (nReals > 0) seenReal = reals[0];
  if (nStrings > 0) seenString = std::string(strings, 128);
  seenLine = std::string(strings + 128 * nStrings, 128);
  qrt_setRtarget(model, 5.0);  // the library may be used from here
}

TEST_F(Messages, CallbackSeesTheArgumentsEvenOfAnUnprintedMessage) {
  qrt_registerMsguCallBack(model, lookAt);
  qrt_mset(model, 1, 0, -1, 2, 0, 0);
  written();
  qrtmesg_no_i1_d1(1, 42, 2.5);
  EXPECT_EQ(seenNumber, 1);
  EXPECT_EQ(seenInts[0], 42);
  EXPECT_EQ(seenReal, 2.5);
  EXPECT_EQ(seenLine.substr(0, 36), " QRT0001I Iteration Number:       42");
  EXPECT_EQ(written().find("QRT0001I"), std::string::npos);
  EXPECT_EQ(qrt_getRtarget(model), 5.0);
}

TEST_F(Messages, LimitsCountPrintsAndOccurrencesSeparately) {
  qrt_mset(model, 501, 0, 3, 0, 502, 0);
  written();
  for (int i = 0; i < 5; ++i) qrt_userMessage(model, 1, "hi");
  const std::string text = written();
  size_t prints = 0;
  for (size_t at = text.find("QRT0501I"); at != std::string::npos; at = text.find("QRT0501I", at + 1)) ++prints;
  EXPECT_EQ(prints, 3u);
  EXPECT_EQ(model->messageControl[591].maxprt, 0);
  EXPECT_EQ(model->messageControl[592].maxprt, 3) << "the range reaches 502";
  model->messageControl[591].maxalw = 0;
  qrt_userMessage(model, 1, "hi");
  EXPECT_EQ(model->messageControl[591].maxalw, -1) << "zero goes on to unlimited";
  EXPECT_EXIT(
      {
        qrt_mset(model, 501, 2, 0, 0, 0, 0);
        qrt_userMessage(model, 1, "first");
        fputs("still here", stderr);
        qrt_userMessage(model, 1, "second");
      },
      ::testing::ExitedWithCode(0), "still here\n");
}

TEST_F(Messages, RaisedLimitTurnsAStopIntoAReturnOf999) {
  qrt_mset(model, 7029, 256, 0, 0, 0, 0);
  EXPECT_EQ(qrt_userMessage(model, 11, "x"), 999);
  EXPECT_EQ(model->recoverArmed, 0);
  EXPECT_EQ(model->entryDepth, 1);
  EXPECT_EQ(qrterr.returnCode, 331);
}

TEST(MessagesDeath, CallsBeforeTheContextSayWhatIsMissing) {
  testing::internal::CaptureStdout();
  EXPECT_EXIT(qrt_newModel(nullptr, "x"), ::testing::ExitedWithCode(0), "");
  testing::internal::GetCapturedStdout();
  EXPECT_EXIT(qrt_getImaxiter(reinterpret_cast<QRTModel *>(new char[4096]())), ::testing::ExitedWithCode(0), "^\n$");
}

TEST(StochasticChannel, LettersDecideResultsAndStreams) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(qrts__Message(&scn_msg, 502, "qrts_x"), 0);
  EXPECT_EQ(qrts__Message(&scn_msg, 501, "qrts_x"), 2);
  EXPECT_EQ(qrts__Mset(&scn_msg, 773, 1), 0);
  EXPECT_EQ(qrts__Message(&scn_msg, 773), 1);
  EXPECT_EQ(qrts__Mset(&scn_msg, 999, 1), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), " SCN0502I: \t\t\t\t  Entering SP/TAV subroutine qrts_x.\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            " SCN0501E: Malloc failed in subroutine qrts_x.  Check maximum memory allocation for user.\n"
            " SCN999E: Internal error: Unknown message id: 999\n");
}

}  // namespace
