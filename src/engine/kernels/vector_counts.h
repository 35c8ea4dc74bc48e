// What is counted of an alignment, and of a template that is to be reduced.

// Pairings and blocks in a row are few: longer vectors would be half empty.
using FewInts = hn::CappedTag<int32_t, 8>;

int SumHolding(const PairingList& pairings, const Motion& motion, Point shift, int theta) {
  const FewInts ints;
  const hn::Rebind<int16_t, FewInts> signedWords;
  constexpr int radius = EngineParams::refinedDistanceTolerance;
  constexpr int tolerance = EngineParams::angleTolerance;
  const auto vectorMotion = ForVectors(ints, motion, shift);
  auto sum = hn::Zero(ints);
  for (int k = 0; k < pairings.count; k += lanesOf<FewInts>) {
    const auto moved = MoveAll(ints, LoadPositions(ints, pairings.from + k), vectorMotion);
    const auto apart = hn::Sub(moved, LoadPositions(ints, pairings.to + k));
    const auto near = hn::Gt(hn::Set(ints, radius * radius + 1), SquaredLength(ints, apart));
    const auto rotation = hn::PromoteTo(ints, hn::LoadU(signedWords, pairings.rotation + k));
    const auto difference = hn::Abs(hn::Sub(rotation, hn::Set(ints, theta)));
    const auto alike = hn::Or(hn::Gt(hn::Set(ints, tolerance + 1), difference),
                              hn::Gt(difference, hn::Set(ints, 359 - tolerance)));
    const auto weight = hn::PromoteTo(ints, hn::LoadU(WordForEach<FewInts>(), pairings.weight + k));
    sum = hn::Add(sum, hn::IfThenElseZero(hn::And(near, alike), weight));
  }
  return Sum(ints, sum);
}

BlockCounts CountBlocks(const Area& probe, const Area& reference, int theta, Point shift) {
  const FewInts ints;
  const hn::Rebind<uint8_t, FewInts> bytes;
  const auto motion = ForVectors(ints, Forward(theta), shift);
  const auto half = hn::Set(ints, theta >= 180 ? theta - 180 : theta);
  const auto none = hn::Set(ints, background);
  const auto halfTurn = hn::Set(ints, 180);
  const auto zero = hn::Zero(ints);
  const auto width = hn::Set(ints, reference.gridWidth);
  const auto height = hn::Set(ints, reference.gridHeight);
  const auto lane = Count(ints);
  auto probeCount = zero;
  auto overlapCount = zero;
  auto agreeCount = zero;
  for (int row = 0; row < probe.gridHeight; row++) {
    const auto centreY = hn::Set(ints, row * blockSize + blockSize / 2);
    for (int column = 0; column < probe.gridWidth; column += lanesOf<FewInts>) {
      const auto own = hn::PromoteTo(ints, hn::LoadU(bytes, probe.grid[row] + column));
      const auto columns = hn::Add(lane, hn::Set(ints, column));
      const auto ridges =
          hn::AndNot(hn::Eq(own, none), hn::Gt(hn::Set(ints, probe.gridWidth), columns));
      const auto centreX = hn::Add(hn::ShiftLeft<4>(columns), hn::Set(ints, blockSize / 2));
      const auto centre = Pack(ints, centreX, centreY);
      const auto x =
          hn::ShiftRight<4>(hn::Add(Coordinate(ints, centre, motion.x), hn::Set(ints, shift.x)));
      const auto y =
          hn::ShiftRight<4>(hn::Add(Coordinate(ints, centre, motion.y), hn::Set(ints, shift.y)));
      const auto inX = hn::And(hn::Gt(x, zero), hn::Gt(width, x));
      const auto inY = hn::And(hn::Gt(y, zero), hn::Gt(height, y));
      const auto inside = hn::And(ridges, hn::And(inX, inY));
      const auto place = hn::IfThenElseZero(inside, hn::Add(hn::ShiftLeft<6>(y), x));
      const auto other = hn::And(
          hn::GatherOffset(ints, reinterpret_cast<const int32_t*>(reference.grid[0]), place),
          hn::Set(ints, 0xFF));
      const auto overlap = hn::AndNot(hn::Eq(other, none), inside);

      auto turned = hn::Add(own, half);
      turned = hn::Sub(turned, hn::IfThenZeroElse(hn::Gt(halfTurn, turned), halfTurn));
      auto difference = hn::Abs(hn::Sub(turned, other));
      difference = hn::Min(difference, hn::Sub(halfTurn, difference));
      const auto agree =
          hn::And(overlap, hn::Gt(hn::Set(ints, EngineParams::orientationTolerance), difference));
      probeCount = CountIf(ints, probeCount, ridges);
      overlapCount = CountIf(ints, overlapCount, overlap);
      agreeCount = CountIf(ints, agreeCount, agree);
    }
  }
  return {Sum(ints, probeCount), Sum(ints, overlapCount), Sum(ints, agreeCount)};
}

void ChooseMinutiae(const MatchWorkspace& workspace, int count, MinutiaBits& chosen) {
  const Ints ints;
  const hn::Repartition<uint16_t, Ints> words;
  const int all = workspace.minutiaCount;
  alignas(64) Position positions[maxRow];
  for (int i = 0; i < all; i += lanesOf<decltype(words)>) {
    const auto x = hn::BitCast(words, hn::LoadU(WordsOf<Ints>(), workspace.x + i));
    const auto y = hn::BitCast(words, hn::LoadU(WordsOf<Ints>(), workspace.y + i));
    hn::StoreInterleaved2(x, y, words, reinterpret_cast<uint16_t*>(positions + i));
  }
  const auto beyond = hn::Set(ints, crowdedDistance2 + 1);
  const auto centre =
      Broadcast(ints, workspace.gridWidth * blockSize / 2, workspace.gridHeight * blockSize / 2);
  alignas(64) int32_t ranks[maxRow];
  for (int i = 0; i < all; i += lanesOf<Ints>) {
    const auto own = LoadPositions(ints, positions + i);
    auto near = hn::Zero(ints);
    for (int other = 0; other < all; other++) {
      const auto apart = hn::Sub(Broadcast(ints, positions[other].x, positions[other].y), own);
      near = CountIf(ints, near, hn::Gt(beyond, SquaredLength(ints, apart)));
    }
    // Each is near to itself.
    const auto crowded =
        hn::IfThenElseZero(hn::Gt(near, hn::Set(ints, 1)), hn::Set(ints, crowdedRank));
    const auto place = hn::Add(Count(ints), hn::Set(ints, i));
    const auto distance2 = SquaredLength(ints, hn::Sub(own, centre));
    const auto rank = hn::Or(crowded, hn::Or(hn::ShiftLeft<8>(distance2), place));
    hn::Store(rank, ints, ranks + i);
  }
  for (int i = 0; i < all; i += lanesOf<Ints>) {
    const auto before = CountSmaller(ranks, all, hn::Load(ints, ranks + i));
    PutBits(chosen, i, BitsOf(ints, hn::Gt(hn::Set(ints, count), before)) & FirstBits(all - i));
  }
}
