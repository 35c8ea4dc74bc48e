// Runs a target on files and on the files of folders: seeds, a corpus, or an input
// that a fuzzer found. With nothing of the C++ library but what is compiled here,
// for the sake of MemorySanitizer, which must see all that writes.
#include <dirent.h>

#include <memory>

#include "fuzz_input.h"

namespace {

int replayed = 0;

void Replay(const char* path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "rb"), std::fclose);
  fuzz::Require(file != nullptr, path);
  fuzz::Bytes bytes;
  for (int byte = std::fgetc(file.get()); byte != EOF; byte = std::fgetc(file.get())) {
    bytes.push_back(static_cast<uint8_t>(byte));
  }
  std::printf("%s\n", path);
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  replayed++;
}

void ReplayAll(const char* path) {
  DIR* folder = opendir(path);
  if (folder == nullptr) {
    Replay(path);
    return;
  }
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.') continue;
    char file[4096];
    std::snprintf(file, sizeof(file), "%s/%s", path, entry->d_name);
    Replay(file);
  }
  closedir(folder);
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; i++) ReplayAll(arguments[i]);
  fuzz::Require(replayed > 0, "there is something to replay");
  return 0;
}
