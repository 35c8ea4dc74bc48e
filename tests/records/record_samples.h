// The same three minutiae in every form, worked out from the layouts: (10, 20), a ridge
// ending at a quarter turn; the last pixel of an image of 300 x 400, a bifurcation at
// the last unit below a full turn; the first pixel, of no type, at an odd angle.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vxmrecords.h"

namespace samples {

using Bytes = std::vector<uint8_t>;

inline Bytes Hex(const std::string& text) {
  std::string digits;
  for (const char character : text) {
    if (character != ' ') digits += character;
  }
  Bytes bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string HexOf(const Bytes& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    for (const int digit : {byte >> 4, byte & 15}) text += "0123456789ABCDEF"[digit];
  }
  return text;
}

constexpr VXR_Image image = {300, 400, 0};

// Headers up to the number of minutiae, of a left index finger.
constexpr const char* heads[] = {
    nullptr,
    "464D5200 20323000 0032 0000 0000 0123 012C 0190 00C5 00C5 01 00  07 02 50 03",
    "464D5200 30333000 0000003A 0000 0000 00 0123 01 00"
    "07 00 02 50 0000 0000 012C 0190 00C5 00C5 03",
    "464D5200 30333500 0000003A 0000 0000 00 0123 01 00"
    "07 00 02 50 0000 0000 012C 0190 00C5 00C5 03",
    "464D5200 20323000 00000030 0123 012C 0190 00C5 00C5 01 00  07 02 50 03",
    "464D5200 30333000 00000048 0001 00  00000039 FFFFFFFFFFFFFFFFFF 00 0000 0123 01 50 0000 0000"
    "07 00 00C5 00C5 02 012C 0190 60 03",
};
constexpr const char* ansiMinutiae = "400A00142D3C 812B018FB364 000000000D00";
constexpr const char* isoMinutiae = "400A0014403C 812B018FFF64 000000001300";
constexpr const char* cardMinutiae = "400A001440 812B018FFF 0000000013";
constexpr const char* compactMinutiae = "050A50 FFFFBF 000005";
constexpr const char* xytMinutiae = "10 380 270 60\n299 1 179 100\n0 400 206 0\n";

inline Bytes TextBytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

inline Bytes Sample(int form) {
  const bool ansi = form <= VXR_ANSI_2009_AM1;
  switch (form) {
    case VXR_ISO_CARD: return Hex(cardMinutiae);
    case VXR_ISO_CARD_COMPACT: return Hex(compactMinutiae);
    case VXR_XYT: return TextBytes(xytMinutiae);
    default: return Hex(std::string(heads[form]) + (ansi ? ansiMinutiae : isoMinutiae) + "0000");
  }
}

struct Read {
  VXR_Record* record = nullptr;
  VXR_Fault fault = {};
  int status;

  Read(const Bytes& bytes, int form, const VXR_Image* told = &image)
      : status(VXR_Read(bytes.data(), bytes.size(), form, told, &record, &fault)) {}
  ~Read() { VXR_Free(record); }
  Read(const Read&) = delete;
  Read& operator=(const Read&) = delete;
};

struct Converted {
  int status = VXR_OK;
  Bytes bytes;
  VXR_Losses losses = {};
  VXR_Fault fault = {};
};

inline Bytes WriteBytes(const VXR_Record* record, int* status = nullptr,
                        VXR_Fault* fault = nullptr) {
  size_t size = 0;
  VXR_Write(record, nullptr, 0, &size, nullptr);
  Bytes bytes(size);
  const int written = VXR_Write(record, bytes.data(), bytes.size(), &size, fault);
  if (status != nullptr) *status = written;
  return written == VXR_OK ? bytes : Bytes{};
}

inline VXR_Conversion To(int form) {
  VXR_Conversion conversion = {};
  conversion.form = form;
  conversion.view = -1;
  return conversion;
}

inline Converted Convert(const Bytes& bytes, int from, const VXR_Conversion& wanted,
                         const VXR_Image* told = &image) {
  const Read read(bytes, from, told);
  Converted converted;
  EXPECT_EQ(read.status, VXR_OK) << read.fault.text;
  VXR_Record* record = nullptr;
  converted.status =
      VXR_Convert(read.record, &wanted, &record, &converted.losses, &converted.fault);
  if (converted.status == VXR_OK) {
    converted.bytes = WriteBytes(record, &converted.status, &converted.fault);
  }
  VXR_Free(record);
  return converted;
}

}  // namespace samples
