// The inner loops in AVX2: 8 positions, or blocks, at a time.
#include <algorithm>

#include "engine/kernels/kernels.h"
#include "engine/kernels/root_tables.h"
#include "engine/scoring.h"
#include "platform/cpu.h"

#if defined(VXM_HAVE_AVX)
#include "platform/avx2_begin.h"
//
#include "engine/kernels/vector_voting.h"

namespace vxm {
namespace {

constexpr auto reciprocals = MakeReciprocals();
constexpr auto legRatios = MakeLegRatios();

__m256i Load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }

void Store(void* to, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(to), value); }

// Of x and y in 16 bits each.
__m256i Broadcast(int x, int y) {
  return _mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(y) << 16 | (x & 0xFFFF)));
}

// x in the low and y in the high half of each lane.
__m256i Pack(__m256i x, __m256i y) { return _mm256_blend_epi16(x, _mm256_slli_epi32(y, 16), 0xAA); }

int Sum(__m256i lanes) {
  __m128i half = _mm_add_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
  half = _mm_add_epi32(half, _mm_shuffle_epi32(half, 0x4E));
  half = _mm_add_epi32(half, _mm_shuffle_epi32(half, 0xB1));
  return _mm_cvtsi128_si32(half);
}

uint32_t LaneBits(__m256i mask) {
  return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(mask)));
}

// ---- Distances and directions ----

struct Polar {
  __m256i distance;
  __m256i angle;
};

// Of 8 vectors: the ratio of the legs gives the angle and an estimate of the
// root, which is then put right.
Polar PolarOf(__m256i dxdy) {
  const __m256i squared = _mm256_madd_epi16(dxdy, dxdy);
  const __m256i legs = _mm256_abs_epi16(dxdy);
  const __m256i ax = _mm256_and_si256(legs, _mm256_set1_epi32(0xFFFF));
  const __m256i ay = _mm256_srli_epi32(legs, 16);
  const __m256i longer = _mm256_max_epi32(ax, ay);
  const __m256i shorter = _mm256_min_epi32(ax, ay);
  const __m256i reciprocal =
      _mm256_i32gather_epi32(reinterpret_cast<const int*>(reciprocals.data()), longer, 4);
  const __m256i ratio = _mm256_srli_epi32(_mm256_mullo_epi32(shorter, reciprocal), 21);
  const __m256i entry =
      _mm256_i32gather_epi32(reinterpret_cast<const int*>(legRatios.data()), ratio, 4);
  const __m256i secant = _mm256_srli_epi32(entry, secantShift);

  __m256i root = _mm256_srli_epi32(_mm256_madd_epi16(longer, secant), 14);
  const __m256i rootSquared = _mm256_madd_epi16(root, root);
  const __m256i tooLarge = _mm256_cmpgt_epi32(rootSquared, squared);
  const __m256i nextSquared = _mm256_add_epi32(
      rootSquared, _mm256_add_epi32(_mm256_add_epi32(root, root), _mm256_set1_epi32(1)));
  const __m256i largeEnough = _mm256_cmpgt_epi32(nextSquared, squared);
  root = _mm256_add_epi32(root, tooLarge);
  root = _mm256_add_epi32(root, _mm256_andnot_si256(largeEnough, _mm256_set1_epi32(1)));

  const __m256i atan = _mm256_and_si256(entry, _mm256_set1_epi32(0xFF));
  const __m256i steep = _mm256_cmpgt_epi32(ay, ax);
  __m256i angle = _mm256_blendv_epi8(atan, _mm256_sub_epi32(_mm256_set1_epi32(90), atan), steep);
  const __m256i left = _mm256_srai_epi32(_mm256_slli_epi32(dxdy, 16), 31);
  const __m256i up = _mm256_srai_epi32(dxdy, 31);
  const __m256i mirrored = _mm256_xor_si256(left, up);
  angle = _mm256_sub_epi32(_mm256_xor_si256(angle, mirrored), mirrored);
  const __m256i base = _mm256_blendv_epi8(_mm256_and_si256(up, _mm256_set1_epi32(360)),
                                          _mm256_set1_epi32(180), left);
  return {_mm256_min_epi32(root, _mm256_set1_epi32(maxDistance)), _mm256_add_epi32(base, angle)};
}

