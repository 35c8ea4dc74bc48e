// The subcommands of galleries, in a build that has them.
#include "commands.h"

void AddGalleryCommands(CLI::App& program, int& exitCode) {
  AddEnroll(program, exitCode);
  AddList(program, exitCode);
  AddRemove(program, exitCode);
  AddExport(program, exitCode);
  AddCheck(program, exitCode);
}
