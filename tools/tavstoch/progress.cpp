// A thread that wakes now and then and says on stderr how far the running phase is.
#include "progress.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cstdio>

using Clock = std::chrono::steady_clock;

static double secondsSince(Clock::time_point begin) { return std::chrono::duration<double>(Clock::now() - begin).count(); }

Progress::Progress(bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO) != 0), begin_(Clock::now()) {
  if (!quiet_) thread_ = std::thread([this] { watch(); });
}

Progress::~Progress() {
  done();
  {
    std::lock_guard<std::mutex> hold(mutex_);
    stop_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void Progress::phase(const std::string &name) {
  done();
  std::lock_guard<std::mutex> hold(mutex_);
  name_ = name;
  begin_ = Clock::now();
  active_ = true;
  wake_.notify_all();
}

double Progress::done() {
  std::lock_guard<std::mutex> hold(mutex_);
  const double seconds = active_ ? secondsSince(begin_) : 0.0;
  if (shown_ && terminal_) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
  active_ = shown_ = false;
  return seconds;
}

void Progress::show(double seconds) {
  std::string line = fmt::format("{} {:.0f} s", name_, seconds);
  if (iteration.running) {
    line += fmt::format(", {} iterations, objective {:.8g}", iteration.iterations.load(), iteration.objective.load());
    if (iteration.infeasibilities > 0) line += fmt::format(", {} infeasible", iteration.infeasibilities.load());
  }
  if (terminal_) fmt::print(stderr, "\r\033[K{}", line);
  else fmt::print(stderr, "{}\n", line);
  std::fflush(stderr);
  shown_ = true;
}

void Progress::watch() {
  std::unique_lock<std::mutex> hold(mutex_);
  double next = 1.0;  // nothing is said in the first second
  while (!stop_) {
    if (!active_) {
      wake_.wait(hold);
      next = 1.0;
      continue;
    }
    const auto begin = begin_;
    wake_.wait_until(hold, begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(next)));
    if (begin != begin_) next = 1.0;
    if (!active_ || stop_ || secondsSince(begin_) < next) continue;
    show(secondsSince(begin_));
    // A terminal line may rewrite itself often; a file wants fewer lines the longer it takes.
    next = terminal_ ? secondsSince(begin_) + 0.5 : next * 2;
  }
}
