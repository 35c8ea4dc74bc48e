// vxm export: templates of a gallery as files.
#include <cctype>
#include <cstdio>
#include <memory>
#include <set>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "program.h"
#include "progress.h"

namespace {

struct ExportOptions {
  std::string gallery;
  std::string folder;
  std::vector<std::string> ids;
  bool force = false;
  bool json = false;
};

// An id as the stem of a file that every system takes and that stays in its folder:
// what could do harm is written as %XX.
std::string SafeStem(const std::string& id) {
  std::string stem;
  for (size_t i = 0; i < id.size(); ++i) {
    const auto byte = static_cast<unsigned char>(id[i]);
    const bool edge = i == 0 || i + 1 == id.size();
    const bool harmful = byte < 0x20 || byte == 0x7F ||
                         std::string("%/\\:*?\"<>|").find(id[i]) != std::string::npos ||
                         (edge && (byte == '.' || byte == ' '));
    char text[4] = {id[i], 0, 0, 0};
    if (harmful) std::snprintf(text, sizeof(text), "%%%02X", byte);
    stem += text;
  }
  return stem;
}

const char* SuffixOf(Format format) {
  switch (format) {
    case Format::iso: return ".iso";
    case Format::ansi: return ".ansi";
    default: return ".vxt";
  }
}

// A template, or a record that one can be converted into.
bool IsWhole(const StoredEntry& entry) {
  if (entry.fault.empty()) return true;
  return VXR_TellForm(entry.bytes.data(), entry.bytes.size()) != VXR_UNKNOWN &&
         entry.fault == MisreadFault(entry.bytes);
}

class Exporter {
 public:
  explicit Exporter(const ExportOptions& options)
      : options_(options), unseen_(options.ids.begin(), options.ids.end()), wanted_(unseen_) {}

  void Take(const StoredEntry& entry) {
    if (!wanted_.empty() && wanted_.count(entry.id) == 0) return;
    unseen_.erase(entry.id);
    if (!IsWhole(entry)) {
      leftOut.push_back({entry.id + " (" + NameOf(entry.format) + ")", entry.fault});
      return;
    }
    const std::string name = InFolder(options_.folder, SafeStem(entry.id) + SuffixOf(entry.format));
    std::error_code fault;
    if (!options_.force && KindOf(name, fault) != FileKind::missing) {
      leftOut.push_back({name, "is there already (--force writes over it)"});
      return;
    }
    ReplaceFile(name, entry.bytes, Readers::ownerOnly);
    ++exported;
  }

  void RequireAllSeen() {
    for (const std::string& id : unseen_) leftOut.push_back({id, "is not enrolled"});
  }

  size_t exported = 0;
  std::vector<LeftOut> leftOut;

 private:
  const ExportOptions& options_;
  std::set<std::string> unseen_;
  const std::set<std::string> wanted_;
};

int Export(const ExportOptions& options) {
  const StopCheck stop;
  Exporter exporter(options);
  std::unique_ptr<Progress> progress;
  StopReason stopped = StopReason::none;
  try {
    VisitGallery(
        options.gallery, stop,
        [&](size_t count) {
          MakeFolder(options.folder);
          progress = std::make_unique<Progress>("exporting", count);
        },
        [&](StoredEntry&& entry) {
          exporter.Take(entry);
          progress->Step();
        });
    exporter.RequireAllSeen();
  } catch (const Stopped& reason) {
    stopped = reason.reason;
  }
  progress.reset();
  TellLeftOut("not exported", exporter.leftOut);
  if (options.json) {
    PrintJson({{"folder", options.folder},
               {"exported", exporter.exported},
               {"stopped", stopped != StopReason::none},
               {"notExported", LeftOutJson(exporter.leftOut)}});
  } else {
    std::printf("%s: %zu exported%s\n", Printable(options.folder).c_str(), exporter.exported,
                stopped == StopReason::none ? "" : ", then stopped");
  }
  if (stopped != StopReason::none) return ExitCode::stopped;
  return exporter.leftOut.empty() ? ExitCode::success : ExitCode::incomplete;
}

}  // namespace

void AddExport(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("export", "Write templates of a gallery file to files");
  command->footer(
      "Writes ID with .vxt (native), .iso or .ansi into OUTDIR, which is made if missing, for the\n"
      "owner alone to read. What a file's name cannot hold stands in it as %XX.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C, 4 some were not exported, and are named.\n"
      "Example: vxm export people.db out 042_1");
  auto options = std::make_shared<ExportOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_option("OUTDIR", options->folder, "Folder to write to")->required();
  command->add_option("ID", options->ids, "What to export (default: all)");
  command->add_flag("--force", options->force, "Write over files that are there");
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Export(*options); });
}
