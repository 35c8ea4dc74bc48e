// An explanation for readers and for programs.
#pragma once

#include "explanation.h"
#include "json_output.h"
#include "template_file.h"

// A template and what the engine makes of it.
struct LoadedFile {
  TemplateFile file;
  std::unique_ptr<vxm::MatchWorkspace> workspace;
};

// The minutiae and the ridge orientations as the engine sees them. Positions are
// in pixels from the top-left corner, x to the right and y downwards; directions
// and orientations in degrees from the right, clockwise as the picture is seen.
Json TemplateJson(const LoadedFile& loaded);

Json ExplanationJson(const Explanation& told);

void PrintTemplate(const LoadedFile& loaded);

void PrintExplanation(const Explanation& told);
