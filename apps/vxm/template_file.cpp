// Reads a template file and refuses what the library would refuse.
#include "template_file.h"

#include "failure.h"

std::string FaultText(const Inspection& inspection) {
  if (inspection.format == Format::native) {
    return "not a template (no standard record, and as a native template invalid: " +
           inspection.fault + ")";
  }
  return std::string("damaged ") + NameOf(inspection.format) + " record: " + inspection.fault;
}

TemplateFile LoadTemplateFile(const Path& path) {
  TemplateFile file{path, ReadFile(path), {}};
  file.inspection = Inspect(file.bytes);
  if (!file.inspection.fault.empty()) {
    throw Failure(path.string() + ": " + FaultText(file.inspection));
  }
  return file;
}

void RequireSameFormat(const TemplateFile& a, const TemplateFile& b) {
  if (a.inspection.format == b.inspection.format) return;
  throw Failure("templates of different formats cannot be compared: " + a.path.string() + " is " +
                NameOf(a.inspection.format) + ", " + b.path.string() + " is " +
                NameOf(b.inspection.format));
}
