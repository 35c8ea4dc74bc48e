// Reads tests/data/known_answers.txt: cases whose results are known, one a line.
// Its first lines name the fields of each kind of case.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace known {

using Bytes = std::vector<uint8_t>;

struct KnownAnswer {
  int line;                         // in the file, from 1
  std::vector<std::string> fields;  // after the kind

  int Number(size_t field) const;
  Bytes Template(size_t field) const;
};

// All cases of a kind ("verify", "compare", "staged", "rotate"), in the file's
// order. Throws where the file cannot be read or has no such case.
std::vector<KnownAnswer> ReadKnownAnswers(const std::string& kind);

// For INSTANTIATE_TEST_SUITE_P: "line17", so that a failure names its case.
std::string KnownAnswerName(const testing::TestParamInfo<KnownAnswer>& info);

// GoogleTest's own printing would show whole templates.
void PrintTo(const KnownAnswer& answer, std::ostream* out);

}  // namespace known
