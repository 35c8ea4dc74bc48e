// Text and JSON of an explanation.
#include "explanation_output.h"

#include <algorithm>
#include <cstdio>

namespace {

Json OrientationJson(const vxm::MatchWorkspace& workspace) {
  Json rows = Json::array();
  for (int row = 0; row < workspace.gridHeight; row++) {
    Json blocks = Json::array();
    for (int column = 0; column < workspace.gridWidth; column++) {
      const int value = workspace.orientation[row][column];
      const bool ridges = (value & vxm::noRidge) != vxm::noRidge;
      blocks.push_back(ridges ? Json(value * 1.5) : Json(nullptr));
    }
    rows.push_back(blocks);
  }
  return rows;
}

Json VotedJson(const std::vector<Voted>& list) {
  Json entries = Json::array();
  for (const Voted& each : list) {
    entries.push_back(
        {{"probe", each.mates.probe}, {"reference", each.mates.reference}, {"votes", each.votes}});
  }
  return entries;
}

Json SupportJson(const vxm::Neighbourhood& support) {
  return {{"paired", support.paired}, {"minutiae", support.minutiae}};
}

Json PassJson(const std::optional<Pass>& pass) {
  if (!pass) return nullptr;
  Json pairs = Json::array();
  for (const Pair& pair : pass->pairs) {
    pairs.push_back({{"probe", pair.mates.probe},
                     {"reference", pair.mates.reference},
                     {"weight", pair.weight},
                     {"seed", pair.seed},
                     {"probeSupport", SupportJson(pair.probeSupport)},
                     {"referenceSupport", SupportJson(pair.referenceSupport)}});
  }
  Json told = {{"rotation", pass->rotation},
               {"dx", pass->dx},
               {"dy", pass->dy},
               {"pairs", pairs},
               {"score", pass->score},
               {"orientation", nullptr},
               {"scaledScore", pass->scaledScore}};
  if (pass->blocks) {
    told["orientation"] = {{"probeBlocks", pass->blocks->probe},
                           {"overlapBlocks", pass->blocks->overlap},
                           {"agreeingBlocks", pass->blocks->agree}};
  }
  return told;
}

void PrintPass(const char* name, const Pass& pass, bool withPairs) {
  std::printf("%s: rotation %d degrees, shift (%d, %d) pixels, %zu pairs, score %d\n", name,
              pass.rotation, pass.dx, pass.dy, pass.pairs.size(), pass.score);
  for (const Pair& pair : pass.pairs) {
    if (!withPairs) break;
    std::printf("  probe %3d - reference %3d: weight %4d, support %d/%d and %d/%d%s\n",
                pair.mates.probe, pair.mates.reference, pair.weight, pair.probeSupport.paired,
                pair.probeSupport.minutiae, pair.referenceSupport.paired,
                pair.referenceSupport.minutiae, pair.seed ? ", seed" : "");
  }
  if (pass.blocks) {
    std::printf("  orientation: %d of %d blocks of the overlap agree, the probe has %d; score %d\n",
                pass.blocks->agree, pass.blocks->overlap, pass.blocks->probe, pass.scaledScore);
  }
}

}  // namespace

Json TemplateJson(const LoadedFile& loaded) {
  const vxm::MatchWorkspace& workspace = *loaded.workspace;
  const bool native = loaded.file.inspection.format == Format::native;
  Json minutiae = Json::array();
  for (int i = 0; i < workspace.minutiaCount; i++) {
    Json minutia = {{"x", workspace.x[i]},
                    {"y", workspace.y[i]},
                    {"direction", (360 - workspace.angle[i] % 360) % 360},
                    {"type", workspace.type[i]}};
    if (native) minutia["quality"] = workspace.quality[i];
    minutiae.push_back(minutia);
  }
  return {{"file", loaded.file.name},
          {"format", NameOf(loaded.file.inspection.format)},
          {"minutiae", minutiae},
          {"orientation", native ? OrientationJson(workspace) : Json(nullptr)}};
}

Json ComparisonJson(const LoadedFile& probe, const LoadedFile& reference, const Explanation& told) {
  return {{"probe", TemplateJson(probe)},
          {"reference", TemplateJson(reference)},
          {"candidates", VotedJson(told.candidates)},
          {"seeds", VotedJson(told.seeds)},
          {"overlap", told.overlap},
          {"firstPass", PassJson(told.first)},
          {"secondPass", PassJson(told.second)},
          {"factor", told.factor},
          {"score", told.score}};
}

void PrintTemplate(const LoadedFile& loaded) {
  const vxm::MatchWorkspace& workspace = *loaded.workspace;
  std::printf("%s: %s, %d minutiae in use\n", loaded.file.name.c_str(),
              NameOf(loaded.file.inspection.format), static_cast<int>(workspace.minutiaCount));
}

void PrintExplanation(const Explanation& told) {
  std::printf("candidates: %zu correspondences with votes\n", told.candidates.size());
  std::printf("seeds: %zu\n", told.seeds.size());
  constexpr size_t shown = 10;
  for (size_t i = 0; i < std::min(shown, told.seeds.size()); i++) {
    const Voted& seed = told.seeds[i];
    std::printf("  probe %3d - reference %3d: %d votes\n", seed.mates.probe, seed.mates.reference,
                seed.votes);
  }
  if (told.seeds.size() > shown) std::printf("  ...\n");
  if (told.first) {
    PrintPass("best alignment", *told.first, true);
    std::printf("  overlap: %d minutiae\n", told.overlap);
  } else {
    std::printf("best alignment: none\n");
  }
  if (told.second) PrintPass("second pass", *told.second, false);
  std::printf("score: 0.%04d%s%s\n", told.score, told.second ? ", the mean of both passes" : "",
              told.factor == 1 ? "" : ", doubled as for every standard record");
}
