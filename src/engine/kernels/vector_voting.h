// Voting, and the seeds that it gives.
//
// The probe's pairs of similar length lie side by side, and one byte of each of their
// angles tells nearly all that cannot agree. So 32 or 64 pairs are tested at a time, and
// the few that are left are tested exactly.
//
// Nothing branches on what is found, since that could not be foretold: words of
// 64 pairs are listed when any is left, and the list is then gone through in
// rounds that take one pair of each word, for most hold no more.

// Reference pairs with the probe pairs that may agree with them: those from `start` on
// of which the bit is set.
struct AgreeingList {
  static constexpr int full = 512;
  static constexpr int room = full + maxPairs / 63 + 2;
  uint64_t bits[room];
  uint16_t start[room];
  uint16_t place[room];
};

// Four turns in a row.
using Turns = hn::Full64<uint16_t>;

// Whether the angles of two pairs agree. With t the rotation of the line and a, b those
// of the minutiae, |t|, |a - t|, |b - t| and |b - a| must be within their reach. That a
// and b are within the gate of the weights follows.
inline bool PairsAgree(const MinutiaPair& mate, const MinutiaPair& pair, hn::Vec<Turns> reach) {
  static_assert(sizeof(MinutiaPair) == 8);
  const Turns turns;
  const hn::Repartition<uint8_t, Turns> bytes;
  alignas(8) static constexpr uint8_t secondPlaces[] = {0, 1, 2, 3, 4, 5, 4, 5};
  constexpr uint8_t none = 0x80;
  alignas(8) static constexpr uint8_t firstPlaces[] = {none, none, none, none, none, none, 2, 3};
  const auto apart =
      hn::BitCast(bytes, hn::Sub(hn::LoadU(turns, &mate.line), hn::LoadU(turns, &pair.line)));
  // In the fourth place, that of the minutiae, the second difference less the first.
  const auto second =
      hn::BitCast(turns, hn::TableLookupBytes(apart, hn::Load(bytes, secondPlaces)));
  const auto first =
      hn::BitCast(turns, hn::TableLookupBytesOr0(apart, hn::Load(bytes, firstPlaces)));
  const auto shifted = hn::Add(hn::Sub(second, first), reach);
  const auto beyond = hn::SaturatedSub(shifted, hn::Add(reach, reach));
  return hn::GetLane(hn::BitCast(hn::Full64<uint64_t>(), beyond)) == 0;
}

