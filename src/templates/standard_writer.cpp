// Writing standard records, with one extended data field for templateAttribute.
//
// In: a workspace and the fields of the record that it was loaded from. Out: a
// record of as many minutiae as fit. The two standards share their records; what
// differs stands in the two writers.
#include <algorithm>

#include "templates/conversions.h"
#include "templates/standard_record.h"

namespace vxm {
namespace {

// Puts big-endian fields one after the other.
struct ByteWriter {
  uint8_t* next;

  void U8(int value) { *next++ = static_cast<uint8_t>(value); }
  void U16(int value) {
    U8(value >> 8);
    U8(value);
  }
  void U32(int value) {
    U16(value >> 16);
    U16(value);
  }
};

// Minutiae that a buffer has room for; -1 when not even an empty record fits.
int FittingMinutiae(const RecordLayout& layout, const MatchWorkspace& workspace, int size) {
  const int empty = WrittenSize(layout, 0);
  if (size < empty) return -1;
  return std::min({workspace.minutiaCount, maxMinutiae, (size - empty) / minutiaRecordSize});
}

void PutIdentifier(ByteWriter& writer) {
  for (const int byte : {'F', 'M', 'R', '\0', ' ', '2', '0', '\0'}) writer.U8(byte);
}

// Image size, resolution in both directions, one view, and the reserved byte.
void PutImage(ByteWriter& writer, const StandardRecordFields& source, int resolution) {
  writer.U16(source.imageWidth);
  writer.U16(source.imageHeight);
  writer.U16(resolution);
  writer.U16(resolution);
  writer.U8(1);
  writer.U8(0);
}

int TypeBits(int type) {
  if (type > 1) return 0;
  return type == 0 ? 1 : 2;
}

void PutMinutia(ByteWriter& writer, const MatchWorkspace& workspace, int i, TemplateFormat format) {
  constexpr int largestX = 0x3FFF;
  writer.U16(TypeBits(workspace.type[i]) << 14 | std::min<int>(workspace.x[i], largestX));
  writer.U16(workspace.y[i]);
  const int degrees = OppositeDirection(workspace.angle[i]);
  writer.U8(format == TemplateFormat::iso ? IsoDirectionFromDegrees(degrees)
                                          : AnsiDirectionFromDegrees(degrees));
  writer.U8(0);
}

void PutMinutiae(ByteWriter& writer, const MatchWorkspace& workspace, int count,
                 TemplateFormat format) {
  writer.U8(count);
  for (int i = 0; i < count; i++) PutMinutia(writer, workspace, i, format);
  writer.U16(attributeFieldSize);
  writer.U16(attributeFieldType);
  writer.U16(attributeFieldSize);
  writer.U8(workspace.templateAttribute);
}

}  // namespace

void WriteIsoRecord(const MatchWorkspace& workspace, const StandardRecordFields& source,
                    uint8_t* bytes, int size) {
  const int count = FittingMinutiae(isoLayout, workspace, size);
  if (count < 0) return;
  ByteWriter writer = {bytes};
  PutIdentifier(writer);
  writer.U32(WrittenSize(isoLayout, count));
  writer.U16(0);  // capture equipment
  PutImage(writer, source, source.xResolution);
  writer.U8(0);    // finger position
  writer.U8(0);    // view number and impression type
  writer.U8(100);  // finger quality
  PutMinutiae(writer, workspace, count, TemplateFormat::iso);
}

void WriteAnsiRecord(const MatchWorkspace& workspace, const StandardRecordFields& source,
                     uint8_t* bytes, int size) {
  constexpr int resolution = 197;  // pixels per centimetre
  const int count = FittingMinutiae(ansiLayout, workspace, size);
  if (count < 0) return;
  ByteWriter writer = {bytes};
  PutIdentifier(writer);
  writer.U16(WrittenSize(ansiLayout, count));
  writer.U32(0);  // product identifier
  writer.U16(0);  // capture equipment
  PutImage(writer, source, resolution);
  writer.U8(source.fingerPosition);
  writer.U8(source.impressionType);
  writer.U8(source.fingerQuality);
  PutMinutiae(writer, workspace, count, TemplateFormat::ansi);
}

}  // namespace vxm
