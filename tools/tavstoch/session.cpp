// The command's hold on the library.
#include "session.h"

#include <fmt/core.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "failure.h"

namespace {

Session *session = nullptr;  // the one session, for handlers that receive no argument of ours
volatile std::sig_atomic_t interrupted = 0;

void interrupt(int) {
  if (interrupted) _exit(EXIT_STOPPED);  // asked twice: do not wait for the next iteration
  interrupted = 1;
}

// Reached by exit() while a session lives: only the library calls it then.
void libraryGaveUp() {
  if (!session) return;
  session->progress.done();
  const std::string complaint = session->complaint();
  fmt::print(stderr, "tavstoch: {}\n", complaint.empty() ? "the library gave up without a word" : complaint);
  std::fflush(stderr);
  _exit(session->reading() ? EXIT_BAD_INPUT : EXIT_INTERNAL);
}

int eachIteration(QRTModel *model, int status, int) {
  IterationState &state = session->progress.iteration;
  state.iterations = qrt_getIiternum(model);
  state.objective = qrt_getRobjvalue(model);
  state.infeasibilities = qrt_getInumpinf(model);
  state.running = true;
  return interrupted ? 3 : status;  // 3 stops the solve
}

constexpr int scenarioAdded = 404, earlierStageElements = 3404, nodeSize = 464;  // one line a scenario or a node

}  // namespace

Session::Session(const Options &options) : progress(options.quiet), log_(options.logFile) {
  static bool registered = false;
  if (!registered) std::atexit(libraryGaveUp);
  registered = true;
  session = this;
  std::signal(SIGINT, interrupt);
  context_ = qrts_initializeContext();
  if (!context_) throw InternalFailure("no library context");
  QRTModel *base = qrt_baseModel(context_);
  raiseLimits(base);
  qrt_setIlinelen(base, 150);
  if (options.logFile.empty())  // nobody will read a million lines
    for (int number : {scenarioAdded, earlierStageElements, nodeSize}) qrt_mset(base, number, 0, -1, 0, 0, 0);
}

bool Session::stopAsked() { return interrupted != 0; }

Session::~Session() {
  qrts_endContext(context_);
  std::signal(SIGINT, SIG_DFL);
  session = nullptr;
}

void Session::raiseLimits(QRTModel *model) const {
  constexpr int unlimited = 256, firstSevere = 7000, lastSevere = 7999;
  constexpr int unboundedByDuals = 9016;
  qrt_mset(model, firstSevere, unlimited, 0, 0, lastSevere, 0);
  qrt_mset(model, unboundedByDuals, unlimited, 0, 0, 0, 0);
}

void Session::watch(QRTModel *model) {
  qrt_setIiterufreq(model, 100);
  qrt_registerItruCallBack(model, eachIteration);
}

void Session::takeMessages() {
  for (Message &message : log_.collect()) messages_.push_back(std::move(message));
}

std::string Session::complaint() {
  takeMessages();
  constexpr int stoppedProcessing = 7053, previousErrors = 7001;  // say nothing about the cause
  std::string worst;
  char severity = 'I';
  for (const Message &m : messages_) {
    if (m.number == stoppedProcessing || (m.number == previousErrors && severity == 'S')) continue;
    const bool heavier = m.severity == 'S' || (m.severity == 'E' && severity != 'S');
    if (!heavier) continue;
    if (m.severity == severity) continue;  // the first of its kind is nearest to the cause
    severity = m.severity;
    worst = fmt::format("{} (message {}{})", m.text, m.number, m.severity);
  }
  return worst;
}

std::vector<std::string> Session::strayings() {
  takeMessages();
  constexpr int userMessageOne = 501;
  std::vector<std::string> texts;
  for (const Message &m : messages_)
    if (m.number == userMessageOne) texts.push_back(m.text);
  return texts;
}
