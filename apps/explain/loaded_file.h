// A template and what the engine makes of it.
#pragma once

#include <memory>

#include "engine/workspace.h"
#include "explanation.h"
#include "template_file.h"

struct LoadedFile {
  TemplateFile file;
  std::unique_ptr<vxm::MatchWorkspace> workspace;
};

// Fails when the library refuses what was found to be valid.
LoadedFile LoadForEngine(TemplateFile file);

// Fails when the two are of different formats.
Explanation ExplainFiles(const LoadedFile& probe, const LoadedFile& reference);
