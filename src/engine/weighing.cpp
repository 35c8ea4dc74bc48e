// Candidate weights: which reference minutiae may be the mate of which probe
// minutia, and how much a pairing of the two is worth.
//
// In: both geometries and workspaces. Out: for every probe minutia the list of
// its candidates, the weight of each, and the rotation between the directions.
// Idea: fingers are placed the right way up, so a mate never points more than
// 110 degrees away; of native templates, minutiae of like quality count more.
// Cost: one step per pair of probe and reference minutia.
#include <cstdlib>

#include "engine/numeric.h"
#include "engine/stages.h"

namespace vxm {
namespace {

constexpr int directionTolerance = EngineParams::lineTolerance + EngineParams::angleTolerance;

// Weight by difference in quality: 100 for none, falling to 0 at the falloff.
int QualityWeight(int difference) {
  constexpr int falloff = EngineParams::qualityFalloff;
  return difference < falloff ? 100 - 100 * difference / falloff : 0;
}

// `weigh`(i, j) gives the weight of probe minutia i and reference minutia j.
template <typename Weigh>
void FillCandidates(EngineContext& context, Weigh weigh) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  for (int i = 0; i < probe.count; i++) {
    uint8_t size = 0;
    for (int j = 0; j < reference.count; j++) {
      const int rotation = AngleBetween(reference.dir[j], probe.dir[i]);
      const int weight = WithinTolerance(rotation, directionTolerance) ? weigh(i, j) : 0;
      context.rotation[i][j] = static_cast<uint16_t>(rotation);
      context.pairWeight[i][j] = static_cast<uint16_t>(weight);
      if (weight != 0) context.candidates[i][size++] = static_cast<uint8_t>(j);
    }
    context.candidateListSize[i] = size;
  }
}

}  // namespace

void WeighCandidates(EngineContext& context) {
  const MatchWorkspace& probe = *context.currentProbe;
  const MatchWorkspace& reference = *context.currentReference;
  FillCandidates(context, [&](int i, int j) {
    const int byQuality = QualityWeight(std::abs(reference.quality[j] - probe.quality[i]));
    const bool sameType = reference.type[j] == probe.type[i];
    return (sameType ? 10 : EngineParams::typeMismatchWeight) * byQuality;
  });
}

void WeighStandardCandidates(EngineContext& context) {
  const MatchWorkspace& probe = *context.currentProbe;
  const MatchWorkspace& reference = *context.currentReference;
  FillCandidates(context, [&](int i, int j) {
    const bool sameType = reference.type[j] == probe.type[i];
    return sameType ? EngineParams::standardWeight : EngineParams::standardMismatchWeight;
  });
}

}  // namespace vxm
