// Loading a template of the format that is expected.
#pragma once

#include "templates/standard_record.h"

namespace vxm {

enum class LoadOutcome { loaded, wrongFormat, invalid };

// Loads bytes as a template of the format, and not unless, if native, they pass their
// check. Standard records load whatever their state.
bool LoadAs(TemplateFormat format, const uint8_t* bytes, int size, MatchWorkspace& workspace);

// The same, but the workspace may lead to the bytes, which must live as long as its use.
bool LoadInPlace(TemplateFormat format, const uint8_t* bytes, int size, MatchWorkspace& workspace);

// Loads for what the first ten bytes show to be of the expected format.
LoadOutcome LoadTemplate(TemplateFormat expected, const uint8_t* bytes, int size,
                         MatchWorkspace& workspace);

}  // namespace vxm
