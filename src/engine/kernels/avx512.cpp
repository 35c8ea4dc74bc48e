// The inner loops in AVX-512: 16 positions, or 64 pairs, at a time. What gains
// nothing from the longer vectors is that of AVX2.
#include <algorithm>

#include "engine/kernels/kernels.h"
#include "engine/kernels/pair_ends.h"
#include "engine/kernels/root_tables.h"
#include "engine/scoring.h"
#include "platform/cpu.h"

#if defined(VXM_HAVE_AVX)
#include "platform/avx512_begin.h"
//
#include "engine/kernels/vector_voting.h"

namespace vxm {
namespace {

constexpr auto reciprocals = MakeShortReciprocals();
constexpr auto extraLengths = MakeExtraLengths();
constexpr auto legAngles = MakeLegAngles();

__m512i Load(const void* from) { return _mm512_loadu_si512(from); }

void Store(void* to, __m512i value) { _mm512_storeu_si512(to, value); }

__m512i Broadcast(int x, int y) {
  return _mm512_set1_epi32(static_cast<int>(static_cast<uint32_t>(y) << 16 | (x & 0xFFFF)));
}

__m512i Pack(__m512i x, __m512i y) {
  return _mm512_mask_blend_epi16(0xAAAAAAAA, x, _mm512_slli_epi32(y, 16));
}

// The first `count` bits, of `most` at most. What comes from a mask is taken through
// this: compilers were seen to put a mask of 16 bits on the stack and to take back 64.
template <int most>
uint64_t FirstBits(int count) {
  return (uint64_t{1} << std::min(count, most)) - 1;
}

// ---- Distances and directions ----

struct Polar {
  __m512i distance;
  __m512i angle;
};

// The entries that the lower 6 bits of each lane name.
__m512i LookUp(const ShortTable& table, __m512i places) {
  return _mm512_maskz_permutex2var_epi16(0x55555555, Load(table.data()), places,
                                         Load(table.data() + shortTable / 2));
}

// shorter / longer in 65536ths, nearly; 0 for no legs. The reciprocal of the
// longer one, with its first bit on top, comes from a table and one step of
// Newton's.
__m512i LegRatio(__m512i shorter, __m512i longer) {
  const __m512i zeros = _mm512_lzcnt_epi32(longer);
  const __m512i mantissa = _mm512_srli_epi32(_mm512_sllv_epi32(longer, zeros), 16);
  const __m512i guess = LookUp(reciprocals, _mm512_srli_epi32(mantissa, 9));
  const __m512i error = _mm512_srai_epi32(
      _mm512_sub_epi32(_mm512_set1_epi32(INT32_MIN), _mm512_mullo_epi32(mantissa, guess)), 16);
  const __m512i reciprocal =
      _mm512_add_epi32(guess, _mm512_srai_epi32(_mm512_mullo_epi32(guess, error), 15));
  const __m512i ratio = _mm512_srlv_epi32(_mm512_mullo_epi32(shorter, reciprocal),
                                          _mm512_sub_epi32(_mm512_set1_epi32(31), zeros));
  return _mm512_min_epi32(ratio, _mm512_set1_epi32(65535));
}

// Of 16 vectors: the ratio of the legs, coarsely, gives an angle and a root, which
// are then put right.
inline Polar PolarOf(__m512i dxdy) {
  const __m512i squared = _mm512_madd_epi16(dxdy, dxdy);
  const __m512i legs = _mm512_abs_epi16(dxdy);
  const __m512i ax = _mm512_and_si512(legs, _mm512_set1_epi32(0xFFFF));
  const __m512i ay = _mm512_srli_epi32(legs, 16);
  const __m512i longer = _mm512_max_epi32(ax, ay);
  const __m512i shorter = _mm512_min_epi32(ax, ay);
  const __m512i ratio = LegRatio(shorter, longer);
  const __m512i entry = _mm512_srli_epi32(ratio, 10);

  const __m512i beyond = _mm512_and_si512(_mm512_slli_epi32(ratio, 6), _mm512_set1_epi32(0xFFFF));
  const __m512i extra =
      _mm512_add_epi32(LookUp(extraLengths.extra, entry),
                       _mm512_mulhi_epu16(LookUp(extraLengths.growth, entry), beyond));
  __m512i root = _mm512_add_epi32(longer, _mm512_mulhi_epu16(longer, extra));
  const __m512i one = _mm512_set1_epi32(1);
  const __m512i rootSquared = _mm512_madd_epi16(root, root);
  const __m512i nextSquared =
      _mm512_add_epi32(rootSquared, _mm512_add_epi32(_mm512_add_epi32(root, root), one));
  const __mmask16 tooLarge = _mm512_cmpgt_epi32_mask(rootSquared, squared);
  const __mmask16 tooSmall = _mm512_cmple_epi32_mask(nextSquared, squared);
  root = _mm512_mask_sub_epi32(root, tooLarge, root, one);
  root = _mm512_mask_add_epi32(root, tooSmall, root, one);

  const __m512i scaled = _mm512_slli_epi32(shorter, 10);
  const __mmask16 any = _mm512_test_epi32_mask(longer, longer);
  const __mmask16 oneMore = _mm512_mask_cmpge_epi32_mask(
      any, scaled, _mm512_madd_epi16(longer, LookUp(legAngles.oneMore, entry)));
  const __mmask16 twoMore = _mm512_mask_cmpge_epi32_mask(
      any, scaled, _mm512_madd_epi16(longer, LookUp(legAngles.twoMore, entry)));
  __m512i atan = LookUp(legAngles.least, entry);
  atan = _mm512_mask_add_epi32(atan, oneMore, atan, one);
  atan = _mm512_mask_add_epi32(atan, twoMore, atan, one);
  const __mmask16 steep = _mm512_cmpgt_epi32_mask(ay, ax);
  __m512i angle = _mm512_mask_sub_epi32(atan, steep, _mm512_set1_epi32(90), atan);
  const __m512i x = _mm512_slli_epi32(dxdy, 16);
  const __m512i left = _mm512_srai_epi32(x, 31);
  const __m512i up = _mm512_srai_epi32(dxdy, 31);
  const __m512i mirrored = _mm512_xor_si512(left, up);
  angle = _mm512_sub_epi32(_mm512_xor_si512(angle, mirrored), mirrored);
  const __m512i base =
      _mm512_mask_blend_epi32(_mm512_cmplt_epi32_mask(x, _mm512_setzero_si512()),
                              _mm512_and_si512(up, _mm512_set1_epi32(360)), _mm512_set1_epi32(180));
  return {_mm512_min_epi32(root, _mm512_set1_epi32(maxDistance)), _mm512_add_epi32(base, angle)};
}

void StoreBytes(uint8_t* to, __m512i turns) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                      _mm512_cvtepi16_epi8(_mm512_srli_epi16(turns, 8)));
}

