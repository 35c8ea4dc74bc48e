// Records of all forms for the program.
#include "record_file.h"

#include <algorithm>

#include "failure.h"

namespace {

constexpr int matcherResolution = 197;

void RequireDone(int status, const std::string& name, const VXR_Fault& fault) {
  if (status == VXR_OK) return;
  throw FileFailure(name, status == VXR_ERROR_MEMORY ? "no memory" : TextOf(fault));
}

// Makers write 500 dpi as 196 or 197; nothing is gained by scaling what is so near.
bool IsUsual(int resolution) { return resolution >= 195 && resolution <= 199; }

bool IsAnsi(int form) { return form >= VXR_ANSI_2004 && form <= VXR_ANSI_2009_AM1; }

int MatchableForm(int form) { return IsAnsi(form) ? VXR_ANSI_2004 : VXR_ISO_2005; }

bool IsRecord(const Bytes& bytes) {
  return bytes.size() >= 8 && std::equal(bytes.begin(), bytes.begin() + 4, "FMR");
}

// Whether bytes of the form are in it as the matcher reads it: ANSI-2004 may have a
// length in six bytes.
bool IsMatchable(const Bytes& bytes, int form) {
  return form == MatchableForm(form) && (form != VXR_ANSI_2004 || bytes[8] != 0 || bytes[9] != 0);
}

std::string Size(const VXR_View& view) {
  return std::to_string(view.xResolution) + " x " + std::to_string(view.yResolution);
}

}  // namespace

std::string FormNames() {
  std::string names;
  for (int form = VXR_ANSI_2004; form <= VXR_XYT; ++form) {
    names += (names.empty() ? "" : ", ") + std::string(VXR_FormName(form));
  }
  return names;
}

int FormNamed(const std::string& option, const std::string& name) {
  if (name == "native") {
    throw Failure(option + ": a native template needs the orientation of the ridges, which no " +
                  "record holds; one without scores 0 against everything");
  }
  const int form = VXR_FormOfName(name.c_str());
  if (form == VXR_UNKNOWN) throw Failure(option + ": '" + name + "' is none of " + FormNames());
  return form;
}

std::string TextOf(const VXR_Fault& fault) {
  std::string text = std::string(fault.text) + ", at byte " + std::to_string(fault.offset);
  if (fault.view >= 0) text += ", view " + std::to_string(fault.view + 1);
  if (fault.minutia >= 0) text += ", minutia " + std::to_string(fault.minutia + 1);
  return text;
}

std::vector<NamedCount> CountsOf(const VXR_Losses& losses) {
  return {{"minutiaeOutside", "minutiae outside the image", losses.minutiaeOutside},
          {"minutiaePruned", "minutiae beyond the maximum", losses.minutiaePruned},
          {"positionsRounded", "positions rounded", losses.positionsRounded},
          {"anglesRounded", "angles rounded", losses.anglesRounded},
          {"typesDropped", "types of minutiae", losses.typesDropped},
          {"qualitiesDropped", "qualities of minutiae", losses.qualitiesDropped},
          {"extendedDropped", "blocks of extended data", losses.extendedDropped},
          {"viewsDropped", "views", losses.viewsDropped},
          {"fieldsDropped", "other fields", losses.fieldsDropped}};
}

std::string TextOf(const VXR_Losses& losses) {
  std::string text;
  for (const NamedCount& each : CountsOf(losses)) {
    if (each.count == 0) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(each.count) + " " + each.text;
  }
  return text;
}

VXR_Losses& operator+=(VXR_Losses& sum, const VXR_Losses& losses) {
  sum.minutiaeOutside += losses.minutiaeOutside;
  sum.minutiaePruned += losses.minutiaePruned;
  sum.positionsRounded += losses.positionsRounded;
  sum.anglesRounded += losses.anglesRounded;
  sum.typesDropped += losses.typesDropped;
  sum.qualitiesDropped += losses.qualitiesDropped;
  sum.extendedDropped += losses.extendedDropped;
  sum.viewsDropped += losses.viewsDropped;
  sum.fieldsDropped += losses.fieldsDropped;
  return sum;
}

Record ReadRecord(const std::string& name, const Bytes& bytes, int form, const VXR_Image& image) {
  VXR_Record* record = nullptr;
  VXR_Fault fault = {};
  RequireDone(VXR_Read(bytes.data(), bytes.size(), form, &image, &record, &fault), name, fault);
  return Record(record);
}

Record ConvertRecord(const std::string& name, const VXR_Record& record,
                     const VXR_Conversion& wanted, VXR_Losses& losses) {
  VXR_Record* converted = nullptr;
  VXR_Fault fault = {};
  RequireDone(VXR_Convert(&record, &wanted, &converted, &losses, &fault), name, fault);
  return Record(converted);
}

Bytes WriteRecord(const std::string& name, const VXR_Record& record) {
  VXR_Fault fault = {};
  size_t size = 0;
  const int measured = VXR_Write(&record, nullptr, 0, &size, &fault);
  if (measured != VXR_ERROR_ROOM) RequireDone(measured, name, fault);
  Bytes bytes(size);
  RequireDone(VXR_Write(&record, bytes.data(), bytes.size(), &size, &fault), name, fault);
  return bytes;
}

std::string MisreadFault(const Bytes& bytes) {
  if (!IsRecord(bytes)) return "";
  const int form = VXR_TellForm(bytes.data(), bytes.size());
  if (form == VXR_UNKNOWN) return "is a record of an unknown version";
  if (IsMatchable(bytes, form)) return "";
  return std::string("is a record of the form ") + VXR_FormName(form) +
         ", which the library would misread: convert it by vxm convert --to " +
         VXR_FormName(MatchableForm(form));
}

std::string TakeIn(const std::string& name, Bytes& bytes, Intake intake) {
  const std::string misread = MisreadFault(bytes);
  const int form = VXR_TellForm(bytes.data(), bytes.size());
  if (!misread.empty() && (intake == Intake::refuse || form == VXR_UNKNOWN)) {
    throw FileFailure(name, misread);
  }
  if (form == VXR_UNKNOWN || intake == Intake::refuse) return "";
  Record record;
  try {
    record = ReadRecord(name, bytes, form);
  } catch (const FileFailure&) {
    if (misread.empty()) return "";  // what is wrong is told as for every template
    throw;
  }
  if (record->viewCount == 0) return "";
  const VXR_View& first = record->views[0];
  const bool known = first.xResolution != 0 && first.yResolution != 0;
  const bool scaled = known && !(IsUsual(first.xResolution) && IsUsual(first.yResolution));
  if (misread.empty() && !scaled) return "";
  VXR_Conversion wanted = {};  // of the first view
  wanted.form = MatchableForm(form);
  wanted.resolution = scaled ? matcherResolution : 0;
  wanted.keepExtended = 1;
  VXR_Losses losses = {};
  bytes = WriteRecord(name, *ConvertRecord(name, *record, wanted, losses));
  std::string done = VXR_FormName(form);
  if (form != wanted.form) done += std::string(" to ") + VXR_FormName(wanted.form);
  if (scaled) done += ", " + Size(first) + " pixels per cm to " + std::to_string(matcherResolution);
  const std::string lost = TextOf(losses);
  return lost.empty() ? done : done + " (lost: " + lost + ")";
}
