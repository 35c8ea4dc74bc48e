// Ctrl-C during a long search: the first one stops the search in an orderly
// way, a second one ends the program as usual.
#pragma once

#include <atomic>
#include <thread>

#include "vxmkit.h"

// From now on Ctrl-C is noted instead of ending the program.
void CatchInterrupt();

bool Interrupted();

// While it lives, a noted Ctrl-C aborts the identification on the matcher.
class AbortOnInterrupt {
 public:
  explicit AbortOnInterrupt(MatcherHandle matcher);
  ~AbortOnInterrupt();
  AbortOnInterrupt(const AbortOnInterrupt&) = delete;
  AbortOnInterrupt& operator=(const AbortOnInterrupt&) = delete;

 private:
  std::atomic<bool> finished_{false};
  std::thread watcher_;
};
