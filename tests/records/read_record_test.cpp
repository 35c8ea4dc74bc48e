// Reading and checking: every field's range, every length, bytes cut anywhere.
#include <algorithm>
#include <cstring>

#include "record_samples.h"
#include "support/guarded_buffer.h"

namespace {

using namespace samples;

std::vector<VXR_Fault> Faults(const Bytes& bytes, int form, const VXR_Image* told = &image) {
  std::vector<VXR_Fault> faults(64);
  const int count = VXR_Check(bytes.data(), bytes.size(), form, told, faults.data(),
                              static_cast<int>(faults.size()));
  faults.resize(static_cast<size_t>(count));
  return faults;
}

TEST(Check, PassesWhatConforms) {
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; form++) {
    for (const VXR_Fault& fault : Faults(Sample(form), form)) {
      ADD_FAILURE() << VXR_FormName(form) << " " << fault.offset << ": " << fault.text;
    }
    const Bytes sample = Sample(form);
    const Read read(sample, form);
    ASSERT_EQ(read.status, VXR_OK);
    EXPECT_EQ(WriteBytes(read.record), sample) << VXR_FormName(form);
  }
}

// Samples with bytes changed, and a fault that each then has.
TEST(Check, NamesEveryFaultAndItsPlace) {
  struct Row {
    int form;
    size_t at;
    const char* bytes;  // put there
    size_t offset;      // of the fault
    int view, minutia;
    const char* text;  // within its text
  };
  const Row rows[] = {
      {VXR_ANSI_2004, 3, "20", 0, -1, -1, "begins otherwise"},
      {VXR_ANSI_2004, 8, "0033", 8, -1, -1, "record length 51, but 50 bytes"},
      {VXR_ANSI_2004, 8, "0031", 8, -1, -1, "header and views take 50"},
      {VXR_ANSI_2004, 16, "0000", 16, -1, -1, "image size 0"},
      {VXR_ANSI_2004, 20, "0000", 20, -1, -1, "resolution 0"},
      {VXR_ANSI_2004, 25, "01", 25, -1, -1, "reserved byte 1"},
      {VXR_ANSI_2004, 26, "0B", 26, 0, -1, "finger position 11"},
      {VXR_ANSI_2004, 27, "12", 27, 0, -1, "view number 1 (must be 0)"},
      {VXR_ANSI_2004, 27, "0A", 27, 0, -1, "impression type 10"},
      {VXR_ANSI_2004, 29, "04", 30, 0, -1, "4 minutiae of 6 bytes, but 20 bytes"},
      {VXR_ANSI_2004, 30, "C00A", 30, 0, 0, "type 3"},
      {VXR_ANSI_2004, 32, "4014", 32, 0, 0, "reserved bits 1"},
      {VXR_ANSI_2004, 34, "B4", 34, 0, 0, "angle 180 (must be 0 to 179)"},
      {VXR_ANSI_2004, 35, "65", 35, 0, 0, "quality 101"},
      {VXR_ANSI_2004, 36, "812C", 36, 0, 1, "x 300 in an image 300 pixels wide"},
      {VXR_ANSI_2004, 38, "0190", 38, 0, 1, "y 400"},
      {VXR_ANSI_2004, 48, "0001", 48, 0, -1, "1 bytes of extended data, but 0"},
      {VXR_ISO_2005, 8, "00000031", 8, -1, -1, "record length 49"},
      {VXR_ISO_2005, 23, "FF", 23, -1, -1, "reserved byte 255"},
      {VXR_ISO_2005, 24, "10", 24, 0, -1, "finger position 16"},
      {VXR_ANSI_2004, 28, "FD", 28, 0, -1, "quality 253"},
      {VXR_ISO_2005, 26, "FE", 26, 0, -1, "quality 254"},
      {VXR_ISO_2005, 33, "65", 33, 0, 0, "quality 101"},
      {VXR_ANSI_2009, 16, "40", 16, -1, -1, "certification 64"},
      {VXR_ANSI_2009, 20, "80", 20, -1, -1, "reserved byte 128"},
      {VXR_ANSI_2009, 21, "0B", 21, 0, -1, "finger position 11"},
      {VXR_ANSI_2009, 22, "01", 22, 0, -1, "view number 1"},
      {VXR_ANSI_2009, 23, "1E", 23, 0, -1, "impression type 30"},
      {VXR_ANSI_2009, 24, "FD", 24, 0, -1, "quality 253"},
      {VXR_ANSI_2009, 29, "0000", 29, 0, -1, "image size 0"},
      {VXR_ANSI_2009, 35, "0000", 35, 0, -1, "resolution 0"},
      {VXR_ANSI_2009, 42, "FF", 42, 0, 0, "angle 255"},
      {VXR_ISO_2011, 12, "0000", 12, -1, -1, "no views"},
      {VXR_ISO_2011, 14, "02", 14, -1, -1, "certification flag 2"},
      {VXR_ISO_2011, 15, "0000003A", 15, 0, -1, "representation length 58"},
      {VXR_ISO_2011, 15, "00000021", 15, 0, -1, "representation length 33"},
      {VXR_ISO_2011, 15, "00000038", 71, 0, -1, "ends before the length"},
      {VXR_ISO_2011, 21, "0D", 21, 0, -1, "month 13"},
      {VXR_ISO_2011, 22, "00", 22, 0, -1, "day 0"},
      {VXR_ISO_2011, 23, "18", 23, 0, -1, "hour 24"},
      {VXR_ISO_2011, 26, "03E8", 26, 0, -1, "millisecond 1000"},
      {VXR_ISO_2011, 34, "65", 34, 0, -1, "quality 101"},
      {VXR_ISO_2011, 40, "05", 40, 0, -1, "view number 5 (must be 0)"},
      {VXR_ISO_2011, 43, "0000", 43, 0, -1, "resolution 0"},
      {VXR_ISO_2011, 45, "13", 45, 0, -1, "impression type 19"},
      {VXR_ISO_2011, 46, "0000", 46, 0, -1, "image size 0"},
      {VXR_ISO_2011, 50, "70", 50, 0, -1, "minutiae of 7 bytes"},
      {VXR_ISO_2011, 58, "0190", 58, 0, 1, "x 400"},
      {VXR_ISO_CARD, 0, "C00A", 0, 0, 0, "type 3"},
      {VXR_ISO_CARD, 2, "8014", 2, 0, 0, "reserved bits 2"},
      {VXR_ISO_CARD_COMPACT, 5, "FF", 5, 0, 1, "type 3"},
  };
  for (const Row& row : rows) {
    Bytes bytes = Sample(row.form);
    const Bytes put = Hex(row.bytes);
    std::copy(put.begin(), put.end(), bytes.begin() + static_cast<std::ptrdiff_t>(row.at));
    bool found = false;
    std::string all;
    for (const VXR_Fault& fault : Faults(bytes, row.form)) {
      all += std::to_string(fault.offset) + ": " + fault.text + "\n";
      found = found || (fault.offset == row.offset && fault.view == row.view &&
                        fault.minutia == row.minutia && std::strstr(fault.text, row.text));
    }
    EXPECT_TRUE(found) << VXR_FormName(row.form) << " " << row.at << " " << row.bytes << ": "
                       << all;
  }
}

