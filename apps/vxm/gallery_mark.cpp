// What an SQLite file begins with.
#include "gallery_mark.h"

#include <cstring>

bool LooksLikeGallery(const Bytes& start) {
  constexpr char head[] = "SQLite format 3";  // with its zero
  constexpr unsigned char mark[] = {'V', 'X', 'M', 'G'};
  constexpr size_t markAt = 68;
  constexpr size_t fewestAlike = 12;
  if (start.size() < markAt + sizeof(mark)) return false;
  size_t alike = 0;
  for (size_t i = 0; i < sizeof(head); ++i)
    alike += start[i] == static_cast<unsigned char>(head[i]);
  return alike >= fewestAlike || std::memcmp(&start[markAt], mark, sizeof(mark)) == 0;
}
