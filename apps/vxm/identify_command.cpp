// vxm identify: which template of a gallery comes from the probe's finger?
#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <memory>
#include <numeric>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "gallery.h"
#include "interrupt.h"
#include "json_output.h"
#include "left_out.h"
#include "matcher_owner.h"
#include "named_template.h"
#include "program.h"
#include "progress.h"
#include "usage.h"

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
  bool noConvert = false;

  Intake HowTaken() const { return noConvert ? Intake::refuse : Intake::convert; }
};

struct Match {
  size_t index;  // of the candidate
  double score;  // by verification; a search has none
};

struct Outcome {
  StopReason stopped = StopReason::none;
  std::vector<Match> matches;  // best first
  size_t compared = 0;         // at least
  double seconds = 0;
};

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// As the library orders them: by closeness of the attribute to the probe's.
std::vector<size_t> SearchOrder(const TemplateFile& probe, const Gallery& gallery) {
  std::vector<size_t> order(gallery.candidates.size());
  std::iota(order.begin(), order.end(), size_t{0});
  const auto distance = [&](size_t i) {
    return std::abs(gallery.candidates[i].attribute - probe.inspection.attribute);
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return distance(a) < distance(b); });
  return order;
}

// What the library is handed at once.
struct Portion {
  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
};

StopReason ReasonOf(int status) {
  if (status == VXM_ERR_MATCH_ABORTED) return StopReason::interrupt;
  return status == VXM_ERR_MATCH_TIMEOUT ? StopReason::timeLimit : StopReason::none;
}

// A search that ends at the first match, by portions that take a few hundredths of a
// second each: so it is known how many were compared, and when to stop.
Outcome Search(const IdentifyOptions& options, const MatcherOwner& matcher,
               const TemplateFile& probe, const Gallery& gallery, const StopCheck& stop) {
  constexpr double longPortion = 0.04;
  size_t portionSize = 256;
  const auto search = options.threads == 2 ? VXM_IdentifyMT : VXM_Identify;
  const std::vector<size_t> order = SearchOrder(probe, gallery);
  Progress progress("searching", order.size());
  const AbortOnInterrupt abortOnInterrupt(matcher.Handle());
  Outcome outcome;
  while (outcome.compared < order.size()) {
    outcome.stopped = stop.Reason();
    if (outcome.stopped != StopReason::none) break;
    Portion portion;
    const size_t end = std::min(outcome.compared + portionSize, order.size());
    for (size_t i = outcome.compared; i < end; ++i) {
      portion.templates.push_back(gallery.candidates[order[i]].bytes.data());
      portion.sizes.push_back(gallery.candidates[order[i]].Size());
    }
    int index = -1;
    const Clock::time_point start = Clock::now();
    const int status =
        search(matcher.Handle(), probe.bytes.data(), probe.Size(), portion.templates.data(),
               portion.sizes.data(), static_cast<int>(portion.sizes.size()),
               stop.MillisecondsLeft(), &index);
    const double seconds = SecondsSince(start);
    outcome.stopped = ReasonOf(status);
    if (outcome.stopped != StopReason::none) break;
    Require(status, "identifying " + probe.name);
    if (index >= 0) {
      outcome.matches.push_back({order[outcome.compared + static_cast<size_t>(index)], 0});
      break;
    }
    progress.Step(portion.sizes.size());
    outcome.compared = end;
    portionSize = seconds > longPortion ? std::max(portionSize / 2, size_t{16}) : portionSize * 2;
  }
  return outcome;
}

// Verification of every candidate.
Outcome VerifyAll(const MatcherOwner& matcher, const TemplateFile& probe, const Gallery& gallery,
                  const StopCheck& stop) {
  Outcome outcome;
  Progress progress("comparing", gallery.candidates.size());
  for (const Candidate& candidate : gallery.candidates) {
    outcome.stopped = stop.Reason();
    if (outcome.stopped != StopReason::none) break;
    float score = 0;
    int verified = 0;
    Require(VXM_VerifyEx(matcher.Handle(), probe.bytes.data(), probe.Size(), candidate.bytes.data(),
                         candidate.Size(), &score, &verified),
            "comparing with " + gallery.NameOf(candidate));
    if (verified) outcome.matches.push_back({outcome.compared, RoundedScore(score)});
    ++outcome.compared;
    progress.Step();
  }
  std::stable_sort(outcome.matches.begin(), outcome.matches.end(),
                   [](const Match& a, const Match& b) { return a.score > b.score; });
  return outcome;
}