// A record with two minutiae in an image of 300 x 400, and its extended data.
Bytes WithExtended(int form, const std::string& extended) {
  const bool ansi = form == VXR_ANSI_2004;
  Bytes bytes =
      Hex(std::string(ansi ? "464D5200 20323000 0000 00000000" : "464D5200 20323000 00000000") +
          "0000 012C 0190 00C5 00C5 01 00 00 00 50 02 400A0014403C 400A0015403C" + extended);
  bytes[ansi ? 9 : 11] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

TEST(Check, ParsesExtendedData) {
  struct Row {
    const char* bytes;
    int offset;  // of the first fault from the length on; -1 none
    const char* text;
    int form = VXR_ISO_2005;
  };
  const Row rows[] = {
      {"0008 0001 0008 02 0102 07", -1, ""},
      {"0008 0001 0008 03 0102 07", 6, "method"},
      {"0008 0001 0008 01 0103 07", 8, "minutia 3 of 2"},
      {"0008 0001 0008 01 01FF FF", -1, ""},
      {"0007 0001 0007 01 0101", 7, "2 bytes of ridge counts"},
      {"0004 0001 0004", 6, "method"},
      {"0006 0002 0006 00 00", -1, ""},
      {"000B 0002 000B 01 40200020FF 00", -1, ""},
      {"000A 0002 000A 01 00200020 00", -1, ""},
      {"000A 0002 000A 01 80200020 00", 7, "kind 2"},
      {"000A 0002 000A 01 012C0020 00", 7, "outside"},
      {"0009 0002 0009 01 40200020", 11, "ends within its cores"},
      {"0007 0002 0007 00 00 00", 8, "follow the deltas"},
      {"0006 0002 0006 10 00", 6, "16 cores"},
      {"000D 0002 000D 41 0020002030 41 0020", 15, "ends within its deltas", VXR_ANSI_2004},
      {"0012 0002 0012 41 0020002030 41 00200020010203", -1, "", VXR_ANSI_2004},
      {"000B 0002 000B 41 00200020B4 00", 11, "angle 180 of cores", VXR_ANSI_2004},
      {"000B 0002 000B 81 0020002030 00", 6, "kind 2", VXR_ANSI_2004},
      {"000B 0002 000B 41 0020002030 00", 6, "65 cores"},
      {"000B 0003 000B 96 C8 08 01020304", -1, ""},
      {"000A 0003 000A 96 C8 08 010203", 9, "3 bytes for 4 cells"},
      {"0007 0003 0007 96 00 08", 6, "150 x 0"},
      {"0005 0144 0005 07", -1, ""},
      {"0005 0004 0005 07", 2, "reserved type 4"},
      {"0005 0144 0006 07", 2, "6 bytes, of which 5"},
      {"0005 0144 0003 07", 2, "3 bytes"},
      {"0003 0144 00", 2, "of which 3"},
      {"0009 0144 0005 07 0145 0004", -1, ""},
  };
  for (const Row& row : rows) {
    const std::vector<VXR_Fault> faults = Faults(WithExtended(row.form, row.bytes), row.form);
    EXPECT_EQ(faults.empty(), row.offset < 0) << row.bytes;
    if (faults.empty()) continue;
    const int begin = row.form == VXR_ANSI_2004 ? 42 : 40;
    EXPECT_EQ(static_cast<int>(faults[0].offset) - begin, row.offset)
        << row.bytes << faults[0].text;
    EXPECT_NE(std::strstr(faults[0].text, row.text), nullptr) << faults[0].text;
  }
}

TEST(Check, NumbersViewsByFinger) {
  struct Row {
    const char* views;  // finger and number of each
    const char* faults;
  };
  const Row rows[] = {{"1011", ""},  {"1020", ""},    {"1021", ""},  {"101121", "2"},
                      {"1012", "1"}, {"1112", "0 1"}, {"1010", "1"}, {"10201121", ""}};
  for (const Row& row : rows) {
    const size_t count = std::strlen(row.views) / 2;
    std::string text = "464D5200 20323000 000000SS 0000 012C 0190 00C5 00C5 0N 00";
    text.replace(text.find('N'), 1, std::to_string(count));
    for (size_t i = 0; i < count; i++) {
      text += std::string("0") + row.views[2 * i] + row.views[2 * i + 1] + "0 50 00 0000";
    }
    text.replace(text.find("SS"), 2, "00");
    Bytes bytes = Hex(text);
    bytes[11] = static_cast<uint8_t>(bytes.size());
    std::string views;
    for (const VXR_Fault& fault : Faults(bytes, VXR_ISO_2005)) {
      views += (views.empty() ? "" : " ") + std::to_string(fault.view);
    }
    EXPECT_EQ(views, row.faults) << row.views;
  }
}

TEST(Read, NeverReadsBeyondTheSize) {
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; form++) {
    const Bytes whole = Sample(form);
    GuardedBuffer buffer(whole.size());
    for (size_t size = 0; size <= whole.size(); size++) {
      const uint8_t* bytes = buffer.Put(whole, size);
      VXR_TellForm(bytes, size);
      VXR_Record* record = nullptr;
      VXR_Fault fault = {};
      const int status = VXR_Read(bytes, size, form, &image, &record, &fault);
      VXR_Free(record);
      EXPECT_LE(fault.offset, size);
      if (form <= VXR_ISO_2011) {
        EXPECT_EQ(status == VXR_OK, size == whole.size()) << size;
        EXPECT_EQ(VXR_Check(bytes, size, form, nullptr, nullptr, 0) == 0, size == whole.size());
      }
    }
  }
}

