// Tells galleries from other files; by the header alone, so that a build without
// SQLite can, too.
#include <cstring>
#include <filesystem>
#include <fstream>

#include "gallery_file.h"

bool IsGallery(const std::string& name) {
  constexpr size_t markAt = 68;
  char header[markAt + 4] = {};
  std::ifstream file(std::filesystem::u8path(name), std::ios::binary);
  file.read(header, sizeof(header));
  if (!file || std::memcmp(header, "SQLite format 3", 16) != 0) return false;
  unsigned mark = 0;
  for (size_t i = markAt; i < sizeof(header); ++i) {
    mark = mark << 8 | static_cast<unsigned char>(header[i]);
  }
  return mark == galleryMark;
}
