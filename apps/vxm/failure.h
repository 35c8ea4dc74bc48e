// What ends a command early: a message for the user, and the exit codes.
#pragma once

#include <stdexcept>
#include <string>

// Thrown with a whole message; the program prints it and exits with ExitCode::error.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Of one of the files that a command was given, which may go on without it.
struct FileFailure : Failure {
  FileFailure(const std::string& file, const std::string& why)
      : Failure(file + ": " + why), name(file), reason(why) {}

  std::string name;
  std::string reason;
};

namespace ExitCode {
constexpr int success = 0;     // or: a match
constexpr int noMatch = 1;     // and all that was asked for was compared
constexpr int error = 2;       // nothing was done, or not in the way that was asked for
constexpr int stopped = 3;     // by Ctrl-C or the time limit
constexpr int incomplete = 4;  // some was left out, and is named
}  // namespace ExitCode