void StoreVectors(TemplateGeometry& geometry, int place, __m512i dxdy) {
  const Polar polar = PolarOf(dxdy);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(geometry.distance + place),
                      _mm512_cvtepi32_epi16(polar.distance));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(geometry.lineAngle + place),
                      _mm512_cvtepi32_epi16(polar.angle));
}

// Of 32 pairs whose lines are there already: the turns of their ends, and which they
// are, the second in the upper byte.
void StorePairs(TemplateGeometry& geometry, int place, __m512i first, __m512i second,
                __m512i ends) {
  const __m512i line =
      _mm512_mullo_epi16(Load(geometry.lineAngle + place), _mm512_set1_epi16(turnScale));
  const __m512i firstDir = _mm512_sub_epi16(first, line);
  const __m512i secondDir = _mm512_sub_epi16(second, line);
  StoreBytes(geometry.coarse.line + place, line);
  StoreBytes(geometry.coarse.firstDir + place, firstDir);
  StoreBytes(geometry.coarse.secondDir + place, secondDir);
  // Eight bytes of each pair side by side: in every quarter of a vector two pairs, then
  // the quarters in order.
  const __m512i lowAngles = _mm512_unpacklo_epi16(line, firstDir);
  const __m512i highAngles = _mm512_unpackhi_epi16(line, firstDir);
  const __m512i lowEnds = _mm512_unpacklo_epi16(secondDir, ends);
  const __m512i highEnds = _mm512_unpackhi_epi16(secondDir, ends);
  const __m512i a = _mm512_unpacklo_epi32(lowAngles, lowEnds);
  const __m512i b = _mm512_unpackhi_epi32(lowAngles, lowEnds);
  const __m512i c = _mm512_unpacklo_epi32(highAngles, highEnds);
  const __m512i d = _mm512_unpackhi_epi32(highAngles, highEnds);
  const __m512i abFront = _mm512_shuffle_i64x2(a, b, 0x44);
  const __m512i cdFront = _mm512_shuffle_i64x2(c, d, 0x44);
  const __m512i abBack = _mm512_shuffle_i64x2(a, b, 0xEE);
  const __m512i cdBack = _mm512_shuffle_i64x2(c, d, 0xEE);
  MinutiaPair* to = geometry.pairs + place;
  Store(to, _mm512_shuffle_i64x2(abFront, cdFront, 0x88));
  Store(to + 8, _mm512_shuffle_i64x2(abFront, cdFront, 0xDD));
  Store(to + 16, _mm512_shuffle_i64x2(abBack, cdBack, 0x88));
  Store(to + 24, _mm512_shuffle_i64x2(abBack, cdBack, 0xDD));
}

