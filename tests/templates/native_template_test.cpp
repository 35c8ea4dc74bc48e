// The native format: check, load, write.
#include "templates/native_template.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/loaded_template.h"
#include "support/made_templates.h"
#include "templates/conversions.h"

namespace {

using made::At;
using made::Bytes;
using vxmsynth::NativeForm;

Bytes Write(const LoadedTemplate& loaded, int size) {
  Bytes bytes(static_cast<size_t>(size), 0xEE);
  vxm::WriteNativeTemplate(loaded.workspace, bytes.data(), size);
  return bytes;
}

TEST(NativeCheckTest, HeaderAndSizeDecide) {
  const struct {
    const char* what;
    int head[4];
    int size;
    bool valid;
  } cases[] = {
      {"smallest, bytes", {0x45, 1, 0x81, 1}, 8 + 5 + 1, true},
      {"smallest, bytes, cut", {0x45, 1, 0x81, 1}, 8 + 5, false},
      {"smallest, codes", {0x44, 1, 0x01, 1}, 8 + 4 + 1, true},
      {"smallest, codes, cut", {0x44, 1, 0x01, 1}, 8 + 4, false},
      {"largest", {0x45, 200, 0xBF, 63}, 4977, true},
      {"largest, cut", {0x45, 200, 0xBF, 63}, 4976, false},
      {"bytes beyond the map", {0x44, 1, 0x01, 1}, 5000, true},
      {"odd number of codes", {0x44, 1, 3, 5}, 8 + 4 + 8, true},
      {"odd number of codes, cut", {0x44, 1, 3, 5}, 8 + 4 + 7, false},
      {"no minutia", {0x45, 0, 0x81, 1}, 5000, false},
      {"201 minutiae", {0x45, 201, 0x81, 1}, 5000, false},
      {"no width", {0x45, 1, 0x80, 1}, 5000, false},
      {"no width but the unused bit", {0x45, 1, 0x40, 1}, 5000, false},
      {"no height but the unused bits", {0x45, 1, 0x81, 0xC0}, 5000, false},
      {"unused bits", {0x45, 1, 0xC1, 0xC1}, 5000, true},
      {"header alone", {0x45, 1, 0x81, 1}, 8, false},
      {"part of the header", {0x45, 1, 0x81, 1}, 1, false},
      {"nothing", {0x45, 1, 0x81, 1}, 0, false},
      {"negative size", {0x45, 1, 0x81, 1}, -1, false},
      {"most negative size", {0x45, 1, 0x81, 1}, INT_MIN, false},
  };
  for (const auto& c : cases) {
    Bytes bytes(5000, 0);
    std::copy_n(c.head, 4, bytes.begin());
    EXPECT_EQ(vxm::CheckNativeTemplate(bytes.data(), c.size), c.valid) << c.what;
  }
  for (int first = 0; first < 256; first++) {
    Bytes bytes(5000, 0);
    bytes[0] = static_cast<uint8_t>(first);
    bytes[1] = bytes[2] = bytes[3] = 1;
    EXPECT_EQ(vxm::CheckNativeTemplate(bytes.data(), 5000), first == 0x44 || first == 0x45)
        << "first byte " << first;
  }
}

TEST(NativeCheckTest, MinutiaeMayLieOneBlockBeyondTheGrid) {
  const struct {
    int gridWidth, gridHeight, x, y;
    NativeForm form;
    bool valid;
    int loadedX, loadedY;
  } cases[] = {
      {10, 20, 175, 10, NativeForm::fullBytes, true, 159, 10},
      {10, 20, 176, 10, NativeForm::fullBytes, false, 0, 0},
      {10, 20, 10, 335, NativeForm::fullCodes, true, 10, 319},
      {10, 20, 10, 336, NativeForm::fullCodes, false, 0, 0},
      {31, 31, 510, 510, NativeForm::shortCodes, true, 495, 495},
      {30, 31, 496, 10, NativeForm::shortBytes, false, 0, 0},
      {31, 30, 10, 496, NativeForm::shortBytes, false, 0, 0},
      {63, 63, 1023, 1023, NativeForm::fullBytes, true, 1007, 1007},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y);
    // The last of two decides as the first does.
    const auto plain = made::Plain(c.gridWidth, c.gridHeight, {At(1, 1), At(c.x, c.y)});
    const Bytes bytes = vxmsynth::EncodeNative(plain, c.form);
    ASSERT_EQ(vxm::CheckNativeTemplate(bytes.data(), static_cast<int>(bytes.size())), c.valid);
    if (!c.valid) continue;
    const auto loaded = Load(bytes);
    EXPECT_EQ(loaded->workspace.x[1], c.loadedX);
    EXPECT_EQ(loaded->workspace.y[1], c.loadedY);
  }
}

TEST(NativeLoadTest, FieldsAreTakenWhole) {
  const auto loaded = Load({0x45, 1, 0x82, 1, 9, 0xFF, 1, 2,  // 2 x 1 blocks, any mark
                            0x07, 0x40, 0xEF, 0xFF, 0xD5, 119, 127});
  EXPECT_EQ(loaded->workspace.type[0], 15);
  EXPECT_EQ(loaded->workspace.angle[0], 511);
  EXPECT_EQ(loaded->workspace.quality[0], 0x55);
}

TEST(NativeConversionTest, AngleCodesAreRoundedAndComeBack) {
  for (int code = 0; code < 256; code++) {
    const int degrees = vxm::DegreesFromAngleCode(code);
    EXPECT_EQ(degrees, (code * 360 * 2 + 255) / (255 * 2));
    EXPECT_EQ(vxm::AngleCodeFromDegrees(degrees), code);
  }
  for (int degrees = 0; degrees <= 360; degrees++) {
    // Rounded; halves go down.
    EXPECT_EQ(vxm::AngleCodeFromDegrees(degrees), (degrees * 255 * 2 + 359) / (360 * 2));
  }
}

TEST(NativeWriteTest, WhatDoesNotFitIsCutOrLeftOut) {
  LoadedTemplate large;
  vxm::MatchWorkspace& w = large.workspace;
  w.minutiaCount = 1;
  w.gridWidth = 2;
  w.gridHeight = 1;
  w.x[0] = w.y[0] = 2000;
  w.angle[0] = 1000;
  w.quality[0] = w.type[0] = 200;
  w.orientation[0][0] = 126;
  w.orientation[0][1] = 252;
  const Bytes full = {0x45, 1, 0x82, 1, 0, 0, 'V', 'X', 255, 255, 255, 255, 255, 126, 252};
  EXPECT_EQ(Write(large, 15), full);
  const Bytes brief = {0x44, 1, 2, 1, 0, 0, 'V', 'X', 255, 255, 255, 255, 0};
  EXPECT_EQ(Write(large, 13), brief);
  EXPECT_EQ(Write(large, 12), Bytes(12, 0)) << "no form fits";
  EXPECT_EQ(Write(LoadedTemplate(), 100), Bytes(100, 0)) << "no minutiae";
  vxm::WriteNativeTemplate(w, nullptr, -1);
}

}  // namespace
