// vxm remove: templates out of a gallery, all of them or none.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"

namespace {

struct RemoveOptions {
  std::string gallery;
  std::vector<std::string> ids;
};

int Remove(const RemoveOptions& options) {
  const size_t removed = RemoveFromGallery(options.gallery, options.ids);
  std::printf("%s: %zu removed\n", options.gallery.c_str(), removed);
  return ExitCode::success;
}

}  // namespace

void AddRemove(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("remove", "Remove templates from a gallery file");
  command->footer(
      "Removes the templates of an id in every format. After any error GALLERY is as it was.\n"
      "Exit codes: 0 done, 2 error.");
  auto options = std::make_shared<RemoveOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_option("ID", options->ids, "What to remove")->required();
  command->callback([options, &exitCode] { exitCode = Remove(*options); });
}
