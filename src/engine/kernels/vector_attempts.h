// The search for an alignment: partners of a seed, moved positions and what lies near
// them.

// The squares a, b of lengths that fit have (a - b)^2 at most this times a + b: with t
// the tolerance and the pixel that rounding hides, |a - b| is below t times the sum of
// the roots, and the square of that sum at most 2 (a + b).
constexpr int alikeFactor =
    2 * (EngineParams::seedDistanceTolerance + 1) * (EngineParams::seedDistanceTolerance + 1);
// More than any |a - b| of lengths that fit, and its square fits 32 bits.
constexpr int unlike = 46340;

// Squared distances from a place, up to that of the longest.
inline hn::Vec<Ints> SquaredDistances(const Position* others, Position place) {
  const Ints ints;
  const auto apart = hn::Sub(LoadPositions(ints, others), Broadcast(ints, place.x, place.y));
  return hn::Min(SquaredLength(ints, apart), hn::Set(ints, maxDistance * maxDistance));
}

// Lists those of the seeds from k to `count` that are `fit`, each beside the one at
// `place`; answers how many.
inline int ListFit(SeedPair* pairs, int k, int count, int place, hn::Mask<Ints> fit) {
#if HWY_TARGET == HWY_AVX3
  // There one instruction moves them together: 3 to 4 % of verification of impostors.
  const Ints ints;
  const hn::RebindToUnsigned<Ints> unsignedInts;
  const WordForEach<Ints> words;
  const auto counted = hn::And(fit, hn::FirstN(ints, static_cast<size_t>(count - k)));
  const auto numbered = hn::Add(Count(ints), hn::Set(ints, place << 8 | k));
  const auto listed = hn::BitCast(unsignedInts, hn::Compress(numbered, counted));
  hn::StoreU(hn::TruncateTo(words, listed), words, reinterpret_cast<uint16_t*>(pairs));
  return static_cast<int>(hn::CountTrue(ints, counted));
#else
  int listed = 0;
  for (uint64_t bits = BitsOf(Ints(), fit) & FirstBits(count - k); bits != 0; bits &= bits - 1) {
    pairs[listed++] = {static_cast<uint8_t>(k + platform::LowestBit(bits)),
                       static_cast<uint8_t>(place)};
  }
  return listed;
#endif
}

// Turns in the upper halves of ints, where they wrap as they do in words.
using HighTurns = hn::RebindToUnsigned<Ints>;

inline hn::Vec<HighTurns> LoadHighTurns(const uint16_t* turns) {
  return hn::ShiftLeft<16>(hn::PromoteTo(HighTurns(), hn::LoadU(WordForEach<Ints>(), turns)));
}

inline hn::Vec<HighTurns> HighTurn(int turn) {
  return hn::Set(HighTurns(), static_cast<uint32_t>(turn) << 16);
}

// Where turns lie within the reach above the least.
inline hn::Mask<Ints> TurnsWithin(hn::Vec<HighTurns> turns, hn::Vec<HighTurns> least) {
  constexpr uint32_t width = uint32_t{2 * ScaledReach(EngineParams::seedAngleTolerance)} << 16;
  return hn::RebindMask(Ints(), UpTo(HighTurns(), hn::Sub(turns, least), width));
}

// Tests the distances, and the turn of one minutia against the other's.
int ListPartners(const EngineContext& context, int place, int count, SeedPair* pairs) {
  const Ints ints;
  const SeedPlaces& seeds = context.seedPlaces;
  constexpr int separation2 = EngineParams::minSeedSeparation * EngineParams::minSeedSeparation;
  const auto leastTurn =
      HighTurn(seeds.turn[place] - ScaledReach(EngineParams::seedAngleTolerance));
  int listed = 0;
  for (int k = 0; k < count; k += lanesOf<Ints>) {
    const auto distance2 = SquaredDistances(seeds.probe + k, seeds.probe[place]);
    const auto mateDistance2 = SquaredDistances(seeds.mate + k, seeds.mate[place]);
    const auto apart = hn::Min(hn::Abs(hn::Sub(distance2, mateDistance2)), hn::Set(ints, unlike));
    const auto most = hn::Mul(hn::Add(distance2, mateDistance2), hn::Set(ints, alikeFactor));
    const auto unfit = hn::Gt(hn::Mul(apart, apart), most);
    const auto distant = hn::Gt(distance2, hn::Set(ints, separation2 - 1));
    const auto alike = TurnsWithin(LoadHighTurns(seeds.turn + k), leastTurn);
    const auto fit = hn::AndNot(unfit, hn::And(alike, distant));
    listed += ListFit(pairs + listed, k, count, place, fit);
  }
  return listed;
}