__m512i Places(const uint8_t* bytes) {
  return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

__m512i Words(const uint8_t* bytes) {
  return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)));
}

// All pairs of few minutiae in a row: two vectors hold the positions, and one the
// turns.
constexpr int few = 32;

void FillFew(TemplateGeometry& geometry) {
  const int pairs = PairCount(geometry.count);
  const __m512i low = Load(geometry.position);
  const __m512i high = Load(geometry.position + few / 2);
  for (int place = 0; place < pairs; place += 16) {
    const __m512i from =
        _mm512_permutex2var_epi32(low, Places(pairEnds.first.data() + place), high);
    const __m512i to = _mm512_permutex2var_epi32(low, Places(pairEnds.second.data() + place), high);
    StoreVectors(geometry, place, _mm512_sub_epi16(to, from));
  }
  const __m512i turns = Load(geometry.turn);
  for (int place = 0; place < pairs; place += 32) {
    const __m512i first = Words(pairEnds.first.data() + place);
    const __m512i second = Words(pairEnds.second.data() + place);
    StorePairs(geometry, place, _mm512_permutexvar_epi16(first, turns),
               _mm512_permutexvar_epi16(second, turns),
               _mm512_or_si512(first, _mm512_slli_epi16(second, 8)));
  }
}

// The pairs of a later minutia with all before it, minutia by minutia.
void FillMany(TemplateGeometry& geometry) {
  const __m512i counting = _mm512_cvtepu8_epi16(
      _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                       22, 23, 24, 25, 26, 27, 28, 29, 30, 31));
  for (int j = 1; j < geometry.count; j++) {
    const __m512i end = Broadcast(geometry.position[j].x, geometry.position[j].y);
    const __m512i turn = _mm512_set1_epi16(static_cast<int16_t>(geometry.turn[j]));
    for (int i = 0; i < j; i += 16) {
      StoreVectors(geometry, PairPlace(i, j), _mm512_sub_epi16(end, Load(geometry.position + i)));
    }
    __m512i ends = _mm512_add_epi16(counting, _mm512_set1_epi16(static_cast<int16_t>(j << 8)));
    for (int i = 0; i < j; i += 32) {
      StorePairs(geometry, PairPlace(i, j), Load(geometry.turn + i), turn, ends);
      ends = _mm512_add_epi16(ends, _mm512_set1_epi16(32));
    }
  }
}

void FillPairTables(TemplateGeometry& geometry) {
  if (geometry.count <= few) {
    FillFew(geometry);
  } else {
    FillMany(geometry);
  }
}

// ---- Votes and seeds ----

// What voting tests with one instruction: 64 pairs.
class FullLanes {
 public:
  FullLanes(int lineReach, int dirReach)
      : lineReach_(_mm512_set1_epi8(static_cast<char>(lineReach))),
        dirReach_(_mm512_set1_epi8(static_cast<char>(dirReach))) {}

  // Which of the pairs from p on have angles near those of the other pair.
  uint64_t Agreeing(const CoarseAngles& pairs, unsigned p, const CoarseAngles& others,
                    unsigned other) const {
    const __mmask64 line = Near(~__mmask64{0}, pairs.line + p, others.line[other], lineReach_);
    const __mmask64 first = Near(line, pairs.firstDir + p, others.firstDir[other], dirReach_);
    return Near(first, pairs.secondDir + p, others.secondDir[other], dirReach_);
  }

 private:
  static __mmask64 Near(__mmask64 among, const uint8_t* turns, uint8_t other, __m512i reach) {
    const __m512i difference =
        _mm512_sub_epi8(_mm512_set1_epi8(static_cast<char>(other)), Load(turns));
    return _mm512_mask_cmple_epu8_mask(among, _mm512_abs_epi8(difference), reach);
  }

