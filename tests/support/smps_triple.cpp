// SMPS triples written by a test, and what the store holds after they have been read.
#include "support/smps_triple.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "frame/messages.h"

std::string contents(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream all;
  all << in.rdbuf();
  return all.str();
}

const char *const THREE_STAGE_CORE =
    "NAME          TRIAL\n"
    "ROWS\n N  COST\n L  C1\n G  C2\n G  C3\n E  E3\n N  FREE3\n"
    "COLUMNS\n"
    "    X         COST               1.0   C1                 1.0\n"
    "    X         C2                 1.0   C3                 1.0\n"
    "    U         COST               3.0   C2                 1.0\n"
    "    U         C3                 1.0\n"
    "    V         COST               5.0   C3                 1.0\n"
    "    V         E3                 1.0\n"
    "RHS\n"
    "    RHS       C1                 5.0   C2                 2.0\n"
    "    RHS       C3                 4.0   E3                 1.0\n"
    "RANGES\n"
    "    RNG       C1                 5.0\n"
    "BOUNDS\n"
    " UP BND       V                100.0\n"
    " MI BND       U\n"
    "ENDATA\n";
const char *const THREE_STAGE_TIME =
    "TIME          TRIAL\n"
    "PERIODS       LP\n"
    "    X         C1                       STAGE1\n"
    "    U         C2                       STAGE2\n"
    "    V         C3                       STAGE3\n"
    "ENDATA\n";

std::string card(const char *first, const char *second, const std::string &value, const char *third, const std::string &fourth) {
  char line[128];
  snprintf(line, sizeof line, "    %-8s  %-8s  %12s   %-8s  %12s\n", first, second, value.c_str(), third, fourth.c_str());
  return line;
}
std::string boundCard(const char *type, const char *set, const char *column, const std::string &value) {
  char line[128];
  snprintf(line, sizeof line, " %s %-8s  %-8s  %12s\n", type, set, column, value.c_str());
  return line;
}
std::string scenarioCard(const char *name, const char *parent, double probability, const char *period) {
  char line[128];
  snprintf(line, sizeof line, " SC %-8s  %-8s  %12g   %s\n", name, parent, probability, period);
  return line;
}
std::string blockCard(const char *name, const char *period, double probability) {
  char line[128];
  snprintf(line, sizeof line, " BL %-8s  %-8s  %12g\n", name, period, probability);
  return line;
}
std::string stochFile(const char *section, const std::string &body, const char *manner) {
  char head[128];
  snprintf(head, sizeof head, "* written by a test\nSTOCH         TRIAL\n%-12s  %-8s  %12s   %s\n", section, "DISCRETE", "", manner);
  return head + body + "ENDATA\n";
}

Triple::Triple() : core(THREE_STAGE_CORE), time(THREE_STAGE_TIME) {
  char name[] = "/tmp/tripleXXXXXX";
  folder = mkdtemp(name);
}

void Triple::release() {
  if (held) qrts_deleteStoch(held);
  if (context) qrts_endContext(context);
  if (logStream) fclose(logStream);
  held = nullptr;
  context = nullptr;
  logStream = nullptr;
}

Triple::~Triple() {
  release();
  const std::string command = "rm -rf " + folder;
  if (system(command.c_str()) != 0) perror("rm");
}

void Triple::write(const char *name, const std::string &text) const {
  FILE *file = fopen(path(name).c_str(), "wb");
  fwrite(text.data(), 1, text.size(), file);
  fclose(file);
}

int Triple::read(int maxScenarios) {
  release();
  context = qrts_initializeContext();
  return readIn(context, maxScenarios);
}

int Triple::takeWritten(const Triple &host, QRTStoch *object, int manner) {
  const std::string cor = host.path("written.cor"), tim = host.path("written.tim"), sto = host.path("written.sto");
  const int result = qrts_outMatrixSMPS(object, 1, manner, cor.c_str(), tim.c_str(), sto.c_str());
  core = contents(cor);
  time = contents(tim);
  stoch = contents(sto);
  return result;
}

