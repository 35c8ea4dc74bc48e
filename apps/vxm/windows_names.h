// Names of files as Windows takes them.
#pragma once

#include <string>

// Where it is too long else, absolute and with the prefix for long names. A name that is no
// UTF-8 gets replacement characters.
std::wstring WindowsName(const std::string& name);

// The same, absolute also when it is short.
std::wstring FullWindowsName(const std::string& name);

std::string Utf8Of(const std::wstring& text);
