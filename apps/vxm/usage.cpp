// Parses by CLI11, and words its errors in the manner of the program.
#include "usage.h"

#include <algorithm>
#include <numeric>

#include "failure.h"
#include "program.h"

namespace {

// How many letters must be put in, left out or changed to make one of the other.
size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

std::string Nearest(const std::string& word, const std::vector<std::string>& names) {
  return *std::min_element(names.begin(), names.end(),
                           [&](const std::string& a, const std::string& b) {
                             return EditDistance(word, a) < EditDistance(word, b);
                           });
}

std::vector<std::string> SubcommandNames(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* command : program.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    if (option->nonpositional()) names.push_back(option->get_name());
  }
  return names;
}

// The chosen subcommand, or else the program.
const CLI::App& Chosen(const CLI::App& program, const std::vector<std::string>& arguments) {
  for (const CLI::App* command : program.get_subcommands({})) {
    if (!arguments.empty() && command->get_name() == arguments[0]) return *command;
  }
  return program;
}

// What CLI11 would answer in another way than users expect: with the lack of a
// subcommand where one is misspelt, and with the next argument as an option's value.
std::string EarlyFault(const CLI::App& program, const std::vector<std::string>& arguments) {
  const std::vector<std::string> commands = SubcommandNames(program);
  if (!commands.empty()) {
    if (arguments.empty()) return "a subcommand is wanted";
    const std::string& word = arguments[0];
    if (word.rfind('-', 0) != 0 && std::count(commands.begin(), commands.end(), word) == 0) {
      return "no subcommand is named '" + word + "'; the nearest is '" + Nearest(word, commands) +
             "'";
    }
  }
  for (const std::string& argument : arguments) {
    if (argument == "--") break;
    if (argument.size() > 3 && argument.rfind("--", 0) == 0 && argument.back() == '=') {
      return argument + " has no value; an empty one is given apart, as ''";
    }
  }
  return "";
}

std::string FaultText(const CLI::App& command, const CLI::ParseError& error,
                      const std::vector<std::string>& arguments) {
  const std::vector<std::string> options = OptionNames(command);
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    for (const std::string& argument : arguments) {
      const std::string name = argument.substr(0, argument.find('='));
      if (name.rfind("--", 0) != 0 || std::count(options.begin(), options.end(), name) != 0)
        continue;
      return "no option is named " + name + "; the nearest is " + Nearest(name, options);
    }
  }
  return error.what();
}

int UsageError(const CLI::App& program, const CLI::App& command, const std::string& fault) {
  const std::string chosen =
      &program == &command ? program.get_name() : program.get_name() + " " + command.get_name();
  Say((&program == &command ? "" : command.get_name() + ": ") + fault);
  Say("'" + chosen + " --help' shows what it takes");
  return ExitCode::error;
}

}  // namespace

int ParseAndRun(CLI::App& program, int argc, char** argv, const int& exitCode) {
  program.allow_windows_style_options(false);  // the same arguments everywhere
  for (CLI::App* command : program.get_subcommands({})) command->allow_windows_style_options(false);
  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  const CLI::App& command = Chosen(program, arguments);
  const std::string fault = EarlyFault(program, arguments);
  if (!fault.empty()) return UsageError(program, command, fault);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success& asked) {
    program.exit(asked);  // prints help or version
    return ExitCode::success;
  } catch (const CLI::ParseError& error) {
    return UsageError(program, command, FaultText(command, error, arguments));
  }
  return exitCode;
}

CLI::Validator WholeNumber(int64_t low, uint64_t high) {
  return CLI::Validator(
      [low, high](std::string& text) {
        std::string fault = "'" + text + "' is no whole number from " + std::to_string(low) +
                            " to " + std::to_string(high);
        const bool negative = text.rfind('-', 0) == 0;
        const std::string digits = text.substr(negative ? 1 : 0);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
          return fault;
        }
        uint64_t value = 0;
        for (const char digit : digits) {
          const auto added = static_cast<uint64_t>(digit - '0');
          if (value > (UINT64_MAX - added) / 10) return fault;
          value = value * 10 + added;
        }
        const auto below = low < 0 ? static_cast<uint64_t>(-low) : 0;
        const bool small = negative ? value > below : low > 0 && value < static_cast<uint64_t>(low);
        if (small || (!negative && value > high)) return fault;
        text = (negative ? "-" : "") + std::to_string(value);  // without zeros in front
        return std::string();
      },
      "");
}

void AddLevel(CLI::App& command, int& level) {
  AddNumber(command, "--level", level, 1, 7, "Security level")->type_name("1|2|3|4|5|6|7");
}

void AddNoConvert(CLI::App& command, bool& noConvert) {
  command.add_flag("--no-convert", noConvert,
                   "Refuse records of forms that the library does not compare, and take all "
                   "resolutions as they are, instead of converting them");
}