int Triple::readInto(const Triple &host, int maxScenarios) {
  release();
  return readIn(host.context, maxScenarios);
}

int Triple::readIn(QRTContext *library, int maxScenarios) {
  write("t.cor", core);
  write("t.tim", time);
  write("t.sto", stoch);
  logStream = fopen(path("log").c_str(), "w+");
  if (context) {
    qrt_setLogfileFilePointer(qrt_baseModel(context), logStream);
    qrt_mset(qrt_baseModel(context), 7000, 256, 0, 0, 7999, 0);
  }
  held = qrts_newStoch(library, "triple", maxScenarios);
  qrt_setLogfileFilePointer(qrtse_getBaseModel(held), logStream);
  qrt_mset(qrtse_getBaseModel(held), 7401, 256, 0, 0, 7454, 0);
  if (lenient) qrts_setLenientOn(held);
  if (inherit) qrts_setInheritOn(held);
  const int result = qrts_readSMPSData(held, path("t.cor").c_str(), path("t.tim").c_str(), path("t.sto").c_str());
  flushLogs();
  log.clear();
  rewind(logStream);
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, logStream)) > 0;) log.append(buffer, n);
  fseek(logStream, 0, SEEK_END);
  return result;
}

int Triple::told(int number) const {
  char head[16];
  snprintf(head, sizeof head, " QRT%04d", number);
  int count = 0;
  for (size_t at = log.find(head); at != std::string::npos; at = log.find(head, at + 1)) ++count;
  return count;
}

int nodeOfScenario(const StochData *data, int scenario, int stage) {
  while (scenario > 0) {
    const ScenarioRecord &record = data->scenarios->table[scenario - 1];
    if (stage >= record.branchStage) return record.firstNode + stage - record.branchStage;
    scenario = record.ancestor;
  }
  return 1;
}

double storedValue(QRTStoch *stoch, int scenario, int row, int column) {
  const CoreData *core = stoch->sdata->core;
  if (qrts_unpackCore(stoch->sdata) != 0) return -999;
  const bool extendedRow = row > core->nRows, extendedColumn = column > core->nCols;
  const int stage = extendedRow ? core->colStage[column - 1] : core->rowStage[row - 1];
  NodeView *view = nullptr;
  if (qrts_Cndat(stoch, nodeOfScenario(stoch->sdata, scenario, stage), &view) != 0) return -999;
  const int p = extendedRow ? 0 : rowInputToSorted(core, row), q = extendedColumn ? 0 : colInputToSorted(core, column);
  double value = 0;
  auto take = [&](const double *dense, const double *differences, int sorted, int local) {
    value = dense[sorted - 1] + (differences ? differences[local - 1] : 0.0);
  };
  const int rowLocal = extendedRow ? 0 : p - core->rowStageStart[stage - 1] + 1;
  const int colStage = extendedColumn ? stage : core->colStage[column - 1];
  const int colLocal = extendedColumn ? 0 : q - core->colStageStart[colStage - 1] + 1;
  if (row == core->nRows + EXT_COL_LOWER) take(core->colLower, view->colLower, q, colLocal);
  else if (row == core->nRows + EXT_COL_UPPER) take(core->colUpper, view->colUpper, q, colLocal);
  else if (row == core->nRows + EXT_OBJECTIVE) take(core->objective, view->objective, q, colLocal);
  else if (column == core->nCols + EXT_ROW_LOWER) take(core->rowLower, view->rowLower, p, rowLocal);
  else if (column == core->nCols + EXT_ROW_UPPER) take(core->rowUpper, view->rowUpper, p, rowLocal);
  else {
    const int block = blockNumber(stage, colStage);
    for (int k = core->blockStart[block - 1]; k < core->blockStart[block]; ++k)
      if (core->mrow[k - 1] == rowLocal && core->mcol[k - 1] == colLocal) value += core->dels[k - 1];
    if (view->blockStart)
      for (int k = view->blockStart[colStage - 1]; k < view->blockStart[colStage]; ++k)
        if (view->rows[k - 1] == rowLocal && view->cols[k - 1] == colLocal) value += view->values[k - 1];
  }
  free(view);
  return value;
}
