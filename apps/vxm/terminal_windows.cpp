// The terminal on Windows, and what its shells leave to programs.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

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

}  // namespace

bool ErrorsGoToTerminal() { return _isatty(_fileno(stderr)) != 0; }

void SpeakUtf8() {
  codePageBefore = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(codePageBefore); });
}
