// A template in the engine's working form.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "templates/load.h"

struct LoadedTemplate {
  vxm::MatchWorkspace workspace = {};
};

// Throws where the bytes are no template of the format that they seem to be.
inline std::unique_ptr<LoadedTemplate> Load(const std::vector<uint8_t>& bytes) {
  auto loaded = std::make_unique<LoadedTemplate>();
  const int size = static_cast<int>(bytes.size());
  if (vxm::LoadTemplate(vxm::RecogniseFormat(bytes.data(), size), bytes.data(), size,
                        loaded->workspace) != vxm::LoadOutcome::loaded) {
    throw std::runtime_error("a test's template does not load");
  }
  return loaded;
}
