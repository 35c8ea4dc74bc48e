// The inner loops in AVX2: 8 positions, or blocks, at a time.
#include <algorithm>

#include "engine/kernels/kernels.h"
#include "engine/kernels/root_tables.h"
#include "engine/scoring.h"
#include "platform/cpu.h"

#if defined(VXM_HAVE_AVX2)
#include "platform/avx2_begin.h"

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

void FillPairTables(TemplateGeometry& geometry) {
  const int n = geometry.count;
  for (int i = 0; i < n; i++) {
    uint16_t* distance = geometry.distance + geometry.Row(i);
    uint16_t* angle = geometry.lineAngle + geometry.Row(i);
    distance[i] = 0;
    const __m256i origin = Broadcast(geometry.position[i].x, geometry.position[i].y);
    for (int j = i + 1; j < n; j += 8) {
      const Polar polar = PolarOf(_mm256_sub_epi16(Load(geometry.position + j), origin));
      const __m256i both =
          _mm256_permute4x64_epi64(_mm256_packus_epi32(polar.distance, polar.angle), 0xD8);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(distance + j), _mm256_castsi256_si128(both));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(angle + j), _mm256_extracti128_si256(both, 1));
    }
    for (int j = i + 1; j < n; j++) geometry.distance[geometry.Row(j) + i] = distance[j];
  }
}

// ---- Seeds ----

// The most votes of a row, and the lowest place that has them. A row ends in
// padding without votes.
int MostVotes(const uint16_t* votes, int stride, int& place) {
  __m256i most = Load(votes);
  for (int j = 16; j < stride; j += 16) most = _mm256_max_epu16(most, Load(votes + j));
  // The least of 8 numbers is one instruction; turned round it is the most.
  const __m128i both =
      _mm_max_epu16(_mm256_castsi256_si128(most), _mm256_extracti128_si256(most, 1));
  const __m128i least = _mm_minpos_epu16(_mm_xor_si128(both, _mm_set1_epi16(-1)));
  const int count = 0xFFFF - (_mm_cvtsi128_si32(least) & 0xFFFF);
  const __m256i wanted = _mm256_set1_epi16(static_cast<int16_t>(count));
  for (int j = 0;; j += 16) {
    const auto equal =
        static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(Load(votes + j), wanted)));
    if (equal == 0) continue;
    place = j + platform::LowestBit(equal) / 2;
    return count;
  }
}

// A seed's place is the number of seeds before it; one number holds votes and
// index, so that it can be counted 8 at a time.
void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  const int stride = context.referenceGeometry.stride;
  int32_t keys[maxRow];
  SeedRecord seeds[maxMinutiae];
  for (int i = 0; i < probeCount; i++) {
    int mate = 0;
    const int count = MostVotes(context.votes + i * stride, stride, mate);
    keys[i] = count << 8 | (255 - i);
    seeds[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(mate), count};
  }
  for (int i = probeCount; i < probeCount + 8; i++) keys[i] = -1;
  for (int i = 0; i < probeCount; i++) {
    const __m256i own = _mm256_set1_epi32(keys[i]);
    __m256i before = _mm256_setzero_si256();
    for (int j = 0; j < probeCount; j += 8) {
      before = _mm256_sub_epi32(before, _mm256_cmpgt_epi32(Load(keys + j), own));
    }
    context.seeds[Sum(before)] = seeds[i];
  }
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

void MoveInto(const Position* positions, int count, const Motion& motion, Point shift,
              const Box& box, MinutiaBits& inside, Position* moved) {
  const VectorMotion vectorMotion = ForVectors(motion);
  const __m256i vectorShift = Broadcast(shift.x, shift.y);
  const __m256i lower = Broadcast(box.minX, box.minY);
  const __m256i upper = Broadcast(box.maxX, box.maxY);
  for (int i = 0; i < count; i += 8) {
    const __m256i from = _mm256_sub_epi16(Load(positions + i), vectorMotion.origin);
    const __m256i to = _mm256_add_epi16(
        Pack(Product(from, vectorMotion.x), Product(from, vectorMotion.y)), vectorShift);
    // Both halves of a lane must be all ones.
    const __m256i in =
        _mm256_and_si256(_mm256_cmpgt_epi16(to, lower), _mm256_cmpgt_epi16(upper, to));
    Store(moved + i, to);
    uint32_t bits = LaneBits(_mm256_cmpeq_epi32(in, _mm256_set1_epi32(-1)));
    if (count - i < 8) bits &= (1u << (count - i)) - 1;
    uint32_t& word = inside.words[i / 32];
    word = i % 32 == 0 ? bits : word | bits << (i % 32);
  }
}