// A motion for vectors of positions.
template <class D>
struct VectorMotion {
  hn::Vec<WordsOf<D>> x;
  hn::Vec<WordsOf<D>> y;
  hn::Vec<WordsOf<D>> origin;
  hn::Vec<WordsOf<D>> shift;
};

template <class D>
VectorMotion<D> ForVectors(D ints, const Motion& motion, Point shift) {
  return {Broadcast(ints, motion.xx, motion.xy), Broadcast(ints, motion.yx, motion.yy),
          Broadcast(ints, motion.x0, motion.y0), Broadcast(ints, shift.x, shift.y)};
}

// One coordinate of moved positions, by its row of the motion.
template <class D>
hn::Vec<D> Coordinate(D ints, hn::Vec<WordsOf<D>> xy, hn::Vec<WordsOf<D>> row) {
  return hn::ShiftRight<10>(hn::Add(SumOfProducts(ints, xy, row), hn::Set(ints, 512)));
}

template <class D>
hn::Vec<WordsOf<D>> MoveAll(D ints, hn::Vec<WordsOf<D>> positions, const VectorMotion<D>& motion) {
  const auto from = hn::Sub(positions, motion.origin);
  return hn::Add(Pack(ints, Coordinate(ints, from, motion.x), Coordinate(ints, from, motion.y)),
                 motion.shift);
}

// The open rectangle for vectors: how far in from its first pixel a position may be.
struct VectorBox {
  hn::Vec<hn::Repartition<uint16_t, Ints>> first;
  hn::Vec<hn::Repartition<uint16_t, Ints>> reach;

  explicit VectorBox(const Box& box) {
    const hn::Repartition<uint16_t, Ints> words;
    first = hn::BitCast(words, Broadcast(Ints(), box.minX + 1, box.minY + 1));
    reach = hn::BitCast(words, Broadcast(Ints(), box.maxX - box.minX - 2, box.maxY - box.minY - 2));
  }

  hn::Mask<Ints> Holds(hn::Vec<WordsOf<Ints>> positions) const {
    const hn::Repartition<uint16_t, Ints> words;
    const Ints ints;
    const auto beyond = hn::SaturatedSub(hn::Sub(hn::BitCast(words, positions), first), reach);
    return hn::Eq(hn::BitCast(ints, beyond), hn::Zero(ints));
  }
};

// Which of the `valid` positions lie on ridges.
inline hn::Mask<Ints> OnRidges(const Area& area, hn::Vec<WordsOf<Ints>> positions,
                               hn::Mask<Ints> valid) {
  const Ints ints;
  const auto both = hn::BitCast(ints, positions);
  const auto column = hn::ShiftRight<4>(hn::And(both, hn::Set(ints, 0xFFF0)));
  const auto row = hn::ShiftRight<20>(both);
  const auto place = hn::IfThenElseZero(valid, hn::Add(hn::ShiftLeft<6>(row), column));
  const auto block = hn::GatherOffset(ints, reinterpret_cast<const int32_t*>(area.grid[0]), place);
  const auto none = hn::Eq(hn::And(block, hn::Set(ints, 0xFF)), hn::Set(ints, background));
  return hn::AndNot(none, valid);
}

void MoveOnto(const TemplateGeometry& geometry, const Area& area, const Motion& motion, Point shift,
              MinutiaBits& on, Position* moved) {
  const Ints ints;
  const VectorBox box(BoxOf(area));
  const VectorMotion<Ints> vectorMotion = ForVectors(ints, motion, shift);
  for (int i = 0; i < geometry.count; i += lanesOf<Ints>) {
    const auto to = MoveAll(ints, LoadPositions(ints, geometry.position + i), vectorMotion);
    hn::StoreU(to, WordsOf<Ints>(), &moved[i].x);
    auto in = box.Holds(to);
    if (area.hasRidges) in = OnRidges(area, to, in);
    PutBits(on, i, BitsOf(ints, in) & FirstBits(geometry.count - i));
  }
}

