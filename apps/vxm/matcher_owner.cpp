// Statuses of the library as failures of the program.
#include "matcher_owner.h"

#include <cmath>

#include "failure.h"

void Require(int status, const std::string& doing) {
  if (status == VXM_OK) return;
  char text[VXM_ERROR_TEXT_SIZE];
  VXM_GetErrorString(status, text);
  throw Failure(doing + ": " + text + " (" + std::to_string(status) + ")");
}

double RoundedScore(float score) {
  return static_cast<double>(std::lround(score * 10000.0f)) / 10000.0;
}

void MatcherOwner::SetType(int type) const {
  Require(VXM_SetTemplateType(handle_, type), "setting the template type");
}

void MatcherOwner::Set(int parameter, int value) const {
  Require(VXM_SetParameter(handle_, parameter, &value),
          "setting parameter " + std::to_string(parameter));
}
