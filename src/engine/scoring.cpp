// Weights, pairings and paired neighbours, shared by both alignment passes.
#include "engine/scoring.h"

#include <algorithm>

namespace vxm {
namespace {

int SeedFactor(const EngineContext& context, Correspondence seed) {
  const bool sameType =
      context.currentProbe->type[seed.probe] == context.currentReference->type[seed.reference];
  return sameType ? EngineParams::seedTypeMatchFactor : EngineParams::seedTypeMismatchFactor;
}

// Of referenceMate: a probe index, not one of the markers.
bool IsPaired(uint16_t mate) { return mate < mateOutside; }

}  // namespace

int WithSeedFactors(const EngineContext& context, int weight, Correspondence a, Correspondence b) {
  return weight * SeedFactor(context, a) * SeedFactor(context, b) / 100;
}

void KeepPairings(const EngineContext& context, MatchResult& result) {
  std::fill_n(result.mate, context.probeGeometry.count, -1);
  for (int n = 0; n < context.referenceGeometry.count; n++) {
    if (IsPaired(context.referenceMate[n])) result.mate[context.referenceMate[n]] = n;
  }
}

void ListReferenceMates(EngineContext& context, const MatchResult& result) {
  std::fill_n(context.referenceMate, context.referenceGeometry.count, mateFree);
  for (int m = 0; m < context.probeGeometry.count; m++) {
    if (result.mate[m] >= 0) context.referenceMate[result.mate[m]] = static_cast<uint16_t>(m);
  }
}

Neighbourhood PairedNeighboursOfProbe(const EngineContext& context, const MatchResult& result,
                                      int m) {
  const TemplateGeometry& probe = context.probeGeometry;
  const int size = probe.neighbourCount[m];
  const auto paired = std::count_if(probe.neighbours[m], probe.neighbours[m] + size,
                                    [&](int other) { return result.mate[other] >= 0; });
  return {1 + static_cast<int>(paired), 1 + size};
}

Neighbourhood PairedNeighboursOfReference(const EngineContext& context, int n) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const int size = reference.neighbourCount[n];
  const auto paired =
      std::count_if(reference.neighbours[n], reference.neighbours[n] + size,
                    [&](int other) { return IsPaired(context.referenceMate[other]); });
  return {1 + static_cast<int>(paired), 1 + size};
}

}  // namespace vxm