// The upper bytes of 16 turns.
void StoreBytes(uint8_t* to, __m256i turns) {
  const __m256i bytes = _mm256_srli_epi16(turns, 8);
  _mm_storeu_si128(
      reinterpret_cast<__m128i*>(to),
      _mm_packus_epi16(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)));
}

// The pairs (i.., j), 16 at a time; eight bytes of each side by side.
void StorePairs(TemplateGeometry& geometry, int j) {
  const __m256i scale = _mm256_set1_epi16(turnScale);
  const __m256i own = _mm256_set1_epi16(static_cast<int16_t>(geometry.turn[j]));
  __m256i ends =
      _mm256_add_epi16(_mm256_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                       _mm256_set1_epi16(static_cast<int16_t>(j << 8)));
  for (int i = 0; i < j; i += 16) {
    const int place = PairPlace(i, j);
    const __m256i line = _mm256_mullo_epi16(Load(geometry.lineAngle + place), scale);
    const __m256i firstDir = _mm256_sub_epi16(Load(geometry.turn + i), line);
    const __m256i secondDir = _mm256_sub_epi16(own, line);
    StoreBytes(geometry.coarse.line + place, line);
    StoreBytes(geometry.coarse.firstDir + place, firstDir);
    StoreBytes(geometry.coarse.secondDir + place, secondDir);
    const __m256i lowAngles = _mm256_unpacklo_epi16(line, firstDir);
    const __m256i highAngles = _mm256_unpackhi_epi16(line, firstDir);
    const __m256i lowEnds = _mm256_unpacklo_epi16(secondDir, ends);
    const __m256i highEnds = _mm256_unpackhi_epi16(secondDir, ends);
    const __m256i a = _mm256_unpacklo_epi32(lowAngles, lowEnds);
    const __m256i b = _mm256_unpackhi_epi32(lowAngles, lowEnds);
    const __m256i c = _mm256_unpacklo_epi32(highAngles, highEnds);
    const __m256i d = _mm256_unpackhi_epi32(highAngles, highEnds);
    MinutiaPair* to = geometry.pairs + place;
    Store(to, _mm256_permute2x128_si256(a, b, 0x20));
    Store(to + 4, _mm256_permute2x128_si256(c, d, 0x20));
    Store(to + 8, _mm256_permute2x128_si256(a, b, 0x31));
    Store(to + 12, _mm256_permute2x128_si256(c, d, 0x31));
    ends = _mm256_add_epi16(ends, _mm256_set1_epi16(16));
  }
}

void FillPairTables(TemplateGeometry& geometry) {
  for (int j = 1; j < geometry.count; j++) {
    const __m256i end = Broadcast(geometry.position[j].x, geometry.position[j].y);
    for (int i = 0; i < j; i += 8) {
      const Polar polar = PolarOf(_mm256_sub_epi16(end, Load(geometry.position + i)));
      const __m256i both =
          _mm256_permute4x64_epi64(_mm256_packus_epi32(polar.distance, polar.angle), 0xD8);
      const int place = PairPlace(i, j);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(geometry.distance + place),
                       _mm256_castsi256_si128(both));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(geometry.lineAngle + place),
                       _mm256_extracti128_si256(both, 1));
    }
    StorePairs(geometry, j);
  }
}

// ---- Votes and seeds ----

// What voting tests at a time: 32 pairs.
class HalfLanes {
 public:
  HalfLanes(int lineReach, int dirReach)
      : lineReach_(_mm256_set1_epi8(static_cast<char>(lineReach))),
        dirReach_(_mm256_set1_epi8(static_cast<char>(dirReach))) {}

  // Which of the pairs from p on have angles near those of the other pair.
  uint64_t Agreeing(const CoarseAngles& pairs, unsigned p, const CoarseAngles& others,
                    unsigned other) const {
    const __m256i near = _mm256_and_si256(
        Near(pairs.line + p, others.line[other], lineReach_),
        _mm256_and_si256(Near(pairs.firstDir + p, others.firstDir[other], dirReach_),
                         Near(pairs.secondDir + p, others.secondDir[other], dirReach_)));
    return static_cast<uint32_t>(_mm256_movemask_epi8(near));
  }

