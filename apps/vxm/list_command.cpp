// vxm list: what a gallery holds.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"

namespace {

struct ListOptions {
  std::string gallery;
  bool json = false;
};

int List(const ListOptions& options) {
  Json report = Json::array();
  for (const GalleryEntry& entry : ReadGallery(options.gallery)) {
    if (options.json) {
      report.push_back({{"id", entry.id},
                        {"format", NameOf(entry.format)},
                        {"size", entry.bytes.size()},
                        {"note", entry.note}});
    } else {
      std::printf("%s\t%s\t%zu bytes\t%s\n", entry.id.c_str(), NameOf(entry.format),
                  entry.bytes.size(), entry.note.c_str());
    }
  }
  if (options.json) PrintJson(report);
  return ExitCode::success;
}

}  // namespace

void AddList(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("list", "Show what a gallery file holds");
  command->footer(
      "A line a template, in the order of enrolment: id, format, size and note, parted by tabs.\n"
      "Exit codes: 0 done, 2 error.");
  auto options = std::make_shared<ListOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = List(*options); });
}
