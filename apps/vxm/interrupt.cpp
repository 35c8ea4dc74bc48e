// A thread looks at what the signal's handler noted, and makes the call.
#include "interrupt.h"

#include <chrono>

#include "stop.h"

AbortOnInterrupt::AbortOnInterrupt(MatcherHandle matcher)
    : watcher_([this, matcher] {
        while (!finished_) {
          // Again and again: each pass of a search starts without an abort.
          if (Interrupted()) VXM_AbortIdentify(matcher);
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
      }) {}

AbortOnInterrupt::~AbortOnInterrupt() {
  finished_ = true;
  watcher_.join();
}