  __m512i lineReach_;
  __m512i dirReach_;
};

// The same with 32 pairs, which cross fewer lines of the cache.
class HalfLanes {
 public:
  HalfLanes(int lineReach, int dirReach)
      : lineReach_(_mm256_set1_epi8(static_cast<char>(lineReach))),
        dirReach_(_mm256_set1_epi8(static_cast<char>(dirReach))) {}

  uint64_t Agreeing(const CoarseAngles& pairs, unsigned p, const CoarseAngles& others,
                    unsigned other) const {
    const __mmask32 line = Near(~__mmask32{0}, pairs.line + p, others.line[other], lineReach_);
    const __mmask32 first = Near(line, pairs.firstDir + p, others.firstDir[other], dirReach_);
    return Near(first, pairs.secondDir + p, others.secondDir[other], dirReach_);
  }

 private:
  static __mmask32 Near(__mmask32 among, const uint8_t* turns, uint8_t other, __m256i reach) {
    const __m256i difference =
        _mm256_sub_epi8(_mm256_set1_epi8(static_cast<char>(other)),
                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(turns)));
    return _mm256_mask_cmple_epu8_mask(among, _mm256_abs_epi8(difference), reach);
  }

  __m256i lineReach_;
  __m256i dirReach_;
};

// A seed's place is the number of seeds before it; one number holds votes and
// index, so that it can be counted 16 at a time.
void RankSeeds(EngineContext& context) {
  const int probeCount = context.probeGeometry.count;
  alignas(64) uint16_t votes[maxRow];
  alignas(64) uint16_t mates[maxRow];
  for (int m = 0; m < probeCount; m += 32) {
    __m512i most = Load(context.votes + m);
    __m512i mate = _mm512_setzero_si512();
    for (int n = 1; n < context.referenceGeometry.count; n++) {
      const __m512i other = Load(context.votes + n * probeCount + m);
      const __mmask32 more = _mm512_cmpgt_epu16_mask(other, most);
      most = _mm512_max_epu16(most, other);
      mate = _mm512_mask_mov_epi16(mate, more, _mm512_set1_epi16(static_cast<int16_t>(n)));
    }
    Store(votes + m, most);
    Store(mates + m, mate);
  }
  alignas(64) int32_t keys[maxRow];
  const __m512i lane = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  for (int m = 0; m < probeCount; m += 16) {
    const __m512i count =
        _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(votes + m)));
    const __m512i key =
        _mm512_sub_epi32(_mm512_slli_epi32(count, 8), _mm512_add_epi32(lane, _mm512_set1_epi32(m)));
    // Places beyond the probe's come last.
    Store(keys + m, _mm512_mask_blend_epi32(static_cast<__mmask16>(FirstBits<16>(probeCount - m)),
                                            _mm512_set1_epi32(-1 - maxRow), key));
  }
  alignas(64) int32_t places[maxRow];
  for (int m = 0; m < probeCount; m += 16) {
    const __m512i own = Load(keys + m);
    __m512i before = _mm512_setzero_si512();
    for (int other = 0; other < probeCount; other++) {
      const __mmask16 larger = _mm512_cmpgt_epi32_mask(_mm512_set1_epi32(keys[other]), own);
      before = _mm512_mask_add_epi32(before, larger, before, _mm512_set1_epi32(1));
    }
    Store(places + m, before);
  }
  for (int m = 0; m < probeCount; m++) {
    const int place = places[m];
    context.seeds[place] = {static_cast<uint8_t>(m), static_cast<uint8_t>(mates[m]), votes[m]};
    PlaceSeed(context, place, m, mates[m]);
  }
}

// Squared distances from a place, up to that of the longest.
__m512i SquaredDistances(const Position* others, Position place) {
  const __m512i apart = _mm512_sub_epi16(Load(others), Broadcast(place.x, place.y));
  return _mm512_min_epi32(_mm512_madd_epi16(apart, apart),
                          _mm512_set1_epi32(maxDistance * maxDistance));
}