// Lanes whose cell of the map is marked, among those that `valid` marks.
__m256i MayBeNear(const NearMap& map, __m256i positions, __m256i valid) {
  const __m256i cells = _mm256_srli_epi16(positions, 3);
  const __m256i column = _mm256_and_si256(cells, _mm256_set1_epi32(0xFFFF));
  const __m256i row = _mm256_srli_epi32(cells, 16);
  const __m256i word = _mm256_add_epi32(_mm256_slli_epi32(row, 2), _mm256_srli_epi32(column, 5));
  const __m256i bits = _mm256_mask_i32gather_epi32(
      _mm256_setzero_si256(), reinterpret_cast<const int*>(map.marked[0]), word, valid, 4);
  // The cell's bit comes to stand on top.
  return _mm256_sllv_epi32(bits, _mm256_sub_epi32(_mm256_set1_epi32(31),
                                                  _mm256_and_si256(column, _mm256_set1_epi32(31))));
}

// Adds the minutiae of one word of 64 that are within reach of p.
void ListNearTo(Position p, int m, int word, const TemplateGeometry& geometry, const NearMap& map,
                NearList& near) {
  const Position* others = geometry.position + word * 64;
  uint64_t bits =
      map.column[word][p.x / NearMap::cellSize] & map.row[word][p.y / NearMap::cellSize];
  for (; bits != 0; bits &= bits - 1) {
    const int n = platform::LowestBit(bits);
    const int dx = p.x - others[n].x;
    const int dy = p.y - others[n].y;
    const int distance2 = dx * dx + dy * dy;
    near.pairs[near.count] = {static_cast<uint8_t>(m), static_cast<uint8_t>(word * 64 + n),
                              static_cast<uint16_t>(distance2)};
    near.count += distance2 <= EngineParams::pairingRadius2 ? 1 : 0;
  }
}

void ListNear(const Position* moved, const MinutiaBits& among, int count, const Box& box,
              const TemplateGeometry& geometry, const NearMap& map, NearList& near) {
  const __m256i lower = Broadcast(box.minX, box.minY);
  const __m256i upper = Broadcast(box.maxX, box.maxY);
  near.count = 0;
  near.probeMinutiae = 0;
  for (int m0 = 0; m0 < count; m0 += 8) {
    const __m256i positions = Load(moved + m0);
    const __m256i in = _mm256_and_si256(_mm256_cmpgt_epi16(positions, lower),
                                        _mm256_cmpgt_epi16(upper, positions));
    const __m256i valid = _mm256_cmpeq_epi32(in, _mm256_set1_epi32(-1));
    uint32_t left =
        LaneBits(MayBeNear(map, positions, valid)) & (among.words[m0 / 32] >> (m0 % 32)) & 0xFF;
    for (; left != 0; left &= left - 1) {
      const int m = m0 + platform::LowestBit(left);
      const int before = near.count;
      for (int word = 0; word * 64 < geometry.count; word++) {
        ListNearTo(moved[m], m, word, geometry, map, near);
      }
      near.probeMinutiae += near.count != before ? 1 : 0;
    }
  }
}

int SumHolding(const PairingList& pairings, const Motion& motion, Point shift, int theta) {
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

BlockCounts CountBlocks(const Area& probe, const Area& reference, int theta, Point shift) {
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

}  // namespace

const Kernels avx2Kernels = {"avx2",   FillPairTables, RankSeeds,  MoveInto,
                             ListNear, SumHolding,     CountBlocks};

}  // namespace vxm

#include "platform/avx2_end.h"
#endif
