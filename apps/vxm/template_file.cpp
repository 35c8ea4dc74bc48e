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

TemplateFile LoadTemplateFile(const std::string& name) {
  TemplateFile file{name, ReadFile(name), {}};
  file.inspection = Inspect(file.bytes);
  if (!file.inspection.fault.empty()) {
    throw Failure(name + ": " + FaultText(file.inspection));
  }
  return file;
}

void RequireSameFormat(const TemplateFile& a, const TemplateFile& b) {
  if (a.inspection.format == b.inspection.format) return;
  throw Failure("templates of different formats cannot be compared: " + a.name + " is " +
                NameOf(a.inspection.format) + ", " + b.name + " is " + NameOf(b.inspection.format));
}
