// A progress bar on standard error, for many files and only on a terminal.
#pragma once

#include <cstddef>
#include <string>

class Progress {
 public:
  Progress(std::string label, size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Step();

 private:
  std::string label_;
  size_t total_;
  size_t done_ = 0;
  int shownPercent_ = -1;
  bool visible_;
};
