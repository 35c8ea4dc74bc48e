// How many comparisons reach the second stage of identification: for the genuine and
// the impostor pairs of a folder of templates, each template with each later one.
//
//   stage_shares DIR...
#include <cstdio>
#include <memory>

#include "engine/match.h"
#include "identify/staged.h"
#include "material.h"
#include "templates/load.h"

namespace {

struct Loaded {
  std::string finger;
  vxm::MatchWorkspace full;
  vxm::MatchWorkspace reduced;
};

std::vector<std::unique_ptr<Loaded>> LoadAll(const bench::Material& material,
                                             vxm::TemplateFormat format) {
  std::vector<std::unique_ptr<Loaded>> all;
  for (const bench::Touch& touch : material.touches) {
    auto loaded = std::make_unique<Loaded>();
    loaded->finger = touch.finger;
    vxm::LoadTemplate(format, touch.bytes.data(), touch.Size(), loaded->full);
    vxm::ReduceWorkspace(loaded->full, loaded->reduced, vxm::EngineParams::reducedMinutiae);
    all.push_back(std::move(loaded));
  }
  return all;
}

// The first stage with nothing skipped, so that every score is exact.
class FirstStage {
 public:
  explicit FirstStage(vxm::Scale scale) : scale_(scale) {}

  int Score(const vxm::MatchWorkspace& probe, const vxm::MatchWorkspace& candidate,
            const vxm::MatchLimits& limits) {
    const int least = vxm::EngineParams::minMinutiae;
    if (probe.minutiaCount < least || candidate.minutiaCount < least) return 0;
    const auto match = scale_ == vxm::Scale::native ? vxm::MatchNativeEx : vxm::MatchStandardEx;
    return match(probe, candidate, own_->context, result_, true, limits);
  }

 private:
  vxm::Scale scale_;
  std::unique_ptr<vxm::OwnContext> own_ = std::make_unique<vxm::OwnContext>();
  vxm::MatchResult result_{};
};

struct Counts {
  int pairs = 0, fast = 0, normal = 0;
};

void Print(const std::string& folder, const std::string& format, const char* kind,
           const Counts& counts) {
  if (counts.pairs == 0) return;
  std::printf("%s, %s, %s: %d pairs, %.2f %% in fast and %.2f %% in normal mode\n", folder.c_str(),
              format.c_str(), kind, counts.pairs, 100.0 * counts.fast / counts.pairs,
              100.0 * counts.normal / counts.pairs);
}

void Measure(const std::string& folder, const bench::Material& material) {
  const bool native = material.type == TEMPLATE_NATIVE;
  const auto format = native                                 ? vxm::TemplateFormat::native
                      : material.type == TEMPLATE_ISO19794_2 ? vxm::TemplateFormat::iso
                                                             : vxm::TemplateFormat::ansi;
  const auto scale = native ? vxm::Scale::native : vxm::Scale::standard;
  const auto all = LoadAll(material, format);
  FirstStage stage(scale);
  Counts genuine, impostor;
  for (size_t i = 0; i < all.size(); ++i) {
    for (size_t j = i + 1; j < all.size(); ++j) {
      Counts& counts = all[i]->finger == all[j]->finger ? genuine : impostor;
      ++counts.pairs;
      counts.fast += stage.Score(all[i]->reduced, all[j]->reduced, vxm::fastFirstStage) >=
                     vxm::EngineParams::fastModeLimit;
      counts.normal += stage.Score(all[i]->full, all[j]->full, vxm::normalFirstStage) >=
                       vxm::EngineParams::normalModeLimit;
    }
  }
  Print(folder, material.format, "genuine", genuine);
  Print(folder, material.format, "impostor", impostor);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIR...\n", argv[0]);
    return 2;
  }
  try {
    for (int i = 1; i < argc; ++i) {
      bench::Source source;
      source.folder = argv[i];
      for (const bench::Material& material : bench::Gather(source)) Measure(argv[i], material);
    }
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s: %s\n", argv[0], fault.what());
    return 2;
  }
  return std::fflush(stdout) == 0 ? 0 : 2;
}
