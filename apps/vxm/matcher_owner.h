// A matcher of the library that deletes itself, and statuses made failures.
#pragma once

#include <string>

#include "vxmkit.h"

// Fails with the library's text for any status but VXM_OK.
void Require(int status, const std::string& doing);

// A score is a multiple of 1/10000; as this double it prints as one.
double RoundedScore(float score);

class MatcherOwner {
 public:
  MatcherOwner() { Require(VXM_Create(&handle_), "creating a matcher"); }
  ~MatcherOwner() { VXM_Delete(handle_); }
  MatcherOwner(const MatcherOwner&) = delete;
  MatcherOwner& operator=(const MatcherOwner&) = delete;

  MatcherHandle Handle() const { return handle_; }
  void SetType(int type) const;
  void Set(int parameter, int value) const;

 private:
  MatcherHandle handle_ = nullptr;
};