TEST(Read, TakesMinutiaText) {
  struct Row {
    const char* text;
    int minutiae;  // -1: refused
    size_t offset;
  };
  const Row rows[] = {
      {"", 0, 0},
      {"\n \r\n", 0, 0},
      {"1 2 3", 1, 0},
      {"1\t2 3 4\r\n5 6 7 8", 2, 0},
      {"1 2", -1, 0},
      {"1 2 3 4 5", -1, 0},
      {"1 2 3\n1 -2 3", -1, 6},
      {"1 2 3.5", -1, 0},
      {"1 401 3", -1, 0},
      {"16384 1 3", -1, 0},
      {"1 1 361", -1, 0},
      {"1 1 1 256", -1, 0},
      {"99999999999 1 1", -1, 0},
  };
  for (const Row& row : rows) {
    const Read read(TextBytes(row.text), VXR_XYT);
    EXPECT_EQ(read.status, row.minutiae < 0 ? VXR_ERROR_DAMAGED : VXR_OK) << row.text;
    if (row.minutiae < 0) {
      EXPECT_EQ(read.fault.offset, row.offset) << row.text;
    } else {
      EXPECT_EQ(read.record->views[0].minutiaCount, static_cast<uint32_t>(row.minutiae))
          << row.text;
    }
  }
  EXPECT_EQ(Read(TextBytes("1 2 3"), VXR_XYT, nullptr).status, VXR_ERROR_DAMAGED);
  EXPECT_EQ(Faults(TextBytes("1 0 360 101"), VXR_XYT).size(), 3u);
  EXPECT_EQ(Read({}, VXR_ISO_CARD).status, VXR_ERROR_DAMAGED);
}

}  // namespace