// Rows of the map by number, of which the lower bits count.
inline hn::Vec<Ints> RowsOf(const BlockMap& map, hn::Vec<Ints> numbers) {
  const Ints ints;
#if HWY_TARGET == HWY_AVX3
  // There two registers hold the map: 4 to 6 % of genuine verification.
  return hn::Vec<Ints>{_mm512_permutex2var_epi32(_mm512_load_si512(map.rows), numbers.raw,
                                                 _mm512_load_si512(map.rows + BlockMap::size / 2))};
#else
  return hn::GatherIndex(ints, reinterpret_cast<const int32_t*>(map.rows),
                         hn::And(numbers, hn::Set(ints, BlockMap::size - 1)));
#endif
}

// Which of the positions the map does not leave out.
inline hn::Mask<Ints> OnMap(const BlockMap& map, hn::Vec<WordsOf<Ints>> positions) {
  const Ints ints;
  const auto both = hn::BitCast(ints, positions);
  const auto row = RowsOf(map, hn::ShiftRight<20>(both));
  const auto column = hn::And(hn::ShiftRight<4>(both), hn::Set(ints, BlockMap::size - 1));
  return hn::TestBit(row, hn::Shl(hn::Set(ints, 1), column));
}

// Lists the minutiae that are `inside`, of which there are `left`. The reference has up
// to `most` minutiae: if they are few, registers hold it. Unless angles are `plain`, turns
// are not asked.
template <int most, bool plain = true>
void ListInside(EngineContext& context, const Position* moved, const MinutiaBits& inside, int left,
                int leastTurn, int needed) {
  constexpr int lanes = lanesOf<Ints>;
  const Ints ints;
  const TemplateGeometry& reference = context.referenceGeometry;
  const int count = most == maxRow ? reference.count : most;
  hn::Vec<WordsOf<Ints>> positions[most / lanes];
  hn::Vec<HighTurns> turns[most / lanes];
  for (int n = 0; n < count; n += lanes) {
    positions[n / lanes] = LoadPositions(ints, reference.position + n);
    turns[n / lanes] = LoadHighTurns(reference.turn + n);
  }
  const auto radius2 = hn::Set(ints, EngineParams::pairingRadius2 + 1);
  NearList& list = context.near;
  int listed = 0;
  for (int word = 0; word < WordsFor(context.probeGeometry.count); word++) {
    for (uint64_t bits = inside.words[word]; bits != 0; bits &= bits - 1) {
      if (listed + left < needed) return;
      left--;
      const int m = word * 64 + platform::LowestBit(bits);
      const auto position = Broadcast(ints, moved[m].x, moved[m].y);
      const auto least = HighTurn(context.probeGeometry.turn[m] + leastTurn);
      uint64_t any = 0;
      for (int first = 0; first < count; first += 64) {
        uint64_t found = 0;
        for (int n = first; n < std::min(first + 64, count); n += lanes) {
          const auto apart = hn::Sub(position, positions[n / lanes]);
          auto near = hn::Gt(radius2, SquaredLength(ints, apart));
          if (plain) near = hn::And(near, TurnsWithin(turns[n / lanes], least));
          found |= BitsOf(ints, near) << (n - first);
        }
        found &= FirstBits(reference.count - first);
        list.references[listed].words[first / 64] = found;
        any |= found;
      }
      list.probe[listed] = static_cast<uint8_t>(m);
      listed += any != 0 ? 1 : 0;
    }
  }
  list.count = listed;
}

void ListNear(EngineContext& context, const Position* moved, const MinutiaBits& among, int theta,
              int needed) {
  const Ints ints;
  const TemplateGeometry& probe = context.probeGeometry;
  const VectorBox box(PairingBox(probe.area));
  MinutiaBits inside = {};
  for (int m = 0; m < probe.count; m += lanesOf<Ints>) {
    const auto positions = LoadPositions(ints, moved + m);
    const uint64_t bits =
        BitsOf(ints, hn::And(box.Holds(positions), OnMap(context.referenceBlocks, positions)));
    inside.words[m / 64] |= bits << (m % 64) & among.words[m / 64];
  }
  const int count = CountBits(inside, probe.count);
  context.near.count = 0;
  if (count < needed) return;
  const int referenceCount = context.referenceGeometry.count;
  const auto list = !HasPlainAngles(context) ? ListInside<maxRow, false>
                    : referenceCount <= 32   ? ListInside<32>
                    : referenceCount <= 64   ? ListInside<64>
                                             : ListInside<maxRow>;
  list(context, moved, inside, count,
       ScaledTurn(theta) - ScaledReach(EngineParams::seedAngleTolerance), needed);
}
