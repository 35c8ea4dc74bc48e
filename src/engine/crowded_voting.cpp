// Voting where crowds of pairs agree.
//
// In: the same as voting. Out: the same votes, by no more work however many pairs agree.
// Idea: the probe's pairs are taken in blocks, with a bit for each pair. Whether it agrees
// with a pair of the reference rests on a few small numbers of the latter, each by itself:
// its length, its line, its two directions as seen from the line, the difference of these
// and two qualities. So for every value that such a number can have a table tells which
// pairs of the block agree with it, and the pairs that agree in all are the AND of some
// entries. Each bit that is left is a vote for both its minutiae; of all pairs that share a
// minutia of the reference the bits are added up side by side, in counters that lie across
// words, before the sums go where they belong.
// Angles beyond 360 degrees make differences that do not wrap. Then it still rests on such
// numbers alone; what they add is told at DirectionsAgree and MarkRelative.
// Cost: for each block and pair of the reference of like length a dozen operations on words,
// for each pair of the probe and minutia of the reference two additions: for 200 minutiae
// in a heap a tenth to a thirtieth of the time that going from pair to pair takes.
//
// CrowdedVotingTest holds it to the scalar form's votes.
#include <algorithm>

#include "engine/scoring.h"
#include "engine/stages.h"

namespace vxm {
namespace {

template <typename Combine>
PairBits ForEachWord(const PairBits& a, const PairBits& b, Combine combine) {
  PairBits combined;
  for (int k = 0; k < PairBits::words; k++) combined.word[k] = combine(a.word[k], b.word[k]);
  return combined;
}
PairBits operator&(const PairBits& a, const PairBits& b) {
  return ForEachWord(a, b, [](uint64_t x, uint64_t y) { return x & y; });
}
PairBits operator|(const PairBits& a, const PairBits& b) {
  return ForEachWord(a, b, [](uint64_t x, uint64_t y) { return x | y; });
}
PairBits operator^(const PairBits& a, const PairBits& b) {
  return ForEachWord(a, b, [](uint64_t x, uint64_t y) { return x ^ y; });
}

// ---- The tables. A bit is changed where its pair begins to agree and behind where it
// ends; the running sum then tells which agree with each value.

// A table to be filled: entries for the values from `least` to `most`, and one behind.
struct Marks {
  PairBits* bits;
  int least;
  int most;