// Tests the distances, and the turn of one minutia against the other's.
int ListPartners(const EngineContext& context, int place, int count, SeedPair* pairs) {
  const SeedPlaces& seeds = context.seedPlaces;
  constexpr int reach = ScaledReach(EngineParams::seedAngleTolerance);
  constexpr int separation2 = EngineParams::minSeedSeparation * EngineParams::minSeedSeparation;
  const __m256i leastTurn = _mm256_set1_epi16(static_cast<int16_t>(seeds.turn[place] - reach));
  const __m512i lane = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  int listed = 0;
  for (int k = 0; k < count; k += 16) {
    const __m512i distance2 = SquaredDistances(seeds.probe + k, seeds.probe[place]);
    const __m512i mateDistance2 = SquaredDistances(seeds.mate + k, seeds.mate[place]);
    const __m512i apart = _mm512_min_epi32(
        _mm512_abs_epi32(_mm512_sub_epi32(distance2, mateDistance2)), _mm512_set1_epi32(unlike));
    const __m512i most = _mm512_mullo_epi32(_mm512_add_epi32(distance2, mateDistance2),
                                            _mm512_set1_epi32(alikeFactor));
    const __m256i turns = _mm256_sub_epi16(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(seeds.turn + k)), leastTurn);
    __mmask16 fit =
        _mm256_cmple_epu16_mask(turns, _mm256_set1_epi16(static_cast<int16_t>(2 * reach)));
    fit = _mm512_mask_cmple_epi32_mask(fit, _mm512_mullo_epi32(apart, apart), most);
    fit = _mm512_mask_cmpge_epi32_mask(fit, distance2, _mm512_set1_epi32(separation2));
    const uint64_t bits = fit & FirstBits<16>(count - k);
    const __m512i numbered = _mm512_add_epi32(lane, _mm512_set1_epi32(place << 8 | k));
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(pairs + listed),
        _mm512_cvtepi32_epi16(_mm512_maskz_compress_epi32(static_cast<__mmask16>(bits), numbered)));
    listed += platform::CountBits(bits);
  }
  return listed;
}

// ---- Moved positions ----

__m512i Product(__m512i xy, __m512i row) {
  return _mm512_srai_epi32(_mm512_add_epi32(_mm512_madd_epi16(xy, row), _mm512_set1_epi32(512)),
                           10);
}

// Lanes with both halves inside the box.
__mmask16 Inside(__m512i positions, __m512i lower, __m512i upper) {
  const __mmask32 above = _mm512_cmpgt_epi16_mask(positions, lower);
  const __mmask32 in = _mm512_mask_cmpgt_epi16_mask(above, upper, positions);
  return _mm512_cmpeq_epi32_mask(_mm512_movm_epi16(in), _mm512_set1_epi32(-1));
}

// Which of the positions in `valid` lanes lie on ridges.
__mmask16 OnRidges(const Area& area, __m512i positions, __mmask16 valid) {
  const __m512i column =
      _mm512_srli_epi32(_mm512_and_si512(positions, _mm512_set1_epi32(0xFFFF)), 4);
  const __m512i row = _mm512_srli_epi32(positions, 20);
  const __m512i block = _mm512_mask_i32gather_epi32(
      _mm512_setzero_si512(), valid, _mm512_add_epi32(_mm512_slli_epi32(row, 6), column),
      area.grid[0], 1);
  return _mm512_mask_cmpneq_epi32_mask(valid, _mm512_and_si512(block, _mm512_set1_epi32(0xFF)),
                                       _mm512_set1_epi32(background));
}

void MoveOnto(const TemplateGeometry& geometry, const Area& area, const Motion& motion, Point shift,
              MinutiaBits& on, Position* moved) {
  const Box box = BoxOf(area);
  const __m512i rowX = Broadcast(motion.xx, motion.xy);
  const __m512i rowY = Broadcast(motion.yx, motion.yy);
  const __m512i origin = Broadcast(motion.x0, motion.y0);
  const __m512i vectorShift = Broadcast(shift.x, shift.y);
  const __m512i lower = Broadcast(box.minX, box.minY);
  const __m512i upper = Broadcast(box.maxX, box.maxY);
  uint64_t bits = 0;
  for (int i = 0; i < geometry.count; i += 16) {
    const __m512i from = _mm512_sub_epi16(Load(geometry.position + i), origin);
    const __m512i to =
        _mm512_add_epi16(Pack(Product(from, rowX), Product(from, rowY)), vectorShift);
    Store(moved + i, to);
    const uint64_t counted = FirstBits<16>(geometry.count - i);
    __mmask16 in = Inside(to, lower, upper) & static_cast<__mmask16>(counted);
    if (area.hasRidges) in = OnRidges(area, to, in);
    bits = (i % 64 == 0 ? 0 : bits) | (in & counted) << (i % 64);
    on.words[i / 64] = bits;
  }
}

