// The command line: its options' values, and what users are told who got it wrong.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

// Parses, runs what was chosen, and gives `exitCode` as that has left it. Usage errors
// become a message of the program with the way to its help.
int ParseAndRun(CLI::App& program, int argc, char** argv, const int& exitCode);

// Of an option that takes a whole number in decimal digits.
CLI::Validator WholeNumber(int64_t low, uint64_t high);

// Of an option that takes one of the names, which are listed where the value is wrong.
template <typename Value>
CLI::Validator OneOf(const std::map<std::string, Value>& values) {
  std::string names;
  for (const auto& [name, value] : values) names += (names.empty() ? "" : ", ") + name;
  return CLI::Validator(
      [values, names](std::string& text) {
        const auto found = values.find(text);
        if (found == values.end()) return "'" + text + "' is none of " + names;
        text = std::to_string(static_cast<int>(found->second));
        return std::string();
      },
      "");
}
