// The terminal on POSIX systems.
#include "terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <initializer_list>

#include "stop.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

// A handler may do next to nothing.
void NoteInterrupt(int) { interrupted = 1; }

}  // namespace

bool ErrorsGoToTerminal() { return isatty(fileno(stderr)) != 0; }

void PrepareStreams() {
  // Else the next file to be opened would take the place of a closed stream and get
  // what the program prints.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    const int useless = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (useless >= 0 && useless != stream) close(useless);
  }
}

void SendBytes(std::FILE*) {}

void CatchInterrupt() {
  struct sigaction action = {};
  action.sa_handler = NoteInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // and without SA_RESTART
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() { return interrupted != 0; }
