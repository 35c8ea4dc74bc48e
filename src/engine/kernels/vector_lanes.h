// What the vector loops are written in.

// A tag names a vector's kind: here 32 bits to a lane, as many as a register holds.
using Ints = hn::ScalableTag<int32_t>;
// The same bits as 16-bit words; and as many words as there are ints.
template <class D>
using WordsOf = hn::Repartition<int16_t, D>;
template <class D>
using WordForEach = hn::Rebind<uint16_t, D>;

template <class D>
constexpr int lanesOf = static_cast<int>(hn::MaxLanes(D()));

// Positions are words, x before y; as ints one lane holds one position.
template <class D>
hn::Vec<WordsOf<D>> LoadPositions(D /*ints*/, const Position* from) {
  return hn::LoadU(WordsOf<D>(), &from->x);
}

template <class D>
hn::Vec<WordsOf<D>> Broadcast(D ints, int x, int y) {
  const uint32_t both = static_cast<uint32_t>(y) << 16 | static_cast<uint16_t>(x);
  return hn::BitCast(WordsOf<D>(), hn::Set(ints, static_cast<int32_t>(both)));
}

// x in the low and y in the high half of each lane.
template <class D>
hn::Vec<WordsOf<D>> Pack(D /*ints*/, hn::Vec<D> x, hn::Vec<D> y) {
  const WordsOf<D> words;
  return hn::OddEven(hn::BitCast(words, hn::ShiftLeft<16>(y)), hn::BitCast(words, x));
}

// In each lane the sum of the two products of words.
template <class D>
hn::Vec<D> SumOfProducts(D ints, hn::Vec<WordsOf<D>> a, hn::Vec<WordsOf<D>> b) {
  hn::Vec<D> odd = hn::Zero(ints);
  const hn::Vec<D> even = hn::ReorderWidenMulAccumulate(ints, a, b, hn::Zero(ints), odd);
  return hn::RearrangeToOddPlusEven(even, odd);
}

template <class D>
hn::Vec<D> SquaredLength(D ints, hn::Vec<WordsOf<D>> xy) {
  return SumOfProducts(ints, xy, xy);
}

// The product of ints that fit words, neither of them negative.
template <class D>
hn::Vec<D> ShortProduct(D ints, hn::Vec<D> a, hn::Vec<D> b) {
  const WordsOf<D> words;
  return SumOfProducts(ints, hn::BitCast(words, a), hn::BitCast(words, b));
}

// 0, 1, 2, ... from memory; what Highway has is not yet a constant to gcc 12, which makes
// it anew with stores and a load that has to wait for them.
alignas(64) constexpr uint16_t counting[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                               11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                                               22, 23, 24, 25, 26, 27, 28, 29, 30, 31};

template <class D>
hn::Vec<D> Count(D ints) {
  return hn::PromoteTo(ints, hn::Load(hn::Rebind<uint16_t, D>(), counting));
}

// One more where the mask is set.
template <class D>
hn::Vec<D> CountIf(D ints, hn::Vec<D> counts, hn::Mask<D> mask) {
#if HWY_TARGET == HWY_AVX3
  // Masks are not vectors there: 2 to 3 % of native searches.
  return hn::IfThenElse(mask, hn::Add(counts, hn::Set(ints, 1)), counts);
#else
  return hn::Sub(counts, hn::VecFromMask(ints, mask));
#endif
}

// a <= most for unsigned lanes, where `most` is not the most of all.
template <class D>
hn::Mask<D> UpTo(D tag, hn::Vec<D> a, hn::TFromD<D> most) {
#if HWY_TARGET == HWY_AVX3
  // One comparison: up to 1 % of a search.
  return hn::Gt(hn::Set(tag, static_cast<hn::TFromD<D>>(most + 1)), a);
#else
  return hn::Eq(hn::Min(a, hn::Set(tag, most)), a);
#endif
}

// A bit for each lane.
template <class D>
uint64_t BitsOf(D tag, hn::Mask<D> mask) {
  uint64_t bits = 0;
  hn::StoreMaskBits(tag, mask, reinterpret_cast<uint8_t*>(&bits));
  return bits;
}

// The first `count` bits, or all 64; without a branch.
inline uint64_t FirstBits(int count) {
  return (uint64_t{count < 64 ? 1u : 0u} << static_cast<unsigned>(count) % 64) - 1;
}

// Puts the bits of the minutiae from i on into a set that is filled in order.
void PutBits(MinutiaBits& set, int i, uint64_t bits) {
  uint64_t& word = set.words[i / 64];
  word = i % 64 == 0 ? bits : word | bits << (i % 64);
}

template <class D>
int Sum(D ints, hn::Vec<D> lanes) {
  return hn::GetLane(hn::SumOfLanes(ints, lanes));
}
