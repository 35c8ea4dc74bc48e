// The terminal on Windows, and what its shells leave to programs.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "stop.h"
#include "terminal.h"

// Has the runtime library put the names of files in the place of patterns such as
// *.vxt before main begins.
extern "C" {
extern int _dowildcard;
int _dowildcard = -1;
}

namespace {

UINT codePageBefore = 0;

volatile std::sig_atomic_t interrupted = 0;

void NoteInterrupt(int) { interrupted = 1; }  // and the next one ends the program

// The terminal is to get the bytes as they are, and no character in parts.
void LeaveBytes(std::FILE* stream) {
  if (_isatty(_fileno(stream)) == 0) return;
  _setmode(_fileno(stream), _O_BINARY);
  std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
}

}  // namespace

bool ErrorsGoToTerminal() { return _isatty(_fileno(stderr)) != 0; }

void PrepareStreams() {
  codePageBefore = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  LeaveBytes(stdout);
  LeaveBytes(stderr);
  std::atexit([] {
    std::fflush(nullptr);
    SetConsoleOutputCP(codePageBefore);
  });
}

void SendBytes(std::FILE* stream) { _setmode(_fileno(stream), _O_BINARY); }

void CatchInterrupt() { std::signal(SIGINT, NoteInterrupt); }

bool Interrupted() { return interrupted != 0; }
