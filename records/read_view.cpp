// Reading a view: what stands before its minutiae, the minutiae, what stands behind.
#include <algorithm>

#include "forms.h"
#include "reading.h"

namespace vxr {
namespace {

constexpr int lastFinger = 10;

bool IsImpression(int type) { return type <= 9 || (type >= 20 && type <= 29); }

// Of a minutia or a view: 254 is not given, 255 failed.
void CheckQuality(int quality, size_t at, Faults& faults) {
  faults.Expect(quality <= 100 || quality >= 254, at, "quality ", quality,
                " (must be 0 to 100, 254 or 255)");
}

void CheckFinger(const VXR_View& view, size_t positionAt, size_t impressionAt, Faults& faults) {
  faults.Expect(view.fingerPosition <= lastFinger, positionAt, "finger position ",
                int{view.fingerPosition}, " (must be 0 to 10)");
  faults.Expect(IsImpression(view.impressionType), impressionAt, "impression type ",
                int{view.impressionType}, " (must be 0 to 9 or 20 to 29)");
}

void ReadImage(Cursor& in, uint16_t& x, uint16_t& y, const char* name, Faults& faults) {
  x = in.U16();
  y = in.U16();
  faults.Expect(x != 0, in.at - 4, name, " 0");
  faults.Expect(y != 0, in.at - 2, name, " 0");
}

size_t ReadFirstEditionView(Cursor& in, OwnedRecord& record, VXR_View& view, Faults& faults) {
  const size_t at = in.at;
  view.fingerPosition = in.U8();
  const uint8_t numberAndImpression = in.U8();
  view.number = numberAndImpression >> 4;
  view.impressionType = numberAndImpression & 15;
  CheckFinger(view, at, at + 1, faults);
  const uint8_t quality = in.U8();
  if (IsAnsi(record.form)) {
    CheckQuality(quality, at + 2, faults);  // 254 and 255 as PIV cards have them
  } else {
    faults.Expect(quality <= 100, at + 2, "quality ", int{quality}, " (must be 0 to 100)");
  }
  record.Keep(view, std::vector<VXR_Quality>{{0, 0, quality}});
  return in.U8();
}

size_t ReadAnsi2009View(Cursor& in, OwnedRecord& record, VXR_View& view, Faults& faults) {
  const size_t at = in.at;
  view.fingerPosition = in.U8();
  view.number = in.U8();
  view.impressionType = in.U8();
  CheckFinger(view, at, at + 2, faults);
  VXR_Quality quality = {};
  quality.value = in.U8();
  quality.vendor = in.U16();
  quality.algorithm = in.U16();
  CheckQuality(quality.value, at + 3, faults);
  record.Keep(view, std::vector<VXR_Quality>{quality});
  ReadImage(in, view.width, view.height, "image size", faults);
  ReadImage(in, view.xResolution, view.yResolution, "resolution", faults);
  return in.U8();
}

// Month to second each within their limits or unknown.
void CheckTime(const VXR_View& view, size_t at, Faults& faults) {
  struct Limits {
    const char* name;
    int least;
    int most;
  };
  constexpr Limits limits[] = {
      {"month", 1, 12}, {"day", 1, 31}, {"hour", 0, 23}, {"minute", 0, 59}, {"second", 0, 60}};
  size_t i = 2;
  for (const Limits& limit : limits) {
    const int value = view.captureTime[i];
    faults.Expect(value == 255 || (value >= limit.least && value <= limit.most), at + i, limit.name,
                  " ", value, " of the capture time");
    i++;
  }
  const int milliseconds = view.captureTime[7] << 8 | view.captureTime[8];
  faults.Expect(milliseconds <= 999 || milliseconds == 0xFFFF, at + 7, "millisecond ", milliseconds,
                " of the capture time");
}

void ReadQualities(Cursor& in, OwnedRecord& record, VXR_View& view, Faults& faults) {
  std::vector<VXR_Quality> qualities(in.U8());
  for (VXR_Quality& quality : qualities) {
    quality.value = in.U8();
    CheckQuality(quality.value, in.at - 1, faults);
    quality.vendor = in.U16();
    quality.algorithm = in.U16();
  }
  record.Keep(view, std::move(qualities));
}

size_t ReadRepresentation(Cursor& in, OwnedRecord& record, VXR_View& view, Faults& faults) {
  for (uint8_t& byte : view.captureTime) byte = in.U8();
  CheckTime(view, in.at - sizeof(view.captureTime), faults);
  view.captureTechnology = in.U8();
  view.captureVendor = in.U16();
  view.captureDevice = in.U16();
  ReadQualities(in, record, view, faults);
  if (record.certification == 1) {
    std::vector<VXR_Certification> certifications(in.U8());
    for (VXR_Certification& one : certifications) {
      one.authority = in.U16();
      one.scheme = in.U8();
    }
    record.Keep(view, std::move(certifications));
  }
  const size_t at = in.at;
  view.fingerPosition = in.U8();
  view.number = in.U8();
  ReadImage(in, view.xResolution, view.yResolution, "resolution", faults);
  view.impressionType = in.U8();
  CheckFinger(view, at, at + 6, faults);
  ReadImage(in, view.width, view.height, "image size", faults);
  const uint8_t sizeAndEnding = in.U8();
  view.minutiaSize = sizeAndEnding >> 4;
  view.ridgeEndingType = sizeAndEnding & 15;
  return in.U8();
}

void CheckMinutia(const VXR_Minutia& minutia, const VXR_View& view, int form, int reserved,
                  size_t at, int size, Faults& faults) {
  const size_t yAt = at + (size == 3 ? 1 : 2);
  faults.Expect(minutia.type <= VXR_BIFURCATION, at + (size == 3 ? 2 : 0),
                "minutia type 3 is reserved");
  faults.Expect(reserved == 0, yAt, "reserved bits ", reserved, " before y (must be 0)");
  if (view.width != 0) {
    faults.Expect(minutia.x < view.width, at, "x ", int{minutia.x}, " in an image ",
                  int{view.width}, " pixels wide");
  }
  if (view.height != 0) {
    faults.Expect(minutia.y < view.height, yAt, "y ", int{minutia.y}, " in an image ",
                  int{view.height}, " pixels high");
  }
  const int turn = FindForm(form)->turn;
  faults.Expect(minutia.angle < turn, at + 4, "angle ", int{minutia.angle}, " (must be 0 to ",
                turn - 1, ")");
  CheckQuality(minutia.quality, at + 5, faults);
}

}  // namespace

bool ReadMinutiae(Cursor& in, size_t count, int size, int form, OwnedRecord& record, VXR_View& view,
                  Faults& faults) {
  const auto bytes = static_cast<size_t>(size);
  if (in.Left() < count * bytes) {
    return faults.Refuse(in.at, count, " minutiae of ", size, " bytes, but ", in.Left(),
                         " bytes are left");
  }
  std::vector<VXR_Minutia> minutiae(count);
  for (size_t i = 0; i < count; i++) {
    VXR_Minutia& minutia = minutiae[i];
    const size_t at = in.at;
    int reserved = 0;
    if (size == 3) {
      minutia.x = in.U8();
      minutia.y = in.U8();
      const uint8_t typeAndAngle = in.U8();
      minutia.type = typeAndAngle >> 6;
      minutia.angle = typeAndAngle & 63;
    } else {
      const uint16_t typeAndX = in.U16();
      const uint16_t y = in.U16();
      minutia.type = static_cast<uint8_t>(typeAndX >> 14);
      minutia.x = typeAndX & largestCoordinate;
      minutia.y = y & largestCoordinate;
      reserved = y >> 14;
      minutia.angle = in.U8();
      if (size == 6) minutia.quality = in.U8();
    }
    faults.minutia = static_cast<int>(i);
    CheckMinutia(minutia, view, form, reserved, at, size, faults);
  }
  faults.minutia = -1;
  record.Keep(view, std::move(minutiae));
  return true;
}

bool ReadView(Cursor& all, OwnedRecord& record, VXR_View& view, Faults& faults) {
  const size_t begin = all.at;
  Cursor in = all;
  std::fill_n(view.captureTime, sizeof(view.captureTime), uint8_t{0xFF});
  size_t count = 0;
  int size = 6;
  if (record.form == VXR_ISO_2011) {
    const size_t length = all.U32();
    if (all.cut || length < leastRepresentation || length - 4 > all.Left()) {
      return faults.Refuse(begin, "representation length ", length, ", but ", all.end - begin,
                           " bytes are left");
    }
    in = all.Part(length - 4);
    count = ReadRepresentation(in, record, view, faults);
    size = view.minutiaSize;
    if (!in.cut && size != 5 && size != 6) {
      return faults.Refuse(in.at - 2, "minutiae of ", size, " bytes (must be 5 or 6)");
    }
  } else {
    count = IsFirstEdition(record.form) ? ReadFirstEditionView(in, record, view, faults)
                                        : ReadAnsi2009View(in, record, view, faults);
  }
  if (in.cut) return faults.Refuse(in.end, "ends in the header of a view");
  if (!ReadMinutiae(in, count, size, record.form, record, view, faults)) return false;
  const size_t extended = in.U16();
  if (in.cut) return faults.Refuse(in.end, "ends before the length of its extended data");
  if (extended > in.Left()) {
    return faults.Refuse(in.at - 2, extended, " bytes of extended data, but ", in.Left(),
                         " bytes are left");
  }
  const Cursor blocks = in.Part(extended);
  CheckExtended(blocks, view, record.form, faults);
  record.Keep(view, std::vector<uint8_t>(in.bytes + blocks.at, in.bytes + blocks.end));
  if (record.form != VXR_ISO_2011) {
    all.at = in.at;
  } else {
    faults.Expect(in.Left() == 0, begin, "representation length ", in.end - begin,
                  ", but its fields take ", in.at - begin);
  }
  return true;
}

}  // namespace vxr
