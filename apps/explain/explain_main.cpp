// vxm-explain: why two templates score what they score.
//
// It is linked to the inside of the library, and what it prints may change with
// that from version to version.
#include <CLI/CLI.hpp>

#include "explanation_output.h"
#include "failure.h"
#include "program.h"
#include "templates/load.h"
#include "usage.h"

namespace {

vxm::TemplateFormat EngineFormat(Format format) {
  switch (format) {
    case Format::iso: return vxm::TemplateFormat::iso;
    case Format::ansi: return vxm::TemplateFormat::ansi;
    default: return vxm::TemplateFormat::native;
  }
}

LoadedFile Load(const std::string& name) {
  LoadedFile loaded{LoadTemplateFile(name), std::make_unique<vxm::MatchWorkspace>()};
  const TemplateFile& file = loaded.file;
  if (LoadTemplate(EngineFormat(file.inspection.format), file.bytes.data(), file.Size(),
                   *loaded.workspace) != vxm::LoadOutcome::loaded) {
    throw Failure(name + ": refused by the library");
  }
  return loaded;
}

void ExplainOne(const LoadedFile& only, bool json) {
  if (json) {
    PrintJson(TemplateJson(only));
  } else {
    PrintTemplate(only);
  }
}

void ExplainTwo(const LoadedFile& probe, const LoadedFile& reference, bool json) {
  RequireSameFormat(probe.file, reference.file);
  const bool native = probe.file.inspection.format == Format::native;
  const Explanation told = Explain(*probe.workspace, *reference.workspace,
                                   native ? vxm::Scale::native : vxm::Scale::standard);
  if (json) {
    Json all = {{"probe", TemplateJson(probe)}, {"reference", TemplateJson(reference)}};
    all.update(ExplanationJson(told));
    PrintJson(all);
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
  std::string probe;
  std::string reference;
  bool json = false;
  program.add_option("PROBE", probe, "Template file")->required();
  program.add_option("REFERENCE", reference, "Template file to compare it with");
  program.add_flag("--json", json, "Print JSON");
  program.callback([&] {
    if (reference.empty()) {
      ExplainOne(Load(probe), json);
    } else {
      ExplainTwo(Load(probe), Load(reference), json);
    }
  });
  return ParseAndRun(program, argc, argv, ExitCode::success);
}

}  // namespace

int main(int argc, char** argv) {
  return RunProgram("vxm-explain", [&] { return Run(argc, argv); });
}
