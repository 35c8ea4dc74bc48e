// A build without SQLite: no subcommands of galleries, and no search in one.
#include "commands.h"
#include "failure.h"
#include "gallery_file.h"

void AddGalleryCommands(CLI::App&, int&) {}

void VisitGallery(const std::string& name, const StopCheck&, const std::function<void(size_t)>&,
                  const std::function<void(StoredEntry&&)>&) {
  throw Failure(name + ": this build of vxm has no galleries");
}

std::vector<StoredEntry> EntriesOfId(const std::string& name, const std::string&,
                                     const StopCheck&) {
  throw Failure(name + ": this build of vxm has no galleries");
}
