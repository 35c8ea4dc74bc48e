// vxm identify: which template of a gallery comes from the probe's finger?
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "gallery.h"
#include "interrupt.h"
#include "json_output.h"
#include "matcher_owner.h"
#include "progress.h"

namespace {

struct IdentifyOptions {
  std::string probe;
  std::vector<std::string> gallery;
  int level = 4;
  unsigned timeout = 0;
  int threads = 1;
  bool retryTurned = false;
  bool normalMode = false;
  bool all = false;
  bool json = false;
};

struct Match {
  size_t index;  // of the candidate
  double score;  // by verification; a search has none
};

struct Outcome {
  int status = VXM_OK;
  std::vector<Match> matches;  // best first
  double seconds = 0;
};

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// One search, which ends at the first match.
Outcome Search(const IdentifyOptions& options, const MatcherOwner& matcher,
               const TemplateFile& probe, const Gallery& gallery) {
  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
  for (const Candidate& candidate : gallery.candidates) {
    templates.push_back(candidate.bytes.data());
    sizes.push_back(candidate.Size());
  }
  const auto search = options.threads == 2 ? VXM_IdentifyMT : VXM_Identify;
  const AbortOnInterrupt abortOnInterrupt(matcher.Handle());
  const Clock::time_point start = Clock::now();
  int index = -1;
  Outcome outcome;
  outcome.status =
      search(matcher.Handle(), probe.bytes.data(), probe.Size(), templates.data(), sizes.data(),
             static_cast<int>(templates.size()), options.timeout, &index);
  outcome.seconds = SecondsSince(start);
  if (index >= 0) outcome.matches.push_back({static_cast<size_t>(index), 0});
  return outcome;
}

// Verification of every candidate.
Outcome VerifyAll(const IdentifyOptions& options, const MatcherOwner& matcher,
                  const TemplateFile& probe, const Gallery& gallery) {
  Outcome outcome;
  Progress progress("comparing", gallery.candidates.size());
  const Clock::time_point start = Clock::now();
  for (size_t i = 0; i < gallery.candidates.size() && outcome.status == VXM_OK; ++i) {
    const Candidate& candidate = gallery.candidates[i];
    float score = 0;
    int verified = 0;
    Require(VXM_VerifyEx(matcher.Handle(), probe.bytes.data(), probe.Size(), candidate.bytes.data(),
                         candidate.Size(), &score, &verified),
            "comparing with " + candidate.name);
    if (verified) outcome.matches.push_back({i, RoundedScore(score)});
    progress.Step();
    outcome.seconds = SecondsSince(start);
    if (Interrupted()) outcome.status = VXM_ERR_MATCH_ABORTED;
    if (options.timeout != 0 && outcome.seconds * 1000 > options.timeout) {
      outcome.status = VXM_ERR_MATCH_TIMEOUT;
    }
  }
  std::stable_sort(outcome.matches.begin(), outcome.matches.end(),
                   [](const Match& a, const Match& b) { return a.score > b.score; });
  return outcome;
}

Outcome Compare(const IdentifyOptions& options, const TemplateFile& probe, const Gallery& gallery) {
  const MatcherOwner matcher;
  matcher.SetType(TypeOf(probe.inspection.format));
  matcher.Set(VXM_PARAM_SECURITY_LEVEL, options.level);
  matcher.Set(VXM_PARAM_RETRY_TURNED, options.retryTurned);
  matcher.Set(VXM_PARAM_FAST_MODE, !options.normalMode);
  return options.all ? VerifyAll(options, matcher, probe, gallery)
                     : Search(options, matcher, probe, gallery);
}

// A search that found something has not compared every candidate.
std::optional<double> Rate(const IdentifyOptions& options, const Outcome& outcome,
                           const Gallery& gallery) {
  const bool complete = outcome.status == VXM_OK && (options.all || outcome.matches.empty());
  if (!complete || outcome.seconds <= 0) return std::nullopt;
  return static_cast<double>(gallery.candidates.size()) / outcome.seconds;
}

const char* ResultText(const Outcome& outcome) {
  switch (outcome.status) {
    case VXM_ERR_MATCH_ABORTED: return "aborted";
    case VXM_ERR_MATCH_TIMEOUT: return "timeout";
    default: return outcome.matches.empty() ? "no match" : "match";
  }
}

void ReportJson(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  Json report = {{"result", ResultText(outcome)}};
  if (options.all) {
    report["matches"] = Json::array();
    for (const Match& match : outcome.matches) {
      report["matches"].push_back({{"file", gallery.candidates[match.index].name},
                                   {"index", match.index},
                                   {"score", match.score}});
    }
  } else if (outcome.matches.empty()) {
    report["file"] = nullptr;
    report["index"] = -1;
  } else {
    report["file"] = gallery.candidates[outcome.matches[0].index].name;
    report["index"] = outcome.matches[0].index;
  }
  report["candidates"] = gallery.candidates.size();
  report["skipped"] = gallery.skipped;
  report["seconds"] = outcome.seconds;
  const std::optional<double> rate = Rate(options, outcome, gallery);
  report["candidatesPerSecond"] = rate ? Json(*rate) : Json(nullptr);
  PrintJson(report);
}

void ReportText(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  const size_t count = gallery.candidates.size();
  if (options.all) {
    for (const Match& match : outcome.matches) {
      std::printf("%.4f\t%s\n", match.score, gallery.candidates[match.index].name.c_str());
    }
    std::printf("%s: %zu of %zu candidates", ResultText(outcome), outcome.matches.size(), count);
  } else if (!outcome.matches.empty()) {
    const size_t index = outcome.matches[0].index;
    std::printf("match: %s, index %zu of %zu candidates", gallery.candidates[index].name.c_str(),
                index, count);
  } else {
    std::printf("%s: %zu candidates", ResultText(outcome), count);
  }
  std::printf(", %.3f s", outcome.seconds);
  if (const auto rate = Rate(options, outcome, gallery)) std::printf(", %.0f candidates/s", *rate);
  std::printf("\n");
}

int Identify(const IdentifyOptions& options) {
  CatchInterrupt();
  const TemplateFile probe = LoadTemplateFile(options.probe);
  const Gallery gallery = LoadGallery(options.gallery, probe);
  if (gallery.skipped > 0) {
    std::fprintf(stderr, "vxm: warning: skipped %zu files that are no templates, the first: %s\n",
                 gallery.skipped, gallery.firstSkip.c_str());
  }
  Outcome outcome;
  if (Interrupted()) {
    outcome.status = VXM_ERR_MATCH_ABORTED;
  } else if (!gallery.candidates.empty()) {
    outcome = Compare(options, probe, gallery);
  }
  const bool stopped =
      outcome.status == VXM_ERR_MATCH_ABORTED || outcome.status == VXM_ERR_MATCH_TIMEOUT;
  if (!stopped) Require(outcome.status, "identifying " + options.probe);
  if (options.json) {
    ReportJson(options, outcome, gallery);
  } else {
    ReportText(options, outcome, gallery);
  }
  if (stopped) return ExitCode::stopped;
  return outcome.matches.empty() ? ExitCode::noMatch : ExitCode::success;
}

}  // namespace

