// What the program asks of the terminal, which each system answers in its own way.
#pragma once

// Whether somebody is watching.
bool ErrorsGoToTerminal();

// Has the terminal take text as UTF-8 until the program ends.
void SpeakUtf8();
