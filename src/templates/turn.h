// The half turn of a loaded template.
#pragma once

#include "engine/workspace.h"

namespace vxm {

// Turns about the centre of the grid: minutiae in reverse order, the grid end
// to end. Twice gives the same template, but that an angle of 0 becomes 360.
void TurnWorkspace(MatchWorkspace& target, const MatchWorkspace& source);

}  // namespace vxm
