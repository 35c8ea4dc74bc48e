// All pairs of a template's minutiae: how long, in what direction, how turned.
//
// The pairs of the second minutia, the third, ... are rows of growing length. They are
// first laid end to end, so that vectors are full also where the rows are short.
HWY_BEFORE_NAMESPACE();
namespace vxm::HWY_NAMESPACE {
namespace {

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

// Rows of pairs whose tables are still to be filled.
struct PairRows {
  static constexpr int enough = 512;
  static constexpr int room = enough + maxRow + vectorPadding;
  int count = 0;
  alignas(64) Position apart[room];
  alignas(64) uint16_t firstTurn[room];
  alignas(64) uint16_t secondTurn[room];
  alignas(64) uint16_t ends[room];  // the second minutia in the upper byte
};

// Lays the pairs of the minutiae from `j` on and before `last` with all before them.
// What is stored is loaded in other vectors, which have to wait until it is in the cache;
// so positions, which are taken first, are laid first.
inline void LayRows(PairRows& rows, const TemplateGeometry& geometry, int j, int last) {
  const Ints ints;
  const hn::Repartition<uint16_t, Ints> words;
  Position* apart = rows.apart;
  for (int second = j; second < last; second++) {
    const auto end = Broadcast(ints, geometry.position[second].x, geometry.position[second].y);
    for (int i = 0; i < second; i += lanesOf<Ints>) {
      hn::StoreU(hn::Sub(end, LoadPositions(ints, geometry.position + i)), WordsOf<Ints>(),
                 &apart[i].x);
    }
    apart += second;
  }
  rows.count = static_cast<int>(apart - rows.apart);
  // What lies beyond the end is looked up too.
  hn::StoreU(hn::Zero(WordsOf<Ints>()), WordsOf<Ints>(), &apart->x);
  int place = 0;
  for (int second = j; second < last; second++) {
    const auto turn = hn::Set(words, geometry.turn[second]);
    auto ends =
        hn::Add(hn::Load(words, counting), hn::Set(words, static_cast<uint16_t>(second << 8)));
    for (int i = 0; i < second; i += lanesOf<decltype(words)>) {
      hn::StoreU(hn::LoadU(words, geometry.turn + i), words, rows.firstTurn + place + i);
      hn::StoreU(turn, words, rows.secondTurn + place + i);
      hn::StoreU(ends, words, rows.ends + place + i);
      ends = hn::Add(ends, hn::Set(words, lanesOf<decltype(words)>));
    }
    place += second;
  }
}

#if HWY_TARGET == HWY_AVX3
// All pairs of few minutiae in a row: two registers hold the positions, and one the turns,
// and what is stored is what will be loaded, without a wait.
constexpr int fewMinutiae = 32;

// The minutiae of every pair, the second in the upper byte.
constexpr auto MakePairEnds() {
  std::array<uint16_t, PairPlace(0, fewMinutiae) + vectorPadding> ends = {};
  for (int j = 1; j < fewMinutiae; j++) {
    for (int i = 0; i < j; i++) {
      ends[static_cast<size_t>(PairPlace(i, j))] = static_cast<uint16_t>(j << 8 | i);
    }
  }
  return ends;
}
constexpr auto pairEnds = MakePairEnds();

inline void LayFew(PairRows& rows, const TemplateGeometry& geometry) {
  const Ints ints;
  const hn::Repartition<uint16_t, Ints> words;
  using Words = hn::Vec<decltype(words)>;
  rows.count = PairCount(geometry.count);
  const __m512i low = _mm512_load_si512(geometry.position);
  const __m512i high = _mm512_load_si512(geometry.position + fewMinutiae / 2);
  for (int k = 0; k < rows.count; k += lanesOf<Ints>) {
    const auto ends = hn::PromoteTo(ints, hn::LoadU(WordForEach<Ints>(), pairEnds.data() + k));
    const __m512i from = _mm512_permutex2var_epi32(low, ends.raw, high);
    const __m512i to = _mm512_permutex2var_epi32(low, hn::ShiftRight<8>(ends).raw, high);
    _mm512_store_si512(rows.apart + k, _mm512_sub_epi16(to, from));
  }
  const __m512i turns = _mm512_load_si512(geometry.turn);
  for (int k = 0; k < rows.count; k += lanesOf<decltype(words)>) {
    const auto ends = hn::LoadU(words, pairEnds.data() + k);
    hn::Store(Words{_mm512_permutexvar_epi16(ends.raw, turns)}, words, rows.firstTurn + k);
    hn::Store(Words{_mm512_permutexvar_epi16(hn::ShiftRight<8>(ends).raw, turns)}, words,
              rows.secondTurn + k);
    hn::Store(ends, words, rows.ends + k);
  }
}
#endif

// The upper bytes of turns.
template <class D>
void StoreBytes(uint8_t* to, D /*words*/, hn::Vec<D> turns) {
  const hn::Rebind<uint8_t, D> bytes;
  hn::StoreU(hn::TruncateTo(bytes, hn::ShiftRight<8>(turns)), bytes, to);
}

// Fills the tables from `place` on, beyond the rows' end as vectors do.
inline void FillRows(PairRows& rows, TemplateGeometry& geometry, int place) {
  const Ints ints;
  const WordForEach<Ints> shorts;
  const hn::Rebind<uint32_t, Ints> wide;
  for (int k = 0; k < rows.count; k += lanesOf<Ints>) {
    const Polar polar = PolarOf(LoadPositions(ints, rows.apart + k));
    hn::StoreU(hn::TruncateTo(shorts, hn::BitCast(wide, polar.distance)), shorts,
               geometry.distance + place + k);
    hn::StoreU(hn::TruncateTo(shorts, hn::BitCast(wide, polar.angle)), shorts,
               geometry.lineAngle + place + k);
  }
  const hn::Repartition<uint16_t, Ints> words;
  for (int k = 0; k < rows.count; k += lanesOf<decltype(words)>) {
    const auto line =
        hn::Mul(hn::LoadU(words, geometry.lineAngle + place + k), hn::Set(words, turnScale));
    const auto firstDir = hn::Sub(hn::LoadU(words, rows.firstTurn + k), line);
    const auto secondDir = hn::Sub(hn::LoadU(words, rows.secondTurn + k), line);
    StoreBytes(geometry.coarse.line + place + k, words, line);
    StoreBytes(geometry.coarse.firstDir + place + k, words, firstDir);
    StoreBytes(geometry.coarse.secondDir + place + k, words, secondDir);
    hn::StoreInterleaved4(line, firstDir, secondDir, hn::LoadU(words, rows.ends + k), words,
                          &geometry.pairs[place + k].line);
  }
}

void FillPairTables(TemplateGeometry& geometry) {
  PairRows rows;
#if HWY_TARGET == HWY_AVX3
  // 3 % of a fast search.
  if (geometry.count <= fewMinutiae) {
    LayFew(rows, geometry);
    FillRows(rows, geometry, 0);
    return;
  }
#endif
  for (int j = 1, last = 1; j < geometry.count; j = last) {
    while (last < geometry.count && PairPlace(0, last) - PairPlace(0, j) < PairRows::enough) last++;
    LayRows(rows, geometry, j, last);
    FillRows(rows, geometry, PairPlace(0, j));
  }
}

}  // namespace
}  // namespace vxm::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
