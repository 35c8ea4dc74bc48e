// Standard records: recognise, check, load.
#include "templates/standard_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/loaded_template.h"
#include "support/made_templates.h"
#include "templates/conversions.h"

namespace {

using made::At;
using made::Bytes;
using made::FieldAt;
using made::With;
using made::With16;
using vxm::TemplateFormat;
using Pair = std::pair<int, int>;  // x and y
using Places = std::vector<Pair>;

constexpr int iso = TEMPLATE_ISO19794_2;
constexpr int ansi = TEMPLATE_ANSI378;
constexpr int bothTypes[] = {iso, ansi};

const vxm::RecordLayout& LayoutOf(int type) {
  return type == iso ? vxm::isoLayout : vxm::ansiLayout;
}

Places PlacesIn(const vxm::MatchWorkspace& workspace) {
  Places places;
  for (int i = 0; i < workspace.minutiaCount; i++) {
    places.emplace_back(workspace.x[i], workspace.y[i]);
  }
  return places;
}

// A record of ridge endings at these places, with 2 bytes of extended data: 0.
Bytes RecordOf(int type, const Places& places, Pair imageSize = {1008, 1008}) {
  made::Minutiae minutiae;
  for (const auto& [x, y] : places) minutiae.push_back(At(x, y));
  Bytes record = made::Encode(made::Plain(1, 1, minutiae), type);
  record.resize(record.size() - 5);
  record = With16(record, record.size() - 2, 0);
  record = With16(record, type == iso ? 10 : 8, static_cast<int>(record.size()));
  record = With16(record, FieldAt(type, 14), imageSize.first);
  return With16(record, FieldAt(type, 16), imageSize.second);
}

TEST(RecogniseTest, TheFirstTenBytesDecide) {
  constexpr auto native = TemplateFormat::native;
  constexpr auto isoForm = TemplateFormat::iso;
  constexpr auto ansiForm = TemplateFormat::ansi;
  using Formats = std::vector<TemplateFormat>;
  const struct {
    const char (&bytes)[11];
    int size;
    TemplateFormat format;  // a missing byte is 0
    Formats mayBe;          // a missing byte is any
  } cases[] = {
      {"FMR\0 20\0\0\0", 10, isoForm, {isoForm}},
      {"FMR\0 20\0\0\1", 10, ansiForm, {ansiForm}},
      {"FMR\0 20\0\1\0", 10, ansiForm, {ansiForm}},
      {"FMR\0 20\0\0\1", 9, isoForm, {isoForm, ansiForm}},
      {"FMR\0 20\0\1\1", 9, ansiForm, {ansiForm}},
      {"FMR\0 20\0\1\1", 8, isoForm, {isoForm, ansiForm}},
      {"FMR\0 20\0\1\1", 4, isoForm, {isoForm, ansiForm}},
      {"FMRX 20\0\1\1", 3, isoForm, {native, isoForm, ansiForm}},
      {"FMR\0 20\0\1\1", 2, native, {native, isoForm, ansiForm}},
      {"FMR\0 20\0\1\1", 0, native, {native, isoForm, ansiForm}},
      {"FMR\0 20\0\1\1", INT_MIN, native, {native, isoForm, ansiForm}},
      {"FMRX 20\0\1\1", 10, native, {native}},
      {"FMRX 20\0\1\1", 4, native, {native}},
      {"FMr\0 20\0\1\1", 10, native, {native}},
      {"fMR\0 20\0\1\1", 1, native, {native}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::string(c.bytes, 10) << " of " << c.size);
    const Bytes bytes(c.bytes, c.bytes + 10);
    EXPECT_EQ(vxm::RecogniseFormat(bytes.data(), c.size), c.format);
    Formats mayBe;
    for (const auto format : {native, isoForm, ansiForm}) {
      if (vxm::MayBeOf(format, bytes.data(), c.size)) mayBe.push_back(format);
    }
    EXPECT_EQ(mayBe, c.mayBe);
  }
}

TEST(RecordCheckTest, SizesAndCountsMustAgree) {
  const struct {
    int type;
    const char* what;
    int count, length, size;
    bool passes;
  } cases[] = {
      {iso, "no minutiae", 0, 30, 30, true},
      {iso, "size of the header", 0, 29, 29, false},
      {iso, "10 minutiae", 10, 90, 90, true},
      {iso, "10 minutiae, cut", 10, 89, 89, false},
      {iso, "length says more than size", 10, 91, 90, false},
      {iso, "length says less", 10, 0, 90, true},
      {iso, "200 minutiae", 200, 1230, 1230, true},
      {iso, "201 minutiae", 201, 1236, 1236, false},
      {iso, "length with its top bit", 10, INT_MIN, 90, false},
      {iso, "negative size", 10, 90, -1, false},
      {iso, "most negative size", 10, 90, INT_MIN, false},
      {ansi, "no minutiae", 0, 32, 32, true},
      {ansi, "size of the header", 0, 31, 31, false},
      {ansi, "10 minutiae", 10, 92, 92, true},
      {ansi, "10 minutiae, cut", 10, 91, 91, false},
      {ansi, "length says more than size", 10, 93, 92, false},
      {ansi, "largest length", 10, 65535, 2000, false},
      {ansi, "200 minutiae", 200, 1232, 1232, true},
      {ansi, "201 minutiae", 201, 1238, 1238, false},
      {ansi, "negative size", 10, 92, -1, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.type << ' ' << c.what);
    Bytes record(2000, 0);
    std::copy_n("FMR", 4, record.begin());
    if (c.type == iso) record = With16(record, 8, c.length >> 16);
    record = With16(record, c.type == iso ? 10 : 8, c.length);
    record = With(record, FieldAt(c.type, 27), c.count);
    EXPECT_EQ(vxm::CheckRecord(LayoutOf(c.type), record.data(), c.size), c.passes);
    for (size_t i = 0; i < 4; i++) {
      const Bytes other = With(record, i, record[i] ^ 1);
      EXPECT_FALSE(vxm::CheckRecord(LayoutOf(c.type), other.data(), c.size)) << "byte " << i;
    }
  }
}

TEST(RecordLoadTest, PlacesAreKeptMovedAndOrdered) {
  const struct {
    const char* what;
    Pair image;
    Places places;
    Places kept;
    Pair grid;
  } cases[] = {
      {"moved", {600, 600}, {{100, 40}, {500, 45}}, {{20, 8}, {420, 13}}, {27, 2}},
      {"by y", {600, 600}, {{30, 30}, {40, 20}}, {{24, 20}, {14, 30}}, {3, 3}},
      {"then x", {600, 600}, {{40, 30}, {20, 30}}, {{20, 14}, {40, 14}}, {4, 2}},
      {"right of the image", {600, 600}, {{599, 100}, {600, 100}}, {{23, 20}}, {2, 2}},
      {"below the image", {600, 600}, {{100, 599}, {100, 600}}, {{20, 23}}, {2, 2}},
      {"left edge", {600, 600}, {{0, 9}, {1, 1}}, {{1, 1}}, {1, 2}},
      {"top edge", {600, 600}, {{9, 0}, {1, 1}}, {{1, 1}}, {2, 1}},
      {"65 blocks",
       {2000, 2000},
       {{10, 9}, {1030, 9}, {1024, 9}, {1023, 9}},
       {{10, 9}, {1023, 9}},
       {64, 2}},
      {"outside the engine's area", {65535, 65535}, {{2000, 2000}, {5000, 9000}}, {}, {1, 1}},
      {"image of no size", {0, 0}, {{10, 10}}, {}, {1, 1}},
      {"no width", {0, 65535}, {{10, 10}}, {}, {1, 1}},
      {"reserved bit of y", {65535, 65535}, {{9, 0x4014}, {30, 20}}, {{30, 20}}, {3, 64}},
      {"sign bit of y", {65535, 65535}, {{9, 0x8014}, {30, 20}}, {{14, 20}}, {2, 2}},
      {"none", {600, 600}, {}, {}, {1, 1}},
  };
  for (const int type : bothTypes) {
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << type << ' ' << c.what);
      const auto loaded = Load(RecordOf(type, c.places, c.image));
      EXPECT_EQ(PlacesIn(loaded->workspace), c.kept);
      EXPECT_EQ(loaded->workspace.gridWidth, c.grid.first);
      EXPECT_EQ(loaded->workspace.gridHeight, c.grid.second);
    }
  }
}

