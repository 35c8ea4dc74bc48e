// vxm identify: which template of a gallery comes from the probe's finger?
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "interrupt.h"
#include "json_output.h"
#include "matcher_owner.h"
#include "progress.h"
#include "template_file.h"

namespace {

struct IdentifyOptions {
  std::string probe;
  std::vector<std::string> gallery;
  int level = 4;
  unsigned timeout = 0;
  int threads = 1;
  bool retryTurned = false;
  bool normalMode = false;
  bool json = false;
};

struct Gallery {
  std::vector<TemplateFile> templates;
  size_t skipped = 0;  // files that are no templates
  std::string firstSkip;
};

struct Outcome {
  int status = VXM_OK;
  int index = -1;
  double seconds = 0;
};

Gallery LoadGallery(const std::vector<std::string>& files, const TemplateFile& probe) {
  Gallery gallery;
  Progress progress("loading", files.size());
  for (const std::string& name : files) {
    if (Interrupted()) break;
    std::optional<TemplateFile> file;
    try {
      file = LoadTemplateFile(name);
    } catch (const Failure& failure) {
      if (gallery.skipped++ == 0) gallery.firstSkip = failure.what();
    }
    if (file) {
      RequireSameFormat(probe, *file);
      gallery.templates.push_back(std::move(*file));
    }
    progress.Step();
  }
  return gallery;
}

Outcome Search(const IdentifyOptions& options, const TemplateFile& probe, const Gallery& gallery) {
  const MatcherOwner matcher;
  matcher.SetType(TypeOf(probe.inspection.format));
  matcher.Set(VXM_PARAM_SECURITY_LEVEL, options.level);
  matcher.Set(VXM_PARAM_RETRY_TURNED, options.retryTurned);
  matcher.Set(VXM_PARAM_FAST_MODE, !options.normalMode);

  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
  for (const TemplateFile& file : gallery.templates) {
    templates.push_back(file.bytes.data());
    sizes.push_back(file.Size());
  }
  const auto search = options.threads == 2 ? VXM_IdentifyMT : VXM_Identify;
  const AbortOnInterrupt abortOnInterrupt(matcher.Handle());
  const auto start = std::chrono::steady_clock::now();
  Outcome outcome;
  outcome.status =
      search(matcher.Handle(), probe.bytes.data(), probe.Size(), templates.data(), sizes.data(),
             static_cast<int>(templates.size()), options.timeout, &outcome.index);
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return outcome;
}

// Only a search that found nothing has compared every candidate.
std::optional<double> Rate(const Outcome& outcome, const Gallery& gallery) {
  if (outcome.status != VXM_OK || outcome.index >= 0 || outcome.seconds <= 0) return std::nullopt;
  return static_cast<double>(gallery.templates.size()) / outcome.seconds;
}

const char* ResultText(const Outcome& outcome) {
  switch (outcome.status) {
    case VXM_ERR_MATCH_ABORTED: return "aborted";
    case VXM_ERR_MATCH_TIMEOUT: return "timeout";
    default: return outcome.index >= 0 ? "match" : "no match";
  }
}

void ReportJson(const Outcome& outcome, const Gallery& gallery) {
  Json report = {{"result", ResultText(outcome)}, {"file", nullptr}, {"index", outcome.index}};
  if (outcome.index >= 0) {
    report["file"] = gallery.templates[static_cast<size_t>(outcome.index)].name;
  }
  report["candidates"] = gallery.templates.size();
  report["skipped"] = gallery.skipped;
  report["seconds"] = outcome.seconds;
  const std::optional<double> rate = Rate(outcome, gallery);
  report["candidatesPerSecond"] = rate ? Json(*rate) : Json(nullptr);
  PrintJson(report);
}

void ReportText(const Outcome& outcome, const Gallery& gallery) {
  if (outcome.index >= 0) {
    const TemplateFile& match = gallery.templates[static_cast<size_t>(outcome.index)];
    std::printf("match: %s, index %d of %zu candidates", match.name.c_str(), outcome.index,
                gallery.templates.size());
  } else {
    std::printf("%s: %zu candidates", ResultText(outcome), gallery.templates.size());
  }
  std::printf(", %.3f s", outcome.seconds);
  if (const auto rate = Rate(outcome, gallery)) std::printf(", %.0f candidates/s", *rate);
  std::printf("\n");
}

int Identify(const IdentifyOptions& options) {
  CatchInterrupt();
  const TemplateFile probe = LoadTemplateFile(options.probe);
  const Gallery gallery = LoadGallery(ListFiles(options.gallery), probe);
  if (gallery.skipped > 0) {
    std::fprintf(stderr, "vxm: warning: skipped %zu files that are no templates, the first: %s\n",
                 gallery.skipped, gallery.firstSkip.c_str());
  }
  Outcome outcome;
  if (Interrupted()) {
    outcome.status = VXM_ERR_MATCH_ABORTED;
  } else {
    outcome = Search(options, probe, gallery);
  }
  const bool stopped =
      outcome.status == VXM_ERR_MATCH_ABORTED || outcome.status == VXM_ERR_MATCH_TIMEOUT;
  if (!stopped) Require(outcome.status, "identifying " + options.probe);
  if (options.json) {
    ReportJson(outcome, gallery);
  } else {
    ReportText(outcome, gallery);
  }
  if (stopped) return ExitCode::stopped;
  return outcome.index >= 0 ? ExitCode::success : ExitCode::noMatch;
}

}  // namespace

void AddIdentify(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("identify", "Search a gallery for a template's finger");
  command->footer(
      "The first match ends the search; it need not be the best one. Ctrl-C stops a search.\n"
      "Files that are no templates are skipped; a template of another format than PROBE is an "
      "error.\nExit codes: 0 match, 1 no match, 2 error, 3 stopped by Ctrl-C or the time limit.");
  auto options = std::make_shared<IdentifyOptions>();
  command->add_option("PROBE", options->probe, "Template file")->required();
  command->add_option("GALLERY", options->gallery, "Template files, or folders of them")
      ->required();
  command->add_option("--level", options->level, "Security level")
      ->check(CLI::Range(1, 7))
      ->capture_default_str();
  command->add_option("--timeout", options->timeout, "Time limit in ms, 0 for none")
      ->capture_default_str();
  command->add_option("--threads", options->threads, "1 or 2")
      ->check(CLI::Range(1, 2))
      ->capture_default_str();
  command->add_flag("--retry-turned", options->retryTurned,
                    "If there is no match, search again with PROBE turned by 180 degrees");
  command->add_flag("--normal-mode", options->normalMode,
                    "Compare whole templates only (slower, stricter about the first stage)");
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Identify(*options); });
}
