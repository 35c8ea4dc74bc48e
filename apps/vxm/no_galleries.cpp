// A build without SQLite: no subcommands of galleries, and no search in one.
#include "commands.h"
#include "failure.h"
#include "gallery_file.h"

void AddGalleryCommands(CLI::App&, int&) {}

std::vector<GalleryEntry> ReadGallery(const std::string& name) {
  throw Failure(name + ": this build of vxm has no galleries");
}