Outcome Compare(const IdentifyOptions& options, const TemplateFile& probe, const Gallery& gallery,
                const StopCheck& stop) {
  Outcome outcome;
  outcome.stopped = gallery.stopped;
  if (gallery.candidates.empty() || outcome.stopped != StopReason::none) return outcome;
  const MatcherOwner matcher;
  matcher.SetType(TypeOf(probe.inspection.format));
  matcher.Set(VXM_PARAM_SECURITY_LEVEL, options.level);
  matcher.Set(VXM_PARAM_RETRY_TURNED, options.retryTurned);
  matcher.Set(VXM_PARAM_FAST_MODE, !options.normalMode);
  const Clock::time_point start = Clock::now();
  outcome = options.all ? VerifyAll(matcher, probe, gallery, stop)
                        : Search(options, matcher, probe, gallery, stop);
  outcome.seconds = SecondsSince(start);
  return outcome;
}

// A match that a search found is one, whatever else was not compared; a list of all
// matches is whole or not.
bool Incomplete(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  if (!options.all && !outcome.matches.empty()) return false;
  return gallery.candidates.empty() || !gallery.leftOut.empty();
}

const char* ResultText(const IdentifyOptions& options, const Outcome& outcome,
                       const Gallery& gallery) {
  if (outcome.stopped != StopReason::none) return TextOf(outcome.stopped);
  if (Incomplete(options, outcome, gallery)) return "incomplete";
  return outcome.matches.empty() ? "no match" : "match";
}

// A search that found something has not compared every candidate.
std::optional<double> Rate(const Outcome& outcome, const Gallery& gallery) {
  const bool complete = outcome.compared == gallery.candidates.size() && outcome.compared > 0;
  if (!complete || outcome.seconds <= 0) return std::nullopt;
  return static_cast<double>(outcome.compared) / outcome.seconds;
}

Json MatchJson(const Match& match, const Gallery& gallery) {
  const Candidate& candidate = gallery.candidates[match.index];
  Json entry = {{"file", gallery.NameOf(candidate)}, {"index", match.index}, {"gallery", nullptr}};
  if (candidate.gallery != noGallery) entry["gallery"] = gallery.files[candidate.gallery];
  return entry;
}

void ReportJson(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  Json report = {{"result", ResultText(options, outcome, gallery)}};
  if (options.all) {
    report["matches"] = Json::array();
    for (const Match& match : outcome.matches) {
      Json entry = MatchJson(match, gallery);
      entry["score"] = match.score;
      report["matches"].push_back(std::move(entry));
    }
  } else if (outcome.matches.empty()) {
    report.update({{"file", nullptr}, {"index", -1}, {"gallery", nullptr}});
  } else {
    report.update(MatchJson(outcome.matches[0], gallery));
  }
  report["candidates"] = gallery.candidates.size();
  // A search that ended at a match has compared as many as it took.
  report["compared"] =
      !options.all && !outcome.matches.empty() ? Json(nullptr) : Json(outcome.compared);
  report["converted"] = LeftOutJson(gallery.converted);
  report["notCompared"] = LeftOutJson(gallery.leftOut);
  report["otherFormats"] = gallery.otherFormats;
  report["seconds"] = outcome.seconds;
  const std::optional<double> rate = Rate(outcome, gallery);
  report["candidatesPerSecond"] = rate ? Json(*rate) : Json(nullptr);
  PrintJson(report);
}