TEST(RecordConversionTest, DirectionsAreTurnedAndComeBack) {
  for (int code = 0; code < 256; code++) {
    SCOPED_TRACE(code);
    const int isoDegrees = vxm::DegreesFromIsoDirection(code);
    EXPECT_EQ(isoDegrees, static_cast<int>(code * 1.40625 + 0.5));
    EXPECT_EQ(vxm::IsoDirectionFromDegrees(isoDegrees), code);
    const int ansiDegrees = vxm::DegreesFromAnsiDirection(code);
    EXPECT_EQ(ansiDegrees, code < 180 ? 2 * code : 0);
    EXPECT_EQ(vxm::AnsiDirectionFromDegrees(ansiDegrees), code < 180 ? code : 0);
  }
  EXPECT_EQ(vxm::IsoDirectionFromDegrees(360), 0);
  EXPECT_EQ(vxm::AnsiDirectionFromDegrees(359), 0);
  const struct {
    int type, code, angle;
  } cases[] = {{ansi, 0, 180},   {ansi, 45, 270},  {ansi, 90, 0},    {ansi, 179, 178},
               {ansi, 180, 180}, {ansi, 200, 180}, {ansi, 255, 180}, {iso, 0, 180},
               {iso, 64, 270},   {iso, 128, 0},    {iso, 255, 179}};
  for (const auto& c : cases) {
    const auto loaded = Load(With(RecordOf(c.type, {{20, 20}}), FieldAt(c.type, 32), c.code));
    EXPECT_EQ(loaded->workspace.angle[0], c.angle) << c.type << ' ' << c.code;
  }
}

