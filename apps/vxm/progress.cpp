// Draws the bar anew some times a second, and wipes it at the end.
#include "progress.h"

#include <algorithm>
#include <cstdio>

#include "program.h"
#include "terminal.h"

namespace {

constexpr size_t fewestShown = 200;
constexpr size_t barLength = 30;
constexpr std::chrono::milliseconds pause(100);

}  // namespace

Progress::Progress(const std::string& label, size_t total)
    : label_(Printable(label)),
      total_(total),
      visible_(total >= fewestShown && ErrorsGoToTerminal()) {}

Progress::~Progress() {
  if (shownLength_ == 0) return;
  std::fprintf(stderr, "\r%s\r", std::string(shownLength_, ' ').c_str());
}

void Progress::Step(size_t steps) {
  done_ += steps;
  if (!visible_) return;
  const Clock::time_point now = Clock::now();
  if (now < nextShown_) return;
  nextShown_ = now + pause;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(done_) / seconds : 0;
  std::string bar(std::min(done_ * barLength / total_, barLength), '#');
  bar.resize(barLength, '.');
  char numbers[80];
  std::snprintf(numbers, sizeof(numbers), " %3zu%%, %.0f/s, %.0f s left", done_ * 100 / total_,
                rate, rate > 0 ? static_cast<double>(total_ - std::min(done_, total_)) / rate : 0);
  std::string line = label_ + " [" + bar + "]" + numbers;
  const size_t length = line.size();
  line.resize(std::max(length, shownLength_), ' ');
  shownLength_ = length;
  std::fprintf(stderr, "\r%s", line.c_str());
  std::fflush(stderr);
}
