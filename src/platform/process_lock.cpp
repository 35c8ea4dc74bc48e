// The process lock and the count of matchers that need it. A guard of its own
// orders creations and deletions; those who take the lock hold a matcher, so
// for them it is sure to exist and does not change.
#include "platform/process_lock.h"

#include <mutex>

#include "platform/platform.h"

namespace vxm {
namespace {

std::mutex liveGuard;
int liveMatchers = 0;
platform::Mutex* processMutex = nullptr;

}  // namespace

bool RetainProcessMutex() {
  const std::lock_guard<std::mutex> guard(liveGuard);
  if (processMutex == nullptr) processMutex = platform::MakeMutex();
  if (processMutex == nullptr) return false;
  liveMatchers += 1;
  return true;
}

void ReleaseProcessMutex() {
  const std::lock_guard<std::mutex> guard(liveGuard);
  liveMatchers -= 1;
  if (liveMatchers != 0) return;
  platform::DestroyMutex(processMutex);
  processMutex = nullptr;
}

ProcessLock::ProcessLock() { platform::Lock(processMutex); }

ProcessLock::~ProcessLock() { platform::Unlock(processMutex); }

}  // namespace vxm
