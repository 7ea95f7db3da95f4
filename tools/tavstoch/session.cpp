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

// Two severe messages only say that there was another one, if not always a severe one.
static int weight(const Message &message) {
  constexpr int stoppedProcessing = 7053, previousErrors = 7001;
  if (message.severity == 'S') return message.number == stoppedProcessing || message.number == previousErrors ? 1 : 3;
  return message.severity == 'E' ? 2 : 0;
}

// Of several of one weight the first is nearest to the cause.
const Message *Session::worst() const {
  const Message *worst = nullptr;
  for (const Message &m : messages_)
    if (weight(m) > (worst ? weight(*worst) : 0)) worst = &m;
  return worst;
}

static std::string inWords(const Message &m) { return fmt::format("{} (message {}{})", m.text, m.number, m.severity); }

std::string Session::complaint() {
  takeMessages();
  const Message *message = worst();
  if (!message) return "";
  const Message *before = message == messages_.data() ? nullptr : message - 1;
  return inWords(*message) + (before && before->severity == 'W' ? "; before it: " + inWords(*before) : "");
}

void Session::filesAreRead() {
  reading_ = false;
  takeMessages();
  constexpr int firstOfStochasticLayer = 3400;  // its warnings are about things that are meant so
  constexpr int shown = 10;
  int warnings = 0;
  for (const Message &m : messages_)
    if (m.severity == 'W' && m.number < firstOfStochasticLayer && ++warnings <= shown) fmt::print(stderr, "tavstoch: {}\n", inWords(m));
  if (warnings > shown) fmt::print(stderr, "tavstoch: and {} more such warnings; --log FILE keeps them all\n", warnings - shown);
  if (worst()) throw BadInput(complaint());
}

void Session::noEquivalent() {
  const std::string text = complaint();
  constexpr int firstOfData = 7401, lastOfData = 7454;
  const Message *message = worst();
  if (message && message->number >= firstOfData && message->number <= lastOfData) throw BadInput(text);
  throw InternalFailure(text.empty() ? "no equivalent could be generated" : text);
}

void Session::finish() {
  progress.done();
  const std::string fault = log_.finish();
  if (!fault.empty()) throw BadInput(fault);
}

std::vector<std::string> Session::strayings() {
  takeMessages();
  constexpr int userMessageOne = 501;
  std::vector<std::string> texts;
  for (const Message &m : messages_)
    if (m.number == userMessageOne) texts.push_back(m.text);
  return texts;
}
