// Progress of anything that takes over a second: a line that rewrites itself on a terminal, plain lines elsewhere.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

// What the solver's iterations report. Written by the call-back, read by the progress thread.
struct IterationState {
  std::atomic<int> iterations{0};
  std::atomic<int> infeasibilities{0};
  std::atomic<double> objective{0.0};
  std::atomic<bool> running{false};
};

// Runs a thread of its own that touches the library in no way, since the library serves one thread only.
class Progress {
public:
  explicit Progress(bool quiet);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Begins a phase such as "reading"; the one before it ends.
  void phase(const std::string &name);
  // Ends the phase and clears the line. @return its seconds.
  double done();

  IterationState iteration;

private:
  void watch();
  void show(double seconds);

  bool quiet_, terminal_;
  bool stop_ = false, active_ = false, shown_ = false;
  std::string name_;
  std::chrono::steady_clock::time_point begin_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};
