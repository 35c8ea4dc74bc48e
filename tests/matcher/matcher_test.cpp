// What a matcher takes is what the documents say.
#include "matcher/matcher.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace {

// No figure but this may stand there, so that none grows old.
TEST(MatcherTest, DocumentsTellItsSize) {
  char size[16];
  std::snprintf(size, sizeof(size), "%.1f MB", static_cast<double>(sizeof(Matcher)) / 1e6);
  for (const char* name : {"README.md", "CHANGELOG.md", "include/vxmkit.h", "docs/hosts.md",
                           "docs/large-galleries.md", "bindings/python/vxmkit/matcher.py",
                           "bindings/javascript/README.md", "bindings/javascript/src/matcher.ts"}) {
    std::ifstream file(std::string(PROJECT_FOLDER "/") + name);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find(size), text.npos) << name << " is to say " << size;
  }
}

}  // namespace