  template <typename Table>
  Marks(Table& table) : bits(table.bits), least(table.least), most(table.most) {}
};

void Mark(const Marks& table, int pair, int from, int to) {
  from = std::max(from, table.least);
  to = std::min(to, table.most);
  if (from > to) return;
  const uint64_t bit = uint64_t{1} << (pair % 64);
  table.bits[from - table.least].word[pair / 64] ^= bit;
  table.bits[to + 1 - table.least].word[pair / 64] ^= bit;
}

// All values within the tolerance of an angle, or full turns from there.
void MarkAround(const Marks& table, int pair, int angle, int tolerance) {
  for (int centre = angle - 720; centre <= angle + 720; centre += 360) {
    Mark(table, pair, centre - tolerance, centre + tolerance);
  }
}

// All relative angles that agree by the definition, which takes differences as they are
// and those below 0 modulo 65536: far from all others, and so in agreement with them.
void MarkRelative(const Marks& table, int pair, int angle, int tolerance) {
  if (angle < 0) {
    Mark(table, pair, angle - tolerance, std::min(angle + tolerance, -1));
    Mark(table, pair, 0, table.most);
  } else {
    Mark(table, pair, table.least, -1);
    Mark(table, pair, 0, angle + tolerance - 360);
    Mark(table, pair, std::max(angle - tolerance, 0), angle + tolerance);
    Mark(table, pair, angle - tolerance + 360, table.most);
  }
}

void SumUp(const Marks& table) {
  for (int k = 1; k <= table.most - table.least + 1; k++) {
    table.bits[k] = table.bits[k] ^ table.bits[k - 1];
  }
}

template <typename Table>
const PairBits& At(const Table& table, int value) {
  return table.bits[value - Table::least];
}

// Pairs of the probe that stand side by side.
struct Block {
  int start;
  int count;
  int shortest;  // pixels
  int longest;
};

Block BlockFrom(const EngineContext& context, int start, int end) {
  const PairList& pairs = context.probePairs;
  const auto lengthOf = [&](int p) {
    return DistanceOf(context.probeGeometry, pairs.pairs[p].first, pairs.pairs[p].second);
  };
  const int shortest = lengthOf(start);
  const int alike = PairsUpTo(pairs, std::min(shortest + AgreementMasks::extent - 1, maxDistance));
  const int count = std::min(std::min(alike, end) - start, PairBits::pairs);
  return {start, count, shortest, lengthOf(start + count - 1)};
}

void FillMasks(const EngineContext& context, const Block& block, const MatchLimits& limits) {
  AgreementMasks& masks = context.masks;
  const TemplateGeometry& probe = context.probeGeometry;
  const int tolerance = limits.angleTolerance;
  const int falloff = context.scale == Scale::native ? EngineParams::qualityFalloff : 128;
  masks = {};
  for (int k = 0; k < block.count; k++) {
    const MinutiaPair& pair = context.probePairs.pairs[block.start + k];
    const int place = PairPlace(pair.first, pair.second);
    const int length = probe.distance[place] - block.shortest;
    const int line = probe.lineAngle[place];
    Mark(masks.length, k, length - limits.distanceTolerance, length + limits.distanceTolerance);
    MarkAround(masks.line, k, line, EngineParams::lineTolerance);
    MarkRelative(masks.relative, k, AngleBetween(probe.dir[pair.second], probe.dir[pair.first]),
                 tolerance);
    Mark(masks.lineUpTo, k, line, 360);
    for (int end = 0; end < 2; end++) {
      const int minutia = end == 0 ? pair.first : pair.second;
      const int dir = probe.dir[minutia];
      const int quality = probe.workspace->quality[minutia];
      MarkAround(masks.dir[end], k, dir - line, tolerance);
      Mark(masks.dir[end], k, dir - line + 721 + tolerance, 360);
      Mark(masks.quality[end], k, quality - falloff + 1, quality + falloff - 1);
      Mark(masks.dirBelow[end], k, AgreementMasks::leastDir, dir - 361);
      Mark(masks.dirBeyond[end], k, dir - line + 361 + tolerance, 360);
    }
  }
  SumUp(masks.length);
  SumUp(masks.line);
  SumUp(masks.relative);
  SumUp(masks.lineUpTo);
  for (int end = 0; end < 2; end++) {
    SumUp(masks.dir[end]);
    SumUp(masks.quality[end]);
    SumUp(masks.dirBelow[end]);
    SumUp(masks.dirBeyond[end]);
  }
}

// ---- The votes.

// The pairs of which a minutia is turned as the line is, within the tolerance. With t the
// rotation of the line, 0..360, and r that of the minutia, the definition wants r - t
// within the tolerance of 0, or as far or farther than 360 less the tolerance from 0. Where
// directions are at most a full turn apart, as those of plain angles are, t and r are
// within 0..360 and wrap, and so does their difference, that of two directions each less
// its line. Directions farther apart can make an r below 0, which is taken modulo 65536 and
// agrees with all (dirBelow). Or they make one above 360, which has not been brought up by
// a full turn; then r - t can be more than the tolerance above 360, and agrees: where the
// difference of the two is, if the line has not been brought up either (dirBeyond,
// lineUpTo), or else where it is so by one turn more (FillMasks).
inline PairBits DirectionsAgree(const AgreementMasks& masks, bool plain, int end, int dir,
                                int line) {
  const PairBits& alike = At(masks.dir[end], dir - line);
  if (plain) return alike;
  const PairBits& beyond = At(masks.dirBeyond[end], std::max(dir - line, AgreementMasks::leastDir));
  return alike | At(masks.dirBelow[end], std::min(dir, 0)) | (beyond & At(masks.lineUpTo, line));
}

// The pairs that agree with that of two minutiae of the reference, i < j. That the rotations
// are within the gate of the weights follows.
inline PairBits AgreeingPairs(const EngineContext& context, bool plain, int shortest, int i,
                              int j) {
  const AgreementMasks& masks = context.masks;
  const TemplateGeometry& reference = context.referenceGeometry;
  const uint8_t* const quality = reference.workspace->quality;
  const int place = PairPlace(i, j);
  const int line = reference.lineAngle[place];
  return At(masks.length, reference.distance[place] - shortest) & At(masks.line, line) &
         At(masks.relative, AngleBetween(reference.dir[j], reference.dir[i])) &
         DirectionsAgree(masks, plain, 0, reference.dir[i], line) &
         DirectionsAgree(masks, plain, 1, reference.dir[j], line) &
         At(masks.quality[0], quality[i]) & At(masks.quality[1], quality[j]);
}

// How often each bit was set: a number across eight words.
struct BitCounts {
  PairBits digit[8];
};

// Adds two bits to a digit; answers what is carried.
inline PairBits AddToDigit(PairBits& digit, const PairBits& a, const PairBits& b) {
  const PairBits odd = digit ^ a;
  const PairBits carried = (digit & a) | (odd & b);
  digit = odd ^ b;
  return carried;
}

// Adds 2 to the power of `digits` sets of bits; answers what is carried.
template <int digits>
inline PairBits Add(BitCounts& counts, const PairBits* bits) {
  const PairBits a = Add<digits - 1>(counts, bits);
  const PairBits b = Add<digits - 1>(counts, bits + (1 << digits) / 2);
  return AddToDigit(counts.digit[digits - 1], a, b);
}
template <>
inline PairBits Add<0>(BitCounts& /*counts*/, const PairBits* bits) {
  return *bits;
}

// Eight numbers of a byte each, of which x holds a byte of all first digits, of all second
// digits and so on: the square of 8 x 8 bits is turned over.
uint64_t NumbersOf(uint64_t x) {
  const auto swap = [&x](int distance, uint64_t those) {
    const uint64_t differing = (x ^ x >> distance) & those;
    x ^= differing ^ differing << distance;
  };
  swap(7, 0x00AA00AA00AA00AA);
  swap(14, 0x0000CCCC0000CCCC);
  swap(28, 0x00000000F0F0F0F0);
  return x;
}

// Votes for a minutia of the reference, as the first or the second of its pairs.
void VoteFor(EngineContext& context, const Block& block, int end, int minutia, int tolerance) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const int shortest = std::max(block.shortest - tolerance, EngineParams::minPairDistance + 1);
  const auto lengths = static_cast<unsigned>(block.longest + tolerance - shortest);
  uint8_t others[maxMinutiae];
  int listed = 0;
  for (int other = end == 0 ? minutia + 1 : 0; other < (end == 0 ? reference.count : minutia);
       other++) {
    const int length =
        reference.distance[end == 0 ? PairPlace(minutia, other) : PairPlace(other, minutia)];
    others[listed] = static_cast<uint8_t>(other);
    listed += static_cast<unsigned>(length - shortest) <= lengths ? 1 : 0;
  }
  if (listed == 0) return;

