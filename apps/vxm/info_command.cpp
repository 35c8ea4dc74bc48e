// vxm info: what template files hold, and why a bad one is bad.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_output.h"
#include "template_file.h"

namespace {

struct InfoOptions {
  std::vector<std::string> files;
  bool json = false;
};

// Fewer can be stored but never match.
constexpr int fewestUseful = 4;

Json Describe(const TemplateFile& file) {
  const Inspection& found = file.inspection;
  const bool native = found.format == Format::native;
  Json entry = {{"file", file.name},
                {"valid", true},
                {"format", NameOf(found.format)},
                {"size", file.bytes.size()},
                {"minutiae", found.minutiae},
                {native ? "gridWidth" : "imageWidth", found.width},
                {native ? "gridHeight" : "imageHeight", found.height},
                {"attribute", found.attribute},
                {"matchable", found.minutiae >= fewestUseful}};
  if (native) entry["form"] = found.form;
  return entry;
}

void PrintLine(const TemplateFile& file) {
  const Inspection& found = file.inspection;
  const bool native = found.format == Format::native;
  std::printf("%s: %s, %d bytes, %d minutiae, %s %d x %d %s, attribute %d", file.name.c_str(),
              NameOf(found.format), file.Size(), found.minutiae, native ? "grid" : "image",
              found.width, found.height, native ? "blocks" : "pixels", found.attribute);
  if (native) std::printf(", %s", found.form.c_str());
  if (found.minutiae < fewestUseful) std::printf(", too few minutiae to match anything");
  std::printf("\n");
}

int Info(const InfoOptions& options) {
  Json entries = Json::array();
  int exitCode = ExitCode::success;
  for (const std::string& name : options.files) {
    try {
      const TemplateFile file = LoadTemplateFile(name);
      if (options.json) {
        entries.push_back(Describe(file));
      } else {
        PrintLine(file);
      }
    } catch (const Failure& failure) {
      exitCode = ExitCode::error;
      std::fprintf(stderr, "vxm: %s\n", failure.what());
      entries.push_back({{"file", name}, {"valid", false}, {"fault", failure.what()}});
    }
  }
  if (options.json) PrintJson(entries);
  return exitCode;
}

}  // namespace

void AddInfo(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("info", "Show what template files hold");
  command->footer("Exit codes: 0 all files are valid templates, 2 some are not.");
  auto options = std::make_shared<InfoOptions>();
  command->add_option("FILE", options->files, "Template files")->required();
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Info(*options); });
}
