// The stages of a comparison, each alone: what comes before it in a comparison
// is done while the clock stands still. One iteration goes through all pairs;
// items are pairs. Stopping the clock costs as much as `clock` shows, and all
// others contain it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "engine/stages.h"
#include "identify/staged.h"
#include "material.h"
#include "templates/load.h"

namespace bench {
namespace {

// All that a comparison works on.
struct Desk {
  vxm::TemplateFormat format;
  vxm::MatchWorkspace probe;
  vxm::MatchWorkspace reference;
  vxm::MatchWorkspace reduced;
  vxm::Scratch scratch;
  vxm::EngineContext context{scratch};
  vxm::MatchResult result;
};

void Load(const Touch& touch, vxm::TemplateFormat format, vxm::MatchWorkspace& workspace) {
  if (vxm::LoadTemplate(format, touch.bytes.data(), touch.Size(), workspace) !=
      vxm::LoadOutcome::loaded) {
    throw std::runtime_error("a template does not load");
  }
}

void DoNothing(const Pair&, Desk&) {}

void LoadBoth(const Pair& pair, Desk& desk) {
  Load(*pair.probe, desk.format, desk.probe);
  Load(*pair.candidate, desk.format, desk.reference);
}

// What fast identification does to a candidate.
void Reduce(const Pair&, Desk& desk) {
  vxm::ReduceWorkspace(desk.reference, desk.reduced, vxm::EngineParams::reducedMinutiae);
}

void PrepareProbe(const Pair&, Desk& desk) { vxm::PrepareProbe(desk.context, desk.probe); }

void PrepareReference(const Pair&, Desk& desk) {
  vxm::PrepareGeometry(desk.context.referenceGeometry, desk.reference, desk.context.scale);
}

void Vote(const Pair&, Desk& desk) { vxm::VotePairs(desk.context, vxm::verificationLimits); }

void Search(const Pair&, Desk& desk) {
  desk.result.score = 0;
  std::fill_n(desk.result.mate, desk.probe.minutiaCount, -1);
  vxm::SearchAlignment(desk.context, desk.result, 0);
}

// In the order in which they run.
struct Stage {
  const char* name;
  void (*run)(const Pair&, Desk&);
};
constexpr Stage stages[] = {{"clock", DoNothing},
                            {"load", LoadBoth},
                            {"reduce", Reduce},
                            {"probe", PrepareProbe},
                            {"reference", PrepareReference},
                            {"voting", Vote},
                            {"search", Search}};

std::unique_ptr<Desk> MakeDesk(int type) {
  auto desk = std::make_unique<Desk>();
  const bool native = type == TEMPLATE_NATIVE;
  desk->format = native                        ? vxm::TemplateFormat::native
                 : type == TEMPLATE_ISO19794_2 ? vxm::TemplateFormat::iso
                                               : vxm::TemplateFormat::ansi;
  desk->context.scale = native ? vxm::Scale::native : vxm::Scale::standard;
  return desk;
}

void Measure(benchmark::State& state, const Stage& measured, int type, const Pairs& pairs) {
  const auto desk = MakeDesk(type);
  for (auto _ : state) {
    for (const Pair& pair : pairs) {
      state.PauseTiming();
      for (const Stage* stage = stages; stage != &measured; ++stage) stage->run(pair, *desk);
      state.ResumeTiming();
      measured.run(pair, *desk);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pairs.size()));
}

// The engine compares nothing smaller.
Pairs LargeEnough(Pairs pairs, int type) {
  const auto desk = MakeDesk(type);
  const auto tooSmall = [&](const Pair& pair) {
    LoadBoth(pair, *desk);
    return std::min(desk->probe.minutiaCount, desk->reference.minutiaCount) <
           vxm::EngineParams::minMinutiae;
  };
  pairs.erase(std::remove_if(pairs.begin(), pairs.end(), tooSmall), pairs.end());
  return pairs;
}

}  // namespace

void RegisterBenchmarks(const Material& material, const Source& /*source*/) {
  const Pairs genuine = LargeEnough(GenuinePairs(material), material.type);
  const Pairs impostor = LargeEnough(ImpostorPairs(material), material.type);
  const auto add = [&](const Stage& stage, const std::string& kind, const Pairs& pairs) {
    const std::string name = stage.name + ("/" + material.format) + kind;
    const auto run = [&stage, type = material.type, pairs](benchmark::State& state) {
      Measure(state, stage, type, pairs);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
  };
  for (const Stage& stage : stages) {
    const bool comparesBoth = stage.run == Vote || stage.run == Search;
    add(stage, comparesBoth ? "/impostor" : "", impostor);
    if (comparesBoth) add(stage, "/genuine", genuine);
  }
}

}  // namespace bench
