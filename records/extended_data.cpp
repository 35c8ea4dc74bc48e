// The blocks of extended data: ridge counts, cores and deltas, zonal quality, and
// vendors' own, of which the lengths alone are known.
#include "forms.h"
#include "reading.h"

namespace vxr {
namespace {

constexpr size_t blockHeader = 4;
constexpr int ridgeCounts = 1;
constexpr int coresAndDeltas = 2;
constexpr int zonalQuality = 3;
constexpr int firstVendorType = 0x0100;

constexpr int noNeighbour = 255;

// How they were counted, then for each count the indices of two minutiae (from 0 or
// from 1, makers differ; 255: none there) and the ridges between them.
void CheckRidgeCounts(Cursor in, const VXR_View& view, Faults& faults) {
  const uint8_t method = in.U8();
  faults.Expect(!in.cut && method <= 2, in.at - (in.cut ? 0 : 1),
                "extraction method of ridge counts ", int{method}, " (must be 0 to 2)");
  faults.Expect(in.Left() % 3 == 0, in.at, in.Left(), " bytes of ridge counts (3 each)");
  while (in.Left() >= 3) {
    for (int end = 0; end < 2; end++) {
      const uint8_t index = in.U8();
      faults.Expect(index <= view.minutiaCount || index == noNeighbour, in.at - 1,
                    "ridge count of minutia ", int{index}, " of ", view.minutiaCount);
    }
    in.U8();
  }
}

// A count, then points: x, y, and the angles where they are given. ISO says in the 2 bits
// before each x whether they are, ANSI in the 2 upper bits of the count for all.
void CheckPoints(Cursor& in, const VXR_View& view, int form, const char* name, int angles,
                 Faults& faults) {
  const uint8_t head = in.U8();
  const int kindOfAll = IsAnsi(form) ? head >> 6 : 0;
  const int count = IsAnsi(form) ? head & 63 : head;
  faults.Expect(count <= 15, in.at - 1, count, " ", name, " (at most 15)");
  faults.Expect(kindOfAll <= 1, in.at - 1, "kind ", kindOfAll, " of ", name, " (must be 0 or 1)");
  for (int i = 0; i < count && !in.cut; i++) {
    const size_t at = in.at;
    const uint16_t kindAndX = in.U16();
    const uint16_t y = in.U16();
    if (in.cut) break;
    const int kind = kindAndX >> 14;
    faults.Expect(kind <= 1, at, "kind ", kind, " of ", name, " (must be 0 or 1)");
    faults.Expect((kindAndX & largestCoordinate) < view.width && y < view.height, at, name,
                  " outside the image");
    const bool given = kind == 1 || kindOfAll == 1;
    for (int angle = 0; given && angle < angles; angle++) {
      const int value = in.U8();
      faults.Expect(value < FindForm(form)->turn, in.at - 1, "angle ", value, " of ", name);
    }
  }
  faults.Expect(!in.cut, in.end, "a block ends within its ", name);
}

void CheckCoresAndDeltas(Cursor in, const VXR_View& view, int form, Faults& faults) {
  CheckPoints(in, view, form, "cores", 1, faults);
  if (!in.cut) CheckPoints(in, view, form, "deltas", 3, faults);
  faults.Expect(in.cut || in.Left() == 0, in.at, in.Left(), " bytes follow the deltas");
}

// Width and height of a cell in pixels, bits a cell, then the cells row by row.
void CheckZonalQuality(Cursor in, const VXR_View& view, Faults& faults) {
  const size_t at = in.at;
  const uint32_t cellWidth = in.U8();
  const uint32_t cellHeight = in.U8();
  const uint32_t depth = in.U8();
  const bool sized = cellWidth != 0 && cellHeight != 0 && depth != 0 && depth <= 8;
  faults.Expect(!in.cut && sized, at, "cells of ", cellWidth, " x ", cellHeight, " pixels and ",
                depth, " bits of zonal quality");
  if (in.cut || !sized) return;
  const uint32_t cells =
      ((view.width + cellWidth - 1) / cellWidth) * ((view.height + cellHeight - 1) / cellHeight);
  const uint32_t bytes = (cells * depth + 7) / 8;
  faults.Expect(in.Left() >= bytes, in.at, in.Left(), " bytes for ", cells,
                " cells of zonal quality, which take ", bytes);
}

}  // namespace

void CheckExtended(Cursor in, const VXR_View& view, int form, Faults& faults) {
  while (in.Left() > 0) {
    const size_t at = in.at;
    const int type = in.U16();
    const size_t length = in.U16();
    if (in.cut || length < blockHeader || length - blockHeader > in.Left()) {
      faults.Expect(false, at, "block of extended data of ", length, " bytes, of which ",
                    in.end - at, " are left");
      return;
    }
    const Cursor data = in.Part(length - blockHeader);
    faults.Expect(type >= firstVendorType || (type >= ridgeCounts && type <= zonalQuality), at,
                  "block of extended data of the reserved type ", type);
    if (type == ridgeCounts) CheckRidgeCounts(data, view, faults);
    if (type == coresAndDeltas) CheckCoresAndDeltas(data, view, form, faults);
    if (type == zonalQuality) CheckZonalQuality(data, view, faults);
  }
}

}  // namespace vxr
