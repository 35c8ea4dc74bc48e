// The pass of one-to-many search, on one thread or two.
//
// In: a probe and candidates. Out: the index of a match, or the status that
// ended the pass. The candidates are put in order once; then the calling thread
// takes every position, or with a worker beside it the even ones while the
// worker takes the odd ones. Both run the same candidate step, each on a working
// set of its own, so the comparisons need no lock. The threads share a stop flag
// and the worker's index, which is written before the flag.
#include "identify/search.h"

#include <atomic>

#include "identify/candidate_step.h"
#include "platform/process_lock.h"
#include "templates/load.h"
#include "templates/turn.h"

namespace vxm {
namespace {

struct Pass {
  Matcher& matcher;
  uint32_t timeout;
  int threads;
  uint32_t startTime = 0;
  CandidateList candidates = {};
  std::atomic<bool> workerStop{false};
  std::atomic<int> workerMatchIndex{-1};
};

// How the calling thread's part of a pass ended.
struct Ending {
  int status;
  int matchIndex;
  bool exhausted;  // all its positions were compared without a match
};

Ending SearchOnCaller(Pass& pass) {
  Matcher& matcher = pass.matcher;
  for (int position = 0; position < pass.candidates.count; position += pass.threads) {
    ExpectCandidates(pass.candidates, position, pass.threads);
    const CandidateEntry& entry = pass.candidates.entries[static_cast<size_t>(position)];
    if (entry.templateData == nullptr) continue;
    switch (CompareCandidate(matcher, matcher.caller, entry)) {
      case StepOutcome::match: return {VXM_OK, entry.index, false};
      case StepOutcome::wrongFormat: return {VXM_ERR_TEMPLATE_TYPE, -1, false};
      case StepOutcome::nothingLeft:
        if (pass.threads == 1) continue;
        break;
      case StepOutcome::noMatch:
      case StepOutcome::passedOver: break;
    }
    if (pass.timeout != 0 && platform::Milliseconds() - pass.startTime > pass.timeout) {
      return {VXM_ERR_MATCH_TIMEOUT, -1, false};
    }
    if (platform::IsSet(matcher.abortEvent.get())) return {VXM_ERR_MATCH_ABORTED, -1, false};
    if (pass.workerStop.load(std::memory_order_acquire)) {
      return {VXM_OK, pass.workerMatchIndex.load(std::memory_order_relaxed), false};
    }
  }
  return {VXM_OK, -1, true};
}

// The worker answers for matches alone: a template that does not fit is passed
// over, and time limit and abort are the calling thread's to see.
void SearchOnWorker(void* argument) {
  Pass& pass = *static_cast<Pass*>(argument);
  Matcher& matcher = pass.matcher;
  if (!platform::WaitFor(matcher.workerStartEvent.get())) return;
  for (int position = 1; position < pass.candidates.count; position += pass.threads) {
    ExpectCandidates(pass.candidates, position, pass.threads);
    const CandidateEntry& entry = pass.candidates.entries[static_cast<size_t>(position)];
    if (entry.templateData == nullptr) continue;
    if (CompareCandidate(matcher, matcher.worker, entry) == StepOutcome::match) {
      pass.workerMatchIndex.store(entry.index, std::memory_order_relaxed);
      pass.workerStop.store(true, std::memory_order_release);
      return;
    }
    if (pass.workerStop.load(std::memory_order_acquire)) return;
  }
}

Ending SearchWithWorker(Pass& pass) {
  Matcher& matcher = pass.matcher;
  CopyWorkspace(matcher.worker.probeWorkspace, matcher.caller.probeWorkspace);
  ForgetProbe(matcher.worker.staged);
  platform::Thread* worker = platform::StartThread(SearchOnWorker, &pass);
  if (worker == nullptr) {
    platform::ShowNotice("CreateThread is failed");
    return {VXM_ERROR, -1, false};
  }
  platform::Set(matcher.workerStartEvent.get());
  Ending ending = SearchOnCaller(pass);
  if (!ending.exhausted) pass.workerStop.store(true, std::memory_order_release);
  platform::Join(worker);
  platform::Reset(matcher.workerStartEvent.get());
  if (ending.exhausted) ending.matchIndex = pass.workerMatchIndex.load(std::memory_order_relaxed);
  return ending;
}

int LoadProbe(Matcher& matcher, const IdentifyRequest& request, bool turnProbe) {
  WorkingSet& set = matcher.caller;
  switch (
      LoadTemplate(ExpectedFormat(matcher), request.probe, request.probeSize, set.probeWorkspace)) {
    case LoadOutcome::wrongFormat: return VXM_ERR_TEMPLATE_TYPE;
    case LoadOutcome::invalid: return VXM_ERR_INVALID_PARAMETERS;
    case LoadOutcome::loaded: break;
  }
  ForgetProbe(set.staged);
  if (turnProbe) {
    TurnWorkspace(matcher.spareWorkspace, set.probeWorkspace);
    CopyWorkspace(set.probeWorkspace, matcher.spareWorkspace);
  }
  return VXM_OK;
}

}  // namespace

int IdentifyPass(Matcher& matcher, const IdentifyRequest& request, bool turnProbe,
                 int& matchIndex) {
  const ProcessLock lock;
  platform::Reset(matcher.abortEvent.get());
  matchIndex = -1;
  const int status = LoadProbe(matcher, request, turnProbe);
  if (status != VXM_OK) return status;
  Pass pass = {matcher, request.timeout, request.threads};
  if (!BuildCandidateList(pass.candidates, ExpectedFormat(matcher),
                          matcher.caller.probeWorkspace.templateAttribute, request.templates,
                          request.templateSizes, request.templateCount)) {
    return VXM_ERROR;
  }
  pass.startTime = platform::Milliseconds();
  const Ending ending = request.threads == 1 ? SearchOnCaller(pass) : SearchWithWorker(pass);
  matchIndex = ending.matchIndex;
  return ending.status;
}

}  // namespace vxm
