// Whole files in and out.
#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "failure.h"

namespace {

using Path = std::filesystem::path;
using std::filesystem::u8path;  // elsewhere than on Windows it takes any bytes

constexpr std::uintmax_t largestFile = 1 << 20;

std::vector<std::string> ListFolder(const Path& folder) {
  std::vector<std::string> files;
  try {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) files.push_back(entry.path().u8string());
    }
  } catch (const std::filesystem::filesystem_error& fault) {
    throw Failure(folder.u8string() + ": cannot be listed: " + fault.code().message());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

Bytes ReadFile(const std::string& name) {
  const Path path = u8path(name);
  std::error_code fault;
  const auto status = std::filesystem::status(path, fault);
  if (!std::filesystem::exists(status)) throw Failure(name + ": no such file");
  if (std::filesystem::is_directory(status)) throw Failure(name + ": is a folder, not a file");
  const std::uintmax_t size = std::filesystem::file_size(path, fault);
  if (!fault && size > largestFile) {
    throw Failure(name + ": too large for a template (" + std::to_string(size) + " bytes)");
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(name + ": cannot be opened: " + std::strerror(errno));
  Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) throw Failure(name + ": cannot be read: " + std::strerror(errno));
  if (bytes.empty()) throw Failure(name + ": is empty");
  return bytes;
}

void WriteFile(const std::string& name, const Bytes& bytes) {
  errno = 0;
  std::ofstream file(u8path(name), std::ios::binary);
  if (file) {
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
  }
  if (!file) throw Failure(name + ": cannot be written: " + std::strerror(errno));
}

std::vector<std::string> ListFiles(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  for (const std::string& name : names) {
    std::error_code fault;
    const auto status = std::filesystem::status(u8path(name), fault);
    if (std::filesystem::is_directory(status)) {
      const std::vector<std::string> listed = ListFolder(u8path(name));
      files.insert(files.end(), listed.begin(), listed.end());
    } else if (std::filesystem::exists(status)) {
      files.push_back(name);
    } else {
      throw Failure(name + ": no such file");
    }
  }
  return files;
}

void MakeFolder(const std::string& name) {
  const Path folder = u8path(name);
  std::error_code fault;
  if (std::filesystem::is_directory(folder, fault)) return;
  std::filesystem::create_directories(folder, fault);
  if (fault) throw Failure(name + ": cannot be made: " + fault.message());
}
