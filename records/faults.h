// Where a reader or a writer leaves what it finds wrong: as many as there is room for.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>

#include "vxmrecords.h"

namespace vxr {

inline void Append(std::string& text, const char* part) { text += part; }
inline void Append(std::string& text, const std::string& part) { text += part; }
template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
void Append(std::string& text, Number part) {
  text += std::to_string(part);
}

template <class... Parts>
std::string Join(const Parts&... parts) {
  std::string text;
  (Append(text, parts), ...);
  return text;
}

class Faults {
 public:
  // All faults, or those alone that keep a record from being read.
  enum class Kind { all, structure };

  Faults(VXR_Fault* room, int capacity, Kind kind = Kind::all)
      : room_(room), capacity_(room == nullptr ? 0 : capacity), kind_(kind) {}

  // A value that should be otherwise; reading goes on.
  template <class... Parts>
  void Expect(bool holds, size_t offset, const Parts&... parts) {
    if (!holds && kind_ == Kind::all) Add(offset, Join(parts...));
  }
  // What ends the reading; gives false, for the reader to hand on.
  template <class... Parts>
  bool Refuse(size_t offset, const Parts&... parts) {
    Add(offset, Join(parts...));
    return false;
  }

  int Count() const { return count_; }

  int view = -1;  // what the next faults are about
  int minutia = -1;

 private:
  void Add(size_t offset, const std::string& text) {
    if (count_ < capacity_) {
      VXR_Fault& fault = room_[count_];
      fault = {offset, view, minutia, {}};
      text.copy(fault.text, sizeof(fault.text) - 1);
    }
    count_++;
  }

  VXR_Fault* room_;
  int capacity_;
  Kind kind_;
  int count_ = 0;
};

}  // namespace vxr
