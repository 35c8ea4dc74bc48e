// Mixed calls over many matchers with random settings, from several threads, for
// as long as wanted:
//
//   soak SECONDS
//
// The same question must get the same answer whichever matcher is asked and
// whenever, and once it has run for a while the process must not grow.
#if !defined(_WIN32)
#include <sys/resource.h>
#endif

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "support/made_templates.h"
#include "support/matcher_calls.h"

namespace {

using calls::Answer;
using calls::Template;
using made::Bytes;
using Clock = std::chrono::steady_clock;

constexpr int threadCount = 3;
constexpr size_t matchersEach = 6;
constexpr long warmCalls = 3000;           // each matcher has then met each kind of call
constexpr long allowedGrowth = 16 * 1024;  // KiB

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// Good ones of each format and size, and others that are cut or lie.
std::vector<Bytes> MakeTemplates() {
  std::vector<Bytes> templates;
  std::minstd_rand random(3);
  for (const int type : made::allTypes) {
    for (uint64_t i = 0; i < 6; i++) {
      vxmsynth::ImpressionSettings settings;
      settings.gridWidth = settings.gridHeight = 8 + static_cast<int>(2 * i);
      Bytes bytes = made::Touch(type, i / 2, i, settings);
      if (i == 4) bytes.resize(bytes.size() / 2);
      if (i == 5) bytes[random() % bytes.size()] ^= 0xFF;
      bytes.resize(std::min<size_t>(bytes.size(), 1024));
      templates.push_back(bytes);
    }
  }
  return templates;
}

const std::vector<Bytes> templates = MakeTemplates();
constexpr int types[] = {TEMPLATE_NATIVE, TEMPLATE_ISO19794_2, TEMPLATE_ANSI378, 1234};

// A call that must always be answered alike; all that it depends on.
struct Question {
  enum Kind : size_t { verify, incremental, identify, kinds };
  size_t kind, type, level, fastMode, retry, first, second;

  size_t Number() const {
    const size_t settings = ((kind * 4 + type) * 7 + level) * 4 + fastMode * 2 + retry;
    return (settings * templates.size() + first) * templates.size() + second;
  }
  static size_t Count() { return Kind::kinds * 4 * 7 * 4 * templates.size() * templates.size(); }
};

// Packed with a mark that is never 0: answers already given.
std::vector<std::atomic<uint64_t>> given(Question::Count());

uint64_t Pack(const Answer& answer) {
  return uint64_t{1} << 60 | static_cast<uint64_t>(answer.status + 1000) << 32 |
         static_cast<uint64_t>(answer.score) << 16 | static_cast<uint64_t>(answer.output + 10);
}

class Worker {
 public:
  explicit Worker(unsigned seed) : random_(seed) {
    for (MatcherHandle& matcher : matchers_) Require(VXM_Create(&matcher) == VXM_OK, "creation");
  }
  ~Worker() {
    for (const MatcherHandle matcher : matchers_) VXM_Delete(matcher);
  }

  void Step() {
    MatcherHandle& matcher = matchers_[Below(matchersEach)];
    const Question question = {
        Below(Question::kinds), Below(4), Below(7), Below(2), Below(2), Below(templates.size()),
        Below(templates.size())};
    VXM_SetTemplateType(matcher, types[question.type]);
    calls::Set(matcher, VXM_PARAM_SECURITY_LEVEL, static_cast<int>(question.level) + 1);
    calls::Set(matcher, VXM_PARAM_FAST_MODE, static_cast<int>(question.fastMode));
    calls::Set(matcher, VXM_PARAM_RETRY_TURNED, static_cast<int>(question.retry));
    switch (Below(20)) {
      case 0:
        Require(VXM_Delete(matcher) == VXM_OK && VXM_Create(&matcher) == VXM_OK, "a new matcher");
        break;
      case 1: Search(matcher, templates[question.first]); break;
      case 2: Turn(matcher, templates[question.first]); break;
      default: Expect(question, matcher);
    }
  }

 private:
  size_t Below(size_t limit) { return random_() / 16 % limit; }

  void Expect(const Question& question, MatcherHandle matcher) {
    const uint64_t answer = Pack(Ask(question, matcher));
    uint64_t before = 0;
    if (!given[question.Number()].compare_exchange_strong(before, answer)) {
      Require(answer == before, "an answer given again");
    }
  }

  Answer Ask(const Question& question, MatcherHandle matcher) {
    const Template first = templates[question.first];
    const Template second = templates[question.second];
    switch (question.kind) {
      case Question::verify: return calls::Verify(matcher, first, second);
      case Question::incremental: {
        const int status = VXM_IdentifyInit(matcher, first.data, first.size);
        return status == VXM_OK ? calls::IdentifyNext(matcher, second) : Answer{status, 0, 0};
      }
      default: return calls::Identify(calls::identifyForms[Below(4)], matcher, first, {second});
    }
  }

  // In all templates, with a time limit and an abort at any moment.
  void Search(MatcherHandle matcher, const Bytes& probe) {
    const auto pause = std::chrono::microseconds(Below(3000));
    std::thread aborting([matcher, pause] {
      std::this_thread::sleep_for(pause);
      VXM_AbortIdentify(matcher);
    });
    const std::vector<Template> gallery(templates.begin(), templates.end());
    const Answer answer = calls::Identify(calls::identifyForms[Below(4)], matcher, probe, gallery,
                                          static_cast<unsigned>(Below(3)));
    aborting.join();
    Require(answer.status == VXM_OK || answer.output == -1, "no index after an error");
  }

  static void Turn(MatcherHandle matcher, Bytes bytes) {
    const int status = VXM_RotateTemplate(matcher, bytes.data(), static_cast<int>(bytes.size()));
    Require(status == VXM_OK || status == VXM_ERR_TEMPLATE_TYPE, "the status of a turn");
  }

  std::minstd_rand random_;
  MatcherHandle matchers_[matchersEach];
};

// Of the process so far, in KiB; not watched on Windows, nor by qemu, which keeps 280 KiB
// of each thread that has ended.
long LargestResident() {
#if defined(_WIN32) || defined(VXM_EMULATED)
  return 0;
#else
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
#endif
}

}  // namespace

int main(int count, char** arguments) {
  Require(count == 2, "soak SECONDS");
  const auto duration = std::chrono::milliseconds(1000 * std::atoi(arguments[1]));
  const auto begin = Clock::now();
  std::atomic<long> steps{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < threadCount; i++) {
    threads.emplace_back([&, i] {
      for (Worker worker(i + 1); Clock::now() - begin < duration; steps++) worker.Step();
    });
  }
  const auto warm = [&] {
    const auto passed = Clock::now() - begin;
    return passed >= duration || (passed >= duration / 4 && steps >= warmCalls);
  };
  while (!warm()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const long early = LargestResident();
  for (std::thread& thread : threads) thread.join();
  const long growth = LargestResident() - early;
  std::printf("%ld calls; largest resident size %ld KiB, grown by %ld since it was warm\n",
              steps.load(), early + growth, growth);
  std::fflush(stdout);  // the figures are wanted most when what follows fails
  Require(growth <= allowedGrowth, "the process does not grow");
  return 0;
}
