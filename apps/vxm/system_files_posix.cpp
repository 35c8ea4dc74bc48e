// The file system on POSIX systems.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "system_files.h"

namespace {

std::error_code LastFault() { return {errno, std::generic_category()}; }

FileKind KindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::file;
  return S_ISDIR(mode) ? FileKind::folder : FileKind::other;
}

std::FILE* OpenWith(const std::string& name, int flags, mode_t mode, const char* streamMode) {
  const int descriptor = open(name.c_str(), flags | O_CLOEXEC, mode);
  return descriptor < 0 ? nullptr : fdopen(descriptor, streamMode);
}

}  // namespace

FileKind KindOf(const std::string& name, std::error_code& fault) {
  struct stat found = {};
  fault.clear();
  if (stat(name.c_str(), &found) == 0) return KindOfMode(found.st_mode);
  if (errno != ENOENT && errno != ENOTDIR) fault = LastFault();
  return FileKind::missing;
}

std::vector<FolderEntry> EntriesOf(const std::string& folder, std::error_code& fault) {
  std::vector<FolderEntry> entries;
  fault.clear();
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
  if (open == nullptr) {
    fault = LastFault();
    return entries;
  }
  while (true) {
    errno = 0;
    const dirent* entry = readdir(open.get());
    if (entry == nullptr) break;
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat found = {};
    const bool link = fstatat(dirfd(open.get()), entry->d_name, &found, AT_SYMLINK_NOFOLLOW) == 0 &&
                      S_ISLNK(found.st_mode);
    if (link && fstatat(dirfd(open.get()), entry->d_name, &found, 0) != 0) {
      found.st_mode = S_IFREG;  // reading it tells why it cannot be read
    }
    entries.push_back({name, KindOfMode(found.st_mode), link});
  }
  if (errno != 0) fault = LastFault();
  return entries;
}

std::FILE* OpenToRead(const std::string& name) { return OpenWith(name, O_RDONLY, 0, "rb"); }

std::FILE* OpenToWrite(const std::string& name) { return OpenWith(name, O_WRONLY, 0, "wb"); }

std::FILE* CreateFileAnew(const std::string& name, Readers readers) {
  return OpenWith(name, O_WRONLY | O_CREAT | O_EXCL, readers == Readers::all ? 0666 : 0600, "wb");
}

std::error_code SyncFile(std::FILE* file) {
  return fsync(fileno(file)) == 0 ? std::error_code() : LastFault();
}

std::string LinkTarget(const std::string& name) {
  const std::unique_ptr<char, void (*)(void*)> target(realpath(name.c_str(), nullptr), std::free);
  return target == nullptr ? name : target.get();
}

void TakeRights(std::FILE* file, const std::string& other) {
  struct stat rights = {};
  if (stat(other.c_str(), &rights) != 0) return;
  // The owner first, for a change of it takes rights away.
  if (fchown(fileno(file), rights.st_uid, rights.st_gid) != 0) rights.st_mode &= 0777;
  static_cast<void>(fchmod(fileno(file), rights.st_mode & 07777));
}

bool MayWrite(const std::string& name) { return access(name.c_str(), W_OK) == 0; }

std::error_code MoveOver(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : LastFault();
}

std::error_code MakeOneFolder(const std::string& name) {
  return mkdir(name.c_str(), 0777) == 0 ? std::error_code() : LastFault();
}

void RemoveFile(const std::string& name) { unlink(name.c_str()); }

void RemoveEmptyFolder(const std::string& name) { rmdir(name.c_str()); }

std::string ProcessMark() { return std::to_string(getpid()); }

bool IsSeparator(char c) { return c == '/'; }

std::string AbsoluteName(const std::string& name) {
  return std::filesystem::absolute(name).string();
}

std::string DatabaseSystem() { return ""; }
