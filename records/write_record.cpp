// Writing records. The length comes last: it is put into its place, which of
// ANSI-2004 is 4 bytes wider where 2 cannot hold it.
#include <algorithm>

#include "byte_list.h"
#include "forms.h"
#include "writing.h"

namespace vxr {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t lengthAt = 8;
constexpr size_t shortLengths = 0x10000;

void PutLength(Bytes& bytes, size_t at, size_t size) {
  for (size_t i = 0; i < 4; i++) bytes[at + i] = static_cast<uint8_t>(size >> (24 - 8 * i));
}

void WriteExtended(const VXR_View& view, ByteList& out) {
  out.U16(view.extendedSize);
  for (uint32_t i = 0; i < view.extendedSize && out.fits; i++) out.U8(view.extended[i]);
}

VXR_Quality OneQuality(const VXR_View& view) {
  return view.qualityCount == 0 ? VXR_Quality{0, 0, 0} : view.qualities[0];
}

void WriteViewHeader(const VXR_Record& record, const VXR_View& view, ByteList& out) {
  const VXR_Quality quality = OneQuality(view);
  out.U8(view.fingerPosition);
  if (IsFirstEdition(record.form)) {
    out.U8(view.number, view.impressionType, 4);
    out.U8(quality.value);
  } else {
    out.U8(view.number);
    out.U8(view.impressionType);
    out.U8(quality.value);
    for (const uint16_t field : {quality.vendor, quality.algorithm, view.width, view.height,
                                 view.xResolution, view.yResolution}) {
      out.U16(field);
    }
  }
  out.U8(view.minutiaCount);
}

void WriteRepresentationHeader(const VXR_Record& record, const VXR_View& view, ByteList& out) {
  out.U32(0);  // its length, put in later
  for (const uint8_t byte : view.captureTime) out.U8(byte);
  out.U8(view.captureTechnology);
  out.U16(view.captureVendor);
  out.U16(view.captureDevice);
  out.U8(view.qualityCount);
  for (uint32_t i = 0; i < view.qualityCount && out.fits; i++) {
    out.U8(view.qualities[i].value);
    out.U16(view.qualities[i].vendor);
    out.U16(view.qualities[i].algorithm);
  }
  if (record.certification == 1) {
    out.U8(view.certificationCount);
    for (uint32_t i = 0; i < view.certificationCount && out.fits; i++) {
      out.U16(view.certifications[i].authority);
      out.U8(view.certifications[i].scheme);
    }
  }
  out.U8(view.fingerPosition);
  out.U8(view.number);
  out.U16(view.xResolution);
  out.U16(view.yResolution);
  out.U8(view.impressionType);
  out.U16(view.width);
  out.U16(view.height);
  out.U8(view.minutiaSize, view.ridgeEndingType, 4);
  out.U8(view.minutiaCount);
}

bool IsSameImage(const VXR_View& a, const VXR_View& b) {
  return a.width == b.width && a.height == b.height && a.xResolution == b.xResolution &&
         a.yResolution == b.yResolution;
}

// Some fields stand nowhere in some forms.
const char* Unholdable(const VXR_Record& record) {
  for (uint32_t i = 0; i < record.viewCount; i++) {
    const VXR_View& view = record.views[i];
    if (IsFirstEdition(record.form) && !IsSameImage(view, record.views[0])) {
      return "views differ in image size or resolution, which this form has once for all views";
    }
    if (record.form == VXR_ISO_2011) {
      if (view.minutiaSize != 5 && view.minutiaSize != 6) return "minutiae must have 5 or 6 bytes";
      if (view.certificationCount > 0 && record.certification != 1) {
        return "views list certifications, and the header's flag is not 1";
      }
    } else if (view.qualityCount > 1) {
      return "a view has several qualities";
    }
  }
  return nullptr;
}

void WriteHeader(const VXR_Record& record, ByteList& out) {
  out.Text("FMR", 4);
  out.Text(FindForm(record.form)->version, 4);
  out.U32(0);  // the length, put in later
  if (record.form == VXR_ISO_2011) {
    out.U16(record.viewCount);
    out.U8(record.certification);
    return;
  }
  if (IsAnsi(record.form)) {
    out.U16(record.vendor);
    out.U16(record.subformat);
  }
  if (IsAnsi2009(record.form)) {
    out.U8(record.certification);
    out.U16(record.device);
  } else {
    const VXR_View image = record.viewCount == 0 ? VXR_View{} : record.views[0];
    out.U16(record.certification, record.device, 12);
    out.U16(image.width);
    out.U16(image.height);
    out.U16(image.xResolution);
    out.U16(image.yResolution);
  }
  out.U8(record.viewCount);
  out.U8(record.reserved);
}

bool WriteView(const VXR_Record& record, const VXR_View& view, Bytes& bytes, Faults& faults) {
  const size_t begin = bytes.size();
  ByteList out(bytes);
  const bool representation = record.form == VXR_ISO_2011;
  if (representation) {
    WriteRepresentationHeader(record, view, out);
  } else {
    WriteViewHeader(record, view, out);
  }
  if (!out.fits) return faults.Refuse(begin, "a field or a count of a view is too large");
  const int size = representation ? view.minutiaSize : 6;
  if (!WriteMinutiae(view, size, record.form, bytes, faults)) return false;
  WriteExtended(view, out);
  if (!out.fits) return faults.Refuse(bytes.size(), "more than 65535 bytes of extended data");
  if (representation) PutLength(bytes, begin, bytes.size() - begin);
  return true;
}

bool PutRecordLength(const VXR_Record& record, Bytes& bytes, Faults& faults) {
  if (record.form == VXR_ISO_2005 && bytes.size() >= shortLengths) {
    return faults.Refuse(lengthAt, "ISO:2005 records of ", bytes.size(),
                         " bytes are taken for ANSI records: split it");
  }
  if (record.form != VXR_ANSI_2004) {
    PutLength(bytes, lengthAt, bytes.size());
    return true;
  }
  // So far it has the 4 bytes of the others.
  if (bytes.size() - 2 < shortLengths) {
    bytes.erase(bytes.begin() + lengthAt, bytes.begin() + lengthAt + 2);
    bytes[lengthAt] = static_cast<uint8_t>(bytes.size() >> 8);
    bytes[lengthAt + 1] = static_cast<uint8_t>(bytes.size());
  } else {
    bytes.insert(bytes.begin() + lengthAt, 2, uint8_t{0});
    PutLength(bytes, lengthAt + 2, bytes.size());
  }
  return true;
}

bool WriteHeaderless(const VXR_Record& record, Bytes& bytes, Faults& faults) {
  if (record.viewCount != 1) {
    return faults.Refuse(0, "this form holds one view, and there are ", record.viewCount);
  }
  const VXR_View& view = record.views[0];
  if (record.form == VXR_XYT) return WriteXyt(view, bytes, faults);
  return WriteMinutiae(view, record.form == VXR_ISO_CARD ? 5 : 3, record.form, bytes, faults);
}

}  // namespace

