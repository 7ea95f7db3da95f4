// Faults of the machine: a disk that fills up at any byte, folders that take no file, files cut at any byte, files of
// another machine. Whatever is written, the file that stood there stays until the new one is whole; whatever is read, a
// fault is told and nothing of it is believed.
//
// A full disk is played by the limit on the size of a file, in a child of its own.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "frame/messages.h"
#include "stoch/scn_smps_writer.h"
#include "support/smps_triple.h"

namespace {

void put(const std::string &path, const std::string &bytes) { std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size())); }

// What calls on a model put on its log.
class Told {
 public:
  explicit Told(QRTModel *q) : model(q), stream(tmpfile()) {
    flushLogs();
    qrt_setLogfileFilePointer(model, stream);
  }
  ~Told() {
    qrt_setLogfileFilePointer(model, stdout);
    fclose(stream);
  }
  std::string text() {
    flushLogs();
    rewind(stream);
    std::string all;
    char line[512];
    while (fgets(line, sizeof line, stream)) all += line;
    return all;
  }
  // A line of severity E or S.
  bool fault() {
    std::istringstream lines(text());
    bool found = false;
    for (std::string line; std::getline(lines, line);)
      found = found || (line.rfind(" QRT", 0) == 0 && line.size() > 8 && (line[8] == 'E' || line[8] == 'S'));
    return found;
  }

 private:
  QRTModel *model;
  FILE *stream;
};

class Faults : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/faultsXXXXXX";
    folder = mkdtemp(name);
    triple.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 0.5, "STAGE1") + card("RHS", "C2", "2.5") + card("X", "C3", "1.25") +
                                              boundCard("UP", "BND", "V", "60") + scenarioCard("TWO", "ONE", 0.5, "STAGE3") +
                                              card("V", "COST", "7.125"));
    ASSERT_EQ(triple.read(100), 1) << triple.log;
    model = qrt_newModel(triple.library(), "");
    qrt_mset(model, 7000, 256, 0, 0, 7999, 0);
    { Told told(model); ASSERT_EQ(0, qrt_importModel(model, triple.path("t.cor").c_str())) << told.text(); }
    ASSERT_EQ(0, qrt_primalSimplex(model, 1));
  }
  void TearDown() override {
    const std::string command = "rm -rf " + folder;
    EXPECT_EQ(0, system(command.c_str()));
  }

  std::string file(const std::string &name) const { return folder + "/" + name; }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    DIR *open = opendir(folder.c_str());
    for (const dirent *entry; (entry = readdir(open));)
      if (entry->d_name[0] != '.') all.push_back(entry->d_name);
    closedir(open);
    return all;
  }

  // Each writer by name: writes `targets` in the folder; 0 for a success.
  struct WriterCase {
    std::vector<std::string> targets;
    std::function<int(const std::vector<std::string> &)> write;
  };
  std::map<std::string, WriterCase> writers() {
    using Paths = std::vector<std::string>;
    QRTModel *q = model;
    QRTStoch *stoch = triple.object();
    return {{"mps", {{"m.mps"}, [q](const Paths &p) { return qrt_exportModel(q, p[0].c_str(), 1, 2); }}},
            {"binary mps", {{"b.mps"}, [q](const Paths &p) { return qrt_exportModel(q, p[0].c_str(), 2, 1); }}},
            {"basis", {{"m.bas"}, [q](const Paths &p) { return qrt_exportBasis(q, p[0].c_str(), 1, 2); }}},
            {"save", {{"m.sav"}, [q](const Paths &p) { return qrt_saveModel(q, p[0].c_str()); }}},
            {"smps", {{"o.cor", "o.tim", "o.sto"}, [stoch](const Paths &p) {
                        return qrts_outMatrixSMPS(stoch, 1, 0, p[0].c_str(), p[1].c_str(), p[2].c_str());
                      }}},
            {"native, shared", {{"s.nat"}, [stoch](const Paths &p) {
                                  stoch->ownsData = 0;
                                  const int code = qrts_writeNativeData(stoch, p[0].c_str());
                                  stoch->ownsData = 1;
                                  return code;
                                }}},
            {"native, copied", {{"c.nat"}, [source = triple.path("t.cor")](const Paths &p) {
                                  return qrts_copyFile(source.c_str(), p[0].c_str());
                                }}}};
  }

  // Runs the writer in a child that can write no file beyond `limit` bytes: 0 for a success.
  int inChild(const std::function<int()> &write, rlim_t limit) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      const rlimit bytes = {limit, limit};
      signal(SIGXFSZ, SIG_IGN);
      if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr) || setrlimit(RLIMIT_FSIZE, &bytes) != 0) _exit(98);
      const int code = write();
      _exit(code == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  Triple triple;
  QRTModel *model = nullptr;
  std::string folder;
};

TEST_F(Faults, DiskFullAtAnyByteLeavesTheOldFile) {
  for (const auto &entry : writers()) {
    const std::string &name = entry.first;
    const WriterCase &writer = entry.second;
    SCOPED_TRACE(name);
    std::vector<std::string> paths, whole;
    for (const std::string &target : writer.targets) paths.push_back(file(target));
    ASSERT_EQ(0, writer.write(paths));
    size_t largest = 0;
    for (const std::string &path : paths) {
      whole.push_back(contents(path));
      largest = std::max(largest, whole.back().size());
    }
    ASSERT_GT(largest, 50u);
    // Every byte of a small file, about 150 places of a larger one.
    for (size_t limit = 0; limit < largest; limit += 1 + largest / 150) {
      for (const std::string &path : paths) put(path, "precious");
      EXPECT_NE(0, inChild([&] { return writer.write(paths); }, limit)) << limit << " of " << largest;
      for (const std::string &path : paths) ASSERT_EQ("precious", contents(path)) << limit;
      ASSERT_EQ(paths.size(), names().size()) << "left behind at " << limit;
    }
    for (const std::string &path : paths) put(path, "precious");
    EXPECT_EQ(0, inChild([&] { return writer.write(paths); }, 4 * largest + 100000));
    for (size_t k = 0; k < paths.size(); k++) {
      EXPECT_EQ(whole[k], contents(paths[k]));
      remove(paths[k].c_str());
    }
  }
}

