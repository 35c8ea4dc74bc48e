// Copying a workspace.
#include "engine/workspace.h"

#include <algorithm>

namespace vxm {

void CopyBlocks(MatchWorkspace& workspace) {
  if (workspace.blocks == nullptr) return;
  for (int row = 0; row < workspace.gridHeight; row++) {
    std::copy_n(BlockRow(workspace, row), workspace.gridWidth, workspace.orientation[row]);
  }
  workspace.blocks = nullptr;
}

void CopyWorkspace(MatchWorkspace& target, const MatchWorkspace& source) {
  const int n = source.minutiaCount;
  target.minutiaCount = n;
  std::copy_n(source.x, n, target.x);
  std::copy_n(source.y, n, target.y);
  std::copy_n(source.angle, n, target.angle);
  std::copy_n(source.quality, n, target.quality);
  std::copy_n(source.type, n, target.type);
  target.gridWidth = source.gridWidth;
  target.gridHeight = source.gridHeight;
  target.templateAttribute = source.templateAttribute;
  target.ridgesOf = nullptr;
  target.blocks = source.blocks;
  if (source.blocks != nullptr) return;
  for (int row = 0; row < source.gridHeight; row++) {
    std::copy_n(source.orientation[row], source.gridWidth, target.orientation[row]);
  }
}

}  // namespace vxm
