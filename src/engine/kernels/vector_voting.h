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
  constexpr int reach = ScaledReach(EngineParams::seedAngleTolerance);
  const int line = LineTurn(reference, seed.reference, other.reference, matePlace) -
                   LineTurn(probe, seed.probe, other.probe, place);
  const int first = reference.turn[seed.reference] - probe.turn[seed.probe];
  const int second = reference.turn[other.reference] - probe.turn[other.probe];
  const bool agree = DistancesFit(probe.distance[place], reference.distance[matePlace]) &
                     TurnsAgree(line, 0, ScaledReach(EngineParams::lineTolerance)) &
                     TurnsAgree(first, line, reach) & TurnsAgree(second, line, reach) &
                     TurnsAgree(second, first, reach);
  if (context.scale == Scale::standard) return agree;
  const uint8_t* quality = probe.workspace->quality;
  const uint8_t* mateQuality = reference.workspace->quality;
  return agree & QualitiesAgree(quality[seed.probe], mateQuality[seed.reference]) &
         QualitiesAgree(quality[other.probe], mateQuality[other.reference]);
}

// Keeps where a seed lies.
static void PlaceSeed(EngineContext& context, int place, int probe, int mate) {
  SeedPlaces& seeds = context.seedPlaces;
  seeds.probe[place] = context.probeGeometry.position[probe];
  seeds.mate[place] = context.referenceGeometry.position[mate];
  seeds.turn[place] = static_cast<uint16_t>(context.referenceGeometry.turn[mate] -
                                            context.probeGeometry.turn[probe]);
}

// The squares a, b of lengths that fit have (a - b)^2 at most this times a + b: with t
// the tolerance and the pixel that rounding hides, |a - b| is below t times the sum of
// the roots, and the square of that sum at most 2 (a + b).
constexpr int alikeFactor =
    2 * (EngineParams::seedDistanceTolerance + 1) * (EngineParams::seedDistanceTolerance + 1);
// More than any |a - b| of lengths that fit, and its square fits 32 bits.
constexpr int unlike = 46340;

// Reference pairs with the probe pairs that may agree with them: those from `start` on
// of which the bit is set.
struct AgreeingList {
  static constexpr int full = 512;
  static constexpr int room = full + maxPairs / 64 + 2;
  uint64_t bits[room];
  uint16_t start[room];
  uint16_t place[room];
};

// How far the differences of two pairs' turns may be from none: of the lines, of the
// two directions, and of one direction's difference from the other's.
struct TurnGate {
  __m128i reach;
  __m128i width;
};

static TurnGate GateFor(int tolerance) {
  const auto line = static_cast<int16_t>(ScaledReach(EngineParams::lineTolerance));
  const auto dir = static_cast<int16_t>(ScaledReach(tolerance));
  const __m128i reach = _mm_setr_epi16(line, dir, dir, dir, 0, 0, 0, 0);
  return {reach, _mm_add_epi16(reach, reach)};
}

// Whether the angles of two pairs agree. With t the rotation of the line and a, b those
// of the minutiae, |t|, |a - t|, |b - t| and |b - a| must be small. That a and b are
// within the gate of the weights follows.
static bool PairsAgree(const MinutiaPair& mate, const MinutiaPair& pair, const TurnGate& gate) {
  static_assert(sizeof(MinutiaPair) == 8);
  const __m128i apart = _mm_sub_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&mate)),
                                      _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&pair)));
  // In the fourth place, that of the minutiae, the second difference less the first.
  const __m128i second = _mm_shufflelo_epi16(apart, _MM_SHUFFLE(2, 2, 1, 0));
  const __m128i first = _mm_blend_epi16(_mm_setzero_si128(), _mm_slli_epi64(apart, 32), 8);
  const __m128i turns = _mm_add_epi16(_mm_sub_epi16(second, first), gate.reach);
  const __m128i within = _mm_cmpeq_epi16(_mm_min_epu16(turns, gate.width), turns);
  return _mm_cvtsi128_si64(within) == -1;
}

