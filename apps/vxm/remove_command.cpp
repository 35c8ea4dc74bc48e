// vxm remove: templates out of a gallery, all of them or none.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "program.h"

namespace {

struct RemoveOptions {
  std::string gallery;
  std::vector<std::string> ids;
  bool json = false;
};

int Remove(const RemoveOptions& options) {
  const Removal done = RemoveFromGallery(options.gallery, options.ids, StopCheck());
  TellLeftOut(options.gallery, done.unknown);
  const bool changed = done.unknown.empty();
  if (options.json) {
    PrintJson({{"gallery", options.gallery},
               {"removed", changed ? done.removed : 0},
               {"notRemoved", LeftOutJson(done.unknown)}});
  } else if (changed) {
    std::printf("%s: %zu removed\n", Printable(options.gallery).c_str(), done.removed);
  }
  if (!changed) Say(options.gallery + ": left as it was");
  return changed ? ExitCode::success : ExitCode::error;
}

}  // namespace

void AddRemove(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("remove", "Remove templates from a gallery file");
  command->footer(
      "Removes the templates of an id in every format. After any error GALLERY is as it was.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.\n"
      "Example: vxm remove people.db 042_1");
  auto options = std::make_shared<RemoveOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_option("ID", options->ids, "What to remove")->required();
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Remove(*options); });
}