// The loader takes the extended data for the attribute only when they are the
// attribute's field; the reader of candidates takes their first byte.
TEST(RecordAttributeTest, ExtendedDataOrReservedByte) {
  constexpr int reserved = 99;
  const struct {
    const char* what;
    Bytes extended;
    int loaded;
    int read;  // -1: the byte is missing
  } cases[] = {
      {"none", {0, 0}, reserved, reserved},
      {"the field", {0, 5, 1, 0x44, 0, 5, 7}, 7, 7},
      {"a longer field", {0, 6, 1, 0x44, 0, 6, 7, 8}, 7, 7},
      {"a field longer than its block", {0, 5, 1, 0x44, 0, 6, 7, 8}, 7, 7},
      {"a block shorter than its field", {0, 4, 1, 0x44, 0, 5, 7}, 7, 7},
      {"more fields", {0, 10, 1, 0x44, 0, 5, 7, 9, 9, 0, 5, 8}, 7, 7},
      {"another field", {0, 5, 0, 0x01, 0, 5, 7}, reserved, 7},
      {"the field in second place", {0, 10, 0, 1, 0, 5, 8, 1, 0x44, 0, 5, 7}, reserved, 8},
      {"field without data", {0, 4, 1, 0x44, 0, 4, 7}, reserved, 7},
      {"block beyond the record", {0, 6, 1, 0x44, 0, 5, 7}, reserved, 7},
      {"field beyond the record", {0, 5, 1, 0x44, 0, 6, 7}, reserved, 7},
      {"largest lengths", {0xFF, 0xFF, 1, 0x44, 0xFF, 0xFF, 7}, reserved, 7},
      {"block of length 0", {0, 0, 1, 0x44, 0, 5, 7}, reserved, reserved},
      {"cut before its byte", {0, 4, 1, 0x44, 0, 4}, reserved, -1},
      {"half a length", {0}, reserved, -1},
      {"nothing", {}, reserved, -1},
  };
  for (const int type : bothTypes) {
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << type << ' ' << c.what);
      Bytes record = With(RecordOf(type, {{20, 20}, {30, 30}}), FieldAt(type, 23), reserved);
      record.erase(record.end() - 2, record.end());
      record.insert(record.end(), c.extended.begin(), c.extended.end());
      EXPECT_EQ(Load(record)->workspace.templateAttribute, c.loaded);
      uint8_t attribute = 0;
      const bool found = vxm::ReadCandidateAttribute(LayoutOf(type), record.data(),
                                                     static_cast<int>(record.size()), attribute);
      ASSERT_EQ(found, c.read != -1);
      if (found) {
        EXPECT_EQ(attribute, c.read);
      }
    }
  }
}

}  // namespace
