// All pairs of a template's minutiae: how long, in what direction, how turned.
//
// The pairs of the second minutia, the third, ... are rows of growing length. They are
// first laid end to end, so that vectors are full also where the rows are short.

struct Polar {
  hn::Vec<Ints> distance;
  hn::Vec<Ints> angle;
};

struct Triangle {
  hn::Vec<Ints> hypotenuse;  // off by one at most
  hn::Vec<Ints> angle;       // beside the longer leg, degrees
};

#if HWY_TARGET == HWY_AVX3
// One instruction looks up 32 words in two registers, but gathering is slow: so the angle
// is found by halving, and the legs' shadows on its line are added for the hypotenuse.
// That is worth 3 to 12 % of a search.
inline Triangle TriangleOf(hn::Vec<Ints> shorter, hn::Vec<Ints> longer) {
  const Ints ints;
  const auto times = [&](hn::Vec<Ints> leg, const ShortTable& table, hn::Vec<Ints> places) {
    // What the upper words look up is multiplied by theirs, which are 0.
    const hn::Vec<Ints> entries{
        _mm512_permutex2var_epi16(_mm512_loadu_si512(table.data()), places.raw,
                                  _mm512_loadu_si512(table.data() + shortTable / 2))};
    return ShortProduct(ints, leg, entries);
  };
  const auto scaled = hn::ShiftLeft<10>(shorter);
  const auto some = hn::Max(longer, hn::Set(ints, 1));
  auto angle = hn::Zero(ints);
  for (int step = shortTable / 2; step != 0; step /= 2) {
    const auto steeper = hn::Add(angle, hn::Set(ints, step));
    angle = hn::IfThenElse(hn::Gt(times(some, leastRatios, steeper), scaled), angle, steeper);
  }
  const auto shadows =
      hn::Add(times(longer, shortCosines, angle), times(shorter, shortSines, angle));
  return {hn::ShiftRight<10>(shadows), angle};
}
#else
// The ratio of the legs gives the angle, and nearly the hypotenuse.
inline Triangle TriangleOf(hn::Vec<Ints> shorter, hn::Vec<Ints> longer) {
  const Ints ints;
  const auto reciprocal = hn::GatherIndex(ints, reciprocals.data(), longer);
  const hn::RebindToUnsigned<Ints> unsignedInts;
  const auto product = hn::BitCast(unsignedInts, hn::Mul(shorter, reciprocal));
  const auto ratio = hn::BitCast(ints, hn::ShiftRight<21>(product));
  const auto entry = hn::GatherIndex(ints, legRatios.data(), ratio);
  const auto secant = hn::ShiftRight<secantShift>(entry);
  return {hn::ShiftRight<14>(ShortProduct(ints, longer, secant)),
          hn::And(entry, hn::Set(ints, 0xFF))};
}
#endif

inline Polar PolarOf(hn::Vec<WordsOf<Ints>> dxdy) {
  const Ints ints;
  const auto one = hn::Set(ints, 1);
  const auto both = hn::BitCast(ints, dxdy);
  const auto legs = hn::BitCast(hn::RebindToUnsigned<Ints>(), hn::Abs(dxdy));
  const auto ay = hn::BitCast(ints, hn::ShiftRight<16>(legs));
  const auto ax = hn::And(hn::BitCast(ints, legs), hn::Set(ints, 0xFFFF));
  const Triangle triangle = TriangleOf(hn::Min(ax, ay), hn::Max(ax, ay));

  const auto squared = SquaredLength(ints, dxdy);
  auto root = triangle.hypotenuse;
  const auto rootSquared = ShortProduct(ints, root, root);
  const auto nextSquared = hn::Add(rootSquared, hn::Add(hn::Add(root, root), one));
  const auto tooLarge = hn::Gt(rootSquared, squared);
  root = CountIf(ints, root, hn::Not(hn::Gt(nextSquared, squared)));
  root = hn::Sub(root, hn::IfThenElseZero(tooLarge, one));

  auto angle =
      hn::IfThenElse(hn::Gt(ay, ax), hn::Sub(hn::Set(ints, 90), triangle.angle), triangle.angle);
  const auto left = hn::ShiftRight<31>(hn::ShiftLeft<16>(both));
  const auto up = hn::ShiftRight<31>(both);
  const auto mirrored = hn::Xor(left, up);
  angle = hn::Sub(hn::Xor(angle, mirrored), mirrored);
  const auto base =
      hn::IfThenElse(hn::MaskFromVec(left), hn::Set(ints, 180), hn::And(up, hn::Set(ints, 360)));
  return {hn::Min(root, hn::Set(ints, maxDistance)), hn::Add(base, angle)};
}