// Votes for the listed pairs that do agree, of which the qualities are tested here.
template <Scale scale>
static void CountAgreeing(EngineContext& context, AgreeingList& list, int count, int tolerance) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const int probeCount = context.probeGeometry.count;
  const uint8_t* probeQuality = context.probeGeometry.workspace->quality;
  const uint8_t* referenceQuality = reference.workspace->quality;
  const TurnGate gate = GateFor(tolerance);
  while (count != 0) {
    int left = 0;
    for (int k = 0; k < count; k++) {
      const uint64_t bits = list.bits[k];
      const uint16_t start = list.start[k];
      const uint16_t place = list.place[k];
      const MinutiaPair& mate = reference.pairs[place];
      const MinutiaPair& pair = context.probePairs.pairs[start + platform::LowestBit(bits)];
      bool agree = PairsAgree(mate, pair, gate);
      if (scale == Scale::native) {
        agree &= QualitiesAgree(probeQuality[pair.first], referenceQuality[mate.first]) &
                 QualitiesAgree(probeQuality[pair.second], referenceQuality[mate.second]);
      }
      const uint16_t vote = agree ? 1 : 0;
      uint16_t& firstVotes = context.votes[mate.first * probeCount + pair.first];
      uint16_t& secondVotes = context.votes[mate.second * probeCount + pair.second];
      firstVotes = static_cast<uint16_t>(firstVotes + vote);
      secondVotes = static_cast<uint16_t>(secondVotes + vote);
      list.bits[left] = bits & (bits - 1);
      list.start[left] = start;
      list.place[left] = place;
      left += list.bits[left] != 0 ? 1 : 0;
    }
    count = left;
  }
}

// The starts of the probe's pairs by length, none of them beyond the last pair that
// votes; made anew only where some do not.
static const uint16_t* VotingStarts(const PairList& pairs, int lastPair, uint16_t* limited) {
  if (lastPair == pairs.count) return pairs.startAt;
  for (int d = 0; d < maxDistance + vectorPadding; d++) {
    limited[d] = std::min(pairs.startAt[d], static_cast<uint16_t>(lastPair));
  }
  return limited;
}

// Goes through the pairs of the reference. `wide` when more than 64 of the probe's
// can be of similar length.
template <typename Lanes, bool wide>
static void CastVotesOf(EngineContext& context, int lastPair, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const CoarseAngles& probeAngles = context.probePairs.coarse;
  uint16_t limited[maxDistance + vectorPadding];
  const uint16_t* startAt = VotingStarts(context.probePairs, lastPair, limited);
  const auto countAgreeing = context.scale == Scale::native ? CountAgreeing<Scale::native>
                                                            : CountAgreeing<Scale::standard>;
  const Lanes lanes(CoarseReach(EngineParams::lineTolerance), CoarseReach(limits.angleTolerance));
  const auto tolerance = static_cast<unsigned>(limits.distanceTolerance);
  AgreeingList list;
  int listed = 0;
  const auto count = static_cast<unsigned>(PairCount(reference.count));
  for (unsigned place = 0; place < count; place++) {
    const unsigned length = reference.distance[place];
    if (length <= EngineParams::minPairDistance) continue;
    unsigned p = startAt[length - tolerance];
    unsigned left = startAt[length + tolerance + 1] - p;
    for (;;) {
      const uint64_t bits = _bzhi_u64(lanes.Agreeing(probeAngles, p, reference.coarse, place),
                                      wide ? std::min(left, 64u) : left);
      list.bits[listed] = bits;
      list.start[listed] = static_cast<uint16_t>(p);
      list.place[listed] = static_cast<uint16_t>(place);
      listed += bits != 0 ? 1 : 0;
      if (!wide || left <= 64) break;
      p += 64;
      left -= 64;
    }
    if (listed < AgreeingList::full) continue;
    countAgreeing(context, list, listed, limits.angleTolerance);
    listed = 0;
  }
  countAgreeing(context, list, listed, limits.angleTolerance);
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
