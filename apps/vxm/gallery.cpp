// Gathers the candidates of a search.
#include "gallery.h"

#include <optional>

#include "failure.h"
#include "gallery_file.h"
#include "interrupt.h"
#include "progress.h"

namespace {

Gallery LoadFiles(const std::vector<std::string>& files, const TemplateFile& probe) {
  Gallery gallery;
  Progress progress("loading", files.size());
  for (const std::string& name : files) {
    if (Interrupted()) break;
    std::optional<TemplateFile> file;
    try {
      file = LoadTemplateFile(name);
    } catch (const Failure& failure) {
      if (gallery.skipped++ == 0) gallery.firstSkip = failure.what();
    }
    if (file) {
      RequireSameFormat(probe, *file);
      gallery.candidates.push_back({std::move(file->name), std::move(file->bytes)});
    }
    progress.Step();
  }
  return gallery;
}

// The entries of the probe's format; a gallery may hold others beside them.
Gallery LoadEntries(const std::string& name, const TemplateFile& probe) {
  Gallery gallery;
  std::vector<GalleryEntry> entries = ReadGallery(name);
  for (GalleryEntry& entry : entries) {
    if (entry.format != probe.inspection.format) continue;
    gallery.candidates.push_back({std::move(entry.id), std::move(entry.bytes)});
  }
  if (gallery.candidates.empty() && !entries.empty()) {
    throw Failure(name + ": holds no templates of " + probe.name +
                  "'s format: " + NameOf(probe.inspection.format));
  }
  return gallery;
}

}  // namespace

Gallery LoadGallery(const std::vector<std::string>& names, const TemplateFile& probe) {
  if (names.size() == 1 && IsGallery(names[0])) return LoadEntries(names[0], probe);
  return LoadFiles(ListFiles(names), probe);
}