// The lower halves of the lanes.
inline void StoreLower(hn::Vec<Ints> from, uint16_t* to) {
  const WordForEach<Ints> words;
  hn::StoreU(hn::TruncateTo(words, hn::BitCast(hn::RebindToUnsigned<Ints>(), from)), words, to);
}

// The upper bytes of turns.
template <class D>
void StoreBytes(hn::Vec<D> turns, D /*words*/, uint8_t* to) {
  const hn::Rebind<uint8_t, D> bytes;
  hn::StoreU(hn::TruncateTo(bytes, hn::ShiftRight<8>(turns)), bytes, to);
}

// Some rows at a time. What vectors hold beyond the end of a row the next one overwrites.
void FillPairTables(TemplateGeometry& geometry) {
  constexpr int enough = 512;
  constexpr int room = enough + maxRow + vectorPadding;
  alignas(64) Position apart[room];
  alignas(64) uint16_t firstTurn[room];
  alignas(64) uint16_t secondTurn[room];
  alignas(64) uint16_t ends[room];  // the second minutia in the upper byte
  const Ints ints;
  const hn::Repartition<uint16_t, Ints> words;
  const hn::CappedTag<uint16_t, 16> few;  // rows are short
  for (int j = 1; j < geometry.count;) {
    const int place = PairPlace(0, j);
    int laid = 0;
    for (; j < geometry.count && laid < enough; laid += j++) {
      const auto end = Broadcast(ints, geometry.position[j].x, geometry.position[j].y);
      for (int i = 0; i < j; i += lanesOf<Ints>) {
        hn::StoreU(hn::Sub(end, LoadPositions(ints, geometry.position + i)), WordsOf<Ints>(),
                   &apart[laid + i].x);
      }
      const auto turn = hn::Set(few, geometry.turn[j]);
      auto both = hn::Add(hn::Load(few, counting), hn::Set(few, static_cast<uint16_t>(j << 8)));
      for (int i = 0; i < j; i += lanesOf<decltype(few)>) {
        hn::StoreU(hn::LoadU(few, geometry.turn + i), few, firstTurn + laid + i);
        hn::StoreU(turn, few, secondTurn + laid + i);
        hn::StoreU(both, few, ends + laid + i);
        both = hn::Add(both, hn::Set(few, lanesOf<decltype(few)>));
      }
    }
    // What lies beyond the end is looked up too.
    hn::StoreU(hn::Zero(WordsOf<Ints>()), WordsOf<Ints>(), &apart[laid].x);
    for (int k = 0; k < laid; k += lanesOf<Ints>) {
      const Polar polar = PolarOf(LoadPositions(ints, apart + k));
      StoreLower(polar.distance, geometry.distance + place + k);
      StoreLower(polar.angle, geometry.lineAngle + place + k);
    }
    for (int k = 0; k < laid; k += lanesOf<decltype(words)>) {
      const int to = place + k;
      const auto line =
          hn::Mul(hn::LoadU(words, geometry.lineAngle + to), hn::Set(words, turnScale));
      const auto firstDir = hn::Sub(hn::LoadU(words, firstTurn + k), line);
      const auto secondDir = hn::Sub(hn::LoadU(words, secondTurn + k), line);
      StoreBytes(line, words, geometry.coarse.line + to);
      StoreBytes(firstDir, words, geometry.coarse.firstDir + to);
      StoreBytes(secondDir, words, geometry.coarse.secondDir + to);
      hn::StoreInterleaved4(line, firstDir, secondDir, hn::LoadU(words, ends + k), words,
                            &geometry.pairs[to].line);
    }
  }
}
