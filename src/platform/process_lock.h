// The one lock of the process: verification and identification run one at a
// time across all matchers. It exists from the first live matcher to the last.
#pragma once

namespace vxm {

// Counts a new matcher in, making the lock with the first one; false when the
// lock cannot be made. Safe from several threads at once.
bool RetainProcessMutex();

// Counts a matcher out, removing the lock with the last one.
void ReleaseProcessMutex();

// Holds the lock for a scope. Needs a live matcher.
class ProcessLock {
 public:
  ProcessLock();
  ~ProcessLock();
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;
};

}  // namespace vxm
