// The terminal on POSIX systems.
#include <unistd.h>

#include <cstdio>

#include "terminal.h"

bool ErrorsGoToTerminal() { return isatty(fileno(stderr)) != 0; }

void SpeakUtf8() {}  // it is for the user's locale to say
