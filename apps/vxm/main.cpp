// vxm: fingerprint template matching on the command line.
#include "commands.h"
#include "failure.h"
#include "matcher_owner.h"
#include "program.h"
#include "usage.h"

namespace {

std::string VersionText() {
  const MatcherOwner matcher;
  char text[VXM_PARAMETER_TEXT_SIZE];
  Require(VXM_GetParameter(matcher.Handle(), VXM_PARAM_VERSION, text), "reading the version");
  return text;
}

int Run(int argc, char** argv) {
  CLI::App program("Compares, searches, converts, turns and makes fingerprint templates.", "vxm");
  program.require_subcommand(1);
  program.set_version_flag("--version", VersionText);
  int exitCode = ExitCode::success;
  AddVerify(program, exitCode);
  AddInfo(program, exitCode);
  AddIdentify(program, exitCode);
  AddGalleryCommands(program, exitCode);
  AddConvert(program, exitCode);
  AddRotate(program, exitCode);
  AddSynth(program, exitCode);
  AddCompletion(program, exitCode);
  return ParseAndRun(program, argc, argv, exitCode);
}

}  // namespace

int main(int argc, char** argv) {
  return RunProgram("vxm", [&] { return Run(argc, argv); });
}
