// A template of a known answer in the engine's working form.
#pragma once

#include <memory>
#include <stdexcept>

#include "support/known_answers.h"
#include "templates/load.h"

namespace known {

constexpr int nativeType = 2001;
constexpr int isoType = 2002;

inline std::unique_ptr<vxm::MatchWorkspace> LoadedTemplate(const KnownAnswer& answer, int type,
                                                           size_t field) {
  using vxm::TemplateFormat;
  const TemplateFormat format = type == nativeType ? TemplateFormat::native
                                : type == isoType  ? TemplateFormat::iso
                                                   : TemplateFormat::ansi;
  const Bytes bytes = answer.Template(field);
  auto workspace = std::make_unique<vxm::MatchWorkspace>();
  uint8_t attribute = 0;
  if (vxm::LoadTemplate(format, bytes.data(), static_cast<int>(bytes.size()), *workspace,
                        attribute) != vxm::LoadOutcome::loaded) {
    throw std::runtime_error("a known answer's template does not load");
  }
  return workspace;
}

}  // namespace known
