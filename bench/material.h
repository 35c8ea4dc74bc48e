// What the benchmarks compare: touches of fingers, made from a seed or read from
// a folder, in one of the three formats.
#pragma once

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

struct Source {
  std::string folder;  // of files named FINGER_IMPRESSION.EXT; empty: made fingers
  int fingers = 250;
  uint64_t seed = 1;
};

// All three formats, each of the same touches where they are made.
std::vector<Material> Gather(const Source& source);

// Touches of one finger, each with the one after it.
Pairs GenuinePairs(const Material& material);

// Each touch with one of another finger.
Pairs ImpostorPairs(const Material& material);

// What each benchmark program defines: it registers its benchmarks of one format.
// The material outlives them.
void RegisterBenchmarks(const Material& material);

}  // namespace bench
