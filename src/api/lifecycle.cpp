// Making and deleting matchers.
#include <new>

#include "matcher/matcher.h"
#include "platform/process_lock.h"

// Servers hold many.
constexpr size_t matcherBytes = sizeof(Matcher);
static_assert(matcherBytes <= 2500000);

int VXM_CALL VXM_Create(MatcherHandle* handle) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  *handle = nullptr;
  std::unique_ptr<Matcher> matcher(new (std::nothrow) Matcher);
  if (matcher == nullptr) return VXM_ERROR;
  matcher->abortEvent.reset(vxm::platform::MakeEvent(true));
  matcher->workerStartEvent.reset(vxm::platform::MakeEvent(false));
  if (matcher->abortEvent == nullptr || matcher->workerStartEvent == nullptr) return VXM_ERROR;
  if (!vxm::RetainProcessMutex()) return VXM_ERROR;
  *handle = matcher.release();
  return VXM_OK;
}

int VXM_CALL VXM_CreateEx(MatcherHandle* handle, const char* /*extra*/) {
  return VXM_Create(handle);
}

int VXM_CALL VXM_Delete(MatcherHandle handle) {
  if (handle == nullptr) return VXM_ERR_INVALID_PARAMETERS;
  delete handle;
  vxm::ReleaseProcessMutex();
  return VXM_OK;
}