// Votes for the listed pairs that do agree in quality, too; false when the budget is spent.
template <Scale scale>
bool CountAgreeing(EngineContext& context, AgreeingList& list, int count, int tolerance) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const int probeCount = context.probeGeometry.count;
  const uint8_t* probeQuality = context.probeGeometry.workspace->quality;
  const uint8_t* referenceQuality = reference.workspace->quality;
  const auto lineReach = static_cast<uint16_t>(ScaledReach(EngineParams::lineTolerance));
  const auto dirReach = static_cast<uint16_t>(ScaledReach(tolerance));
  alignas(8) const uint16_t reaches[] = {lineReach, dirReach, dirReach, dirReach};
  const auto reach = hn::Load(Turns(), reaches);
  while (count != 0 && (context.votingBudget -= count) >= 0) {
    int left = 0;
    for (int k = 0; k < count; k++) {
      const uint64_t bits = list.bits[k];
      const uint16_t start = list.start[k];
      const uint16_t place = list.place[k];
      const MinutiaPair& mate = reference.pairs[place];
      const MinutiaPair& pair = context.probePairs.pairs[start + platform::LowestBit(bits)];
      bool agree = PairsAgree(mate, pair, reach);
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
  return context.votingBudget >= 0;
}

LengthCount CountPairs(const TemplateGeometry& geometry, int length) {
  const hn::Repartition<int16_t, Ints> words;
  const hn::RebindToUnsigned<decltype(words)> distances;
  const auto least = hn::Set(words, EngineParams::minPairDistance);
  const auto beyond = hn::Set(words, static_cast<int16_t>(length + 1));
  auto count = hn::Zero(words);
  auto longest = hn::Zero(words);
  const int pairs = PairCount(geometry.count);
  for (int k = 0; k < pairs; k += lanesOf<decltype(words)>) {
    const auto own = hn::BitCast(words, hn::LoadU(distances, geometry.distance + k));
    const auto real = hn::FirstN(words, static_cast<size_t>(pairs - k));
    const auto counted = hn::And(real, hn::And(hn::Gt(own, least), hn::Gt(beyond, own)));
    count = CountIf(words, count, counted);
    longest = hn::Max(longest, hn::IfThenElseZero(counted, own));
  }
  return {hn::GetLane(hn::SumOfLanes(words, count)), hn::GetLane(hn::MaxOfLanes(words, longest))};
}

// How far the coarse turns of pairs may be from each other's: the directions, and what the
// lines have more.
struct CoarseGate {
  uint8_t reach;
  uint8_t moreForLines;
};

inline CoarseGate GateFor(int tolerance) {
  const int reach = CoarseReach(tolerance);
  return {static_cast<uint8_t>(reach),
          static_cast<uint8_t>(std::max(CoarseReach(EngineParams::lineTolerance) - reach, 0))};
}

// How far a turn is from each of many, either way.
template <class D>
hn::Vec<D> Apart(D bytes, const uint8_t* turns, uint8_t turn) {
  const hn::RebindToSigned<D> signedBytes;
  const auto difference = hn::Sub(hn::Set(bytes, turn), hn::LoadU(bytes, turns));
  return hn::BitCast(bytes, hn::Abs(hn::BitCast(signedBytes, difference)));
}

// Which of `most` pairs of the probe from p on have angles near those of another pair: the
// largest of the three differences decides.
template <int most>
uint64_t NearlyAgreeing(const CoarseAngles& pairs, unsigned p, const CoarseAngles& others,
                        unsigned other, CoarseGate gate) {
  const hn::CappedTag<uint8_t, most> bytes;
  uint64_t bits = 0;
  for (unsigned k = 0; k < most; k += lanesOf<decltype(bytes)>) {
    const auto line = hn::SaturatedSub(Apart(bytes, pairs.line + p + k, others.line[other]),
                                       hn::Set(bytes, gate.moreForLines));
    const auto first = Apart(bytes, pairs.firstDir + p + k, others.firstDir[other]);
    const auto second = Apart(bytes, pairs.secondDir + p + k, others.secondDir[other]);
    const auto largest = hn::Max(line, hn::Max(first, second));
    bits |= BitsOf(bytes, UpTo(bytes, largest, gate.reach)) << k;
  }
  return bits;
}

// The bits, in no register of masks: there gcc would take what they are joined with, which
// costs 3 % of a search in normal mode.
inline uint64_t InNumber(uint64_t bits) {
#if HWY_TARGET == HWY_AVX3 && HWY_COMPILER_GCC
  asm("" : "+r"(bits));
#endif
  return bits;
}

// Lists the places, from `first` on and before `last`, of pairs that are long enough to
// tell a direction and at most `longest`; answers how many.
inline int ListVoting(const uint16_t* distances, int first, int last, int longest,
                      uint16_t* places) {
  int listed = 0;
#if HWY_TARGET == HWY_AVX3
  // 5 to 10 % of a search in normal mode; without this instruction it is slower.
  const Ints ints;
  const WordForEach<Ints> words;
  const hn::RebindToUnsigned<Ints> unsignedInts;
  const auto least = hn::Set(ints, EngineParams::minPairDistance);
  const auto beyond = hn::Set(ints, longest + 1);
  for (int place = first; place < last; place += lanesOf<Ints>) {
    const auto length = hn::PromoteTo(ints, hn::LoadU(words, distances + place));
    const auto real = hn::FirstN(ints, static_cast<size_t>(last - place));
    const auto vote = hn::And(real, hn::And(hn::Gt(length, least), hn::Gt(beyond, length)));
    const auto numbered = hn::Add(Count(ints), hn::Set(ints, place));
    const auto those = hn::BitCast(unsignedInts, hn::Compress(numbered, vote));
    hn::StoreU(hn::TruncateTo(words, those), words, places + listed);
    listed += static_cast<int>(hn::CountTrue(ints, vote));
  }
#else
  constexpr auto least = static_cast<unsigned>(EngineParams::minPairDistance + 1);
  // None, where not even the shortest that tells a direction may vote.
  const unsigned range =
      static_cast<unsigned>(std::max(longest, EngineParams::minPairDistance)) + 1 - least;
  for (int place = first; place < last; place++) {
    places[listed] = static_cast<uint16_t>(place);
    listed += distances[place] - least < range ? 1 : 0;
  }
#endif
  return listed;
}

// Goes through the pairs of the reference, with the probe's `most` at a time. `wide` when
// more than these can be of similar length, `barred` when only some are short enough to
// vote; those are listed first.
template <int most, bool wide, bool barred>
bool CastVotesOf(EngineContext& context, int votingLength, const MatchLimits& limits) {
  const TemplateGeometry& reference = context.referenceGeometry;
  const CoarseAngles& probeAngles = context.probePairs.coarse;
  const uint16_t* const startAt = context.probePairs.startAt;
  const auto countAgreeing = context.scale == Scale::native ? CountAgreeing<Scale::native>
                                                            : CountAgreeing<Scale::standard>;
  const CoarseGate gate = GateFor(limits.angleTolerance);
  const auto tolerance = static_cast<unsigned>(limits.distanceTolerance);
  const auto mostLength = static_cast<unsigned>(votingLength);
  constexpr unsigned atOnce = most - 1;
  constexpr int placesAtOnce = barred ? 1024 : maxPairs;
  uint16_t places[barred ? placesAtOnce + vectorPadding : 1];
  AgreeingList list;
  int listed = 0;
  const int count = PairCount(reference.count);
  for (int first = 0; first < count; first += placesAtOnce) {
    const int last = std::min(first + placesAtOnce, count);
    const int voting = barred ? ListVoting(reference.distance, first, last,
                                           votingLength + limits.distanceTolerance, places)
                              : last;
    // What the inner loop holds in registers would not outlive a call.
    for (int k = 0; k < voting;) {
      for (; k < voting && listed < AgreeingList::full; k++) {
        const auto place = static_cast<unsigned>(barred ? places[k] : k);
        const unsigned length = reference.distance[place];
        if (!barred && length <= EngineParams::minPairDistance) continue;
        unsigned p = startAt[length - tolerance];
        const unsigned longest = length + tolerance;
        unsigned left = startAt[(barred ? std::min(longest, mostLength) : longest) + 1] - p;
        for (;;) {
          const uint64_t counted = (uint64_t{1} << (wide ? std::min(left, atOnce) : left)) - 1;
          const uint64_t bits = counted & InNumber(NearlyAgreeing<most>(
                                              probeAngles, p, reference.coarse, place, gate));
          list.bits[listed] = bits;
          list.start[listed] = static_cast<uint16_t>(p);
          list.place[listed] = static_cast<uint16_t>(place);
          listed += bits != 0 ? 1 : 0;
          if (!wide || left <= atOnce) break;
          p += atOnce;
          left -= atOnce;
        }
      }
      if (listed < AgreeingList::full) continue;
      if (!countAgreeing(context, list, listed, limits.angleTolerance)) return false;
      listed = 0;
    }
  }
  return countAgreeing(context, list, listed, limits.angleTolerance);
}

template <bool barred>
bool CastVotesUpTo(EngineContext& context, int votingLength, const MatchLimits& limits) {
  const int most = context.probePairs.mostAlike;
  const auto cast = most <= 31   ? CastVotesOf<32, false, barred>
                    : most <= 63 ? CastVotesOf<64, false, barred>
                                 : CastVotesOf<64, true, barred>;
  return cast(context, votingLength, limits);
}

bool CastVotes(EngineContext& context, int votingLength, const MatchLimits& limits) {
  const hn::Repartition<uint16_t, Ints> words;
  const int votes = context.probeGeometry.count * context.referenceGeometry.count;
  for (int k = 0; k < votes; k += lanesOf<decltype(words)>) {
    hn::Store(hn::Zero(words), words, context.votes + k);
  }
  const bool barred = votingLength < context.probePairs.longest;
  return (barred ? CastVotesUpTo<true> : CastVotesUpTo<false>)(context, votingLength, limits);
}

// How many of the keys are smaller than each of those from `own` on.
inline hn::Vec<Ints> CountSmaller(const int32_t* keys, int count, hn::Vec<Ints> own) {
  const Ints ints;
  auto before = hn::Zero(ints);
  for (int other = 0; other < count; other++) {
    before = CountIf(ints, before, hn::Gt(own, hn::Set(ints, keys[other])));
  }
  return before;
}

// A seed's place is the number of seeds before it; one number holds votes and index.
void RankSeeds(EngineContext& context) {
  const TemplateGeometry& probe = context.probeGeometry;
  const TemplateGeometry& reference = context.referenceGeometry;
  SeedPlaces& seeds = context.seedPlaces;
  const int probeCount = probe.count;
  const Ints ints;
  const hn::Repartition<uint16_t, Ints> words;
  alignas(64) uint16_t votes[maxRow];
  alignas(64) uint16_t mates[maxRow];
  for (int m = 0; m < probeCount; m += lanesOf<decltype(words)>) {
    auto most = hn::LoadU(words, context.votes + m);
    auto mate = hn::Zero(words);
    for (int n = 1; n < reference.count; n++) {
      const auto larger = hn::Max(most, hn::LoadU(words, context.votes + n * probeCount + m));
      const auto same = hn::Eq(most, larger);
      mate = hn::IfThenElse(same, mate, hn::Set(words, static_cast<uint16_t>(n)));
      most = larger;
    }
    hn::Store(most, words, votes + m);
    hn::Store(mate, words, mates + m);
  }
  alignas(64) int32_t keys[maxRow];
  for (int m = 0; m < probeCount; m++) keys[m] = m - (votes[m] << 8);
  alignas(64) int32_t places[maxRow];
  for (int m = 0; m < probeCount; m += lanesOf<Ints>) {
    hn::Store(CountSmaller(keys, probeCount, hn::Load(ints, keys + m)), ints, places + m);
  }
  for (int m = 0; m < probeCount; m++) {
    const int place = places[m];
    const int mate = mates[m];
    context.seeds[place] = {static_cast<uint8_t>(m), static_cast<uint8_t>(mate), votes[m]};
    seeds.probe[place] = probe.position[m];
    seeds.mate[place] = reference.position[mate];
    seeds.turn[place] = static_cast<uint16_t>(reference.turn[mate] - probe.turn[m]);
  }
}