bool WriteMinutiae(const VXR_View& view, int size, int form, Bytes& bytes, Faults& faults) {
  const auto turn = static_cast<uint32_t>(FindForm(form)->turn);
  // An angle beyond the turn that a byte holds is a fault of the record, not of its form.
  const uint32_t anglesEnd = size == 3 ? turn : 256;
  ByteList out(bytes);
  for (uint32_t i = 0; i < view.minutiaCount; i++) {
    const VXR_Minutia& minutia = view.minutiae[i];
    bool holds = minutia.angle < anglesEnd && minutia.type <= 3;
    if (size == 3) {
      out.U8(minutia.x);
      out.U8(minutia.y);
      out.U8(minutia.type, minutia.angle & 63u, 6);
    } else {
      holds = holds && minutia.x <= largestCoordinate && minutia.y <= largestCoordinate;
      out.U16(minutia.type, minutia.x & 0x3FFFu, 14);
      out.U16(minutia.y);
      out.U8(minutia.angle);
      if (size == 6) out.U8(minutia.quality);
    }
    faults.minutia = static_cast<int>(i);
    if (!holds || !out.fits)
      return faults.Refuse(bytes.size(), "a minutia does not fit its fields");
  }
  faults.minutia = -1;
  return true;
}

bool WriteXyt(const VXR_View& view, Bytes& bytes, Faults& faults) {
  for (uint32_t i = 0; i < view.minutiaCount; i++) {
    const VXR_Minutia& minutia = view.minutiae[i];
    faults.minutia = static_cast<int>(i);
    if (minutia.y > view.height || minutia.angle >= 360 || minutia.x > largestCoordinate) {
      return faults.Refuse(bytes.size(), "a minutia outside the image");
    }
    const std::string line = Join(int{minutia.x}, " ", view.height - minutia.y, " ",
                                  (minutia.angle + 180) % 360, " ", int{minutia.quality}, "\n");
    bytes.insert(bytes.end(), line.begin(), line.end());
  }
  faults.minutia = -1;
  return true;
}

bool WriteRecord(const VXR_Record& record, Bytes& bytes, Faults& faults) {
  if (!HasHeader(record.form)) return WriteHeaderless(record, bytes, faults);
  if (const char* problem = Unholdable(record)) return faults.Refuse(0, problem);
  ByteList out(bytes);
  WriteHeader(record, out);
  if (!out.fits)
    return faults.Refuse(0, "a field of the header or the number of views is too large");
  for (uint32_t i = 0; i < record.viewCount; i++) {
    faults.view = static_cast<int>(i);
    if (!WriteView(record, record.views[i], bytes, faults)) return false;
  }
  faults.view = -1;
  return PutRecordLength(record, bytes, faults);
}

}  // namespace vxr
