// vxm enroll: templates into a gallery, all of them or none.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "interrupt.h"
#include "progress.h"
#include "template_file.h"

namespace {

struct EnrollOptions {
  std::string gallery;
  std::vector<std::string> files;
  std::string id;
  std::string note;
};

std::string StemOf(const std::string& name) {
  return std::filesystem::u8path(name).stem().u8string();
}

Failure SecondOne(const std::string& name, const std::string& id, Format format) {
  return Failure(name + ": a second template of the id " + id + " (" + NameOf(format) + ")");
}

std::vector<GalleryEntry> LoadEntries(const EnrollOptions& options,
                                      const std::vector<std::string>& files) {
  std::vector<GalleryEntry> entries;
  std::set<std::pair<Format, std::string>> taken;
  size_t refused = 0;
  Progress progress("loading", files.size());
  for (const std::string& name : files) {
    if (Interrupted()) break;
    try {
      TemplateFile file = LoadTemplateFile(name);
      const Format format = file.inspection.format;
      const std::string id = options.id.empty() ? StemOf(name) : options.id;
      if (!taken.emplace(format, id).second) {
        throw SecondOne(name, id, format);
      }
      entries.push_back({id, format, std::move(file.bytes), options.note});
    } catch (const Failure& failure) {
      ++refused;
      std::fprintf(stderr, "vxm: %s\n", failure.what());
    }
    progress.Step();
  }
  if (refused > 0) {
    throw Failure(options.gallery + ": left as it was, because " + std::to_string(refused) +
                  " of the files cannot be enrolled");
  }
  return entries;
}

int Enroll(const EnrollOptions& options) {
  CatchInterrupt();
  const std::vector<std::string> files = ListFiles(options.files);
  if (!options.id.empty() && files.size() != 1) {
    throw Failure("--id names one template, and there are " + std::to_string(files.size()));
  }
  const std::vector<GalleryEntry> entries = LoadEntries(options, files);
  if (Interrupted()) {
    std::printf("stopped: %s is left as it was\n", options.gallery.c_str());
    return ExitCode::stopped;
  }
  const size_t total = AddToGallery(options.gallery, entries);
  std::printf("%s: %zu enrolled, %zu in all\n", options.gallery.c_str(), entries.size(), total);
  return ExitCode::success;
}

}  // namespace

void AddEnroll(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("enroll", "Keep templates in a gallery file");
  command->footer(
      "GALLERY is made if it is missing. Of each id it takes one template a format. Either all "
      "files are\nenrolled or, after any error, none.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.");
  auto options = std::make_shared<EnrollOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_option("FILE", options->files, "Template files, or folders of them")->required();
  command->add_option("--id", options->id, "Id of the one template (default: the file's stem)");
  command->add_option("--note", options->note, "Kept with each template");
  command->callback([options, &exitCode] { exitCode = Enroll(*options); });
}
