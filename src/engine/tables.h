// Read-only numeric tables, the same integers on every machine.
#pragma once

#include <cstdint>

namespace vxm {

// 1024 x cosine and sine of k degrees: the integer part, truncated toward zero,
// of 1024 cos(k) + 0.5 and 1024 sin(k) + 0.5.
extern const int16_t cosTable[360];
extern const int16_t sinTable[360];

// Arctangent of k / 1024 in degrees, to the nearest whole degree (0..45).
extern const uint8_t atanTable[1025];

}  // namespace vxm
