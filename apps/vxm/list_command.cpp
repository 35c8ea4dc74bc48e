// vxm list: what a gallery holds.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "program.h"

namespace {

struct ListOptions {
  std::string gallery;
  bool json = false;
};

int List(const ListOptions& options) {
  const StopCheck stop;
  Json report = Json::array();
  std::vector<LeftOut> damaged;
  VisitGallery(
      options.gallery, stop, [](size_t) {},
      [&](StoredEntry&& entry) {
        if (!entry.fault.empty()) damaged.push_back({entry.id, entry.fault});
        if (options.json) {
          report.push_back({{"id", entry.id},
                            {"format", NameOf(entry.format)},
                            {"size", entry.bytes.size()},
                            {"note", entry.note},
                            {"enrolled", entry.enrolled},
                            {"fault", entry.fault}});
        } else {
          std::printf("%s\t%s\t%zu bytes\t%s\t%s\n", Printable(entry.id).c_str(),
                      NameOf(entry.format), entry.bytes.size(), Printable(entry.note).c_str(),
                      Printable(entry.enrolled).c_str());
        }
      });
  if (options.json) PrintJson(report);
  TellLeftOut(options.gallery, damaged);
  return damaged.empty() ? ExitCode::success : ExitCode::incomplete;
}

}  // namespace

void AddList(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("list", "Show what a gallery file holds");
  command->footer(
      "A line a template, in the order of enrolment: id, format, size, note and time\nof "
      "enrolment, parted "
      "by tabs; control characters are shown as \\n, \\t, \\x1b.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C, 4 some templates are damaged.\n"
      "Example: vxm list people.db");
  auto options = std::make_shared<ListOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = List(*options); });
}
