// The library's own template format: an 8-byte header, minutia records of 5
// (full) or 4 bytes (short), and an orientation map of one byte or 4 bits per
// block. At most 200 minutiae, 63 x 63 blocks and 4977 bytes.
//
//   byte 0   bits 0-2 record size, bits 3-7 header length (8)
//   byte 1   minutia count, 1..200
//   byte 2   bits 0-5 grid width in blocks, bit 7 one byte per block
//   byte 3   bits 0-5 grid height in blocks
//   byte 4   templateAttribute, one byte about the whole template
//   byte 5   mark, 0
//   byte 6-7 "VX"
//
//   full record, 40 bits from the top: x 10, y 10, type 4, angle 9, quality 7
//   short record: x / 2, y / 2, angle code, type in bit 7 and quality below
#pragma once

#include "engine/workspace.h"

namespace vxm {

// Whether the bytes are a native template that can be loaded: header, size and
// coordinates; the rest may hold anything. Reads nothing at or beyond `size`.
bool CheckNativeTemplate(const uint8_t* bytes, int size);

// Unpacks a template that passed the check; coordinates are clamped to the grid. Blocks
// of a byte each stay where they are.
void LoadNativeTemplate(MatchWorkspace& workspace, const uint8_t* bytes);

// Packs a workspace in the richest form that fits: full records with a byte per
// block, full records with 4-bit codes, or short records with 4-bit codes.
// Clears the rest of the buffer; writes only zeros for an empty workspace or
// when no form fits.
void WriteNativeTemplate(const MatchWorkspace& workspace, uint8_t* bytes, int size);

// The layout that a header describes.
struct NativeLayout {
  int minutiaCount;
  int gridWidth;
  int gridHeight;
  int recordSize;
  bool byteMap;
};

constexpr int nativeHeaderSize = 8;
constexpr int nativeShortRecord = 4;
constexpr int nativeFullRecord = 5;

constexpr int NativeSize(const NativeLayout& layout) {
  const int blocks = layout.gridWidth * layout.gridHeight;
  return nativeHeaderSize + layout.minutiaCount * layout.recordSize +
         (layout.byteMap ? blocks : (blocks + 1) / 2);
}

}  // namespace vxm
