// What was asked for and not done, and why.
#pragma once

#include <string>
#include <vector>

struct LeftOut {
  std::string name;
  std::string reason;
};

// On standard error: "vxm: HEADING: NAME: REASON", a few of them, and how many more.
void TellLeftOut(const std::string& heading, const std::vector<LeftOut>& leftOut);
