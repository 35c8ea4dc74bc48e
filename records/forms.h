// The forms, and what tells one from another.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vxmrecords.h"

namespace vxr {

struct Form {
  int id;
  const char* name;
  int turn;             // units of its angles in a full turn
  const char* version;  // bytes 4 to 6; null: no header
  bool quality;         // whether its minutiae have one (of ISO:2011 those of 6 bytes)
};

// Null if there is no such form.
const Form* FindForm(int id);

inline bool IsAnsi(int form) { return form >= VXR_ANSI_2004 && form <= VXR_ANSI_2009_AM1; }
// Image size and resolution stand in the header, once for all views, and view number
// and impression type share a byte.
inline bool IsFirstEdition(int form) { return form == VXR_ANSI_2004 || form == VXR_ISO_2005; }
inline bool IsAnsi2009(int form) { return form == VXR_ANSI_2009 || form == VXR_ANSI_2009_AM1; }
inline bool IsCard(int form) { return form == VXR_ISO_CARD || form == VXR_ISO_CARD_COMPACT; }
inline bool HasHeader(int form) { return form >= VXR_ANSI_2004 && form <= VXR_ISO_2011; }

constexpr int compactResolution = 100;     // tenths of a millimetre in a centimetre
constexpr int usualResolution = 197;       // 500 dpi
constexpr int largestCoordinate = 0x3FFF;  // 14 bits
constexpr size_t mostMinutiae = 255;       // that a byte can count
// In forms without a count; keeps sums over all minutiae small.
constexpr size_t mostUncounted = 65535;
constexpr size_t iso2011Header = 15;
constexpr size_t leastRepresentation = 34;  // of ISO:2011, with nothing in it

}  // namespace vxr
