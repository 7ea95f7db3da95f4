// The record file. Faults caught here: bytes that differ from those of the step-by-step procedure (buffering,
// caching, block boundaries), records mixed up after reopening, bad files that crash or are believed.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "frame/messages.h"
#include "stoch/scn_stoc.h"

namespace {

// A scratch name that goes with the test.
struct Scratch {
  std::string path;
  Scratch() {
    char name[] = "/tmp/recordtestXXXXXX";
    const int fd = mkstemp(name);
    if (fd >= 0) close(fd);
    path = name;
  }
  ~Scratch() { std::remove(path.c_str()); }
  std::string bytes() const {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
  }
  void write(const std::string &bytes) const {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), std::streamsize(bytes.size()));
  }
};

int32_t wordAt(const std::string &bytes, size_t offset) {
  int32_t word = -1;
  if (offset + 4 <= bytes.size()) std::memcpy(&word, bytes.data() + offset, 4);
  return word;
}

VirtualFile *openFile(const std::string &path, const char *status) {
  VirtualFile *file = nullptr;
  int rc = -1;
  qrtdioopvf(&rc, &file, path.c_str(), status);
  EXPECT_EQ(rc, 0);
  return file;
}
void closeFile(VirtualFile **file) {
  int rc = -1;
  qrtdioclvf(&rc, file, "SAVE");
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(*file, nullptr);
}
int append(VirtualFile *file, const std::string &data) {
  int rc = -1, record = 0;
  qrtdioptvr(&rc, file, &record, data.data(), int(data.size()));
  EXPECT_EQ(rc, 0);
  return record;
}
std::string readRecord(VirtualFile *file, int record, int maximum) {
  int rc = -1, actual = -1;
  std::string data(size_t(maximum), '?');
  qrtdiogtvr(&rc, file, &record, data.data(), maximum, &actual);
  EXPECT_EQ(rc, 0);
  data.resize(maximum > 0 && actual >= 0 ? size_t(actual) : 0);
  return data;
}

// The procedure step by step on a string: header read and written each time, nothing kept in between.
struct PlainFile {
  std::string bytes;
  std::vector<std::pair<size_t, size_t>> places;
  int32_t h[10] = {0, 0, 256, 0, 256, 0, 0, 296, 296, 36};
  PlainFile() {
    put(0, h, 40);
    put(40, "VREC", 4);
    pad(296);
  }
  void put(size_t offset, const void *data, size_t n) {
    if (bytes.size() < offset + n) bytes.resize(offset + n, '\0');
    std::memcpy(&bytes[offset], data, n);
  }
  void pad(size_t offset) {
    if (bytes.size() < offset) bytes.resize(offset, '\0');
  }
  void putWord(size_t offset, int32_t word) { put(offset, &word, 4); }
  int allocate(int32_t size) {
    const int n = h[0] + 1, b = (n - 1) / 256 + 1, d = (b - 1) / 256 + 1, slot = b - 256 * (d - 1), e = n - 256 * (b - 1);
    if (d > h[3]) {
      putWord(size_t(h[9]), h[7]);
      pad(size_t(h[7]));
      pad(size_t(h[7]) + 1024);
      h[3]++;
      h[9] = h[7];
      h[7] += 1024;
    }
    int32_t block;
    if (b > h[1]) {
      if (slot >= 2) putWord(size_t(h[9] + 4 * (slot - 1)), h[7]);
      pad(size_t(h[7]));
      pad(size_t(h[7]) + 2048);
      h[1]++;
      block = h[7];
      h[7] += 2048;
    } else {
      block = slot == 1 ? h[9] + 1024 : wordAt(bytes, size_t(h[9] + 4 * (slot - 1)));
    }
    h[7] = ((h[7] - 1) & ~7) + 8;
    pad(size_t(h[7]));
    putWord(size_t(block + 8 * (e - 1)), h[7]);
    putWord(size_t(block + 8 * (e - 1) + 4), size);
    places.push_back({size_t(h[7]), size_t(size)});
    h[0]++;
    h[5] = std::max(h[5], size);
    h[6] += size;
    h[7] += size;
    put(0, h, 40);
    return n;
  }
  void write(int record, const std::string &data) {
    const auto place = places[size_t(record - 1)];
    put(place.first, data.data(), std::min(data.size(), place.second));
  }
  std::string read(int record) const {
    const auto place = places[size_t(record - 1)];
    return bytes.substr(place.first, place.second);
  }
};

