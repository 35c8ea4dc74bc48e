// Checking and loading native templates.
//
// In: bytes. Out: a verdict, or a workspace.
// The check alone decides what is safe to load, so that the loader can follow
// the header without a size. A record may lie up to one block beyond the grid,
// where a half turn can put it; loading clamps it to the grid.
#include "templates/native_template.h"

#include <algorithm>

#include "templates/conversions.h"

namespace vxm {
namespace {

NativeLayout ReadLayout(const uint8_t* bytes) {
  return {bytes[1], bytes[2] & 0x3F, bytes[3] & 0x3F, bytes[0] & 0x07, (bytes[2] & 0x80) != 0};
}

struct NativeMinutia {
  int x;
  int y;
  int angle;
  int quality;
  int type;
};

NativeMinutia ReadMinutia(const uint8_t* record, int recordSize) {
  if (recordSize == nativeFullRecord) {
    return {record[0] << 2 | record[1] >> 6, (record[1] & 0x3F) << 4 | record[2] >> 4,
            record[3] << 1 | record[4] >> 7, record[4] & 0x7F, record[2] & 0x0F};
  }
  return {2 * record[0], 2 * record[1], DegreesFromAngleCode(record[2]), record[3] & 0x7F,
          record[3] >> 7};
}

// Two blocks a byte, the first in the high nibble, on across row ends.
void LoadCodedMap(MatchWorkspace& workspace, const uint8_t* map) {
  int block = 0;
  for (int row = 0; row < workspace.gridHeight; row++) {
    for (int column = 0; column < workspace.gridWidth; column++, block++) {
      const int pair = map[block / 2];
      const int code = block % 2 == 0 ? pair >> 4 : pair & 0x0F;
      workspace.orientation[row][column] = static_cast<uint8_t>(OrientationFromCode(code));
    }
  }
}

}  // namespace

bool CheckNativeTemplate(const uint8_t* bytes, int size) {
  if (size < nativeHeaderSize) return false;
  const NativeLayout layout = ReadLayout(bytes);
  if (layout.minutiaCount < 1 || layout.minutiaCount > maxMinutiae) return false;
  if (layout.gridWidth < 1 || layout.gridHeight < 1) return false;
  if (layout.recordSize != nativeShortRecord && layout.recordSize != nativeFullRecord) return false;
  if (bytes[0] >> 3 != nativeHeaderSize) return false;
  if (size < NativeSize(layout)) return false;
  for (int i = 0; i < layout.minutiaCount; i++) {
    const NativeMinutia minutia =
        ReadMinutia(bytes + nativeHeaderSize + i * layout.recordSize, layout.recordSize);
    if (minutia.x >= (layout.gridWidth + 1) * blockSize) return false;
    if (minutia.y >= (layout.gridHeight + 1) * blockSize) return false;
  }
  return true;
}

void LoadNativeTemplate(MatchWorkspace& workspace, const uint8_t* bytes) {
  const NativeLayout layout = ReadLayout(bytes);
  workspace.templateAttribute = bytes[4];
  workspace.minutiaCount = layout.minutiaCount;
  workspace.gridWidth = static_cast<uint8_t>(layout.gridWidth);
  workspace.gridHeight = static_cast<uint8_t>(layout.gridHeight);
  const uint8_t* record = bytes + nativeHeaderSize;
  for (int i = 0; i < layout.minutiaCount; i++, record += layout.recordSize) {
    const NativeMinutia minutia = ReadMinutia(record, layout.recordSize);
    workspace.x[i] = static_cast<int16_t>(std::min(minutia.x, layout.gridWidth * blockSize - 1));
    workspace.y[i] = static_cast<int16_t>(std::min(minutia.y, layout.gridHeight * blockSize - 1));
    workspace.angle[i] = static_cast<uint16_t>(minutia.angle);
    workspace.quality[i] = static_cast<uint8_t>(minutia.quality);
    workspace.type[i] = static_cast<uint8_t>(minutia.type);
  }
  workspace.blocks = layout.byteMap ? record : nullptr;
  if (!layout.byteMap) LoadCodedMap(workspace, record);
}

}  // namespace vxm
