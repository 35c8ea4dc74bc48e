// Recognising, checking and reading standard records.
//
// In: bytes of any kind. Out: the format, a verdict, or the fields. Counts and
// lengths come from the record itself and may lie, so every access goes through
// the bounded reader.
#include "templates/standard_record.h"

#include <algorithm>

#include "templates/byte_reader.h"

namespace vxm {
namespace {

constexpr uint32_t formatIdentifier = 0x464D5200;  // "FMR" and a zero byte

bool IsStandardRecord(const ByteReader& reader) { return reader.U32(0) == formatIdentifier; }

int MinutiaCount(const RecordLayout& layout, const ByteReader& reader) {
  return static_cast<int>(reader.U8(layout.minutiae - 1));
}

int ExtendedData(const RecordLayout& layout, const ByteReader& reader) {
  return layout.minutiae + MinutiaCount(layout, reader) * minutiaRecordSize;
}

// The byte of the first extended data field if it is the attribute field and
// lies inside the record, otherwise the reserved byte of the header.
uint8_t TemplateAttribute(const RecordLayout& layout, const ByteReader& reader) {
  const int block = ExtendedData(layout, reader) + 2;
  const int blockLength = static_cast<int>(reader.U16(block - 2));
  const int fieldLength = static_cast<int>(reader.U16(block + 2));
  const bool hasField = blockLength != 0 && reader.Has(block, blockLength) &&
                        reader.U16(block) == attributeFieldType &&
                        fieldLength >= attributeFieldSize && reader.Has(block, fieldLength);
  return static_cast<uint8_t>(reader.U8(hasField ? block + 4 : layout.reserved));
}

}  // namespace

TemplateFormat RecogniseFormat(const uint8_t* bytes, int size) {
  const ByteReader reader = {bytes, size};
  if (!IsStandardRecord(reader)) return TemplateFormat::native;
  return reader.U16(8) != 0 ? TemplateFormat::ansi : TemplateFormat::iso;
}

bool MayBeOf(TemplateFormat format, const uint8_t* bytes, int size) {
  constexpr int recognisedBytes = 10;
  if (size >= recognisedBytes) return RecogniseFormat(bytes, size) == format;
  constexpr uint8_t identifier[] = {'F', 'M', 'R', 0};
  const int there = std::clamp(size, 0, 4);
  const bool mayBeRecord = std::equal(bytes, bytes + there, identifier);
  if (format == TemplateFormat::native) return there < 4 || !mayBeRecord;
  const ByteReader reader = {bytes, size};
  return mayBeRecord && (format == TemplateFormat::ansi || reader.U8(8) == 0);
}

bool CheckRecord(const RecordLayout& layout, const uint8_t* record, int size) {
  const ByteReader reader = {record, size};
  const int least = layout.minutiae + 2;
  if (!IsStandardRecord(reader) || size < least) return false;
  const uint32_t length = layout.format == TemplateFormat::iso ? reader.U32(8) : reader.U16(8);
  if (static_cast<uint32_t>(size) < length) return false;
  const int count = MinutiaCount(layout, reader);
  return count <= maxMinutiae && size >= least + count * minutiaRecordSize;
}

StandardRecordFields ReadRecord(const RecordLayout& layout, const uint8_t* record, int size) {
  const ByteReader reader = {record, size};
  StandardRecordFields fields = {};
  fields.imageWidth = static_cast<int>(reader.U16(layout.imageSize));
  fields.imageHeight = static_cast<int>(reader.U16(layout.imageSize + 2));
  fields.xResolution = static_cast<int>(reader.U16(layout.imageSize + 4));
  fields.fingerPosition = static_cast<int>(reader.U8(layout.view));
  fields.impressionType = static_cast<int>(reader.U8(layout.view + 1) & 0x0F);
  fields.fingerQuality = static_cast<int>(reader.U8(layout.view + 2));
  fields.minutiaCount = MinutiaCount(layout, reader);
  fields.templateAttribute = TemplateAttribute(layout, reader);
  return fields;
}

bool ReadCandidateAttribute(const RecordLayout& layout, const uint8_t* record, int size,
                            uint8_t& templateAttribute) {
  const ByteReader reader = {record, size};
  const int block = ExtendedData(layout, reader) + 2;
  const int offset = reader.U16(block - 2) != 0 ? block + 4 : layout.reserved;
  templateAttribute = static_cast<uint8_t>(reader.U8(offset));
  return reader.Has(block - 2, 2) && reader.Has(offset, 1);
}

}  // namespace vxm