// What the mates of a moved minutia have in common.
struct Wanted {
  __m512i position;
  __m512i leastTurn;
};

// Which of 32 minutiae are so.
inline uint32_t MatesAmong(__m512i low, __m512i high, __m512i turns, const Wanted& wanted) {
  constexpr int turnReach = ScaledReach(EngineParams::seedAngleTolerance);
  const __m512i radius2 = _mm512_set1_epi32(EngineParams::pairingRadius2);
  const __m512i lowApart = _mm512_sub_epi16(low, wanted.position);
  const __m512i highApart = _mm512_sub_epi16(high, wanted.position);
  const __mmask16 lowNear = _mm512_cmple_epi32_mask(_mm512_madd_epi16(lowApart, lowApart), radius2);
  const __mmask16 highNear =
      _mm512_cmple_epi32_mask(_mm512_madd_epi16(highApart, highApart), radius2);
  return _mm512_mask_cmple_epu16_mask(_mm512_kunpackw(highNear, lowNear),
                                      _mm512_sub_epi16(turns, wanted.leastTurn),
                                      _mm512_set1_epi16(static_cast<int16_t>(2 * turnReach)));
}

// `blocks` vectors of 32 minutiae make up the reference; 0 for any number. Few stay
// in registers.
template <int blocks>
void ListInside(EngineContext& context, const Position* moved, const MinutiaBits& inside, int left,
                int leastTurn, int needed) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const uint16_t* turn = context.probeGeometry.turn;
  NearList& near = context.near;
  const uint64_t counted = FirstBits<32>(reference.count);
  const uint64_t nextCounted = FirstBits<32>(std::max(reference.count - 32, 0));
  const __m512i low = Load(reference.position);
  const __m512i high = Load(reference.position + 16);
  const __m512i turns = Load(reference.turn);
  const __m512i nextLow = Load(reference.position + 32);
  const __m512i nextHigh = Load(reference.position + 48);
  const __m512i nextTurns = Load(reference.turn + 32);
  int listed = 0;
  for (int word = 0; word < WordsFor(context.probeGeometry.count); word++) {
    for (uint64_t bits = inside.words[word]; bits != 0; bits &= bits - 1) {
      if (listed + left < needed) return;
      left--;
      const int m = word * 64 + platform::LowestBit(bits);
      const Wanted wanted = {Broadcast(moved[m].x, moved[m].y),
                             _mm512_set1_epi16(static_cast<int16_t>(turn[m] + leastTurn))};
      uint64_t* words = near.references[listed].words;
      uint64_t any = 0;
      if (blocks == 1) {
        any = words[0] = MatesAmong(low, high, turns, wanted) & counted;
      } else if (blocks == 2) {
        const uint64_t next = MatesAmong(nextLow, nextHigh, nextTurns, wanted) & nextCounted;
        any = words[0] = (MatesAmong(low, high, turns, wanted) & counted) | next << 32;
      } else {
        for (int n = 0; n < reference.count; n += 32) {
          const uint64_t mates =
              MatesAmong(Load(reference.position + n), Load(reference.position + n + 16),
                         Load(reference.turn + n), wanted) &
              FirstBits<32>(reference.count - n);
          words[n / 64] = n % 64 == 0 ? mates : words[n / 64] | mates << 32;
          any |= mates;
        }
      }
      near.probe[listed] = static_cast<uint8_t>(m);
      listed += any != 0 ? 1 : 0;
    }
  }
  near.count = listed;
}

// Which of the positions the map does not leave out.
__mmask16 OnMap(const BlockMap& map, __m512i positions) {
  const __m512i row = _mm512_permutex2var_epi32(Load(map.rows), _mm512_srli_epi32(positions, 20),
                                                Load(map.rows + BlockMap::size / 2));
  return _mm512_test_epi32_mask(_mm512_rorv_epi32(row, _mm512_srli_epi32(positions, 4)),
                                _mm512_set1_epi32(1));
}

