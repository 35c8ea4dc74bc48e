// The library as a host calls it: verification and identification. One iteration
// goes through all pairs, or through the gallery with each of a few probes, so
// that every run does the same comparisons; items are comparisons.
//
// The counters are the answers: builds that answer alike show the same ones.
#include <benchmark/benchmark.h>

#include <cmath>
#include <stdexcept>

#include "material.h"

namespace bench {
namespace {

struct Matcher {
  MatcherHandle handle = nullptr;

  explicit Matcher(int type) {
    if (VXM_Create(&handle) != VXM_OK) throw std::runtime_error("no matcher can be made");
    VXM_SetTemplateType(handle, type);
  }
  Matcher(const Matcher&) = delete;
  Matcher& operator=(const Matcher&) = delete;
  ~Matcher() { VXM_Delete(handle); }
};

void Verify(benchmark::State& state, int type, const Pairs& pairs) {
  const Matcher matcher(type);
  int matches = 0;
  double scores = 0;
  for (auto _ : state) {
    matches = 0;
    scores = 0;
    for (const auto& [probe, candidate] : pairs) {
      float score = 0;
      int verified = 0;
      if (VXM_VerifyEx(matcher.handle, probe->bytes.data(), probe->Size(), candidate->bytes.data(),
                       candidate->Size(), &score, &verified) != VXM_OK) {
        state.SkipWithError("a verification failed");
        return;
      }
      matches += verified;
      scores += std::round(static_cast<double>(score) * 10000);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pairs.size()));
  state.counters["matches"] = matches;
  state.counters["scores"] = scores;
}

// A probe, and touches of other fingers.
struct Search {
  const Touch* probe;
  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
};

std::vector<Search> Searches(const Material& material, size_t mostCandidates) {
  constexpr size_t probes = 4;
  std::vector<Search> searches;
  for (size_t p = 0; p < probes; ++p) {
    Search search{&material.touches[p * material.touches.size() / probes], {}, {}};
    for (const Touch& touch : material.touches) {
      if (touch.finger == search.probe->finger) continue;
      if (search.templates.size() == mostCandidates) break;
      search.templates.push_back(touch.bytes.data());
      search.sizes.push_back(touch.Size());
    }
    searches.push_back(search);
  }
  return searches;
}

void Identify(benchmark::State& state, int type, const std::vector<Search>& searches,
              decltype(&VXM_Identify) function, int fastMode) {
  const Matcher matcher(type);
  VXM_SetParameter(matcher.handle, VXM_PARAM_FAST_MODE, &fastMode);
  // The level decides when a search ends and nothing before; the strictest lets
  // it go through the whole gallery.
  const int strictest = 7;
  VXM_SetParameter(matcher.handle, VXM_PARAM_SECURITY_LEVEL, &strictest);
  int matches = 0;
  int64_t comparisons = 0;
  for (auto _ : state) {
    matches = 0;
    for (const Search& search : searches) {
      const int count = static_cast<int>(search.templates.size());
      int index = -1;
      if (function(matcher.handle, search.probe->bytes.data(), search.probe->Size(),
                   search.templates.data(), search.sizes.data(), count, 0, &index) != VXM_OK) {
        state.SkipWithError("an identification failed");
        return;
      }
      matches += index >= 0 ? 1 : 0;
      comparisons += count;
    }
  }
  if (matches > 0) state.SkipWithError("a search ended early: two fingers are too much alike");
  state.SetItemsProcessed(comparisons);
  state.counters["matches"] = matches;
}

}  // namespace

void RegisterBenchmarks(const Material& material) {
  const auto add = [](const std::string& name, auto run) {
    return benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
  };
  const auto verify = [&](const char* kind, const Pairs& pairs) {
    add("verify/" + material.format + "/" + kind,
        [type = material.type, pairs](auto& state) { Verify(state, type, pairs); });
  };
  verify("genuine", GenuinePairs(material));
  verify("impostor", ImpostorPairs(material));

  const auto identify = [&](const std::string& kind, size_t mostCandidates, int fastMode) {
    const std::vector<Search> searches = Searches(material, mostCandidates);
    const auto search = [&](decltype(&VXM_Identify) function) {
      return [type = material.type, searches, function, fastMode](auto& state) {
        Identify(state, type, searches, function, fastMode);
      };
    };
    const std::string name = "identify/" + material.format + "/" + kind;
    add(name + "/one_thread", search(VXM_Identify));
    add(name + "/two_threads", search(VXM_IdentifyMT))->UseRealTime();
  };
  identify("fast", material.touches.size(), 1);
  identify("normal", material.touches.size(), 0);
  identify("ten", 10, 1);  // what starting and awaiting the worker costs a short search
}

}  // namespace bench