TEST_F(Faults, FoldersThatTakeNoFileAreTold) {
  mkdir(file("locked").c_str(), 0500);
  std::vector<std::string> places = {"/proc", file("absent")};
  if (geteuid() != 0) places.push_back(file("locked"));  // root may write anywhere
  for (const auto &entry : writers()) {
    const std::string &name = entry.first;
    const WriterCase &writer = entry.second;
    if (name == "native, copied") continue;
    for (const std::string &place : places) {
      SCOPED_TRACE(name + " in " + place);
      std::vector<std::string> paths;
      for (const std::string &target : writer.targets) paths.push_back(place + "/" + target);
      EXPECT_NE(0, inChild([&] { return writer.write(paths); }, RLIM_INFINITY));
    }
  }
  EXPECT_EQ(1u, names().size());
}

TEST_F(Faults, FilesCutAtAnyByteAreToldAndChangeNothing) {
  const auto paths = [this](const char *name) { return std::vector<std::string>{file(name)}; };
  auto all = writers();
  struct Reader {
    const char *writer;
    std::function<int(QRTModel *, const char *)> read;
    size_t closing;  // bytes at the end that nobody misses: ENDA will do, in a basis any section word
  };
  const Reader readers[] = {{"mps", [](QRTModel *q, const char *f) { return qrt_importModel(q, f); }, 3},
                            {"binary mps", [](QRTModel *q, const char *f) { return qrt_importModel(q, f); }, 3},
                            {"save", [](QRTModel *q, const char *f) { return qrt_restoreModel(q, f); }, 0},
                            {"basis", [](QRTModel *q, const char *f) { return qrt_importBasis(q, f); }, 6}};
  for (const Reader &r : readers) {
    ASSERT_EQ(0, all[r.writer].write(paths("whole")));
    const std::string bytes = contents(file("whole"));
    const bool basis = !strcmp(r.writer, "basis");
    for (size_t length = 0; length + r.closing < bytes.size(); length += 1 + bytes.size() / 1500) {
      SCOPED_TRACE(std::string(r.writer) + " cut at " + std::to_string(length));
      put(file("cut"), bytes.substr(0, length));
      QRTModel *fresh = qrt_newModel(triple.library(), "");
      qrt_mset(fresh, 7000, 256, 0, 0, 7999, 0);
      if (basis) { ASSERT_EQ(0, qrt_importModel(fresh, triple.path("t.cor").c_str())); }
      {
        Told told(fresh);
        EXPECT_NE(0, r.read(fresh, file("cut").c_str()));
        EXPECT_TRUE(told.fault());
      }
      if (!basis) { ASSERT_EQ(0, qrt_getInumcols(fresh)); }
      qrt_deleteModel(fresh);
    }
  }
}

TEST_F(Faults, TriplesCutAtAnyByteAreTold) {
  const std::string sound[] = {triple.core, triple.time, triple.stoch};
  for (int part = 0; part < 3; part++)
    for (size_t length = 0; length + 3 < sound[part].size(); length++) {
      SCOPED_TRACE("file " + std::to_string(part) + " cut at " + std::to_string(length));
      Triple cut;
      std::string *const texts[] = {&cut.core, &cut.time, &cut.stoch};
      for (int k = 0; k < 3; k++) *texts[k] = k == part ? sound[k].substr(0, length) : sound[k];
      // Time and stoch file may lack their end, which is told by a warning; what stands before it counts.
      const int kind = cut.readInto(triple, 100);
      if (kind == 1 && part > 0 && cut.told(3410) == 1) {
        ASSERT_EQ(3, qrts_getNumStages(cut.object()));
        continue;
      }
      ASSERT_EQ(-1, kind) << cut.log;
      EXPECT_TRUE(cut.log.find("E ") != std::string::npos || cut.log.find("S ") != std::string::npos) << cut.log;
    }
}

// A save file of a machine with the other byte order, and one of records of other sizes.
TEST_F(Faults, SaveFilesOfAnotherMachineAreRefused) {
  ASSERT_EQ(0, qrt_saveModel(model, file("here").c_str()));
  const std::string here = contents(file("here"));
  std::string swapped = here, wider = here;
  for (size_t at = 4; at + 4 <= swapped.size(); at += 4) std::reverse(swapped.begin() + std::ptrdiff_t(at), swapped.begin() + std::ptrdiff_t(at + 4));
  int32_t bytes;
  memcpy(&bytes, &wider[8 + 4 * 10], 4);  // of the first record
  bytes += 8;
  memcpy(&wider[8 + 4 * 10], &bytes, 4);
  for (const std::string &strange : {swapped, wider}) {
    put(file("strange"), strange);
    for (QRTModel *into : {model, qrt_newModel(triple.library(), "")}) {
      qrt_mset(into, 7000, 256, 0, 0, 7999, 0);
      const int columns = qrt_getInumcols(into);
      const double value = qrt_getRobjvalue(into);
      Told told(into);
      EXPECT_NE(0, qrt_restoreModel(into, file("strange").c_str()));
      EXPECT_TRUE(told.fault());
      EXPECT_EQ(columns, qrt_getInumcols(into));
      EXPECT_EQ(value, qrt_getRobjvalue(into));
    }
  }
}

}  // namespace
