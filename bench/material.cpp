// Gathering templates, and choosing pairs among them.
#include "material.h"

#include <synth.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace bench {
namespace {

std::vector<Material> NoTouches() {
  return {{TEMPLATE_NATIVE, "native", {}},
          {TEMPLATE_ISO19794_2, "iso", {}},
          {TEMPLATE_ANSI378, "ansi", {}}};
}

std::vector<Material> MakeTouches(int fingers, uint64_t seed) {
  constexpr uint64_t impressions = 2;
  std::vector<Material> made = NoTouches();
  for (int f = 1; f <= fingers; ++f) {
    const std::string name = std::to_string(f);
    const vxmsynth::Finger finger =
        vxmsynth::MakeFinger(vxmsynth::DeriveSeed(seed, static_cast<uint64_t>(f)));
    for (uint64_t i = 1; i <= impressions; ++i) {
      const vxmsynth::Impression impression = vxmsynth::MakeImpression(finger, i);
      made[0].touches.push_back({name, EncodeNative(impression)});
      made[1].touches.push_back({name, EncodeIso(impression)});
      made[2].touches.push_back({name, EncodeAnsi(impression)});
    }
  }
  return made;
}

// Whether a matcher of that type takes the bytes, which says more than a name does.
bool IsOfType(int type, const std::vector<uint8_t>& bytes) {
  MatcherHandle matcher = nullptr;
  if (VXM_Create(&matcher) != VXM_OK) throw std::runtime_error("no matcher can be made");
  VXM_SetTemplateType(matcher, type);
  const int size = static_cast<int>(bytes.size());
  int verified = 0;
  const int status = VXM_Verify(matcher, bytes.data(), size, bytes.data(), size, &verified);
  VXM_Delete(matcher);
  return status == VXM_OK;
}

std::vector<Material> ReadTouches(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<Material> read = NoTouches();
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad()) throw std::runtime_error(file.string() + ": cannot be read");
    const std::string stem = (file.parent_path() / file.stem()).string();
    for (Material& material : read) {
      if (!IsOfType(material.type, bytes)) continue;
      material.touches.push_back({stem.substr(0, stem.rfind('_')), bytes});
    }
  }
  return read;
}

}  // namespace

std::vector<Material> Gather(const Source& source) {
  return source.folder.empty() ? MakeTouches(source.fingers, source.seed)
                               : ReadTouches(source.folder);
}

std::vector<Touch> CrowdedTouches(Crowd crowd) {
  constexpr int count = 200;
  constexpr int gridBlocks = 20;
  struct Kind {
    int width, height, step;  // pixels
    uint64_t leastAngle;
    int angles, types;
    int lessQuality;  // of the second
  };
  // In two points qualities and types make all scores so low that no alignment ends the
  // search.
  constexpr Kind kinds[] = {{60, 1, 1, 30, 1, 1, 0},
                            {40, 1, 20, 143, 1, 2, 20},
                            {40, 40, 1, 350, 30, 1, 0},
                            {40, 1, 20, 361, 1, 2, 20}};
  const Kind& kind = kinds[static_cast<int>(crowd)];
  std::mt19937 random(1);
  const auto below = [&](int limit) {
    return static_cast<uint64_t>(random() % static_cast<unsigned>(limit));
  };
  std::vector<Touch> touches;
  int quality = 60;
  for (const char* name : {"1", "2"}) {
    std::vector<uint8_t> bytes = {8 << 3 | 5, count, 0x80 | gridBlocks, gridBlocks, 50, 0,
                                  'V',        'X'};
    const auto step = static_cast<uint64_t>(kind.step);
    for (int i = 0; i < count; ++i) {
      const uint64_t x = 100 + below(kind.width) / step * step;
      const uint64_t y = 100 + below(kind.height) / step * step;
      const uint64_t angle = kind.leastAngle + below(kind.angles);
      const auto type = static_cast<uint64_t>(1 - i % kind.types);
      const uint64_t record =
          x << 30 | y << 20 | type << 16 | angle << 7 | static_cast<uint64_t>(quality);
      for (int shift = 32; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(record >> shift));
      }
    }
    bytes.insert(bytes.end(), gridBlocks * gridBlocks, 30);
    touches.push_back({name, bytes});
    quality -= kind.lessQuality;
  }
  return touches;
}

Pairs GenuinePairs(const Material& material) {
  Pairs pairs;
  for (size_t i = 1; i < material.touches.size(); ++i) {
    const Touch& probe = material.touches[i - 1];
    const Touch& candidate = material.touches[i];
    if (probe.finger == candidate.finger) pairs.push_back({&probe, &candidate});
  }
  return pairs;
}

Pairs ImpostorPairs(const Material& material) {
  Pairs pairs;
  const size_t count = material.touches.size();
  for (size_t i = 0; i < count; ++i) {
    const Touch& probe = material.touches[i];
    const Touch& candidate = material.touches[(i + count / 2) % count];
    if (probe.finger != candidate.finger) pairs.push_back({&probe, &candidate});
  }
  return pairs;
}

}  // namespace bench
