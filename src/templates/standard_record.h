// Finger minutiae records of the two interchange standards, ISO/IEC 19794-2 and
// ANSI INCITS 378. Only the first finger view is used. Coordinates are taken in
// the record's own pixels; the resolution scales nothing.
//
// Both standards put the same fields in the same order; ANSI has a record
// length of 2 bytes and a product identifier, which moves all that follows by
// two. All fields are big-endian.
#pragma once

#include "engine/workspace.h"

namespace vxm {

enum class TemplateFormat { native, iso, ansi };

// What the first ten bytes make of a template; native is whatever is no record.
// Missing bytes count as 0.
TemplateFormat RecogniseFormat(const uint8_t* bytes, int size);

// Whether nothing in the first ten bytes speaks against the format: missing bytes do
// not. So what is left of a cut template is still one of its format, if not a good one.
bool MayBeOf(TemplateFormat format, const uint8_t* bytes, int size);

// Where a standard puts its fields: a record is a header, one view's header,
// the minutia records, and the extended data.
struct RecordLayout {
  TemplateFormat format;
  int imageSize;  // offset of width and height, 2 bytes each
  int reserved;   // offset of the byte that ends the header
  int view;       // offset of the view's header
  int minutiae;   // offset of the first minutia record
  int maxLoaded;  // minutiae taken from a record, at most
};
constexpr RecordLayout isoLayout = {TemplateFormat::iso, 14, 23, 24, 28, 127};
constexpr RecordLayout ansiLayout = {TemplateFormat::ansi, 16, 25, 26, 30, maxMinutiae};

constexpr const RecordLayout& LayoutOf(TemplateFormat format) {
  return format == TemplateFormat::iso ? isoLayout : ansiLayout;
}

constexpr int minutiaRecordSize = 6;
constexpr int attributeFieldType = 0x0144;  // extended data that holds templateAttribute
constexpr int attributeFieldSize = 5;       // type, length, one byte
// A record of n minutiae as it is written: with that one field.
constexpr int WrittenSize(const RecordLayout& layout, int minutiae) {
  return layout.minutiae + minutiae * minutiaRecordSize + 2 + attributeFieldSize;
}

// The fields of a record that anything here uses.
struct StandardRecordFields {
  int imageWidth;
  int imageHeight;
  int xResolution;
  int fingerPosition;
  int impressionType;
  int fingerQuality;
  int minutiaCount;  // as stored
  uint8_t templateAttribute;
};
StandardRecordFields ReadRecord(const RecordLayout& layout, const uint8_t* record, int size);

// Whether sizes and counts agree; what verification asks of a record.
bool CheckRecord(const RecordLayout& layout, const uint8_t* record, int size);

// The attribute byte of a candidate, read without loading it: the extended data's
// first byte whatever its type. False when it, or their length, lies beyond `size`.
bool ReadCandidateAttribute(const RecordLayout& layout, const uint8_t* record, int size,
                            uint8_t& templateAttribute);

// Loads a record of any quality: minutiae outside the image or the 64 x 64
// blocks are dropped, those left ordered by y, then x. Leaves the grid's values as they
// were: a record has none.
void LoadRecord(const RecordLayout& layout, const uint8_t* record, int size,
                MatchWorkspace& workspace);

// Writes as many minutiae as fit; nothing when not even none does. Bytes beyond
// the record are left as they were.
void WriteIsoRecord(const MatchWorkspace& workspace, const StandardRecordFields& source,
                    uint8_t* bytes, int size);
void WriteAnsiRecord(const MatchWorkspace& workspace, const StandardRecordFields& source,
                     uint8_t* bytes, int size);

}  // namespace vxm