std::string randomText(std::mt19937 &random, size_t n) {
  std::string text(n, ' ');
  for (char &c : text) c = char(random());
  return text;
}

}  // namespace

TEST(RecordFile, BytesOfASmallFile) {
  Scratch scratch;
  VirtualFile *file = openFile(scratch.path, "NEW");
  EXPECT_EQ(scratch.bytes().size(), 296u) << "a new file is whole at once";
  EXPECT_EQ(wordAt(scratch.bytes(), 36), 36);
  EXPECT_EQ(append(file, "abcde"), 1);
  EXPECT_EQ(append(file, ""), 2);
  EXPECT_EQ(append(file, "12345678"), 3);
  closeFile(&file);
  const std::string bytes = scratch.bytes();
  const int32_t header[10] = {3, 1, 256, 1, 256, 8, 13, 3384, 296, 296};
  for (size_t k = 0; k < 10; k++) EXPECT_EQ(wordAt(bytes, 4 * k), header[k]) << "header word " << k;
  EXPECT_EQ(bytes.substr(40, 4), "VREC");
  EXPECT_EQ(bytes.substr(44, 1276), std::string(1276, '\0')) << "rest of the head and an empty directory";
  const int32_t pairs[6] = {3368, 5, 3376, 0, 3376, 8};
  for (size_t k = 0; k < 6; k++) EXPECT_EQ(wordAt(bytes, 1320 + 4 * k), pairs[k]);
  EXPECT_EQ(bytes.substr(3368), std::string("abcde\0\0\0" "12345678", 16));
}

TEST(RecordFile, BlockBoundaries) {
  Scratch scratch;
  VirtualFile *file = openFile(scratch.path, "NEW");
  const int records = 65537 + 300;
  for (int k = 1; k <= records; k++) ASSERT_EQ(append(file, std::string(8, char('a' + k % 26))), k);
  ASSERT_STREQ(virtualFile_check(file), nullptr);
  closeFile(&file);
  const std::string bytes = scratch.bytes();
  const int32_t secondBlock = 3368 + 256 * 8;
  EXPECT_EQ(wordAt(bytes, 296 + 4), secondBlock) << "record 257: word 2 of the first directory";
  EXPECT_EQ(wordAt(bytes, size_t(secondBlock)), secondBlock + 2048);
  const int32_t secondDirectory = wordAt(bytes, 296);
  EXPECT_EQ(secondDirectory, 3368 + 65536 * 8 + 255 * 2048) << "record 65537: word 1 links the second directory";
  EXPECT_EQ(wordAt(bytes, 36), secondDirectory);
  EXPECT_EQ(wordAt(bytes, 32), 296);
  EXPECT_EQ(wordAt(bytes, 12), 2);
  EXPECT_EQ(wordAt(bytes, size_t(secondDirectory) + 1024), secondDirectory + 1024 + 2048);
  EXPECT_EQ(wordAt(bytes, size_t(secondDirectory) + 4), secondDirectory + 1024 + 2048 + 256 * 8) << "record 65793";

  file = openFile(scratch.path, "OLD");
  for (int k : {1, 256, 257, 65536, 65537, 65792, 65793, records}) EXPECT_EQ(readRecord(file, k, 8), std::string(8, char('a' + k % 26)));
  EXPECT_EQ(append(file, "new one."), records + 1);
  EXPECT_STREQ(virtualFile_check(file), nullptr);
  closeFile(&file);
}

