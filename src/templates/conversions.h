// How formats code angles, ridge orientations and directions. Each pair of
// functions is exact: code to value and back gives the code, but for ANSI directions
// of 180 and more, which all stand for 0.
#pragma once

#include "engine/workspace.h"

namespace vxm {

// Angle of a short native record: 0..255 stands for 0..360 degrees.
constexpr int DegreesFromAngleCode(int code) { return (code * 100000 + 35416) / 70833; }
constexpr int AngleCodeFromDegrees(int degrees) { return (degrees * 70833 + 50000) / 100000; }

// Block orientation in 4 bits: steps of 12 degrees; 15 for no ridge.
constexpr int orientationCodeNoRidge = 15;
constexpr int OrientationFromCode(int code) {
  return code == orientationCodeNoRidge ? background : code * 8;
}
constexpr int CodeFromOrientation(int value) {
  if ((value & noRidge) == noRidge) return orientationCodeNoRidge;
  const int code = (value + 4) >> 3;
  return code >= orientationCodeNoRidge ? 0 : code;
}

// Direction of a standard record in degrees, from and to its byte: ISO counts
// 256 steps to the turn, ANSI steps of 2 degrees.
constexpr int DegreesFromIsoDirection(int code) { return (code * 360 + 128) / 256; }
constexpr int IsoDirectionFromDegrees(int degrees) {
  const int code = (degrees * 256 + 180) / 360;
  return code >= 256 ? 0 : code;
}
constexpr int DegreesFromAnsiDirection(int code) { return code < 180 ? 2 * code : 0; }
constexpr int AnsiDirectionFromDegrees(int degrees) {
  const int code = (degrees + 1) / 2;
  return code >= 180 ? 0 : code;
}

// Standard records point the other way along the ridge. The half turn maps 180
// to 0 and, for workspaces that hold 360, 360 to 180.
constexpr int OppositeDirection(int degrees) {
  return degrees < 180 ? degrees + 180 : degrees - 180;
}

}  // namespace vxm