 private:
  static __m256i Near(const uint8_t* turns, uint8_t other, __m256i reach) {
    const __m256i difference =
        _mm256_abs_epi8(_mm256_sub_epi8(_mm256_set1_epi8(static_cast<char>(other)), Load(turns)));
    return _mm256_cmpeq_epi8(_mm256_min_epu8(difference, reach), difference);
  }

  __m256i lineReach_;
  __m256i dirReach_;
};

// Or twice as many.
class FullLanes {
 public:
  FullLanes(int lineReach, int dirReach) : half_(lineReach, dirReach) {}

  uint64_t Agreeing(const CoarseAngles& pairs, unsigned p, const CoarseAngles& others,
                    unsigned other) const {
    return half_.Agreeing(pairs, p + 32, others, other) << 32 |
           half_.Agreeing(pairs, p, others, other);
  }

 private:
  HalfLanes half_;
};

// A seed's place is the number of seeds before it; one number holds votes and
// index, so that it can be counted 8 at a time.
void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  alignas(32) uint16_t votes[maxRow];
  alignas(32) uint16_t mates[maxRow];
  for (int m = 0; m < probeCount; m += 16) {
    __m256i most = Load(context.votes + m);
    __m256i mate = _mm256_setzero_si256();
    for (int n = 1; n < context.referenceGeometry.count; n++) {
      const __m256i other = Load(context.votes + n * probeCount + m);
      const __m256i larger = _mm256_max_epu16(most, other);
      const __m256i same = _mm256_cmpeq_epi16(most, larger);
      mate = _mm256_blendv_epi8(_mm256_set1_epi16(static_cast<int16_t>(n)), mate, same);
      most = larger;
    }
    Store(votes + m, most);
    Store(mates + m, mate);
  }
  int32_t keys[maxRow];
  for (int m = 0; m < probeCount; m++) keys[m] = votes[m] << 8 | (255 - m);
  for (int m = probeCount; m < probeCount + 8; m++) keys[m] = -1;
  for (int m = 0; m < probeCount; m++) {
    const __m256i own = _mm256_set1_epi32(keys[m]);
    __m256i before = _mm256_setzero_si256();
    for (int other = 0; other < probeCount; other += 8) {
      before = _mm256_sub_epi32(before, _mm256_cmpgt_epi32(Load(keys + other), own));
    }
    const int place = Sum(before);
    context.seeds[place] = {static_cast<uint8_t>(m), static_cast<uint8_t>(mates[m]), votes[m]};
    PlaceSeed(context, place, m, mates[m]);
  }
}

// Squared distances from a place, up to that of the longest.
__m256i SquaredDistances(const Position* others, Position place) {
  const __m256i apart = _mm256_sub_epi16(Load(others), Broadcast(place.x, place.y));
  return _mm256_min_epi32(_mm256_madd_epi16(apart, apart),
                          _mm256_set1_epi32(maxDistance * maxDistance));
}

