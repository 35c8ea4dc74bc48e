// What stands before the minutiae, from one form to another. A field that held
// something and has no place in the new form counts as dropped.
#include <algorithm>

#include "convert_record.h"
#include "forms.h"

namespace vxr {
namespace {

constexpr uint8_t certified2009 = 0x80;
constexpr uint8_t certified2004 = 0x08;  // of four bits
constexpr uint16_t largestDevice = 0x0FFF;

// A value where the form has a place for it that is large enough, else 0 and a loss.
template <class Value>
Value Carry(Value value, bool fits, VXR_Losses& losses) {
  if (fits) return value;
  losses.fieldsDropped += value != 0;
  return 0;
}

uint8_t Certification(const VXR_Record& source, int form, VXR_Losses& losses) {
  const bool from2009 = IsAnsi2009(source.form);
  if (IsAnsi2009(form) == from2009 && IsFirstEdition(form) == IsFirstEdition(source.form)) {
    return source.certification;
  }
  if (IsAnsi2009(form) && IsFirstEdition(source.form)) {
    losses.fieldsDropped += (source.certification & ~certified2004) != 0;
    return (source.certification & certified2004) != 0 ? certified2009 : uint8_t{0};
  }
  if (IsFirstEdition(form) && from2009) {
    losses.fieldsDropped += (source.certification & ~certified2009) != 0;
    return (source.certification & certified2009) != 0 ? certified2004 : uint8_t{0};
  }
  // ISO:2011 certifies views, and those without a header nothing.
  return Carry(source.certification, false, losses);
}

bool IsTimeKnown(const VXR_View& view) {
  return std::any_of(std::begin(view.captureTime), std::end(view.captureTime),
                     [](uint8_t byte) { return byte != 0xFF; });
}

// Of a view for which none was computed: 0 in the first editions, which know no other
// word for it.
std::vector<VXR_Quality> Qualities(const VXR_View& from, int form, VXR_Losses& losses) {
  std::vector<VXR_Quality> qualities(from.qualities, from.qualities + from.qualityCount);
  if (form == VXR_ISO_2011) return qualities;
  if (!HasHeader(form)) {
    for (const VXR_Quality& quality : qualities) {
      losses.fieldsDropped += quality.value >= 1 && quality.value <= 100;
    }
    return {};
  }
  if (qualities.size() > 1) losses.fieldsDropped += static_cast<uint32_t>(qualities.size()) - 1;
  qualities.resize(1, VXR_Quality{0, 0, 254});
  if (IsFirstEdition(form)) {
    VXR_Quality& quality = qualities[0];
    losses.fieldsDropped += quality.vendor != 0 || quality.algorithm != 0;
    const bool fits = quality.value <= 100 || (IsAnsi(form) && from.qualityCount > 0);
    losses.fieldsDropped += !fits && quality.value == 255;
    quality = {0, 0, fits ? quality.value : uint8_t{0}};
  }
  return qualities;
}

void ConvertCapture(const VXR_Record& source, const VXR_View& from, OwnedRecord& target,
                    VXR_View& to, VXR_Losses& losses) {
  std::fill_n(to.captureTime, sizeof(to.captureTime), uint8_t{0xFF});
  if (source.form != VXR_ISO_2011) {
    if (target.form == VXR_ISO_2011) to.captureDevice = source.device;
    return;
  }
  if (target.form == VXR_ISO_2011) {
    std::copy_n(from.captureTime, sizeof(to.captureTime), to.captureTime);
    to.captureTechnology = from.captureTechnology;
    to.captureVendor = from.captureVendor;
    to.captureDevice = from.captureDevice;
    to.ridgeEndingType = from.ridgeEndingType;
    target.Keep(to, std::vector<VXR_Certification>(from.certifications,
                                                   from.certifications + from.certificationCount));
    return;
  }
  losses.fieldsDropped += IsTimeKnown(from);
  losses.fieldsDropped += from.captureTechnology != 0;
  losses.fieldsDropped += from.captureVendor != 0;
  losses.fieldsDropped += from.captureDevice != target.device;
  losses.fieldsDropped += from.ridgeEndingType != 0;
  losses.fieldsDropped += from.certificationCount;
}

}  // namespace

void ConvertHeader(const VXR_Record& source, OwnedRecord& target, VXR_Losses& losses) {
  const bool ansi = IsAnsi(target.form);
  target.vendor = Carry(source.vendor, ansi, losses);
  target.subformat = Carry(source.subformat, ansi, losses);
  if (source.form != target.form) {
    target.certification =
        source.form == VXR_ISO_2011 ? uint8_t{0} : Certification(source, target.form, losses);
  } else {
    target.certification = source.certification;
  }
  const bool inHeader = IsAnsi(target.form) || target.form == VXR_ISO_2005;
  target.reserved = Carry(source.reserved, inHeader, losses);
  if (target.form == VXR_ISO_2011) return;  // it has a device in each view
  if (source.form != VXR_ISO_2011) {
    const bool fits = IsAnsi2009(target.form) || source.device <= largestDevice;
    target.device = Carry(source.device, inHeader && fits, losses);
  } else if (inHeader && source.viewCount > 0) {
    const uint16_t device = source.views[0].captureDevice;
    target.device = IsAnsi2009(target.form) || device <= largestDevice ? device : uint16_t{0};
  }
}

void ConvertViewFields(const VXR_Record& source, const VXR_View& from, OwnedRecord& target,
                       VXR_View& to, VXR_Losses& losses) {
  const bool header = HasHeader(target.form);
  to.fingerPosition = Carry(from.fingerPosition, header, losses);
  to.number = header ? from.number : uint8_t{0};
  const bool fits = header && (!IsFirstEdition(target.form) || from.impressionType <= 15);
  to.impressionType = Carry(from.impressionType, fits, losses);
  ConvertCapture(source, from, target, to, losses);
  target.Keep(to, Qualities(from, target.form, losses));
}

}  // namespace vxr
