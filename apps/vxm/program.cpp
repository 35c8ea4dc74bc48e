// The frame of a program.
#include "program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "failure.h"
#include "stop.h"
#include "terminal.h"

namespace {

std::string programName;

int RunBody(const std::function<int()>& body) {
  try {
    return body();
  } catch (const Stopped& stopped) {
    Say(std::string(TextOf(stopped.reason)) + ": nothing was changed");
    return ExitCode::stopped;
  } catch (const std::exception& fault) {
    Say(Interrupted() ? "aborted" : fault.what());
    return Interrupted() ? ExitCode::stopped : ExitCode::error;
  }
}

// What stays in the buffers is written here, where a fault can still be told.
bool OutputWritten() {
  errno = 0;
  std::cout.flush();
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
}

std::string Escaped(unsigned char byte) {
  switch (byte) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: break;
  }
  char text[8];
  std::snprintf(text, sizeof(text), "\\x%02x", byte);
  return text;
}

}  // namespace

int RunProgram(const std::string& name, const std::function<int()>& body) {
  programName = name;
  PrepareStreams();
  CatchInterrupt();
  const int exitCode = RunBody(body);
  if (OutputWritten()) return exitCode;
  if (Interrupted()) return ExitCode::stopped;
  const std::string reason = errno == 0 ? "" : std::string(": ") + std::strerror(errno);
  Say("standard output cannot be written" + reason);
  return ExitCode::error;
}

void Say(const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", programName.c_str(), Printable(text).c_str());
}

std::string Printable(const std::string& text) {
  std::string printable;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F
      printable += Escaped(static_cast<unsigned char>(next));
      ++i;
    } else if (byte < 0x20 || byte == 0x7F) {
      printable += Escaped(byte);
    } else {
      printable += text[i];
    }
  }
  return printable;
}
