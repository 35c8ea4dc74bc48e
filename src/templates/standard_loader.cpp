// Loading a standard record into a workspace.
//
// In: a record, checked or not. Out: its minutiae in the engine's convention,
// relative to a box of at most 64 x 64 blocks around them.
// Idea: records may come from images larger than the engine's area, so the
// coordinates are moved to the corner of the blocks that the minutiae span. A
// minutia exactly on the left or top edge of that box is dropped.
// Cost: one pass over the records and a sort.
#include <algorithm>
#include <array>

#include "templates/byte_reader.h"
#include "templates/conversions.h"
#include "templates/standard_record.h"

namespace vxm {
namespace {

// A minutia in one number, so that numbers in order are minutiae in order: by y,
// then x; of two in the same place the later of the record comes first.
using SortableMinutia = uint64_t;

constexpr SortableMinutia Sortable(int x, int y, int place, int angle, int type) {
  return static_cast<uint64_t>(y) << 40 | static_cast<uint64_t>(x) << 24 |
         static_cast<uint64_t>(255 - place) << 16 | static_cast<uint64_t>(angle << 1 | type);
}
constexpr int XOf(SortableMinutia minutia) { return static_cast<int>(minutia >> 24 & 0xFFFF); }
constexpr int YOf(SortableMinutia minutia) { return static_cast<int>(minutia >> 40); }
constexpr int AngleOf(SortableMinutia minutia) { return static_cast<int>(minutia >> 1 & 0x1FF); }
constexpr int TypeOf(SortableMinutia minutia) { return static_cast<int>(minutia & 1); }

// The engine's angle for each direction byte.
using DirectionTable = std::array<uint16_t, 256>;

constexpr DirectionTable MakeDirections(int (*degreesOf)(int code)) {
  DirectionTable table = {};
  int code = 0;
  for (uint16_t& angle : table) angle = static_cast<uint16_t>(OppositeDirection(degreesOf(code++)));
  return table;
}
constexpr DirectionTable isoDirections = MakeDirections(DegreesFromIsoDirection);
constexpr DirectionTable ansiDirections = MakeDirections(DegreesFromAnsiDirection);

// The minutiae inside the image, in scratch memory of a fixed size.
struct Minutiae {
  SortableMinutia list[maxMinutiae];
  int count;
  bool sorted;  // records often are
  int minX;
  int minY;
  int maxX;
  int maxY;
};

// Records beyond the size do not count.
void ReadMinutiae(const RecordLayout& layout, const StandardRecordFields& fields,
                  const ByteReader& reader, Minutiae& minutiae) {
  const DirectionTable& directions =
      layout.format == TemplateFormat::iso ? isoDirections : ansiDirections;
  const int records = std::min({fields.minutiaCount, layout.maxLoaded,
                                reader.CountRecords(layout.minutiae, minutiaRecordSize)});
  const int width = fields.imageWidth;
  const int height = std::min(fields.imageHeight, 0x8000);  // a larger y would be negative
  int count = 0;
  int minX = 1024;
  int minY = 1024;
  int maxX = 0;
  int maxY = 0;
  bool sorted = true;
  SortableMinutia last = 0;
  for (int i = 0; i < records; i++) {
    const uint8_t* record = reader.bytes + layout.minutiae + i * minutiaRecordSize;
    constexpr int bifurcation = 2;
    const int x = (record[0] & 0x3F) << 8 | record[1];
    const int y = record[2] << 8 | record[3];
    if (x >= width || y >= height) continue;
    const SortableMinutia minutia =
        Sortable(x, y, i, directions[record[4]], record[0] >> 6 == bifurcation ? 1 : 0);
    sorted &= last <= minutia;
    last = minutia;
    minutiae.list[count++] = minutia;
    minX = std::min(minX, x);
    minY = std::min(minY, y);
    maxX = std::max(maxX, x);
    maxY = std::max(maxY, y);
  }
  minutiae.count = count;
  minutiae.sorted = sorted;
  minutiae.minX = minX;
  minutiae.minY = minY;
  minutiae.maxX = maxX;
  minutiae.maxY = maxY;
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
// of the engine. Where they reach beyond it they would be 65; the last is dropped.
BlockRange BlocksAround(int min, int max) {
  constexpr int largest = maxGridBlocks * blockSize;
  const int first = std::max(min - blockSize / 2, 0) / blockSize;
  const int last = std::min(max + blockSize / 2, largest) / blockSize;
  return {first, std::min(last - first + 1, maxGridBlocks)};
}

}  // namespace

void LoadRecord(const RecordLayout& layout, const uint8_t* record, int size,
                MatchWorkspace& workspace) {
  const StandardRecordFields fields = ReadRecord(layout, record, size);
  Minutiae minutiae;
  ReadMinutiae(layout, fields, {record, size}, minutiae);
  const BlockRange columns = BlocksAround(minutiae.minX, minutiae.maxX);
  const BlockRange rows = BlocksAround(minutiae.minY, minutiae.maxY);
  if (!minutiae.sorted) std::sort(minutiae.list, minutiae.list + minutiae.count);

  int kept = 0;
  for (int i = 0; i < minutiae.count; i++) {
    const SortableMinutia minutia = minutiae.list[i];
    if (!columns.Holds(XOf(minutia)) || !rows.Holds(YOf(minutia))) continue;
    workspace.x[kept] = static_cast<int16_t>(XOf(minutia) - columns.first * blockSize);
    workspace.y[kept] = static_cast<int16_t>(YOf(minutia) - rows.first * blockSize);
    workspace.angle[kept] = static_cast<uint16_t>(AngleOf(minutia));
    workspace.quality[kept] = 0;
    workspace.type[kept] = static_cast<uint8_t>(TypeOf(minutia));
    kept++;
  }
  workspace.minutiaCount = kept;
  workspace.gridWidth = static_cast<uint8_t>(kept == 0 ? 1 : columns.count);
  workspace.gridHeight = static_cast<uint8_t>(kept == 0 ? 1 : rows.count);
  workspace.templateAttribute = fields.templateAttribute;
  workspace.blocks = nullptr;
}

}  // namespace vxm
