// Draws the bar anew whenever another percent is done, and wipes it at the end.
#include "progress.h"

#include <cstdio>

#include "terminal.h"

namespace {

constexpr size_t fewestShown = 200;
constexpr int barLength = 40;

}  // namespace

Progress::Progress(std::string label, size_t total)
    : label_(std::move(label)),
      total_(total),
      visible_(total >= fewestShown && ErrorsGoToTerminal()) {}

Progress::~Progress() {
  if (!visible_) return;
  const std::string blanks(label_.size() + barLength + 8, ' ');
  std::fprintf(stderr, "\r%s\r", blanks.c_str());
}

void Progress::Step() {
  ++done_;
  if (!visible_) return;
  const int percent = static_cast<int>(done_ * 100 / total_);
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  std::string bar(static_cast<size_t>(percent * barLength / 100), '#');
  bar.resize(barLength, '.');
  std::fprintf(stderr, "\r%s [%s] %3d%%", label_.c_str(), bar.c_str(), percent);
  std::fflush(stderr);
}