TEST(RecordFile, RandomWritesAgainstThePlainProcedure) {
  for (unsigned seed = 1; seed <= 4; seed++) {
    std::mt19937 random(seed);
    Scratch scratch;
    PlainFile plain;
    VirtualFile *file = openFile(scratch.path, "NEW");
    const int steps = seed == 1 ? 80000 : 4000;
    for (int step = 0; step < steps; step++) {
      const int what = int(random() % 100);
      const int n = int(plain.places.size());
      int rc = -1, record = 0;
      if (n == 0 || what < 85) {
        // mostly small; with other seeds also records longer than the append buffer
        const size_t size = seed == 1 || random() % 50 ? random() % 40 : random() % (random() % 10 ? 60000 : 2500000);
        const std::string data = randomText(random, size);
        ASSERT_EQ(append(file, data), plain.allocate(int32_t(size)));
        plain.write(n + 1, data);
        continue;
      }
      record = int(random() % std::mt19937::result_type(n)) + 1;
      if (what < 90) {
        const std::string data = randomText(random, random() % 200);
        qrtdioptvr(&rc, file, &record, data.data(), int(data.size()));
        plain.write(record, data);
      } else if (what < 92) {
        qrtdiozvr(&rc, file, &record, 1);
        plain.write(record, std::string(plain.places[size_t(record - 1)].second, '\0'));
      } else {
        const int maximum = int(random() % 300) + 1;
        ASSERT_EQ(readRecord(file, record, maximum), plain.read(record).substr(0, size_t(maximum)));
        rc = 0;
      }
      ASSERT_EQ(rc, 0);
      if (random() % 400 == 0) {
        qrtdiofls(&rc, file);
        ASSERT_EQ(rc, 0);
        ASSERT_TRUE(scratch.bytes() == plain.bytes) << "after a flush, step " << step;
      }
      if (random() % 800 == 0) {
        closeFile(&file);
        file = openFile(scratch.path, "OLD");
        ASSERT_STREQ(virtualFile_check(file), nullptr);
      }
    }
    closeFile(&file);
    ASSERT_TRUE(scratch.bytes() == plain.bytes) << "seed " << seed;
  }
}

TEST(RecordFile, RefusalsHaveTheirCodes) {
  Scratch scratch;
  VirtualFile *file = nullptr;
  int rc = 0, record = 0, actual = 0;
  char buffer[16];
  qrtdioopvf(&rc, &file, scratch.path.c_str(), "TMP");
  EXPECT_EQ(rc, VREC_BAD_STATUS);
  qrtdioopvf(&rc, &file, "", "NEW");
  EXPECT_EQ(rc, VREC_EMPTY_NAME);
  qrtdioopvf(&rc, &file, "/tmp/no/such/folder/x", "OLD");
  EXPECT_EQ(rc, VREC_OPEN);
  qrtdioopvf(&rc, &file, "/tmp", "OLD");
  EXPECT_EQ(rc, VREC_OPEN);
  for (const std::string &content : {std::string(), std::string("VREC"), std::string(5000, 'x')}) {
    scratch.write(content);
    qrtdioopvf(&rc, &file, scratch.path.c_str(), "OLD");
    EXPECT_EQ(rc, VREC_BAD_STAMP);
    EXPECT_EQ(file, nullptr);
  }
  qrtdiogtvr(&rc, nullptr, &record, buffer, 4, &actual);
  EXPECT_EQ(rc, VREC_NULL_HANDLE);
  VirtualFile other{};
  qrtdiofls(&rc, &other);
  EXPECT_EQ(rc, VREC_BAD_TAG);

  file = openFile(scratch.path, "NEW");
  append(file, "some");
  for (int bad : {-1, 2, 1 << 30}) {
    record = bad;
    qrtdiogtvr(&rc, file, &record, buffer, 4, &actual);
    EXPECT_EQ(rc, VREC_BAD_RECORD);
    EXPECT_EQ(actual, 0);
  }
  record = 0;
  qrtdiogtvr(&rc, file, &record, buffer, 4, &actual);
  EXPECT_TRUE(rc == 0 && record == 1 && actual == 0) << "record 0 asks for the count";
  record = 1;
  qrtdiogtvr(&rc, file, &record, nullptr, 0, &actual);
  EXPECT_TRUE(rc == 0 && actual == 4) << "maximum 0 asks for the length";
  record = 0;
  qrtdioptvr(&rc, file, &record, buffer, -1);
  EXPECT_EQ(rc, VREC_NEGATIVE_SIZE);
  qrtdioatvf(&rc, file);
  EXPECT_EQ(rc, VREC_ATTACHED);
  qrtdiodtvf(&rc, file);
  EXPECT_EQ(rc, 0);
  qrtdioclvf(&rc, &file, "KEEP");
  EXPECT_EQ(rc, VREC_BAD_DISPOSITION);

  // 32-bit offsets: refused before anything is written
  qrtdiodscv(&rc, file, VREC_MAX_OFFSET, &record);
  EXPECT_EQ(rc, VREC_FILE_SIZE);
  qrtdiodscv(&rc, file, 2000000000, &record);
  EXPECT_EQ(rc, 0);
  qrtdiodscv(&rc, file, 200000000, &record);
  EXPECT_EQ(rc, VREC_FILE_SIZE);
  EXPECT_EQ(file->header.recordCount, 2);
  std::remove(scratch.path.c_str());
  qrtdioclvf(&rc, &file, "DELETE");
  EXPECT_EQ(rc, VREC_DELETE);
}

