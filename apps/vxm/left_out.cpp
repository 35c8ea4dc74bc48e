// Tells what was left out in a few lines.
#include "left_out.h"

#include <algorithm>

#include "program.h"

void TellLeftOut(const std::string& heading, const std::vector<LeftOut>& leftOut) {
  constexpr size_t shown = 5;
  // One more line tells one more, or how many more.
  const size_t lines = leftOut.size() <= shown + 1 ? leftOut.size() : shown;
  for (size_t i = 0; i < lines; ++i) {
    Say(heading + ": " + leftOut[i].name + ": " + leftOut[i].reason);
  }
  if (lines < leftOut.size()) {
    Say(heading + ": and " + std::to_string(leftOut.size() - lines) + " more");
  }
}
