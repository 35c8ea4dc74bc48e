// vxm verify: do two templates come from the same finger?
#include <cstdio>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "json_output.h"
#include "matcher_owner.h"
#include "template_file.h"

namespace {

struct VerifyOptions {
  std::string first;
  std::string second;
  int level = 4;
  bool retryTurned = false;
  bool json = false;
};

int Verify(const VerifyOptions& options) {
  const TemplateFile first = LoadTemplateFile(options.first);
  const TemplateFile second = LoadTemplateFile(options.second);
  RequireSameFormat(first, second);

  const MatcherOwner matcher;
  matcher.SetType(TypeOf(first.inspection.format));
  matcher.Set(VXM_PARAM_SECURITY_LEVEL, options.level);
  matcher.Set(VXM_PARAM_RETRY_TURNED, options.retryTurned);
  float score = 0;
  int verified = 0;
  Require(VXM_VerifyEx(matcher.Handle(), first.bytes.data(), first.Size(), second.bytes.data(),
                       second.Size(), &score, &verified),
          "comparing " + options.first + " with " + options.second);

  if (options.json) {
    PrintJson({{"match", verified == 1},
               {"score", RoundedScore(score)},
               {"level", options.level},
               {"format", NameOf(first.inspection.format)}});
  } else {
    std::printf("%s, score %.4f (%s, level %d)\n", verified ? "match" : "no match",
                static_cast<double>(score), NameOf(first.inspection.format), options.level);
  }
  return verified ? ExitCode::success : ExitCode::noMatch;
}

}  // namespace

void AddVerify(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("verify", "Compare two templates of one format");
  command->footer("Exit codes: 0 match, 1 no match, 2 error.");
  auto options = std::make_shared<VerifyOptions>();
  command->add_option("A", options->first, "Template file")->required();
  command->add_option("B", options->second, "Template file")->required();
  command->add_option("--level", options->level, "Security level")
      ->check(CLI::Range(1, 7))
      ->capture_default_str();
  command->add_flag("--retry-turned", options->retryTurned,
                    "If there is no match, compare with A turned by 180 degrees");
  command->add_flag("--json", options->json, "Print JSON");
  command->callback([options, &exitCode] { exitCode = Verify(*options); });
}
