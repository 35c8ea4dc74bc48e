// Reads a template file and refuses what the library would refuse.
#include "template_file.h"

#include "failure.h"
#include "gallery_mark.h"

std::string FaultText(const Inspection& inspection) {
  if (inspection.format == Format::native) {
    return "not a template (no standard record, and as a native template invalid: " +
           inspection.fault + ")";
  }
  return std::string("damaged ") + NameOf(inspection.format) + " record: " + inspection.fault;
}

TemplateFile RequireTemplate(const std::string& name, Bytes bytes, Intake intake) {
  if (LooksLikeGallery(bytes)) {
    throw FileFailure(name, "is a gallery or another database, where a template is wanted");
  }
  if (bytes.size() > largestTemplateFile) {
    throw FileFailure(name, "too large for a template (more than " +
                                std::to_string(largestTemplateFile) + " bytes)");
  }
  std::string converted = TakeIn(name, bytes, intake);
  TemplateFile file{name, std::move(bytes), {}, std::move(converted)};
  file.inspection = Inspect(file.bytes);
  if (!file.inspection.fault.empty()) throw FileFailure(name, FaultText(file.inspection));
  return file;
}

TemplateFile LoadTemplateFile(const std::string& name, Intake intake) {
  return RequireTemplate(name, ReadStart(name), intake);
}

std::string TakeInStored(const std::string& name, Bytes& bytes, Inspection& inspection,
                         std::string& fault, Intake intake) {
  if (!fault.empty() && MisreadFault(bytes).empty()) return "";
  try {
    std::string converted = TakeIn(name, bytes, intake);
    if (converted.empty()) return "";
    inspection = Inspect(bytes);
    fault = inspection.fault.empty() ? "" : FaultText(inspection);
    return converted;
  } catch (const FileFailure& failure) {
    fault = failure.reason;
    return "";
  }
}

void NoteConverted(const TemplateFile& file, std::vector<LeftOut>& converted) {
  if (!file.converted.empty()) converted.push_back({file.name, file.converted});
}

void RequireSameFormat(const TemplateFile& a, const TemplateFile& b) {
  if (a.inspection.format == b.inspection.format) return;
  throw Failure("templates of different formats cannot be compared: " + a.name + " is " +
                NameOf(a.inspection.format) + ", " + b.name + " is " + NameOf(b.inspection.format));
}
