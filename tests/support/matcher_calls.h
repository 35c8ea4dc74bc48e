// The interface's calls as functions of values, for tests that compare answers.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "vxmkit.h"

namespace calls {

struct Template {
  const uint8_t* data;
  int size;

  Template(const uint8_t* bytes, int length) : data(bytes), size(length) {}
  Template(const std::vector<uint8_t>& bytes)
      : data(bytes.data()), size(static_cast<int>(bytes.size())) {}
};

// What a call gave: its status and, in calls that have them, the score in
// 10000ths and the decision or the index.
struct Answer {
  int status;
  int score;
  int output;
};
bool operator==(const Answer& a, const Answer& b);
void PrintTo(const Answer& answer, std::ostream* out);

Answer Verify(MatcherHandle matcher, Template first, Template second);

struct IdentifyForm {
  const char* name;
  decltype(&VXM_Identify) function;
  bool inBuffer;
  bool twoThreads;
};
constexpr IdentifyForm identifyForms[] = {{"Identify", VXM_Identify, false, false},
                                          {"IdentifyMT", VXM_IdentifyMT, false, true},
                                          {"Identify_J", VXM_Identify_J, true, false},
                                          {"IdentifyMT_J", VXM_IdentifyMT_J, true, true}};

// The forms that want one buffer get the candidates copied into one.
Answer Identify(const IdentifyForm& form, MatcherHandle matcher, Template probe,
                const std::vector<Template>& candidates, unsigned timeout = 0);

Answer IdentifyNext(MatcherHandle matcher, Template candidate);

void Set(MatcherHandle matcher, int parameter, int value);

}  // namespace calls
