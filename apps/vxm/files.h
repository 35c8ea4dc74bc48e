// Whole files in and out, and folders. Every failure names the file and the reason.
#pragma once

#include <string>
#include <vector>

#include "left_out.h"
#include "stop.h"
#include "system_files.h"

using Bytes = std::vector<unsigned char>;

// Far more than any template has.
constexpr size_t largestTemplateFile = 1 << 20;

// What stands for standard input, and for standard output.
constexpr const char* streamName = "-";

// The reason of a failure to read.
constexpr const char* emptyFile = "is empty";

// The first bytes of a file, a device or standard input, at most one more than the
// largest size. Fails for an empty file.
Bytes ReadStart(const std::string& name);

// A file that nobody else knows yet, so it need not be put on the disk at once.
void WriteNewFile(const std::string& name, const Bytes& bytes);

// Writes beside the file, flushes, and puts the new one in the place of what was
// there: that is replaced as a whole or not at all. Devices, pipes and standard output
// are written to.
void ReplaceFile(const std::string& name, const Bytes& bytes, Readers readers = Readers::all);

// The files themselves and those below the folders among the names, of each folder
// in order of their names. What is below a folder and cannot be read as a file is
// added to `leftOut`.
std::vector<std::string> ListFiles(const std::vector<std::string>& names, const StopCheck& stop,
                                   std::vector<LeftOut>& leftOut);

// With the folders above it; fine if it exists.
void MakeFolder(const std::string& name);

// How unfinished files and folders begin; lists pass over them.
std::string UnfinishedName(const std::string& beside);

// "FOLDER/NAME".
std::string InFolder(const std::string& folder, const std::string& name);
// What the name is in, "." if it does not say.
std::string FolderOf(const std::string& name);
// "FOLDER/STEM" of "FOLDER/STEM.SUFFIX", and "STEM".
std::string WithoutSuffix(const std::string& name);
std::string StemOf(const std::string& name);
