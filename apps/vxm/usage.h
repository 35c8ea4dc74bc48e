// The command line: its options' values, and what users are told who got it wrong.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

// Parses, runs what was chosen, and gives `exitCode` as that has left it. Usage errors
// become a message of the program with the way to its help.
int ParseAndRun(CLI::App& program, int argc, char** argv, const int& exitCode);

// A whole number in decimal digits.
CLI::Validator WholeNumber(int64_t low, uint64_t high);

// An option of one. The values that are wrong learn the range.
template <typename Number>
CLI::Option* AddNumber(CLI::App& command, const std::string& name, Number& value, int64_t low,
                       uint64_t high, const std::string& text) {
  return command.add_option(name, value, text)
      ->transform(WholeNumber(low, high))
      ->type_name("N")
      ->capture_default_str();
}

// An option that takes one of the names, which are its type and stand in the message of
// a wrong one.
template <typename Value>
CLI::Option* AddName(CLI::App& command, const std::string& name, Value& value,
                     const std::map<std::string, Value>& values, const std::string& text) {
  std::string names;
  for (const auto& [each, meaning] : values) names += (names.empty() ? "" : "|") + each;
  const auto toNumber = [values, names](std::string& given) {
    const auto found = values.find(given);
    if (found == values.end()) return "'" + given + "' is none of " + names;
    given = std::to_string(static_cast<int>(found->second));
    return std::string();
  };
  return command.add_option(name, value, text)
      ->transform(CLI::Validator(toNumber, ""))
      ->type_name(names);
}

// The option of commands that take records of any form and resolution.
void AddNoConvert(CLI::App& command, bool& noConvert);

// The option --level: 1 to 7.
void AddLevel(CLI::App& command, int& level);
