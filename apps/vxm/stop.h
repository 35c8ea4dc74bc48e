// What ends a long step early: Ctrl-C, which is noted and ends the program in an
// orderly way (a second one at once), and the time limit.
#pragma once

#include <chrono>

// From now on Ctrl-C, and on POSIX systems the signal to terminate, are noted instead
// of ending the program. Reading and writing that waits ends with a fault then.
void CatchInterrupt();

bool Interrupted();

enum class StopReason { none, interrupt, timeLimit };

// "aborted" or "timeout".
const char* TextOf(StopReason reason);

// Thrown by steps that do not end as a whole.
struct Stopped {
  StopReason reason;
};

// Handed to every step that may take long. The time limit counts from its making.
class StopCheck {
 public:
  // No limit for 0.
  explicit StopCheck(unsigned milliseconds = 0);

  StopReason Reason() const;

  // Throws Stopped if there is a reason.
  void Here() const;

  // Until the limit, at least 1; 0 for no limit.
  unsigned MillisecondsLeft() const;

 private:
  using Clock = std::chrono::steady_clock;
  bool limited_;
  Clock::time_point end_;
};
