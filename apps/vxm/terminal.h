// What the program asks of the terminal and of the standard streams, which each system
// answers in its own way.
#pragma once

#include <cstdio>

// Whether somebody is watching.
bool ErrorsGoToTerminal();

// Has the terminal take text as UTF-8 until the program ends, and keeps closed streams
// closed.
void PrepareStreams();

// Has a standard stream pass bytes on as they are.
void SendBytes(std::FILE* stream);
