// The library as a host calls it: verification and identification. One iteration
// goes through all pairs, or through the gallery with each of a few probes, so
// that every run does the same comparisons; items are comparisons.
//
// The counters are the answers: builds that answer alike show the same ones.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <stdexcept>

#include "large_gallery.h"
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

// One search through the first `count` templates of a gallery, at the level that finds
// nobody; seconds.
double SearchSeconds(const Matcher& matcher, decltype(&VXM_Identify) function,
                     const std::vector<uint8_t>& probe, const Gallery& gallery, size_t first,
                     size_t count) {
  int index = -1;
  const auto start = std::chrono::steady_clock::now();
  const int status = function(matcher.handle, probe.data(), static_cast<int>(probe.size()),
                              gallery.templates.data() + first, gallery.sizes.data() + first,
                              static_cast<int>(count), 0, &index);
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  if (status != VXM_OK) throw std::runtime_error("an identification failed");
  return passed.count();
}

// The gallery of a format, read when it is first wanted.
const Gallery& GalleryOf(const Material& material, const Source& source) {
  static std::map<std::string, Gallery> galleries;
  const auto found = galleries.find(material.format);
  if (found != galleries.end()) return found->second;
  return galleries[material.format] = LoadGallery(material.format, source.gallery, source.seed);
}

// Fast searches through a gallery. Cold: as it lies in memory, in one search. Warm: the same
// templates, so few at a time that they stay in the cache, and each of them for the second
// time.
void SearchGallery(benchmark::State& state, const Material& material, const Source& source,
                   decltype(&VXM_Identify) function, bool warm) {
  const Gallery& gallery = GalleryOf(material, source);
  const auto count = static_cast<size_t>(state.range(0));
  const Matcher matcher(material.type);
  const int strictest = 7;
  VXM_SetParameter(matcher.handle, VXM_PARAM_SECURITY_LEVEL, &strictest);
  constexpr size_t inTheCache = 1000;
  constexpr uint64_t strangers = 2;
  for (auto _ : state) {
    double seconds = 0;
    for (uint64_t stranger = 0; stranger < strangers; ++stranger) {
      const std::vector<uint8_t> probe = StrangersTouch(material.format, source.seed, stranger);
      const size_t atOnce = warm ? inTheCache : count;
      for (size_t first = 0; first < count; first += atOnce) {
        const size_t those = std::min(atOnce, count - first);
        if (warm) SearchSeconds(matcher, function, probe, gallery, first, those);
        seconds += SearchSeconds(matcher, function, probe, gallery, first, those);
      }
    }
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * int64_t{strangers});
}

}  // namespace

void RegisterBenchmarks(const Material& material, const Source& source) {
  const auto add = [](const std::string& name, auto run) {
    return benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
  };
  const auto verify = [&](const char* kind, const Pairs& pairs) {
    add("verify/" + material.format + "/" + kind,
        [type = material.type, pairs](auto& state) { Verify(state, type, pairs); });
  };
  verify("genuine", GenuinePairs(material));
  verify("impostor", ImpostorPairs(material));

  static const struct {
    const char* kind;
    std::vector<Touch> touches;
  } crowds[] = {{"crowded", CrowdedTouches(Crowd::line)},
                {"crowded_in_two_points", CrowdedTouches(Crowd::twoPoints)},
                {"crowded_beyond_360", CrowdedTouches(Crowd::heapBeyond360)},
                {"crowded_in_two_points_beyond_360", CrowdedTouches(Crowd::twoPointsBeyond360)}};
  for (const auto& [kind, touches] : crowds) {
    if (material.type == TEMPLATE_NATIVE) verify(kind, {{touches.data(), &touches[1]}});
  }

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
  for (const bool warm : {false, true}) {
    const auto searchGallery = [&](const char* threads, decltype(&VXM_Identify) function) {
      auto* registered = add("gallery/" + material.format + (warm ? "/warm/" : "/cold/") + threads,
                             [&material, &source, function, warm](auto& state) {
                               SearchGallery(state, material, source, function, warm);
                             });
      registered->UseManualTime();
      const auto largest = static_cast<int64_t>(source.gallery.templates);
      for (int64_t count = 1000; count < largest; count *= 10) registered->Arg(count);
      registered->Arg(largest);
    };
    if (source.gallery.templates == 0) break;
    searchGallery("one_thread", VXM_Identify);
    searchGallery("two_threads", VXM_IdentifyMT);
  }
  identify("ten", 10, 1);  // what starting and awaiting the worker costs a short search
}

}  // namespace bench
