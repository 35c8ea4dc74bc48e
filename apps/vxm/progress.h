// A progress bar on standard error with the rate and the time left, for many steps and
// only on a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

class Progress {
 public:
  Progress(const std::string& label, size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Step(size_t steps = 1);

 private:
  using Clock = std::chrono::steady_clock;

  std::string label_;
  size_t total_;
  size_t done_ = 0;
  size_t shownLength_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point nextShown_ = start_;
  bool visible_;
};
