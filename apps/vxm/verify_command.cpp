// vxm verify: do two templates come from the same finger?
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_output.h"
#include "matcher_owner.h"
#include "named_template.h"
#include "usage.h"

namespace {

struct VerifyOptions {
  std::string first;
  std::string second;
  int level = 4;
  bool retryTurned = false;
  bool json = false;
  bool noConvert = false;
};

// Those of the two that no comparison can be made with.
std::vector<LeftOut> NotComparable(const TemplatePair& pair) {
  std::vector<LeftOut> leftOut;
  for (const TemplateFile* file : {&pair.first, &pair.second}) {
    const std::string reason = Unmatchable(file->inspection);
    if (!reason.empty()) leftOut.push_back({file->name, reason});
  }
  return leftOut;
}

struct Comparison {
  double score = 0;
  bool match = false;
};

Comparison Compare(const VerifyOptions& options, const TemplatePair& pair) {
  const MatcherOwner matcher;
  matcher.SetType(TypeOf(pair.first.inspection.format));
  matcher.Set(VXM_PARAM_SECURITY_LEVEL, options.level);
  matcher.Set(VXM_PARAM_RETRY_TURNED, options.retryTurned);
  float score = 0;
  int verified = 0;
  Require(VXM_VerifyEx(matcher.Handle(), pair.first.bytes.data(), pair.first.Size(),
                       pair.second.bytes.data(), pair.second.Size(), &score, &verified),
          "comparing " + pair.first.name + " with " + pair.second.name);
  return {RoundedScore(score), verified == 1};
}

int Verify(const VerifyOptions& options) {
  const TemplatePair pair = LoadPair(options.first, options.second, StopCheck(),
                                     options.noConvert ? Intake::refuse : Intake::convert);
  const char* format = NameOf(pair.first.inspection.format);
  const std::vector<LeftOut> notCompared = NotComparable(pair);
  std::vector<LeftOut> converted;
  for (const TemplateFile* file : {&pair.first, &pair.second}) NoteConverted(*file, converted);
  TellLeftOut("converted", converted);
  TellLeftOut("not compared", notCompared);
  const bool compared = notCompared.empty();
  const Comparison found = compared ? Compare(options, pair) : Comparison();
  if (options.json) {
    PrintJson({{"match", compared ? Json(found.match) : Json(nullptr)},
               {"score", compared ? Json(found.score) : Json(nullptr)},
               {"level", options.level},
               {"format", format},
               {"converted", LeftOutJson(converted)},
               {"notCompared", LeftOutJson(notCompared)}});
  } else if (!compared) {
    std::printf("not compared (%s)\n", format);
  } else {
    std::printf("%s, score %.4f (%s, level %d)\n", found.match ? "match" : "no match", found.score,
                format, options.level);
  }
  if (!compared) return ExitCode::incomplete;
  return found.match ? ExitCode::success : ExitCode::noMatch;
}

}  // namespace

void AddVerify(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("verify", "Compare two templates of one format");
  command->footer(
      "Exit codes: 0 match, 1 no match, 2 error, 4 not compared: too few minutiae.\n"
      "Example: vxm verify probe.vxt people.db:042_1");
  auto options = std::make_shared<VerifyOptions>();
  command->add_option("A", options->first, "Template file, or GALLERY:ID")->required();
  command->add_option("B", options->second, "Template file, or GALLERY:ID")->required();
  AddLevel(*command, options->level);
  command->add_flag("--retry-turned", options->retryTurned,
                    "If there is no match, compare with A turned by 180 degrees");
  AddNoConvert(*command, options->noConvert);
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Verify(*options); });
}
