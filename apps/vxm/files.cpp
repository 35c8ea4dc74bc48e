// Whole files in and out.
#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "failure.h"

namespace {

constexpr std::uintmax_t largestFile = 1 << 20;

}  // namespace

Bytes ReadFile(const Path& path) {
  const std::string name = path.string();
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

void WriteFile(const Path& path, const Bytes& bytes) {
  errno = 0;
  std::ofstream file(path, std::ios::binary);
  if (file) {
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
  }
  if (!file) throw Failure(path.string() + ": cannot be written: " + std::strerror(errno));
}

std::vector<Path> ListFiles(const Path& folder) {
  std::vector<Path> files;
  try {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  } catch (const std::filesystem::filesystem_error& fault) {
    throw Failure(folder.string() + ": cannot be listed: " + fault.code().message());
  }
  std::sort(files.begin(), files.end());
  return files;
}