  const bool plain = HasPlainAngles(context);
  PairBits agreeing[maxMinutiae + 8];
  for (int k = 0; k < listed; k++) {
    const int other = others[k];
    agreeing[k] = AgreeingPairs(context, plain, block.shortest, end == 0 ? minutia : other,
                                end == 0 ? other : minutia);
  }
  std::fill_n(agreeing + listed, 8, PairBits{});
  BitCounts counts = {};
  for (int k = 0; k < listed; k += 8) {
    PairBits carried = Add<3>(counts, agreeing + k);
    for (int digit = 3; digit < 8; digit++) {
      const PairBits both = counts.digit[digit] & carried;
      counts.digit[digit] = counts.digit[digit] ^ carried;
      carried = both;
    }
  }

  uint16_t* const votes = context.votes + minutia * context.probeGeometry.count;
  const MinutiaPair* const pairs = context.probePairs.pairs + block.start;
  for (int k = 0; k < block.count; k += 8) {
    uint64_t digits = 0;
    for (int digit = 0; digit < 8; digit++) {
      digits |= (counts.digit[digit].word[k / 64] >> (k % 64) & 255) << 8 * digit;
    }
    if (digits == 0) continue;
    const uint64_t numbers = NumbersOf(digits);
    // Numbers behind the last are 0.
    for (int n = 0; n < 8; n++) {
      uint16_t& sum = votes[end == 0 ? pairs[k + n].first : pairs[k + n].second];
      sum = static_cast<uint16_t>(sum + (numbers >> 8 * n & 255));
    }
  }
}

}  // namespace

void CastCrowdedVotes(EngineContext& context, int votingLength, const MatchLimits& limits) {
  std::fill_n(context.votes, context.probeGeometry.count * context.referenceGeometry.count,
              uint16_t{0});
  const int end = PairsUpTo(context.probePairs, votingLength);
  for (int start = 0; start < end;) {
    const Block block = BlockFrom(context, start, end);
    FillMasks(context, block, limits);
    for (int minutia = 0; minutia < context.referenceGeometry.count; minutia++) {
      VoteFor(context, block, 0, minutia, limits.distanceTolerance);
      VoteFor(context, block, 1, minutia, limits.distanceTolerance);
    }
    start += block.count;
  }
}

}  // namespace vxm
