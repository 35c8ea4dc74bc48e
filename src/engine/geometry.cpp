// Template geometry: from a loaded workspace to what later stages look up.
//
// In: one MatchWorkspace. Out: positions and directions in rows for the vector
// code, every pairwise distance and line direction, and the area that the
// template covers.
// Idea: distances and angle differences do not change when a finger is shifted
// or turned, so comparing tables replaces comparing positions.
// Cost: quadratic in the minutiae.
#include <algorithm>

#include "engine/stages.h"

namespace vxm {
namespace {

void FillMinutiae(TemplateGeometry& geometry) {
  const MatchWorkspace& workspace = *geometry.workspace;
  constexpr int largestAngle = 360;
  geometry.count = workspace.minutiaCount;
  geometry.plainAngles = true;
  for (int i = 0; i < geometry.count; i++) {
    const int angle = workspace.angle[i];
    geometry.position[i] = {workspace.x[i], workspace.y[i]};
    geometry.dir[i] = static_cast<int16_t>(angle == 0 ? 0 : 360 - angle);
    geometry.turn[i] = ScaledTurn(geometry.dir[i]);
    if (angle > largestAngle) geometry.plainAngles = false;
  }
}

void FillSize(Area& area, const MatchWorkspace& workspace) {
  area.firstColumn = 0;
  area.firstRow = 0;
  area.gridWidth = workspace.gridWidth;
  area.gridHeight = workspace.gridHeight;
  area.hasRidges = true;
  area.ridgesTaken = false;
}

// A range of blocks in one direction, the last excluded.
struct BlockSpan {
  int first;
  int last;

  bool Holds(int block) const { return block >= first && block < last; }
};

// Those that positions with half a block around them touch.
BlockSpan SpanOf(const int16_t* positions, int count, int gridBlocks) {
  const auto [min, max] = std::minmax_element(positions, positions + count);
  constexpr int margin = blockSize / 2;
  const int first = std::max(std::min<int>(*min, gridBlocks * blockSize) - margin, 0) / blockSize;
  const int last = (*max + margin + blockSize - 1) / blockSize;
  return {first, std::min(last, gridBlocks)};
}

// Block values become whole degrees, and what is not around the minutiae of a reduced
// template background. Whole rows of 16 blocks, whatever they hold beyond the grid, let the
// compiler do it with vectors.
void FillRidges(Area& area, const MatchWorkspace& workspace) {
  const MatchWorkspace& source = workspace.ridgesOf == nullptr ? workspace : *workspace.ridgesOf;
  BlockSpan columns = {0, maxGridBlocks};
  BlockSpan rows = {0, maxGridBlocks};
  if (workspace.ridgesOf != nullptr) {
    columns = SpanOf(workspace.x, workspace.minutiaCount, area.gridWidth);
    rows = SpanOf(workspace.y, workspace.minutiaCount, area.gridHeight);
  }
  uint8_t outside[maxGridBlocks];
  std::fill_n(outside, maxGridBlocks, background);
  std::fill(outside + columns.first, outside + columns.last, uint8_t{0});
  uint8_t values[maxGridBlocks] = {};
  for (int row = 0; row < area.gridHeight; row++) {
    std::copy_n(BlockRow(source, row), area.gridWidth, values);
    const uint8_t outsideRow = rows.Holds(row) ? 0 : background;
    for (int column = 0; column < (area.gridWidth + 15) / 16 * 16; column++) {
      const int value = values[column] | outside[column] | outsideRow;
      area.grid[row][column] =
          static_cast<uint8_t>((value & noRidge) == noRidge ? background : (3 * value) >> 1);
    }
  }
}

void TakeRidgesOf(TemplateGeometry& geometry) {
  if (!geometry.area.ridgesTaken) FillRidges(geometry.area, *geometry.workspace);
  geometry.area.ridgesTaken = true;
}

// The blocks from the lowest minutia to the highest.
void FillSpan(Area& area, const MatchWorkspace& workspace) {
  int minX = EngineParams::latestSpan;
  int minY = EngineParams::latestSpan;
  int maxX = 0;
  int maxY = 0;
  for (int i = 0; i < workspace.minutiaCount; i++) {
    minX = std::min<int>(minX, workspace.x[i]);
    maxX = std::max<int>(maxX, workspace.x[i]);
    minY = std::min<int>(minY, workspace.y[i]);
    maxY = std::max<int>(maxY, workspace.y[i]);
  }
  area.firstColumn = minX / blockSize;
  area.firstRow = minY / blockSize;
  area.gridWidth = maxX / blockSize + 1;
  area.gridHeight = maxY / blockSize + 1;
  area.hasRidges = false;
  area.ridgesTaken = true;
}

}  // namespace

void PrepareGeometry(TemplateGeometry& geometry, const MatchWorkspace& workspace, Scale scale) {
  geometry.workspace = &workspace;
  FillMinutiae(geometry);
  if (scale == Scale::native) {
    FillSize(geometry.area, workspace);
  } else {
    FillSpan(geometry.area, workspace);
  }
  (geometry.plainAngles ? ActiveKernels() : scalarKernels).fillPairTables(geometry);
}

void TakeRidges(EngineContext& context) {
  TakeRidgesOf(context.probeGeometry);
  TakeRidgesOf(context.referenceGeometry);
}

}  // namespace vxm
