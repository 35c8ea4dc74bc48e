// The terminal on Windows, and what its shells leave to programs.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>

#include "terminal.h"

// Has the runtime library put the names of files in the place of patterns such as
// *.vxt before main begins.
extern "C" {
extern int _dowildcard;
int _dowildcard = -1;
}

namespace {

UINT codePageBefore = 0;

// The terminal is to get the bytes as they are, and no character in parts.
void LeaveBytes(std::FILE* stream) {
  if (_isatty(_fileno(stream)) == 0) return;
  _setmode(_fileno(stream), _O_BINARY);
  std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
}

}  // namespace

bool ErrorsGoToTerminal() { return _isatty(_fileno(stderr)) != 0; }

void SpeakUtf8() {
  codePageBefore = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  LeaveBytes(stdout);
  LeaveBytes(stderr);
  std::atexit([] {
    std::fflush(nullptr);
    SetConsoleOutputCP(codePageBefore);
  });
}