// Tests the distances, and the turn of one minutia against the other's.
int ListPartners(const EngineContext& context, int place, int count, SeedPair* pairs) {
  const SeedPlaces& seeds = context.seedPlaces;
  constexpr int reach = ScaledReach(EngineParams::seedAngleTolerance);
  constexpr int separation2 = EngineParams::minSeedSeparation * EngineParams::minSeedSeparation;
  const __m128i leastTurn = _mm_set1_epi16(static_cast<int16_t>(seeds.turn[place] - reach));
  const __m128i width = _mm_set1_epi16(static_cast<int16_t>(2 * reach));
  int listed = 0;
  for (int k = 0; k < count; k += 8) {
    const __m256i distance2 = SquaredDistances(seeds.probe + k, seeds.probe[place]);
    const __m256i mateDistance2 = SquaredDistances(seeds.mate + k, seeds.mate[place]);
    const __m256i apart = _mm256_min_epi32(
        _mm256_abs_epi32(_mm256_sub_epi32(distance2, mateDistance2)), _mm256_set1_epi32(unlike));
    const __m256i most = _mm256_mullo_epi32(_mm256_add_epi32(distance2, mateDistance2),
                                            _mm256_set1_epi32(alikeFactor));
    const __m128i turns =
        _mm_sub_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(seeds.turn + k)), leastTurn);
    const __m256i alike =
        _mm256_cvtepi16_epi32(_mm_cmpeq_epi16(_mm_min_epu16(turns, width), turns));
    const __m256i unfit =
        _mm256_or_si256(_mm256_cmpgt_epi32(_mm256_mullo_epi32(apart, apart), most),
                        _mm256_cmpgt_epi32(_mm256_set1_epi32(separation2), distance2));
    const uint64_t counted = (uint64_t{1} << std::min(count - k, 8)) - 1;
    for (uint64_t bits = LaneBits(_mm256_andnot_si256(unfit, alike)) & counted; bits != 0;
         bits &= bits - 1) {
      pairs[listed++] = {static_cast<uint8_t>(k + platform::LowestBit(bits)),
                         static_cast<uint8_t>(place)};
    }
  }
  return listed;
}

// ---- Moved positions ----

// A motion for 8 positions: each product sum is one instruction.
struct VectorMotion {
  __m256i x;
  __m256i y;
  __m256i origin;
};

VectorMotion ForVectors(const Motion& motion) {
  return {Broadcast(motion.xx, motion.xy), Broadcast(motion.yx, motion.yy),
          Broadcast(motion.x0, motion.y0)};
}

__m256i Product(__m256i xy, __m256i row) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(xy, row), _mm256_set1_epi32(512)),
                           10);
}

// The lanes in which the moved positions come within the radius of the targets.
__m256i WithinReach(const Position* from, const Position* to, const VectorMotion& motion,
                    __m256i shift, int radius2) {
  const __m256i positions = Load(from);
  const __m256i moved = Pack(Product(positions, motion.x), Product(positions, motion.y));
  const __m256i apart = _mm256_sub_epi16(_mm256_add_epi16(moved, shift), Load(to));
  return _mm256_cmpgt_epi32(_mm256_set1_epi32(radius2 + 1), _mm256_madd_epi16(apart, apart));
}

// Lanes with both halves inside the box are all ones.
__m256i Inside(__m256i positions, __m256i lower, __m256i upper) {
  const __m256i in =
      _mm256_and_si256(_mm256_cmpgt_epi16(positions, lower), _mm256_cmpgt_epi16(upper, positions));
  return _mm256_cmpeq_epi32(in, _mm256_set1_epi32(-1));
}

// Which of the positions in `valid` lanes lie on ridges.
__m256i OnRidges(const Area& area, __m256i positions, __m256i valid) {
  const __m256i column =
      _mm256_srli_epi32(_mm256_and_si256(positions, _mm256_set1_epi32(0xFFFF)), 4);
  const __m256i row = _mm256_srli_epi32(positions, 20);
  const __m256i block = _mm256_mask_i32gather_epi32(
      _mm256_setzero_si256(), reinterpret_cast<const int*>(area.grid[0]),
      _mm256_add_epi32(_mm256_slli_epi32(row, 6), column), valid, 1);
  return _mm256_andnot_si256(_mm256_cmpeq_epi32(_mm256_and_si256(block, _mm256_set1_epi32(0xFF)),
                                                _mm256_set1_epi32(background)),
                             valid);
}