TEST(RecordFile, DamagedFilesAreRefusedNotBelieved) {
  Scratch scratch;
  VirtualFile *file = openFile(scratch.path, "NEW");
  for (int k = 0; k < 300; k++) append(file, std::string(size_t(k % 7), 'z'));
  closeFile(&file);
  const std::string sound = scratch.bytes();
  std::mt19937 random(7);
  const auto survives = [&](const std::string &bytes) {
    scratch.write(bytes);
    int rc = -1;
    qrtdioopvf(&rc, &file, scratch.path.c_str(), "OLD");
    if (rc != 0) return;
    char buffer[64];
    for (int k = 1; k <= 300; k += 13) {
      int record = k, actual = 0;
      qrtdiogtvr(&rc, file, &record, buffer, int(sizeof buffer), &actual);
      ASSERT_TRUE(rc != 0 || actual <= int(sizeof buffer));
      record = k;
      qrtdioptvr(&rc, file, &record, "q", 1);
    }
    virtualFile_check(file);
    int record = 0;
    qrtdioptvr(&rc, file, &record, "more", 4);
    qrtdioclvf(&rc, &file, "SAVE");
  };
  for (size_t length = 0; length < sound.size(); length += 97) survives(sound.substr(0, length));
  const int32_t values[] = {-1, 0, 1, 36, 255, 257, 296, 1 << 20, 0x7fffffff, int32_t(0x80000000)};
  for (size_t offset = 0; offset < 40; offset += 4)
    for (int32_t value : values) {
      std::string bytes = sound;
      std::memcpy(&bytes[offset], &value, 4);
      survives(bytes);
    }
  for (int k = 0; k < 500; k++) {
    std::string bytes = sound;
    const int32_t value = random() % 2 ? values[random() % 10] : int32_t(random());
    std::memcpy(&bytes[(random() % 3 == 0 ? random() % 1024 + 296 : random() % bytes.size()) & ~3u], &value, 4);
    survives(bytes);
  }
}

