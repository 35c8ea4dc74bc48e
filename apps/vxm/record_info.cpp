// Describes a record: what it holds, what the matcher makes of it, what is wrong.
#include "record_info.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "program.h"
#include "template_file.h"

namespace {

Json ViewJson(const VXR_View& view) {
  return {{"fingerPosition", view.fingerPosition},
          {"impressionType", view.impressionType},
          {"imageWidth", view.width},
          {"imageHeight", view.height},
          {"xResolution", view.xResolution},
          {"yResolution", view.yResolution},
          {"minutiae", view.minutiaCount},
          {"extendedBytes", view.extendedSize}};
}

// What the matcher makes of it, after the conversion that it may need; without a fault
// if that can be said.
Inspection InspectTaken(const std::string& name, Bytes bytes, std::string& converted) {
  converted = TakeIn(name, bytes, Intake::convert);
  return Inspect(bytes);
}

std::string Dropped(const Inspection& found) {
  std::string text;
  const std::pair<int, const char*> reasons[] = {
      {found.beyondMost, " beyond those that the matcher takes"},
      {found.outsideImage, " outside the image"},
      {found.outsideBlocks, " at the edge or outside its blocks"}};
  for (const auto& [count, reason] : reasons) {
    if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + reason;
  }
  return text;
}

void AddMatching(const std::string& name, const Bytes& bytes, RecordInfo& info) {
  std::string converted;
  const Inspection found = InspectTaken(name, bytes, converted);
  const std::string reason = found.fault.empty() ? Unmatchable(found) : found.fault;
  info.entry.update({{"usableMinutiae", found.usable},
                     {"dropped",
                      {{"beyondMost", found.beyondMost},
                       {"outsideImage", found.outsideImage},
                       {"outsideBlocks", found.outsideBlocks}}},
                     {"attribute", found.attribute},
                     {"matchable", reason.empty()},
                     {"conversion", converted.empty() ? Json(nullptr) : Json(converted)}});
  const std::string dropped = Dropped(found);
  info.line += ", attribute " + std::to_string(found.attribute);
  if (!dropped.empty()) {
    info.line += ", " + std::to_string(found.usable) + " used (" + dropped + ")";
  }
  if (!reason.empty()) info.line += ", " + reason;
  if (!converted.empty()) info.line += ", to be compared converted: " + converted;
}

const char* FamilyOf(int form) {
  if (form <= VXR_ANSI_2009_AM1) return NameOf(Format::ansi);
  return form <= VXR_ISO_2011 ? NameOf(Format::iso) : VXR_FormName(form);
}

std::string Text(int number) { return std::to_string(number); }

}  // namespace

bool LooksLikeRecord(const Bytes& bytes) {
  return bytes.size() >= 4 && std::equal(bytes.begin(), bytes.begin() + 4, "FMR");
}

std::vector<VXR_Fault> FaultsOf(const Bytes& bytes, int form, const VXR_Image& image) {
  std::vector<VXR_Fault> faults(64);
  for (;;) {
    const int count = VXR_Check(bytes.data(), bytes.size(), form, &image, faults.data(),
                                static_cast<int>(faults.size()));
    if (count < 0) throw Failure("no memory");
    const bool all = static_cast<size_t>(count) <= faults.size();
    faults.resize(static_cast<size_t>(count));
    if (all) return faults;
  }
}

Json FaultJson(const VXR_Fault& fault) {
  Json entry = {{"offset", fault.offset}, {"view", nullptr}, {"minutia", nullptr}};
  if (fault.view >= 0) entry["view"] = fault.view;
  if (fault.minutia >= 0) entry["minutia"] = fault.minutia;
  entry["text"] = fault.text;
  return entry;
}

RecordInfo DescribeRecord(const std::string& name, const Bytes& bytes, int form,
                          const VXR_Image& image) {
  RecordInfo info;
  if (form == VXR_UNKNOWN) throw FileFailure(name, MisreadFault(bytes));
  const bool told = VXR_TellForm(bytes.data(), bytes.size()) == form;
  if (told && MisreadFault(bytes).empty()) RequireTemplate(name, bytes, Intake::refuse);
  const Record record = ReadRecord(name, bytes, form, image);
  const VXR_View view = record->viewCount > 0 ? record->views[0] : VXR_View{};
  Json views = Json::array();
  for (uint32_t i = 0; i < record->viewCount; ++i) views.push_back(ViewJson(record->views[i]));
  info.entry = {{"file", name},
                {"valid", true},
                {"format", FamilyOf(form)},
                {"form", VXR_FormName(form)},
                {"size", bytes.size()},
                {"minutiae", view.minutiaCount},
                {"imageWidth", view.width},
                {"imageHeight", view.height},
                {"xResolution", view.xResolution},
                {"yResolution", view.yResolution},
                {"views", std::move(views)}};
  info.line = Printable(name) + ": " + VXR_FormName(form) + ", " + std::to_string(bytes.size()) +
              " bytes, " + Text(static_cast<int>(record->viewCount)) +
              (record->viewCount == 1 ? " view, " : " views, ") +
              std::to_string(view.minutiaCount) + " minutiae, image " + Text(view.width) + " x " +
              Text(view.height) + " pixels at " + Text(view.xResolution) + " x " +
              Text(view.yResolution) + " per cm";
  if (told) AddMatching(name, bytes, info);
  return info;
}
