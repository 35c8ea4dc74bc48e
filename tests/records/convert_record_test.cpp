// Conversions, first between every two forms, with all bytes worked out by hand.
#include <random>
#include <set>
#include <string>

#include "record_samples.h"
#include "support/made_templates.h"
#include "support/matcher_calls.h"
#include "support/matcher_fixture.h"

namespace {

using namespace samples;

// Forms whose minutiae are alike.
enum Layout { ansi, iso, card, compact, xyt };

constexpr Layout layouts[] = {ansi, ansi, ansi, ansi, iso, iso, card, compact, xyt};

// What becomes of the minutiae of a layout (row) in another (column). Angles 45, 179, 13
// of 180 are 64, 255, 18.49 of 256, 16, 63.6, 4.6 of 64 and 90, 358, 26 of 360; 64, 255, 19
// of 256 are 45, 179.3, 13.4 of 180, 16, 63.75, 4.75 of 64 and 90, 358.6, 26.7 of 360; 16,
// 63, 5 of 64 are 45, 177.2, 14.1 of 180, 64, 252, 20 of 256 and 90, 354.4, 28.1 of 360; 90,
// 359, 26 of 360 are 45, 179.5, 13 of 180, 64, 255.3, 18.49 of 256 and 16, 63.8, 4.6 of 64.
constexpr const char* minutiae[5][5] = {
    {ansiMinutiae, "400A0014403C 812B018FFF64 000000001200", "400A001440 812B018FFF 0000000012",
     "050A50 98CB80 000005", "10 380 270 60\n299 1 178 100\n0 400 206 0\n"},
    {ansiMinutiae, isoMinutiae, cardMinutiae, "050A50 98CB80 000005",
     "10 380 270 60\n299 1 179 100\n0 400 207 0\n"},
    {"400A00142D00 812B018FB300 000000000D00", "400A00144000 812B018FFF00 000000001300",
     cardMinutiae, "050A50 98CB80 000005", "10 380 270 0\n299 1 179 0\n0 400 207 0\n"},
    {"4005000A2D00 80FF00FFB100 000000000E00", "4005000A4000 80FF00FFFC00 000000001400",
     "4005000A40 80FF00FFFC 0000000014", compactMinutiae,
     "5 390 270 0\n255 145 174 0\n0 400 208 0\n"},
    {"000A00142D3C 012B018F0064 000000000D00", "000A0014403C 012B018FFF64 000000001200",
     "000A001440 012B018FFF 0000000012", "050A10 98CB00 000005", xytMinutiae},
};

// Headers of what had none; RRRR is the resolution.
constexpr const char* bareHeads[] = {
    nullptr,
    "464D5200 20323000 0032 0000 0000 0000 012C 0190 RRRR RRRR 01 00  00 00 00 03",
    "464D5200 30333000 0000003A 0000 0000 00 0000 01 00"
    "00 00 00 FE 0000 0000 012C 0190 RRRR RRRR 03",
    "464D5200 30333500 0000003A 0000 0000 00 0000 01 00"
    "00 00 00 FE 0000 0000 012C 0190 RRRR RRRR 03",
    "464D5200 20323000 00000030 0000 012C 0190 RRRR RRRR 01 00  00 00 00 03",
    "464D5200 30333000 00000043 0001 00  00000034 FFFFFFFFFFFFFFFFFF 00 0000 0000 00"
    "00 00 RRRR RRRR 00 012C 0190 60 03",
};
// Of ISO:2011 without qualities of minutiae.
constexpr const char* cardHead2011 =
    "464D5200 30333000 00000040 0001 00  00000031 FFFFFFFFFFFFFFFFFF 00 0000 0000 00"
    "00 00 RRRR RRRR 00 012C 0190 50 03";

Bytes Expected(int from, int to) {
  const Layout layout = layouts[from];
  const char* all = minutiae[layout][layouts[to]];
  if (to == VXR_XYT) return TextBytes(all);
  if (to > VXR_ISO_2011) return Hex(all);
  if (from <= VXR_ISO_2011) return Hex(std::string(heads[to]) + all + "0000");
  std::string head = bareHeads[to];
  if (to == VXR_ISO_2011 && layout != xyt) {
    head = cardHead2011;
    all = minutiae[layout][card];
  }
  for (int i = 0; i < 2; i++)
    head.replace(head.find("RRRR"), 4, layout == compact ? "0064" : "00C5");
  return Hex(head + all + "0000");
}

TEST(Conversion, EveryFormBecomesEveryForm) {
  for (int from = VXR_ANSI_2004; from <= VXR_XYT; from++) {
    for (int to = VXR_ANSI_2004; to <= VXR_XYT; to++) {
      const Converted got = Convert(Sample(from), from, To(to));
      EXPECT_EQ(HexOf(got.bytes), HexOf(Expected(from, to)))
          << VXR_FormName(from) << " to " << VXR_FormName(to) << ": " << got.fault.text;
    }
  }
}

TEST(Conversion, CountsWhatIsLost) {
  struct Row {
    int from, to;
    // outside, pruned, positions, angles, types, qualities, blocks, views, fields
    uint32_t losses[9];
  };
  const Row rows[] = {
      {VXR_ANSI_2004, VXR_ISO_2005, {}},
      {VXR_ANSI_2004, VXR_ISO_2011, {}},
      {VXR_ISO_2005, VXR_ISO_2011, {}},
      {VXR_ISO_2011, VXR_ANSI_2009, {0, 0, 0, 1, 0, 0, 0, 0, 0}},
      {VXR_ANSI_2009, VXR_XYT, {0, 0, 0, 0, 2, 0, 0, 0, 4}},  // finger, impression, quality, device
      {VXR_ANSI_2004, VXR_ISO_CARD, {0, 0, 0, 0, 0, 2, 0, 0, 4}},
      {VXR_ISO_2005, VXR_ISO_CARD_COMPACT, {0, 0, 1, 2, 0, 2, 0, 0, 4}},
      {VXR_XYT, VXR_ANSI_2004, {0, 0, 0, 1, 0, 0, 0, 0, 0}},
      {VXR_ISO_CARD_COMPACT, VXR_ISO_CARD, {}},
  };
  for (const Row& row : rows) {
    const Converted got = Convert(Sample(row.from), row.from, To(row.to));
    const VXR_Losses& l = got.losses;
    const uint32_t counted[] = {l.minutiaeOutside, l.minutiaePruned, l.positionsRounded,
                                l.anglesRounded,   l.typesDropped,   l.qualitiesDropped,
                                l.extendedDropped, l.viewsDropped,   l.fieldsDropped};
    for (int i = 0; i < 9; i++) {
      EXPECT_EQ(counted[i], row.losses[i])
          << VXR_FormName(row.from) << " to " << VXR_FormName(row.to) << ", count " << i;
    }
  }
}

// A record of ISO:2005 with these minutiae.
Bytes Iso(const std::string& minutiaeHex,
          const std::string& sizeAndResolution = "012C0190 00C500C5",
          const std::string& extended = "0000") {
  const Bytes list = Hex(minutiaeHex);
  const Bytes rest = Hex(extended);
  Bytes bytes = Hex("464D5200 20323000 00000000 0000" + sizeAndResolution + "0100 000000");
  bytes.push_back(static_cast<uint8_t>(list.size() / 6));
  bytes.insert(bytes.end(), list.begin(), list.end());
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  bytes[10] = static_cast<uint8_t>(bytes.size() >> 8);
  bytes[11] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

struct OptionRow {
  const char* name;
  VXR_Conversion wanted;  // form, resolution, width, height, view, most, order, descending, keep
  const char* from;
  const char* fromImage;
  const char* to;
  const char* toImage;
  uint32_t outside, pruned, rounded;
};

// Four minutiae about the centroid (40, 42); squared distances 484, 104, 104, 676.
constexpr const char* four = "0028 0014 10 00 0032 0028 20 00 001E 0028 30 00 0028 0044 40 00";
constexpr const char* usual = "012C0190 00C500C5";

TEST(Conversion, DoesWhatIsAsked) {
  const int form = VXR_ISO_2005;
  const OptionRow rows[] = {
      {"halves round up",
       {form, 197, 0, 0, -1, 0, 0, 0, 0},
       "0015 0014 05 01",
       "02580320 018A018A",
       "000B 000A 05 01",
       usual,
       0,
       0,
       1},
      {"doubles",
       {form, 394, 0, 0, -1, 0, 0, 0, 0},
       "012B 018F 05 01",
       usual,
       "0256 031E 05 01",
       "02580320 018A018A",
       0,
       0,
       0},
      {"x and y apart",
       {form, 197, 0, 0, -1, 0, 0, 0, 0},
       "0014 0014 05 01",
       "02580190 018A00C5",
       "000A 0014 05 01",
       usual,
       0,
       0,
       0},
      {"the last pixel rounds out",
       {form, 197, 0, 0, -1, 0, 0, 0, 0},
       "0257 0002 05 01",
       "02580320 018A018A",
       "",
       usual,
       1,
       0,
       0},
      {"crops",
       {form, 0, 50, 41, -1, 0, 0, 0, 0},
       four,
       usual,
       "0028 0014 10 00 001E 0028 30 00",
       "00320029 00C500C5",
       2,
       0,
       0},
      {"keeps the nearest, of equals the first",
       {form, 0, 0, 0, -1, 1, 0, 0, 0},
       four,
       usual,
       "0032 0028 20 00",
       usual,
       0,
       3,
       0},
      {"keeps the order of those kept",
       {form, 0, 0, 0, -1, 3, 0, 0, 0},
       four,
       usual,
       "0028 0014 10 00 0032 0028 20 00 001E 0028 30 00",
       usual,
       0,
       1,
       0},
      {"by x",
       {form, 0, 0, 0, -1, 0, VXR_ORDER_X, 0, 0},
       four,
       usual,
       "001E 0028 30 00 0028 0014 10 00 0028 0044 40 00 0032 0028 20 00",
       usual,
       0,
       0,
       0},
      {"by y, falling",
       {form, 0, 0, 0, -1, 0, VXR_ORDER_Y, 1, 0},
       four,
       usual,
       "0028 0044 40 00 0032 0028 20 00 001E 0028 30 00 0028 0014 10 00",
       usual,
       0,
       0,
       0},
      {"by angle, falling",
       {form, 0, 0, 0, -1, 0, VXR_ORDER_ANGLE, 1, 0},
       four,
       usual,
       "0028 0044 40 00 001E 0028 30 00 0032 0028 20 00 0028 0014 10 00",
       usual,
       0,
       0,
       0},
      {"by distance",
       {form, 0, 0, 0, -1, 0, VXR_ORDER_DISTANCE, 0, 0},
       four,
       usual,
       "0032 0028 20 00 001E 0028 30 00 0028 0014 10 00 0028 0044 40 00",
       usual,
       0,
       0,
       0},
  };
  for (const OptionRow& row : rows) {
    const Converted got = Convert(Iso(row.from, row.fromImage), form, row.wanted);
    EXPECT_EQ(HexOf(got.bytes), HexOf(Iso(row.to, row.toImage))) << row.name << got.fault.text;
    EXPECT_EQ(got.losses.minutiaeOutside, row.outside) << row.name;
    EXPECT_EQ(got.losses.minutiaePruned, row.pruned) << row.name;
    EXPECT_EQ(got.losses.positionsRounded, row.rounded) << row.name;
  }
}

// Ridge counts, a core and a delta with angles, zonal quality, a vendor's own.
constexpr const char* blocks =
    "002A 0001 0008 01 0001 07 0002 0012 01 402000200A 01 402100210A0B0C"
    "0003 000B 96 C8 08 01020304 0144 0005 4D";

TEST(Conversion, ExtendedDataStayWhereNothingChanges) {
  const Bytes bytes = Hex(blocks);
  const Bytes record = Iso(four, usual, blocks);
  struct Row {
    VXR_Conversion wanted;
    size_t kept;  // bytes
    uint32_t dropped;
  };
  const Row rows[] = {
      {{VXR_ISO_2011, 0, 0, 0, -1, 0, 0, 0, 1}, bytes.size() - 2, 0},
      {{VXR_ISO_2005, 197, 300, 400, 0, 4, 0, 0, 1}, bytes.size() - 2, 0},
      {{VXR_ISO_2005, 0, 0, 0, -1, 0, 0, 0, 0}, 0, 4},            // not asked for
      {{VXR_ISO_2005, 394, 0, 0, -1, 0, 0, 0, 1}, 0, 4},          // positions
      {{VXR_ANSI_2004, 0, 0, 0, -1, 0, 0, 0, 1}, 0, 4},           // unit of angles
      {{VXR_ISO_2005, 0, 0, 0, -1, 3, 0, 0, 1}, 0, 4},            // number
      {{VXR_ISO_2005, 0, 0, 0, -1, 0, VXR_ORDER_X, 0, 1}, 0, 4},  // order
      {{VXR_ISO_CARD, 0, 0, 0, -1, 0, 0, 0, 1}, 0, 4},            // no place
  };
  for (const Row& row : rows) {
    const Converted got = Convert(record, VXR_ISO_2005, row.wanted);
    EXPECT_EQ(got.losses.extendedDropped, row.dropped) << HexOf(got.bytes);
    if (row.dropped > 0) continue;
    const Read read(got.bytes, row.wanted.form);
    ASSERT_EQ(read.status, VXR_OK);
    const VXR_View& view = read.record->views[0];
    EXPECT_EQ(Bytes(view.extended, view.extended + view.extendedSize),
              Bytes(bytes.begin() + 2, bytes.end()));
  }
}

// Two views of ISO:2011 with all that only that form has, by their differences.
TEST(Conversion, CountsFieldsAndViewsWithoutAPlace) {
  const std::string view =
      "00000030 07E80214FFFFFF0000 14 0011 0123 02 50 0001 0002 FF 0003 0004 01 0001 02"
      "02 NN 00C5 00C5 18 012C 0190 51 00 0000";
  std::string two = "464D5200 30333000 0000006F 0002 01" + view + view;
  two.replace(two.find("NN"), 2, "00").replace(two.find("NN"), 2, "01");
  const Bytes record = Hex(two);
  ASSERT_EQ(record.size(), 0x6Fu);
  VXR_Conversion one = To(VXR_ANSI_2009);
  one.view = 1;
  const Converted got = Convert(record, VXR_ISO_2011, one);
  EXPECT_EQ(HexOf(got.bytes), HexOf(Hex("464D5200 30333000 00000028 0000 0000 00 0123 01 00"
                                        "02 00 18 50 0001 0002 012C 0190 00C5 00C5 00 0000")));
  EXPECT_EQ(got.losses.viewsDropped, 1u);
  // Time, technology, vendor, ending type, certification, a second quality.
  EXPECT_EQ(got.losses.fieldsDropped, 6u);
  // Of each view also the quality's maker and the impression type 24, above 4 bits.
  EXPECT_EQ(Convert(record, VXR_ISO_2011, To(VXR_ISO_2005)).losses.fieldsDropped, 16u);
  EXPECT_EQ(Convert(record, VXR_ISO_2011, To(VXR_ISO_CARD)).status, VXR_ERROR_ARGUMENT);
  EXPECT_EQ(HexOf(Convert(record, VXR_ISO_2011, To(VXR_ISO_2011)).bytes), HexOf(record));
  const Bytes certified =
      Hex("464D5200 20323000 0020 0102 0304 8123 012C 0190 00C5 00C5 01 07"
          "0700500000 00");
  EXPECT_EQ(HexOf(Convert(certified, VXR_ANSI_2004, To(VXR_ANSI_2009_AM1)).bytes),
            HexOf(Hex("464D5200 30333500 00000028 0102 0304 80 0123 01 07"
                      "07 00 00 50 0000 0000 012C 0190 00C5 00C5 00 0000")));
  EXPECT_EQ(Convert(certified, VXR_ANSI_2004, To(VXR_ISO_2011)).losses.fieldsDropped, 4u);
}

TEST(Conversion, LengthsNeedTwoFourOrSixBytes) {
  // 43 views of 255 minutiae.
  std::string text = "464D5200 30333000 00000000 0001 0002 00 0003 2B 00";
  for (int view = 0; view < 43; view++) {
    const int number = view % 15;
    text += std::string("0") + "123"[view / 15] + "0" + "0123456789ABCDE"[number] +
            "00 50 0000 0000 012C 0190 00C5 00C5 FF";
    for (int i = 0; i < 255; i++) text += "400A00142D3C";
    text += "0000";
  }
  Bytes record = Hex(text);
  ASSERT_EQ(record.size(), 21u + 43 * (17 + 255 * 6 + 2));
  ASSERT_EQ(record.size(), 66628u);
  record[9] = 1, record[10] = 4, record[11] = 0x44;
  VXR_Fault fault;
  EXPECT_EQ(VXR_Check(record.data(), record.size(), VXR_ANSI_2009, nullptr, &fault, 1), 0)
      << fault.offset << fault.text;
  const Converted longer = Convert(record, VXR_ANSI_2009, To(VXR_ANSI_2004));
  ASSERT_EQ(longer.bytes.size(), 30u + 43 * (4 + 255 * 6 + 2));
  EXPECT_EQ(HexOf(Bytes(longer.bytes.begin() + 8, longer.bytes.begin() + 34)),
            HexOf(Hex("0000 0001021E 0001 0002 0003 012C 0190 00C5 00C5 2B 00 01 00 50 FF")));
  EXPECT_EQ(VXR_TellForm(longer.bytes.data(), longer.bytes.size()), VXR_ANSI_2004);
  EXPECT_EQ(Convert(longer.bytes, VXR_ANSI_2004, To(VXR_ANSI_2009)).bytes, record);
  EXPECT_EQ(Convert(record, VXR_ANSI_2009, To(VXR_ISO_2005)).status, VXR_ERROR_FORM);
  // A card can hold more than a record.
  Bytes crowd;
  for (int i = 0; i < 300; i++) crowd.insert(crowd.end(), {0, static_cast<uint8_t>(i), 0, 5, 0});
  EXPECT_EQ(Convert(crowd, VXR_ISO_CARD, To(VXR_ISO_2005)).losses.minutiaePruned, 45u);
}

TEST(Conversion, RefusesWhatMeansNothing) {
  const Read read(Sample(VXR_ANSI_2009), VXR_ANSI_2009);
  const VXR_Conversion rows[] = {
      {0, 0, 0, 0, -1, 0, 0, 0, 0},
      {9, 0, 0, 0, -1, 0, 0, 0, 0},
      {VXR_ISO_2005, -1, 0, 0, -1, 0, 0, 0, 0},
      {VXR_ISO_2005, 0, 65536, 0, -1, 0, 0, 0, 0},
      {VXR_ISO_2005, 0, 0, 0, -2, 0, 0, 0, 0},
      {VXR_ISO_2005, 0, 0, 0, -1, -1, 0, 0, 0},
      {VXR_ISO_2005, 0, 0, 0, -1, 0, 5, 0, 0},
      {VXR_ISO_CARD_COMPACT, 197, 0, 0, -1, 0, 0, 0, 0},
      {VXR_ISO_2005, 0, 0, 0, 1, 0, 0, 0, 0},
      {VXR_ISO_2005, 65535, 0, 0, -1, 0, 0, 0, 0},
  };
  for (const VXR_Conversion& row : rows) {
    VXR_Record* record = read.record;
    VXR_Fault fault = {};
    EXPECT_LT(VXR_Convert(read.record, &row, &record, nullptr, &fault), 0) << row.form;
    EXPECT_EQ(record, nullptr);
    EXPECT_NE(fault.text[0], '\0');
  }
  VXR_View view = {};
  VXR_Minutia minutia = {0x4000, 1, 1, 1, 1};
  view.minutiaCount = 1;
  VXR_Record record = {VXR_ISO_2005, 0, 0, 0, 0, 0, 1, &view};
  size_t size = 1;
  EXPECT_EQ(VXR_Write(&record, nullptr, 0, &size, nullptr), VXR_ERROR_ARGUMENT);
  view.minutiae = &minutia;
  EXPECT_EQ(VXR_Write(&record, nullptr, 0, &size, nullptr), VXR_ERROR_FORM);
  minutia.x = 0x3FFF;
  EXPECT_EQ(VXR_Write(&record, nullptr, 0, &size, nullptr), VXR_ERROR_ROOM);
  EXPECT_EQ(size, 36u);
}

class LosslessChain : public MatcherTest {};

bool KeepsMinutiae(const VXR_Losses& l) {
  return l.minutiaeOutside + l.minutiaePruned + l.positionsRounded + l.anglesRounded +
             l.typesDropped + l.qualitiesDropped + l.fieldsDropped ==
         0;
}

// Through any other forms that keep all, and back: the same score against any other.
TEST_F(LosslessChain, KeepsScores) {
  std::mt19937 random(7);  // gives the same numbers everywhere
  std::set<std::pair<int, int>> steps;
  for (const int type : {TEMPLATE_ANSI378, TEMPLATE_ISO19794_2}) {
    const int home = type == TEMPLATE_ANSI378 ? VXR_ANSI_2004 : VXR_ISO_2005;
    VXM_SetTemplateType(matcher, type);
    std::vector<Bytes> all;
    for (uint64_t touch = 0; touch < 12; touch++) {
      all.push_back(made::Touch(type, 1 + touch / 2, 1 + touch % 2));
    }
    for (const Bytes& original : all) {
      for (int chain = 0; chain < 4; chain++) {
        Bytes bytes = original;
        int form = home;
        for (int step = 0; step < 8; step++) {
          const int next = step == 7 ? home : static_cast<int>(1 + random() % VXR_XYT);
          VXR_Conversion wanted = To(next);
          wanted.keepExtended = 1;
          const Converted got = Convert(bytes, form, wanted);
          if (got.status != VXR_OK || !KeepsMinutiae(got.losses)) continue;
          EXPECT_EQ(VXR_Check(got.bytes.data(), got.bytes.size(), next, nullptr, nullptr, 0), 0);
          steps.emplace(form, next);
          bytes = got.bytes;
          form = next;
        }
        ASSERT_EQ(form, home);
        for (const Bytes& other : all) {
          EXPECT_EQ(calls::Verify(matcher, bytes, other), calls::Verify(matcher, original, other));
        }
      }
    }
  }
  // From each form with a header to each, but from ISO's unit of angles to ANSI's only back.
  EXPECT_GE(steps.size(), 3u * 3 + 3 * 2 + 2 * 2);
}

}  // namespace
