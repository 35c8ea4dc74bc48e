// What ends a command early: a message for the user, and the exit codes.
#pragma once

#include <stdexcept>
#include <string>

// Thrown with a whole message; main prints it and exits with ExitCode::error.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

namespace ExitCode {
constexpr int success = 0;  // or: a match
constexpr int noMatch = 1;
constexpr int error = 2;
constexpr int stopped = 3;  // by Ctrl-C or the time limit
}  // namespace ExitCode
