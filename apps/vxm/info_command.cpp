// vxm info: what template files hold, and why a bad one is bad.
#include <cstdio>
#include <map>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "named_template.h"
#include "program.h"
#include "record_info.h"

namespace {

struct InfoOptions {
  std::vector<std::string> files;
  std::string from;
  int form = VXR_UNKNOWN;  // of that name
  bool check = false;
  bool json = false;
};

Json Describe(const TemplateFile& file) {
  const Inspection& found = file.inspection;
  const bool native = found.format == Format::native;
  Json entry = {{"file", file.name},
                {"valid", true},
                {"format", NameOf(found.format)},
                {"size", file.bytes.size()},
                {"minutiae", found.minutiae},
                {"usableMinutiae", found.usable},
                {native ? "gridWidth" : "imageWidth", found.width},
                {native ? "gridHeight" : "imageHeight", found.height},
                {"attribute", found.attribute},
                {"matchable", Unmatchable(found).empty()}};
  if (native) entry["form"] = found.form;
  return entry;
}

void PrintLine(const TemplateFile& file) {
  const Inspection& found = file.inspection;
  const bool native = found.format == Format::native;
  std::printf("%s: %s, %d bytes, %d minutiae, %s %d x %d %s, attribute %d",
              Printable(file.name).c_str(), NameOf(found.format), file.Size(), found.minutiae,
              native ? "grid" : "image", found.width, found.height, native ? "blocks" : "pixels",
              found.attribute);
  if (native) std::printf(", %s", found.form.c_str());
  const std::string reason = Unmatchable(found);
  if (!reason.empty()) std::printf(", %s", reason.c_str());
  std::printf("\n");
}

// A gallery is no template, but a user may well ask what it is.
Json DescribeGallery(const std::string& name, const StopCheck& stop) {
  std::map<std::string, size_t> formats;
  size_t damaged = 0;
  VisitGallery(
      name, stop, [](size_t) {},
      [&](StoredEntry&& entry) {
        if (entry.fault.empty()) {
          ++formats[NameOf(entry.format)];
        } else {
          ++damaged;
        }
      });
  Json entry = {{"file", name}, {"valid", damaged == 0}, {"gallery", Json::object()}};
  for (const auto& [format, count] : formats) entry["gallery"][format] = count;
  entry["damaged"] = damaged;
  return entry;
}

void PrintGallery(const Json& gallery) {
  std::printf("%s: gallery", Printable(gallery["file"]).c_str());
  for (const auto& [format, count] : gallery["gallery"].items()) {
    std::printf(", %zu %s", count.get<size_t>(), format.c_str());
  }
  const auto damaged = gallery["damaged"].get<size_t>();
  if (damaged > 0) std::printf(", %zu damaged", damaged);
  std::printf("\n");
}

// Whether it is valid and, where that is asked, conforms.
bool TellRecord(const std::string& name, const Bytes& bytes, const InfoOptions& options,
                Json& entries) {
  const VXR_Image image = {};
  const int told = VXR_TellForm(bytes.data(), bytes.size());
  const int form = options.form == VXR_UNKNOWN ? told : options.form;
  std::vector<VXR_Fault> faults;
  RecordInfo info;
  if (options.check && form != VXR_UNKNOWN) faults = FaultsOf(bytes, form, image);
  try {
    info = DescribeRecord(name, bytes, form, image);
  } catch (const Failure& failure) {
    if (faults.empty()) throw;
    Say(failure.what());
    info.entry = {{"file", name}, {"valid", false}, {"fault", failure.what()}};
    info.line = Printable(name) + ": " + VXR_FormName(form);
  }
  if (options.check) {
    info.entry["faults"] = Json::array();
    info.line += ", " + std::to_string(faults.size()) + " faults";
    for (const VXR_Fault& fault : faults) {
      info.entry["faults"].push_back(FaultJson(fault));
      info.line += "\n  " + TextOf(fault);
    }
  }
  if (!options.json) std::printf("%s\n", info.line.c_str());
  entries.push_back(std::move(info.entry));
  return faults.empty();
}

bool TellBytes(const std::string& name, Bytes bytes, const InfoOptions& options, Json& entries) {
  if (LooksLikeRecord(bytes) || options.form != VXR_UNKNOWN) {
    return TellRecord(name, bytes, options, entries);
  }
  const TemplateFile file = RequireTemplate(name, std::move(bytes), Intake::refuse);
  entries.push_back(Describe(file));
  if (!options.json) PrintLine(file);
  return true;
}

// Whether all of it is valid.
bool TellOne(const std::string& name, const InfoOptions& options, const StopCheck& stop,
             Json& entries) {
  if (IsGallery(name)) {
    entries.push_back(DescribeGallery(name, stop));
    if (!options.json) PrintGallery(entries.back());
    return entries.back()["valid"];
  }
  std::error_code fault;
  if (name == streamName || KindOf(name, fault) != FileKind::missing) {
    return TellBytes(name, ReadStart(name), options, entries);
  }
  bool valid = true;
  for (const TemplateFile& file : LoadNamed(name, stop, Intake::refuse)) {
    valid = TellBytes(file.name, file.bytes, options, entries) && valid;
  }
  return valid;
}

int Info(InfoOptions& options) {
  if (!options.from.empty()) options.form = FormNamed("--from", options.from);
  const StopCheck stop;
  Json entries = Json::array();
  int exitCode = ExitCode::success;
  for (const std::string& name : options.files) {
    stop.Here();
    try {
      if (!TellOne(name, options, stop, entries)) exitCode = ExitCode::error;
    } catch (const Failure& failure) {
      exitCode = ExitCode::error;
      Say(failure.what());
      entries.push_back({{"file", name}, {"valid", false}, {"fault", failure.what()}});
    }
  }
  if (options.json) PrintJson(entries);
  return exitCode;
}

}  // namespace

void AddInfo(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("info", "Show what template files hold");
  command->footer(
      "Exit codes: 0 all are valid (with --check: and conform), 2 some are not.\n"
      "Example: vxm info probe.vxt people.db people.db:042_1");
  auto options = std::make_shared<InfoOptions>();
  command->add_option("FILE", options->files, "Template files, galleries, GALLERY:ID")->required();
  command->add_option("--from", options->from, "Form of records without a header");
  command->add_flag("--check", options->check,
                    "Check records as a conformance test would, and list all faults with their "
                    "byte offsets");
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Info(*options); });
}
