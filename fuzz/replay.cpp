// Runs a target on files and on the files of folders: seeds, a corpus, or an input
// that a fuzzer found.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz_input.h"

namespace {

int replayed = 0;

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const fuzz::Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::printf("%s\n", path.string().c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  replayed++;
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; i++) {
    if (std::filesystem::is_directory(arguments[i])) {
      for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
        Replay(entry.path());
      }
    } else {
      Replay(arguments[i]);
    }
  }
  fuzz::Require(replayed > 0, "there is something to replay");
  return 0;
}
