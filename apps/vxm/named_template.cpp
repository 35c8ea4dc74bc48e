// Finds out whether a name leads to a file or into a gallery.
#include "named_template.h"

#include "failure.h"
#include "gallery_file.h"
#include "gallery_mark.h"

namespace {

std::vector<TemplateFile> LoadEnrolled(const std::string& gallery, const std::string& id,
                                       const StopCheck& stop, Intake intake) {
  const std::string name = gallery + ":" + id;
  std::vector<TemplateFile> templates;
  for (StoredEntry& entry : EntriesOfId(gallery, id, stop)) {
    std::string converted = TakeInStored(name, entry.bytes, entry.inspection, entry.fault, intake);
    if (!entry.fault.empty()) throw FileFailure(name, entry.fault);
    templates.push_back({name, std::move(entry.bytes), std::move(entry.inspection), converted});
  }
  return templates;
}

}  // namespace

bool IsGallery(const std::string& name) {
  std::error_code fault;
  return KindOf(name, fault) == FileKind::file && LooksLikeGallery(ReadStart(name));
}

std::vector<TemplateFile> LoadNamed(const std::string& name, const StopCheck& stop, Intake intake) {
  std::error_code fault;
  if (KindOf(name, fault) == FileKind::missing) {
    // The gallery's name, too, may hold colons.
    for (size_t colon = name.find(':'); colon != std::string::npos;
         colon = name.find(':', colon + 1)) {
      const std::string gallery = name.substr(0, colon);
      if (IsGallery(gallery)) {
        return LoadEnrolled(gallery, name.substr(colon + 1), stop, intake);
      }
    }
  }
  if (IsGallery(name)) {
    throw FileFailure(name,
                      "is a gallery, and one template is wanted: " + name + ":ID is one of its");
  }
  return {LoadTemplateFile(name, intake)};
}

TemplateFile LoadOne(const std::string& name, const StopCheck& stop, Intake intake) {
  std::vector<TemplateFile> templates = LoadNamed(name, stop, intake);
  if (templates.size() == 1) return std::move(templates[0]);
  throw Failure(name + ": is enrolled in " + std::to_string(templates.size()) +
                " formats, and one template is wanted");
}

TemplatePair LoadPair(const std::string& first, const std::string& second, const StopCheck& stop,
                      Intake intake) {
  std::vector<TemplateFile> left = LoadNamed(first, stop, intake);
  std::vector<TemplateFile> right = LoadNamed(second, stop, intake);
  for (TemplateFile& a : left) {
    for (TemplateFile& b : right) {
      if (a.inspection.format == b.inspection.format) return {std::move(a), std::move(b)};
    }
  }
  RequireSameFormat(left[0], right[0]);
  throw Failure("no two templates of one format");
}