void MoveOnto(const TemplateGeometry& geometry, const Area& area, const Motion& motion, Point shift,
              MinutiaBits& on, Position* moved) {
  const Box box = BoxOf(area);
  const VectorMotion vectorMotion = ForVectors(motion);
  const __m256i vectorShift = Broadcast(shift.x, shift.y);
  const __m256i lower = Broadcast(box.minX, box.minY);
  const __m256i upper = Broadcast(box.maxX, box.maxY);
  const int count = geometry.count;
  for (int i = 0; i < count; i += 8) {
    const __m256i from = _mm256_sub_epi16(Load(geometry.position + i), vectorMotion.origin);
    const __m256i to = _mm256_add_epi16(
        Pack(Product(from, vectorMotion.x), Product(from, vectorMotion.y)), vectorShift);
    Store(moved + i, to);
    __m256i in = Inside(to, lower, upper);
    in = _mm256_and_si256(in, _mm256_cmpgt_epi32(_mm256_set1_epi32(count - i),
                                                 _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
    if (area.hasRidges) in = OnRidges(area, to, in);
    const uint64_t bits = LaneBits(in);
    uint64_t& word = on.words[i / 64];
    word = i % 64 == 0 ? bits : word | bits << (i % 64);
  }
}

// Of the 8 minutiae from n on, those within reach of the position and turned alike.
uint32_t NearTo(const TemplateGeometry& geometry, int n, __m256i position, __m128i leastTurn) {
  constexpr int turnReach = 2 * ScaledReach(EngineParams::seedAngleTolerance);
  const __m128i turn = _mm_sub_epi16(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(geometry.turn + n)), leastTurn);
  const __m128i alike =
      _mm_cmpeq_epi16(_mm_min_epu16(turn, _mm_set1_epi16(static_cast<int16_t>(turnReach))), turn);
  const __m256i apart = _mm256_sub_epi16(Load(geometry.position + n), position);
  const __m256i near = _mm256_cmpgt_epi32(_mm256_set1_epi32(EngineParams::pairingRadius2 + 1),
                                          _mm256_madd_epi16(apart, apart));
  return LaneBits(_mm256_and_si256(near, _mm256_cvtepi16_epi32(alike)));
}

// Lanes of positions that the map does not leave out have their first bit set.
__m256i OnMap(const BlockMap& map, __m256i positions) {
  const __m256i place = _mm256_set1_epi32(BlockMap::size - 1);
  const __m256i row = _mm256_i32gather_epi32(
      reinterpret_cast<const int*>(map.rows),
      _mm256_and_si256(_mm256_srli_epi32(positions, 20), place), sizeof(map.rows[0]));
  return _mm256_sllv_epi32(row, _mm256_andnot_si256(_mm256_srli_epi32(positions, 4), place));
}

void ListNear(EngineContext& context, const Position* moved, const MinutiaBits& among, int theta,
              int needed) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  const Box box = PairingBox(probe.area);
  const __m256i lower = Broadcast(box.minX, box.minY);
  const __m256i upper = Broadcast(box.maxX, box.maxY);
  MinutiaBits inside = {};
  int left = 0;
  for (int m = 0; m < probe.count; m += 8) {
    const __m256i positions = Load(moved + m);
    const uint64_t bits = LaneBits(_mm256_and_si256(Inside(positions, lower, upper),
                                                    OnMap(context.referenceBlocks, positions)));
    inside.words[m / 64] |= bits << (m % 64) & among.words[m / 64];
  }
  for (int word = 0; word < WordsFor(probe.count); word++) {
    left += platform::CountBits(inside.words[word]);
  }
  const int leastTurn = ScaledTurn(theta) - ScaledReach(EngineParams::seedAngleTolerance);
  NearList& near = context.near;
  near.count = 0;
  int listed = 0;
  for (int word = 0; word < WordsFor(probe.count); word++) {
    for (uint64_t bits = inside.words[word]; bits != 0; bits &= bits - 1) {
      if (listed + left < needed) return;
      left--;
      const int m = word * 64 + platform::LowestBit(bits);
      const __m256i position = Broadcast(moved[m].x, moved[m].y);
      const __m128i turn = _mm_set1_epi16(static_cast<int16_t>(probe.turn[m] + leastTurn));
      uint64_t* words = near.references[listed].words;
      uint64_t any = 0;
      for (int n = 0; n < reference.count; n += 8) {
        const uint64_t counted = reference.count - n < 8 ? (1u << (reference.count - n)) - 1 : 0xFF;
        const uint64_t found = NearTo(reference, n, position, turn) & counted;
        any |= found;
        words[n / 64] = n % 64 == 0 ? found : words[n / 64] | found << (n % 64);
      }
      near.probe[listed] = static_cast<uint8_t>(m);
      listed += any != 0 ? 1 : 0;
    }
  }
  near.count = listed;
}

}  // namespace

