// Whole files in and out.
#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "failure.h"
#include "terminal.h"

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr const char* unfinishedMark = ".vxm-";

bool IsUnfinished(const std::string& name) { return name.rfind(unfinishedMark, 0) == 0; }

std::string ErrnoText() { return std::strerror(errno); }

// Where the last part of the name begins.
size_t LastPart(const std::string& name) {
  size_t begin = name.size();
  while (begin > 1 && IsSeparator(name[begin - 1])) --begin;
  while (begin > 0 && !IsSeparator(name[begin - 1])) --begin;
  return begin;
}

// Also a link to a folder, which could lead back to where it is, and what could keep
// the reader waiting for ever.
const char* ReasonToPassOver(const FolderEntry& entry) {
  if (entry.kind == FileKind::folder && entry.link) return "is a link to a folder";
  return entry.kind == FileKind::other ? "is no regular file" : nullptr;
}

void ListFolder(const std::string& folder, const StopCheck& stop, std::vector<std::string>& files,
                std::vector<LeftOut>& leftOut) {
  std::error_code fault;
  std::vector<FolderEntry> entries = EntriesOf(folder, fault);
  if (fault) throw Failure(folder + ": cannot be listed: " + fault.message());
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  for (const FolderEntry& entry : entries) {
    stop.Here();
    if (IsUnfinished(entry.name)) continue;
    const std::string name = InFolder(folder, entry.name);
    if (const char* reason = ReasonToPassOver(entry)) {
      leftOut.push_back({name, reason});
    } else if (entry.kind == FileKind::folder) {
      ListFolder(name, stop, files, leftOut);
    } else {
      files.push_back(name);
    }
  }
}

FileKind RequireKind(const std::string& name) {
  std::error_code fault;
  const FileKind kind = KindOf(name, fault);
  if (fault) throw FileFailure(name, "cannot be opened: " + fault.message());
  if (kind == FileKind::missing) throw FileFailure(name, "no such file");
  return kind;
}

void WriteAndClose(File file, const std::string& name, const Bytes& bytes, bool sync) {
  std::error_code fault;
  errno = 0;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
      std::fflush(file.get()) != 0) {
    throw Failure(name + ": cannot be written: " + ErrnoText());
  }
  if (sync) fault = SyncFile(file.get());
  if (std::fclose(file.release()) != 0) throw Failure(name + ": cannot be written: " + ErrnoText());
  if (fault) throw Failure(name + ": cannot be written: " + fault.message());
}

void WriteThrough(std::FILE* opened, const std::string& name, const Bytes& bytes) {
  if (opened == nullptr) throw Failure(name + ": cannot be written: " + ErrnoText());
  WriteAndClose(File(opened, std::fclose), name, bytes, false);
}

void ReplaceTarget(const std::string& name, const Bytes& bytes, Readers readers, bool exists) {
  const std::string target = LinkTarget(name);
  if (exists && !MayWrite(target)) throw Failure(name + ": cannot be written: it is read-only");
  const std::string unfinished = UnfinishedName(target);
  File file(CreateFileAnew(unfinished, readers), std::fclose);
  if (file == nullptr) throw Failure(name + ": cannot be written: " + ErrnoText());
  if (exists) TakeRights(file.get(), target);
  try {
    WriteAndClose(std::move(file), name, bytes, exists);  // then there is something to lose
    const std::error_code fault = MoveOver(unfinished, target);
    if (fault) throw Failure(name + ": cannot be written: " + fault.message());
  } catch (const Failure&) {
    RemoveFile(unfinished);
    throw;
  }
}

}  // namespace

Bytes ReadStart(const std::string& name) {
  const bool stream = name == streamName;
  if (!stream && RequireKind(name) == FileKind::folder) {
    throw FileFailure(name, "is a folder, not a file");
  }
  if (stream) SendBytes(stdin);
  errno = 0;
  const File file(stream ? stdin : OpenToRead(name),
                  stream ? [](std::FILE*) { return 0; } : std::fclose);
  if (file == nullptr) throw FileFailure(name, "cannot be opened: " + ErrnoText());
  Bytes bytes;
  constexpr size_t portion = 1 << 14;
  while (bytes.size() <= largestTemplateFile) {
    const size_t before = bytes.size();
    bytes.resize(std::min(before + portion, largestTemplateFile + 1));
    const size_t read = std::fread(&bytes[before], 1, bytes.size() - before, file.get());
    const bool full = before + read == bytes.size();
    bytes.resize(before + read);
    if (!full) break;
  }
  if (std::ferror(file.get()) != 0) throw FileFailure(name, "cannot be read: " + ErrnoText());
  if (bytes.empty()) throw FileFailure(name, emptyFile);
  return bytes;
}

void WriteNewFile(const std::string& name, const Bytes& bytes) {
  WriteThrough(CreateFileAnew(name, Readers::all), name, bytes);
}

void ReplaceFile(const std::string& name, const Bytes& bytes, Readers readers) {
  std::error_code fault;
  if (name == streamName) {
    SendBytes(stdout);
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);  // the program's end tells of a fault
    return;
  }
  const FileKind kind = KindOf(name, fault);
  if (fault) throw Failure(name + ": cannot be written: " + fault.message());
  if (kind == FileKind::folder) throw Failure(name + ": cannot be written: is a folder");
  if (kind == FileKind::other) {
    WriteThrough(OpenToWrite(name), name, bytes);
  } else {
    ReplaceTarget(name, bytes, readers, kind == FileKind::file);
  }
}

std::vector<std::string> ListFiles(const std::vector<std::string>& names, const StopCheck& stop,
                                   std::vector<LeftOut>& leftOut) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    stop.Here();
    if (name != streamName && RequireKind(name) == FileKind::folder) {
      ListFolder(name, stop, files, leftOut);
    } else {
      files.push_back(name);
    }
  }
  return files;
}

void MakeFolder(const std::string& name) {
  std::error_code fault;
  if (KindOf(name, fault) == FileKind::folder) return;
  const std::string parent = FolderOf(name);
  if (parent != name && KindOf(parent, fault) == FileKind::missing) MakeFolder(parent);
  fault = MakeOneFolder(name);
  if (fault) throw Failure(name + ": cannot be made: " + fault.message());
}

std::string UnfinishedName(const std::string& beside) {
  static int count = 0;
  return InFolder(FolderOf(beside), unfinishedMark + ProcessMark() + "-" + std::to_string(++count));
}

std::string InFolder(const std::string& folder, const std::string& name) {
  return !folder.empty() && IsSeparator(folder.back()) ? folder + name : folder + "/" + name;
}

std::string FolderOf(const std::string& name) {
  const size_t end = LastPart(name);
  return end == 0 ? "." : name.substr(0, end);
}

std::string WithoutSuffix(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot != std::string::npos && dot > LastPart(name) ? name.substr(0, dot) : name;
}

std::string StemOf(const std::string& name) { return WithoutSuffix(name).substr(LastPart(name)); }
