// Telling forms apart, and their names.
#include <algorithm>

#include "record_samples.h"

namespace {

using namespace samples;

TEST(Forms, AreToldByStructure) {
  Bytes longIso(65540, 0);  // its length looks like that of ANSI
  const Bytes head = Hex("464D5200 20323000 00010004");
  std::copy(head.begin(), head.end(), longIso.begin());
  Bytes longAnsi(65540, 0);
  const Bytes longHead = Hex("464D5200 20323000 0000 00010004");
  std::copy(longHead.begin(), longHead.end(), longAnsi.begin());
  struct Row {
    const char* name;
    Bytes bytes;
    int form;
  };
  const Row rows[] = {
      {"empty", {}, VXR_UNKNOWN},
      {"native", Hex("45 0A 9E 9E 00 00 5658"), VXR_UNKNOWN},
      {"cut before the version ends", Hex("464D5200 203230"), VXR_UNKNOWN},
      {"unknown version", Hex("464D5200 20313000 00000030"), VXR_UNKNOWN},
      {"version without its zero", Hex("464D5200 20323020 0030"), VXR_UNKNOWN},
      {"padded",
       [] {
         Bytes b = Sample(VXR_ISO_2005);
         b.resize(500);
         return b;
       }(),
       VXR_ISO_2005},
      {"cut ISO", Hex("464D5200 20323000 00000030 0123"), VXR_ISO_2005},
      {"cut ANSI", Hex("464D5200 20323000 0030"), VXR_ANSI_2004},
      {"6-byte length", longAnsi, VXR_ANSI_2004},
      {"long ISO", longIso, VXR_ANSI_2004},
      {"no representations", Hex("464D5200 30333000 0000000F 0000 00"), VXR_ISO_2011},
      {"no representations, another length", Hex("464D5200 30333000 00000010 0000 00 00"),
       VXR_ANSI_2009},
      {"a representation of 33 bytes",
       [] {
         Bytes b = Hex("464D5200 30333000 00000030 0001 00 00000021");
         b.resize(0x30);
         return b;
       }(),
       VXR_ANSI_2009},
      {"one too few",
       [] {
         Bytes b = Sample(VXR_ISO_2011);
         b[13] = 2;
         return b;
       }(),
       VXR_ANSI_2009},
      {"its bytes end early",
       [] {
         Bytes b = Sample(VXR_ISO_2011);
         b.pop_back();
         return b;
       }(),
       VXR_ANSI_2009},
      {"a length of 2^32 - 1",
       [] {
         Bytes b = Sample(VXR_ISO_2011);
         for (size_t i = 15; i < 19; i++) b[i] = 255;
         return b;
       }(),
       VXR_ANSI_2009},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(VXR_TellForm(row.bytes.data(), row.bytes.size()), row.form) << row.name;
  }
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; form++) {
    const Bytes sample = Sample(form);
    EXPECT_EQ(VXR_TellForm(sample.data(), sample.size()), form <= VXR_ISO_2011 ? form : 0);
  }
}

TEST(Forms, HaveNames) {
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; form++) {
    EXPECT_EQ(VXR_FormOfName(VXR_FormName(form)), form);
  }
  struct Row {
    const char* name;
    int form;
  };
  const Row rows[] = {
      {"ISO:2005", VXR_ISO_2005},
      {"ISO/IEC 19794-2:2011", VXR_ISO_2011},
      {"ANSI INCITS 378-2004", VXR_ANSI_2004},
      {"ansi378-2009", VXR_ANSI_2009},
      {"ANSI-2009/AM1", VXR_ANSI_2009_AM1},
      {"iso-card-normal", VXR_ISO_CARD},
      {".xyt", VXR_XYT},
      {"iso", VXR_UNKNOWN},
      {"", VXR_UNKNOWN},
      {"native", VXR_UNKNOWN},
  };
  for (const Row& row : rows) EXPECT_EQ(VXR_FormOfName(row.name), row.form) << row.name;
  EXPECT_EQ(VXR_FormName(0), nullptr);
  EXPECT_EQ(VXR_FormName(9), nullptr);
}

}  // namespace