TEST(RecordFile, DirectoryAndDispositions) {
  Scratch scratch;
  EXPECT_EQ(qrts_VRFileOpen("test", "", "OLD"), nullptr);
  EXPECT_EQ(qrts_VRFileOpen("test", nullptr, "NEW"), nullptr);
  EXPECT_EQ(qrts_VRFileOpen("test", "x", "APPEND"), nullptr);
  RecordFile *file = qrts_VRFileOpen("test", nullptr, "TMP");
  const std::string temporary = file->name;
  EXPECT_EQ(access(temporary.c_str(), F_OK), 0);
  EXPECT_EQ(recordFile_count("test", file), 2);
  EXPECT_EQ(recordFile_length("test", file, 1), 128);
  qrts_VRFileFree("test", file);
  EXPECT_NE(access(temporary.c_str(), F_OK), 0) << "a temporary file goes at the close";

  // a process that ends without closing leaves none behind, unless it is a child of the one that opened it
  Scratch name;
  EXPECT_EXIT(
      {
        name.write(qrts_VRFileOpen("test", nullptr, "TMP")->name);
        std::exit(3);
      },
      testing::ExitedWithCode(3), "");
  EXPECT_NE(access(name.bytes().c_str(), F_OK), 0);
  file = qrts_VRFileOpen("test", nullptr, "TMP");
  EXPECT_EXIT(std::exit(4), testing::ExitedWithCode(4), "");
  EXPECT_EQ(access(file->name, F_OK), 0);
  qrts_VRFileFree("test", file);

  file = qrts_VRFileOpen("test", scratch.path.c_str(), "NEW");
  file->directory[2] = recordFile_append("test", file, "table", 5);
  recordFile_save("test", file);
  EXPECT_EQ(wordAt(scratch.bytes(), 3368 + 128 + 8), 3) << "the directory reaches the file at the save";
  qrts_VRFileFree("test", file);
  file = qrts_VRFileOpen("test", scratch.path.c_str(), "OLD");
  EXPECT_EQ(file->directory[2], 3);
  EXPECT_STREQ(file->disposition, "SAVE");
  qrts_VRFileFree("test", file);
  EXPECT_EQ(access(scratch.path.c_str(), F_OK), 0);
}

TEST(RecordFile, FailuresSpeakAndEnd) {
  Scratch scratch;
  EXPECT_EQ(qrts_VRCheckRt("test", "f", 0), 0);
  EXPECT_EQ(qrts_VRCheckRt("test", "f", 100), 0);
  EXPECT_EQ(qrts_VRCheckRt("test", "f", 1), 1);
  EXPECT_EQ(qrts_VRCheckRt("test", "f", 2), 2);
  scratch.write(std::string(4000, 'j'));
  // by default the severe message ends the process with 0; once it is let pass, the failed call ends it with 2
  EXPECT_EXIT(qrts_VRFileOpen("testcaller", scratch.path.c_str(), "OLD"), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(
      {
        QRTContext *context = qrt_initializeContext();
        qrt_mset(qrt_baseModel(context), 7401, 256, 0, 0, 7454, 0);
        qrt_makeThisCurrent(qrt_newModel(context, "m"));
        qrts_VRFileOpen("testcaller", scratch.path.c_str(), "OLD");
      },
      testing::ExitedWithCode(2), "");
  // every code has its row: the subroutine shows in all of them
  QRTContext *context = qrt_initializeContext();
  qrt_mset(qrt_baseModel(context), 7401, 256, 0, 0, 7454, 0);
  qrt_makeThisCurrent(qrt_newModel(context, "m"));
  testing::internal::CaptureStdout();
  for (int rc = 301; rc <= 320; rc++) EXPECT_EQ(qrts_VRCheckRt("thecaller", "thefile", rc), 2);
  flushLogs();
  std::fflush(stdout);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("Error detected while trying to open KVF file thefile in subroutine thecaller."), std::string::npos) << out;
  EXPECT_NE(out.find("Error detected in subroutine thecaller while reading from KVF file thefile."), std::string::npos);
  EXPECT_NE(out.find("Empty string specified for KVF filename in subroutine thecaller."), std::string::npos);
  EXPECT_NE(out.find("File-size discrepancy for KVF file thefile detected in subroutine thecaller."), std::string::npos);
  EXPECT_NE(out.find("Unknown error code for KVF file access used in subroutine thecaller."), std::string::npos);
  qrt_endContext(context);
}

