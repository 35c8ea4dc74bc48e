// A coarse map of where minutiae are: what it leaves out is farther from all of them
// than the pairing radius.
#pragma once

#include <cstdint>

#include "engine/params.h"
#include "engine/workspace.h"

namespace vxm {

// A bit for each block, by row and column, from which a minutia can be reached. The map
// repeats itself every 32 blocks, which makes some look reachable that are not, and none
// the other way. So what it leaves out would not have been paired; the distances of the
// others are computed. KernelsTest.AllFormsAgree compares with a form that has no map.
struct BlockMap {
  static constexpr int size = 32;
  alignas(64) uint32_t rows[size];

  void Clear() {
    for (uint32_t& row : rows) row = 0;
  }

  // The radius is half a block, so two blocks hold all that is in reach, either way.
  void Add(int x, int y) {
    constexpr int reach = blockSize / 2;
    static_assert(EngineParams::pairingRadius2 <= reach * reach);
    const uint32_t columns = Bit(x - reach) | Bit(x + reach);
    rows[Place(y - reach)] |= columns;
    rows[Place(y + reach)] |= columns;
  }

 private:
  static unsigned Place(int position) { return static_cast<unsigned>(position) / blockSize % size; }
  static uint32_t Bit(int position) { return uint32_t{1} << Place(position); }
};

}  // namespace vxm
