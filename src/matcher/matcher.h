// The state behind a MatcherHandle: settings, working memory and events. It is
// one block, so that a matcher is made whole or not at all, and no call
// allocates for a comparison; and it leaves no template behind.
#pragma once

#include <memory>
#include <type_traits>

#include "matcher/working_set.h"
#include "platform/platform.h"
#include "templates/standard_record.h"
#include "vxmkit.h"

namespace vxm {

struct EventDeleter {
  void operator()(platform::Event* event) const { platform::DestroyEvent(event); }
};
using EventOwner = std::unique_ptr<platform::Event, EventDeleter>;

}  // namespace vxm

struct Matcher {
  Matcher() = default;
  Matcher(const Matcher&) = delete;
  Matcher& operator=(const Matcher&) = delete;
  ~Matcher() {
    vxm::platform::Wipe(&caller, sizeof(caller));
    vxm::platform::Wipe(&worker, sizeof(worker));
    vxm::platform::Wipe(&spareWorkspace, sizeof(spareWorkspace));
  }

  int templateType = TEMPLATE_NATIVE;
  int securityLevel = 4;  // 1..7
  bool fastMode = true;
  bool retryTurnedProbe = false;

  vxm::EventOwner abortEvent;        // set by VXM_AbortIdentify, reset by each pass
  vxm::EventOwner workerStartEvent;  // releases the worker of a two-thread pass

  vxm::WorkingSet caller = {};              // of the calling thread, in every call
  vxm::WorkingSet worker = {};              // of the worker thread alone
  vxm::MatchWorkspace spareWorkspace = {};  // the probe turned by 180 degrees
};
// Nothing of what was wiped is used again.
static_assert(std::is_trivially_destructible_v<vxm::WorkingSet>);

namespace vxm {

// The one format that the matcher takes; a type that is none of the three
// works as native.
inline TemplateFormat ExpectedFormat(const Matcher& matcher) {
  switch (matcher.templateType) {
    case TEMPLATE_ISO19794_2: return TemplateFormat::iso;
    case TEMPLATE_ANSI378: return TemplateFormat::ansi;
    default: return TemplateFormat::native;
  }
}

}  // namespace vxm
