// vxm: fingerprint template matching on the command line.
#include <cstdio>

#include "commands.h"
#include "failure.h"
#include "matcher_owner.h"
#include "terminal.h"

namespace {

std::string VersionText() {
  const MatcherOwner matcher;
  char text[VXM_PARAMETER_TEXT_SIZE];
  Require(VXM_GetParameter(matcher.Handle(), VXM_PARAM_VERSION, text), "reading the version");
  return text;
}

int Run(int argc, char** argv) {
  CLI::App program("Compares, searches, turns and makes fingerprint templates.", "vxm");
  program.require_subcommand(1);
  program.allow_windows_style_options(false);  // the same arguments everywhere
  program.set_version_flag("--version", VersionText);
  int exitCode = ExitCode::success;
  AddVerify(program, exitCode);
  AddInfo(program, exitCode);
  AddIdentify(program, exitCode);
  AddGalleryCommands(program, exitCode);
  AddRotate(program, exitCode);
  AddSynth(program, exitCode);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? ExitCode::success : ExitCode::error;
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  SpeakUtf8();
  try {
    return Run(argc, argv);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "vxm: %s\n", fault.what());
    return ExitCode::error;
  }
}
