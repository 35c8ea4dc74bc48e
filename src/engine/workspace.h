// One template in the engine's working form, whatever format it came in.
//
// Pixels count from the top-left corner of the orientation grid, x to the right
// and y downwards. The grid is made of blocks of 16 x 16 pixels.
#pragma once

#include <cstdint>

namespace vxm {

constexpr int maxMinutiae = 200;
constexpr int maxGridBlocks = 64;  // in each direction
constexpr int blockSize = 16;      // pixels

// A block value v with (v & noRidge) == noRidge marks a block without ridges.
constexpr int noRidge = 127;
constexpr uint8_t background = 255;

struct MatchWorkspace {
  int32_t minutiaCount;  // 0..maxMinutiae
  int16_t x[maxMinutiae];
  int16_t y[maxMinutiae];
  uint16_t angle[maxMinutiae];   // degrees 0..360, 360 means the same as 0
  uint8_t quality[maxMinutiae];  // 0..127; 0 in standard records
  uint8_t type[maxMinutiae];     // 0 ridge ending, 1 bifurcation; others only compared
  uint8_t gridWidth;             // blocks
  uint8_t gridHeight;
  uint8_t templateAttribute;  // one byte about the whole template; no score rests on it
  // [row][column]: ridge orientation in steps of 1.5 degrees, 0..119, or no
  // ridge. Only gridHeight rows of gridWidth blocks mean anything, and of standard
  // records not even these.
  uint8_t orientation[maxGridBlocks][maxGridBlocks];
  // Where these values still lie, row after row, if they were not copied: nearly all
  // candidates are left before anything looks at them. Otherwise null.
  const uint8_t* blocks = nullptr;
  // Of a reduced template the one that it was made from, whose grid counts, but only
  // around the minutiae that are left; it must live as long. Otherwise null.
  const MatchWorkspace* ridgesOf = nullptr;
};

// The values of a row of blocks: gridWidth of them.
inline const uint8_t* BlockRow(const MatchWorkspace& workspace, int row) {
  return workspace.blocks == nullptr ? workspace.orientation[row]
                                     : workspace.blocks + row * workspace.gridWidth;
}

// Copies the values that were left where they lie.
void CopyBlocks(MatchWorkspace& workspace);

// Copies what is in use of one that is not reduced: the minutiae counted and the grid
// within its size.
void CopyWorkspace(MatchWorkspace& target, const MatchWorkspace& source);

}  // namespace vxm
