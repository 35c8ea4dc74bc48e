// vxm completion: what a shell needs to complete the program's arguments, made from the
// parser itself.
#include <cstdio>
#include <map>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "usage.h"

namespace {

enum class Shell { bash };

const std::map<std::string, Shell> shells = {{"bash", Shell::bash}};

// The values of an option that takes one of a few are the names of its type, "A|B".
std::string ValuesOf(const CLI::Option& option) {
  std::string values = option.get_type_name();
  if (values.find('|') == std::string::npos) return "";
  for (char& c : values) c = c == '|' ? ' ' : c;
  return values;
}

void PrintWords(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : command.get_options()) {
    if (option->nonpositional()) words += " " + option->get_name();
  }
  const std::string& name = command.get_name();
  std::printf("    %s) words='%s' ;;\n", name.c_str(), words.substr(1).c_str());
}

void PrintValues(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    const std::string values = ValuesOf(*option);
    if (values.empty()) continue;
    const std::string value = option->nonpositional() ? option->get_name() : command.get_name();
    std::printf("    %s.%s) words='%s' ;;\n", command.get_name().c_str(), value.c_str(),
                values.c_str());
  }
}

void PrintBash(const CLI::App& program) {
  std::string names;
  for (const CLI::App* command : program.get_subcommands({})) names += " " + command->get_name();
  std::printf(
      "_vxm() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=\n"
      "  COMPREPLY=()\n"
      "  if ((COMP_CWORD == 1)); then\n"
      "    COMPREPLY=($(compgen -W '%s --help --version' -- \"$word\"))\n"
      "    return\n"
      "  fi\n"
      "  case ${COMP_WORDS[1]}.$before in\n",
      names.substr(1).c_str());
  for (const CLI::App* command : program.get_subcommands({})) PrintValues(*command);
  std::printf(
      "  esac\n"
      "  if [[ -z $words && $word == -* ]]; then\n"
      "    case ${COMP_WORDS[1]} in\n");
  for (const CLI::App* command : program.get_subcommands({})) PrintWords(*command);
  std::printf(
      "    esac\n"
      "  fi\n"
      "  if [[ -n $words ]]; then COMPREPLY=($(compgen -W \"$words\" -- \"$word\")); fi\n"
      "}\n"
      "complete -o default -F _vxm vxm\n");
}

}  // namespace

void AddCompletion(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("completion", "Print what completes arguments in a shell");
  command->footer(
      "Exit codes: 0 done, 2 error.\n"
      "Example: source <(vxm completion bash)");
  auto shell = std::make_shared<Shell>();
  AddName(*command, "SHELL", *shell, shells, "Shell")->required();
  command->callback([shell, &program, &exitCode] {
    if (*shell == Shell::bash) PrintBash(program);
    exitCode = ExitCode::success;
  });
}
