// Voting with vectors, for any width of them, and tests in scaled turns. Included where
// the code may use the instructions that `Lanes` uses.
//
// Idea: the probe's pairs of similar length lie side by side, and one byte of each
// of their angles tells nearly all that cannot agree. So 64 pairs are tested at a
// time, and the few that are left are tested exactly.
//
// All functions are static: each form has its own, for its own instructions.
//
// Nothing branches on what is found, since that could not be foretold: words of
// 64 pairs are listed when any is left, and the list is then gone through in
// rounds that take one pair of each word, for most hold no more.
#pragma once

#include <algorithm>

#include "engine/kernels/kernels.h"
#include "engine/kernels/pair_ends.h"
#include "engine/scoring.h"
#include "platform/cpu.h"

namespace vxm {

// Whether two minutiae can be mates; without a branch.
static bool QualitiesAgree(int a, int b) {
  constexpr int falloff = EngineParams::qualityFalloff;
  return static_cast<unsigned>(a - b + falloff - 1) < static_cast<unsigned>(2 * falloff - 1);
}

// The direction of the line from i to j as a scaled turn.
static uint16_t LineTurn(const TemplateGeometry& geometry, int i, int j, int place) {
  return static_cast<uint16_t>(ScaledTurn(geometry.lineAngle[place]) +
                               (i < j ? 0 : ScaledTurn(180)));
}

// Whether a correspondence fits beside a seed, in scaled turns.
static bool FitsBesideByTurns(const EngineContext& context, Correspondence seed,
                              Correspondence other) {
  if (seed.probe == other.probe || seed.reference == other.reference) return false;
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const int place = PairPlaceOf(seed.probe, other.probe);
  const int matePlace = PairPlaceOf(seed.reference, other.reference);
  if (!DistancesFit(probe.distance[place], reference.distance[matePlace])) return false;
  constexpr int reach = ScaledReach(EngineParams::seedAngleTolerance);
  const int line = LineTurn(reference, seed.reference, other.reference, matePlace) -
                   LineTurn(probe, seed.probe, other.probe, place);
  const int first = reference.turn[seed.reference] - probe.turn[seed.probe];
  const int second = reference.turn[other.reference] - probe.turn[other.probe];
  const bool agree = TurnsAgree(line, 0, ScaledReach(EngineParams::lineTolerance)) &
                     TurnsAgree(first, line, reach) & TurnsAgree(second, line, reach) &
                     TurnsAgree(second, first, reach);
  if (context.scale == Scale::standard) return agree;
  const uint8_t* quality = probe.workspace->quality;
  const uint8_t* mateQuality = reference.workspace->quality;
  return agree & QualitiesAgree(quality[seed.probe], mateQuality[seed.reference]) &
         QualitiesAgree(quality[other.probe], mateQuality[other.reference]);
}

// Probe pairs from `start` on that may agree with the reference pair at `place`.
struct Agreeing {
  uint64_t bits;
  uint16_t start;
  uint16_t place;
};

// Votes for the listed pairs whose angles do agree. With t the rotation of the
// line and a, b those of the minutiae, |t|, |a - t|, |b - t| and |b - a| must be
// small. That a and b are within the gate of the weights follows; what may be
// missing is the quality.
template <Scale scale>
static void CountAgreeing(EngineContext& context, Agreeing* list, Agreeing* end, int tolerance) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const int probeCount = context.probeGeometry.count;
  const uint8_t* probeQuality = context.probeGeometry.workspace->quality;
  const uint8_t* referenceQuality = reference.workspace->quality;
  const int reach = ScaledReach(tolerance);
  while (end != list) {
    Agreeing* left = list;
    for (const Agreeing* agreeing = list; agreeing != end; agreeing++) {
      const Agreeing current = *agreeing;
      const MinutiaPair pair =
          context.probePairs.pairs[current.start + platform::LowestBit(current.bits)];
      const int i = pairEnds.first[current.place];
      const int j = pairEnds.second[current.place];
      const int line = ScaledTurn(reference.lineAngle[current.place]);
      const int first = reference.turn[i] - line - pair.firstDir;
      const int second = reference.turn[j] - line - pair.secondDir;
      bool agree = TurnsAgree(line, pair.line, ScaledReach(EngineParams::lineTolerance)) &
                   TurnsAgree(first, 0, reach) & TurnsAgree(second, 0, reach) &
                   TurnsAgree(second, first, reach);
      if (scale == Scale::native) {
        agree &= QualitiesAgree(probeQuality[pair.first], referenceQuality[i]) &
                 QualitiesAgree(probeQuality[pair.second], referenceQuality[j]);
      }
      const uint16_t vote = agree ? 1 : 0;
      uint16_t& firstVotes = context.votes[i * probeCount + pair.first];
      uint16_t& secondVotes = context.votes[j * probeCount + pair.second];
      firstVotes = static_cast<uint16_t>(firstVotes + vote);
      secondVotes = static_cast<uint16_t>(secondVotes + vote);
      left->bits = current.bits & (current.bits - 1);
      left->start = current.start;
      left->place = current.place;
      left += left->bits != 0 ? 1 : 0;
    }
    end = left;
  }
}

// Goes through the pairs of the reference. `wide` when more than 64 of the probe's
// can be of similar length.
template <typename Lanes, bool wide>
static void CastVotesOf(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const PairList& pairs = context.probePairs;
  const auto countAgreeing = context.scale == Scale::native ? CountAgreeing<Scale::native>
                                                            : CountAgreeing<Scale::standard>;
  const Lanes lanes(CoarseReach(EngineParams::lineTolerance), CoarseReach(limits.angleTolerance));
  constexpr int room = 512;
  Agreeing list[room + maxPairs / 64 + 2];
  Agreeing* last = list;
  const int count = PairCount(reference.count);
  for (int place = 0; place < count; place++) {
    const int length = reference.distance[place];
    if (length <= EngineParams::minPairDistance) continue;
    const int end = std::min<int>(pairs.startAt[length + limits.distanceTolerance + 1], lastPair);
    int p = pairs.startAt[length - limits.distanceTolerance];
    do {
      const int left = std::max(wide ? std::min(end - p, 64) : end - p, 0);
      last->bits = _bzhi_u64(lanes.Agreeing(pairs.coarse, p, reference.coarse, place),
                             static_cast<unsigned>(left));
      last->start = static_cast<uint16_t>(p);
      last->place = static_cast<uint16_t>(place);
      last += last->bits != 0 ? 1 : 0;
      p += 64;
    } while (wide && p < end);
    if (last < list + room) continue;
    countAgreeing(context, list, last, limits.angleTolerance);
    last = list;
  }
  countAgreeing(context, list, last, limits.angleTolerance);
}

// `Half` tests 32 pairs at a time, `Full` 64.
template <typename Half, typename Full>
static void CastVotes(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const int most = context.probePairs.mostAlike;
  const auto cast = most <= 32   ? CastVotesOf<Half, false>
                    : most <= 64 ? CastVotesOf<Full, false>
                                 : CastVotesOf<Full, true>;
  cast(context, lastPair, limits);
}

}  // namespace vxm
