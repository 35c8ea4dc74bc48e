// Making and deleting matchers, also from several threads at once.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/matcher_fixture.h"

namespace {

using LifecycleTest = MatcherTest;

int Parameter(MatcherHandle matcher, int id) {
  int value = -1;
  EXPECT_EQ(VXM_GetParameter(matcher, id, &value), VXM_OK);
  return value;
}

void ExpectDefaults(MatcherHandle matcher) {
  int type = 0;
  EXPECT_EQ(VXM_GetTemplateType(matcher, &type), VXM_OK);
  EXPECT_EQ(type, TEMPLATE_NATIVE);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_FAST_MODE), 1);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_SECURITY_LEVEL), 4);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_ISO_MODE), 0);
  EXPECT_EQ(Parameter(matcher, VXM_PARAM_RETRY_TURNED), 0);
}

TEST(LifecycleNullTest, IsRefused) {
  EXPECT_EQ(VXM_Create(nullptr), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_CreateEx(nullptr, "text"), VXM_ERR_INVALID_PARAMETERS);
  EXPECT_EQ(VXM_Delete(nullptr), VXM_ERR_INVALID_PARAMETERS);
}

TEST_F(LifecycleTest, EveryWayOfMakingGivesTheDefaults) {
  ExpectDefaults(matcher);
  for (const char* extra : {static_cast<const char*>(nullptr), "", "anything"}) {
    MatcherHandle other = nullptr;
    ASSERT_EQ(VXM_CreateEx(&other, extra), VXM_OK);
    ExpectDefaults(other);
    EXPECT_EQ(VXM_Delete(other), VXM_OK);
  }
}

TEST_F(LifecycleTest, MatchersKeepTheirOwnSettings) {
  MatcherHandle other = nullptr;
  ASSERT_EQ(VXM_Create(&other), VXM_OK);
  EXPECT_NE(matcher, other);
  const int level = 7;
  EXPECT_EQ(VXM_SetParameter(other, VXM_PARAM_SECURITY_LEVEL, &level), VXM_OK);
  EXPECT_EQ(VXM_SetTemplateType(other, TEMPLATE_ANSI378), VXM_OK);
  ExpectDefaults(matcher);
  EXPECT_EQ(VXM_Delete(other), VXM_OK);
  ExpectDefaults(matcher);
}

// Verification takes the process lock, which must live from the first matcher
// to the last, whoever deletes its own in between.
TEST(LifecycleThreadsTest, MatchersComeAndGoWhileOthersWork) {
  constexpr int threadCount = 4;
  constexpr int rounds = 50;
  std::vector<int> failures(threadCount, 0);
  const auto work = [&failures](size_t thread) {
    const unsigned char bytes[16] = {};
    for (int round = 0; round < rounds; round++) {
      MatcherHandle matcher = nullptr;
      int verified = -1;
      failures[thread] += VXM_Create(&matcher) != VXM_OK;
      failures[thread] += VXM_Verify(matcher, bytes, sizeof(bytes), bytes, sizeof(bytes),
                                     &verified) != VXM_ERR_INVALID_PARAMETERS;
      failures[thread] += VXM_Delete(matcher) != VXM_OK;
    }
  };
  std::vector<std::thread> threads;
  for (size_t i = 0; i < threadCount; i++) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(threadCount, 0));
}

}  // namespace
