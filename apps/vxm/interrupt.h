// Ctrl-C while the library searches.
#pragma once

#include <atomic>
#include <thread>

#include "vxmkit.h"

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
