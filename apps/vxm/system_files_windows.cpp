// The file system on Windows. Names of 248 characters and more are handed to it with
// the prefix that lifts its limit.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cerrno>

#include "system_files.h"
#include "windows_names.h"

namespace {

std::error_code LastFault() { return {static_cast<int>(GetLastError()), std::system_category()}; }

FileKind KindOfAttributes(DWORD attributes) {
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::folder;
  return attributes & FILE_ATTRIBUTE_DEVICE ? FileKind::other : FileKind::file;
}

std::FILE* StreamOf(HANDLE handle, int flags, const char* mode) {
  if (handle == INVALID_HANDLE_VALUE) {
    switch (GetLastError()) {
      case ERROR_FILE_EXISTS: errno = EEXIST; break;
      case ERROR_ACCESS_DENIED:
      case ERROR_SHARING_VIOLATION: errno = EACCES; break;
      case ERROR_DISK_FULL: errno = ENOSPC; break;
      default: errno = ENOENT;
    }
    return nullptr;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), flags | _O_BINARY);
  return descriptor < 0 ? nullptr : _fdopen(descriptor, mode);
}

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

FileKind KindOf(const std::string& name, std::error_code& fault) {
  fault.clear();
  const DWORD attributes = GetFileAttributesW(WindowsName(name).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return KindOfAttributes(attributes);
  const DWORD reason = GetLastError();
  if (reason != ERROR_FILE_NOT_FOUND && reason != ERROR_PATH_NOT_FOUND &&
      reason != ERROR_INVALID_NAME) {
    fault = LastFault();
  }
  return FileKind::missing;
}

std::vector<FolderEntry> EntriesOf(const std::string& folder, std::error_code& fault) {
  std::vector<FolderEntry> entries;
  fault.clear();
  WIN32_FIND_DATAW found = {};
  // The name with the pattern, so that it decides whether it is too long for Windows.
  const HANDLE search = FindFirstFileW(WindowsName(folder + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) {
    if (GetLastError() != ERROR_FILE_NOT_FOUND) fault = LastFault();
    return entries;
  }
  do {
    const std::string name = Utf8Of(found.cFileName);
    if (name == "." || name == "..") continue;
    const bool link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    entries.push_back({name, KindOfAttributes(found.dwFileAttributes), link});
  } while (FindNextFileW(search, &found));
  if (GetLastError() != ERROR_NO_MORE_FILES) fault = LastFault();
  FindClose(search);
  return entries;
}

std::FILE* OpenToRead(const std::string& name) {
  return StreamOf(CreateFileW(WindowsName(name).c_str(), GENERIC_READ, shareAll, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr),
                  _O_RDONLY, "rb");
}

std::FILE* OpenToWrite(const std::string& name) {
  return StreamOf(CreateFileW(WindowsName(name).c_str(), GENERIC_WRITE, shareAll, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr),
                  _O_WRONLY, "wb");
}

// The folder's rights decide who may read it.
std::FILE* CreateFileAnew(const std::string& name, Readers) {
  return StreamOf(CreateFileW(WindowsName(name).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr),
                  _O_WRONLY, "wb");
}

std::error_code SyncFile(std::FILE* file) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
  return FlushFileBuffers(handle) ? std::error_code() : LastFault();
}

std::string LinkTarget(const std::string& name) { return name; }

void TakeRights(std::FILE*, const std::string&) {}

bool MayWrite(const std::string& name) {
  const DWORD attributes = GetFileAttributesW(WindowsName(name).c_str());
  return attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) == 0;
}

std::error_code MoveOver(const std::string& from, const std::string& to) {
  const DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  return MoveFileExW(WindowsName(from).c_str(), WindowsName(to).c_str(), how) ? std::error_code()
                                                                              : LastFault();
}

std::error_code MakeOneFolder(const std::string& name) {
  return CreateDirectoryW(WindowsName(name).c_str(), nullptr) ? std::error_code() : LastFault();
}

void RemoveFile(const std::string& name) { DeleteFileW(WindowsName(name).c_str()); }

void RemoveEmptyFolder(const std::string& name) { RemoveDirectoryW(WindowsName(name).c_str()); }

std::string ProcessMark() { return std::to_string(GetCurrentProcessId()); }

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::string AbsoluteName(const std::string& name) { return Utf8Of(FullWindowsName(name)); }

std::string DatabaseSystem() { return "win32-longpath"; }
