// Loading a standard record into a workspace.
//
// In: a record, checked or not. Out: its minutiae in the engine's convention,
// relative to a box of at most 64 x 64 blocks around them.
// Idea: records may come from images larger than the engine's area, so the
// coordinates are moved to the corner of the blocks that the minutiae span. A
// minutia exactly on the left or top edge of that box is dropped.
// Cost: one pass over the records and a sort.
#include <algorithm>

#include "templates/byte_reader.h"
#include "templates/conversions.h"
#include "templates/standard_record.h"

namespace vxm {
namespace {

struct RecordMinutia {
  int16_t x;
  int16_t y;
  int16_t angle;
  uint8_t type;
  uint8_t place;  // in the record
};

// The minutiae of a record in scratch memory of a fixed size.
struct Minutiae {
  RecordMinutia list[maxMinutiae];
  int count = 0;

  void Add(const RecordMinutia& minutia) { list[count++] = minutia; }
  RecordMinutia* begin() { return list; }
  RecordMinutia* end() { return list + count; }
};

// Takes a minutia record that lies wholly inside the bytes.
RecordMinutia ReadMinutia(const RecordLayout& layout, const uint8_t* record, int place) {
  const int code = record[4];
  const int degrees = layout.format == TemplateFormat::iso ? DegreesFromIsoDirection(code)
                                                           : DegreesFromAnsiDirection(code);
  constexpr int bifurcation = 2;
  RecordMinutia minutia = {};
  minutia.x = static_cast<int16_t>((record[0] & 0x3F) << 8 | record[1]);
  minutia.y = static_cast<int16_t>(record[2] << 8 | record[3]);
  minutia.angle = static_cast<int16_t>(OppositeDirection(degrees));
  minutia.type = record[0] >> 6 == bifurcation ? 1 : 0;
  minutia.place = static_cast<uint8_t>(place);
  return minutia;
}

// The minutiae inside the image; records beyond the size do not count.
Minutiae ReadMinutiae(const RecordLayout& layout, const StandardRecordFields& fields,
                      const ByteReader& reader) {
  Minutiae minutiae;
  const int count = std::min(fields.minutiaCount, layout.maxLoaded);
  for (int i = 0; i < count; i++) {
    const uint8_t* record =
        reader.Record(layout.minutiae + i * minutiaRecordSize, minutiaRecordSize);
    if (record == nullptr) break;
    const RecordMinutia minutia = ReadMinutia(layout, record, i);
    if (minutia.x >= fields.imageWidth) continue;
    if (minutia.y < 0 || minutia.y >= fields.imageHeight) continue;
    minutiae.Add(minutia);
  }
  return minutiae;
}

// A range of blocks in one direction.
struct BlockRange {
  int first;
  int count;

  // On the blocks, and not on the pixel where they begin.
  bool Holds(int position) const {
    return position > first * blockSize && position < (first + count) * blockSize;
  }
};

// The blocks of positions min..max with half a block around them, in the area
// of the engine; of more than 64 the middle ones.
BlockRange BlocksAround(int min, int max) {
  constexpr int largest = maxGridBlocks * blockSize;
  const int first = std::max(min - blockSize / 2, 0) / blockSize;
  const int last = std::min(max + blockSize / 2, largest) / blockSize;
  const int surplus = last - first + 1 - maxGridBlocks;
  if (surplus <= 0) return {first, last - first + 1};
  return {first + surplus / 2, maxGridBlocks};
}

// By y, then x; of two in the same place the later of the record comes first.
bool ComesBefore(const RecordMinutia& a, const RecordMinutia& b) {
  if (a.y != b.y) return a.y < b.y;
  if (a.x != b.x) return a.x < b.x;
  return a.place > b.place;
}

}  // namespace

void LoadRecord(const RecordLayout& layout, const uint8_t* record, int size,
                MatchWorkspace& workspace, uint8_t& templateAttribute) {
  const StandardRecordFields fields = ReadRecord(layout, record, size);
  Minutiae minutiae = ReadMinutiae(layout, fields, {record, size});
  int minX = 1024;
  int minY = 1024;
  int maxX = 0;
  int maxY = 0;
  for (const RecordMinutia& minutia : minutiae) {
    minX = std::min<int>(minX, minutia.x);
    minY = std::min<int>(minY, minutia.y);
    maxX = std::max<int>(maxX, minutia.x);
    maxY = std::max<int>(maxY, minutia.y);
  }
  const BlockRange columns = BlocksAround(minX, maxX);
  const BlockRange rows = BlocksAround(minY, maxY);
  // Records are often written in this order.
  if (!std::is_sorted(minutiae.begin(), minutiae.end(), ComesBefore)) {
    std::sort(minutiae.begin(), minutiae.end(), ComesBefore);
  }

  int kept = 0;
  for (const RecordMinutia& minutia : minutiae) {
    if (!columns.Holds(minutia.x) || !rows.Holds(minutia.y)) continue;
    workspace.x[kept] = static_cast<int16_t>(minutia.x - columns.first * blockSize);
    workspace.y[kept] = static_cast<int16_t>(minutia.y - rows.first * blockSize);
    workspace.angle[kept] = static_cast<uint16_t>(minutia.angle);
    workspace.quality[kept] = 0;
    workspace.type[kept] = minutia.type;
    kept++;
  }
  workspace.minutiaCount = kept;
  workspace.gridWidth = static_cast<uint8_t>(kept == 0 ? 1 : columns.count);
  workspace.gridHeight = static_cast<uint8_t>(kept == 0 ? 1 : rows.count);
  for (int row = 0; row < workspace.gridHeight; row++) {
    std::fill_n(workspace.orientation[row], workspace.gridWidth, uint8_t{0});
  }
  templateAttribute = fields.templateAttribute;
}

}  // namespace vxm
