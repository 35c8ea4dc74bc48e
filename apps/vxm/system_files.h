// What the program asks of the file system, which each system answers in its own
// way. Names are text as on the command line: in UTF-8 on Windows, where they may be
// of any length, as the system's bytes elsewhere.
#pragma once

#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

enum class FileKind { missing, file, folder, other };

// Of what the name leads to. With a fault it is `missing`.
FileKind KindOf(const std::string& name, std::error_code& fault);

struct FolderEntry {
  std::string name;  // without the folder's
  FileKind kind = FileKind::other;
  bool link = false;
};

// All entries but "." and "..", in no order.
std::vector<FolderEntry> EntriesOf(const std::string& folder, std::error_code& fault);

// Null with errno set.
std::FILE* OpenToRead(const std::string& name);
// Of what cannot be replaced as a whole: devices and pipes.
std::FILE* OpenToWrite(const std::string& name);

enum class Readers { all, ownerOnly };

// Null with errno set, EEXIST if the name is taken.
std::FILE* CreateFileAnew(const std::string& name, Readers readers);

// Puts on the disk what was written to the file.
std::error_code SyncFile(std::FILE* file);

// Where the name's links lead to; the name itself if that is not there.
std::string LinkTarget(const std::string& name);

// Gives the file the owner and the rights of another one, as far as the user may.
void TakeRights(std::FILE* file, const std::string& other);

bool MayWrite(const std::string& name);

std::error_code MoveOver(const std::string& from, const std::string& to);
std::error_code MakeOneFolder(const std::string& name);
void RemoveFile(const std::string& name);
void RemoveEmptyFolder(const std::string& name);

// The one of SQLite's ways to files that takes all names; empty for its default.
std::string DatabaseSystem();

bool IsSeparator(char c);

std::string AbsoluteName(const std::string& name);

// A part of names that no other running program has.
std::string ProcessMark();