// "12 of 40 candidates", with what is known about the others.
std::string Extent(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  const std::string candidates = std::to_string(gallery.candidates.size()) + " candidates";
  const std::string compared = std::to_string(outcome.compared) + " compared";
  const std::string matching = std::to_string(outcome.matches.size());
  const std::string leftOut = std::to_string(gallery.leftOut.size()) + " not compared";
  if (outcome.stopped != StopReason::none) {
    const bool loading = gallery.stopped != StopReason::none;
    return (options.all ? matching + " found, " : "") + std::to_string(outcome.compared) + " of " +
           candidates + " compared" + (loading ? ", others not loaded" : "");
  }
  if (gallery.candidates.empty()) return "nothing to compare, " + leftOut;
  if (Incomplete(options, outcome, gallery)) {
    return (options.all ? matching : "none") + " of the " + compared +
           (options.all ? " match, " : " matches, ") + leftOut;
  }
  return options.all ? matching + " of " + candidates : candidates;
}

void ReportText(const IdentifyOptions& options, const Outcome& outcome, const Gallery& gallery) {
  for (const Match& match : outcome.matches) {
    const Candidate& candidate = gallery.candidates[match.index];
    const std::string name = Printable(gallery.NameOf(candidate));
    if (options.all) {
      std::printf("%.4f\t%s\n", match.score, name.c_str());
    } else {
      std::printf("match: %s, index %zu of %zu candidates, %.3f s\n", name.c_str(), match.index,
                  gallery.candidates.size(), outcome.seconds);
    }
  }
  if (!options.all && !outcome.matches.empty()) return;
  std::printf("%s: %s, %.3f s", ResultText(options, outcome, gallery),
              Extent(options, outcome, gallery).c_str(), outcome.seconds);
  if (const auto rate = Rate(outcome, gallery)) std::printf(", %.0f candidates/s", *rate);
  std::printf("\n");
}

Gallery Load(const IdentifyOptions& options, const TemplateFile& probe, const StopCheck& stop) {
  const std::string reason = Unmatchable(probe.inspection);
  if (reason.empty()) return LoadGallery(options.gallery, probe, stop, options.HowTaken());
  Gallery none;
  none.leftOut.push_back({probe.name, reason});
  return none;
}

int Identify(const IdentifyOptions& options) {
  const StopCheck stop(options.timeout);
  const TemplateFile probe = LoadOne(options.probe, stop, options.HowTaken());
  Gallery gallery = Load(options, probe, stop);
  NoteConverted(probe, gallery.converted);
  TellLeftOut("converted", gallery.converted);
  TellLeftOut("not compared", gallery.leftOut);
  if (gallery.otherFormats > 0) {
    Say("left out " + std::to_string(gallery.otherFormats) + " templates of other formats than " +
        probe.name + ": each has one of " + NameOf(probe.inspection.format) + " beside it");
  }
  const Outcome outcome = Compare(options, probe, gallery, stop);
  if (options.json) {
    ReportJson(options, outcome, gallery);
  } else {
    ReportText(options, outcome, gallery);
  }
  if (outcome.stopped != StopReason::none) return ExitCode::stopped;
  if (Incomplete(options, outcome, gallery)) return ExitCode::incomplete;
  return outcome.matches.empty() ? ExitCode::noMatch : ExitCode::success;
}

}  // namespace

void AddIdentify(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("identify", "Search a gallery for a template's finger");
  command->footer(
      "The first match ends the search; it need not be the best one.\n"
      "Of each id, or name without suffix, the template of PROBE's format is compared.\n"
      "Exit codes: 0 match, 1 no match and all compared, 2 error, 3 stopped by Ctrl-C or the time\n"
      "limit, 4 something was not compared, and is named.\n"
      "Example: vxm identify probe.vxt people.db visitors/ --level 5");
  auto options = std::make_shared<IdentifyOptions>();
  command->add_option("PROBE", options->probe, "Template file, or GALLERY:ID")->required();
  command->add_option("GALLERY", options->gallery, "Galleries, template files, and folders of both")
      ->required();
  AddLevel(*command, options->level);
  AddNumber(*command, "--timeout", options->timeout, 0, UINT_MAX, "Time limit in ms, 0 for none");
  auto* threads =
      AddNumber(*command, "--threads", options->threads, 1, 2, "Threads")->type_name("1|2");
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
  AddNoConvert(*command, options->noConvert);
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Identify(*options); });
}
