// Numbered files: names and life of units, status and access of an open, transfers by bytes and by formats.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "frame/messages.h"
#include "frame/units.h"
#include "include/qrt_classic.h"

namespace {

struct Units : ::testing::Test {
  std::string folder;
  void SetUp() override {
    char name[] = "/tmp/tavstoch-units-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name));
    folder = name;
    ASSERT_EQ(0, chdir(name));
  }
  void TearDown() override {
    while (cfilelist) qrt_f_clos2(cfilelist);
    for (int unit = 100; unit < 110; unit++) setUnitFileName(unit, nullptr);
    ASSERT_EQ(0, chdir("/tmp"));
    const int gone = system(("rm -rf " + folder).c_str());
    EXPECT_EQ(0, gone);
  }
  static int open(int unit, const char *file, const char *status, const char *form = "FORMATTED") {
    int rc = -1;
    qrt_fopn(unit, file, status, "SEQUENTIAL", form, "NULL", 0, &rc);
    EXPECT_EQ(nullptr, unitTable_check());
    return rc;
  }
  static std::string text(const char *file) {
    std::ifstream in(file);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
  }
};

// Fault: a unit without a name gets another's, an open one is opened twice, or a missing file appears.
TEST_F(Units, namesAndStatusOfAnOpen) {
  EXPECT_EQ(1, open(20, "missing", "OLD"));
  EXPECT_NE(0, access("missing", F_OK));
  EXPECT_EQ(0, open(20, nullptr, "UNKNOWN"));
  EXPECT_STREQ("fort.20", qrt_f_inquire(20));
  FILE *first = qrt_FILE(20);
  EXPECT_EQ(0, open(20, "other", "UNKNOWN"));
  EXPECT_EQ(first, qrt_FILE(20));
  std::ofstream("kept") << "old contents";
  EXPECT_EQ(0, open(21, "kept", "NEW"));
  EXPECT_EQ("", text("kept"));
  ASSERT_EQ(0, qrt_f_close(1, 21));
  EXPECT_EQ(0, qrt_f_close(1, 21));
  EXPECT_EQ(nullptr, qrt_FILE(21));
  int rc = -1;
  const int unit = 20;
  qrtfcls_(&unit, "DELETED", &rc);
  EXPECT_EQ(0, rc);
  EXPECT_NE(0, access("fort.20", F_OK));
  EXPECT_STREQ("", qrt_f_inquire(20));
  if (geteuid() != 0) {  // the superuser may write anything
    std::ofstream("locked") << "text";
    ASSERT_EQ(0, chmod("locked", 0400));
    EXPECT_EQ(0, open(22, "locked", "OLD"));
    EXPECT_EQ(1, open(23, "locked", "OLD", "UNFORMATTED"));
    EXPECT_EQ(0, qrtopenbyname("locked", 101, 1));
  }
}

// Fault: a named unit stays on its old file, or its stream outlives the close in the table.
TEST_F(Units, namedUnitsFollowTheirName) {
  std::ofstream("a") << "A";
  std::ofstream("b") << "B";
  ASSERT_EQ(0, qrtopenbyname("a", 101, 0));
  EXPECT_EQ('A', getc(qrt_file_fp[1]));
  setUnitFileName(101, "b");
  ASSERT_EQ(0, open(101, nullptr, "OLD"));
  EXPECT_EQ('B', getc(qrt_file_fp[1]));
  EXPECT_STREQ("b", qrt_f_inquire(101));
  closeNamedUnit(101);
  EXPECT_EQ(nullptr, qrt_file_fp[1]);
  EXPECT_STREQ("", qrt_f_inquire(101));
  EXPECT_EQ(1, qrtopenbyname("none", 101, 0));
  const std::string longName(200, 'n');
  ASSERT_EQ(0, qrtopenbyname(longName.c_str(), 102, 4));
  EXPECT_EQ(longName, qrt_f_inquire(102));
  EXPECT_EQ(nullptr, unitTable_check());
}

// Fault: bytes get a frame, records lie beside their place, or a rewind loses what was written.
TEST_F(Units, unformattedTransfersAreTheirBytes) {
  ASSERT_EQ(0, open(30, "bytes", "UNKNOWN", "UNFORMATTED"));
  ControlList control = {1, 30, 0, nullptr, 0};
  double out[3] = {1.5, -2, 3e300}, in[3] = {};
  ASSERT_EQ(0, qrt_s_wsue(&control));
  EXPECT_EQ(0, qrt_do_uio(3, out, 8));
  qrt_e_wsue();
  ASSERT_EQ(0, qrt_f_rew(1, 30));
  struct stat info;
  ASSERT_EQ(0, stat("bytes", &info));
  EXPECT_EQ(24, info.st_size);
  ASSERT_EQ(0, qrt_s_rsue(&control));
  EXPECT_EQ(0, qrt_do_uio(3, in, 8));
  EXPECT_EQ(0, memcmp(in, out, sizeof in));
  EXPECT_NE(0, qrt_do_uio(1, in, 8));
  EXPECT_EQ(1.5, in[0]) << "an item past the end stays";

  int rc = -1;
  qrt_fopn(31, "records", "UNKNOWN", "DIRECT", "UNFORMATTED", "", 16, &rc);
  ASSERT_EQ(0, rc);
  for (int number : {3, 1, 2}) {
    ControlList record = {1, 31, 0, nullptr, number};
    double pair[2] = {double(number), 0.5 * number};
    ASSERT_EQ(0, qrt_s_wdue(&record));
    ASSERT_EQ(0, qrt_do_uio(2, pair, 8));
  }
  ControlList second = {1, 31, 0, nullptr, 2};
  ASSERT_EQ(0, qrt_s_rdue(&second));
  ASSERT_EQ(0, qrt_do_uio(2, in, 8));
  EXPECT_EQ(2, in[0]);
  EXPECT_EQ(1, in[1]);
}

// Fault: a format of the table misplaces a field, blanks end a number, or a D exponent is not read.
TEST_F(Units, formatsOfTheTable) {
  auto write = [](const char *format, std::initializer_list<std::pair<const void *, int>> items) {
    char line[81];
    const Icilist request = {0, line, 0, format, 80, 1};
    qrt_s_wsfi(&request);
    for (const auto &item : items) EXPECT_EQ(0, qrt_do_fio(const_cast<void *>(item.first), item.second));
    qrt_e_wsfi();
    std::string text(line, 80);
    return text.substr(0, text.find_last_not_of(' ') + 1);
  };
  auto readReal = [](const char *format, std::string text, double before) {
    text.resize(40, ' ');
    const Icilist request = {0, text.data(), 0, format, 40, 1};
    qrt_s_rsfi(&request);
    return qrt_do_fio(&before, 8) == 0 ? before : -99.0;
  };
  const int number = 42;
  const double value = -1.25, one = 1;
  EXPECT_EQ("0000042", write("(i7.7)", {{&number, 4}}));
  EXPECT_EQ(" 42", write("(1x,i2,1x)", {{&number, 4}}));
  EXPECT_EQ("         -1.25000000", write("(f20.8)", {{&value, 8}}));
  EXPECT_EQ("3ff0000000000000", write("(z16)", {{&one, 8}}));
  EXPECT_EQ("abc", write("(A12)", {{"abc", 3}}));
  const int three[] = {1, 22, 333};
  EXPECT_EQ("           1           22          333", write("(I12,I13,I13)", {{three, 4}, {three + 1, 4}, {three + 2, 4}}));
  EXPECT_EQ(12.5, readReal("(bn,f12.0)", "1 2 . 5", 0));
  EXPECT_EQ(1500, readReal("(bn,f12.0)", "      1.5D3", 0));
  EXPECT_EQ(-99, readReal("(bn,f12.0)", "1.5X", 0));
  EXPECT_EQ(1, readReal("(z16)", "3FF0000000000000", 0));
}

// Fault: the end of a formatted read skips a whole line more, or blanks do not fill a short one.
TEST_F(Units, formattedLinesOnAUnit) {
  ControlList control = {1, 40, 0, "(A12)", 0};
  ASSERT_EQ(0, qrt_s_wsfe(&control));
  char item[] = "first line12";
  EXPECT_EQ(0, qrt_do_fio(item, 12));
  EXPECT_EQ(0, qrt_e_wsfe());
  fputs("two\nthird\n", qrt_unit_fp(40));
  ASSERT_EQ(0, qrt_f_rew(1, 40));
  char got[13] = "";
  for (const char *wanted : {"first line12", "two         ", "third       "}) {
    ASSERT_EQ(0, qrt_s_rsfe(&control));
    EXPECT_EQ(0, qrt_do_fio(got, 12));
    EXPECT_EQ(wanted, std::string(got, 12));
    EXPECT_EQ(0, qrt_e_rsfe());
  }
  ASSERT_EQ(0, qrt_s_rsfe(&control));
  EXPECT_NE(0, qrt_do_fio(got, 12));
  EXPECT_EQ(1, qrt_e_rsfe());
}

// Fault: a kind accepts a unit that belongs to the standard streams.
TEST_F(Units, unitNumbersAllowedByKind) {
  auto allowed = [](int unit, int kind) {
    int rc = 0;
    qrtckun(&rc, unit, kind, "TEST");
    return rc == 0;
  };
  // Kind 2 refuses in silence, so that its rule can be tried without ending the process.
  for (int unit = -1; unit <= 111; unit++)
    EXPECT_EQ(unit >= 1 && unit <= 109 && unit != 2 && unit != 5, allowed(unit, 2)) << unit;
  EXPECT_TRUE(allowed(5, 4));
  EXPECT_TRUE(allowed(6, 5));
  EXPECT_TRUE(allowed(0, 5));
  EXPECT_TRUE(allowed(4, 3));
}

}  // namespace