int avx2::SumHolding(const PairingList& pairings, const Motion& motion, Point shift, int theta) {
  constexpr int radius = EngineParams::pairDistanceTolerance + 1;
  constexpr int tolerance = EngineParams::angleTolerance;
  const VectorMotion vectorMotion = ForVectors(motion);
  const __m256i vectorShift = Broadcast(shift.x, shift.y);
  __m256i sum = _mm256_setzero_si256();
  for (int k = 0; k < pairings.count; k += 8) {
    const __m256i near =
        WithinReach(pairings.from + k, pairings.to + k, vectorMotion, vectorShift, radius * radius);
    const __m256i rotation = _mm256_cvtepi16_epi32(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairings.rotation + k)));
    const __m256i difference =
        _mm256_abs_epi32(_mm256_sub_epi32(rotation, _mm256_set1_epi32(theta)));
    const __m256i alike =
        _mm256_or_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(tolerance + 1), difference),
                        _mm256_cmpgt_epi32(difference, _mm256_set1_epi32(359 - tolerance)));
    const __m256i weight = _mm256_cvtepu16_epi32(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairings.weight + k)));
    sum = _mm256_add_epi32(sum, _mm256_and_si256(weight, _mm256_and_si256(near, alike)));
  }
  return Sum(sum);
}

// ---- Ridge orientations ----

BlockCounts avx2::CountBlocks(const Area& probe, const Area& reference, int theta, Point shift) {
  const Motion motion = Forward(theta);
  const __m256i half = _mm256_set1_epi32(theta >= 180 ? theta - 180 : theta);
  const __m256i none = _mm256_set1_epi32(background);
  const __m256i halfTurn = _mm256_set1_epi32(180);
  const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const __m256i zero = _mm256_setzero_si256();
  __m256i probeCount = zero;
  __m256i overlapCount = zero;
  __m256i agreeCount = zero;
  for (int row = 0; row < probe.gridHeight; row++) {
    const __m256i centreY = _mm256_set1_epi32(row * blockSize + blockSize / 2);
    for (int column = 0; column < probe.gridWidth; column += 8) {
      const __m256i own = _mm256_cvtepu8_epi32(
          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(probe.grid[row] + column)));
      const __m256i columns = _mm256_add_epi32(lane, _mm256_set1_epi32(column));
      const __m256i ridges =
          _mm256_andnot_si256(_mm256_cmpeq_epi32(own, none),
                              _mm256_cmpgt_epi32(_mm256_set1_epi32(probe.gridWidth), columns));
      const __m256i centreX =
          _mm256_add_epi32(_mm256_slli_epi32(columns, 4), _mm256_set1_epi32(blockSize / 2));
      const __m256i centre = Pack(centreX, centreY);
      const VectorMotion vectorMotion = ForVectors(motion);
      const __m256i x = _mm256_srai_epi32(
          _mm256_add_epi32(Product(centre, vectorMotion.x), _mm256_set1_epi32(shift.x)), 4);
      const __m256i y = _mm256_srai_epi32(
          _mm256_add_epi32(Product(centre, vectorMotion.y), _mm256_set1_epi32(shift.y)), 4);
      const __m256i inX =
          _mm256_and_si256(_mm256_cmpgt_epi32(x, zero),
                           _mm256_cmpgt_epi32(_mm256_set1_epi32(reference.gridWidth), x));
      const __m256i inY =
          _mm256_and_si256(_mm256_cmpgt_epi32(y, zero),
                           _mm256_cmpgt_epi32(_mm256_set1_epi32(reference.gridHeight), y));
      const __m256i inside = _mm256_and_si256(ridges, _mm256_and_si256(inX, inY));
      const __m256i place = _mm256_add_epi32(_mm256_slli_epi32(y, 6), x);
      const __m256i other = _mm256_and_si256(
          _mm256_mask_i32gather_epi32(none, reinterpret_cast<const int*>(reference.grid[0]), place,
                                      inside, 1),
          _mm256_set1_epi32(0xFF));
      const __m256i overlap = _mm256_andnot_si256(_mm256_cmpeq_epi32(other, none), inside);

      __m256i turned = _mm256_add_epi32(own, half);
      turned = _mm256_sub_epi32(
          turned, _mm256_andnot_si256(_mm256_cmpgt_epi32(halfTurn, turned), halfTurn));
      __m256i difference = _mm256_abs_epi32(_mm256_sub_epi32(turned, other));
      difference = _mm256_min_epi32(difference, _mm256_sub_epi32(halfTurn, difference));
      const __m256i agree = _mm256_and_si256(
          overlap,
          _mm256_cmpgt_epi32(_mm256_set1_epi32(EngineParams::orientationTolerance), difference));
      probeCount = _mm256_sub_epi32(probeCount, ridges);
      overlapCount = _mm256_sub_epi32(overlapCount, overlap);
      agreeCount = _mm256_sub_epi32(agreeCount, agree);
    }
  }
  return {Sum(probeCount), Sum(overlapCount), Sum(agreeCount)};
}

