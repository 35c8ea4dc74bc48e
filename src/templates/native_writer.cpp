// Writing native templates.
//
// In: a workspace. Out: the richest form that fits into the buffer. What does
// not fit its field is written as the field's largest value, so that nothing
// spills into the fields beside it.
#include <algorithm>

#include "templates/conversions.h"
#include "templates/native_template.h"

namespace vxm {
namespace {

constexpr int largestFullCoordinate = 1023;
constexpr int largestShortCoordinate = 510;

uint8_t Byte(int value) { return static_cast<uint8_t>(value); }

void WriteFullRecord(const MatchWorkspace& workspace, int i, uint8_t* record) {
  const int x = std::clamp<int>(workspace.x[i], 0, largestFullCoordinate);
  const int y = std::clamp<int>(workspace.y[i], 0, largestFullCoordinate);
  const int angle = std::min<int>(workspace.angle[i], 511);
  const int quality = std::min<int>(workspace.quality[i], 127);
  const int type = std::min<int>(workspace.type[i], 15);
  record[0] = Byte(x >> 2);
  record[1] = Byte((x & 3) << 6 | y >> 4);
  record[2] = Byte((y & 15) << 4 | type);
  record[3] = Byte(angle >> 1);
  record[4] = Byte((angle & 1) << 7 | quality);
}

void WriteShortRecord(const MatchWorkspace& workspace, int i, uint8_t* record) {
  record[0] = Byte(std::clamp<int>(workspace.x[i], 0, largestShortCoordinate) / 2);
  record[1] = Byte(std::clamp<int>(workspace.y[i], 0, largestShortCoordinate) / 2);
  record[2] = Byte(std::min(AngleCodeFromDegrees(workspace.angle[i]), 255));
  record[3] =
      Byte(std::min<int>(workspace.type[i], 1) << 7 | std::min<int>(workspace.quality[i], 127));
}

void WriteMap(const MatchWorkspace& workspace, bool byteMap, uint8_t* map) {
  int block = 0;
  for (int row = 0; row < workspace.gridHeight; row++) {
    for (int column = 0; column < workspace.gridWidth; column++, block++) {
      const int value = workspace.orientation[row][column];
      if (byteMap) {
        map[block] = Byte(value);
      } else {
        map[block / 2] |= Byte(CodeFromOrientation(value) << (block % 2 == 0 ? 4 : 0));
      }
    }
  }
}

// The first form that fits, richest first; a record size of 0 for none.
NativeLayout ChooseLayout(const MatchWorkspace& workspace, int size) {
  NativeLayout layout = {workspace.minutiaCount, workspace.gridWidth, workspace.gridHeight,
                         nativeFullRecord, true};
  if (NativeSize(layout) <= size) return layout;
  layout.byteMap = false;
  if (NativeSize(layout) <= size) return layout;
  layout.recordSize = nativeShortRecord;
  if (NativeSize(layout) > size) layout.recordSize = 0;
  return layout;
}

}  // namespace

void WriteNativeTemplate(const MatchWorkspace& workspace, uint8_t* bytes, int size) {
  if (size > 0) std::fill_n(bytes, size, uint8_t{0});
  const NativeLayout layout = ChooseLayout(workspace, size);
  if (layout.minutiaCount == 0 || layout.recordSize == 0) return;
  bytes[0] = Byte(nativeHeaderSize << 3 | layout.recordSize);
  bytes[1] = Byte(layout.minutiaCount);
  bytes[2] = Byte(layout.gridWidth | (layout.byteMap ? 0x80 : 0));
  bytes[3] = Byte(layout.gridHeight);
  bytes[4] = workspace.templateAttribute;
  bytes[6] = 'V';
  bytes[7] = 'X';
  uint8_t* record = bytes + nativeHeaderSize;
  for (int i = 0; i < layout.minutiaCount; i++, record += layout.recordSize) {
    if (layout.recordSize == nativeFullRecord) {
      WriteFullRecord(workspace, i, record);
    } else {
      WriteShortRecord(workspace, i, record);
    }
  }
  WriteMap(workspace, layout.byteMap, record);
}

}  // namespace vxm