void ListNear(EngineContext& context, const Position* moved, const MinutiaBits& among, int theta,
              int needed) {
  const TemplateGeometry& probe = context.probeGeometry;
  const Box box = PairingBox(probe.area);
  const __m512i lower = Broadcast(box.minX, box.minY);
  const __m512i upper = Broadcast(box.maxX, box.maxY);
  MinutiaBits inside = {};
  for (int m = 0; m < probe.count; m += 16) {
    const __m512i positions = Load(moved + m);
    const uint64_t bits = Inside(positions, lower, upper) &
                          OnMap(context.referenceBlocks, positions) &
                          FirstBits<16>(probe.count - m);
    inside.words[m / 64] |= bits << (m % 64) & among.words[m / 64];
  }
  int count = 0;
  for (int word = 0; word < WordsFor(probe.count); word++) {
    count += platform::CountBits(inside.words[word]);
  }
  context.near.count = 0;
  if (count < needed) return;
  const int referenceCount = context.referenceGeometry.count;
  const auto list = referenceCount <= 32   ? ListInside<1>
                    : referenceCount <= 64 ? ListInside<2>
                                           : ListInside<0>;
  list(context, moved, inside, count,
       ScaledTurn(theta) - ScaledReach(EngineParams::seedAngleTolerance), needed);
}

// ---- Neighbours ----

Neighbourhood CountNeighbours(const TemplateGeometry& geometry, const MinutiaBits& paired,
                              int minutia) {
  const __m512i own = Broadcast(geometry.position[minutia].x, geometry.position[minutia].y);
  Neighbourhood counts = {0, 0};
  for (int i = 0; i < geometry.count; i += 16) {
    const __m512i apart = _mm512_sub_epi16(Load(geometry.position + i), own);
    const uint64_t near = _mm512_cmplt_epi32_mask(_mm512_madd_epi16(apart, apart),
                                                  _mm512_set1_epi32(neighbourRadius2)) &
                          FirstBits<16>(geometry.count - i);
    counts.minutiae += platform::CountBits(near);
    counts.paired += platform::CountBits(near & (paired.words[i / 64] >> (i % 64)));
  }
  return counts;
}

// ---- Reduction ----

void FindCrowded(const MatchWorkspace& workspace, MinutiaBits& crowded) {
  const int count = workspace.minutiaCount;
  alignas(64) Position positions[maxRow] = {};
  for (int i = 0; i < count; i++) positions[i] = {workspace.x[i], workspace.y[i]};
  for (int i = 0; i < count; i += 16) {
    const __m512i own = Load(positions + i);
    __m512i near = _mm512_setzero_si512();
    for (int other = 0; other < count; other++) {
      const __m512i apart =
          _mm512_sub_epi16(Broadcast(positions[other].x, positions[other].y), own);
      const __mmask16 within = _mm512_cmple_epi32_mask(
          _mm512_madd_epi16(apart, apart), _mm512_set1_epi32(crowdedDistance * crowdedDistance));
      near = _mm512_mask_add_epi32(near, within, near, _mm512_set1_epi32(1));
    }
    const uint64_t bits =
        _mm512_cmpgt_epi32_mask(near, _mm512_set1_epi32(1)) & FirstBits<16>(count - i);
    crowded.words[i / 64] = (i % 64 == 0 ? 0 : crowded.words[i / 64]) | bits << (i % 64);
  }
}

void FindSmallest(const int32_t* keys, int count, int chosen, MinutiaBits& smallest) {
  for (int i = 0; i < count; i += 16) {
    const __m512i own = Load(keys + i);
    __m512i before = _mm512_setzero_si512();
    for (int other = 0; other < count; other++) {
      const __mmask16 smaller = _mm512_cmplt_epi32_mask(_mm512_set1_epi32(keys[other]), own);
      before = _mm512_mask_add_epi32(before, smaller, before, _mm512_set1_epi32(1));
    }
    const uint64_t bits =
        _mm512_cmplt_epi32_mask(before, _mm512_set1_epi32(chosen)) & FirstBits<16>(count - i);
    smallest.words[i / 64] = (i % 64 == 0 ? 0 : smallest.words[i / 64]) | bits << (i % 64);
  }
}

}  // namespace

const Kernels avx512Kernels = {"avx512",        FillPairTables,    CastVotes<HalfLanes, FullLanes>,
                               RankSeeds,       ListPartners,      FitsBesideByTurns,
                               MoveOnto,        ListNear,          avx2::SumHolding,
                               CountNeighbours, avx2::CountBlocks, FindCrowded,
                               FindSmallest};

}  // namespace vxm

#include "platform/avx512_end.h"
#endif
