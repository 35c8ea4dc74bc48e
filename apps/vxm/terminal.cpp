// The one place of the program that asks the operating system directly.
#include "terminal.h"

#include <cstdio>

#ifdef _WIN32
#include <io.h>
bool ErrorsGoToTerminal() { return _isatty(_fileno(stderr)) != 0; }
#else
#include <unistd.h>
bool ErrorsGoToTerminal() { return isatty(fileno(stderr)) != 0; }
#endif
