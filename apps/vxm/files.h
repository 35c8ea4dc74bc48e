// Whole files in and out. Every failure names the file and the reason.
#pragma once

#include <filesystem>
#include <vector>

using Path = std::filesystem::path;
using Bytes = std::vector<unsigned char>;

// Fails also for an empty file and for one far larger than any template.
Bytes ReadFile(const Path& path);

void WriteFile(const Path& path, const Bytes& bytes);

// The files under a folder, in order of their names.
std::vector<Path> ListFiles(const Path& folder);
