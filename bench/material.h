// What the benchmarks compare: touches of fingers, made from a seed or read from
// a folder, in one of the three formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vxmkit.h"

namespace bench {

struct Touch {
  std::string finger;
  std::vector<uint8_t> bytes;

  int Size() const { return static_cast<int>(bytes.size()); }
};

struct Material {
  int type;
  std::string format;
  std::vector<Touch> touches;  // those of a finger one after the other
};

struct Pair {
  const Touch* probe;
  const Touch* candidate;
};
using Pairs = std::vector<Pair>;

// Of large galleries; none without templates.
struct GallerySource {
  size_t templates = 0;
  std::string folder = "build/gallery";
};

struct Source {
  std::string folder;  // of files named FINGER_IMPRESSION.EXT; empty: made fingers
  int fingers = 250;
  uint64_t seed = 1;
  GallerySource gallery;
};

// All three formats, each of the same touches where they are made.
std::vector<Material> Gather(const Source& source);

// Touches of one finger, each with the one after it.
Pairs GenuinePairs(const Material& material);

// Each touch with one of another finger.
Pairs ImpostorPairs(const Material& material);

// Native templates of 200 minutiae crowded together and turned much alike, of which
// comparisons take longer than of any others that we found: on a line, where nearly all
// pairs agree; in two points, where nearly all alignments pair nearly all minutiae; and so
// in a heap and in two points with angles above 360 degrees, which only the portable loops
// take.
enum class Crowd { line, twoPoints, heapBeyond360, twoPointsBeyond360 };
std::vector<Touch> CrowdedTouches(Crowd crowd);

// What each benchmark program defines: it registers its benchmarks of one format.
// Material and source outlive them.
void RegisterBenchmarks(const Material& material, const Source& source);

}  // namespace bench
