// An explanation for readers and for programs.
#pragma once

#include "json_output.h"
#include "loaded_file.h"

// The minutiae and the ridge orientations as the engine sees them. Positions are
// in pixels from the top-left corner, x to the right and y downwards; directions
// and orientations in degrees from the right, clockwise as the picture is seen.
Json TemplateJson(const LoadedFile& loaded);

// Both templates and how they compare.
Json ComparisonJson(const LoadedFile& probe, const LoadedFile& reference, const Explanation& told);

void PrintTemplate(const LoadedFile& loaded);

void PrintExplanation(const Explanation& told);
