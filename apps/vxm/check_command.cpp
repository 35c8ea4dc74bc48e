// vxm check: all that is wrong with a gallery and its templates.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "program.h"
#include "progress.h"

namespace {

struct CheckOptions {
  std::string gallery;
  bool json = false;
};

struct Findings {
  size_t templates = 0;  // that were looked at
  std::vector<LeftOut> faults;
};

void CheckTemplates(const std::string& name, const StopCheck& stop, Findings& found) {
  std::unique_ptr<Progress> progress;
  VisitGallery(
      name, stop, [&](size_t count) { progress = std::make_unique<Progress>("checking", count); },
      [&](StoredEntry&& entry) {
        ++found.templates;
        progress->Step();
        const std::string fault = entry.fault.empty() ? Unmatchable(entry.inspection) : entry.fault;
        if (!fault.empty()) {
          found.faults.push_back({entry.id + " (" + NameOf(entry.format) + ")", fault});
        }
      });
}

int Check(const CheckOptions& options) {
  const StopCheck stop;
  Findings found;
  for (const std::string& fault : FileFaults(options.gallery, stop)) {
    found.faults.push_back({options.gallery, fault});
  }
  try {
    CheckTemplates(options.gallery, stop, found);
  } catch (const Failure& failure) {
    const std::string text = failure.what();  // begins with the gallery's name
    found.faults.push_back({options.gallery, text.substr(options.gallery.size() + 2)});
  }
  if (options.json) {
    PrintJson({{"gallery", options.gallery},
               {"templates", found.templates},
               {"faults", LeftOutJson(found.faults)}});
  } else {
    for (const LeftOut& fault : found.faults) {
      std::printf("%s: %s\n", Printable(fault.name).c_str(), Printable(fault.reason).c_str());
    }
    std::printf("%s: %zu templates, %zu faults\n", Printable(options.gallery).c_str(),
                found.templates, found.faults.size());
  }
  return found.faults.empty() ? ExitCode::success : ExitCode::error;
}

}  // namespace

void AddCheck(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("check", "Tell all that is wrong with a gallery file");
  command->footer(
      "Looks at the file's structure, at every template, and whether it can match anything.\n"
      "Exit codes: 0 nothing is wrong, 2 something is, 3 stopped by Ctrl-C.\n"
      "Example: vxm check people.db");
  auto options = std::make_shared<CheckOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Check(*options); });
}
