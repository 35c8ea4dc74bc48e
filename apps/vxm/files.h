// Whole files in and out, named by text as on the command line: in UTF-8 on
// Windows, as the system's bytes elsewhere. Every failure names the file and the
// reason.
#pragma once

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// Fails also for an empty file and for one far larger than any template.
Bytes ReadFile(const std::string& name);

void WriteFile(const std::string& name, const Bytes& bytes);

// The files themselves and those under the folders among the names, of each
// folder in order of their names.
std::vector<std::string> ListFiles(const std::vector<std::string>& names);

// With the folders above it; fine if it exists.
void MakeFolder(const std::string& name);
