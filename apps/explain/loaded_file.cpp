// Hands templates to the engine, past the interface.
#include "loaded_file.h"

#include <utility>

#include "failure.h"
#include "templates/load.h"

namespace {

vxm::TemplateFormat EngineFormat(Format format) {
  switch (format) {
    case Format::iso: return vxm::TemplateFormat::iso;
    case Format::ansi: return vxm::TemplateFormat::ansi;
    default: return vxm::TemplateFormat::native;
  }
}

}  // namespace

LoadedFile LoadForEngine(TemplateFile file) {
  LoadedFile loaded{std::move(file), std::make_unique<vxm::MatchWorkspace>()};
  const TemplateFile& taken = loaded.file;
  if (LoadTemplate(EngineFormat(taken.inspection.format), taken.bytes.data(), taken.Size(),
                   *loaded.workspace) != vxm::LoadOutcome::loaded) {
    throw Failure(taken.name + ": refused by the library");
  }
  return loaded;
}

Explanation ExplainFiles(const LoadedFile& probe, const LoadedFile& reference) {
  RequireSameFormat(probe.file, reference.file);
  const bool native = probe.file.inspection.format == Format::native;
  return Explain(*probe.workspace, *reference.workspace,
                 native ? vxm::Scale::native : vxm::Scale::standard);
}
