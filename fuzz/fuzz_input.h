// What a fuzzer's bytes mean, the same to all targets: a byte of settings, then
// templates, each after its length in two bytes (of the last as much as there is).
// Every template gets memory of exactly its size, so that a step beyond it shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "vxmkit.h"

namespace fuzz {

using Bytes = std::vector<uint8_t>;

struct Input {
  uint8_t settings;
  std::vector<Bytes> templates;
};

constexpr size_t maxTemplates = 8;

inline Input Parse(const uint8_t* data, size_t size) {
  Input input = {size > 0 ? data[0] : uint8_t{0}, {}};
  for (size_t at = 1; size - at >= 2 && at < size && input.templates.size() < maxTemplates;) {
    const auto length = static_cast<size_t>(data[at] << 8 | data[at + 1]);
    const uint8_t* begin = data + at + 2;
    const size_t taken = length < size - at - 2 ? length : size - at - 2;
    input.templates.emplace_back(begin, begin + taken);
    at += 2 + taken;
  }
  return input;
}

inline Bytes Write(const Input& input) {
  Bytes bytes = {input.settings};
  for (const Bytes& one : input.templates) {
    bytes.push_back(static_cast<uint8_t>(one.size() >> 8));
    bytes.push_back(static_cast<uint8_t>(one.size()));
    bytes.insert(bytes.end(), one.begin(), one.end());
  }
  return bytes;
}

// Settings as a byte: level in bits 0..2, fast mode, retry, type in bits 5 and 6.
constexpr int types[] = {TEMPLATE_NATIVE, TEMPLATE_ISO19794_2, TEMPLATE_ANSI378, 1234};

constexpr uint8_t SettingsByte(size_t type, int level, bool fastMode, bool retryTurned) {
  return static_cast<uint8_t>(type << 5 | (retryTurned ? 16u : 0u) | (fastMode ? 8u : 0u) |
                              static_cast<unsigned>(level));
}

// Ends the process when what must hold does not.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

inline MatcherHandle NewMatcher() {
  MatcherHandle matcher = nullptr;
  Require(VXM_Create(&matcher) == VXM_OK, "a matcher is made");
  return matcher;
}

inline void Configure(MatcherHandle matcher, uint8_t settings) {
  const int level = settings & 7;
  const int fastMode = settings & 8;
  const int retryTurned = settings & 16;
  VXM_SetTemplateType(matcher, types[settings >> 5 & 3]);
  VXM_SetParameter(matcher, VXM_PARAM_SECURITY_LEVEL, &level);
  VXM_SetParameter(matcher, VXM_PARAM_FAST_MODE, &fastMode);
  VXM_SetParameter(matcher, VXM_PARAM_RETRY_TURNED, &retryTurned);
}

inline int SizeOf(const Bytes& bytes) { return static_cast<int>(bytes.size()); }

// A sound template without enough minutiae to compare, so that a call with it
// tells what becomes of the other one and takes no time.
inline Bytes Sparse(int type) {
  if (type == TEMPLATE_NATIVE) return {0x44, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  Bytes record(32);
  record[0] = 'F';
  record[1] = 'M';
  record[2] = 'R';
  record[9] = type == TEMPLATE_ANSI378 ? 32 : 0;
  return record;
}

struct Verified {
  int status;
  float score;
  int decision;
};

inline bool operator==(const Verified& a, const Verified& b) {
  return a.status == b.status && a.score == b.score && a.decision == b.decision;
}

inline Verified Verify(MatcherHandle matcher, const Bytes& a, const Bytes& b) {
  Verified answer = {1, -1.0f, -1};
  answer.status = VXM_VerifyEx(matcher, a.data(), SizeOf(a), b.data(), SizeOf(b), &answer.score,
                               &answer.decision);
  return answer;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