void AddIdentify(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("identify", "Search a gallery for a template's finger");
  command->footer(
      "The first match ends the search; it need not be the best one. Ctrl-C stops a search.\n"
      "Files that are no templates are skipped; a template file of another format than PROBE is "
      "an error.\nIn a gallery file those of PROBE's format are searched.\n"
      "Exit codes: 0 match, 1 no match, 2 error, 3 stopped by Ctrl-C or the time limit.");
  auto options = std::make_shared<IdentifyOptions>();
  command->add_option("PROBE", options->probe, "Template file")->required();
  command
      ->add_option("GALLERY", options->gallery,
                   "A gallery file, or template files and folders of them")
      ->required();
  command->add_option("--level", options->level, "Security level")
      ->check(CLI::Range(1, 7))
      ->capture_default_str();
  command->add_option("--timeout", options->timeout, "Time limit in ms, 0 for none")
      ->capture_default_str();
  auto* threads = command->add_option("--threads", options->threads, "1 or 2")
                      ->check(CLI::Range(1, 2))
                      ->capture_default_str();
  command->add_flag("--retry-turned", options->retryTurned,
                    "If there is no match, search again with PROBE turned by 180 degrees");
  auto* normalMode =
      command->add_flag("--normal-mode", options->normalMode,
                        "Compare whole templates only (slower, stricter about the first stage)");
  command
      ->add_flag("--all", options->all,
                 "Verify every candidate and list all that match with their scores, best first")
      ->excludes(threads)
      ->excludes(normalMode);
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Identify(*options); });
}
