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

// On Windows the length that COM keeps must be the text's.
void FreeComString(VXM_ComString text) {
#if defined(_WIN32)
  EXPECT_EQ(SysStringLen(text), std::wcslen(text));
  SysFreeString(text);
#else
  std::free(text);
#endif
}

TEST(StatusTest, EveryValueHasItsTextInBothForms) {
  const char* undefined = "Undefined status";
  const struct {
    int status, result;
    std::string text;
  } cases[] = {
      {0, VXM_OK, "OK"},
      {-1, VXM_OK, "ERROR"},
      {-111, VXM_OK, "ERROR: Not supported"},
      {-112, VXM_OK, "ERROR: Invalid parameters"},
      {-113, VXM_OK, "ERROR: Data corrupted"},
      {-401, VXM_OK, "ERROR: Match timeout"},
      {-402, VXM_OK, "ERROR: Match aborted"},
      {-411, VXM_OK, "ERROR: Template type not match"},
      {-2, VXM_ERROR, undefined},
      {-403, VXM_ERROR, undefined},
      {1, VXM_ERROR, undefined},
      {411, VXM_ERROR, undefined},
      {INT_MIN, VXM_ERROR, undefined},
      {INT_MAX, VXM_ERROR, undefined},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status);
    char text[VXM_ERROR_TEXT_SIZE + 1];
    std::memset(text, '#', sizeof(text));
    EXPECT_EQ(VXM_GetErrorString(c.status, text), c.result);
    EXPECT_EQ(text[VXM_ERROR_TEXT_SIZE], '#');
    text[VXM_ERROR_TEXT_SIZE] = '\0';
    EXPECT_EQ(text, c.text);

    VXM_ComString wide = nullptr;
    EXPECT_EQ(VXM_GetErrorString_B(c.status, &wide), c.result);
    ASSERT_NE(wide, nullptr);
    std::string narrowed;
    for (const VXM_Char16* at = wide; *at != 0; at++) narrowed += static_cast<char>(*at);
    EXPECT_EQ(narrowed, c.text);
    FreeComString(wide);
  }
}

TEST(StatusTest, NullIsRefused) {
  EXPECT_EQ(VXM_GetErrorString(VXM_OK, nullptr), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_GetErrorString_B(VXM_OK, nullptr), VXM_ERR_INVALID_PARAMETERS);
}

}  // namespace
