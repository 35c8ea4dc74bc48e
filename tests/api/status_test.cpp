// The texts of the status codes, in both their forms.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "vxmkit.h"

#if defined(_WIN32)
#include <windows.h>

#include <oleauto.h>
#endif

namespace {

void FreeComString(VXM_ComString text) {
#if defined(_WIN32)
  SysFreeString(text);
#else
  std::free(text);
#endif
}

const struct {
  int status;
  const char* text;
} known[] = {
    {0, "OK"},
    {-1, "ERROR"},
    {-111, "ERROR: Not supported"},
    {-112, "ERROR: Invalid parameters"},
    {-113, "ERROR: Data corrupted"},
    {-401, "ERROR: Match timeout"},
    {-402, "ERROR: Match aborted"},
    {-411, "ERROR: Template type not match"},
};

constexpr int unknown[] = {-2, -110, -114, -400, -403,    -410,   -412,
                           1,  5,    111,  411,  INT_MIN, INT_MAX};

void ExpectText(int status, const std::string& expected, int result) {
  SCOPED_TRACE(status);
  char text[VXM_ERROR_TEXT_SIZE + 1];
  std::memset(text, '#', sizeof(text));
  EXPECT_EQ(VXM_GetErrorString(status, text), result);
  EXPECT_EQ(text[VXM_ERROR_TEXT_SIZE], '#');
  text[VXM_ERROR_TEXT_SIZE] = '\0';
  EXPECT_EQ(text, expected);

  VXM_ComString wide = nullptr;
  EXPECT_EQ(VXM_GetErrorString_B(status, &wide), result);
  ASSERT_NE(wide, nullptr);
  std::string narrowed;
  for (const VXM_Char16* c = wide; *c != 0; c++) narrowed += static_cast<char>(*c);
  EXPECT_EQ(narrowed, expected);
  FreeComString(wide);
}

TEST(StatusTest, EveryCodeHasItsText) {
  for (const auto& entry : known) ExpectText(entry.status, entry.text, VXM_OK);
}

TEST(StatusTest, OtherValuesAreUndefined) {
  for (const int status : unknown) ExpectText(status, "Undefined status", VXM_ERROR);
}

TEST(StatusTest, NullIsRefused) {
  EXPECT_EQ(VXM_GetErrorString(VXM_OK, nullptr), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_GetErrorString_B(VXM_OK, nullptr), VXM_ERR_INVALID_PARAMETERS);
}

}  // namespace
