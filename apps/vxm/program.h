// What the programs have in common: messages, the end, and what is printed of texts
// that others wrote.
#pragma once

#include <functional>
#include <string>

// Runs the program's body and gives its exit code. What the body throws becomes a
// message, and so does standard output that could not be written.
int RunProgram(const std::string& name, const std::function<int()>& body);

// "NAME: text" on standard error, in one line.
void Say(const std::string& text);

// With control characters, among them line feeds and tabs, as "\n", "\t", "\x1b": a
// text takes one field of one line and does nothing to the terminal.
std::string Printable(const std::string& text);
