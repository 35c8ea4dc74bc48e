// vxm-explain: why two templates score what they score.
//
// It is linked to the inside of the library, and what it prints may change with
// that from version to version.
#include <CLI/CLI.hpp>

#include "explanation_output.h"
#include "failure.h"
#include "program.h"
#include "usage.h"

namespace {

void ExplainOne(const LoadedFile& only, bool json) {
  if (json) {
    PrintJson(TemplateJson(only));
  } else {
    PrintTemplate(only);
  }
}

void ExplainTwo(const LoadedFile& probe, const LoadedFile& reference, bool json) {
  const Explanation told = ExplainFiles(probe, reference);
  if (json) {
    PrintJson(ComparisonJson(probe, reference, told));
  } else {
    PrintTemplate(probe);
    PrintTemplate(reference);
    PrintExplanation(told);
  }
}

int Run(int argc, char** argv) {
  CLI::App program("Tells every stage of the comparison of two templates.", "vxm-explain");
  program.footer(
      "Minutiae are numbered from 0 in the order in which the engine holds them; with one file\n"
      "the program tells that template alone. Exit codes: 0 done, 2 error.");
  program.set_version_flag("--version", "vxm-explain " VXM_VERSION_TEXT);
  std::string probe;
  std::string reference;
  bool json = false;
  program.add_option("PROBE", probe, "Template file")->required();
  program.add_option("REFERENCE", reference, "Template file to compare it with");
  program.add_flag("--json", json, "Print JSON");
  program.callback([&] {
    if (reference.empty()) {
      ExplainOne(LoadForEngine(LoadTemplateFile(probe, Intake::refuse)), json);
    } else {
      ExplainTwo(LoadForEngine(LoadTemplateFile(probe, Intake::refuse)),
                 LoadForEngine(LoadTemplateFile(reference, Intake::refuse)), json);
    }
  });
  return ParseAndRun(program, argc, argv, ExitCode::success);
}

}  // namespace

int main(int argc, char** argv) {
  return RunProgram("vxm-explain", [&] { return Run(argc, argv); });
}
