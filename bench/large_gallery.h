// A large gallery: templates that are all different, each in memory of its own, in no
// order, as a host's would be. Made once and kept on disk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "material.h"

namespace bench {

struct Gallery {
  std::vector<std::unique_ptr<uint8_t[]>> owned;
  std::vector<const unsigned char*> templates;
  std::vector<int> sizes;
};

// So many touches in the format, from the file of that format and seed in the folder;
// it is made when there is none, or one of fewer. Throws when it cannot be.
Gallery LoadGallery(const std::string& format, const GallerySource& source, uint64_t seed);

// A touch of a finger that is in no gallery of that seed.
std::vector<uint8_t> StrangersTouch(const std::string& format, uint64_t seed, uint64_t stranger);

}  // namespace bench