namespace {

// ---- Neighbours ----

Neighbourhood CountNeighbours(const TemplateGeometry& geometry, const MinutiaBits& paired,
                              int minutia) {
  const __m256i own = Broadcast(geometry.position[minutia].x, geometry.position[minutia].y);
  Neighbourhood counts = {0, 0};
  for (int i = 0; i < geometry.count; i += 8) {
    const __m256i apart = _mm256_sub_epi16(Load(geometry.position + i), own);
    const __m256i within =
        _mm256_cmpgt_epi32(_mm256_set1_epi32(neighbourRadius2), _mm256_madd_epi16(apart, apart));
    const uint64_t near =
        LaneBits(within) & _bzhi_u64(0xFF, static_cast<unsigned>(geometry.count - i));
    counts.minutiae += platform::CountBits(near);
    counts.paired += platform::CountBits(near & (paired.words[i / 64] >> (i % 64)));
  }
  return counts;
}

// ---- Reduction ----

void FindCrowded(const MatchWorkspace& workspace, MinutiaBits& crowded) {
  const int count = workspace.minutiaCount;
  alignas(32) Position positions[maxRow] = {};
  for (int i = 0; i < count; i++) positions[i] = {workspace.x[i], workspace.y[i]};
  for (int i = 0; i < count; i += 8) {
    const __m256i own = Load(positions + i);
    __m256i near = _mm256_setzero_si256();
    for (int other = 0; other < count; other++) {
      const __m256i apart =
          _mm256_sub_epi16(Broadcast(positions[other].x, positions[other].y), own);
      near = _mm256_sub_epi32(
          near, _mm256_cmpgt_epi32(_mm256_set1_epi32(crowdedDistance * crowdedDistance + 1),
                                   _mm256_madd_epi16(apart, apart)));
    }
    const uint64_t bits = LaneBits(_mm256_cmpgt_epi32(near, _mm256_set1_epi32(1)));
    uint64_t& word = crowded.words[i / 64];
    word = i % 64 == 0 ? bits : word | bits << (i % 64);
  }
}

void FindSmallest(const int32_t* keys, int count, int chosen, MinutiaBits& smallest) {
  for (int i = 0; i < count; i += 8) {
    const __m256i own = Load(keys + i);
    __m256i before = _mm256_setzero_si256();
    for (int other = 0; other < count; other++) {
      before = _mm256_sub_epi32(before, _mm256_cmpgt_epi32(own, _mm256_set1_epi32(keys[other])));
    }
    uint64_t bits = LaneBits(_mm256_cmpgt_epi32(_mm256_set1_epi32(chosen), before));
    if (count - i < 8) bits &= (1u << (count - i)) - 1;
    uint64_t& word = smallest.words[i / 64];
    word = i % 64 == 0 ? bits : word | bits << (i % 64);
  }
}

}  // namespace

const Kernels avx2Kernels = {"avx2",          FillPairTables,    CastVotes<HalfLanes, FullLanes>,
                             RankSeeds,       ListPartners,      FitsBesideByTurns,
                             MoveOnto,        ListNear,          avx2::SumHolding,
                             CountNeighbours, avx2::CountBlocks, FindCrowded,
                             FindSmallest};

}  // namespace vxm

#include "platform/avx2_end.h"
#endif
