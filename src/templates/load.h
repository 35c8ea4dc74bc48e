// Loading a template of the format that is expected.
#pragma once

#include "templates/standard_record.h"

namespace vxm {

enum class LoadOutcome { loaded, wrongFormat, invalid };

// Loads nothing unless the bytes are of the expected format and, if native,
// pass their check. Standard records load whatever their state.
LoadOutcome LoadTemplate(TemplateFormat expected, const uint8_t* bytes, int size,
                         MatchWorkspace& workspace);

}  // namespace vxm
