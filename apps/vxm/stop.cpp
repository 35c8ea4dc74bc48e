// When to stop.
#include "stop.h"

#include <algorithm>

const char* TextOf(StopReason reason) {
  return reason == StopReason::timeLimit ? "timeout" : "aborted";
}

StopCheck::StopCheck(unsigned milliseconds)
    : limited_(milliseconds != 0), end_(Clock::now() + std::chrono::milliseconds(milliseconds)) {}

StopReason StopCheck::Reason() const {
  if (Interrupted()) return StopReason::interrupt;
  return limited_ && Clock::now() >= end_ ? StopReason::timeLimit : StopReason::none;
}

void StopCheck::Here() const {
  const StopReason reason = Reason();
  if (reason != StopReason::none) throw Stopped{reason};
}

unsigned StopCheck::MillisecondsLeft() const {
  if (!limited_) return 0;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now());
  return static_cast<unsigned>(std::max<decltype(left.count())>(left.count(), 1));
}
