// What the two alignment passes score with: pairings, their weights, and the
// neighbours that are paired too.
#pragma once

#include <algorithm>

#include "engine/numeric.h"
#include "engine/params.h"
#include "engine/records.h"

namespace vxm {

// A probe minutia and the reference minutia taken for its mate.
struct Correspondence {
  int probe;
  int reference;
};

inline Point PlaceOf(const MatchWorkspace& workspace, int minutia) {
  return {workspace.x[minutia], workspace.y[minutia]};
}

// Scores are per minutia, mostly of the smaller template.
inline int ScoreNorm(int probeCount, int referenceCount) {
  return (std::max(probeCount, referenceCount) + 3 * std::min(probeCount, referenceCount)) / 4;
}

// weight x weight / divisor, in an order that keeps to 32 bits.
inline int SquareOver(int weight, int divisor) {
  return weight <= 32767 ? weight * weight / divisor : weight / divisor * weight;
}

// The weight of a set of pairings, less when a seed pairs two types.
int WithSeedFactors(const EngineContext& context, int weight, Correspondence a, Correspondence b);

// Takes the pairings in context.referenceMate over into result.mate.
void KeepPairings(const EngineContext& context, MatchResult& result);

// Rebuilds context.referenceMate from result.mate, everything else free.
void ListReferenceMates(EngineContext& context, const MatchResult& result);

// A minutia with its neighbours: how many they are, how many of them (the
// minutia itself always) are paired.
struct Neighbourhood {
  int paired;
  int minutiae;
};
Neighbourhood PairedNeighboursOfProbe(const EngineContext& context, const MatchResult& result,
                                      int m);
Neighbourhood PairedNeighboursOfReference(const EngineContext& context, int n);

// The score of result's pairings with every weight, the seeds' aside, taken
// times `support`(m) / 1024 for the paired probe minutia m.
template <typename Support>
int Rescore(const EngineContext& context, const MatchResult& result, int overlap, Support support) {
  const Correspondence a = {result.seedProbeA, result.mate[result.seedProbeA]};
  const Correspondence b = {result.seedProbeB, result.mate[result.seedProbeB]};
  int total = 0;
  for (int m = 0; m < context.probeGeometry.count; m++) {
    if (result.mate[m] < 0 || m == a.probe || m == b.probe) continue;
    total += (context.pairWeight[m][result.mate[m]] * support(m) + 512) >> 10;
  }
  return SquareOver(WithSeedFactors(context, total, a, b), overlap);
}

}  // namespace vxm
