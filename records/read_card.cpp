// Reading what carries no header: card forms, which are minutiae and nothing else,
// and minutia text.
#include <algorithm>

#include "forms.h"
#include "reading.h"

namespace vxr {
namespace {

VXR_View ViewOf(const VXR_Image& image, int form) {
  VXR_View view = {};
  view.width = image.width;
  view.height = image.height;
  const uint16_t told = image.resolution == 0 ? uint16_t{usualResolution} : image.resolution;
  const bool compact = form == VXR_ISO_CARD_COMPACT;
  view.xResolution = compact ? uint16_t{compactResolution} : told;
  view.yResolution = view.xResolution;
  std::fill_n(view.captureTime, sizeof(view.captureTime), uint8_t{0xFF});
  return view;
}

bool IsBlank(int character) { return character == ' ' || character == '\t' || character == '\r'; }

// The whole numbers of a line, at most five; false where there is anything else, or
// what is no such number that is of use.
bool ReadNumbers(Cursor& in, std::vector<int>& numbers) {
  numbers.clear();
  bool inNumber = false;
  while (in.Left() > 0) {
    const int character = in.U8();
    if (character == '\n') break;
    if (IsBlank(character)) {
      inNumber = false;
    } else if (character >= '0' && character <= '9') {
      if (!inNumber) numbers.push_back(0);
      inNumber = true;
      numbers.back() = numbers.back() * 10 + character - '0';
      if (numbers.back() > 0xFFFF || numbers.size() > 5) return false;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

bool ReadCard(Cursor in, const VXR_Image& image, OwnedRecord& record, Faults& faults) {
  const size_t size = record.form == VXR_ISO_CARD ? 5 : 3;
  const size_t rest = in.end % size;
  if (in.end == 0) return faults.Refuse(0, "is empty");
  if (rest != 0) {
    return faults.Refuse(in.end - rest, in.end, " bytes are not minutiae of ", size, " bytes each");
  }
  if (in.end / size > mostUncounted) return faults.Refuse(0, "more than 65535 minutiae");
  faults.view = 0;
  VXR_View view = ViewOf(image, record.form);
  if (!ReadMinutiae(in, in.end / size, static_cast<int>(size), record.form, record, view, faults)) {
    return false;
  }
  faults.view = -1;
  record.Add(view);
  return true;
}

// y is counted from the bottom, so that the topmost line of an image of height h is h;
// theta is the opposite direction of that of the standards.
bool ReadXyt(Cursor in, const VXR_Image& image, OwnedRecord& record, Faults& faults) {
  if (image.height == 0) {
    return faults.Refuse(0, "minutia text counts y from the bottom: the image height is needed");
  }
  VXR_View view = ViewOf(image, record.form);
  std::vector<VXR_Minutia> minutiae;
  std::vector<int> numbers;
  faults.view = 0;
  for (int line = 1; in.Left() > 0; line++) {
    const size_t at = in.at;
    if (!ReadNumbers(in, numbers) ||
        (!numbers.empty() && (numbers.size() < 3 || numbers.size() > 4))) {
      return faults.Refuse(at, "line ", line, " is not x, y, theta and quality, in whole numbers");
    }
    if (numbers.empty()) continue;
    const int quality = numbers.size() > 3 ? numbers[3] : 0;
    if (numbers[0] > largestCoordinate || numbers[1] > view.height || numbers[2] > 360 ||
        quality > 255 || view.height - numbers[1] > largestCoordinate) {
      return faults.Refuse(at, "line ", line, " lies outside the image or its limits");
    }
    if (minutiae.size() == mostUncounted) return faults.Refuse(at, "more than 65535 minutiae");
    faults.minutia = static_cast<int>(minutiae.size());
    const auto y = static_cast<uint16_t>(view.height - numbers[1]);
    const auto x = static_cast<uint16_t>(numbers[0]);
    faults.Expect(y < view.height && (view.width == 0 || x < view.width), at, "line ", line,
                  " lies outside the image");
    faults.Expect(numbers[2] < 360, at, "theta ", numbers[2], " (must be 0 to 359)");
    faults.Expect(quality <= 100, at, "quality ", quality, " (must be 0 to 100)");
    minutiae.push_back({x, y, static_cast<uint16_t>((numbers[2] + 180) % 360), VXR_OTHER,
                        static_cast<uint8_t>(quality)});
  }
  faults.minutia = -1;
  faults.view = -1;
  record.Keep(view, std::move(minutiae));
  record.Add(view);
  return true;
}

}  // namespace vxr