TEST(RecordFile, CopyAndMoveByName) {
  Scratch a, b;
  const std::string odd = b.path + " with 'blanks' $x";
  a.write("content");
  EXPECT_EQ(qrts_copyFile("/tmp/no/such/file", b.path.c_str()), 2);
  EXPECT_EQ(qrts_copyFile(a.path.c_str(), "/tmp/no/such/file"), 1);
  EXPECT_EQ(qrts_copyFile(a.path.c_str(), a.path.c_str()), 1) << "a copy onto itself must not empty the file";
  EXPECT_EQ(a.bytes(), "content");
  EXPECT_EQ(recordFile_move(a.path.c_str(), odd.c_str()), 0);
  EXPECT_EQ(qrts_copyFile(odd.c_str(), a.path.c_str()), 0);
  EXPECT_EQ(a.bytes(), "content");
  std::remove(odd.c_str());
  EXPECT_NE(recordFile_move("/tmp/no/such/file", b.path.c_str()), 0);
}

// Fault: a file that cannot be renamed into its new place, because that lies on another file system, is lost, cut short
// or left behind.
TEST(RecordFile, MovesBetweenFileSystems) {
  Scratch here;
  struct stat mine, theirs;
  const std::string there = "/dev/shm/recordtest-" + std::to_string(getpid());
  if (stat("/tmp", &mine) != 0 || stat("/dev/shm", &theirs) != 0 || mine.st_dev == theirs.st_dev || access("/dev/shm", W_OK) != 0)
    GTEST_SKIP() << "one file system";
  std::string content;
  for (int k = 0; k < 40000; k++) content += "record " + std::to_string(k) + '\0';
  here.write(content);
  std::ofstream(there) << std::string(2 * content.size(), 'x');  // what stood there before is longer
  ASSERT_EQ(recordFile_move(here.path.c_str(), there.c_str()), 0);
  EXPECT_NE(access(here.path.c_str(), F_OK), 0) << "the source is gone";
  ASSERT_EQ(recordFile_move(there.c_str(), here.path.c_str()), 0);
  EXPECT_NE(access(there.c_str(), F_OK), 0);
  EXPECT_EQ(here.bytes(), content);
  // A place that takes no file leaves the source where it is.
  EXPECT_NE(recordFile_move(here.path.c_str(), "/dev/shm/no/such/folder"), 0);
  EXPECT_NE(recordFile_move(here.path.c_str(), "/dev/shm"), 0);
  EXPECT_EQ(here.bytes(), content);

  // A store moves with its file, is written on there and outlives its object.
  QRTContext *context = qrts_initializeContext();
  QRTStoch *stoch = qrts_newStoch(context, "moving", 3);
  const int stages[] = {1, 2}, one[] = {1, 2};
  const double costs[] = {1, 1}, lower[] = {0, 1}, elements[] = {1, 1};
  ASSERT_EQ(qrts_createCore(stoch, 2, stages, stages, 2, 2, 2, costs, lower, nullptr, nullptr, nullptr, one, one, elements), 0);
  const auto add = [&](int scenario, double need) {
    const double needs[] = {0, need};
    return qrts_addScenario(stoch, scenario, 0, 2, 0.5, 0, 2, 2, 0, nullptr, needs, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 1);
  };
  ASSERT_EQ(add(1, 3.0), 0);
  ASSERT_EQ(qrts_writeNativeData(stoch, there.c_str()), 0);
  ASSERT_EQ(add(2, 5.0), 0);
  ASSERT_EQ(qrts_writeNativeData(stoch, there.c_str()), 0);
  qrts_deleteStoch(stoch);
  QRTStoch *back = qrts_newStoch(context, "back", 3);
  ASSERT_EQ(qrts_readNativeData(back, there.c_str()), 0);
  EXPECT_EQ(qrts_getNumScenarios(back), 2);
  ASSERT_GE(qrts_describeFullModel(back, 1), 0);
  EXPECT_EQ(qrt_rowlower(qrtse_getCurrentModel(back))[1], 3.0);
  EXPECT_EQ(qrt_rowlower(qrtse_getCurrentModel(back))[2], 5.0);
  qrts_endContext(context);
  std::remove(there.c_str());
}
