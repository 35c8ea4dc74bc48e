// vxm enroll: templates into a gallery, all of them or none.
#include <cstdio>
#include <memory>
#include <optional>
#include <set>

#include "commands.h"
#include "failure.h"
#include "gallery_file.h"
#include "json_output.h"
#include "program.h"
#include "progress.h"
#include "usage.h"

namespace {

struct EnrollOptions {
  std::string gallery;
  std::vector<std::string> files;
  std::optional<std::string> id;
  std::string note;
  bool replace = false;
  bool skip = false;
  bool unmatchable = false;
  bool json = false;
  bool noConvert = false;
};

struct Batch {
  std::vector<GalleryEntry> entries;
  std::vector<LeftOut> refused;
  std::vector<LeftOut> unmatchable;  // and yet among the entries
  std::vector<LeftOut> converted;    // and how
};

class BatchLoader {
 public:
  explicit BatchLoader(const EnrollOptions& options) : options_(options) {}

  // Refuses what is no template, what can never match, and a second one of an id.
  void Load(const std::string& name) {
    try {
      TemplateFile file =
          LoadTemplateFile(name, options_.noConvert ? Intake::refuse : Intake::convert);
      const Format format = file.inspection.format;
      const std::string id = options_.id ? *options_.id : IdOf(name);
      const std::string reason = Unmatchable(file.inspection);
      if (!reason.empty() && !options_.unmatchable) throw FileFailure(name, reason);
      if (!taken_.emplace(format, id).second) {
        throw FileFailure(name,
                          "is a second template of the id " + id + " (" + NameOf(format) + ")");
      }
      NoteConverted(file, batch.converted);
      if (!reason.empty()) batch.unmatchable.push_back({name, reason});
      batch.entries.push_back({id, format, std::move(file.bytes), options_.note, ""});
    } catch (const FileFailure& failure) {
      batch.refused.push_back({failure.name, failure.reason});
    }
  }

  Batch batch;

 private:
  static std::string IdOf(const std::string& name) {
    if (name == streamName) throw FileFailure(name, "standard input needs --id");
    return StemOf(name);
  }

  const EnrollOptions& options_;
  std::set<std::pair<Format, std::string>> taken_;
};

Batch LoadBatch(const EnrollOptions& options, const StopCheck& stop) {
  if (options.id && options.id->empty()) throw Failure("--id: an id cannot be empty");
  BatchLoader loader(options);
  const std::vector<std::string> files = ListFiles(options.files, stop, loader.batch.refused);
  if (options.id && files.size() != 1) {
    throw Failure("--id names one template, and there are " + std::to_string(files.size()));
  }
  Progress progress("loading", files.size());
  for (const std::string& name : files) {
    stop.Here();
    loader.Load(name);
    progress.Step();
  }
  stop.Here();
  if (files.empty() && loader.batch.refused.empty()) throw Failure("there is nothing to enroll");
  return std::move(loader.batch);
}

KnownId RuleOf(const EnrollOptions& options) {
  if (options.replace) return KnownId::replace;
  return options.skip ? KnownId::skip : KnownId::refuse;
}

void Report(const EnrollOptions& options, const Batch& batch, const Enrolment& done) {
  if (options.json) {
    PrintJson({{"gallery", options.gallery},
               {"enrolled", done.added},
               {"replaced", done.replaced},
               {"skipped", options.skip ? LeftOutJson(done.known) : Json::array()},
               {"converted", LeftOutJson(batch.converted)},
               {"refused", LeftOutJson(batch.refused)},
               {"unmatchable", LeftOutJson(batch.unmatchable)},
               {"total", done.total}});
    return;
  }
  std::printf("%s: %zu enrolled, ", Printable(options.gallery).c_str(), done.added);
  if (options.replace) std::printf("%zu replaced, ", done.replaced);
  if (options.skip) std::printf("%zu skipped, ", done.known.size());
  std::printf("%zu in all\n", done.total);
}

int Enroll(const EnrollOptions& options) {
  const StopCheck stop;
  Batch batch = LoadBatch(options, stop);
  Enrolment done;
  if (batch.refused.empty()) {
    done = AddToGallery(options.gallery, batch.entries, RuleOf(options), stop);
    if (RuleOf(options) == KnownId::refuse) batch.refused = done.known;
  }
  const bool changed = batch.refused.empty();
  TellLeftOut("converted", batch.converted);
  TellLeftOut("warning", batch.unmatchable);
  TellLeftOut("refused", batch.refused);
  TellLeftOut("skipped", options.skip ? done.known : std::vector<LeftOut>());
  if (!changed) {
    done = Enrolment();
    Say(options.gallery + ": left as it was");
  }
  if (changed || options.json) Report(options, batch, done);
  return changed ? ExitCode::success : ExitCode::error;
}

}  // namespace

void AddEnroll(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("enroll", "Keep templates in a gallery file");
  command->footer(
      "GALLERY is made if it is missing, for its owner alone to read. Of each id it takes one\n"
      "template a format. Either all files are enrolled or, after any error, none.\n"
      "Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.\n"
      "Example: vxm enroll people.db fingers/*_1.vxt --note 'desk 4'");
  auto options = std::make_shared<EnrollOptions>();
  command->add_option("GALLERY", options->gallery, "Gallery file")->required();
  command->add_option("FILE", options->files, "Template files, or folders of them")->required();
  command->add_option("--id", options->id, "Id of the one template (default: the file's stem)");
  command->add_option("--note", options->note, "Kept with each template");
  auto* replace = command->add_flag("--replace", options->replace,
                                    "Put templates in the place of those of their ids");
  command->add_flag("--skip", options->skip, "Pass over ids that are enrolled already")
      ->excludes(replace);
  command->add_flag("--unmatchable", options->unmatchable,
                    "Take also what can never match: too few minutiae");
  AddNoConvert(*command, options->noConvert);
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Enroll(*options); });
}
