// The file: each touch as its size, in two bytes, and its bytes.
#include "large_gallery.h"

#include <synth.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <stdexcept>

namespace bench {
namespace {

constexpr uint64_t touchesOfAFinger = 4;

std::vector<uint8_t> MakeTouch(const std::string& format, uint64_t seed, uint64_t finger,
                               uint64_t touch) {
  const auto made =
      vxmsynth::MakeImpression(vxmsynth::MakeFinger(vxmsynth::DeriveSeed(seed, finger)), touch);
  return format == "native" ? EncodeNative(made)
         : format == "iso"  ? EncodeIso(made)
                            : EncodeAnsi(made);
}

void MakeFile(const std::filesystem::path& path, const std::string& format, size_t count,
              uint64_t seed) {
  std::filesystem::create_directories(path.parent_path());
  const std::filesystem::path unfinished = path.string() + ".part";
  std::ofstream file(unfinished, std::ios::binary);
  for (size_t i = 0; i < count; ++i) {
    const std::vector<uint8_t> bytes =
        MakeTouch(format, seed, i / touchesOfAFinger, i % touchesOfAFinger);
    file.put(static_cast<char>(bytes.size() >> 8)).put(static_cast<char>(bytes.size() & 0xFF));
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }
  file.close();
  if (!file) throw std::runtime_error(unfinished.string() + ": cannot be written");
  std::filesystem::rename(unfinished, path);
}

// As many as there are, up to `count`.
Gallery ReadFile(const std::filesystem::path& path, size_t count) {
  Gallery gallery;
  std::ifstream file(path, std::ios::binary);
  for (int high = 0; gallery.sizes.size() < count && (high = file.get()) >= 0;) {
    const int size = high << 8 | file.get();
    gallery.owned.emplace_back(new uint8_t[static_cast<size_t>(size)]);
    file.read(reinterpret_cast<char*>(gallery.owned.back().get()), size);
    gallery.sizes.push_back(size);
    if (!file) throw std::runtime_error(path.string() + ": cut off");
  }
  return gallery;
}

}  // namespace

Gallery LoadGallery(const std::string& format, const GallerySource& source, uint64_t seed) {
  const auto path =
      std::filesystem::path(source.folder) / (format + "-" + std::to_string(seed) + ".templates");
  Gallery read = ReadFile(path, source.templates);
  if (read.sizes.size() < source.templates) {
    MakeFile(path, format, source.templates, seed);
    read = ReadFile(path, source.templates);
  }
  std::vector<size_t> order(read.sizes.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::shuffle(order.begin(), order.end(), std::mt19937(1));
  Gallery gallery;
  for (const size_t i : order) {
    gallery.templates.push_back(read.owned[i].get());
    gallery.sizes.push_back(read.sizes[i]);
  }
  gallery.owned = std::move(read.owned);
  return gallery;
}

std::vector<uint8_t> StrangersTouch(const std::string& format, uint64_t seed, uint64_t stranger) {
  return MakeTouch(format, ~seed, stranger, 0);
}

}  // namespace bench
